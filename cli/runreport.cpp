#include "cli/runreport.h"

#include "cli/failuretexts.h"
#include "compare/runidentities.h"

#include <QCryptographicHash>
#include <QHash>
#include <QString>
#include <QStringList>

namespace {

using FailureTexts::appendJsonString;
using FailureTexts::markdownText;

// GitLab's severities by SARIF level; a failure without a level (a test, a result file's item)
// is a major one.
const char* severityOf(const RunFailure& failure)
{
    if (failure.level == QLatin1String("error"))
        return "critical";
    if (failure.level == QLatin1String("warning"))
        return "major";
    if (failure.level == QLatin1String("note") || failure.level == QLatin1String("none"))
        return "info";
    return "major";
}

// What a finding is called: its rule, else its type.
QString checkOf(const RunFailure& failure)
{
    return failure.rule.isEmpty() ? failure.type : failure.rule;
}

QByteArray markdownRow(const RunFailure& failure)
{
    return "| " + markdownText(failure.level) + " | " + markdownText(checkOf(failure)) + " | " +
           markdownText(failure.names.join(QStringLiteral(" > "))) + " | " +
           markdownText(FailureTexts::sourceOf(failure)) + " | " + markdownText(failure.message) +
           " |\n";
}

} // namespace

QByteArray RunReport::codeClimate(const std::vector<const RunFailure*>& failures)
{
    QByteArray out = "[";
    // Identities are unique in a run; across the files of one report the later of equal ones
    // get an occurrence number.
    QHash<QByteArray, int> seen;
    bool first = true;
    for (const RunFailure* failure : failures) {
        QByteArray identity = failure->identity;
        if (const int earlier = seen[identity]++; earlier > 0)
            identity += '#' + QByteArray::number(earlier + 1);
        const QByteArray fingerprint =
            QCryptographicHash::hash(identity, QCryptographicHash::Sha1).toHex();
        const QString path = failure->source.isEmpty()
                                 ? failure->names.value(0, QStringLiteral("(no location)"))
                                 : failure->source;
        const QString description = failure->message.isEmpty()
                                        ? failure->names.value(failure->names.size() - 1)
                                        : failure->message;
        out += first ? "\n  {" : ",\n  {";
        first = false;
        out += "\"type\": \"issue\", \"description\": ";
        appendJsonString(out, description.toUtf8());
        out += ", \"check_name\": ";
        appendJsonString(out, checkOf(*failure).toUtf8());
        out += ", \"fingerprint\": \"" + fingerprint + "\", \"severity\": \"" +
               severityOf(*failure) + "\", \"location\": {\"path\": ";
        appendJsonString(out, path.toUtf8());
        out += ", \"lines\": {\"begin\": " + QByteArray::number(qMax(1, failure->line)) + "}}}";
    }
    out += first ? "]\n" : "\n]\n";
    return out;
}

QByteArray RunReport::markdown(const std::vector<const RunFailure*>& failures, qsizetype limit)
{
    const qsizetype count = qsizetype(failures.size());
    QByteArray out = "### " + QByteArray::number(count) +
                     (count == 1 ? " failed result\n" : " failed results\n");
    FailureTexts::MarkdownTables tables(&out, limit);
    const qsizetype shown = tables.add(
        "#### Failures", "| Level | Rule | Place | Source | Message |\n|---|---|---|---|---|\n",
        failures, markdownRow);
    if (shown < count)
        out += "\n*Cut to fit: " + QByteArray::number(count - shown) +
               " more failed results are not listed; `crcview dump --failed` lists them all.*\n";
    return out;
}
