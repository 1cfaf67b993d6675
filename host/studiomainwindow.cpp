#include "host/studiomainwindow.h"

#include "host/defectshost.h"
#include "host/defecttracker.h"
#include "host/importedresults.h"
#include "host/outputdock.h"
#include "host/pluginlibrary.h"
#include "host/preferencesdialog.h"
#include "host/progresspanel.h"
#include "host/sourceview.h"
#include "import/importcache.h"
#include "import/resultimport.h"
#include "sdk/preferenceitem.h"
#include "sdk/qadialogs.h"
#include "sdk/qaplaintext.h"
#include "sdk/qasafefile.h"
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
#include <QMouseEvent>
#include <QRegularExpression>
#include <QStackedWidget>
#include <QStandardPaths>
#include <QStatusBar>
#include <QStyle>
#include <QTabWidget>
#include <QToolBar>
#include <algorithm>
#include <utility>

namespace {

constexpr int sourceLocation = 3; // openLocation(): a source file at a line, or a tag
constexpr int recentKept = 10;
const QString settingsGroup = QStringLiteral("crcstudio");

// The studio's settings are strings in the tree; binary ones are kept as base64.
QString stringSetting(const QAResGroup* group, const QString& name)
{
    const QARes* res = group ? group->child(name) : nullptr;
    const QAResString* value = res ? res->toResString() : nullptr;
    return value ? value->value() : QString();
}

// A viewer is this plug-in's window, reached through the object model: the host does not link
// the plug-in. The answer is false when the viewer has no such property.
bool viewerFlag(const QAStViewerWindow* viewer, const char* name)
{
    return viewer && viewer->property(name).toBool();
}

// Whether `viewer` itself holds `file` (another window on its way out may hold it too).
bool viewerHolds(QAStViewerWindow* viewer, const QString& file)
{
    bool holds = false;
    return QMetaObject::invokeMethod(viewer, "contain", Q_RETURN_ARG(bool, holds),
                                     Q_ARG(QString, file)) &&
           holds;
}

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

    m_central = new QStackedWidget(this);
    auto* welcome = new QLabel(
        tr("<h3>No result file open</h3><p>Open a code review result file (<b>.crc</b>) with "
           "<b>File &gt; Open</b> (%1) or <b>File &gt; Open Recent</b>, or drop it on this "
           "window.</p>")
            .arg(QKeySequence(QKeySequence::Open).toString(QKeySequence::NativeText)),
        m_central);
    welcome->setAlignment(Qt::AlignCenter);
    welcome->setWordWrap(true);
    welcome->setObjectName(QStringLiteral("welcome"));
    m_welcome = welcome;
    m_tabs = new QTabWidget(m_central);
    m_tabs->setObjectName(QStringLiteral("tabs"));
    m_tabs->setTabsClosable(true);
    m_tabs->setMovable(true);
    m_tabs->setDocumentMode(true);
    m_central->addWidget(m_welcome);
    m_central->addWidget(m_tabs);
    setCentralWidget(m_central);

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
    loadStudioSettings();
    m_settings.addProducer(this);
    loadPlugin(pluginPath);
    restoreLayout();
    // The mouse's back and forward buttons, wherever in this window they are pressed.
    qApp->installEventFilter(this);
    updateCommands();
}

StudioMainWindow::~StudioMainWindow()
{
    m_settings.removeProducer(this);
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
    m_recentMenu = file->addMenu(tr("Open &Recent"));
    connect(m_recentMenu, &QMenu::aboutToShow, this, &StudioMainWindow::fillRecentMenu);
    fillRecentMenu();
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
    command(edit, FindNext, tr("Find &Next"), QKeySequence::FindNext);
    command(edit, FindPrevious, tr("Find Pre&vious"), QKeySequence::FindPrevious);

    QMenu* go = menuBar()->addMenu(tr("&Go"));
    command(go, Back, tr("&Back"), QKeySequence::Back);
    command(go, Forward, tr("&Forward"), QKeySequence::Forward);
    m_commands[Back]->setIcon(style()->standardIcon(QStyle::SP_ArrowBack));
    m_commands[Forward]->setIcon(style()->standardIcon(QStyle::SP_ArrowForward));
    m_commands[Back]->setStatusTip(tr("Back to the report and place shown before the last link"));
    m_commands[Forward]->setStatusTip(tr("Forward again to the report and place left by Back"));
    QToolBar* navigation = addToolBar(tr("Navigation"));
    navigation->setObjectName(QStringLiteral("navigation"));
    navigation->addAction(m_commands[Back]);
    navigation->addAction(m_commands[Forward]);

    m_toolsMenu = menuBar()->addMenu(tr("&Tools"));
    m_toolsMenu->addAction(tr("&Preferences..."), this, &StudioMainWindow::showPreferences);

    QMenu* view = menuBar()->addMenu(tr("&View"));
    view->addAction(m_outlineDock->toggleViewAction());
    view->addAction(m_output->toggleViewAction());
    m_defects->addMenuEntries(m_toolsMenu, view);

    for (QMenu* menu : {file, edit, go})
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
        // A window whose tab was closed may still be on its way out: it holds nothing.
        QAStViewerWindow* holder = plugin()->openedWindow(path);
        if (holder && m_tabs->indexOf(holder) >= 0) {
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
            return viewerHolds(viewer, file);
        });
        if (showsAny) {
            addViewer(viewer);
            shown = viewer;
            const QStringList opened = shownFiles(viewer);
            for (auto it = opened.crbegin(); it != opened.crend(); ++it)
                addRecentFile(ImportCache::originalOf(*it));
            statusBar()->showMessage(tr("Opened %1").arg(m_tabs->tabText(m_tabs->indexOf(viewer))),
                                     5000);
        } else {
            // A cancelled reading leaves the window as it was; the viewer said so.
            if (!viewerFlag(viewer, "loadCancelled"))
                statusBar()->showMessage(tr("Nothing could be opened"), 5000);
            delete viewer;
        }
    }
    if (shown)
        m_tabs->setCurrentWidget(shown);
    return shown;
}

void StudioMainWindow::addViewer(QAStViewerWindow* viewer)
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
    connect(viewer, &QAStudioWindow::stateChanged, this, &StudioMainWindow::updateCommands);
    connect(viewer, &QAStudioWindow::captionChanged, this, [this, viewer] { updateTab(viewer); });
    if (QWidget* outline = viewer->contentOutlineWidget())
        m_outlines->addWidget(outline); // the viewer deletes it; the stack then lets it go
    m_tabs->addTab(viewer, viewer->windowIcon(), QString());
    updateTab(viewer);
}

QStringList StudioMainWindow::shownFiles(QAStViewerWindow* viewer) const
{
    QStringList shown;
    if (!plugin())
        return shown;
    const QStringList files = viewer->property("fileList").toStringList();
    for (const QString& file : files) {
        if (viewerHolds(viewer, file) && !shown.contains(file))
            shown.append(file);
    }
    return shown;
}

// The tab names the files the viewer shows; its tip gives the viewer's title and the whole paths.
void StudioMainWindow::updateTab(QAStViewerWindow* viewer)
{
    const int index = m_tabs->indexOf(viewer);
    if (index < 0)
        return;
    QStringList names;
    QStringList paths{viewer->windowTitle()};
    for (const QString& file : shownFiles(viewer)) {
        names.append(QFileInfo(file).fileName());
        paths.append(QDir::toNativeSeparators(ImportCache::originalOf(file)));
    }
    const QString label = names.size() <= 2
                              ? names.join(QStringLiteral(", "))
                              : tr("%1 and %2 more").arg(names.first()).arg(names.size() - 1);
    m_tabs->setTabText(index, label);
    m_tabs->setTabToolTip(index, QAPlainText::toolTip(paths.join(QLatin1Char('\n'))));
    updateTitle();
    updateCommands();
}

void StudioMainWindow::updateTitle()
{
    const int index = m_tabs->currentIndex();
    setWindowTitle(index < 0 ? caption() : tr("%1 - %2").arg(m_tabs->tabText(index), caption()));
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
    m_central->setCurrentWidget(m_tabs->count() > 0 ? m_tabs : m_welcome);
    updateTitle();
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
    m_commands[FindNext]->setEnabled(viewer && viewer->isFindEnabled());
    m_commands[FindPrevious]->setEnabled(viewer && viewer->isFindEnabled());
    m_commands[Back]->setEnabled(viewerFlag(viewer, "canGoBack"));
    m_commands[Forward]->setEnabled(viewerFlag(viewer, "canGoForward"));
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
    case FindNext:
        QMetaObject::invokeMethod(viewer, "findNext");
        break;
    case FindPrevious:
        QMetaObject::invokeMethod(viewer, "findPrevious");
        break;
    case Back:
        QMetaObject::invokeMethod(viewer, "goBack");
        break;
    case Forward:
        QMetaObject::invokeMethod(viewer, "goForward");
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
    dialog->setValuesReader([this] { return m_settings.producedValues(); });
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

bool StudioMainWindow::progressCancelled() const
{
    return m_progress->isRunning() && m_progress->cancelled();
}

void StudioMainWindow::openLocation(const QString& location, int kind, bool activate)
{
    static const QRegularExpression atLine(QStringLiteral("^(.+) line (\\d+)\\s*$"));
    if (kind == sourceLocation && atLine.match(location).hasMatch()) {
        openSource(location, activate);
        return;
    }
    // Any other location of this kind is a tag of the reports ("::T", "A::B::C" or a bare
    // tag): the viewer that asked, the one shown, moves to it.
    if (kind == sourceLocation && m_active && !location.trimmed().isEmpty()) {
        m_active->scrollToTag(location.trimmed(), -1, -1);
        return;
    }
    m_output->appendOutput(tr("Cannot open the location \"%1\" (kind %2)").arg(location).arg(kind));
}

// A source file at a line. A relative path lies beside the report shown; a file that is not
// where the report says may be under a source root the user located before, or be located now.
void StudioMainWindow::openSource(const QString& location, bool activate)
{
    static const QRegularExpression atLine(QStringLiteral("^(.+) line (\\d+)\\s*$"));
    const QRegularExpressionMatch match = atLine.match(location);
    QString path = match.captured(1).trimmed();
    if (QFileInfo(path).isRelative()) {
        const QStringList reports = activeViewer() ? shownFiles(activeViewer()) : QStringList();
        const QString base =
            reports.isEmpty() ? currentDirectory() : QFileInfo(reports.first()).absolutePath();
        path = QDir(base).filePath(path);
    }
    path = absolute(path);
    if (!QFileInfo::exists(path)) {
        for (auto root = m_sourceRoots.cbegin(); root != m_sourceRoots.cend(); ++root) {
            const QString moved = root.value() + path.mid(root.key().size());
            if (path.startsWith(root.key()) && QFileInfo::exists(moved)) {
                path = moved;
                break;
            }
        }
    }
    if (!QFileInfo::exists(path)) {
        m_output->appendOutput(tr("Cannot open the source file %1: no such file").arg(path));
        const QString located = locateSource(path);
        if (located.isEmpty()) {
            if (activate)
                activateOutput();
            return;
        }
        path = located;
    }
    showSource(path, match.captured(2).toInt(), activate);
}

// Asks the user where a missing source file is. The parts that both paths end with are the
// file's place below its source root; what is left of each is remembered as a root.
QString StudioMainWindow::locateSource(const QString& missing)
{
    const QString name = QFileInfo(missing).fileName();
    if (QADialogs::question(this, caption(),
                            tr("The source file %1 cannot be found.\nLocate it?")
                                .arg(QDir::toNativeSeparators(missing)),
                            QMessageBox::Yes | QMessageBox::No,
                            QMessageBox::Yes) != QMessageBox::Yes)
        return QString();
    const QStringList picked =
        QADialogs::current().openFileNames(this, tr("Locate %1").arg(name), currentDirectory(),
                                           tr("%1 (%1);;All files (*)").arg(name));
    if (picked.isEmpty() || !QASafeWrite::isRegularFile(picked.first()))
        return QString();
    const QString found = absolute(picked.first());
    QStringList from = missing.split(QLatin1Char('/'));
    QStringList to = found.split(QLatin1Char('/'));
    while (from.size() > 1 && to.size() > 1 && from.last() == to.last()) {
        from.removeLast();
        to.removeLast();
    }
    const QString root = from.join(QLatin1Char('/')) + QLatin1Char('/');
    if (missing.startsWith(root) && from.size() < missing.count(QLatin1Char('/')) + 1) {
        m_sourceRoots.insert(root, to.join(QLatin1Char('/')) + QLatin1Char('/'));
        m_output->appendOutput(tr("Sources under %1 are now looked for under %2")
                                   .arg(root, m_sourceRoots.value(root)));
        QString error;
        if (!m_settingsBroken && !saveSettings(&error))
            m_output->appendOutput(error);
    }
    return found;
}

bool StudioMainWindow::showSource(const QString& path, int line, bool activate)
{
    for (int i = 0; i < m_tabs->count(); ++i) {
        if (auto* source = qobject_cast<SourceView*>(m_tabs->widget(i));
            source && source->path() == path) {
            source->showLine(line);
            if (activate)
                m_tabs->setCurrentWidget(source);
            return true;
        }
    }
    QString error;
    std::unique_ptr<SourceView> source = SourceView::open(path, &error);
    if (!source) {
        m_output->appendOutput(tr("Cannot open the source file %1").arg(error));
        if (activate)
            activateOutput();
        return false;
    }
    SourceView* shown = source.release(); // the tabs own it from here
    const int index = m_tabs->addTab(shown, QFileInfo(path).fileName());
    m_tabs->setTabToolTip(index, QAPlainText::toolTip(QDir::toNativeSeparators(path)));
    shown->showLine(line);
    if (activate)
        m_tabs->setCurrentWidget(shown);
    return true;
}

TrackwellInterface* StudioMainWindow::trackwellInterface() const
{
    return m_defects->tracker();
}

QString StudioMainWindow::originalFileOf(const QString& path) const
{
    return ImportCache::originalOf(path);
}

// --- What the studio remembers -------------------------------------------------------------

void StudioMainWindow::loadStudioSettings()
{
    const QARes* res = m_settings.root()->child(settingsGroup);
    const QAResGroup* group = res ? res->toResGroup() : nullptr;
    if (!group)
        return;
    m_savedGeometry =
        QByteArray::fromBase64(stringSetting(group, QStringLiteral("geometry")).toLatin1());
    m_savedState =
        QByteArray::fromBase64(stringSetting(group, QStringLiteral("layout")).toLatin1());
    const QString directory = stringSetting(group, QStringLiteral("last_directory"));
    if (!directory.isEmpty() && QFileInfo(directory).isDir())
        m_currentDirectory = directory;
    if (const QARes* recent = group->child(QStringLiteral("recent"));
        recent && recent->toResGroup()) {
        for (const auto& entry : recent->toResGroup()->children()) {
            if (const QAResString* file = entry->toResString();
                file && m_recentFiles.size() < recentKept)
                m_recentFiles.append(file->value());
        }
    }
    if (const QARes* roots = group->child(QStringLiteral("source_roots"));
        roots && roots->toResGroup()) {
        for (const auto& entry : roots->toResGroup()->children()) {
            const QAResGroup* root = entry->toResGroup();
            const QString from = stringSetting(root, QStringLiteral("from"));
            const QString to = stringSetting(root, QStringLiteral("to"));
            if (!from.isEmpty() && !to.isEmpty())
                m_sourceRoots.insert(from, to);
        }
    }
    fillRecentMenu();
}

// Size, place and dock layout as the user left them; the plug-in's toolbar exists by now.
void StudioMainWindow::restoreLayout()
{
    if (!m_savedGeometry.isEmpty())
        restoreGeometry(m_savedGeometry);
    if (!m_savedState.isEmpty())
        restoreState(m_savedState);
}

std::unique_ptr<QARes> StudioMainWindow::toResources(const char* name)
{
    auto group = std::make_unique<QAResGroup>(name ? QString::fromLatin1(name) : settingsGroup);
    group->add<QAResString>(QStringLiteral("geometry"),
                            QString::fromLatin1(saveGeometry().toBase64()));
    group->add<QAResString>(QStringLiteral("layout"), QString::fromLatin1(saveState().toBase64()));
    group->add<QAResString>(QStringLiteral("last_directory"), m_currentDirectory);
    auto* recent = group->add<QAResGroup>(QStringLiteral("recent"));
    for (const QString& file : std::as_const(m_recentFiles))
        recent->add<QAResString>(QStringLiteral("file"), file);
    auto* roots = group->add<QAResGroup>(QStringLiteral("source_roots"));
    for (auto root = m_sourceRoots.cbegin(); root != m_sourceRoots.cend(); ++root) {
        auto* entry = roots->add<QAResGroup>(QStringLiteral("root"));
        entry->add<QAResString>(QStringLiteral("from"), root.key());
        entry->add<QAResString>(QStringLiteral("to"), root.value());
    }
    return group;
}

void StudioMainWindow::addRecentFile(const QString& path)
{
    m_recentFiles.removeAll(path);
    m_recentFiles.prepend(path);
    while (m_recentFiles.size() > recentKept)
        m_recentFiles.removeLast();
}

void StudioMainWindow::fillRecentMenu()
{
    m_recentMenu->clear();
    for (int i = 0; i < m_recentFiles.size(); ++i) {
        const QString file = m_recentFiles.at(i);
        QString name = QFileInfo(file).fileName();
        name.replace(QLatin1Char('&'), QStringLiteral("&&"));
        QAction* entry =
            m_recentMenu->addAction(i < 9 ? QStringLiteral("&%1 %2").arg(i + 1).arg(name) : name,
                                    this, [this, file] { openFiles({file}); });
        entry->setStatusTip(QDir::toNativeSeparators(file));
        entry->setToolTip(QAPlainText::toolTip(QDir::toNativeSeparators(file)));
    }
    if (!m_recentFiles.isEmpty())
        m_recentMenu->addSeparator();
    QAction* clear =
        m_recentMenu->addAction(tr("&Clear the List"), this, [this] { m_recentFiles.clear(); });
    clear->setEnabled(!m_recentFiles.isEmpty());
    m_recentMenu->setToolTipsVisible(true);
}

bool StudioMainWindow::eventFilter(QObject* watched, QEvent* event)
{
    if (event->type() == QEvent::MouseButtonPress && watched->isWidgetType() &&
        static_cast<QWidget*>(watched)->window() == this) {
        const Qt::MouseButton button = static_cast<QMouseEvent*>(event)->button();
        if (button == Qt::BackButton || button == Qt::ForwardButton) {
            runCommand(button == Qt::BackButton ? Back : Forward);
            return true;
        }
    }
    return QMainWindow::eventFilter(watched, event);
}
