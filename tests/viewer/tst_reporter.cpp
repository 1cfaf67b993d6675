// The viewer window: loading, analysis, display modes, the registry of windows and captions.

#include "filter/qareporterfilter.h"
#include "filter/qareporternodevalidator.h"
#include "folio/model/ddocument.h"
#include "folio/model/dlink.h"
#include "folio/view/dreportwidget.h"
#include "model/qareporterdata.h"
#include "prefs/qareporterpref.h"
#include "sdk/qadialogs.h"
#include "session/reportsession.h"
#include "tests/teststudio.h"
#include "viewer/qareporter.h"
#include "viewer/qareportermanager.h"
#include "viewer/qarlistview.h"
#include "viewer/qarpopupmenu.h"
#include "viewer/qartoolbar.h"

#include <QDir>
#include <QDockWidget>
#include <QLineEdit>
#include <QMainWindow>
#include <QMenu>
#include <QMenuBar>
#include <QStatusBar>
#include <QTemporaryDir>
#include <QTest>
#include <QToolButton>

namespace {

// One studio for the process: the plug-in initialises once.
TestStudio& studio()
{
    static TestStudio instance;
    return instance;
}

QByteArray report(const char* tag, const QByteArray& nodes)
{
    return "<XROD><DOCUMENT tag='" + QByteArray(tag) + "'>" + nodes + "</DOCUMENT></XROD>";
}

QByteArray node(const char* name, const char* type, const char* state, int sum)
{
    return "<XROD:NODE name='" + QByteArray(name) + "' type='" + type + "' state='" + state +
           "' sum='" + QByteArray::number(sum) + "'><SECTION><PARAGRAPH>" + name +
           "</PARAGRAPH></SECTION></XROD:NODE>";
}

class Files
{
public:
    QString add(const QString& name, const QByteArray& content)
    {
        const QString path = m_dir.filePath(name);
        QFile file(path);
        if (file.open(QIODevice::WriteOnly))
            file.write(content);
        return path;
    }
    QString path(const QString& name) const { return m_dir.filePath(name); }

private:
    QTemporaryDir m_dir;
};

ScriptedDialogs* scriptDialogs()
{
    auto dialogs = std::make_unique<ScriptedDialogs>();
    ScriptedDialogs* scripted = dialogs.get();
    QADialogs::install(std::move(dialogs));
    return scripted;
}

QARListView* outlineOf(const QAReporter& window)
{
    return window.contentOutlineWidget()->findChild<QARListView*>(QStringLiteral("reportOutline"));
}

DReportWidget* reportView(const QAReporter& window)
{
    return window.findChild<DReportWidget*>(QStringLiteral("reportView"));
}

QMenu* codeReviewMenu(const QAReporter& window)
{
    return window.findChild<QMenu*>(QStringLiteral("codeReviewMenu"));
}

QStringList outlineFiles(const QAReporter& window)
{
    const QAbstractItemModel* entries = outlineOf(window)->model();
    QStringList files;
    for (int i = 0; i < entries->rowCount(); ++i)
        files.append(entries->index(i, 0).data().toString());
    return files;
}

// The entry in `row` below `parent` of the window's outline (a file entry at the top).
QModelIndex entryIn(const QAReporter& window, int row, const QModelIndex& parent = {})
{
    return outlineOf(window)->model()->index(row, 0, parent);
}

// How many entries hang right below `parent` (the file entries at the top).
int entriesBelow(const QAReporter& window, const QModelIndex& parent)
{
    return outlineOf(window)->model()->rowCount(parent);
}

QDockWidget* summaryDock(const QAReporter& window)
{
    return window.findChild<QDockWidget*>(QStringLiteral("summaryDock"));
}

// The status help of the commands menu's entry `id`.
QString helpText(const QAReporter& window, int id)
{
    for (const QAction* action : codeReviewMenu(window)->actions()) {
        if (!action->isSeparator() && action->data().toInt() == id)
            return action->statusTip();
    }
    return QString();
}

void open(QAReporter& window, QStringList files)
{
    window.setFiles(&files, nullptr, QAStViewerWindow::Normal);
}

} // namespace

class TestReporter : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        QAReporter::initialize(nullptr, &studio());
        QVERIFY(QAReporter::preference());
        QVERIFY(QAReporter::manager());
        QCOMPARE(studio().producers.size(), 1);
        QAReporter::initialize(nullptr, &studio()); // once per process
        QCOMPARE(studio().producers.size(), 1);
    }

    void loadingSkipsDuplicatesAndReportsMissingFilesOnce()
    {
        Files files;
        const QString a =
            files.add(QStringLiteral("a.crc"), report("ra", node("n1", "Rule", "ok", 3)));
        const QString c =
            files.add(QStringLiteral("c.crc"), report("rc", node("n2", "Rule", "ko", 2)));
        const QString missing = files.path(QStringLiteral("b.crc"));
        ScriptedDialogs* dialogs = scriptDialogs();
        QAReporter window(QStringLiteral("Results"), QPixmap());
        open(window, {a, a, missing, c});
        QCOMPARE(window.session().records().size(), size_t(2));
        QCOMPARE(dialogs->asked.size(), 1);
        QCOMPARE(dialogs->asked.first().title, QStringLiteral("Test Report"));
        QCOMPARE(dialogs->asked.first().text,
                 QStringLiteral("File(s) not found or corrupted:\n\t") + missing +
                     QStringLiteral("\n\n") + missing + QStringLiteral(": no such file"));
        QVERIFY(studio().output.join(QString()).contains(missing));
        QCOMPARE(window.testPassed(), 3);
        QCOMPARE(window.testFailed(), 2);
        QCOMPARE(outlineFiles(window), QStringList({"a.crc", "c.crc"}));
        QVERIFY(window.contain(a));
        QVERIFY(!window.contain(missing));

        // A file already held is neither read again nor reported.
        const QAReporterData* held = window.session().records().front().get();
        open(window, {a});
        QCOMPARE(window.session().records().size(), size_t(2));
        QCOMPARE(window.session().records().front().get(), held);
        QCOMPARE(dialogs->asked.size(), 1);
        QCOMPARE(window.fileList(), QStringList({a}));
        QADialogs::install(nullptr);
    }

    void headerDockShowsFromTwoReports()
    {
        Files files;
        scriptDialogs();
        const QString a = files.add(QStringLiteral("a.crc"), report("ra", node("x", "R", "ok", 1)));
        const QString b = files.add(QStringLiteral("b.crc"), report("rb", node("y", "R", "ko", 1)));
        QAReporter one(QStringLiteral("One"), QPixmap());
        open(one, {a});
        QVERIFY(summaryDock(one)->isHidden());
        QVERIFY(one.session().summary());
        QCOMPARE(one.session().summary()->tag(), QStringLiteral("index"));

        QAReporter two(QStringLiteral("Two"), QPixmap());
        open(two, {a, b});
        QVERIFY(!summaryDock(two)->isHidden());
        QCOMPARE(two.dockWidgetArea(summaryDock(two)), Qt::TopDockWidgetArea);
        QADialogs::install(nullptr);
    }

    // Failed-only asks first when no report has a failed test.
    void modesAndTheEmptyFilterQuestion()
    {
        Files files;
        ScriptedDialogs* dialogs = scriptDialogs();
        const QString a = files.add(QStringLiteral("a.crc"), report("ra", node("x", "R", "ok", 1)));
        const QString b = files.add(QStringLiteral("b.crc"), report("rb", node("y", "R", "ok", 2)));
        QAReporter window(QStringLiteral("Modes"), QPixmap());
        open(window, {a, b});
        QARToolBar* bar = window.findChild<QARToolBar*>();
        QVERIFY(bar);
        // No studio window: the window's own toolbar, enabled once the window activates.
        QVERIFY(!bar->prevButton()->isEnabled());
        window.activated();
        QVERIFY(bar->prevButton()->isEnabled());

        dialogs->buttons = {QMessageBox::Yes};
        window.failedtests();
        QCOMPARE(dialogs->asked.size(), 1);
        QVERIFY(!bar->isFiltered());
        QCOMPARE(window.session().validator().active(), 0u);

        dialogs->buttons = {QMessageBox::No};
        window.failedtests();
        QCOMPARE(dialogs->asked.size(), 2);
        QVERIFY(bar->isFiltered());
        QCOMPARE(window.session().validator().active(),
                 unsigned(QAReporterNodeValidator::AttrState));
        QCOMPARE(entriesBelow(window, entryIn(window, 0)), 0); // nothing failed

        window.alltests();
        QVERIFY(!bar->isFiltered());
        QCOMPARE(entriesBelow(window, entryIn(window, 0)), 1);
        window.alltests(); // already complete: the toolbar stays as it is
        QVERIFY(!bar->isFiltered());
        QVERIFY(window.session().isAnalysed());

        const QString c = files.add(QStringLiteral("c.crc"), report("rc", node("z", "R", "ko", 1)));
        open(window, {c});
        window.failedtests();
        QCOMPARE(dialogs->asked.size(), 2); // a failure exists: no question
        QCOMPARE(outlineFiles(window), QStringList({"a.crc", "b.crc", "c.crc"}));
        QCOMPARE(entriesBelow(window, entryIn(window, 2)), 1);
        window.alltests();
        QADialogs::install(nullptr);
    }

    // A rebuild puts the view back on the document it showed, by its tag.
    void modeSwitchReturnsToTheShownDocument()
    {
        Files files;
        scriptDialogs();
        QByteArray many;
        for (int i = 0; i < 40; ++i)
            many += node(QByteArray("n" + QByteArray::number(i)).constData(), "R",
                         i % 2 ? "ko" : "ok", 1);
        const QString a = files.add(QStringLiteral("a.crc"), report("first", many));
        const QString b = files.add(QStringLiteral("b.crc"), report("second", many));
        QAReporter window(QStringLiteral("Return"), QPixmap());
        window.resize(800, 400);
        window.show();
        open(window, {a, b});
        QCOMPARE(reportView(window)->currentDocument()->tag(), QStringLiteral("first"));
        QVERIFY(reportView(window)->moveTo(QString(), QString(), QStringLiteral("second")));
        QCOMPARE(reportView(window)->currentDocument()->tag(), QStringLiteral("second"));
        const DDocument* before = reportView(window)->currentDocument();
        window.failedtests();
        QVERIFY(reportView(window)->currentDocument() != before); // a new filtered copy
        QCOMPARE(reportView(window)->currentDocument()->tag(), QStringLiteral("second"));
        window.alltests();
        QCOMPARE(reportView(window)->currentDocument()->tag(), QStringLiteral("second"));
        QADialogs::install(nullptr);
    }

    void hidingATypeAndShowingItAgain()
    {
        Files files;
        scriptDialogs();
        const QString a =
            files.add(QStringLiteral("a.crc"),
                      report("ra", node("f", "File", "ok", 1) + node("r", "Rule", "ok", 1) +
                                       node("s", "RuleSet", "ok", 1)));
        QAReporter window(QStringLiteral("Types"), QPixmap());
        open(window, {a});
        QCOMPARE(window.session().typeNames(), QStringList({"File", "Rule", "RuleSet"}));
        QCOMPARE(entriesBelow(window, entryIn(window, 0)), 3);
        window.setTypeVisible(QStringLiteral("Rule"), false); // also hides RuleSet
        QCOMPARE(entriesBelow(window, entryIn(window, 0)), 1);
        QCOMPARE(entryIn(window, 0, entryIn(window, 0)).data().toString(), QStringLiteral("f"));
        window.setTypeVisible(QStringLiteral("Rule"), true);
        QCOMPARE(entriesBelow(window, entryIn(window, 0)), 3);
        QADialogs::install(nullptr);
    }

    void registryAndCaptions()
    {
        Files files;
        scriptDialogs();
        const QString a = files.add(QStringLiteral("a.crc"), report("ra", node("x", "R", "ok", 1)));
        QMainWindow studioWindow;
        studio().window = &studioWindow;
        auto first = std::make_unique<QAReporter>(QStringLiteral("Run"), QPixmap());
        auto second = std::make_unique<QAReporter>(QStringLiteral("Run"), QPixmap());
        QVERIFY(first->windowTitle().startsWith(QLatin1String("Run [")));
        const int number = first->windowTitle().mid(5).chopped(1).toInt();
        QCOMPARE(second->windowTitle(), QStringLiteral("Run [%1]").arg(number + 1));
        QARToolBar* shared = QARToolBar::getToolBar(&studio());
        QVERIFY(!first->findChild<QARToolBar*>()); // the studio's shared one
        studio().window = nullptr;
        QAReporter plain(QStringLiteral("Plain"), QPixmap());
        QCOMPARE(plain.windowTitle(), QStringLiteral("Plain"));
        QVERIFY(plain.findChild<QARToolBar*>()); // a toolbar of its own

        QVERIFY(!QAReporter::manager()->openedReporter(a));
        open(*second, {a});
        open(*first, {a});
        QCOMPARE(QAReporter::manager()->openedReporter(a), first.get());
        first.reset();
        QCOMPARE(QAReporter::manager()->openedReporter(a), second.get());
        second.reset();
        QVERIFY(shared); // the shared toolbar outlives the windows
        QADialogs::install(nullptr);
    }

    // The studio's tests find the window's parts by these names.
    void partsAreNamed()
    {
        scriptDialogs();
        QAReporter window(QStringLiteral("Names"), QPixmap());
        QCOMPARE(reportView(window), window.centralWidget());
        QVERIFY(summaryDock(window));
        QCOMPARE(window.findChild<DReportWidget*>(QStringLiteral("summaryView")),
                 summaryDock(window)->widget());
        // The outline and its filter box show in the studio's outline area, not in the window.
        QCOMPARE(window.contentOutlineWidget()->objectName(), QStringLiteral("reportOutlinePane"));
        QVERIFY(
            window.contentOutlineWidget()->findChild<QLineEdit*>(QStringLiteral("outlineFilter")));
        QVERIFY(outlineOf(window));
        QVERIFY(outlineOf(window)->findChild<QARPopupMenu*>(QStringLiteral("outlineContextMenu")));
        window.activated();
        QVERIFY(codeReviewMenu(window));
        QVERIFY(window.menuBar()->actions().contains(codeReviewMenu(window)->menuAction()));
        QADialogs::install(nullptr);
    }

    void closingRemovesTheMenuOfTheActiveWindowOnly()
    {
        scriptDialogs();
        QAReporter window(QStringLiteral("Close"), QPixmap());
        window.show();
        window.close();
        QVERIFY(studio().removedMenus.isEmpty()); // never activated, no menu inserted
        QVERIFY(!window.findChild<QARToolBar*>()->prevButton()->isEnabled());
        QADialogs::install(nullptr);
    }

    // The commands menu follows activation: into the studio's menu bar, or once into the
    // window's own.
    void commandsMenuFollowsActivation()
    {
        Files files;
        scriptDialogs();
        const QString a =
            files.add(QStringLiteral("a.crc"),
                      report("ra", node("x", "Rule", "ok", 1) + node("y", "Metric", "ko", 1)));
        const QString b =
            files.add(QStringLiteral("b.crc"), report("rb", node("z", "Rule", "ok", 1)));

        QAReporter standalone(QStringLiteral("Alone"), QPixmap());
        standalone.activated();
        standalone.desactivated();
        standalone.activated();
        QVERIFY(codeReviewMenu(standalone));
        int commands = 0;
        for (QAction* action : standalone.menuBar()->actions())
            commands += action->text() == QLatin1String("&Commands");
        QCOMPARE(commands, 1);

        QMainWindow studioWindow;
        studio().window = &studioWindow;
        studio().menus.clear();
        studio().removedMenus.clear();
        QAReporter window(QStringLiteral("Menu"), QPixmap());
        QARToolBar* shared = QARToolBar::getToolBar(&studio());
        QVERIFY(!shared->nextButton()->isEnabled());
        window.activated();
        QVERIFY(shared->nextButton()->isEnabled());
        QCOMPARE(studio().menus.size(), 1);
        QCOMPARE(studio().menus.first().first, codeReviewMenu(window));
        QCOMPARE(studio().menus.first().second, QStringLiteral("&Menu")); // with a mnemonic

        QMenu* menu = codeReviewMenu(window);
        Q_EMIT menu->aboutToShow(); // nothing loaded yet
        QVERIFY(!menu->actions().at(0)->isEnabled());
        QVERIFY(!menu->actions().at(1)->isEnabled());

        open(window, {a, b});
        Q_EMIT menu->aboutToShow();
        QStringList texts;
        for (QAction* action : menu->actions())
            texts.append(action->isSeparator() ? QStringLiteral("-") : action->text());
        // New Failures Only waits for a baseline.
        QVERIFY(!menu->actions().at(2)->isEnabled());
        QCOMPARE(texts, QStringList({"&All Test Results",
                                     "&Failed Tests Only",
                                     "&New Failures Only\tCtrl+Shift+F8",
                                     "Hide Dis&missed Findings\tCtrl+Shift+D",
                                     "-",
                                     "Rule (and all below)",
                                     "Metric (and all below)",
                                     "-",
                                     "&Reload",
                                     "-",
                                     "Show &header",
                                     "&Print Header",
                                     "-",
                                     "&Submit Trackwell Report",
                                     "-",
                                     "&Generate HTML",
                                     "-",
                                     "&Next Failed Test\tF8",
                                     "Pre&vious Failed Test\tShift+F8",
                                     "Ne&xt Finding\tCtrl+.",
                                     "Previous Fin&ding\tCtrl+,"}));
        QVERIFY(!menu->actions().at(8)->icon().isNull()); // Reload
        QVERIFY(menu->actions().at(0)->isChecked());
        QVERIFY(menu->actions().at(5)->isChecked() && menu->actions().at(6)->isChecked());
        QAction* printHeaderEntry = menu->actions().at(11);
        QVERIFY(printHeaderEntry->isEnabled());        // two reports: the header shows
        QVERIFY(!menu->actions().at(13)->isEnabled()); // the file entry is selected

        menu->actions().at(6)->trigger(); // hide Metric
        Q_EMIT menu->aboutToShow();
        QVERIFY(menu->actions().at(5)->isChecked());
        QVERIFY(!menu->actions().at(6)->isChecked());
        QCOMPARE(window.session().validator().typeExpressions().size(), 1);
        QCOMPARE(window.session().validator().typeExpressions().first().pattern(),
                 QStringLiteral("Metric"));

        QCOMPARE(helpText(window, 102), QStringLiteral("Reload the current report"));
        QCOMPARE(helpText(window, 100), QStringLiteral("Display complete report"));
        const int printHeaderId = menu->actions().at(11)->data().toInt(); // the menu was rebuilt
        QCOMPARE(helpText(window, printHeaderId), QStringLiteral("Show or hide Print Header"));
        window.highlighted(102);
        QCOMPARE(studioWindow.statusBar()->currentMessage(),
                 QStringLiteral("Reload the current report"));

        menu->actions().at(10)->trigger(); // "Show header": the dock goes
        QVERIFY(summaryDock(window)->isHidden());
        QVERIFY(!menu->actions().at(11)->isEnabled());

        window.desactivated();
        QVERIFY(!shared->nextButton()->isEnabled());
        QCOMPARE(studio().removedMenus, QList<int>({0}));
        studio().window = nullptr;
        QADialogs::install(nullptr);
    }

    // Links of a report: another result file, a tag, a source file at a line.
    void linksAreFollowed()
    {
        Files files;
        scriptDialogs();
        const QString other =
            files.add(QStringLiteral("other.crc"),
                      report("otherdoc", "<TAG name='there'/>" + node("o", "R", "ok", 1)));
        const QString main = files.add(
            QStringLiteral("main.crc"),
            "<XROD><DOCUMENT tag='maindoc'>"
            "<XROD:NODE name='F' type='File' base='/home/p/'><SECTION>"
            "<PARAGRAPH><LINK target='src/a.c line 12'>a</LINK></PARAGRAPH>"
            "<XROD:NODE name='R' type='Rule'><SECTION><PARAGRAPH>"
            "<LINK target='src/b.c line 7'>b</LINK><LINK target='/abs/c.c line 3'>c</LINK>"
            "<LINK target='plain text'>d</LINK><LINK target='xrdlink://#top'>e</LINK>"
            "<LINK target='xrdlink://'>f</LINK><LINK target='xrdlink://other.crc#there'>g</LINK>"
            "</PARAGRAPH></SECTION></XROD:NODE></SECTION></XROD:NODE>"
            "<PARAGRAPH><LINK target='loose.c line 1'>h</LINK></PARAGRAPH>"
            "<TAG name='top'/></DOCUMENT></XROD>");
        QAReporter window(QStringLiteral("Links"), QPixmap());
        open(window, {main});
        QHash<QString, DLink*> links;
        QList<DItem*> pending{window.session().filtered().front()->document.get()};
        while (!pending.isEmpty()) {
            for (DItem* item = pending.takeLast(); item; item = item->next()) {
                if (auto* link = dcast<DLink>(item))
                    links.insert(dcast<DText>(link->firstChild())->text(), link);
                if (DItemContainer* container = item->asContainer())
                    pending.append(container->firstChild());
            }
        }
        QCOMPARE(links.size(), 8);

        studio().locations.clear();
        window.resolveLink(links.value(QStringLiteral("a")));
        window.resolveLink(links.value(QStringLiteral("b"))); // no base: the parent's
        window.resolveLink(links.value(QStringLiteral("c")));
        window.resolveLink(links.value(QStringLiteral("d")));
        // In no node: beside the report, wherever the process was started from.
        window.resolveLink(links.value(QStringLiteral("h")));
        const QString beside = QFileInfo(main).absolutePath() + QStringLiteral("/loose.c");
        QCOMPARE(studio().locations,
                 QStringList({"/home/p/src/a.c line 12 3 1", "/home/p/src/b.c line 7 3 1",
                              "/abs/c.c line 3 3 1", "plain text 3 1", beside + " line 1 3 1"}));

        window.resolveLink(links.value(QStringLiteral("e"))); // a tag: no reload
        window.resolveLink(links.value(QStringLiteral("f"))); // nothing at all
        QCOMPARE(window.fileList(), QStringList({main}));
        QCOMPARE(window.session().records().size(), size_t(1));

        window.resolveLink(links.value(QStringLiteral("g"))); // another result file, relative
        QCOMPARE(window.fileList(), QStringList({QFileInfo(main).path() + QDir::separator() +
                                                 QStringLiteral("other.crc")}));
        QCOMPARE(window.session().records().size(), size_t(1));
        QCOMPARE(window.session().records().front()->document->tag(), QStringLiteral("otherdoc"));
        QVERIFY(QFileInfo(window.fileList().first()) == QFileInfo(other));

        QAReporter empty(QStringLiteral("Empty"), QPixmap());
        DLink relative(QStringLiteral("xrdlink://other.crc#there"));
        empty.resolveLink(&relative); // nothing loaded: nothing happens
        QVERIFY(empty.fileList().isEmpty());
        QADialogs::install(nullptr);
    }

    void nodeNamesShowInTheCaption()
    {
        QAReporter window(QStringLiteral("T"), QPixmap());
        window.setNode({QString(), QStringLiteral("suite.module.rules")});
        QCOMPARE(window.windowTitle(), QStringLiteral("T [rules]"));
        window.setNode({QStringLiteral("ws"), QString()});
        QCOMPARE(window.windowTitle(), QStringLiteral("T [rules]"));
        QCOMPARE(window.node().workspace, QStringLiteral("ws"));
    }

    void savingCopiesOfTheReports()
    {
        Files files;
        ScriptedDialogs* dialogs = scriptDialogs();
        const QString a = files.add(QStringLiteral("a.crc"), report("ra", node("x", "R", "ok", 1)));
        const QString b =
            files.add(QStringLiteral("b.crc"),
                      "<XROD>\n<DOCUMENT tag='rb'>\r\n<TAG name='t'/></DOCUMENT>\n</XROD>");
        QAReporter window(QStringLiteral("Save"), QPixmap());
        open(window, {a, b});
        const QString copy = files.path(QStringLiteral("copy.xrd"));
        const QString existing = files.add(QStringLiteral("existing.xrd"), "old");
        // a: cancelled. b: first its own path (refused), then an existing file (not
        // overwritten), then a new name.
        dialogs->files = {{}, {b}, {existing}, {copy}};
        dialogs->buttons = {QMessageBox::Ok, QMessageBox::No};
        window.saveAs();
        QCOMPARE(dialogs->asked.size(), 6);
        QCOMPARE(dialogs->asked.at(2).text,
                 QStringLiteral(
                     "Source and destination files are the sames.\nPlease select an other file."));
        QCOMPARE(dialogs->asked.at(4).text,
                 QStringLiteral("The file already exists.\nDo you want to overwrite it?"));
        QFile written(copy);
        QVERIFY(written.open(QIODevice::ReadOnly));
        QCOMPARE(written.readAll(), // the bytes of the source, CR LF included
                 QByteArray("<XROD>\n<DOCUMENT tag='rb'>\r\n<TAG name='t'/></DOCUMENT>\n</XROD>"));
        QFile untouched(existing);
        QVERIFY(untouched.open(QIODevice::ReadOnly));
        QCOMPARE(untouched.readAll(), QByteArray("old"));
        QADialogs::install(nullptr);
    }
};

QTEST_MAIN(TestReporter)
#include "tst_reporter.moc"
