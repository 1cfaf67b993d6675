#pragma once

#include "import/jsonallocator.h"
#include "import/resultkeys.h"
#include "import/verdict.h"

#include <QByteArray>
#include <QByteArrayView>
#include <QHash>
#include <QString>
#include <utility>
#include <vector>

class CappedText;

// What the results of one SARIF run say, read leniently: their rules, places, messages and the
// key that identifies each from one run of the tool to the next. The importer and the comparison
// of runs both read results through it, so that both give a result the same key.
class SarifResults
{
public:
    using Value = SarifJson::Value;
    using Bytes = QByteArrayView;

    // `directory` is the base of relative locations without a known base; `logName` names the
    // log where a message is cut.
    SarifResults(const Value& run, const QString& directory, const QByteArray& logName);

    // A file that results point into.
    struct SourceFile
    {
        QString name; // as shown: the path relative to the base, or the whole path
        QString base; // absolute folder ending in '/', empty when the file is not on this machine
        bool relative = false; // name is relative to base

        bool linkable() const { return !base.isEmpty(); }
        QString absolutePath() const { return relative ? base + name : name; }
    };

    // One place a result speaks of.
    struct Place
    {
        SourceFile file;
        int line = 0;
        const Value* region = nullptr;
        Bytes logicalName;
        bool found = false;
    };

    const Value& run() const { return m_run; }
    const Value* driver() const { return m_driver; }

    // The rule of `result` and its id (given or the rule's own).
    const Value* ruleOf(const Value& result, QByteArray* id) const;
    // The place of a location object (null gives no place).
    Place placeOf(const Value* location);
    // The first place of `result`.
    Place primaryPlaceOf(const Value& result);
    // The fingerprint that sorts first by name, else every partial fingerprint by name, else a
    // hash of the rule, the file and the code or message, unique in the run: the later of equal
    // keys get an occurrence number. Call it once per result, in the order of the run.
    QByteArray keyOf(const Value& result, const QByteArray& ruleId, const Value* rule,
                     const Place& place);
    // A message, filled with its arguments: kept up to the limits of captured text, with a note
    // naming the log where cut.
    QByteArray messageOf(const Value* message, const Value* rule) const;
    // A text of a rule, kept as a message is.
    QByteArray ruleText(Bytes text) const;

private:
    QByteArray withNote(const CappedText& text, bool cut) const;
    SourceFile fileOf(const Value* artifactLocation);
    SourceFile resolve(Bytes uri, Bytes baseId);
    QString baseFolder(Bytes baseId) const;

    const Value& m_run;
    QString m_directory;
    QByteArray m_logName;
    const Value* m_driver = nullptr;
    const Value* m_rules = nullptr;
    const Value* m_artifacts = nullptr;
    const Value* m_baseIds = nullptr;
    QHash<QByteArray, const Value*> m_rulesById;
    QHash<QByteArray, SourceFile> m_files; // resolved artifact locations, by base id and URI
    ResultKeys m_keys;
    std::vector<std::pair<Bytes, Bytes>> m_prints; // the fingerprints of a result, by name
};

// Snippet of the code a place shows, as the tool wrote it.
QByteArrayView sarifSnippetOf(const SarifJson::Value* region);

// The verdict of a result by its kind: failed for "fail" (the default), passed for "pass", not
// evaluated for the others.
Verdict sarifVerdictOf(const SarifJson::Value& result);
