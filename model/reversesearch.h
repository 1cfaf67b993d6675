#pragma once

#include "folio/model/ditem.h"

#include <QHash>
#include <QList>

class QAReporterData;
class QAReporterNode;
template <class T> class QTreeNode;

// The reverse search: from a document item to the result node whose section holds it. None of
// these walks recurse, and none walks a section more than once, however deep the nesting.

// Walks the items from `first` in document order, descending into containers (a container before
// its children), and tells whether `target` is met before the walk passes `last`. The range is
// closed at both ends, the walk does not climb above `first`'s level, and reaching `last` at any
// depth ends it (with `*stop` set). Returns `target` when met (`first` when it is `first`).
DItem* searchItemIn(DItem* first, DItem* last, DItem* target, bool* stop);

// The node below `treeNode` (or the node itself) whose section holds `item`: children are asked
// before their parent, in order, and the first match wins; a matching node without a base
// directory gives way to its parent. Null when no section holds `item`.
QAReporterNode* searchChildReporterNode(QTreeNode<QAReporterNode>* treeNode, DItem* item);

// searchChildReporterNode() over the result tree of each displayed report in turn: the first
// node found.
QAReporterNode* searchReporterNode(const QList<QAReporterData*>& displayed, DItem* item);

// The answers of searchReporterNode() for every item of one kind in the displayed documents,
// worked out in one pass, for callers that ask about many items (every link of a page). A
// node's section is taken to lie in its own report's document.
class QAReporterNodeIndex
{
public:
    QAReporterNodeIndex(const QList<QAReporterData*>& displayed, DItem::Type kind);

    QAReporterNode* find(const DItem* item) const { return m_nodes.value(item); }

private:
    QHash<const DItem*, QAReporterNode*> m_nodes;
};
