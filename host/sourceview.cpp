#include "host/sourceview.h"

#include "sdk/qasafefile.h"

#include <QCoreApplication>
#include <QDesktopServices>
#include <QFile>
#include <QFontDatabase>
#include <QPainter>
#include <QTextBlock>
#include <QUrl>

// The margin of a source view that shows the line numbers; the view paints it.
class LineNumberMargin : public QWidget
{
public:
    explicit LineNumberMargin(SourceView* view) : QWidget(view), m_view(view)
    {
        setObjectName(QStringLiteral("lineNumbers"));
    }
    QSize sizeHint() const override { return {m_view->lineNumberWidth(), 0}; }

protected:
    void paintEvent(QPaintEvent* event) override { m_view->paintLineNumbers(event); }

private:
    SourceView* m_view;
};

SourceView::SourceView(const QString& path)
    : m_path(path), m_lineNumbers(new LineNumberMargin(this))
{
    setReadOnly(true);
    setLineWrapMode(QPlainTextEdit::NoWrap);
    QFont font = QFontDatabase::systemFont(QFontDatabase::FixedFont);
    font.setStyleHint(QFont::TypeWriter);
    setFont(font);
    connect(this, &QPlainTextEdit::blockCountChanged, this,
            [this] { setViewportMargins(lineNumberWidth(), 0, 0, 0); });
    connect(this, &QPlainTextEdit::updateRequest, this, [this](const QRect& rect, int dy) {
        if (dy)
            m_lineNumbers->scroll(0, dy);
        else
            m_lineNumbers->update(0, rect.y(), m_lineNumbers->width(), rect.height());
    });
    setViewportMargins(lineNumberWidth(), 0, 0, 0);
}

int SourceView::lineNumberWidth() const
{
    const int digits = QString::number(qMax(1, blockCount())).size();
    return 8 + fontMetrics().horizontalAdvance(QLatin1Char('9')) * digits;
}

void SourceView::resizeEvent(QResizeEvent* event)
{
    QPlainTextEdit::resizeEvent(event);
    const QRect area = contentsRect();
    m_lineNumbers->setGeometry(area.left(), area.top(), lineNumberWidth(), area.height());
}

void SourceView::paintLineNumbers(QPaintEvent* event)
{
    QPainter painter(m_lineNumbers);
    painter.fillRect(event->rect(), palette().color(QPalette::AlternateBase));
    painter.setFont(font());
    QTextBlock block = firstVisibleBlock();
    int top = qRound(blockBoundingGeometry(block).translated(contentOffset()).top());
    while (block.isValid() && top <= event->rect().bottom()) {
        const int height = qRound(blockBoundingRect(block).height());
        if (block.isVisible() && top + height >= event->rect().top()) {
            const int number = block.blockNumber() + 1;
            painter.setPen(
                palette().color(number == m_line ? QPalette::Text : QPalette::PlaceholderText));
            painter.drawText(0, top, m_lineNumbers->width() - 4, height, Qt::AlignRight,
                             QString::number(number));
        }
        block = block.next();
        top += height;
    }
}

std::unique_ptr<SourceView> SourceView::open(const QString& path, QString* error)
{
    // Only regular files: a FIFO would block the studio, a device such as /dev/zero never ends.
    QFile file(path);
    QString reason;
    if (!QASafeWrite::openRegularFile(file, &reason)) {
        *error = QStringLiteral("%1: %2").arg(path, reason);
        return nullptr;
    }
    // Read piece by piece up to the limit, whatever size the file claims: files of /proc say 0
    // and some of them (/proc/self/pagemap) go on for hundreds of gigabytes.
    const auto tooLarge = [&] {
        *error = QStringLiteral("%1: it holds more than %2 MiB, too much to show as a source file")
                     .arg(path)
                     .arg(maxSize / (1024 * 1024));
        return nullptr;
    };
    if (file.size() > maxSize)
        return tooLarge();
    QByteArray bytes;
    constexpr qint64 pieceSize = 1024 * 1024;
    for (;;) {
        const qint64 wanted = qMin(pieceSize, maxSize + 1 - bytes.size());
        const qsizetype start = bytes.size();
        bytes.resize(start + wanted);
        const qint64 got = file.read(bytes.data() + start, wanted);
        if (got < 0) {
            *error = QStringLiteral("%1: %2").arg(path, file.errorString());
            return nullptr;
        }
        bytes.resize(start + got);
        if (got == 0)
            break;
        if (bytes.size() > maxSize)
            return tooLarge();
    }
    std::unique_ptr<SourceView> view(new SourceView(path));
    view->setPlainText(QString::fromUtf8(bytes));
    return view;
}

void SourceView::showLine(int line)
{
    QTextBlock block = document()->findBlockByNumber(qMax(line, 1) - 1);
    if (!block.isValid())
        block = document()->lastBlock();
    m_line = block.blockNumber() + 1;
    QTextCursor cursor(block);
    setTextCursor(cursor);
    QTextEdit::ExtraSelection highlight;
    highlight.format.setBackground(palette().color(QPalette::Highlight).lighter(160));
    highlight.format.setProperty(QTextFormat::FullWidthSelection, true);
    highlight.cursor = cursor;
    setExtraSelections({highlight});
    centerCursor();
}

bool SourceView::openInEditor(QString* error) const
{
    // What is there now, not what was read: a FIFO put in its place would hang the editor.
    if (!QASafeWrite::isRegularFile(m_path)) {
        *error =
            QCoreApplication::translate("SourceView", "%1 is no longer a regular file").arg(m_path);
        return false;
    }
    if (!QDesktopServices::openUrl(QUrl::fromLocalFile(m_path))) {
        *error = QCoreApplication::translate("SourceView", "No editor opens %1").arg(m_path);
        return false;
    }
    return true;
}
