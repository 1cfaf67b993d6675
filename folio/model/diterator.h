#pragma once

#include <vector>

class DDocument;
class DItem;
class DItemContainer;

// Walks a document and calls one do… operation per item kind. The walk keeps its own stack, so
// a document nested arbitrarily deep never deepens the call stack: doItemChildren() and
// doItemList() called during a walk only schedule the items, which the walk then visits before
// going on with the siblings of the current item; doneChildren() reports the end of a container
// that doItemChildren() scheduled. By default every container's children are walked.
class DIterator
{
public:
    DIterator();
    virtual ~DIterator();
    DIterator(const DIterator&) = delete;
    DIterator& operator=(const DIterator&) = delete;

    // Walks the whole document.
    virtual void doAll(DDocument* document);
    // Calls the do… operation of the item's kind.
    virtual void doItem(DItem* item);
    // Walks `first` and the siblings after it.
    virtual void doItemList(DItem* first);
    // Walks the children of `container`, then calls doneChildren(container).
    virtual void doItemChildren(DItemContainer* container);

    virtual void doDocument(DItem* item);
    virtual void doSection(DItem* item);
    virtual void doTitle(DItem* item);
    virtual void doHeader(DItem* item);
    virtual void doFooter(DItem* item);
    virtual void doPageBreak(DItem* item);
    virtual void doParagraph(DItem* item);
    virtual void doText(DItem* item);
    virtual void doImage(DItem* item);
    virtual void doList(DItem* item);
    virtual void doLink(DItem* item);
    virtual void doTag(DItem* item);
    virtual void doTable(DItem* item);
    virtual void doRow(DItem* item);
    virtual void doCell(DItem* item);
    virtual void doCellText(DItem* item);
    virtual void doTagPointer(DItem* item);
    virtual void doPopupLink(DItem* item);
    virtual void doPopup(DItem* item);
    virtual void doSummary(DItem* item);
    virtual void doSEntry(DItem* item);
    virtual void doIndex(DItem* item);
    virtual void doIEntry(DItem* item);
    virtual void doGraphic(DItem* item);
    virtual void doAxis(DItem* item);
    virtual void doCurve(DItem* item);
    virtual void doPoint(DItem* item);
    // An item of a kind this walker does not know.
    virtual void do___(DItem* item);

protected:
    // All children of `container` scheduled by doItemChildren() have been walked.
    virtual void doneChildren(DItemContainer* container);
    // The default for containers: walk the children.
    void walkChildren(DItem* item);

private:
    struct Frame
    {
        DItem* next;
        DItemContainer* container; // null for a list given to doItemList()
    };
    void schedule(DItem* first, DItemContainer* container);
    void run();

    std::vector<Frame> m_frames;
    bool m_walking = false;
};
