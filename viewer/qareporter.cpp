#include "viewer/qareporter.h"

#include "export/qareporterhtmlwriter.h"
#include "filter/qareporterfilter.h"
#include "filter/qareporternodevalidator.h"
#include "folio/ddocument.h"
#include "folio/dexporthtml.h"
#include "folio/dlink.h"
#include "folio/dreportwidget.h"
#include "model/qareporterdata.h"
#include "model/qareporterdatatree.h"
#include "model/reportloader.h"
#include "model/reversesearch.h"
#include "prefs/qareporterpref.h"
#include "prefs/qareporterprefgeneral.h"
#include "prefs/qareporterprefstyles.h"
#include "sdk/qadialogs.h"
#include "sdk/qailogmonitor.h"
#include "sdk/qaoutputwindow.h"
#include "sdk/qaprogressdialog.h"
#include "sdk/qares.h"
#include "sdk/qaviewerfinddialog.h"
#include "sdk/studiointerface.h"
#include "sdk/trackwellinterface.h"
#include "viewer/qareportermanager.h"
#include "viewer/qarlistview.h"
#include "viewer/qarlistviewitem.h"
#include "viewer/qarpopupmenu.h"
#include "viewer/qartoolbar.h"

#include <QCloseEvent>
#include <QDir>
#include <QDockWidget>
#include <QFileInfo>
#include <QHash>
#include <QHeaderView>
#include <QMenuBar>
#include <QSaveFile>
#include <QSet>
#include <QStatusBar>
#include <iostream>

QAReporterPref* QAReporter::s_preference = nullptr;
QAReporterManager* QAReporter::s_manager = nullptr;
bool QAReporter::s_initialized = false;
int QAReporter::s_reporterCount = 0;

namespace {

StudioInterface* studioOf(const QAReporterPref* preference)
{
    return preference ? preference->studio : nullptr;
}

DStyleList currentStyles()
{
    const QAReporterPref* preference = QAReporter::preference();
    return preference ? preference->styles->styles : DStyleList();
}

} // namespace

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
    : QAStViewerWindow(parent, flags), m_validator(std::make_unique<QAReporterNodeValidator>()),
      m_title(title)
{
    setActivateDisplay(activate);
    if (s_manager)
        s_manager->add(this);
    StudioInterface* studio = studioOf(s_preference);
    QWidget* studioWindow = studio ? studio->mainWindow() : nullptr;
    if (studioWindow)
        setWindowTitle(QStringLiteral("%1 [%2]").arg(title).arg(++s_reporterCount));
    else
        setWindowTitle(title);
    setWindowIcon(icon);
    const QStringList searchPaths = studio ? studio->documentSearchPath() : QStringList();

    m_headerDock = new QDockWidget(this);
    m_headerDock->setFeatures(QDockWidget::DockWidgetClosable);
    m_headerDock->setAllowedAreas(Qt::TopDockWidgetArea);
    m_headerView = new DReportWidget(m_headerDock);
    m_headerView->setSearchPaths(searchPaths);
    m_headerDock->setWidget(m_headerView);
    m_headerDock->hide(); // docked once there are two reports to sum up

    m_documentView = new DReportWidget(this);
    m_documentView->setSearchPaths(searchPaths);
    setCentralWidget(m_documentView);
    if (s_preference)
        m_documentView->setBackgroundColor(s_preference->general->background);

    m_outline = new QARListView;
    m_outline->setHeaderLabels({tr("Name"), QString()});
    m_outline->header()->setSectionResizeMode(1, QHeaderView::Fixed);
    m_outline->header()->resizeSection(1, 20);
    m_outline->header()->moveSection(1, 0); // the verdict shows left of the name

    m_contextPopup = new QARPopupMenu(m_outline);
    m_contextPopup->addAction(tr("&Go to"), this, &QAReporter::gotoMenu);
    m_submitEntry = m_contextPopup->addAction(tr("&Submit Trackwell Defect Report"), this,
                                              &QAReporter::submitTrackwell);

    connect(m_outline, &QAListView::contextMenuRequested, this, &QAReporter::contextMenu);
    connect(m_outline, &QTreeWidget::currentItemChanged, this, &QAReporter::selItemChanged);
    connect(this, &QAStViewerWindow::reloadFile, this,
            qOverload<const QString&>(&QAReporter::reload));
    connect(m_headerView, &DReportWidget::activatedLink, this, &QAReporter::activateHeader);
    connect(m_documentView, &DReportWidget::activatedLink, this, &QAReporter::resolveLink);
    connect(this, &QAReporter::viewUpdated, m_documentView, qOverload<>(&QWidget::update));
    if (s_preference)
        connect(s_preference, &QAReporterPref::preferencesChanged, this, &QAReporter::applyPrefs);
    if (studioWindow)
        connect(studioWindow, &QObject::destroyed, this, &QAReporter::mainwindowDestroyed);
    connect(m_outline, &QTreeWidget::currentItemChanged, this,
            [this](QTreeWidgetItem* entry) { moveDoc(entry); });
    connect(m_outline, &QAListView::doubleClicked, this, &QAReporter::moveDocRaise);

    m_toolBar = QARToolBar::getToolBar(studio);
    if (!m_toolBar) {
        // Without a studio the window is its own active viewer with a toolbar of its own.
        m_toolBar = new QARToolBar(title + tr(" Toolbar"), this);
        setupToolBar(true);
    }
}

QAReporter::~QAReporter()
{
    if (s_manager)
        s_manager->remove(this);
    m_documentView->clearDocs();
    m_headerView->clearDocs();
    m_filter.reset();
    m_validator.reset();
    m_headerDocument.reset();
    m_dataList.clear();
    delete m_outline.data();
}

void QAReporter::closeEvent(QCloseEvent* event)
{
    if (m_toolBar)
        m_toolBar->setEnabledAll(false);
    if (isActiveViewer()) {
        StudioInterface* studio = studioOf(s_preference);
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
    return m_outline;
}

QARListView* QAReporter::outline() const
{
    return m_outline;
}

QARToolBar* QAReporter::toolBar() const
{
    return m_toolBar;
}

QMenu* QAReporter::commandsMenu() const
{
    return m_commandsMenu;
}

void QAReporter::setFiles(QStringList* files, QStringList* other, ViewerMode mode)
{
    QAStViewerWindow::setFiles(files, other, mode);
    m_fileList = files ? *files : QStringList();
    analyse(m_fileList);
    if (mode != Console)
        return;
    if (!node().name.isEmpty())
        std::cout << "TestNode: " << node().name.toLocal8Bit().constData() << "\n";
    std::cout << "\t[" << testPassed() << "] Test Case Passed\n";
    std::cout << "\t[" << testFailed() << "] Test Case Failed\n";
    std::cout.flush();
}

void QAReporter::analyse(const QStringList& files)
{
    StudioInterface* studio = studioOf(s_preference);
    const DStyleList styles = currentStyles();
    QStringList failed;
    QStringList reasons;
    m_typeVisibility.clear();
    m_typeVisibilityInitialised = false;
    QHash<QString, DDocument*> documentByTag;
    for (qsizetype i = 0; i < files.size(); ++i) {
        const QString& path = files.at(i);
        if (contain(path))
            continue;
        ReportLoadError error;
        std::unique_ptr<QAReporterData> record =
            QFileInfo::exists(path) ? loadReport(path, styles, studio, &error) : nullptr;
        if (!record) {
            failed.append(path);
            reasons.append(error.line > 0 ? QStringLiteral("%1:%2:%3: %4")
                                                .arg(path)
                                                .arg(error.line)
                                                .arg(error.column)
                                                .arg(error.message)
                                          : QStringLiteral("%1: %2").arg(
                                                path, error.message.isEmpty() ? tr("no such file")
                                                                              : error.message));
            continue;
        }
        if (DDocument* document = record->document.get()) {
            if (documentByTag.contains(document->tag()))
                document->setTag(document->tag() + QString::number(i));
            else
                documentByTag.insert(document->tag(), document);
        }
        m_dataList.push_back(std::move(record));
    }

    if (!failed.isEmpty()) {
        QString message = tr("File(s) not found or corrupted:\n");
        for (const QString& path : std::as_const(failed))
            message += tr("\t") + path + tr("\n");
        if (QAOutputWindow* output = studio ? studio->outputWindow() : nullptr) {
            output->appendOutput(message);
            for (const QString& reason : std::as_const(reasons))
                output->appendOutput(reason + QLatin1Char('\n'));
        }
        QADialogs::warning(this, tr("Test Report"), message);
    }
    if (m_dataList.empty())
        return;
    m_headerShown = m_dataList.size() >= 2;
    if (m_outline)
        m_outline->clear();
    updateTypes();
    if (m_toolBar && m_toolBar->isFiltered())
        displayKO();
    else
        displayreport();
}

void QAReporter::analyseData()
{
    if (m_dataAnalysed)
        return;
    QString savedTag;
    if (!m_filter) {
        m_filter = std::make_unique<QAReporterFilter>();
    } else {
        if (DDocument* shown = m_documentView->currentDocument())
            savedTag = shown->tag();
        m_headerView->clearDocs();
        m_documentView->clearDocs();
        m_filter->clear();
    }
    makeTagsUnique();
    m_filter->setValidator(*m_validator);
    QList<QAReporterData*> records;
    for (const auto& record : m_dataList)
        records.append(record.get());
    m_filter->applyFilter(records);
    updateListView();
    std::unique_ptr<DDocument> header = m_filter->doHeaderDoc(records, m_title, currentStyles());
    header->setTag(QStringLiteral("index"));
    updateView(m_filter->filtered(), std::move(header));
    if (m_headerShown)
        showHeaderDock();
    if (!savedTag.isNull())
        m_documentView->moveTo(QString(), QString(), savedTag);
    m_dataAnalysed = true;
}

void QAReporter::makeTagsUnique()
{
    // A later duplicate takes the first holder's tag with "_1"; the map keeps the original, so
    // each pass adds one more "_1" to documents that still share a tag.
    QHash<QString, QString> seen;
    for (const auto& record : m_dataList) {
        DDocument* document = record->document.get();
        if (!document)
            continue;
        const auto found = seen.constFind(document->tag());
        if (found == seen.constEnd())
            seen.insert(document->tag(), document->tag());
        else
            document->setTag(found.value() + QStringLiteral("_1"));
    }
}

void QAReporter::showHeaderDock()
{
    addDockWidget(Qt::TopDockWidgetArea, m_headerDock);
    m_headerDock->show();
}

void QAReporter::updateView(const std::vector<std::unique_ptr<QAReporterData>>& shown,
                            std::unique_ptr<DDocument> header)
{
    m_headerView->clearDocs();
    m_headerDocument = std::move(header);
    if (isActivatedDisplay())
        m_headerView->setDocument(m_headerDocument.get(), true);
    if (shown.empty() || !isActivatedDisplay())
        return;
    bool first = true;
    for (const auto& record : shown) {
        if (!record->document)
            continue;
        m_documentView->setDocument(record->document.get(), first);
        first = false;
    }
    Q_EMIT viewUpdated();
}

void QAReporter::updateListView()
{
    if (m_dataList.empty() || !m_outline)
        return;
    m_outline->clear();
    m_outline->setHeaderHidden(true);
    m_outline->setRootIsDecorated(true);
    m_outline->setAllColumnsShowFocus(false);
    m_outline->setSortingEnabled(false);
    if (m_filter) {
        for (const auto& record : m_filter->filtered())
            m_outline->addReport(record->tree, record->fileName);
    }
    m_outline->openToDepth(s_preference ? s_preference->general->autoDepth : 4);
    if (QTreeWidgetItem* first = m_outline->topLevelItem(0)) {
        m_outline->setCurrentItem(first);
        first->setSelected(true);
    }
}

void QAReporter::updateTypes()
{
    for (const auto& record : m_dataList) {
        for (const QString& type : std::as_const(record->typeList)) {
            if (!m_typeNames.contains(type))
                m_typeNames.append(type);
        }
    }
}

bool QAReporter::contain(const QString& file) const
{
    for (const auto& record : m_dataList) {
        if (record->fileName == file)
            return true;
    }
    return false;
}

int QAReporter::testPassed() const
{
    int total = 0;
    for (const auto& record : m_dataList)
        total += record->passed;
    return total;
}

int QAReporter::testFailed() const
{
    int total = 0;
    for (const auto& record : m_dataList)
        total += record->failed;
    return total;
}

void QAReporter::refreshContents()
{
    m_headerView->clearDocs();
    m_headerDocument.reset();
    m_documentView->clearDocs();
    if (m_filter)
        m_filter->clear();
    if (m_outline)
        m_outline->clear();
    m_dataList.clear();
    analyse(m_fileList);
}

void QAReporter::reload()
{
    m_dataAnalysed = false;
    refreshContents();
}

void QAReporter::reload(const QString&)
{
    reload();
}

std::unique_ptr<DDocument> QAReporter::readXrdFile(const QString& path) const
{
    if (!QFileInfo::exists(path))
        return nullptr;
    ReportLoadError error;
    std::unique_ptr<QAReporterData> record =
        loadReport(path, currentStyles(), studioOf(s_preference), &error);
    return record ? std::move(record->document) : nullptr;
}

void QAReporter::displayKO()
{
    m_validator->setAttribut(QAReporterNodeValidator::AttrState,
                             QRegularExpression(QStringLiteral("ko")));
    m_dataAnalysed = false;
    if (testFailed() == 0) {
        StudioInterface* studio = studioOf(s_preference);
        const QMessageBox::StandardButton answer = QADialogs::question(
            this, studio ? studio->caption() : windowTitle(),
            tr("The filtered report is empty. \nDo you want to show all tests instead of "
               "filtered report"),
            QMessageBox::Yes | QMessageBox::No, QMessageBox::Yes);
        if (answer == QMessageBox::Yes) {
            alltests();
            return;
        }
    }
    analyseData();
}

void QAReporter::displayreport()
{
    m_validator->unsetAttribut(QAReporterNodeValidator::AttrState);
    m_dataAnalysed = false;
    analyseData();
}

void QAReporter::switchFilter()
{
    if (m_toolBar && m_toolBar->isFiltered())
        displayKO();
    else
        displayreport();
}

void QAReporter::alltests()
{
    if (!m_toolBar)
        return;
    if (m_toolBar->isFiltered())
        m_toolBar->switchFilter();
    displayreport();
}

void QAReporter::failedtests()
{
    if (!m_toolBar)
        return;
    if (!m_toolBar->isFiltered())
        m_toolBar->switchFilter();
    displayKO();
}

void QAReporter::setTypeVisible(const QString& type, bool visible)
{
    const QRegularExpression expression(type);
    m_typeVisibility.insert(type, visible);
    if (visible)
        m_validator->unsetType(expression);
    else
        m_validator->setAttribut(QAReporterNodeValidator::AttrType, expression);
    m_dataAnalysed = false;
    analyseData();
}

void QAReporter::nextKO()
{
    if (m_outline)
        m_outline->nextKO();
}

void QAReporter::prevKO()
{
    if (m_outline)
        m_outline->prevKO();
}

void QAReporter::moveDoc(QTreeWidgetItem* entry)
{
    const auto* outlineEntry = dynamic_cast<QARListViewItem*>(entry);
    if (outlineEntry && outlineEntry->item)
        m_documentView->moveTo(outlineEntry->item);
}

void QAReporter::moveDocRaise(QTreeWidgetItem* entry)
{
    moveDoc(entry);
    if (s_preference && s_preference->general->autoRaise)
        m_documentView->setFocus();
}

void QAReporter::moveDoc(const QString& tag)
{
    if (tag.isEmpty())
        return;
    QString file, document, name;
    DLink(tag).split(file, document, name);
    m_documentView->moveTo(file, document, name);
    if (s_preference && s_preference->general->autoRaise)
        m_documentView->setFocus();
}

void QAReporter::activateHeader(DLink* link)
{
    if (!link || link->target().isEmpty())
        return;
    QString file, document, tag;
    link->split(file, document, tag);
    m_documentView->moveTo(file, document, tag);
    m_documentView->setFocus();
}

void QAReporter::selItemChanged(QTreeWidgetItem* entry)
{
    if (!s_preference || !studioOf(s_preference))
        return;
    m_currentItem = entry;
    updateSubmitEntry(m_submitEntry, entry);
}

// A failed entry is filed as a defect, another as a report; a whole file cannot be filed.
void QAReporter::updateSubmitEntry(QAction* entry, QTreeWidgetItem* item) const
{
    const auto* outlineEntry = dynamic_cast<const QARListViewItem*>(item);
    entry->setText(outlineEntry && outlineEntry->ko ? tr("&Submit Trackwell Defect Report")
                                                    : tr("&Submit Trackwell Report"));
    entry->setEnabled(item && item->parent());
}

void QAReporter::contextMenu(QTreeWidgetItem* entry, const QPoint& position, int)
{
    m_contextPopup->listItem = nullptr;
    if (!entry)
        return;
    updateSubmitEntry(m_submitEntry, entry);
    m_contextPopup->listItem = entry;
    m_contextPopup->popup(position);
}

void QAReporter::scrollToTag(const QString& tag, int, int)
{
    moveDoc(tag);
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

// ---- Activation, commands menu, header dock, printing and copying

namespace {
enum CommandId
{
    AllTestsId = 100,
    FailedTestsId = 101,
    ReloadId = 102,
    GenerateHtmlId = 105
};
} // namespace

void QAReporter::setupToolBar(bool on)
{
    if (!m_toolBar)
        return;
    m_toolBar->setEnabledAll(on);
    if (on) {
        connect(m_toolBar, &QARToolBar::KOsuivClicked, this, &QAReporter::nextKO,
                Qt::UniqueConnection);
        connect(m_toolBar, &QARToolBar::KOprecClicked, this, &QAReporter::prevKO,
                Qt::UniqueConnection);
        connect(m_toolBar, &QARToolBar::fltClicked, this, &QAReporter::switchFilter,
                Qt::UniqueConnection);
    } else {
        disconnect(m_toolBar, &QARToolBar::KOsuivClicked, this, &QAReporter::nextKO);
        disconnect(m_toolBar, &QARToolBar::KOprecClicked, this, &QAReporter::prevKO);
        disconnect(m_toolBar, &QARToolBar::fltClicked, this, &QAReporter::switchFilter);
    }
}

void QAReporter::activated()
{
    QAStViewerWindow::activated();
    if (!hasFocus())
        setFocus();
    setupToolBar(true);
    if (!m_commandsMenu)
        createToolMenu();
    StudioInterface* studio = studioOf(s_preference);
    if (!m_commandsMenu)
        return;
    if (studio && studio->mainWindow()) {
        m_studioMenuId = studio->insertMenu(m_commandsMenu, m_title);
    } else if (m_studioMenuId == -1) {
        // Outside a studio window the menu goes into the window's own menu bar, once.
        m_commandsMenu->setTitle(tr("&Commands"));
        menuBar()->addMenu(m_commandsMenu);
        m_studioMenuId = 0;
    }
}

void QAReporter::desactivated()
{
    QAStViewerWindow::desactivated();
    setupToolBar(false);
    StudioInterface* studio = studioOf(s_preference);
    if (studio && studio->mainWindow() && m_studioMenuId != -1)
        studio->removeMenu(m_studioMenuId);
}

void QAReporter::createToolMenu()
{
    if (!studioOf(s_preference))
        return;
    m_commandsMenu = new QMenu(m_title, this);
    connect(m_commandsMenu, &QMenu::aboutToShow, this, &QAReporter::updateToolMenu);
    connect(m_commandsMenu, &QMenu::hovered, this,
            [this](QAction* action) { highlighted(action->data().toInt()); });
}

void QAReporter::updateToolMenu()
{
    if (!m_commandsMenu)
        return;
    m_commandsMenu->clear();
    m_validator->unsetAttribut(QAReporterNodeValidator::AttrType);
    const bool loaded = !m_dataList.empty();
    const bool filtered = m_toolBar && m_toolBar->isFiltered();
    const auto addEntry = [this](const QString& text, int id, auto slot) {
        QAction* action = m_commandsMenu->addAction(text, this, slot);
        action->setData(id);
        return action;
    };

    QAction* all = addEntry(tr("All Test Results"), AllTestsId, &QAReporter::alltests);
    all->setCheckable(true);
    all->setChecked(!filtered);
    all->setEnabled(loaded);
    QAction* failed = addEntry(tr("Failed Tests Only"), FailedTestsId, &QAReporter::failedtests);
    failed->setCheckable(true);
    failed->setChecked(filtered);
    failed->setEnabled(loaded);
    m_commandsMenu->addSeparator();

    int nextId = ReloadId + 100; // ids of the type and dock entries
    for (const QString& type : std::as_const(m_typeNames)) {
        if (!m_typeVisibilityInitialised)
            m_typeVisibility.insert(type, true);
        const bool shown = m_typeVisibility.value(type, true);
        if (!shown)
            m_validator->setAttribut(QAReporterNodeValidator::AttrType, QRegularExpression(type));
        const int id = nextId++;
        QAction* entry = m_commandsMenu->addAction(type, this, [this, id] { typeCheck(id); });
        entry->setData(id);
        entry->setCheckable(true);
        entry->setChecked(shown);
    }
    m_typeVisibilityInitialised = true;
    m_commandsMenu->addSeparator();

    addEntry(tr("Reload"), ReloadId, qOverload<>(&QAReporter::reload));
    m_commandsMenu->addSeparator();
    m_showHeaderItemId = nextId++;
    QAction* showHeader = m_commandsMenu->addAction(tr("Show header"), this,
                                                    [this] { showDock(m_showHeaderItemId); });
    showHeader->setData(m_showHeaderItemId);
    showHeader->setCheckable(true);
    showHeader->setChecked(!m_headerDock->isHidden());
    m_printHeaderItemId = nextId++;
    QAction* printHeaderEntry =
        addEntry(tr("Print Header"), m_printHeaderItemId, &QAReporter::printHeader);
    printHeaderEntry->setEnabled(m_headerShown);
    m_commandsMenu->addSeparator();
    QAction* submit = addEntry(QString(), nextId++, &QAReporter::submitTrackwell);
    updateSubmitEntry(submit, m_currentItem);
    submit->setEnabled(submit->isEnabled() && loaded);
    m_commandsMenu->addSeparator();
    addEntry(tr("Generate HTML"), GenerateHtmlId, &QAReporter::exportDoc);
}

QAction* QAReporter::commandEntry(int id) const
{
    if (!m_commandsMenu)
        return nullptr;
    for (QAction* action : m_commandsMenu->actions()) {
        if (!action->isSeparator() && action->data().toInt() == id)
            return action;
    }
    return nullptr;
}

void QAReporter::typeCheck(int id)
{
    const QAction* entry = commandEntry(id);
    if (!s_preference || !studioOf(s_preference) || !entry || entry->text().isNull())
        return;
    setTypeVisible(entry->text(), !m_typeVisibility.value(entry->text(), true));
}

QString QAReporter::helpText(int id) const
{
    switch (id) {
    case AllTestsId:
        return tr("Display complete report");
    case FailedTestsId:
        return tr("Display failed tests only");
    case ReloadId:
        return tr("Reload the current report");
    case GenerateHtmlId:
        return tr("Generate the viewer's content to a HTML file");
    default:
        break;
    }
    const QAction* entry = commandEntry(id);
    return tr("Show or hide %1", " %1 is the menu item name")
        .arg(entry ? entry->text() : QString());
}

void QAReporter::highlighted(int id)
{
    StudioInterface* studio = studioOf(s_preference);
    if (!studio || !m_commandsMenu)
        return;
    if (auto* studioWindow = qobject_cast<QMainWindow*>(studio->mainWindow()))
        studioWindow->statusBar()->showMessage(helpText(id));
}

void QAReporter::showDock(int)
{
    if (!studioOf(s_preference) || !m_commandsMenu)
        return;
    if (m_headerDock->isHidden()) {
        showHeaderDock();
        m_headerShown = true;
    } else {
        removeDockWidget(m_headerDock);
        m_headerShown = false;
    }
    if (QAction* printHeaderEntry = commandEntry(m_printHeaderItemId))
        printHeaderEntry->setEnabled(m_headerShown);
}

void QAReporter::print()
{
    m_documentView->print();
}

void QAReporter::copy()
{
    m_documentView->copy();
}

void QAReporter::printHeader()
{
    if (m_headerShown)
        m_headerView->print();
}

// ---- Links, find, node assignment

void QAReporter::gotoMenu()
{
    if (m_contextPopup->listItem)
        moveDoc(m_contextPopup->listItem);
}

QAReporterNode* QAReporter::searchReporterNode(DItem* item) const
{
    if (!m_filter)
        return nullptr;
    QList<QAReporterData*> displayed;
    for (const auto& record : m_filter->filtered())
        displayed.append(record.get());
    return ::searchReporterNode(displayed, item);
}

void QAReporter::resolveLink(DLink* link)
{
    if (!link)
        return;
    QString target = link->target();
    const QLatin1String reportScheme("xrdlink://");
    if (target.startsWith(reportScheme)) {
        const QString rest = target.mid(reportScheme.size());
        const qsizetype hash = rest.indexOf(QLatin1Char('#'));
        QString file = hash < 0 ? rest : rest.left(hash);
        const QString anchor = hash < 0 ? QString() : rest.mid(hash + 1);
        if (!file.isEmpty()) {
            if (QFileInfo(file).isRelative()) {
                if (m_dataList.empty())
                    return;
                file = QFileInfo(m_dataList.front()->fileName).path() + QDir::separator() + file;
            }
            m_fileList = {file};
            m_dataAnalysed = false;
            refreshContents();
        }
        if (!anchor.isEmpty())
            scrollToTag(anchor, -1, -1);
        return;
    }

    static const QRegularExpression sourceLine(QStringLiteral("(.*)line (\\d+)"));
    const QRegularExpressionMatch match = sourceLine.match(target);
    if (match.hasMatch()) {
        const QString file = match.captured(1).trimmed();
        const QFileInfo info(file);
        if (file.isEmpty() || (info.isRelative() && !info.exists())) {
            if (const QAReporterNode* node = searchReporterNode(link))
                target = node->base + file + QStringLiteral(" line ") + match.captured(2);
        }
    }
    if (StudioInterface* studio = studioOf(s_preference))
        studio->openLocation(target, 3, true);
}

void QAReporter::find(const QString& text)
{
    static QPointer<QAViewerFindDialog> dialog; // one for all windows
    delete dialog.data();
    if (!text.isNull()) {
        m_findExpression.setPattern(text);
        findDialogSearch(m_findExpression);
        return;
    }
    StudioInterface* studio = studioOf(s_preference);
    QWidget* parent = studio ? studio->mainWindow() : nullptr;
    if (!parent)
        return;
    dialog = new QAViewerFindDialog(parent);
    dialog->setObjectName(QStringLiteral("reporter-find-dialog"));
    connect(dialog, &QAViewerFindDialog::search, this, &QAReporter::findDialogSearch);
    dialog->setRegExp(m_findExpression);
    dialog->exec();
    if (dialog)
        m_findExpression = dialog->regExp();
}

void QAReporter::findDialogSearch(const QRegularExpression& expression)
{
    m_documentView->search(expression);
}

void QAReporter::setNode(const nodeData& node)
{
    QAStViewerWindow::setNode(node);
    if (node.name.isEmpty())
        return;
    setWindowTitle(
        QStringLiteral("%1 [%2]").arg(m_title, node.name.section(QLatin1Char('.'), -1, -1)));
}

// ---- Save as, HTML export

namespace {

QString dialogTitle()
{
    StudioInterface* studio = studioOf(QAReporter::preference());
    return studio ? studio->caption()
                  : QAReporter::tr("Report", "Default product name to dialogs box.");
}

} // namespace

void QAReporter::saveAs()
{
    const QString title = dialogTitle();
    for (const auto& record : m_dataList) {
        while (!saveCopy(record->fileName, title)) {
        }
    }
}

// Asks for a name and copies `source` there; false when the user must be asked again.
bool QAReporter::saveCopy(const QString& source, const QString& title)
{
    const QFileInfo from(source);
    const QString chosen = QADialogs::current().saveFileName(
        this, tr("Save %1 Report As", "%1 is the source file name.").arg(from.fileName()),
        from.absolutePath(), tr("Report File") + QStringLiteral(" (*.xrd)"));
    if (chosen.isEmpty())
        return true;
    const QFileInfo to(chosen);
    if (from.filePath() == to.filePath()) {
        QADialogs::warning(
            this, title,
            tr("Source and destination files are the sames.\nPlease select an other file."));
        return false;
    }
    if (to.exists() &&
        QADialogs::current().message(this, QMessageBox::Warning, title,
                                     tr("The file already exists.\nDo you want to overwrite it?"),
                                     QMessageBox::Yes | QMessageBox::No | QMessageBox::Cancel,
                                     QMessageBox::No) != QMessageBox::Yes)
        return false;

    QFile input(source);
    if (!input.open(QIODevice::ReadOnly | QIODevice::Text)) {
        QADialogs::warning(
            this, title,
            tr("The file could not be save.\nPlease check if you have read permission."));
        return true;
    }
    // Written aside and renamed at the end: a failed copy never leaves half a file behind.
    QSaveFile output(chosen);
    if (!output.open(QIODevice::WriteOnly | QIODevice::Text)) {
        QADialogs::warning(
            this, title,
            tr("The file could not be save.\nPlease check if you have write permission."));
        return true;
    }
    while (!input.atEnd()) {
        QByteArray line = input.readLine();
        if (line.endsWith('\n'))
            line.chop(1);
        output.write(line);
        output.write("\n");
    }
    if (!output.commit())
        QADialogs::warning(
            this, title,
            tr("The file could not be save.\nPlease check if you have write permission."));
    return true;
}

void QAReporter::exportDoc()
{
    StudioInterface* studio = studioOf(s_preference);
    const QString directory = QADialogs::current().existingDirectory(
        this, QStringLiteral("Export To Html"),
        studio ? studio->currentDirectory() : QDir::currentPath());
    if (directory.isEmpty())
        return;
    QAProgressDialog progress(tr("Export Report to HTML files"), tr("Abort"), 100, this);
    progress.setWindowTitle(dialogTitle());
    exportHTML(directory, QStringLiteral("index.html"), &progress,
               studio ? studio->logMonitor() : nullptr);
}

bool QAReporter::exportHTML(const QString& directory, const QString&, QAIProgressMonitor* progress,
                            QAILogMonitor* log)
{
    StudioInterface* studio = studioOf(s_preference);
    QList<QAReporterData*> reports;
    for (const auto& record : m_dataList)
        reports.append(record.get());
    QList<QAReporterData*> displayed;
    if (m_filter) {
        for (const auto& record : m_filter->filtered())
            displayed.append(record.get());
    }
    QAReporterHTMLWriter writer(reports, displayed, progress, log);
    writer.setBaseForLink(directory);
    DExportHtml exporter(directory, (studio ? studio->currentDirectory() : QDir::currentPath()) +
                                        QDir::separator() + QStringLiteral("dhtml.cfg"));
    if (studio)
        exporter.setSearchPath(studio->documentSearchPath());
    exporter.setHTMLWriter(&writer);

    bool canceled = false;
    QStringList written;
    for (QAReporterData* record : std::as_const(displayed)) {
        if (progress && progress->isCanceled()) {
            canceled = true;
            break;
        }
        if (!record->document)
            continue;
        written.append(directory + QDir::separator() + record->document->tag() +
                       QStringLiteral(".html"));
        exporter.generate(record->document.get(), progress, log);
    }
    if (!canceled && !displayed.isEmpty()) {
        const QString base = QFileInfo(displayed.first()->fileName).path();
        const QStringList linked = writer.referencedXrd();
        writer.setReferencedXrd(written + linked);
        exportLinkedReports(base, linked, &writer, &exporter, progress, log);
    }
    if (m_headerDocument && !canceled)
        exporter.generate(m_headerDocument.get(), progress, log);
    return !canceled;
}

// Writes the pages of the report files `files` links to, pass by pass: each pass writes the
// files first named by the pages of the pass before, so every reachable file is written once.
void QAReporter::exportLinkedReports(const QString& directory, QStringList files,
                                     QAReporterHTMLWriter* writer, DExportHtml* exporter,
                                     QAIProgressMonitor* progress, QAILogMonitor* log)
{
    while (!files.isEmpty()) {
        const QStringList before = writer->referencedXrd();
        const QSet<QString> known(before.begin(), before.end());
        for (QString file : std::as_const(files)) {
            if (progress && progress->isCanceled())
                return;
            if (QFileInfo(file).isRelative())
                file = directory + QDir::separator() + file;
            std::unique_ptr<DDocument> document = readXrdFile(file);
            if (!document) {
                if (log)
                    log->logMessage(tr("Unable to open the report file '%1'").arg(file));
                continue;
            }
            document->setTag(QFileInfo(writer->getHtmlFilenameForXrd(file)).baseName());
            exporter->generate(document.get(), progress, log);
        }
        files.clear();
        for (const QString& file : writer->referencedXrd()) {
            if (!known.contains(file))
                files.append(file);
        }
    }
}

// ---- Defect submission

void QAReporter::submitTrackwell()
{
    StudioInterface* studio = studioOf(s_preference);
    if (!studio)
        return;
    QAOutputWindow* output = studio->outputWindow();
    studio->activateOutput();
    const auto log = [output](const QString& text) {
        if (output)
            output->appendOutput(text);
    };
    TrackwellInterface* tracker = studio->trackwellInterface();
    if (!tracker) {
        log(tr("Submit Defect Report Failed ...\n"));
        return;
    }
    log(tr("Submit Defect Report ...\n"));
    const nodeData studioNode = node();
    const auto* entry = dynamic_cast<const QARListViewItem*>(m_currentItem);
    if (!entry) {
        log(tr("No nodes selected\n"));
        log(tr("Stopped.\n"));
        return;
    }
    if (!entry->item) {
        log(tr("Can't find data\n"));
        log(tr("Stopped.\n"));
        return;
    }
    const QTreeWidgetItem* top = entry;
    while (top->parent())
        top = top->parent();
    const auto* reportEntry = static_cast<const QARListViewItem*>(top);

    QString headline = studio->caption();
    QString description;
    if (!studioNode.name.isEmpty()) {
        if (!studioNode.workspace.isEmpty()) {
            headline += studioNode.workspace + QLatin1Char(':');
            description += tr("Workspace:  ") + studioNode.workspace + QLatin1Char(' ');
        }
        headline += studioNode.name + QLatin1Char(':');
        description += tr("Test:       ") + studioNode.name + QLatin1Char(' ');
    }
    headline += reportEntry->text(0) + QLatin1Char(':') + entry->text(0);
    description += tr("Report file:  ") + reportEntry->text(0) + QLatin1Char(' ');
    description += tr("Item failed:  ", "Current node failed to Submit Defect Report") +
                   entry->text(0) + QLatin1Char(' ');
    description += tr("Item type:   ", "Current node type to Submit Defect Report") +
                   (entry->node ? entry->node->type : QString()) + QLatin1Char(' ');
    const QString label = tr("Report File");
    const QString path = QDir::toNativeSeparators(reportEntry->fileInfo.absoluteFilePath());

    const auto echo = [&] {
        if (tracker->activatedCmdLine() && output)
            log(QString::fromLocal8Bit(tracker->getCmdLine()) + QLatin1Char('\n'));
    };
    const auto error = [&] {
        log(QString::fromLocal8Bit(tracker->getErrorMessage()) + QLatin1Char('\n'));
    };
    const auto warnIfFailed = [&](quint16 result) {
        echo();
        if (!result) {
            log(tr("Warning ...\n"));
            error();
        }
    };
    const quint16 opened = tracker->open();
    echo();
    if (!opened) {
        error();
        log(tr("Stopped.\n"));
        return;
    }
    warnIfFailed(tracker->setHeadline(headline.toLocal8Bit().constData()));
    warnIfFailed(tracker->setDescription(description.toLocal8Bit().constData()));
    warnIfFailed(
        tracker->attachFile(label.toLocal8Bit().constData(), path.toLocal8Bit().constData()));
    const quint16 submitted = tracker->submit(0);
    echo();
    if (!submitted) {
        error();
        log(tr("Stopped.\n"));
    }
}
