#pragma once

#include "folio/model/ditem.h"
#include "folio/model/dstring.h"

#include <QList>

// The concrete item kinds. Each knows its kind (`staticType`, for `dcast` and for copying and
// freeing an item as what it is).
template <class Derived, class Base, DItem::Type Kind> class DItemKind : public Base
{
public:
    static constexpr DItem::Type staticType = Kind;

protected:
    DItemKind() : Base(Kind) {}
    DItemKind(const DItemKind&) = default;
};

class DSection : public DItemKind<DSection, DTaggedItemContainer, DItem::Section>
{
};

class DTitle : public DItemKind<DTitle, DTaggedItemContainer, DItem::Title>
{
};

class DHeader : public DItemKind<DHeader, DItemContainer, DItem::Header>
{
};

class DFooter : public DItemKind<DFooter, DItemContainer, DItem::Footer>
{
};

class DPageBreak : public DItemKind<DPageBreak, DItem, DItem::PageBreak>
{
};

class DParagraph : public DItemKind<DParagraph, DItemContainer, DItem::Paragraph>
{
};

// A run of text; it shows with its container's style.
class DText : public DItemKind<DText, DItem, DItem::Text>
{
public:
    explicit DText(const QString& text = QString()) : m_text(text) {}
    explicit DText(const DString& text) : m_text(text) {}
    QString text() const { return m_text.toString(); }
    const DString& textUtf8() const { return m_text; }
    void setText(const QString& text) { m_text = DString(text); }
    void setText(const DString& text) { m_text = text; }

private:
    DString m_text;
};

// A picture file, found through the view's search paths; sizes in pixels, 0 for the natural size.
class DImage : public DItemKind<DImage, DItem, DItem::Image>
{
public:
    QString source() const { return m_source.toString(); }
    const DString& sourceUtf8() const { return m_source; }
    void setSource(const QString& source) { m_source = DString(source); }
    void setSource(const DString& source) { m_source = source; }
    int width() const { return m_width; }
    void setWidth(int width) { m_width = width; }
    int height() const { return m_height; }
    void setHeight(int height) { m_height = height; }

private:
    DString m_source;
    int m_width = 0;
    int m_height = 0;
};

class DList : public DItemKind<DList, DItemContainer, DItem::List>
{
public:
    bool ordered() const { return m_ordered; }
    void setOrdered(bool ordered) { m_ordered = ordered; }

private:
    bool m_ordered = false;
};

// An anchor that tag links and tag pointers reach by name.
class DTag : public DItemKind<DTag, DItem, DItem::Tag>
{
public:
    explicit DTag(const QString& name = QString()) : m_name(name) {}
    explicit DTag(const DString& name) : m_name(name) {}
    QString name() const { return m_name.toString(); }
    const DString& nameUtf8() const { return m_name; }
    void setName(const QString& name) { m_name = DString(name); }
    void setName(const DString& name) { m_name = name; }

private:
    DString m_name;
};

// A table; its children are rows. `code` chooses the grid: 0 none, 1 frame only, 2 full grid.
// The column widths are fractions of the table width.
class DTable : public DItemKind<DTable, DItemContainer, DItem::Table>
{
public:
    explicit DTable(int code = 2) : m_code(code) {}
    int code() const { return m_code; }
    void setCode(int code) { m_code = code; }
    const QList<double>& widths() const { return m_widths; }
    void setWidths(const QList<double>& widths) { m_widths = widths; }

private:
    int m_code;
    QList<double> m_widths;
};

class DRow : public DItemKind<DRow, DItemContainer, DItem::Row>
{
};

// A table cell; `span` is the number of further columns it covers.
class DCell : public DItemKind<DCell, DItemContainer, DItem::Cell>
{
public:
    explicit DCell(int span = 0) : m_span(span) {}
    int span() const { return m_span; }
    void setSpan(int span) { m_span = span; }

private:
    int m_span;
};

// A table cell that carries its own text.
class DCellText : public DItemKind<DCellText, DItemContainer, DItem::CellText>
{
public:
    explicit DCellText(const QString& text = QString(), int span = 0) : m_text(text), m_span(span)
    {
    }
    DCellText(const DString& text, int span) : m_text(text), m_span(span) {}
    QString text() const { return m_text.toString(); }
    const DString& textUtf8() const { return m_text; }
    void setText(const QString& text) { m_text = DString(text); }
    void setText(const DString& text) { m_text = text; }
    int span() const { return m_span; }
    void setSpan(int span) { m_span = span; }

private:
    DString m_text;
    int m_span;
};

// An item that leads somewhere: a tag name, a link text or a popup to show.
template <class Derived, class Base, DItem::Type Kind>
class DTargetItem : public DItemKind<Derived, Base, Kind>
{
public:
    QString target() const { return m_target.toString(); }
    const DString& targetUtf8() const { return m_target; }
    void setTarget(const QString& target) { m_target = DString(target); }
    void setTarget(const DString& target) { m_target = target; }

protected:
    DTargetItem() = default;
    explicit DTargetItem(const QString& target) : m_target(target) {}
    explicit DTargetItem(const DString& target) : m_target(target) {}

private:
    DString m_target;
};

// A pointer to the tag named `target`.
class DTagPointer : public DTargetItem<DTagPointer, DItem, DItem::TagPointer>
{
};

class DPopupLink : public DTargetItem<DPopupLink, DTaggedItemContainer, DItem::PopupLink>
{
};

class DPopup : public DTargetItem<DPopup, DTaggedItemContainer, DItem::Popup>
{
};

// A table of contents; its entries are SENTRY items.
class DSummary : public DItemKind<DSummary, DTaggedItemContainer, DItem::Summary>
{
};

// An entry of a contents table or of an index: a text that leads to a tag.
template <class Derived, DItem::Type Kind>
class DEntryItem : public DTargetItem<Derived, DItem, Kind>
{
public:
    QString text() const { return m_text.toString(); }
    const DString& textUtf8() const { return m_text; }
    void setText(const QString& text) { m_text = DString(text); }
    void setText(const DString& text) { m_text = text; }

private:
    DString m_text;
};

class DSEntry : public DEntryItem<DSEntry, DItem::SEntry>
{
};

class DIndex : public DItemKind<DIndex, DTaggedItemContainer, DItem::Index>
{
};

class DIEntry : public DEntryItem<DIEntry, DItem::IEntry>
{
};

// A chart: its children are axes and curves.
class DGraphic : public DItemKind<DGraphic, DTaggedItemContainer, DItem::Graphic>
{
public:
    const QString& title() const { return m_title; }
    void setTitle(const QString& title) { m_title = title; }

private:
    QString m_title;
};

// One curve of a chart; its children are points.
class DCurve : public DItemKind<DCurve, DItemContainer, DItem::Curve>
{
public:
    QString name() const { return m_name.toString(); }
    const DString& nameUtf8() const { return m_name; }
    void setName(const QString& name) { m_name = DString(name); }
    void setName(const DString& name) { m_name = name; }
    const DColor& color() const { return m_color; }
    void setColor(const DColor& color) { m_color = color; }

private:
    DString m_name;
    DColor m_color;
};

class DAxis : public DItemKind<DAxis, DItem, DItem::Axis>
{
public:
    QString name() const { return m_name.toString(); }
    const DString& nameUtf8() const { return m_name; }
    void setName(const QString& name) { m_name = DString(name); }
    void setName(const DString& name) { m_name = name; }
    double minimum() const { return m_min; }
    void setMinimum(double value) { m_min = value; }
    double maximum() const { return m_max; }
    void setMaximum(double value) { m_max = value; }

private:
    DString m_name;
    double m_min = 0;
    double m_max = 0;
};

class DPoint : public DItemKind<DPoint, DItem, DItem::Point>
{
public:
    DPoint(double x = 0, double y = 0) : m_x(x), m_y(y) {}
    double x() const { return m_x; }
    double y() const { return m_y; }
    void setX(double x) { m_x = x; }
    void setY(double y) { m_y = y; }

private:
    double m_x;
    double m_y;
};
