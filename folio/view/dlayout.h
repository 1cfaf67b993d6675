#pragma once

#include "folio/view/dblocks.h"

#include <QColor>
#include <QFont>
#include <QHash>
#include <QImage>
#include <QRectF>
#include <QStringList>
#include <memory>
#include <vector>

class DChart;
class QPainter;
class QTextLayout;

// What every block is laid out and drawn with.
struct DLayoutContext
{
    QFont font; // the default for styles without family or size
    QColor text;
    QColor link;
    QColor grid;
    QColor highlight;
    QColor highlightedText;
    int width = 600; // available width of a block, without margins
    bool wordWrap = true;
    QStringList searchPaths;

    QFont fontOf(const DStyle* style) const;
    // Line height and mean character width of a style, to estimate heights.
    QSizeF metricsOf(const DStyle* style) const;
    // The regular file an image source names, searched in the search paths; empty when missing
    // or anything else (a FIFO, a device, a folder).
    QString findImage(const QString& source) const;
    // Styles change in place: forget what was derived from them.
    void forgetStyles();

private:
    mutable QHash<const DStyle*, QFont> m_fonts;
    mutable QHash<const DStyle*, QSizeF> m_metrics;
};

// A piece of a run of text shown by one item.
struct DFragment
{
    int start;
    int length;
    DItem* item;         // text, tag pointer or entry
    DItem* link;         // the link the piece belongs to (link, popup link, pointer, entry)
    const DStyle* style; // the style it shows with
};

// The text of a paragraph or of one table cell, with the items that show each piece.
struct DTextRun
{
    QString text;
    std::vector<DFragment> fragments;
    const DStyle* style = nullptr;
    int span = 0;
};

// Where a link, popup link, tag pointer or entry leads; empty for other items.
QString dLinkTarget(const DItem* link);

// One block made ready to draw. Constructed, it holds the block's text (enough for search and
// copy); layOut() then places lines, cells, images and charts for a width.
class DBlockLayout
{
public:
    DBlockLayout(const DBlock& block, const DLayoutContext& context);
    ~DBlockLayout();
    DBlockLayout(const DBlockLayout&) = delete;
    DBlockLayout& operator=(const DBlockLayout&) = delete;

    static int estimateHeight(const DBlock& block, const DLayoutContext& context);

    void layOut();
    int height() const { return m_height; }
    // Width of the widest line, for the horizontal extent when lines do not wrap.
    int naturalWidth() const { return m_naturalWidth; }

    // Positions count characters over the block's runs, one more between two cells.
    int length() const;
    QString plainText() const;
    QString plainText(int from, int to) const;
    // The part [from, to) as HTML: a paragraph, a table row, an image or a rule.
    QString html(int from, int to) const;

    // Draws with its top left corner at the origin; [selectionStart, selectionEnd) highlighted.
    void draw(QPainter* painter, int selectionStart, int selectionEnd) const;
    int positionAt(const QPointF& point) const;
    // The link under `point`, or null.
    DItem* linkAt(const QPointF& point) const;
    // The item shown under `point`: a piece of text, or the block's own item.
    DItem* itemAt(const QPointF& point) const;
    // Where `item` shows in the block (the whole block when it shows no text of its own).
    QRectF rectOf(const DItem* item) const;
    // The line around `position`.
    QRectF cursorRect(int position) const;

    // The longest piece of text laid out at once, how many layouts are alive now (the first
    // piece of each run, and a few more) and how many were made since the layout was made.
    int longestPiece() const;
    int liveLayouts() const { return int(m_firstPiece.size() + m_livePieces.size()); }
    int layoutsMade() const { return m_layoutsMade; }

private:
    void collectText();
    void layOutText();
    void layOutRow();
    void layOutImage();
    void layOutChart();
    // A piece of a run, laid out on its own: a long run is never laid out whole, so the memory
    // a layout takes stays bounded whatever the length of a paragraph.
    struct Piece
    {
        int run;
        int start; // in the run's text
        int length;
        qreal top; // from the run's origin
        qreal height;
        qreal width;       // the line width it is laid out for
        QRectF textBounds; // around the text of its lines, from the piece's origin
    };
    // Cuts run `run` into pieces laid out at `width`; returns its height and widest line.
    QSizeF layOutRun(int run, qreal width);
    std::unique_ptr<QTextLayout> makeLayout(const Piece& piece) const;
    // The layout of a piece, made again when it is not among the few kept alive.
    const QTextLayout& pieceLayout(int piece) const;
    QPointF pieceOrigin(int piece) const;
    // The piece of `run` that holds `position` of its text, or that lies at `y` from its origin.
    int pieceAtPosition(int run, int position) const;
    int pieceAtY(int run, qreal y) const;
    // The run holding `position` and the position inside it.
    int runAt(int position, int* local) const;
    int runStart(int run) const;
    QPointF runOrigin(int run) const;
    const DFragment* fragmentAt(const QPointF& point) const;

    const DBlock m_block; // a copy: the block list may grow while the layout lives
    const DLayoutContext& m_context;
    std::vector<DTextRun> m_runs;
    std::vector<Piece> m_pieces;                                 // in run order, then top to bottom
    std::vector<int> m_firstPiece;                               // per run, its first piece
    mutable std::vector<std::unique_ptr<QTextLayout>> m_layouts; // one slot per piece
    mutable std::vector<int> m_livePieces; // pieces laid out beyond each run's first, oldest first
    mutable int m_layoutsMade = 0;
    std::vector<QRectF> m_cellRects; // rows: one per run
    QRectF m_content;                // area of text, image or chart
    int m_before = 0;                // space above the content
    int m_height = 0;
    int m_naturalWidth = 0;
    QImage m_image;
    QString m_imageFile;
    std::unique_ptr<DChart> m_chart;
};
