#include "model/reversesearch.h"

#include "folio/model/ddocument.h"
#include "model/qareporterdata.h"
#include "model/qareporterdatatree.h"

#include <algorithm>
#include <climits>
#include <queue>
#include <vector>

using TreeNode = QTreeNode<QAReporterNode>;

DItem* searchItemIn(DItem* first, DItem* last, DItem* target, bool* stop)
{
    if (target == first)
        return first;
    if (target == last)
        return target;
    if (!first) {
        *stop = false;
        return nullptr;
    }
    // The containers whose children are being walked, innermost last.
    std::vector<DItem*> open;
    DItem* current = first;
    for (;;) {
        // A container is tested before its children, its children before its next sibling.
        if (const DItemContainer* container = current->asContainer()) {
            DItem* child = container->firstChild();
            if (child && child == target)
                return target;
            if (child) {
                open.push_back(current);
                current = child;
                continue;
            }
        }
        // Done with `current` and all below it: step on, leaving finished containers.
        for (;;) {
            if (current == last) {
                *stop = true;
                return nullptr;
            }
            if (DItem* next = current->next()) {
                current = next;
                if (current == target)
                    return target;
                break;
            }
            if (open.empty()) {
                *stop = false;
                return nullptr;
            }
            current = open.back();
            open.pop_back();
        }
    }
}

namespace {

// Where an item lies in the pre-order of its document: its own position, the last position below
// it, and the last position of the siblings that follow it (their descendants included).
struct Span
{
    int pos = -1;
    int end = -1;
    int chainEnd = -1;
};

// The positions of the items that bound node sections, found in one walk of a document, and of
// the items the caller asks about.
class Numbering
{
public:
    // The number of the bound `item` (null: -1), for span().
    int addBound(const DItem* item)
    {
        if (!item)
            return -1;
        const auto known = m_index.constFind(item);
        if (known != m_index.constEnd())
            return known.value();
        m_spans.emplace_back();
        return *m_index.insert(item, int(m_spans.size()) - 1);
    }
    void addBounds(const QAReporterNode* node)
    {
        addBound(node->item);
        addBound(node->endItem);
    }

    // Numbers `first`, the siblings after it and everything below them; `wanted` picks the items
    // whose positions are kept, in document order, in wanted().
    template <class Wanted> void run(DItem* first, Wanted wanted)
    {
        struct Frame
        {
            DItem* next;
            Span* container;
        };
        std::vector<Frame> frames{{first, nullptr}};
        std::vector<std::pair<size_t, Span*>> chainOpen; // level, span waiting for its chain end
        buildFilter();
        int count = 0;
        while (!frames.empty()) {
            Frame& frame = frames.back();
            if (!frame.next) {
                const size_t level = frames.size() - 1;
                while (!chainOpen.empty() && chainOpen.back().first == level) {
                    chainOpen.back().second->chainEnd = count - 1;
                    chainOpen.pop_back();
                }
                if (frame.container)
                    frame.container->end = count - 1;
                frames.pop_back();
                continue;
            }
            DItem* item = frame.next;
            frame.next = item->next();
            const int pos = count++;
            if (wanted(item))
                m_wanted.emplace_back(pos, item);
            Span* span = nullptr;
            if (auto found = mayBound(item) ? m_index.constFind(item) : m_index.constEnd();
                found != m_index.constEnd()) {
                span = &m_spans[size_t(found.value())];
                span->pos = pos;
                span->end = pos;
                chainOpen.emplace_back(frames.size() - 1, span);
            }
            const DItemContainer* container = item->asContainer();
            if (container && container->firstChild())
                frames.push_back({container->firstChild(), span});
        }
    }

    void reserve(qsizetype nodes)
    {
        m_index.reserve(2 * nodes);
        m_spans.reserve(size_t(2 * nodes));
    }

    const std::vector<std::pair<int, DItem*>>& wanted() const { return m_wanted; }
    // Where the bound numbered `bound` lies; a position of -1 when outside the document.
    Span span(int bound) const { return bound < 0 ? Span() : m_spans[size_t(bound)]; }

    // The last position of the section between the bounds numbered `first` and `last` when it
    // lies in the numbered document, else -1. The section runs from its first item to the end of
    // its last item when the last item follows within reach, to the end of the first item's
    // siblings otherwise.
    int sectionEnd(int first, int last, int* start) const
    {
        const Span from = span(first);
        if (from.pos < 0)
            return -1;
        *start = from.pos;
        const Span to = span(last);
        if (to.pos >= from.pos && to.pos <= from.chainEnd)
            return to.end;
        return from.chainEnd;
    }

    // searchItemIn(node.item, node.endItem, target) for a target at `pos` (-1: elsewhere).
    bool holds(const QAReporterNode& node, const DItem* target, int pos) const
    {
        if (!target)
            return false;
        if (target == node.item || target == node.endItem)
            return true;
        if (pos < 0)
            return false;
        int start = 0;
        const int end =
            sectionEnd(m_index.value(node.item, -1), m_index.value(node.endItem, -1), &start);
        return end >= 0 && pos >= start && pos <= end;
    }

private:
    // A bit per hash of each bound: most items are no bound, and a bit is cheaper to test than
    // the table.
    void buildFilter()
    {
        m_filterShift = 64 - 6;
        while ((quint64(1) << (64 - m_filterShift)) < quint64(16 * m_index.size()))
            --m_filterShift;
        m_filter.assign((size_t(1) << (64 - m_filterShift)) / 64, 0);
        for (auto it = m_index.cbegin(); it != m_index.cend(); ++it) {
            const quint64 bit = filterBit(it.key());
            m_filter[bit / 64] |= quint64(1) << (bit % 64);
        }
    }
    quint64 filterBit(const DItem* item) const
    {
        return (quint64(quintptr(item)) >> 4) * 0x9e3779b97f4a7c15ULL >> m_filterShift;
    }
    bool mayBound(const DItem* item) const
    {
        const quint64 bit = filterBit(item);
        return m_filter[bit / 64] >> (bit % 64) & 1;
    }

    QHash<const DItem*, int> m_index; // bound items, numbered in the order added
    std::vector<Span> m_spans;
    std::vector<quint64> m_filter;
    int m_filterShift = 58;
    std::vector<std::pair<int, DItem*>> m_wanted;
};

TreeNode* rootOf(const QAReporterData* report)
{
    if (!report || !report->tree)
        return nullptr;
    const QTreeIterator<QAReporterNode>* cursor = report->tree->iterator();
    if (!cursor)
        return nullptr;
    return cursor->parents.empty() ? cursor->node : cursor->parents.front();
}

// Calls `visit` for `top` and every node below it, parents first.
template <class Visit> void forEachNode(TreeNode* top, Visit visit)
{
    std::vector<TreeNode*> pending;
    if (top)
        pending.push_back(top);
    while (!pending.empty()) {
        TreeNode* node = pending.back();
        pending.pop_back();
        visit(node);
        for (auto child = node->children.rbegin(); child != node->children.rend(); ++child)
            pending.push_back(child->get());
    }
}

// The search of searchChildReporterNode(), with `holds(node)` saying whether a section holds
// the item.
template <class Holds> QAReporterNode* searchTree(TreeNode* top, Holds holds)
{
    struct Frame
    {
        TreeNode* node;
        size_t nextChild;
    };
    std::vector<Frame> frames;
    if (top)
        frames.push_back({top, 0});
    QAReporterNode* result = nullptr;
    bool childDone = false;
    while (!frames.empty()) {
        Frame& frame = frames.back();
        if (childDone && result) {
            // A match below: it stands when it has a base, otherwise this node stands for it.
            if (result->base.isEmpty())
                result = frame.node->data;
            frames.pop_back();
            continue;
        }
        childDone = false;
        if (frame.nextChild < frame.node->children.size()) {
            frames.push_back({frame.node->children[frame.nextChild++].get(), 0});
            continue;
        }
        QAReporterNode* own = frame.node->data;
        result = own && holds(*own) ? own : nullptr;
        childDone = true;
        frames.pop_back();
    }
    return result;
}

// Numbers the document that holds `item`, from the top of its parent chain.
void numberAround(Numbering& numbering, DItem* item)
{
    DItem* top = item;
    while (top->parent())
        top = top->parent();
    numbering.run(top, [item](const DItem* candidate) { return candidate == item; });
}

int positionOf(const Numbering& numbering)
{
    return numbering.wanted().empty() ? -1 : numbering.wanted().front().first;
}

} // namespace

QAReporterNode* searchChildReporterNode(TreeNode* treeNode, DItem* item)
{
    if (!treeNode || !item)
        return nullptr;
    Numbering numbering;
    forEachNode(treeNode, [&](TreeNode* node) {
        if (node->data)
            numbering.addBounds(node->data);
    });
    numberAround(numbering, item);
    const int pos = positionOf(numbering);
    return searchTree(treeNode,
                      [&](const QAReporterNode& node) { return numbering.holds(node, item, pos); });
}

QAReporterNode* searchReporterNode(const QList<QAReporterData*>& displayed, DItem* item)
{
    if (!item)
        return nullptr;
    Numbering numbering;
    for (const QAReporterData* report : displayed) {
        forEachNode(rootOf(report), [&](TreeNode* node) {
            if (node->data)
                numbering.addBounds(node->data);
        });
    }
    numberAround(numbering, item);
    const int pos = positionOf(numbering);
    for (const QAReporterData* report : displayed) {
        if (QAReporterNode* found = searchTree(rootOf(report), [&](const QAReporterNode& node) {
                return numbering.holds(node, item, pos);
            }))
            return found;
    }
    return nullptr;
}

QAReporterNodeIndex::QAReporterNodeIndex(const QList<QAReporterData*>& displayed, DItem::Type kind)
{
    for (const QAReporterData* report : displayed) {
        TreeNode* root = rootOf(report);
        if (!root || !report->document)
            continue;
        // Nodes in the order the search tries them (children before parents), and what a match
        // of each one answers: the node itself or the nearest ancestor with a base. A match
        // whose answer passes through a node without data is void there, and the search goes on
        // after it; such rare cases are asked of the search itself.
        struct Entry
        {
            const QAReporterNode* node;
            QAReporterNode* answer;
            bool void_;
            int first = -1; // numbers of the bounds
            int last = -1;
        };
        std::vector<Entry> order;
        {
            struct Frame
            {
                TreeNode* node;
                size_t nextChild;
                QAReporterNode* answer; // what a match here, without base, gives
                bool void_;
            };
            std::vector<Frame> frames{{root, 0, root->data, false}};
            while (!frames.empty()) {
                Frame& frame = frames.back();
                if (frame.nextChild < frame.node->children.size()) {
                    TreeNode* child = frame.node->children[frame.nextChild++].get();
                    QAReporterNode* data = child->data;
                    if (data && !data->base.isEmpty())
                        frames.push_back({child, 0, data, false});
                    else
                        frames.push_back({child, 0, frame.node->data ? frame.answer : nullptr,
                                          frame.void_ || !frame.node->data});
                    continue;
                }
                if (QAReporterNode* data = frame.node->data)
                    order.push_back({data, frame.answer, frame.void_, -1, -1});
                frames.pop_back();
            }
        }

        Numbering numbering;
        numbering.reserve(qsizetype(order.size()));
        for (Entry& entry : order) {
            entry.first = numbering.addBound(entry.node->item);
            entry.last = numbering.addBound(entry.node->endItem);
        }
        numbering.run(report->document.get(),
                      [kind](const DItem* item) { return item->type() == kind; });

        struct Interval
        {
            int start;
            int end;
            int rank;
        };
        std::vector<Interval> intervals;
        QHash<const DItem*, int> boundRank; // a section's own bounds always belong to it
        for (int rank = int(order.size()) - 1; rank >= 0; --rank) {
            const Entry& entry = order[size_t(rank)];
            const QAReporterNode& node = *entry.node;
            int start = 0;
            const int end = numbering.sectionEnd(entry.first, entry.last, &start);
            if (end >= 0)
                intervals.push_back({start, end, rank});
            // Bounds outside the interval (or without one) hold the item all the same.
            if (end < 0 && node.item)
                boundRank.insert(node.item, rank);
            const int last = numbering.span(entry.last).pos;
            if (node.endItem && (end < 0 || last < start || last > end))
                boundRank.insert(node.endItem, rank);
        }
        std::sort(intervals.begin(), intervals.end(),
                  [](const Interval& a, const Interval& b) { return a.start < b.start; });

        m_nodes.reserve(m_nodes.size() + qsizetype(numbering.wanted().size()));
        // One sweep in document order: the open sections, the earliest in search order on top.
        using Open = std::pair<int, int>; // rank, end
        std::priority_queue<Open, std::vector<Open>, std::greater<Open>> open;
        size_t nextInterval = 0;
        for (const auto& [pos, item] : numbering.wanted()) {
            for (; nextInterval < intervals.size() && intervals[nextInterval].start <= pos;
                 ++nextInterval)
                open.push({intervals[nextInterval].rank, intervals[nextInterval].end});
            while (!open.empty() && open.top().second < pos)
                open.pop();
            int rank = open.empty() ? INT_MAX : open.top().first;
            rank = std::min(rank, boundRank.value(item, INT_MAX));
            if (rank == INT_MAX)
                continue;
            const Entry& match = order[size_t(rank)];
            QAReporterNode* answer = match.answer;
            if (match.void_) {
                const DItem* target = item;
                const int at = pos;
                answer = searchTree(root, [&](const QAReporterNode& node) {
                    return numbering.holds(node, target, at);
                });
            }
            if (answer)
                m_nodes.insert(item, answer);
        }
    }
}
