#pragma once

#include <QMap>
#include <QString>

class QAResGroup;

// Where the sources named by the reports were found instead: a prefix that is missing and the
// one to use in its place (a source root), learnt when the user locates a missing source.
class SourceRoots
{
public:
    // `path` with a missing prefix replaced, when the file is there under its root; else `path`.
    QString moved(const QString& path) const;
    // Learns a root from a missing path and where the user found its file: the parts both paths
    // end with are the file's place below its root, what is left of each the root. False when
    // their last parts differ: there is nothing to learn then.
    bool learn(const QString& missing, const QString& found);
    // The root learnt last: the missing prefix and its replacement.
    const QString& lastFrom() const { return m_lastFrom; }
    QString lastTo() const { return m_roots.value(m_lastFrom); }

    // The roots from the "root" groups of `group`, and back.
    void read(const QAResGroup& group);
    void write(QAResGroup* group) const;

private:
    QMap<QString, QString> m_roots;
    QString m_lastFrom;
};
