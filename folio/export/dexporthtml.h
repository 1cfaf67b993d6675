#pragma once

#include "folio/export/dpagenames.h"

#include <QHash>
#include <QSet>
#include <QString>
#include <QStringList>
#include <memory>

class DDocument;
class DHTMLWriter;
class QAILogMonitor;
class QAIProgressMonitor;

// Exports documents as HTML5 pages into one directory: one page per document, with its styles
// as a style sheet and its pictures copied beside it. A page is written whole or not at all,
// never through a link, and never over a file this export (or an earlier one into the same
// directory, as its manifest says) did not write: such names are left alone and the page gets
// another one. Pages and picture copies share one table of names (pageNames()).
//
// Pictures are copied only when they are regular files inside the picture folders or the
// search path; anything else is left out, with a line to the log.
//
// The settings file holds optional "key = value" lines ('#' starts a comment): `css` links a
// style sheet after the built-in one (only a relative path inside the export), `title` is added
// to every page title, `lang` is the page language ("en" by default).
class DExportHtml
{
public:
    DExportHtml(const QString& outputDir, const QString& configFile);
    ~DExportHtml();
    DExportHtml(const DExportHtml&) = delete;
    DExportHtml& operator=(const DExportHtml&) = delete;

    // The writer of the pages; borrowed. Without one, a plain DHTMLWriter is used.
    void setHTMLWriter(DHTMLWriter* writer) { m_writer = writer; }
    // Where pictures with relative names are looked for, in order, after the picture folders;
    // pictures may come from inside these folders.
    void setSearchPath(const QStringList& directories) { m_searchPath = directories; }
    // The folders (with everything below them) pictures may be copied from, looked in first.
    void setImageFolders(const QStringList& directories) { m_imageFolders = directories; }

    // The names of this export's files. The first call reads the manifest of earlier exports
    // and reserves the names of the other files of the directory.
    DPageNames& pageNames();
    // The page every other page links back to; none by default.
    void setIndexPage(const QString& fileName) { m_indexPage = fileName; }
    // Markup put at the top of the page `fileName`, as it is, and at the end of its main block.
    void setPagePreamble(const QString& fileName, const QByteArray& markup);
    void setPagePostamble(const QString& fileName, const QByteArray& markup);

    // Writes the page of `document`, named after its tag, reporting its progress in 100 steps.
    // False when the page could not be written or the user canceled; no partial page is left
    // behind either way. Problems go to `log` (may be null).
    bool generate(DDocument* document, QAIProgressMonitor* progress, QAILogMonitor* log);
    // The same, as the page `fileName` (a name from pageNames()).
    bool generateAs(DDocument* document, const QString& fileName, QAIProgressMonitor* progress,
                    QAILogMonitor* log);
    // Records every file written by this export and the earlier ones in the directory's
    // manifest. False (and a line to the log) when it could not be written.
    bool writeManifest(QAILogMonitor* log);

    // Pages, picture copies and the manifest that could not be written so far.
    int problems() const { return m_problems; }
    // Bytes of pages written so far.
    qint64 bytesWritten() const { return m_bytesWritten; }

    // The manifest's file name in the output directory.
    static QString manifestName();

private:
    void readConfig(QAILogMonitor* log);
    void readManifest();
    QString findImage(const QString& source) const;
    bool isInsideImageFolders(const QString& canonicalPath) const;
    QString copyImage(const QString& source, QAILogMonitor* log);
    QByteArray pageHead(const QString& pageTitle) const;
    void problem(QAILogMonitor* log, const QString& message);

    QString m_outputDir;
    QString m_configFile;
    bool m_configRead = false;
    QString m_css;
    QString m_title;
    QString m_lang = QStringLiteral("en");
    QStringList m_searchPath;
    QStringList m_imageFolders;
    DHTMLWriter* m_writer = nullptr;
    std::unique_ptr<DHTMLWriter> m_ownWriter;
    DPageNames m_names;
    bool m_manifestRead = false;
    QStringList m_manifest; // files of earlier exports, then of this one, each once
    QSet<QString> m_inManifest;
    QString m_indexPage;
    QHash<QString, QByteArray> m_preambles;
    QHash<QString, QByteArray> m_postambles;
    QHash<QString, QString> m_images; // picture source to file name ("" when left out)
    int m_problems = 0;
    qint64 m_bytesWritten = 0;
};
