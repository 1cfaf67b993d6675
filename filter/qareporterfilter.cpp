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

} // namespace

std::unique_ptr<DDocument> QAReporterFilter::doHeaderDoc(const QList<QAReporterData*>& reports,
                                                         const QString&,
                                                         const DStyleList& styles) const
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
    DTable* table = Children(section).add(std::make_unique<DTable>(2));
    table->setStyle(array);
    QList<double> widths{showInconclusive ? 0.5 : 0.6, 0.1, 0.1, 0.1, 0.1};
    if (showInconclusive)
        widths.append(0.1);
    table->setWidths(widths);

    Children rows(table);
    DRow* header = rows.add(std::make_unique<DRow>());
    header->setStyle(array);
    Children headings(header);
    QStringList titles{text("Name"), text("Status"), text("Failed"), text("Passed")};
    if (showInconclusive)
        titles.append(text("Inconclusive"));
    titles.append(text("Total"));
    for (const QString& title : std::as_const(titles))
        headings.add(std::make_unique<DCellText>(title, 0));

    qint64 failedSum = 0;
    qint64 passedSum = 0;
    qint64 inconclusiveSum = 0;
    for (const QAReporterData* report : reports) {
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
    addNumberCell(totalCells, passedSum);
    qint64 grandTotal = failedSum + passedSum;
    if (showInconclusive) {
        addNumberCell(totalCells, inconclusiveSum);
        grandTotal += inconclusiveSum;
    }
    addNumberCell(totalCells, grandTotal);

    DUpdater().doAll(document.get());
    return document;
}

bool QAReporterFilter::filterAction()
{
    return false;
}
