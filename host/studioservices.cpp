#include "host/studioservices.h"

#include "host/defecttracker.h"
#include "host/outputdock.h"
#include "host/progresspanel.h"
#include "host/sourceroots.h"
#include "host/studiosettings.h"
#include "host/studiotabs.h"
#include "import/importcache.h"
#include "sdk/qadialogs.h"
#include "sdk/qasafefile.h"
#include "sdk/qastviewerwindow.h"
#include "sdk/sourcerequest.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QMainWindow>
#include <QMenuBar>
#include <QRegularExpression>

namespace {

constexpr int sourceLocation = 3; // openLocation(): a source file at a line, or a tag

const QRegularExpression& atLine()
{
    static const QRegularExpression expression(QStringLiteral("^(.+) line (\\d+)\\s*$"));
    return expression;
}

QString absolute(const QString& path)
{
    return QDir::cleanPath(QFileInfo(path).absoluteFilePath());
}

} // namespace

StudioServices::StudioServices(QMainWindow* window, QMenu* toolsMenu, StudioTabs* tabs,
                               OutputDock* output, ProgressPanel* progress,
                               StudioSettings* settings, SourceRoots* roots,
                               std::function<DefectTracker*()> tracker)
    : m_window(window), m_toolsMenu(toolsMenu), m_tabs(tabs), m_output(output),
      m_progress(progress), m_settings(settings), m_roots(roots), m_tracker(std::move(tracker))
{
}

QWidget* StudioServices::mainWindow() const
{
    return m_window;
}

QAOutputWindow* StudioServices::outputWindow() const
{
    return m_output;
}

void StudioServices::activateOutput()
{
    m_output->show();
    m_output->raise();
}

QStringList StudioServices::documentSearchPath() const
{
    return {currentDirectory(), installDirectory() + QStringLiteral("/lib")};
}

QString StudioServices::currentDirectory() const
{
    return m_settings->lastDirectory();
}

QString StudioServices::installDirectory() const
{
    return QDir::cleanPath(QCoreApplication::applicationDirPath() + QStringLiteral("/.."));
}

QString StudioServices::caption() const
{
    return QStringLiteral("crcstudio");
}

int StudioServices::insertMenu(QMenu* menu, const QString& title)
{
    if (!menu)
        return -1;
    menu->setTitle(title);
    m_window->menuBar()->insertMenu(m_toolsMenu->menuAction(), menu);
    const int id = m_nextMenuId++;
    m_pluginMenus.insert(id, menu);
    return id;
}

void StudioServices::removeMenu(int id)
{
    const QPointer<QMenu> menu = m_pluginMenus.take(id);
    if (menu)
        m_window->menuBar()->removeAction(menu->menuAction());
}

void StudioServices::addResProducer(QAResProducer* producer)
{
    m_settings->store()->addProducer(producer);
}

QAILogMonitor* StudioServices::logMonitor() const
{
    return m_output;
}

void StudioServices::startProgress(int steps, const QString& label, const QString& cancelText)
{
    m_progress->start(steps, label, cancelText);
}

void StudioServices::setProgress(int step)
{
    m_progress->setStep(step);
}

void StudioServices::endProgress()
{
    m_progress->end();
}

bool StudioServices::progressCancelled() const
{
    return m_progress->isRunning() && m_progress->cancelled();
}

void StudioServices::openLocation(const QString& location, int kind, bool activate)
{
    if (const QRegularExpressionMatch place = atLine().match(location);
        kind == sourceLocation && place.hasMatch()) {
        SourceRequest request;
        request.path = place.captured(1).trimmed();
        request.line = place.captured(2).toInt();
        showSource(request, activate);
        return;
    }
    // Any other location of this kind is a tag of the reports ("::T", "A::B::C" or a bare
    // tag): the viewer that asked, the one shown, moves to it.
    QAStViewerWindow* viewer = m_tabs->lastActivated();
    if (kind == sourceLocation && viewer && !location.trimmed().isEmpty()) {
        viewer->scrollToTag(location.trimmed(), -1, -1);
        return;
    }
    m_output->appendOutput(tr("Cannot open the location \"%1\" (kind %2)").arg(location).arg(kind));
}

// A relative path lies beside the report shown; a file that is not where the report says may be
// under a source root the user located before, or be located now.
void StudioServices::openSource(const SourceRequest& request)
{
    showSource(request, true);
}

void StudioServices::showSource(const SourceRequest& request, bool activate)
{
    QString path = request.path.trimmed();
    if (QFileInfo(path).isRelative()) {
        QAStViewerWindow* viewer = m_tabs->activeViewer();
        const QStringList reports = viewer ? StudioTabs::shownFiles(viewer) : QStringList();
        const QString base =
            reports.isEmpty() ? currentDirectory() : QFileInfo(reports.first()).absolutePath();
        path = QDir(base).filePath(path);
    }
    path = absolute(path);
    if (!QFileInfo::exists(path))
        path = m_roots->moved(path);
    if (!QFileInfo::exists(path)) {
        m_output->appendOutput(tr("Cannot open the source file %1: no such file").arg(path));
        const QString located = locateSource(path);
        if (located.isEmpty()) {
            if (activate)
                activateOutput();
            return;
        }
        path = located;
    }
    QString error;
    if (!m_tabs->showSource(path, request, activate, &error)) {
        m_output->appendOutput(tr("Cannot open the source file %1").arg(error));
        if (activate)
            activateOutput();
    }
}

// The folder the user finds the file under is remembered as a source root, in the settings at
// once.
QString StudioServices::locateSource(const QString& missing)
{
    const QString name = QFileInfo(missing).fileName();
    if (QADialogs::question(m_window, caption(),
                            tr("The source file %1 cannot be found.\nLocate it?")
                                .arg(QDir::toNativeSeparators(missing)),
                            QMessageBox::Yes | QMessageBox::No,
                            QMessageBox::Yes) != QMessageBox::Yes)
        return QString();
    const QStringList picked =
        QADialogs::current().openFileNames(m_window, tr("Locate %1").arg(name), currentDirectory(),
                                           tr("%1 (%1);;All files (*)").arg(name));
    if (picked.isEmpty() || !QASafeWrite::isRegularFile(picked.first()))
        return QString();
    const QString found = absolute(picked.first());
    if (m_roots->learn(missing, found)) {
        m_output->appendOutput(tr("Sources under %1 are now looked for under %2")
                                   .arg(m_roots->last().from, m_roots->last().to));
        m_settings->saveChange();
    }
    return found;
}

TrackwellInterface* StudioServices::trackwellInterface() const
{
    return m_tracker();
}

bool StudioServices::recordReview(const QString& identity, const QString& rule,
                                  const QString& status, const QString& comment, QString* error)
{
    DefectTracker* tracker = m_tracker();
    if (!tracker)
        return StudioInterface::recordReview(identity, rule, status, comment, error);
    return tracker->recordReview(identity, rule, status, comment, error);
}

QString StudioServices::originalFileOf(const QString& path) const
{
    return ImportCache::originalOf(path);
}

QList<ReviewRecord> StudioServices::reviewRecords() const
{
    const DefectTracker* tracker = m_tracker();
    return tracker ? tracker->reviewRecords() : QList<ReviewRecord>();
}

QList<DefectRecord> StudioServices::openDefects() const
{
    const DefectTracker* tracker = m_tracker();
    return tracker ? tracker->openDefects() : QList<DefectRecord>();
}

void StudioServices::watchTriage(QObject* context, std::function<void()> changed)
{
    DefectTracker* tracker = m_tracker();
    if (!tracker || !context)
        return;
    for (auto signal : {&DefectTracker::reviewed, &DefectTracker::storePathChanged,
                        &DefectTracker::defectsChanged})
        connect(tracker, signal, context, changed);
    connect(tracker, &DefectTracker::filed, context, changed);
}
