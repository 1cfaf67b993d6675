// The viewer window and its life: set-up, construction, activation, preferences.
#include "viewer/qareporter.h"
#include "viewer/qareporterhost.h"

#include "folio/model/dlink.h"
#include "folio/view/dreportwidget.h"
#include "model/qareporternode.h"
#include "prefs/qareporterpref.h"
#include "prefs/qareporterprefgeneral.h"
#include "sdk/qares.h"
#include "sdk/studiointerface.h"
#include "sdk/triagerecords.h"
#include "session/placehistory.h"
#include "session/reportsession.h"
#include "session/triagemarks.h"
#include "viewer/outlinemodel.h"
#include "viewer/outlinepane.h"
#include "viewer/qareportermanager.h"
#include "viewer/qarlistview.h"
#include "viewer/qarpopupmenu.h"
#include "viewer/qartoolbar.h"
#include "viewer/studiosessioncontext.h"

#include <QCloseEvent>
#include <QDockWidget>
#include <QHeaderView>
#include <QMenuBar>
#include <iostream>

QAReporterPref* QAReporter::s_preference = nullptr;
QAReporterManager* QAReporter::s_manager = nullptr;
bool QAReporter::s_initialized = false;
int QAReporter::s_reporterCount = 0;

void QAReporter::initialize(QARes* resources, StudioInterface* studio)
{
    if (s_initialized || !studio)
        return;
    if (QARToolBar* shared = QARToolBar::getToolBar(studio))
        shared->show();
    // Both live as long as the process: every window of the plug-in shares them.
    s_preference = new QAReporterPref(studio);
    s_manager = new QAReporterManager;
    if (resources && resources->toResGroup()) {
        if (QARes* settings = resources->search(QStringLiteral("CRC")))
            s_preference->fromResources(settings, nullptr);
    }
    studio->addResProducer(s_preference);
    s_initialized = true;
}

QAReporterPref* QAReporter::preference()
{
    return s_preference;
}

QAReporterManager* QAReporter::manager()
{
    return s_manager;
}

QAReporter::QAReporter(const QString& title, const QPixmap& icon, QWidget* parent,
                       Qt::WindowFlags flags, bool activate)
    : QAStViewerWindow(parent, flags), m_context(std::make_unique<StudioSessionContext>()),
      m_session(std::make_unique<ReportSession>(m_context.get())), m_title(title)
{
    setActivateDisplay(activate);
    if (s_manager)
        s_manager->add(this);
    StudioInterface* studio = hostStudio();
    QWidget* studioWindow = studio ? studio->mainWindow() : nullptr;
    if (studioWindow)
        setWindowTitle(QStringLiteral("%1 [%2]").arg(title).arg(++s_reporterCount));
    else
        setWindowTitle(title);
    setWindowIcon(icon);
    const QStringList searchPaths = studio ? studio->documentSearchPath() : QStringList();

    // The names by which tests and style sheets find the parts of the window.
    m_headerDock = new QDockWidget(this);
    m_headerDock->setObjectName(QStringLiteral("summaryDock"));
    m_headerDock->setFeatures(QDockWidget::DockWidgetClosable);
    m_headerDock->setAllowedAreas(Qt::TopDockWidgetArea);
    m_headerView = new DReportWidget(m_headerDock);
    m_headerView->setObjectName(QStringLiteral("summaryView"));
    m_headerView->setSearchPaths(searchPaths);
    // Docked as tall as its rows (showHeaderDock()), never less than a strip that shows the
    // first row.
    m_headerView->setMinimumHeight(26);
    m_headerView->setMargin(2);
    m_headerDock->setWidget(m_headerView);
    m_headerDock->hide(); // docked once there are two reports to sum up

    m_documentView = new DReportWidget(this);
    m_documentView->setObjectName(QStringLiteral("reportView"));
    m_documentView->setSearchPaths(searchPaths);
    m_documentView->setMargin(5);
    setCentralWidget(m_documentView);
    if (s_preference)
        m_documentView->setBackgroundColor(s_preference->general->background);

    m_outline = new QARListView;
    m_outline->outlineModel()->setNotes(
        [this](const QAReporterNode& node) { return m_session->triage().noteOf(node); });
    m_outline->setObjectName(QStringLiteral("reportOutline"));
    QHeaderView* columns = m_outline->header();
    columns->setStretchLastSection(false);
    columns->setSectionResizeMode(OutlineModel::NameColumn, QHeaderView::Stretch);
    columns->setSectionResizeMode(OutlineModel::VerdictColumn, QHeaderView::Fixed);
    columns->resizeSection(OutlineModel::VerdictColumn, 20);
    columns->setSectionResizeMode(OutlineModel::CountColumn, QHeaderView::ResizeToContents);
    columns->moveSection(OutlineModel::VerdictColumn, 0); // the verdict shows left of the name
    m_outlinePane = new OutlinePane(m_outline);

    m_contextPopup = new QARPopupMenu(m_outline);
    m_contextPopup->setObjectName(QStringLiteral("outlineContextMenu"));
    m_contextPopup->addAction(tr("&Go to"), this, &QAReporter::gotoMenu);
    m_submitEntry = m_contextPopup->addAction(tr("&Submit Trackwell Defect Report"), this,
                                              &QAReporter::submitTrackwell);
    m_contextPopup->setToolTipsVisible(true); // says why Review is disabled
    m_reviewMenu = m_contextPopup->addMenu(tr("&Review"));
    m_reviewMenu->setObjectName(QStringLiteral("reviewMenu"));
    const QList<std::pair<QString, QString>> decisions{
        {QStringLiteral("confirmed"), tr("&Confirmed...")},
        {QStringLiteral("false-positive"), tr("&False Positive...")},
        {QStringLiteral("intentional"), tr("&Intentional...")},
        {QStringLiteral("unreviewed"), tr("C&lear...")}};
    for (const auto& [status, text] : decisions) {
        QAction* entry = m_reviewMenu->addAction(text);
        connect(entry, &QAction::triggered, this, [this, status = status, entry] {
            reviewEntry(status,
                        entry->text().remove(QLatin1Char('&')).remove(QStringLiteral("...")));
        });
    }

    connect(m_outline, &QAListView::contextMenuRequested, this, &QAReporter::showPopupMenu);
    connect(m_outline->selectionModel(), &QItemSelectionModel::currentRowChanged, this,
            &QAReporter::selItemChanged);
    connect(this, &QAStViewerWindow::reloadFile, this,
            qOverload<const QString&>(&QAReporter::reload));
    connect(m_headerView, &DReportWidget::activatedLink, this, &QAReporter::activateHeader);
    connect(m_documentView, &DReportWidget::activatedLink, this, &QAReporter::resolveLink);
    connect(this, &QAReporter::viewUpdated, m_documentView, qOverload<>(&QWidget::update));
    if (s_preference)
        connect(s_preference, &QAReporterPref::preferencesChanged, this, &QAReporter::applyPrefs);
    if (studioWindow)
        connect(studioWindow, &QObject::destroyed, this, &QAReporter::mainwindowDestroyed);
    connect(m_outline->selectionModel(), &QItemSelectionModel::currentRowChanged, this,
            [this](const QModelIndex& entry) { moveDoc(entry); });
    connect(m_outline, &QAListView::doubleClicked, this, &QAReporter::moveDocRaise);

    if (s_preference)
        m_session->setHideDismissed(s_preference->hideDismissed);
    if (studio) {
        m_session->setTriage(studio->reviewRecords(), studio->openDefects());
        studio->watchTriage(this, [this] { refreshTriage(); });
    }

    m_toolBar = QARToolBar::getToolBar(studio);
    if (!m_toolBar) {
        // Without a studio the window gets a toolbar of its own, enabled when it activates.
        m_toolBar = new QARToolBar(title + tr(" Toolbar"), this);
    }
}

QAReporter::~QAReporter()
{
    if (s_manager)
        s_manager->remove(this);
    m_documentView->clearDocs();
    m_headerView->clearDocs();
    delete m_outlinePane.data();
}

void QAReporter::closeEvent(QCloseEvent* event)
{
    // The shared toolbar belongs to the active window: a window closed in the background leaves
    // it alone.
    const bool ownToolBar = m_toolBar && m_toolBar->parent() == this;
    if (m_toolBar && (ownToolBar || isActiveViewer()))
        setupToolBar(false);
    if (isActiveViewer()) {
        StudioInterface* studio = hostStudio();
        if (studio && m_studioMenuId != -1)
            studio->removeMenu(m_studioMenuId);
        m_studioMenuId = -1;
        if (m_commandsMenu)
            m_commandsMenu->clear();
    }
    QAStViewerWindow::closeEvent(event);
}

QWidget* QAReporter::contentOutlineWidget() const
{
    return m_outlinePane;
}

const QStringList& QAReporter::fileList() const
{
    return m_session->files();
}

bool QAReporter::canGoBack() const
{
    return m_session->history().canGoBack();
}

bool QAReporter::canGoForward() const
{
    return m_session->history().canGoForward();
}

void QAReporter::setFiles(QStringList* files, QStringList* other, ViewerMode mode)
{
    QAStViewerWindow::setFiles(files, other, mode);
    m_session->setFiles(files ? *files : QStringList());
    analyse(m_session->files());
    if (mode != Console)
        return;
    std::cout << m_session->consoleSummary(node().name).toLocal8Bit().constData();
    std::cout.flush();
}

void QAReporter::mainwindowDestroyed()
{
    m_mainWindowGone = true;
}

void QAReporter::applyPrefs()
{
    if (!s_preference)
        return;
    m_documentView->setBackgroundColor(s_preference->general->background);
    m_documentView->refresh();
}

void QAReporter::activated()
{
    QAStViewerWindow::activated();
    if (!hasFocus())
        setFocus();
    followHideDismissed();
    setupToolBar(true);
    if (!m_commandsMenu)
        createToolMenu();
    StudioInterface* studio = hostStudio();
    if (m_commandsMenu && studio && studio->mainWindow()) {
        // The menu bar entry gets a mnemonic, unless the title brings its own.
        const QString menuTitle =
            m_title.contains(QLatin1Char('&')) ? m_title : QLatin1Char('&') + m_title;
        m_studioMenuId = studio->insertMenu(m_commandsMenu, menuTitle);
    } else if (m_commandsMenu && m_studioMenuId == -1) {
        // Outside a studio window the menu goes into the window's own menu bar, once.
        m_commandsMenu->setTitle(tr("&Commands"));
        menuBar()->addMenu(m_commandsMenu);
        m_studioMenuId = 0;
    }
    Q_EMIT stateChanged();
}

void QAReporter::desactivated()
{
    QAStViewerWindow::desactivated();
    setupToolBar(false);
    StudioInterface* studio = hostStudio();
    if (studio && studio->mainWindow() && m_studioMenuId != -1)
        studio->removeMenu(m_studioMenuId);
}
