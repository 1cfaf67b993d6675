// crcstudio while it reads a large result file: the progress display's Cancel button (or Escape,
// or closing the window) stops the reading and leaves the window as it was, and nothing else the
// user does meanwhile reaches the viewer. Driven through the real window and plug-in.

#include "host/studiomainwindow.h"
#include "tests/studio/studiofixture.h"
#include "tests/testkit.h"

#include <QAbstractScrollArea>
#include <QApplication>
#include <QLabel>
#include <QMenuBar>
#include <QProgressBar>
#include <QPushButton>
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
    StudioFixture m_studio;
    QString m_large;

    QString path(const char* name) const { return m_dir.filePath(QString::fromLatin1(name)); }

    // Runs `act` once while a file is being read: the progress shows, has moved, and can still
    // be cancelled. True when it ran.
    bool whileReading(const std::function<void()>& operation, const std::function<void()>& act)
    {
        bool acted = false;
        QTimer poll;
        poll.setInterval(5);
        connect(&poll, &QTimer::timeout, this, [&] {
            if (acted || !m_studio.progress()->isVisible() ||
                !m_studio.cancelButton()->isEnabled() || m_studio.progressBar()->value() <= 0)
                return;
            acted = true;
            poll.stop();
            act();
        });
        poll.start();
        operation();
        return acted;
    }

    // A click on the drawn Cancel button of the status bar.
    void clickCancel()
    {
        QPushButton* button = m_studio.cancelButton();
        QVERIFY(button->isVisible());
        QTest::mouseClick(button, Qt::LeftButton, {}, button->rect().center());
    }

    // The files of File > Open Recent, as their entries' status tips name them.
    QStringList recentFiles()
    {
        QStringList files;
        if (QMenu* recent =
                m_studio.openMenu({QStringLiteral("File"), QStringLiteral("Open Recent")})) {
            for (const QAction* entry : recent->actions()) {
                if (!entry->statusTip().isEmpty())
                    files.append(entry->statusTip());
            }
        }
        m_studio.closeMenus();
        return files;
    }

    Seen seen()
    {
        Seen now;
        now.tabs = m_studio.tabCount();
        now.tabText = m_studio.currentTabText();
        now.title = m_studio.window().windowTitle();
        now.recent = recentFiles();
        if (QTreeView* tree = m_studio.outline(); tree && tree->model()->rowCount() > 0) {
            const QAbstractItemModel* entries = tree->model();
            const QModelIndex top = entries->index(0, 0);
            now.outline.append(top.data().toString());
            for (int i = 0; i < entries->rowCount(top); ++i)
                now.outline.append(entries->index(i, 0, top).data().toString());
        }
        return now;
    }

    // The key of File > Close, as its entry shows it.
    QKeySequence closeKey()
    {
        QAction* close = m_studio.entry({QStringLiteral("File"), QStringLiteral("Close")});
        return close ? close->shortcut() : QKeySequence();
    }

    // The warnings the viewer gave (a cancel gives none).
    int warnings() const { return int(m_studio.dialogs().messages().size()); }

    bool canGoBack()
    {
        QAction* back = m_studio.entry({QStringLiteral("Go"), QStringLiteral("Back")});
        return back && back->isEnabled();
    }

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY(m_dir.isValid());
        m_large = path("large.crc");
        QVERIFY(writeFile(m_large, resultFile(largeCount, "big")));
        QVERIFY(writeFile(path("small.crc"), resultFile(3, "small")));
        QVERIFY(writeFile(path("other.crc"), resultFile(2, "other")));
        QVERIFY(m_studio.start(path("settings.xml")));
    }

    void cleanupTestCase() { m_studio.quit(); }

    void cleanup()
    {
        QVERIFY(m_studio.closeAllTabs());
        m_studio.dialogs().asked.clear();
        m_studio.dialogs().files.clear();
    }

    // Cancel clicked while a large file is read: no tab, no warning, no recent entry, the tab
    // shown before untouched, and the next open works. Menus and shortcuts used meanwhile do
    // nothing: a click on the File menu opens no menu, the key of File > Close closes no tab,
    // F5 reloads nothing.
    void cancelLeavesTheWindowAsItWas()
    {
        QVERIFY(m_studio.open({path("small.crc")}));
        QCOMPARE(m_studio.tabCount(), 1);
        const Seen before = seen();
        QCOMPARE(before.outline.size(), 4);
        QVERIFY(!m_studio.cancelButton()->isEnabled());
        const QKeySequence close = closeKey();
        QVERIFY(!close.isEmpty());

        QMenuBar* bar = m_studio.window().menuBar();
        const QPoint fileMenu = bar->actionGeometry(bar->actions().first()).center();
        bool menuOpened = true;
        const bool acted =
            whileReading([&] { QVERIFY(m_studio.open({m_large})); },
                         [&] {
                             QTest::mouseClick(bar, Qt::LeftButton, {}, fileMenu);
                             menuOpened = QApplication::activePopupWidget();
                             m_studio.press(close[0].key(), close[0].keyboardModifiers());
                             m_studio.press(Qt::Key_F5);
                             clickCancel();
                         });
        QVERIFY(acted);
        QVERIFY(!menuOpened);
        QCOMPARE(m_studio.statusMessage(), QStringLiteral("Opening cancelled"));
        QCOMPARE(seen(), before);
        QCOMPARE(warnings(), 0);
        QVERIFY(!m_studio.progress()->isVisible());
        QVERIFY(!m_studio.cancelButton()->isEnabled());
        QVERIFY(!recentFiles().contains(m_large));

        // Input reaches the window again, and the next file opens.
        m_studio.press(close[0].key(), close[0].keyboardModifiers());
        QTRY_COMPARE(m_studio.tabCount(), 0);
        QVERIFY(m_studio.open({path("other.crc")}));
        QCOMPARE(m_studio.tabCount(), 1);
        QCOMPARE(seen().outline.value(1), QStringLiteral("other0"));
        QCOMPARE(recentFiles().value(0), path("other.crc"));
    }

    // Escape cancels as the button does; closing the window while it reads cancels too, and
    // the window stays open.
    void escapeAndClosingCancel()
    {
        QVERIFY(m_studio.open({path("small.crc")}));
        const Seen before = seen();
        QVERIFY(whileReading([&] { QVERIFY(m_studio.open({m_large})); },
                             [&] { m_studio.press(Qt::Key_Escape); }));
        QCOMPARE(m_studio.statusMessage(), QStringLiteral("Opening cancelled"));
        QCOMPARE(seen(), before);

        bool closed = true;
        QVERIFY(whileReading([&] { QVERIFY(m_studio.open({m_large})); },
                             [&] { closed = m_studio.window().close(); }));
        QVERIFY(!closed);
        QVERIFY(m_studio.window().isVisible());
        QCOMPARE(seen(), before);
        QCOMPARE(warnings(), 0);
    }

    // A link to a large result file, cancelled while it is read: the report with the link stays
    // shown, and there is no way Back to it since it was never left. Followed again without a
    // cancel, the link shows the file, and Back returns.
    void cancelledLinkStaysOnTheReport()
    {
        const QByteArray linking = "<XROD><DOCUMENT tag='start'><XROD:NODE name='n' type='Rule' "
                                   "state='ok'><SECTION><PARAGRAPH>Read <LINK target='xrdlink://"
                                   "large.crc'>the large one</LINK> or <LINK target='xrdlink://"
                                   "small.crc'>the small one</LINK>.</PARAGRAPH></SECTION>"
                                   "</XROD:NODE></DOCUMENT></XROD>";
        QVERIFY(writeFile(path("linking.crc"), linking));
        QVERIFY(m_studio.open({path("linking.crc")}));
        const Seen before = seen();
        const QString shown = m_studio.documentText();
        QVERIFY(shown.contains(QLatin1String("Read the large one or the small one.")));
        QVERIFY(!canGoBack());

        bool clicked = false;
        QVERIFY(whileReading([&] { clicked = m_studio.clickLink(QStringLiteral("the large one")); },
                             [&] { clickCancel(); }));
        QVERIFY(clicked);
        QCOMPARE(seen(), before);
        QCOMPARE(m_studio.shownFiles(), QStringList(path("linking.crc")));
        QCOMPARE(m_studio.documentText(), shown);
        QVERIFY(!canGoBack());
        QCOMPARE(warnings(), 0);

        QVERIFY(m_studio.clickLink(QStringLiteral("the small one")));
        QCOMPARE(m_studio.shownFiles(), QStringList(path("small.crc")));
        QVERIFY(canGoBack());
        QVERIFY(m_studio.trigger({QStringLiteral("Go"), QStringLiteral("Back")}));
        QCOMPARE(m_studio.shownFiles(), QStringList(path("linking.crc")));
        QCOMPARE(m_studio.documentText(), shown);
    }

    // Reload (F5) of a file that grew large, cancelled: the contents read before stay shown;
    // a reload afterwards reads the file as it is now.
    void cancelledReloadKeepsTheContents()
    {
        const QString file = path("growing.crc");
        QVERIFY(writeFile(file, resultFile(3, "first")));
        QVERIFY(m_studio.open({file}));
        const Seen before = seen();
        QCOMPARE(before.outline.value(1), QStringLiteral("first0"));

        QVERIFY(writeFile(file, resultFile(largeCount, "second")));
        QVERIFY(whileReading([&] { m_studio.press(Qt::Key_F5); }, [&] { clickCancel(); }));
        QCOMPARE(m_studio.statusMessage(), QStringLiteral("Opening cancelled"));
        QCOMPARE(seen(), before);
        QCOMPARE(warnings(), 0);

        QVERIFY(writeFile(file, resultFile(2, "third")));
        m_studio.press(Qt::Key_F5);
        QCOMPARE(seen().outline, QStringList({QStringLiteral("growing.crc"),
                                              QStringLiteral("third0"), QStringLiteral("third1")}));
    }
};

QTEST_MAIN(TestStudioCancel)
#include "tst_studiocancel.moc"
