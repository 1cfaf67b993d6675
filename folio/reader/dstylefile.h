#pragma once

#include "folio/styles/dstyle.h"

#include <QString>
#include <QStringList>

// A style file: a document of the markup whose STYLES define the display styles.
struct DStyleFile
{
    // The styles it defines, in file order; what was read up to a fault.
    DStyleList styles;
    // Their names, in file order; empty when the file could not be read completely.
    QStringList names;
    // Why reading it failed, "FILE:LINE: message"; empty when it did not. Also logged as a
    // warning.
    QString error;

    static DStyleFile read(const QString& path);
};
