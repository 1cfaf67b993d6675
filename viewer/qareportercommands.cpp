// The commands menu, its help texts, the toolbar and the docks.
#include "viewer/qareporter.h"
#include "viewer/qareporterhost.h"

#include "folio/view/dreportwidget.h"
#include "model/qareporternode.h"
#include "sdk/studiointerface.h"
#include "session/reportsession.h"
#include "viewer/outlinemodel.h"
#include "viewer/qaricons.h"
#include "viewer/qarlistview.h"
#include "viewer/qarpopupmenu.h"
#include "viewer/qartoolbar.h"

#include <QDockWidget>
#include <QStatusBar>

// The commands menu entries keep these ids as their data.
namespace {
enum CommandId
{
    AllTestsId = 100,
    FailedTestsId = 101,
    ReloadId = 102,
    NextFailureId = 103,
    PreviousFailureId = 104,
    GenerateHtmlId = 105,
    MoreTypesId = 106,
    NextFindingId = 107,
    PreviousFindingId = 108,
    NewFailuresOnlyId = 109,
    HideDismissedId = 110,
    FirstTypeId = 202
};

// The menu lists the first types only: a file may hold a million, and no menu can show them.
constexpr qsizetype maxTypeEntries = 50;

qsizetype listedTypes(const QStringList& types)
{
    return qMin(types.size(), maxTypeEntries);
}
} // namespace

void QAReporter::showHeaderDock()
{
    if (!m_headerDock->isHidden())
        return;
    addDockWidget(Qt::TopDockWidgetArea, m_headerDock);
    m_headerDock->show();
    m_fitSummary = true;
    fitSummaryDock();
}

// Tall enough for the summary's rows, up to a third of the window; laid out at the width the
// reports are shown at, so once the window is shown.
void QAReporter::fitSummaryDock()
{
    if (!m_fitSummary || !isVisible() || m_headerDock->isHidden())
        return;
    m_fitSummary = false;
    const int frame = m_headerView->height() - m_headerView->viewport()->height();
    const int chrome = m_headerDock->minimumSizeHint().height() - m_headerView->minimumHeight();
    const int rows = m_headerView->documentsHeight(qMax(height() / 3, 80)) + qMax(frame, 0);
    resizeDocks({m_headerDock}, {qMax(rows, m_headerView->minimumHeight()) + qMax(chrome, 0)},
                Qt::Vertical);
}

void QAReporter::showEvent(QShowEvent* event)
{
    QAStViewerWindow::showEvent(event);
    if (m_fitSummary)
        QMetaObject::invokeMethod(this, &QAReporter::fitSummaryDock, Qt::QueuedConnection);
}

// A failed entry is filed as a defect, another as a report; a whole file cannot be filed.
void QAReporter::updateSubmitEntry(QAction* entry, const QModelIndex& item) const
{
    entry->setText(OutlineModel::isFailed(item) ? tr("&Submit Trackwell Defect Report")
                                                : tr("&Submit Trackwell Report"));
    entry->setEnabled(item.parent().isValid());
}

void QAReporter::updateReviewEntries(const QModelIndex& item) const
{
    const OutlineNode* node = OutlineModel::nodeOf(item);
    const bool identified = node && node->data && !node->data->key.isEmpty();
    m_reviewMenu->setEnabled(identified);
    const QString why =
        identified ? QString() : tr("This result has no identity to keep a review under");
    m_reviewMenu->menuAction()->setStatusTip(why);
    m_reviewMenu->menuAction()->setToolTip(why);
}

QModelIndex QAReporter::currentEntry() const
{
    return m_outline ? m_outline->currentEntry() : QModelIndex();
}

void QAReporter::contextMenu(const QModelIndex& entry, const QPoint& position, int)
{
    m_contextPopup->listItem = QPersistentModelIndex();
    if (!entry.isValid())
        return;
    updateSubmitEntry(m_submitEntry, entry);
    updateReviewEntries(entry);
    m_contextPopup->listItem = entry;
    m_contextPopup->popup(position);
}

void QAReporter::showPopupMenu(const QModelIndex& entry, const QPoint& position, int)
{
    m_contextPopup->listItem = entry.siblingAtColumn(OutlineModel::NameColumn);
    updateReviewEntries(m_contextPopup->listItem);
    m_contextPopup->popup(position);
}

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
        connect(m_toolBar, &QARToolBar::nextFindingClicked, this, &QAReporter::nextFinding,
                Qt::UniqueConnection);
        connect(m_toolBar, &QARToolBar::previousFindingClicked, this, &QAReporter::previousFinding,
                Qt::UniqueConnection);
        connect(m_toolBar, &QARToolBar::newFailuresOnlyClicked, this,
                &QAReporter::switchNewFailuresOnly, Qt::UniqueConnection);
        connect(m_toolBar, &QARToolBar::hideDismissedClicked, this,
                &QAReporter::switchHideDismissed, Qt::UniqueConnection);
        m_toolBar->setNewFailuresOnly(newFailuresOnlyWanted());
        m_toolBar->setHideDismissed(m_session->hideDismissed());
    } else {
        disconnect(m_toolBar, &QARToolBar::KOsuivClicked, this, &QAReporter::nextKO);
        disconnect(m_toolBar, &QARToolBar::KOprecClicked, this, &QAReporter::prevKO);
        disconnect(m_toolBar, &QARToolBar::fltClicked, this, &QAReporter::switchFilter);
        disconnect(m_toolBar, &QARToolBar::nextFindingClicked, this, &QAReporter::nextFinding);
        disconnect(m_toolBar, &QARToolBar::previousFindingClicked, this,
                   &QAReporter::previousFinding);
        disconnect(m_toolBar, &QARToolBar::newFailuresOnlyClicked, this,
                   &QAReporter::switchNewFailuresOnly);
        disconnect(m_toolBar, &QARToolBar::hideDismissedClicked, this,
                   &QAReporter::switchHideDismissed);
    }
}

void QAReporter::createToolMenu()
{
    if (!hostStudio())
        return;
    m_commandsMenu = new QMenu(m_title, this);
    m_commandsMenu->setObjectName(QStringLiteral("codeReviewMenu"));
    connect(m_commandsMenu, &QMenu::aboutToShow, this, &QAReporter::updateToolMenu);
    connect(m_commandsMenu, &QMenu::hovered, this,
            [this](QAction* action) { highlighted(action->data().toInt()); });
}

void QAReporter::updateToolMenu()
{
    if (!m_commandsMenu)
        return;
    m_commandsMenu->clear();
    const bool loaded = !m_session->records().empty();
    const bool filtered = m_toolBar && m_toolBar->isFiltered();
    const auto addEntry = [this](const QString& text, int id, auto slot) {
        QAction* action = m_commandsMenu->addAction(text, this, slot);
        action->setData(id);
        return action;
    };

    QAction* all = addEntry(tr("&All Test Results"), AllTestsId, &QAReporter::alltests);
    all->setCheckable(true);
    all->setChecked(!filtered);
    all->setEnabled(loaded);
    QAction* failed = addEntry(tr("&Failed Tests Only"), FailedTestsId, &QAReporter::failedtests);
    failed->setCheckable(true);
    failed->setChecked(filtered);
    failed->setEnabled(loaded);
    QAction* newOnly =
        addEntry(tr("&New Failures Only") + QLatin1Char('\t') +
                     QARToolBar::newFailuresOnlyKey().toString(QKeySequence::NativeText),
                 NewFailuresOnlyId, &QAReporter::switchNewFailuresOnly);
    newOnly->setCheckable(true);
    newOnly->setChecked(newFailuresOnlyWanted());
    newOnly->setEnabled(loaded && hasBaseline());
    QAction* hideDismissed =
        addEntry(tr("Hide Dis&missed Findings") + QLatin1Char('\t') +
                     QARToolBar::hideDismissedKey().toString(QKeySequence::NativeText),
                 HideDismissedId, &QAReporter::switchHideDismissed);
    hideDismissed->setCheckable(true);
    hideDismissed->setChecked(m_session->hideDismissed());
    hideDismissed->setEnabled(loaded);
    m_commandsMenu->addSeparator();

    int nextId = FirstTypeId; // the type entries, then the dock and submission entries
    const QStringList& types = m_session->typeNames();
    const qsizetype listed = listedTypes(types);
    for (qsizetype i = 0; i < listed; ++i) {
        const QString& type = types.at(i);
        const int id = nextId++;
        // A type name is shown as it is: an ampersand in it is no mnemonic. Hiding a type hides
        // the entries below its nodes too, and the entry says so.
        QString name = type;
        name.replace(QLatin1Char('&'), QStringLiteral("&&"));
        const QString text = tr("%1 (and all below)").arg(name);
        QAction* entry = m_commandsMenu->addAction(text, this, [this, id] { typeCheck(id); });
        entry->setData(id);
        entry->setCheckable(true);
        entry->setChecked(m_session->isTypeVisible(type));
    }
    if (types.size() > listed) {
        QAction* more = m_commandsMenu->addAction(
            tr("Types not listed: %1 (always shown)").arg(types.size() - listed));
        more->setData(MoreTypesId);
        more->setEnabled(false);
    }
    m_commandsMenu->addSeparator();

    QAction* reloadEntry = addEntry(tr("&Reload"), ReloadId, qOverload<>(&QAReporter::reload));
    reloadEntry->setIcon(QARIcons::reload());
    m_commandsMenu->addSeparator();
    m_showHeaderItemId = nextId++;
    QAction* showHeader = m_commandsMenu->addAction(tr("Show &header"), this,
                                                    [this] { showDock(m_showHeaderItemId); });
    showHeader->setData(m_showHeaderItemId);
    showHeader->setCheckable(true);
    showHeader->setChecked(!m_headerDock->isHidden());
    m_printHeaderItemId = nextId++;
    QAction* printHeaderEntry =
        addEntry(tr("&Print Header"), m_printHeaderItemId, &QAReporter::printHeader);
    printHeaderEntry->setEnabled(m_headerShown);
    m_commandsMenu->addSeparator();
    QAction* submit = addEntry(QString(), nextId++, &QAReporter::submitTrackwell);
    updateSubmitEntry(submit, currentEntry());
    submit->setEnabled(submit->isEnabled() && loaded);
    m_commandsMenu->addSeparator();
    addEntry(tr("&Generate HTML"), GenerateHtmlId, &QAReporter::exportDoc);
    m_commandsMenu->addSeparator();
    // The keys belong to the toolbar's buttons; the entries only name them.
    addEntry(tr("&Next Failed Test") + QStringLiteral("\tF8"), NextFailureId, &QAReporter::nextKO)
        ->setEnabled(loaded);
    addEntry(tr("Pre&vious Failed Test") + QStringLiteral("\tShift+F8"), PreviousFailureId,
             &QAReporter::prevKO)
        ->setEnabled(loaded);
    const auto keyText = [](const QKeySequence& key) {
        return QLatin1Char('\t') + key.toString(QKeySequence::NativeText);
    };
    addEntry(tr("Ne&xt Finding") + keyText(QARToolBar::nextFindingKey()), NextFindingId,
             &QAReporter::nextFinding)
        ->setEnabled(loaded);
    addEntry(tr("Previous Fin&ding") + keyText(QARToolBar::previousFindingKey()), PreviousFindingId,
             &QAReporter::previousFinding)
        ->setEnabled(loaded);

    // Qt shows an entry's status tip when the pointer rests on it; an empty one would erase the
    // help the moment it appears.
    for (QAction* action : m_commandsMenu->actions()) {
        if (!action->isSeparator())
            action->setStatusTip(helpText(action->data().toInt(), action));
    }
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
    const qsizetype index = id - FirstTypeId;
    const QStringList& types = m_session->typeNames();
    if (!s_preference || !hostStudio() || !entry || index < 0 || index >= listedTypes(types))
        return;
    const QString type = types.at(index);
    setTypeVisible(type, !m_session->isTypeVisible(type));
}

QString QAReporter::helpText(int id, const QAction* entry)
{
    switch (id) {
    case AllTestsId:
        return tr("Display complete report");
    case FailedTestsId:
        return tr("Display failed tests only");
    case ReloadId:
        return tr("Reload the current report");
    case NextFailureId:
        return tr("Move to the next failed test");
    case PreviousFailureId:
        return tr("Move to the previous failed test");
    case NextFindingId:
        return tr("Move to the next failed finding or test, over what holds them");
    case PreviousFindingId:
        return tr("Move to the previous failed finding or test, over what holds them");
    case NewFailuresOnlyId:
        return tr("Display only the failures the baseline does not have");
    case HideDismissedId:
        return tr("Hide results reviewed as false positive or intentional");
    case GenerateHtmlId:
        return tr("Generate the viewer's content to a HTML file");
    case MoreTypesId:
        return tr("The menu lists the first %1 types; the nodes of the others are always shown")
            .arg(maxTypeEntries);
    default:
        break;
    }
    // The entry's text as shown, without its mnemonic.
    return tr("Show or hide %1", " %1 is the menu item name")
        .arg(entry ? entry->iconText() : QString());
}

void QAReporter::highlighted(int id)
{
    StudioInterface* studio = hostStudio();
    if (!studio || !m_commandsMenu)
        return;
    if (auto* studioWindow = qobject_cast<QMainWindow*>(studio->mainWindow()))
        studioWindow->statusBar()->showMessage(helpText(id, commandEntry(id)));
}

void QAReporter::showDock(int)
{
    if (!hostStudio() || !m_commandsMenu)
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

void QAReporter::gotoMenu()
{
    if (m_contextPopup->listItem.isValid())
        moveDoc(m_contextPopup->listItem);
}
