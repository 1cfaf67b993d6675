// Loading and analysis of the result files, and the display modes.
#include "viewer/qareporter.h"
#include "viewer/qareporterhost.h"

#include "folio/model/ddocument.h"
#include "folio/view/dreportwidget.h"
#include "model/qareporterdata.h"
#include "model/qareporterdatatree.h"
#include "prefs/qareporterprefgeneral.h"
#include "sdk/qadialogs.h"
#include "sdk/qaoutputwindow.h"
#include "sdk/studiointerface.h"
#include "session/placehistory.h"
#include "session/reportsession.h"
#include "viewer/outlinemodel.h"
#include "viewer/qarlistview.h"
#include "viewer/qartoolbar.h"
#include "viewer/studiosessioncontext.h"

#include <QFileInfo>
#include <QMainWindow>
#include <QStatusBar>
#include <utility>

bool QAReporter::readAndShow(const QStringList& files, bool skipHeld)
{
    StudioInterface* studio = hostStudio();
    ReportSession::Reading reading = m_session->read(files, skipHeld);
    m_loadCancelled = reading.cancelled;
    if (reading.cancelled) {
        // A cancelled reading changes nothing; the status bar says that it stopped.
        if (auto* window = qobject_cast<QMainWindow*>(studio ? studio->mainWindow() : nullptr))
            window->statusBar()->showMessage(tr("Opening cancelled"), 5000);
        return false;
    }
    if (!skipHeld) {
        // A reload: what was shown goes only now, and its place is kept.
        if (!m_pendingPlace && !m_session->records().empty())
            m_pendingPlace = std::make_unique<Place>(currentPlace());
        m_headerView->clearDocs();
        m_documentView->clearDocs();
        if (m_outline)
            m_outline->clear();
        m_session->clear();
    }
    const QStringList failed = std::move(reading.failed);
    const QStringList reasons = std::move(reading.reasons);
    m_session->add(std::move(reading));

    if (!failed.isEmpty()) {
        const QString message = ReportSession::unreadableMessage(failed);
        if (QAOutputWindow* output = studio ? studio->outputWindow() : nullptr) {
            output->appendOutput(message);
            for (const QString& reason : reasons)
                output->appendOutput(reason + QLatin1Char('\n'));
        }
        // The dialog names each file with its reason; the list above keeps the usual form.
        QADialogs::warning(this, tr("Test Report"),
                           message + QLatin1Char('\n') + reasons.join(QLatin1Char('\n')));
    }
    if (m_session->records().empty()) {
        m_pendingPlace.reset();
        return true;
    }
    applyRememberedBaseline();
    m_headerShown = m_session->records().size() >= 2 || m_session->baseline();
    if (m_outline)
        m_outline->clear();
    if (m_toolBar && m_toolBar->isFiltered())
        displayKO();
    else
        displayreport();
    return true;
}

void QAReporter::analyse(const QStringList& files)
{
    if (!readAndShow(files, true))
        m_pendingPlace.reset();
}

void QAReporter::analyseData()
{
    if (m_session->isAnalysed())
        return;
    // Filtering, the outline and the summary take a while on large reports: the studio says
    // what happens meanwhile. These steps cannot be cancelled.
    StudioInterface* studio = hostStudio();
    const auto phase = [studio](const QString& label) {
        if (studio)
            studio->startProgress(0, label, QString());
    };
    phase(tr("Filtering the results"));
    // A reload keeps the place it started from; a mode or type change starts from here.
    const Place place = m_pendingPlace ? *m_pendingPlace : currentPlace();
    m_pendingPlace.reset();
    const DDocument* shown = m_documentView->currentDocument();
    const QString savedTag = shown ? shown->tag() : QString();
    // The views and the outline show the filtered records: they let go first.
    m_headerView->clearDocs();
    m_documentView->clearDocs();
    if (m_outline)
        m_outline->clear();
    m_session->filterRecords();
    phase(tr("Building the outline"));
    updateListView();
    phase(tr("Writing the summary"));
    m_session->buildSummary(m_title);
    phase(tr("Laying out the documents"));
    updateView();
    if (m_headerShown)
        showHeaderDock();
    if (!savedTag.isNull())
        moveToDocument(savedTag);
    restorePlace(place);
    if (studio)
        studio->endProgress();
}

void QAReporter::updateView()
{
    m_headerView->clearDocs();
    if (isActivatedDisplay())
        m_headerView->setDocument(m_session->summary(), true);
    const std::vector<QAReporterData*>& shown = m_session->filtered();
    if (shown.empty() || !isActivatedDisplay())
        return;
    bool first = true;
    for (const QAReporterData* record : shown) {
        if (!record->document)
            continue;
        m_documentView->setDocument(record->document.get(), first);
        first = false;
    }
    Q_EMIT viewUpdated();
}

void QAReporter::updateListView()
{
    if (m_session->records().empty() || !m_outline)
        return;
    m_outline->clear();
    m_outline->setHeaderHidden(true);
    m_outline->setRootIsDecorated(true);
    m_outline->setAllColumnsShowFocus(false);
    m_outline->setSortingEnabled(false);
    m_outline->outlineModel()->setBaselineName(QFileInfo(m_baselinePath).fileName());
    for (const QAReporterData* record : m_session->filtered())
        m_outline->addReport(record->tree, record->fileName,
                             m_context->originalFileOf(record->fileName));
    m_outline->showReports(s_preference ? s_preference->general->autoDepth : 4);
    const QModelIndex first = m_outline->model()->index(0, 0);
    if (first.isValid())
        m_outline->showEntry(first);
}

bool QAReporter::contain(const QString& file) const
{
    return m_session->contains(file);
}

int QAReporter::testPassed() const
{
    return m_session->testPassed();
}

int QAReporter::testFailed() const
{
    return m_session->testFailed();
}

void QAReporter::refreshContents()
{
    // The files are read before anything shown goes: a cancelled reading leaves all as it was.
    readAndShow(m_session->files(), false);
}

void QAReporter::reload()
{
    refreshContents();
}

void QAReporter::reload(const QString&)
{
    reload();
}

void QAReporter::displayKO()
{
    m_session->setFailedOnly(true);
    if (testFailed() == 0) {
        StudioInterface* studio = hostStudio();
        const QMessageBox::StandardButton answer = QADialogs::question(
            this, studio ? studio->caption() : windowTitle(),
            tr("The filtered report is empty. \nDo you want to show all tests instead of "
               "filtered report"),
            QMessageBox::Yes | QMessageBox::No, QMessageBox::Yes);
        if (answer == QMessageBox::Yes) {
            alltests();
            return;
        }
    }
    analyseData();
}

void QAReporter::displayreport()
{
    m_session->setFailedOnly(false);
    analyseData();
}

void QAReporter::switchFilter()
{
    if (m_toolBar && m_toolBar->isFiltered())
        displayKO();
    else
        displayreport();
}

void QAReporter::alltests()
{
    if (!m_toolBar)
        return;
    if (m_toolBar->isFiltered())
        m_toolBar->switchFilter();
    displayreport();
}

void QAReporter::failedtests()
{
    if (!m_toolBar)
        return;
    if (!m_toolBar->isFiltered())
        m_toolBar->switchFilter();
    displayKO();
}

void QAReporter::setTypeVisible(const QString& type, bool visible)
{
    m_session->setTypeVisible(type, visible);
    analyseData();
}
