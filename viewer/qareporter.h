#pragma once

#include "sdk/qastviewerwindow.h"

#include <QPointer>
#include <QRegularExpression>
#include <QStringList>
#include <memory>

class DLink;
struct SourceRequest;
class DReportWidget;
class QAction;
class QAReporterManager;
class QAReporterPref;
class OutlinePane;
class QARListView;
class QARPopupMenu;
class QARToolBar;
class QARes;
class QDockWidget;
class QMenu;
class ReportSession;
class StudioInterface;
class StudioSessionContext;
struct Place;

// The viewer window of one set of result files: the report documents in the centre, the summary
// of all reports in a dock above them, the outline of result nodes for the studio's outline area,
// and the switch between all results and failed ones only. What it shows is a ReportSession's;
// the window is its widgets.
class QAReporter : public QAStViewerWindow
{
    Q_OBJECT
    // Read by the studio through the object model: what is shown and whether there is a way back.
    Q_PROPERTY(QStringList fileList READ fileList)
    Q_PROPERTY(bool canGoBack READ canGoBack)
    Q_PROPERTY(bool canGoForward READ canGoForward)
    // Whether the user cancelled the last reading of the files; the window then shows what it
    // showed before.
    Q_PROPERTY(bool loadCancelled READ loadCancelled)
    // Whether the files are compared with a baseline run.
    Q_PROPERTY(bool hasBaseline READ hasBaseline)

public:
    // One-time set-up of the plug-in: shared toolbar, preferences, registry of windows.
    static void initialize(QARes* resources, StudioInterface* studio);
    static QAReporterPref* preference();
    static QAReporterManager* manager();

    QAReporter(const QString& title, const QPixmap& icon, QWidget* parent = nullptr,
               Qt::WindowFlags flags = {}, bool activate = true);
    ~QAReporter() override;

    const ReportSession& session() const { return *m_session; }

    // Loading and analysis.
    void setFiles(QStringList* files, QStringList* other, ViewerMode mode) override;
    // Reads and shows `files`; nothing changes when the user cancels the reading.
    void analyse(const QStringList& files);
    bool loadCancelled() const { return m_loadCancelled; }
    void analyseData();
    void refreshContents() override;
    Q_INVOKABLE bool contain(const QString& file) const;
    int testPassed() const;
    int testFailed() const;

    // Writes the displayed reports, the report files they link to and the summary as HTML pages
    // into `directory`; `index` takes no part (the summary is always "index.html").
    bool exportHTML(const QString& directory, const QString& index, QAIProgressMonitor* progress,
                    QAILogMonitor* log) override;

    // Stores the studio's node and shows its last name in the caption.
    void setNode(const nodeData& node) override;

    // Shows or hides the nodes of `type` (a regular expression matched at the start of types).
    void setTypeVisible(const QString& type, bool visible);

    // The studio's generic viewer interface.
    bool canClose() override { return true; }
    QWidget* contentOutlineWidget() const override;
    bool isSaveAsEnabled() const override { return true; }
    bool isPrintEnabled() const override { return true; }
    bool isCopyEnabled() const override { return true; }
    bool isFindEnabled() const override { return true; }
    bool isReloadEnabled() const override { return true; }
    bool isExportDocEnabled() const override { return true; }
    void scrollToTag(const QString& tag, int line, int column) override;

    const QStringList& fileList() const;
    bool hasBaseline() const;
    bool canGoBack() const;
    bool canGoForward() const;

public Q_SLOTS:
    void activated() override;
    void desactivated() override;
    void print() override;
    void copy() override;
    void printHeader();
    void updateToolMenu();
    void highlighted(int id);
    void typeCheck(int id);
    void showDock(int id);
    void reload() override;
    void reload(const QString& file);
    void nextKO();
    void prevKO();
    // Steps through the failed results only (findings and tests, not what holds them).
    void nextFinding();
    void previousFinding();
    void switchFilter();
    void alltests();
    void failedtests();
    void displayKO();
    void displayreport();
    void moveDoc(const QModelIndex& entry);
    void moveDocRaise(const QModelIndex& entry);
    void moveDoc(const QString& tag);
    void activateHeader(DLink* link);
    // Follows a link of a report: another result file, a tag, or a source file at a line.
    void resolveLink(DLink* link);
    void gotoMenu();
    // Files the selected outline entry in the studio's defect tracker.
    void submitTrackwell();
    // Keeps the user's review (`status`, named `decision` in the menu) of the selected result,
    // with a comment asked for first.
    void reviewEntry(const QString& status, const QString& decision);
    void find(const QString& text = QString()) override;
    // The last search again, after (before) the selection; the Find dialog when there is none.
    void findNext();
    void findPrevious();
    // The files and place shown before (after) the last link followed.
    void goBack();
    void goForward();
    // Writes a copy of each report under a name the user chooses.
    void saveAs() override;
    // Asks for a directory and exports the reports there as HTML pages.
    void exportDoc() override;
    void selItemChanged(const QModelIndex& entry);
    void contextMenu(const QModelIndex& entry, const QPoint& position, int column);
    // Opens the outline's context menu on `entry` (invalid on empty space) as it stands.
    void showPopupMenu(const QModelIndex& entry, const QPoint& position, int column);
    void mainwindowDestroyed();
    // Asks for a baseline run and marks what is new against it; the choice is remembered for
    // the first file shown. An unreadable run leaves the view as it was and says why.
    void compareWithBaseline();
    void clearBaseline();
    // Shows the new failures only, or all that the failed-only mode shows, again.
    void switchNewFailuresOnly();
    // Hides the results reviewed as false positive or intentional, or shows them again; the
    // choice holds for every window and is kept with the preferences.
    void switchHideDismissed();

Q_SIGNALS:
    void viewUpdated();

protected:
    void closeEvent(QCloseEvent* event) override;
    void showEvent(QShowEvent* event) override;

private Q_SLOTS:
    void applyPrefs();
    void findDialogSearch(const QRegularExpression& expression);

private:
    // Moves the outline with `move` as a step to a failure: the keyboard stays where it is.
    void stepOutline(void (QARListView::*move)());
    // What the studio is asked to show of a source a link leads to (`location`, resolved).
    SourceRequest sourceRequest(DLink* link, const QString& location) const;
    // Reads `files` (each once, and with `skipHeld` none held already) and shows them; false,
    // with nothing changed, when the user cancelled.
    bool readAndShow(const QStringList& files, bool skipHeld);
    // The filtered records into the views, the summary into the header; their entries into the
    // outline.
    void updateView();
    void updateListView();
    void setupToolBar(bool on);
    bool saveCopy(const QString& source, const QString& title);
    void createToolMenu();
    QAction* commandEntry(int id) const;
    // The status help of the commands menu's entry `entry`, whose id is `id`.
    static QString helpText(int id, const QAction* entry);
    void updateSubmitEntry(QAction* entry, const QModelIndex& item) const;
    // Reviews are kept by the result's identity, which only results that carry one have.
    void updateReviewEntries(const QModelIndex& item) const;
    // The outline's current entry in column 0; invalid when there is none.
    QModelIndex currentEntry() const;
    void showHeaderDock();
    void fitSummaryDock();
    void searchDocuments(const QRegularExpression& expression, bool backward);
    Place currentPlace() const;
    bool showPlace(const Place& place);
    void restorePlace(const Place& place);
    // Scrolls to the top of the shown document tagged `tag`; false when none is shown.
    bool moveToDocument(const QString& tag);
    // The baseline remembered for the first file, or the one in force, compared again with the
    // files as read now.
    void applyRememberedBaseline();
    // After a baseline is chosen: the marks shown and the counts in the status bar.
    void showBaseline();
    bool newFailuresOnlyWanted() const;
    // The file a tab's baseline is remembered by: the first one shown.
    QString baselineKey() const;
    // Reads the reviews and open defects from the studio again and shows them: the marks, and
    // with dismissed results hidden, what is hidden.
    void refreshTriage();
    // Takes the choice of hiding dismissed results made in another window.
    void followHideDismissed();

    static QAReporterPref* s_preference;
    static QAReporterManager* s_manager;
    static bool s_initialized;
    static int s_reporterCount;

    std::unique_ptr<StudioSessionContext> m_context;
    std::unique_ptr<ReportSession> m_session;
    bool m_loadCancelled = false;
    bool m_mainWindowGone = false;
    QDockWidget* m_headerDock;
    DReportWidget* m_headerView;
    DReportWidget* m_documentView;
    bool m_headerShown = false;
    bool m_fitSummary = false; // the summary dock is to be fitted to its rows once shown
    int m_studioMenuId = -1;
    int m_showHeaderItemId = 0;
    int m_printHeaderItemId = 0;
    QPointer<QMenu> m_commandsMenu;
    QARPopupMenu* m_contextPopup;
    QAction* m_submitEntry; // the context menu's submission entry
    QMenu* m_reviewMenu;    // the context menu's Review entries
    // The outline and its filter box live in the studio's outline area; destroyed with us.
    QPointer<OutlinePane> m_outlinePane;
    QPointer<QARListView> m_outline;
    QString m_title;
    QRegularExpression m_findExpression{QString(), QRegularExpression::CaseInsensitiveOption};
    QString m_findText; // as the user typed it
    bool m_findRegularExpression = false;
    std::unique_ptr<Place> m_pendingPlace; // to return to once a reload is analysed
    bool m_stepping = false;               // a step to a failure is under way
    QPointer<QARToolBar> m_toolBar;
    QString m_baselinePath;         // empty without a baseline
    bool m_newFailuresOnly = false; // the mode asked for, in force while there is a baseline
};
