#include "host/studiotabs.h"

#include "host/sourceview.h"
#include "import/importcache.h"
#include "sdk/qaplaintext.h"
#include "sdk/qastviewerwindow.h"

#include <QDir>
#include <QDockWidget>
#include <QFileInfo>
#include <QKeySequence>
#include <QLabel>
#include <QMainWindow>
#include <QStackedWidget>
#include <QTabWidget>
#include <utility>

namespace {

// Whether `viewer` itself holds `file` (another window on its way out may hold it too). A viewer
// is the plug-in's window, reached through the object model: the host does not link the plug-in.
bool viewerHolds(QAStViewerWindow* viewer, const QString& file)
{
    bool holds = false;
    return QMetaObject::invokeMethod(viewer, "contain", Q_RETURN_ARG(bool, holds),
                                     Q_ARG(QString, file)) &&
           holds;
}

} // namespace

StudioTabs::StudioTabs(QMainWindow* window)
{
    m_central = new QStackedWidget(window);
    auto* welcome = new QLabel(
        tr("<h3>No result file open</h3><p>Open a code review result file (<b>.crc</b>), an "
           "analyzer's SARIF log (<b>.sarif</b>, <b>.sarif.json</b>) or a JUnit XML test report "
           "(<b>.xml</b>) with <b>File &gt; Open</b> (%1) or <b>File &gt; Open Recent</b>, or "
           "drop it on this window.</p>")
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
    window->setCentralWidget(m_central);

    m_outlineDock = new QDockWidget(tr("Outline"), window);
    m_outlineDock->setObjectName(QStringLiteral("outline"));
    m_outlines = new QStackedWidget(m_outlineDock);
    auto* noOutline = new QLabel(tr("No outline"), m_outlines);
    noOutline->setAlignment(Qt::AlignCenter);
    m_noOutline = noOutline;
    m_outlines->addWidget(m_noOutline);
    m_outlineDock->setWidget(m_outlines);
    window->addDockWidget(Qt::LeftDockWidgetArea, m_outlineDock);

    connect(m_tabs, &QTabWidget::currentChanged, this, &StudioTabs::currentTabChanged);
    connect(m_tabs, &QTabWidget::tabCloseRequested, this, &StudioTabs::closeTab);
}

StudioTabs::~StudioTabs()
{
    m_tabs->disconnect(this);
    const QList<QAStViewerWindow*> viewers = std::exchange(m_viewers, {});
    m_active = nullptr;
    for (QAStViewerWindow* viewer : viewers) {
        viewer->disconnect(this);
        delete viewer;
    }
    delete m_tabs;
}

void StudioTabs::addViewer(QAStViewerWindow* viewer)
{
    viewer->setWindowFlags(Qt::Widget); // a page of the tabs, not a window of its own
    m_viewers.append(viewer);
    // Only the QObject is left of it by now: it is compared, never used.
    connect(viewer, &QObject::destroyed, this, [this](QObject* gone) {
        m_viewers.removeIf(
            [gone](QAStViewerWindow* v) { return static_cast<QObject*>(v) == gone; });
        if (static_cast<QObject*>(m_active) == gone)
            m_active = nullptr;
        Q_EMIT changed();
    });
    connect(viewer, &QAStudioWindow::stateChanged, this, &StudioTabs::changed);
    connect(viewer, &QAStudioWindow::captionChanged, this, [this, viewer] { updateTab(viewer); });
    if (QWidget* outline = viewer->contentOutlineWidget())
        m_outlines->addWidget(outline); // the viewer deletes it; the stack then lets it go
    m_tabs->addTab(viewer, viewer->windowIcon(), QString());
    updateTab(viewer);
}

bool StudioTabs::holds(QAStViewerWindow* viewer) const
{
    return viewer && m_tabs->indexOf(viewer) >= 0;
}

bool StudioTabs::holdsPage(const QWidget* page) const
{
    return page && m_tabs->indexOf(const_cast<QWidget*>(page)) >= 0;
}

void StudioTabs::show(QWidget* page)
{
    m_tabs->setCurrentWidget(page);
}

QStringList StudioTabs::shownFiles(QAStViewerWindow* viewer)
{
    QStringList shown;
    const QStringList files = viewer->property("fileList").toStringList();
    for (const QString& file : files) {
        if (viewerHolds(viewer, file) && !shown.contains(file))
            shown.append(file);
    }
    return shown;
}

// The tab names the files the viewer shows; its tip gives the viewer's title and the whole paths.
void StudioTabs::updateTab(QAStViewerWindow* viewer)
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
    Q_EMIT changed();
}

QAStViewerWindow* StudioTabs::activeViewer() const
{
    QWidget* page = m_tabs->currentWidget();
    for (QAStViewerWindow* viewer : m_viewers) {
        if (viewer == page)
            return viewer;
    }
    return nullptr;
}

QList<QAStViewerWindow*> StudioTabs::viewers() const
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

SourceView* StudioTabs::activeSource() const
{
    return qobject_cast<SourceView*>(m_tabs->currentWidget());
}

bool StudioTabs::hasTab() const
{
    return m_tabs->currentWidget() != nullptr;
}

int StudioTabs::count() const
{
    return m_tabs->count();
}

QString StudioTabs::currentText() const
{
    return m_tabs->tabText(m_tabs->currentIndex());
}

QString StudioTabs::textOf(QWidget* page) const
{
    return m_tabs->tabText(m_tabs->indexOf(page));
}

QWidget* StudioTabs::currentOutline() const
{
    QWidget* shown = m_outlines->currentWidget();
    return shown == m_noOutline ? nullptr : shown;
}

void StudioTabs::currentTabChanged()
{
    m_central->setCurrentWidget(m_tabs->count() > 0 ? m_tabs : m_welcome);
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
    Q_EMIT changed();
}

void StudioTabs::showNext(int by)
{
    const int count = m_tabs->count();
    if (count > 1)
        m_tabs->setCurrentIndex(((m_tabs->currentIndex() + by) % count + count) % count);
}

void StudioTabs::closeCurrent()
{
    closeTab(m_tabs->currentIndex());
}

void StudioTabs::closeTab(int index)
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

bool StudioTabs::showSource(const QString& path, const SourceRequest& request, bool activate,
                            QString* error)
{
    for (int i = 0; i < m_tabs->count(); ++i) {
        if (auto* source = qobject_cast<SourceView*>(m_tabs->widget(i));
            source && source->path() == path) {
            source->showPlace(request);
            if (activate && source != m_tabs->currentWidget())
                source->setCameFrom(m_tabs->currentWidget());
            if (activate)
                m_tabs->setCurrentWidget(source);
            return true;
        }
    }
    std::unique_ptr<SourceView> source = SourceView::open(path, error);
    if (!source)
        return false;
    SourceView* shown = source.release(); // the tabs own it from here
    const int index = m_tabs->addTab(shown, QFileInfo(path).fileName());
    m_tabs->setTabToolTip(index, QAPlainText::toolTip(QDir::toNativeSeparators(path)));
    shown->showPlace(request);
    if (activate) {
        shown->setCameFrom(m_tabs->currentWidget());
        m_tabs->setCurrentWidget(shown);
    }
    return true;
}
