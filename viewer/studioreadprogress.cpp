#include "viewer/studioreadprogress.h"

#include "sdk/studiointerface.h"

#include <QCoreApplication>

void StudioReadProgress::start(int steps, const QString& label, bool cancellable)
{
    m_studio->startProgress(
        steps, label, cancellable ? QCoreApplication::translate("Reporter", "Cancel") : QString());
}

void StudioReadProgress::advance(int step)
{
    m_studio->setProgress(step);
}

bool StudioReadProgress::cancelled() const
{
    return m_studio->progressCancelled();
}

void StudioReadProgress::finish()
{
    m_studio->endProgress();
}
