// crcstudio while it reads a large result file: the progress display's Cancel button (or Escape,
// or closing the window) stops the reading and leaves the window as it was, and nothing else the
// user does meanwhile reaches the viewer. Driven through the real window and plug-in.

#include "folio/model/ddocument.h"
#include "folio/model/dlink.h"
#include "folio/view/dreportwidget.h"
#include "host/progresspanel.h"
#include "host/studiomainwindow.h"
#include "sdk/qadialogs.h"
#include "sdk/qastviewerwindow.h"
#include "tests/studiotestkit.h"
#include "tests/testkit.h"
#include "viewer/qareporter.h"

#include <QApplication>
#include <QMenuBar>
#include <QProgressBar>
#include <QPushButton>
#include <QStatusBar>
#include <QTabWidget>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>
#include <QTreeView>
#include <functional>

namespace {

using namespace testkit;

// A result file of `count` failed file nodes named "`prefix`N", each with a section of its own.
QByteArray resultFile(int count, const char* prefix)
{
    QByteArray markup = "<XROD><DOCUMENT tag='doc' title='generated'>\n";
    markup.reserve(count * 200);
    for (int i = 0; i < count; ++i) {
        const QByteArray n = QByteArray::number(i);
        markup += "<XROD:NODE name='" + QByteArray(prefix) + n +
                  "' type='File' state='ko' sum='1'><SECTION tag='s" + n + "'><TITLE>" +
                  QByteArray(prefix) + n +
                  "</TITLE><PARAGRAPH style='Normal Failed'>failed here</PARAGRAPH>"
                  "</SECTION></XROD:NODE>\n";
    }
    markup += "</DOCUMENT></XROD>\n";
    return markup;
}

// A click on the first link to `target` drawn in the view, where it is drawn.
bool clickLink(DFolioView* view, const QString& target)
{
    for (DDocument* document : view->documents()) {
        QList<DItem*> pending{document};
        while (!pending.isEmpty()) {
            for (DItem* item = pending.takeLast(); item; item = item->next()) {
                auto* link = dcast<DLink>(item);
                const QRect drawn =
                    link && link->target() == target ? view->itemRect(link) : QRect();
                if (!drawn.isEmpty() && drawn.top() >= 0) {
                    QTest::mouseClick(
                        view->viewport(), Qt::LeftButton, {},
                        QPoint(drawn.left() + 3, drawn.top() + qMin(drawn.height() / 2, 6)));
                    return true;
                }
                if (DItemContainer* container = item->asContainer())
                    pending.append(container->firstChild());
            }
        }
    }
    return false;
}

// Large enough that its reading lasts through several repaints of the progress display.
constexpr int largeCount = 300000;

// What the user sees of the window, to compare before and after.
struct Seen
{
    int tabs = 0;
    QString tabText;
    QString title;
    QStringList outline; // the top entry and its children
    QStringList recent;

    bool operator==(const Seen& other) const
    {
        return tabs == other.tabs && tabText == other.tabText && title == other.title &&
               outline == other.outline && recent == other.recent;
    }
};

char* toString(const Seen& seen)
{
    return QTest::toString(QStringLiteral("%1 tabs, tab '%2', title '%3', outline %4, recent %5")
                               .arg(seen.tabs)
                               .arg(seen.tabText, seen.title, seen.outline.join(QLatin1Char(',')),
                                    seen.recent.join(QLatin1Char(','))));
}

} // namespace

class TestStudioCancel : public QObject
{
    Q_OBJECT

    QTemporaryDir m_dir;
    std::unique_ptr<StudioMainWindow> m_studio;
    ScriptedDialogs* m_dialogs = nullptr;
    QString m_large;

    QString path(const char* name) const { return m_dir.filePath(QString::fromLatin1(name)); }

    ProgressPanel* progress() const { return m_studio->progress(); }

    // Runs `act` once while a file is being read: the progress shows, has moved, and can still
    // be cancelled. True when it ran.
    bool whileReading(const std::function<void()>& operation, const std::function<void()>& act)
    {
        bool acted = false;
        QTimer poll;
        poll.setInterval(5);
        connect(&poll, &QTimer::timeout, this, [&] {
            if (acted || !progress()->isRunning() || !progress()->cancelButton()->isEnabled() ||
                progress()->bar()->value() <= 0)
                return;
            acted = true;
            poll.stop();
            act();
        });
        poll.start();
        operation();
        return acted;
    }

    // File > Open, the files chosen in its dialog.
    void openThroughTheMenu(const QString& file)
    {
        m_dialogs->files.append({file});
        menuAction(*m_studio, QStringLiteral("&File"), QStringLiteral("&Open..."))->trigger();
    }

    // A click on the drawn Cancel button of the status bar.
    void clickCancel()
    {
        QPushButton* button = progress()->cancelButton();
        QVERIFY(button->isVisible());
        QTest::mouseClick(button, Qt::LeftButton, {}, button->rect().center());
    }

    Seen seen() const
    {
        Seen now;
        now.tabs = m_studio->tabs()->count();
        now.tabText = m_studio->tabs()->tabText(m_studio->tabs()->currentIndex());
        now.title = m_studio->windowTitle();
        now.recent = m_studio->recentFiles();
        if (auto* tree = qobject_cast<QTreeView*>(m_studio->currentOutline());
            tree && tree->model() && tree->model()->rowCount() > 0) {
            const QAbstractItemModel* entries = tree->model();
            const QModelIndex top = entries->index(0, 0);
            now.outline.append(top.data().toString());
            for (int i = 0; i < entries->rowCount(top); ++i)
                now.outline.append(entries->index(i, 0, top).data().toString());
        }
        return now;
    }

    // The key of File > Close.
    QKeySequence closeKey() const
    {
        return m_studio->commandAction(StudioMainWindow::Close)->shortcut();
    }

    QString statusMessage() const { return m_studio->statusBar()->currentMessage(); }

    // The warnings the viewer gave (a cancel gives none).
    int warnings() const
    {
        int count = 0;
        for (const ScriptedDialogs::Asked& asked : m_dialogs->asked)
            count += asked.kind == QLatin1String("message") ? 1 : 0;
        return count;
    }

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY(m_dir.isValid());
        m_large = path("large.crc");
        QVERIFY(writeFile(m_large, resultFile(largeCount, "big")));
        QVERIFY(writeFile(path("small.crc"), resultFile(3, "small")));
        QVERIFY(writeFile(path("other.crc"), resultFile(2, "other")));
        auto dialogs = std::make_unique<ScriptedDialogs>();
        m_dialogs = dialogs.get();
        QADialogs::install(std::move(dialogs));
        m_studio = std::make_unique<StudioMainWindow>(pluginPath, path("settings.xml"));
        QVERIFY2(m_studio->plugin(), qPrintable(m_studio->pluginError()));
        m_studio->show();
        QVERIFY(QTest::qWaitForWindowExposed(m_studio.get()));
        m_studio->activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(m_studio.get()));
    }

    void cleanupTestCase() { m_studio.reset(); }

    void cleanup()
    {
        closeAllTabs(*m_studio);
        m_dialogs->asked.clear();
        m_dialogs->files.clear();
    }

    // Cancel clicked while a large file is read: no tab, no warning, no recent entry, the tab
    // shown before untouched, and the next open works. Menus and shortcuts used meanwhile do
    // nothing: a click on the File menu opens no menu, the key of File > Close closes no tab,
    // F5 reloads nothing.
    void cancelLeavesTheWindowAsItWas()
    {
        openThroughTheMenu(path("small.crc"));
        QCOMPARE(m_studio->tabs()->count(), 1);
        const Seen before = seen();
        QCOMPARE(before.outline.size(), 4);
        QVERIFY(!progress()->cancelButton()->isEnabled());

        QMenuBar* bar = m_studio->menuBar();
        const QPoint fileMenu = bar->actionGeometry(bar->actions().first()).center();
        bool menuOpened = true;
        const bool acted = whileReading([&] { openThroughTheMenu(m_large); },
                                        [&] {
                                            QTest::mouseClick(bar, Qt::LeftButton, {}, fileMenu);
                                            menuOpened = QApplication::activePopupWidget();
                                            QTest::keySequence(m_studio.get(), closeKey());
                                            QTest::keyClick(m_studio.get(), Qt::Key_F5);
                                            clickCancel();
                                        });
        QVERIFY(acted);
        QVERIFY(!menuOpened);
        QCOMPARE(seen(), before);
        QCOMPARE(warnings(), 0);
        QCOMPARE(statusMessage(), QStringLiteral("Opening cancelled"));
        QVERIFY(!progress()->isVisible());
        QVERIFY(!progress()->cancelButton()->isEnabled());
        QVERIFY(!m_studio->recentFiles().contains(m_large));

        // Input reaches the window again, and the next file opens.
        QTest::keySequence(m_studio.get(), closeKey());
        QTRY_COMPARE(m_studio->tabs()->count(), 0);
        openThroughTheMenu(path("other.crc"));
        QCOMPARE(m_studio->tabs()->count(), 1);
        QCOMPARE(seen().outline.value(1), QStringLiteral("other0"));
        QCOMPARE(m_studio->recentFiles().first(), path("other.crc"));
    }

    // Escape cancels as the button does; closing the window while it reads cancels too, and
    // the window stays open.
    void escapeAndClosingCancel()
    {
        openThroughTheMenu(path("small.crc"));
        const Seen before = seen();
        QVERIFY(whileReading([&] { openThroughTheMenu(m_large); },
                             [&] { QTest::keyClick(m_studio.get(), Qt::Key_Escape); }));
        QCOMPARE(seen(), before);
        QCOMPARE(statusMessage(), QStringLiteral("Opening cancelled"));

        bool closed = true;
        QVERIFY(whileReading([&] { openThroughTheMenu(m_large); },
                             [&] { closed = m_studio->close(); }));
        QVERIFY(!closed);
        QVERIFY(m_studio->isVisible());
        QCOMPARE(seen(), before);
        QCOMPARE(warnings(), 0);
    }

    // A link to a large result file, cancelled while it is read: the report with the link stays
    // shown, and there is no way Back to it since it was never left. Followed again without a
    // cancel, the link shows the file, and Back returns.
    void cancelledLinkStaysOnTheReport()
    {
        const QByteArray linking = "<XROD><DOCUMENT tag='start'><XROD:NODE name='n' type='Rule' "
                                   "state='ok'><SECTION><PARAGRAPH><LINK target='xrdlink://"
                                   "large.crc'>large</LINK> <LINK target='xrdlink://small.crc'>"
                                   "small</LINK></PARAGRAPH></SECTION></XROD:NODE></DOCUMENT>"
                                   "</XROD>";
        QVERIFY(writeFile(path("linking.crc"), linking));
        openThroughTheMenu(path("linking.crc"));
        auto* reporter = qobject_cast<QAReporter*>(m_studio->activeViewer());
        QVERIFY(reporter);
        DReportWidget* view = reporter->documentView();
        const Seen before = seen();
        QAction* back = m_studio->commandAction(StudioMainWindow::Back);
        QVERIFY(!back->isEnabled());

        bool clicked = false;
        QVERIFY(
            whileReading([&] { clicked = clickLink(view, QStringLiteral("xrdlink://large.crc")); },
                         [&] { clickCancel(); }));
        QVERIFY(clicked);
        QCOMPARE(seen(), before);
        QCOMPARE(reporter->fileList(), QStringList(path("linking.crc")));
        QCOMPARE(view->documents().front()->tag(), QStringLiteral("start"));
        m_studio->updateCommands();
        QVERIFY(!back->isEnabled());
        QCOMPARE(warnings(), 0);

        QVERIFY(clickLink(view, QStringLiteral("xrdlink://small.crc")));
        QCOMPARE(reporter->fileList(), QStringList(path("small.crc")));
        m_studio->updateCommands();
        QVERIFY(back->isEnabled());
        back->trigger();
        QCOMPARE(reporter->fileList(), QStringList(path("linking.crc")));
        QCOMPARE(view->documents().front()->tag(), QStringLiteral("start"));
    }

    // Reload (F5) of a file that grew large, cancelled: the contents read before stay shown;
    // a reload afterwards reads the file as it is now.
    void cancelledReloadKeepsTheContents()
    {
        const QString file = path("growing.crc");
        QVERIFY(writeFile(file, resultFile(3, "first")));
        openThroughTheMenu(file);
        const Seen before = seen();
        QCOMPARE(before.outline.value(1), QStringLiteral("first0"));

        QVERIFY(writeFile(file, resultFile(largeCount, "second")));
        QVERIFY(whileReading([&] { QTest::keyClick(m_studio.get(), Qt::Key_F5); },
                             [&] { clickCancel(); }));
        QCOMPARE(seen(), before);
        QCOMPARE(warnings(), 0);
        QCOMPARE(statusMessage(), QStringLiteral("Opening cancelled"));

        QVERIFY(writeFile(file, resultFile(2, "third")));
        QTest::keyClick(m_studio.get(), Qt::Key_F5);
        QCOMPARE(seen().outline, QStringList({QStringLiteral("growing.crc"),
                                              QStringLiteral("third0"), QStringLiteral("third1")}));
    }
};

QTEST_MAIN(TestStudioCancel)
#include "tst_studiocancel.moc"
