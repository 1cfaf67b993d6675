#include "host/sourceview.h"

#include <QFile>
#include <QFileInfo>
#include <QFontDatabase>
#include <QTextBlock>

SourceView::SourceView(const QString& path) : m_path(path)
{
    setReadOnly(true);
    setLineWrapMode(QPlainTextEdit::NoWrap);
    QFont font = QFontDatabase::systemFont(QFontDatabase::FixedFont);
    font.setStyleHint(QFont::TypeWriter);
    setFont(font);
}

std::unique_ptr<SourceView> SourceView::open(const QString& path, QString* error)
{
    if (QFileInfo(path).isDir()) {
        *error = tr("%1: is a directory").arg(path);
        return nullptr;
    }
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        *error = QStringLiteral("%1: %2").arg(path, file.errorString());
        return nullptr;
    }
    std::unique_ptr<SourceView> view(new SourceView(path));
    view->setPlainText(QString::fromUtf8(file.readAll()));
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
