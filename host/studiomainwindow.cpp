#include "host/studiomainwindow.h"

#include "host/defectshost.h"
#include "host/defecttracker.h"
#include "host/importedresults.h"
#include "host/outputdock.h"
#include "host/pluginlibrary.h"
#include "host/preferencesdialog.h"
#include "host/progresspanel.h"
#include "host/recentfiles.h"
#include "host/sourceroots.h"
#include "host/sourcerootspage.h"
#include "host/studiocommands.h"
#include "host/studiocomponent.h"
#include "host/studioservices.h"
#include "host/studiosettings.h"
#include "host/studiotabs.h"
#include "import/importcache.h"
#include "import/resultimport.h"
#include "sdk/preferenceitem.h"
#include "sdk/qadialogs.h"
#include "sdk/qastviewerplugin.h"
#include "sdk/qastviewerwindow.h"
#include "sdk/sourcerequest.h"

#include <QCloseEvent>
#include <QCoreApplication>
#include <QDir>
#include <QDragEnterEvent>
#include <QDropEvent>
#include <QFileInfo>
#include <QMimeData>
#include <QStandardPaths>
#include <QStatusBar>

StudioMainWindow::StudioMainWindow(const QString& pluginPath, const QString& settingsPath,
                                   QWidget* parent)
    : QMainWindow(parent)
{
    setAcceptDrops(true);
    resize(1100, 750);

    m_tabs = std::make_unique<StudioTabs>(this);
    m_output = new OutputDock(this);
    addDockWidget(Qt::BottomDockWidgetArea, m_output);
    m_progress = new ProgressPanel(statusBar());
    statusBar()->addPermanentWidget(m_progress);
    m_recent = new RecentFiles(this);
    m_roots = std::make_unique<SourceRoots>();
    m_settings =
        std::make_unique<StudioSettings>(settingsPath, this, m_recent, m_roots.get(), m_output);
    m_commands = new StudioCommands(this, m_tabs.get(), m_recent, m_output);
    m_services = std::make_unique<StudioServices>(
        this, m_commands->toolsMenu(), m_tabs.get(), m_output, m_progress, m_settings.get(),
        m_roots.get(), [this] { return m_defects->tracker(); });
    m_component = std::make_unique<StudioComponent>(m_services.get());
    m_defects = std::make_unique<DefectsHost>(
        this, m_settings.get(), m_tabs.get(), m_services.get(), m_output,
        [this](const QString& file) { return openFiles({file}); });
    m_defects->addMenuEntries(m_commands->toolsMenu(), m_commands->viewMenu());
    resizeDocks({m_tabs->outlineDock()}, {280}, Qt::Horizontal);
    resizeDocks({m_output}, {120}, Qt::Vertical);

    connect(m_tabs.get(), &StudioTabs::changed, this, &StudioMainWindow::tabsChanged);
    connect(m_recent, &RecentFiles::openRequested, this,
            [this](const QString& file) { openFiles({file}); });
    connect(m_commands, &StudioCommands::openRequested, this, &StudioMainWindow::openWithDialog);
    connect(m_commands, &StudioCommands::preferencesRequested, this,
            &StudioMainWindow::showPreferences);
    connect(m_commands, &StudioCommands::sourceStepRequested, this,
            [this](const SourceRequest& step) { m_services->openSource(step); });
    // The originals of converted results may have changed since they were converted.
    connect(m_commands, &StudioCommands::aboutToReload, this,
            [this] { refreshImportedResults(this, m_services.get()); });

    m_settings->load();
    loadPlugin(pluginPath);
    m_settings->restoreLayout();
    tabsChanged();
}

StudioMainWindow::~StudioMainWindow()
{
    m_tabs.reset();
}

QString StudioMainWindow::defaultPluginPath()
{
    return QDir::cleanPath(QCoreApplication::applicationDirPath() +
                           QStringLiteral("/../lib/libcrcplugin.so"));
}

QString StudioMainWindow::defaultSettingsPath()
{
    return QStandardPaths::writableLocation(QStandardPaths::AppConfigLocation) +
           QStringLiteral("/settings.xml");
}

void StudioMainWindow::loadPlugin(const QString& path)
{
    m_plugin = PluginLibrary::load(path, &m_pluginError);
    if (!m_plugin) {
        m_output->appendOutput(m_pluginError);
        return;
    }
    plugin()->initialize(m_component.get(), m_settings->store()->root());
    statusBar()->showMessage(tr("%1 %2 loaded").arg(plugin()->pluginName(), plugin()->version()),
                             5000);
}

QAStViewerPlugin* StudioMainWindow::plugin() const
{
    return m_plugin ? m_plugin->plugin() : nullptr;
}

void StudioMainWindow::setDefectStore(const QString& path)
{
    m_defects->setStorePath(path);
}

QWidget* StudioMainWindow::currentOutline() const
{
    return m_tabs->currentOutline();
}

QAStViewerWindow* StudioMainWindow::openFiles(const QStringList& requested)
{
    if (!plugin() || requested.isEmpty())
        return nullptr;
    const QStringList files = importedAsResultFiles(requested, this, m_services.get());
    QStringList fresh;
    QAStViewerWindow* shown = nullptr;
    for (const QString& file : files) {
        const QString path = QDir::cleanPath(QFileInfo(file).absoluteFilePath());
        // A window whose tab was closed may still be on its way out: it holds nothing.
        QAStViewerWindow* holder = plugin()->openedWindow(path);
        if (m_tabs->holds(holder)) {
            if (!shown)
                shown = holder;
        } else if (!fresh.contains(path)) {
            fresh.append(path);
        }
    }
    if (!fresh.isEmpty()) {
        const QString first = ImportCache::originalOf(fresh.first());
        m_settings->setLastDirectory(QFileInfo(first).absolutePath());
        statusBar()->showMessage(tr("Opening %1").arg(QDir::toNativeSeparators(first)));
        QAStViewerWindow* viewer = plugin()->create(fresh, this, nullptr);
        if (!viewer)
            return nullptr;
        // The plug-in has told the user what it could not read; a window left with nothing
        // to show is not kept.
        const QStringList opened = StudioTabs::shownFiles(viewer);
        if (!opened.isEmpty()) {
            m_tabs->addViewer(viewer);
            shown = viewer;
            for (auto it = opened.crbegin(); it != opened.crend(); ++it)
                m_recent->add(ImportCache::originalOf(*it));
            statusBar()->showMessage(tr("Opened %1").arg(m_tabs->textOf(viewer)), 5000);
        } else {
            // A cancelled reading leaves the window as it was; the viewer said so.
            if (!viewer->property("loadCancelled").toBool())
                statusBar()->showMessage(tr("Nothing could be opened"), 5000);
            delete viewer;
        }
    }
    if (shown)
        m_tabs->show(shown);
    return shown;
}

void StudioMainWindow::tabsChanged()
{
    const QString caption = m_services->caption();
    setWindowTitle(m_tabs->hasTab() ? tr("%1 - %2").arg(m_tabs->currentText(), caption) : caption);
    m_commands->update();
}

void StudioMainWindow::openWithDialog()
{
    if (!plugin())
        return;
    const QStringList filters = plugin()->filters()
                                << tr("Analyzer and test results (*.sarif *.sarif.json *.xml)")
                                << tr("All files (*)");
    // The file type chosen last is shown first.
    QString filter =
        filters.contains(m_settings->openFilter()) ? m_settings->openFilter() : filters.first();
    const QStringList files =
        QADialogs::current().openFileNames(this, tr("Open"), m_services->currentDirectory(),
                                           filters.join(QStringLiteral(";;")), &filter);
    if (files.isEmpty())
        return;
    if (filter != m_settings->openFilter() && filters.contains(filter)) {
        m_settings->setOpenFilter(filter);
        m_settings->saveChange();
    }
    openFiles(files);
}

void StudioMainWindow::showPreferences()
{
    if (!plugin())
        return;
    if (m_preferences) {
        m_preferences->raise();
        return;
    }
    auto* dialog = new PreferencesDialog(plugin()->preferenceSettings(), this);
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    auto* rootsPage = new SourceRootsPage(m_roots.get());
    rootsPage->setParent(dialog);
    dialog->addPages(rootsPage);
    dialog->setValuesReader([this] { return m_settings->store()->producedValues(); });
    // Apply and OK both broadcast the new values to the plug-in's windows.
    plugin()->connectAccepted(dialog, SIGNAL(applied()));
    plugin()->connectRejected(dialog, SIGNAL(rejected()));
    connect(dialog, &QDialog::accepted, this, [this] {
        QString error;
        if (m_settings->save(&error))
            statusBar()->showMessage(tr("Settings saved"), 5000);
        else
            m_output->appendOutput(error);
    });
    m_preferences = dialog;
    dialog->open();
}

void StudioMainWindow::closeEvent(QCloseEvent* event)
{
    for (QAStViewerWindow* viewer : m_tabs->viewers()) {
        if (!viewer->canClose()) {
            event->ignore();
            return;
        }
    }
    // A settings file that could not be read is only replaced when the user saves settings.
    m_settings->saveOnQuit(this);
    event->accept();
}

QStringList StudioMainWindow::droppedFiles(const QMimeData& data) const
{
    QStringList files;
    if (!plugin() || !data.hasUrls())
        return files;
    const QStringList patterns = plugin()->accept() + importPatterns();
    for (const QUrl& url : data.urls()) {
        if (url.isLocalFile() && QDir::match(patterns, QFileInfo(url.toLocalFile()).fileName()))
            files.append(url.toLocalFile());
    }
    return files;
}

void StudioMainWindow::dragEnterEvent(QDragEnterEvent* event)
{
    if (!droppedFiles(*event->mimeData()).isEmpty())
        event->acceptProposedAction();
}

void StudioMainWindow::dropEvent(QDropEvent* event)
{
    const QStringList files = droppedFiles(*event->mimeData());
    if (files.isEmpty())
        return;
    event->acceptProposedAction();
    openFiles(files);
}
