#include "folio/view/dblocks.h"

#include "folio/model/ddocument.h"

#include <algorithm>
#include <cstdint>
#include <functional>
#include <iterator>
#include <utility>

namespace {

// The item after `item` in document order; with `descend`, its first child comes first.
DItem* nextInOrder(const DItem* item, bool descend)
{
    if (descend) {
        if (const DItemContainer* container = item->asContainer();
            container && container->firstChild())
            return container->firstChild();
    }
    while (item && !item->next())
        item = item->parent();
    return item ? item->next() : nullptr;
}

QString tagOf(const DItem* item)
{
    if (const DTag* anchor = dcast<DTag>(item))
        return anchor->name();
    return item->isTagged() ? static_cast<const DTaggedItemContainer*>(item)->tag() : QString();
}

// Characters shown by an inline item and everything inside it.
int inlineLength(const DItem* item)
{
    switch (item->type()) {
    case DItem::Text:
        return static_cast<const DText*>(item)->textUtf8().utf16Size();
    case DItem::TagPointer:
        return static_cast<const DTagPointer*>(item)->targetUtf8().utf16Size();
    case DItem::SEntry:
        return static_cast<const DSEntry*>(item)->textUtf8().utf16Size();
    case DItem::IEntry:
        return static_cast<const DIEntry*>(item)->textUtf8().utf16Size();
    default:
        break;
    }
    int length = 0;
    const DItem* end = nextInOrder(item, false);
    for (const DItem* it = nextInOrder(item, true); it && it != end; it = nextInOrder(it, true)) {
        if (it->type() == DItem::Text)
            length += static_cast<const DText*>(it)->textUtf8().utf16Size();
    }
    return length;
}

int rowTextLength(const DItem* row)
{
    int length = 0;
    for (const DItem* cell = row->asContainer()->firstChild(); cell; cell = cell->next()) {
        if (const DCellText* cellText = dcast<DCellText>(cell))
            length += cellText->textUtf8().utf16Size();
        length += inlineLength(cell);
    }
    return length;
}

} // namespace

bool DBlockList::isInline(int type)
{
    switch (type) {
    case DItem::Text:
    case DItem::Link:
    case DItem::PopupLink:
    case DItem::TagPointer:
    case DItem::Tag:
    case DItem::SEntry:
    case DItem::IEntry:
        return true;
    default:
        return false;
    }
}

struct DBlockList::Builder
{
    struct Frame
    {
        DItem* next;
        DItem* owner; // paragraph or title whose runs the frame collects; null in a section
        const DStyle* style;
        int indent;
        int counter = 0;
        bool list = false;
        bool ordered = false;
        bool entryPerBlock = false; // lists, contents and indexes: each inline child alone
        bool heading = false;
        bool emitted = false;
    };

    Builder(DBlockList& list, int document) : list(list), document(document) {}

    DBlockList& list;
    int document;
    std::vector<Frame> frames;
    DItem* runFirst = nullptr;
    DItem* runLast = nullptr;
    int runLength = 0;
    bool runShows = false; // false while the run holds nothing but invisible anchors
    int pendingMarker = 0;

    void addBlock(DBlock block)
    {
        block.document = document;
        block.marker = pendingMarker;
        pendingMarker = 0;
        const int index = int(list.m_blocks.size());
        if (!frames.empty()) {
            Frame& frame = frames.back();
            if (frame.owner && !frame.emitted)
                list.map(frame.owner, index);
            frame.emitted = true;
        }
        if (block.owner)
            list.map(block.owner, index);
        list.m_blocks.push_back(block);
    }

    void flushRun(bool entry = false)
    {
        if (!runFirst)
            return;
        const Frame& frame = frames.back();
        if (runShows) {
            // Items of a run after the first of its paragraph are found by their own entries.
            if (!frame.owner || frame.emitted) {
                for (DItem* it = runFirst;; it = it->next()) {
                    list.map(it, int(list.m_blocks.size()));
                    if (it == runLast)
                        break;
                }
            }
            DBlock block{DBlock::Text};
            block.flags = (frame.heading ? DBlock::Heading : 0) | (entry ? DBlock::Entry : 0);
            block.indent = frame.indent;
            block.textLength = runLength;
            block.style = frame.style;
            block.first = runFirst;
            block.last = runLast;
            addBlock(block);
        }
        runFirst = runLast = nullptr;
        runLength = 0;
        runShows = false;
    }

    void addInline(DItem* item)
    {
        if (!runFirst)
            runFirst = item;
        runLast = item;
        runLength += inlineLength(item);
        runShows = runShows || item->type() != DItem::Tag;
        if (frames.back().entryPerBlock)
            flushRun(true);
    }

    void pushContainer(DItem* item, DItem* owner)
    {
        const Frame& parent = frames.back();
        Frame frame{item->asContainer()->firstChild(), owner,
                    item->style() ? item->style() : parent.style, parent.indent};
        frame.heading = item->type() == DItem::Title;
        switch (item->type()) {
        case DItem::List:
            frame.list = true;
            frame.ordered = static_cast<DList*>(item)->ordered();
            frame.entryPerBlock = true;
            frame.indent += 28;
            break;
        case DItem::Summary:
        case DItem::Index:
            frame.entryPerBlock = true;
            break;
        case DItem::Popup:
            frame.indent += 16;
            break;
        default:
            break;
        }
        frames.push_back(frame);
    }

    void addTable(DItem* table, const DStyle* style)
    {
        DItem* lastRow = nullptr;
        for (DItem* it = table->asContainer()->firstChild(); it; it = it->next()) {
            if (it->type() == DItem::Row)
                lastRow = it;
        }
        bool firstRow = true;
        for (DItem* it = table->asContainer()->firstChild(); it; it = it->next()) {
            if (it->type() != DItem::Row)
                continue;
            if (firstRow)
                list.map(table, int(list.m_blocks.size()));
            DBlock block{DBlock::Row};
            block.flags = (firstRow ? DBlock::FirstRow : 0) | (it == lastRow ? DBlock::LastRow : 0);
            block.indent = frames.back().indent;
            block.textLength = rowTextLength(it);
            block.style = it->style() ? it->style() : table->style() ? table->style() : style;
            block.owner = it;
            block.first = table;
            addBlock(block);
            firstRow = false;
        }
    }

    void addBlockItem(DItem* item, DBlock::Kind kind)
    {
        DBlock block{kind};
        block.indent = frames.back().indent;
        block.style = item->style() ? item->style() : frames.back().style;
        block.owner = item;
        addBlock(block);
    }

    void run(DDocument* root)
    {
        DBlock start{DBlock::DocumentStart};
        start.owner = root;
        start.style = root->style();
        addBlock(start);
        frames.push_back(Frame{root->firstChild(), nullptr, root->style(), 0});
        while (!frames.empty()) {
            Frame& frame = frames.back();
            DItem* item = frame.next;
            if (!item) {
                flushRun();
                // An empty paragraph still shows as an empty line.
                if (frames.back().owner && !frames.back().emitted) {
                    DBlock empty{DBlock::Text};
                    empty.indent = frames.back().indent;
                    empty.style = frames.back().style;
                    addBlock(empty);
                }
                frames.pop_back();
                continue;
            }
            frame.next = item->next();
            if (frame.list)
                pendingMarker = frame.ordered ? ++frame.counter : -1;
            if (isInline(item->type())) {
                addInline(item);
                continue;
            }
            flushRun();
            switch (item->type()) {
            case DItem::Paragraph:
            case DItem::Title:
                pushContainer(item, item);
                break;
            case DItem::Table:
                addTable(item, frame.style);
                break;
            case DItem::Image:
                addBlockItem(item, DBlock::Image);
                break;
            case DItem::Graphic:
                addBlockItem(item, DBlock::Chart);
                break;
            case DItem::PageBreak:
                addBlockItem(item, DBlock::Rule);
                break;
            case DItem::Axis:
            case DItem::Curve:
            case DItem::Point:
                break; // parts of a chart, meaningless elsewhere
            default:
                if (item->isContainer())
                    pushContainer(item, nullptr);
                break;
            }
        }
    }
};

void DBlockList::clear()
{
    m_blocks.clear();
    m_documents.clear();
    m_itemBlocks.clear();
    m_runEnds.clear();
    m_firstTagged.clear();
    m_tagIndexBuilt = false;
}

void DBlockList::appendDocument(DDocument* document)
{
    if (!document)
        return;
    Builder builder(*this, int(m_documents.size()));
    m_documents.push_back(document);
    const std::size_t from = m_itemBlocks.size();
    builder.run(document);
    sortItemBlocks(from);
    m_firstTagged.clear();
    m_tagIndexBuilt = false;
}

void DBlockList::sortItemBlocks(std::size_t from)
{
    if (from == m_itemBlocks.size())
        return;
    // A stable radix sort of the new entries on the address (items are 8-aligned), 11 bits a
    // pass over the bits the addresses differ in: linear in the number of entries.
    const auto begin = m_itemBlocks.begin() + std::ptrdiff_t(from);
    std::uintptr_t low = UINTPTR_MAX;
    std::uintptr_t high = 0;
    for (auto it = begin; it != m_itemBlocks.end(); ++it) {
        low = std::min(low, std::uintptr_t(it->item));
        high = std::max(high, std::uintptr_t(it->item));
    }
    constexpr int bits = 11;
    constexpr std::size_t buckets = std::size_t(1) << bits;
    std::vector<ItemBlock> sorted(m_itemBlocks.size() - from);
    std::vector<std::size_t> starts(buckets);
    for (int shift = 3; shift < 64 && ((high - low) >> shift) != 0; shift += bits) {
        const auto digit = [low, shift](const ItemBlock& entry) {
            return ((std::uintptr_t(entry.item) - low) >> shift) & (buckets - 1);
        };
        std::fill(starts.begin(), starts.end(), 0);
        for (auto it = begin; it != m_itemBlocks.end(); ++it)
            ++starts[digit(*it)];
        std::size_t sum = 0;
        for (std::size_t& start : starts)
            sum += std::exchange(start, sum);
        for (auto it = begin; it != m_itemBlocks.end(); ++it)
            sorted[starts[digit(*it)]++] = *it;
        std::copy(sorted.begin(), sorted.end(), begin);
    }
    // Merged runs keep the order of equal items: the one mapped last comes last.
    m_runEnds.push_back(m_itemBlocks.size());
    const auto byItem = [](const ItemBlock& a, const ItemBlock& b) {
        return std::less<const DItem*>()(a.item, b.item);
    };
    while (m_runEnds.size() >= 2) {
        const std::size_t last = m_runEnds.size() - 1;
        const std::size_t start = last >= 2 ? m_runEnds[last - 2] : 0;
        const std::size_t middle = m_runEnds[last - 1];
        if (middle - start > m_runEnds[last] - middle)
            break;
        std::inplace_merge(m_itemBlocks.begin() + std::ptrdiff_t(start),
                           m_itemBlocks.begin() + std::ptrdiff_t(middle),
                           m_itemBlocks.begin() + std::ptrdiff_t(m_runEnds[last]), byItem);
        m_runEnds.erase(m_runEnds.end() - 2);
    }
}

int DBlockList::mappedBlock(const DItem* item) const
{
    // Later runs first: of an item mapped twice, the last mapping counts.
    for (std::size_t run = m_runEnds.size(); run-- > 0;) {
        const auto begin = m_itemBlocks.begin() + std::ptrdiff_t(run > 0 ? m_runEnds[run - 1] : 0);
        const auto end = m_itemBlocks.begin() + std::ptrdiff_t(m_runEnds[run]);
        const auto after =
            std::upper_bound(begin, end, item, [](const DItem* value, const ItemBlock& entry) {
                return std::less<const DItem*>()(value, entry.item);
            });
        if (after != begin && std::prev(after)->item == item)
            return std::prev(after)->block;
    }
    return -1;
}

int DBlockList::blockOf(const DItem* item) const
{
    if (!item || m_blocks.empty())
        return -1;
    // The item itself or the first block inside it.
    const DItem* subtreeEnd = nextInOrder(item, false);
    for (const DItem* it = item; it && it != subtreeEnd; it = nextInOrder(it, true)) {
        if (const int block = mappedBlock(it); block >= 0)
            return block;
    }
    // An item inside a block: the block of its nearest owner (a document owns no text).
    const DItem* root = item;
    for (const DItem* it = item->parent(); it; it = it->parent()) {
        root = it;
        if (it->type() == DItem::Document)
            continue;
        if (const int block = mappedBlock(it); block >= 0)
            return block;
    }
    // An item that shows nothing: the first block after it, or the last of its document.
    for (const DItem* it = subtreeEnd; it; it = nextInOrder(it, true)) {
        if (const int block = mappedBlock(it); block >= 0)
            return block;
    }
    const int start = mappedBlock(root);
    if (start < 0 || m_blocks[start].kind != DBlock::DocumentStart)
        return -1;
    const int document = m_blocks[start].document;
    const auto end =
        std::upper_bound(m_blocks.begin(), m_blocks.end(), document,
                         [](int value, const DBlock& block) { return value < block.document; });
    return int(end - m_blocks.begin()) - 1;
}

void DBlockList::buildTagIndex() const
{
    for (int document = 0; document < int(m_documents.size()); ++document) {
        for (DItem* it = m_documents[document]; it; it = nextInOrder(it, true)) {
            const QString tag = tagOf(it);
            if (!tag.isEmpty() && !m_firstTagged.contains(tag))
                m_firstTagged.insert(tag, TagTarget{it, document});
        }
    }
    m_tagIndexBuilt = true;
}

DItem* DBlockList::findTagIn(int document, const QString& tag) const
{
    for (DItem* it = m_documents[document]; it; it = nextInOrder(it, true)) {
        if (tagOf(it) == tag)
            return it;
    }
    return nullptr;
}

DItem* DBlockList::findTag(const QString& document, const QString& tag) const
{
    if (tag.isEmpty())
        return nullptr;
    // Within named documents a walk costs less than the index of every tag, which only lookups
    // across all documents (links) need.
    if (!m_tagIndexBuilt && !document.isEmpty()) {
        for (int index = 0; index < int(m_documents.size()); ++index) {
            if (m_documents[index]->tag() == document) {
                if (DItem* found = findTagIn(index, tag))
                    return found;
            }
        }
        return nullptr;
    }
    if (!m_tagIndexBuilt)
        buildTagIndex();
    const auto first = m_firstTagged.constFind(tag);
    if (document.isEmpty())
        return first == m_firstTagged.cend() ? nullptr : first->item;
    if (first != m_firstTagged.cend() && m_documents[first->document]->tag() == document)
        return first->item;
    for (int index = 0; index < int(m_documents.size()); ++index) {
        if (m_documents[index]->tag() == document) {
            if (DItem* found = findTagIn(index, tag))
                return found;
        }
    }
    return nullptr;
}
