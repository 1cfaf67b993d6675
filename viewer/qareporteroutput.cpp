// Saving copies, the HTML export and defect submission.
#include "viewer/qareporter.h"
#include "viewer/qareporterhost.h"

#include "model/qareporterdata.h"
#include "model/qareporternode.h"
#include "sdk/qadialogs.h"
#include "sdk/qailogmonitor.h"
#include "sdk/qaoutputwindow.h"
#include "sdk/qaprogressdialog.h"
#include "sdk/qasafefile.h"
#include "sdk/studiointerface.h"
#include "sdk/trackwellinterface.h"
#include "session/defectdraft.h"
#include "session/findingdetails.h"
#include "session/reportsession.h"
#include "viewer/outlinemodel.h"
#include "viewer/qarlistview.h"
#include "viewer/reviewdialog.h"
#include "viewer/studiosessioncontext.h"

#include <QDir>
#include <QFileInfo>
#include <QMainWindow>
#include <QStatusBar>

namespace {

QString dialogTitle()
{
    StudioInterface* studio = hostStudio();
    return studio ? studio->caption()
                  : QAReporter::tr("Report", "Default product name to dialogs box.");
}

} // namespace

void QAReporter::saveAs()
{
    const QString title = dialogTitle();
    for (const auto& record : m_session->records()) {
        while (!saveCopy(record->fileName, title)) {
        }
    }
}

// Asks for a name and copies `source` there; false when the user must be asked again.
bool QAReporter::saveCopy(const QString& source, const QString& title)
{
    const QFileInfo from(source);
    // The dialog starts beside the file the user opened (a converted log's copy lies elsewhere).
    const QFileInfo original(m_context->originalFileOf(source));
    const QString chosen = QADialogs::current().saveFileName(
        this, tr("Save %1 Report As", "%1 is the source file name.").arg(original.fileName()),
        original.absolutePath(), tr("Report File") + QStringLiteral(" (*.xrd)"));
    if (chosen.isEmpty())
        return true;
    const QFileInfo to(chosen);
    if (from.filePath() == to.filePath()) {
        QADialogs::warning(
            this, title,
            tr("Source and destination files are the sames.\nPlease select an other file."));
        return false;
    }
    if (to.exists() &&
        QADialogs::current().message(this, QMessageBox::Warning, title,
                                     tr("The file already exists.\nDo you want to overwrite it?"),
                                     QMessageBox::Yes | QMessageBox::No | QMessageBox::Cancel,
                                     QMessageBox::No) != QMessageBox::Yes)
        return false;

    // A copy of the bytes, CR LF line ends included, written aside and renamed at the end: a
    // failed copy never leaves half a file behind, and an existing file stays as it was.
    QString reason;
    if (QASafeWrite::copyFile(source, chosen, &reason))
        return true;
    const bool readable = QASafeWrite::isRegularFile(source) && QFileInfo(source).isReadable();
    QADialogs::warning(
        this, title,
        (readable ? tr("The file could not be save.\nPlease check if you have write permission.")
                  : tr("The file could not be save.\nPlease check if you have read permission.")) +
            QStringLiteral("\n\n") + reason);
    return true;
}

void QAReporter::exportDoc()
{
    StudioInterface* studio = hostStudio();
    const QString directory = QADialogs::current().existingDirectory(
        this, QStringLiteral("Export To Html"),
        studio ? studio->currentDirectory() : QDir::currentPath());
    if (directory.isEmpty())
        return;
    QAProgressDialog progress(tr("Export Report to HTML files"), tr("Abort"), 100, this);
    progress.setWindowTitle(dialogTitle());
    // The studio's log hears everything; what went wrong is also said in a message box.
    struct KeptLog : QAILogMonitor
    {
        void logMessage(const QString& message) override
        {
            if (studioLog)
                studioLog->logMessage(message);
            messages.append(message);
        }
        QAILogMonitor* studioLog = nullptr;
        QStringList messages;
    } log;
    log.studioLog = studio ? studio->logMonitor() : nullptr;
    if (exportHTML(directory, QStringLiteral("index.html"), &progress, &log)) {
        // Where the pages went, for the user to open them.
        const QString index = QDir::toNativeSeparators(
            QDir(directory).absoluteFilePath(m_session->exportedIndexPage()));
        if (QAOutputWindow* output = studio ? studio->outputWindow() : nullptr)
            output->appendOutput(tr("Exported to %1\n").arg(index));
        if (auto* window = qobject_cast<QMainWindow*>(studio ? studio->mainWindow() : nullptr))
            window->statusBar()->showMessage(tr("Exported to %1").arg(index));
        return;
    }
    if (progress.isCanceled())
        return;
    constexpr int shown = 10;
    QString text = tr("The export to %1 is not complete:").arg(directory);
    for (const QString& message : log.messages.mid(0, shown))
        text += QLatin1Char('\n') + message;
    if (log.messages.size() > shown)
        text += QLatin1Char('\n') + tr("and %1 more").arg(log.messages.size() - shown);
    QADialogs::warning(this, dialogTitle(), text);
}

bool QAReporter::exportHTML(const QString& directory, const QString&, QAIProgressMonitor* progress,
                            QAILogMonitor* log)
{
    return m_session->exportHTML(directory, progress, log);
}

void QAReporter::submitTrackwell()
{
    StudioInterface* studio = hostStudio();
    if (!studio)
        return;
    QAOutputWindow* output = studio->outputWindow();
    studio->activateOutput();
    std::function<void(const QString&)> log = [](const QString&) {};
    if (output)
        log = [output](const QString& text) { output->appendOutput(text); };
    TrackwellInterface* tracker = studio->trackwellInterface();
    if (!tracker) {
        log(tr("Submit Defect Report Failed ...\n"));
        return;
    }
    log(tr("Submit Defect Report ...\n"));
    const nodeData studioNode = node();
    const QModelIndex entry = currentEntry();
    if (!entry.isValid() || !m_outline) {
        log(tr("No nodes selected\n"));
        log(tr("Stopped.\n"));
        return;
    }
    const OutlineModel* outline = m_outline->outlineModel();
    if (!outline->documentItem(entry)) {
        log(tr("Can't find data\n"));
        log(tr("Stopped.\n"));
        return;
    }
    const OutlineNode* node = OutlineModel::nodeOf(entry);
    DefectDraft draft = DefectDraft::forItem(
        studio->caption(), studioNode.workspace, studioNode.name, outline->fileInfo(entry),
        entry.data().toString(), node ? node->data->type : QString());
    if (node && node->data) {
        FindingDetails details = FindingDetails::of(*node->data);
        // What is still relative lies beside the report, a converted log's beside the log.
        if (!details.sourcePath.isEmpty() && QFileInfo(details.sourcePath).isRelative()) {
            const QString report =
                studio->originalFileOf(outline->fileInfo(entry).absoluteFilePath());
            details.sourcePath = QDir::cleanPath(
                QDir(QFileInfo(report).absolutePath()).filePath(details.sourcePath));
        }
        draft.details = details.named();
    }

    draft.submitTo(*tracker, output ? log : nullptr);
}

void QAReporter::reviewEntry(const QString& status, const QString& decision)
{
    StudioInterface* studio = hostStudio();
    const QModelIndex entry = currentEntry();
    const OutlineNode* node = OutlineModel::nodeOf(entry);
    if (!studio || !node || !node->data || node->data->key.isEmpty())
        return;
    ReviewDialog dialog(decision, entry.data().toString(), this);
    if (QADialogs::current().run(&dialog) != QDialog::Accepted)
        return;
    QString error;
    if (!studio->recordReview(node->data->key, node->data->rule, status, dialog.comment(), &error))
        QADialogs::warning(this, tr("Review"), error);
}
