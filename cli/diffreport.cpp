#include "cli/diffreport.h"

#include "cli/failuretexts.h"

#include "compare/runcomparison.h"
#include "compare/runidentities.h"

#include <QString>
#include <QStringList>

namespace {

using FailureTexts::appendJsonString;
using FailureTexts::markdownText;

QByteArray placeOf(const RunFailure& failure)
{
    return failure.names.join(QStringLiteral(" > ")).toUtf8();
}

QByteArray sourceOf(const RunFailure& failure)
{
    return FailureTexts::sourceOf(failure).toUtf8();
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

QByteArray markdownRow(const RunFailure& failure)
{
    return "| " + markdownText(failure.names.join(QStringLiteral(" > "))) + " | " +
           markdownText(FailureTexts::sourceOf(failure)) + " | " + markdownText(failure.message) +
           " |\n";
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
    FailureTexts::MarkdownTables tables(&out, MarkdownLimit);
    const QByteArray header = "| Place | Source | Message |\n|---|---|---|\n";
    const qsizetype addedShown =
        tables.add("#### New failures", header, comparison.added, markdownRow);
    const qsizetype fixedShown = tables.add("#### Fixed", header, comparison.fixed, markdownRow);
    if (addedShown < added || fixedShown < fixed) {
        out += "\n*Cut to fit a comment: " + QByteArray::number(added - addedShown) +
               " more new and " + QByteArray::number(fixed - fixedShown) +
               " more fixed are not listed; `crcview diff` lists them all.*\n";
    }
    return out;
}
