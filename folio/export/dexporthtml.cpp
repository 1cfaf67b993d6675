#include "folio/export/dexporthtml.h"

#include "folio/export/dhtmlwriter.h"
#include "folio/model/ddocument.h"
#include "sdk/qailogmonitor.h"
#include "sdk/qaiprogressmonitor.h"
#include "sdk/qasafefile.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryFile>
#include <QTextStream>

namespace {

QString tr(const char* text)
{
    return QCoreApplication::translate("DExportHtml", text);
}

void log(QAILogMonitor* monitor, const QString& message)
{
    if (monitor)
        monitor->logMessage(message);
}

// The look every page starts from; the styles of the document follow it.
const char baseCss[] = R"(body { margin: 0; background: #f6f7f9; color: #222;
  font: 15px/1.5 "Noto Sans", "DejaVu Sans", "Segoe UI", Helvetica, Arial, sans-serif; }
main { max-width: 62em; margin: 0 auto; padding: 1.5em 2.5em 3em; background: #fff;
  box-shadow: 0 0 6px rgba(0,0,0,.12); min-height: 100vh; box-sizing: border-box; }
section { margin: 0 0 .6em; }
h1, h2, h3, h4, h5, h6 { line-height: 1.25; margin: 1.1em 0 .4em; }
main > :first-child { margin-top: .3em; }
p { margin: .35em 0 .7em; }
a { color: #1a5fb4; }
a:hover { text-decoration: underline; }
hr { border: 0; border-top: 1px dashed #bbb; margin: 2em 0; }
table { border-collapse: collapse; margin: .6em 0 1em; width: 100%; }
td { padding: .3em .6em; vertical-align: top; }
table.grid-frame { border: 1px solid #999; }
table.grid-full, table.grid-full td { border: 1px solid #999; }
ul, ol { margin: .4em 0 .8em; padding-left: 1.8em; }
nav.summary, div.index { border-left: 3px solid #c5cfdb; padding-left: 1em; }
aside.popup { border: 1px solid #ccc; background: #fafafa; padding: .5em 1em; }
figure.chart { margin: 1em 0; }
figure.chart figcaption { font-size: 90%; color: #555; }
.missing-image { color: #a4262c; font-style: italic; }
nav.back { margin: 0 0 1em; font-size: 90%; }
)";

// A style sheet the pages may link: a relative path inside the export, so that no page reaches
// out to another host or folder ("//host/x.css", "\\host\x.css", "/x.css", "../x.css", "a:b",
// "%2e%2e/x.css", which a browser reads as "../x.css").
bool isLocalStyleSheet(const QString& css)
{
    if (css.isEmpty() || css.startsWith(u'/') || css.contains(u'\\') || css.contains(u':') ||
        css.contains(u'%'))
        return false;
    for (const QChar c : css) {
        if (c.category() == QChar::Other_Control || c == u'?' || c == u'#')
            return false;
    }
    const QStringList parts = css.split(u'/');
    return !parts.contains(QStringLiteral("..")) && !parts.contains(QString());
}

} // namespace

DExportHtml::DExportHtml(const QString& outputDir, const QString& configFile)
    : m_outputDir(outputDir), m_configFile(configFile)
{
}

DExportHtml::~DExportHtml() = default;

QString DExportHtml::manifestName()
{
    return QStringLiteral(".crc-export-manifest");
}

void DExportHtml::problem(QAILogMonitor* monitor, const QString& message)
{
    ++m_problems;
    log(monitor, message);
}

void DExportHtml::readConfig(QAILogMonitor* monitor)
{
    m_configRead = true;
    if (m_configFile.isEmpty() || !QFileInfo::exists(m_configFile))
        return;
    QFile file(m_configFile);
    QString reason;
    if (!QASafeWrite::openRegularFile(file, &reason)) {
        log(monitor,
            tr("%1: cannot be read (%2); the default settings are used").arg(m_configFile, reason));
        return;
    }
    QTextStream in(&file);
    QSet<QString> unknown;
    for (int number = 1; !in.atEnd(); ++number) {
        const QString line = in.readLine().trimmed();
        if (line.isEmpty() || line.startsWith(u'#'))
            continue;
        const qsizetype equals = line.indexOf(u'=');
        if (equals <= 0) {
            log(monitor, tr("%1:%2: a setting is written \"key = value\"")
                             .arg(m_configFile, QString::number(number)));
            continue;
        }
        const QString key = line.left(equals).trimmed().toLower();
        const QString value = line.mid(equals + 1).trimmed();
        if (key == QLatin1String("css")) {
            m_css = isLocalStyleSheet(value) ? value : QString();
            if (m_css.isEmpty())
                log(monitor, tr("%1:%2: the style sheet \"%3\" is not a relative path inside the "
                                "export; it is not linked")
                                 .arg(m_configFile, QString::number(number), value));
        } else if (key == QLatin1String("title")) {
            m_title = value;
        } else if (key == QLatin1String("lang")) {
            m_lang = value;
        } else if (!unknown.contains(key)) {
            unknown.insert(key);
            log(monitor, tr("%1:%2: unknown setting \"%3\" ignored")
                             .arg(m_configFile, QString::number(number), key));
        }
    }
}

// The manifest lists, one per line, the files earlier exports wrote here: only those may be
// replaced. Every other file of the directory keeps its name out of this export's reach.
void DExportHtml::readManifest()
{
    m_manifestRead = true;
    QFile file(QDir(m_outputDir).filePath(manifestName()));
    if (QASafeWrite::openRegularFile(file, nullptr)) {
        while (!file.atEnd()) {
            QByteArray line = file.readLine();
            if (line.endsWith('\n'))
                line.chop(1);
            const QString name = QString::fromUtf8(line);
            // Names of files in the directory only: nothing below or above it.
            const bool plainName = !name.isEmpty() && !name.contains(u'/') &&
                                   name != QLatin1String(".") && name != QLatin1String("..");
            if (plainName && !m_inManifest.contains(name)) {
                m_inManifest.insert(name);
                m_manifest.append(name);
            }
        }
    }
    m_names.reserve(manifestName());
    const QStringList present =
        QDir(m_outputDir)
            .entryList(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot);
    for (const QString& name : present) {
        const QString path = QDir(m_outputDir).filePath(name);
        const bool ours = m_inManifest.contains(name) && !QFileInfo(path).isSymLink() &&
                          QASafeWrite::isRegularFile(path);
        if (!ours)
            m_names.reserve(name);
    }
}

DPageNames& DExportHtml::pageNames()
{
    if (!m_manifestRead)
        readManifest();
    return m_names;
}

void DExportHtml::setPagePreamble(const QString& fileName, const QByteArray& markup)
{
    m_preambles.insert(fileName, markup);
}

void DExportHtml::setPagePostamble(const QString& fileName, const QByteArray& markup)
{
    m_postambles.insert(fileName, markup);
}

bool DExportHtml::writeManifest(QAILogMonitor* monitor)
{
    if (!m_manifestRead)
        readManifest();
    const QString path = QDir(m_outputDir).filePath(manifestName());
    if (m_manifest.isEmpty() && !QFileInfo::exists(path))
        return true; // nothing written, nothing to remember
    // Files of earlier exports that are gone are forgotten.
    QByteArray lines;
    for (const QString& name : std::as_const(m_manifest)) {
        if (QFileInfo::exists(QDir(m_outputDir).filePath(name)))
            lines += name.toUtf8() + '\n';
    }
    QString reason;
    if (QASafeWrite::writeFile(path, lines, &reason))
        return true;
    problem(monitor, reason);
    return false;
}

bool DExportHtml::isInsideImageFolders(const QString& canonicalPath) const
{
    for (const QString& folder : m_imageFolders + m_searchPath) {
        const QString root = QFileInfo(folder).canonicalFilePath();
        if (root.isEmpty())
            continue;
        if (canonicalPath.startsWith(root == QLatin1String("/") ? root : root + u'/'))
            return true;
    }
    return false;
}

// The picture `source` names, as a canonical path: the first place holding it. Empty when none.
QString DExportHtml::findImage(const QString& source) const
{
    if (source.isEmpty())
        return QString();
    if (QFileInfo(source).isAbsolute())
        return QFileInfo(source).canonicalFilePath();
    for (const QString& place : m_imageFolders + m_searchPath) {
        const QString found = QFileInfo(QDir(place), source).canonicalFilePath();
        if (!found.isEmpty())
            return found;
    }
    return QString();
}

QString DExportHtml::copyImage(const QString& source, QAILogMonitor* monitor)
{
    if (const auto known = m_images.constFind(source); known != m_images.constEnd())
        return known.value();
    m_images.insert(source, QString());
    const QString found = findImage(source);
    if (found.isEmpty()) {
        log(monitor, tr("Image '%1' not found; the pages show its name instead").arg(source));
        return QString();
    }
    if (!isInsideImageFolders(found) || !QASafeWrite::isRegularFile(found)) {
        log(monitor, tr("Image '%1' left out: only regular files inside the folders of the "
                        "reports and the document search path are copied")
                         .arg(source));
        return QString();
    }
    const QFileInfo info(found);
    // A copy named "x.html" or "x.svg" would be a page with its own scripts in a browser.
    static const QStringList pictureSuffixes{QStringLiteral("png"),  QStringLiteral("jpg"),
                                             QStringLiteral("jpeg"), QStringLiteral("gif"),
                                             QStringLiteral("bmp"),  QStringLiteral("webp"),
                                             QStringLiteral("ico"),  QStringLiteral("xpm")};
    if (!pictureSuffixes.contains(info.suffix().toLower())) {
        log(monitor, tr("Image '%1' left out: only pictures (%2) are copied")
                         .arg(source, pictureSuffixes.join(QStringLiteral(", "))));
        return QString();
    }
    const QString suffix = DHTMLWriter::safeFileName(info.suffix());
    const QString name =
        pageNames().nameFor(QStringLiteral("image:") + found, info.completeBaseName(),
                            suffix.isEmpty() ? QString() : QLatin1Char('.') + suffix);
    QString reason;
    if (!QASafeWrite::copyFile(found, QDir(m_outputDir).filePath(name), &reason)) {
        problem(monitor, tr("Image '%1' could not be copied: %2").arg(source, reason));
        return QString();
    }
    if (!m_inManifest.contains(name)) {
        m_inManifest.insert(name);
        m_manifest.append(name);
    }
    m_images.insert(source, name);
    return name;
}

namespace {

// Appends what waited in `spill` (may be null) to `file`.
bool copySpill(QTemporaryFile* spill, QASafeFile* file)
{
    if (!spill)
        return true;
    if (!spill->seek(0))
        return false;
    QByteArray block(1 << 20, Qt::Uninitialized);
    for (;;) {
        const qint64 length = spill->read(block.data(), block.size());
        if (length < 0)
            return false;
        if (length == 0)
            return true;
        if (!file->write(block.constData(), length))
            return false;
    }
}

} // namespace

QByteArray DExportHtml::pageHead(const QString& pageTitle) const
{
    QByteArray head = "<!DOCTYPE html>\n<html lang=\"";
    DHTMLWriter::appendEscaped(head, m_lang);
    head += "\">\n<head>\n<meta charset=\"utf-8\">\n"
            "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n<title>";
    DHTMLWriter::appendEscaped(head, pageTitle);
    head += "</title>\n<style>\n";
    head += baseCss;
    const DHTMLWriter* writer = m_writer ? m_writer : m_ownWriter.get();
    // The rules hold only sanitised names, numbers and colours: nothing in them can end the block.
    head += DHTMLWriter::cssRules(writer->styleClasses()).toUtf8();
    head += "</style>\n";
    if (!m_css.isEmpty()) {
        head += "<link rel=\"stylesheet\" href=\"";
        DHTMLWriter::appendEscaped(head, m_css);
        head += "\">\n";
    }
    head += "</head>\n<body>\n";
    return head;
}

bool DExportHtml::generate(DDocument* document, QAIProgressMonitor* progress,
                           QAILogMonitor* monitor)
{
    if (!document)
        return false;
    QString wanted = document->tag();
    if (wanted.isEmpty()) {
        // Named after its title, without replacing a page of this export.
        wanted = document->title().isEmpty() ? QStringLiteral("untitled") : document->title();
        wanted =
            pageNames().nameFor(QStringLiteral("untagged:") + QString::number(quintptr(document)),
                                wanted, QStringLiteral(".html"));
        log(monitor, tr("A document has no tag; its page is named %1").arg(wanted));
        return generateAs(document, wanted, progress, monitor);
    }
    return generateAs(
        document,
        pageNames().nameFor(QStringLiteral("page:") + wanted, wanted, QStringLiteral(".html")),
        progress, monitor);
}

bool DExportHtml::generateAs(DDocument* document, const QString& fileName,
                             QAIProgressMonitor* progress, QAILogMonitor* monitor)
{
    if (!document)
        return false;
    if (!m_configRead)
        readConfig(monitor);
    DHTMLWriter* writer = m_writer;
    if (!writer) {
        if (!m_ownWriter)
            m_ownWriter = std::make_unique<DHTMLWriter>();
        writer = m_ownWriter.get();
    }
    if (progress && progress->isCanceled())
        return false;
    if (!QDir().mkpath(m_outputDir)) {
        problem(monitor, tr("The directory %1 could not be created").arg(m_outputDir));
        return false;
    }
    pageNames();
    const QString path = QDir(m_outputDir).filePath(fileName);
    if (progress) {
        progress->setLabelText(tr("Writing %1").arg(fileName));
        progress->setTotalSteps(100);
        progress->setProgress(0);
    }

    // The preamble and the way back to the index go inside the page's main block.
    QByteArray top;
    if (!m_indexPage.isEmpty() && fileName != m_indexPage) {
        top = "<nav class=\"back\"><a href=\"";
        DHTMLWriter::appendEscaped(top, m_indexPage);
        top += "\">&larr; ";
        DHTMLWriter::appendEscaped(top, tr("Summary"));
        top += "</a></nav>\n";
    }
    top += m_preambles.value(fileName);
    // Goes into the first part of the body, which opens the main block.
    auto insertTop = [&top](QByteArray& body) {
        if (top.isEmpty())
            return;
        const qsizetype mainEnd = body.startsWith("<main") ? body.indexOf('>') : -1;
        body.insert(mainEnd < 0 ? 0 : mainEnd + 1, mainEnd < 0 ? top : '\n' + top);
        top.clear();
    };

    // The head names the styles the body used, so a body too big to keep waits in a temporary
    // file beside the page until the head can be written before it.
    std::unique_ptr<QTemporaryFile> spill;
    QString spillError;
    const DHTMLWriter::BodySink toSpill = [&](QByteArray& part) {
        insertTop(part);
        if (!spill) {
            spill = std::make_unique<QTemporaryFile>(
                QDir(m_outputDir).filePath(QStringLiteral(".crc-export-XXXXXX")));
            if (!spill->open()) {
                spillError = tr("Cannot write %1: %2").arg(spill->fileName(), spill->errorString());
                return false;
            }
        }
        // Written past the file's own buffer, so that a failure keeps the system's reason.
        QString reason;
        if (!QASafeWrite::writeAll(spill->handle(), part, &reason)) {
            spillError = tr("Cannot write %1: %2").arg(spill->fileName(), reason);
            return false;
        }
        return true;
    };

    writer->setImageResolver(
        [this, monitor](const QString& source) { return copyImage(source, monitor); });
    QByteArray body;
    const bool written = writer->writeBody(document, &body, progress, toSpill);
    writer->setImageResolver(nullptr);
    if (!written) {
        if (writer->sinkFailed())
            problem(monitor, spillError);
        return false;
    }
    insertTop(body);
    // The end of the main block is in the last part of the body, which stays in memory.
    if (const QByteArray end = m_postambles.value(fileName); !end.isEmpty()) {
        const qsizetype mainEnd = body.lastIndexOf("</main>");
        body.insert(mainEnd < 0 ? body.size() : mainEnd, end);
    }
    QString title = document->title().isEmpty() ? document->tag() : document->title();
    if (!m_title.isEmpty())
        title = title.isEmpty() ? m_title : title + QStringLiteral(" \u2013 ") + m_title;

    QASafeFile file(path);
    const QByteArray head = pageHead(title.isEmpty() ? fileName : title);
    const QByteArray tail = "</body>\n</html>\n";
    const qint64 spilled = spill ? spill->size() : 0;
    if (!file.open() || !file.write(head) || !copySpill(spill.get(), &file) || !file.write(body) ||
        !file.write(tail) || !file.commit()) {
        problem(monitor,
                file.errorString().isEmpty()
                    ? tr("Cannot read back %1: %2").arg(spill->fileName(), spill->errorString())
                    : file.errorString());
        return false;
    }
    m_bytesWritten += head.size() + spilled + body.size() + tail.size();
    if (!m_inManifest.contains(fileName)) {
        m_inManifest.insert(fileName);
        m_manifest.append(fileName);
    }
    if (progress)
        progress->setProgress(100);
    return true;
}
