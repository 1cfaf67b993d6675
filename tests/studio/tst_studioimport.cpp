// crcstudio with the results of analyzers and test runners, as a user meets them: opened from
// the File menu or dropped on the window, named after the original files, their findings
// linked to the source lines, and bad logs refused with the place of the fault.

#include "defects/defectstore.h"
#include "host/studiomainwindow.h"
#include "import/importcache.h"
#include "tests/studio/studiofixture.h"
#include "tests/testkit.h"

#include <QAbstractScrollArea>
#include <QApplication>
#include <QDir>
#include <QIcon>
#include <QLabel>
#include <QProgressBar>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>
#include <QTreeView>
#include <cstdio>

namespace {

using namespace testkit;

const QString data = QStringLiteral(IMPORT_DATA_DIR);

// The totals row of the summary, as its text reads: "Total FAILED PASSED ALL".
QString totals(const QString& summary)
{
    const QStringList lines = summary.split(QLatin1Char('\n'));
    for (const QString& line : lines) {
        if (line.startsWith(QLatin1String("Total")))
            return line.simplified();
    }
    return QStringLiteral("(no totals in: %1)").arg(summary);
}

} // namespace

class TestStudioImport : public QObject
{
    Q_OBJECT

    QTemporaryDir m_dir;
    StudioFixture m_studio;

    // The first outline entry whose name starts with `start`, anywhere in the outline.
    QModelIndex entryStartingWith(const QString& start, Qt::MatchFlags how = Qt::MatchStartsWith)
    {
        const QAbstractItemModel* entries = m_studio.outline()->model();
        const QModelIndexList found = entries->match(entries->index(0, 0), Qt::DisplayRole, start,
                                                     -1, how | Qt::MatchRecursive);
        return found.size() == 1 ? found.first() : QModelIndex();
    }

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY(m_dir.isValid());
        qputenv("XDG_CACHE_HOME", QFile::encodeName(m_dir.filePath(QStringLiteral("cache"))));
        QVERIFY(m_studio.start(m_dir.filePath(QStringLiteral("settings.xml"))));
    }

    void cleanupTestCase() { m_studio.quit(); }

    void cleanup()
    {
        QVERIFY(m_studio.closeAllTabs());
        m_studio.dialogs().asked.clear();
    }

    // File > Open offers analyzer and test results; a SARIF log and a JUnit report open in one
    // tab named after them, the outline and the summary name them too, and the findings and
    // tests are counted.
    void openFromTheFileMenu()
    {
        const QString sarif = data + QStringLiteral("/flawfinder.sarif");
        const QString junit = data + QStringLiteral("/ctest-junit.xml");
        QVERIFY(m_studio.open({sarif, junit}));
        const QList<ScriptedDialogs::Asked>& asked = m_studio.dialogs().asked;
        QCOMPARE(asked.size(), 1);
        QVERIFY2(asked.first().text.contains(
                     QLatin1String("Analyzer and test results (*.sarif *.sarif.json *.xml)")),
                 qPrintable(asked.first().text));
        QCOMPARE(m_studio.tabCount(), 1);
        QCOMPARE(m_studio.currentTabText(), QStringLiteral("flawfinder.sarif, ctest-junit.xml"));
        QVERIFY(m_studio.tabTip(0).contains(sarif));
        // The next Open starts where these were.
        QVERIFY(m_studio.trigger({QStringLiteral("File"), QStringLiteral("Open...")}));
        QCOMPARE(m_studio.dialogs().openedIn.last(), data);

        const QString summary = m_studio.summaryText();
        QVERIFY2(summary.contains(QLatin1String("flawfinder.sarif")), qPrintable(summary));
        QVERIFY2(summary.contains(QLatin1String("ctest-junit.xml")), qPrintable(summary));
        QCOMPARE(totals(summary), QStringLiteral("Total 7 3 10"));
        const QAbstractItemModel* entries = m_studio.outline()->model();
        QCOMPARE(entries->rowCount(), 2);
        QCOMPARE(entries->index(0, 0).data().toString(), QStringLiteral("flawfinder.sarif"));
        QCOMPARE(entries->index(1, 0).data().toString(), QStringLiteral("ctest-junit.xml"));
        QCOMPARE(entries->index(0, 0, entries->index(0, 0)).data().toString(),
                 QStringLiteral("src/copy.c"));

        // Opened again, the same tab comes forward.
        QVERIFY(m_studio.open({sarif}));
        QCOMPARE(m_studio.tabCount(), 1);
    }

    // A finding's link, clicked where it is drawn, opens the source file at the finding's line.
    void findingsLinkToTheirLines()
    {
        QVERIFY(m_studio.open({data + QStringLiteral("/flawfinder.sarif")}));
        const QModelIndex finding = entryStartingWith(QStringLiteral("line 8: buffer/gets"));
        QVERIFY(finding.isValid());
        QVERIFY(m_studio.clickEntry(finding));
        QVERIFY(m_studio.clickLink(QStringLiteral("src/tmp.c line 8")));
        QVERIFY2(m_studio.sourceView(), qPrintable(m_studio.output()));
        QCOMPARE(m_studio.sourcePath(), data + QStringLiteral("/src/tmp.c"));
        QCOMPARE(m_studio.highlightedLine(), 8);
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
        QVERIFY(m_studio.open({junit}));
        m_studio.dialogs().asked.clear();
        QVERIFY(m_studio.clickLink(QStringLiteral("src/t.c line 3")));
        QVERIFY2(m_studio.sourceView(), qPrintable(m_studio.dialogs().asked.isEmpty()
                                                       ? m_studio.output()
                                                       : m_studio.dialogs().asked.first().text));
        QCOMPARE(m_studio.sourcePath(), folder + QStringLiteral("/src/t.c"));
        QCOMPARE(m_studio.highlightedLine(), 3);
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
        QVERIFY(m_studio.open({data + QStringLiteral("/flawfinder.sarif"), report}));
        QCOMPARE(m_studio.tabCount(), 1);
        m_studio.dialogs().asked.clear();

        const QString pages = m_dir.filePath(QStringLiteral("pages"));
        QVERIFY(QDir().mkpath(pages));
        m_studio.dialogs().directories.append(pages);
        QVERIFY(m_studio.trigger({QStringLiteral("File"), QStringLiteral("Export to HTML...")}));
        const auto told = [this] {
            QStringList texts;
            for (const ScriptedDialogs::Asked& asked : std::as_const(m_studio.dialogs().asked))
                texts.append(asked.kind + QStringLiteral(": ") + asked.text);
            return texts.join(QLatin1Char('\n'));
        };
        QVERIFY2(QFile::exists(pages + QStringLiteral("/detail.html")), qPrintable(told()));
        QVERIFY2(!told().contains(QLatin1String("not complete")), qPrintable(told()));

        // The report's entry in the outline, clicked, shows its section.
        QVERIFY(m_studio.clickEntry({QStringLiteral("second.crc"), QStringLiteral("n")}));
        QVERIFY(m_studio.clickLink(QStringLiteral("detail")));
        QCOMPARE(m_studio.shownFiles(), QStringList{folder + QStringLiteral("/detail.xrd")});
        QVERIFY2(m_studio.documentText().contains(QLatin1String("the detail")), qPrintable(told()));
    }

    // The conversion shows its progress; File > Reload after the analyzer ran again shows its
    // new findings; a log broken since is refused and the findings shown before stay.
    void reloadAfterANewRun()
    {
        const QString log = m_dir.filePath(QStringLiteral("again.sarif"));
        QVERIFY(QFile::copy(data + QStringLiteral("/flawfinder.sarif"), log));
        QStringList shown; // the progress display's label at each step
        const QMetaObject::Connection steps =
            connect(m_studio.progressBar(), &QProgressBar::valueChanged, this, [&](int value) {
                shown.append(m_studio.progressLabel()->text() + QLatin1Char(' ') +
                             QString::number(value));
            });
        QVERIFY(m_studio.open({log}));
        disconnect(steps);
        QCOMPARE(totals(m_studio.summaryText()), QStringLiteral("Total 7 0 7"));
        QVERIFY2(shown.contains(QStringLiteral("Converting again.sarif 1000")),
                 qPrintable(shown.join(QLatin1Char('\n'))));
        QVERIFY(!m_studio.progress()->isVisible());

        QVERIFY(writeFile(log, "{\"version\":\"2.1.0\",\"runs\":[{\"tool\":{\"driver\":"
                               "{\"name\":\"Flawfinder\"}},\"results\":[{\"ruleId\":\"FF1\","
                               "\"message\":{\"text\":\"one left\"}}]}]}"));
        const QStringList reload{QStringLiteral("File"), QStringLiteral("Reload")};
        QVERIFY(m_studio.trigger(reload));
        QCOMPARE(m_studio.tabCount(), 1);
        QCOMPARE(totals(m_studio.summaryText()), QStringLiteral("Total 1 0 1"));
        QCOMPARE(m_studio.outline()->model()->index(0, 0).data().toString(),
                 QStringLiteral("again.sarif"));

        QVERIFY(writeFile(log, "{\"runs\": [\n"));
        m_studio.dialogs().asked.clear();
        QVERIFY(m_studio.trigger(reload));
        const QStringList said = m_studio.dialogs().messages();
        QCOMPARE(said.size(), 1);
        QVERIFY2(said.first().contains(log + QStringLiteral(":2:1: ")), qPrintable(said.first()));
        QCOMPARE(totals(m_studio.summaryText()), QStringLiteral("Total 1 0 1"));
    }

    // pytest's report (see data/import) opens grouped by class, a failed test's place is given
    // from 1 although pytest counts from 0, and its stack trace keeps its lines as drawn.
    void junitClassesAndTraces()
    {
        QVERIFY(m_studio.open({data + QStringLiteral("/pytest-pyflakes-xunit1.xml")}));
        QCOMPARE(totals(m_studio.summaryText()), QStringLiteral("Total 5 723 18 746"));
        // The summary read, its dock is closed again: the trace below gets the room.
        QVERIFY(m_studio.trigger({QStringLiteral("Code Review"), QStringLiteral("Show header")}));
        const QModelIndex tests = entryStartingWith(
            QStringLiteral("pyflakes.test.test_api.IntegrationTests"), Qt::MatchExactly);
        QVERIFY(tests.isValid());
        QCOMPARE(tests.parent().data().toString(), QStringLiteral("pytest"));
        QCOMPARE(m_studio.outline()->model()->rowCount(tests), 5);
        const QModelIndex failed = m_studio.outline()->model()->index(0, 0, tests);
        QCOMPARE(failed.data().toString(), QStringLiteral("test_errors_io"));
        QVERIFY(m_studio.clickEntry(failed));

        const QStringList links = m_studio.drawnLinks(m_studio.documentView());
        QVERIFY2(links.contains(QStringLiteral("pyflakes/test/test_api.py line 763")),
                 qPrintable(links.join(QLatin1Char('\n'))));
        const QStringList lines = m_studio.shownLines();
        const qsizetype start = lines.indexOf(QRegularExpression(
            QStringLiteral("^self = <pyflakes\\.test\\.test_api\\.IntegrationTests.*")));
        QVERIFY2(start >= 0, qPrintable(lines.join(QLatin1Char('\n'))));
        QVERIFY2(start + 1 < lines.size() &&
                     lines.at(start + 1).trimmed().startsWith(QLatin1String("def test_errors_io")),
                 qPrintable(lines.join(QLatin1Char('\n'))));
    }

    // A log of several runs (clang's analyzer, one run per file, see data/import) shows a run
    // per tool run, titled by its tool: the clean ones drawn as passed, the others as failed.
    void cleanRunsPassed()
    {
        QVERIFY(m_studio.open({data + QStringLiteral("/clang-merged.sarif")}));
        const QAbstractItemModel* entries = m_studio.outline()->model();
        const QModelIndex log = entries->index(0, 0);
        QCOMPARE(log.data().toString(), QStringLiteral("clang-merged.sarif"));
        QCOMPARE(entries->rowCount(log), 81);
        const auto verdictIcon = [](const QModelIndex& entry) {
            return entry.siblingAtColumn(1)
                .data(Qt::DecorationRole)
                .value<QIcon>()
                .pixmap(16)
                .toImage();
        };
        // Runs drawn alike are counted together; the runs with findings are the failed ones.
        QList<QImage> icons;
        QList<int> counts;
        QModelIndex finding;
        QModelIndex failedRun; // the first run with findings
        int titled = 0;
        for (int row = 0; row < entries->rowCount(log); ++row) {
            const QModelIndex run = entries->index(row, 0, log);
            titled += run.data().toString() == QLatin1String("Debian clang version 14.0.6");
            const QImage icon = verdictIcon(run);
            const qsizetype known = icons.indexOf(icon);
            if (known < 0) {
                icons.append(icon);
                counts.append(1);
            } else {
                ++counts[known];
            }
            if (!finding.isValid() && entries->rowCount(run) > 0) {
                failedRun = run;
                finding = run;
                while (entries->rowCount(finding) > 0)
                    finding = entries->index(0, 0, finding);
            }
        }
        QCOMPARE(titled, 81);
        QCOMPARE(icons.size(), 2);
        QVERIFY(finding.isValid());
        const qsizetype failedRuns = icons.indexOf(verdictIcon(failedRun));
        QVERIFY(failedRuns >= 0);
        QCOMPARE(counts.at(failedRuns), 7);
        QCOMPARE(counts.at(1 - failedRuns), 74);
    }

    // Dropped on the window, a JUnit report opens like a result file; a broken log is refused
    // with its file, line and column, and leaves no tab.
    void dropsAndBrokenLogs()
    {
        QVERIFY(m_studio.drop({data + QStringLiteral("/ctest-junit.xml")}));
        QCOMPARE(m_studio.tabCount(), 1);
        QCOMPARE(m_studio.currentTabText(), QStringLiteral("ctest-junit.xml"));
        QCOMPARE(totals(m_studio.summaryText()), QStringLiteral("Total 0 3 3"));

        const QString broken = m_dir.filePath(QStringLiteral("broken.sarif"));
        QVERIFY(writeFile(broken, "{\"runs\": [\n  {\"results\": [}\n]}"));
        QVERIFY(m_studio.open({broken}));
        QCOMPARE(m_studio.tabCount(), 1);
        const QList<ScriptedDialogs::Asked>& asked = m_studio.dialogs().asked;
        QCOMPARE(asked.size(), 2);
        QCOMPARE(asked.last().kind, QStringLiteral("message"));
        QVERIFY2(asked.last().text.contains(broken + QStringLiteral(":2:16: ")),
                 qPrintable(asked.last().text));
        QVERIFY(m_studio.output().contains(broken + QStringLiteral(":2:16: ")));
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
        QVERIFY(m_studio.open({log}));

        QVERIFY(writeFile(log, head + finding + "," + finding + "]}]}"));
        const QString other = runChild({QStringLiteral("--convert"), log}).trimmed();
        QVERIFY2(QFileInfo(other).isFile(), qPrintable(other));

        const QString store = m_dir.filePath(QStringLiteral("defects.sqlite"));
        m_studio.useDefectStore(store);
        const QModelIndex found =
            entryStartingWith(QStringLiteral("line 1: goto used"), Qt::MatchExactly);
        QVERIFY(found.isValid());
        QVERIFY(m_studio.fileDefect(StudioFixture::namesOf(found)));

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
