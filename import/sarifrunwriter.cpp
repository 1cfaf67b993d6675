#include "import/sarifrunwriter.h"

#include "import/cappedtext.h"
#include "import/markupwriter.h"
#include "import/sarifjson.h"

#include <QDir>
#include <QFileInfo>
#include <QUrl>
#include <algorithm>
#include <utility>

using namespace SarifJson;

namespace {

constexpr qsizetype NameLength = 80; // characters of a message kept in a finding's name

// The level of a result as SARIF defaults it: its own, "none" for a result that is not a
// failure, its rule's, else "warning". A level SARIF does not know reads as the default.
Bytes levelOf(const Value& result, const Value* rule)
{
    const auto known = [](Bytes level) {
        return level == "error" || level == "warning" || level == "note" || level == "none";
    };
    const Bytes own = textOf(member(&result, "level"));
    if (known(own))
        return own;
    const Bytes kind = textOf(member(&result, "kind"));
    if (!kind.isEmpty() && kind != "fail")
        return "none";
    const Bytes configured = textOf(member(member(rule, "defaultConfiguration"), "level"));
    return known(configured) ? configured : Bytes("warning");
}

// The style a message takes from its level.
const char* levelStyle(Bytes level)
{
    if (level == "error")
        return "Normal Failed";
    if (level == "warning")
        return "Warning";
    return "Normal";
}

void writeFingerprints(MarkupWriter& out, const Value* fingerprints)
{
    if (!fingerprints || !fingerprints->IsObject())
        return;
    for (const auto& entry : fingerprints->GetObject()) {
        const Bytes value = textOf(&entry.value);
        if (!value.isEmpty())
            out.element("PARAGRAPH",
                        "Fingerprint " + textOf(&entry.name).toByteArray() + ": " +
                            value.toByteArray(),
                        {{"style", "Normal"}});
    }
}

// An http or https address of reasonable length, without blanks or control characters.
bool isWebAddress(const QByteArray& text)
{
    const bool web = text.startsWith("https://") || text.startsWith("http://");
    if (!web || text.size() > 2048)
        return false;
    for (const char c : text) {
        if (static_cast<unsigned char>(c) <= ' ' || c == 0x7f)
            return false;
    }
    return true;
}

} // namespace

SarifRunWriter::SarifRunWriter(const Value& run, const QString& directory,
                               const QByteArray& logName, MarkupWriter& out)
    : m_run(run), m_out(out), m_results(run, directory, logName)
{
}

bool SarifRunWriter::group(const QString& where, ImportError* error)
{
    const Value* results = member(&m_run, "results");
    if (!results || results->IsNull())
        return true;
    if (!results->IsArray()) {
        error->message = QStringLiteral("%1.results: an array of results was expected").arg(where);
        return false;
    }
    QHash<QString, int> fileIndex;
    int index = 0;
    for (const Value& result : results->GetArray()) {
        const QString path = jsonPath(where + QStringLiteral(".results"), index++);
        if (!result.IsObject()) {
            error->message = QStringLiteral("%1: a result object was expected").arg(path);
            return false;
        }
        const Value* locations = member(&result, "locations");
        if (locations && !locations->IsArray() && !locations->IsNull()) {
            error->message = QStringLiteral("%1.locations: an array was expected").arg(path);
            return false;
        }
        const Place place = m_results.placeOf(elementOf(locations, 0));
        const QString key =
            place.found ? place.file.base + QLatin1Char('\n') + place.file.name : QString();
        auto file = fileIndex.constFind(key);
        if (file == fileIndex.constEnd()) {
            file = fileIndex.insert(key, int(m_groups.size()));
            FileGroup group;
            group.file = place.file;
            group.located = place.found;
            m_groups.push_back(std::move(group));
        }
        FileGroup& fileGroup = m_groups[size_t(file.value())];
        QByteArray ruleId;
        const Value* rule = m_results.ruleOf(result, &ruleId);
        auto ruleIndex = fileGroup.ruleIndex.constFind(ruleId);
        if (ruleIndex == fileGroup.ruleIndex.constEnd()) {
            ruleIndex = fileGroup.ruleIndex.insert(ruleId, int(fileGroup.rules.size()));
            RuleGroup ruleGroup;
            ruleGroup.id = ruleId;
            ruleGroup.rule = rule;
            fileGroup.rules.push_back(std::move(ruleGroup));
        }
        RuleGroup& ruleGroup = fileGroup.rules[size_t(ruleIndex.value())];
        ruleGroup.results.push_back({&result, m_results.keyOf(result, ruleId, rule, place)});
        const Verdict verdict = sarifVerdictOf(result);
        ruleGroup.verdict = std::max(ruleGroup.verdict, verdict);
        fileGroup.verdict = std::max(fileGroup.verdict, verdict);
        m_verdict = std::max(m_verdict, verdict);
        ++m_resultCount;
    }
    return true;
}

QByteArray SarifRunWriter::toolTitle() const
{
    QByteArray title = textOf(member(m_results.driver(), "name")).toByteArray();
    if (title.isEmpty())
        title = "Unnamed tool";
    Bytes version = textOf(member(m_results.driver(), "version"));
    if (version.isEmpty())
        version = textOf(member(m_results.driver(), "semanticVersion"));
    // A version that names the tool ("Debian clang version 14.0.6") says it all.
    if (QString::fromUtf8(version).contains(QString::fromUtf8(title), Qt::CaseInsensitive))
        return version.toByteArray();
    if (!version.isEmpty())
        title += ' ' + version.toByteArray();
    return title;
}

bool SarifRunWriter::write(const QString& where, int runIndex, Placement placement,
                           ImportError* error, const ImportProgress& progress, int done, int share)
{
    if (!m_run.IsObject()) {
        error->message = QStringLiteral("%1: a run object was expected").arg(where);
        return false;
    }
    if (!group(where, error))
        return false;
    const QByteArray title = toolTitle();
    if (placement == Placement::OwnDocument) {
        m_out.open("DOCUMENT", {{"tag", "run" + QByteArray::number(runIndex + 1)},
                                {"title", title},
                                {"style", "Normal"}});
        m_out.element("TITLE", title, {{"style", "Title0"}});
        m_fileLevel = 1;
    } else {
        // A run is passed unless a result of it failed: a clean run is one that passed.
        const Verdict verdict = m_verdict == Verdict::Failed ? Verdict::Failed : Verdict::Passed;
        m_out.open("XROD:NODE", {{"name", title}, {"type", "Run"}, {"state", stateOf(verdict)}});
        m_out.openSection(titleStyle(1, verdict), title);
        m_fileLevel = 2;
    }
    const QByteArray count = m_resultCount == 0
                                 ? QByteArray("No results.")
                                 : QByteArray::number(m_resultCount) +
                                       (m_resultCount == 1 ? " result in " : " results in ") +
                                       QByteArray::number(qsizetype(m_groups.size())) +
                                       (m_groups.size() == 1 ? " file." : " files.");
    m_out.element("PARAGRAPH", count, {{"style", "Normal"}});
    qsizetype written = 0;
    for (const FileGroup& file : m_groups) {
        writeFile(file);
        for (const RuleGroup& rule : file.rules)
            written += qsizetype(rule.results.size());
        progress(done + int(share * written / std::max<qsizetype>(m_resultCount, 1)));
    }
    if (placement == Placement::RunNode)
        m_out.close(); // the section
    m_out.close();
    return true;
}

void SarifRunWriter::writeFile(const FileGroup& file)
{
    const QByteArray name = file.located ? file.file.name.toUtf8() : QByteArray("(no location)");
    const QByteArray base = file.file.base.toUtf8();
    if (file.file.linkable())
        m_out.open(
            "XROD:NODE",
            {{"name", name}, {"type", "File"}, {"state", stateOf(file.verdict)}, {"base", base}});
    else
        m_out.open("XROD:NODE",
                   {{"name", name}, {"type", "File"}, {"state", stateOf(file.verdict)}});
    m_out.openSection(titleStyle(m_fileLevel, file.verdict), name);
    for (const RuleGroup& rule : file.rules)
        writeRule(file, rule);
    m_out.close();
    m_out.close();
}

void SarifRunWriter::writeRule(const FileGroup& file, const RuleGroup& rule)
{
    const Bytes name = rule.id.isEmpty() ? Bytes("(no rule)") : Bytes(rule.id);
    m_out.open("XROD:NODE", {{"name", name}, {"type", "Rule"}, {"state", stateOf(rule.verdict)}});
    m_out.openSection(titleStyle(m_fileLevel + 1, rule.verdict), name);
    // The rule's texts are written under every file with results of it: each is kept as a
    // message is.
    const Bytes ruleName = textOf(member(rule.rule, "name"));
    if (!ruleName.isEmpty() && ruleName != name)
        m_out.element("PARAGRAPH", m_results.ruleText(ruleName), {{"style", "Normal"}});
    Bytes description = textOf(member(member(rule.rule, "shortDescription"), "text"));
    if (description.isEmpty())
        description = textOf(member(member(rule.rule, "fullDescription"), "text"));
    if (!description.isEmpty())
        m_out.element("PARAGRAPH", m_results.ruleText(description), {{"style", "Normal"}});
    const Bytes help = textOf(member(rule.rule, "helpUri"));
    if (isWebAddress(help.toByteArray())) {
        // A web page is a link; anything else stays text.
        m_out.open("PARAGRAPH", {{"style", "Normal"}});
        m_out.text("Help: ");
        m_out.element("LINK", help.toByteArray(),
                      {{"target", help.toByteArray()}, {"style", "Link"}});
        m_out.close();
    } else if (!help.isEmpty()) {
        m_out.element("PARAGRAPH", m_results.ruleText("Help: " + help.toByteArray()),
                      {{"style", "Normal"}});
    }
    for (const Finding& finding : rule.results)
        writeFinding(file, rule, finding);
    m_out.close();
    m_out.close();
}

void SarifRunWriter::writeLocationLine(const char* label, const FileGroup& owner,
                                       const Place& place, Bytes message)
{
    m_out.open("PARAGRAPH", {{"style", "Normal"}});
    m_out.text(label);
    if (place.found) {
        const int line = std::max(place.line, 1);
        const QByteArray shown =
            place.file.name.toUtf8() + (place.line > 0 ? " line " + QByteArray::number(line) : "");
        if (place.file.linkable()) {
            // Relative where the node's base leads to the file, whole otherwise.
            const bool sameBase = place.file.relative && owner.file.base == place.file.base;
            const QString path = sameBase ? place.file.name : place.file.absolutePath();
            m_out.element("LINK", shown,
                          {{"target", path.toUtf8() + " line " + QByteArray::number(line)},
                           {"style", "Link"}});
        } else {
            m_out.text(shown);
        }
    } else if (!place.logicalName.isEmpty()) {
        m_out.text(place.logicalName);
    } else {
        m_out.text("(no location)");
    }
    if (!message.isEmpty()) {
        m_out.text(": ");
        m_out.text(message);
    }
    m_out.close();
}

void SarifRunWriter::writeFinding(const FileGroup& file, const RuleGroup& ruleGroup,
                                  const Finding& finding)
{
    const Value& result = *finding.result;
    const Value* rule = ruleGroup.rule;
    const Verdict verdict = sarifVerdictOf(result);
    const QByteArray message = m_results.messageOf(member(&result, "message"), rule);
    const Value* locations = member(&result, "locations");
    const Place place = m_results.placeOf(elementOf(locations, 0));

    QString shortMessage = QString::fromUtf8(message).section(QLatin1Char('\n'), 0, 0).simplified();
    if (shortMessage.size() > NameLength)
        shortMessage = shortMessage.left(NameLength - 1) + QChar(0x2026);
    QByteArray name = place.line > 0 ? "line " + QByteArray::number(place.line) : QByteArray();
    if (!shortMessage.isEmpty())
        name += (name.isEmpty() ? "" : ": ") + shortMessage.toUtf8();
    if (name.isEmpty())
        name = "(no message)";
    const Bytes level = levelOf(result, rule);
    if (ruleGroup.id.isEmpty())
        m_out.open("XROD:NODE", {{"name", name},
                                 {"type", "Finding"},
                                 {"state", stateOf(verdict)},
                                 {"sum", "1"},
                                 {"key", finding.key},
                                 {"level", level}});
    else
        m_out.open("XROD:NODE", {{"name", name},
                                 {"type", "Finding"},
                                 {"state", stateOf(verdict)},
                                 {"sum", "1"},
                                 {"key", finding.key},
                                 {"level", level},
                                 {"rule", ruleGroup.id}});
    m_out.openSection(titleStyle(m_fileLevel + 2, verdict), name);

    m_out.open("PARAGRAPH", {{"style", levelStyle(level)}});
    m_out.text(level);
    m_out.text(": ");
    m_out.text(message);
    m_out.close();

    writeLocationLine("At ", file, place, Bytes());
    Bytes snippet = sarifSnippetOf(place.region);
    if (snippet.isEmpty()) {
        const Value* physical = member(elementOf(locations, 0), "physicalLocation");
        snippet = sarifSnippetOf(member(physical, "contextRegion"));
    }
    m_out.code(snippet, "Code");

    if (const Value* related = member(&result, "relatedLocations"); related && related->IsArray()) {
        for (const Value& location : related->GetArray())
            writeLocationLine("Related: ", file, m_results.placeOf(&location),
                              m_results.messageOf(member(&location, "message"), rule));
    }
    if (const Value* flows = member(&result, "codeFlows"); flows && flows->IsArray()) {
        for (const Value& flow : flows->GetArray()) {
            const Value* threads = member(&flow, "threadFlows");
            if (!threads || !threads->IsArray())
                continue;
            for (const Value& thread : threads->GetArray()) {
                const Value* steps = member(&thread, "locations");
                if (!steps || !steps->IsArray())
                    continue;
                int number = 0;
                for (const Value& step : steps->GetArray()) {
                    const Value* location = member(&step, "location");
                    const QByteArray label = "Step " + QByteArray::number(++number) + ": ";
                    writeLocationLine(label.constData(), file, m_results.placeOf(location),
                                      m_results.messageOf(member(location, "message"), rule));
                }
            }
        }
    }
    if (const Value* suppressions = member(&result, "suppressions");
        suppressions && suppressions->IsArray() && !suppressions->Empty())
        m_out.element("PARAGRAPH", "Suppressed in the source or by a baseline.",
                      {{"style", "Normal"}});
    writeFingerprints(m_out, member(&result, "fingerprints"));
    writeFingerprints(m_out, member(&result, "partialFingerprints"));
    m_out.close();
    m_out.close();
}
