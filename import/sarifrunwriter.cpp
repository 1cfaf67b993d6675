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

constexpr int MaxBaseChain = 32;     // a longer chain of uriBaseIds is a cycle
constexpr qsizetype NameLength = 80; // characters of a message kept in a finding's name

Verdict verdictOfKind(Bytes kind)
{
    if (kind.isEmpty() || kind == "fail")
        return Verdict::Failed;
    if (kind == "pass")
        return Verdict::Passed;
    return Verdict::NotEvaluated; // review, open, notApplicable, informational
}

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

// The code a place shows, as the tool wrote it.
Bytes snippetOf(const Value* region)
{
    return textOf(member(member(region, "snippet"), "text"));
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

QString folderOf(const QString& path)
{
    QString folder = QDir::cleanPath(path);
    if (!folder.endsWith(QLatin1Char('/')))
        folder += QLatin1Char('/');
    return folder;
}

bool hasScheme(const QString& uri)
{
    const qsizetype colon = uri.indexOf(QLatin1Char(':'));
    if (colon < 2) // none, or a drive letter
        return false;
    for (qsizetype i = 0; i < colon; ++i) {
        const QChar c = uri.at(i);
        if (!(c.isLetterOrNumber() || c == QLatin1Char('+') || c == QLatin1Char('-') ||
              c == QLatin1Char('.')))
            return false;
    }
    return true;
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

} // namespace

SarifRunWriter::SarifRunWriter(const Value& run, const QString& directory,
                               const QByteArray& logName, MarkupWriter& out)
    : m_run(run), m_directory(directory), m_logName(logName), m_out(out)
{
    const Value* tool = member(member(&run, "tool"), "driver");
    m_driver = tool;
    m_rules = member(tool, "rules");
    m_artifacts = member(&run, "artifacts");
    m_baseIds = member(&run, "originalUriBaseIds");
    if (m_rules && m_rules->IsArray()) {
        for (const Value& rule : m_rules->GetArray()) {
            const Bytes id = textOf(member(&rule, "id"));
            if (!id.isEmpty() && !m_rulesById.contains(id.toByteArray()))
                m_rulesById.insert(id.toByteArray(), &rule);
        }
    }
}

QString SarifRunWriter::baseFolder(Bytes baseId) const
{
    // Follow the chain of bases up to an absolute one, then come back down.
    QStringList parts;
    Bytes id = baseId;
    for (int i = 0; i < MaxBaseChain && !id.isEmpty(); ++i) {
        const Value* entry = member(m_baseIds, id);
        const Bytes uri = textOf(member(entry, "uri"));
        if (!entry)
            return QString();
        const QString text = QString::fromUtf8(uri);
        if (hasScheme(text)) {
            const QUrl url(text);
            if (!url.isLocalFile())
                return QString();
            QString folder = folderOf(url.toLocalFile());
            for (auto part = parts.crbegin(); part != parts.crend(); ++part)
                folder = folderOf(folder + *part);
            return folder;
        }
        const QString decoded = QUrl::fromPercentEncoding(uri.toByteArray());
        if (decoded.startsWith(QLatin1Char('/'))) {
            QString folder = folderOf(decoded);
            for (auto part = parts.crbegin(); part != parts.crend(); ++part)
                folder = folderOf(folder + *part);
            return folder;
        }
        parts.append(decoded);
        id = textOf(member(entry, "uriBaseId"));
    }
    return QString();
}

SarifRunWriter::SourceFile SarifRunWriter::resolve(Bytes uri, Bytes baseId)
{
    const QByteArray key = baseId.toByteArray() + '\n' + uri.toByteArray();
    const auto known = m_files.constFind(key);
    if (known != m_files.constEnd())
        return known.value();
    SourceFile file;
    const QString text = QString::fromUtf8(uri);
    if (hasScheme(text)) {
        const QUrl url(text);
        if (url.isLocalFile()) {
            file.name = QDir::cleanPath(url.toLocalFile());
            file.base = folderOf(QFileInfo(file.name).path());
        } else {
            file.name = text; // not on this machine: shown, not linked
        }
    } else {
        const QString decoded = QUrl::fromPercentEncoding(uri.toByteArray());
        if (decoded.startsWith(QLatin1Char('/'))) {
            file.name = QDir::cleanPath(decoded);
            file.base = folderOf(QFileInfo(file.name).path());
        } else {
            file.name = QDir::cleanPath(decoded);
            file.relative = true;
            file.base = baseId.isEmpty() ? QString() : baseFolder(baseId);
            if (file.base.isEmpty())
                file.base = folderOf(m_directory);
        }
    }
    m_files.insert(key, file);
    return file;
}

SarifRunWriter::SourceFile SarifRunWriter::fileOf(const Value* artifactLocation)
{
    Bytes uri = textOf(member(artifactLocation, "uri"));
    Bytes baseId = textOf(member(artifactLocation, "uriBaseId"));
    if (uri.isEmpty()) {
        const Value* artifact =
            elementOf(m_artifacts, integerOf(member(artifactLocation, "index"), -1));
        const Value* location = member(artifact, "location");
        uri = textOf(member(location, "uri"));
        if (baseId.isEmpty())
            baseId = textOf(member(location, "uriBaseId"));
    }
    if (uri.isEmpty())
        return SourceFile();
    return resolve(uri, baseId);
}

SarifRunWriter::Place SarifRunWriter::placeOf(const Value* location)
{
    Place place;
    const Value* physical = member(location, "physicalLocation");
    if (const Value* artifact = member(physical, "artifactLocation")) {
        place.file = fileOf(artifact);
        place.found = !place.file.name.isEmpty();
    }
    place.region = member(physical, "region");
    place.line = integerOf(member(place.region, "startLine"), 0);
    const Value* logical = elementOf(member(location, "logicalLocations"), 0);
    place.logicalName = textOf(member(logical, "fullyQualifiedName"));
    if (place.logicalName.isEmpty())
        place.logicalName = textOf(member(logical, "name"));
    return place;
}

const Value* SarifRunWriter::ruleOf(const Value& result, QByteArray* id) const
{
    const Value* reference = member(&result, "rule");
    int index = integerOf(member(&result, "ruleIndex"), -1);
    if (index < 0)
        index = integerOf(member(reference, "index"), -1);
    Bytes ruleId = textOf(member(&result, "ruleId"));
    if (ruleId.isEmpty())
        ruleId = textOf(member(reference, "id"));
    const Value* rule = elementOf(m_rules, index);
    if (!rule && !ruleId.isEmpty()) {
        rule = m_rulesById.value(ruleId.toByteArray());
        const qsizetype slash = ruleId.indexOf('/');
        if (!rule && slash > 0) // a hierarchical id names its rule first
            rule = m_rulesById.value(ruleId.first(slash).toByteArray());
    }
    if (ruleId.isEmpty())
        ruleId = textOf(member(rule, "id"));
    *id = ruleId.toByteArray();
    return rule;
}

QByteArray SarifRunWriter::keyOf(const Value& result, const QByteArray& ruleId, const Value* rule,
                                 const Place& place)
{
    std::vector<std::pair<Bytes, Bytes>>& prints = m_prints;
    const auto collect = [&prints](const Value* fingerprints) {
        prints.clear();
        if (!fingerprints || !fingerprints->IsObject())
            return;
        for (const auto& entry : fingerprints->GetObject()) {
            const Bytes value = textOf(&entry.value);
            if (!value.isEmpty())
                prints.emplace_back(textOf(&entry.name), value);
        }
        std::sort(prints.begin(), prints.end());
    };
    collect(member(&result, "fingerprints"));
    if (!prints.empty()) {
        const auto& [name, value] = prints.front();
        QByteArray print;
        print.reserve(name.size() + 1 + value.size());
        print.append(name).append('=').append(value);
        return m_keys.unique(ResultKeys::make("fp", print));
    }
    collect(member(&result, "partialFingerprints"));
    if (!prints.empty()) {
        QByteArray all;
        for (const auto& [name, value] : prints)
            all.append(all.isEmpty() ? "" : ";").append(name).append('=').append(value);
        return m_keys.unique(ResultKeys::make("pfp", all));
    }
    const QByteArray uri = place.found ? place.file.name.toUtf8() : place.logicalName.toByteArray();
    const Bytes snippet = snippetOf(place.region);
    const QByteArray text =
        !snippet.trimmed().isEmpty()
            ? ResultKeys::withoutSpace(snippet)
            : ResultKeys::withoutPlaces(messageOf(member(&result, "message"), rule));
    return m_keys.unique(ResultKeys::hashed("hash", {ruleId, uri, text}));
}

QByteArray SarifRunWriter::messageOf(const Value* message, const Value* rule) const
{
    Bytes text = textOf(member(message, "text"));
    if (text.isEmpty())
        text = textOf(member(message, "markdown"));
    if (text.isEmpty()) {
        const Bytes id = textOf(member(message, "id"));
        const Value* string = member(member(rule, "messageStrings"), id);
        if (!string)
            string = member(member(m_driver, "globalMessageStrings"), id);
        text = textOf(member(string, "text"));
    }
    // A rule's message string serves any number of results, each filling it with arguments of
    // its own: only its start is filled, and what that gives is kept as captured output is.
    const Bytes start = text.first(std::min(text.size(), CappedText::MaxBytes));
    CappedText kept;
    const Value* arguments = member(message, "arguments");
    if (!arguments || !arguments->IsArray()) {
        kept.append(start);
    } else {
        // Placeholders {0}, {1}, ... take the arguments.
        qsizetype plain = 0; // start of the text copied as it is
        for (qsizetype i = start.indexOf('{'); i >= 0 && !kept.cut();
             i = start.indexOf('{', i + 1)) {
            qsizetype end = i + 1;
            int number = 0;
            while (end < start.size() && end - i < 8 && start.at(end) >= '0' &&
                   start.at(end) <= '9')
                number = number * 10 + (start.at(end++) - '0');
            if (end == i + 1 || end == start.size() || start.at(end) != '}')
                continue;
            kept.append(start.sliced(plain, i - plain));
            kept.append(textOf(elementOf(arguments, number)));
            plain = end + 1;
            i = end;
        }
        kept.append(start.sliced(plain));
    }
    return withNote(kept, start.size() < text.size());
}

namespace {

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

QByteArray SarifRunWriter::ruleText(Bytes text) const
{
    CappedText kept;
    kept.append(text);
    return withNote(kept, false);
}

QByteArray SarifRunWriter::withNote(const CappedText& text, bool cut) const
{
    if (!text.cut() && !cut)
        return text.text();
    return text.text() + "\n(cut here: the rest is in " + m_logName + ")";
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
        const Place place = placeOf(elementOf(locations, 0));
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
        const Value* rule = ruleOf(result, &ruleId);
        auto ruleIndex = fileGroup.ruleIndex.constFind(ruleId);
        if (ruleIndex == fileGroup.ruleIndex.constEnd()) {
            ruleIndex = fileGroup.ruleIndex.insert(ruleId, int(fileGroup.rules.size()));
            RuleGroup ruleGroup;
            ruleGroup.id = ruleId;
            ruleGroup.rule = rule;
            fileGroup.rules.push_back(std::move(ruleGroup));
        }
        RuleGroup& ruleGroup = fileGroup.rules[size_t(ruleIndex.value())];
        ruleGroup.results.push_back({&result, keyOf(result, ruleId, rule, place)});
        const Verdict verdict = verdictOfKind(textOf(member(&result, "kind")));
        ruleGroup.verdict = std::max(ruleGroup.verdict, verdict);
        fileGroup.verdict = std::max(fileGroup.verdict, verdict);
        m_verdict = std::max(m_verdict, verdict);
        ++m_resultCount;
    }
    return true;
}

QByteArray SarifRunWriter::toolTitle() const
{
    QByteArray title = textOf(member(m_driver, "name")).toByteArray();
    if (title.isEmpty())
        title = "Unnamed tool";
    Bytes version = textOf(member(m_driver, "version"));
    if (version.isEmpty())
        version = textOf(member(m_driver, "semanticVersion"));
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
        m_out.element("PARAGRAPH", ruleText(ruleName), {{"style", "Normal"}});
    Bytes description = textOf(member(member(rule.rule, "shortDescription"), "text"));
    if (description.isEmpty())
        description = textOf(member(member(rule.rule, "fullDescription"), "text"));
    if (!description.isEmpty())
        m_out.element("PARAGRAPH", ruleText(description), {{"style", "Normal"}});
    const Bytes help = textOf(member(rule.rule, "helpUri"));
    if (isWebAddress(help.toByteArray())) {
        // A web page is a link; anything else stays text.
        m_out.open("PARAGRAPH", {{"style", "Normal"}});
        m_out.text("Help: ");
        m_out.element("LINK", help.toByteArray(),
                      {{"target", help.toByteArray()}, {"style", "Link"}});
        m_out.close();
    } else if (!help.isEmpty()) {
        m_out.element("PARAGRAPH", ruleText("Help: " + help.toByteArray()), {{"style", "Normal"}});
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
    const Verdict verdict = verdictOfKind(textOf(member(&result, "kind")));
    const QByteArray message = messageOf(member(&result, "message"), rule);
    const Value* locations = member(&result, "locations");
    const Place place = placeOf(elementOf(locations, 0));

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
    Bytes snippet = snippetOf(place.region);
    if (snippet.isEmpty()) {
        const Value* physical = member(elementOf(locations, 0), "physicalLocation");
        snippet = snippetOf(member(physical, "contextRegion"));
    }
    m_out.code(snippet, "Code");

    if (const Value* related = member(&result, "relatedLocations"); related && related->IsArray()) {
        for (const Value& location : related->GetArray())
            writeLocationLine("Related: ", file, placeOf(&location),
                              messageOf(member(&location, "message"), rule));
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
                    writeLocationLine(label.constData(), file, placeOf(location),
                                      messageOf(member(location, "message"), rule));
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
