#include "folio/model/ditem.h"

#include "folio/model/ddocument.h"
#include "folio/model/ditems.h"
#include "folio/model/dlink.h"

#include <vector>

namespace {

struct KindInfo
{
    const char* element;
    bool container;
    bool tagged;
};

const KindInfo kinds[DItem::TypeCount] = {
    {"DOCUMENT", true, true},   {"SECTION", true, true},      {"TITLE", true, true},
    {"HEADER", true, false},    {"FOOTER", true, false},      {"PAGEBREAK", false, false},
    {"PARAGRAPH", true, false}, {"TEXT", false, false},       {"IMAGE", false, false},
    {"LIST", true, false},      {"LINK", true, true},         {"TAG", false, false},
    {"TABLE", true, false},     {"ROW", true, false},         {"CELL", true, false},
    {"CELLTEXT", true, false},  {"TAGPOINTER", false, false}, {"POPUPLINK", true, true},
    {"POPUP", true, true},      {"SUMMARY", true, true},      {"SENTRY", false, false},
    {"INDEX", true, true},      {"IENTRY", false, false},     {"GRAPHIC", true, true},
    {"CURVE", true, false},     {"AXIS", false, false},       {"POINT", false, false},
};

// Calls `act` with a null pointer of the concrete class of `type`.
template <class Act> auto withKind(DItem::Type type, Act&& act)
{
    switch (type) {
    case DItem::Document:
        return act(static_cast<DDocument*>(nullptr));
    case DItem::Section:
        return act(static_cast<DSection*>(nullptr));
    case DItem::Title:
        return act(static_cast<DTitle*>(nullptr));
    case DItem::Header:
        return act(static_cast<DHeader*>(nullptr));
    case DItem::Footer:
        return act(static_cast<DFooter*>(nullptr));
    case DItem::PageBreak:
        return act(static_cast<DPageBreak*>(nullptr));
    case DItem::Paragraph:
        return act(static_cast<DParagraph*>(nullptr));
    case DItem::Text:
        return act(static_cast<DText*>(nullptr));
    case DItem::Image:
        return act(static_cast<DImage*>(nullptr));
    case DItem::List:
        return act(static_cast<DList*>(nullptr));
    case DItem::Link:
        return act(static_cast<DLink*>(nullptr));
    case DItem::Tag:
        return act(static_cast<DTag*>(nullptr));
    case DItem::Table:
        return act(static_cast<DTable*>(nullptr));
    case DItem::Row:
        return act(static_cast<DRow*>(nullptr));
    case DItem::Cell:
        return act(static_cast<DCell*>(nullptr));
    case DItem::CellText:
        return act(static_cast<DCellText*>(nullptr));
    case DItem::TagPointer:
        return act(static_cast<DTagPointer*>(nullptr));
    case DItem::PopupLink:
        return act(static_cast<DPopupLink*>(nullptr));
    case DItem::Popup:
        return act(static_cast<DPopup*>(nullptr));
    case DItem::Summary:
        return act(static_cast<DSummary*>(nullptr));
    case DItem::SEntry:
        return act(static_cast<DSEntry*>(nullptr));
    case DItem::Index:
        return act(static_cast<DIndex*>(nullptr));
    case DItem::IEntry:
        return act(static_cast<DIEntry*>(nullptr));
    case DItem::Graphic:
        return act(static_cast<DGraphic*>(nullptr));
    case DItem::Curve:
        return act(static_cast<DCurve*>(nullptr));
    case DItem::Axis:
        return act(static_cast<DAxis*>(nullptr));
    case DItem::Point:
    case DItem::TypeCount:
        break;
    }
    return act(static_cast<DPoint*>(nullptr));
}

} // namespace

void DItemDeleter::operator()(DItem* item) const
{
    if (item)
        withKind(item->m_type, [item](auto* kind) { delete static_cast<decltype(kind)>(item); });
}

DItemPtr DItem::copy() const
{
    return withKind(m_type, [this](auto* kind) -> DItemPtr {
        using Kind = std::remove_pointer_t<decltype(kind)>;
        return std::make_unique<Kind>(static_cast<const Kind&>(*this));
    });
}

const char* strItemType(DItem::Type type)
{
    return type < DItem::TypeCount ? kinds[type].element : "UNKNOWN";
}

bool DItem::isContainerType(Type type)
{
    return type < TypeCount && kinds[type].container;
}

bool DItem::isTaggedType(Type type)
{
    return type < TypeCount && kinds[type].tagged;
}

DItem::~DItem()
{
    destroyChain(std::move(m_next));
}

void DItem::setNext(DItemPtr item)
{
    destroyChain(std::move(m_next));
    m_next = std::move(item);
}

DItemPtr DItem::takeNext()
{
    return std::move(m_next);
}

void DItem::destroyChain(DItemPtr first)
{
    if (!first)
        return;
    // Every item is unlinked from its sibling and children before it is deleted, so each
    // destructor finds nothing left to destroy and the depth of the call stack stays constant.
    std::vector<DItemPtr> pending;
    pending.push_back(std::move(first));
    while (!pending.empty()) {
        DItemPtr item = std::move(pending.back());
        pending.pop_back();
        if (item->m_next)
            pending.push_back(std::move(item->m_next));
        if (DItemContainer* container = item->asContainer(); container && container->m_firstChild)
            pending.push_back(std::move(container->m_firstChild));
    }
}

DItemContainer::~DItemContainer()
{
    destroyChain(std::move(m_firstChild));
}

void DItemContainer::setFirstChild(DItemPtr item)
{
    destroyChain(std::move(m_firstChild));
    m_firstChild = std::move(item);
}

DItemPtr DItemContainer::takeFirstChild()
{
    return std::move(m_firstChild);
}
