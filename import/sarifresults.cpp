#include "import/sarifresults.h"

#include "import/cappedtext.h"
#include "import/sarifjson.h"

#include <QDir>
#include <QFileInfo>
#include <QStringList>
#include <QUrl>
#include <algorithm>

using namespace SarifJson;

namespace {

constexpr int MaxBaseChain = 32; // a longer chain of uriBaseIds is a cycle

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

} // namespace

// The code a place shows, as the tool wrote it.
QByteArrayView sarifSnippetOf(const SarifJson::Value* region)
{
    return textOf(member(member(region, "snippet"), "text"));
}

Verdict sarifVerdictOf(const Value& result)
{
    const Bytes kind = textOf(member(&result, "kind"));
    if (kind.isEmpty() || kind == "fail")
        return Verdict::Failed;
    if (kind == "pass")
        return Verdict::Passed;
    return Verdict::NotEvaluated; // review, open, notApplicable, informational
}

SarifResults::SarifResults(const Value& run, const QString& directory, const QByteArray& logName)
    : m_run(run), m_directory(directory), m_logName(logName)
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

QString SarifResults::baseFolder(Bytes baseId) const
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

SarifResults::SourceFile SarifResults::resolve(Bytes uri, Bytes baseId)
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

SarifResults::SourceFile SarifResults::fileOf(const Value* artifactLocation)
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

SarifResults::Place SarifResults::placeOf(const Value* location)
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

const Value* SarifResults::ruleOf(const Value& result, QByteArray* id) const
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

QByteArray SarifResults::keyOf(const Value& result, const QByteArray& ruleId, const Value* rule,
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
    const Bytes snippet = sarifSnippetOf(place.region);
    const QByteArray text =
        !snippet.trimmed().isEmpty()
            ? ResultKeys::withoutSpace(snippet)
            : ResultKeys::withoutPlaces(messageOf(member(&result, "message"), rule));
    return m_keys.unique(ResultKeys::hashed("hash", {ruleId, uri, text}));
}

QByteArray SarifResults::messageOf(const Value* message, const Value* rule) const
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

QByteArray SarifResults::ruleText(Bytes text) const
{
    CappedText kept;
    kept.append(text);
    return withNote(kept, false);
}

QByteArray SarifResults::withNote(const CappedText& text, bool cut) const
{
    if (!text.cut() && !cut)
        return text.text();
    return text.text() + "\n(cut here: the rest is in " + m_logName + ")";
}

SarifResults::Place SarifResults::primaryPlaceOf(const Value& result)
{
    return placeOf(elementOf(member(&result, "locations"), 0));
}
