#include "filter/qareporterfilter.h"

#include "filter/qareporterfilterwriter.h"
#include "filter/qareporternodevalidator.h"
#include "folio/model/ddocument.h"
#include "folio/model/dlink.h"
#include "folio/model/dupdater.h"
#include "model/qareporterdata.h"
#include "model/qareporterdatatree.h"

#include <QCoreApplication>
#include <QFileInfo>
#include <QHash>

QAReporterFilter::QAReporterFilter() = default;
QAReporterFilter::~QAReporterFilter() = default;

void QAReporterFilter::setValidator(const QAReporterNodeValidator& validator)
{
    m_validator = std::make_unique<QAReporterNodeValidator>(validator);
}

// True when the validator accepts every node of the report's tree, or when the report has no
// tree to filter: then the report is shown as it is.
bool QAReporterFilter::keepsWhole(QAReporterData& report) const
{
    QAReporterDataTree* tree = report.tree;
    if (!tree || !tree->toRoot())
        return true;
    if (!m_validator)
        return false;
    if (m_validator->isValid(*tree->toRoot()) != QAReporterNodeValidator::allAccepted)
        return false;
    while (const QAReporterNode* node = tree->next(QAReporterDataTree::Forward)) {
        if (m_validator->isValid(*node) != QAReporterNodeValidator::allAccepted)
            return false;
    }
    return true;
}

bool QAReporterFilter::applyFilter(const QList<QAReporterData*>& reports)
{
    for (QAReporterData* report : reports) {
        if (!report || !report->document)
            continue;
        if (keepsWhole(*report)) {
            m_shown.push_back(report);
            continue;
        }
        QAReporterFilterWriter writer(m_validator.get());
        writer.setReportName(report->fileName);
        writer.startWriter(report->tree, report->document.get());
        auto filtered = std::make_unique<QAReporterData>();
        filtered->fileName = report->fileName;
        filtered->tree = writer.takeNewTree().release();
        // The writer links every copy to its parent: the document needs no further pass.
        filtered->document = writer.takeNewDocument();
        m_shown.push_back(filtered.get());
        m_copies.push_back(std::move(filtered));
    }
    return true;
}

void QAReporterFilter::clear()
{
    m_shown.clear();
    m_copies.clear();
}

namespace {

QString text(const char* source)
{
    return QCoreApplication::translate("Reporter", source);
}

// Links the children of one container in order.
class Children
{
public:
    explicit Children(DItemContainer* parent) : m_parent(parent) {}

    template <class Item> Item* add(std::unique_ptr<Item> item)
    {
        Item* added = item.get();
        item->setParent(m_parent);
        if (m_last)
            m_last->setNext(std::move(item));
        else
            m_parent->setFirstChild(std::move(item));
        m_last = added;
        return added;
    }

private:
    DItemContainer* m_parent;
    DItem* m_last = nullptr;
};

// A cell holding one text item. Counts are summed in 64 bits: counts near the int limit add up
// without wrapping.
void addNumberCell(Children& row, qint64 value)
{
    DCell* cell = row.add(std::make_unique<DCell>(0));
    Children(cell).add(std::make_unique<DText>(QString::number(value, 10)));
}

void addParagraph(Children& parent, const QString& line)
{
    DParagraph* paragraph = parent.add(std::make_unique<DParagraph>());
    Children(paragraph).add(std::make_unique<DText>(line));
}

// After the table: "Fixed since BASE: N", then a line for each fixed failure listed (its names,
// its place, its message) and the number of those not listed.
void addFixedSection(Children& after, const QAReporterFilter::BaselineSummary& baseline)
{
    addParagraph(after, text("Fixed since %1: %2").arg(baseline.baseName).arg(baseline.fixedCount));
    for (const QAReporterFilter::BaselineSummary::Fixed& fixed : baseline.fixed) {
        QString line = fixed.names.join(QStringLiteral(" \u203a "));
        if (!fixed.source.isEmpty())
            line += QStringLiteral(" \u00b7 ") +
                    (fixed.line > 0 ? QStringLiteral("%1:%2").arg(fixed.source).arg(fixed.line)
                                    : fixed.source);
        if (!fixed.message.isEmpty())
            line += QStringLiteral(" \u2014 ") + fixed.message;
        addParagraph(after, line);
    }
    if (baseline.fixedCount > baseline.fixed.size())
        addParagraph(after, text("and %1 more").arg(baseline.fixedCount - baseline.fixed.size()));
}

} // namespace

std::unique_ptr<DDocument> QAReporterFilter::doHeaderDoc(const QList<QAReporterData*>& reports,
                                                         const QString&, const DStyleList& styles,
                                                         const BaselineSummary* baseline) const
{
    bool showInconclusive = false;
    for (const QAReporterData* report : reports)
        showInconclusive = showInconclusive || report->inconclusive >= 0;

    QHash<QString, DStylePtr> styleByName;
    for (const DStylePtr& style : styles)
        styleByName.insert(style->name(), style);
    const DStylePtr array = styleByName.value(QStringLiteral("Array"));
    const DStylePtr arrayPassed = styleByName.value(QStringLiteral("Array Passed"));
    const DStylePtr arrayFailed = styleByName.value(QStringLiteral("Array Failed"));

    auto document = std::make_unique<DDocument>();
    document->setTitle(text("Results files"));
    document->setTag(QStringLiteral("tagheaderdoc0"));
    document->setStyle(array);

    DSection* section = Children(document.get()).add(std::make_unique<DSection>());
    section->setTag(QStringLiteral("tagheaderdoc1"));
    Children sectionItems(section);
    DTable* table = sectionItems.add(std::make_unique<DTable>(2));
    table->setStyle(array);
    QList<double> widths{0.6, 0.1, 0.1, 0.1, 0.1};
    if (showInconclusive)
        widths.append(0.1);
    if (baseline)
        widths.append(0.1);
    widths[0] -= 0.1 * (widths.size() - 5);
    table->setWidths(widths);

    Children rows(table);
    DRow* header = rows.add(std::make_unique<DRow>());
    header->setStyle(array);
    Children headings(header);
    QStringList titles{text("Name"), text("Status"), text("Failed")};
    if (baseline)
        titles.append(text("New"));
    titles.append(text("Passed"));
    if (showInconclusive)
        titles.append(text("Inconclusive"));
    titles.append(text("Total"));
    for (const QString& title : std::as_const(titles))
        headings.add(std::make_unique<DCellText>(title, 0));

    qint64 failedSum = 0;
    qint64 passedSum = 0;
    qint64 inconclusiveSum = 0;
    qint64 newSum = 0;
    for (qsizetype r = 0; r < reports.size(); ++r) {
        const QAReporterData* report = reports[r];
        const bool failed = report->failed != 0;
        const int inconclusive = report->inconclusive > 0 ? report->inconclusive : 0;
        DRow* row = rows.add(std::make_unique<DRow>());
        row->setStyle(failed ? arrayFailed : arrayPassed);
        Children cells(row);
        DCell* nameCell = cells.add(std::make_unique<DCell>(0));
        const QString tag = report->document ? report->document->tag() : QString();
        DLink* link = Children(nameCell).add(std::make_unique<DLink>(QStringLiteral("::") + tag));
        Children(link).add(std::make_unique<DText>(QFileInfo(report->fileName).fileName()));
        cells.add(std::make_unique<DCellText>(failed ? text("Failed") : text("Passed"), 0));
        addNumberCell(cells, report->failed);
        if (baseline) {
            const qint64 added =
                size_t(r) < baseline->newCounts.size() ? baseline->newCounts[size_t(r)] : 0;
            addNumberCell(cells, added);
            newSum += added;
        }
        addNumberCell(cells, report->passed);
        qint64 total = qint64(report->failed) + report->passed;
        if (showInconclusive) {
            addNumberCell(cells, inconclusive);
            total += inconclusive;
        }
        addNumberCell(cells, total);
        failedSum += report->failed;
        passedSum += report->passed;
        inconclusiveSum += inconclusive;
    }

    DRow* totals = rows.add(std::make_unique<DRow>());
    Children totalCells(totals);
    totalCells.add(std::make_unique<DCellText>(text("Total"), 1));
    addNumberCell(totalCells, failedSum);
    if (baseline)
        addNumberCell(totalCells, newSum);
    addNumberCell(totalCells, passedSum);
    qint64 grandTotal = failedSum + passedSum;
    if (showInconclusive) {
        addNumberCell(totalCells, inconclusiveSum);
        grandTotal += inconclusiveSum;
    }
    addNumberCell(totalCells, grandTotal);
    if (baseline)
        addFixedSection(sectionItems, *baseline);

    DUpdater().doAll(document.get());
    return document;
}

bool QAReporterFilter::filterAction()
{
    return false;
}
