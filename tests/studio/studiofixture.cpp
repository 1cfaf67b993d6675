#include "tests/studio/studiofixture.h"

#include "host/studiomainwindow.h"

#include <QAbstractScrollArea>
#include <QApplication>
#include <QCheckBox>
#include <QClipboard>
#include <QContextMenuEvent>
#include <QDialog>
#include <QDialogButtonBox>
#include <QDockWidget>
#include <QFileInfo>
#include <QHelpEvent>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QMenuBar>
#include <QMimeData>
#include <QPlainTextEdit>
#include <QPointer>
#include <QProgressBar>
#include <QPushButton>
#include <QScrollBar>
#include <QSpinBox>
#include <QStackedWidget>
#include <QStatusBar>
#include <QTabBar>
#include <QTabWidget>
#include <QTableView>
#include <QTest>
#include <QTextBlock>
#include <QTextDocumentFragment>
#include <QTimer>
#include <QToolBar>
#include <QToolButton>
#include <QToolTip>
#include <QTreeView>
#include <QWheelEvent>

namespace {

constexpr int waitMs = 5000;

QtMessageHandler passedOn = nullptr;

// The offscreen platform says for every menu it opens that it cannot raise it or grab the
// keyboard for it; the rest goes to the test's log.
void dropPlatformNotes(QtMsgType type, const QMessageLogContext& context, const QString& message)
{
    if (type == QtWarningMsg && message.startsWith(QLatin1String("This plugin does not support")))
        return;
    if (passedOn)
        passedOn(type, context, message);
}

// The tool tip or label text `text` as Qt shows it: rich text when it looks like rich text.
QString asShown(const QString& text)
{
    return Qt::mightBeRichText(text) ? QTextDocumentFragment::fromHtml(text).toPlainText() : text;
}

QStringList menuTexts(const QMenu* menu)
{
    QStringList texts;
    for (const QAction* action : menu->actions()) {
        if (action->isSeparator())
            texts.append(QStringLiteral("-"));
        else if (action->isCheckable())
            texts.append((action->isChecked() ? QStringLiteral("[x] ") : QStringLiteral("[ ] ")) +
                         plainText(action->text()));
        else
            texts.append(plainText(action->text()));
    }
    return texts;
}

void moveMouse(QWidget* widget, const QPoint& at, Qt::MouseButtons buttons)
{
    QMouseEvent move(QEvent::MouseMove, QPointF(at), widget->mapToGlobal(QPointF(at)), Qt::NoButton,
                     buttons, Qt::NoModifier);
    QApplication::sendEvent(widget, &move);
}

// Whether the pointer resting on `at` of a document's viewport turns into a hand: a link.
bool overLink(QWidget* viewport, int x, int y)
{
    moveMouse(viewport, QPoint(x, y), Qt::NoButton);
    return viewport->cursor().shape() == Qt::PointingHandCursor;
}

// The rectangles of the view where links are drawn, one per line of a link, top to bottom: the
// pointer is moved over the view and turns into a hand over a link.
QList<QRect> linkAreas(QAbstractScrollArea* view)
{
    QWidget* port = view->viewport();
    const int width = port->width();
    QList<QRect> areas;
    for (int y = 1; y < port->height() - 1; y += 3) {
        QList<QPair<int, int>> spans; // exact to the pixel
        for (int x = 0; x < width; x += 4) {
            if (!overLink(port, x, y))
                continue;
            int left = x;
            while (left > 0 && overLink(port, left - 1, y))
                --left;
            int right = x;
            while (right + 1 < width && overLink(port, right + 1, y))
                ++right;
            if (spans.isEmpty() || spans.last().second < left)
                spans.append({left, right});
            x = right + 1;
        }
        for (const auto& [left, right] : spans) {
            bool merged = false;
            for (QRect& area : areas) {
                if (area.bottom() >= y - 3 && qAbs(area.left() - left) <= 1 &&
                    qAbs(area.right() - right) <= 1) {
                    area.setBottom(y);
                    merged = true;
                    break;
                }
            }
            if (!merged)
                areas.append(QRect(QPoint(left, y), QPoint(right, y)));
        }
    }
    moveMouse(port, QPoint(0, 0), Qt::NoButton);
    return areas;
}

// Chooses `choice` from the context menu that a right click at `at` of `target` opens, whether it
// waits for the answer (exec) or not (popup). False, with a warning, when no menu opened or the
// entry is not there or disabled.
bool chooseInContextMenu(QWidget* target, const QPoint& at, const QString& choice)
{
    bool opened = false;
    bool chosen = false;
    QTimer poll;
    poll.setInterval(5);
    QObject::connect(&poll, &QTimer::timeout, [&] {
        auto* menu = qobject_cast<QMenu*>(QApplication::activePopupWidget());
        if (!menu || !menu->isVisible())
            return;
        poll.stop();
        opened = true;
        QAction* action = entryOf(menu, choice);
        if (!action || !action->isEnabled()) {
            qWarning().noquote() << "The context menu has no enabled entry" << choice
                                 << "; it shows:" << menuTexts(menu).join(QStringLiteral(" | "));
            menu->close();
            return;
        }
        QTest::mouseClick(menu, Qt::LeftButton, {}, menu->actionGeometry(action).center());
        chosen = true;
    });
    poll.start();
    QContextMenuEvent event(QContextMenuEvent::Mouse, at, target->mapToGlobal(at));
    QApplication::sendEvent(target, &event);
    if (!QTest::qWaitFor([&] { return !poll.isActive(); }, waitMs))
        poll.stop();
    if (!opened)
        qWarning() << "No context menu opened on" << target;
    return chosen;
}

QDockWidget* dockNamed(const QMainWindow& window, const QString& name)
{
    return window.findChild<QDockWidget*>(name);
}

} // namespace

QWidget* fieldLabelled(const QWidget* dialog, const QString& text)
{
    for (QLabel* label : dialog->findChildren<QLabel*>()) {
        if (plainText(label->text()) == text && label->buddy())
            return label->buddy();
    }
    qWarning().noquote() << "No field is labelled" << text;
    return nullptr;
}

void typeOver(QWidget* field, const QString& text)
{
    QTest::mouseClick(field, Qt::LeftButton, {}, QPoint(4, field->height() / 2));
    QTest::keyClick(field, Qt::Key_A, Qt::ControlModifier);
    QTest::keyClick(field, Qt::Key_Delete);
    QTest::keyClicks(field, text);
}

QStringList FixtureDialogs::openFileNames(QWidget* parent, const QString& caption,
                                          const QString& directory, const QString& filter,
                                          QString* selectedFilter)
{
    openedIn.append(directory);
    return ScriptedDialogs::openFileNames(parent, caption, directory, filter, selectedFilter);
}

QString FixtureDialogs::saveFileName(QWidget* parent, const QString& caption,
                                     const QString& directory, const QString& filter)
{
    savedIn.append(directory);
    return ScriptedDialogs::saveFileName(parent, caption, directory, filter);
}

QStringList FixtureDialogs::messages() const
{
    QStringList texts;
    for (const Asked& one : asked) {
        if (one.kind == QLatin1String("message"))
            texts.append(one.text);
    }
    return texts;
}

QString plainText(const QString& text)
{
    QString shown = text.section(QLatin1Char('\t'), 0, 0);
    shown.replace(QStringLiteral("&&"), QStringLiteral("\x01"));
    shown.remove(QLatin1Char('&'));
    shown.replace(QLatin1Char('\x01'), QLatin1Char('&'));
    return shown;
}

QAction* entryOf(const QMenu* menu, const QString& text)
{
    for (QAction* action : menu->actions()) {
        if (!action->isSeparator() && plainText(action->text()) == text)
            return action;
    }
    return nullptr;
}

void inNextDialog(const std::function<void(QDialog*)>& act)
{
    QTimer::singleShot(0, [act] {
        auto* dialog = qobject_cast<QDialog*>(QApplication::activeModalWidget());
        if (!dialog) {
            inNextDialog(act);
            return;
        }
        act(dialog);
        dialog->reject();
    });
}

QString hover(QWidget* widget, const QPoint& at)
{
    QToolTip::hideText();
    QHelpEvent rest(QEvent::ToolTip, at, widget->mapToGlobal(at));
    QApplication::sendEvent(widget, &rest);
    return QToolTip::isVisible() ? QToolTip::text() : QString();
}

StudioFixture::StudioFixture() = default;

StudioFixture::~StudioFixture() = default;

QString StudioFixture::pluginPath()
{
    return QStringLiteral(CRCPLUGIN_PATH);
}

bool StudioFixture::start(const QString& settings, const QString& defects, const QString& plugin)
{
    if (!passedOn)
        passedOn = qInstallMessageHandler(dropPlatformNotes);
    useScriptedDialogs();
    m_window =
        std::make_unique<StudioMainWindow>(plugin.isEmpty() ? pluginPath() : plugin, settings);
    if (!m_window->plugin()) {
        qWarning().noquote() << "The studio has no plug-in:" << m_window->pluginError();
        return false;
    }
    useDefectStore(defects.isEmpty()
                       ? QFileInfo(settings).absolutePath() + QStringLiteral("/defects.sqlite")
                       : defects);
    m_window->show();
    return QTest::qWaitForWindowExposed(m_window.get()) && bringForward();
}

void StudioFixture::useRealDialogs()
{
    m_dialogs = nullptr;
    QADialogs::install(nullptr);
}

void StudioFixture::useScriptedDialogs()
{
    auto dialogs = std::make_unique<FixtureDialogs>();
    m_dialogs = dialogs.get();
    QADialogs::install(std::move(dialogs));
}

void StudioFixture::quit()
{
    if (m_window)
        m_window->close();
    m_window.reset();
}

void StudioFixture::useDefectStore(const QString& store)
{
    m_window->setDefectStore(store);
}

// --- Files ------------------------------------------------------------------------------------

bool StudioFixture::open(const QStringList& files)
{
    m_dialogs->files.append(files);
    const bool opened = trigger({QStringLiteral("File"), QStringLiteral("Open...")});
    QCoreApplication::processEvents();
    return opened;
}

bool StudioFixture::drop(const QStringList& files)
{
    QMimeData data;
    QList<QUrl> urls;
    for (const QString& file : files)
        urls.append(QUrl::fromLocalFile(file));
    data.setUrls(urls);
    const QPoint at = m_window->rect().center();
    QDragEnterEvent enter(at, Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(m_window.get(), &enter);
    if (!enter.isAccepted())
        return false;
    QDropEvent dropped(QPointF(at), Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(m_window.get(), &dropped);
    QCoreApplication::processEvents();
    return true;
}

// --- Menus, keys and clicks -------------------------------------------------------------------

QMenu* StudioFixture::openBarMenu(const QString& title)
{
    QMenuBar* bar = m_window->menuBar();
    QStringList titles;
    for (QAction* action : bar->actions()) {
        if (!action->menu() || !action->isVisible())
            continue;
        titles.append(plainText(action->text()));
        if (titles.last() != title)
            continue;
        QMenu* menu = action->menu();
        if (menu->isVisible())
            return menu;
        closeMenus();
        QTest::mouseClick(bar, Qt::LeftButton, {}, bar->actionGeometry(action).center());
        if (!QTest::qWaitFor([menu] { return menu->isVisible(); }, waitMs)) {
            qWarning().noquote() << "The menu" << title << "did not open";
            return nullptr;
        }
        return menu;
    }
    qWarning().noquote() << "The menu bar has no menu" << title
                         << "; it shows:" << titles.join(QStringLiteral(" | "));
    return nullptr;
}

QMenu* StudioFixture::openMenu(const QStringList& path)
{
    QMenu* menu = path.isEmpty() ? nullptr : openBarMenu(path.first());
    for (qsizetype i = 1; menu && i < path.size(); ++i) {
        QAction* item = entryOf(menu, path.at(i));
        if (!item || !item->menu() || !item->isEnabled()) {
            qWarning().noquote() << "The menu" << path.mid(0, i).join(QStringLiteral(" > "))
                                 << "has no submenu" << path.at(i)
                                 << "; it shows:" << menuTexts(menu).join(QStringLiteral(" | "));
            closeMenus();
            return nullptr;
        }
        QMenu* sub = item->menu();
        QTest::mouseClick(menu, Qt::LeftButton, {}, menu->actionGeometry(item).center());
        if (!QTest::qWaitFor([sub] { return sub->isVisible(); }, 500)) {
            QTest::keyClick(menu, Qt::Key_Right);
            if (!QTest::qWaitFor([sub] { return sub->isVisible(); }, waitMs)) {
                qWarning().noquote() << "The submenu" << path.at(i) << "did not open";
                closeMenus();
                return nullptr;
            }
        }
        menu = sub;
    }
    return menu;
}

void StudioFixture::closeMenus()
{
    for (int i = 0; i < 10 && QApplication::activePopupWidget(); ++i)
        QApplication::activePopupWidget()->close();
}

bool StudioFixture::trigger(const QStringList& path)
{
    QMenu* menu = path.size() < 2 ? nullptr : openMenu(path.mid(0, path.size() - 1));
    if (!menu)
        return false;
    QAction* action = entryOf(menu, path.last());
    if (!action || !action->isEnabled()) {
        qWarning().noquote() << "The menu" << path.mid(0, path.size() - 1).join(" > ")
                             << (action ? "has its entry disabled:" : "has no entry") << path.last()
                             << "; it shows:" << menuTexts(menu).join(QStringLiteral(" | "));
        closeMenus();
        return false;
    }
    QTest::mouseClick(menu, Qt::LeftButton, {}, menu->actionGeometry(action).center());
    closeMenus();
    return true;
}

QAction* StudioFixture::entry(const QStringList& path)
{
    QMenu* menu = path.size() < 2 ? nullptr : openMenu(path.mid(0, path.size() - 1));
    QAction* action = menu ? entryOf(menu, path.last()) : nullptr;
    if (menu && !action)
        qWarning().noquote() << "The menu" << path.mid(0, path.size() - 1).join(" > ")
                             << "has no entry" << path.last()
                             << "; it shows:" << menuTexts(menu).join(QStringLiteral(" | "));
    closeMenus();
    return action;
}

QStringList StudioFixture::entries(const QStringList& path)
{
    QMenu* menu = openMenu(path);
    const QStringList texts = menu ? menuTexts(menu) : QStringList();
    closeMenus();
    return texts;
}

void StudioFixture::press(int key, Qt::KeyboardModifiers modifiers)
{
    bringForward();
    QWidget* target = QApplication::focusWidget();
    QTest::keyClick(target ? target : m_window.get(), Qt::Key(key), modifiers);
}

void StudioFixture::clickInto(QWidget* widget)
{
    auto* area = qobject_cast<QAbstractScrollArea*>(widget);
    QTest::mouseClick(area ? area->viewport() : widget, Qt::LeftButton, {}, QPoint(1, 1));
}

bool StudioFixture::bringForward()
{
    if (QApplication::activeWindow() == m_window.get())
        return true;
    m_window->activateWindow();
    return QTest::qWaitFor([this] { return QApplication::activeWindow() == m_window.get(); },
                           waitMs);
}

// --- Tabs ---------------------------------------------------------------------------------------

QTabWidget* StudioFixture::tabs() const
{
    return m_window->findChild<QTabWidget*>(QStringLiteral("tabs"));
}

int StudioFixture::tabCount() const
{
    return tabs()->count();
}

QString StudioFixture::currentTabText() const
{
    return tabs()->tabText(tabs()->currentIndex());
}

QString StudioFixture::tabTip(int index) const
{
    return asShown(tabs()->tabToolTip(index));
}

QStringList StudioFixture::shownFiles() const
{
    QStringList lines = tabTip(tabs()->currentIndex()).split(QLatin1Char('\n'));
    if (documentView())
        lines.removeFirst(); // the viewer's title
    return lines;
}

bool StudioFixture::showTab(int index)
{
    QTabBar* bar = tabs()->tabBar();
    if (index < 0 || index >= bar->count())
        return false;
    QTest::mouseClick(bar, Qt::LeftButton, {}, bar->tabRect(index).center());
    return tabs()->currentIndex() == index;
}

int StudioFixture::tabNamed(const QString& text) const
{
    for (int i = 0; i < tabs()->count(); ++i) {
        if (tabs()->tabText(i) == text)
            return i;
    }
    return -1;
}

bool StudioFixture::closeTab(int index)
{
    QTabBar* bar = tabs()->tabBar();
    QWidget* button = bar->tabButton(index, QTabBar::RightSide);
    if (!button)
        button = bar->tabButton(index, QTabBar::LeftSide);
    if (!button) {
        qWarning() << "The tab" << index << "has no close button";
        return false;
    }
    const QPointer<QWidget> page = tabs()->widget(index);
    QTest::mouseClick(button, Qt::LeftButton, {}, button->rect().center());
    return QTest::qWaitFor([&page] { return page.isNull(); }, waitMs);
}

bool StudioFixture::closeAllTabs()
{
    closeMenus();
    for (QDialog* dialog : m_window->findChildren<QDialog*>()) {
        if (dialog->isVisible())
            dialog->reject();
    }
    QWidget* filter = toolBarButton(QStringLiteral("Filter"));
    if (showsFailedOnly() && filter->isEnabled())
        QTest::mouseClick(filter, Qt::LeftButton, {}, filter->rect().center());
    for (int left = tabCount(); left > 0; --left) {
        if (!closeTab(0))
            return false;
    }
    return tabCount() == 0;
}

bool StudioFixture::showsWelcome() const
{
    auto* text = m_window->findChild<QLabel*>(QStringLiteral("welcome"));
    return text && text->isVisible() && text->text().contains(QLatin1String(".crc"));
}

// --- The outline ----------------------------------------------------------------------------

QTreeView* StudioFixture::outline() const
{
    QDockWidget* dock = dockNamed(*m_window, QStringLiteral("outline"));
    auto* stack = dock ? qobject_cast<QStackedWidget*>(dock->widget()) : nullptr;
    QWidget* shown = stack ? stack->currentWidget() : nullptr;
    return shown ? shown->findChild<QTreeView*>(QStringLiteral("reportOutline")) : nullptr;
}

QLineEdit* StudioFixture::outlineFilter() const
{
    QDockWidget* dock = dockNamed(*m_window, QStringLiteral("outline"));
    auto* stack = dock ? qobject_cast<QStackedWidget*>(dock->widget()) : nullptr;
    QWidget* shown = stack ? stack->currentWidget() : nullptr;
    return shown ? shown->findChild<QLineEdit*>(QStringLiteral("outlineFilter")) : nullptr;
}

bool StudioFixture::filterOutline(const QString& text)
{
    QLineEdit* box = outlineFilter();
    if (!box || !box->isVisible()) {
        qWarning() << "No filter box is shown above the outline";
        return false;
    }
    bringForward();
    typeOver(box, text);
    QTest::keyClick(box, Qt::Key_Return);
    return true;
}

QModelIndex StudioFixture::outlineEntry(const QStringList& names) const
{
    const QTreeView* tree = outline();
    if (!tree) {
        qWarning() << "No outline is shown";
        return {};
    }
    const QAbstractItemModel* entries = tree->model();
    QModelIndex found;
    for (const QString& name : names) {
        const QModelIndex parent = found;
        found = QModelIndex();
        QStringList there;
        for (int i = 0; i < entries->rowCount(parent) && !found.isValid(); ++i) {
            const QModelIndex child = entries->index(i, 0, parent);
            there.append(child.data().toString());
            if (there.last() == name)
                found = child;
        }
        if (!found.isValid()) {
            qWarning().noquote() << "The outline has no entry" << name << "below"
                                 << namesOf(parent).join(QStringLiteral(" > "))
                                 << "; there are:" << there.mid(0, 20).join(QStringLiteral(" | "));
            return {};
        }
    }
    return found;
}

QStringList StudioFixture::namesOf(const QModelIndex& entry)
{
    QStringList names;
    for (QModelIndex at = entry.siblingAtColumn(0); at.isValid(); at = at.parent())
        names.prepend(at.data().toString());
    return names;
}

QStringList StudioFixture::currentEntry() const
{
    const QTreeView* tree = outline();
    return tree ? namesOf(tree->currentIndex()) : QStringList();
}

bool StudioFixture::clickEntry(const QModelIndex& entry)
{
    QTreeView* tree = outline();
    if (!tree || !entry.isValid())
        return false;
    QWidget* port = tree->viewport();
    QScrollBar* scroll = tree->verticalScrollBar();
    // The wheel turns until the entry is drawn whole.
    for (;;) {
        const QRect drawn = tree->visualRect(entry);
        if (!drawn.isValid()) {
            qWarning().noquote() << "The entry" << namesOf(entry).join(" > ")
                                 << "is not drawn: a branch above it is closed";
            return false;
        }
        if (drawn.top() >= 0 && drawn.bottom() < port->height())
            break;
        const int before = scroll->value();
        const QPoint at = port->rect().center();
        QWheelEvent turn(QPointF(at), port->mapToGlobal(QPointF(at)), QPoint(),
                         QPoint(0, drawn.top() < 0 ? 120 : -120), Qt::NoButton, Qt::NoModifier,
                         Qt::NoScrollPhase, false);
        QApplication::sendEvent(port, &turn);
        if (scroll->value() == before) {
            qWarning().noquote() << "The outline does not scroll to" << namesOf(entry).join(" > ");
            return false;
        }
    }
    QTest::mouseClick(port, Qt::LeftButton, {}, tree->visualRect(entry).center());
    return tree->currentIndex().siblingAtColumn(0) == entry.siblingAtColumn(0);
}

bool StudioFixture::clickEntry(const QStringList& names)
{
    const QModelIndex found = outlineEntry(names);
    return found.isValid() && clickEntry(found);
}

QMenu* StudioFixture::openOutlineMenu(const QModelIndex& entry)
{
    QTreeView* tree = outline();
    if (!tree)
        return nullptr;
    QWidget* port = tree->viewport();
    QPoint at(10, port->height() - 5);
    if (entry.isValid()) {
        if (!clickEntry(entry))
            return nullptr;
        at = tree->visualRect(entry).center();
        QTest::mouseClick(port, Qt::RightButton, {}, at);
    } else if (tree->indexAt(at).isValid()) {
        qWarning() << "The outline has no empty space below its entries";
        return nullptr;
    }
    QContextMenuEvent rightClick(QContextMenuEvent::Mouse, at, port->mapToGlobal(at));
    QApplication::sendEvent(port, &rightClick);
    auto* menu = qobject_cast<QMenu*>(QApplication::activePopupWidget());
    if (!menu || menu->objectName() != QLatin1String("outlineContextMenu")) {
        qWarning() << "The outline's context menu did not open";
        return nullptr;
    }
    return menu;
}

bool StudioFixture::chooseFromOutlineMenu(const QModelIndex& entry, const QString& choice)
{
    QMenu* menu = openOutlineMenu(entry);
    if (!menu)
        return false;
    QAction* action = entryOf(menu, choice);
    if (!action || !action->isEnabled()) {
        qWarning().noquote() << "The outline's context menu has no enabled entry" << choice
                             << "; it shows:" << menuTexts(menu).join(QStringLiteral(" | "));
        closeMenus();
        return false;
    }
    QTest::mouseClick(menu, Qt::LeftButton, {}, menu->actionGeometry(action).center());
    return !menu->isVisible();
}

// --- The report and the summary -----------------------------------------------------------------

QAbstractScrollArea* StudioFixture::documentView() const
{
    QWidget* page = tabs()->currentWidget();
    return page ? page->findChild<QAbstractScrollArea*>(QStringLiteral("reportView")) : nullptr;
}

QAbstractScrollArea* StudioFixture::summaryView() const
{
    QWidget* page = tabs()->currentWidget();
    return page ? page->findChild<QAbstractScrollArea*>(QStringLiteral("summaryView")) : nullptr;
}

QWidget* StudioFixture::summaryDock() const
{
    QWidget* page = tabs()->currentWidget();
    return page ? page->findChild<QDockWidget*>(QStringLiteral("summaryDock")) : nullptr;
}

bool StudioFixture::copySelection(QAbstractScrollArea* view, QString* text)
{
    QGuiApplication::clipboard()->clear();
    if (!chooseInContextMenu(view->viewport(), view->viewport()->rect().center(),
                             QStringLiteral("Copy")))
        return false;
    *text = QGuiApplication::clipboard()->text();
    return true;
}

QString StudioFixture::summaryText()
{
    QWidget* dock = summaryDock();
    if (dock && dock->isHidden() &&
        !trigger({QStringLiteral("Code Review"), QStringLiteral("Show header")}))
        return QString();
    return allText(summaryView());
}

QString StudioFixture::allText(QAbstractScrollArea* view)
{
    QString text;
    if (!view || !view->isVisible()) {
        qWarning() << "The view is not shown:" << view;
        return text;
    }
    if (chooseInContextMenu(view->viewport(), view->viewport()->rect().center(),
                            QStringLiteral("Select All")))
        copySelection(view, &text);
    clickInto(view);
    return text;
}

QStringList StudioFixture::shownLines(QAbstractScrollArea* view)
{
    if (!view)
        return {};
    QWidget* port = view->viewport();
    const QPoint end(port->width() - 2, port->height() - 2);
    QTest::mousePress(port, Qt::LeftButton, {}, QPoint(1, 1));
    moveMouse(port, end, Qt::LeftButton);
    QTest::mouseRelease(port, Qt::LeftButton, {}, end);
    QString text;
    copySelection(view, &text);
    clickInto(view);
    return text.split(QLatin1Char('\n'), Qt::SkipEmptyParts);
}

QImage StudioFixture::topOfView(int height) const
{
    QWidget* port = documentView()->viewport();
    return port->grab(QRect(0, 0, port->width(), height)).toImage();
}

int StudioFixture::scrollPosition() const
{
    return documentView()->verticalScrollBar()->value();
}

void StudioFixture::wheel(int notches)
{
    QWidget* port = documentView()->viewport();
    const QPoint at = port->rect().center();
    for (int i = 0; i < qAbs(notches); ++i) {
        QWheelEvent turn(QPointF(at), port->mapToGlobal(QPointF(at)), QPoint(),
                         QPoint(0, notches > 0 ? -120 : 120), Qt::NoButton, Qt::NoModifier,
                         Qt::NoScrollPhase, false);
        QApplication::sendEvent(port, &turn);
    }
}

QStringList StudioFixture::drawnLinks(QAbstractScrollArea* view)
{
    return view ? linkTexts(view, linkAreas(view)) : QStringList();
}

QStringList StudioFixture::linkTexts(QAbstractScrollArea* view, const QList<QRect>& areas)
{
    QStringList texts;
    QWidget* port = view->viewport();
    const int away = 2 * QApplication::startDragDistance();
    for (const QRect& area : areas) {
        // Selected with the mouse from its first to its last pixel; the pointer leaves the link
        // on the way, so that letting go does not follow it.
        const int y = area.center().y();
        const QPoint from(area.left(), y);
        const QPoint to(area.right() + 1, y);
        QTest::mousePress(port, Qt::LeftButton, {}, from);
        moveMouse(port, QPoint(area.left(), y + away < port->height() - 1 ? y + away : y - away),
                  Qt::LeftButton);
        moveMouse(port, to, Qt::LeftButton);
        QTest::mouseRelease(port, Qt::LeftButton, {}, to);
        QString text;
        copySelection(view, &text);
        texts.append(text.simplified());
    }
    clickInto(view);
    return texts;
}

bool StudioFixture::clickLink(const QString& text, Qt::MatchFlag how)
{
    QAbstractScrollArea* view = documentView();
    if (!view) {
        qWarning() << "No report is shown";
        return false;
    }
    const QList<QRect> areas = linkAreas(view);
    const QStringList texts = linkTexts(view, areas);
    for (qsizetype i = 0; i < texts.size() && i < areas.size(); ++i) {
        if (how == Qt::MatchContains ? !texts.at(i).contains(text) : texts.at(i) != text)
            continue;
        const QRect& area = areas.at(i);
        QTest::mouseClick(view->viewport(), Qt::LeftButton, {},
                          QPoint(area.left() + qMin(3, area.width() / 2), area.center().y()));
        return true;
    }
    qWarning().noquote() << "No link" << text
                         << "is drawn; the links drawn read:" << texts.join(QStringLiteral(" | "));
    return false;
}

// --- Source views, output, status and progress ----------------------------------------------

QPlainTextEdit* StudioFixture::sourceView() const
{
    return qobject_cast<QPlainTextEdit*>(tabs()->currentWidget());
}

QString StudioFixture::sourcePath() const
{
    return sourceView() ? tabTip(tabs()->currentIndex()) : QString();
}

int StudioFixture::highlightedLine() const
{
    const QPlainTextEdit* source = sourceView();
    if (!source || source->extraSelections().isEmpty())
        return 0;
    return source->extraSelections().first().cursor.blockNumber() + 1;
}

QWidget* StudioFixture::outputDock() const
{
    return dockNamed(*m_window, QStringLiteral("output"));
}

QString StudioFixture::output() const
{
    auto* text = outputDock()->findChild<QPlainTextEdit*>();
    return text ? text->toPlainText() : QString();
}

QStringList StudioFixture::newOutput()
{
    QStringList lines = output().split(QLatin1Char('\n'));
    if (lines.size() == 1 && lines.first().isEmpty())
        lines.clear();
    const QStringList fresh = lines.mid(m_outputMark);
    m_outputMark = int(lines.size());
    return fresh;
}

QString StudioFixture::statusMessage() const
{
    return m_window->statusBar()->currentMessage();
}

QWidget* StudioFixture::progress() const
{
    return m_window->statusBar()->findChild<QWidget*>(QStringLiteral("progress"));
}

QLabel* StudioFixture::progressLabel() const
{
    return progress()->findChild<QLabel*>();
}

QProgressBar* StudioFixture::progressBar() const
{
    return progress()->findChild<QProgressBar*>();
}

QPushButton* StudioFixture::cancelButton() const
{
    return progress()->findChild<QPushButton*>();
}

QWidget* StudioFixture::toolBarButton(const QString& name) const
{
    auto* bar = m_window->findChild<QToolBar*>(QStringLiteral("codeReviewToolBar"));
    return bar ? bar->findChild<QToolButton*>(name) : nullptr;
}

bool StudioFixture::showsFailedOnly() const
{
    auto* button = qobject_cast<QToolButton*>(toolBarButton(QStringLiteral("Filter")));
    return button && button->isDown();
}

// --- Defects ----------------------------------------------------------------------------------

QDialog* StudioFixture::openTrackerDialog()
{
    if (!trigger({QStringLiteral("Tools"), QStringLiteral("Defect Tracker...")}))
        return nullptr;
    for (QDialog* shown : m_window->findChildren<QDialog*>()) {
        if (shown->isVisible() && shown->windowTitle() == QLatin1String("Defect Tracker"))
            return shown;
    }
    qWarning() << "The Defect Tracker dialog did not open";
    return nullptr;
}

bool StudioFixture::configureTracker(const QString& command, int seconds, bool echo)
{
    QPointer<QDialog> dialog = openTrackerDialog();
    QWidget* commandField =
        dialog ? fieldLabelled(dialog, QStringLiteral("Submit command:")) : nullptr;
    QWidget* limitField = dialog ? fieldLabelled(dialog, QStringLiteral("Time limit:")) : nullptr;
    QCheckBox* echoBox = nullptr;
    for (QCheckBox* box : dialog ? dialog->findChildren<QCheckBox*>() : QList<QCheckBox*>()) {
        if (plainText(box->text()).startsWith(QLatin1String("Show each step's command line")))
            echoBox = box;
    }
    auto* buttons = dialog ? dialog->findChild<QDialogButtonBox*>() : nullptr;
    if (!commandField || !limitField || !echoBox || !buttons) {
        qWarning() << "The Defect Tracker dialog is not as expected";
        return false;
    }
    typeOver(commandField, command);
    typeOver(limitField, QString::number(seconds));
    if (echoBox->isChecked() != echo)
        QTest::mouseClick(echoBox, Qt::LeftButton, {}, QPoint(4, echoBox->height() / 2));
    QTest::mouseClick(buttons->button(QDialogButtonBox::Ok), Qt::LeftButton);
    if (!QTest::qWaitFor([&dialog] { return dialog.isNull(); }, waitMs)) {
        qWarning() << "The Defect Tracker dialog stayed open";
        return false;
    }
    return true;
}

bool StudioFixture::fileDefect(const QStringList& names)
{
    const QModelIndex found = outlineEntry(names);
    return found.isValid() &&
           chooseFromOutlineMenu(found, QStringLiteral("Submit Trackwell Defect Report"));
}

QWidget* StudioFixture::defectsDock() const
{
    return dockNamed(*m_window, QStringLiteral("defects"));
}

bool StudioFixture::showDock(const QString& title)
{
    QDockWidget* dock = nullptr;
    for (QDockWidget* one : m_window->findChildren<QDockWidget*>()) {
        if (one->windowTitle() == title && one->parent() == m_window.get())
            dock = one;
    }
    if (!dock) {
        qWarning() << "The window has no dock" << title;
        return false;
    }
    // The View menu shows which docks are open.
    QAction* shown = entry({QStringLiteral("View"), title});
    if (!shown || (!shown->isChecked() && !trigger({QStringLiteral("View"), title})))
        return false;
    // Docks that share a place show tabs under them.
    for (QTabBar* bar : m_window->findChildren<QTabBar*>()) {
        if (bar == tabs()->tabBar() || !bar->isVisible())
            continue;
        for (int i = 0; i < bar->count(); ++i) {
            if (bar->tabText(i) == title && bar->currentIndex() != i)
                QTest::mouseClick(bar, Qt::LeftButton, {}, bar->tabRect(i).center());
        }
    }
    return dock->isVisible();
}

QTableView* StudioFixture::defectsTable()
{
    return showDock(QStringLiteral("Defects")) ? defectsDock()->findChild<QTableView*>() : nullptr;
}

QLineEdit* StudioFixture::defectsFilter() const
{
    return defectsDock()->findChild<QLineEdit*>();
}

QPushButton* StudioFixture::defectsButton(const QString& text) const
{
    for (QPushButton* button : defectsDock()->findChildren<QPushButton*>()) {
        if (plainText(button->text()) == text)
            return button;
    }
    qWarning() << "The Defects dock has no button" << text;
    return nullptr;
}

QLabel* StudioFixture::defectsMessage() const
{
    return defectsDock()->findChild<QLabel*>();
}

QStringList StudioFixture::defectsColumn(int column)
{
    QStringList texts;
    const QTableView* table = defectsTable();
    for (int row = 0; table && row < table->model()->rowCount(); ++row)
        texts.append(table->model()->index(row, column).data().toString());
    return texts;
}
