#include "compare/sarifbaseline.h"

#include "compare/runcomparison.h"
#include "compare/runidentities.h"
#include "import/resultimport.h"
#include "import/sarifjson.h"
#include "import/sariflog.h"
#include "import/sarifresults.h"
#include "sdk/qasafefile.h"

#include <QCryptographicHash>
#include <QFile>
#include <QFileInfo>
#include <QHash>
#include <QUrl>
#include <QUuid>
#include <rapidjson/writer.h>
#include <utility>
#include <vector>

using namespace SarifJson;

namespace {

// The output of a JSON writer, into a byte array.
struct ByteStream
{
    using Ch = char;
    QByteArray* out;
    void Put(char c) { out->append(c); }
    void Flush() {}
};

// The output of a JSON writer, handed on in pieces of a MiB.
class PieceStream
{
public:
    using Ch = char;
    static constexpr qsizetype Piece = 1 << 20;

    explicit PieceStream(const std::function<bool(const QByteArray&)>& write) : m_write(write)
    {
        m_piece.reserve(Piece);
    }
    void Put(char c)
    {
        m_piece.append(c);
        if (m_piece.size() >= Piece)
            Flush();
    }
    void Flush()
    {
        if (!m_piece.isEmpty() && m_written)
            m_written = m_write(m_piece);
        m_piece.clear();
    }
    bool written() const { return m_written; }

private:
    const std::function<bool(const QByteArray&)>& m_write;
    QByteArray m_piece;
    bool m_written = true;
};

using JsonWriter =
    rapidjson::Writer<ByteStream, rapidjson::UTF8<>, rapidjson::UTF8<>, JsonAllocator>;

// Writes `value` without recursion: a log may nest as deep as it likes.
template <typename Writer> void writeValue(const Value& value, Writer& writer)
{
    struct Open
    {
        const Value* value;
        rapidjson::SizeType next;
    };
    std::vector<Open> open;
    const auto start = [&writer, &open](const Value& item) {
        switch (item.GetType()) {
        case rapidjson::kObjectType:
            writer.StartObject();
            open.push_back({&item, 0});
            break;
        case rapidjson::kArrayType:
            writer.StartArray();
            open.push_back({&item, 0});
            break;
        case rapidjson::kStringType:
            writer.String(item.GetString(), item.GetStringLength());
            break;
        case rapidjson::kNumberType:
            if (item.IsInt64())
                writer.Int64(item.GetInt64());
            else if (item.IsUint64())
                writer.Uint64(item.GetUint64());
            else
                writer.Double(item.GetDouble());
            break;
        case rapidjson::kTrueType:
            writer.Bool(true);
            break;
        case rapidjson::kFalseType:
            writer.Bool(false);
            break;
        case rapidjson::kNullType:
            writer.Null();
            break;
        }
    };
    start(value);
    while (!open.empty()) {
        Open& top = open.back();
        if (top.value->IsObject()) {
            if (top.next == top.value->MemberCount()) {
                writer.EndObject();
                open.pop_back();
                continue;
            }
            const auto& member = *(top.value->MemberBegin() + top.next++);
            writer.Key(member.name.GetString(), member.name.GetStringLength());
            start(member.value);
        } else {
            if (top.next == top.value->Size()) {
                writer.EndArray();
                open.pop_back();
                continue;
            }
            start((*top.value)[top.next++]);
        }
    }
}

QByteArray serialized(const Value& value)
{
    QByteArray out;
    ByteStream stream{&out};
    JsonWriter writer(stream);
    writeValue(value, writer);
    return out;
}

void setMember(Value& object, const char* name, Value value, Allocator& allocator)
{
    const auto found = object.FindMember(name);
    if (found != object.MemberEnd())
        found->value = std::move(value);
    else
        object.AddMember(Value(name, allocator), value, allocator);
}

Value text(const QString& string, Allocator& allocator)
{
    const QByteArray bytes = string.toUtf8();
    return Value(bytes.constData(), rapidjson::SizeType(bytes.size()), allocator);
}

// A file as a SARIF location's URI: a relative path as a relative reference, an absolute one as
// a file URL.
QByteArray uriOf(const QString& path)
{
    if (path.startsWith(QLatin1Char('/')))
        return QUrl::fromLocalFile(path).toEncoded();
    return QUrl::toPercentEncoding(path, "/");
}

// A result of a result file's failure, as SARIF gives it.
Value resultOf(const RunFailure& failure, const char* state, Allocator& allocator)
{
    Value result(rapidjson::kObjectType);
    result.AddMember("ruleId", text(failure.type, allocator), allocator);
    result.AddMember("level", "error", allocator);
    Value message(rapidjson::kObjectType);
    message.AddMember("text",
                      text(failure.message.isEmpty() ? failure.names.join(QStringLiteral(" > "))
                                                     : failure.message,
                           allocator),
                      allocator);
    result.AddMember("message", message, allocator);
    Value location(rapidjson::kObjectType);
    if (!failure.source.isEmpty()) {
        Value physical(rapidjson::kObjectType);
        Value artifact(rapidjson::kObjectType);
        const QByteArray uri = uriOf(failure.source);
        artifact.AddMember(
            "uri", Value(uri.constData(), rapidjson::SizeType(uri.size()), allocator), allocator);
        physical.AddMember("artifactLocation", artifact, allocator);
        if (failure.line > 0) {
            Value region(rapidjson::kObjectType);
            region.AddMember("startLine", failure.line, allocator);
            physical.AddMember("region", region, allocator);
        }
        location.AddMember("physicalLocation", physical, allocator);
    }
    Value logical(rapidjson::kObjectType);
    logical.AddMember("fullyQualifiedName",
                      text(failure.names.join(QStringLiteral(" > ")), allocator), allocator);
    Value logicals(rapidjson::kArrayType);
    logicals.PushBack(logical, allocator);
    location.AddMember("logicalLocations", logicals, allocator);
    Value locations(rapidjson::kArrayType);
    locations.PushBack(location, allocator);
    result.AddMember("locations", locations, allocator);
    Value properties(rapidjson::kObjectType);
    properties.AddMember("identity",
                         Value(failure.identity.constData(),
                               rapidjson::SizeType(failure.identity.size()), allocator),
                         allocator);
    result.AddMember("properties", properties, allocator);
    result.AddMember("baselineState", Value(state, allocator), allocator);
    return result;
}

// An artifact location of a result taken from another run: its index into that run's artifacts
// means nothing here, so the URI it stands for is written out.
void detachFromRun(Value& result, const Value& run, Allocator& allocator)
{
    result.RemoveMember("ruleIndex");
    if (Value* rule = const_cast<Value*>(member(&result, "rule")); rule && rule->IsObject())
        rule->RemoveMember("index");
    const Value* artifacts = member(&run, "artifacts");
    std::vector<Value*> pending{&result};
    while (!pending.empty()) {
        Value* value = pending.back();
        pending.pop_back();
        if (value->IsArray()) {
            for (Value& item : value->GetArray())
                pending.push_back(&item);
            continue;
        }
        if (!value->IsObject())
            continue;
        for (auto& entry : value->GetObject()) {
            const QByteArrayView name(entry.name.GetString(), entry.name.GetStringLength());
            if (name == "artifactLocation" && entry.value.IsObject() &&
                entry.value.HasMember("index")) {
                Value& artifact = entry.value;
                const Value* known = member(
                    elementOf(artifacts, integerOf(member(&artifact, "index"), -1)), "location");
                for (const char* part : {"uri", "uriBaseId"}) {
                    const Bytes given = textOf(member(known, part));
                    if (!artifact.HasMember(part) && !given.isEmpty())
                        artifact.AddMember(
                            Value(part, allocator),
                            Value(given.data(), rapidjson::SizeType(given.size()), allocator),
                            allocator);
                }
                artifact.RemoveMember("index");
            } else if (name == "logicalLocations" && entry.value.IsArray()) {
                for (Value& logical : entry.value.GetArray()) {
                    if (logical.IsObject())
                        logical.RemoveMember("index");
                }
            }
            pending.push_back(&entry.value);
        }
    }
}

bool readLog(const QString& path, QByteArray& json, Document& log, QString* error)
{
    QFile input(path);
    QString reason;
    if (!QASafeWrite::openRegularFile(input, &reason)) {
        *error = QStringLiteral("%1: %2").arg(path, reason);
        return false;
    }
    ImportError failure;
    failure.file = path;
    if (parseSarifLog(input, json, log, &failure))
        return true;
    *error = failure.text();
    return false;
}

// BASE's guid, or one made from its bytes.
bool baselineGuid(const RunIdentities& base, const Document* log, QString* guid, QString* error)
{
    const Bytes given =
        textOf(member(member(elementOf(member(log, "runs"), 0), "automationDetails"), "guid"));
    if (!given.isEmpty() && !QUuid::fromString(QString::fromUtf8(given)).isNull()) {
        *guid = QUuid::fromString(QString::fromUtf8(given)).toString(QUuid::WithoutBraces);
        return true;
    }
    QFile input(base.path);
    QString reason;
    if (!QASafeWrite::openRegularFile(input, &reason)) {
        *error = QStringLiteral("%1: %2").arg(base.path, reason);
        return false;
    }
    QCryptographicHash hash(QCryptographicHash::Sha1);
    if (!hash.addData(&input)) {
        *error = QStringLiteral("%1: %2").arg(base.path, input.errorString());
        return false;
    }
    static const QUuid Namespace(QStringLiteral("4f1c0d5e-8a2b-4c1e-9b67-2d3f5a8e7c10"));
    *guid = QUuid::createUuidV5(Namespace, hash.result()).toString(QUuid::WithoutBraces);
    return true;
}

// The results fixed since BASE, as JSON texts of absent results with the run they were in.
bool absentResults(const RunIdentities& base, const RunComparison& comparison,
                   std::vector<std::pair<int, QByteArray>>* absent, QString* guid, QString* error)
{
    if (base.format != RunIdentities::Format::Sarif) {
        Document holder;
        for (const RunFailure* failure : comparison.fixed)
            absent->emplace_back(0,
                                 serialized(resultOf(*failure, "absent", holder.GetAllocator())));
        return baselineGuid(base, nullptr, guid, error);
    }
    QByteArray json;
    Document log;
    if (!readLog(base.path, json, log, error))
        return false;
    const Value* runs = member(&log, "runs");
    const QString directory = QFileInfo(base.path).absolutePath();
    for (const RunFailure* failure : comparison.fixed) {
        Value* run = const_cast<Value*>(elementOf(runs, failure->run));
        Value* result = const_cast<Value*>(elementOf(member(run, "results"), failure->result));
        if (!result || !result->IsObject())
            continue;
        QByteArray ruleId;
        SarifResults reading(*run, directory, QByteArray());
        reading.ruleOf(*result, &ruleId);
        detachFromRun(*result, *run, log.GetAllocator());
        if (!ruleId.isEmpty() && !result->HasMember("ruleId"))
            result->AddMember(
                "ruleId",
                Value(ruleId.constData(), rapidjson::SizeType(ruleId.size()), log.GetAllocator()),
                log.GetAllocator());
        setMember(*result, "baselineState", Value("absent"), log.GetAllocator());
        absent->emplace_back(failure->run, serialized(*result));
    }
    return baselineGuid(base, &log, guid, error);
}

// The state of a failure of HEAD matched with `before` (null when new).
const char* stateOf(const RunFailure& failure, const RunFailure* before, bool sameFormat,
                    bool added)
{
    if (!before)
        return added ? "new" : "unchanged";
    const bool moved = failure.source != before->source || failure.line != before->line;
    const bool reworded = sameFormat && failure.message != before->message;
    return moved || reworded ? "updated" : "unchanged";
}

void appendAbsent(Value& results, const std::vector<std::pair<int, QByteArray>>& absent, int run,
                  int lastRun, Allocator& allocator)
{
    for (const auto& [from, json] : absent) {
        if (std::min(from, lastRun) != run)
            continue;
        Document piece(&allocator);
        piece.Parse<rapidjson::kParseIterativeFlag>(json.constData(), json.size());
        if (!piece.HasParseError())
            results.PushBack(static_cast<Value&>(piece).Move(), allocator);
    }
}

bool written(const Document& log, const std::function<bool(const QByteArray&)>& write)
{
    PieceStream stream(write);
    rapidjson::Writer<PieceStream, rapidjson::UTF8<>, rapidjson::UTF8<>, JsonAllocator> writer(
        stream);
    writeValue(log, writer);
    stream.Put('\n');
    stream.Flush();
    return stream.written();
}

// Marks `result` as suppressed outside the log, beside any suppressions it has.
void addSuppression(Value& result, const QString& justification, Allocator& allocator)
{
    Value suppression(rapidjson::kObjectType);
    suppression.AddMember("kind", "external", allocator);
    suppression.AddMember("status", "accepted", allocator);
    if (!justification.isEmpty())
        suppression.AddMember("justification", text(justification, allocator), allocator);
    auto found = result.FindMember("suppressions");
    if (found == result.MemberEnd() || !found->value.IsArray()) {
        setMember(result, "suppressions", Value(rapidjson::kArrayType), allocator);
        found = result.FindMember("suppressions");
    }
    found->value.PushBack(suppression, allocator);
}

// Frees the failures of a run.
void release(RunIdentities& run)
{
    std::vector<RunFailure>().swap(run.failures);
}

} // namespace

bool sarifWithBaseline(RunIdentities& base, RunIdentities& head, const RunComparison& comparison,
                       const std::function<bool(const QByteArray&)>& write, QString* error,
                       const SuppressionOf& suppression)
{
    std::vector<std::pair<int, QByteArray>> absent;
    QString guid;
    if (!absentResults(base, comparison, &absent, &guid, error))
        return false;
    const QByteArray guidText = guid.toUtf8();
    QHash<const RunFailure*, bool> added;
    for (const RunFailure* failure : comparison.added)
        added.insert(failure, true);

    if (head.format != RunIdentities::Format::Sarif) {
        Document log(rapidjson::kObjectType);
        Allocator& allocator = log.GetAllocator();
        log.AddMember("$schema", "https://json.schemastore.org/sarif-2.1.0.json", allocator);
        log.AddMember("version", "2.1.0", allocator);
        Value driver(rapidjson::kObjectType);
        driver.AddMember("name", "crcview", allocator);
        Value tool(rapidjson::kObjectType);
        tool.AddMember("driver", driver, allocator);
        Value run(rapidjson::kObjectType);
        run.AddMember("tool", tool, allocator);
        run.AddMember("baselineGuid",
                      Value(guidText.constData(), rapidjson::SizeType(guidText.size()), allocator),
                      allocator);
        Value results(rapidjson::kArrayType);
        for (size_t i = 0; i < head.failures.size(); ++i) {
            const RunFailure& failure = head.failures[i];
            Value result = resultOf(failure,
                                    stateOf(failure, comparison.baseOf[i],
                                            base.format == head.format, added.contains(&failure)),
                                    allocator);
            if (const std::optional<QString> justification =
                    suppression ? suppression(failure) : std::nullopt)
                addSuppression(result, *justification, allocator);
            results.PushBack(result, allocator);
        }
        appendAbsent(results, absent, 0, 0, allocator);
        run.AddMember("results", results, allocator);
        Value runs(rapidjson::kArrayType);
        runs.PushBack(run, allocator);
        log.AddMember("runs", runs, allocator);
        return written(log, write);
    }

    // What the log needs of the runs: where each failure of HEAD is, its state, and what BASE
    // had; their failures go before HEAD's log is read again.
    struct HeadState
    {
        int run;
        int result;
        const char* state;
        std::optional<QString> suppression;
    };
    std::vector<HeadState> states;
    states.reserve(head.failures.size());
    for (size_t i = 0; i < head.failures.size(); ++i) {
        const RunFailure& failure = head.failures[i];
        states.push_back({failure.run, failure.result,
                          stateOf(failure, comparison.baseOf[i], base.format == head.format,
                                  added.contains(&failure)),
                          suppression ? suppression(failure) : std::nullopt});
    }
    QSet<quint64> known = base.others;
    for (const RunFailure& failure : base.failures)
        known.insert(failure.id);
    added.clear();
    release(base);
    release(head);

    QByteArray json;
    Document log;
    if (!readLog(head.path, json, log, error))
        return false;
    Allocator& allocator = log.GetAllocator();
    Value* runs = const_cast<Value*>(member(&log, "runs"));
    const QString directory = QFileInfo(head.path).absolutePath();
    const int lastRun = int(runs->Size()) - 1;
    size_t failed = 0; // the failures of HEAD come in the order of the log
    for (rapidjson::SizeType r = 0; r < runs->Size(); ++r) {
        Value& run = (*runs)[r];
        setMember(run, "baselineGuid",
                  Value(guidText.constData(), rapidjson::SizeType(guidText.size()), allocator),
                  allocator);
        if (!run.HasMember("results") || run["results"].IsNull())
            setMember(run, "results", Value(rapidjson::kArrayType), allocator);
        Value& results = run["results"];
        SarifResults reading(run, directory, QFileInfo(head.path).fileName().toUtf8());
        const rapidjson::SizeType given = results.Size();
        for (rapidjson::SizeType i = 0; i < given; ++i) {
            Value& result = results[i];
            QByteArray ruleId;
            const Value* rule = reading.ruleOf(result, &ruleId);
            const QByteArray key =
                reading.keyOf(result, ruleId, rule, reading.primaryPlaceOf(result));
            const char* state = nullptr;
            if (failed < states.size() && states[failed].run == int(r) &&
                states[failed].result == int(i)) {
                if (states[failed].suppression)
                    addSuppression(result, *states[failed].suppression, allocator);
                state = states[failed++].state;
            } else {
                state = known.contains(RunIdentities::keyDigest(key)) ? "unchanged" : "new";
            }
            setMember(result, "baselineState", Value(rapidjson::StringRef(state)), allocator);
        }
        appendAbsent(results, absent, int(r), lastRun, allocator);
    }
    return written(log, write);
}
