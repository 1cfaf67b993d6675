// Analyzer and test results turned into result files: real tool outputs, the corners of SARIF
// and JUnit XML, bad input, and the cache the viewer reads them from.

#include "import/cappedtext.h"
#include "import/importcache.h"
#include "import/markupwriter.h"
#include "import/resultimport.h"
#include "model/qareporterdata.h"
#include "model/qareporterdatatree.h"
#include "reader/reportloader.h"
#include "sdk/qasafefile.h"
#include "tests/testkit.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>
#include <algorithm>
#include <cstdio>

namespace {

using namespace testkit;
using Run = CrcviewRun;

const QString data = QStringLiteral(IMPORT_DATA_DIR);

// What the viewer reads of an imported file.
struct Imported
{
    ImportError error;
    QByteArray markup;
    std::unique_ptr<QAReporterData> record;
    QStringList nodes; // "depth type name state [base]", in reading order
    QString readError;

    bool ok() const { return record != nullptr; }
};

Imported import(const QString& input, const QString& output)
{
    Imported imported;
    if (!importResults(input, output, &imported.error))
        return imported;
    imported.markup = readFile(output);
    ReportLoadError error;
    imported.record = loadReport(output, {}, nullptr, &error);
    if (!imported.record) {
        imported.readError =
            QStringLiteral("%1:%2: %3").arg(error.line).arg(error.column).arg(error.message);
        return imported;
    }
    QAReporterDataTree* tree = imported.record->tree;
    tree->toRoot();
    while (QAReporterNode* node = tree->next(QAReporterDataTree::Forward)) {
        QString line = QStringLiteral("%1 %2 %3 %4")
                           .arg(tree->iterator()->depth())
                           .arg(node->type, node->name, node->stat);
        if (!node->base.isEmpty())
            line += QLatin1Char(' ') + node->base;
        imported.nodes.append(line);
    }
    return imported;
}

QString totals(const Imported& imported)
{
    return QStringLiteral("%1/%2/%3")
        .arg(imported.record->passed)
        .arg(imported.record->failed)
        .arg(imported.record->inconclusive);
}

QByteArray sarif(const QByteArray& results, const QByteArray& run = QByteArray())
{
    return "{\"version\":\"2.1.0\",\"runs\":[{\"tool\":{\"driver\":{\"name\":\"lint\","
           "\"version\":\"1.2\",\"rules\":[{\"id\":\"R1\",\"shortDescription\":{\"text\":"
           "\"No goto\"},\"helpUri\":\"https://example.org/R1\",\"messageStrings\":{\"m\":"
           "{\"text\":\"{0} is used {1} times\"}}}]}}" +
           run + ",\"results\":[" + results + "]}]}";
}

QByteArray result(const QByteArray& uri, int line, const QByteArray& extra = QByteArray())
{
    return "{\"ruleId\":\"R1\",\"message\":{\"text\":\"goto used\"},\"locations\":[{"
           "\"physicalLocation\":{\"artifactLocation\":{" +
           uri + "},\"region\":{\"startLine\":" + QByteArray::number(line) + "}}}]" + extra + "}";
}

Run crcview(const QStringList& arguments)
{
    return testkit::runCrcview(arguments, 120000);
}

} // namespace

class TestImport : public QObject
{
    Q_OBJECT

    QTemporaryDir m_dir;

    QString path(const char* name) const { return m_dir.filePath(QLatin1String(name)); }

    Imported importText(const char* name, const QByteArray& contents)
    {
        if (!writeFile(path(name), contents))
            return {};
        return import(path(name), path("out.crc"));
    }

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY(m_dir.isValid());
        qputenv("XDG_CACHE_HOME", QFile::encodeName(m_dir.filePath(QStringLiteral("cache"))));
    }

    // flawfinder and the clang static analyzer, as they wrote their logs (see data/import):
    // every finding counted once, grouped by file and rule, each with a link to its line.
    void realAnalyzerLogs()
    {
        Imported flawfinder = import(data + QStringLiteral("/flawfinder.sarif"), path("ff.crc"));
        QVERIFY2(flawfinder.ok(), qPrintable(flawfinder.error.text() + flawfinder.readError));
        QCOMPARE(totals(flawfinder), QStringLiteral("0/7/-1"));
        QCOMPARE(flawfinder.record->typeList,
                 (QStringList{QStringLiteral("File"), QStringLiteral("Rule"),
                              QStringLiteral("Finding")}));
        const QString base = data + QLatin1Char('/');
        QCOMPARE(flawfinder.nodes.first(), QStringLiteral("1 File src/copy.c ko ") + base);
        QCOMPARE(flawfinder.nodes.at(1), QStringLiteral("2 Rule FF1013 ko"));
        QVERIFY(flawfinder.nodes.at(2).startsWith(QLatin1String("3 Finding line 6: buffer/char")));
        QCOMPARE(flawfinder.nodes.filter(QStringLiteral(" File ")).size(), 2); // clean.c: none
        QVERIFY(flawfinder.markup.contains("title=\"Flawfinder 2.0.19\""));
        QVERIFY(flawfinder.markup.contains("<LINK target=\"src/tmp.c line 8\""));
        QVERIFY(
            flawfinder.markup.contains("Help: https://cwe.mitre.org/data/definitions/120.html"));
        QVERIFY(flawfinder.markup.contains(">    gets(line);</PARAGRAPH>")); // the snippet
        QVERIFY(flawfinder.markup.contains("Fingerprint contextHash/v1: "));
        QVERIFY(flawfinder.markup.contains("<PARAGRAPH style=\"Normal Failed\">error: "));

        Imported clang = import(data + QStringLiteral("/clang-analyzer.sarif"), path("cl.crc"));
        QVERIFY2(clang.ok(), qPrintable(clang.error.text() + clang.readError));
        QCOMPARE(totals(clang), QStringLiteral("0/2/-1"));
        QCOMPARE(clang.nodes.size(), 5); // one file, two rules, a finding each
        QVERIFY(clang.nodes.first().startsWith(QLatin1String("1 File /")));
        QVERIFY(clang.nodes.first().endsWith(QLatin1String("/src/")));
        // Every step of the path to the fault links to its line, the file given whole.
        QVERIFY(clang.markup.contains("Step 4: <LINK target=\"/"));
        QVERIFY(clang.markup.contains("/src/leak.c line 6\""));
        QVERIFY(clang.markup.contains("Memory is allocated"));
    }

    // Where findings point: file URIs and escapes decoded, relative URIs placed on their base
    // (through a chain of bases), or on the log's folder when the base is unknown; findings
    // without a location kept under a file node of their own without a base.
    void sarifLocations()
    {
        const QByteArray run =
            ",\"originalUriBaseIds\":{\"ROOT\":{\"uri\":\"file:///home/dev/my%20proj/\"},"
            "\"SRC\":{\"uri\":\"src/\",\"uriBaseId\":\"ROOT\"}},"
            "\"artifacts\":[{\"location\":{\"uri\":\"lib/a.c\",\"uriBaseId\":\"SRC\"}}]";
        Imported imported = importText(
            "places.sarif",
            sarif(result("\"uri\":\"file:///tmp/with%20space/x.c\"", 3) + "," +
                      result("\"uri\":\"main.c\",\"uriBaseId\":\"SRC\"", 4,
                             ",\"relatedLocations\":[{\"physicalLocation\":{\"artifactLocation\":"
                             "{\"uri\":\"file:///tmp/with%20space/x.c\"},\"region\":"
                             "{\"startLine\":9}},\"message\":{\"text\":\"declared here\"}}]") +
                      "," + result("\"index\":0", 5) + "," +
                      result("\"uri\":\"odd%20name.c\",\"uriBaseId\":\"UNKNOWN\"", 6) + "," +
                      "{\"ruleId\":\"R1\",\"message\":{\"text\":\"whole project\"}}",
                  run));
        QVERIFY2(imported.ok(), qPrintable(imported.error.text() + imported.readError));
        const QStringList files = imported.nodes.filter(QStringLiteral(" File "));
        const QString here = m_dir.path() + QLatin1Char('/');
        QCOMPARE(files, (QStringList{
                            QStringLiteral("1 File /tmp/with space/x.c ko /tmp/with space/"),
                            QStringLiteral("1 File main.c ko /home/dev/my proj/src/"),
                            QStringLiteral("1 File lib/a.c ko /home/dev/my proj/src/"),
                            QStringLiteral("1 File odd name.c ko ") + here,
                            QStringLiteral("1 File (no location) ko"),
                        }));
        QVERIFY(imported.markup.contains("<LINK target=\"main.c line 4\""));
        QVERIFY(imported.markup.contains("<LINK target=\"lib/a.c line 5\""));
        QVERIFY(imported.markup.contains("<LINK target=\"odd name.c line 6\""));
        // A related place in another file is linked by its whole path.
        QVERIFY(imported.markup.contains(
            "Related: <LINK target=\"/tmp/with space/x.c line 9\" style=\"Link\">"
            "/tmp/with space/x.c line 9</LINK>: declared here"));
        QCOMPARE(totals(imported), QStringLiteral("0/5/-1"));
    }

    // Verdicts by kind (fail when absent), each finding counted once; a rule or file fails with
    // any failed finding, passes when all that were evaluated passed. A run without results
    // and a log without runs still read as documents; the runs of a log with several are each
    // a node of its one document, named by their tool.
    void sarifVerdictsAndCounts()
    {
        auto kind = [](const char* name, int line) {
            return result("\"uri\":\"k.c\"", line,
                          QByteArray(",\"kind\":\"") + name + "\",\"level\":\"note\"");
        };
        Imported imported =
            importText("kinds.sarif", sarif(kind("pass", 1) + "," + kind("review", 2) + "," +
                                            kind("open", 3) + "," + kind("notApplicable", 4) + "," +
                                            kind("pass", 5) + "," + result("\"uri\":\"f.c\"", 6)));
        QVERIFY2(imported.ok(), qPrintable(imported.error.text() + imported.readError));
        QCOMPARE(totals(imported), QStringLiteral("2/1/3"));
        QCOMPARE(imported.nodes.at(0).section(QLatin1Char(' '), 0, 3),
                 QStringLiteral("1 File k.c ok"));
        QCOMPARE(imported.nodes.at(1), QStringLiteral("2 Rule R1 ok"));
        QCOMPARE(imported.nodes.at(3).section(QLatin1Char(' '), 0, 1) +
                     imported.nodes.at(3).right(3),
                 QStringLiteral("3 Finding NE"));
        QCOMPARE(imported.nodes.at(7).section(QLatin1Char(' '), 0, 3),
                 QStringLiteral("1 File f.c ko"));

        imported = importText("empty.sarif", sarif(QByteArray()));
        QVERIFY(imported.ok());
        QCOMPARE(imported.nodes, QStringList());
        QCOMPARE(totals(imported), QStringLiteral("0/0/-1"));
        QVERIFY(imported.markup.contains("No results."));

        imported = importText("none.sarif", "\xEF\xBB\xBF{\"version\":\"2.1.0\",\"runs\":[]}");
        QVERIFY(imported.ok());
        QCOMPARE(imported.nodes, QStringList());

        const QByteArray lint =
            sarif(result("\"uri\":\"a.c\"", 1) + "," + result("\"uri\":\"a.c\"", 2));
        const QByteArray twoRuns = lint.chopped(2) +
                                   ",{\"tool\":{\"driver\":{\"name\":\"scan\"}},\"results\":[" +
                                   result("\"uri\":\"b.c\"", 3, ",\"kind\":\"pass\"") + "]}]}";
        imported = importText("two.sarif", twoRuns);
        QVERIFY2(imported.ok(), qPrintable(imported.error.text() + imported.readError));
        QCOMPARE(totals(imported), QStringLiteral("1/2/-1"));
        const QString here = QLatin1Char(' ') + m_dir.path() + QLatin1Char('/');
        QCOMPARE(imported.nodes, (QStringList{
                                     QStringLiteral("1 Run lint 1.2 ko"),
                                     QStringLiteral("2 File a.c ko") + here,
                                     QStringLiteral("3 Rule R1 ko"),
                                     QStringLiteral("4 Finding line 1: goto used ko"),
                                     QStringLiteral("4 Finding line 2: goto used ko"),
                                     QStringLiteral("1 Run scan ok"),
                                     QStringLiteral("2 File b.c ok") + here,
                                     QStringLiteral("3 Rule R1 ok"),
                                     QStringLiteral("4 Finding line 3: goto used ok"),
                                 }));
        QCOMPARE(imported.markup.count("<DOCUMENT "), 1);
        QVERIFY(imported.markup.contains("<TITLE style=\"Title1 Failed\">lint 1.2</TITLE>"));
        QVERIFY(imported.markup.contains("<TITLE style=\"Title2 Passed\">b.c</TITLE>"));
        const Run run = crcview({QStringLiteral("summary"), path("two.sarif")});
        QCOMPARE(run.status, 0);
        QCOMPARE(run.out, QStringLiteral("\t[1] Test Case Passed\n\t[2] Test Case Failed\n"));
    }

    // Messages from the rule's strings with their arguments; text that is markup, or that XML
    // cannot hold, reaches the viewer as the text it was.
    void sarifMessages()
    {
        Imported imported = importText(
            "messages.sarif",
            sarif("{\"ruleIndex\":0,\"message\":{\"id\":\"m\",\"arguments\":[\"goto\",\"3\"]}},"
                  "{\"ruleId\":\"R1\",\"message\":{\"text\":\"a <b> & \\\"c\\\"\\u0001 d\"}},"
                  "{\"ruleId\":\"R1\",\"message\":{\"text\":\"x\\uffff\\ufffe\\ufffdy\"}}"));
        QVERIFY2(imported.ok(), qPrintable(imported.error.text() + imported.readError));
        QVERIFY(imported.markup.contains("warning: goto is used 3 times"));
        QVERIFY(imported.markup.contains("a &lt;b&gt; &amp; \"c\"? d"));
        QVERIFY(imported.nodes.at(2).contains(QLatin1String("goto is used 3 times")));
        QVERIFY(imported.nodes.at(3).contains(QLatin1String("a <b> & \"c\"? d")));
        QVERIFY(imported.markup.contains("x??\xEF\xBF\xBDy"));
    }

    // Surrogate escapes without their other half name no character: each reads as U+FFFD, in
    // texts and names alike, and a pair still reads as its one character. A captured output
    // cut at its size limit ends before a character that would not fit whole.
    void invalidCharactersReadAsReplacements()
    {
        Imported imported = importText(
            "surrogates.sarif",
            sarif("{\"ruleId\":\"R1\",\"message\":{\"text\":\"a\\udc00b \\uD800 c "
                  "\\ud800\\u0041 d \\ud83d\\ude00 e \\\\udc00 f\\ud800\"},\"locations\":[{"
                  "\"physicalLocation\":{\"artifactLocation\":{\"uri\":\"x\\udfff.c\"}}}]}"));
        QVERIFY2(imported.ok(), qPrintable(imported.error.text() + imported.readError));
        QVERIFY2(imported.markup.contains("a\xEF\xBF\xBD"
                                          "b \xEF\xBF\xBD c \xEF\xBF\xBD"
                                          "A d "
                                          "\xF0\x9F\x98\x80 e \\udc00 f\xEF\xBF\xBD"),
                 imported.markup.constData());
        QCOMPARE(imported.nodes.first().section(QLatin1Char(' '), 0, 2),
                 QStringLiteral("1 File x\uFFFD.c"));
        Run run =
            crcview({QStringLiteral("dump"), QStringLiteral("--count"), path("surrogates.sarif")});
        QCOMPARE(run.status, 0);
        QVERIFY(run.err.isEmpty());

        imported = importText("cut.xml", "<testsuite name='t'><testcase name='c'><system-out>" +
                                             QByteArray(CappedText::MaxBytes - 1, 'a') +
                                             "\xC3\xA9\xC3\xA9</system-out></testcase>"
                                             "</testsuite>");
        QVERIFY2(imported.ok(), qPrintable(imported.error.text() + imported.readError));
        QVERIFY(imported.markup.contains("aaaa</PARAGRAPH>"));
        QVERIFY(imported.markup.contains("(cut here: 1 more lines in cut.xml)"));
    }

    // A rule's message string is shared by every result that names it, each filling it with
    // its own arguments, and its description is written under every file with results of it:
    // each such text is kept as captured output is, with a note where it was cut.
    void messagesFilledWithinBounds()
    {
        const QByteArray placeholders = QByteArray("{0}").repeated(2000);
        const QByteArray argument(1000, 'x');
        QByteArray results;
        for (int i = 0; i < 50; ++i)
            results += QByteArray(i ? "," : "") +
                       "{\"ruleIndex\":0,\"message\":{\"id\":\"big\","
                       "\"arguments\":[\"" +
                       argument + "\"]}}";
        QByteArray log = sarif(results);
        log.replace("\"{0} is used {1} times\"}", "\"{0} is used {1} times\"},\"big\":{\"text\":"
                                                  "\"" +
                                                      placeholders + "\"}");
        Imported imported = importText("bomb.sarif", log);
        QVERIFY2(imported.ok(), qPrintable(imported.error.text() + imported.readError));
        QCOMPARE(totals(imported), QStringLiteral("0/50/-1"));
        QCOMPARE(imported.markup.count("(cut here: the rest is in bomb.sarif)"), 50);
        QVERIFY2(imported.markup.size() < 50 * 2 * CappedText::MaxBytes,
                 qPrintable(QString::number(imported.markup.size())));

        // So are the texts of a rule, written under each file with results of it.
        QByteArray spread;
        for (int i = 0; i < 50; ++i)
            spread += QByteArray(i ? "," : "") +
                      result("\"uri\":\"f" + QByteArray::number(i) + ".c\"", 1);
        QByteArray described = sarif(spread);
        described.replace("\"No goto\"", "\"" + QByteArray(40000, 'z') + "\"");
        imported = importText("rule.sarif", described);
        QVERIFY2(imported.ok(), qPrintable(imported.error.text() + imported.readError));
        QCOMPARE(imported.markup.count("(cut here: the rest is in rule.sarif)"), 50);
        QVERIFY2(imported.markup.size() < 50 * 2 * CappedText::MaxBytes,
                 qPrintable(QString::number(imported.markup.size())));

        // A message of its own that is longer than the limit is cut the same way.
        imported = importText(
            "long.sarif",
            sarif(result("\"uri\":\"a.c\"", 1).replace("goto used", QByteArray(40000, 'y'))));
        QVERIFY2(imported.ok(), qPrintable(imported.error.text() + imported.readError));
        QVERIFY(imported.markup.contains("(cut here: the rest is in long.sarif)"));
        QVERIFY(!imported.markup.contains(QByteArray(CappedText::MaxBytes + 1, 'y')));
    }

    // Broken logs: the error names the file and where (line and column, or the JSON path), no
    // output is left behind and an older output stays as it was. Nesting far deeper than any
    // log is read without running out of stack.
    void badSarif()
    {
        struct Case
        {
            const char* contents;
            int line;
            int column;
            const char* message;
        };
        const Case cases[] = {
            {"{\"runs\": [\n  {\"results\": [}\n]}", 2, 16, "Invalid value"},
            {"{\"version\":\"2.1.0\",\"runs\":{}}", 0, 0, "$.runs: an array of runs"},
            {"{\"runs\":[{\"results\":[{},3]}]}", 0, 0, "$.runs[0].results[1]: a result"},
            {"{\"runs\":[{},{\"results\":{}}]}", 0, 0, "$.runs[1].results: an array"},
            {"{\"runs\":[{\"results\":[{\"locations\":7}]}]}", 0, 0,
             "$.runs[0].results[0].locations"},
            {"{\"version\":\"1.0.0\",\"runs\":[]}", 0, 0, "SARIF 1.0.0 cannot be read"},
            {"[]", 0, 0, "$: a SARIF log"},
            {"", 1, 1, "The document is empty"},
            {"\xEF\xBB\xBF\n {", 2, 3, "Missing a name"},
            {"{\"runs\":[{\"results\":[{\"message\":{\"text\":\"\xff\"}}]}]}", 1, 42,
             "Invalid encoding"},
        };
        const QByteArray older = "older output\n";
        for (const Case& c : cases) {
            QVERIFY(writeFile(path("bad.sarif"), c.contents));
            QVERIFY(writeFile(path("kept.crc"), older));
            ImportError error;
            QVERIFY2(!importResults(path("bad.sarif"), path("kept.crc"), &error), c.contents);
            QVERIFY2(error.message.contains(QLatin1String(c.message)), qPrintable(error.text()));
            QCOMPARE(error.file, path("bad.sarif"));
            QCOMPARE(error.line, c.line);
            QCOMPARE(error.column, c.column);
            QCOMPARE(readFile(path("kept.crc")), older);
        }
        QCOMPARE(
            QDir(m_dir.path()).entryList({QStringLiteral(".*kept*")}, QDir::Hidden | QDir::Files),
            QStringList());

        const QByteArray deep =
            "{\"runs\":[{\"results\":[{\"properties\":{\"x\":" + QByteArray(100000, '[') +
            QByteArray(100000, ']') + "}}]}]}";
        Imported imported = importText("deep.sarif", deep);
        QVERIFY2(imported.ok(), qPrintable(imported.error.text() + imported.readError));
        QCOMPARE(totals(imported), QStringLiteral("0/1/-1"));

        QVERIFY(QDir(m_dir.path()).mkpath(QStringLiteral("folder.sarif")));
        ImportError error;
        QVERIFY(!importResults(path("folder.sarif"), path("x.crc"), &error));
        const QString notRegular =
            QStringLiteral(": cannot open the file: it is not a regular file");
        QCOMPARE(error.text(), path("folder.sarif") + notRegular);
        QVERIFY(!importResults(path("missing.sarif"), path("x.crc"), &error));
        QCOMPARE(error.text(),
                 path("missing.sarif") + QStringLiteral(": cannot open the file: No such file or "
                                                        "directory"));
        QVERIFY(!QFile::exists(path("x.crc")));
        QVERIFY(ImportCache::resultFileFor(path("folder.sarif"), &error).isNull());
        QCOMPARE(error.text(), path("folder.sarif") + notRegular);
    }

    // Sections are numbered through the whole output, and their titles escaped, whichever
    // importer opens them.
    void markupSections()
    {
        QASafeFile file(path("sections.crc"));
        QVERIFY(file.open());
        MarkupWriter out(&file);
        out.open("XROD");
        out.openSection("Title1 Failed", "a < b");
        out.openSection("Title2", "c");
        QVERIFY(out.finish() && file.commit());
        QCOMPARE(readFile(path("sections.crc")),
                 QByteArray("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<XROD>"
                            "<SECTION tag=\"s1\"><TITLE style=\"Title1 Failed\">a &lt; b</TITLE>\n"
                            "<SECTION tag=\"s2\"><TITLE style=\"Title2\">c</TITLE>\n"
                            "</SECTION>\n</SECTION>\n</XROD>\n"));
    }

    // A real run of this project's tests (ctest --output-junit, see data/import), and the
    // common dialects: Surefire's nested suites with errors and skips, pytest's file and line,
    // go-junit-report's bare suites. Suites take the verdict of what they hold. A report in a
    // one-byte character set it declares reads as the text it holds.
    void junitReports()
    {
        Imported ctest = import(data + QStringLiteral("/ctest-junit.xml"), path("ct.crc"));
        QVERIFY2(ctest.ok(), qPrintable(ctest.error.text() + ctest.readError));
        QCOMPARE(totals(ctest), QStringLiteral("3/0/-1"));
        QCOMPARE(ctest.nodes.first(),
                 QStringLiteral("1 Suite (empty) ok ") + data + QLatin1Char('/'));
        QCOMPARE(ctest.nodes.at(1), QStringLiteral("2 Test tst_qtree ok"));
        QVERIFY(ctest.markup.contains("PASS   : TestQTree::deepAndWideTreesDoNotRecurse()"));

        Imported imported = importText(
            "surefire.xml",
            "<?xml version='1.0'?>\n<testsuites name='all'>\n"
            " <testsuite name='outer' tests='4'><system-out>set up</system-out>\n"
            "  <testsuite name='inner'>\n"
            "   <testcase name='ok1' classname='a.B' time='0.5'/>\n"
            "   <testcase name='broke' classname='a.B'><error message='NPE' type='java.lang.NPE'>"
            "at a.B.broke(B.java:12)\nat a.B.main(B.java:3)</error></testcase>\n"
            "  </testsuite>\n"
            "  <testcase name='skip'><skipped message='not on Linux'/></testcase>\n"
            "  <testcase name='wrong' file='tests/test_x.py' line='17'>"
            "<failure message='assert 1 == 2'>E  assert 1 == 2</failure>"
            "<system-out>printed</system-out></testcase>\n"
            " </testsuite>\n"
            " <testsuite name='skips'><testcase name='s'><skipped/></testcase></testsuite>\n"
            " <testsuite name='go'><testcase classname='pkg' name='TestOk' time='0.00'/>"
            "<system-out>ok pkg</system-out></testsuite>\n"
            "</testsuites>\n");
        QVERIFY2(imported.ok(), qPrintable(imported.error.text() + imported.readError));
        const QString base = QLatin1Char(' ') + m_dir.path() + QLatin1Char('/');
        QCOMPARE(imported.nodes, (QStringList{
                                     QStringLiteral("1 Suite outer ko") + base,
                                     QStringLiteral("2 Suite inner ko") + base,
                                     QStringLiteral("3 Test ok1 ok"),
                                     QStringLiteral("3 Test broke ko"),
                                     QStringLiteral("2 Test skip NE"),
                                     QStringLiteral("2 Test wrong ko"),
                                     QStringLiteral("1 Suite skips NE") + base,
                                     QStringLiteral("2 Test s NE"),
                                     QStringLiteral("1 Suite go ok") + base,
                                     QStringLiteral("2 Test TestOk ok"),
                                 }));
        QCOMPARE(totals(imported), QStringLiteral("2/2/2"));
        QVERIFY(imported.markup.contains("title=\"all\""));
        QVERIFY(imported.markup.contains("Error: NPE (java.lang.NPE)"));
        QVERIFY(imported.markup.contains(">at a.B.main(B.java:3)</PARAGRAPH>"));
        QVERIFY(imported.markup.contains("Skipped: not on Linux"));
        QVERIFY(imported.markup.contains("<LINK target=\"tests/test_x.py line 17\""));
        QVERIFY(imported.markup.contains("Standard output</PARAGRAPH>"));
        QVERIFY(imported.markup.contains(">ok pkg</PARAGRAPH>"));
        QVERIFY(imported.markup.contains(">set up</PARAGRAPH>")); // before a nested suite

        for (const char* encoding : {"ISO-8859-1", "windows-1252"}) {
            imported =
                importText("latin.xml", QByteArray("<?xml version=\"1.0\" encoding=\"") + encoding +
                                            "\"?>\n<testsuite name='caf\xE9'>"
                                            "<testcase name='\xE9t\xE9'/></testsuite>\n");
            QVERIFY2(imported.ok(), qPrintable(imported.error.text() + imported.readError));
            QCOMPARE(imported.nodes.at(0).section(QLatin1Char(' '), 0, 3),
                     QStringLiteral("1 Suite caf\u00E9 ok"));
            QCOMPARE(imported.nodes.at(1), QStringLiteral("2 Test \u00E9t\u00E9 ok"));
        }
        imported =
            importText("euro.xml", "<?xml version='1.0' encoding='windows-1252'?>"
                                   "<testsuite name='\x80'><testcase name='c'/></testsuite>");
        QVERIFY2(imported.ok(), qPrintable(imported.error.text() + imported.readError));
        QCOMPARE(imported.nodes.at(0).section(QLatin1Char(' '), 0, 3),
                 QStringLiteral("1 Suite \u20AC ok"));
    }

    // Long captured output is cut with a note of how much was left out; 10,000 cases and
    // suites nested 10,000 deep read without trouble.
    void largeJUnitReports()
    {
        QByteArray output;
        for (int i = 0; i < 5000; ++i)
            output += "line " + QByteArray::number(i) + "\n";
        Imported imported =
            importText("long.xml", "<testsuite name='t'><testcase name='c'><system-out>" + output +
                                       "</system-out></testcase></testsuite>");
        QVERIFY2(imported.ok(), qPrintable(imported.error.text() + imported.readError));
        QVERIFY(imported.markup.contains(">line 199</PARAGRAPH>"));
        QVERIFY(!imported.markup.contains(">line 200</PARAGRAPH>"));
        QVERIFY(imported.markup.contains("(cut here: 4800 more lines in long.xml)"));

        QByteArray many = "<testsuites><testsuite name='many'>";
        for (int i = 0; i < 10000; ++i) {
            many += "<testcase name='case" + QByteArray::number(i) + "'>";
            if (i % 10 == 0)
                many += "<failure message='no'/>";
            else if (i % 10 == 1)
                many += "<skipped/>";
            many += "</testcase>";
        }
        many += "</testsuite></testsuites>";
        imported = importText("many.xml", many);
        QVERIFY2(imported.ok(), qPrintable(imported.error.text() + imported.readError));
        QCOMPARE(totals(imported), QStringLiteral("8000/1000/1000"));
        QCOMPARE(imported.nodes.size(), 10001);

        const int depth = 10000;
        QByteArray nested;
        for (int i = 0; i < depth; ++i)
            nested += "<testsuite name='n'>";
        nested += "<testcase name='deepest'><failure/></testcase>";
        for (int i = 0; i < depth; ++i)
            nested += "</testsuite>";
        imported = importText("nested.xml", nested);
        QVERIFY2(imported.ok(), qPrintable(imported.error.text() + imported.readError));
        QCOMPARE(imported.nodes.size(), depth + 1);
        QVERIFY(imported.nodes.first().startsWith(QLatin1String("1 Suite n ko")));
        QCOMPARE(imported.nodes.last(), QStringLiteral("%1 Test deepest ko").arg(depth + 1));
    }

    // Suites and cases written inside a case's output (well-formed markup there) are text of
    // that output: they count for nothing, and the result file ends where its root ends.
    void junitMarkupInsideOutput()
    {
        Imported imported = importText(
            "inside.xml",
            "<testsuites><testsuite name='outer'><testcase name='c'><system-out>before\n"
            "<testsuite name='fake'><testcase name='x'><failure/></testcase></testsuite>\n"
            "after</system-out><system-err><testcase name='y'/></system-err></testcase>"
            "<testcase name='d'><testsuite name='odd'/></testcase></testsuite>"
            "<testsuite name='next'><testcase name='e'><failure>"
            "<testsuite><testcase/></testsuite>real</failure></testcase></testsuite>"
            "</testsuites>");
        QVERIFY2(imported.ok(), qPrintable(imported.error.text() + imported.readError));
        const QString base = QLatin1Char(' ') + m_dir.path() + QLatin1Char('/');
        QCOMPARE(imported.nodes, (QStringList{
                                     QStringLiteral("1 Suite outer ok") + base,
                                     QStringLiteral("2 Test c ok"),
                                     QStringLiteral("2 Test d ok"),
                                     QStringLiteral("1 Suite next ko") + base,
                                     QStringLiteral("2 Test e ko"),
                                 }));
        QCOMPARE(totals(imported), QStringLiteral("2/1/-1"));
        QVERIFY(imported.markup.endsWith("</XROD>\n"));
        QCOMPARE(imported.markup.count("</XROD>"), 1);
        QVERIFY(imported.markup.contains(">before</PARAGRAPH>"));
        QVERIFY(imported.markup.contains(">after</PARAGRAPH>"));
        QVERIFY(imported.markup.contains(">real</PARAGRAPH>"));
    }

    // Reports that are not JUnit XML, or not XML at all, are refused with file, line, column.
    void badJUnit()
    {
        ImportError error;
        QVERIFY(writeFile(path("bad.xml"), "<testsuite>\n <testcase name='a'>\n</testsuite>"));
        QVERIFY(!importResults(path("bad.xml"), path("bad.crc"), &error));
        QCOMPARE(error.text(), path("bad.xml") + QStringLiteral(":3:3: mismatched tag"));

        QVERIFY(writeFile(path("other.xml"), "<?xml version='1.0'?>\n<project/>"));
        QVERIFY(!importResults(path("other.xml"), path("bad.crc"), &error));
        QCOMPARE(error.line, 2);
        QVERIFY2(error.message.contains(QLatin1String("root element is <project>")),
                 qPrintable(error.text()));
        QVERIFY(!QFile::exists(path("bad.crc")));
    }

    // Progress runs from the start to the end of the work, never backwards.
    void progressIsReported()
    {
        for (const char* name : {"/flawfinder.sarif", "/ctest-junit.xml"}) {
            QList<int> steps;
            ImportError error;
            QVERIFY(importResults(data + QLatin1String(name), path("progress.crc"), &error,
                                  [&](int permille) { steps.append(permille); }));
            QVERIFY2(steps.size() >= 3, name);
            QCOMPARE(steps.first(), 0);
            QCOMPARE(steps.last(), ImportSteps);
            QVERIFY(std::is_sorted(steps.begin(), steps.end()));
        }
    }

    // The cache: the same original gives the same result file, named as the original, in the
    // cache folder and never beside the original; a changed original is converted again.
    void cacheFollowsTheOriginal()
    {
        const QString original = path("run.sarif");
        QVERIFY(writeFile(original, sarif(result("\"uri\":\"a.c\"", 1))));
        ImportError error;
        const QString first = ImportCache::resultFileFor(original, &error);
        QVERIFY2(!first.isNull(), qPrintable(error.text()));
        QVERIFY(first.startsWith(m_dir.filePath(QStringLiteral("cache/"))));
        QCOMPARE(QFileInfo(first).fileName(), QStringLiteral("run.sarif"));
        QCOMPARE(ImportCache::originalOf(first), original);
        QCOMPARE(ImportCache::resultFileFor(original, &error), first);

        QVERIFY(writeFile(
            original, sarif(result("\"uri\":\"a.c\"", 1) + "," + result("\"uri\":\"b.c\"", 2))));
        // Read again, the result file handed out before shows the new results.
        ReportLoadError readError;
        QCOMPARE(loadReport(first, {}, nullptr, &readError)->failed, 1);
        QVERIFY(ImportCache::refreshChanged().isEmpty());
        QCOMPARE(loadReport(first, {}, nullptr, &readError)->failed, 2);
        const QString second = ImportCache::resultFileFor(original, &error);
        QVERIFY(!second.isNull() && second != first);
        QCOMPARE(loadReport(second, {}, nullptr, &readError)->failed, 2);
        QCOMPARE(QDir(m_dir.path()).entryList({QStringLiteral("run*")}, QDir::Files),
                 QStringList{QStringLiteral("run.sarif")});

        QVERIFY(writeFile(original, "{"));
        const QList<ImportError> refused = ImportCache::refreshChanged();
        QCOMPARE(refused.size(), 2); // both result files made from it
        QCOMPARE(refused.first().line, 1);
        QCOMPARE(loadReport(first, {}, nullptr, &readError)->failed, 2);
        QVERIFY(ImportCache::resultFileFor(original, &error).isNull());
        QCOMPARE(error.file, QDir::cleanPath(original));
        QCOMPARE(error.line, 1);
    }

    // Two processes share the cache: a conversion one of them uses is never removed by the
    // other, however the original changed since; the earlier ones no process uses still are.
    void cacheSharedBetweenProcesses()
    {
        const QString original = path("shared.sarif");
        QVERIFY(writeFile(original, sarif(result("\"uri\":\"a.c\"", 1))));
        ImportError error;
        const QString shown = ImportCache::resultFileFor(original, &error);
        QVERIFY2(!shown.isNull(), qPrintable(error.text()));

        QByteArray results = result("\"uri\":\"a.c\"", 1);
        QStringList converted;
        for (int run = 2; run <= 3; ++run) {
            results += "," + result("\"uri\":\"b.c\"", run);
            QVERIFY(writeFile(original, sarif(results)));
            const QString other = runChild({QStringLiteral("--convert"), original}).trimmed();
            QVERIFY2(other.startsWith(m_dir.filePath(QStringLiteral("cache/"))), qPrintable(other));
            QVERIFY(other != shown);
            converted.append(other);
        }
        // The other process ended: its first conversion is gone, its last one kept.
        QVERIFY(!QFile::exists(converted.first()));
        QVERIFY(QFile::exists(converted.last()));
        QVERIFY(QFile::exists(shown));
        ReportLoadError readError;
        const std::unique_ptr<QAReporterData> record = loadReport(shown, {}, nullptr, &readError);
        QVERIFY2(record, qPrintable(readError.message));
        QCOMPARE(record->failed, 1);
    }

    // crcview takes analyzer and test results wherever it takes result files: the summary
    // counts the findings and tests, the export names the original and links each finding to
    // its source line, convert writes the markup. Nothing is written beside the inputs.
    void commandLine()
    {
        const QString ff = data + QStringLiteral("/flawfinder.sarif");
        const QString junit = data + QStringLiteral("/ctest-junit.xml");
        Run run = crcview({QStringLiteral("summary"), ff});
        QCOMPARE(run.status, 0);
        QCOMPARE(run.out, QStringLiteral("\t[0] Test Case Passed\n\t[7] Test Case Failed\n"));
        run = crcview({QStringLiteral("summary"), QStringLiteral("--check"), ff, junit});
        QCOMPARE(run.status, 1);
        QCOMPARE(run.out, QStringLiteral("\t[3] Test Case Passed\n\t[7] Test Case Failed\n"));
        QCOMPARE(crcview({QStringLiteral("summary"), QStringLiteral("--check"), junit}).status, 0);

        run = crcview({QStringLiteral("dump"), QStringLiteral("--count"),
                       QStringLiteral("--failed"), data + QStringLiteral("/clang-analyzer.sarif")});
        QCOMPARE(run.status, 0);
        QCOMPARE(run.out, QStringLiteral("nodes: 5\ntotals: passed=0 failed=2 inconclusive=-1\n"));

        const QString pages = path("pages");
        run = crcview({QStringLiteral("export"), pages, ff});
        QCOMPARE(run.status, 0);
        const QByteArray index = readFile(pages + QStringLiteral("/index.html"));
        QVERIFY(index.contains(">flawfinder.sarif</a>"));
        const QString report = QString::fromUtf8(readFile(pages + QStringLiteral("/run1.html")));
        static const QRegularExpression href(QStringLiteral("href=\"([^\"]*src/tmp\\.c)\""));
        const QRegularExpressionMatch link = href.match(report);
        QVERIFY2(link.hasMatch(), qPrintable(report.left(2000)));
        QCOMPARE(QFileInfo(QDir(pages).filePath(link.captured(1))).canonicalFilePath(),
                 data + QStringLiteral("/src/tmp.c"));

        const QString converted = path("converted.crc");
        run = crcview({QStringLiteral("convert"), ff, QStringLiteral("-o"), converted});
        QCOMPARE(run.status, 0);
        run = crcview({QStringLiteral("dump"), QStringLiteral("--count"), converted});
        QCOMPARE(run.out, QStringLiteral("nodes: 16\ntotals: passed=0 failed=7 inconclusive=-1\n"));
        run = crcview({QStringLiteral("convert"), junit});
        QCOMPARE(run.status, 0);
        QVERIFY(run.out.startsWith(QLatin1String("<?xml")));
        QVERIFY(run.out.contains(QLatin1String("<XROD:NODE name=\"tst_folio\" type=\"Test\"")));
        // Written to standard output, a conversion needs no cache: here none can be made.
        const QByteArray cacheHome = qgetenv("XDG_CACHE_HOME");
        const QString blocked = path("not-a-folder");
        QVERIFY(writeFile(blocked, "a file where the cache would go"));
        qputenv("XDG_CACHE_HOME", QFile::encodeName(blocked));
        run = crcview({QStringLiteral("convert"), ff});
        qputenv("XDG_CACHE_HOME", cacheHome);
        QCOMPARE(run.status, 0);
        QVERIFY(run.out.contains(QLatin1String("title=\"Flawfinder 2.0.19\"")));
        QVERIFY(run.err.isEmpty());

        // Each run of a tool leaves one conversion in the cache, not one more per run.
        const QString rerun = path("rerun.sarif");
        QByteArray results = result("\"uri\":\"a.c\"", 1);
        for (int count = 1; count <= 3; ++count) {
            QVERIFY(writeFile(rerun, sarif(results)));
            run = crcview({QStringLiteral("summary"), rerun});
            QCOMPARE(
                run.out,
                QStringLiteral("\t[0] Test Case Passed\n\t[%1] Test Case Failed\n").arg(count));
            results += "," + result("\"uri\":\"a.c\"", count + 1);
        }
        QDirIterator kept(m_dir.filePath(QStringLiteral("cache/crcview/imports")),
                          {QStringLiteral("rerun.sarif")}, QDir::Files,
                          QDirIterator::Subdirectories);
        QVERIFY(kept.hasNext());
        kept.next();
        QVERIFY(!kept.hasNext());

        // Refusals: the input as output, a broken input (among good ones), a bad command line.
        const QString input = path("in.sarif");
        QVERIFY(writeFile(input, "{\"runs\": 3}"));
        run = crcview({QStringLiteral("convert"), input, QStringLiteral("-o"), input});
        QCOMPARE(run.status, 64);
        QCOMPARE(readFile(input), QByteArray("{\"runs\": 3}"));
        run = crcview({QStringLiteral("dump"), input});
        QCOMPARE(run.status, 2);
        QCOMPARE(run.err, input + QStringLiteral(": $.runs: an array of runs was expected\n"));
        run = crcview({QStringLiteral("summary"), junit, input});
        QCOMPARE(run.status, 2);
        QCOMPARE(run.out, QStringLiteral("\t[3] Test Case Passed\n\t[0] Test Case Failed\n"));
        QVERIFY(run.err.startsWith(input + QStringLiteral(": $.runs")));
        // A result file the reader refuses is named by its original, not by its cache copy.
        const QString broken = path("broken.sarif");
        QVERIFY(writeFile(broken, sarif(result("\"uri\":\"a.c\"", 1))));
        QCOMPARE(crcview({QStringLiteral("dump"), QStringLiteral("--count"), broken}).status, 0);
        QDirIterator cached(m_dir.filePath(QStringLiteral("cache/crcview/imports")),
                            {QStringLiteral("broken.sarif")}, QDir::Files,
                            QDirIterator::Subdirectories);
        QVERIFY(cached.hasNext());
        QVERIFY(writeFile(cached.next(), "<XROD>\n<DOCUMENT>"));
        run = crcview({QStringLiteral("dump"), broken});
        QCOMPARE(run.status, 2);
        // The place is one of the conversion, and said to be.
        QVERIFY2(run.err.startsWith(broken + QStringLiteral(" (line 2, column ")),
                 qPrintable(run.err));
        QVERIFY2(run.err.contains(QLatin1String("of the result file converted from it): ")),
                 qPrintable(run.err));
        for (const QStringList& arguments :
             {QStringList{QStringLiteral("summary"), broken},
              QStringList{QStringLiteral("export"), path("brokenpages"), broken}}) {
            run = crcview(arguments);
            QCOMPARE(run.status, 2);
            QVERIFY2(run.err.contains(broken), qPrintable(run.err));
            QVERIFY2(!run.err.contains(QLatin1String("/imports/")), qPrintable(run.err));
        }

        QCOMPARE(crcview({QStringLiteral("convert")}).status, 64);
        QCOMPARE(crcview({QStringLiteral("convert"), ff, QStringLiteral("extra")}).status, 64);

        QStringList beside;
        for (QDirIterator it(data, QDir::Files | QDir::Hidden, QDirIterator::Subdirectories);
             it.hasNext();)
            beside.append(QFileInfo(it.next()).fileName());
        beside.sort();
        QCOMPARE(beside, (QStringList{"README.md", "clang-analyzer.sarif", "clean.c", "copy.c",
                                      "ctest-junit.xml", "flawfinder.sarif", "leak.c", "tmp.c"}));
    }
};

// The other process of cacheSharedBetweenProcesses: converts `original` through the same cache
// and prints the result file.
int convertInChild(const QString& original)
{
    ImportError error;
    const QString converted = ImportCache::resultFileFor(original, &error);
    std::fputs(qPrintable((converted.isNull() ? error.text() : converted) + QLatin1Char('\n')),
               stdout);
    return 0;
}

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    if (argc == 3 && qstrcmp(argv[1], "--convert") == 0)
        return convertInChild(QString::fromLocal8Bit(argv[2]));
    TestImport test;
    return QTest::qExec(&test, argc, argv);
}
#include "tst_import.moc"
