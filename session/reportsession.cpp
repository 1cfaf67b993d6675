#include "session/reportsession.h"

#include "compare/baselinecomparison.h"
#include "export/baselinesection.h"
#include "export/reportexport.h"
#include "filter/qareporterfilter.h"
#include "filter/qareporternodevalidator.h"
#include "folio/model/ddocument.h"
#include "folio/model/dlink.h"
#include "model/qareporterdata.h"
#include "model/qareporterdatatree.h"
#include "model/reversesearch.h"
#include "reader/reportloader.h"
#include "session/failurewalk.h"
#include "session/sessioncontext.h"
#include "session/triagemarks.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QHash>
#include <QRegularExpression>
#include <QSet>

namespace {

std::vector<BaselineEntry> baselineEntries(const std::vector<const RunFailure*>& failures)
{
    std::vector<BaselineEntry> entries;
    entries.reserve(failures.size());
    for (const RunFailure* failure : failures)
        entries.push_back({failure->names, failure->source, failure->line, failure->message});
    return entries;
}

// The new and the fixed failures, for the top of the summary page.
QByteArray baselineLeading(const BaselineComparison& baseline)
{
    const RunComparison& comparison = baseline.comparison();
    return baselineSection(QFileInfo(baseline.basePath()).fileName(),
                           baselineEntries(comparison.added), baselineEntries(comparison.fixed),
                           comparison.still);
}

// The fixed failures the summary lists; the rest are counted.
constexpr size_t summaryFixedEntries = 100;

// The texts keep the viewer window's translation context.
QString tr(const char* text)
{
    return QCoreApplication::translate("QAReporter", text);
}

} // namespace

ReportSession::ReportSession(SessionContext* context)
    : m_ownContext(context ? nullptr : std::make_unique<SessionContext>()),
      m_context(context ? context : m_ownContext.get()),
      m_validator(std::make_unique<QAReporterNodeValidator>()),
      m_triage(std::make_unique<TriageMarks>())
{
}

ReportSession::~ReportSession()
{
    // The filtered copies and the summary point into the records: they go first.
    m_filter.reset();
    m_summary.reset();
    m_records.clear();
}

ReportSession::Reading ReportSession::read(const QStringList& files, bool skipHeld) const
{
    Reading reading;
    ReadProgress* progress = m_context->readProgress();
    const DStyleList styles = m_context->styles();
    QSet<QString> seen;
    QHash<QString, DDocument*> documentByTag;
    for (qsizetype i = 0; i < files.size(); ++i) {
        const QString& path = files.at(i);
        if (seen.contains(path) || (skipHeld && contains(path)))
            continue;
        seen.insert(path);
        ReportLoadError error;
        std::unique_ptr<QAReporterData> record =
            QFileInfo::exists(path) ? loadReport(path, styles, progress, &error) : nullptr;
        if (error.cancelled)
            return Reading{{}, {}, {}, true};
        if (!record) {
            if (error.message.isEmpty())
                error.message = tr("no such file");
            reading.failed.append(path);
            reading.reasons.append(error.describe(path));
            continue;
        }
        if (DDocument* document = record->document.get()) {
            if (documentByTag.contains(document->tag()))
                document->setTag(document->tag() + QString::number(i));
            else
                documentByTag.insert(document->tag(), document);
        }
        reading.records.push_back(std::move(record));
    }
    return reading;
}

QString ReportSession::unreadableMessage(const QStringList& failed)
{
    QString message = tr("File(s) not found or corrupted:\n");
    for (const QString& path : failed)
        message += tr("\t") + path + tr("\n");
    return message;
}

void ReportSession::add(Reading reading)
{
    // The types are those of the files read now, all shown.
    m_typeNames.clear();
    m_typeVisibility.clear();
    updateTypeFilter();
    for (auto& record : reading.records)
        m_records.push_back(std::move(record));
    updateTypes();
    markTriage();
    m_analysed = false;
}

void ReportSession::setTriage(const QList<ReviewRecord>& reviews,
                              const QList<DefectRecord>& defects)
{
    m_triage->setRecords(reviews, defects);
    markTriage();
    if (m_hideDismissed)
        m_analysed = false;
}

void ReportSession::markTriage()
{
    const auto markTree = [this](const QAReporterData& record) {
        if (!record.tree)
            return;
        m_triage->mark(record.tree->rootNode(), QFileInfo(record.fileName).fileName(),
                       m_context->originalFileOf(
                           QDir::cleanPath(QFileInfo(record.fileName).absoluteFilePath())));
    };
    QSet<const QAReporterData*> records;
    for (const auto& record : m_records) {
        markTree(*record);
        records.insert(record.get());
    }
    if (!m_filter)
        return;
    for (const QAReporterData* shown : m_filter->filtered()) {
        if (!records.contains(shown))
            markTree(*shown);
    }
}

void ReportSession::setHideDismissed(bool on)
{
    m_hideDismissed = on;
    m_validator->setHideDismissed(on);
    m_analysed = false;
}

void ReportSession::clear()
{
    if (m_filter)
        m_filter->clear();
    m_summary.reset();
    m_records.clear();
    m_analysed = false;
}

bool ReportSession::contains(const QString& file) const
{
    for (const auto& record : m_records) {
        if (record->fileName == file)
            return true;
    }
    return false;
}

int ReportSession::testPassed() const
{
    int total = 0;
    for (const auto& record : m_records)
        total += record->passed;
    return total;
}

int ReportSession::testFailed() const
{
    int total = 0;
    for (const auto& record : m_records)
        total += record->failed;
    return total;
}

QString ReportSession::consoleSummary(const QString& node) const
{
    QString text;
    if (!node.isEmpty())
        text += QStringLiteral("TestNode: ") + node + QLatin1Char('\n');
    text += QStringLiteral("\t[%1] Test Case Passed\n").arg(testPassed());
    text += QStringLiteral("\t[%1] Test Case Failed\n").arg(testFailed());
    return text;
}

void ReportSession::updateTypes()
{
    // Looked up in a set, not in the list: a file may hold a million types.
    QSet<QString> known(m_typeNames.cbegin(), m_typeNames.cend());
    for (const auto& record : m_records) {
        for (const QString& type : std::as_const(record->typeList)) {
            if (!known.contains(type)) {
                known.insert(type);
                m_typeNames.append(type);
            }
        }
    }
}

void ReportSession::setFailedOnly(bool on)
{
    m_failedOnly = on;
    if (on)
        m_validator->setAttribut(QAReporterNodeValidator::AttrState,
                                 QRegularExpression(QStringLiteral("ko")));
    else
        m_validator->unsetAttribut(QAReporterNodeValidator::AttrState);
    m_analysed = false;
}

void ReportSession::setTypeVisible(const QString& type, bool visible)
{
    m_typeVisibility.insert(type, visible);
    updateTypeFilter();
    m_analysed = false;
}

void ReportSession::updateTypeFilter()
{
    // The hidden types, few whatever the number of types.
    m_validator->unsetAttribut(QAReporterNodeValidator::AttrType);
    for (auto type = m_typeVisibility.cbegin(); type != m_typeVisibility.cend(); ++type) {
        if (!type.value())
            m_validator->setAttribut(QAReporterNodeValidator::AttrType,
                                     QRegularExpression(type.key()));
    }
}

void ReportSession::filterRecords()
{
    if (m_filter)
        m_filter->clear();
    else
        m_filter = std::make_unique<QAReporterFilter>();
    makeTagsUnique();
    if (m_hideDismissed) {
        for (const auto& record : m_records) {
            if (record->tree)
                TriageMarks::markHiddenAsDismissed(record->tree->rootNode(), *m_validator);
        }
    }
    m_filter->setValidator(*m_validator);
    QList<QAReporterData*> records;
    for (const auto& record : m_records)
        records.append(record.get());
    m_filter->applyFilter(records);
}

void ReportSession::makeTagsUnique()
{
    // A later duplicate takes the first holder's tag with "_1"; the map keeps the original, so
    // each pass adds one more "_1" to documents that still share a tag.
    QHash<QString, QString> seen;
    for (const auto& record : m_records) {
        DDocument* document = record->document.get();
        if (!document)
            continue;
        const auto found = seen.constFind(document->tag());
        if (found == seen.constEnd())
            seen.insert(document->tag(), document->tag());
        else
            document->setTag(found.value() + QStringLiteral("_1"));
    }
}

void ReportSession::buildSummary(const QString& title)
{
    QList<QAReporterData*> records;
    for (const auto& record : m_records)
        records.append(record.get());
    if (m_baseline) {
        const RunComparison& comparison = m_baseline->comparison();
        QAReporterFilter::BaselineSummary baseline;
        baseline.baseName = QFileInfo(m_baseline->basePath()).fileName();
        if (m_newFailuresMarked)
            baseline.newCounts = m_newByRecord;
        baseline.fixedCount = comparison.fixed.size();
        const size_t listed = std::min<size_t>(comparison.fixed.size(), summaryFixedEntries);
        for (size_t i = 0; i < listed; ++i) {
            const RunFailure& fixed = *comparison.fixed[i];
            baseline.fixed.push_back({fixed.names, fixed.source, fixed.line, fixed.message});
        }
        m_summary = m_filter->doHeaderDoc(records, title, m_context->styles(), &baseline);
    } else {
        m_summary = m_filter->doHeaderDoc(records, title, m_context->styles());
    }
    m_summary->setTag(QStringLiteral("index"));
    m_analysed = true;
}

void ReportSession::analyse(const QString& title)
{
    if (m_analysed)
        return;
    filterRecords();
    buildSummary(title);
}

const std::vector<QAReporterData*>& ReportSession::filtered() const
{
    static const std::vector<QAReporterData*> none;
    return m_filter ? m_filter->filtered() : none;
}

const ReportSession::ResultNode* ReportSession::failureFrom(const ResultNode* from,
                                                            bool forward) const
{
    // The files as the outline lists them: the filtered trees that have a root.
    std::vector<const ResultNode*> roots;
    for (const QAReporterData* record : filtered()) {
        const ResultNode* root = record->tree ? record->tree->rootNode() : nullptr;
        if (root && root->data)
            roots.push_back(root);
    }
    return ::failureFrom(roots, from, forward);
}

QAReporterNode* ReportSession::searchReporterNode(DItem* item) const
{
    const QList<QAReporterData*> displayed(filtered().begin(), filtered().end());
    return ::searchReporterNode(displayed, item);
}

QString ReportSession::reportFolderOf(const QString& file) const
{
    return QFileInfo(m_context->originalFileOf(file)).absolutePath();
}

QString ReportSession::reportDirectoryOf(const DItem* item) const
{
    const DItem* root = item;
    while (root && root->parent())
        root = root->parent();
    if (!root)
        return QString();
    for (const QAReporterData* record : filtered()) {
        if (record->document.get() == root)
            return reportFolderOf(record->fileName);
    }
    return QString();
}

ReportSession::LinkAction ReportSession::followLink(DLink* link) const
{
    LinkAction action;
    if (!link)
        return action;
    QString target = link->target();
    const QLatin1String reportScheme("xrdlink://");
    if (target.startsWith(reportScheme)) {
        const QString rest = target.mid(reportScheme.size());
        const qsizetype hash = rest.indexOf(QLatin1Char('#'));
        QString file = hash < 0 ? rest : rest.left(hash);
        action.anchor = hash < 0 ? QString() : rest.mid(hash + 1);
        if (file.isEmpty()) {
            action.kind = action.anchor.isEmpty() ? LinkAction::Nothing : LinkAction::ShowAnchor;
            return action;
        }
        if (QFileInfo(file).isRelative()) {
            // Beside the report that holds the link, whichever of those shown it is.
            const QString directory = reportDirectoryOf(link);
            if (directory.isEmpty())
                return {};
            file = QDir::cleanPath(QDir(directory).filePath(file));
        }
        action.kind = LinkAction::ShowReport;
        action.file = file;
        return action;
    }

    if (target.startsWith(QLatin1String("https://")) ||
        target.startsWith(QLatin1String("http://"))) {
        action.kind = LinkAction::OpenWeb;
        action.location = target;
        return action;
    }
    static const QRegularExpression sourceLine(QStringLiteral("(.*)line (\\d+)"));
    const QRegularExpressionMatch match = sourceLine.match(target);
    if (!match.hasMatch()) {
        action.kind = LinkAction::OpenTag;
        action.location = target;
        return action;
    }
    // A relative path is the node's base followed by the path, and what is still relative then
    // lies beside the report: never where the program happened to be started.
    const QString file = match.captured(1).trimmed();
    if (file.isEmpty() || QFileInfo(file).isRelative()) {
        const QAReporterNode* node = searchReporterNode(link);
        QString path = node ? node->base + file : file;
        const QString directory = reportDirectoryOf(link);
        if (QFileInfo(path).isRelative() && !directory.isEmpty())
            path = QDir::cleanPath(QDir(directory).filePath(path));
        target = path + QStringLiteral(" line ") + match.captured(2);
    }
    action.kind = LinkAction::OpenSource;
    action.location = target;
    return action;
}

std::unique_ptr<DDocument> ReportSession::readXrdFile(const QString& path, QString* reason) const
{
    return ::readXrdFile(path, m_context->styles(), m_context->readProgress(), reason);
}

bool ReportSession::setBaseline(const QString& base, QString* error)
{
    // A converted file is compared as the file the user opened: its name tells the format.
    QStringList head;
    for (const auto& record : m_records)
        head.append(m_context->originalFileOf(record->fileName));
    auto baseline = std::make_unique<BaselineComparison>();
    if (!baseline->compare(base, head, error)) {
        m_baseline.reset();
        m_validator->setNewFailuresOnly(false);
        markNewFailures();
        m_analysed = false;
        return false;
    }
    m_baseline = std::move(baseline);
    markNewFailures();
    m_analysed = false;
    return true;
}

void ReportSession::clearBaseline()
{
    m_baseline.reset();
    m_validator->setNewFailuresOnly(false);
    markNewFailures();
    m_analysed = false;
}

bool ReportSession::newFailuresOnly() const
{
    return m_validator->newFailuresOnly();
}

void ReportSession::setNewFailuresOnly(bool on)
{
    m_validator->setNewFailuresOnly(on && m_baseline);
    m_analysed = false;
}

void ReportSession::markNewFailures()
{
    m_newFailureCount = 0;
    m_newFailuresMarked = false;
    // Every node in walk order, unmarked; the failed ones kept in that order.
    std::vector<ResultNode*> failed;
    std::vector<size_t> recordOf; // of each failed node
    std::vector<ResultNode*> pending;
    m_newByRecord.assign(m_records.size(), 0);
    for (size_t r = 0; r < m_records.size(); ++r) {
        const auto& record = m_records[r];
        if (record->tree && record->tree->rootNode())
            pending.push_back(record->tree->rootNode());
        while (!pending.empty()) {
            ResultNode* node = pending.back();
            pending.pop_back();
            node->data->newFailure = false;
            node->data->holdsNewFailure = false;
            if (node->data->stat == QSKO) {
                failed.push_back(node);
                recordOf.push_back(r);
            }
            for (auto child = node->children.rbegin(); child != node->children.rend(); ++child)
                pending.push_back(child->get());
        }
    }
    if (!m_baseline)
        return;
    // A failed result is a failed node with no failed node below it, as the comparison reads
    // them: each ancestor of a failed node is marked once.
    QSet<const ResultNode*> failedBelow;
    for (const ResultNode* node : failed) {
        for (const ResultNode* up = node->parent; up && !failedBelow.contains(up); up = up->parent)
            failedBelow.insert(up);
    }
    std::vector<ResultNode*> results;
    std::vector<size_t> resultRecord;
    for (size_t i = 0; i < failed.size(); ++i) {
        if (!failedBelow.contains(failed[i])) {
            results.push_back(failed[i]);
            resultRecord.push_back(recordOf[i]);
        }
    }
    const std::vector<RunFailure>& headFailures = m_baseline->head().failures;
    if (results.size() != headFailures.size())
        return;
    // A result that carries a key is matched by it, the others by their place in the order.
    std::vector<bool> isNew(headFailures.size(), false);
    QHash<QByteArray, int> newByKey;
    for (const RunFailure* failure : m_baseline->comparison().added) {
        isNew[size_t(failure - headFailures.data())] = true;
        ++newByKey[failure->identity];
    }
    for (size_t i = 0; i < results.size(); ++i) {
        QAReporterNode* result = results[i]->data;
        bool fresh = isNew[i];
        if (!result->key.isEmpty()) {
            auto found = newByKey.find(QByteArray(result->key.utf8().data(), result->key.size()));
            fresh = found != newByKey.end() && found.value() > 0;
            if (fresh)
                --found.value();
        }
        if (!fresh)
            continue;
        result->newFailure = true;
        ++m_newFailureCount;
        ++m_newByRecord[resultRecord[i]];
        for (ResultNode* up = results[i]->parent; up && !up->data->holdsNewFailure; up = up->parent)
            up->data->holdsNewFailure = true;
    }
    m_newFailuresMarked = true;
}

bool ReportSession::exportHTML(const QString& directory, QAIProgressMonitor* progress,
                               QAILogMonitor* log)
{
    ReportExport::Input input;
    for (const auto& record : m_records)
        input.reports.append(record.get());
    // The reports as shown, in order; a report document (.xrd) without result nodes, which the
    // filter passes by, is exported as it is.
    if (m_filter) {
        QHash<QString, QAReporterData*> filtered;
        for (QAReporterData* record : m_filter->filtered())
            filtered.insert(record->fileName, record);
        for (const auto& record : m_records) {
            if (QAReporterData* shown = filtered.value(record->fileName))
                input.displayed.append(shown);
            else if (!record->tree && record->document)
                input.displayed.append(record.get());
        }
    }
    // The page starts with the new and fixed failures: its table is the one without them.
    std::unique_ptr<DDocument> plainSummary;
    if (m_baseline && m_filter && m_summary) {
        QList<QAReporterData*> records;
        for (const auto& record : m_records)
            records.append(record.get());
        plainSummary = m_filter->doHeaderDoc(records, QString(), m_context->styles());
        plainSummary->setTag(m_summary->tag());
    }
    input.summary = plainSummary ? plainSummary.get() : m_summary.get();
    input.styles = m_context->styles();
    input.reading = m_context->readProgress();
    input.configFile =
        m_context->currentDirectory() + QDir::separator() + QStringLiteral("dhtml.cfg");
    input.searchPath = m_context->documentSearchPath();
    input.reportFolderOf = [this](const QString& file) { return reportFolderOf(file); };
    input.originalFileOf = [this](const QString& file) { return m_context->originalFileOf(file); };
    input.sourceUrl = m_sourceUrl;
    input.embedSources = m_embedSources;
    if (m_baseline)
        input.leading = baselineLeading(*m_baseline);
    ReportExport run(std::move(input));
    const bool complete = run.write(directory, progress, log);
    m_exportedIndexPage = run.indexPage();
    return complete;
}
