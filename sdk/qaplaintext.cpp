#include "sdk/qaplaintext.h"

namespace QAPlainText {

QString toolTip(const QString& text)
{
    if (text.isEmpty())
        return text;
    // Spaces and line breaks as they are; long lines still wrap.
    return QStringLiteral("<p style=\"white-space:pre-wrap\">") + text.toHtmlEscaped() +
           QStringLiteral("</p>");
}

} // namespace QAPlainText
