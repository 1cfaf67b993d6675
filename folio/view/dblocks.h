#pragma once

#include <QHash>
#include <QString>
#include <cstddef>
#include <vector>

class DDocument;
class DItem;
class DStyle;

// One vertical unit of a shown document: a paragraph-like run of inline items, a table row, an
// image, a chart, a page break or the start of a document. Blocks are laid out one by one.
struct DBlock
{
    enum Kind : quint8
    {
        DocumentStart,
        Text,
        Row,
        Image,
        Chart,
        Rule
    };
    enum Flag : quint8
    {
        Heading = 1,  // a title: more space around it
        FirstRow = 2, // first row of its table
        LastRow = 4,  // last row of its table
        Entry = 8     // one entry of a list, a contents table or an index
    };

    Kind kind;
    quint8 flags = 0;
    int document = 0;
    int indent = 0;                // pixels, from the nesting of lists and popups
    int marker = 0;                // list marker: 0 none, -1 bullet, n > 0 the number n
    int textLength = 0;            // characters, to estimate the height before layout
    const DStyle* style = nullptr; // the style inherited by the block's text
    DItem* owner = nullptr;        // paragraph, title, row, image, chart, page break or document
    DItem* first = nullptr;        // Text: first inline item of the run; Row: the table
    DItem* last = nullptr;         // Text: last inline item of the run (a sibling of `first`)
};

// The blocks of a sequence of documents, built in one iterative pass per document, and the
// look-ups from items and tags to blocks.
class DBlockList
{
public:
    void clear();
    void appendDocument(DDocument* document);

    const std::vector<DBlock>& blocks() const { return m_blocks; }
    const std::vector<DDocument*>& documents() const { return m_documents; }

    // The block that shows `item`, or that comes first after it when it shows nothing; -1 when
    // the item is not in the shown documents or nothing follows it.
    int blockOf(const DItem* item) const;
    // The first item tagged `tag`, in the documents tagged `document` when that is not empty.
    DItem* findTag(const QString& document, const QString& tag) const;

    // Whether items of this kind flow inside a line of text.
    static bool isInline(int type);

private:
    struct Builder;
    struct TagTarget
    {
        DItem* item;
        int document;
    };
    void buildTagIndex() const;
    DItem* findTagIn(int document, const QString& tag) const;

    struct ItemBlock
    {
        const DItem* item;
        int block;
    };
    void map(const DItem* item, int block) { m_itemBlocks.push_back({item, block}); }
    void sortItemBlocks(std::size_t from);
    int mappedBlock(const DItem* item) const;

    std::vector<DBlock> m_blocks;
    std::vector<DDocument*> m_documents;
    // The block of each item that blocks are found by, in runs sorted by address, which costs
    // less to build than a hash of every entry. Each document adds a run; runs are merged while
    // the last is as long as the one before, so that there are O(log n) of them.
    std::vector<ItemBlock> m_itemBlocks;
    std::vector<std::size_t> m_runEnds;
    // Built on the first tag look-up: each tag's first item and the document holding it.
    mutable QHash<QString, TagTarget> m_firstTagged;
    mutable bool m_tagIndexBuilt = false;
};
