#pragma once

#include "reader/readprogress.h"
#include "session/sessioncontext.h"

// What the session of a viewer window asks, answered by the studio and the preferences: the
// studio shows the progress of readings, with its Cancel button.
class StudioSessionContext : public SessionContext, public ReadProgress
{
public:
    QString originalFileOf(const QString& path) const override;
    QStringList documentSearchPath() const override;
    QString currentDirectory() const override;
    DStyleList styles() const override;
    ReadProgress* readProgress() override;

    void start(int steps, const QString& label, bool cancellable) override;
    void advance(int step) override;
    bool cancelled() const override;
    void finish() override;
};
