#pragma once

class QString;

// The services the studio offers to its viewer plug-ins. The host implements it; the plug-in
// only calls it. Only the progress display exists so far.
class StudioInterface
{
public:
    virtual ~StudioInterface();

    // Shows a progress display with `steps` steps, a label and a cancel button text.
    virtual void startProgress(int steps, const QString& label, const QString& cancelText) = 0;
    virtual void setProgress(int step) = 0;
    virtual void endProgress() = 0;
};
