#include "export/reportexport.h"

#include "export/qareporterhtmlwriter.h"
#include "export/qareporterindexpage.h"
#include "folio/export/dexporthtml.h"
#include "folio/export/dpagenames.h"
#include "folio/model/ddocument.h"
#include "model/qareporterdata.h"
#include "reader/reportloader.h"
#include "sdk/qailogmonitor.h"
#include "sdk/qaiprogressmonitor.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QDir>
#include <QFileInfo>
#include <QSet>

namespace {

// The texts of the export keep the viewer window's translation context.
QString tr(const char* text)
{
    return QCoreApplication::translate("QAReporter", text);
}

// Writes the pages of the report files `files`, pass by pass: each pass writes the files first
// named by the pages of the pass before, so every reachable file is written once. The links of
// each file are taken beside it. False when a file could not be read or its page not written, or
// on a cancel.
bool writeLinkedFiles(const QStringList& files, const ReportExport::Input& input,
                      QAReporterHTMLWriter* writer, DExportHtml* exporter,
                      QAIProgressMonitor* progress, QAILogMonitor* log)
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
            std::unique_ptr<DDocument> document =
                readXrdFile(file, input.styles, input.reading, &reason);
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

} // namespace

ReportExport::ReportExport(Input input) : m_input(std::move(input)) {}

bool ReportExport::write(const QString& directory, QAIProgressMonitor* progress, QAILogMonitor* log)
{
    const QList<QAReporterData*>& reports = m_input.reports;
    const QList<QAReporterData*>& displayed = m_input.displayed;
    QStringList reportFolders;
    for (const QAReporterData* record : reports) {
        const QString folder = QFileInfo(record->fileName).absolutePath();
        if (!reportFolders.contains(folder))
            reportFolders.append(folder);
    }
    QAReporterHTMLWriter writer(reports, displayed, progress, log);
    writer.setBaseForLink(directory);
    writer.setSourceOptions(m_input.sourceUrl, m_input.embedSources);
    DExportHtml exporter(directory, m_input.configFile);
    // Pictures come only from the folders of the result files and the document search path.
    exporter.setImageFolders(reportFolders);
    exporter.setSearchPath(m_input.searchPath);
    exporter.setHTMLWriter(&writer);

    // Every page is named by one table, the summary's first, so that no page replaces another
    // and every link finds its page.
    DPageNames& names = exporter.pageNames();
    m_indexPage =
        names.nameFor(QStringLiteral("summary"), QStringLiteral("index"), writer.pageSuffix());
    writer.setPageNames(&names);
    // A converted log's page says which log it came from ("flawfinder-sarif.html"), where its
    // document's tag would not ("run1").
    for (const QAReporterData* record : reports) {
        const QString original =
            m_input.originalFileOf ? m_input.originalFileOf(record->fileName) : record->fileName;
        if (record->document && original != record->fileName)
            writer.setReportPageBase(
                record->document->tag(),
                QFileInfo(original).fileName().replace(QLatin1Char('.'), QLatin1Char('-')));
    }
    exporter.setIndexPage(m_indexPage);
    if (log && m_indexPage != QStringLiteral("index") + writer.pageSuffix())
        log->logMessage(
            tr("%1 was not written by an export and is left alone; the summary is %2")
                .arg(QDir(directory).filePath(QStringLiteral("index") + writer.pageSuffix()),
                     m_indexPage));
    bool complete = true;
    bool canceled = false;
    QStringList written;
    for (QAReporterData* record : displayed) {
        if (progress && progress->isCanceled()) {
            canceled = true;
            break;
        }
        if (!record->document)
            continue;
        const QString page = writer.reportPageName(record->document->tag());
        written.append(directory + QDir::separator() + page);
        writer.setXrdBase(m_input.reportFolderOf(record->fileName));
        complete &= exporter.generateAs(record->document.get(), page, progress, log);
    }
    if (!canceled && !displayed.isEmpty()) {
        const QStringList linked = writer.referencedXrd();
        writer.setReferencedXrd(written + linked);
        complete &= writeLinkedFiles(linked, m_input, &writer, &exporter, progress, log);
    }
    if (m_input.summary && !canceled) {
        exporter.setPagePreamble(m_indexPage,
                                 m_input.leading +
                                     indexPagePreamble(reports, QDateTime::currentDateTime()));
        exporter.setPagePostamble(m_indexPage,
                                  indexPageFailures(reports, [&writer](const QString& tag) {
                                      return writer.reportPageName(tag);
                                  }));
        // Written also after a cancel among the report file pages.
        const bool linkedCanceled = progress && progress->isCanceled();
        complete &= exporter.generateAs(m_input.summary, m_indexPage,
                                        linkedCanceled ? nullptr : progress, log);
    }
    exporter.writeManifest(log);
    return complete && !canceled && exporter.problems() == 0;
}
