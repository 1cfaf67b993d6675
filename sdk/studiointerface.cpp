#include "sdk/studiointerface.h"

#include "sdk/sourcerequest.h"

#include <QCoreApplication>
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

QString StudioInterface::reviewNote(const QString&, const QString&) const
{
    return QString();
}

bool StudioInterface::recordReview(const QString&, const QString&, const QString&, const QString&,
                                   QString* error)
{
    if (error)
        *error = QCoreApplication::translate("StudioInterface", "This studio keeps no reviews.");
    return false;
}
