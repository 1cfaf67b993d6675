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
#include <QMenuBar>
#include <QPointer>
#include <QPushButton>
#include <QSignalSpy>
#include <QSpinBox>
#include <QTabWidget>
#include <QTemporaryDir>
#include <QTest>
#include <QTreeView>

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
    TestStudioExtremes test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_studioextremes.moc"
