#pragma once

#include "sdk/qares.h"

#include <QObject>
#include <QPointer>
#include <functional>
#include <memory>

class DefectSettingsDialog;
class DefectTracker;
class DefectsDock;
class QAStViewerWindow;
class QDockWidget;
class QMainWindow;
class QMenu;
class StudioInterface;
class StudioSettings;
class StudioTabs;
struct Defect;

// Everything of the studio about defects: the tracker the plug-in files into, the Defects dock,
// the tracker's settings (kept in the studio's settings file under "DEFECTS") and their dialog.
class DefectsHost : public QObject, public QAResProducer
{
    Q_OBJECT

public:
    // Adds the dock to `window`, in the place of `besides`; the settings are read from
    // `settings` when first needed. Filing takes the item selected in the viewer shown in
    // `tabs`; a defect's row opens its result file with `open`.
    DefectsHost(QMainWindow* window, StudioSettings* settings, const StudioTabs* tabs,
                StudioInterface* studio, QDockWidget* besides,
                std::function<QAStViewerWindow*(const QString&)> open);
    ~DefectsHost() override;

    DefectTracker* tracker();
    // Files defects into `path` from now on, in place of the user's data location.
    void setStorePath(const QString& path);

    // "Defect &Tracker..." in the Tools menu, the dock's entry in the View menu.
    void addMenuEntries(QMenu* tools, QMenu* view);
    // Opens the settings dialog (not modal); OK applies and saves the settings.
    DefectSettingsDialog* showSettings();

    std::unique_ptr<QARes> toResources(const char* name) override;

private:
    void loadSettings();
    // The outline texts, from the result file down, of the item selected in the viewer shown.
    QStringList selectedItemPath() const;
    void showDefect(const Defect& defect);
    // Asks whether an item that has the open defect `existing` gets another; Open shows that one.
    bool fileAgain(const Defect& existing);
    // Shows the defect about to be filed; false when the user gives it up.
    bool review(Defect& defect);

    QMainWindow* m_window;
    StudioSettings* m_settings;
    const StudioTabs* m_tabs;
    StudioInterface* m_studio;
    std::function<QAStViewerWindow*(const QString&)> m_open;
    bool m_settingsLoaded = false;
    std::unique_ptr<DefectTracker> m_tracker;
    QPointer<DefectsDock> m_dock; // the studio's child
    QPointer<DefectSettingsDialog> m_dialog;
};
