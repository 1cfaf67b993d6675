#include "cli/runreport.h"

#include "cli/failuretexts.h"
#include "cli/reviewedresults.h"
#include "compare/runidentities.h"
#include "import/markupwriter.h"

#include <QCryptographicHash>
#include <QDir>
#include <QHash>
#include <QString>
#include <QStringList>
#include <QUrl>

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

void appendAttribute(QByteArray& out, const char* name, const QString& value)
{
    out += ' ';
    out += name;
    out += "=\"";
    appendXmlEscaped(out, value.toUtf8(), true);
    out += '"';
}

// A case's name: its place below the suite, with its line.
QString caseNameOf(const RunFailure& failure)
{
    QString name = failure.names.mid(1).join(QStringLiteral(" > "));
    if (name.isEmpty())
        name = failure.names.value(0, failure.type);
    if (failure.line > 0)
        name += QStringLiteral(" line %1").arg(failure.line);
    return name;
}

} // namespace

QByteArray RunReport::junit(const std::vector<const RunFailure*>& failures)
{
    // Suites in the order their first failure comes.
    QStringList suites;
    QHash<QString, std::vector<const RunFailure*>> bySuite;
    for (const RunFailure* failure : failures) {
        const QString suite = failure->names.value(0, QStringLiteral("(no place)"));
        auto& cases = bySuite[suite];
        if (cases.empty())
            suites.append(suite);
        cases.push_back(failure);
    }
    const QByteArray total = QByteArray::number(qsizetype(failures.size()));
    QByteArray out = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<testsuites name=\"crcview\" "
                     "tests=\"" +
                     total + "\" failures=\"" + total + "\">\n";
    for (const QString& suite : std::as_const(suites)) {
        const std::vector<const RunFailure*>& cases = bySuite[suite];
        const QByteArray count = QByteArray::number(qsizetype(cases.size()));
        out += "  <testsuite";
        appendAttribute(out, "name", suite);
        out += " tests=\"" + count + "\" failures=\"" + count + "\">\n";
        for (const RunFailure* failure : cases) {
            out += "    <testcase";
            appendAttribute(out, "classname", checkOf(*failure));
            appendAttribute(out, "name", caseNameOf(*failure));
            if (!failure->source.isEmpty())
                appendAttribute(out, "file", failure->source);
            if (failure->line > 0)
                out += " line=\"" + QByteArray::number(failure->line) + '"';
            out += ">\n      <failure";
            appendAttribute(out, "message", failure->message);
            appendAttribute(out, "type", failure->level.isEmpty() ? failure->type : failure->level);
            out += '>';
            const QString source = FailureTexts::sourceOf(*failure);
            appendXmlEscaped(
                out,
                ((source.isEmpty() ? QString() : source + QStringLiteral(": ")) + failure->message)
                    .toUtf8(),
                false);
            out += "</failure>\n    </testcase>\n";
        }
        out += "  </testsuite>\n";
    }
    out += "</testsuites>\n";
    return out;
}

QByteArray RunReport::sarif(const std::vector<const RunFailure*>& failures,
                            const ReviewedResults* reviews)
{
    // The rules in the order they are met.
    QStringList rules;
    QHash<QString, int> ruleIndex;
    for (const RunFailure* failure : failures) {
        const QString rule = checkOf(*failure);
        if (!ruleIndex.contains(rule)) {
            ruleIndex.insert(rule, int(rules.size()));
            rules.append(rule);
        }
    }
    QByteArray out = "{\n  \"$schema\": \"https://json.schemastore.org/sarif-2.1.0.json\",\n"
                     "  \"version\": \"2.1.0\",\n  \"runs\": [{\n    \"tool\": {\"driver\": {"
                     "\"name\": \"crcview\", \"version\": \"" CRC_VIEWER_VERSION "\", \"rules\": [";
    for (qsizetype i = 0; i < rules.size(); ++i) {
        const QByteArray id = rules.at(i).toUtf8();
        out += i == 0 ? "\n      {\"id\": " : ",\n      {\"id\": ";
        appendJsonString(out, id);
        for (const char* description : {"shortDescription", "fullDescription", "help"}) {
            out += ", \"" + QByteArray(description) + "\": {\"text\": ";
            appendJsonString(out, id);
            out += '}';
        }
        out += '}';
    }
    out += "]}},\n    \"originalUriBaseIds\": {\"%SRCROOT%\": {\"description\": {\"text\": "
           "\"The root of the sources.\"}}},\n    \"results\": [";
    bool first = true;
    for (const RunFailure* failure : failures) {
        out += first ? "\n      {" : ",\n      {";
        first = false;
        const QString rule = checkOf(*failure);
        out += "\"ruleId\": ";
        appendJsonString(out, rule.toUtf8());
        out += ", \"ruleIndex\": " + QByteArray::number(ruleIndex.value(rule)) + ", \"level\": \"";
        // A failure without a level (a test, a result file's item) is an error.
        out += failure->level == QLatin1String("warning") || failure->level == QLatin1String("note")
                   ? failure->level.toLatin1()
                   : QByteArray("error");
        out += "\", \"message\": {\"text\": ";
        const QString message = failure->message.isEmpty()
                                    ? failure->names.join(QStringLiteral(" > "))
                                    : failure->message;
        appendJsonString(out, (message.isEmpty() ? failure->type : message).toUtf8());
        out += "}, \"locations\": [{";
        if (!failure->source.isEmpty()) {
            const bool relative = !QDir::isAbsolutePath(failure->source);
            const QByteArray uri = relative ? QUrl::toPercentEncoding(failure->source, "/")
                                            : QUrl::fromLocalFile(failure->source).toEncoded();
            out += "\"physicalLocation\": {\"artifactLocation\": {\"uri\": ";
            appendJsonString(out, uri);
            if (relative)
                out += ", \"uriBaseId\": \"%SRCROOT%\"";
            out += '}';
            if (failure->line > 0)
                out += ", \"region\": {\"startLine\": " + QByteArray::number(failure->line) + '}';
            out += "}, ";
        }
        out += "\"logicalLocations\": [{\"fullyQualifiedName\": ";
        appendJsonString(out, failure->names.join(QStringLiteral(" > ")).toUtf8());
        out += "}]}], \"partialFingerprints\": {\"crcviewIdentity/v1\": \"";
        out += QCryptographicHash::hash(failure->identity, QCryptographicHash::Sha1).toHex();
        out += "\"}";
        if (const Review* review = reviews ? reviews->suppressing(*failure) : nullptr) {
            out += ", \"suppressions\": [{\"kind\": \"external\", \"status\": \"accepted\"";
            if (!review->comment.isEmpty()) {
                out += ", \"justification\": ";
                appendJsonString(out, review->comment.toUtf8());
            }
            out += "}]";
        }
        out += '}';
    }
    out += first ? "]\n  }]\n}\n" : "\n    ]\n  }]\n}\n";
    return out;
}

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
