// crcstudio at the extremes of its input: results nested as deep as the reader allows, shown,
// filtered and closed again; an outline depth of 0 taken from the settings file; preferences
// announced once however the dialog is confirmed.

#include "host/preferencesdialog.h"
#include "host/studiomainwindow.h"
#include "prefs/qareporterpref.h"
#include "prefs/qareporterprefgeneral.h"
#include "sdk/qadialogs.h"
#include "sdk/qastviewerwindow.h"
#include "tests/studiotestkit.h"
#include "tests/testkit.h"
#include "viewer/qareporter.h"
#include "viewer/qarlistview.h"

#include <QApplication>
#include <QDialogButtonBox>
#include <QFile>
#include <QMenuBar>
#include <QPointer>
#include <QPushButton>
#include <QSignalSpy>
#include <QSpinBox>
#include <QTabWidget>
#include <QTemporaryDir>
#include <QTest>
#include <QTreeView>
#include <iostream>
#include <sys/resource.h>
#include <unistd.h>

#if defined(__SANITIZE_ADDRESS__)
#define CRC_ADDRESS_SANITIZER 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define CRC_ADDRESS_SANITIZER 1
#endif
#endif

namespace {

using namespace testkit;

// The command of the menu bar (or of one of its menus) whose text, without its shortcut mark,
// is `text`. Menus are told they are about to show, as when the user opens them.
QAction* menuCommand(QMenuBar* bar, const QString& text)
{
    QList<QMenu*> menus;
    for (QAction* action : bar->actions()) {
        if (action->menu())
            menus.append(action->menu());
    }
    while (!menus.isEmpty()) {
        QMenu* menu = menus.takeFirst();
        Q_EMIT menu->aboutToShow();
        for (QAction* action : menu->actions()) {
            if (action->menu())
                menus.append(action->menu());
            else if (action->text().remove(QLatin1Char('&')) == text)
                return action;
        }
    }
    return nullptr;
}

// How many levels of entries hang below `entry`, following first children.
int levelsBelow(const QModelIndex& entry)
{
    const QAbstractItemModel* entries = entry.model();
    int levels = 0;
    for (QModelIndex at = entry; entries->rowCount(at) > 0; at = entries->index(0, 0, at))
        ++levels;
    return levels;
}

// How many entries lie above `entry`, up to its file entry.
int depthOf(const QModelIndex& entry)
{
    int depth = 0;
    for (QModelIndex at = entry.parent(); at.isValid(); at = at.parent())
        ++depth;
    return depth;
}

// The address space this process holds now, in bytes.
rlim_t addressSpaceInUse()
{
    QFile statm(QStringLiteral("/proc/self/statm"));
    if (!statm.open(QIODevice::ReadOnly))
        return 0;
    return rlim_t(statm.readAll().split(' ').value(0).toULongLong()) *
           rlim_t(sysconf(_SC_PAGESIZE));
}

// Run as a child of the test, since it bounds its own memory: the studio with a small report
// open is given a file whose reading needs more memory than it may take. Prints what the user
// is told and what the window shows afterwards.
int openBeyondTheMemory(const QString& settings, const QString& small, const QString& large)
{
    auto scripted = std::make_unique<ScriptedDialogs>();
    ScriptedDialogs* dialogs = scripted.get();
    QADialogs::install(std::move(scripted));
    StudioMainWindow studio(pluginPath, settings);
    studio.show();
    const auto openThroughTheMenu = [&](const QString& path) {
        dialogs->files.append({path});
        if (QAction* open = menuCommand(studio.menuBar(), QStringLiteral("Open...")))
            open->trigger();
    };
    openThroughTheMenu(small);

    rlimit before{};
    getrlimit(RLIMIT_AS, &before);
    const rlimit bounded{addressSpaceInUse() + (rlim_t(384) << 20), before.rlim_max};
    setrlimit(RLIMIT_AS, &bounded);
    openThroughTheMenu(large);
    setrlimit(RLIMIT_AS, &before);

    for (const ScriptedDialogs::Asked& asked : std::as_const(dialogs->asked)) {
        if (asked.kind == QLatin1String("message"))
            std::cout << "message=" << asked.text.simplified().toStdString() << "\n";
    }
    std::cout << "tabs=" << studio.tabs()->count() << "\n";
    if (auto* shown = qobject_cast<QAReporter*>(studio.activeViewer()))
        std::cout << "shown=" << shown->fileList().join(u',').toStdString()
                  << "\noutline=" << shown->outline()->model()->rowCount() << "\n";
    return 0;
}

} // namespace

class TestStudioExtremes : public QObject
{
    Q_OBJECT

    QTemporaryDir m_dir;
    std::unique_ptr<StudioMainWindow> m_studio;
    ScriptedDialogs* m_dialogs = nullptr;

    // Opens `path` through File > Open; the window shown afterwards, or null.
    QAStViewerWindow* openThroughTheMenu(const QString& path)
    {
        m_dialogs->files.append({path});
        QAction* open = menuCommand(m_studio->menuBar(), QStringLiteral("Open..."));
        if (!open)
            return nullptr;
        open->trigger();
        return m_studio->activeViewer();
    }

    QTreeView* outline() const { return qobject_cast<QTreeView*>(m_studio->currentOutline()); }

    // The file entry `row` of the outline shown.
    QModelIndex fileEntry(int row) const { return outline()->model()->index(row, 0); }

    // A key pressed on the outline, with the studio the active window.
    void pressOnOutline(Qt::Key key, Qt::KeyboardModifiers modifiers = {})
    {
        if (QApplication::activeWindow() != m_studio.get()) {
            m_studio->activateWindow();
            QTRY_COMPARE(QApplication::activeWindow(), m_studio.get());
        }
        outline()->setFocus();
        QTest::keyClick(outline(), key, modifiers);
    }

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY(m_dir.isValid());
        // Settings as another tool (or a hand) may write them: an outline depth of 0.
        const QString settings = m_dir.filePath(QStringLiteral("settings.xml"));
        QVERIFY(writeFile(settings, "<resources version=\"1\">\n<group name=\"CRC\">\n"
                                    "<int name=\"auto_depth\" value=\"0\"/>\n</group>\n"
                                    "</resources>\n"));
        auto dialogs = std::make_unique<ScriptedDialogs>();
        m_dialogs = dialogs.get();
        QADialogs::install(std::move(dialogs));
        m_studio = std::make_unique<StudioMainWindow>(pluginPath, settings);
        QVERIFY2(m_studio->plugin(), qPrintable(m_studio->pluginError()));
        m_studio->show();
    }

    void cleanupTestCase() { m_studio.reset(); }

    // With a depth of 0 the result files' entries stay open and every node entry is closed.
    void outlineDepthZeroKeepsFilesOpen()
    {
        QCOMPARE(QAReporter::preference()->general->autoDepth, 0);
        QPointer<QAStViewerWindow> window =
            openThroughTheMenu(examples + QStringLiteral("/rules-core.crc"));
        QVERIFY(window);
        QTreeView* view = outline();
        QVERIFY(view);
        const QAbstractItemModel* entries = view->model();
        QCOMPARE(entries->rowCount(), 1);
        const QModelIndex file = entries->index(0, 0);
        QVERIFY(entries->rowCount(file) > 0);
        QVERIFY(view->isExpanded(file));
        for (int i = 0; i < entries->rowCount(file); ++i)
            QVERIFY(!view->isExpanded(entries->index(i, 0, file)));
        // The node entries below the file entry are on screen: a click selects one.
        const QModelIndex first = entries->index(0, 0, file);
        const QRect shown = view->visualRect(first);
        QVERIFY(shown.isValid());
        QTest::mouseClick(view->viewport(), Qt::LeftButton, {}, shown.center());
        QCOMPARE(view->currentIndex(), first);

        QAction* close = menuCommand(m_studio->menuBar(), QStringLiteral("Close"));
        QVERIFY(close);
        close->trigger();
        QTRY_VERIFY(window.isNull());
    }

    // A result file nested 100,000 levels deep is shown, stepped through its failures, filtered
    // to its failures and back, and closed, without the outline or anything else running out of
    // stack.
    void deepResultsAreShownFilteredAndClosed()
    {
        const int depth = 100000;
        QByteArray markup = "<XROD><DOCUMENT tag='deep' title='deep'>";
        markup.reserve(depth * 80);
        for (int i = 0; i < depth; ++i)
            markup += i % 2 ? "<XROD:NODE name='n' type='t' state='ko' sum='1'><SECTION>"
                            : "<XROD:NODE name='n' type='t' state='ok' sum='1'><SECTION>";
        markup += "<PARAGRAPH>bottom</PARAGRAPH>";
        for (int i = 0; i < depth; ++i)
            markup += "</SECTION></XROD:NODE>";
        markup += "</DOCUMENT></XROD>";
        const QString path = m_dir.filePath(QStringLiteral("deep.crc"));
        QVERIFY(writeFile(path, markup));

        QPointer<QAStViewerWindow> window = openThroughTheMenu(path);
        QVERIFY(window);
        for (const ScriptedDialogs::Asked& asked : std::as_const(m_dialogs->asked))
            QVERIFY2(asked.kind == QLatin1String("open"), qPrintable(asked.text));
        QCOMPARE(levelsBelow(fileEntry(0)), depth);

        // Every other level failed: F8 steps down to the failures one by one, opening the
        // branches above them, and Shift+F8 back up.
        QCOMPARE(outline()->currentIndex(), fileEntry(0));
        pressOnOutline(Qt::Key_F8);
        QCOMPARE(depthOf(outline()->currentIndex()), 2);
        pressOnOutline(Qt::Key_F8);
        const QModelIndex secondFailure = outline()->currentIndex();
        QCOMPARE(depthOf(secondFailure), 4);
        QVERIFY(outline()->isExpanded(secondFailure.parent()));
        QVERIFY(outline()->visualRect(secondFailure).isValid());
        pressOnOutline(Qt::Key_F8, Qt::ShiftModifier);
        QCOMPARE(depthOf(outline()->currentIndex()), 2);
        pressOnOutline(Qt::Key_F8, Qt::ShiftModifier); // the first failure: it stays
        QCOMPARE(depthOf(outline()->currentIndex()), 2);

        QAction* failedOnly = menuCommand(m_studio->menuBar(), QStringLiteral("Failed Tests Only"));
        QVERIFY(failedOnly);
        failedOnly->trigger();
        QVERIFY(failedOnly->isChecked() ||
                menuCommand(m_studio->menuBar(), QStringLiteral("Failed Tests Only"))->isChecked());
        QVERIFY(outline()->model()->rowCount() == 1);

        QAction* all = menuCommand(m_studio->menuBar(), QStringLiteral("All Test Results"));
        QVERIFY(all);
        all->trigger();
        QCOMPARE(levelsBelow(fileEntry(0)), depth);

        QAction* close = menuCommand(m_studio->menuBar(), QStringLiteral("Close"));
        QVERIFY(close);
        close->trigger();
        QTRY_VERIFY(window.isNull());
        QCOMPARE(m_studio->tabs()->count(), 0);
    }

    // A failure at the bottom of a file nested 100,000 levels deep: F8 reaches it without
    // opening the outline past the depth the tree view can lay out, the entry at that depth
    // stands for it, and F8 goes on from the failure itself. "*" opens a whole branch, down to
    // the same depth.
    void deepFailureIsReachedWithoutOpeningEveryLevel()
    {
        const int depth = 100000;
        QByteArray markup = "<XROD><DOCUMENT tag='deeper' title='deeper'>";
        markup.reserve(depth * 80);
        for (int i = 0; i < depth; ++i)
            markup += i == depth - 1 ? "<XROD:NODE name='bottom' type='t' state='ko' sum='1'>"
                                       "<SECTION><PARAGRAPH>the failure</PARAGRAPH>"
                                     : "<XROD:NODE name='n' type='t' state='ok' sum='1'><SECTION>";
        for (int i = 0; i < depth; ++i)
            markup += "</SECTION></XROD:NODE>";
        markup += "</DOCUMENT></XROD>";
        const QString path = m_dir.filePath(QStringLiteral("deeper.crc"));
        QVERIFY(writeFile(path, markup));
        QPointer<QAStViewerWindow> window = openThroughTheMenu(path);
        QVERIFY(window);

        QCOMPARE(outline()->currentIndex(), fileEntry(0));
        pressOnOutline(Qt::Key_F8);
        const QModelIndex standIn = outline()->currentIndex();
        QCOMPARE(depthOf(standIn), QARListView::openDepthLimit);
        QVERIFY(outline()->isExpanded(standIn.parent()));
        QVERIFY(!outline()->isExpanded(standIn));
        pressOnOutline(Qt::Key_F8); // nothing fails after the bottom
        QCOMPARE(outline()->currentIndex(), standIn);
        pressOnOutline(Qt::Key_F8, Qt::ShiftModifier); // nor before it
        QCOMPARE(outline()->currentIndex(), standIn);

        outline()->setCurrentIndex(fileEntry(0));
        outline()->collapseAll();
        pressOnOutline(Qt::Key_Asterisk);
        QVERIFY(outline()->isExpanded(standIn.parent()));
        QVERIFY(!outline()->isExpanded(standIn));

        QAction* close = menuCommand(m_studio->menuBar(), QStringLiteral("Close"));
        QVERIFY(close);
        close->trigger();
        QTRY_VERIFY(window.isNull());
    }

    // A file of thousands of item types: the "Code Review" menu lists the first 50, says how
    // many more there are, and hides a listed type when its entry is clicked.
    void typeMenuOfThousandsOfTypes()
    {
        const int types = 2000;
        QByteArray markup = "<XROD><DOCUMENT tag='kinds' title='kinds'>";
        for (int i = 0; i < types; ++i) {
            const QByteArray number = QByteArray::number(i).rightJustified(4, '0');
            markup += "<XROD:NODE name='n" + number + "' type='K" + number +
                      "' state='ok' sum='1'><SECTION><PARAGRAPH>" + number +
                      "</PARAGRAPH></SECTION></XROD:NODE>";
        }
        markup += "</DOCUMENT></XROD>";
        const QString path = m_dir.filePath(QStringLiteral("kinds.crc"));
        QVERIFY(writeFile(path, markup));
        QPointer<QAStViewerWindow> window = openThroughTheMenu(path);
        QVERIFY(window);

        QMenu* menu = nullptr;
        for (QAction* action : m_studio->menuBar()->actions()) {
            if (action->text() == QLatin1String("&Code Review"))
                menu = action->menu();
        }
        QVERIFY(menu);
        // The entries between the first two separators: the types, then what is not listed.
        const auto typeSection = [menu] {
            QList<QAction*> entries;
            int separators = 0;
            for (QAction* action : menu->actions()) {
                separators += action->isSeparator() ? 1 : 0;
                if (separators == 1 && !action->isSeparator())
                    entries.append(action);
            }
            return entries;
        };
        menu->popup(m_studio->mapToGlobal(QPoint(100, 30)));
        QVERIFY(QTest::qWaitForWindowExposed(menu));
        QList<QAction*> entries = typeSection();
        QCOMPARE(entries.size(), 51);
        for (int i = 0; i < 50; ++i) {
            QCOMPARE(entries.at(i)->text(), QStringLiteral("K%1").arg(i, 4, 10, QLatin1Char('0')));
            QVERIFY(entries.at(i)->isChecked());
        }
        QAction* note = entries.last();
        QCOMPARE(note->text(), QStringLiteral("Types not listed: 1950 (always shown)"));
        QVERIFY(!note->isEnabled() && !note->isCheckable());
        QCOMPARE(
            note->statusTip(),
            QStringLiteral(
                "The menu lists the first 50 types; the nodes of the others are always shown"));

        QTest::mouseClick(menu, Qt::LeftButton, {}, menu->actionGeometry(entries.at(1)).center());
        QTRY_VERIFY(!menu->isVisible());
        const QModelIndex file = fileEntry(0);
        QCOMPARE(outline()->model()->rowCount(file), types - 1);
        QCOMPARE(outline()->model()->index(1, 0, file).data().toString(), QStringLiteral("n0002"));
        QCOMPARE(outline()->model()->index(types - 2, 0, file).data().toString(),
                 QStringLiteral("n1999"));
        menu->popup(m_studio->mapToGlobal(QPoint(100, 30)));
        QVERIFY(QTest::qWaitForWindowExposed(menu));
        entries = typeSection();
        QCOMPARE(entries.size(), 51);
        QVERIFY(entries.at(0)->isChecked() && !entries.at(1)->isChecked());
        menu->close();

        QAction* close = menuCommand(m_studio->menuBar(), QStringLiteral("Close"));
        QVERIFY(close);
        close->trigger();
        QTRY_VERIFY(window.isNull());
    }

    // A file whose reading needs more memory than the studio may take fails to open as an
    // unreadable file does: a message names it and says why, and the report open before stays
    // shown as it was.
    void fileBeyondTheMemoryLeavesTheWindowAsItWas()
    {
#ifdef CRC_ADDRESS_SANITIZER
        QSKIP("the address sanitizer ends a program that runs out of memory itself");
#endif
        // An empty list of 7 bytes takes about 65 once read: 112 MB of them need over 1 GB.
        const QString large = m_dir.filePath(QStringLiteral("manylists.crc"));
        QFile file(large);
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write("<XROD><DOCUMENT tag='big'><XROD:NODE name='n' type='t' state='ko' sum='1'>"
                   "<SECTION>");
        const QByteArray lists = QByteArray("<LIST/>").repeated(1 << 20);
        for (int i = 0; i < 16; ++i)
            QCOMPARE(file.write(lists), lists.size());
        file.write("</SECTION></XROD:NODE></DOCUMENT></XROD>");
        file.close();
        const QString small = examples + QStringLiteral("/rules-core.crc");

        const QString told =
            runChild({QStringLiteral("--beyond-memory"),
                      m_dir.filePath(QStringLiteral("child-settings.xml")), small, large});
        const QStringList lines = told.split(QLatin1Char('\n'), Qt::SkipEmptyParts);
        QVERIFY2(lines.size() == 4, qPrintable(told));
        QVERIFY2(lines.at(0).startsWith(QLatin1String("message=")) && lines.at(0).contains(large) &&
                     lines.at(0).contains(QLatin1String("out of memory")),
                 qPrintable(told));
        QCOMPARE(lines.at(1), QStringLiteral("tabs=1"));
        QCOMPARE(lines.at(2), QStringLiteral("shown=") + small);
        QCOMPARE(lines.at(3), QStringLiteral("outline=1"));
    }

    // The viewers hear of new preferences once per confirmation: Apply then OK without an edit
    // in between announces them once, an edit after Apply once more, OK alone once.
    void preferencesAreAnnouncedOncePerConfirmation()
    {
        QSignalSpy announced(QAReporter::preference(), &QAReporterPref::preferencesChanged);
        const auto openDialog = [this] {
            QAction* preferences =
                menuCommand(m_studio->menuBar(), QStringLiteral("Preferences..."));
            if (preferences)
                preferences->trigger();
            return m_studio->findChild<PreferencesDialog*>();
        };
        const auto press = [](PreferencesDialog* dialog, QDialogButtonBox::StandardButton which) {
            QTest::mouseClick(dialog->buttons()->button(which), Qt::LeftButton);
        };
        // The page's widgets are made with each dialog.
        const auto depth = [] { return QAReporter::preference()->general->depthSpin.data(); };

        QPointer<PreferencesDialog> dialog = openDialog();
        QVERIFY(dialog);
        QTest::keyClick(depth(), Qt::Key_Up);
        press(dialog, QDialogButtonBox::Apply);
        QCOMPARE(announced.size(), 1);
        press(dialog, QDialogButtonBox::Ok);
        QTRY_VERIFY(dialog.isNull());
        QCOMPARE(announced.size(), 1);

        dialog = openDialog();
        QVERIFY(dialog);
        QTest::keyClick(depth(), Qt::Key_Up);
        press(dialog, QDialogButtonBox::Apply);
        QTest::keyClick(depth(), Qt::Key_Down);
        press(dialog, QDialogButtonBox::Ok);
        QTRY_VERIFY(dialog.isNull());
        QCOMPARE(announced.size(), 3);

        dialog = openDialog();
        QVERIFY(dialog);
        press(dialog, QDialogButtonBox::Ok);
        QTRY_VERIFY(dialog.isNull());
        QCOMPARE(announced.size(), 4);

        dialog = openDialog();
        QVERIFY(dialog);
        QTest::keyClick(depth(), Qt::Key_Up);
        press(dialog, QDialogButtonBox::Cancel);
        QTRY_VERIFY(dialog.isNull());
        QCOMPARE(announced.size(), 4);

        // Edits after Apply that come back to the values applied bring nothing new to announce.
        dialog = openDialog();
        QVERIFY(dialog);
        QTest::keyClick(depth(), Qt::Key_Down);
        press(dialog, QDialogButtonBox::Apply);
        QCOMPARE(announced.size(), 5);
        QTest::keyClick(depth(), Qt::Key_Up);
        QTest::keyClick(depth(), Qt::Key_Down);
        press(dialog, QDialogButtonBox::Ok);
        QTRY_VERIFY(dialog.isNull());
        QCOMPARE(announced.size(), 5);
    }
};

int main(int argc, char** argv)
{
    QApplication app(argc, argv);
    if (argc == 5 && qstrcmp(argv[1], "--beyond-memory") == 0)
        return openBeyondTheMemory(QString::fromLocal8Bit(argv[2]), QString::fromLocal8Bit(argv[3]),
                                   QString::fromLocal8Bit(argv[4]));
    TestStudioExtremes test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_studioextremes.moc"
