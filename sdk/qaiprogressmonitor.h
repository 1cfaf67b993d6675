#pragma once

class QString;

// Where a long operation reports how far it got, and learns whether the user gave up.
class QAIProgressMonitor
{
public:
    virtual ~QAIProgressMonitor() = default;

    virtual void setTotalSteps(int steps) = 0;
    virtual void setProgress(int step) = 0;
    virtual void setLabelText(const QString& text) = 0;
    // True once the user asked to stop; the operation then ends at its next check.
    virtual bool isCanceled() const = 0;
};
