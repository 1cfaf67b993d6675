#pragma once

#include "reader/readprogress.h"

class StudioInterface;

// The progress of a reading, shown by the studio with its Cancel button.
class StudioReadProgress : public ReadProgress
{
public:
    explicit StudioReadProgress(StudioInterface* studio) : m_studio(studio) {}

    void start(int steps, const QString& label, bool cancellable) override;
    void advance(int step) override;
    bool cancelled() const override;
    void finish() override;

private:
    StudioInterface* m_studio; // looked at
};
