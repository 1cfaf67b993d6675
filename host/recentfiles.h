#pragma once

#include <QObject>
#include <QPointer>
#include <QStringList>

class QAResGroup;
class QMenu;

// The result files opened last, newest first, and the File > Open Recent menu that lists them.
class RecentFiles : public QObject
{
    Q_OBJECT

public:
    static constexpr int kept = 10;

    explicit RecentFiles(QObject* parent = nullptr);

    // Lists the files in `menu`, filled again each time it opens.
    void setMenu(QMenu* menu);

    const QStringList& files() const { return m_files; }
    // Puts `path` first; the oldest beyond the kept number go.
    void add(const QString& path);

    // The list from the "file" strings of `group`, and back.
    void read(const QAResGroup& group);
    void write(QAResGroup* group) const;

Q_SIGNALS:
    void openRequested(const QString& file);

private:
    void fillMenu();

    QStringList m_files;
    QPointer<QMenu> m_menu; // the File menu's
};
