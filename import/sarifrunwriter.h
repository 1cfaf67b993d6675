#pragma once

#include "import/jsonallocator.h"
#include "import/resultimport.h"
#include "import/resultkeys.h"
#include "import/verdict.h"

#include <QByteArrayView>
#include <QHash>
#include <QString>
#include <utility>
#include <vector>

class CappedText;
class MarkupWriter;

// Writes one run of a SARIF log: File > Rule > Finding nodes, the findings of a run grouped by
// the file and rule they belong to. The only run of a log is a document of its own; each run of
// a log with several is a Run node of the log's document.
class SarifRunWriter
{
public:
    using Value = SarifJson::Value;
    using Bytes = QByteArrayView;

    // `directory` is the base of relative locations without a known base; `logName` names the
    // log where a message is cut.
    SarifRunWriter(const Value& run, const QString& directory, const QByteArray& logName,
                   MarkupWriter& out);

    enum class Placement
    {
        OwnDocument, // the log's only run
        RunNode      // one of several runs, in the document the caller opened
    };

    // `where` is the run's JSON path. `progress` is told of each file written, as thousandths
    // from `done` to `done + share`.
    bool write(const QString& where, int runIndex, Placement placement, ImportError* error,
               const ImportProgress& progress, int done, int share);

private:
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

    // A result and what identifies it in its run.
    struct Finding
    {
        const Value* result;
        QByteArray key;
    };

    struct RuleGroup
    {
        QByteArray id;
        const Value* rule = nullptr;
        std::vector<Finding> results;
        Verdict verdict = Verdict::NotEvaluated;
    };

    struct FileGroup
    {
        SourceFile file;
        bool located = false;
        std::vector<RuleGroup> rules;
        QHash<QByteArray, int> ruleIndex;
        Verdict verdict = Verdict::NotEvaluated;
    };

    bool group(const QString& where, ImportError* error);
    QByteArray toolTitle() const;
    void writeFile(const FileGroup& file);
    void writeRule(const FileGroup& file, const RuleGroup& rule);
    void writeFinding(const FileGroup& file, const RuleGroup& rule, const Finding& finding);
    void writeLocationLine(const char* label, const FileGroup& owner, const Place& place,
                           Bytes message);

    const Value* ruleOf(const Value& result, QByteArray* id) const;
    // The fingerprint that sorts first by name, else every partial fingerprint by name, else a
    // hash of the rule, the file and the code or message, unique in the run.
    QByteArray keyOf(const Value& result, const QByteArray& ruleId, const Value* rule,
                     const Place& place);
    // A message, filled with its arguments, and a text of a rule: kept up to the limits of
    // captured text, with a note naming the log where cut.
    QByteArray messageOf(const Value* message, const Value* rule) const;
    QByteArray ruleText(Bytes text) const;
    QByteArray withNote(const CappedText& text, bool cut) const;
    Place placeOf(const Value* location);
    SourceFile fileOf(const Value* artifactLocation);
    SourceFile resolve(Bytes uri, Bytes baseId);
    QString baseFolder(Bytes baseId) const;

    const Value& m_run;
    QString m_directory;
    QByteArray m_logName;
    MarkupWriter& m_out;
    const Value* m_driver = nullptr;
    const Value* m_rules = nullptr;
    const Value* m_artifacts = nullptr;
    const Value* m_baseIds = nullptr;
    QHash<QByteArray, const Value*> m_rulesById;
    QHash<QByteArray, SourceFile> m_files; // resolved artifact locations, by base id and URI
    std::vector<FileGroup> m_groups;
    ResultKeys m_keys;
    std::vector<std::pair<Bytes, Bytes>> m_prints; // the fingerprints of a result, by name
    qsizetype m_resultCount = 0;
    Verdict m_verdict = Verdict::NotEvaluated; // of the whole run
    int m_fileLevel = 1; // title level of the File nodes: one deeper under a Run node
};
