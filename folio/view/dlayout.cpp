#include "folio/view/dlayout.h"

#include "folio/view/dchart.h"

#include "folio/model/ddocument.h"
#include "folio/model/dlink.h"
#include "folio/view/dqcolor.h"
#include "sdk/qasafefile.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QFontDatabase>
#include <QFontMetricsF>
#include <QImageReader>
#include <QPainter>
#include <QTextLayout>
#include <QUrl>
#include <algorithm>
#include <cmath>

namespace {

constexpr int cellPadding = 4;
// The largest side an image is drawn with, whatever its markup asks: heights are summed in ints.
constexpr int maxImageSide = 32767;

int boundedSide(int side)
{
    return qMin(side, maxImageSide);
}

// The most characters laid out at once, and how many pieces beyond the first of each run keep
// their layout between uses (the first piece of every run always keeps it).
constexpr int maxPieceLength = 16384;
constexpr std::size_t maxLiveLayouts = 8;

// Where the piece of `text` from `start` ends: after the last blank within its last quarter,
// else at the length limit (never between the halves of a surrogate pair).
int pieceEnd(const QString& text, int start)
{
    const int limit = start + maxPieceLength;
    if (limit >= int(text.size()))
        return int(text.size());
    for (int end = limit; end > limit - maxPieceLength / 4; --end) {
        if (text.at(end - 1).isSpace())
            return end;
    }
    return text.at(limit - 1).isHighSurrogate() ? limit - 1 : limit;
}

Qt::Alignment alignmentOf(const DStyle* style)
{
    return DStyle::qtAlignment(style ? style->align() : DStyle::AlignLeft);
}

// Shows with the look of a link: the link has no style of its own.
bool looksLikeLink(const DFragment& fragment)
{
    return fragment.link && !fragment.link->style();
}

void addPiece(DTextRun& run, const QString& text, DItem* item, DItem* link, const DStyle* style)
{
    run.fragments.push_back(DFragment{int(run.text.size()), int(text.size()), item, link, style});
    run.text += text;
}

// Appends the text of `first` up to `last` (all following siblings when null) and of everything
// inside them; nested blocks start on a new line.
void appendInline(DTextRun& run, DItem* first, const DItem* last, const DStyle* style)
{
    struct Frame
    {
        DItem* next;
        const DItem* end;
        const DStyle* style;
        DItem* link;
    };
    std::vector<Frame> frames{{first, last ? last->next() : nullptr, style, nullptr}};
    while (!frames.empty()) {
        Frame& frame = frames.back();
        DItem* item = frame.next;
        if (!item || item == frame.end) {
            frames.pop_back();
            continue;
        }
        frame.next = item->next();
        const DStyle* itemStyle = item->style() ? item->style() : frame.style;
        DItem* link = frame.link;
        switch (item->type()) {
        case DItem::Text:
            addPiece(run, static_cast<DText*>(item)->text(), item, link, itemStyle);
            break;
        case DItem::TagPointer:
            addPiece(run, static_cast<DTagPointer*>(item)->target(), item, item, itemStyle);
            break;
        case DItem::SEntry:
            addPiece(run, static_cast<DSEntry*>(item)->text(), item, item, itemStyle);
            break;
        case DItem::IEntry:
            addPiece(run, static_cast<DIEntry*>(item)->text(), item, item, itemStyle);
            break;
        case DItem::Link:
        case DItem::PopupLink:
            frames.push_back(Frame{item->asContainer()->firstChild(), nullptr, itemStyle, item});
            break;
        default:
            if (DItemContainer* container = item->asContainer()) {
                if (!DBlockList::isInline(item->type()) && !run.text.isEmpty() &&
                    !run.text.endsWith(QChar::LineSeparator))
                    run.text += QChar::LineSeparator;
                frames.push_back(Frame{container->firstChild(), nullptr, itemStyle, link});
            }
            break;
        }
    }
}

QString cssOf(const DStyle* style)
{
    if (!style)
        return QString();
    QString css;
    if (!style->family().isEmpty())
        css += QStringLiteral("font-family:'%1';").arg(style->family());
    if (style->size() > 0)
        css += QStringLiteral("font-size:%1pt;").arg(style->size());
    if (style->bold())
        css += QStringLiteral("font-weight:bold;");
    if (style->italic())
        css += QStringLiteral("font-style:italic;");
    if (style->underline())
        css += QStringLiteral("text-decoration:underline;");
    if (style->color().isValid())
        css += QStringLiteral("color:%1;").arg(style->color().name());
    if (style->background().isValid())
        css += QStringLiteral("background-color:%1;").arg(style->background().name());
    if (style->pre())
        css += QStringLiteral("white-space:pre-wrap;");
    return css;
}

QString htmlOfRun(const DTextRun& run, int from, int to)
{
    QString html;
    int position = from;
    const auto appendPlain = [&](int end) {
        if (end > position)
            html += run.text.mid(position, end - position)
                        .toHtmlEscaped()
                        .replace(QChar::LineSeparator, QLatin1String("<br>"));
        position = qMax(position, end);
    };
    for (const DFragment& fragment : run.fragments) {
        const int start = qMax(from, fragment.start);
        const int end = qMin(to, fragment.start + fragment.length);
        if (start >= end)
            continue;
        appendPlain(start);
        QString piece = QStringLiteral("<span style=\"%1\">%2</span>")
                            .arg(cssOf(fragment.style).toHtmlEscaped(),
                                 run.text.mid(start, end - start).toHtmlEscaped());
        if (fragment.link)
            piece = QStringLiteral("<a href=\"%1\">%2</a>")
                        .arg(dLinkTarget(fragment.link).toHtmlEscaped(), piece);
        html += piece;
        position = end;
    }
    appendPlain(to);
    return html;
}

} // namespace

QString dLinkTarget(const DItem* link)
{
    switch (link->type()) {
    case DItem::Link:
        return static_cast<const DLink*>(link)->target();
    case DItem::PopupLink:
        return static_cast<const DPopupLink*>(link)->target();
    case DItem::TagPointer:
        return static_cast<const DTagPointer*>(link)->target();
    case DItem::SEntry:
        return static_cast<const DSEntry*>(link)->target();
    case DItem::IEntry:
        return static_cast<const DIEntry*>(link)->target();
    default:
        return QString();
    }
}

QFont DLayoutContext::fontOf(const DStyle* style) const
{
    if (!style)
        return font;
    auto found = m_fonts.constFind(style);
    if (found != m_fonts.cend())
        return *found;
    QFont styled = font;
    if (style->pre()) {
        // Fixed width, also where the style's family is not installed.
        const QString fixed = QFontDatabase::systemFont(QFontDatabase::FixedFont).family();
        styled.setFamilies(style->family().isEmpty() ? QStringList{fixed}
                                                     : QStringList{style->family(), fixed});
        styled.setStyleHint(QFont::Monospace);
        styled.setFixedPitch(true);
    } else if (!style->family().isEmpty()) {
        styled.setFamilies({style->family(), font.family()});
    }
    if (style->size() > 0)
        styled.setPointSize(style->size());
    styled.setBold(style->bold());
    styled.setItalic(style->italic());
    styled.setUnderline(style->underline());
    m_fonts.insert(style, styled);
    return styled;
}

QSizeF DLayoutContext::metricsOf(const DStyle* style) const
{
    auto found = m_metrics.constFind(style);
    if (found != m_metrics.cend())
        return *found;
    const QFontMetricsF metrics(fontOf(style));
    const QSizeF size(metrics.averageCharWidth(), metrics.lineSpacing());
    m_metrics.insert(style, size);
    return size;
}

QString DLayoutContext::findImage(const QString& source) const
{
    // Regular files only, as the HTML export copies: a FIFO would hang the view, a device never
    // end.
    if (source.isEmpty())
        return QString();
    if (QFileInfo(source).isAbsolute())
        return QASafeWrite::isRegularFile(source) ? source : QString();
    for (const QString& path : searchPaths) {
        const QString candidate = QDir(path).filePath(source);
        if (QASafeWrite::isRegularFile(candidate))
            return candidate;
    }
    return QString();
}

void DLayoutContext::forgetStyles()
{
    m_fonts.clear();
    m_metrics.clear();
}

DBlockLayout::DBlockLayout(const DBlock& block, const DLayoutContext& context)
    : m_block(block), m_context(context)
{
    collectText();
}

DBlockLayout::~DBlockLayout() = default;

int DBlockLayout::estimateHeight(const DBlock& block, const DLayoutContext& context)
{
    switch (block.kind) {
    case DBlock::DocumentStart:
        return block.document == 0 ? 8 : 36;
    case DBlock::Rule:
        return 16;
    case DBlock::Chart:
        return 296;
    case DBlock::Image: {
        const DImage* image = static_cast<const DImage*>(block.owner);
        return (image->height() > 0 ? boundedSide(image->height()) : 48) + 10;
    }
    case DBlock::Text:
    case DBlock::Row:
        break;
    }
    const QSizeF metrics = context.metricsOf(block.style);
    const qreal width = qMax(40, context.width - block.indent);
    const int lines =
        context.wordWrap ? qMax(1, int(std::ceil(block.textLength * metrics.width() / width))) : 1;
    const qreal line = metrics.height();
    if (block.kind == DBlock::Row)
        return int(lines * line) + 2 * cellPadding + 1 + (block.flags & DBlock::LastRow ? 10 : 0);
    const qreal spacing = block.flags & DBlock::Heading ? line
                          : block.flags & DBlock::Entry ? line * 0.15
                                                        : line * 0.45;
    return int(lines * line + spacing);
}

void DBlockLayout::collectText()
{
    if (m_block.kind == DBlock::Text) {
        DTextRun run;
        run.style = m_block.style;
        if (m_block.first)
            appendInline(run, m_block.first, m_block.last, m_block.style);
        // Preformatted text breaks its lines where it says (a line separator keeps the length).
        if (run.style && run.style->pre())
            run.text.replace(QLatin1Char('\n'), QChar::LineSeparator);
        m_runs.push_back(std::move(run));
    } else if (m_block.kind == DBlock::Row) {
        for (DItem* cell = m_block.owner->asContainer()->firstChild(); cell; cell = cell->next()) {
            DTextRun run;
            run.style = cell->style() ? cell->style() : m_block.style;
            if (const DCell* plain = dcast<DCell>(cell))
                run.span = plain->span();
            else if (DCellText* withText = dcast<DCellText>(cell)) {
                run.span = withText->span();
                addPiece(run, withText->text(), cell, nullptr, run.style);
            } else {
                continue; // rows hold cells only
            }
            appendInline(run, cell->asContainer()->firstChild(), nullptr, run.style);
            m_runs.push_back(std::move(run));
        }
    }
}

void DBlockLayout::layOut()
{
    m_pieces.clear();
    m_firstPiece.clear();
    m_layouts.clear();
    m_livePieces.clear();
    m_cellRects.clear();
    switch (m_block.kind) {
    case DBlock::DocumentStart:
        m_height = estimateHeight(m_block, m_context);
        m_content = QRectF(0, 0, m_context.width, m_height);
        break;
    case DBlock::Rule:
        m_height = 16;
        m_content = QRectF(m_block.indent, 0, m_context.width - m_block.indent, m_height);
        break;
    case DBlock::Text:
        layOutText();
        break;
    case DBlock::Row:
        layOutRow();
        break;
    case DBlock::Image:
        layOutImage();
        break;
    case DBlock::Chart:
        layOutChart();
        break;
    }
    m_naturalWidth = qMax(m_naturalWidth, int(std::ceil(m_content.right())));
}

QSizeF DBlockLayout::layOutRun(int run, qreal width)
{
    m_firstPiece.push_back(int(m_pieces.size()));
    const QString& text = m_runs[run].text;
    qreal top = 0;
    qreal widest = 0;
    int start = 0;
    do {
        const int end = pieceEnd(text, start);
        Piece piece{run, start, end - start, top, 0, width, QRectF()};
        std::unique_ptr<QTextLayout> layout = makeLayout(piece);
        for (int i = 0; i < layout->lineCount(); ++i) {
            const QTextLine line = layout->lineAt(i);
            piece.height += line.height();
            widest = qMax(widest, line.naturalTextWidth());
            piece.textBounds |= QRectF(line.cursorToX(line.textStart()), line.y(),
                                       line.naturalTextWidth(), line.height());
        }
        top += piece.height;
        m_pieces.push_back(piece);
        // The first piece of a run stays laid out, and a few more; the others are made again
        // when shown.
        if (start == 0) {
            m_layouts.push_back(std::move(layout));
        } else if (m_livePieces.size() < maxLiveLayouts) {
            m_livePieces.push_back(int(m_layouts.size()));
            m_layouts.push_back(std::move(layout));
        } else {
            m_layouts.emplace_back();
        }
        start = end;
    } while (start < int(text.size()));
    return QSizeF(widest, top);
}

const QTextLayout& DBlockLayout::pieceLayout(int piece) const
{
    if (!m_layouts[piece]) {
        if (m_livePieces.size() >= maxLiveLayouts) {
            m_layouts[m_livePieces.front()].reset();
            m_livePieces.erase(m_livePieces.begin());
        }
        m_layouts[piece] = makeLayout(m_pieces[piece]);
        m_livePieces.push_back(piece);
    }
    return *m_layouts[piece];
}

QPointF DBlockLayout::pieceOrigin(int piece) const
{
    return runOrigin(m_pieces[piece].run) + QPointF(0, m_pieces[piece].top);
}

int DBlockLayout::pieceAtPosition(int run, int position) const
{
    const int last =
        run + 1 < int(m_firstPiece.size()) ? m_firstPiece[run + 1] - 1 : int(m_pieces.size()) - 1;
    const auto begin = m_pieces.begin() + m_firstPiece[run];
    const auto end = m_pieces.begin() + last + 1;
    const auto after = std::upper_bound(
        begin, end, position, [](int at, const Piece& piece) { return at < piece.start; });
    return after == begin ? m_firstPiece[run] : int(after - m_pieces.begin()) - 1;
}

int DBlockLayout::pieceAtY(int run, qreal y) const
{
    const int last =
        run + 1 < int(m_firstPiece.size()) ? m_firstPiece[run + 1] - 1 : int(m_pieces.size()) - 1;
    const auto begin = m_pieces.begin() + m_firstPiece[run];
    const auto end = m_pieces.begin() + last + 1;
    const auto after = std::upper_bound(
        begin, end, y, [](qreal at, const Piece& piece) { return at < piece.top; });
    return after == begin ? m_firstPiece[run] : int(after - m_pieces.begin()) - 1;
}

int DBlockLayout::longestPiece() const
{
    int longest = 0;
    for (const Piece& piece : m_pieces)
        longest = qMax(longest, piece.length);
    return longest;
}

std::unique_ptr<QTextLayout> DBlockLayout::makeLayout(const Piece& piece) const
{
    const DTextRun& run = m_runs[piece.run];
    const DStyle* style = run.style;
    const qreal width = piece.width;
    ++m_layoutsMade;
    auto layout = std::make_unique<QTextLayout>(run.text.mid(piece.start, piece.length),
                                                m_context.fontOf(style));
    QTextOption option(alignmentOf(style));
    option.setWrapMode(m_context.wordWrap ? QTextOption::WrapAtWordBoundaryOrAnywhere
                                          : QTextOption::NoWrap);
    layout->setTextOption(option);
    QList<QTextLayout::FormatRange> formats;
    const int pieceEnd = piece.start + piece.length;
    // Fragments are in text order: start at the first one that reaches into the piece.
    auto first = std::lower_bound(run.fragments.begin(), run.fragments.end(), piece.start,
                                  [](const DFragment& fragment, int start) {
                                      return fragment.start + fragment.length <= start;
                                  });
    for (auto it = first; it != run.fragments.end() && it->start < pieceEnd; ++it) {
        const DFragment& fragment = *it;
        const int from = qMax(fragment.start, piece.start);
        const int to = qMin(fragment.start + fragment.length, pieceEnd);
        if (from >= to)
            continue;
        QTextCharFormat format;
        format.setFont(m_context.fontOf(fragment.style));
        const bool link = looksLikeLink(fragment);
        const QColor color = fragment.style ? toQColor(fragment.style->color()) : QColor();
        format.setForeground(link ? m_context.link : color.isValid() ? color : m_context.text);
        if (link)
            format.setFontUnderline(true);
        if (fragment.style && fragment.style != style && fragment.style->background().isValid())
            format.setBackground(toQColor(fragment.style->background()));
        formats.append(QTextLayout::FormatRange{from - piece.start, to - from, format});
    }
    layout->setFormats(formats);
    layout->beginLayout();
    qreal y = 0;
    for (QTextLine line = layout->createLine(); line.isValid(); line = layout->createLine()) {
        line.setLineWidth(width);
        line.setPosition(QPointF(0, y));
        y += line.height();
    }
    layout->endLayout();
    return layout;
}

void DBlockLayout::layOutText()
{
    const DStyle* style = m_block.style;
    const qreal line = QFontMetricsF(m_context.fontOf(style)).lineSpacing();
    const bool heading = m_block.flags & DBlock::Heading;
    m_before = heading ? int(line * 0.7) : 0;
    const int after = heading                         ? int(line * 0.3)
                      : m_block.flags & DBlock::Entry ? int(line * 0.15)
                                                      : int(line * 0.45);
    const int padding = style && style->background().isValid() ? cellPadding : 0;
    const int indent = m_block.indent + (style ? style->indent() : 0);
    const qreal width = qMax(40, m_context.width - indent);
    const QSizeF text = layOutRun(0, width - 2 * padding);
    const qreal textHeight = text.height();
    const qreal widest = text.width();
    m_content = QRectF(indent, m_before, width, std::ceil(textHeight) + 2 * padding);
    m_naturalWidth = int(std::ceil(indent + widest + 2 * padding));
    m_height = int(m_before + m_content.height() + after);
}

void DBlockLayout::layOutRow()
{
    const DTable* table = static_cast<const DTable*>(m_block.first);
    // The widths give the columns; a span past the last one ends there.
    const int columns = qMax(qMax(int(table->widths().size()), int(m_runs.size())), 1);
    // Columns without a width share what the given widths leave.
    std::vector<double> fractions(columns, 0);
    double given = 0;
    for (int i = 0; i < table->widths().size(); ++i)
        given += fractions[i] = qBound(0.0, table->widths()[i], 1.0);
    const int missing = columns - int(table->widths().size());
    if (missing > 0) {
        const double share = given < 1 ? (1 - given) / missing : 1.0 / columns;
        std::fill(fractions.begin() + table->widths().size(), fractions.end(), share);
    }
    double total = 0;
    for (double fraction : fractions)
        total += fraction;
    if (total <= 0) {
        std::fill(fractions.begin(), fractions.end(), 1.0 / columns);
        total = 1;
    }
    const double scale = total > 1 ? 1 / total : 1;
    const qreal left = m_block.indent;
    const qreal tableWidth = qMax(40, m_context.width - m_block.indent);
    std::vector<qreal> edges{left};
    for (double fraction : fractions)
        edges.push_back(edges.back() + fraction * scale * tableWidth);

    const qreal lineHeight = QFontMetricsF(m_context.fontOf(m_block.style)).lineSpacing();
    qreal rowHeight = lineHeight + 2 * cellPadding;
    int column = 0;
    for (int i = 0; i < int(m_runs.size()); ++i) {
        // The columns a cell covers beyond its own, at most what is left of the row.
        const int beyond = qBound(0, m_runs[i].span, qMax(0, columns - column - 1));
        const int end = qMin(columns, column + 1 + beyond);
        const qreal x = edges[column];
        const qreal width = edges[end] - x;
        column = end;
        const QSizeF text = layOutRun(i, qMax<qreal>(1, width - 2 * cellPadding));
        rowHeight = qMax(rowHeight, text.height() + 2 * cellPadding);
        m_cellRects.emplace_back(x, 0, width, 0);
    }
    rowHeight = std::ceil(rowHeight);
    for (QRectF& rect : m_cellRects)
        rect.setHeight(rowHeight);
    m_content = QRectF(left, 0, edges.back() - left, rowHeight);
    m_height = int(rowHeight) + (m_block.flags & DBlock::LastRow ? 10 : 0);
}

void DBlockLayout::layOutImage()
{
    const DImage* image = static_cast<const DImage*>(m_block.owner);
    m_imageFile = m_context.findImage(image->source());
    // Opened without waiting and checked again once open: a file put in its place meanwhile
    // cannot block the view either.
    if (QFile file(m_imageFile);
        !m_imageFile.isEmpty() && QASafeWrite::openRegularFile(file, nullptr))
        m_image = QImageReader(&file).read();
    const qreal available = qMax(40, m_context.width - m_block.indent);
    const int width = boundedSide(image->width());
    const int height = boundedSide(image->height());
    QSizeF size;
    if (!m_image.isNull()) {
        const QSizeF natural = m_image.size();
        if (width > 0 && height > 0)
            size = QSizeF(width, height);
        else if (width > 0)
            size = QSizeF(width, width * natural.height() / natural.width());
        else if (height > 0)
            size = QSizeF(height * natural.width() / natural.height(), height);
        else
            size = natural;
        size = size.boundedTo(QSizeF(maxImageSide, maxImageSide));
        if (size.width() > available)
            size = QSizeF(available, size.height() * available / size.width());
    } else {
        // The placeholder shows the name of the missing picture.
        const QFontMetricsF metrics(m_context.fontOf(m_block.style));
        size = QSizeF(width > 0 ? width : metrics.horizontalAdvance(image->source()) + 40,
                      height > 0 ? height : metrics.height() + 16);
        size.setWidth(qMin(size.width(), available));
    }
    qreal x = m_block.indent;
    const Qt::Alignment align = alignmentOf(m_block.style);
    if (align & Qt::AlignHCenter)
        x += (available - size.width()) / 2;
    else if (align & Qt::AlignRight)
        x += available - size.width();
    m_before = 4;
    m_content = QRectF(QPointF(x, m_before), size);
    m_height = int(std::ceil(size.height())) + 10;
}

void DBlockLayout::layOutChart()
{
    if (!m_chart)
        m_chart = std::make_unique<DChart>(static_cast<const DGraphic*>(m_block.owner));
    const qreal width = qMin(560, qMax(200, m_context.width - m_block.indent));
    m_before = 8;
    m_content = QRectF(m_block.indent, m_before, width, 280);
    m_height = 296;
}

int DBlockLayout::length() const
{
    int length = 0;
    for (const DTextRun& run : m_runs)
        length += int(run.text.size());
    return length + qMax(0, int(m_runs.size()) - 1);
}

int DBlockLayout::runStart(int run) const
{
    int start = 0;
    for (int i = 0; i < run; ++i)
        start += int(m_runs[i].text.size()) + 1;
    return start;
}

int DBlockLayout::runAt(int position, int* local) const
{
    int start = 0;
    for (int i = 0; i < int(m_runs.size()); ++i) {
        const int end = start + int(m_runs[i].text.size());
        if (position <= end || i + 1 == int(m_runs.size())) {
            *local = qBound(0, position - start, int(m_runs[i].text.size()));
            return i;
        }
        start = end + 1;
    }
    *local = 0;
    return -1;
}

QPointF DBlockLayout::runOrigin(int run) const
{
    if (m_block.kind == DBlock::Row)
        return m_cellRects[run].topLeft() + QPointF(cellPadding, cellPadding);
    const int padding = m_block.style && m_block.style->background().isValid() ? cellPadding : 0;
    return m_content.topLeft() + QPointF(padding, padding);
}

QString DBlockLayout::plainText() const
{
    return plainText(0, length());
}

QString DBlockLayout::plainText(int from, int to) const
{
    QString text;
    int start = 0;
    for (const DTextRun& run : m_runs) {
        if (start > from && start <= to && !text.isNull())
            text += QLatin1Char('\t');
        const int begin = qMax(from - start, 0);
        const int end = qMin(to - start, int(run.text.size()));
        if (begin < end)
            text += run.text.mid(begin, end - begin);
        else if (text.isNull() && start >= from && start <= to)
            text = QLatin1String("");
        start += int(run.text.size()) + 1;
    }
    return text.replace(QChar::LineSeparator, QLatin1Char('\n'));
}

QString DBlockLayout::html(int from, int to) const
{
    const QString css = cssOf(m_block.style);
    switch (m_block.kind) {
    case DBlock::DocumentStart:
        return QString();
    case DBlock::Rule:
        return QStringLiteral("<hr>");
    case DBlock::Chart:
        return QStringLiteral("<p>%1</p>")
            .arg(static_cast<const DGraphic*>(m_block.owner)->title().toHtmlEscaped());
    case DBlock::Image: {
        const DImage* image = static_cast<const DImage*>(m_block.owner);
        const QString file = m_context.findImage(image->source());
        return QStringLiteral("<img src=\"%1\" alt=\"%2\">")
            .arg(file.isEmpty() ? image->source().toHtmlEscaped()
                                : QUrl::fromLocalFile(file).toString().toHtmlEscaped(),
                 image->source().toHtmlEscaped());
    }
    case DBlock::Row: {
        QString html = QStringLiteral("<tr>");
        for (int i = 0; i < int(m_runs.size()); ++i) {
            const int start = runStart(i);
            const DTextRun& run = m_runs[i];
            html +=
                QStringLiteral("<td colspan=\"%1\" style=\"%2\">%3</td>")
                    .arg(QString::number(qMax(0, run.span) + 1), cssOf(run.style).toHtmlEscaped(),
                         htmlOfRun(run, qMax(0, from - start),
                                   qBound(0, to - start, int(run.text.size()))));
        }
        return html + QStringLiteral("</tr>");
    }
    case DBlock::Text:
        break;
    }
    QString paragraph = QStringLiteral("<p style=\"%1\">").arg(css.toHtmlEscaped());
    if (m_block.marker > 0 && from == 0)
        paragraph += QStringLiteral("%1. ").arg(m_block.marker);
    else if (m_block.marker < 0 && from == 0)
        paragraph += QStringLiteral("&bull; ");
    return paragraph + htmlOfRun(m_runs.front(), from, to) + QStringLiteral("</p>");
}

void DBlockLayout::draw(QPainter* painter, int selectionStart, int selectionEnd) const
{
    const DStyle* style = m_block.style;
    switch (m_block.kind) {
    case DBlock::DocumentStart:
        if (m_block.document > 0) {
            painter->setPen(QPen(m_context.grid, 1));
            painter->drawLine(QPointF(0, m_height / 2.0), QPointF(m_context.width, m_height / 2.0));
        }
        return;
    case DBlock::Rule:
        painter->setPen(QPen(m_context.grid, 1, Qt::DashLine));
        painter->drawLine(QPointF(m_content.left(), 8.5), QPointF(m_content.right(), 8.5));
        return;
    case DBlock::Chart:
        m_chart->draw(painter, m_content, m_context.fontOf(m_block.style), m_context.text,
                      m_context.grid);
        break;
    case DBlock::Image:
        if (!m_image.isNull()) {
            painter->setRenderHint(QPainter::SmoothPixmapTransform);
            painter->drawImage(m_content, m_image);
        } else {
            painter->setPen(QPen(m_context.grid, 1, Qt::DashLine));
            painter->setBrush(QColor(0, 0, 0, 12));
            painter->drawRect(m_content.adjusted(0.5, 0.5, -0.5, -0.5));
            painter->setBrush(Qt::NoBrush);
            // A small crossed frame stands for the picture.
            const QRectF icon(m_content.left() + 8, m_content.center().y() - 6, 14, 12);
            painter->setPen(QPen(m_context.grid, 1));
            painter->drawRect(icon);
            painter->drawLine(icon.topLeft(), icon.bottomRight());
            painter->drawLine(icon.bottomLeft(), icon.topRight());
            painter->setPen(m_context.text);
            painter->setFont(m_context.fontOf(style));
            const QRectF label = m_content.adjusted(30, 0, -4, 0);
            painter->drawText(label, Qt::AlignVCenter | Qt::AlignLeft,
                              painter->fontMetrics().elidedText(
                                  static_cast<const DImage*>(m_block.owner)->source(),
                                  Qt::ElideMiddle, int(label.width())));
        }
        break;
    case DBlock::Text:
    case DBlock::Row:
        break;
    }
    if (m_block.kind == DBlock::Image || m_block.kind == DBlock::Chart) {
        if (selectionStart < selectionEnd)
            painter->fillRect(m_content,
                              QColor(m_context.highlight.red(), m_context.highlight.green(),
                                     m_context.highlight.blue(), 80));
        return;
    }

    if (m_block.kind == DBlock::Text) {
        if (style && style->background().isValid())
            painter->fillRect(m_content, toQColor(style->background()));
        if (m_block.marker != 0) {
            const QString marker = m_block.marker > 0 ? QStringLiteral("%1.").arg(m_block.marker)
                                                      : QString(QChar(0x2022));
            painter->setFont(m_context.fontOf(style));
            painter->setPen(style && style->color().isValid() ? toQColor(style->color())
                                                              : m_context.text);
            // Right-aligned in the indent, on the first line's baseline.
            const QTextLine first = pieceLayout(0).lineAt(0);
            const qreal width = QFontMetricsF(painter->font()).horizontalAdvance(marker);
            painter->drawText(QPointF(m_content.left() - 8 - width,
                                      runOrigin(0).y() + first.y() + first.ascent()),
                              marker);
        }
    }
    for (int i = 0; m_block.kind == DBlock::Row && i < int(m_runs.size()); ++i) {
        const DStyle* cellStyle = m_runs[i].style;
        if (cellStyle && cellStyle->background().isValid())
            painter->fillRect(m_cellRects[i], toQColor(cellStyle->background()));
        else if (style && style->background().isValid())
            painter->fillRect(m_cellRects[i], toQColor(style->background()));
    }
    // Only the pieces in the painted area are laid out and drawn.
    const QRectF painted = painter->hasClipping() ? painter->clipBoundingRect() : QRectF();
    for (int i = 0; i < int(m_pieces.size()); ++i) {
        const Piece& piece = m_pieces[i];
        const QPointF origin = pieceOrigin(i);
        if (!painted.isNull() &&
            (origin.y() > painted.bottom() || origin.y() + piece.height < painted.top()))
            continue;
        const int start = runStart(piece.run) + piece.start;
        QList<QTextLayout::FormatRange> selections;
        const int from = qMax(selectionStart - start, 0);
        const int to = qMin(selectionEnd - start, piece.length);
        if (from < to) {
            QTextCharFormat format;
            format.setBackground(m_context.highlight);
            format.setForeground(m_context.highlightedText);
            selections.append(QTextLayout::FormatRange{from, to - from, format});
        }
        pieceLayout(i).draw(painter, origin, selections);
    }
    if (m_block.kind != DBlock::Row)
        return;
    const int code = static_cast<const DTable*>(m_block.first)->code();
    painter->setPen(QPen(m_context.grid, 1));
    painter->setBrush(Qt::NoBrush);
    const QRectF frame = m_content.adjusted(0.5, 0.5, -0.5, 0.5);
    if (code >= 2) {
        for (const QRectF& cell : m_cellRects)
            painter->drawRect(cell.adjusted(0.5, 0.5, -0.5, 0.5));
    } else if (code == 1) {
        painter->drawLine(frame.topLeft(), frame.bottomLeft());
        painter->drawLine(frame.topRight(), frame.bottomRight());
        if (m_block.flags & DBlock::FirstRow)
            painter->drawLine(frame.topLeft(), frame.topRight());
        if (m_block.flags & DBlock::LastRow)
            painter->drawLine(frame.bottomLeft(), frame.bottomRight());
    }
}

const DFragment* DBlockLayout::fragmentAt(const QPointF& point) const
{
    for (int run = 0; run < int(m_firstPiece.size()); ++run) {
        const int i = pieceAtY(run, (point - runOrigin(run)).y());
        const QPointF local = point - pieceOrigin(i);
        // Pieces whose text is elsewhere are not laid out again.
        if (!m_pieces[i].textBounds.contains(local))
            continue;
        const QTextLayout& layout = pieceLayout(i);
        for (int l = 0; l < layout.lineCount(); ++l) {
            const QTextLine line = layout.lineAt(l);
            const QRectF text(line.cursorToX(line.textStart()), line.y(), line.naturalTextWidth(),
                              line.height());
            if (!text.contains(local))
                continue;
            const int position =
                m_pieces[i].start + line.xToCursor(local.x(), QTextLine::CursorOnCharacter);
            for (const DFragment& fragment : m_runs[run].fragments) {
                if (position >= fragment.start && position < fragment.start + fragment.length)
                    return &fragment;
            }
        }
    }
    return nullptr;
}

int DBlockLayout::positionAt(const QPointF& point) const
{
    if (m_pieces.empty())
        return point.y() < m_height / 2.0 ? 0 : 1;
    int run = 0;
    if (m_block.kind == DBlock::Row) {
        for (int i = 0; i < int(m_cellRects.size()); ++i) {
            if (point.x() >= m_cellRects[i].left())
                run = i;
        }
    }
    if ((point - runOrigin(run)).y() < 0)
        return runStart(run);
    const int piece = pieceAtY(run, (point - runOrigin(run)).y());
    const QPointF local = point - pieceOrigin(piece);
    const QTextLayout& layout = pieceLayout(piece);
    const int start = runStart(run) + m_pieces[piece].start;
    if (layout.lineCount() == 0)
        return start;
    for (int l = 0; l < layout.lineCount(); ++l) {
        const QTextLine line = layout.lineAt(l);
        if (local.y() < line.y() + line.height())
            return start + line.xToCursor(local.x());
    }
    return start + m_pieces[piece].length;
}

DItem* DBlockLayout::linkAt(const QPointF& point) const
{
    const DFragment* fragment = fragmentAt(point);
    return fragment ? fragment->link : nullptr;
}

DItem* DBlockLayout::itemAt(const QPointF& point) const
{
    if (const DFragment* fragment = fragmentAt(point))
        return fragment->link ? fragment->link : fragment->item;
    return m_content.contains(point) ? m_block.owner : nullptr;
}

QRectF DBlockLayout::rectOf(const DItem* item) const
{
    for (int i = 0; i < int(m_runs.size()) && i < int(m_firstPiece.size()); ++i) {
        for (const DFragment& fragment : m_runs[i].fragments) {
            if ((fragment.item != item && fragment.link != item) || fragment.length == 0)
                continue;
            const int piece = pieceAtPosition(i, fragment.start);
            const int start = fragment.start - m_pieces[piece].start;
            const QTextLine line = pieceLayout(piece).lineForTextPosition(start);
            const int end = qMin(start + fragment.length, line.textStart() + line.textLength());
            const qreal left = line.cursorToX(start);
            return QRectF(left, line.y(), line.cursorToX(end) - left, line.height())
                .translated(pieceOrigin(piece));
        }
    }
    return QRectF(m_content.left(), 0, m_content.width(), m_height);
}

QRectF DBlockLayout::cursorRect(int position) const
{
    int local = 0;
    const int run = runAt(position, &local);
    if (run < 0 || run >= int(m_firstPiece.size()))
        return QRectF(m_content.left(), 0, 1, m_height);
    const int piece = pieceAtPosition(run, local);
    const int inPiece = local - m_pieces[piece].start;
    const QTextLine line = pieceLayout(piece).lineForTextPosition(inPiece);
    if (!line.isValid())
        return QRectF(pieceOrigin(piece), QSizeF(1, m_height));
    return QRectF(line.cursorToX(inPiece), line.y(), 1, line.height())
        .translated(pieceOrigin(piece));
}
