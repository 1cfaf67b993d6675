#pragma once

#include "folio/styles/dcolor.h"

#include <QExplicitlySharedDataPointer>
#include <QList>
#include <QSharedData>
#include <QString>

// A named display style: font, colours, alignment and indent. Styles are shared between the style
// list of the preferences and every document item that uses them, so an edit of a style reaches
// all documents, and a document never outlives the styles it points to.
class DStyle : public QSharedData
{
public:
    enum Alignment
    {
        AlignLeft,
        AlignCenter,
        AlignRight,
        AlignJustify
    };

    explicit DStyle(const QString& name = QString()) : m_name(name) {}

    const QString& name() const { return m_name; }
    void setName(const QString& name) { m_name = name; }

    // Font family; empty means the view's default family.
    const QString& family() const { return m_family; }
    void setFamily(const QString& family) { m_family = family; }
    // Point size; 0 means the view's default size.
    int size() const { return m_size; }
    void setSize(int points) { m_size = points; }
    bool bold() const { return m_bold; }
    void setBold(bool on) { m_bold = on; }
    bool italic() const { return m_italic; }
    void setItalic(bool on) { m_italic = on; }
    bool underline() const { return m_underline; }
    void setUnderline(bool on) { m_underline = on; }
    // Text and background colours; an invalid colour means the view's default.
    const DColor& color() const { return m_color; }
    void setColor(const DColor& color) { m_color = color; }
    const DColor& background() const { return m_background; }
    void setBackground(const DColor& color) { m_background = color; }
    Alignment align() const { return m_align; }
    void setAlign(Alignment align) { m_align = align; }
    // Left indent in pixels.
    int indent() const { return m_indent; }
    void setIndent(int pixels) { m_indent = pixels; }
    // Preformatted text (code, stack traces): line breaks and spaces kept, in a fixed-width
    // face when the family names none.
    bool pre() const { return m_pre; }
    void setPre(bool on) { m_pre = on; }

    // The alignment as Qt spells it.
    static Qt::Alignment qtAlignment(Alignment align);

    // The markup names of the alignments: "left", "center", "right", "justify".
    static QString alignName(Alignment align);
    static bool alignFromName(const QString& name, Alignment* align);

private:
    QString m_name;
    QString m_family;
    int m_size = 0;
    bool m_bold = false;
    bool m_italic = false;
    bool m_underline = false;
    DColor m_color;
    DColor m_background;
    Alignment m_align = AlignLeft;
    int m_indent = 0;
    bool m_pre = false;
};

using DStylePtr = QExplicitlySharedDataPointer<DStyle>;
using DStyleList = QList<DStylePtr>;
