#include "host/studiomainwindow.h"

#include "host/importedresults.h"
#include "host/defectshost.h"
#include "host/defecttracker.h"
#include "host/outputdock.h"
#include "host/pluginlibrary.h"
#include "host/preferencesdialog.h"
#include "host/progresspanel.h"
#include "host/sourceview.h"
#include "import/importcache.h"
#include "import/resultimport.h"
#include "sdk/preferenceitem.h"
#include "sdk/qadialogs.h"
#include "sdk/qastviewerplugin.h"
#include "sdk/qastviewerwindow.h"

#include <QApplication>
#include <QCloseEvent>
#include <QDir>
#include <QDockWidget>
#include <QDragEnterEvent>
#include <QDropEvent>
#include <QFileInfo>
#include <QLabel>
#include <QMenuBar>
#include <QMimeData>
#include <QRegularExpression>
#include <QStackedWidget>
#include <QStandardPaths>
#include <QStatusBar>
#include <QTabWidget>
#include <algorithm>
#include <utility>

namespace {

constexpr int sourceLocation = 3; // openLocation(): a source file at a line

QString absolute(const QString& path)
{
    return QDir::cleanPath(QFileInfo(path).absoluteFilePath());
}

} // namespace

StudioMainWindow::StudioMainWindow(const QString& pluginPath, const QString& settingsPath,
                                   QWidget* parent)
    : QMainWindow(parent), m_settings(settingsPath), m_currentDirectory(QDir::currentPath())
{
    setWindowTitle(caption());
    setAcceptDrops(true);
    resize(1100, 750);

    m_tabs = new QTabWidget(this);
    m_tabs->setTabsClosable(true);
    m_tabs->setMovable(true);
    m_tabs->setDocumentMode(true);
    setCentralWidget(m_tabs);

    m_outlineDock = new QDockWidget(tr("Outline"), this);
    m_outlineDock->setObjectName(QStringLiteral("outline"));
    m_outlines = new QStackedWidget(m_outlineDock);
    auto* noOutline = new QLabel(tr("No outline"), m_outlines);
    noOutline->setAlignment(Qt::AlignCenter);
    m_noOutline = noOutline;
    m_outlines->addWidget(m_noOutline);
    m_outlineDock->setWidget(m_outlines);
    addDockWidget(Qt::LeftDockWidgetArea, m_outlineDock);

    m_output = new OutputDock(this);
    addDockWidget(Qt::BottomDockWidgetArea, m_output);
    m_defects = std::make_unique<DefectsHost>(this, &m_settings);
    resizeDocks({m_outlineDock}, {280}, Qt::Horizontal);
    resizeDocks({m_output}, {120}, Qt::Vertical);

    m_progress = new ProgressPanel(statusBar());
    statusBar()->addPermanentWidget(m_progress);

    createMenus();
    connect(m_tabs, &QTabWidget::currentChanged, this, &StudioMainWindow::currentTabChanged);
    connect(m_tabs, &QTabWidget::tabCloseRequested, this, &StudioMainWindow::closeTab);

    loadSettings();
    loadPlugin(pluginPath);
    updateCommands();
}

StudioMainWindow::~StudioMainWindow()
{
    // The tabs go first, while this window is whole: their windows may still call the studio.
    m_tabs->disconnect(this);
    const QList<QAStViewerWindow*> viewers = std::exchange(m_viewers, {});
    m_active = nullptr;
    for (QAStViewerWindow* viewer : viewers) {
        viewer->disconnect(this);
        delete viewer;
    }
    delete m_tabs;
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

void StudioMainWindow::createMenus()
{
    auto command = [this](QMenu* menu, Command id, const QString& text,
                          QKeySequence::StandardKey key) {
        QAction* action = menu->addAction(text, this, [this, id] { runCommand(id); });
        action->setShortcut(key);
        m_commands[id] = action;
    };

    QMenu* file = menuBar()->addMenu(tr("&File"));
    file->addAction(tr("&Open..."), QKeySequence::Open, this, &StudioMainWindow::openWithDialog);
    command(file, Reload, tr("&Reload"), QKeySequence::Refresh);
    command(file, SaveAs, tr("Save &As..."), QKeySequence::SaveAs);
    command(file, ExportDoc, tr("&Export to HTML..."), QKeySequence::UnknownKey);
    command(file, Print, tr("&Print..."), QKeySequence::Print);
    file->addSeparator();
    command(file, Close, tr("&Close"), QKeySequence::Close);
    file->addAction(tr("&Quit"), QKeySequence::Quit, this, &QWidget::close);

    QMenu* edit = menuBar()->addMenu(tr("&Edit"));
    command(edit, Copy, tr("&Copy"), QKeySequence::Copy);
    command(edit, Find, tr("&Find..."), QKeySequence::Find);

    m_toolsMenu = menuBar()->addMenu(tr("&Tools"));
    m_toolsMenu->addAction(tr("&Preferences..."), this, &StudioMainWindow::showPreferences);

    QMenu* view = menuBar()->addMenu(tr("&View"));
    view->addAction(m_outlineDock->toggleViewAction());
    view->addAction(m_output->toggleViewAction());
    m_defects->addMenuEntries(m_toolsMenu, view);

    for (QMenu* menu : {file, edit})
        connect(menu, &QMenu::aboutToShow, this, &StudioMainWindow::updateCommands);
}

void StudioMainWindow::loadSettings()
{
    if (m_settings.load())
        return;
    m_settingsBroken = true;
    m_output->appendOutput(
        tr("The settings cannot be read: %1\nThe defaults are in force; the file is "
           "kept until the settings are saved from the preferences.")
            .arg(m_settings.loadError()));
}

void StudioMainWindow::loadPlugin(const QString& path)
{
    m_plugin = PluginLibrary::load(path, &m_pluginError);
    if (!m_plugin) {
        m_output->appendOutput(m_pluginError);
        return;
    }
    plugin()->initialize(&m_component, m_settings.root());
    statusBar()->showMessage(tr("%1 %2 loaded").arg(plugin()->pluginName(), plugin()->version()),
                             5000);
}

QAStViewerPlugin* StudioMainWindow::plugin() const
{
    return m_plugin ? m_plugin->plugin() : nullptr;
}

QAStViewerWindow* StudioMainWindow::openFiles(const QStringList& requested)
{
    if (!plugin() || requested.isEmpty())
        return nullptr;
    const QStringList files = importedAsResultFiles(requested, this, this);
    QStringList fresh;
    QAStViewerWindow* shown = nullptr;
    for (const QString& file : files) {
        const QString path = absolute(file);
        if (QAStViewerWindow* holder = plugin()->openedWindow(path)) {
            if (!shown)
                shown = holder;
        } else if (!fresh.contains(path)) {
            fresh.append(path);
        }
    }
    if (!fresh.isEmpty()) {
        const QString first = ImportCache::originalOf(fresh.first());
        m_currentDirectory = QFileInfo(first).absolutePath();
        statusBar()->showMessage(tr("Opening %1").arg(QDir::toNativeSeparators(first)));
        QAStViewerWindow* viewer = plugin()->create(fresh, this, nullptr);
        if (!viewer)
            return nullptr;
        // The plug-in has told the user what it could not read; a window left with nothing
        // to show is not kept.
        const bool showsAny = std::any_of(fresh.begin(), fresh.end(), [&](const QString& file) {
            return plugin()->openedWindow(file) == viewer;
        });
        if (showsAny) {
            addViewer(viewer, fresh);
            shown = viewer;
            statusBar()->showMessage(tr("Opened %1").arg(m_tabs->tabText(m_tabs->indexOf(viewer))),
                                     5000);
        } else {
            delete viewer;
            statusBar()->showMessage(tr("Nothing could be opened"), 5000);
        }
    }
    if (shown)
        m_tabs->setCurrentWidget(shown);
    return shown;
}

void StudioMainWindow::addViewer(QAStViewerWindow* viewer, const QStringList& files)
{
    viewer->setWindowFlags(Qt::Widget); // a page of the tabs, not a window of its own
    m_viewers.append(viewer);
    // Only the QObject is left of it by now: it is compared, never used.
    connect(viewer, &QObject::destroyed, this, [this](QObject* gone) {
        m_viewers.removeIf(
            [gone](QAStViewerWindow* v) { return static_cast<QObject*>(v) == gone; });
        if (static_cast<QObject*>(m_active) == gone)
            m_active = nullptr;
        updateCommands();
    });
    if (QWidget* outline = viewer->contentOutlineWidget())
        m_outlines->addWidget(outline); // the viewer deletes it; the stack then lets it go
    // The tab names the files; its tip gives the viewer's title and the whole paths.
    QStringList names;
    QStringList paths{viewer->windowTitle()};
    for (const QString& file : files) {
        names.append(QFileInfo(file).fileName());
        paths.append(QDir::toNativeSeparators(ImportCache::originalOf(file)));
    }
    const QString label = names.size() <= 2
                              ? names.join(QStringLiteral(", "))
                              : tr("%1 and %2 more").arg(names.first()).arg(names.size() - 1);
    const int index = m_tabs->addTab(viewer, viewer->windowIcon(), label);
    m_tabs->setTabToolTip(index, paths.join(QLatin1Char('\n')));
}

void StudioMainWindow::openWithDialog()
{
    if (!plugin())
        return;
    const QStringList filters = plugin()->filters()
                                << tr("Analyzer and test results (*.sarif *.sarif.json *.xml)")
                                << tr("All files (*)");
    const QStringList files = QADialogs::current().openFileNames(
        this, tr("Open"), currentDirectory(), filters.join(QStringLiteral(";;")));
    openFiles(files);
}

QAStViewerWindow* StudioMainWindow::activeViewer() const
{
    QWidget* page = m_tabs->currentWidget();
    for (QAStViewerWindow* viewer : m_viewers) {
        if (viewer == page)
            return viewer;
    }
    return nullptr;
}

QList<QAStViewerWindow*> StudioMainWindow::viewers() const
{
    QList<QAStViewerWindow*> inTabOrder;
    for (int i = 0; i < m_tabs->count(); ++i) {
        for (QAStViewerWindow* viewer : m_viewers) {
            if (viewer == m_tabs->widget(i))
                inTabOrder.append(viewer);
        }
    }
    return inTabOrder;
}

SourceView* StudioMainWindow::activeSource() const
{
    return qobject_cast<SourceView*>(m_tabs->currentWidget());
}

QWidget* StudioMainWindow::currentOutline() const
{
    QWidget* shown = m_outlines->currentWidget();
    return shown == m_noOutline ? nullptr : shown;
}

void StudioMainWindow::currentTabChanged(int)
{
    QAStViewerWindow* viewer = activeViewer();
    if (m_active != viewer) {
        if (m_active)
            m_active->desactivated();
        m_active = viewer;
        if (viewer)
            viewer->activated();
    }
    // A viewer may make its outline only once it has something to show.
    QWidget* outline = viewer ? viewer->contentOutlineWidget() : nullptr;
    if (outline && m_outlines->indexOf(outline) < 0)
        m_outlines->addWidget(outline);
    m_outlines->setCurrentWidget(outline ? outline : m_noOutline);
    updateCommands();
}

void StudioMainWindow::closeTab(int index)
{
    QWidget* page = m_tabs->widget(index);
    if (!page)
        return;
    for (QAStViewerWindow* viewer : m_viewers) {
        if (viewer == page) {
            if (!viewer->canClose())
                return;
            if (m_active == viewer) {
                // It leaves the studio: it takes its menu away in its close event, as active.
                m_active = nullptr;
            }
            viewer->close();
            if (!viewer->testAttribute(Qt::WA_DeleteOnClose))
                viewer->deleteLater();
            m_tabs->removeTab(m_tabs->indexOf(page));
            return;
        }
    }
    m_tabs->removeTab(index);
    page->deleteLater();
}

void StudioMainWindow::updateCommands()
{
    const QAStViewerWindow* viewer = activeViewer();
    const SourceView* source = activeSource();
    m_commands[Reload]->setEnabled(viewer && viewer->isReloadEnabled());
    m_commands[SaveAs]->setEnabled(viewer && viewer->isSaveAsEnabled());
    m_commands[ExportDoc]->setEnabled(viewer && viewer->isExportDocEnabled());
    m_commands[Print]->setEnabled(viewer && viewer->isPrintEnabled());
    m_commands[Close]->setEnabled(m_tabs->currentWidget() != nullptr);
    m_commands[Copy]->setEnabled((viewer && viewer->isCopyEnabled()) || source);
    m_commands[Find]->setEnabled(viewer && viewer->isFindEnabled());
}

void StudioMainWindow::runCommand(Command command)
{
    updateCommands();
    if (!m_commands[command]->isEnabled())
        return;
    QAStViewerWindow* viewer = activeViewer();
    switch (command) {
    case Reload:
        refreshImportedResults(this, this); // originals changed since they were converted
        viewer->reload();
        break;
    case SaveAs:
        viewer->saveAs();
        break;
    case ExportDoc:
        viewer->exportDoc();
        break;
    case Print:
        viewer->print();
        break;
    case Close:
        closeTab(m_tabs->currentIndex());
        break;
    case Copy:
        if (viewer)
            viewer->copy();
        else
            activeSource()->copy();
        break;
    case Find:
        viewer->find();
        break;
    case CommandCount:
        break;
    }
}

PreferencesDialog* StudioMainWindow::showPreferences()
{
    if (!plugin())
        return nullptr;
    if (m_preferences) {
        m_preferences->raise();
        return m_preferences;
    }
    auto* dialog = new PreferencesDialog(plugin()->preferenceSettings(), this);
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    // Apply and OK both broadcast the new values to the plug-in's windows.
    plugin()->connectAccepted(dialog, SIGNAL(applied()));
    plugin()->connectRejected(dialog, SIGNAL(rejected()));
    connect(dialog, &QDialog::accepted, this, [this] {
        QString error;
        if (saveSettings(&error))
            statusBar()->showMessage(tr("Settings saved"), 5000);
        else
            m_output->appendOutput(error);
    });
    m_preferences = dialog;
    dialog->open();
    return dialog;
}

bool StudioMainWindow::saveSettings(QString* error)
{
    if (!m_settings.save(error))
        return false;
    if (m_settingsBroken && !m_settings.brokenCopy().isEmpty())
        m_output->appendOutput(
            tr("The unreadable settings were kept as %1").arg(m_settings.brokenCopy()));
    m_settingsBroken = false;
    return true;
}

QList<QMenu*> StudioMainWindow::pluginMenus() const
{
    QList<QMenu*> menus;
    for (const QPointer<QMenu>& menu : m_pluginMenus) {
        if (menu)
            menus.append(menu);
    }
    return menus;
}

void StudioMainWindow::closeEvent(QCloseEvent* event)
{
    for (QAStViewerWindow* viewer : viewers()) {
        if (!viewer->canClose()) {
            event->ignore();
            return;
        }
    }
    // A settings file that could not be read is only replaced when the user saves settings.
    if (!m_settingsBroken) {
        QString error;
        if (!saveSettings(&error))
            QADialogs::warning(this, caption(), error);
    }
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

// --- The services of the studio -----------------------------------------------------------

QWidget* StudioMainWindow::mainWindow() const
{
    return const_cast<StudioMainWindow*>(this);
}

QAOutputWindow* StudioMainWindow::outputWindow() const
{
    return m_output;
}

void StudioMainWindow::activateOutput()
{
    m_output->show();
    m_output->raise();
}

QStringList StudioMainWindow::documentSearchPath() const
{
    return {currentDirectory(), installDirectory() + QStringLiteral("/lib")};
}

QString StudioMainWindow::currentDirectory() const
{
    return m_currentDirectory;
}

QString StudioMainWindow::installDirectory() const
{
    return QDir::cleanPath(QCoreApplication::applicationDirPath() + QStringLiteral("/.."));
}

QString StudioMainWindow::caption() const
{
    return QStringLiteral("crcstudio");
}

int StudioMainWindow::insertMenu(QMenu* menu, const QString& title)
{
    if (!menu)
        return -1;
    menu->setTitle(title);
    menuBar()->insertMenu(m_toolsMenu->menuAction(), menu);
    const int id = m_nextMenuId++;
    m_pluginMenus.insert(id, menu);
    return id;
}

void StudioMainWindow::removeMenu(int id)
{
    const QPointer<QMenu> menu = m_pluginMenus.take(id);
    if (menu)
        menuBar()->removeAction(menu->menuAction());
}

void StudioMainWindow::addResProducer(QAResProducer* producer)
{
    m_settings.addProducer(producer);
}

QAILogMonitor* StudioMainWindow::logMonitor() const
{
    return m_output;
}

void StudioMainWindow::startProgress(int steps, const QString& label, const QString& cancelText)
{
    m_progress->start(steps, label, cancelText);
}

void StudioMainWindow::setProgress(int step)
{
    m_progress->setStep(step);
}

void StudioMainWindow::endProgress()
{
    m_progress->end();
}

void StudioMainWindow::openLocation(const QString& location, int kind, bool activate)
{
    static const QRegularExpression atLine(QStringLiteral("^(.+) line (\\d+)\\s*$"));
    const QRegularExpressionMatch match = atLine.match(location);
    if (kind != sourceLocation || !match.hasMatch()) {
        m_output->appendOutput(
            tr("Cannot open the location \"%1\" (kind %2)").arg(location).arg(kind));
        return;
    }
    const QString path = absolute(QDir(currentDirectory()).filePath(match.captured(1).trimmed()));
    const int line = match.captured(2).toInt();
    for (int i = 0; i < m_tabs->count(); ++i) {
        if (auto* source = qobject_cast<SourceView*>(m_tabs->widget(i));
            source && source->path() == path) {
            source->showLine(line);
            if (activate)
                m_tabs->setCurrentWidget(source);
            return;
        }
    }
    QString error;
    std::unique_ptr<SourceView> source = SourceView::open(path, &error);
    if (!source) {
        m_output->appendOutput(tr("Cannot open the source file %1").arg(error));
        if (activate)
            activateOutput();
        return;
    }
    SourceView* shown = source.release(); // the tabs own it from here
    const int index = m_tabs->addTab(shown, QFileInfo(path).fileName());
    m_tabs->setTabToolTip(index, QDir::toNativeSeparators(path));
    shown->showLine(line);
    if (activate)
        m_tabs->setCurrentWidget(shown);
}

TrackwellInterface* StudioMainWindow::trackwellInterface() const
{
    return m_defects->tracker();
}
