#include "folio/styles/dstyle.h"

namespace {
const char* const alignNames[] = {"left", "center", "right", "justify"};
}

QString DStyle::alignName(Alignment align)
{
    return QString::fromLatin1(alignNames[align]);
}

bool DStyle::alignFromName(const QString& name, Alignment* align)
{
    for (int i = 0; i <= AlignJustify; ++i) {
        if (name == QLatin1String(alignNames[i])) {
            *align = Alignment(i);
            return true;
        }
    }
    return false;
}

Qt::Alignment DStyle::qtAlignment(Alignment align)
{
    switch (align) {
    case AlignLeft:
        break;
    case AlignCenter:
        return Qt::AlignHCenter;
    case AlignRight:
        return Qt::AlignRight;
    case AlignJustify:
        return Qt::AlignJustify;
    }
    return Qt::AlignLeft;
}
