#pragma once

#include "reader/readprogress.h"

#include <QList>
#include <QString>
#include <QStringList>

// A reading's progress for tests: records what it was told, and cancels when told to.
class TestProgress : public ReadProgress
{
public:
    void start(int steps, const QString& label, bool cancellable) override
    {
        calls.append(QStringLiteral("start %1 %2%3")
                         .arg(steps)
                         .arg(label, cancellable ? QStringLiteral(" cancellable") : QString()));
    }
    void advance(int step) override { steps.append(step); }
    // The user cancels once `cancelAfterSteps` steps were reported; never when negative.
    bool cancelled() const override
    {
        return cancelAfterSteps >= 0 && steps.size() >= cancelAfterSteps;
    }
    void finish() override { calls.append(QStringLiteral("finish")); }

    QStringList calls;
    QList<int> steps;
    int cancelAfterSteps = -1;
};
