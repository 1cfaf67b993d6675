// Saving copies, the HTML export and defect submission.
#include "viewer/qareporter.h"
#include "viewer/qareporterhost.h"

#include "export/qareporterhtmlwriter.h"
#include "export/qareporterindexpage.h"
#include "filter/qareporterfilter.h"
#include "folio/export/dexporthtml.h"
#include "folio/export/dpagenames.h"
#include "folio/model/ddocument.h"
#include "model/qareporterdata.h"
#include "model/qareporterdatatree.h"
#include "model/qareporternode.h"
#include "sdk/qadialogs.h"
#include "sdk/qailogmonitor.h"
#include "sdk/qaoutputwindow.h"
#include "sdk/qaprogressdialog.h"
#include "sdk/qasafefile.h"
#include "sdk/studiointerface.h"
#include "sdk/trackwellinterface.h"
#include "viewer/outlinemodel.h"
#include "viewer/qarlistview.h"

#include <QDateTime>
#include <QDir>
#include <QFileInfo>
#include <QHash>
#include <QSet>

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
    for (const auto& record : m_dataList) {
        while (!saveCopy(record->fileName, title)) {
        }
    }
}

// Asks for a name and copies `source` there; false when the user must be asked again.
bool QAReporter::saveCopy(const QString& source, const QString& title)
{
    const QFileInfo from(source);
    const QString chosen = QADialogs::current().saveFileName(
        this, tr("Save %1 Report As", "%1 is the source file name.").arg(from.fileName()),
        from.absolutePath(), tr("Report File") + QStringLiteral(" (*.xrd)"));
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
    if (exportHTML(directory, QStringLiteral("index.html"), &progress, &log) ||
        progress.isCanceled())
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
    StudioInterface* studio = hostStudio();
    QList<QAReporterData*> reports;
    QStringList reportFolders;
    for (const auto& record : m_dataList) {
        reports.append(record.get());
        const QString folder = QFileInfo(record->fileName).absolutePath();
        if (!reportFolders.contains(folder))
            reportFolders.append(folder);
    }
    // The reports as shown, in the window's order; a report document (.xrd) without result
    // nodes, which the filter passes by, is exported as it is.
    QList<QAReporterData*> displayed;
    if (m_filter) {
        QHash<QString, QAReporterData*> filtered;
        for (QAReporterData* record : m_filter->filtered())
            filtered.insert(record->fileName, record);
        for (const auto& record : m_dataList) {
            if (QAReporterData* shown = filtered.value(record->fileName))
                displayed.append(shown);
            else if (!record->tree && record->document)
                displayed.append(record.get());
        }
    }
    QAReporterHTMLWriter writer(reports, displayed, progress, log);
    writer.setBaseForLink(directory);
    DExportHtml exporter(directory, (studio ? studio->currentDirectory() : QDir::currentPath()) +
                                        QDir::separator() + QStringLiteral("dhtml.cfg"));
    // Pictures come only from the folders of the result files and the document search path.
    exporter.setImageFolders(reportFolders);
    if (studio)
        exporter.setSearchPath(studio->documentSearchPath());
    exporter.setHTMLWriter(&writer);

    // Every page is named by one table, the summary's first, so that no page replaces another
    // and every link finds its page.
    DPageNames& names = exporter.pageNames();
    const QString indexPage =
        names.nameFor(QStringLiteral("summary"), QStringLiteral("index"), writer.pageSuffix());
    writer.setPageNames(&names);
    exporter.setIndexPage(indexPage);
    m_exportedIndexPage = indexPage;
    if (log && indexPage != QStringLiteral("index") + writer.pageSuffix())
        log->logMessage(
            tr("%1 was not written by an export and is left alone; the summary is %2")
                .arg(QDir(directory).filePath(QStringLiteral("index") + writer.pageSuffix()),
                     indexPage));
    bool complete = true;
    bool canceled = false;
    QStringList written;
    for (QAReporterData* record : std::as_const(displayed)) {
        if (progress && progress->isCanceled()) {
            canceled = true;
            break;
        }
        if (!record->document)
            continue;
        const QString page = writer.reportPageName(record->document->tag());
        written.append(directory + QDir::separator() + page);
        writer.setXrdBase(reportFolderOf(record->fileName));
        complete &= exporter.generateAs(record->document.get(), page, progress, log);
    }
    if (!canceled && !displayed.isEmpty()) {
        const QStringList linked = writer.referencedXrd();
        writer.setReferencedXrd(written + linked);
        complete &= exportHTMLsubFile(linked, &writer, &exporter, progress, log);
    }
    if (m_headerDocument && !canceled) {
        exporter.setPagePreamble(indexPage, indexPagePreamble(reports, QDateTime::currentDateTime(),
                                                              [&writer](const QString& tag) {
                                                                  return writer.reportPageName(tag);
                                                              }));
        // Written also after a cancel among the report file pages.
        const bool linkedCanceled = progress && progress->isCanceled();
        complete &= exporter.generateAs(m_headerDocument.get(), indexPage,
                                        linkedCanceled ? nullptr : progress, log);
    }
    exporter.writeManifest(log);
    return complete && !canceled && exporter.problems() == 0;
}

// Writes the pages of the report files `files`, pass by pass: each pass writes the files first
// named by the pages of the pass before, so every reachable file is written once. The links of
// each file are taken beside it. False when a file could not be read or its page not written, or
// on a cancel.
bool QAReporter::exportHTMLsubFile(const QStringList& files, QAReporterHTMLWriter* writer,
                                   DExportHtml* exporter, QAIProgressMonitor* progress,
                                   QAILogMonitor* log)
{
    bool complete = true;
    QSet<QString> exported; // resolved paths: two spellings of one file give one page
    QStringList pass = files;
    while (!pass.isEmpty()) {
        // A name enters the writer's list once, at its end: what comes after this count is new.
        const qsizetype known = writer->referencedXrd().size();
        for (const QString& entry : std::as_const(pass)) {
            if (progress && progress->isCanceled())
                return false;
            const QString file = writer->resolveXrd(entry);
            if (exported.contains(file) || writer->exportedReport(entry))
                continue;
            exported.insert(file);
            QString reason;
            std::unique_ptr<DDocument> document = readXrdFile(file, &reason);
            if (!document) {
                complete = false;
                if (log)
                    log->logMessage(tr("Unable to open the report file '%1'").arg(file) +
                                    QStringLiteral(": ") + reason);
                continue;
            }
            const QString page = writer->getHtmlFilenameForXrd(entry);
            document->setTag(QFileInfo(page).completeBaseName());
            writer->setXrdBase(QFileInfo(file).absolutePath());
            complete &= exporter->generateAs(document.get(), page, progress, log);
        }
        pass = writer->referencedXrd().mid(known);
    }
    return complete;
}

void QAReporter::submitTrackwell()
{
    StudioInterface* studio = hostStudio();
    if (!studio)
        return;
    QAOutputWindow* output = studio->outputWindow();
    studio->activateOutput();
    const auto log = [output](const QString& text) {
        if (output)
            output->appendOutput(text);
    };
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
    const QFileInfo reportFile = outline->fileInfo(entry);
    const QString reportName = reportFile.fileName();
    const QString entryName = entry.data().toString();
    const OutlineNode* node = OutlineModel::nodeOf(entry);

    QString headline = studio->caption();
    QString description;
    if (!studioNode.name.isEmpty()) {
        if (!studioNode.workspace.isEmpty()) {
            headline += studioNode.workspace + QLatin1Char(':');
            description += tr("Workspace:  ") + studioNode.workspace + QLatin1Char(' ');
        }
        headline += studioNode.name + QLatin1Char(':');
        description += tr("Test:       ") + studioNode.name + QLatin1Char(' ');
    }
    headline += reportName + QLatin1Char(':') + entryName;
    description += tr("Report file:  ") + reportName + QLatin1Char(' ');
    description += tr("Item failed:  ", "Current node failed to Submit Defect Report") + entryName +
                   QLatin1Char(' ');
    description += tr("Item type:   ", "Current node type to Submit Defect Report") +
                   (node ? node->data->type : QString()) + QLatin1Char(' ');
    const QString label = tr("Report File");
    const QString path = QDir::toNativeSeparators(reportFile.absoluteFilePath());

    const auto echo = [&] {
        if (tracker->activatedCmdLine() && output)
            log(QString::fromLocal8Bit(tracker->getCmdLine()) + QLatin1Char('\n'));
    };
    const auto error = [&] {
        log(QString::fromLocal8Bit(tracker->getErrorMessage()) + QLatin1Char('\n'));
    };
    const auto warnIfFailed = [&](quint16 result) {
        echo();
        if (!result) {
            log(tr("Warning ...\n"));
            error();
        }
    };
    const quint16 opened = tracker->open();
    echo();
    if (!opened) {
        error();
        log(tr("Stopped.\n"));
        return;
    }
    warnIfFailed(tracker->setHeadline(headline.toLocal8Bit().constData()));
    warnIfFailed(tracker->setDescription(description.toLocal8Bit().constData()));
    warnIfFailed(
        tracker->attachFile(label.toLocal8Bit().constData(), path.toLocal8Bit().constData()));
    const quint16 submitted = tracker->submit(0);
    echo();
    if (!submitted) {
        error();
        log(tr("Stopped.\n"));
    }
}
