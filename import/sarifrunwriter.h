#pragma once

#include "import/jsonallocator.h"
#include "import/resultimport.h"
#include "import/sarifresults.h"
#include "import/verdict.h"

#include <QByteArrayView>
#include <QHash>
#include <QString>
#include <vector>

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
    using SourceFile = SarifResults::SourceFile;
    using Place = SarifResults::Place;

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

    const Value& m_run;
    MarkupWriter& m_out;
    SarifResults m_results;
    std::vector<FileGroup> m_groups;
    qsizetype m_resultCount = 0;
    Verdict m_verdict = Verdict::NotEvaluated; // of the whole run
    int m_fileLevel = 1; // title level of the File nodes: one deeper under a Run node
};
