#pragma once

#include "folio/model/ditem.h"
#include "folio/model/diterator.h"
#include "model/qtree.h"

#include <QString>
#include <cstdint>
#include <memory>
#include <vector>

class DDocument;
class QAReporterDataTree;
class QAReporterNode;
class QAReporterNodeValidator;

// Makes the filtered copy of one report: a result tree of the nodes the validator accepts, and a
// document without the sections of the rejected nodes. The writer walks the source document,
// copies what it keeps and skips what it drops, while a cursor over the new tree follows the walk
// so that every kept node points at the copies of the first and last items of its section. Every
// kept node section begins with an empty tag item.
class QAReporterFilterWriter : public DIterator
{
public:
    explicit QAReporterFilterWriter(const QAReporterNodeValidator* validator);
    ~QAReporterFilterWriter() override;

    void setReportName(const QString& name) { m_reportName = name; }
    const QString& reportName() const { return m_reportName; }

    // Builds the new tree, then the new document. Without a root that passes, builds nothing.
    void startWriter(QAReporterDataTree* tree, DDocument* document);
    std::unique_ptr<QAReporterDataTree> takeNewTree();
    std::unique_ptr<DDocument> takeNewDocument();

    // Copies the accepted nodes of `tree` into the new tree, replaying the source walk, and
    // collects the dropped ones.
    bool buildNewTree(QAReporterDataTree* tree);
    // False when `item` lies in the section of a dropped node.
    bool isValidDitem(DItem* item);
    // Redirect the first (or last) item of the next node of the new tree from `item` to `copy`,
    // moving the cursor along; true when a node section begins (or ends) at `item`. `tag` is
    // left as given: it names the tag item put before a node's section.
    bool isReftoBegin(const DItem* item, QString& tag, DItem* copy);
    bool isReftoEnd(const DItem* item, QString& tag, DItem* copy);
    // Links `copy`, the copy of the kept container `item`, and copies its children into it.
    void doValide(DItemContainer* item, DItemPtr copy);
    // The tag of the nearest document (section) around `item`, from its parent upwards; empty
    // when there is none.
    static QString getTagDocument(DItem* item);
    static QString getTagSection(DItem* item);

    void doDocument(DItem* item) override;
    void doSection(DItem* item) override;
    void doTitle(DItem* item) override;
    void doHeader(DItem* item) override;
    void doFooter(DItem* item) override;
    void doPageBreak(DItem* item) override;
    void doParagraph(DItem* item) override;
    void doText(DItem* item) override;
    void doImage(DItem* item) override;
    void doList(DItem* item) override;
    void doLink(DItem* item) override;
    void doTag(DItem* item) override;
    void doTable(DItem* item) override;
    void doRow(DItem* item) override;
    void doCell(DItem* item) override;
    void doCellText(DItem* item) override;
    void doTagPointer(DItem* item) override;
    void doPopupLink(DItem* item) override;
    void doPopup(DItem* item) override;
    void doSummary(DItem* item) override;
    void doSEntry(DItem* item) override;
    void doIndex(DItem* item) override;
    void doIEntry(DItem* item) override;
    void doGraphic(DItem* item) override;
    void doAxis(DItem* item) override;
    void doCurve(DItem* item) override;
    void doPoint(DItem* item) override;
    void do___(DItem* item) override;

protected:
    void doneChildren(DItemContainer* container) override;

private:
    void doContainer(DItem* item);
    void doLeaf(DItem* item, bool tagAllowed);
    void doInvalide(DItem* item);
    // Links `copy` after the last item copied, behind a tag named `tag` when `tagBefore`.
    void linkCopy(DItemPtr copy, bool tagBefore, const QString& tag);
    void append(DItemPtr item);
    bool leaveSectionless();

    // The first dropped node whose section begins at each item: an open-addressing table sized
    // once for all dropped nodes, so that filling it never rehashes and a lookup is one probe
    // in most cases. Most items looked up begin no dropped section: a bit set small enough to
    // stay in the processor's cache turns most of them away before the table is read.
    class DroppedIndex
    {
    public:
        void build(const std::vector<const QAReporterNode*>& dropped);
        const QAReporterNode* find(const DItem* item) const;

    private:
        static std::uint64_t hash(const DItem* item);

        struct Slot
        {
            const DItem* item = nullptr;
            const QAReporterNode* node = nullptr;
        };
        std::vector<Slot> m_slots;
        std::size_t m_mask = 0;
        std::vector<std::uint64_t> m_present; // one bit per hash value, eight per dropped node
        std::size_t m_presentMask = 0;
    };

    const QAReporterNodeValidator* m_validator;
    DroppedIndex m_droppedByFirstItem;
    std::unique_ptr<QAReporterDataTree> m_newTree;
    std::unique_ptr<DDocument> m_newDocument;
    // Copied containers whose children are being copied, innermost last.
    std::vector<DItemContainer*> m_containers;
    DItem* m_lastCopied = nullptr;
    const DItem* m_skipping = nullptr;
    const QAReporterNode* m_skippedNode = nullptr;
    QString m_reportName;
    std::unique_ptr<QTreeIterator<QAReporterNode>> m_cursor;
};
