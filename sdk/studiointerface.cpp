#include "sdk/studiointerface.h"

#include "sdk/sourcerequest.h"

#include <QString>

StudioInterface::~StudioInterface() = default;

QString StudioInterface::originalFileOf(const QString& path) const
{
    return path;
}

void StudioInterface::openSource(const SourceRequest& request)
{
    openLocation(request.location(), 3, true);
}
