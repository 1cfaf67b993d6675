#pragma once

#include "folio/styles/dstyle.h"

#include <QList>
#include <memory>
#include <vector>

class DDocument;
class QAReporterData;
class QAReporterNodeValidator;

// Rebuilds each report without the sections of the nodes its validator rejects, and builds the
// summary document of all reports.
class QAReporterFilter
{
public:
    QAReporterFilter();
    virtual ~QAReporterFilter();
    QAReporterFilter(const QAReporterFilter&) = delete;
    QAReporterFilter& operator=(const QAReporterFilter&) = delete;

    // Takes a copy of `validator`; later changes of the original need a new call.
    void setValidator(const QAReporterNodeValidator& validator);
    // Appends one filtered record per report that has a tree and a document, in list order.
    // The reports must outlive the filtered records.
    bool applyFilter(const QList<QAReporterData*>& reports);
    void clear();
    const std::vector<std::unique_ptr<QAReporterData>>& filtered() const { return m_filtered; }

    // The summary: one table row per report (name linking to its document, status, failed,
    // passed and inconclusive counts, total) and a row of totals. `name` takes no part in it;
    // `styles` are the display styles the rows take by name.
    std::unique_ptr<DDocument> doHeaderDoc(const QList<QAReporterData*>& reports,
                                           const QString& name, const DStyleList& styles) const;

    // A hook for filters that act on their own; this one does nothing and returns false.
    virtual bool filterAction();

private:
    std::unique_ptr<QAReporterNodeValidator> m_validator;
    std::vector<std::unique_ptr<QAReporterData>> m_filtered;
};
