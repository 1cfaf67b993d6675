#pragma once

#include "folio/styles/dcolor.h"

#include <QColor>

// The colours of the documents as the toolkit draws them, and back; no colour stays none.
inline QColor toQColor(const DColor& color)
{
    return color.isValid() ? QColor::fromRgba(color.rgba()) : QColor();
}

inline DColor toDColor(const QColor& color)
{
    return color.isValid() ? DColor::fromRgba(color.rgba()) : DColor();
}
