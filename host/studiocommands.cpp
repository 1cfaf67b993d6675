#include "host/studiocommands.h"

#include "host/outputdock.h"
#include "host/recentfiles.h"
#include "host/sourceview.h"
#include "host/studiotabs.h"
#include "sdk/qastviewerwindow.h"

#include <QApplication>
#include <QDockWidget>
#include <QMainWindow>
#include <QMenuBar>
#include <QMouseEvent>
#include <QStyle>
#include <QToolBar>

namespace {

// A viewer is this plug-in's window, reached through the object model: the host does not link
// the plug-in. The answer is false when the viewer has no such property.
bool viewerFlag(const QAStViewerWindow* viewer, const char* name)
{
    return viewer && viewer->property(name).toBool();
}

} // namespace

StudioCommands::StudioCommands(QMainWindow* window, StudioTabs* tabs, RecentFiles* recent,
                               OutputDock* output)
    : QObject(window), m_window(window), m_tabs(tabs), m_output(output)
{
    createMenus(recent);
    // The mouse's back and forward buttons, wherever in the window they are pressed.
    qApp->installEventFilter(this);
}

void StudioCommands::createMenus(RecentFiles* recent)
{
    auto command = [this](QMenu* menu, Command id, const QString& text,
                          QKeySequence::StandardKey key) {
        QAction* action = menu->addAction(text, this, [this, id] { run(id); });
        action->setShortcut(key);
        m_commands[id] = action;
    };

    QMenuBar* bar = m_window->menuBar();
    QMenu* file = bar->addMenu(tr("&File"));
    file->addAction(tr("&Open..."), QKeySequence::Open, this, &StudioCommands::openRequested);
    recent->setMenu(file->addMenu(tr("Open &Recent")));
    command(file, Reload, tr("&Reload"), QKeySequence::Refresh);
    command(file, OpenInEditor, tr("Open in &Editor"), QKeySequence::UnknownKey);
    m_commands[OpenInEditor]->setStatusTip(tr("Open the source file shown in its editor"));
    command(file, SaveAs, tr("Save &As..."), QKeySequence::SaveAs);
    command(file, ExportDoc, tr("&Export to HTML..."), QKeySequence::UnknownKey);
    command(file, CompareBaseline, tr("Compare with &Baseline..."), QKeySequence::UnknownKey);
    command(file, ClearBaseline, tr("C&lear Baseline"), QKeySequence::UnknownKey);
    command(file, Print, tr("&Print..."), QKeySequence::Print);
    file->addSeparator();
    command(file, Close, tr("&Close"), QKeySequence::Close);
    file->addAction(tr("&Quit"), QKeySequence::Quit, m_window, &QWidget::close);

    QMenu* edit = bar->addMenu(tr("&Edit"));
    command(edit, Copy, tr("&Copy"), QKeySequence::Copy);
    command(edit, Find, tr("&Find..."), QKeySequence::Find);
    command(edit, FindNext, tr("Find &Next"), QKeySequence::FindNext);
    command(edit, FindPrevious, tr("Find Pre&vious"), QKeySequence::FindPrevious);

    QMenu* go = bar->addMenu(tr("&Go"));
    command(go, Back, tr("&Back"), QKeySequence::Back);
    command(go, Forward, tr("&Forward"), QKeySequence::Forward);
    m_commands[Back]->setIcon(m_window->style()->standardIcon(QStyle::SP_ArrowBack));
    m_commands[Forward]->setIcon(m_window->style()->standardIcon(QStyle::SP_ArrowForward));
    m_commands[Back]->setStatusTip(tr("Back to the report and place shown before the last link"));
    m_commands[Forward]->setStatusTip(tr("Forward again to the report and place left by Back"));
    go->addSeparator();
    auto tabCommand = [&](Command id, const QString& text, Qt::Key key) {
        command(go, id, text, QKeySequence::UnknownKey);
        m_commands[id]->setShortcut(QKeySequence(Qt::ControlModifier | key));
        // The keys work in the outline, the report and a source alike.
        m_commands[id]->setShortcutContext(Qt::WindowShortcut);
    };
    tabCommand(NextTab, tr("Ne&xt Tab"), Qt::Key_PageDown);
    tabCommand(PreviousTab, tr("Pre&vious Tab"), Qt::Key_PageUp);
    go->addSeparator();
    command(go, NextStep, tr("Next &Step"), QKeySequence::UnknownKey);
    m_commands[NextStep]->setShortcut(QKeySequence(Qt::Key_F10));
    m_commands[NextStep]->setStatusTip(tr("The next step of the finding's code flow"));
    command(go, PreviousStep, tr("Previous S&tep"), QKeySequence::UnknownKey);
    m_commands[PreviousStep]->setShortcut(QKeySequence(Qt::ShiftModifier | Qt::Key_F10));
    m_commands[PreviousStep]->setStatusTip(tr("The step before in the finding's code flow"));
    QToolBar* navigation = m_window->addToolBar(tr("Navigation"));
    navigation->setObjectName(QStringLiteral("navigation"));
    navigation->addAction(m_commands[Back]);
    navigation->addAction(m_commands[Forward]);

    m_toolsMenu = bar->addMenu(tr("&Tools"));
    m_toolsMenu->addAction(tr("&Preferences..."), this, &StudioCommands::preferencesRequested);

    m_viewMenu = bar->addMenu(tr("&View"));
    m_viewMenu->addAction(m_tabs->outlineDock()->toggleViewAction());
    m_viewMenu->addAction(m_output->toggleViewAction());

    for (QMenu* menu : {file, edit, go})
        connect(menu, &QMenu::aboutToShow, this, &StudioCommands::update);
}

void StudioCommands::update()
{
    const QAStViewerWindow* viewer = m_tabs->activeViewer();
    const SourceView* source = m_tabs->activeSource();
    m_commands[Reload]->setEnabled(viewer && viewer->isReloadEnabled());
    m_commands[SaveAs]->setEnabled(viewer && viewer->isSaveAsEnabled());
    m_commands[ExportDoc]->setEnabled(viewer && viewer->isExportDocEnabled());
    m_commands[Print]->setEnabled(viewer && viewer->isPrintEnabled());
    m_commands[CompareBaseline]->setEnabled(viewer && viewer->property("hasBaseline").isValid());
    m_commands[ClearBaseline]->setEnabled(viewerFlag(viewer, "hasBaseline"));
    m_commands[Close]->setEnabled(m_tabs->hasTab());
    m_commands[Copy]->setEnabled((viewer && viewer->isCopyEnabled()) || source);
    m_commands[Find]->setEnabled(viewer && viewer->isFindEnabled());
    m_commands[FindNext]->setEnabled(viewer && viewer->isFindEnabled());
    m_commands[FindPrevious]->setEnabled(viewer && viewer->isFindEnabled());
    m_commands[OpenInEditor]->setEnabled(source);
    // A source goes back to the tab whose link showed it.
    m_commands[Back]->setEnabled(viewerFlag(viewer, "canGoBack") ||
                                 (source && m_tabs->holdsPage(source->cameFrom())));
    m_commands[Forward]->setEnabled(viewerFlag(viewer, "canGoForward"));
    SourceRequest step;
    m_commands[NextStep]->setEnabled(source && source->stepPlace(1, &step));
    m_commands[PreviousStep]->setEnabled(source && source->stepPlace(-1, &step));
    m_commands[NextTab]->setEnabled(m_tabs->count() > 1);
    m_commands[PreviousTab]->setEnabled(m_tabs->count() > 1);
}

void StudioCommands::run(Command command)
{
    update();
    if (!m_commands[command]->isEnabled())
        return;
    QAStViewerWindow* viewer = m_tabs->activeViewer();
    switch (command) {
    case Reload:
        Q_EMIT aboutToReload();
        viewer->reload();
        break;
    case OpenInEditor: {
        QString error;
        if (!m_tabs->activeSource()->openInEditor(&error)) {
            m_output->appendOutput(error);
            m_output->show();
        }
        break;
    }
    case SaveAs:
        viewer->saveAs();
        break;
    case ExportDoc:
        viewer->exportDoc();
        break;
    case Print:
        viewer->print();
        break;
    case CompareBaseline:
        QMetaObject::invokeMethod(viewer, "compareWithBaseline");
        break;
    case ClearBaseline:
        QMetaObject::invokeMethod(viewer, "clearBaseline");
        break;
    case Close:
        m_tabs->closeCurrent();
        break;
    case Copy:
        if (viewer)
            viewer->copy();
        else
            m_tabs->activeSource()->copy();
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
        if (const SourceView* source = m_tabs->activeSource())
            m_tabs->show(source->cameFrom());
        else
            QMetaObject::invokeMethod(viewer, "goBack");
        break;
    case Forward:
        QMetaObject::invokeMethod(viewer, "goForward");
        break;
    case NextTab:
        m_tabs->showNext(1);
        break;
    case PreviousTab:
        m_tabs->showNext(-1);
        break;
    case NextStep:
    case PreviousStep: {
        SourceRequest step;
        if (m_tabs->activeSource()->stepPlace(command == NextStep ? 1 : -1, &step))
            Q_EMIT sourceStepRequested(step);
        break;
    }
    case CommandCount:
        break;
    }
}

bool StudioCommands::eventFilter(QObject* watched, QEvent* event)
{
    if (event->type() == QEvent::MouseButtonPress && watched->isWidgetType() &&
        static_cast<QWidget*>(watched)->window() == m_window) {
        const Qt::MouseButton button = static_cast<QMouseEvent*>(event)->button();
        if (button == Qt::BackButton || button == Qt::ForwardButton) {
            run(button == Qt::BackButton ? Back : Forward);
            return true;
        }
    }
    return QObject::eventFilter(watched, event);
}
