#pragma once

#include <QMainWindow>
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
class RecentFiles;
class SourceRoots;
class StudioCommands;
class StudioComponent;
class StudioServices;
class StudioSettings;
class StudioTabs;

// The studio's main window: result files in tabs with the outline of the one shown, the menus,
// an output dock, a progress display, the defect tracker, and the services the viewer plug-in
// is given, each a part of its own; the window puts them together, opens files and keeps the
// settings.
class StudioMainWindow : public QMainWindow
{
    Q_OBJECT

public:
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
    // Files defects into `path` from now on, in place of the user's data location.
    void setDefectStore(const QString& path);
    // The outline shown in the outline dock, or null.
    QWidget* currentOutline() const;

protected:
    void closeEvent(QCloseEvent* event) override;
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dropEvent(QDropEvent* event) override;

private:
    void loadPlugin(const QString& path);
    // Asks for files with the plug-in's filters and opens them.
    void openWithDialog();
    // The result files among dragged data, as a drop would open them.
    QStringList droppedFiles(const QMimeData& data) const;
    // Opens the preferences dialog over the plug-in's pages (not modal).
    void showPreferences();
    // The title names the tab shown; the commands follow what it can do.
    void tabsChanged();

    // The tabs go first when the window is destroyed, while all else is whole (see the
    // destructor); the others go in the reverse order of these lines.
    std::unique_ptr<StudioTabs> m_tabs;
    OutputDock* m_output;
    ProgressPanel* m_progress;
    RecentFiles* m_recent;
    std::unique_ptr<SourceRoots> m_roots;
    std::unique_ptr<StudioSettings> m_settings;
    StudioCommands* m_commands;
    std::unique_ptr<StudioServices> m_services;
    std::unique_ptr<StudioComponent> m_component;
    std::unique_ptr<PluginLibrary> m_plugin;
    QString m_pluginError;
    QPointer<PreferencesDialog> m_preferences;
    std::unique_ptr<DefectsHost> m_defects;
};
