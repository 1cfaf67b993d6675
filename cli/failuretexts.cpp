#include "cli/failuretexts.h"

#include "compare/runidentities.h"

#include <cstdio>

namespace {

// Room kept for the note on what was left out.
constexpr qsizetype NoteRoom = 200;

} // namespace

void FailureTexts::appendJsonString(QByteArray& out, QByteArrayView text)
{
    out += '"';
    for (const char c : text) {
        switch (c) {
        case '"':
            out += "\\\"";
            break;
        case '\\':
            out += "\\\\";
            break;
        case '\n':
            out += "\\n";
            break;
        case '\r':
            out += "\\r";
            break;
        case '\t':
            out += "\\t";
            break;
        default:
            if (static_cast<unsigned char>(c) < 0x20) {
                char escaped[8];
                std::snprintf(escaped, sizeof escaped, "\\u%04x", unsigned(c));
                out += escaped;
            } else {
                out += c;
            }
        }
    }
    out += '"';
}

QByteArray FailureTexts::markdownText(const QString& text)
{
    QByteArray out;
    for (const QChar c : text) {
        if (c == QLatin1Char('<'))
            out += "&lt;";
        else if (c == QLatin1Char('>'))
            out += "&gt;";
        else if (c == QLatin1Char('&'))
            out += "&amp;";
        else if (c == QLatin1Char('\n') || c == QLatin1Char('\r'))
            out += ' ';
        else if (QStringLiteral("\\`*_[]|~").contains(c))
            out += '\\' + QString(c).toUtf8();
        else
            out += QString(c).toUtf8();
    }
    return out;
}

QString FailureTexts::sourceOf(const RunFailure& failure)
{
    if (failure.source.isEmpty())
        return QString();
    return failure.line > 0 ? failure.source + QLatin1Char(':') + QString::number(failure.line)
                            : failure.source;
}

qsizetype FailureTexts::MarkdownTables::add(const QByteArray& heading, const QByteArray& header,
                                            const std::vector<const RunFailure*>& failures,
                                            QByteArray (*row)(const RunFailure&))
{
    if (failures.empty() || m_full)
        return 0;
    const QByteArray head = "\n" + heading + "\n\n" + header;
    if (m_out->size() + head.size() + NoteRoom > m_limit) {
        m_full = true;
        return 0;
    }
    *m_out += head;
    qsizetype shown = 0;
    for (const RunFailure* failure : failures) {
        const QByteArray line = row(*failure);
        if (m_out->size() + line.size() + NoteRoom > m_limit) {
            m_full = true;
            break;
        }
        *m_out += line;
        ++shown;
    }
    return shown;
}
