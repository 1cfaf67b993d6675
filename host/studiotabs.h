#pragma once

#include <QList>
#include <QObject>
#include <QStringList>

class QAStViewerWindow;
class QDockWidget;
class QMainWindow;
class QStackedWidget;
class QTabWidget;
class QWidget;
class SourceView;
struct SourceRequest;

// The middle of the studio's window: viewer windows and source files as tabs, or a text that
// says how to open a file while there are none, and the outline of the viewer shown in the
// outline dock on the left. The viewer of the tab shown is the active one: it is told when it
// becomes active and when it no longer is.
class StudioTabs : public QObject
{
    Q_OBJECT

public:
    // Puts the tabs in the middle of `window` and the outline dock on its left.
    explicit StudioTabs(QMainWindow* window);
    // Closes the viewers: the window destroys this first, while it is whole, since they may
    // still call the studio.
    ~StudioTabs() override;

    // Makes `viewer` a tab of its own.
    void addViewer(QAStViewerWindow* viewer);
    // Whether `viewer` is one of the tabs (a window whose tab was closed may still be on its
    // way out).
    bool holds(QAStViewerWindow* viewer) const;
    bool holdsPage(const QWidget* page) const;
    void show(QWidget* page);
    // Shows `path` at the place of `request` in its tab (its path is the one asked for, `path`
    // where it was found), which is made when the file is not shown yet; false with `error`
    // when the file cannot be shown. Shown from the tab in front, it goes back there (see
    // SourceView::cameFrom()).
    bool showSource(const QString& path, const SourceRequest& request, bool activate,
                    QString* error);

    // The viewer of the tab shown (null when it shows a source), the one last told it is
    // active, and every viewer in tab order.
    QAStViewerWindow* activeViewer() const;
    QAStViewerWindow* lastActivated() const { return m_active; }
    QList<QAStViewerWindow*> viewers() const;
    SourceView* activeSource() const;
    // Whether a tab is shown, how many there are; its text, and that of the tab of `page`.
    bool hasTab() const;
    int count() const;
    QString currentText() const;
    QString textOf(QWidget* page) const;
    // The outline shown in the outline dock; null when the tab shown has none.
    QWidget* currentOutline() const;
    QDockWidget* outlineDock() const { return m_outlineDock; }

    // The files a viewer shows: those of its list that it could read.
    static QStringList shownFiles(QAStViewerWindow* viewer);

    // Shows the tab `by` places after the one shown (before it when negative), round the ends.
    void showNext(int by);
    // Closes the tab shown, as its close button does; a viewer may refuse.
    void closeCurrent();

Q_SIGNALS:
    // The tab shown, a tab's text or what the viewer shown can do changed.
    void changed();

private:
    void currentTabChanged();
    void closeTab(int index);
    void updateTab(QAStViewerWindow* viewer);

    QStackedWidget* m_central; // the welcome text, or the tabs
    QWidget* m_welcome;
    QTabWidget* m_tabs;
    QDockWidget* m_outlineDock;
    QStackedWidget* m_outlines; // every viewer's outline; the active one shown
    QWidget* m_noOutline;
    // The viewer windows are not ours: each deletes itself when closed (the tabs hold it until
    // then), and leaves these lists when it is destroyed.
    QAStViewerWindow* m_active = nullptr; // the viewer that was last told activated()
    QList<QAStViewerWindow*> m_viewers;
};
