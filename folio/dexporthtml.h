#pragma once

#include <QHash>
#include <QSet>
#include <QString>
#include <QStringList>
#include <memory>

class DDocument;
class DHTMLWriter;
class QAILogMonitor;
class QAIProgressMonitor;

// Exports documents as HTML5 pages into one directory: one page per document, named after its
// tag, with its styles as a style sheet and its pictures copied beside it. A page is written
// whole or not at all.
//
// The settings file holds optional "key = value" lines ('#' starts a comment): `css` links a
// style sheet after the built-in one, `title` is added to every page title, `lang` is the page
// language ("en" by default).
class DExportHtml
{
public:
    DExportHtml(const QString& outputDir, const QString& configFile);
    ~DExportHtml();
    DExportHtml(const DExportHtml&) = delete;
    DExportHtml& operator=(const DExportHtml&) = delete;

    // The writer of the pages; borrowed. Without one, a plain DHTMLWriter is used.
    void setHTMLWriter(DHTMLWriter* writer) { m_writer = writer; }
    // Where pictures with relative names are looked for, in order, after the current directory.
    void setSearchPath(const QStringList& directories) { m_searchPath = directories; }

    // Writes the page of `document`, reporting its progress in 100 steps. False when the page could
    // not be written or the user canceled; no partial page is left behind either way. Problems go
    // to `log` (may be null).
    bool generate(DDocument* document, QAIProgressMonitor* progress, QAILogMonitor* log);

    // Bytes of pages written so far.
    qint64 bytesWritten() const { return m_bytesWritten; }

private:
    void readConfig(QAILogMonitor* log);
    QString copyImage(const QString& source, QAILogMonitor* log);
    QByteArray pageHead(const QString& pageTitle) const;

    QString m_outputDir;
    QString m_configFile;
    bool m_configRead = false;
    QString m_css;
    QString m_title;
    QString m_lang = QStringLiteral("en");
    QStringList m_searchPath;
    DHTMLWriter* m_writer = nullptr;
    std::unique_ptr<DHTMLWriter> m_ownWriter;
    // Pictures already copied (source path to file name) and the file names in use.
    QHash<QString, QString> m_images;
    QSet<QString> m_imageNames;
    QSet<QString> m_missingImages;
    QSet<QString> m_pageNames; // pages written so far
    qint64 m_bytesWritten = 0;
};
