#pragma once

#include "folio/export/dhtmlwriter.h"

#include <QHash>
#include <QList>
#include <QObject>
#include <QSet>
#include <QStringList>
#include <memory>

class DPageNames;
class QAILogMonitor;
class QAIProgressMonitor;
class QAReporterData;
class QAReporterNodeIndex;

// The page writer of the report export: it writes as DHTMLWriter does, except that links lead to
// the exported pages of the reports and of the report files they name, and to the source files.
// It collects the report files that "xrdlink://" links name, so that they can be exported too.
class QAReporterHTMLWriter : public QObject, public DHTMLWriter
{
    Q_OBJECT

public:
    // `reports` are the loaded reports, whose document tags name the pages; `displayed` are the
    // reports as shown, whose result nodes give the base directories of relative source paths.
    // All are borrowed and must outlive the writer, as must the monitors (which may be null).
    QAReporterHTMLWriter(const QList<QAReporterData*>& reports,
                         const QList<QAReporterData*>& displayed, QAIProgressMonitor* progress,
                         QAILogMonitor* log);
    ~QAReporterHTMLWriter() override;

    // The export directory: source paths are written relative to it.
    void setBaseForLink(const QString& dir);
    // Source links lead to the web address `urlTemplate` makes ("{path}" the file's path from
    // its node's base, "{line}" the line) instead of the file; none with an empty template.
    // With `embed`, the lines around the place follow each link, read from the file.
    void setSourceOptions(const QString& urlTemplate, bool embed);
    // The names of the export's files, which every page name comes from; borrowed. Without
    // them, pages are named after tags and report file names alone.
    void setPageNames(DPageNames* names) { m_pageNames = names; }
    // The directory relative report file names, and source paths that the nodes' bases leave
    // relative, start from: that of the report whose page is written next, since each report's
    // links are taken beside it.
    void setXrdBase(const QString& dir);
    // The report file `xrdPath` names, relative names taken from the report file directory.
    QString resolveXrd(const QString& xrdPath) const;
    // The page of the report file `xrdPath`: its name up to the first dot, plus the page suffix,
    // unless another page has that name already.
    QString getHtmlFilenameForXrd(const QString& xrdPath) const;
    // The displayed report read from the report file `xrdPath`, or null.
    QAReporterData* exportedReport(const QString& xrdPath) const;
    // The page of the report whose document is tagged `tag`.
    QString reportPageName(const QString& tag) const;
    // The name the page of the report document tagged `tag` is to have instead of its tag
    // (a converted log's page is named after the log).
    void setReportPageBase(const QString& tag, const QString& base)
    {
        m_pageBases.insert(tag, base);
    }

    // Report files named by the links written so far, each once, in the order met: the paths
    // resolveXrd() gave while the link's page was written.
    const QStringList& referencedXrd() const { return m_referencedXrd; }
    void setReferencedXrd(const QStringList& files);

    // The monitors of the export this writer serves.
    QAIProgressMonitor* progress() const { return m_progress; }
    QAILogMonitor* log() const { return m_log; }

    void doLink(DItem* item) override;

private:
    void writeSourceLink(DItem* link, const QString& file, const QString& line);
    // The path of a source as the web address template takes it: from its node's base.
    QString pathInSources(const QString& file, const QString& base) const;
    // The lines around `line` of the source, as markup that follows its link.
    QByteArray sourceLinesMarkup(const QString& path, int line);
    // The first lines of a source file, read as far as asked; empty when it cannot be read.
    const QList<QByteArray>& sourceLines(const QString& path, int upTo);
    void writeHref(const QString& value);

    QString m_baseForLink;
    QString m_xrdBase;
    DPageNames* m_pageNames = nullptr;
    mutable QHash<QString, QAReporterData*> m_reportFiles; // by absolute path
    mutable QHash<QString, QString> m_xrdPages;            // report file as linked, its page
    QHash<QString, QString> m_relativePaths; // source paths, relative to m_baseForLink
    QList<QAReporterData*> m_displayed;
    QStringList m_referencedXrd;
    QSet<QString> m_referencedSet;
    QSet<QString> m_reportTags; // of the reports' documents, for the links that name one
    QHash<QString, QString> m_pageBases;
    QString m_sourceUrl;
    bool m_embedSources = false;
    struct SourceFile
    {
        QList<QByteArray> lines;
        bool complete = false; // read to its end, or as far as it can be
    };
    QHash<QString, SourceFile> m_sources; // a few files at a time
    QAIProgressMonitor* m_progress;
    QAILogMonitor* m_log;
    // Built at the first link that needs it: the displayed reports do not change while writing.
    std::unique_ptr<QAReporterNodeIndex> m_nodes;
};

// False for "/x", "\x" and "C:\x"; true for everything else, "C:x", "C:/x" and "" included.
bool is_relative_path(const QString& path);
