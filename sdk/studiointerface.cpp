#include "sdk/studiointerface.h"

#include <QString>

StudioInterface::~StudioInterface() = default;

QString StudioInterface::originalFileOf(const QString& path) const
{
    return path;
}
