#pragma once

#include "folio/styles/dstyle.h"

#include <QList>
#include <QStringList>
#include <memory>
#include <vector>

class DDocument;
class QAReporterData;
class QAReporterNodeValidator;

// Shows each report without the sections of the nodes its validator rejects, and builds the
// summary document of all reports. A report the validator keeps whole is shown as it is; the
// others are rebuilt as copies without the rejected sections.
class QAReporterFilter
{
public:
    // What the summary shows of a comparison with a baseline: the new failures of each report,
    // in the order of the reports, and the first of the fixed ones with the number of all.
    struct BaselineSummary
    {
        struct Fixed
        {
            QStringList names; // from the top of the run down to the failure
            QString source;
            int line = 0;
            QString message;
        };
        QString baseName;
        std::vector<qint64> newCounts;
        std::vector<Fixed> fixed;
        std::size_t fixedCount = 0;
    };

    QAReporterFilter();
    virtual ~QAReporterFilter();
    QAReporterFilter(const QAReporterFilter&) = delete;
    QAReporterFilter& operator=(const QAReporterFilter&) = delete;

    // Takes a copy of `validator`; later changes of the original need a new call.
    void setValidator(const QAReporterNodeValidator& validator);
    // Appends one shown record per report that has a document, in list order: the report
    // itself when nothing of it is rejected, else a filtered copy owned here. The reports must
    // outlive the shown records; the filter changes none of them.
    bool applyFilter(const QList<QAReporterData*>& reports);
    void clear();
    const std::vector<QAReporterData*>& filtered() const { return m_shown; }

    // The summary: one table row per report (name linking to its document, status, failed,
    // passed and inconclusive counts, total) and a row of totals. `name` takes no part in it;
    // `styles` are the display styles the rows take by name. With `baseline`, a column of the
    // new failures follows the failed ones, and a section after the table lists the fixed.
    std::unique_ptr<DDocument> doHeaderDoc(const QList<QAReporterData*>& reports,
                                           const QString& name, const DStyleList& styles,
                                           const BaselineSummary* baseline = nullptr) const;

    // A hook for filters that act on their own; this one does nothing and returns false.
    virtual bool filterAction();

private:
    bool keepsWhole(QAReporterData& report) const;

    std::unique_ptr<QAReporterNodeValidator> m_validator;
    std::vector<QAReporterData*> m_shown;
    std::vector<std::unique_ptr<QAReporterData>> m_copies;
};
