#include "folio/view/dfolioview.h"

#include "folio/model/ddocument.h"
#include "folio/model/dlink.h"

#include <QApplication>
#include <QClipboard>
#include <QKeyEvent>
#include <QMenu>
#include <QMimeData>
#include <QMouseEvent>
#include <QPainter>
#include <QPointer>
#include <QPrintDialog>
#include <QPrinter>
#include <QScrollBar>
#include <climits>

namespace {

// Layouts kept at most; the others are made again when needed.
constexpr int keptLayouts = 3000;

} // namespace

DFolioView::DFolioView(QWidget* parent) : QAbstractScrollArea(parent)
{
    setFocusPolicy(Qt::StrongFocus);
    viewport()->setMouseTracking(true);
    viewport()->setCursor(Qt::IBeamCursor);
    viewport()->setAttribute(Qt::WA_OpaquePaintEvent);
    verticalScrollBar()->setSingleStep(20);
    horizontalScrollBar()->setSingleStep(20);
    m_background = palette().color(QPalette::Base);
    updateContext();
}

DFolioView::~DFolioView() = default;

void DFolioView::updateContext()
{
    m_context.font = font();
    m_context.text = palette().color(QPalette::Text);
    m_context.link = palette().color(QPalette::Link);
    m_context.grid = palette().color(QPalette::Mid);
    m_context.highlight = palette().color(QPalette::Highlight);
    m_context.highlightedText = palette().color(QPalette::HighlightedText);
    m_context.width = qMax(80, viewport()->width() - 2 * m_margin);
}

void DFolioView::setDocument(DDocument* document, bool first)
{
    if (first)
        clearDocs();
    if (!document)
        return;
    const int from = int(m_blocks.blocks().size());
    m_blocks.appendDocument(document);
    appendHeights(from);
    keepEndInView();
    updateScrollBars();
    viewport()->update();
}

void DFolioView::clearDocs()
{
    // Fonts are remembered by style; the styles may go with the documents.
    m_context.forgetStyles();
    m_blocks.clear();
    m_heights.clear();
    m_layouts.clear();
    m_layoutOrder.clear();
    m_top = 0;
    m_topOffset = 0;
    m_anchor = m_cursor = Position();
    m_pressedLink = nullptr;
    m_contentWidth = 0;
    updateScrollBars();
    viewport()->update();
}

DDocument* DFolioView::currentDocument() const
{
    if (m_blocks.blocks().empty())
        return nullptr;
    return m_blocks.documents()[m_blocks.blocks()[m_top].document];
}

void DFolioView::appendHeights(int fromBlock)
{
    const std::vector<DBlock>& blocks = m_blocks.blocks();
    std::vector<int> heights;
    heights.reserve(blocks.size() - size_t(fromBlock));
    for (int i = fromBlock; i < int(blocks.size()); ++i)
        heights.push_back(DBlockLayout::estimateHeight(blocks[i], m_context));
    m_heights.append(heights);
    m_layouts.resize(blocks.size());
}

void DFolioView::forgetLayouts()
{
    m_layouts.clear();
    m_layouts.resize(m_blocks.blocks().size());
    m_layoutOrder.clear();
    m_contentWidth = 0;
}

void DFolioView::reestimate()
{
    m_heights.clear();
    appendHeights(0);
}

DBlockLayout& DFolioView::laidOut(int block)
{
    std::unique_ptr<DBlockLayout>& slot = m_layouts[block];
    if (slot)
        return *slot;
    slot = std::make_unique<DBlockLayout>(m_blocks.blocks()[block], m_context);
    slot->layOut();
    m_heights.setHeight(block, slot->height());
    if (!m_context.wordWrap)
        m_contentWidth = qMax(m_contentWidth, slot->naturalWidth() + 2 * m_margin);
    m_layoutOrder.push_back(block);
    // Forget the oldest layouts, but never those near the top of the view.
    for (int tries = int(m_layoutOrder.size());
         tries > 0 && int(m_layoutOrder.size()) > keptLayouts; --tries) {
        const int oldest = m_layoutOrder.front();
        m_layoutOrder.pop_front();
        if (oldest == block || (oldest >= m_top - 100 && oldest <= m_top + 500))
            m_layoutOrder.push_back(oldest);
        else
            m_layouts[oldest].reset();
    }
    return *slot;
}

int DFolioView::documentsHeight(int limit)
{
    long long height = 2LL * m_margin;
    for (int block = 0; block < m_heights.size() && height < limit; ++block)
        height += laidOut(block).height();
    return int(qMin<long long>(height, limit));
}

long long DFolioView::scrollPosition() const
{
    return m_heights.size() ? m_heights.top(m_top) + m_topOffset : 0;
}

void DFolioView::scrollTo(int block, int offset)
{
    if (m_blocks.blocks().empty())
        return;
    m_top = qBound(0, block, int(m_blocks.blocks().size()) - 1);
    m_topOffset = qBound(0, offset, qMax(0, laidOut(m_top).height() - 1));
    keepEndInView();
    updateScrollBars();
    viewport()->update();
}

void DFolioView::scrollBy(long long pixels)
{
    if (m_blocks.blocks().empty())
        return;
    const int count = int(m_blocks.blocks().size());
    long long offset = m_topOffset + pixels;
    while (offset < 0 && m_top > 0)
        offset += laidOut(--m_top).height();
    offset = qMax(0LL, offset);
    while (m_top + 1 < count && offset >= laidOut(m_top).height())
        offset -= laidOut(m_top++).height();
    m_topOffset = int(qMin<long long>(offset, qMax(0, laidOut(m_top).height() - 1)));
    keepEndInView();
    updateScrollBars();
    viewport()->update();
}

void DFolioView::keepEndInView()
{
    const int count = int(m_blocks.blocks().size());
    const int height = viewport()->height();
    long long covered = m_margin - m_topOffset;
    for (int i = m_top; i < count && covered < height; ++i)
        covered += laidOut(i).height();
    if (covered >= height)
        return;
    long long offset = m_topOffset - (height - covered);
    while (offset < 0 && m_top > 0)
        offset += laidOut(--m_top).height();
    m_topOffset = int(qMax(0LL, offset));
}

void DFolioView::updateScrollBars()
{
    m_updatingScrollBars = true;
    const int height = viewport()->height();
    const long long total = m_heights.total() + m_margin;
    QScrollBar* vertical = verticalScrollBar();
    vertical->setRange(0, int(qBound(0LL, total - height, (long long)INT_MAX)));
    vertical->setPageStep(height);
    vertical->setValue(int(qMin<long long>(scrollPosition(), INT_MAX)));
    QScrollBar* horizontal = horizontalScrollBar();
    horizontal->setRange(0, m_context.wordWrap ? 0 : qMax(0, m_contentWidth - viewport()->width()));
    horizontal->setPageStep(viewport()->width());
    m_updatingScrollBars = false;
}

void DFolioView::scrollContentsBy(int dx, int dy)
{
    if (m_updatingScrollBars)
        return;
    if (dx)
        viewport()->update();
    if (!dy)
        return;
    const long long target = verticalScrollBar()->value();
    const long long delta = target - scrollPosition();
    // Near moves walk through laid out blocks; far ones jump by the estimated heights.
    if (qAbs(delta) <= 2LL * viewport()->height()) {
        scrollBy(delta);
    } else {
        const int block = m_heights.blockAt(target);
        scrollTo(block, int(target - m_heights.top(block)));
    }
}

bool DFolioView::moveTo(const DItem* item)
{
    const int block = m_blocks.blockOf(item);
    if (block < 0)
        return false;
    scrollTo(block, 0);
    return true;
}

bool DFolioView::moveTo(const QString& file, const QString& document, const QString& tag)
{
    Q_UNUSED(file);
    const DItem* item = m_blocks.findTag(document, tag);
    return item && moveTo(item);
}

bool DFolioView::search(const QRegularExpression& expression)
{
    return find(expression) != NotFound;
}

DFolioView::SearchResult DFolioView::find(const QRegularExpression& expression, bool backward)
{
    const std::vector<DBlock>& blocks = m_blocks.blocks();
    if (!expression.isValid() || expression.pattern().isEmpty() || blocks.empty())
        return NotFound;
    const Position start = !hasSelection() ? Position{m_top, 0}
                           : backward      ? qMin(m_anchor, m_cursor)
                                           : qMax(m_anchor, m_cursor);
    const int count = int(blocks.size());
    // The start block is looked at twice: on the near side of the start, then, having wrapped,
    // on the far side.
    for (int step = 0; step <= count; ++step) {
        const int block = backward ? ((start.block - step) % count + count) % count
                                   : (start.block + step) % count;
        const bool wrapped =
            step == count || (backward ? block > start.block : block < start.block);
        const QString text = DBlockLayout(blocks[block], m_context).plainText();
        qsizetype from = step == 0 && !backward ? start.offset : 0;
        const qsizetype before = step == 0 && backward ? start.offset : text.size() + 1;
        qsizetype foundStart = -1;
        qsizetype foundEnd = -1;
        // Matches are taken as a forward search steps through them: the next one is looked for
        // after the end of a match (one past an empty one), so the block is read once. Backward,
        // the last that starts before the start is kept.
        for (QRegularExpressionMatch match = expression.match(text, from); match.hasMatch();
             match = expression.match(text, from)) {
            if (match.capturedLength() == 0) {
                from = match.capturedStart() + 1;
                continue;
            }
            if (backward && match.capturedStart() >= before)
                break;
            foundStart = match.capturedStart();
            foundEnd = match.capturedEnd();
            if (!backward)
                break;
            from = match.capturedEnd();
        }
        if (foundStart >= 0) {
            select(Position{block, int(foundStart)}, Position{block, int(foundEnd)});
            showPosition(Position{block, int(foundStart)});
            return wrapped ? Wrapped : Found;
        }
    }
    return NotFound;
}

void DFolioView::showPosition(const Position& position)
{
    const QRectF line = laidOut(position.block).cursorRect(position.offset);
    const long long top = m_heights.top(position.block) - scrollPosition() + qint64(line.top());
    if (top >= 0 && top + line.height() <= viewport()->height())
        return;
    // Show the line a third down the view, with what comes before it above.
    m_top = position.block;
    m_topOffset = 0;
    scrollBy(qint64(line.top()) - viewport()->height() / 3);
}

void DFolioView::setSearchPaths(const QStringList& paths)
{
    m_context.searchPaths = paths;
    refresh();
}

void DFolioView::addSearchPath(const QString& path)
{
    if (!m_context.searchPaths.contains(path))
        setSearchPaths(m_context.searchPaths + QStringList{path});
}

void DFolioView::setBackgroundColor(const QColor& color)
{
    m_background = color.isValid() ? color : palette().color(QPalette::Base);
    viewport()->update();
}

void DFolioView::setWordWrap(bool on)
{
    if (m_context.wordWrap == on)
        return;
    m_context.wordWrap = on;
    refresh();
}

void DFolioView::setMargin(int pixels)
{
    m_margin = qMax(0, pixels);
    refresh();
}

void DFolioView::refresh()
{
    m_context.forgetStyles();
    updateContext();
    forgetLayouts();
    reestimate();
    if (!m_blocks.blocks().empty())
        m_topOffset = qMin(m_topOffset, qMax(0, laidOut(m_top).height() - 1));
    keepEndInView();
    updateScrollBars();
    viewport()->update();
}

void DFolioView::changeEvent(QEvent* event)
{
    QAbstractScrollArea::changeEvent(event);
    if (event->type() == QEvent::FontChange || event->type() == QEvent::PaletteChange)
        refresh();
}

void DFolioView::resizeEvent(QResizeEvent* event)
{
    QAbstractScrollArea::resizeEvent(event);
    const int width = m_context.width;
    updateContext();
    if (width != m_context.width) {
        forgetLayouts();
        reestimate();
    }
    keepEndInView();
    updateScrollBars();
}

void DFolioView::paintEvent(QPaintEvent*)
{
    QPainter painter(viewport());
    painter.fillRect(viewport()->rect(), m_background);
    painter.setClipRect(viewport()->rect()); // blocks draw only what falls inside
    const int count = int(m_blocks.blocks().size());
    const long long total = m_heights.total();
    const Position start = qMin(m_anchor, m_cursor);
    const Position end = qMax(m_anchor, m_cursor);
    const int left = m_margin - horizontalScrollBar()->value();
    int y = -m_topOffset;
    for (int i = m_top; i < count && y < viewport()->height(); ++i) {
        const DBlockLayout& layout = laidOut(i);
        int from = 0;
        int to = 0;
        if (i >= start.block && i <= end.block && start < end) {
            from = i == start.block ? start.offset : 0;
            to = i == end.block ? end.offset : INT_MAX;
        }
        painter.save();
        painter.translate(left, y);
        layout.draw(&painter, from, to);
        painter.restore();
        y += layout.height();
    }
    if (total != m_heights.total())
        updateScrollBars();
}

void DFolioView::keyPressEvent(QKeyEvent* event)
{
    if (event == QKeySequence::Copy) {
        copy();
        return;
    }
    if (event == QKeySequence::SelectAll) {
        selectAll();
        return;
    }
    switch (event->key()) {
    case Qt::Key_Up:
        verticalScrollBar()->triggerAction(QAbstractSlider::SliderSingleStepSub);
        break;
    case Qt::Key_Down:
        verticalScrollBar()->triggerAction(QAbstractSlider::SliderSingleStepAdd);
        break;
    case Qt::Key_PageUp:
        verticalScrollBar()->triggerAction(QAbstractSlider::SliderPageStepSub);
        break;
    case Qt::Key_PageDown:
    case Qt::Key_Space:
        verticalScrollBar()->triggerAction(QAbstractSlider::SliderPageStepAdd);
        break;
    case Qt::Key_Left:
        horizontalScrollBar()->triggerAction(QAbstractSlider::SliderSingleStepSub);
        break;
    case Qt::Key_Right:
        horizontalScrollBar()->triggerAction(QAbstractSlider::SliderSingleStepAdd);
        break;
    case Qt::Key_Home:
        scrollTo(0, 0);
        break;
    case Qt::Key_End:
        scrollTo(int(m_blocks.blocks().size()) - 1, 0);
        break;
    default:
        QAbstractScrollArea::keyPressEvent(event);
        return;
    }
    event->accept();
}

int DFolioView::blockAtViewport(qreal y, qreal* top)
{
    const int count = int(m_blocks.blocks().size());
    if (count == 0)
        return -1;
    int block = m_top;
    qreal blockTop = -m_topOffset;
    while (y < blockTop && block > 0)
        blockTop -= laidOut(--block).height();
    for (; block < count; ++block) {
        const int height = laidOut(block).height();
        if (y < blockTop + height) {
            *top = blockTop;
            return block;
        }
        blockTop += height;
    }
    return -1;
}

DFolioView::Position DFolioView::positionAt(const QPoint& point)
{
    const int count = int(m_blocks.blocks().size());
    if (count == 0)
        return Position();
    qreal top = 0;
    const int block = blockAtViewport(point.y(), &top);
    if (block < 0)
        return Position{count - 1, laidOut(count - 1).length()};
    const QPointF local(point.x() - m_margin + horizontalScrollBar()->value(), point.y() - top);
    return Position{block, laidOut(block).positionAt(local)};
}

DItem* DFolioView::itemAt(const QPoint& position)
{
    qreal top = 0;
    const int block = blockAtViewport(position.y(), &top);
    if (block < 0)
        return nullptr;
    return laidOut(block).itemAt(
        QPointF(position.x() - m_margin + horizontalScrollBar()->value(), position.y() - top));
}

DItem* DFolioView::linkAt(const QPoint& point)
{
    qreal top = 0;
    const int block = blockAtViewport(point.y(), &top);
    if (block < 0)
        return nullptr;
    return laidOut(block).linkAt(
        QPointF(point.x() - m_margin + horizontalScrollBar()->value(), point.y() - top));
}

QRect DFolioView::itemRect(const DItem* item)
{
    const int block = m_blocks.blockOf(item);
    if (block < 0)
        return QRect();
    const QRectF rect = laidOut(block).rectOf(item);
    const long long top = m_heights.top(block) - scrollPosition();
    return rect.translated(m_margin - horizontalScrollBar()->value(), qreal(top)).toAlignedRect();
}

void DFolioView::mousePressEvent(QMouseEvent* event)
{
    if (event->button() != Qt::LeftButton) {
        QAbstractScrollArea::mousePressEvent(event);
        return;
    }
    m_pressPoint = event->position().toPoint();
    m_pressedLink = linkAt(m_pressPoint);
    const Position position = positionAt(m_pressPoint);
    if (event->modifiers() & Qt::ShiftModifier)
        select(m_anchor, position);
    else
        select(position, position);
    m_selecting = true;
}

void DFolioView::mouseMoveEvent(QMouseEvent* event)
{
    const QPoint point = event->position().toPoint();
    if (m_selecting && (event->buttons() & Qt::LeftButton)) {
        if ((point - m_pressPoint).manhattanLength() >= QApplication::startDragDistance())
            m_pressedLink = nullptr;
        if (point.y() < 0)
            scrollBy(-20);
        else if (point.y() > viewport()->height())
            scrollBy(20);
        select(m_anchor, positionAt(point));
        return;
    }
    viewport()->setCursor(linkAt(point) ? Qt::PointingHandCursor : Qt::IBeamCursor);
}

void DFolioView::mouseReleaseEvent(QMouseEvent* event)
{
    if (event->button() != Qt::LeftButton) {
        QAbstractScrollArea::mouseReleaseEvent(event);
        return;
    }
    m_selecting = false;
    if (hasSelection() && QApplication::clipboard()->supportsSelection())
        QApplication::clipboard()->setText(selectedText(), QClipboard::Selection);
    DItem* link = m_pressedLink;
    m_pressedLink = nullptr;
    if (link && linkAt(event->position().toPoint()) == link)
        activate(link);
}

void DFolioView::mouseDoubleClickEvent(QMouseEvent* event)
{
    if (event->button() != Qt::LeftButton || m_blocks.blocks().empty()) {
        QAbstractScrollArea::mouseDoubleClickEvent(event);
        return;
    }
    // Selects the word under the pointer.
    const Position position = positionAt(event->position().toPoint());
    const QString text = DBlockLayout(m_blocks.blocks()[position.block], m_context).plainText();
    int start = qBound(0, position.offset, int(text.size()));
    int end = start;
    while (start > 0 && text.at(start - 1).isLetterOrNumber())
        --start;
    while (end < text.size() && text.at(end).isLetterOrNumber())
        ++end;
    select(Position{position.block, start}, Position{position.block, end});
}

void DFolioView::contextMenuEvent(QContextMenuEvent* event)
{
    QMenu menu(this);
    QAction* copyAction = menu.addAction(tr("&Copy"), this, &DFolioView::copy);
    copyAction->setShortcut(QKeySequence::Copy);
    copyAction->setEnabled(hasSelection());
    menu.addAction(tr("Select &All"), this, &DFolioView::selectAll)
        ->setShortcut(QKeySequence::SelectAll);
    menu.exec(event->globalPos());
}

void DFolioView::activate(DItem* link)
{
    if (DLink* plain = dcast<DLink>(link)) {
        emit activatedLink(plain);
        return;
    }
    // The slot may destroy the view; the link then goes with it.
    QPointer<DFolioView> alive(this);
    m_targetLink = std::make_unique<DLink>(dLinkTarget(link));
    emit activatedLink(m_targetLink.get());
    if (alive)
        m_targetLink.reset();
}

void DFolioView::select(const Position& anchor, const Position& cursor)
{
    m_anchor = anchor;
    m_cursor = cursor;
    viewport()->update();
}

bool DFolioView::hasSelection() const
{
    return !m_blocks.blocks().empty() && !(m_anchor == m_cursor);
}

void DFolioView::selectAll()
{
    if (m_blocks.blocks().empty())
        return;
    select(Position{0, 0}, Position{int(m_blocks.blocks().size()) - 1, INT_MAX});
}

void DFolioView::clearSelection()
{
    select(m_cursor, m_cursor);
}

QString DFolioView::selectionText(bool html) const
{
    if (!hasSelection())
        return QString();
    const Position start = qMin(m_anchor, m_cursor);
    const Position end = qMax(m_anchor, m_cursor);
    QStringList parts;
    bool inTable = false;
    for (int i = start.block; i <= end.block; ++i) {
        const DBlock& block = m_blocks.blocks()[i];
        const int from = i == start.block ? start.offset : 0;
        const int to = i == end.block ? end.offset : INT_MAX;
        if (block.kind == DBlock::DocumentStart || (i == end.block && i > start.block && to == 0))
            continue;
        const DBlockLayout layout(block, m_context);
        if (!html) {
            if (block.kind == DBlock::Text || block.kind == DBlock::Row)
                parts.append(layout.plainText(from, to));
            continue;
        }
        const bool row = block.kind == DBlock::Row;
        if (row != inTable)
            parts.append(row ? QStringLiteral("<table border=\"1\" cellspacing=\"0\">")
                             : QStringLiteral("</table>"));
        inTable = row;
        parts.append(layout.html(from, to));
    }
    if (!html)
        return parts.join(QLatin1Char('\n'));
    if (inTable)
        parts.append(QStringLiteral("</table>"));
    return QStringLiteral("<html><body>\n") + parts.join(QLatin1Char('\n')) +
           QStringLiteral("\n</body></html>");
}

QString DFolioView::selectedText() const
{
    return selectionText(false);
}

QString DFolioView::selectedHtml() const
{
    return selectionText(true);
}

void DFolioView::copy()
{
    if (!hasSelection())
        return;
    auto mime = std::make_unique<QMimeData>();
    mime->setText(selectedText());
    mime->setHtml(selectedHtml());
    QApplication::clipboard()->setMimeData(mime.release());
}

void DFolioView::print()
{
    QPrinter printer(QPrinter::HighResolution);
    QPrintDialog dialog(&printer, this);
    if (dialog.exec() == QDialog::Accepted)
        print(&printer);
}

void DFolioView::print(QPrinter* printer)
{
    QPainter painter;
    if (!printer || !painter.begin(printer))
        return;
    // Blocks are laid out in screen pixels, then drawn scaled to the printer's resolution.
    const qreal scale = qreal(printer->logicalDpiX()) / logicalDpiX();
    const QRectF page = printer->pageLayout().paintRectPixels(printer->resolution());
    const qreal pageWidth = page.width() / scale;
    const qreal pageHeight = page.height() / scale;
    DLayoutContext context = m_context;
    context.width = int(pageWidth);
    context.wordWrap = true;
    painter.scale(scale, scale);
    qreal y = 0;
    const auto newPage = [&] {
        printer->newPage();
        y = 0;
    };
    for (const DBlock& block : m_blocks.blocks()) {
        // A page break, and each document after the first, start a new page.
        if (block.kind == DBlock::Rule || block.kind == DBlock::DocumentStart) {
            if (y > 0 && (block.kind == DBlock::Rule || block.document > 0))
                newPage();
            continue;
        }
        DBlockLayout layout(block, context);
        layout.layOut();
        const int height = layout.height();
        if (y > 0 && y + height > pageHeight)
            newPage();
        // A block taller than a page goes on over the next pages.
        for (qreal shown = 0; shown < height; shown += pageHeight) {
            if (shown > 0)
                newPage();
            painter.save();
            painter.setClipRect(QRectF(0, 0, pageWidth, pageHeight));
            painter.translate(0, y - shown);
            layout.draw(&painter, 0, 0);
            painter.restore();
            y += qMin<qreal>(height - shown, pageHeight);
        }
    }
}
