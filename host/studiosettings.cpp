#include "host/studiosettings.h"

#include "host/recentfiles.h"
#include "host/sourceroots.h"
#include "sdk/qadialogs.h"
#include "sdk/qaoutputwindow.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QMainWindow>

namespace {

const QString groupName = QStringLiteral("crcstudio");

// The studio's settings are strings in the tree; binary ones are kept as base64.
QString stringSetting(const QAResGroup* group, const QString& name)
{
    const QARes* res = group ? group->child(name) : nullptr;
    const QAResString* value = res ? res->toResString() : nullptr;
    return value ? value->value() : QString();
}

const QAResGroup* childGroup(const QAResGroup* group, const QString& name)
{
    const QARes* res = group ? group->child(name) : nullptr;
    return res ? res->toResGroup() : nullptr;
}

QString tr(const char* text)
{
    return QCoreApplication::translate("StudioSettings", text);
}

} // namespace

StudioSettings::StudioSettings(const QString& path, QMainWindow* window, RecentFiles* recent,
                               SourceRoots* roots, QAOutputWindow* output)
    : m_store(path), m_window(window), m_recent(recent), m_roots(roots), m_output(output),
      m_lastDirectory(QDir::currentPath())
{
}

StudioSettings::~StudioSettings()
{
    m_store.removeProducer(this);
}

void StudioSettings::load()
{
    if (!m_store.load()) {
        m_broken = true;
        m_output->appendOutput(
            tr("The settings cannot be read: %1\nThe defaults are in force; the file is "
               "kept until the settings are saved from the preferences.")
                .arg(m_store.loadError()));
    }
    if (const QAResGroup* group = childGroup(m_store.root(), groupName)) {
        m_savedGeometry =
            QByteArray::fromBase64(stringSetting(group, QStringLiteral("geometry")).toLatin1());
        m_savedState =
            QByteArray::fromBase64(stringSetting(group, QStringLiteral("layout")).toLatin1());
        const QString directory = stringSetting(group, QStringLiteral("last_directory"));
        if (!directory.isEmpty() && QFileInfo(directory).isDir())
            m_lastDirectory = directory;
        m_openFilter = stringSetting(group, QStringLiteral("open_filter"));
        if (const QAResGroup* recent = childGroup(group, QStringLiteral("recent")))
            m_recent->read(*recent);
        if (const QAResGroup* roots = childGroup(group, QStringLiteral("source_roots")))
            m_roots->read(*roots);
    }
    m_store.addProducer(this);
}

void StudioSettings::restoreLayout()
{
    if (!m_savedGeometry.isEmpty())
        m_window->restoreGeometry(m_savedGeometry);
    if (!m_savedState.isEmpty())
        m_window->restoreState(m_savedState);
}

bool StudioSettings::save(QString* error)
{
    if (!m_store.save(error))
        return false;
    if (m_broken && !m_store.brokenCopy().isEmpty())
        m_output->appendOutput(
            tr("The unreadable settings were kept as %1").arg(m_store.brokenCopy()));
    m_broken = false;
    return true;
}

void StudioSettings::saveOnQuit(QWidget* parent)
{
    QString error;
    if (!m_broken && !save(&error))
        QADialogs::warning(parent, QStringLiteral("crcstudio"), error);
}

void StudioSettings::saveChange()
{
    QString error;
    if (!m_broken && !save(&error))
        m_output->appendOutput(error);
}

std::unique_ptr<QARes> StudioSettings::toResources(const char* name)
{
    auto group = std::make_unique<QAResGroup>(name ? QString::fromLatin1(name) : groupName);
    group->add<QAResString>(QStringLiteral("geometry"),
                            QString::fromLatin1(m_window->saveGeometry().toBase64()));
    group->add<QAResString>(QStringLiteral("layout"),
                            QString::fromLatin1(m_window->saveState().toBase64()));
    group->add<QAResString>(QStringLiteral("last_directory"), m_lastDirectory);
    group->add<QAResString>(QStringLiteral("open_filter"), m_openFilter);
    m_recent->write(group->add<QAResGroup>(QStringLiteral("recent")));
    m_roots->write(group->add<QAResGroup>(QStringLiteral("source_roots")));
    return group;
}
