#pragma once

class QString;

// Where the reading of a result file reports how far it got, and learns whether the user
// stopped it. A viewer shows it; a command line leaves it out.
class ReadProgress
{
public:
    virtual ~ReadProgress() = default;

    // A reading of `steps` steps begins (0: as many as it takes); `label` says what is read, and
    // whether the user may stop it.
    virtual void start(int steps, const QString& label, bool cancellable) = 0;
    virtual void advance(int step) = 0;
    // True once the user asked to stop; the reading ends at its next look.
    virtual bool cancelled() const = 0;
    // The reading ended, whichever way.
    virtual void finish() = 0;
};
