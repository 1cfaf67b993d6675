// crcstudio at the extremes of its input: results nested as deep as the reader allows, shown,
// filtered and closed again; an outline depth of 0 taken from the settings file; preferences
// announced once however the dialog is confirmed.

#include "host/studiomainwindow.h"
#include "tests/studio/studiofixture.h"
#include "tests/testkit.h"

#include <QAbstractScrollArea>
#include <QApplication>
#include <QDialogButtonBox>
#include <QFile>
#include <QGroupBox>
#include <QMenu>
#include <QPointer>
#include <QPushButton>
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

// The outline opens entries down to this depth; the entry there stands for those below.
constexpr int openDepthLimit = 1000;

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
    StudioFixture studio;
    if (!studio.start(settings) || !studio.open({small}))
        return 2;

    rlimit before{};
    getrlimit(RLIMIT_AS, &before);
    const rlimit bounded{addressSpaceInUse() + (rlim_t(384) << 20), before.rlim_max};
    setrlimit(RLIMIT_AS, &bounded);
    const bool opened = studio.open({large});
    setrlimit(RLIMIT_AS, &before);
    if (!opened)
        return 3;

    for (const QString& message : studio.dialogs().messages())
        std::cout << "message=" << message.simplified().toStdString() << "\n";
    std::cout << "tabs=" << studio.tabCount() << "\n";
    if (studio.outline())
        std::cout << "shown=" << studio.shownFiles().join(u',').toStdString()
                  << "\noutline=" << studio.outline()->model()->rowCount() << "\n";
    return 0;
}

// Counts the paint events of the widget it watches.
class PaintCounter : public QObject
{
public:
    explicit PaintCounter(int* count) : m_count(count) {}

protected:
    bool eventFilter(QObject*, QEvent* event) override
    {
        *m_count += event->type() == QEvent::Paint ? 1 : 0;
        return false;
    }

private:
    int* m_count;
};

} // namespace

class TestStudioExtremes : public QObject
{
    Q_OBJECT

    QTemporaryDir m_dir;
    StudioFixture m_studio;

    QTreeView* outline() const { return m_studio.outline(); }

    // The file entry `row` of the outline shown.
    QModelIndex fileEntry(int row) const { return outline()->model()->index(row, 0); }

    // The entry `levels` below `entry`, following first children.
    static QModelIndex firstDescendant(const QModelIndex& entry, int levels)
    {
        QModelIndex at = entry;
        for (int i = 0; i < levels && at.isValid(); ++i)
            at = entry.model()->index(0, 0, at);
        return at;
    }

    // File > Close, and the page of the tab shown gone.
    bool closeTheTab()
    {
        const QPointer<QWidget> page = m_studio.tabs()->currentWidget();
        return page && m_studio.trigger({QStringLiteral("File"), QStringLiteral("Close")}) &&
               QTest::qWaitFor([&page] { return page.isNull(); });
    }

    // Tools > Preferences..., the dialog that opened.
    QDialog* openPreferences()
    {
        if (!m_studio.trigger({QStringLiteral("Tools"), QStringLiteral("Preferences...")}))
            return nullptr;
        for (QDialog* dialog : m_studio.window().findChildren<QDialog*>()) {
            if (dialog->isVisible())
                return dialog;
        }
        return nullptr;
    }

    // The outline depth of the preferences dialog, as its page shows it.
    static QSpinBox* depthSpin(QDialog* dialog)
    {
        for (QGroupBox* group : dialog->findChildren<QGroupBox*>()) {
            if (group->isVisible() && group->title() == QLatin1String("Report Contents Depth Open"))
                return group->findChild<QSpinBox*>();
        }
        return nullptr;
    }

    static void press(QDialog* dialog, QDialogButtonBox::StandardButton which)
    {
        QTest::mouseClick(dialog->findChild<QDialogButtonBox*>()->button(which), Qt::LeftButton);
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
        QVERIFY(m_studio.start(settings));
    }

    void cleanupTestCase() { m_studio.quit(); }

    void cleanup() { QVERIFY(m_studio.closeAllTabs()); }

    // With a depth of 0 the result files' entries stay open and every node entry is closed.
    void outlineDepthZeroKeepsFilesOpen()
    {
        QVERIFY(m_studio.open({examples + QStringLiteral("/rules-core.crc")}));
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
        QVERIFY(view->visualRect(first).isValid());
        QVERIFY(m_studio.clickEntry(first));
        QVERIFY(closeTheTab());
    }

    // A result file nested 100,000 levels deep is shown, stepped through its failures, filtered
    // to its failures and back, and closed, without the outline or anything else running out of
    // stack. Each mode shows what it says: all results the whole chain, failed tests only the
    // failure beside it (every failure of the chain lies below a passed node).
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
        markup += "<XROD:NODE name='beside' type='t' state='ko' sum='1'><SECTION><PARAGRAPH>"
                  "beside</PARAGRAPH></SECTION></XROD:NODE></DOCUMENT></XROD>";
        const QString path = m_dir.filePath(QStringLiteral("deep.crc"));
        QVERIFY(writeFile(path, markup));

        m_studio.dialogs().asked.clear();
        QVERIFY(m_studio.open({path}));
        QVERIFY2(m_studio.dialogs().messages().isEmpty(),
                 qPrintable(m_studio.dialogs().messages().join(QLatin1Char('\n'))));
        QCOMPARE(outline()->model()->rowCount(fileEntry(0)), 2);
        QCOMPARE(levelsBelow(fileEntry(0)), depth);

        // Every other level failed: F8 steps down to the failures one by one, opening the
        // branches above them, and Shift+F8 back up.
        QCOMPARE(m_studio.currentEntry(), QStringList{QStringLiteral("deep.crc")});
        m_studio.press(Qt::Key_F8);
        QCOMPARE(depthOf(outline()->currentIndex()), 2);
        m_studio.press(Qt::Key_F8);
        const QModelIndex secondFailure = outline()->currentIndex();
        QCOMPARE(depthOf(secondFailure), 4);
        QVERIFY(outline()->isExpanded(secondFailure.parent()));
        QVERIFY(outline()->visualRect(secondFailure).isValid());
        m_studio.press(Qt::Key_F8, Qt::ShiftModifier);
        QCOMPARE(depthOf(outline()->currentIndex()), 2);
        m_studio.press(Qt::Key_F8, Qt::ShiftModifier); // the first failure: it stays
        QCOMPARE(depthOf(outline()->currentIndex()), 2);

        const QStringList failedOnly{QStringLiteral("Code Review"),
                                     QStringLiteral("Failed Tests Only")};
        QVERIFY(m_studio.trigger(failedOnly));
        QVERIFY(m_studio.entry(failedOnly)->isChecked());
        QCOMPARE(outline()->model()->rowCount(), 1);
        QCOMPARE(outline()->model()->rowCount(fileEntry(0)), 1);
        QCOMPARE(firstDescendant(fileEntry(0), 1).data().toString(), QStringLiteral("beside"));
        QCOMPARE(levelsBelow(fileEntry(0)), 1);
        QVERIFY(!m_studio.documentText().contains(QLatin1String("bottom")));

        const QStringList all{QStringLiteral("Code Review"), QStringLiteral("All Test Results")};
        QVERIFY(m_studio.trigger(all));
        QVERIFY(m_studio.entry(all)->isChecked());
        QCOMPARE(outline()->model()->rowCount(fileEntry(0)), 2);
        QCOMPARE(levelsBelow(fileEntry(0)), depth);

        QVERIFY(closeTheTab());
        QCOMPARE(m_studio.tabCount(), 0);
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
        QVERIFY(m_studio.open({path}));

        QCOMPARE(outline()->currentIndex(), fileEntry(0));
        m_studio.press(Qt::Key_F8);
        const QModelIndex standIn = outline()->currentIndex();
        QCOMPARE(depthOf(standIn), openDepthLimit);
        QCOMPARE(standIn, firstDescendant(fileEntry(0), openDepthLimit));
        QVERIFY(outline()->isExpanded(standIn.parent()));
        QVERIFY(!outline()->isExpanded(standIn));
        m_studio.press(Qt::Key_F8); // nothing fails after the bottom
        QCOMPARE(outline()->currentIndex(), standIn);
        m_studio.press(Qt::Key_F8, Qt::ShiftModifier); // nor before it
        QCOMPARE(outline()->currentIndex(), standIn);
        QVERIFY(closeTheTab());

        // Opened again, the node entries are closed (depth 0); "*" on the file entry opens its
        // branch down to the limit.
        QVERIFY(m_studio.open({path}));
        QVERIFY(!outline()->isExpanded(firstDescendant(fileEntry(0), 1)));
        QVERIFY(m_studio.clickEntry(fileEntry(0)));
        m_studio.press(Qt::Key_Asterisk);
        const QModelIndex limit = firstDescendant(fileEntry(0), openDepthLimit);
        QVERIFY(limit.isValid());
        QVERIFY(outline()->isExpanded(limit.parent()));
        QVERIFY(!outline()->isExpanded(limit));
        QVERIFY(closeTheTab());
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
        QVERIFY(m_studio.open({path}));

        // The entries between the first two separators: the types, then what is not listed.
        const auto typeSection = [](const QMenu* menu) {
            QList<QAction*> entries;
            int separators = 0;
            for (QAction* action : menu->actions()) {
                separators += action->isSeparator() ? 1 : 0;
                if (separators == 1 && !action->isSeparator())
                    entries.append(action);
            }
            return entries;
        };
        QMenu* menu = m_studio.openMenu({QStringLiteral("Code Review")});
        QVERIFY(menu);
        QList<QAction*> entries = typeSection(menu);
        QCOMPARE(entries.size(), 51);
        for (int i = 0; i < 50; ++i) {
            QCOMPARE(entries.at(i)->text(),
                     QStringLiteral("K%1 (and all below)").arg(i, 4, 10, QLatin1Char('0')));
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
        menu = m_studio.openMenu({QStringLiteral("Code Review")});
        QVERIFY(menu);
        entries = typeSection(menu);
        QCOMPARE(entries.size(), 51);
        QVERIFY(entries.at(0)->isChecked() && !entries.at(1)->isChecked());
        m_studio.closeMenus();
        QVERIFY(closeTheTab());
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
    // in between announces them once, an edit after Apply once more, OK alone once. A viewer
    // that hears of them lays its report out again and draws it: the report's repaints count.
    void preferencesAreAnnouncedOncePerConfirmation()
    {
        QVERIFY(m_studio.open({examples + QStringLiteral("/rules-core.crc")}));
        QWidget* report = m_studio.documentView()->viewport();
        int repaints = 0;
        PaintCounter counter(&repaints);
        report->installEventFilter(&counter);
        // Each confirmation, then the window drawn: the repaints of the report since.
        const auto confirm = [&](QDialog* dialog, QDialogButtonBox::StandardButton which) {
            QCoreApplication::processEvents();
            repaints = 0;
            press(dialog, which);
            QCoreApplication::processEvents();
            return repaints;
        };

        QPointer<QDialog> dialog = openPreferences();
        QVERIFY(dialog && depthSpin(dialog));
        QTest::keyClick(depthSpin(dialog), Qt::Key_Up);
        QCOMPARE(confirm(dialog, QDialogButtonBox::Apply), 1);
        QCOMPARE(confirm(dialog, QDialogButtonBox::Ok), 0);
        QTRY_VERIFY(dialog.isNull());

        dialog = openPreferences();
        QVERIFY(dialog);
        QTest::keyClick(depthSpin(dialog), Qt::Key_Up);
        QCOMPARE(confirm(dialog, QDialogButtonBox::Apply), 1);
        QTest::keyClick(depthSpin(dialog), Qt::Key_Down);
        QCOMPARE(confirm(dialog, QDialogButtonBox::Ok), 1);
        QTRY_VERIFY(dialog.isNull());

        dialog = openPreferences();
        QVERIFY(dialog);
        QCOMPARE(confirm(dialog, QDialogButtonBox::Ok), 1);
        QTRY_VERIFY(dialog.isNull());

        dialog = openPreferences();
        QVERIFY(dialog);
        QTest::keyClick(depthSpin(dialog), Qt::Key_Up);
        QCOMPARE(confirm(dialog, QDialogButtonBox::Cancel), 0);
        QTRY_VERIFY(dialog.isNull());

        // Edits after Apply that come back to the values applied bring nothing new to announce.
        dialog = openPreferences();
        QVERIFY(dialog);
        QTest::keyClick(depthSpin(dialog), Qt::Key_Down);
        QCOMPARE(confirm(dialog, QDialogButtonBox::Apply), 1);
        QTest::keyClick(depthSpin(dialog), Qt::Key_Up);
        QTest::keyClick(depthSpin(dialog), Qt::Key_Down);
        QCOMPARE(confirm(dialog, QDialogButtonBox::Ok), 0);
        QTRY_VERIFY(dialog.isNull());
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
