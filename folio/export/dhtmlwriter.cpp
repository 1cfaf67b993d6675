#include "folio/export/dhtmlwriter.h"

#include "folio/model/ddocument.h"
#include "folio/model/dlink.h"
#include "sdk/qaiprogressmonitor.h"

#include <QDir>
#include <QFileInfo>
#include <QRegularExpression>
#include <QSet>
#include <QUrl>
#include <algorithm>
#include <cmath>

namespace {

constexpr int cancelPollItems = 1000;

QByteArray number(double value)
{
    return QByteArray::number(value, 'g', 6);
}

// A colour as CSS: always "#rrggbb", whatever the markup said.
QByteArray cssColor(const DColor& color)
{
    return color.name().toLatin1();
}

// Letters, digits, blanks and dashes only: a family name cannot end the declaration early.
QString cssFamily(const QString& family)
{
    QString safe;
    for (const QChar c : family) {
        if (c.isLetterOrNumber() || c == u' ' || c == u'-' || c == u'_')
            safe.append(c);
    }
    return safe.simplified();
}

} // namespace

DHTMLWriter::DHTMLWriter() = default;
DHTMLWriter::~DHTMLWriter() = default;

QString DHTMLWriter::safeFileName(const QString& name)
{
    QString safe;
    safe.reserve(name.size());
    for (const QChar c : name) {
        const bool refused = c.category() == QChar::Other_Control || c == u'/' || c == u'\\' ||
                             c == u':' || c == u'*' || c == u'?' || c == u'"' || c == u'<' ||
                             c == u'>' || c == u'|' || c == u'#' || c == u'%';
        safe.append(refused ? QChar(u'_') : c);
    }
    // No "..", and no hidden or special names beginning with a dot.
    safe.replace(QLatin1String(".."), QLatin1String("__"));
    if (safe.startsWith(u'.'))
        safe[0] = u'_';
    return safe.left(200);
}

QString DHTMLWriter::pageName(const QString& tag) const
{
    const QString safe = safeFileName(tag);
    return (safe.isEmpty() ? QStringLiteral("untitled") : safe) + m_pageSuffix;
}

// Encodes to UTF-8 and escapes in one pass, straight into `out`: texts are most of a page.
void DHTMLWriter::appendEscaped(QByteArray& out, const QString& text)
{
    const qsizetype count = text.size();
    const auto* in = reinterpret_cast<const char16_t*>(text.utf16());
    const qsizetype start = out.size();
    out.resize(start + 6 * count); // the longest form of one UTF-16 unit is "&quot;"
    char* to = out.data() + start;
    const auto put = [&to](const char* entity) {
        while (*entity)
            *to++ = *entity++;
    };
    for (qsizetype i = 0; i < count; ++i) {
        const char32_t c = in[i];
        if (c < 0x80) {
            switch (c) {
            case '&':
                put("&amp;");
                break;
            case '<':
                put("&lt;");
                break;
            case '>':
                put("&gt;");
                break;
            case '"':
                put("&quot;");
                break;
            case '\'':
                put("&#39;");
                break;
            case 0:
                break;
            default:
                *to++ = char(c);
            }
            continue;
        }
        char32_t code = c;
        if (QChar::isHighSurrogate(c) && i + 1 < count && QChar::isLowSurrogate(in[i + 1]))
            code = QChar::surrogateToUcs4(char16_t(c), in[++i]);
        else if (QChar::isSurrogate(c))
            code = 0xfffd; // a lone half of a pair
        if (code < 0x800) {
            *to++ = char(0xc0 | (code >> 6));
        } else if (code < 0x10000) {
            *to++ = char(0xe0 | (code >> 12));
            *to++ = char(0x80 | ((code >> 6) & 0x3f));
        } else {
            *to++ = char(0xf0 | (code >> 18));
            *to++ = char(0x80 | ((code >> 12) & 0x3f));
            *to++ = char(0x80 | ((code >> 6) & 0x3f));
        }
        *to++ = char(0x80 | (code & 0x3f));
    }
    out.truncate(to - out.constData());
}

QString DHTMLWriter::cssRules(const QList<std::pair<const DStyle*, QString>>& classes)
{
    QString css;
    static const char* const aligns[] = {"left", "center", "right", "justify"};
    for (const auto& [style, name] : classes) {
        css += QLatin1Char('.') + name + QLatin1String(" {");
        const QString family = cssFamily(style->family());
        const QLatin1String generic(style->pre() ? "monospace" : "sans-serif");
        if (!family.isEmpty())
            css += QStringLiteral(" font-family: \"%1\", %2;").arg(family, generic);
        else if (style->pre())
            css += QStringLiteral(" font-family: %1;").arg(generic);
        if (style->size() > 0)
            css += QStringLiteral(" font-size: %1pt;").arg(style->size());
        if (style->bold())
            css += QLatin1String(" font-weight: bold;");
        if (style->italic())
            css += QLatin1String(" font-style: italic;");
        if (style->underline())
            css += QLatin1String(" text-decoration: underline;");
        if (style->color().isValid())
            css += QLatin1String(" color: ") + QLatin1String(cssColor(style->color())) +
                   QLatin1Char(';');
        if (style->background().isValid())
            css += QLatin1String(" background-color: ") +
                   QLatin1String(cssColor(style->background())) + QLatin1Char(';');
        if (style->align() != DStyle::AlignLeft)
            css += QStringLiteral(" text-align: %1;").arg(QLatin1String(aligns[style->align()]));
        if (style->indent() > 0)
            css += QStringLiteral(" margin-left: %1px;").arg(style->indent());
        if (style->pre())
            css += QLatin1String(" white-space: pre-wrap;");
        css += QLatin1String(" }\n");
    }
    return css;
}

const QByteArray& DHTMLWriter::classOf(const DStyle* style)
{
    if (style == m_lastStyle)
        return m_lastClass; // neighbours mostly share their style
    m_lastStyle = style;
    if (const auto known = m_classes.constFind(style); known != m_classes.constEnd())
        return m_lastClass = known.value();
    QString base = QStringLiteral("s-");
    for (const QChar c : style->name())
        base.append(c.isLetterOrNumber() && c.unicode() < 128 ? c : QChar(u'-'));
    QString name = base;
    for (int n = 2; m_classNames.contains(name); ++n)
        name = base + QLatin1Char('_') + QString::number(n);
    m_classNames.insert(name);
    m_classList.append({style, name});
    return m_lastClass = *m_classes.insert(style, name.toLatin1());
}

bool DHTMLWriter::writeBody(DDocument* document, QByteArray* out, QAIProgressMonitor* progress,
                            const BodySink& sink)
{
    m_progress = progress;
    m_sink = sink ? &sink : nullptr;
    m_sinkFailed = false;
    m_out = std::move(*out);
    m_classes.clear();
    m_classList.clear();
    m_classNames.clear();
    m_lastStyle = nullptr;
    m_lastClass.clear();
    m_closings.clear();
    m_sectionDepth = 0;
    m_items = 0;
    m_topItems = 0;
    m_topDone = 0;
    m_document = document;
    for (const DItem* top = document ? document->firstChild() : nullptr; top; top = top->next())
        ++m_topItems;
    m_canceled = false;
    doAll(document);
    *out = std::move(m_out);
    m_sink = nullptr;
    m_progress = nullptr;
    m_document = nullptr;
    return !m_canceled;
}

void DHTMLWriter::writeRaw(const char* markup)
{
    m_out.append(markup);
}

void DHTMLWriter::writeText(const QString& text)
{
    appendEscaped(m_out, text);
}

void DHTMLWriter::appendClass(const DStyle* style, const char* extraClass)
{
    if (!style && !extraClass)
        return;
    m_out.append(" class=\"");
    if (extraClass)
        m_out.append(extraClass);
    if (style) {
        if (extraClass)
            m_out.append(' ');
        m_out.append(classOf(style));
    }
    m_out.append('"');
}

void DHTMLWriter::open(const char* element, DItem* item, const QString& id, const char* extraClass)
{
    m_out.append('<');
    m_out.append(element);
    if (!id.isEmpty()) {
        m_out.append(" id=\"");
        appendEscaped(m_out, id);
        m_out.append('"');
    }
    appendClass(item->style(), extraClass);
    m_out.append('>');
}

void DHTMLWriter::writeChildren(DItem* container, const QByteArray& closing)
{
    if (DItemContainer* children = container->asContainer()) {
        m_closings.push_back(closing);
        doItemChildren(children);
    } else {
        m_out.append(closing);
    }
}

void DHTMLWriter::doneChildren(DItemContainer* container)
{
    if (m_closings.empty())
        return;
    m_out.append(m_closings.back());
    m_closings.pop_back();
    if (container->type() == DItem::Section)
        --m_sectionDepth;
}

QByteArray DHTMLWriter::tagHref(const QString& target) const
{
    DLink link(target);
    QString file;
    QString document;
    QString tag;
    link.split(file, document, tag);
    QByteArray href;
    if (!document.isEmpty())
        appendEscaped(href, pageName(document));
    href.append('#');
    appendEscaped(href, tag);
    return href;
}

void DHTMLWriter::doItem(DItem* item)
{
    if (m_canceled || !item)
        return;
    if (item->parent() == m_document)
        ++m_topDone; // progress counts the parts of the document
    if (++m_items % cancelPollItems == 0 && m_progress) {
        m_progress->setProgress(int(qMin<qint64>(99, m_topDone * 100 / qMax(1, m_topItems))));
        if (m_progress->isCanceled()) {
            m_canceled = true;
            return;
        }
    }
    if (m_sink && m_out.size() >= m_spillSize) {
        if (!(*m_sink)(m_out)) {
            m_sinkFailed = m_canceled = true;
            return;
        }
        m_out.resize(0); // keeps the capacity for the next part
    }
    // The children of a list are its entries.
    const bool entry =
        !m_closings.empty() && item->parent() && item->parent()->type() == DItem::List;
    if (entry)
        m_out.append("<li>");
    const size_t open = m_closings.size();
    DIterator::doItem(item);
    if (!entry)
        return;
    if (m_closings.size() > open)
        m_closings.back().append("</li>\n");
    else
        m_out.append("</li>\n");
}

void DHTMLWriter::doDocument(DItem* item)
{
    open("main", item, static_cast<DDocument*>(item)->tag());
    writeChildren(item, "</main>\n");
}

void DHTMLWriter::doSection(DItem* item)
{
    ++m_sectionDepth;
    open("section", item, static_cast<DSection*>(item)->tag());
    writeChildren(item, "</section>\n");
}

void DHTMLWriter::doTitle(DItem* item)
{
    const QByteArray level = QByteArray::number(std::clamp(m_sectionDepth + 1, 1, 6));
    open(("h" + level).constData(), item, static_cast<DTitle*>(item)->tag());
    writeChildren(item, "</h" + level + ">\n");
}

void DHTMLWriter::doHeader(DItem* item)
{
    open("header", item);
    writeChildren(item, "</header>\n");
}

void DHTMLWriter::doFooter(DItem* item)
{
    open("footer", item);
    writeChildren(item, "</footer>\n");
}

void DHTMLWriter::doPageBreak(DItem*)
{
    m_out.append("<hr>\n");
}

void DHTMLWriter::doParagraph(DItem* item)
{
    open("p", item);
    writeChildren(item, "</p>\n");
}

void DHTMLWriter::doText(DItem* item)
{
    const QString& text = static_cast<DText*>(item)->text();
    const DStyle* style = item->style();
    if (style && (!item->parent() || style != item->parent()->style())) {
        m_out.append("<span");
        appendClass(style, nullptr);
        m_out.append('>');
        writeText(text);
        m_out.append("</span>");
    } else {
        writeText(text);
    }
}

void DHTMLWriter::doImage(DItem* item)
{
    const auto* image = static_cast<DImage*>(item);
    const QString file = m_imageResolver ? m_imageResolver(image->source()) : QString();
    if (file.isEmpty()) {
        m_out.append("<span class=\"missing-image\">[");
        writeText(image->source());
        m_out.append("]</span>");
        return;
    }
    m_out.append("<img src=\"");
    m_out.append(QUrl::toPercentEncoding(file));
    m_out.append("\" alt=\"");
    writeText(image->source());
    m_out.append('"');
    if (image->width() > 0)
        m_out.append(" width=\"" + QByteArray::number(image->width()) + '"');
    if (image->height() > 0)
        m_out.append(" height=\"" + QByteArray::number(image->height()) + '"');
    m_out.append('>');
}

void DHTMLWriter::doList(DItem* item)
{
    const bool ordered = static_cast<DList*>(item)->ordered();
    open(ordered ? "ol" : "ul", item);
    m_out.append('\n');
    writeChildren(item, ordered ? "</ol>\n" : "</ul>\n");
}

// Where the target leads: a report file's page, a source file, or a tag.
void DHTMLWriter::doLink(DItem* item)
{
    const QString& target = static_cast<DLink*>(item)->target();
    static const QRegularExpression source(QStringLiteral("(.*)line (\\d+)"));
    QByteArray href;
    if (target.startsWith(QLatin1String("xrdlink://"))) {
        const QString rest = target.mid(10);
        const qsizetype hash = rest.indexOf(u'#');
        const QString file = rest.left(hash < 0 ? rest.size() : hash);
        if (!file.isEmpty())
            appendEscaped(href, pageName(QFileInfo(file).baseName()));
        if (hash >= 0) {
            href.append('#');
            appendEscaped(href, rest.mid(hash + 1));
        }
    } else if (const auto match = source.match(target); match.hasMatch()) {
        const QString path = QDir::fromNativeSeparators(match.captured(1).trimmed());
        const bool absolute = QDir::isAbsolutePath(path);
        href = absolute ? (path.startsWith(u'/') ? "file://" : "file:///") : "./";
        appendEscaped(href, path);
    } else {
        href = tagHref(target);
    }
    m_out.append("<a href=\"");
    m_out.append(href);
    m_out.append('"');
    appendClass(item->style(), nullptr);
    m_out.append('>');
    writeChildren(item, "</a>");
}

void DHTMLWriter::doTag(DItem* item)
{
    m_out.append("<span id=\"");
    writeText(static_cast<DTag*>(item)->name());
    m_out.append("\"></span>");
}

void DHTMLWriter::doTable(DItem* item)
{
    const auto* table = static_cast<DTable*>(item);
    static const char* const grids[] = {"grid-none", "grid-frame", "grid-full"};
    open("table", item, QString(), grids[std::clamp(table->code(), 0, 2)]);
    m_out.append('\n');
    double total = 0;
    for (const double width : table->widths())
        total += width > 0 && std::isfinite(width) ? width : 0;
    if (total > 0) {
        m_out.append("<colgroup>");
        for (const double width : table->widths()) {
            const double share = width > 0 && std::isfinite(width) ? width / total : 0;
            m_out.append("<col style=\"width: " + number(share * 100) + "%\">");
        }
        m_out.append("</colgroup>\n");
    }
    writeChildren(item, "</table>\n");
}

void DHTMLWriter::doRow(DItem* item)
{
    open("tr", item);
    writeChildren(item, "</tr>\n");
}

void DHTMLWriter::doCell(DItem* item)
{
    const int span = static_cast<DCell*>(item)->span();
    m_out.append("<td");
    if (span > 0)
        m_out.append(" colspan=\"" + QByteArray::number(qMin(span, 999) + 1) + '"');
    appendClass(item->style(), nullptr);
    m_out.append('>');
    writeChildren(item, "</td>");
}

void DHTMLWriter::doCellText(DItem* item)
{
    const auto* cell = static_cast<DCellText*>(item);
    m_out.append("<td");
    if (cell->span() > 0)
        m_out.append(" colspan=\"" + QByteArray::number(qMin(cell->span(), 999) + 1) + '"');
    appendClass(item->style(), nullptr);
    m_out.append('>');
    writeText(cell->text());
    writeChildren(item, "</td>");
}

void DHTMLWriter::doTagPointer(DItem* item)
{
    const QString& target = static_cast<DTagPointer*>(item)->target();
    m_out.append("<a class=\"tag-pointer\" href=\"" + tagHref(target) + "\">");
    writeText(target);
    m_out.append("</a>");
}

void DHTMLWriter::doPopupLink(DItem* item)
{
    const auto* link = static_cast<DPopupLink*>(item);
    m_out.append("<a href=\"" + tagHref(link->target()) + '"');
    appendClass(item->style(), "popup-link");
    m_out.append('>');
    writeChildren(item, "</a>");
}

void DHTMLWriter::doPopup(DItem* item)
{
    open("aside", item, static_cast<DPopup*>(item)->tag(), "popup");
    writeChildren(item, "</aside>\n");
}

void DHTMLWriter::doSummary(DItem* item)
{
    open("nav", item, static_cast<DSummary*>(item)->tag(), "summary");
    m_out.append("<ul>\n");
    writeChildren(item, "</ul></nav>\n");
}

void DHTMLWriter::doSEntry(DItem* item)
{
    const auto* entry = static_cast<DSEntry*>(item);
    m_out.append("<li><a href=\"" + tagHref(entry->target()) + "\">");
    writeText(entry->text());
    m_out.append("</a></li>\n");
}

void DHTMLWriter::doIndex(DItem* item)
{
    open("div", item, static_cast<DIndex*>(item)->tag(), "index");
    m_out.append("<ul>\n");
    writeChildren(item, "</ul></div>\n");
}

void DHTMLWriter::doIEntry(DItem* item)
{
    const auto* entry = static_cast<DIEntry*>(item);
    m_out.append("<li><a href=\"" + tagHref(entry->target()) + "\">");
    writeText(entry->text());
    m_out.append("</a></li>\n");
}

// A chart is drawn whole here: its axes give the ranges (the points' own when absent), each
// curve becomes a polyline.
void DHTMLWriter::doGraphic(DItem* item)
{
    const auto* graphic = static_cast<DGraphic*>(item);
    std::vector<const DAxis*> axes;
    std::vector<const DCurve*> curves;
    for (const DItem* child = graphic->firstChild(); child; child = child->next()) {
        if (const auto* axis = dcast<DAxis>(child))
            axes.push_back(axis);
        else if (const auto* curve = dcast<DCurve>(child))
            curves.push_back(curve);
    }
    double minX = 0, maxX = 0, minY = 0, maxY = 0;
    bool any = false;
    for (const DCurve* curve : curves) {
        for (const DItem* p = curve->firstChild(); p; p = p->next()) {
            const auto* point = dcast<DPoint>(p);
            if (!point || !std::isfinite(point->x()) || !std::isfinite(point->y()))
                continue;
            minX = any ? std::min(minX, point->x()) : point->x();
            maxX = any ? std::max(maxX, point->x()) : point->x();
            minY = any ? std::min(minY, point->y()) : point->y();
            maxY = any ? std::max(maxY, point->y()) : point->y();
            any = true;
        }
    }
    const auto useAxis = [](const DAxis* axis, double& low, double& high) {
        if (axis && axis->maximum() > axis->minimum() && std::isfinite(axis->minimum()) &&
            std::isfinite(axis->maximum())) {
            low = axis->minimum();
            high = axis->maximum();
        }
    };
    useAxis(axes.size() > 0 ? axes[0] : nullptr, minX, maxX);
    useAxis(axes.size() > 1 ? axes[1] : nullptr, minY, maxY);
    if (maxX <= minX)
        maxX = minX + 1;
    if (maxY <= minY)
        maxY = minY + 1;

    constexpr double width = 480, height = 240, margin = 30;
    open("figure", item, graphic->tag(), "chart");
    m_out.append("<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"480\" height=\"240\" "
                 "viewBox=\"0 0 480 240\" role=\"img\">");
    m_out.append("<rect x=\"30\" y=\"10\" width=\"440\" height=\"200\" fill=\"none\" "
                 "stroke=\"#888\"/>");
    for (const DCurve* curve : curves) {
        const DColor color = curve->color().isValid() ? curve->color() : DColor(0x1f, 0x3a, 0x5f);
        m_out.append("<polyline fill=\"none\" stroke-width=\"2\" stroke=\"" + cssColor(color) +
                     "\" points=\"");
        for (const DItem* p = curve->firstChild(); p; p = p->next()) {
            const auto* point = dcast<DPoint>(p);
            if (!point || !std::isfinite(point->x()) || !std::isfinite(point->y()))
                continue;
            const double x = margin + (point->x() - minX) / (maxX - minX) * (width - margin - 10);
            const double y = 10 + (maxY - point->y()) / (maxY - minY) * (height - margin - 10);
            m_out.append(number(x) + ',' + number(y) + ' ');
        }
        m_out.append("\"><title>");
        writeText(curve->name());
        m_out.append("</title></polyline>");
    }
    m_out.append("<text x=\"30\" y=\"228\" font-size=\"11\">" + number(minX) +
                 "</text><text x=\"470\" y=\"228\" font-size=\"11\" text-anchor=\"end\">" +
                 number(maxX) +
                 "</text><text x=\"26\" y=\"210\" font-size=\"11\" "
                 "text-anchor=\"end\">" +
                 number(minY) +
                 "</text><text x=\"26\" y=\"20\" font-size=\"11\" "
                 "text-anchor=\"end\">" +
                 number(maxY) + "</text></svg>");
    m_out.append("<figcaption>");
    writeText(graphic->title());
    for (const DCurve* curve : curves) {
        const DColor color = curve->color().isValid() ? curve->color() : DColor(0x1f, 0x3a, 0x5f);
        m_out.append(" <span class=\"legend\" style=\"color: " + cssColor(color) + "\">&#9632; ");
        writeText(curve->name());
        m_out.append("</span>");
    }
    m_out.append("</figcaption></figure>\n");
}

// Axes, curves and points are drawn by their chart.
void DHTMLWriter::doAxis(DItem*) {}
void DHTMLWriter::doCurve(DItem*) {}
void DHTMLWriter::doPoint(DItem*) {}
