#include "host/recentfiles.h"

#include "sdk/qaplaintext.h"
#include "sdk/qares.h"

#include <QDir>
#include <QMenu>

namespace {

// The path as an entry shows it: whole up to a length that fits a menu, else its start and end
// around an ellipsis (the tool tip gives it whole).
QString shownPath(const QString& file)
{
    constexpr int most = 100;
    constexpr int head = 30;
    const QString path = QDir::toNativeSeparators(file);
    if (path.size() <= most)
        return path;
    return path.left(head) + QChar(0x2026) + path.right(most - head - 1);
}

} // namespace

RecentFiles::RecentFiles(QObject* parent) : QObject(parent) {}

void RecentFiles::setMenu(QMenu* menu)
{
    m_menu = menu;
    connect(menu, &QMenu::aboutToShow, this, &RecentFiles::fillMenu);
    fillMenu();
}

void RecentFiles::add(const QString& path)
{
    m_files.removeAll(path);
    m_files.prepend(path);
    while (m_files.size() > kept)
        m_files.removeLast();
}

void RecentFiles::read(const QAResGroup& group)
{
    m_files.clear();
    for (const auto& entry : group.children()) {
        if (const QAResString* file = entry->toResString(); file && m_files.size() < kept)
            m_files.append(file->value());
    }
    fillMenu();
}

void RecentFiles::write(QAResGroup* group) const
{
    for (const QString& file : m_files)
        group->add<QAResString>(QStringLiteral("file"), file);
}

void RecentFiles::fillMenu()
{
    if (!m_menu)
        return;
    m_menu->clear();
    for (int i = 0; i < m_files.size(); ++i) {
        const QString file = m_files.at(i);
        QString name = shownPath(file);
        name.replace(QLatin1Char('&'), QStringLiteral("&&"));
        QAction* entry =
            m_menu->addAction(i < 9 ? QStringLiteral("&%1 %2").arg(i + 1).arg(name) : name, this,
                              [this, file] { Q_EMIT openRequested(file); });
        entry->setStatusTip(QDir::toNativeSeparators(file));
        entry->setToolTip(QAPlainText::toolTip(QDir::toNativeSeparators(file)));
    }
    if (!m_files.isEmpty())
        m_menu->addSeparator();
    QAction* clear = m_menu->addAction(tr("&Clear the List"), this, [this] { m_files.clear(); });
    clear->setEnabled(!m_files.isEmpty());
    m_menu->setToolTipsVisible(true);
}
