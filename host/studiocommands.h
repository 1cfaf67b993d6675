#pragma once

#include <QObject>

class QAction;
class QMainWindow;
class QMenu;
class OutputDock;
class RecentFiles;
class StudioTabs;
struct SourceRequest;

// The studio's menus and the commands in them: File, Edit, Go, Tools and View, the navigation
// toolbar, and the mouse's back and forward buttons anywhere in the window. The commands that
// act on a tab go to the tab shown, and are enabled by what it can do.
class StudioCommands : public QObject
{
    Q_OBJECT

public:
    // Builds the menus of `window`: File > Open Recent lists `recent`, View shows or hides the
    // outline and `output` docks; what cannot be done is said in `output`.
    StudioCommands(QMainWindow* window, StudioTabs* tabs, RecentFiles* recent, OutputDock* output);

    // The plug-in's menus go before Tools; Tools and View take more entries.
    QMenu* toolsMenu() const { return m_toolsMenu; }
    QMenu* viewMenu() const { return m_viewMenu; }

    // Enables the commands by what the tab shown can do now.
    void update();

Q_SIGNALS:
    void openRequested();
    void preferencesRequested();
    // File > Reload is about to reach the viewer shown.
    void aboutToReload();
    // A step of the code flow of the source shown is to be shown.
    void sourceStepRequested(const SourceRequest& step);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    enum Command
    {
        Reload,
        OpenInEditor,
        SaveAs,
        ExportDoc,
        CompareBaseline,
        ClearBaseline,
        Print,
        Close,
        Copy,
        Find,
        FindNext,
        FindPrevious,
        Back,
        Forward,
        NextTab,
        PreviousTab,
        NextStep,
        PreviousStep,
        CommandCount
    };

    void createMenus(RecentFiles* recent);
    void run(Command command);

    QMainWindow* m_window;
    StudioTabs* m_tabs;
    OutputDock* m_output;
    QMenu* m_toolsMenu = nullptr;
    QMenu* m_viewMenu = nullptr;
    QAction* m_commands[CommandCount] = {};
};
