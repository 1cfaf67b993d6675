#include "folio/model/ditem.h"

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

} // namespace

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

void DItem::setNext(std::unique_ptr<DItem> item)
{
    destroyChain(std::move(m_next));
    m_next = std::move(item);
}

std::unique_ptr<DItem> DItem::takeNext()
{
    return std::move(m_next);
}

void DItem::destroyChain(std::unique_ptr<DItem> first)
{
    if (!first)
        return;
    // Every item is unlinked from its sibling and children before it is deleted, so each
    // destructor finds nothing left to destroy and the depth of the call stack stays constant.
    std::vector<std::unique_ptr<DItem>> pending;
    pending.push_back(std::move(first));
    while (!pending.empty()) {
        std::unique_ptr<DItem> item = std::move(pending.back());
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

void DItemContainer::setFirstChild(std::unique_ptr<DItem> item)
{
    destroyChain(std::move(m_firstChild));
    m_firstChild = std::move(item);
}

std::unique_ptr<DItem> DItemContainer::takeFirstChild()
{
    return std::move(m_firstChild);
}
