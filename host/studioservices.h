#pragma once

#include "sdk/studiointerface.h"

#include <QHash>
#include <QObject>
#include <QPointer>
#include <functional>

class DefectTracker;
class OutputDock;
class ProgressPanel;
class QMainWindow;
class QMenu;
class SourceRoots;
class StudioSettings;
class StudioTabs;

// What the studio offers its viewer plug-in: the main window and its menu bar, the output window
// and log, the progress display, source locations opened in tabs (located by the user when they
// are not where the report says), the defect tracker, and where files are.
class StudioServices : public QObject, public StudioInterface
{
    Q_OBJECT

public:
    // The plug-in's menus go into `window`'s menu bar before `toolsMenu`; `tracker` answers the
    // defect tracker when first asked.
    StudioServices(QMainWindow* window, QMenu* toolsMenu, StudioTabs* tabs, OutputDock* output,
                   ProgressPanel* progress, StudioSettings* settings, SourceRoots* roots,
                   std::function<DefectTracker*()> tracker);

    QWidget* mainWindow() const override;
    QAOutputWindow* outputWindow() const override;
    void activateOutput() override;
    QStringList documentSearchPath() const override;
    QString currentDirectory() const override;
    QString installDirectory() const override;
    QString caption() const override;
    int insertMenu(QMenu* menu, const QString& title) override;
    void removeMenu(int id) override;
    void addResProducer(QAResProducer* producer) override;
    QAILogMonitor* logMonitor() const override;
    void startProgress(int steps, const QString& label, const QString& cancelText) override;
    void setProgress(int step) override;
    void endProgress() override;
    bool progressCancelled() const override;
    void openLocation(const QString& location, int kind, bool activate) override;
    void openSource(const SourceRequest& request) override;
    TrackwellInterface* trackwellInterface() const override;
    QString originalFileOf(const QString& path) const override;
    bool recordReview(const QString& identity, const QString& rule, const QString& status,
                      const QString& comment, QString* error) override;
    QList<ReviewRecord> reviewRecords() const override;
    QList<DefectRecord> openDefects() const override;
    void watchTriage(QObject* context, std::function<void()> changed) override;

private:
    // The source file of `request` at its place, found beside the report shown, under a source
    // root or where the user locates it.
    void showSource(const SourceRequest& request, bool activate);
    // Asks the user where a missing source file is; empty when not told.
    QString locateSource(const QString& missing);

    QMainWindow* m_window;
    QMenu* m_toolsMenu;
    StudioTabs* m_tabs;
    OutputDock* m_output;
    ProgressPanel* m_progress;
    StudioSettings* m_settings;
    SourceRoots* m_roots;
    std::function<DefectTracker*()> m_tracker;
    QHash<int, QPointer<QMenu>> m_pluginMenus;
    int m_nextMenuId = 1;
};
