#pragma once

#include <QString>
#include <QStringView>

// A colour of the documents and their styles: red, green, blue and alpha, or no colour at all
// (invalid), which leaves the choice to whoever draws or writes the item. It spells itself as
// "#rrggbb", the way pages and style sheets write it.
class DColor
{
public:
    DColor() = default;
    // Parts outside 0 to 255 are clamped.
    DColor(int red, int green, int blue, int alpha = 255);
    // 0xAARRGGBB.
    static DColor fromRgba(quint32 argb);
    // "#rgb", "#rrggbb", "#aarrggbb", "#rrrgggbbb", "#rrrrggggbbbb", one of the colour names of
    // SVG (in any case, blanks and tabs ignored) or "transparent"; invalid for anything else.
    static DColor fromString(QStringView text);

    bool isValid() const { return m_valid; }
    int red() const { return int((m_argb >> 16) & 0xff); }
    int green() const { return int((m_argb >> 8) & 0xff); }
    int blue() const { return int(m_argb & 0xff); }
    int alpha() const { return int(m_argb >> 24); }
    quint32 rgba() const { return m_argb; }
    // "#rrggbb" without the alpha; "#000000" for no colour.
    QString name() const;

    friend bool operator==(const DColor& a, const DColor& b)
    {
        return a.m_valid == b.m_valid && a.m_argb == b.m_argb;
    }
    friend bool operator!=(const DColor& a, const DColor& b) { return !(a == b); }

private:
    quint32 m_argb = 0xff000000;
    bool m_valid = false;
};
