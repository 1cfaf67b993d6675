#pragma once

#include <QtContainerFwd>
#include <functional>

class QAILogMonitor;
class QAOutputWindow;
class QAResProducer;
class QMenu;
class QObject;
class QString;
class QWidget;
class TrackwellInterface;
struct DefectRecord;
struct ReviewRecord;
struct SourceRequest;

// The services the studio offers to its viewer plug-ins. The host implements it; the plug-in
// only calls it.
class StudioInterface
{
public:
    virtual ~StudioInterface();

    // The studio's main window, or null when it runs without one.
    virtual QWidget* mainWindow() const = 0;
    // The studio's output window, where messages for the user go; null without one.
    virtual QAOutputWindow* outputWindow() const = 0;
    // Brings the output window to the front.
    virtual void activateOutput() = 0;
    // Directories where documents look for their pictures.
    virtual QStringList documentSearchPath() const = 0;
    // The directory file dialogs start in.
    virtual QString currentDirectory() const = 0;
    // The directory the studio runs from: its "lib" folder holds the shipped data files.
    virtual QString installDirectory() const = 0;
    // The studio's name, for window captions.
    virtual QString caption() const = 0;

    // Puts `menu` into the studio's menu bar under `title`; returns an id for removeMenu().
    virtual int insertMenu(QMenu* menu, const QString& title) = 0;
    virtual void removeMenu(int id) = 0;

    // Asks the studio to include `producer`'s group whenever it saves the settings. The producer
    // is borrowed and must outlive the studio's use of it.
    virtual void addResProducer(QAResProducer* producer) = 0;
    // Where long operations report what they did; null without one.
    virtual QAILogMonitor* logMonitor() const = 0;

    // Shows a progress display with `steps` steps (0: busy, no steps), a label and the text of
    // its cancel button; an empty text when the operation cannot be cancelled.
    virtual void startProgress(int steps, const QString& label, const QString& cancelText) = 0;
    virtual void setProgress(int step) = 0;
    virtual void endProgress() = 0;
    // True once the user asked to cancel the operation the progress display shows; the
    // operation then stops at its next check. False for studios that offer no cancel.
    virtual bool progressCancelled() const { return false; }

    // Opens a location given as text, such as "src/main.c line 42" (kind 3: a source file at a
    // line), and brings it to the front when `activate` is set.
    virtual void openLocation(const QString& location, int kind, bool activate) = 0;
    // Opens a source file at a place and brings it to the front, with what the request tells of
    // it: the lines of the place, the finding's message and its code flow to step through. A
    // studio that shows no more than the place gets it through openLocation() (kind 3).
    virtual void openSource(const SourceRequest& request);
    // The defect tracker, or null when the studio has none.
    virtual TrackwellInterface* trackwellInterface() const = 0;

    // The file the studio made the result file `path` from (an analyzer's or test runner's
    // results that it converted), so that the links of the report are taken beside the file the
    // user opened; `path` itself for every other file.
    virtual QString originalFileOf(const QString& path) const;

    // Keeps what the user decided about the result `identity` found by `rule`: its `status`
    // ("unreviewed", "confirmed", "false-positive" or "intentional") and a comment, with who
    // decided and when. False, with the reason in `error`, when it is not kept; a studio without
    // a store keeps none.
    virtual bool recordReview(const QString& identity, const QString& rule, const QString& status,
                              const QString& comment, QString* error);
    // Every decision kept that is not "unreviewed", read at once; none when the studio keeps
    // no reviews or cannot read them.
    virtual QList<ReviewRecord> reviewRecords() const;
    // The open defects filed, read at once; none when the studio keeps no defects.
    virtual QList<DefectRecord> openDefects() const;
    // Calls `changed` whenever a review or a defect is kept, changed, or the store is changed
    // for another, for as long as `context` lives. A studio that keeps neither never calls it.
    virtual void watchTriage(QObject* context, std::function<void()> changed);
};
