#pragma once

#include "folio/styles/dstyle.h"

#include <QByteArray>
#include <QList>
#include <QString>
#include <QStringList>
#include <functional>

class DDocument;
class QAILogMonitor;
class QAIProgressMonitor;
class QAReporterData;
class ReadProgress;

// One HTML export of what a viewer shows: a page per report, a page per report file their links
// name (and the files those name, to the end), and the summary page. Every page is written whole
// or not at all, and the names the export wrote are kept in the folder's manifest.
class ReportExport
{
public:
    struct Input
    {
        // The loaded reports, in order: their document tags name the pages.
        QList<QAReporterData*> reports;
        // The reports as shown; a report document without result nodes is shown as it is.
        QList<QAReporterData*> displayed;
        // The summary document, written as the index page; none before the reports are shown.
        DDocument* summary = nullptr;
        // HTML that opens the summary page, before its overview (a comparison with a baseline).
        QByteArray leading;
        // What the report files the links name are read with.
        DStyleList styles;
        ReadProgress* reading = nullptr;
        // The exporter's settings file ("dhtml.cfg") and where pictures are also looked for.
        QString configFile;
        QStringList searchPath;
        // The folder the links of the report read from a file are taken beside.
        std::function<QString(const QString& file)> reportFolderOf;
        // The file the user opened for a report read from `file` (a converted log's copy);
        // `file` itself when none is given.
        std::function<QString(const QString& file)> originalFileOf;
        // Source links to a web address made from this ("{path}", "{line}"), and with the
        // lines around the place embedded (see QAReporterHTMLWriter::setSourceOptions()).
        QString sourceUrl;
        bool embedSources = false;
    };

    explicit ReportExport(Input input);

    // Writes the pages into `directory`. False when a page could not be written, a linked file
    // could not be read (each said in `log`), or on a cancel in `progress`; both may be null.
    bool write(const QString& directory, QAIProgressMonitor* progress, QAILogMonitor* log);
    // The file name the summary got: "index.html" unless a file of that name that no export
    // wrote was in the way.
    const QString& indexPage() const { return m_indexPage; }

private:
    Input m_input;
    QString m_indexPage;
};
