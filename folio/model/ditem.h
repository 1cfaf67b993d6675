#pragma once

#include "folio/model/dstring.h"
#include "folio/styles/dstyle.h"

#include <QString>
#include <memory>

class DItemContainer;

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

    virtual ~DItem();
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
    void setNext(std::unique_ptr<DItem> item);
    std::unique_ptr<DItem> takeNext();

    // The item's own style (may be null: a text item shows with its container's style).
    const DStyle* style() const { return m_style.data(); }
    const DStylePtr& sharedStyle() const { return m_style; }
    void setStyle(const DStylePtr& style) { m_style = style; }

    // A new item of the same kind with all of this item's own attributes and no links.
    virtual std::unique_ptr<DItem> copy() const = 0;

    DItemContainer* asContainer();
    const DItemContainer* asContainer() const;

protected:
    explicit DItem(Type type) : m_type(type) {}
    // Copies the item's own attributes; the copy is not linked anywhere.
    DItem(const DItem& other) : m_type(other.m_type), m_style(other.m_style) {}

    // Destroys `first`, the siblings after it and all their descendants without recursion.
    static void destroyChain(std::unique_ptr<DItem> first);

private:
    friend class DItemContainer;

    Type m_type;
    DItemContainer* m_parent = nullptr;
    std::unique_ptr<DItem> m_next;
    DStylePtr m_style;
};

// An item with children.
class DItemContainer : public DItem
{
public:
    ~DItemContainer() override;

    DItem* firstChild() const { return m_firstChild.get(); }
    // Makes `item` the first child; previous children are destroyed. The caller sets the
    // item's parent.
    void setFirstChild(std::unique_ptr<DItem> item);
    std::unique_ptr<DItem> takeFirstChild();

protected:
    explicit DItemContainer(Type type) : DItem(type) {}
    DItemContainer(const DItemContainer& other) : DItem(other) {}

private:
    friend class DItem;
    std::unique_ptr<DItem> m_firstChild;
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
