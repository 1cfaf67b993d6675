// crcstudio driven as a person drives it: the real main window with the plug-in loaded from its
// library, offscreen, and nothing but menus, toolbar buttons, keys, clicks on what is drawn and
// the dialogs. One test per thing a user found broken.

#include "folio/model/ddocument.h"
#include "folio/model/dlink.h"
#include "folio/view/dreportwidget.h"
#include "host/outputdock.h"
#include "host/sourceview.h"
#include "host/studiomainwindow.h"
#include "prefs/qareporterpref.h"
#include "prefs/qareporterprefgeneral.h"
#include "sdk/qadialogs.h"
#include "sdk/qastviewerplugin.h"
#include "sdk/qaviewerfinddialog.h"
#include "tests/studiotestkit.h"
#include "tests/testkit.h"
#include "viewer/qareporter.h"
#include "viewer/qarlistview.h"
#include "viewer/qarpopupmenu.h"
#include "viewer/qartoolbar.h"

#include <QApplication>
#include <QCheckBox>
#include <QContextMenuEvent>
#include <QDockWidget>
#include <QLabel>
#include <QLineEdit>
#include <QMenuBar>
#include <QPointer>
#include <QProcess>
#include <QPushButton>
#include <QScrollBar>
#include <QStatusBar>
#include <QTabBar>
#include <QTabWidget>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>
#include <QToolBar>
#include <QToolButton>
#include <functional>
#include <iostream>
#include <sys/stat.h>

namespace {

using testkit::example;
using testkit::examples;
using testkit::pluginPath;
using testkit::runChild;

// Writes the file, making the folders it goes in first.
bool writeFile(const QString& path, const QByteArray& contents)
{
    QDir().mkpath(QFileInfo(path).path());
    return testkit::writeFile(path, contents);
}

// A menu entry's text as the user reads it: no mnemonic, no key after a tab.
QString plain(const QString& text)
{
    QString shown = text.section(QLatin1Char('\t'), 0, 0);
    shown.remove(QLatin1Char('&'));
    return shown;
}

QAction* entryOf(QMenu* menu, const QString& text)
{
    for (QAction* action : menu->actions()) {
        if (plain(action->text()) == text)
            return action;
    }
    return nullptr;
}

// The link to `target` that shows in the view, the highest up when several do.
DLink* linkTo(DFolioView* view, const QString& target)
{
    DLink* found = nullptr;
    int foundTop = 0;
    for (DDocument* document : view->documents()) {
        QList<DItem*> pending{document};
        while (!pending.isEmpty()) {
            for (DItem* item = pending.takeLast(); item; item = item->next()) {
                if (auto* link = dcast<DLink>(item); link && link->target() == target) {
                    const QRect drawn = view->itemRect(link);
                    if (!drawn.isEmpty() && drawn.top() >= 0 &&
                        drawn.bottom() < view->viewport()->height() &&
                        (!found || drawn.top() < foundTop)) {
                        found = link;
                        foundTop = drawn.top();
                    }
                }
                if (DItemContainer* container = item->asContainer())
                    pending.append(container->firstChild());
            }
        }
    }
    return found;
}

// A click on the first line of the link where the view draws it.
bool clickLink(DFolioView* view, const QString& target)
{
    DLink* link = linkTo(view, target);
    const QRect drawn = link ? view->itemRect(link) : QRect();
    if (drawn.isEmpty())
        return false;
    QTest::mouseClick(view->viewport(), Qt::LeftButton, {},
                      QPoint(drawn.left() + 3, drawn.top() + qMin(drawn.height() / 2, 6)));
    return true;
}

// A click on an outline entry where it is drawn.
void clickEntry(QTreeView* outline, const QModelIndex& entry)
{
    outline->scrollTo(entry);
    QTest::mouseClick(outline->viewport(), Qt::LeftButton, {}, outline->visualRect(entry).center());
}

// The entry in `row` below `parent` (a file entry when `parent` is invalid).
QModelIndex child(const QTreeView* outline, int row, const QModelIndex& parent = {})
{
    return outline->model()->index(row, 0, parent);
}

// Runs `act` inside the next modal dialog once it is open, then closes it.
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

// The tagged part `tag` of the shown documents.
DItem* taggedPart(DFolioView* view, const QString& tag)
{
    for (DDocument* document : view->documents()) {
        QList<DItem*> pending{document};
        while (!pending.isEmpty()) {
            for (DItem* item = pending.takeLast(); item; item = item->next()) {
                if (item->isTagged() && static_cast<DTaggedItemContainer*>(item)->tag() == tag)
                    return item;
                if (DItemContainer* container = item->asContainer())
                    pending.append(container->firstChild());
            }
        }
    }
    return nullptr;
}

// Where the top of the part tagged `tag` is drawn, from the top of the view (negative when
// scrolled past); INT_MIN when it is not laid out.
int partTop(DFolioView* view, const QString& tag)
{
    DItem* part = taggedPart(view, tag);
    const QRect drawn = part ? view->itemRect(part) : QRect();
    return drawn.isEmpty() ? INT_MIN : drawn.top();
}

// The metrics report moved to its anchor "cyclomatic", just below the title of its part.
bool atCyclomatic(DFolioView* view)
{
    const int top = partTop(view, QStringLiteral("cyclo"));
    return top < 0 && top > -80;
}

// The names from the file entry down to `entry`, as the outline shows them.
QStringList entryPath(const QModelIndex& entry)
{
    QStringList path;
    for (QModelIndex at = entry; at.isValid(); at = at.parent())
        path.prepend(at.data().toString());
    return path;
}

// Whether the start of the part tagged `tag` shows in the view.
bool showsStartOf(DFolioView* view, const QString& tag)
{
    DItem* part = taggedPart(view, tag);
    const QRect drawn = part ? view->itemRect(part) : QRect();
    return !drawn.isEmpty() && drawn.top() >= 0 && drawn.top() < view->viewport()->height();
}

QPushButton* buttonNamed(QWidget* parent, const QString& text)
{
    for (QPushButton* button : parent->findChildren<QPushButton*>()) {
        if (plain(button->text()) == text)
            return button;
    }
    return nullptr;
}

// A second studio on the same settings file (a new process, as a restart is): what it shows.
int restartedStudio(const QString& settings)
{
    QADialogs::install(std::make_unique<ScriptedDialogs>());
    StudioMainWindow studio(pluginPath, settings);
    std::cout << "size=" << studio.width() << "x" << studio.height() << "\n";
    std::cout << "directory=" << studio.currentDirectory().toStdString() << "\n";
    for (QAction* menu : studio.menuBar()->actions()) {
        if (plain(menu->text()) != QLatin1String("File"))
            continue;
        if (QAction* recent = entryOf(menu->menu(), QStringLiteral("Open Recent"))) {
            Q_EMIT recent->menu()->aboutToShow();
            for (QAction* entry : recent->menu()->actions())
                std::cout << "recent=" << entry->statusTip().toStdString() << "\n";
        }
    }
    std::cout << "outline=" << studio.outlineDock()->isVisibleTo(&studio) << "\n";
    return 0;
}

} // namespace

class TestEndToEnd : public QObject
{
    Q_OBJECT

    QTemporaryDir m_dir;
    std::unique_ptr<StudioMainWindow> m_studio;
    ScriptedDialogs* m_dialogs = nullptr;

    QString path(const QString& name) const { return m_dir.filePath(name); }

    // Whether the window shows how to open a report, as it does with nothing open.
    bool welcome() const
    {
        auto* text = m_studio->findChild<QLabel*>(QStringLiteral("welcome"));
        return text && text->isVisible() && text->text().contains(QLatin1String(".crc"));
    }

    QAReporter* viewer() const { return qobject_cast<QAReporter*>(m_studio->activeViewer()); }
    DReportWidget* view() const { return viewer()->documentView(); }
    QARToolBar* codeReviewToolBar() const { return m_studio->findChild<QARToolBar*>(); }

    QAction* menuEntry(const QString& menuTitle, const QString& text) const
    {
        for (QAction* action : m_studio->menuBar()->actions()) {
            if (action->menu() && plain(action->text()) == menuTitle) {
                Q_EMIT action->menu()->aboutToShow(); // as when it opens
                return entryOf(action->menu(), text);
            }
        }
        return nullptr;
    }

    // The type entries of the "Code Review" menu as it opens, a hidden type with a "-" before.
    QStringList typeEntries() const
    {
        QStringList types;
        int separators = 0;
        for (QAction* action : m_studio->menuBar()->actions()) {
            if (!action->menu() || plain(action->text()) != QLatin1String("Code Review"))
                continue;
            Q_EMIT action->menu()->aboutToShow();
            for (QAction* entry : action->menu()->actions()) {
                separators += entry->isSeparator() ? 1 : 0;
                if (separators == 1 && !entry->isSeparator())
                    types.append((entry->isChecked() ? QString() : QStringLiteral("-")) +
                                 plain(entry->text()));
            }
        }
        return types;
    }

    // File > Open, the files chosen in its dialog; the tab is then laid out as shown.
    QAStViewerWindow* open(const QStringList& files)
    {
        m_dialogs->files.append(files);
        menuEntry(QStringLiteral("File"), QStringLiteral("Open..."))->trigger();
        m_dialogs->asked.removeIf(
            [](const ScriptedDialogs::Asked& asked) { return asked.kind == "open"; });
        QCoreApplication::processEvents();
        return m_studio->activeViewer();
    }

    // A key pressed in `widget` of the studio, the window the user works in.
    void press(QWidget* widget, Qt::Key key, Qt::KeyboardModifiers modifiers = {})
    {
        bringStudioForward();
        widget->setFocus();
        QTest::keyClick(widget, key, modifiers);
    }

    // After a dialog or menu, the offscreen platform does not give the activation back.
    void bringStudioForward()
    {
        if (QApplication::activeWindow() == m_studio.get())
            return;
        m_studio->activateWindow();
        QTRY_COMPARE(QApplication::activeWindow(), m_studio.get());
    }

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY(m_dir.isValid());
        auto dialogs = std::make_unique<ScriptedDialogs>();
        m_dialogs = dialogs.get();
        QADialogs::install(std::move(dialogs));
        m_studio = std::make_unique<StudioMainWindow>(pluginPath, path("config/settings.xml"));
        QVERIFY2(m_studio->plugin(), qPrintable(m_studio->pluginError()));
        m_studio->show();
        QVERIFY(QTest::qWaitForWindowExposed(m_studio.get()));
        m_studio->activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(m_studio.get()));
    }

    void cleanupTestCase() { m_studio.reset(); }

    void cleanup()
    {
        QList<QPointer<QAStViewerWindow>> closing;
        for (QAStViewerWindow* shown : m_studio->viewers())
            closing.append(shown);
        while (m_studio->tabs()->count() > 0)
            Q_EMIT m_studio->tabs()->tabCloseRequested(0);
        for (const QPointer<QAStViewerWindow>& gone : closing)
            QTRY_VERIFY(gone.isNull());
        if (codeReviewToolBar()->isFiltered())
            codeReviewToolBar()->switchFilter();
        m_dialogs->asked.clear();
        m_dialogs->buttons.clear();
        m_dialogs->files.clear();
    }

    // 1. Clicking a tag link ("::f3", "rules::f2", a bare tag) moves the report shown to it.
    void tagLinksMoveTheViewer()
    {
        const QString tags = path("tags/tags.crc");
        QVERIFY(writeFile(
            tags, "<XROD><DOCUMENT tag='tagdoc'><PARAGRAPH><LINK target='::deep'>a</LINK> "
                  "<LINK target='tagdoc::far'>b</LINK> <LINK target='far'>c</LINK></PARAGRAPH>"
                  "<XROD:NODE name='n' type='Rule' state='ok'><SECTION tag='deep'><TITLE>Deep"
                  "</TITLE><PARAGRAPH>x</PARAGRAPH></SECTION></XROD:NODE>"
                  "<XROD:NODE name='m' type='Rule' state='ok'><SECTION tag='far'><TITLE>Far"
                  "</TITLE><PARAGRAPH>y</PARAGRAPH></SECTION></XROD:NODE></DOCUMENT></XROD>"));
        QVERIFY(open({example("rules-core.crc")}));
        QVERIFY(!showsStartOf(view(), QStringLiteral("f3")));
        QVERIFY(clickLink(view(), QStringLiteral("::f3")));
        QVERIFY(showsStartOf(view(), QStringLiteral("f3")));
        QVERIFY(!m_studio->output()->contents().contains(QLatin1String("Cannot open")));

        QVERIFY(open({tags}));
        // A small report: every part shows at once; the link moves the view, not the tab.
        for (const auto& [target, anchor] :
             {std::pair{"::deep", "deep"}, {"tagdoc::far", "far"}, {"far", "far"}}) {
            QVERIFY2(clickLink(view(), QLatin1String(target)), target);
            QVERIFY2(showsStartOf(view(), QLatin1String(anchor)), target);
            QCOMPARE(m_studio->tabs()->tabText(m_studio->tabs()->currentIndex()),
                     QStringLiteral("tags.crc"));
        }
        QVERIFY(!m_studio->output()->contents().contains(QLatin1String("Cannot open")));
    }

    // 2. A link to a report document shows that document, at its anchor, with no outline, and
    // nothing of the outline shown before is left to submit.
    void reportDocumentLinkShowsTheDocument()
    {
        QVERIFY(open({example("rules-core.crc")}));
        QARListView* outline = viewer()->outline();
        const QModelIndex entry =
            child(outline, 0, child(outline, 0, child(outline, 0))); // no-goto
        QVERIFY(entry.isValid());
        clickEntry(outline, entry);
        QVERIFY(menuEntry(QStringLiteral("Code Review"),
                          QStringLiteral("Submit Trackwell Defect Report"))
                    ->isEnabled());
        view()->verticalScrollBar()->setValue(0);
        QVERIFY(clickLink(view(), QStringLiteral("xrdlink://metrics-detail.xrd#cyclomatic")));
        QCOMPARE(view()->documents().size(), size_t(1));
        QCOMPARE(view()->documents().front()->tag(), QStringLiteral("metrics"));
        QVERIFY(atCyclomatic(view()));
        QCOMPARE(viewer()->outline()->model()->rowCount(), 0);
        QAction* submit =
            menuEntry(QStringLiteral("Code Review"), QStringLiteral("Submit Trackwell Report"));
        QVERIFY(submit && !submit->isEnabled());
        QCOMPARE(m_studio->tabs()->tabText(m_studio->tabs()->currentIndex()),
                 QStringLiteral("metrics-detail.xrd"));
        QVERIFY(m_studio->windowTitle().contains(QLatin1String("metrics-detail.xrd")));
        QVERIFY(m_dialogs->asked.isEmpty());

        // Two reports from two folders in one window: a relative link of the second lies beside
        // the second, not beside the first.
        const QByteArray detail = "<XROD><DOCUMENT tag='%1'><XROD:NODE name='d' type='Rule' "
                                  "state='ok'><SECTION tag='t'><TITLE>Detail</TITLE><PARAGRAPH>"
                                  "x</PARAGRAPH></SECTION></XROD:NODE></DOCUMENT></XROD>";
        QVERIFY(writeFile(path("first/detail.crc"), QByteArray(detail).replace("%1", "wrong")));
        QVERIFY(writeFile(path("second/detail.crc"), QByteArray(detail).replace("%1", "right")));
        QVERIFY(writeFile(path("first/one.crc"),
                          "<XROD><DOCUMENT tag='one'><XROD:NODE name='n' type='Rule' state='ok'>"
                          "<SECTION><PARAGRAPH>one</PARAGRAPH></SECTION></XROD:NODE>"
                          "</DOCUMENT></XROD>"));
        QVERIFY(writeFile(path("second/two.crc"),
                          "<XROD><DOCUMENT tag='two'><XROD:NODE name='m' type='Rule' state='ok'>"
                          "<SECTION><PARAGRAPH><LINK target='xrdlink://detail.crc#t'>detail"
                          "</LINK></PARAGRAPH></SECTION></XROD:NODE></DOCUMENT></XROD>"));
        QVERIFY(open({path("first/one.crc"), path("second/two.crc")}));
        QCOMPARE(view()->documents().size(), size_t(2));
        QVERIFY(clickLink(view(), QStringLiteral("xrdlink://detail.crc#t")));
        QCOMPARE(viewer()->fileList(), QStringList{path("second/detail.crc")});
        QCOMPARE(view()->documents().front()->tag(), QStringLiteral("right"));
        QVERIFY(m_dialogs->asked.isEmpty());
    }

    // 3. Back and Forward return to the files and the place shown before a link, by key,
    // toolbar and mouse button; a link to a missing file leaves the report where it was.
    void backAndForward()
    {
        QVERIFY(open({example("rules-core.crc")}));
        QAction* back = menuEntry(QStringLiteral("Go"), QStringLiteral("Back"));
        QAction* forward = menuEntry(QStringLiteral("Go"), QStringLiteral("Forward"));
        QVERIFY(back && forward && !back->isEnabled() && !forward->isEnabled());
        const QStringList topEntry = entryPath(viewer()->outline()->currentEntry());
        QVERIFY(clickLink(view(), QStringLiteral("::f2")));
        QVERIFY(showsStartOf(view(), QStringLiteral("f2")));
        view()->verticalScrollBar()->setValue(view()->verticalScrollBar()->value() + 40);
        const int inF2 = partTop(view(), QStringLiteral("f2"));
        QVERIFY(inF2 < 0);
        QVERIFY(back->isEnabled());

        press(view(), Qt::Key_Left, Qt::AltModifier); // back to the top of the report
        QCOMPARE(view()->verticalScrollBar()->value(), 0);
        QVERIFY(!back->isEnabled() && forward->isEnabled());
        press(view(), Qt::Key_Right, Qt::AltModifier); // and into f2 again, as far down
        QCOMPARE(partTop(view(), QStringLiteral("f2")), inF2);
        press(view(), Qt::Key_Left, Qt::AltModifier);

        // Another file through a link, then back with the mouse's back button, and forward with
        // the toolbar; the tab and the title follow the file shown.
        QVERIFY(clickLink(view(), QStringLiteral("xrdlink://metrics-detail.xrd#cyclomatic")));
        QCOMPARE(view()->documents().front()->tag(), QStringLiteral("metrics"));
        QVERIFY(back->isEnabled() && !forward->isEnabled());
        QTest::mouseClick(view()->viewport(), Qt::BackButton);
        QCOMPARE(viewer()->fileList(), QStringList{example("rules-core.crc")});
        QCOMPARE(view()->documents().front()->tag(), QStringLiteral("rules"));
        QCOMPARE(entryPath(viewer()->outline()->currentEntry()), topEntry);
        QCOMPARE(view()->verticalScrollBar()->value(), 0);
        QCOMPARE(m_studio->tabs()->tabText(m_studio->tabs()->currentIndex()),
                 QStringLiteral("rules-core.crc"));
        QCOMPARE(m_studio->windowTitle(), QStringLiteral("rules-core.crc - crcstudio"));

        auto* navigation = m_studio->findChild<QToolBar*>(QStringLiteral("navigation"));
        QVERIFY(navigation);
        auto* forwardButton = qobject_cast<QToolButton*>(navigation->widgetForAction(forward));
        QVERIFY(forwardButton && forwardButton->isEnabled());
        forwardButton->click();
        QCOMPARE(view()->documents().front()->tag(), QStringLiteral("metrics"));
        QVERIFY(atCyclomatic(view()));
        QCOMPARE(m_studio->windowTitle(), QStringLiteral("metrics-detail.xrd - crcstudio"));
        QVERIFY(!forward->isEnabled());

        // A link to a file that is not there: the user is told, the report stays.
        const QString dangling = path("dangling/dangling.crc");
        QVERIFY(writeFile(dangling, "<XROD><DOCUMENT tag='d'><PARAGRAPH><LINK "
                                    "target='xrdlink://gone.crc#x'>gone</LINK></PARAGRAPH>"
                                    "<XROD:NODE name='n' type='Rule' state='ok'><SECTION>"
                                    "<PARAGRAPH>z</PARAGRAPH></SECTION></XROD:NODE>"
                                    "</DOCUMENT></XROD>"));
        QVERIFY(open({dangling}));
        m_dialogs->asked.clear();
        QVERIFY(clickLink(view(), QStringLiteral("xrdlink://gone.crc#x")));
        QCOMPARE(m_dialogs->asked.size(), 1);
        QVERIFY(m_dialogs->asked.first().text.contains(QLatin1String("gone.crc")));
        QCOMPARE(viewer()->fileList(), QStringList{dangling});
        QCOMPARE(view()->documents().size(), size_t(1));
        QCOMPARE(m_studio->tabs()->tabText(m_studio->tabs()->currentIndex()),
                 QStringLiteral("dangling.crc"));
    }

    // 4. A relative source path lies beside its report, whichever report was opened last and
    // wherever crcstudio was started; a source that moved is located once, then found.
    void sourceLinksBesideTheReport()
    {
        QVERIFY(writeFile(path("project/proj/src/a.c"), "one\ntwo\nthree\nfour\n"));
        QVERIFY(writeFile(path("moved/root/src/b.c"), "b1\nb2\nb3\n"));
        QVERIFY(writeFile(path("moved/root/src/c.c"), "c1\nc2\n"));
        const QString report = path("project/report.crc");
        QVERIFY(writeFile(report,
                          "<XROD><DOCUMENT tag='src'><XROD:NODE name='proj' type='File' state='ko' "
                          "base='proj/'><SECTION><PARAGRAPH><LINK target='src/a.c line 3'>a</LINK> "
                          "<LINK target='/nowhere/root/src/b.c line 2'>b</LINK> "
                          "<LINK target='/nowhere/root/src/c.c line 1'>c</LINK> "
                          "<LINK target='fifo line 1'>fifo</LINK></PARAGRAPH></SECTION>"
                          "</XROD:NODE></DOCUMENT></XROD>"));
        // Nobody writes to it: reading it would wait for ever.
        QCOMPARE(::mkfifo(QFile::encodeName(path("project/proj/fifo")).constData(), 0600), 0);
        QDir::setCurrent(QDir::rootPath());
        QAStViewerWindow* first = open({report});
        QVERIFY(open({example("rules-gui.crc")}) != first); // the last directory is elsewhere
        m_studio->tabs()->tabBar()->setCurrentIndex(m_studio->tabs()->indexOf(first));

        QVERIFY(clickLink(view(), QStringLiteral("src/a.c line 3")));
        SourceView* source = m_studio->activeSource();
        QVERIFY2(source, qPrintable(m_studio->output()->contents()));
        QCOMPARE(source->path(), path("project/proj/src/a.c"));
        QCOMPARE(source->highlightedLine(), 3);

        m_studio->tabs()->setCurrentWidget(first);
        m_dialogs->buttons = {QMessageBox::Yes};
        m_dialogs->files = {{path("moved/root/src/b.c")}};
        QVERIFY(clickLink(view(), QStringLiteral("/nowhere/root/src/b.c line 2")));
        QCOMPARE(m_dialogs->asked.size(), 2); // "Locate it?", then the file
        QVERIFY(m_dialogs->asked.first().text.contains(QLatin1String("/nowhere/root/src/b.c")));
        QVERIFY(m_studio->activeSource());
        QCOMPARE(m_studio->activeSource()->path(), path("moved/root/src/b.c"));
        QCOMPARE(m_studio->output()->contents().count(QLatin1String("now looked for under")), 1);

        m_studio->tabs()->setCurrentWidget(first);
        m_dialogs->asked.clear();
        QVERIFY(clickLink(view(), QStringLiteral("/nowhere/root/src/c.c line 1")));
        QVERIFY(m_dialogs->asked.isEmpty());
        QCOMPARE(m_studio->activeSource()->path(), path("moved/root/src/c.c"));
        // The source root is in the settings file at once.
        QFile settings(path("config/settings.xml"));
        QVERIFY(settings.open(QIODevice::ReadOnly));
        const QByteArray saved = settings.readAll();
        QVERIFY(saved.contains("\"/nowhere/\"") && saved.contains(path("moved/").toUtf8()));

        // A link to something that is not a regular file is refused at once, and said so.
        m_studio->tabs()->setCurrentWidget(first);
        QVERIFY(clickLink(view(), QStringLiteral("fifo line 1")));
        QCOMPARE(m_studio->activeSource(), nullptr);
        QVERIFY2(m_studio->output()->contents().contains(
                     path("project/proj/fifo") + QStringLiteral(": it is not a regular file")),
                 qPrintable(m_studio->output()->contents()));
    }

    // 5. Find keeps the user's text and mode, says when nothing was found or the search
    // wrapped, and goes on with F3 and Shift+F3; Ctrl+F opens it.
    void findKeepsTheTextAndSaysHowItWent()
    {
        QVERIFY(open({example("rules-core.crc")}));
        QString selected;
        QString notFound;
        inNextDialog([&](QDialog* dialog) {
            auto* text = dialog->findChild<QLineEdit*>();
            text->selectAll();
            QTest::keyClicks(text, QStringLiteral("main.c"));
            buttonNamed(dialog, QStringLiteral("Find"))->click();
            selected = view()->selectedText();
            text->selectAll();
            QTest::keyClicks(text, QStringLiteral("no such words"));
            buttonNamed(dialog, QStringLiteral("Find"))->click();
            for (QLabel* label : dialog->findChildren<QLabel*>())
                notFound += label->text();
            text->selectAll();
            QTest::keyClicks(text, QStringLiteral("main.c"));
        });
        press(view(), Qt::Key_F, Qt::ControlModifier);
        QCOMPARE(selected, QStringLiteral("main.c"));
        QVERIFY2(notFound.contains(QLatin1String("not found")), qPrintable(notFound));

        QString textShown;
        bool regularExpression = true;
        inNextDialog([&](QDialog* dialog) {
            textShown = dialog->findChild<QLineEdit*>()->text();
            for (QCheckBox* box : dialog->findChildren<QCheckBox*>()) {
                if (plain(box->text()) == QLatin1String("Regular expression"))
                    regularExpression = box->isChecked();
            }
            buttonNamed(dialog, QStringLiteral("Find"))->click();
            selected = view()->selectedText();
        });
        press(view(), Qt::Key_F, Qt::ControlModifier);
        QCOMPARE(textShown, QStringLiteral("main.c"));
        QVERIFY(!regularExpression);
        QCOMPARE(selected, QStringLiteral("main.c"));

        // F3 walks on until it wraps around; Shift+F3 goes back.
        bool wrapped = false;
        for (int i = 0; i < 60 && !wrapped; ++i) {
            press(view(), Qt::Key_F3);
            QCOMPARE(view()->selectedText(), QStringLiteral("main.c"));
            wrapped = m_studio->statusBar()->currentMessage().contains(QLatin1String("Wrapped"));
        }
        QVERIFY(wrapped);
        press(view(), Qt::Key_F3, Qt::ShiftModifier);
        QVERIFY2(m_studio->statusBar()->currentMessage().contains(QLatin1String("Wrapped")),
                 qPrintable(m_studio->statusBar()->currentMessage()));
        QCOMPARE(view()->selectedText(), QStringLiteral("main.c"));
    }

    // 6. Closing a tab in the background leaves the shown tab's toolbar working.
    void closingABackgroundTabKeepsTheToolbar()
    {
        QAStViewerWindow* first = open({example("rules-core.crc")});
        QAStViewerWindow* second = open({example("rules-gui.crc")});
        QVERIFY(first && second && first != second);
        QARToolBar* toolBar = codeReviewToolBar();
        QVERIFY(toolBar->nextButton()->isEnabled());
        QTabBar* bar = m_studio->tabs()->tabBar();
        QWidget* closeButton = bar->tabButton(m_studio->tabs()->indexOf(first), QTabBar::RightSide);
        QVERIFY(closeButton);
        QTest::mouseClick(closeButton, Qt::LeftButton);
        QTRY_COMPARE(m_studio->viewers().size(), 1);
        QCOMPARE(m_studio->activeViewer(), second);
        QVERIFY(toolBar->nextButton()->isEnabled());
        QVERIFY(toolBar->filterButton()->isEnabled());
    }

    // 7. Switching modes and reloading keep the selected entry and the place in the document.
    void modeSwitchAndReloadKeepThePlace()
    {
        QVERIFY(open({example("rules-core.crc")}));
        QARListView* outline = viewer()->outline();
        const QModelIndex entry =
            child(outline, 0, child(outline, 0, child(outline, 0))); // no-goto
        QVERIFY(entry.isValid());
        QCOMPARE(entry.data().toString(), QStringLiteral("no-goto"));
        clickEntry(outline, entry);
        QCOMPARE(outline->currentEntry(), entry);
        view()->verticalScrollBar()->setValue(view()->verticalScrollBar()->value() + 30);
        const int before = partTop(view(), QStringLiteral("f1r1")); // no-goto's part
        QVERIFY(before < 0);
        const QStringList path = entryPath(entry);

        codeReviewToolBar()->filterButton()->click(); // failed only
        QVERIFY(codeReviewToolBar()->isFiltered());
        QCOMPARE(entryPath(outline->currentEntry()), path);
        QCOMPARE(partTop(view(), QStringLiteral("f1r1")), before);

        menuEntry(QStringLiteral("File"), QStringLiteral("Reload"))->trigger();
        QCOMPARE(entryPath(outline->currentEntry()), path);
        QCOMPARE(partTop(view(), QStringLiteral("f1r1")), before);

        codeReviewToolBar()->filterButton()->click(); // all again
        QCOMPARE(entryPath(outline->currentEntry()), path);
        QCOMPARE(partTop(view(), QStringLiteral("f1r1")), before);
    }

    // 8. Failures are stepped with F8 and Shift+F8, the mode switched with Ctrl+F8, and the
    // "Code Review" menu has mnemonics, the stepping entries, and help that stays on a hover.
    void keyboardAndMenu()
    {
        QVERIFY(open({example("rules-core.crc")}));
        QARListView* outline = viewer()->outline();
        QCOMPARE(outline->currentEntry(), child(outline, 0));
        press(outline, Qt::Key_F8);
        const QModelIndex firstFailure = outline->currentEntry();
        QVERIFY(firstFailure != child(outline, 0));
        press(view(), Qt::Key_F8);
        QVERIFY(outline->currentEntry() != firstFailure);
        press(view(), Qt::Key_F8, Qt::ShiftModifier);
        QCOMPARE(outline->currentEntry(), firstFailure);
        press(view(), Qt::Key_F8, Qt::ControlModifier);
        QVERIFY(codeReviewToolBar()->isFiltered());
        press(view(), Qt::Key_F8, Qt::ControlModifier);
        QVERIFY(!codeReviewToolBar()->isFiltered());

        QMenu* menu = nullptr;
        for (QAction* action : m_studio->menuBar()->actions()) {
            if (action->text() == QLatin1String("&Code Review"))
                menu = action->menu();
        }
        QVERIFY(menu);
        menu->popup(m_studio->mapToGlobal(QPoint(100, 30)));
        QVERIFY(QTest::qWaitForWindowExposed(menu));
        for (QAction* action : menu->actions()) {
            if (!action->isSeparator() && action->data().toInt() < 200)
                QVERIFY2(action->text().contains(QLatin1Char('&')), qPrintable(action->text()));
        }
        QAction* next = entryOf(menu, QStringLiteral("Next Failed Test"));
        QVERIFY(next && next->text().endsWith(QLatin1String("\tF8")));
        next->trigger();
        QVERIFY(outline->currentEntry() != child(outline, 0));

        QAction* reload = entryOf(menu, QStringLiteral("Reload"));
        QTest::mouseMove(menu, menu->actionGeometry(reload).center());
        QTRY_COMPARE(m_studio->statusBar()->currentMessage(),
                     QStringLiteral("Reload the current report"));
        QAction* showHeader = entryOf(menu, QStringLiteral("Show header"));
        QTest::mouseMove(menu, menu->actionGeometry(showHeader).center());
        QTRY_COMPARE(m_studio->statusBar()->currentMessage(),
                     QStringLiteral("Show or hide Show header"));
        menu->close();
    }

    // 8b. The "Code Review" menu lists the types of the reports shown, all shown again after a
    // reload or a way back, and the view shows what the menu says.
    void typeEntriesFollowTheReportsShown()
    {
        QVERIFY(writeFile(path("types/rules.crc"),
                          "<XROD><DOCUMENT tag='fr'><XROD:NODE name='f' type='File' state='ok'>"
                          "<SECTION tag='fsec'><PARAGRAPH><LINK target='xrdlink://cases.crc#csec'>"
                          "cases</LINK></PARAGRAPH><XROD:NODE name='r' type='Rule' state='ok'>"
                          "<SECTION tag='rsec'><PARAGRAPH>r</PARAGRAPH></SECTION></XROD:NODE>"
                          "</SECTION></XROD:NODE></DOCUMENT></XROD>"));
        QVERIFY(writeFile(path("types/cases.crc"),
                          "<XROD><DOCUMENT tag='sc'><XROD:NODE name='s' type='Suite' state='ok'>"
                          "<SECTION tag='ssec'><PARAGRAPH>s</PARAGRAPH><XROD:NODE name='c' "
                          "type='Case' state='ok'><SECTION tag='csec'><PARAGRAPH>c</PARAGRAPH>"
                          "</SECTION></XROD:NODE></SECTION></XROD:NODE></DOCUMENT></XROD>"));
        const QStringList fileTypes{QStringLiteral("File"), QStringLiteral("Rule")};
        const QStringList suiteTypes{QStringLiteral("Suite"), QStringLiteral("Case")};
        QVERIFY(open({path("types/rules.crc")}));
        QCOMPARE(typeEntries(), fileTypes);

        menuEntry(QStringLiteral("Code Review"), QStringLiteral("Rule"))->trigger();
        QVERIFY(!taggedPart(view(), QStringLiteral("rsec")));
        QCOMPARE(typeEntries(), (QStringList{QStringLiteral("File"), QStringLiteral("-Rule")}));
        menuEntry(QStringLiteral("File"), QStringLiteral("Reload"))->trigger();
        QVERIFY(taggedPart(view(), QStringLiteral("rsec")));
        QCOMPARE(typeEntries(), fileTypes);

        QVERIFY(clickLink(view(), QStringLiteral("xrdlink://cases.crc#csec")));
        QCOMPARE(viewer()->fileList(), QStringList{path("types/cases.crc")});
        QCOMPARE(typeEntries(), suiteTypes);
        menuEntry(QStringLiteral("Code Review"), QStringLiteral("Case"))->trigger();
        QVERIFY(!taggedPart(view(), QStringLiteral("csec")));

        menuEntry(QStringLiteral("Go"), QStringLiteral("Back"))->trigger();
        QCOMPARE(viewer()->fileList(), QStringList{path("types/rules.crc")});
        QCOMPARE(typeEntries(), fileTypes);
        menuEntry(QStringLiteral("Go"), QStringLiteral("Forward"))->trigger();
        QVERIFY(taggedPart(view(), QStringLiteral("csec")));
        QCOMPARE(typeEntries(), suiteTypes);
    }

    // 9. The outline's menu opens on empty space, Reload has its icon, a selection moves the
    // focus to the report when auto-raise is on, the report has its margins and the summary
    // starts as a strip.
    void smallFidelity()
    {
        const QByteArray small = "<XROD><DOCUMENT tag='s'><XROD:NODE name='n' type='Rule' "
                                 "state='ko'><SECTION><PARAGRAPH>n</PARAGRAPH></SECTION>"
                                 "</XROD:NODE><XROD:NODE name='m' type='Rule' state='ok'>"
                                 "<SECTION><PARAGRAPH>m</PARAGRAPH></SECTION></XROD:NODE>"
                                 "</DOCUMENT></XROD>";
        QVERIFY(writeFile(path("small/one.crc"), small));
        QVERIFY(writeFile(path("small/two.crc"), small));
        QVERIFY(open({path("small/one.crc"), path("small/two.crc")}));
        QARListView* outline = viewer()->outline();
        const QPoint empty(10, outline->viewport()->height() - 5);
        QVERIFY(!outline->indexAt(empty).isValid());
        QContextMenuEvent rightClick(QContextMenuEvent::Mouse, empty,
                                     outline->viewport()->mapToGlobal(empty));
        QApplication::sendEvent(outline->viewport(), &rightClick);
        QARPopupMenu* popup = viewer()->contextPopup();
        QVERIFY(popup->isVisible());
        QVERIFY(!popup->listItem.isValid());
        popup->close();

        QMenu* menu = viewer()->commandsMenu();
        Q_EMIT menu->aboutToShow();
        QVERIFY(!entryOf(menu, QStringLiteral("Reload"))->icon().isNull());

        QVERIFY(QAReporter::preference()->general->autoRaise);
        bringStudioForward();
        outline->setFocus();
        clickEntry(outline, child(outline, 1, child(outline, 0)));
        QVERIFY(view()->hasFocus());

        QCOMPARE(view()->margin(), 5);
        QVERIFY(!viewer()->headerDock()->isHidden());
        QVERIFY2(viewer()->headerView()->height() <= 30,
                 qPrintable(QString::number(viewer()->headerView()->height())));
    }

    // 10. Exporting failed results only when nothing failed is no error.
    void exportingFailedOnlyWithNothingFailed()
    {
        const QString passed = path("passed/passed.crc");
        QVERIFY(writeFile(passed, "<XROD><DOCUMENT tag='ok'><XROD:NODE name='n' type='Rule' "
                                  "state='ok' sum='3'><SECTION><PARAGRAPH>fine</PARAGRAPH>"
                                  "</SECTION></XROD:NODE></DOCUMENT></XROD>"));
        QProcess crcview;
        crcview.start(
            QStringLiteral(CRCVIEW_PATH),
            {QStringLiteral("export"), QStringLiteral("--failed"), path("pages"), passed});
        QVERIFY(crcview.waitForFinished(60000));
        QCOMPARE(crcview.exitCode(), 0);
        QVERIFY(QFile::exists(path("pages/index.html")));

        crcview.start(QStringLiteral(CRCVIEW_PATH),
                      {QStringLiteral("export"), QStringLiteral("--failed"), path("pages2"), passed,
                       path("passed/missing.crc")});
        QVERIFY(crcview.waitForFinished(60000));
        QCOMPARE(crcview.exitCode(), 2); // an unreadable file still is
    }

    // 11. What a desktop tool does: a welcome text, the title naming the tab, Open Recent,
    // line numbers, files that fail named with their reason while the tab names only the
    // others, and size, layout and last directory kept across a restart.
    void desktopHabits()
    {
        QVERIFY(welcome());
        QCOMPARE(m_studio->windowTitle(), QStringLiteral("crcstudio"));
        const QString broken = path("habits/broken.crc");
        QVERIFY(writeFile(broken, "<XROD><DOCUMENT tag='b'>\n<PARAGRAPH>\n</XROD>"));
        QVERIFY(open({example("security-audit.crc"), broken}));
        QVERIFY(!welcome());
        QCOMPARE(m_studio->tabs()->tabText(0), QStringLiteral("security-audit.crc"));
        QCOMPARE(m_studio->windowTitle(), QStringLiteral("security-audit.crc - crcstudio"));
        QCOMPARE(m_studio->statusBar()->currentMessage(),
                 QStringLiteral("Opened security-audit.crc"));
        QCOMPARE(m_dialogs->asked.size(), 1);
        QVERIFY2(m_dialogs->asked.first().text.contains(broken + QStringLiteral(":3:")),
                 qPrintable(m_dialogs->asked.first().text));

        Q_EMIT m_studio->tabs()->tabCloseRequested(0);
        QTRY_VERIFY(m_studio->viewers().isEmpty());
        QVERIFY(welcome());
        QAction* recent = menuEntry(QStringLiteral("File"), QStringLiteral("Open Recent"));
        QVERIFY(recent && recent->menu());
        Q_EMIT recent->menu()->aboutToShow();
        QAction* first = recent->menu()->actions().value(0);
        QVERIFY(first);
        QCOMPARE(first->text(), QStringLiteral("&1 security-audit.crc"));
        first->trigger();
        QCOMPARE(m_studio->tabs()->count(), 1);
        QCOMPARE(viewer()->fileList(), QStringList{example("security-audit.crc")});

        const QString lines = path("habits/lines.c");
        QVERIFY(writeFile(lines, QByteArray("x\n").repeated(150)));
        m_studio->openLocation(lines + QStringLiteral(" line 120"), 3, true);
        QVERIFY(m_studio->activeSource());
        auto* numbers =
            m_studio->activeSource()->findChild<QWidget*>(QStringLiteral("lineNumbers"));
        QVERIFY(numbers && numbers->isVisible());
        QVERIFY(numbers->width() >=
                m_studio->activeSource()->fontMetrics().horizontalAdvance(QStringLiteral("150")));
        QCOMPARE(m_studio->windowTitle(), QStringLiteral("lines.c - crcstudio"));

        // The user sizes the window, closes the outline and quits (this test comes last).
        m_studio->resize(900, 640);
        bringStudioForward();
        for (QDockWidget* dock : m_studio->findChildren<QDockWidget*>()) {
            if (dock->windowTitle() == QLatin1String("Outline")) {
                QAbstractButton* close =
                    dock->findChild<QAbstractButton*>(QStringLiteral("qt_dockwidget_closebutton"));
                QVERIFY(close);
                close->click();
            }
        }
        QVERIFY(m_studio->outlineDock()->isHidden());
        menuEntry(QStringLiteral("File"), QStringLiteral("Quit"))->trigger();
        QVERIFY(!m_studio->isVisible());
        const QString restarted =
            runChild({QStringLiteral("--restarted"), path("config/settings.xml")});
        QVERIFY2(restarted.contains(QLatin1String("size=900x640")), qPrintable(restarted));
        QVERIFY2(restarted.contains(QLatin1String("outline=0")), qPrintable(restarted));
        QVERIFY2(restarted.contains(QStringLiteral("directory=") + examples),
                 qPrintable(restarted));
        QVERIFY2(restarted.contains(QStringLiteral("recent=") + example("security-audit.crc")),
                 qPrintable(restarted));
    }
};

int main(int argc, char** argv)
{
    QApplication app(argc, argv);
    if (argc == 3 && qstrcmp(argv[1], "--restarted") == 0)
        return restartedStudio(QString::fromLocal8Bit(argv[2]));
    TestEndToEnd test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_e2e.moc"
