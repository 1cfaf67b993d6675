#pragma once

#include "folio/model/dstring.h"
#include "folio/model/dstyletable.h"

#include <QString>
#include <cstdint>
#include <memory>

class DItem;
class DItemContainer;

// Frees an item as the kind it is: items carry no virtual table, which would cost a word in each
// of the millions a large result file makes.
struct DItemDeleter
{
    DItemDeleter() = default;
    template <class Kind> DItemDeleter(const std::default_delete<Kind>&) noexcept {}
    void operator()(DItem* item) const;
};

// An owned item of any kind.
using DItemPtr = std::unique_ptr<DItem, DItemDeleter>;

// One item of a document. Items form a tree through three links: the parent container, the next
// sibling and, for containers, the first child. A container owns its first child and every item
// owns its next sibling, so a container owns all its descendants. Destruction is iterative: a
// document may be nested or chained arbitrarily deep.
class DItem
{
public:
    // One kind per element of the markup.
    enum Type : quint8
    {
        Document,
        Section,
        Title,
        Header,
        Footer,
        PageBreak,
        Paragraph,
        Text,
        Image,
        List,
        Link,
        Tag,
        Table,
        Row,
        Cell,
        CellText,
        TagPointer,
        PopupLink,
        Popup,
        Summary,
        SEntry,
        Index,
        IEntry,
        Graphic,
        Curve,
        Axis,
        Point,
        TypeCount
    };

    DItem& operator=(const DItem&) = delete;

    Type type() const { return m_type; }
    bool isContainer() const { return isContainerType(m_type); }
    bool isTagged() const { return isTaggedType(m_type); }
    static bool isContainerType(Type type);
    static bool isTaggedType(Type type);

    DItemContainer* parent() const { return m_parent; }
    void setParent(DItemContainer* parent) { m_parent = parent; }

    DItem* next() const { return m_next.get(); }
    // Links `item` as the next sibling; a previous chain of next siblings is destroyed.
    void setNext(DItemPtr item);
    DItemPtr takeNext();

    // The item's own style (may be null: a text item shows with its container's style).
    const DStyle* style() const { return DStyleTable::at(m_style); }
    void setStyle(const DStylePtr& style) { m_style = DStyleTable::numberOf(style); }
    // Sets the style by its number in DStyleTable, as a reader that numbered its styles does.
    void setStyleNumber(std::uint32_t number) { m_style = number; }

    // A new item of the same kind with all of this item's own attributes and no links.
    DItemPtr copy() const;

    DItemContainer* asContainer();
    const DItemContainer* asContainer() const;

protected:
    explicit DItem(Type type) : m_type(type) {}
    // Not virtual: DItemDeleter frees an item through its own kind.
    ~DItem();
    // Copies the item's own attributes; the copy is not linked anywhere.
    DItem(const DItem& other) : m_type(other.m_type), m_style(other.m_style) {}

    // Destroys `first`, the siblings after it and all their descendants without recursion.
    static void destroyChain(DItemPtr first);

private:
    friend class DItemContainer;
    friend struct DItemDeleter;

    Type m_type;
    std::uint32_t m_style = 0; // a number in DStyleTable
    DItemContainer* m_parent = nullptr;
    DItemPtr m_next;
};

// An item with children.
class DItemContainer : public DItem
{
public:
    DItem* firstChild() const { return m_firstChild.get(); }
    // Makes `item` the first child; previous children are destroyed. The caller sets the
    // item's parent.
    void setFirstChild(DItemPtr item);
    DItemPtr takeFirstChild();

protected:
    explicit DItemContainer(Type type) : DItem(type) {}
    ~DItemContainer();
    DItemContainer(const DItemContainer& other) : DItem(other) {}

private:
    friend class DItem;
    DItemPtr m_firstChild;
};

// A container that carries a tag, the name links use to reach it.
class DTaggedItemContainer : public DItemContainer
{
public:
    QString tag() const { return m_tag.toString(); }
    const DString& tagUtf8() const { return m_tag; }
    void setTag(const QString& tag) { m_tag = DString(tag); }
    void setTag(const DString& tag) { m_tag = tag; }

protected:
    explicit DTaggedItemContainer(Type type) : DItemContainer(type) {}
    DTaggedItemContainer(const DTaggedItemContainer& other) = default;

private:
    DString m_tag;
};

// The markup element name of an item kind ("TEXT" for a text item).
const char* strItemType(DItem::Type type);

// Checked down-cast: the item as kind T, or null when it is of another kind.
template <class T> T* dcast(DItem* item)
{
    return item && item->type() == T::staticType ? static_cast<T*>(item) : nullptr;
}

template <class T> const T* dcast(const DItem* item)
{
    return item && item->type() == T::staticType ? static_cast<const T*>(item) : nullptr;
}

inline DItemContainer* DItem::asContainer()
{
    return isContainer() ? static_cast<DItemContainer*>(this) : nullptr;
}

inline const DItemContainer* DItem::asContainer() const
{
    return isContainer() ? static_cast<const DItemContainer*>(this) : nullptr;
}
