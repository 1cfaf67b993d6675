#pragma once

#include <QString>

// Text that comes from a file (names, paths, messages) is never taken as markup: a label or a
// message box that guessed would render a link that opens a local file, or an image that reads a
// FIFO and hangs the studio. Labels and message boxes are set to Qt::PlainText; tool tips, which
// have no such switch, go through here.
namespace QAPlainText {

// `text` as a tool tip that shows it literally: escaped and marked as rich text, so that the
// tool tip's guess of the format is always the right one. Spaces and line breaks are kept; an
// empty text stays empty (no tip).
QString toolTip(const QString& text);

} // namespace QAPlainText
