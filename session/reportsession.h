#pragma once

#include "session/placehistory.h"

#include <QMap>
#include <QString>
#include <QStringList>
#include <memory>
#include <vector>

class BaselineComparison;
class DDocument;
class DItem;
class DLink;
class QAILogMonitor;
class QAIProgressMonitor;
class QAReporterData;
class QAReporterFilter;
class QAReporterNode;
class QAReporterNodeValidator;
class SessionContext;
class TriageMarks;
struct DefectRecord;
struct ReviewRecord;
template <class T> class QTreeNode;

// What a viewer shows of a set of result files, without widgets, so that every face of the
// viewer (the studio's window, the command line) drives the same logic: the records read from
// the files, the mode (all results or failed ones only) and the hidden item types, the filtered
// records and the summary document they give, the totals, the way back and forward, the steps
// from failure to failure, what a link leads to, and the HTML export.
class ReportSession
{
public:
    using ResultNode = QTreeNode<QAReporterNode>;

    // What reading files gave, in the order of the files: the records, and the files that could
    // not be read with why ("FILE:LINE:COLUMN: message"). Nothing when the user cancelled.
    struct Reading
    {
        std::vector<std::unique_ptr<QAReporterData>> records;
        QStringList failed;
        QStringList reasons;
        bool cancelled = false;
    };

    // What following a link of a shown report does.
    struct LinkAction
    {
        enum Kind
        {
            Nothing,
            ShowReport, // show `file` instead (then `anchor`, when there is one)
            ShowAnchor, // scroll to `anchor` in the reports shown
            OpenSource, // open `location`, a source file at a line
            OpenTag,    // hand `location`, a tag, to the studio
            OpenWeb     // open `location`, an http or https address, in the browser
        };
        Kind kind = Nothing;
        QString file;
        QString anchor;
        QString location;
    };

    // `context` is borrowed; without one the session runs with SessionContext's defaults.
    explicit ReportSession(SessionContext* context = nullptr);
    ~ReportSession();
    ReportSession(const ReportSession&) = delete;
    ReportSession& operator=(const ReportSession&) = delete;

    // The files last given to show; a reload reads them again.
    const QStringList& files() const { return m_files; }
    void setFiles(const QStringList& files) { m_files = files; }

    // Reads `files`, each once, and with `skipHeld` none whose record is held already. A
    // document whose tag an earlier one of the same reading has is tagged again with its index.
    // The session is left as it was.
    Reading read(const QStringList& files, bool skipHeld) const;
    // What a viewer says of the files a reading could not read: "File(s) not found or
    // corrupted:" and a line for each.
    static QString unreadableMessage(const QStringList& failed);
    // Holds the records of `reading` after those held; the item types are those of all records,
    // all shown.
    void add(Reading reading);
    // Lets go of every record, its filtered copy and the summary; whatever shows them must have
    // let go first.
    void clear();
    const std::vector<std::unique_ptr<QAReporterData>>& records() const { return m_records; }
    bool contains(const QString& file) const;
    // The totals of the records as read, whatever is shown.
    int testPassed() const;
    int testFailed() const;
    // The item types of the records, each once, in the order met.
    const QStringList& typeNames() const { return m_typeNames; }
    // "TestNode: NODE" (when named), then the passed and failed totals, as a console run prints.
    QString consoleSummary(const QString& node) const;

    // The mode and the hidden types: what the filter keeps.
    bool failedOnly() const { return m_failedOnly; }
    void setFailedOnly(bool on);
    // Hides or shows the nodes whose type `type` matches as a regular expression at its start.
    void setTypeVisible(const QString& type, bool visible);
    bool isTypeVisible(const QString& type) const { return m_typeVisibility.value(type, true); }
    const QAReporterNodeValidator& validator() const { return *m_validator; }

    // Whether the filtered records and the summary follow the records, mode and types; any
    // change of these clears it.
    bool isAnalysed() const { return m_analysed; }
    // Rebuilds the filtered records; whatever showed the earlier ones must have let go first.
    // Documents that share a tag get "_1" added to it, one more each time.
    void filterRecords();
    // Builds the summary document of the records, tagged "index", which ends an analysis.
    void buildSummary(const QString& title);
    // Both, unless the analysis is current.
    void analyse(const QString& title);
    // The records as shown, in order; none before the first analysis.
    const std::vector<QAReporterData*>& filtered() const;
    DDocument* summary() const { return m_summary.get(); }

    PlaceHistory& history() { return m_history; }
    const PlaceHistory& history() const { return m_history; }
    // The first failed node after (before) `from` in outline order (a node before its children,
    // the files one after another; a tree's root stands for its file), over the filtered trees,
    // without wrapping around. From the start (the end) when `from` is null; null when there is
    // none.
    const ResultNode* failureFrom(const ResultNode* from, bool forward) const;
    // The shown node whose section holds `item`, or null.
    QAReporterNode* searchReporterNode(DItem* item) const;
    // The folder the relative links of the report read from `file` start from: that of the
    // file the user opened.
    QString reportFolderOf(const QString& file) const;
    LinkAction followLink(DLink* link) const;

    // Reads one report document; the caller owns it. Null when it cannot be read, with the
    // reason in `reason` when given.
    std::unique_ptr<DDocument> readXrdFile(const QString& path, QString* reason = nullptr) const;
    // Writes the records as shown, the report files they link to and the summary as HTML pages
    // into `directory` (see ReportExport).
    bool exportHTML(const QString& directory, QAIProgressMonitor* progress, QAILogMonitor* log);
    // How the exports link to the sources: to a web address made from `urlTemplate` ("{path}",
    // "{line}"; to the files when empty), and with the lines around each place embedded.
    void setSourceExport(const QString& urlTemplate, bool embed)
    {
        m_sourceUrl = urlTemplate;
        m_embedSources = embed;
    }
    // The file name the last export gave the summary.
    const QString& exportedIndexPage() const { return m_exportedIndexPage; }

    // Compares the records with the run in `base`; the summary page of an export then starts
    // with the new and the fixed failures. False, with the reason in `error`, when a run cannot
    // be read; the session then has no baseline.
    bool setBaseline(const QString& base, QString* error);
    // Null when no baseline is set.
    const BaselineComparison* baseline() const { return m_baseline.get(); }
    void clearBaseline();
    // The number of result nodes marked as new failures, and whether the failed results of the
    // records matched those the comparison read, one for one; when they do not, none is marked.
    int newFailureCount() const { return m_newFailureCount; }
    bool newFailuresMarked() const { return m_newFailuresMarked; }
    // The mode that keeps only the new failures and what holds them.
    bool newFailuresOnly() const;
    void setNewFailuresOnly(bool on);

    // The user's reviews and open defects: every node shown is marked with its own (see
    // QAReporterNode::review and defectId), the filtered copies too.
    void setTriage(const QList<ReviewRecord>& reviews, const QList<DefectRecord>& defects);
    const TriageMarks& triage() const { return *m_triage; }
    // The mode that hides the results reviewed as false positive or intentional, and the nodes
    // that hold nothing else.
    bool hideDismissed() const { return m_hideDismissed; }
    void setHideDismissed(bool on);

private:
    // Marks the trees of the records, and of their filtered copies, with the triage.
    void markTriage();
    void makeTagsUnique();
    // Marks the result nodes of the records that are new against the baseline, and their
    // ancestors as holding them.
    void markNewFailures();
    void updateTypes();
    void updateTypeFilter();
    // The folder of the shown report whose document holds `item`; empty when none does.
    QString reportDirectoryOf(const DItem* item) const;

    std::unique_ptr<SessionContext> m_ownContext;
    SessionContext* m_context;
    QStringList m_files;
    std::vector<std::unique_ptr<QAReporterData>> m_records;
    std::unique_ptr<QAReporterNodeValidator> m_validator;
    std::unique_ptr<QAReporterFilter> m_filter;
    std::unique_ptr<DDocument> m_summary;
    QStringList m_typeNames;
    QMap<QString, bool> m_typeVisibility;
    bool m_failedOnly = false;
    bool m_analysed = false;
    PlaceHistory m_history;
    QString m_exportedIndexPage;
    QString m_sourceUrl;
    bool m_embedSources = false;
    std::unique_ptr<BaselineComparison> m_baseline;
    int m_newFailureCount = 0;
    std::vector<qint64> m_newByRecord; // new failures of each record

    bool m_newFailuresMarked = false;
    std::unique_ptr<TriageMarks> m_triage;
    bool m_hideDismissed = false;
};
