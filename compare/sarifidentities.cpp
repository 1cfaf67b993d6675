#include "compare/sarifidentities.h"

#include "compare/runidentities.h"
#include "import/resultimport.h"
#include "import/sarifjson.h"
#include "import/sariflog.h"
#include "import/sarifresults.h"
#include "sdk/qasafefile.h"

#include <QFile>
#include <QFileInfo>

using namespace SarifJson;

namespace {

constexpr qsizetype MessageCharacters = 512;

QString firstLine(const QByteArray& message)
{
    const qsizetype end = message.indexOf('\n');
    QString line = QString::fromUtf8(end < 0 ? message : message.left(end)).simplified();
    if (line.size() > MessageCharacters)
        line = line.left(MessageCharacters - 1) + QChar(0x2026);
    return line;
}

} // namespace

bool readSarifIdentities(const QString& path, RunIdentities* run, QString* error)
{
    QFile input(path);
    QString reason;
    if (!QASafeWrite::openRegularFile(input, &reason)) {
        *error = QStringLiteral("%1: %2").arg(path, reason);
        return false;
    }
    QByteArray json;
    Document log;
    ImportError failure;
    failure.file = path;
    if (!parseSarifLog(input, json, log, &failure)) {
        *error = failure.text();
        return false;
    }
    const QFileInfo info(path);
    const QString directory = info.absolutePath();
    const QByteArray logName = info.fileName().toUtf8();
    const Value* runs = member(&log, "runs");
    // Room for every result to be a failure, and rule ids shared between their failures: a log
    // of a few rules over many results keeps each id once.
    size_t given = 0;
    for (const Value& runValue : runs->GetArray()) {
        const Value* results = member(&runValue, "results");
        given += results && results->IsArray() ? results->Size() : 0;
    }
    run->failures.reserve(run->failures.size() + given);
    QHash<QByteArray, QString> ruleNames;
    const QString finding = QStringLiteral("Finding");
    for (rapidjson::SizeType r = 0; r < runs->Size(); ++r) {
        const Value& runValue = (*runs)[r];
        const QString where = QStringLiteral("$.runs[%1]").arg(r);
        const Value* results = member(&runValue, "results");
        if (!runValue.IsObject()) {
            *error = QStringLiteral("%1: %2: a run object was expected").arg(path, where);
            return false;
        }
        if (!results || results->IsNull())
            continue;
        if (!results->IsArray()) {
            *error =
                QStringLiteral("%1: %2.results: an array of results was expected").arg(path, where);
            return false;
        }
        SarifResults reading(runValue, directory, logName);
        int index = 0;
        for (const Value& result : results->GetArray()) {
            const int resultIndex = index++;
            const Value* locations = member(&result, "locations");
            if (!result.IsObject() ||
                (locations && !locations->IsArray() && !locations->IsNull())) {
                *error = QStringLiteral("%1: %2.results[%3]: a result object with an array of "
                                        "locations was expected")
                             .arg(path, where)
                             .arg(resultIndex);
                return false;
            }
            QByteArray ruleId;
            const Value* rule = reading.ruleOf(result, &ruleId);
            const SarifResults::Place place = reading.primaryPlaceOf(result);
            const QByteArray key = reading.keyOf(result, ruleId, rule, place);
            if (sarifVerdictOf(result) != Verdict::Failed) {
                run->others.insert(RunIdentities::keyDigest(key));
                continue;
            }
            auto known = ruleNames.constFind(ruleId);
            if (known == ruleNames.constEnd())
                known = ruleNames.insert(ruleId, QString::fromUtf8(ruleId));
            const QString& ruleName = known.value();
            RunFailure failure;
            failure.id = RunIdentities::keyDigest(key);
            failure.identity = key;
            failure.source = place.found ? place.file.name : QString();
            failure.line = place.line;
            failure.message = firstLine(reading.messageOf(member(&result, "message"), rule));
            failure.names = {place.found                    ? place.file.name
                             : !place.logicalName.isEmpty() ? QString::fromUtf8(place.logicalName)
                                                            : QStringLiteral("(no location)"),
                             ruleId.isEmpty() ? QStringLiteral("(no rule)") : ruleName};
            failure.type = finding;
            failure.run = int(r);
            failure.result = resultIndex;
            run->failures.push_back(std::move(failure));
        }
    }
    return true;
}
