#include "cli/diffreport.h"

#include "compare/runcomparison.h"
#include "compare/runidentities.h"

#include <QString>
#include <QStringList>
#include <cstdio>

namespace {

QByteArray placeOf(const RunFailure& failure)
{
    return failure.names.join(QStringLiteral(" > ")).toUtf8();
}

QByteArray sourceOf(const RunFailure& failure)
{
    if (failure.source.isEmpty())
        return QByteArray();
    QByteArray source = failure.source.toUtf8();
    if (failure.line > 0)
        source += ':' + QByteArray::number(failure.line);
    return source;
}

void appendJsonString(QByteArray& out, QByteArrayView text)
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

void appendJsonEntries(QByteArray& out, const std::vector<const RunFailure*>& failures)
{
    out += '[';
    bool first = true;
    for (const RunFailure* failure : failures) {
        out += first ? "\n    {" : ",\n    {";
        first = false;
        out += "\"identity\": ";
        appendJsonString(out, failure->identity);
        out += ", \"path\": [";
        for (qsizetype i = 0; i < failure->names.size(); ++i) {
            if (i > 0)
                out += ", ";
            appendJsonString(out, failure->names.at(i).toUtf8());
        }
        out += "], \"type\": ";
        appendJsonString(out, failure->type.toUtf8());
        out += ", \"source\": ";
        if (failure->source.isEmpty())
            out += "null";
        else
            appendJsonString(out, failure->source.toUtf8());
        out += ", \"line\": ";
        out += failure->line > 0 ? QByteArray::number(failure->line) : QByteArray("null");
        out += ", \"message\": ";
        appendJsonString(out, failure->message.toUtf8());
        out += '}';
    }
    out += first ? "]" : "\n  ]";
}

// Text of a run shown as it is in a comment: no markup of its own takes effect, and it stays
// in its table cell.
QByteArray markdownText(const QString& text)
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

QByteArray markdownRow(const RunFailure& failure)
{
    QString source;
    if (!failure.source.isEmpty())
        source = failure.source +
                 (failure.line > 0 ? QLatin1Char(':') + QString::number(failure.line) : QString());
    return "| " + markdownText(failure.names.join(QStringLiteral(" > "))) + " | " +
           markdownText(source) + " | " + markdownText(failure.message) + " |\n";
}

} // namespace

QByteArray DiffReport::text(const RunComparison& comparison)
{
    QByteArray out = "new: " + QByteArray::number(qsizetype(comparison.added.size())) +
                     ", fixed: " + QByteArray::number(qsizetype(comparison.fixed.size())) +
                     ", still failing: " + QByteArray::number(qsizetype(comparison.still)) + "\n";
    for (const RunFailure* failure : comparison.added) {
        out += "new: " + placeOf(*failure) + "\n";
        const QByteArray source = sourceOf(*failure);
        if (!source.isEmpty() || !failure->message.isEmpty()) {
            out += "  " + (source.isEmpty() ? QByteArray() : source + ": ") +
                   failure->message.toUtf8() + "\n";
        }
    }
    return out;
}

QByteArray DiffReport::json(const RunComparison& comparison)
{
    QByteArray out =
        "{\n  \"counts\": {\"new\": " + QByteArray::number(qsizetype(comparison.added.size())) +
        ", \"fixed\": " + QByteArray::number(qsizetype(comparison.fixed.size())) +
        ", \"still\": " + QByteArray::number(qsizetype(comparison.still)) + "},\n  \"new\": ";
    appendJsonEntries(out, comparison.added);
    out += ",\n  \"fixed\": ";
    appendJsonEntries(out, comparison.fixed);
    out += "\n}\n";
    return out;
}

QByteArray DiffReport::markdown(const RunComparison& comparison)
{
    const qsizetype added = qsizetype(comparison.added.size());
    const qsizetype fixed = qsizetype(comparison.fixed.size());
    QByteArray out = "### " + QByteArray::number(added) + " new, " + QByteArray::number(fixed) +
                     " fixed, " + QByteArray::number(qsizetype(comparison.still)) +
                     " still failing\n";
    // Room kept for the note on what was left out. Bytes are counted: never fewer than the
    // characters they make.
    constexpr qsizetype NoteRoom = 200;
    qsizetype addedShown = 0;
    qsizetype fixedShown = 0;
    bool full = false;
    const auto section = [&](const char* title, const std::vector<const RunFailure*>& failures,
                             qsizetype* shown) {
        if (failures.empty() || full)
            return;
        const QByteArray head = QByteArray("\n#### ") + title +
                                "\n\n| Place | Source | Message |\n"
                                "|---|---|---|\n";
        if (out.size() + head.size() + NoteRoom > MarkdownLimit) {
            full = true;
            return;
        }
        out += head;
        for (const RunFailure* failure : failures) {
            const QByteArray row = markdownRow(*failure);
            if (out.size() + row.size() + NoteRoom > MarkdownLimit) {
                full = true;
                return;
            }
            out += row;
            ++*shown;
        }
    };
    section("New failures", comparison.added, &addedShown);
    section("Fixed", comparison.fixed, &fixedShown);
    if (addedShown < added || fixedShown < fixed) {
        out += "\n*Cut to fit a comment: " + QByteArray::number(added - addedShown) +
               " more new and " + QByteArray::number(fixed - fixedShown) +
               " more fixed are not listed; `crcview diff` lists them all.*\n";
    }
    return out;
}
