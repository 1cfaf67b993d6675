#pragma once

#include <QKeySequence>
#include <QPointer>
#include <QToolBar>

class QAction;
class QMainWindow;
class QToolButton;
class StudioInterface;

// The viewer's toolbar: previous failure, next failure, and the switch between all results and
// failed results only. One toolbar is shared by all windows of the studio; the active window
// connects itself to it. The toolbar keeps the display mode that the windows read.
class QARToolBar : public QToolBar
{
    Q_OBJECT

public:
    QARToolBar(const QString& label, QMainWindow* mainWindow);

    // The studio's shared toolbar, created on first use; null without a studio main window.
    static QARToolBar* getToolBar(StudioInterface* studio);

    void setEnabledAll(bool on);
    bool isFiltered() const { return m_filtered; }
    // Flips the mode; the mode button shows the mode in force and stays down in failed-only mode.
    void switchFilter();

    QToolButton* prevButton() const { return m_prevButton; }
    QToolButton* nextButton() const { return m_nextButton; }
    QToolButton* filterButton() const { return m_filterButton; }
    // The keys of the next and previous failed result (a finding or a test): Ctrl+. and Ctrl+,
    // anywhere in the main window, enabled with the buttons.
    static QKeySequence nextFindingKey();
    static QKeySequence previousFindingKey();
    // The switch of the new failures only mode (against a baseline), Ctrl+Shift+F8, checked
    // while the active window is in it.
    QAction* newFailuresOnlyAction() const { return m_newFailuresOnly; }
    static QKeySequence newFailuresOnlyKey();
    void setNewFailuresOnly(bool on);
    // The switch that hides the results reviewed as false positive or intentional, Ctrl+Shift+D,
    // checked while the active window hides them.
    static QKeySequence hideDismissedKey();
    void setHideDismissed(bool on);

public Q_SLOTS:
    void KOsClicked();
    void KOpClicked();
    void filtreClicked();
    void reloadClicked();

Q_SIGNALS:
    void KOsuivClicked();
    void KOprecClicked();
    void fltClicked();
    void refreshClicked();
    void nextFindingClicked();
    void previousFindingClicked();
    void newFailuresOnlyClicked();
    void hideDismissedClicked();

private:
    QToolButton* addButton(const QPixmap& icon, const QString& text, const QString& name,
                           const QString& whatsThis, void (QARToolBar::*slot)());

    static QPointer<QARToolBar> reportertoolbar;

    QToolButton* m_prevButton = nullptr;
    QToolButton* m_nextButton = nullptr;
    QToolButton* m_filterButton = nullptr;
    QAction* m_nextFinding = nullptr;
    QAction* m_previousFinding = nullptr;
    QAction* m_newFailuresOnly = nullptr;
    QAction* m_hideDismissed = nullptr;
    bool m_filtered = false;
};
