#pragma once

#include "folio/view/dblocks.h"
#include "folio/view/dheightindex.h"
#include "folio/view/dlayout.h"

#include <QAbstractScrollArea>
#include <QRegularExpression>
#include <deque>
#include <memory>

class DDocument;
class DItem;
class DLink;
class QPrinter;

// Shows a sequence of documents one below the other. Blocks are laid out only when they are
// drawn or looked for; the others keep an estimated height, and positions are found in an index
// of heights. Scrolling is anchored on the block at the top, so a height that becomes exact
// above or below never moves what the user sees.
class DFolioView : public QAbstractScrollArea
{
    Q_OBJECT

public:
    explicit DFolioView(QWidget* parent = nullptr);
    ~DFolioView() override;

    // With `first`, `document` replaces the shown documents; otherwise it comes after them.
    // The view borrows the document: it must stay alive while shown.
    void setDocument(DDocument* document, bool first);
    void clearDocs();
    const std::vector<DDocument*>& documents() const { return m_blocks.documents(); }
    // The document at the top of the view, or null when none is shown.
    DDocument* currentDocument() const;

    // Scrolls so that `item` stands at the top; false when it is not shown.
    bool moveTo(const DItem* item);
    // Scrolls to the first item tagged `tag` (a document, a tagged container or an anchor), in
    // the documents tagged `document` when that is not empty. `file` names the report file of a
    // link; the view shows no file, so it is not consulted.
    bool moveTo(const QString& file, const QString& document, const QString& tag);
    // Selects the next match after the selection (or after the top of the view), wrapping
    // around to the start.
    bool search(const QRegularExpression& expression);
    enum SearchResult
    {
        NotFound,
        Found,
        Wrapped // found after passing the end (the start, searching backward)
    };
    // Selects the next match after the selection, or with `backward` the last one before it,
    // wrapping around; says whether it had to wrap.
    SearchResult find(const QRegularExpression& expression, bool backward = false);

    void setSearchPaths(const QStringList& paths);
    void addSearchPath(const QString& path);
    QStringList searchPaths() const { return m_context.searchPaths; }
    void setBackgroundColor(const QColor& color);
    QColor backgroundColor() const { return m_background; }
    void setWordWrap(bool on);
    bool wordWrap() const { return m_context.wordWrap; }
    // The height the documents take at the view's width with the space around them, laid out
    // from the top as far as needed: at most `limit` pixels.
    int documentsHeight(int limit);
    // Space around the documents, in pixels.
    void setMargin(int pixels);
    int margin() const { return m_margin; }

    bool hasSelection() const;
    QString selectedText() const;
    QString selectedHtml() const;
    void selectAll();
    void clearSelection();

    // The item shown at `position` of the viewport (a link, a piece of text or a block's item).
    DItem* itemAt(const QPoint& position);
    // Where `item` shows in the viewport; empty when it is not shown.
    QRect itemRect(const DItem* item);

public Q_SLOTS:
    // Asks for a printer, then prints the documents.
    void print();
    void print(QPrinter* printer);
    // Puts the selection on the clipboard as plain text and HTML.
    void copy();
    // Lays out and draws again, after a change of the styles the documents use.
    void refresh();

Q_SIGNALS:
    // A link was clicked. Pointers and entries arrive as a link to their target, valid during
    // the signal only.
    void activatedLink(DLink* link);

protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void scrollContentsBy(int dx, int dy) override;
    void keyPressEvent(QKeyEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    void contextMenuEvent(QContextMenuEvent* event) override;
    void changeEvent(QEvent* event) override;

private:
    struct Position
    {
        int block = 0;
        int offset = 0;
        bool operator<(const Position& other) const
        {
            return block < other.block || (block == other.block && offset < other.offset);
        }
        bool operator==(const Position& other) const
        {
            return block == other.block && offset == other.offset;
        }
    };

    DBlockLayout& laidOut(int block);
    void forgetLayouts();
    void updateContext();
    void appendHeights(int fromBlock);
    void reestimate();
    // Scrolling keeps the top block and the pixels of it hidden above the view.
    void scrollTo(int block, int offset);
    void scrollBy(long long pixels);
    void keepEndInView();
    void updateScrollBars();
    long long scrollPosition() const;
    // The block at `y` of the viewport and `y` within it; -1 below the last block.
    int blockAtViewport(qreal y, qreal* top);
    Position positionAt(const QPoint& point);
    DItem* linkAt(const QPoint& point);
    void activate(DItem* link);
    void select(const Position& anchor, const Position& cursor);
    void showPosition(const Position& position);
    QString selectionText(bool html) const;

    DBlockList m_blocks;
    DHeightIndex m_heights;
    DLayoutContext m_context;
    std::vector<std::unique_ptr<DBlockLayout>> m_layouts;
    std::deque<int> m_layoutOrder; // oldest first; a bounded number of layouts is kept
    int m_top = 0;
    int m_topOffset = 0;
    int m_contentWidth = 0;
    int m_margin = 16;
    QColor m_background;
    bool m_updatingScrollBars = false;

    Position m_anchor;
    Position m_cursor;
    bool m_selecting = false;
    QPoint m_pressPoint;
    DItem* m_pressedLink = nullptr;
    std::unique_ptr<DLink> m_targetLink;
};
