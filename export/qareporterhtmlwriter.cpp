#include "export/qareporterhtmlwriter.h"

#include "folio/export/dpagenames.h"
#include "folio/model/ddocument.h"
#include "folio/model/dlink.h"
#include "model/qareporterdata.h"
#include "model/qareporternode.h"
#include "model/reversesearch.h"
#include "sdk/qafileutil.h"
#include "sdk/qasafefile.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>
#include <QUrl>

static const QChar slash(47);
static const QChar backslash(92);
static const QChar pointpoint(58);

bool is_relative_path(const QString& path)
{
    const auto at = [&path](qsizetype i) { return i < path.size() ? path[i] : QChar(); };
    if (at(0) == slash || at(0) == backslash)
        return false;
    if (at(1) != pointpoint)
        return true;
    return at(2) != backslash;
}

QAReporterHTMLWriter::QAReporterHTMLWriter(const QList<QAReporterData*>& reports,
                                           const QList<QAReporterData*>& displayed,
                                           QAIProgressMonitor* progress, QAILogMonitor* log)
    : m_displayed(displayed), m_progress(progress), m_log(log)
{
    for (const QAReporterData* data : reports) {
        if (data->document)
            m_reportTags.insert(data->document->tag());
    }
}

QAReporterHTMLWriter::~QAReporterHTMLWriter() = default;

void QAReporterHTMLWriter::setReferencedXrd(const QStringList& files)
{
    m_referencedXrd = files;
    m_referencedSet = QSet<QString>(files.begin(), files.end());
}

void QAReporterHTMLWriter::setBaseForLink(const QString& dir)
{
    m_baseForLink = QDir::toNativeSeparators(QDir::cleanPath(dir));
    m_relativePaths.clear();
}

QString QAReporterHTMLWriter::resolveXrd(const QString& xrdPath) const
{
    const QString path = QFileInfo(xrdPath).isRelative() && !m_xrdBase.isEmpty()
                             ? m_xrdBase + QDir::separator() + xrdPath
                             : xrdPath;
    return QDir::cleanPath(QFileInfo(path).absoluteFilePath());
}

void QAReporterHTMLWriter::setXrdBase(const QString& dir)
{
    m_xrdBase = dir;
    m_xrdPages.clear();
}

QAReporterData* QAReporterHTMLWriter::exportedReport(const QString& xrdPath) const
{
    // Many links name report files: the reports' own files are found by path, not by a search.
    if (m_reportFiles.isEmpty()) {
        for (QAReporterData* report : m_displayed) {
            if (report->document)
                m_reportFiles.insert(
                    QDir::cleanPath(QFileInfo(report->fileName).absoluteFilePath()), report);
        }
    }
    return m_reportFiles.value(resolveXrd(xrdPath));
}

QString QAReporterHTMLWriter::getHtmlFilenameForXrd(const QString& xrdPath) const
{
    const QString wanted = QFileInfo(xrdPath).baseName();
    if (!m_pageNames)
        return safeFileName(wanted) + pageSuffix();
    if (const auto known = m_xrdPages.constFind(xrdPath); known != m_xrdPages.constEnd())
        return known.value();
    // A link to a report file that is exported anyway leads to its page.
    const QAReporterData* report = exportedReport(xrdPath);
    const QString page = report ? reportPageName(report->document->tag())
                                : m_pageNames->nameFor(QStringLiteral("xrd:") + resolveXrd(xrdPath),
                                                       wanted, pageSuffix());
    m_xrdPages.insert(xrdPath, page);
    return page;
}

QString QAReporterHTMLWriter::reportPageName(const QString& tag) const
{
    if (!m_pageNames)
        return safeFileName(QFileInfo(tag).baseName()) + pageSuffix();
    return m_pageNames->nameFor(QStringLiteral("report:") + tag, m_pageBases.value(tag, tag),
                                pageSuffix());
}

// Attribute values are escaped, and a relative value never starts with what a browser would
// take for a scheme ("javascript:"), so that no result file can make a live script link.
void QAReporterHTMLWriter::writeHref(const QString& value)
{
    const qsizetype colon = value.indexOf(u':');
    const qsizetype slashAt = value.indexOf(u'/');
    if (colon >= 0 && (slashAt < 0 || colon < slashAt))
        writeRaw("./");
    writeText(value);
}

void QAReporterHTMLWriter::setSourceOptions(const QString& urlTemplate, bool embed)
{
    m_sourceUrl = urlTemplate;
    m_embedSources = embed;
}

QString QAReporterHTMLWriter::pathInSources(const QString& file, const QString& base) const
{
    QString path = QDir::cleanPath(QDir::fromNativeSeparators(file.trimmed()));
    const QString root = QDir::cleanPath(QDir::fromNativeSeparators(base));
    if (!is_relative_path(path) && !base.isEmpty() && path.startsWith(root + slash))
        path = path.mid(root.size() + 1);
    else if (!is_relative_path(path) && !m_xrdBase.isEmpty() &&
             path.startsWith(QDir::cleanPath(m_xrdBase) + slash))
        path = path.mid(QDir::cleanPath(m_xrdBase).size() + 1);
    while (path.startsWith(QLatin1String("./")))
        path = path.mid(2);
    while (path.startsWith(slash))
        path = path.mid(1);
    return path;
}

const QList<QByteArray>& QAReporterHTMLWriter::sourceLines(const QString& path, int upTo)
{
    // Reading goes as far as the lines asked for, and never past the size a source may have.
    constexpr qint64 maxSourceSize = 64 * 1024 * 1024;
    constexpr int keptFiles = 16;
    auto known = m_sources.find(path);
    if (known != m_sources.end() && (known->complete || known->lines.size() >= upTo))
        return known->lines;
    if (known == m_sources.end()) {
        if (m_sources.size() >= keptFiles)
            m_sources.clear();
        known = m_sources.insert(path, SourceFile());
    }
    SourceFile& source = known.value();
    source.lines.clear();
    source.complete = true;
    QFile file(path);
    QString reason;
    if (!QASafeWrite::openRegularFile(file, &reason))
        return source.lines;
    qint64 read = 0;
    while (read < maxSourceSize && !file.atEnd()) {
        QByteArray line = file.readLine(maxSourceSize - read);
        read += line.size();
        if (line.endsWith('\n'))
            line.chop(1);
        if (line.endsWith('\r'))
            line.chop(1);
        source.lines.append(line);
        if (source.lines.size() >= upTo) {
            source.complete = file.atEnd();
            break;
        }
    }
    return source.lines;
}

// The lines around `line`, numbered, that one marked, as a block of the paragraph.
QByteArray QAReporterHTMLWriter::sourceLinesMarkup(const QString& path, int line)
{
    constexpr int around = 3;
    if (!m_embedSources || line < 1)
        return {};
    const QList<QByteArray>& lines = sourceLines(path, line + around);
    if (lines.size() < line)
        return {};
    QByteArray out = "<code class=\"source-lines\" style=\"display:block;white-space:pre\">";
    const int last = qMin(int(lines.size()), line + around);
    for (int at = qMax(1, line - around); at <= last; ++at) {
        const QString text = QStringLiteral("%1  ").arg(at, 6) +
                             QString::fromUtf8(lines.at(at - 1)) + QLatin1Char('\n');
        if (at == line)
            out += "<mark>";
        DHTMLWriter::appendEscaped(out, text);
        if (at == line)
            out += "</mark>";
    }
    return out + "</code>";
}

void QAReporterHTMLWriter::writeSourceLink(DItem* link, const QString& file, const QString& line)
{
    QString path = QDir::toNativeSeparators(QDir::cleanPath(file.trimmed()));
    QString base;
    if (path.isEmpty() || is_relative_path(path) || !m_sourceUrl.isEmpty()) {
        if (!m_nodes)
            m_nodes = std::make_unique<QAReporterNodeIndex>(m_displayed, DItem::Link);
        if (const QAReporterNode* node = m_nodes->find(link))
            base = node->base;
    }
    if (path.isEmpty() || is_relative_path(path)) {
        path = base + path;
        // What is still relative lies beside the report, as in the viewer.
        if (is_relative_path(path) && !m_xrdBase.isEmpty())
            path = QDir::toNativeSeparators(QDir::cleanPath(m_xrdBase + slash + path));
    }
    const QString source = path;
    if (!m_sourceUrl.isEmpty()) {
        QString address = m_sourceUrl;
        address.replace(QLatin1String("{path}"), QString::fromLatin1(QUrl::toPercentEncoding(
                                                     pathInSources(file, base), "/")));
        address.replace(QLatin1String("{line}"), QString::number(line.toInt()));
        writeRaw("<a href=\"");
        writeText(address);
        writeRaw("\">");
        writeChildren(link, "</a>" + sourceLinesMarkup(source, line.toInt()));
        return;
    }
    if (!m_baseForLink.isEmpty()) {
        // Many links name the same file: each path is made relative once.
        auto known = m_relativePaths.constFind(path);
        if (known == m_relativePaths.constEnd())
            known =
                m_relativePaths.insert(path, QAFileUtil::absPathToRelative(m_baseForLink, path));
        path = known.value();
    }
    const bool relative = is_relative_path(path);
    path.replace(backslash, slash);
    if (relative) {
        writeRaw("<a href=\"");
        writeHref(path);
    } else {
        writeRaw("<a href=\"file:///");
        writeText(path);
    }
    writeRaw("\">");
    writeChildren(link, "</a>" + sourceLinesMarkup(source, line.toInt()));
}

void QAReporterHTMLWriter::doLink(DItem* item)
{
    const auto* link = dcast<DLink>(item);
    if (!link)
        return;
    const QString& target = link->target();
    static const QRegularExpression sourceLine(QStringLiteral("(.*)line (\\d+)"));
    if (const QRegularExpressionMatch match = sourceLine.match(target); match.hasMatch()) {
        writeSourceLink(item, match.captured(1), match.captured(2));
        return;
    }

    // A web page (a rule's help) is linked as it is: its scheme is one a browser shows.
    if (target.startsWith(QLatin1String("https://")) ||
        target.startsWith(QLatin1String("http://"))) {
        writeRaw("<a href=\"");
        writeText(target);
        writeRaw("\" rel=\"noopener noreferrer\">");
        writeChildren(item, "</a>");
        return;
    }

    if (target.left(10) == QLatin1String("xrdlink://")) {
        const QString rest = target.mid(10);
        const qsizetype hash = rest.indexOf(u'#');
        const QString named = hash < 0 ? rest : rest.left(hash);
        const QString anchor = hash < 0 ? QString() : rest.mid(hash + 1);
        // Beside the report being written, not beside the others.
        const QString file = named.isEmpty() ? QString() : resolveXrd(named);
        writeRaw("<a href=\"");
        // Without a file, the link leads to an anchor of the page itself.
        if (!file.isEmpty())
            writeHref(getHtmlFilenameForXrd(file));
        if (!anchor.isEmpty() || file.isEmpty()) {
            writeRaw("#");
            writeText(anchor);
        }
        writeRaw("\">");
        writeChildren(item, "</a>");
        if (!file.isEmpty() && !m_referencedSet.contains(file)) {
            m_referencedSet.insert(file);
            m_referencedXrd.append(file);
        }
        return;
    }

    // A tag link leads to the page of the report document of that tag; a tag of no report is
    // taken for an anchor of the page being written.
    QString file;
    QString document;
    QString tag;
    link->split(file, document, tag);
    writeRaw("<a href=\"");
    if (m_reportTags.contains(tag)) {
        writeHref(reportPageName(tag));
        writeRaw("\">");
    } else {
        writeRaw("#");
        writeText(tag);
        writeRaw("\">");
    }
    writeChildren(item, "</a>");
}
