#include "viewer/qartoolbar.h"

#include "sdk/studiointerface.h"
#include "viewer/qaricons.h"

#include <QAction>
#include <QMainWindow>
#include <QToolButton>

QPointer<QARToolBar> QARToolBar::reportertoolbar;

QARToolBar::QARToolBar(const QString& label, QMainWindow* mainWindow) : QToolBar(label, mainWindow)
{
    if (mainWindow)
        mainWindow->addToolBar(Qt::TopToolBarArea, this);
    m_prevButton = addButton(QARIcons::previousFailure(), tr("Previous Failed Test"),
                             QStringLiteral("Previous Failed Test"),
                             tr("<b>Previous Failed Test</b><br>Move cursor to the previous "
                                "failed test."),
                             &QARToolBar::KOpClicked);
    m_nextButton = addButton(QARIcons::nextFailure(), tr("Next Failed Test"),
                             QStringLiteral("Next Failed Test"),
                             tr("<b>Next Failed Test</b><br>Move cursor to the next failed test."),
                             &QARToolBar::KOsClicked);
    m_filterButton = addButton(
        QARIcons::allTests(), tr("All Test Results / Failed Tests Only"), QStringLiteral("Filter"),
        tr("<b>All Test Results</b> or <b>Failed Tests Only</b><br>Use this button to "
           "either display all tests or only failed tests"),
        &QARToolBar::filtreClicked);
    m_newFailuresOnly = addAction(tr("New Failures Only"));
    m_newFailuresOnly->setObjectName(QStringLiteral("New Failures Only"));
    m_newFailuresOnly->setCheckable(true);
    m_newFailuresOnly->setShortcut(newFailuresOnlyKey());
    m_newFailuresOnly->setToolTip(
        tr("New Failures Only (%1): the failures a baseline does not have")
            .arg(newFailuresOnlyKey().toString(QKeySequence::NativeText)));
    connect(m_newFailuresOnly, &QAction::triggered, this, &QARToolBar::newFailuresOnlyClicked);
    if (mainWindow)
        mainWindow->addAction(m_newFailuresOnly);
    m_hideDismissed = addAction(tr("Hide Dismissed Findings"));
    m_hideDismissed->setObjectName(QStringLiteral("Hide Dismissed Findings"));
    m_hideDismissed->setCheckable(true);
    m_hideDismissed->setShortcut(hideDismissedKey());
    m_hideDismissed->setToolTip(tr("Hide results reviewed as false positive or intentional (%1)")
                                    .arg(hideDismissedKey().toString(QKeySequence::NativeText)));
    connect(m_hideDismissed, &QAction::triggered, this, &QARToolBar::hideDismissedClicked);
    if (mainWindow)
        mainWindow->addAction(m_hideDismissed);
    // The keys press the buttons at once, anywhere in the main window; a disabled button
    // ignores them.
    const std::pair<QToolButton*, QKeySequence> keys[] = {
        {m_prevButton, QKeySequence(Qt::SHIFT | Qt::Key_F8)},
        {m_nextButton, QKeySequence(Qt::Key_F8)},
        {m_filterButton, QKeySequence(Qt::CTRL | Qt::Key_F8)}};
    for (const auto& [button, key] : keys) {
        auto* action = new QAction(button->text(), this);
        action->setShortcut(key);
        connect(action, &QAction::triggered, button, &QToolButton::click);
        if (mainWindow)
            mainWindow->addAction(action);
        button->setToolTip(
            tr("%1 (%2)").arg(button->text(), key.toString(QKeySequence::NativeText)));
    }
    m_nextFinding = new QAction(tr("Next Finding"), this);
    m_nextFinding->setShortcut(nextFindingKey());
    connect(m_nextFinding, &QAction::triggered, this, &QARToolBar::nextFindingClicked);
    m_previousFinding = new QAction(tr("Previous Finding"), this);
    m_previousFinding->setShortcut(previousFindingKey());
    connect(m_previousFinding, &QAction::triggered, this, &QARToolBar::previousFindingClicked);
    if (mainWindow)
        mainWindow->addActions({m_nextFinding, m_previousFinding});
    setEnabledAll(false);
}

QKeySequence QARToolBar::nextFindingKey()
{
    return QKeySequence(Qt::CTRL | Qt::Key_Period);
}

QKeySequence QARToolBar::newFailuresOnlyKey()
{
    return QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_F8);
}

void QARToolBar::setNewFailuresOnly(bool on)
{
    m_newFailuresOnly->setChecked(on);
}

QKeySequence QARToolBar::hideDismissedKey()
{
    return QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_D);
}

void QARToolBar::setHideDismissed(bool on)
{
    m_hideDismissed->setChecked(on);
}

QKeySequence QARToolBar::previousFindingKey()
{
    return QKeySequence(Qt::CTRL | Qt::Key_Comma);
}

QToolButton* QARToolBar::addButton(const QPixmap& icon, const QString& text, const QString& name,
                                   const QString& whatsThis, void (QARToolBar::*slot)())
{
    auto* button = new QToolButton(this);
    button->setIcon(icon);
    button->setText(text);
    button->setToolTip(text);
    button->setObjectName(name);
    button->setWhatsThis(whatsThis);
    connect(button, &QToolButton::clicked, this, slot);
    addWidget(button);
    return button;
}

QARToolBar* QARToolBar::getToolBar(StudioInterface* studio)
{
    auto* mainWindow = studio ? qobject_cast<QMainWindow*>(studio->mainWindow()) : nullptr;
    if (!mainWindow)
        return nullptr;
    if (!reportertoolbar) {
        reportertoolbar = new QARToolBar(tr("Code Review Toolbar", "Tool bar Title"), mainWindow);
        reportertoolbar->setObjectName(QStringLiteral("codeReviewToolBar")); // kept in layouts
    }
    return reportertoolbar;
}

void QARToolBar::setEnabledAll(bool on)
{
    m_prevButton->setEnabled(on);
    m_nextButton->setEnabled(on);
    m_filterButton->setEnabled(on);
    m_nextFinding->setEnabled(on);
    m_previousFinding->setEnabled(on);
    m_newFailuresOnly->setEnabled(on);
    m_hideDismissed->setEnabled(on);
}

void QARToolBar::switchFilter()
{
    m_filtered = !m_filtered;
    m_filterButton->setIcon(m_filtered ? QARIcons::failedTests() : QARIcons::allTests());
    m_filterButton->setDown(m_filtered);
}

void QARToolBar::KOsClicked()
{
    Q_EMIT KOsuivClicked();
}

void QARToolBar::KOpClicked()
{
    Q_EMIT KOprecClicked();
}

void QARToolBar::filtreClicked()
{
    switchFilter();
    Q_EMIT fltClicked();
}

void QARToolBar::reloadClicked()
{
    Q_EMIT refreshClicked();
}
