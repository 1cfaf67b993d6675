#include "session/failurewalk.h"

#include "model/qareporternode.h"
#include "model/qtree.h"

#include <algorithm>

namespace {

using ResultNode = QTreeNode<QAReporterNode>;
using Roots = std::vector<const ResultNode*>;

// The next node in outline order; the last node of a file is followed by the next file's root.
const ResultNode* nodeAfter(const ResultNode* node, const Roots& roots)
{
    if (!node->children.empty())
        return node->children.front().get();
    for (; node->parent; node = node->parent) {
        if (size_t(node->row) + 1 < node->parent->children.size())
            return node->parent->children[size_t(node->row) + 1].get();
    }
    const auto file = std::find(roots.begin(), roots.end(), node);
    return file == roots.end() || file + 1 == roots.end() ? nullptr : *(file + 1);
}

// The last node of the tree under `node`, in outline order.
const ResultNode* lastBelow(const ResultNode* node)
{
    while (!node->children.empty())
        node = node->children.back().get();
    return node;
}

const ResultNode* nodeBefore(const ResultNode* node, const Roots& roots)
{
    if (node->parent && node->row == 0)
        return node->parent;
    if (node->parent)
        return lastBelow(node->parent->children[size_t(node->row) - 1].get());
    const auto file = std::find(roots.begin(), roots.end(), node);
    return file == roots.end() || file == roots.begin() ? nullptr : lastBelow(*(file - 1));
}

bool isFailure(const ResultNode* node)
{
    return node->parent && node->data->stat == QSKO;
}

} // namespace

const ResultNode* failureFrom(const Roots& roots, const ResultNode* from, bool forward,
                              const std::function<bool(const ResultNode*)>& takes)
{
    if (roots.empty())
        return nullptr;
    const auto hit = [&takes](const ResultNode* node) {
        return isFailure(node) && (!takes || takes(node));
    };
    const ResultNode* node = from;
    if (!node) {
        // Forward from the first file, which is no failure; backward from the last node, which
        // may be one.
        node = forward ? roots.front() : lastBelow(roots.back());
        if (!forward && hit(node))
            return node;
    }
    while (node) {
        node = forward ? nodeAfter(node, roots) : nodeBefore(node, roots);
        if (node && hit(node))
            return node;
    }
    return nullptr;
}
