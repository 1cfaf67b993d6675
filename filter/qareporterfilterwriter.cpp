#include "filter/qareporterfilterwriter.h"

#include "filter/qareporternodevalidator.h"
#include "folio/model/ddocument.h"
#include "folio/model/dlink.h"
#include "model/qareporterdatatree.h"

#include <climits>

namespace {

// A node that no document item followed: it has no section to begin or end.
bool isSectionless(const QAReporterNode* node)
{
    return !node->item && !node->endItem;
}

} // namespace

void QAReporterFilterWriter::DroppedIndex::build(const std::vector<const QAReporterNode*>& dropped)
{
    std::size_t size = 16;
    while (size < 2 * dropped.size())
        size *= 2;
    m_slots.assign(size, Slot());
    m_mask = size - 1;
    m_present.assign(size * 4 / 64, 0);
    m_presentMask = size * 4 - 1;
    for (const QAReporterNode* node : dropped) {
        const std::uint64_t h = hash(node->item);
        const std::size_t bit = std::size_t(h) & m_presentMask;
        m_present[bit / 64] |= std::uint64_t(1) << (bit % 64);
        for (std::size_t i = std::size_t(h >> 32) & m_mask;; i = (i + 1) & m_mask) {
            Slot& slot = m_slots[i];
            if (!slot.item) {
                slot = {node->item, node};
                break;
            }
            if (slot.item == node->item)
                break; // an earlier node begins here: it stays
        }
    }
}

const QAReporterNode* QAReporterFilterWriter::DroppedIndex::find(const DItem* item) const
{
    if (m_slots.empty())
        return nullptr;
    const std::uint64_t h = hash(item);
    const std::size_t bit = std::size_t(h) & m_presentMask;
    if (!(m_present[bit / 64] & (std::uint64_t(1) << (bit % 64))))
        return nullptr;
    for (std::size_t i = std::size_t(h >> 32) & m_mask;; i = (i + 1) & m_mask) {
        const Slot& slot = m_slots[i];
        if (slot.item == item)
            return slot.node;
        if (!slot.item)
            return nullptr;
    }
}

// The table's slot comes from the upper half, the bit set's bit from the lower half.
std::uint64_t QAReporterFilterWriter::DroppedIndex::hash(const DItem* item)
{
    std::uint64_t h = std::uint64_t(reinterpret_cast<std::uintptr_t>(item)) * 0x9e3779b97f4a7c15ull;
    return h ^ (h >> 29);
}

QAReporterFilterWriter::QAReporterFilterWriter(const QAReporterNodeValidator* validator)
    : m_validator(validator)
{
}

QAReporterFilterWriter::~QAReporterFilterWriter() = default;

std::unique_ptr<QAReporterDataTree> QAReporterFilterWriter::takeNewTree()
{
    return std::move(m_newTree);
}

std::unique_ptr<DDocument> QAReporterFilterWriter::takeNewDocument()
{
    return std::move(m_newDocument);
}

void QAReporterFilterWriter::startWriter(QAReporterDataTree* tree, DDocument* document)
{
    if (!buildNewTree(tree))
        return;
    m_newTree->toRoot();
    m_cursor = std::make_unique<QTreeIterator<QAReporterNode>>(*m_newTree->iterator());
    if (document)
        doItem(document);
}

bool QAReporterFilterWriter::buildNewTree(QAReporterDataTree* tree)
{
    m_newTree.reset();
    if (!m_validator || !tree)
        return false;
    QAReporterNode* root = tree->toRoot();
    m_skippedNode = root;
    if (!root || m_validator->isValid(*root) != QAReporterNodeValidator::allAccepted)
        return false;
    m_newTree = std::make_unique<QAReporterDataTree>(new QAReporterNode(*root));

    // The new tree's cursor follows the source walk, standing on the parent of the next node to
    // add. A step down into a node that added no child here cannot be followed; the debt
    // remembers how many matching steps up must then be skipped. The first step from the root
    // always finds no child, hence the start at -1.
    int depthDebt = -1;
    int droppedDepth = INT_MAX; // the depth of the dropped node the walk is in, if any
    std::vector<const QAReporterNode*> dropped; // in walk order, with a first item
    const auto replayUp = [&] {
        if (depthDebt <= 0)
            m_newTree->up();
        else
            --depthDebt;
    };
    while (QAReporterNode* node = tree->next(QAReporterDataTree::Forward)) {
        const QList<IterateDirection>& moves = tree->directions();
        for (qsizetype i = 0; i + 1 < moves.size(); ++i) {
            switch (moves[i]) {
            case DirDown:
                m_newTree->lastChild();
                break;
            case DirNext:
                m_newTree->next(QAReporterDataTree::Forward);
                break;
            case DirUp:
                replayUp();
                break;
            case DirNone:
            case DirPrev:
                break;
            }
        }
        if (!moves.isEmpty()) {
            if (moves.last() == DirUp)
                replayUp();
            else if (moves.last() == DirDown && !m_newTree->lastChild())
                ++depthDebt;
        }

        // A node below a dropped one is dropped with it: the walk is inside that subtree
        // while it stays deeper than the dropped node.
        const int depth = tree->iterator()->depth();
        if (depth <= droppedDepth)
            droppedDepth = INT_MAX;
        if (depth > droppedDepth ||
            m_validator->isValid(*node) != QAReporterNodeValidator::allAccepted) {
            droppedDepth = qMin(droppedDepth, depth);
            if (node->item)
                dropped.push_back(node);
        } else {
            m_newTree->addChild(new QAReporterNode(*node), -1, nullptr);
        }
    }
    m_droppedByFirstItem.build(dropped);
    return true;
}

bool QAReporterFilterWriter::isValidDitem(DItem* item)
{
    if (!m_skipping) {
        const QAReporterNode* dropped = m_droppedByFirstItem.find(item);
        if (!dropped)
            return true;
        if (dropped->endItem != item) {
            m_skippedNode = dropped;
            m_skipping = item;
        }
        return false;
    }
    m_skipping = item == m_skippedNode->endItem ? nullptr : item;
    return false;
}

bool QAReporterFilterWriter::leaveSectionless()
{
    for (;;) {
        if (m_cursor->toNext())
            return true;
        if (!m_cursor->toParent())
            return false;
        if (!isSectionless(m_cursor->current()))
            return true; // an ancestor whose section still has to end
    }
}

bool QAReporterFilterWriter::isReftoBegin(const DItem* item, QString&, DItem* copy)
{
    if (!m_cursor || !m_cursor->current())
        return false;
    while (!m_cursor->current()->item) {
        if (m_cursor->toFirstChild())
            continue;
        if (!isSectionless(m_cursor->current()) || !leaveSectionless())
            return false;
    }
    QAReporterNode* begun = m_cursor->current();
    if (begun->item != item)
        return false;
    // Nodes that share the first item begin here too; the cursor stops on the next node
    // whose section has not begun.
    while (m_cursor->toFirstChild()) {
        QAReporterNode* child = m_cursor->current();
        if (!child->item)
            continue;
        if (child->item != item)
            break;
        child->item = copy;
    }
    begun->item = copy;
    return true;
}

bool QAReporterFilterWriter::isReftoEnd(const DItem* item, QString&, DItem* copy)
{
    if (!m_cursor || !m_cursor->current())
        return false;
    while (isSectionless(m_cursor->current())) {
        if (!leaveSectionless())
            return false;
    }
    QAReporterNode* node = m_cursor->current();
    if (!node->endItem || node->endItem != item)
        return false;
    node->endItem = copy;
    // A parent whose last child ends here ends here too.
    for (;;) {
        if (m_cursor->toNext() || !m_cursor->toParent())
            return true;
        m_cursor->current()->endItem = copy;
    }
}

void QAReporterFilterWriter::append(DItemPtr item)
{
    DItem* linked = item.get();
    if (m_lastCopied)
        m_lastCopied->setNext(std::move(item));
    else
        m_containers.back()->setFirstChild(std::move(item));
    m_lastCopied = linked;
}

void QAReporterFilterWriter::linkCopy(DItemPtr copy, bool tagBefore,
                                      const QString& tag)
{
    DItemContainer* container = m_containers.back();
    if (tagBefore) {
        auto tagItem = std::make_unique<DTag>(tag);
        tagItem->setParent(container);
        append(std::move(tagItem));
    }
    copy->setParent(container);
    append(std::move(copy));
}

void QAReporterFilterWriter::doInvalide(DItem* item)
{
    QString tag;
    isReftoBegin(item, tag, m_lastCopied);
    isReftoEnd(item, tag, m_lastCopied);
}

void QAReporterFilterWriter::doContainer(DItem* item)
{
    if (!item)
        return;
    if (!isValidDitem(item)) {
        doInvalide(item);
        return;
    }
    if (m_containers.empty())
        return; // only the document stands at the top
    doValide(item->asContainer(), item->copy());
}

void QAReporterFilterWriter::doValide(DItemContainer* item, DItemPtr copy)
{
    DItemContainer* copied = copy->asContainer();
    QString tag;
    const bool begins = isReftoBegin(item, tag, copied);
    linkCopy(std::move(copy), begins, tag);
    m_containers.push_back(copied);
    m_lastCopied = nullptr;
    doItemChildren(item);
}

namespace {
QString enclosingTag(DItem* item, DItem::Type kind)
{
    for (DItemContainer* around = item ? item->parent() : nullptr; around;
         around = around->parent()) {
        if (around->type() == kind)
            return static_cast<DTaggedItemContainer*>(around)->tag();
    }
    return QStringLiteral("");
}
} // namespace

QString QAReporterFilterWriter::getTagDocument(DItem* item)
{
    return enclosingTag(item, DItem::Document);
}

QString QAReporterFilterWriter::getTagSection(DItem* item)
{
    return enclosingTag(item, DItem::Section);
}

void QAReporterFilterWriter::doneChildren(DItemContainer* container)
{
    DItemContainer* copied = m_containers.back();
    m_containers.pop_back();
    if (container->type() == DItem::Document)
        return;
    m_lastCopied = copied;
    QString tag;
    isReftoEnd(container, tag, copied);
}

void QAReporterFilterWriter::doLeaf(DItem* item, bool tagAllowed)
{
    if (!isValidDitem(item)) {
        doInvalide(item);
        return;
    }
    if (m_containers.empty())
        return;
    DItemPtr copy = item->copy();
    DItem* copied = copy.get();
    QString tag;
    const bool begins = isReftoBegin(item, tag, copied);
    linkCopy(std::move(copy), begins && tagAllowed, tag);
    isReftoEnd(item, tag, copied);
}

void QAReporterFilterWriter::doDocument(DItem* item)
{
    const DDocument* document = dcast<DDocument>(item);
    if (!document || !m_cursor || !isValidDitem(item))
        return;
    std::unique_ptr<DDocument> copy = document->copyDocument();
    QAReporterNode* root = m_cursor->current();
    QString tag;
    isReftoBegin(item, tag, copy.get());
    root->tag = document->tag();
    m_newDocument = std::move(copy);
    m_containers.push_back(m_newDocument.get());
    m_lastCopied = nullptr;
    doItemChildren(item->asContainer());
}

void QAReporterFilterWriter::doSection(DItem* item)
{
    doContainer(dcast<DSection>(item));
}
void QAReporterFilterWriter::doTitle(DItem* item)
{
    doContainer(dcast<DTitle>(item));
}
void QAReporterFilterWriter::doHeader(DItem* item)
{
    doContainer(dcast<DHeader>(item));
}
void QAReporterFilterWriter::doFooter(DItem* item)
{
    doContainer(dcast<DFooter>(item));
}
void QAReporterFilterWriter::doPageBreak(DItem* item)
{
    if (dcast<DPageBreak>(item))
        doLeaf(item, true);
}
void QAReporterFilterWriter::doParagraph(DItem* item)
{
    doContainer(dcast<DParagraph>(item));
}
void QAReporterFilterWriter::doText(DItem* item)
{
    if (dcast<DText>(item))
        doLeaf(item, true);
}
void QAReporterFilterWriter::doImage(DItem* item)
{
    if (dcast<DImage>(item))
        doLeaf(item, true);
}
void QAReporterFilterWriter::doList(DItem* item)
{
    doContainer(dcast<DList>(item));
}
void QAReporterFilterWriter::doLink(DItem* item)
{
    doContainer(dcast<DLink>(item));
}
void QAReporterFilterWriter::doTag(DItem* item)
{
    if (dcast<DTag>(item))
        doLeaf(item, true);
}
void QAReporterFilterWriter::doTable(DItem* item)
{
    doContainer(dcast<DTable>(item));
}
void QAReporterFilterWriter::doRow(DItem* item)
{
    doContainer(dcast<DRow>(item));
}
void QAReporterFilterWriter::doCell(DItem* item)
{
    doContainer(dcast<DCell>(item));
}
void QAReporterFilterWriter::doCellText(DItem* item)
{
    doContainer(dcast<DCellText>(item));
}
void QAReporterFilterWriter::doTagPointer(DItem* item)
{
    if (dcast<DTagPointer>(item))
        doLeaf(item, true);
}
void QAReporterFilterWriter::doPopupLink(DItem* item)
{
    doContainer(dcast<DPopupLink>(item));
}
void QAReporterFilterWriter::doPopup(DItem* item)
{
    doContainer(dcast<DPopup>(item));
}
void QAReporterFilterWriter::doSummary(DItem* item)
{
    doContainer(dcast<DSummary>(item));
}
void QAReporterFilterWriter::doSEntry(DItem* item)
{
    if (dcast<DSEntry>(item))
        doLeaf(item, true);
}
void QAReporterFilterWriter::doIndex(DItem* item)
{
    doContainer(dcast<DIndex>(item));
}
void QAReporterFilterWriter::doIEntry(DItem* item)
{
    if (dcast<DIEntry>(item))
        doLeaf(item, true);
}
void QAReporterFilterWriter::doGraphic(DItem* item)
{
    doContainer(dcast<DGraphic>(item));
}
void QAReporterFilterWriter::doAxis(DItem* item)
{
    if (dcast<DAxis>(item))
        doLeaf(item, false);
}
void QAReporterFilterWriter::doCurve(DItem* item)
{
    doContainer(dcast<DCurve>(item));
}
void QAReporterFilterWriter::doPoint(DItem* item)
{
    if (dcast<DPoint>(item))
        doLeaf(item, true);
}
void QAReporterFilterWriter::do___(DItem*) {}
