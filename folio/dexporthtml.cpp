#include "folio/dexporthtml.h"

#include "folio/ddocument.h"
#include "folio/dhtmlwriter.h"
#include "sdk/qailogmonitor.h"
#include "sdk/qaiprogressmonitor.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>
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
)";

} // namespace

DExportHtml::DExportHtml(const QString& outputDir, const QString& configFile)
    : m_outputDir(outputDir), m_configFile(configFile)
{
}

DExportHtml::~DExportHtml() = default;

void DExportHtml::readConfig(QAILogMonitor* monitor)
{
    m_configRead = true;
    QFile file(m_configFile);
    if (m_configFile.isEmpty() || !file.exists())
        return;
    if (!file.open(QIODevice::ReadOnly | QIODevice::Text)) {
        log(monitor, tr("%1: cannot be read (%2); the default settings are used")
                         .arg(m_configFile, file.errorString()));
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
        if (key == QLatin1String("css"))
            m_css = value;
        else if (key == QLatin1String("title"))
            m_title = value;
        else if (key == QLatin1String("lang"))
            m_lang = value;
        else if (!unknown.contains(key)) {
            unknown.insert(key);
            log(monitor, tr("%1:%2: unknown setting \"%3\" ignored")
                             .arg(m_configFile, QString::number(number), key));
        }
    }
}

QString DExportHtml::copyImage(const QString& source, QAILogMonitor* monitor)
{
    if (const auto known = m_images.constFind(source); known != m_images.constEnd())
        return known.value();
    QString found;
    if (QFileInfo(source).isAbsolute()) {
        if (QFileInfo(source).isFile())
            found = source;
    } else {
        QStringList places{QDir::currentPath()};
        places += m_searchPath;
        for (const QString& place : places) {
            const QFileInfo candidate(QDir(place), source);
            if (candidate.isFile()) {
                found = candidate.absoluteFilePath();
                break;
            }
        }
    }
    if (found.isEmpty()) {
        if (!m_missingImages.contains(source)) {
            m_missingImages.insert(source);
            log(monitor, tr("Image '%1' not found; the pages show its name instead").arg(source));
        }
        return QString();
    }
    // Two pictures of the same name from different folders get different names here.
    const QFileInfo info(found);
    QString name = DHTMLWriter::safeFileName(info.fileName());
    for (int n = 2; m_imageNames.contains(name); ++n)
        name = DHTMLWriter::safeFileName(info.completeBaseName()) + QLatin1Char('-') +
               QString::number(n) + QLatin1Char('.') + info.suffix();
    const QString destination = QDir(m_outputDir).filePath(name);
    if (QFileInfo(destination).canonicalFilePath() != info.canonicalFilePath()) {
        QFile::remove(destination);
        if (!QFile::copy(found, destination)) {
            log(monitor, tr("Image '%1' could not be copied to %2").arg(found, destination));
            m_missingImages.insert(source);
            return QString();
        }
    }
    m_imageNames.insert(name);
    m_images.insert(source, name);
    return name;
}

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
    // Only a local or relative style sheet: the pages must not reach out on their own.
    const QString scheme = m_css.section(u':', 0, 0);
    if (!m_css.isEmpty() && (!m_css.contains(u':') || scheme == QLatin1String("file") ||
                             (scheme.size() == 1 && scheme[0].isLetter()))) {
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

    QString fileName = writer->pageName(document->tag());
    if (document->tag().isEmpty()) {
        // Named after its title, without replacing a page of this export.
        const QString base =
            document->title().isEmpty() ? QStringLiteral("untitled") : document->title();
        fileName = writer->pageName(base);
        for (int n = 2; m_pageNames.contains(fileName); ++n)
            fileName = writer->pageName(base + QLatin1Char('-') + QString::number(n));
        log(monitor, tr("A document has no tag; its page is named %1").arg(fileName));
    }
    if (!QDir().mkpath(m_outputDir)) {
        log(monitor, tr("The directory %1 could not be created").arg(m_outputDir));
        return false;
    }
    const QString path = QDir(m_outputDir).filePath(fileName);
    if (progress) {
        progress->setLabelText(tr("Writing %1").arg(fileName));
        progress->setTotalSteps(100);
        progress->setProgress(0);
    }

    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly)) {
        log(monitor, tr("%1 could not be written: %2").arg(path, file.errorString()));
        return false;
    }
    writer->setImageResolver(
        [this, monitor](const QString& source) { return copyImage(source, monitor); });
    QByteArray body;
    const bool written = writer->writeBody(document, &body, progress);
    writer->setImageResolver(nullptr);
    if (!written) {
        file.cancelWriting();
        return false;
    }
    QString title = document->title().isEmpty() ? document->tag() : document->title();
    if (!m_title.isEmpty())
        title = title.isEmpty() ? m_title : title + QStringLiteral(" \u2013 ") + m_title;
    file.write(pageHead(title.isEmpty() ? fileName : title));
    file.write(body);
    file.write("</body>\n</html>\n");
    const qint64 size = file.size();
    if (!file.commit()) {
        log(monitor, tr("%1 could not be written: %2").arg(path, file.errorString()));
        return false;
    }
    m_bytesWritten += size;
    m_pageNames.insert(fileName);
    if (progress)
        progress->setProgress(100);
    return true;
}
