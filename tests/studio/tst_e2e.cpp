// crcstudio driven as a person drives it: the real main window with the plug-in loaded from its
// library, offscreen, and nothing but menus, toolbar buttons, keys, clicks on what is drawn and
// the dialogs. One test per thing a user found broken.

#include "host/studiomainwindow.h"
#include "tests/studio/studiofixture.h"
#include "tests/testkit.h"

#include <QAbstractScrollArea>
#include <QApplication>
#include <QCheckBox>
#include <QClipboard>
#include <QDialogButtonBox>
#include <QDockWidget>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QPlainTextEdit>
#include <QProcess>
#include <QPushButton>
#include <QTabWidget>
#include <QTemporaryDir>
#include <QTest>
#include <QToolBar>
#include <QToolButton>
#include <QTreeView>
#include <iostream>
#include <sys/stat.h>

namespace {

using testkit::example;
using testkit::examples;
using testkit::runChild;

// Writes the file, making the folders it goes in first.
bool writeFile(const QString& path, const QByteArray& contents)
{
    QDir().mkpath(QFileInfo(path).path());
    return testkit::writeFile(path, contents);
}

QPushButton* buttonNamed(QWidget* parent, const QString& text)
{
    for (QPushButton* button : parent->findChildren<QPushButton*>()) {
        if (plainText(button->text()) == text)
            return button;
    }
    return nullptr;
}

// The metrics report moved to its anchor "cyclomatic": the paragraph after the title of the
// part is the first thing shown.
bool atCyclomatic(const QStringList& shown)
{
    return shown.value(0).startsWith(QLatin1String("Cyclomatic complexity is the number"));
}

// What the user sees of the place in a report: the top of the view and the first line shown.
// The view may be wider once its scroll bar goes: what is drawn left of its edge counts.
struct Place
{
    QImage top;
    QString firstLine;
    bool operator==(const Place& other) const
    {
        const QRect common(0, 0, qMin(top.width(), other.top.width()), top.height());
        return top.copy(common) == other.top.copy(common) && firstLine == other.firstLine;
    }
};

char* toString(const Place& place)
{
    return QTest::toString(QStringLiteral("first line '%1'").arg(place.firstLine));
}

// A second studio on the same settings file (a new process, as a restart is): what it shows.
int restartedStudio(const QString& settings)
{
    StudioFixture studio;
    if (!studio.start(settings))
        return 2;
    std::cout << "size=" << studio.window().width() << "x" << studio.window().height() << "\n";
    // File > Open starts where the last file was opened; cancelled here.
    if (studio.trigger({QStringLiteral("File"), QStringLiteral("Open...")}))
        std::cout << "directory=" << studio.dialogs().openedIn.value(0).toStdString() << "\n";
    if (QMenu* recent = studio.openMenu({QStringLiteral("File"), QStringLiteral("Open Recent")})) {
        for (QAction* entry : recent->actions())
            std::cout << "recent=" << entry->statusTip().toStdString() << "\n";
    }
    studio.closeMenus();
    std::cout << "outline="
              << studio.window()
                     .findChild<QDockWidget*>(QStringLiteral("outline"))
                     ->isVisibleTo(&studio.window())
              << "\n";
    return 0;
}

} // namespace

class TestEndToEnd : public QObject
{
    Q_OBJECT

    QTemporaryDir m_dir;
    StudioFixture m_studio;

    QString path(const QString& name) const { return m_dir.filePath(name); }
    QAbstractScrollArea* view() const { return m_studio.documentView(); }

    // The type entries of the "Code Review" menu as it opens, a hidden type with a "-" before.
    QStringList typeEntries()
    {
        QStringList types;
        int separators = 0;
        for (const QString& entry : m_studio.entries({QStringLiteral("Code Review")})) {
            separators += entry == QLatin1String("-") ? 1 : 0;
            if (separators == 1 && entry != QLatin1String("-"))
                types.append(
                    (entry.startsWith(QLatin1String("[x] ")) ? QString() : QStringLiteral("-")) +
                    entry.mid(4).remove(QLatin1String(" (and all below)")));
        }
        return types;
    }

    Place place()
    {
        Place now;
        now.top = m_studio.topOfView();
        now.firstLine = m_studio.shownLines().value(0);
        return now;
    }

    // What Edit > Copy puts on the clipboard.
    QString copied()
    {
        QGuiApplication::clipboard()->clear();
        if (!m_studio.trigger({QStringLiteral("Edit"), QStringLiteral("Copy")}))
            return QStringLiteral("(Edit > Copy failed)");
        return QGuiApplication::clipboard()->text();
    }

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY(m_dir.isValid());
        QVERIFY(m_studio.start(path("config/settings.xml")));
    }

    void cleanupTestCase() { m_studio.quit(); }

    void cleanup()
    {
        QVERIFY(m_studio.closeAllTabs());
        m_studio.dialogs().asked.clear();
        m_studio.dialogs().buttons.clear();
        m_studio.dialogs().files.clear();
    }

    // 1. Clicking a tag link ("::f3", "rules::f2", a bare tag) moves the report shown to it.
    void tagLinksMoveTheViewer()
    {
        const QString tags = path("tags/tags.crc");
        QVERIFY(writeFile(
            tags, "<XROD><DOCUMENT tag='tagdoc'><PARAGRAPH><LINK target='::deep'>to deep</LINK>, "
                  "<LINK target='tagdoc::far'>to far</LINK>, <LINK target='far'>far again</LINK>"
                  ".</PARAGRAPH><XROD:NODE name='n' type='Rule' state='ok'><SECTION tag='deep'>"
                  "<TITLE>Deep</TITLE><PARAGRAPH>x</PARAGRAPH></SECTION></XROD:NODE>"
                  "<XROD:NODE name='m' type='Rule' state='ok'><SECTION tag='far'><TITLE>Far"
                  "</TITLE><PARAGRAPH>y</PARAGRAPH></SECTION></XROD:NODE></DOCUMENT></XROD>"));
        QVERIFY(m_studio.open({example("rules-core.crc")}));
        const QString strbuf = QStringLiteral("src/util/strbuf.c"); // the title of its part
        QVERIFY(!m_studio.shownLines().contains(strbuf));
        QVERIFY(m_studio.clickLink(strbuf));
        QVERIFY(m_studio.shownLines().contains(strbuf));
        QVERIFY(!m_studio.output().contains(QLatin1String("Cannot open")));

        QVERIFY(m_studio.open({tags}));
        // A small report: every part shows at once; the link moves the view, not the tab.
        for (const auto& [link, title] :
             {std::pair{"to deep", "Deep"}, {"to far", "Far"}, {"far again", "Far"}}) {
            QVERIFY2(m_studio.clickLink(QLatin1String(link)), link);
            QVERIFY2(m_studio.shownLines().contains(QLatin1String(title)), link);
            QCOMPARE(m_studio.currentTabText(), QStringLiteral("tags.crc"));
        }
        QVERIFY(!m_studio.output().contains(QLatin1String("Cannot open")));
    }

    // 2. A link to a report document shows that document, at its anchor, with no outline, and
    // nothing of the outline shown before is left to submit.
    void reportDocumentLinkShowsTheDocument()
    {
        QVERIFY(m_studio.open({example("rules-core.crc")}));
        QVERIFY(m_studio.clickEntry({QStringLiteral("rules-core.crc"), QStringLiteral("src/main.c"),
                                     QStringLiteral("no-goto")}));
        QAction* submit = m_studio.entry(
            {QStringLiteral("Code Review"), QStringLiteral("Submit Trackwell Defect Report")});
        QVERIFY(submit && submit->isEnabled());
        m_studio.clickInto(view());
        m_studio.press(Qt::Key_Home);
        QCOMPARE(m_studio.scrollPosition(), 0);
        QVERIFY(m_studio.clickLink(QStringLiteral("the metrics report")));
        const QString shown = m_studio.documentText();
        QVERIFY2(shown.startsWith(QLatin1String("Function metrics of netcalc 0.9.2")),
                 qPrintable(shown.left(200)));
        QVERIFY(!shown.contains(QLatin1String("Rule checking of netcalc")));
        QVERIFY(atCyclomatic(m_studio.shownLines()));
        QCOMPARE(m_studio.outline()->model()->rowCount(), 0);
        submit = m_studio.entry(
            {QStringLiteral("Code Review"), QStringLiteral("Submit Trackwell Report")});
        QVERIFY(submit && !submit->isEnabled());
        QCOMPARE(m_studio.currentTabText(), QStringLiteral("metrics-detail.xrd"));
        QVERIFY(m_studio.window().windowTitle().contains(QLatin1String("metrics-detail.xrd")));
        QVERIFY(m_studio.dialogs().messages().isEmpty());

        // Two reports from two folders in one window: a relative link of the second lies beside
        // the second, not beside the first.
        const QByteArray detail = "<XROD><DOCUMENT tag='%1'><XROD:NODE name='d' type='Rule' "
                                  "state='ok'><SECTION tag='t'><TITLE>Detail</TITLE><PARAGRAPH>"
                                  "the %1 detail</PARAGRAPH></SECTION></XROD:NODE></DOCUMENT>"
                                  "</XROD>";
        QVERIFY(writeFile(path("first/detail.crc"), QByteArray(detail).replace("%1", "wrong")));
        QVERIFY(writeFile(path("second/detail.crc"), QByteArray(detail).replace("%1", "right")));
        QVERIFY(writeFile(path("first/one.crc"),
                          "<XROD><DOCUMENT tag='one'><XROD:NODE name='n' type='Rule' state='ok'>"
                          "<SECTION><PARAGRAPH>report one</PARAGRAPH></SECTION></XROD:NODE>"
                          "</DOCUMENT></XROD>"));
        QVERIFY(writeFile(path("second/two.crc"),
                          "<XROD><DOCUMENT tag='two'><XROD:NODE name='m' type='Rule' state='ok'>"
                          "<SECTION><PARAGRAPH><LINK target='xrdlink://detail.crc#t'>detail"
                          "</LINK></PARAGRAPH></SECTION></XROD:NODE></DOCUMENT></XROD>"));
        QVERIFY(m_studio.open({path("first/one.crc"), path("second/two.crc")}));
        QCOMPARE(m_studio.currentTabText(), QStringLiteral("one.crc, two.crc"));
        QVERIFY(m_studio.documentText().contains(QLatin1String("report one")));
        QVERIFY(m_studio.clickLink(QStringLiteral("detail")));
        QCOMPARE(m_studio.shownFiles(), QStringList{path("second/detail.crc")});
        QVERIFY(m_studio.documentText().contains(QLatin1String("the right detail")));
        QVERIFY(m_studio.dialogs().messages().isEmpty());
    }

    // 3. Back and Forward return to the files and the place shown before a link, by key,
    // toolbar and mouse button; a link to a missing file leaves the report where it was.
    void backAndForward()
    {
        QVERIFY(m_studio.open({example("rules-core.crc")}));
        const QStringList goBack{QStringLiteral("Go"), QStringLiteral("Back")};
        const QStringList goForward{QStringLiteral("Go"), QStringLiteral("Forward")};
        QAction* back = m_studio.entry(goBack);
        QAction* forward = m_studio.entry(goForward);
        QVERIFY(back && forward && !back->isEnabled() && !forward->isEnabled());
        const QStringList topEntry = m_studio.currentEntry();
        QVERIFY(m_studio.clickLink(QStringLiteral("src/parser.c")));
        QVERIFY(m_studio.shownLines().contains(QStringLiteral("src/parser.c")));
        m_studio.press(Qt::Key_Down); // a little further down, into the part
        m_studio.press(Qt::Key_Down);
        const Place inF2 = place();
        QVERIFY(m_studio.entry(goBack)->isEnabled());

        m_studio.press(Qt::Key_Left, Qt::AltModifier); // back to the top of the report
        QCOMPARE(m_studio.scrollPosition(), 0);
        QVERIFY(!m_studio.entry(goBack)->isEnabled() && m_studio.entry(goForward)->isEnabled());
        m_studio.press(Qt::Key_Right, Qt::AltModifier); // and into f2 again, as far down
        QCOMPARE(place(), inF2);
        m_studio.press(Qt::Key_Left, Qt::AltModifier);

        // Another file through a link, then back with the mouse's back button, and forward with
        // the toolbar; the tab and the title follow the file shown.
        QVERIFY(m_studio.clickLink(QStringLiteral("the metrics report")));
        QVERIFY(m_studio.documentText().startsWith(QLatin1String("Function metrics of netcalc")));
        QVERIFY(m_studio.entry(goBack)->isEnabled() && !m_studio.entry(goForward)->isEnabled());
        QTest::mouseClick(view()->viewport(), Qt::BackButton);
        QCOMPARE(m_studio.shownFiles(), QStringList{example("rules-core.crc")});
        QVERIFY(m_studio.documentText().startsWith(QLatin1String("Rule checking of netcalc")));
        QCOMPARE(m_studio.currentEntry(), topEntry);
        QCOMPARE(m_studio.scrollPosition(), 0);
        QCOMPARE(m_studio.currentTabText(), QStringLiteral("rules-core.crc"));
        QCOMPARE(m_studio.window().windowTitle(), QStringLiteral("rules-core.crc - crcstudio"));

        auto* navigation = m_studio.window().findChild<QToolBar*>(QStringLiteral("navigation"));
        QVERIFY(navigation);
        forward = m_studio.entry(goForward);
        auto* forwardButton = qobject_cast<QToolButton*>(navigation->widgetForAction(forward));
        QVERIFY(forwardButton && forwardButton->isEnabled());
        QTest::mouseClick(forwardButton, Qt::LeftButton);
        QVERIFY(m_studio.documentText().startsWith(QLatin1String("Function metrics of netcalc")));
        QVERIFY(atCyclomatic(m_studio.shownLines()));
        QCOMPARE(m_studio.window().windowTitle(), QStringLiteral("metrics-detail.xrd - crcstudio"));
        QVERIFY(!m_studio.entry(goForward)->isEnabled());

        // A link to a file that is not there: the user is told, the report stays.
        const QString dangling = path("dangling/dangling.crc");
        QVERIFY(writeFile(dangling, "<XROD><DOCUMENT tag='d'><PARAGRAPH><LINK "
                                    "target='xrdlink://gone.crc#x'>gone</LINK></PARAGRAPH>"
                                    "<XROD:NODE name='n' type='Rule' state='ok'><SECTION>"
                                    "<PARAGRAPH>still here</PARAGRAPH></SECTION></XROD:NODE>"
                                    "</DOCUMENT></XROD>"));
        QVERIFY(m_studio.open({dangling}));
        const QString before = m_studio.documentText();
        QVERIFY(before.contains(QLatin1String("still here")));
        m_studio.dialogs().asked.clear();
        QVERIFY(m_studio.clickLink(QStringLiteral("gone")));
        QCOMPARE(m_studio.dialogs().messages().size(), 1);
        QVERIFY(m_studio.dialogs().messages().first().contains(QLatin1String("gone.crc")));
        QCOMPARE(m_studio.shownFiles(), QStringList{dangling});
        QCOMPARE(m_studio.documentText(), before);
        QCOMPARE(m_studio.currentTabText(), QStringLiteral("dangling.crc"));
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
                          "base='proj/'><SECTION><PARAGRAPH><LINK target='src/a.c line 3'>source "
                          "a</LINK>, <LINK target='/nowhere/root/src/b.c line 2'>source b</LINK>, "
                          "<LINK target='/nowhere/root/src/c.c line 1'>source c</LINK>, "
                          "<LINK target='fifo line 1'>the fifo</LINK></PARAGRAPH></SECTION>"
                          "</XROD:NODE></DOCUMENT></XROD>"));
        // Nobody writes to it: reading it would wait for ever.
        QCOMPARE(::mkfifo(QFile::encodeName(path("project/proj/fifo")).constData(), 0600), 0);
        QDir::setCurrent(QDir::rootPath());
        QVERIFY(m_studio.open({report}));
        QVERIFY(m_studio.open({example("rules-gui.crc")})); // the last directory is elsewhere
        QCOMPARE(m_studio.tabCount(), 2);
        const auto showReport = [this] {
            return m_studio.showTab(m_studio.tabNamed("report.crc"));
        };
        QVERIFY(showReport());

        QVERIFY(m_studio.clickLink(QStringLiteral("source a")));
        QVERIFY2(m_studio.sourceView(), qPrintable(m_studio.output()));
        QCOMPARE(m_studio.sourcePath(), path("project/proj/src/a.c"));
        QCOMPARE(m_studio.highlightedLine(), 3);

        QVERIFY(showReport());
        m_studio.dialogs().asked.clear();
        m_studio.dialogs().buttons = {QMessageBox::Yes};
        m_studio.dialogs().files = {{path("moved/root/src/b.c")}};
        QVERIFY(m_studio.clickLink(QStringLiteral("source b")));
        QCOMPARE(m_studio.dialogs().asked.size(), 2); // "Locate it?", then the file
        QVERIFY(
            m_studio.dialogs().asked.first().text.contains(QLatin1String("/nowhere/root/src/b.c")));
        QVERIFY(m_studio.sourceView());
        QCOMPARE(m_studio.sourcePath(), path("moved/root/src/b.c"));
        QCOMPARE(m_studio.output().count(QLatin1String("now looked for under")), 1);

        QVERIFY(showReport());
        m_studio.dialogs().asked.clear();
        QVERIFY(m_studio.clickLink(QStringLiteral("source c")));
        QVERIFY(m_studio.dialogs().asked.isEmpty());
        QCOMPARE(m_studio.sourcePath(), path("moved/root/src/c.c"));
        // The source root is in the settings file at once.
        const QByteArray saved = testkit::readFile(path("config/settings.xml"));
        QVERIFY(saved.contains("\"/nowhere/\"") && saved.contains(path("moved/").toUtf8()));

        // A link to something that is not a regular file is refused at once, and said so.
        QVERIFY(showReport());
        QVERIFY(m_studio.clickLink(QStringLiteral("the fifo")));
        QVERIFY(!m_studio.sourceView());
        QCOMPARE(m_studio.currentTabText(), QStringLiteral("report.crc"));
        QVERIFY2(m_studio.output().contains(path("project/proj/fifo") +
                                            QStringLiteral(": it is not a regular file")),
                 qPrintable(m_studio.output()));
    }

    // 5. Find keeps the user's text and mode, says when nothing was found or the search
    // wrapped, and goes on with F3 and Shift+F3; Ctrl+F opens it.
    void findKeepsTheTextAndSaysHowItWent()
    {
        QVERIFY(m_studio.open({example("rules-core.crc")}));
        m_studio.clickInto(view());
        QString notFound;
        inNextDialog([&](QDialog* dialog) {
            auto* text = dialog->findChild<QLineEdit*>();
            text->selectAll();
            QTest::keyClicks(text, QStringLiteral("no such words"));
            buttonNamed(dialog, QStringLiteral("Find"))->click();
            for (QLabel* label : dialog->findChildren<QLabel*>())
                notFound += label->text();
            text->selectAll();
            QTest::keyClicks(text, QStringLiteral("main.c"));
            buttonNamed(dialog, QStringLiteral("Find"))->click();
        });
        m_studio.press(Qt::Key_F, Qt::ControlModifier);
        QVERIFY2(notFound.contains(QLatin1String("not found")), qPrintable(notFound));
        QCOMPARE(copied(), QStringLiteral("main.c"));

        QString textShown;
        bool regularExpression = true;
        inNextDialog([&](QDialog* dialog) {
            textShown = dialog->findChild<QLineEdit*>()->text();
            for (QCheckBox* box : dialog->findChildren<QCheckBox*>()) {
                if (plainText(box->text()) == QLatin1String("Regular expression"))
                    regularExpression = box->isChecked();
            }
            buttonNamed(dialog, QStringLiteral("Find"))->click();
        });
        m_studio.press(Qt::Key_F, Qt::ControlModifier);
        QCOMPARE(textShown, QStringLiteral("main.c"));
        QVERIFY(!regularExpression);
        QCOMPARE(copied(), QStringLiteral("main.c"));

        // F3 walks on until it wraps around; Shift+F3 goes back.
        bool wrapped = false;
        for (int i = 0; i < 60 && !wrapped; ++i) {
            m_studio.press(Qt::Key_F3);
            wrapped = m_studio.statusMessage().contains(QLatin1String("Wrapped"));
            QCOMPARE(copied(), QStringLiteral("main.c"));
        }
        QVERIFY(wrapped);
        m_studio.press(Qt::Key_F3, Qt::ShiftModifier);
        QVERIFY2(m_studio.statusMessage().contains(QLatin1String("Wrapped")),
                 qPrintable(m_studio.statusMessage()));
        QCOMPARE(copied(), QStringLiteral("main.c"));
    }

    // 6. Closing a tab in the background leaves the shown tab's toolbar working.
    void closingABackgroundTabKeepsTheToolbar()
    {
        QVERIFY(m_studio.open({example("rules-core.crc")}));
        QVERIFY(m_studio.open({example("rules-gui.crc")}));
        QCOMPARE(m_studio.tabCount(), 2);
        QWidget* next = m_studio.toolBarButton(QStringLiteral("Next Failed Test"));
        QVERIFY(next && next->isEnabled());
        QVERIFY(m_studio.closeTab(m_studio.tabNamed(QStringLiteral("rules-core.crc"))));
        QCOMPARE(m_studio.tabCount(), 1);
        QCOMPARE(m_studio.currentTabText(), QStringLiteral("rules-gui.crc"));
        QVERIFY(next->isEnabled());
        QVERIFY(m_studio.toolBarButton(QStringLiteral("Filter"))->isEnabled());
    }

    // 7. Switching modes and reloading keep the selected entry and the place in the document.
    void modeSwitchAndReloadKeepThePlace()
    {
        QVERIFY(m_studio.open({example("rules-core.crc")}));
        const QStringList noGoto{QStringLiteral("rules-core.crc"), QStringLiteral("src/main.c"),
                                 QStringLiteral("no-goto")};
        QVERIFY(m_studio.clickEntry(noGoto));
        QCOMPARE(m_studio.currentEntry(), noGoto);
        QCOMPARE(m_studio.shownLines().value(0), QStringLiteral("no-goto")); // its part on top
        m_studio.clickInto(view());
        m_studio.press(Qt::Key_Down); // into the part
        m_studio.press(Qt::Key_Down);
        const Place before = place();
        QVERIFY(before.firstLine != QLatin1String("no-goto"));
        QWidget* filter = m_studio.toolBarButton(QStringLiteral("Filter"));

        QTest::mouseClick(filter, Qt::LeftButton); // failed only
        QVERIFY(m_studio.showsFailedOnly());
        QCOMPARE(m_studio.currentEntry(), noGoto);
        QCOMPARE(place(), before);

        QVERIFY(m_studio.trigger({QStringLiteral("File"), QStringLiteral("Reload")}));
        QCOMPARE(m_studio.currentEntry(), noGoto);
        QCOMPARE(place(), before);

        QTest::mouseClick(filter, Qt::LeftButton); // all again
        QVERIFY(!m_studio.showsFailedOnly());
        QCOMPARE(m_studio.currentEntry(), noGoto);
        QCOMPARE(place(), before);
    }

    // 8. Failures are stepped with F8 and Shift+F8, the mode switched with Ctrl+F8, and the
    // "Code Review" menu has mnemonics, the stepping entries, and help that stays on a hover.
    void keyboardAndMenu()
    {
        QVERIFY(m_studio.open({example("rules-core.crc")}));
        const QStringList fileEntry{QStringLiteral("rules-core.crc")};
        QCOMPARE(m_studio.currentEntry(), fileEntry);
        m_studio.press(Qt::Key_F8);
        const QStringList firstFailure = m_studio.currentEntry();
        QVERIFY(firstFailure.size() > 1);
        m_studio.press(Qt::Key_F8);
        QVERIFY(m_studio.currentEntry() != firstFailure);
        m_studio.press(Qt::Key_F8, Qt::ShiftModifier);
        QCOMPARE(m_studio.currentEntry(), firstFailure);
        m_studio.press(Qt::Key_F8, Qt::ControlModifier);
        QVERIFY(m_studio.showsFailedOnly());
        m_studio.press(Qt::Key_F8, Qt::ControlModifier);
        QVERIFY(!m_studio.showsFailedOnly());
        QVERIFY(m_studio.clickEntry(fileEntry));

        QMenu* menu = m_studio.openMenu({QStringLiteral("Code Review")});
        QVERIFY(menu);
        QCOMPARE(menu->objectName(), QStringLiteral("codeReviewMenu"));
        // Every entry has a mnemonic but the types (between the first two separators), whose
        // names are shown as they are.
        int separators = 0;
        for (QAction* action : menu->actions()) {
            separators += action->isSeparator() ? 1 : 0;
            if (!action->isSeparator() && separators != 1)
                QVERIFY2(action->text().contains(QLatin1Char('&')), qPrintable(action->text()));
        }
        QAction* next = entryOf(menu, QStringLiteral("Next Failed Test"));
        QVERIFY(next && next->text().endsWith(QLatin1String("\tF8")));

        QAction* reload = entryOf(menu, QStringLiteral("Reload"));
        QTest::mouseMove(menu, menu->actionGeometry(reload).center());
        QTRY_COMPARE(m_studio.statusMessage(), QStringLiteral("Reload the current report"));
        QAction* showHeader = entryOf(menu, QStringLiteral("Show header"));
        QTest::mouseMove(menu, menu->actionGeometry(showHeader).center());
        QTRY_COMPARE(m_studio.statusMessage(), QStringLiteral("Show or hide Show header"));
        m_studio.closeMenus();

        QVERIFY(
            m_studio.trigger({QStringLiteral("Code Review"), QStringLiteral("Next Failed Test")}));
        QCOMPARE(m_studio.currentEntry(), firstFailure);
    }

    // 8b. The "Code Review" menu lists the types of the reports shown, all shown again after a
    // reload or a way back, and the view shows what the menu says.
    void typeEntriesFollowTheReportsShown()
    {
        QVERIFY(writeFile(path("types/rules.crc"),
                          "<XROD><DOCUMENT tag='fr'><XROD:NODE name='f' type='File' state='ok'>"
                          "<SECTION tag='fsec'><PARAGRAPH><LINK target='xrdlink://cases.crc#csec'>"
                          "cases</LINK></PARAGRAPH><XROD:NODE name='r' type='Rule' state='ok'>"
                          "<SECTION tag='rsec'><PARAGRAPH>the rule</PARAGRAPH></SECTION>"
                          "</XROD:NODE></SECTION></XROD:NODE></DOCUMENT></XROD>"));
        QVERIFY(writeFile(path("types/cases.crc"),
                          "<XROD><DOCUMENT tag='sc'><XROD:NODE name='s' type='Suite' state='ok'>"
                          "<SECTION tag='ssec'><PARAGRAPH>the suite</PARAGRAPH><XROD:NODE "
                          "name='c' type='Case' state='ok'><SECTION tag='csec'><PARAGRAPH>the "
                          "case</PARAGRAPH></SECTION></XROD:NODE></SECTION></XROD:NODE>"
                          "</DOCUMENT></XROD>"));
        const QStringList fileTypes{QStringLiteral("File"), QStringLiteral("Rule")};
        const QStringList suiteTypes{QStringLiteral("Suite"), QStringLiteral("Case")};
        const QString rule = QStringLiteral("the rule");
        const QString testCase = QStringLiteral("the case");
        QVERIFY(m_studio.open({path("types/rules.crc")}));
        QCOMPARE(typeEntries(), fileTypes);
        QVERIFY(m_studio.documentText().contains(rule));

        QVERIFY(m_studio.trigger(
            {QStringLiteral("Code Review"), QStringLiteral("Rule (and all below)")}));
        QVERIFY(!m_studio.documentText().contains(rule));
        QCOMPARE(typeEntries(), (QStringList{QStringLiteral("File"), QStringLiteral("-Rule")}));
        QVERIFY(m_studio.trigger({QStringLiteral("File"), QStringLiteral("Reload")}));
        QVERIFY(m_studio.documentText().contains(rule));
        QCOMPARE(typeEntries(), fileTypes);

        QVERIFY(m_studio.clickLink(QStringLiteral("cases")));
        QCOMPARE(m_studio.shownFiles(), QStringList{path("types/cases.crc")});
        QCOMPARE(typeEntries(), suiteTypes);
        QVERIFY(m_studio.trigger(
            {QStringLiteral("Code Review"), QStringLiteral("Case (and all below)")}));
        QVERIFY(!m_studio.documentText().contains(testCase));
        QVERIFY(m_studio.documentText().contains(QLatin1String("the suite")));

        QVERIFY(m_studio.trigger({QStringLiteral("Go"), QStringLiteral("Back")}));
        QCOMPARE(m_studio.shownFiles(), QStringList{path("types/rules.crc")});
        QCOMPARE(typeEntries(), fileTypes);
        QVERIFY(m_studio.trigger({QStringLiteral("Go"), QStringLiteral("Forward")}));
        QVERIFY(m_studio.documentText().contains(testCase));
        QCOMPARE(typeEntries(), suiteTypes);
    }

    // 9. The outline's menu opens on empty space (where "Go to" goes nowhere), Reload has its
    // icon, a selection moves the focus to the report when auto-raise is on, the report has its
    // margins and the summary starts as a strip.
    void smallFidelity()
    {
        QByteArray small = "<XROD><DOCUMENT tag='s'><XROD:NODE name='n' type='Rule' "
                           "state='ko'><SECTION><PARAGRAPH>n</PARAGRAPH></SECTION>"
                           "</XROD:NODE><XROD:NODE name='m' type='Rule' state='ok'>"
                           "<SECTION><TITLE>m</TITLE>";
        small += QByteArray("<PARAGRAPH>more of m</PARAGRAPH>").repeated(80);
        small += "</SECTION></XROD:NODE></DOCUMENT></XROD>";
        QVERIFY(writeFile(path("small/one.crc"), small));
        QVERIFY(writeFile(path("small/two.crc"), small));
        QVERIFY(m_studio.open({path("small/one.crc"), path("small/two.crc")}));
        QTreeView* outline = m_studio.outline();
        QVERIFY(outline);
        const QModelIndex m =
            m_studio.outlineEntry({QStringLiteral("one.crc"), QStringLiteral("m")});
        QVERIFY(m_studio.openOutlineMenu(m)); // on an entry, then closed
        m_studio.closeMenus();
        m_studio.clickInto(view());
        m_studio.press(Qt::Key_End);
        const int scrolled = m_studio.scrollPosition();
        QVERIFY(scrolled > 0);
        QVERIFY(m_studio.chooseFromOutlineMenu(QModelIndex(), QStringLiteral("Go to")));
        QCOMPARE(m_studio.scrollPosition(), scrolled); // the entry of the last menu is not used

        QAction* reload = m_studio.entry({QStringLiteral("Code Review"), QStringLiteral("Reload")});
        QVERIFY(reload && !reload->icon().isNull());

        // Auto-raise, as the preferences show it.
        QVERIFY(m_studio.trigger({QStringLiteral("Tools"), QStringLiteral("Preferences...")}));
        QCheckBox* autoRaise = nullptr;
        for (QCheckBox* box : m_studio.window().findChildren<QCheckBox*>()) {
            if (box->isVisible() &&
                box->text() == QLatin1String("Automatic raise viewer on tree selection changed"))
                autoRaise = box;
        }
        QVERIFY(autoRaise && autoRaise->isChecked());
        auto* dialogButtons = autoRaise->window()->findChild<QDialogButtonBox*>();
        QTest::mouseClick(dialogButtons->button(QDialogButtonBox::Cancel), Qt::LeftButton);
        m_studio.bringForward();
        // A click leaves the keyboard in the outline; Return hands it to the report.
        QVERIFY(m_studio.clickEntry({QStringLiteral("one.crc"), QStringLiteral("n")}));
        QVERIFY(outline->hasFocus());
        m_studio.press(Qt::Key_Return);
        QVERIFY(view()->hasFocus());

        // The report starts 5 pixels from the left; the background shows before it.
        const QImage drawn = view()->viewport()->grab().toImage();
        int firstInk = drawn.width();
        for (int y = 0; y < qMin(drawn.height(), 100); ++y) {
            for (int x = 0; x < firstInk; ++x) {
                if (drawn.pixel(x, y) != drawn.pixel(0, 0))
                    firstInk = x;
            }
        }
        QVERIFY2(firstInk >= 5 && firstInk <= 8, qPrintable(QString::number(firstInk)));
        QVERIFY(!m_studio.summaryDock()->isHidden());
    }

    // 10. Exporting failed results only when nothing failed is no error: the summary is
    // written, and no passed result.
    void exportingFailedOnlyWithNothingFailed()
    {
        const QString passed = path("passed/passed.crc");
        QVERIFY(writeFile(passed, "<XROD><DOCUMENT tag='ok'><XROD:NODE name='n' type='Rule' "
                                  "state='ok' sum='3'><SECTION><PARAGRAPH>fine-and-passed"
                                  "</PARAGRAPH></SECTION></XROD:NODE></DOCUMENT></XROD>"));
        QProcess crcview;
        crcview.start(
            QStringLiteral(CRCVIEW_PATH),
            {QStringLiteral("export"), QStringLiteral("--failed"), path("pages"), passed});
        QVERIFY(crcview.waitForFinished(60000));
        QCOMPARE(crcview.exitCode(), 0);
        QVERIFY(QFile::exists(path("pages/index.html")));
        const QStringList pages = QDir(path("pages")).entryList({QStringLiteral("*.html")});
        for (const QString& page : pages)
            QVERIFY2(!testkit::readFile(path("pages/") + page).contains("fine-and-passed"),
                     qPrintable(page));

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
        QVERIFY(m_studio.showsWelcome());
        QCOMPARE(m_studio.window().windowTitle(), QStringLiteral("crcstudio"));
        const QString broken = path("habits/broken.crc");
        QVERIFY(writeFile(broken, "<XROD><DOCUMENT tag='b'>\n<PARAGRAPH>\n</XROD>"));
        QVERIFY(m_studio.open({example("security-audit.crc"), broken}));
        QVERIFY(!m_studio.showsWelcome());
        QCOMPARE(m_studio.currentTabText(), QStringLiteral("security-audit.crc"));
        QCOMPARE(m_studio.window().windowTitle(), QStringLiteral("security-audit.crc - crcstudio"));
        QCOMPARE(m_studio.statusMessage(), QStringLiteral("Opened security-audit.crc"));
        const QStringList said = m_studio.dialogs().messages();
        QCOMPARE(said.size(), 1);
        QVERIFY2(said.first().contains(broken + QStringLiteral(":3:")), qPrintable(said.first()));

        QVERIFY(m_studio.closeTab(0));
        QVERIFY(m_studio.showsWelcome());
        const QStringList openRecent{QStringLiteral("File"), QStringLiteral("Open Recent")};
        const QString firstEntry = QStringLiteral("1 ") + example("security-audit.crc");
        QAction* first = m_studio.entry(openRecent + QStringList{firstEntry});
        QVERIFY(first);
        QCOMPARE(first->text(), QLatin1Char('&') + firstEntry);
        QVERIFY(m_studio.trigger(openRecent + QStringList{firstEntry}));
        QCOMPARE(m_studio.tabCount(), 1);
        QCOMPARE(m_studio.shownFiles(), QStringList{example("security-audit.crc")});

        // A source of 150 lines, from a link of a report beside it.
        QVERIFY(writeFile(path("habits/lines.c"), QByteArray("x\n").repeated(150)));
        QVERIFY(writeFile(path("habits/lines.crc"),
                          "<XROD><DOCUMENT tag='l'><XROD:NODE name='n' type='Rule' state='ko'>"
                          "<SECTION><PARAGRAPH><LINK target='lines.c line 120'>lines.c line 120"
                          "</LINK></PARAGRAPH></SECTION></XROD:NODE></DOCUMENT></XROD>"));
        QVERIFY(m_studio.open({path("habits/lines.crc")}));
        QVERIFY(m_studio.clickLink(QStringLiteral("lines.c line 120")));
        QPlainTextEdit* source = m_studio.sourceView();
        QVERIFY(source);
        QCOMPARE(m_studio.highlightedLine(), 120);
        auto* numbers = source->findChild<QWidget*>(QStringLiteral("lineNumbers"));
        QVERIFY(numbers && numbers->isVisible());
        QVERIFY(numbers->width() >= source->fontMetrics().horizontalAdvance(QStringLiteral("150")));
        QCOMPARE(m_studio.window().windowTitle(), QStringLiteral("lines.c - crcstudio"));

        // The user sizes the window, closes the outline and quits (this test comes last); the
        // last file opened was beside the broken one.
        m_studio.window().resize(900, 640);
        m_studio.bringForward();
        auto* outlineDock = m_studio.window().findChild<QDockWidget*>(QStringLiteral("outline"));
        QVERIFY(outlineDock && outlineDock->windowTitle() == QLatin1String("Outline"));
        auto* close =
            outlineDock->findChild<QAbstractButton*>(QStringLiteral("qt_dockwidget_closebutton"));
        QVERIFY(close);
        QTest::mouseClick(close, Qt::LeftButton);
        QVERIFY(outlineDock->isHidden());
        QVERIFY(m_studio.trigger({QStringLiteral("File"), QStringLiteral("Quit")}));
        QVERIFY(!m_studio.window().isVisible());
        const QString restarted =
            runChild({QStringLiteral("--restarted"), path("config/settings.xml")});
        QVERIFY2(restarted.contains(QLatin1String("size=900x640")), qPrintable(restarted));
        QVERIFY2(restarted.contains(QLatin1String("outline=0")), qPrintable(restarted));
        QVERIFY2(restarted.contains(QStringLiteral("directory=") + path("habits") + '\n'),
                 qPrintable(restarted));
        QVERIFY2(restarted.contains(QStringLiteral("recent=") + example("security-audit.crc")),
                 qPrintable(restarted));
        QVERIFY2(restarted.contains(QStringLiteral("recent=") + path("habits/lines.crc")),
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
