#pragma once

#include <functional>
#include <vector>

class QAReporterNode;
template <class T> class QTreeNode;

// Stepping from failure to failure in outline order: a node before its children, the trees one
// after another, each tree's root standing for its file. `roots` are the roots of the trees in
// order. Returns the first failed node (never a root) after (before) `from`, without wrapping
// around; from the start (the end) when `from` is null; null when there is none. With `takes`,
// only the failed nodes it takes count (those shown, or results only). No recursion, and each
// step walks only the nodes it passes.
const QTreeNode<QAReporterNode>*
failureFrom(const std::vector<const QTreeNode<QAReporterNode>*>& roots,
            const QTreeNode<QAReporterNode>* from, bool forward,
            const std::function<bool(const QTreeNode<QAReporterNode>*)>& takes = {});
