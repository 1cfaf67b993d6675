#pragma once

#include <QList>
#include <QString>

class QAResGroup;

// Where the sources named by the reports were found instead: a folder that is missing and the
// one to use in its place (a source root), learnt when the user locates a missing source or
// given in the preferences. One missing folder may have several roots (two logs beside each
// other whose sources lie in two checkouts): each is tried, the newest first.
class SourceRoots
{
public:
    struct Root
    {
        QString from; // the missing folder, ending with '/'
        QString to;   // the folder in its place, ending with '/'
        bool operator==(const Root& other) const { return from == other.from && to == other.to; }
    };

    // The most roots kept; the oldest beyond go.
    static constexpr int kept = 100;

    // `path` with a missing folder replaced by the first root under which the file is there;
    // else `path`.
    QString moved(const QString& path) const;
    // Learns a root from a missing path and where the user found its file: the parts both paths
    // end with are the file's place below its root, what is left of each the root. It goes
    // first. False when their last parts differ: there is nothing to learn then.
    bool learn(const QString& missing, const QString& found);
    // The root learnt last.
    Root last() const { return m_roots.value(0); }

    // Every root, the newest first; setting them keeps those with both folders given, each
    // ending with '/', once.
    const QList<Root>& roots() const { return m_roots; }
    void setRoots(const QList<Root>& roots);

    // The roots from the "root" groups of `group`, and back.
    void read(const QAResGroup& group);
    void write(QAResGroup* group) const;

private:
    QList<Root> m_roots;
};
