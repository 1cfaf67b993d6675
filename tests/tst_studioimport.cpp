// crcstudio with the results of analyzers and test runners, as a user meets them: opened from
// the File menu or dropped on the window, named after the original files, their findings
// linked to the source lines, and bad logs refused with the place of the fault.

#include "folio/model/ddocument.h"
#include "folio/model/dlink.h"
#include "folio/view/dreportwidget.h"
#include "host/defectshost.h"
#include "host/defectstore.h"
#include "host/outputdock.h"
#include "host/progresspanel.h"
#include "host/sourceview.h"
#include "host/studiomainwindow.h"
#include "import/importcache.h"
#include "sdk/qadialogs.h"
#include "sdk/qastviewerplugin.h"
#include "sdk/qastviewerwindow.h"
#include "tests/studiotestkit.h"
#include "tests/testkit.h"
#include "viewer/qareporter.h"
#include "viewer/qaricons.h"
#include "viewer/qarlistview.h"

#include <QApplication>
#include <QContextMenuEvent>
#include <QDir>
#include <QDropEvent>
#include <QLabel>
#include <QMenu>
#include <QMimeData>
#include <QProgressBar>
#include <QScrollBar>
#include <QTabWidget>
#include <QTemporaryDir>
#include <QTest>
#include <cstdio>
#include <vector>

namespace {

using namespace testkit;

const QString data = QStringLiteral(IMPORT_DATA_DIR);

// The entry of a menu of the menu bar, found by the texts a user reads.
QAction* menuEntry(QMainWindow& window, const QString& menu, const QString& entry)
{
    return menuAction(window, menu, entry);
}

// The text shown by a document view, as a user copies it.
QString shownText(DFolioView* view)
{
    view->selectAll();
    const QString text = view->selectedText();
    view->clearSelection();
    return text;
}

// The point of the viewport where a link to `target` is drawn, or (-1, -1).
QPoint linkPoint(DFolioView* view, const QString& target)
{
    const QSize size = view->viewport()->size();
    for (int y = 2; y < size.height(); y += 4) {
        for (int x = 2; x < size.width(); x += 6) {
            const DLink* link = dcast<DLink>(view->itemAt(QPoint(x, y)));
            if (link && link->target() == target)
                return QPoint(x, y);
        }
    }
    return QPoint(-1, -1);
}

// The first link to `target` in the documents a view shows, or null.
const DLink* linkTo(DFolioView* view, const QString& target)
{
    for (DDocument* document : view->documents()) {
        std::vector<const DItem*> open{document};
        while (!open.empty()) {
            const DItem* item = open.back();
            open.pop_back();
            if (const DLink* link = dcast<DLink>(item); link && link->target() == target)
                return link;
            if (const DItemContainer* container = item->asContainer()) {
                for (const DItem* child = container->firstChild(); child; child = child->next())
                    open.push_back(child);
            }
        }
    }
    return nullptr;
}

} // namespace

class TestStudioImport : public QObject
{
    Q_OBJECT

    QTemporaryDir m_dir;
    std::unique_ptr<StudioMainWindow> m_studio;
    ScriptedDialogs* m_dialogs = nullptr;

    void closeAllTabs() { testkit::closeAllTabs(*m_studio); }

    QAReporter* activeReporter() const
    {
        return qobject_cast<QAReporter*>(m_studio->activeViewer());
    }

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY(m_dir.isValid());
        qputenv("XDG_CACHE_HOME", QFile::encodeName(m_dir.filePath(QStringLiteral("cache"))));
        auto dialogs = std::make_unique<ScriptedDialogs>();
        m_dialogs = dialogs.get();
        QADialogs::install(std::move(dialogs));
        m_studio = std::make_unique<StudioMainWindow>(
            pluginPath, m_dir.filePath(QStringLiteral("settings.xml")));
        QVERIFY2(m_studio->plugin(), qPrintable(m_studio->pluginError()));
        m_studio->show();
    }

    void cleanupTestCase()
    {
        m_studio->close();
        m_studio.reset();
    }

    void cleanup()
    {
        closeAllTabs();
        m_dialogs->asked.clear();
    }

    // File > Open offers analyzer and test results; a SARIF log and a JUnit report open in one
    // tab named after them, the outline and the summary name them too, and the findings and
    // tests are counted.
    void openFromTheFileMenu()
    {
        QAction* open = menuEntry(*m_studio, QStringLiteral("&File"), QStringLiteral("&Open..."));
        QVERIFY(open);
        const QString sarif = data + QStringLiteral("/flawfinder.sarif");
        const QString junit = data + QStringLiteral("/ctest-junit.xml");
        m_dialogs->files.append({sarif, junit});
        open->trigger();
        QCOMPARE(m_dialogs->asked.size(), 1);
        QVERIFY2(m_dialogs->asked.first().text.contains(
                     QLatin1String("Analyzer and test results (*.sarif *.sarif.json *.xml)")),
                 qPrintable(m_dialogs->asked.first().text));
        QCOMPARE(m_studio->tabs()->count(), 1);
        QCOMPARE(m_studio->tabs()->tabText(0), QStringLiteral("flawfinder.sarif, ctest-junit.xml"));
        QVERIFY(m_studio->tabs()->tabToolTip(0).contains(sarif));
        QCOMPARE(m_studio->currentDirectory(), data); // where the next Open starts

        QAReporter* viewer = activeReporter();
        QVERIFY(viewer);
        QCOMPARE(viewer->testFailed(), 7);
        QCOMPARE(viewer->testPassed(), 3);
        QARListView* outline = viewer->outline();
        QVERIFY(outline);
        const QAbstractItemModel* entries = outline->model();
        QCOMPARE(entries->rowCount(), 2);
        QCOMPARE(entries->index(0, 0).data().toString(), QStringLiteral("flawfinder.sarif"));
        QCOMPARE(entries->index(1, 0).data().toString(), QStringLiteral("ctest-junit.xml"));
        QCOMPARE(entries->index(0, 0, entries->index(0, 0)).data().toString(),
                 QStringLiteral("src/copy.c"));
        const QString summary = shownText(viewer->headerView());
        QVERIFY2(summary.contains(QLatin1String("flawfinder.sarif")), qPrintable(summary));
        QVERIFY2(summary.contains(QLatin1String("ctest-junit.xml")), qPrintable(summary));

        // Opened again, the same tab comes forward.
        m_dialogs->files.append({sarif});
        open->trigger();
        QCOMPARE(m_studio->tabs()->count(), 1);
    }

    // A finding's link, clicked where it is drawn, opens the source file at the finding's line.
    void findingsLinkToTheirLines()
    {
        QVERIFY(m_studio->openFiles({data + QStringLiteral("/flawfinder.sarif")}));
        QAReporter* viewer = activeReporter();
        QARListView* outline = viewer->outline();
        const QModelIndexList found = outline->model()->match(
            outline->model()->index(0, 0), Qt::DisplayRole, QStringLiteral("line 8: buffer/gets"),
            -1, Qt::MatchStartsWith | Qt::MatchRecursive);
        QCOMPARE(found.size(), 1);
        outline->scrollTo(found.first());
        QTest::mouseClick(outline->viewport(), Qt::LeftButton, {},
                          outline->visualRect(found.first()).center());
        QCOMPARE(outline->currentIndex(), found.first());

        DFolioView* document = viewer->documentView();
        const QPoint link = linkPoint(document, QStringLiteral("src/tmp.c line 8"));
        QVERIFY(link.x() >= 0);
        QTest::mouseClick(document->viewport(), Qt::LeftButton, {}, link);
        SourceView* source = m_studio->activeSource();
        QVERIFY2(source, qPrintable(m_studio->output()->contents()));
        QCOMPARE(source->path(), data + QStringLiteral("/src/tmp.c"));
        QCOMPARE(source->highlightedLine(), 8);
    }

    // A link of a converted report is taken beside the report the user opened, not beside the
    // converted copy: a test case outside any suite names its file relative to the JUnit report.
    void linksOfConvertedResultsStartBesideTheOriginal()
    {
        const QString folder = m_dir.filePath(QStringLiteral("bare"));
        QVERIFY(QDir().mkpath(folder + QStringLiteral("/src")));
        QVERIFY(writeFile(folder + QStringLiteral("/src/t.c"), "int a;\nint b;\nint c;\n"));
        const QString junit = folder + QStringLiteral("/bare.xml");
        QVERIFY(writeFile(junit, "<?xml version='1.0'?><testsuites name='bare'><testcase "
                                 "name='t1' classname='c' file='src/t.c' line='3'><failure "
                                 "message='boom'>x</failure></testcase></testsuites>"));
        QAction* open = menuEntry(*m_studio, QStringLiteral("&File"), QStringLiteral("&Open..."));
        m_dialogs->files.append({junit});
        open->trigger();
        QAReporter* viewer = activeReporter();
        QVERIFY(viewer);
        DFolioView* document = viewer->documentView();
        const QPoint link = linkPoint(document, QStringLiteral("src/t.c line 3"));
        QVERIFY(link.x() >= 0);
        m_dialogs->asked.clear();
        QTest::mouseClick(document->viewport(), Qt::LeftButton, {}, link);
        SourceView* source = m_studio->activeSource();
        QVERIFY2(source, qPrintable(m_dialogs->asked.isEmpty() ? m_studio->output()->contents()
                                                               : m_dialogs->asked.first().text));
        QCOMPARE(source->path(), folder + QStringLiteral("/src/t.c"));
        QCOMPARE(source->highlightedLine(), 3);
    }

    // A converted log and a report of another folder in one tab: the report's link to a report
    // file beside it is followed, and File > Export to HTML writes that file's page too.
    void reportLinksBesideTheirOwnReport()
    {
        const QString folder = m_dir.filePath(QStringLiteral("elsewhere"));
        const QString report = folder + QStringLiteral("/second.crc");
        QVERIFY(QDir().mkpath(folder));
        QVERIFY(writeFile(report, "<XROD><DOCUMENT tag='second'><XROD:NODE name='n' type='Rule' "
                                  "state='ko' sum='1'><SECTION tag='s'><PARAGRAPH><LINK "
                                  "target='xrdlink://detail.xrd#x'>detail</LINK></PARAGRAPH>"
                                  "</SECTION></XROD:NODE></DOCUMENT></XROD>"));
        QVERIFY(writeFile(folder + QStringLiteral("/detail.xrd"),
                          "<DOCUMENT tag='detail'><SECTION tag='x'><PARAGRAPH>the detail"
                          "</PARAGRAPH></SECTION></DOCUMENT>"));
        QAction* open = menuEntry(*m_studio, QStringLiteral("&File"), QStringLiteral("&Open..."));
        m_dialogs->files.append({data + QStringLiteral("/flawfinder.sarif"), report});
        open->trigger();
        QCOMPARE(m_studio->tabs()->count(), 1);
        m_dialogs->asked.clear();

        const QString pages = m_dir.filePath(QStringLiteral("pages"));
        QVERIFY(QDir().mkpath(pages));
        m_dialogs->directories.append(pages);
        QAction* exportPages =
            menuEntry(*m_studio, QStringLiteral("&File"), QStringLiteral("&Export to HTML..."));
        QVERIFY(exportPages);
        exportPages->trigger();
        const auto told = [this] {
            QStringList texts;
            for (const ScriptedDialogs::Asked& asked : std::as_const(m_dialogs->asked))
                texts.append(asked.kind + QStringLiteral(": ") + asked.text);
            return texts.join(QLatin1Char('\n'));
        };
        QVERIFY2(QFile::exists(pages + QStringLiteral("/detail.html")), qPrintable(told()));
        QVERIFY2(!told().contains(QLatin1String("not complete")), qPrintable(told()));

        // The report's entry in the outline, clicked, shows its section.
        QAReporter* viewer = activeReporter();
        QARListView* outline = viewer->outline();
        const QModelIndex file = outline->model()->index(1, 0);
        QCOMPARE(file.data().toString(), QStringLiteral("second.crc"));
        const QModelIndex entry = outline->model()->index(0, 0, file);
        outline->scrollTo(entry);
        QTest::mouseClick(outline->viewport(), Qt::LeftButton, {},
                          outline->visualRect(entry).center());
        DFolioView* document = viewer->documentView();
        const QPoint link = linkPoint(document, QStringLiteral("xrdlink://detail.xrd#x"));
        QVERIFY(link.x() >= 0);
        QTest::mouseClick(document->viewport(), Qt::LeftButton, {}, link);
        QCOMPARE(activeReporter()->fileList(), QStringList{folder + QStringLiteral("/detail.xrd")});
        QVERIFY2(shownText(activeReporter()->documentView()).contains(QLatin1String("the detail")),
                 qPrintable(told()));
    }

    // The conversion shows its progress; File > Reload after the analyzer ran again shows its
    // new findings; a log broken since is refused and the findings shown before stay.
    void reloadAfterANewRun()
    {
        const QString log = m_dir.filePath(QStringLiteral("again.sarif"));
        QVERIFY(QFile::copy(data + QStringLiteral("/flawfinder.sarif"), log));
        ProgressPanel* panel = m_studio->progress();
        QStringList shown; // the progress display's label at each step
        const QMetaObject::Connection steps =
            connect(panel->bar(), &QProgressBar::valueChanged, this, [&](int value) {
                shown.append(panel->label()->text() + QLatin1Char(' ') + QString::number(value));
            });
        m_dialogs->files.append({log});
        menuEntry(*m_studio, QStringLiteral("&File"), QStringLiteral("&Open..."))->trigger();
        disconnect(steps);
        QCOMPARE(activeReporter()->testFailed(), 7);
        QVERIFY2(shown.contains(QStringLiteral("Converting again.sarif 1000")),
                 qPrintable(shown.join(QLatin1Char('\n'))));
        QVERIFY(!panel->isVisible());

        QVERIFY(writeFile(log, "{\"version\":\"2.1.0\",\"runs\":[{\"tool\":{\"driver\":"
                               "{\"name\":\"Flawfinder\"}},\"results\":[{\"ruleId\":\"FF1\","
                               "\"message\":{\"text\":\"one left\"}}]}]}"));
        QAction* reload = menuEntry(*m_studio, QStringLiteral("&File"), QStringLiteral("&Reload"));
        QVERIFY(reload);
        reload->trigger();
        QCOMPARE(m_studio->tabs()->count(), 1);
        QCOMPARE(activeReporter()->testFailed(), 1);
        QCOMPARE(activeReporter()->outline()->model()->index(0, 0).data().toString(),
                 QStringLiteral("again.sarif"));

        QVERIFY(writeFile(log, "{\"runs\": [\n"));
        m_dialogs->asked.clear();
        reload->trigger();
        QCOMPARE(m_dialogs->asked.size(), 1);
        QVERIFY2(m_dialogs->asked.first().text.contains(log + QStringLiteral(":2:1: ")),
                 qPrintable(m_dialogs->asked.first().text));
        QCOMPARE(activeReporter()->testFailed(), 1);
    }

    // pytest's report (see data/import) opens grouped by class, and a failed test's stack trace
    // keeps its lines in the document view: the place at its end, a link, is drawn as many
    // lines below the start of the trace as the trace has lines before it.
    void junitClassesAndTraces()
    {
        m_dialogs->files.append({data + QStringLiteral("/pytest-pyflakes-xunit1.xml")});
        menuEntry(*m_studio, QStringLiteral("&File"), QStringLiteral("&Open..."))->trigger();
        QAReporter* viewer = activeReporter();
        QVERIFY(viewer);
        QCOMPARE(viewer->testFailed(), 5);
        QARListView* outline = viewer->outline();
        const QAbstractItemModel* entries = outline->model();
        const QModelIndexList classes =
            entries->match(entries->index(0, 0), Qt::DisplayRole,
                           QStringLiteral("pyflakes.test.test_api.IntegrationTests"), -1,
                           Qt::MatchExactly | Qt::MatchRecursive);
        QCOMPARE(classes.size(), 1);
        QCOMPARE(classes.first().parent().data().toString(), QStringLiteral("pytest"));
        QCOMPARE(entries->rowCount(classes.first()), 5);
        const QModelIndex failed = entries->index(0, 0, classes.first());
        QCOMPARE(failed.data().toString(), QStringLiteral("test_errors_io"));
        outline->scrollTo(failed);
        QTest::mouseClick(outline->viewport(), Qt::LeftButton, {},
                          outline->visualRect(failed).center());
        QCOMPARE(outline->currentIndex(), failed);

        DFolioView* document = viewer->documentView();
        // The test's own place, counted from 0 in the report, shown from 1.
        QVERIFY(linkPoint(document, QStringLiteral("pyflakes/test/test_api.py line 763")).x() >= 0);
        const DLink* end = linkTo(document, QStringLiteral("pyflakes/test/test_api.py line 772"));
        QVERIFY(end);
        const DItem* trace = end->parent();
        const QString text = static_cast<const DText*>(trace->asContainer()->firstChild())->text();
        QVERIFY(text.startsWith(QLatin1String("self = <pyflakes.test.test_api.IntegrationTests")));
        const QRect traceRect = document->itemRect(trace);
        const QRect endRect = document->itemRect(end);
        QVERIFY(endRect.height() > 0);
        const int linesBefore = int(text.count(QLatin1Char('\n')));
        QVERIFY2(endRect.top() - traceRect.top() >= linesBefore * endRect.height() - 1,
                 qPrintable(QStringLiteral("%1 lines, the link %2 px below, lines of %3 px")
                                .arg(linesBefore)
                                .arg(endRect.top() - traceRect.top())
                                .arg(endRect.height())));
    }

    // A log of several runs (clang's analyzer, one run per file, see data/import) shows a run
    // per tool run, titled by its tool: the clean ones are marked passed, the others failed.
    void cleanRunsPassed()
    {
        m_dialogs->files.append({data + QStringLiteral("/clang-merged.sarif")});
        menuEntry(*m_studio, QStringLiteral("&File"), QStringLiteral("&Open..."))->trigger();
        QAReporter* viewer = activeReporter();
        QVERIFY(viewer);
        const QAbstractItemModel* entries = viewer->outline()->model();
        const QModelIndex log = entries->index(0, 0);
        QCOMPARE(log.data().toString(), QStringLiteral("clang-merged.sarif"));
        QCOMPARE(entries->rowCount(log), 81);
        int passed = 0;
        int failed = 0;
        for (int row = 0; row < entries->rowCount(log); ++row) {
            const QModelIndex run = entries->index(row, 0, log);
            QCOMPARE(run.data().toString(), QStringLiteral("Debian clang version 14.0.6"));
            const qint64 verdict = run.siblingAtColumn(1)
                                       .data(Qt::DecorationRole)
                                       .value<QIcon>()
                                       .pixmap(16)
                                       .cacheKey();
            passed += verdict == QARIcons::testOk().cacheKey();
            failed += verdict == QARIcons::testFailed().cacheKey();
        }
        QCOMPARE(passed, 74);
        QCOMPARE(failed, 7);
    }

    // Dropped on the window, a JUnit report opens like a result file; a broken log is refused
    // with its file, line and column, and leaves no tab.
    void dropsAndBrokenLogs()
    {
        QMimeData dropped;
        dropped.setUrls({QUrl::fromLocalFile(data + QStringLiteral("/ctest-junit.xml"))});
        QDragEnterEvent enter(QPoint(10, 10), Qt::CopyAction, &dropped, Qt::LeftButton,
                              Qt::NoModifier);
        QApplication::sendEvent(m_studio.get(), &enter);
        QVERIFY(enter.isAccepted());
        QDropEvent drop(QPointF(10, 10), Qt::CopyAction, &dropped, Qt::LeftButton, Qt::NoModifier);
        QApplication::sendEvent(m_studio.get(), &drop);
        QCOMPARE(m_studio->tabs()->count(), 1);
        QCOMPARE(m_studio->tabs()->tabText(0), QStringLiteral("ctest-junit.xml"));
        QCOMPARE(activeReporter()->testPassed(), 3);

        const QString broken = m_dir.filePath(QStringLiteral("broken.sarif"));
        QVERIFY(writeFile(broken, "{\"runs\": [\n  {\"results\": [}\n]}"));
        QAction* open = menuEntry(*m_studio, QStringLiteral("&File"), QStringLiteral("&Open..."));
        m_dialogs->files.append({broken});
        open->trigger();
        QCOMPARE(m_studio->tabs()->count(), 1);
        QCOMPARE(m_dialogs->asked.size(), 2);
        QCOMPARE(m_dialogs->asked.last().kind, QStringLiteral("message"));
        QVERIFY2(m_dialogs->asked.last().text.contains(broken + QStringLiteral(":2:16: ")),
                 qPrintable(m_dialogs->asked.last().text));
        QVERIFY(m_studio->output()->contents().contains(broken + QStringLiteral(":2:16: ")));
        QCOMPARE(QDir(m_dir.path()).entryList({QStringLiteral("broken*")}, QDir::Files),
                 (QStringList{QStringLiteral("broken.sarif")}));
    }

    // Another crcstudio converting the changed log meanwhile leaves the conversion shown here in
    // place: a defect filed from it afterwards, from the outline's context menu, attaches the
    // file whole.
    void defectFiledAfterAnotherStudioConverted()
    {
        const QString log = m_dir.filePath(QStringLiteral("shared.sarif"));
        const QByteArray finding = "{\"ruleId\":\"R1\",\"message\":{\"text\":\"goto used\"},"
                                   "\"locations\":[{\"physicalLocation\":{\"artifactLocation\":"
                                   "{\"uri\":\"a.c\"},\"region\":{\"startLine\":1}}}]}";
        const QByteArray head = "{\"version\":\"2.1.0\",\"runs\":[{\"tool\":{\"driver\":"
                                "{\"name\":\"lint\"}},\"results\":[";
        QVERIFY(writeFile(log, head + finding + "]}]}"));
        m_dialogs->files.append({log});
        menuEntry(*m_studio, QStringLiteral("&File"), QStringLiteral("&Open..."))->trigger();
        QAReporter* viewer = activeReporter();
        QVERIFY(viewer);

        QVERIFY(writeFile(log, head + finding + "," + finding + "]}]}"));
        const QString other = runChild({QStringLiteral("--convert"), log}).trimmed();
        QVERIFY2(QFileInfo(other).isFile(), qPrintable(other));

        const QString store = m_dir.filePath(QStringLiteral("defects.sqlite"));
        m_studio->defects()->setStorePath(store);
        QARListView* outline = viewer->outline();
        const QModelIndexList found = outline->model()->match(
            outline->model()->index(0, 0), Qt::DisplayRole, QStringLiteral("line 1: goto used"), -1,
            Qt::MatchExactly | Qt::MatchRecursive);
        QCOMPARE(found.size(), 1);
        outline->scrollTo(found.first());
        const QPoint at = outline->visualRect(found.first()).center();
        QTest::mouseClick(outline->viewport(), Qt::LeftButton, {}, at);
        QContextMenuEvent rightClick(QContextMenuEvent::Mouse, at,
                                     outline->viewport()->mapToGlobal(at));
        QApplication::sendEvent(outline->viewport(), &rightClick);
        auto* menu = qobject_cast<QMenu*>(QApplication::activePopupWidget());
        QVERIFY(menu);
        QAction* submit = nullptr;
        for (QAction* action : menu->actions()) {
            if (action->text() == QLatin1String("&Submit Trackwell Defect Report"))
                submit = action;
        }
        QVERIFY(submit && submit->isEnabled());
        menu->setActiveAction(submit);
        QTest::keyClick(menu, Qt::Key_Return);

        DefectStore reader(store);
        QList<Defect> defects;
        QVERIFY2(reader.read(&defects), qPrintable(reader.errorString()));
        QCOMPARE(defects.size(), 1);
        QCOMPARE(defects[0].file, log);
        QCOMPARE(defects[0].attachments.size(), 1);
        const DefectAttachment& attached = defects[0].attachments.first();
        QVERIFY(attached.size > 0);
        QCOMPARE(attached.size, QFileInfo(attached.path).size());
    }
};

// The other crcstudio of defectFiledAfterAnotherStudioConverted: converts `log` through the same
// cache and prints the result file.
int convertInChild(const QString& log)
{
    ImportError error;
    const QString converted = ImportCache::resultFileFor(log, &error);
    std::fputs(qPrintable((converted.isNull() ? error.text() : converted) + QLatin1Char('\n')),
               stdout);
    return 0;
}

int main(int argc, char** argv)
{
    QApplication app(argc, argv);
    if (argc == 3 && qstrcmp(argv[1], "--convert") == 0)
        return convertInChild(QString::fromLocal8Bit(argv[2]));
    TestStudioImport test;
    return QTest::qExec(&test, argc, argv);
}
#include "tst_studioimport.moc"
