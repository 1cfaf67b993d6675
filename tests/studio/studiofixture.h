#pragma once

// The real crcstudio for the studio's test programs: the main window with the real plug-in, a
// settings file and a defect store of its own, scripted dialogs, and what a user does with it.
// Everything goes through what is drawn: menus opened from the menu bar, keys, clicks on
// outline entries and links where they are drawn, drops on the window; what the window shows is
// read from its widgets, found by their object names or their texts.
//
// A helper that cannot do what it is asked (a menu entry that is not there, a link that is not
// drawn) says why in a warning and answers false or null: the test that asked fails, the others
// run.

#include "sdk/qadialogs.h"

#include <QImage>
#include <QModelIndex>
#include <QStringList>
#include <functional>
#include <memory>

class QAbstractScrollArea;
class QAction;
class QDialog;
class QLabel;
class QLineEdit;
class QMenu;
class QPlainTextEdit;
class QProgressBar;
class QPushButton;
class QTabWidget;
class QTableView;
class QTreeView;
class StudioMainWindow;

// Scripted dialogs that also note the folder each file dialog opened in.
class FixtureDialogs : public ScriptedDialogs
{
public:
    QStringList openFileNames(QWidget* parent, const QString& caption, const QString& directory,
                              const QString& filter, QString* selectedFilter = nullptr) override;
    QString saveFileName(QWidget* parent, const QString& caption, const QString& directory,
                         const QString& filter) override;
    // The messages shown, in order (the file and folder dialogs left out).
    QStringList messages() const;

    QStringList openedIn;
    QStringList savedIn; // where each Save dialog started
};

class StudioFixture
{
public:
    StudioFixture();
    ~StudioFixture();
    StudioFixture(const StudioFixture&) = delete;
    StudioFixture& operator=(const StudioFixture&) = delete;

    // The plug-in library crcstudio loads.
    static QString pluginPath();

    // Starts the studio as `crcstudio --settings SETTINGS --defects DEFECTS` does (the store
    // beside the settings file unless given), with the real plug-in unless `plugin` names
    // another, shows it and makes it the active window. False, with the reason in a warning,
    // when the studio came up without its plug-in.
    [[nodiscard]] bool start(const QString& settings, const QString& defects = QString(),
                             const QString& plugin = QString());
    // Closes the window (as the window manager's close button does) and ends the studio.
    void quit();

    StudioMainWindow& window() const { return *m_window; }
    FixtureDialogs& dialogs() const { return *m_dialogs; }
    // The real dialogs from now on (message boxes to read and answer), and scripted ones again
    // (new, with nothing asked yet).
    void useRealDialogs();
    void useScriptedDialogs();

    // Files the studio's defects into `store` from now on, as --defects does at start-up.
    void useDefectStore(const QString& store);

    // --- Files --------------------------------------------------------------------------

    // File > Open, the files chosen in its dialog.
    [[nodiscard]] bool open(const QStringList& files);
    // Drags `files` over the window and drops them; false when the window refused the drag.
    [[nodiscard]] bool drop(const QStringList& files);

    // --- Menus, keys and clicks ---------------------------------------------------------

    // Opens the menu at `path` of the menu bar, as the user clicks the titles (texts as read:
    // no mnemonic, no key), and leaves it open; null when a title is not there.
    QMenu* openMenu(const QStringList& path);
    // Closes every open menu, as Escape does.
    void closeMenus();
    // Clicks the entry at `path` ({"File", "Open Recent", "1 report.crc"}); false when an
    // entry is not there or is disabled.
    [[nodiscard]] bool trigger(const QStringList& path);
    // The entry at `path` as its menu shows it when opened (enabled, checked, text); the menu
    // is closed again. Null when it is not there. Valid until the menu opens again.
    QAction* entry(const QStringList& path);
    // The texts of the menu at `path` as it shows them when opened; a separator is "-", an
    // unchecked entry that can be checked starts with "[ ] ", a checked one with "[x] ".
    QStringList entries(const QStringList& path);
    // A key pressed on the widget that has the focus, with the studio the active window.
    void press(int key, Qt::KeyboardModifiers modifiers = Qt::NoModifier);
    // A click where `widget` shows nothing to act on (its top left corner), which gives it the
    // focus.
    void clickInto(QWidget* widget);
    // Makes the studio the active window again: after a dialog or a menu the offscreen
    // platform does not give the activation back as a window manager would.
    bool bringForward();

    // --- Tabs -----------------------------------------------------------------------------

    QTabWidget* tabs() const;
    int tabCount() const;
    QString currentTabText() const;
    // The tab's tool tip as the user reads it.
    QString tabTip(int index) const;
    // The files the tab shown names in its tool tip (a viewer's: after its title line).
    QStringList shownFiles() const;
    // Clicks the tab `index`.
    [[nodiscard]] bool showTab(int index);
    // The index of the tab whose text is `text`; -1 when none is.
    int tabNamed(const QString& text) const;
    // Clicks the close button of tab `index` and waits until its page is gone.
    [[nodiscard]] bool closeTab(int index);
    // Closes every tab; open menus and dialogs are closed and the filter of the shared toolbar
    // is set back to all results first, so that the next test starts afresh.
    [[nodiscard]] bool closeAllTabs();
    // Whether the window shows the text that tells how to open a file.
    bool showsWelcome() const;

    // --- The outline --------------------------------------------------------------------

    // The outline shown in the outline dock; null when the tab shown has none.
    QTreeView* outline() const;
    // The filter box above the outline; null when the tab shown has none.
    QLineEdit* outlineFilter() const;
    // Clicks into the filter box, types `text` over what it held and presses Return; false
    // when there is no filter box.
    [[nodiscard]] bool filterOutline(const QString& text);
    // The entry at the names from the file entry down; invalid (with a warning) when not shown.
    QModelIndex outlineEntry(const QStringList& names) const;
    // The names from the file entry down to `entry`.
    static QStringList namesOf(const QModelIndex& entry);
    // The names of the outline's current entry.
    QStringList currentEntry() const;
    // Scrolls the outline with the wheel until `entry` is drawn, then clicks it.
    [[nodiscard]] bool clickEntry(const QModelIndex& entry);
    [[nodiscard]] bool clickEntry(const QStringList& names);
    // Right-clicks the outline at `entry` (or on empty space below the entries) and chooses
    // `choice` from the menu that opens; false when the menu or the entry is not there, or
    // the entry is disabled.
    [[nodiscard]] bool chooseFromOutlineMenu(const QModelIndex& entry, const QString& choice);
    // The outline's context menu as it stands after a right click on `entry` (left open).
    QMenu* openOutlineMenu(const QModelIndex& entry);

    // --- The report and the summary -------------------------------------------------------

    // The report view of the tab shown and the summary view above it; null when not shown.
    QAbstractScrollArea* documentView() const;
    QAbstractScrollArea* summaryView() const;
    QWidget* summaryDock() const;
    // All the text of the view, as Select All and Copy of its context menu put it on the
    // clipboard. The selection is cleared afterwards by a click into the view.
    QString allText(QAbstractScrollArea* view);
    QString documentText() { return allText(documentView()); }
    // The summary's text; a summary dock the window keeps closed (one report) is shown first
    // with Code Review > Show header.
    QString summaryText();
    // The lines of text drawn in the view now, selected with the mouse from its top left to
    // its bottom right corner and copied.
    QStringList shownLines(QAbstractScrollArea* view);
    QStringList shownLines() { return shownLines(documentView()); }
    // What the view draws in the top `height` pixels, to compare.
    QImage topOfView(int height = 24) const;
    // Where the report view is scrolled to, as its scroll bar shows it.
    int scrollPosition() const;
    // Turns the mouse wheel over the report `notches` times (positive: down).
    void wheel(int notches);
    // The texts of the links drawn in the view, top to bottom.
    QStringList drawnLinks(QAbstractScrollArea* view);
    // Clicks the first link drawn in the report view whose text is `text` (or, with
    // Qt::MatchContains, holds it: a part of a link that wraps is enough).
    [[nodiscard]] bool clickLink(const QString& text, Qt::MatchFlag how = Qt::MatchExactly);

    // --- Source views, output, status and progress ----------------------------------------

    // The source file of the tab shown; null when the tab shows none.
    QPlainTextEdit* sourceView() const;
    // The path of the source shown (its tab's tool tip), and its highlighted line (0: none).
    QString sourcePath() const;
    int highlightedLine() const;
    // What the output window shows, and what it gained since the last call of newOutput().
    QString output() const;
    QStringList newOutput();
    QWidget* outputDock() const;
    QString statusMessage() const;
    // The progress display of the status bar.
    QWidget* progress() const;
    QLabel* progressLabel() const;
    QProgressBar* progressBar() const;
    QPushButton* cancelButton() const;
    // The shared toolbar's filter button: down while failed tests only are shown.
    QWidget* toolBarButton(const QString& name) const;
    bool showsFailedOnly() const;

    // --- Defects ------------------------------------------------------------------------

    // Tools > Defect Tracker..., the command and time limit typed in, the echo set, OK.
    [[nodiscard]] bool configureTracker(const QString& command, int seconds, bool echo);
    // Clicks the entry, right-clicks it and chooses "Submit Trackwell Defect Report".
    [[nodiscard]] bool fileDefect(const QStringList& names);
    // Tools > Defect Tracker..., the dialog that opened; null when none did.
    QDialog* openTrackerDialog();
    // Brings the dock titled `title` to the front of the docks it shares its place with, as a
    // click on its tab does; shows it first from the View menu when it is closed.
    [[nodiscard]] bool showDock(const QString& title);
    // The Defects dock brought to the front, and its parts.
    QWidget* defectsDock() const;
    QTableView* defectsTable();
    QLineEdit* defectsFilter() const;
    QPushButton* defectsButton(const QString& text) const;
    QLabel* defectsMessage() const;
    // The texts of `column` of the rows shown, top to bottom.
    QStringList defectsColumn(int column);

private:
    QMenu* openBarMenu(const QString& title);
    bool copySelection(QAbstractScrollArea* view, QString* text);
    // The texts of the links drawn in `areas` of the view, each selected with the mouse.
    QStringList linkTexts(QAbstractScrollArea* view, const QList<QRect>& areas);

    std::unique_ptr<StudioMainWindow> m_window;
    FixtureDialogs* m_dialogs = nullptr; // installed in QADialogs
    int m_outputMark = 0;
};

// A menu entry's text as the user reads it: no mnemonic, no key after a tab.
QString plainText(const QString& text);
// The entry of `menu` whose text reads `text`; null when there is none.
QAction* entryOf(const QMenu* menu, const QString& text);
// Runs `act` once the next modal dialog is open, then closes it (rejects it).
void inNextDialog(const std::function<void(QDialog*)>& act);
// The mouse resting on `at` of `widget`: the tool tip it shows (as set), or none.
QString hover(QWidget* widget, const QPoint& at);
// The field of a dialog that the label reading `text` names with its mnemonic.
QWidget* fieldLabelled(const QWidget* dialog, const QString& text);
// Replaces the text of a line edit or spin box as a user does: select all, type.
void typeOver(QWidget* field, const QString& text);
