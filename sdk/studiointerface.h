#pragma once

class QAResProducer;
class QString;
class QWidget;

// The services the studio offers to its viewer plug-ins. The host implements it; the plug-in
// only calls it.
class StudioInterface
{
public:
    virtual ~StudioInterface();

    // Shows a progress display with `steps` steps, a label and a cancel button text.
    virtual void startProgress(int steps, const QString& label, const QString& cancelText) = 0;
    virtual void setProgress(int step) = 0;
    virtual void endProgress() = 0;

    // The directory the studio runs from: its "lib" folder holds the shipped data files.
    virtual QString installDirectory() const = 0;
    // The studio's main window, or null when it runs without one.
    virtual QWidget* mainWindow() const = 0;
    // Asks the studio to include `producer`'s group whenever it saves the settings. The producer
    // is borrowed and must outlive the studio's use of it.
    virtual void addResProducer(QAResProducer* producer) = 0;
};
