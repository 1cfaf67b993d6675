#include "host/sourceview.h"

#include "sdk/qasafefile.h"

#include <QCoreApplication>
#include <QDesktopServices>
#include <QFile>
#include <QFontDatabase>
#include <QLabel>
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
    m_message = new QLabel(viewport());
    m_message->setObjectName(QStringLiteral("findingMessage"));
    m_message->setTextFormat(Qt::PlainText);
    m_message->setAutoFillBackground(true);
    m_message->setBackgroundRole(QPalette::ToolTipBase);
    m_message->setForegroundRole(QPalette::ToolTipText);
    m_message->setContentsMargins(4, 0, 4, 0);
    m_message->hide();
    connect(this, &QPlainTextEdit::updateRequest, this, [this] { placeMessage(); });
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

bool SourceView::stepPlace(int by, SourceRequest* step) const
{
    const int to = m_place.step + by;
    if (to < 0 || to >= m_place.steps.size())
        return false;
    *step = m_place;
    step->step = to;
    step->path = m_place.steps.at(to).path;
    step->line = m_place.steps.at(to).line;
    step->lastLine = 0;
    step->snippet.clear();
    step->message = m_place.steps.at(to).message;
    return true;
}

void SourceView::showPlace(const SourceRequest& request)
{
    m_place = request;
    QTextBlock block = document()->findBlockByNumber(qMax(request.line, 1) - 1);
    if (!block.isValid())
        block = document()->lastBlock();
    m_line = block.blockNumber() + 1;
    // The lines the place spans: to its last line, and on as long as the snippet quotes them.
    int lines = qMax(1, request.lastLine - m_line + 1);
    const QStringList quoted = request.snippet.split(QLatin1Char('\n'));
    int matching = 0;
    for (QTextBlock at = block;
         at.isValid() && matching < quoted.size() && !request.snippet.isEmpty(); at = at.next()) {
        if (at.text().trimmed() != quoted.at(matching).trimmed())
            break;
        ++matching;
    }
    lines = qMax(lines, matching);

    const QColor background = palette().color(QPalette::Highlight).lighter(160);
    QList<QTextEdit::ExtraSelection> highlights;
    QTextBlock at = block;
    for (int i = 0; i < lines && at.isValid(); ++i, at = at.next()) {
        QTextEdit::ExtraSelection highlight;
        highlight.format.setBackground(background);
        highlight.format.setProperty(QTextFormat::FullWidthSelection, true);
        highlight.cursor = QTextCursor(at);
        highlights.append(highlight);
    }
    setTextCursor(QTextCursor(block));
    setExtraSelections(highlights);
    centerCursor();

    // The message is the report's text: plain, whatever it holds.
    m_message->setText(request.message);
    m_message->setVisible(!request.message.isEmpty());
    m_message->adjustSize();
    placeMessage();
}

void SourceView::placeMessage()
{
    if (m_message->isHidden())
        return;
    const QTextBlock block = document()->findBlockByNumber(m_line - 1);
    const QRectF line = blockBoundingGeometry(block).translated(contentOffset());
    const int after = fontMetrics().horizontalAdvance(block.text() + QStringLiteral("    "));
    m_message->move(int(contentOffset().x()) + after, qRound(line.top()));
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
