#pragma once

#include "host/studiocomponent.h"
#include "sdk/qaresfile.h"
#include "sdk/studiointerface.h"

#include <QHash>
#include <QMainWindow>
#include <QMap>
#include <QPointer>
#include <memory>

class DefectsHost;
class OutputDock;
class PluginLibrary;
class PreferencesDialog;
class ProgressPanel;
class QAStViewerPlugin;
class QAStViewerWindow;
class QMimeData;
class QStackedWidget;
class QTabWidget;
class SourceView;

// The studio's main window and the services it offers its viewer plug-in: viewer windows and
// source files as tabs, the outline of the active viewer in a dock on the left, an output dock,
// menus whose commands go to the active viewer, a progress display, the preferences dialog and
// the settings file.
class StudioMainWindow : public QMainWindow, public StudioInterface, public QAResProducer
{
    Q_OBJECT

public:
    // The commands of the menus that depend on the tab shown.
    enum Command
    {
        Reload,
        SaveAs,
        ExportDoc,
        Print,
        Close,
        Copy,
        Find,
        FindNext,
        FindPrevious,
        Back,
        Forward,
        CommandCount
    };

    // Loads the plug-in at `pluginPath` and the settings at `settingsPath`. Without a plug-in
    // (see pluginError()) the window still runs, but opens nothing.
    StudioMainWindow(const QString& pluginPath, const QString& settingsPath,
                     QWidget* parent = nullptr);
    ~StudioMainWindow() override;

    // Where the studio looks for its plug-in and keeps its settings, when not told otherwise.
    static QString defaultPluginPath();
    static QString defaultSettingsPath();

    QAStViewerPlugin* plugin() const;
    const QString& pluginError() const { return m_pluginError; }

    // Shows `files` in one viewer window. Files already shown elsewhere are left out; when no
    // file is left, the window that shows the first one comes forward. A window that could read
    // none of its files is dropped. Returns the window shown, or null.
    // Analyzer and test results are converted first (see importedAsResultFiles()).
    QAStViewerWindow* openFiles(const QStringList& requested);
    // Asks for files with the plug-in's filters and opens them.
    void openWithDialog();
    // The result files among dragged data, as a drop would open them.
    QStringList droppedFiles(const QMimeData& data) const;
    // The viewer window of the tab shown, or null.
    QAStViewerWindow* activeViewer() const;
    // The viewer windows, in tab order.
    QList<QAStViewerWindow*> viewers() const;
    // The source view of the tab shown, or null.
    SourceView* activeSource() const;

    // Runs a command of the menus on the tab shown (as its menu entry does).
    void runCommand(Command command);
    QAction* commandAction(Command command) const { return m_commands[command]; }
    // Refreshes the enabled state of the commands from the tab shown.
    void updateCommands();

    // Opens the preferences dialog over the plug-in's pages (not modal); null without a plug-in.
    PreferencesDialog* showPreferences();
    // Writes the settings file; false with `error` on failure.
    bool saveSettings(QString* error);
    const QAResStore& settings() const { return m_settings; }

    QTabWidget* tabs() const { return m_tabs; }
    // What an empty window shows in place of the tabs.
    QWidget* welcome() const { return m_welcome; }
    // The result files opened last, newest first.
    const QStringList& recentFiles() const { return m_recentFiles; }
    // Where sources named by the reports were found instead (a source root): the missing prefix
    // and the one to use in its place.
    const QMap<QString, QString>& sourceRoots() const { return m_sourceRoots; }
    OutputDock* output() const { return m_output; }
    ProgressPanel* progress() const { return m_progress; }
    QDockWidget* outlineDock() const { return m_outlineDock; }
    // The outline shown in the outline dock, or null.
    QWidget* currentOutline() const;
    // The menus the plug-in put into the menu bar, by id.
    QList<QMenu*> pluginMenus() const;
    // The defect tracker, its dock and settings.
    DefectsHost* defects() const { return m_defects.get(); }

    // StudioInterface
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
    TrackwellInterface* trackwellInterface() const override;
    QString originalFileOf(const QString& path) const override;

    // QAResProducer: the window's own settings (layout, last directory, recent files, source
    // roots).
    std::unique_ptr<QARes> toResources(const char* name) override;

protected:
    void closeEvent(QCloseEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dropEvent(QDropEvent* event) override;

private:
    void createMenus();
    void loadSettings();
    void loadPlugin(const QString& path);
    void currentTabChanged(int index);
    void closeTab(int index);
    void addViewer(QAStViewerWindow* viewer);
    // The files `viewer` shows: those of its list that it could read.
    QStringList shownFiles(QAStViewerWindow* viewer) const;
    void updateTab(QAStViewerWindow* viewer);
    void updateTitle();
    void fillRecentMenu();
    void addRecentFile(const QString& path);
    void loadStudioSettings();
    void restoreLayout();
    void openSource(const QString& location, bool activate);
    QString locateSource(const QString& missing);
    bool showSource(const QString& path, int line, bool activate);

    QAResStore m_settings;
    bool m_settingsBroken = false; // the file could not be read and has not been replaced
    StudioComponent m_component{this};
    std::unique_ptr<PluginLibrary> m_plugin;
    QString m_pluginError;
    QString m_currentDirectory;

    QStackedWidget* m_central; // the welcome text, or the tabs
    QWidget* m_welcome;
    QTabWidget* m_tabs;
    QMenu* m_recentMenu = nullptr;
    QStringList m_recentFiles;
    QMap<QString, QString> m_sourceRoots;
    QByteArray m_savedGeometry;
    QByteArray m_savedState;
    QDockWidget* m_outlineDock;
    QStackedWidget* m_outlines; // every viewer's outline; the active one shown
    QWidget* m_noOutline;
    OutputDock* m_output;
    ProgressPanel* m_progress;
    QMenu* m_toolsMenu = nullptr;
    QAction* m_commands[CommandCount] = {};
    // The viewer windows are not ours: each deletes itself when closed (the tabs hold it until
    // then), and leaves these lists when it is destroyed.
    QAStViewerWindow* m_active = nullptr; // the viewer that was last told activated()
    QList<QAStViewerWindow*> m_viewers;
    QHash<int, QPointer<QMenu>> m_pluginMenus;
    int m_nextMenuId = 1;
    QPointer<PreferencesDialog> m_preferences;
    std::unique_ptr<DefectsHost> m_defects;
};
