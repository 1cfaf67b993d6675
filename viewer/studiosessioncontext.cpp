#include "viewer/studiosessioncontext.h"

#include "sdk/studiointerface.h"
#include "viewer/qareporterhost.h"

#include <QCoreApplication>

QString StudioSessionContext::originalFileOf(const QString& path) const
{
    StudioInterface* studio = hostStudio();
    return studio ? studio->originalFileOf(path) : path;
}

QStringList StudioSessionContext::documentSearchPath() const
{
    StudioInterface* studio = hostStudio();
    return studio ? studio->documentSearchPath() : QStringList();
}

QString StudioSessionContext::currentDirectory() const
{
    StudioInterface* studio = hostStudio();
    return studio ? studio->currentDirectory() : SessionContext::currentDirectory();
}

DStyleList StudioSessionContext::styles() const
{
    return currentStyles();
}

ReadProgress* StudioSessionContext::readProgress()
{
    return hostStudio() ? this : nullptr;
}

void StudioSessionContext::start(int steps, const QString& label, bool cancellable)
{
    hostStudio()->startProgress(
        steps, label, cancellable ? QCoreApplication::translate("Reporter", "Cancel") : QString());
}

void StudioSessionContext::advance(int step)
{
    hostStudio()->setProgress(step);
}

bool StudioSessionContext::cancelled() const
{
    return hostStudio()->progressCancelled();
}

void StudioSessionContext::finish()
{
    hostStudio()->endProgress();
}
