#include "host/defectshost.h"

#include "defects/defectstore.h"
#include "host/defectreviewdialog.h"
#include "host/defectsdock.h"
#include "host/defectsettingsdialog.h"
#include "host/defecttracker.h"
#include "host/studiosettings.h"
#include "host/studiotabs.h"
#include "sdk/qadialogs.h"
#include "sdk/qaresfile.h"
#include "sdk/qastviewerwindow.h"
#include "sdk/studiointerface.h"

#include <QDir>
#include <QFileInfo>
#include <QMainWindow>
#include <QMenu>
#include <QStatusBar>
#include <QTreeView>

namespace {

const QString groupName = QStringLiteral("DEFECTS");
const QString commandKey = QStringLiteral("submit_command");
const QString timeLimitKey = QStringLiteral("time_limit");
const QString echoKey = QStringLiteral("echo_command_lines");
const QString reviewKey = QStringLiteral("review_before_filing");

QTreeView* outlineOf(const QAStViewerWindow* viewer)
{
    // The outline, or the outline inside what the viewer shows in the outline area.
    QWidget* shown = viewer ? viewer->contentOutlineWidget() : nullptr;
    auto* outline = qobject_cast<QTreeView*>(shown);
    return outline || !shown ? outline : shown->findChild<QTreeView*>();
}

} // namespace

DefectsHost::DefectsHost(QMainWindow* window, StudioSettings* settings, const StudioTabs* tabs,
                         StudioInterface* studio, QDockWidget* besides,
                         std::function<QAStViewerWindow*(const QString&)> open)
    : m_window(window), m_settings(settings), m_tabs(tabs), m_studio(studio),
      m_open(std::move(open)),
      m_tracker(std::make_unique<DefectTracker>(DefectStore::defaultPath()))
{
    m_settings->store()->addProducer(this);
    m_tracker->setItemLocator([this] { return selectedItemPath(); });
    m_tracker->setStudio(studio);
    m_tracker->setReviewer([this](Defect& defect) { return review(defect); });
    m_tracker->setDuplicateCheck([this](const Defect& existing) { return fileAgain(existing); });

    m_dock = new DefectsDock(window);
    window->addDockWidget(Qt::BottomDockWidgetArea, m_dock);
    window->tabifyDockWidget(besides, m_dock);
    besides->raise();
    m_dock->setStorePath(m_tracker->storePath());
    connect(m_tracker.get(), &DefectTracker::filed, m_dock, &DefectsDock::refresh);
    connect(m_tracker.get(), &DefectTracker::reviewed, m_dock, &DefectsDock::refresh);
    connect(m_dock, &DefectsDock::openRequested, this, &DefectsHost::showDefect);
    connect(m_dock, &DefectsDock::closedChanged, m_tracker.get(), &DefectTracker::defectsChanged);
}

DefectsHost::~DefectsHost()
{
    m_settings->store()->removeProducer(this);
}

DefectTracker* DefectsHost::tracker()
{
    loadSettings();
    return m_tracker.get();
}

void DefectsHost::setStorePath(const QString& path)
{
    m_tracker->setStorePath(QFileInfo(path).absoluteFilePath());
    if (m_dock)
        m_dock->setStorePath(m_tracker->storePath());
}

void DefectsHost::addMenuEntries(QMenu* tools, QMenu* view)
{
    tools->addAction(tr("Defect &Tracker..."), this, &DefectsHost::showSettings);
    view->addAction(m_dock->toggleViewAction());
}

void DefectsHost::loadSettings()
{
    if (m_settingsLoaded)
        return;
    m_settingsLoaded = true;
    const QARes* group = m_settings->store()->root()->child(groupName);
    if (!group || !group->toResGroup())
        return;
    DefectTrackerSettings settings;
    const QAResGroup* values = group->toResGroup();
    if (const QARes* command = values->child(commandKey); command && command->toResString())
        settings.submitCommand = command->toResString()->value();
    if (const QARes* limit = values->child(timeLimitKey); limit && limit->toResInt())
        settings.timeLimitSeconds = qBound(1, limit->toResInt()->value(), 3600);
    if (const QARes* echo = values->child(echoKey); echo && echo->toResBoolean())
        settings.echoCommandLines = echo->toResBoolean()->value();
    if (const QARes* review = values->child(reviewKey); review && review->toResBoolean())
        settings.reviewBeforeFiling = review->toResBoolean()->value();
    m_tracker->setSettings(settings);
}

std::unique_ptr<QARes> DefectsHost::toResources(const char* name)
{
    loadSettings();
    const DefectTrackerSettings& settings = m_tracker->settings();
    auto group = std::make_unique<QAResGroup>(name ? QString::fromLatin1(name) : groupName);
    group->add<QAResString>(commandKey, settings.submitCommand);
    group->add<QAResInt>(timeLimitKey, settings.timeLimitSeconds);
    group->add<QAResBoolean>(echoKey, settings.echoCommandLines);
    group->add<QAResBoolean>(reviewKey, settings.reviewBeforeFiling);
    return group;
}

DefectSettingsDialog* DefectsHost::showSettings()
{
    if (m_dialog) {
        m_dialog->raise();
        return m_dialog;
    }
    loadSettings();
    auto* dialog =
        new DefectSettingsDialog(m_tracker->settings(), m_tracker->storePath(), m_window);
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    connect(dialog, &QDialog::accepted, this, [this, dialog] {
        m_tracker->setSettings(dialog->settings());
        QString error;
        if (m_settings->save(&error))
            m_window->statusBar()->showMessage(tr("Settings saved"), 5000);
        else
            QADialogs::warning(m_window, m_studio->caption(), error);
    });
    m_dialog = dialog;
    dialog->open();
    return dialog;
}

QStringList DefectsHost::selectedItemPath() const
{
    const QTreeView* outline = outlineOf(m_tabs->activeViewer());
    QStringList path;
    for (QModelIndex item = outline ? outline->currentIndex().siblingAtColumn(0) : QModelIndex();
         item.isValid(); item = item.parent())
        path.prepend(item.data().toString());
    return path;
}

bool DefectsHost::review(Defect& defect)
{
    DefectReviewDialog dialog(defect, m_window);
    if (QADialogs::current().run(&dialog) != QDialog::Accepted)
        return false;
    defect.headline = dialog.headline();
    defect.description = dialog.description();
    if (!dialog.keepReviewing()) {
        DefectTrackerSettings settings = m_tracker->settings();
        settings.reviewBeforeFiling = false;
        m_tracker->setSettings(settings);
        m_settings->saveChange();
        m_window->statusBar()->showMessage(
            tr("Defects are filed without review from now on (Tools > Defect Tracker)"), 8000);
    }
    return true;
}

bool DefectsHost::fileAgain(const Defect& existing)
{
    const QMessageBox::StandardButton answer = QADialogs::question(
        m_window, tr("Defect Already Filed"),
        tr("%1 already has defect %2: %3\n\nFile another defect for it? Open shows the "
           "existing one.")
            .arg(existing.item())
            .arg(existing.id)
            .arg(existing.headline),
        QMessageBox::Yes | QMessageBox::No | QMessageBox::Open, QMessageBox::Yes);
    if (answer == QMessageBox::Open)
        showDefect(existing);
    return answer == QMessageBox::Yes;
}

void DefectsHost::showDefect(const Defect& defect)
{
    const QString title = tr("Defect %1").arg(defect.id);
    if (defect.file.isEmpty() || !QFileInfo::exists(defect.file)) {
        QADialogs::warning(m_window, title,
                           defect.file.isEmpty()
                               ? tr("Defect %1 names no result file.").arg(defect.id)
                               : tr("The result file %1 of defect %2 is not there any more.")
                                     .arg(QDir::toNativeSeparators(defect.file))
                                     .arg(defect.id));
        return;
    }
    QTreeView* outline = outlineOf(m_open(defect.file));
    if (!outline)
        return; // the plug-in said why
    // Down the outline, one level per part of the item's path.
    const QAbstractItemModel* entries = outline->model();
    QModelIndex found;
    for (const QString& text : defect.itemPath) {
        const QModelIndex parent = found;
        found = QModelIndex();
        for (int i = 0; i < entries->rowCount(parent) && !found.isValid(); ++i) {
            const QModelIndex child = entries->index(i, 0, parent);
            if (child.data().toString() == text)
                found = child;
        }
        if (!found.isValid())
            break;
    }
    if (!found.isValid()) {
        m_window->statusBar()->showMessage(
            tr("The item %1 of defect %2 is not shown in the outline")
                .arg(defect.item())
                .arg(defect.id),
            8000);
        return;
    }
    outline->setCurrentIndex(found);
    outline->scrollTo(found);
    outline->setFocus();
}
