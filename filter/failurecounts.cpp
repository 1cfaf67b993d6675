#include "filter/failurecounts.h"

#include "model/qareporternode.h"
#include "model/qtree.h"

#include <QCoreApplication>
#include <QStringList>
#include <vector>

FailureCounts& FailureCounts::operator+=(const FailureCounts& other)
{
    errors += other.errors;
    warnings += other.warnings;
    notes += other.notes;
    failed += other.failed;
    return *this;
}

void FailureCounts::addFailure(const QAReporterNode& node)
{
    if (node.level == QLatin1String("error"))
        ++errors;
    else if (node.level == QLatin1String("warning"))
        ++warnings;
    else if (node.level == QLatin1String("note"))
        ++notes;
    else
        ++failed;
}

QString FailureCounts::text() const
{
    const auto part = [](int count, const char* one, const char* many) {
        return QCoreApplication::translate("Outline", count == 1 ? one : many).arg(count);
    };
    QStringList parts;
    if (errors > 0)
        parts.append(part(errors, "%1 error", "%1 errors"));
    if (warnings > 0)
        parts.append(part(warnings, "%1 warning", "%1 warnings"));
    if (notes > 0)
        parts.append(part(notes, "%1 note", "%1 notes"));
    if (failed > 0)
        parts.append(part(failed, "%1 failed", "%1 failed"));
    return parts.join(QStringLiteral(", "));
}

FailureCounts failuresIn(const QTreeNode<QAReporterNode>* root)
{
    // Children are visited before their parent leaves the stack, so a failed node knows whether
    // a failure below it was counted.
    struct Visit
    {
        const QTreeNode<QAReporterNode>* node;
        std::size_t next = 0;
        bool failureBelow = false;
    };
    FailureCounts counts;
    if (!root)
        return counts;
    std::vector<Visit> stack{{root}};
    while (!stack.empty()) {
        Visit& top = stack.back();
        if (top.next < top.node->children.size()) {
            stack.push_back({top.node->children[top.next++].get()});
            continue;
        }
        const QAReporterNode* node = top.node->data;
        const bool failed = node && node->stat == QSKO && top.node != root;
        if (failed && !top.failureBelow)
            counts.addFailure(*node);
        const bool failureHere = failed || top.failureBelow;
        stack.pop_back();
        if (!stack.empty() && failureHere)
            stack.back().failureBelow = true;
    }
    return counts;
}
