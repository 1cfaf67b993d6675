#include "folio/model/diterator.h"

#include "folio/model/ddocument.h"

DIterator::DIterator() = default;
DIterator::~DIterator() = default;

void DIterator::doAll(DDocument* document)
{
    if (document)
        doItemList(document);
}

void DIterator::doItemList(DItem* first)
{
    schedule(first, nullptr);
}

void DIterator::doItemChildren(DItemContainer* container)
{
    if (container)
        schedule(container->firstChild(), container);
}

void DIterator::schedule(DItem* first, DItemContainer* container)
{
    m_frames.push_back({first, container});
    if (m_walking)
        return; // the running walk takes it from here
    m_walking = true;
    run();
    m_walking = false;
}

void DIterator::run()
{
    while (!m_frames.empty()) {
        Frame& frame = m_frames.back();
        if (!frame.next) {
            DItemContainer* finished = frame.container;
            m_frames.pop_back();
            if (finished)
                doneChildren(finished);
            continue;
        }
        DItem* item = frame.next;
        frame.next = item->next(); // before the visit, which may push frames
        doItem(item);
    }
}

void DIterator::doItem(DItem* item)
{
    if (!item)
        return;
    switch (item->type()) {
    case DItem::Document:
        return doDocument(item);
    case DItem::Section:
        return doSection(item);
    case DItem::Title:
        return doTitle(item);
    case DItem::Header:
        return doHeader(item);
    case DItem::Footer:
        return doFooter(item);
    case DItem::PageBreak:
        return doPageBreak(item);
    case DItem::Paragraph:
        return doParagraph(item);
    case DItem::Text:
        return doText(item);
    case DItem::Image:
        return doImage(item);
    case DItem::List:
        return doList(item);
    case DItem::Link:
        return doLink(item);
    case DItem::Tag:
        return doTag(item);
    case DItem::Table:
        return doTable(item);
    case DItem::Row:
        return doRow(item);
    case DItem::Cell:
        return doCell(item);
    case DItem::CellText:
        return doCellText(item);
    case DItem::TagPointer:
        return doTagPointer(item);
    case DItem::PopupLink:
        return doPopupLink(item);
    case DItem::Popup:
        return doPopup(item);
    case DItem::Summary:
        return doSummary(item);
    case DItem::SEntry:
        return doSEntry(item);
    case DItem::Index:
        return doIndex(item);
    case DItem::IEntry:
        return doIEntry(item);
    case DItem::Graphic:
        return doGraphic(item);
    case DItem::Axis:
        return doAxis(item);
    case DItem::Curve:
        return doCurve(item);
    case DItem::Point:
        return doPoint(item);
    case DItem::TypeCount:
        break;
    }
    do___(item);
}

void DIterator::walkChildren(DItem* item)
{
    doItemChildren(item->asContainer());
}

void DIterator::doneChildren(DItemContainer*) {}

void DIterator::doDocument(DItem* item)
{
    walkChildren(item);
}
void DIterator::doSection(DItem* item)
{
    walkChildren(item);
}
void DIterator::doTitle(DItem* item)
{
    walkChildren(item);
}
void DIterator::doHeader(DItem* item)
{
    walkChildren(item);
}
void DIterator::doFooter(DItem* item)
{
    walkChildren(item);
}
void DIterator::doPageBreak(DItem*) {}
void DIterator::doParagraph(DItem* item)
{
    walkChildren(item);
}
void DIterator::doText(DItem*) {}
void DIterator::doImage(DItem*) {}
void DIterator::doList(DItem* item)
{
    walkChildren(item);
}
void DIterator::doLink(DItem* item)
{
    walkChildren(item);
}
void DIterator::doTag(DItem*) {}
void DIterator::doTable(DItem* item)
{
    walkChildren(item);
}
void DIterator::doRow(DItem* item)
{
    walkChildren(item);
}
void DIterator::doCell(DItem* item)
{
    walkChildren(item);
}
void DIterator::doCellText(DItem* item)
{
    walkChildren(item);
}
void DIterator::doTagPointer(DItem*) {}
void DIterator::doPopupLink(DItem* item)
{
    walkChildren(item);
}
void DIterator::doPopup(DItem* item)
{
    walkChildren(item);
}
void DIterator::doSummary(DItem* item)
{
    walkChildren(item);
}
void DIterator::doSEntry(DItem*) {}
void DIterator::doIndex(DItem* item)
{
    walkChildren(item);
}
void DIterator::doIEntry(DItem*) {}
void DIterator::doGraphic(DItem* item)
{
    walkChildren(item);
}
void DIterator::doAxis(DItem*) {}
void DIterator::doCurve(DItem* item)
{
    walkChildren(item);
}
void DIterator::doPoint(DItem*) {}
void DIterator::do___(DItem*) {}
