#include "sdk/studiointerface.h"

#include "sdk/sourcerequest.h"
#include "sdk/triagerecords.h"

#include <QCoreApplication>
#include <QList>
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

bool StudioInterface::recordReview(const QString&, const QString&, const QString&, const QString&,
                                   QString* error)
{
    if (error)
        *error = QCoreApplication::translate("StudioInterface", "This studio keeps no reviews.");
    return false;
}

QList<ReviewRecord> StudioInterface::reviewRecords() const
{
    return {};
}

QList<DefectRecord> StudioInterface::openDefects() const
{
    return {};
}

void StudioInterface::watchTriage(QObject*, std::function<void()>) {}
