#include "session/triagemarks.h"

#include "filter/qareporternodevalidator.h"
#include "model/qareporternode.h"
#include "model/qtree.h"

#include <QCoreApplication>

namespace {

QAReporterNode::Review reviewOf(const QString& status)
{
    if (status == QLatin1String("confirmed"))
        return QAReporterNode::Review::Confirmed;
    if (status == QLatin1String("false-positive"))
        return QAReporterNode::Review::FalsePositive;
    if (status == QLatin1String("intentional"))
        return QAReporterNode::Review::Intentional;
    return QAReporterNode::Review::None;
}

} // namespace

void TriageMarks::setRecords(const QList<ReviewRecord>& reviews, const QList<DefectRecord>& defects)
{
    m_reviews.clear();
    for (const ReviewRecord& review : reviews) {
        if (reviewOf(review.status) != QAReporterNode::Review::None)
            m_reviews[review.identity].append({review.rule, review.status, review.note});
    }
    m_edges.clear();
    m_defectIds.assign(1, 0);
    m_headlines.clear();
    for (const DefectRecord& defect : defects) {
        if (defect.itemPath.isEmpty())
            continue;
        // The first name of a path is the file's entry: the file itself comes first.
        int at = 0;
        QStringList names = defect.itemPath;
        names.prepend(defect.file);
        for (const QString& name : std::as_const(names)) {
            const auto edge = m_edges.constFind({at, name});
            if (edge != m_edges.constEnd()) {
                at = edge.value();
                continue;
            }
            m_defectIds.push_back(0);
            const int below = int(m_defectIds.size()) - 1;
            m_edges.insert({at, name}, below);
            at = below;
        }
        qint64& id = m_defectIds[size_t(at)];
        if (id == 0 || defect.id < id)
            id = defect.id;
        m_headlines.insert(defect.id, defect.headline);
    }
}

const TriageMarks::Decision* TriageMarks::decisionOf(const QAReporterNode& node) const
{
    if (node.key.isEmpty())
        return nullptr;
    const auto found = m_reviews.constFind(node.key);
    if (found == m_reviews.constEnd())
        return nullptr;
    const Decision* anyRule = nullptr;
    for (const Decision& decision : found.value()) {
        if (decision.rule == node.rule)
            return &decision;
        if (decision.rule.isEmpty())
            anyRule = &decision;
    }
    return anyRule;
}

void TriageMarks::mark(ResultNode* root, const QString& entryName, const QString& openedFile) const
{
    if (!root)
        return;
    // A node's name is converted only where a defect's path may go on below its parent.
    const auto child = [this](int at, const auto& name) {
        return at < 0 ? -1 : m_edges.value({at, QString(name)}, -1);
    };
    // Each node with the node of the defects' names that its path reaches (-1: none).
    std::vector<std::pair<ResultNode*, int>> pending{
        {root, child(child(0, openedFile), entryName)}};
    while (!pending.empty()) {
        const auto [node, at] = pending.back();
        pending.pop_back();
        QAReporterNode& result = *node->data;
        const Decision* decision = decisionOf(result);
        result.review = decision ? reviewOf(decision->status) : QAReporterNode::Review::None;
        result.defectId = at > 0 ? m_defectIds[size_t(at)] : 0;
        for (auto below = node->children.rbegin(); below != node->children.rend(); ++below)
            pending.emplace_back(below->get(), child(at, (*below)->data->name));
    }
}

QString TriageMarks::noteOf(const QAReporterNode& node) const
{
    QStringList lines;
    if (const Decision* decision = decisionOf(node))
        lines.append(decision->note);
    if (node.defectId != 0)
        lines.append(QCoreApplication::translate("TriageMarks", "Defect %1: %2")
                         .arg(node.defectId)
                         .arg(m_headlines.value(node.defectId)));
    return lines.join(QLatin1Char('\n'));
}

void TriageMarks::markHiddenAsDismissed(ResultNode* root, const QAReporterNodeValidator& validator)
{
    if (!root)
        return;
    // The nodes parents first, each with its parent's place in the order; then children before
    // their parents, each telling its parent whether it stays and whether it holds dismissed ones.
    std::vector<ResultNode*> order;
    std::vector<std::size_t> parentOf;
    std::vector<std::pair<ResultNode*, std::size_t>> pending{{root, 0}};
    while (!pending.empty()) {
        const auto [node, parent] = pending.back();
        pending.pop_back();
        node->data->hiddenAsDismissed = false;
        const std::size_t at = order.size();
        order.push_back(node);
        parentOf.push_back(parent);
        for (auto below = node->children.rbegin(); below != node->children.rend(); ++below)
            pending.emplace_back(below->get(), at);
    }
    enum : unsigned char
    {
        KeepsAChild = 1,
        HoldsDismissed = 2
    };
    std::vector<unsigned char> seen(order.size(), 0);
    for (std::size_t i = order.size(); i-- > 0;) {
        QAReporterNode& node = *order[i]->data;
        const bool stays =
            !node.dismissed() &&
            (order[i]->children.empty() || (seen[i] & KeepsAChild) || !(seen[i] & HoldsDismissed));
        node.hiddenAsDismissed = !stays;
        if (i == 0)
            break;
        unsigned char& parent = seen[parentOf[i]];
        if (node.dismissed() || (seen[i] & HoldsDismissed))
            parent |= HoldsDismissed;
        if (stays && validator.isValid(node) == QAReporterNodeValidator::allAccepted)
            parent |= KeepsAChild;
    }
}
