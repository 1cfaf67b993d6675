// Analyzer and test results turned into result files: real tool outputs, the corners of SARIF
// and JUnit XML, bad input, and the cache the viewer reads them from.

#include "folio/model/ddocument.h"
#include "folio/reader/damlhandler.h"
#include "folio/reader/damlreader.h"
#include "import/cappedtext.h"
#include "import/importcache.h"
#include "import/markupwriter.h"
#include "import/resultimport.h"
#include "model/qareporterdata.h"
#include "model/qareporterdatatree.h"
#include "reader/reportloader.h"
#include "sdk/qasafefile.h"
#include "tests/testkit.h"

#include <QCoreApplication>
#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>
#include <algorithm>
#include <cstdio>
#include <vector>

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
    QStringList keys;  // the key of each node, in the same order
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
        imported.keys.append(node->key);
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

// A result of rule R1 at `line` of `uri`, with `snippet` when not null.
QByteArray finding(const QByteArray& uri, int line, const QByteArray& snippet,
                   const QByteArray& message, const QByteArray& extra = QByteArray())
{
    const QByteArray code =
        snippet.isNull() ? QByteArray() : ",\"snippet\":{\"text\":\"" + snippet + "\"}";
    return "{\"ruleId\":\"R1\",\"message\":{\"text\":\"" + message +
           "\"},\"locations\":[{\"physicalLocation\":{\"artifactLocation\":{\"uri\":\"" + uri +
           "\"},\"region\":{\"startLine\":" + QByteArray::number(line) + code + "}}}]" + extra +
           "}";
}

// The keys of the nodes of `type`, in reading order.
QStringList keysOf(const Imported& imported, const QString& type)
{
    QStringList keys;
    for (qsizetype i = 0; i < imported.nodes.size(); ++i) {
        if (imported.nodes.at(i).section(QLatin1Char(' '), 1, 1) == type)
            keys.append(imported.keys.at(i));
    }
    return keys;
}

// The shipped display styles, as the viewer reads them.
DStyleList shippedStyles()
{
    QFile file(data + QStringLiteral("/../../../data/lib/reporterstyle.aml"));
    DAmlHandler handler;
    handler.setEnabledLocalStyle(true);
    DAmlReader reader(&handler);
    if (!file.open(QIODevice::ReadOnly) || !reader.parse(&file))
        return {};
    return handler.localStyles();
}

// The first paragraph of `document` in the style `style` whose text holds `text`.
DItem* paragraphWith(DDocument* document, const QString& style, const QString& text)
{
    std::vector<DItem*> open{document};
    while (!open.empty()) {
        DItem* item = open.back();
        open.pop_back();
        if (item->type() == DItem::Paragraph && item->style() && item->style()->name() == style) {
            const DItemContainer* paragraph = item->asContainer();
            for (const DItem* child = paragraph->firstChild(); child; child = child->next()) {
                if (const DText* piece = dcast<DText>(child); piece && piece->text().contains(text))
                    return item;
            }
        }
        if (const DItemContainer* container = item->asContainer()) {
            for (DItem* child = container->firstChild(); child; child = child->next())
                open.push_back(child);
        }
    }
    return nullptr;
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
        // A rule's help page is a link.
        QVERIFY(flawfinder.markup.contains(
            "Help: <LINK target=\"https://cwe.mitre.org/data/definitions/120.html\""));
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

    // What identifies a finding from one run to the next, kept as its node's key and read back
    // with the node: without fingerprints, a hash of the rule, the file and the code (or else
    // the message) without white space and the numbers of lines and columns. A finding that only
    // moved keeps its key, one in a renamed file or with another message gets another, and equal
    // findings of a run are numbered in the order they come.
    void sarifIdentity()
    {
        const QByteArray base =
            finding("a.c", 3, "  p = gets(buf);", "gets used") + "," +
            finding("a.c", 9, QByteArray(), "x declared at line 2, column 5 is never used") + "," +
            finding("a.c", 12, "free(p);", "freed twice") + "," +
            finding("a.c", 20, "free(p);", "freed twice");
        const QByteArray head =
            finding("a.c", 30, "p =  gets( buf );\\n", "gets used") + "," +
            finding("a.c", 41, QByteArray(), "x declared at line 33, column 9 is never used") +
            "," + finding("a.c", 50, "free(p);", "freed twice") + "," +
            finding("a.c", 60, "free(p);", "freed twice") + "," +
            finding("b.c", 3, "  p = gets(buf);", "gets used") + "," +
            finding("a.c", 9, QByteArray(), "y declared at line 2, column 5 is never used");
        const Imported before = importText("base.sarif", sarif(base));
        QVERIFY2(before.ok(), qPrintable(before.error.text() + before.readError));
        const Imported after = importText("head.sarif", sarif(head));
        QVERIFY2(after.ok(), qPrintable(after.error.text() + after.readError));
        // Shown by file, then rule, in the order of the log.
        const QStringList was = keysOf(before, QStringLiteral("Finding"));
        const QStringList is = keysOf(after, QStringLiteral("Finding"));
        QCOMPARE(was.size(), 4);
        QCOMPARE(is.size(), 6);
        for (const QString& key : was + is)
            QVERIFY2(QRegularExpression(QStringLiteral("^hash:[0-9a-f]{40}(#[0-9]+)?$"))
                         .match(key)
                         .hasMatch(),
                     qPrintable(key));
        QCOMPARE(is.mid(0, 4), was);                           // moved, reindented, renumbered
        QCOMPARE(was.at(3), was.at(2) + QStringLiteral("#2")); // the same code twice
        QCOMPARE(is.at(4).size(), was.at(0).size());
        QVERIFY(is.at(4) != was.at(0)); // renamed file: b.c is shown after a.c
        QVERIFY(is.at(5) != was.at(1)); // another variable
        QCOMPARE(before.nodes.filter(QStringLiteral(" Finding ")).size(), 4);

        // Fingerprints come first, the first by name of several, then the partial ones, all of
        // them by name; a long one is given by its hash. The kinds never meet.
        const QByteArray printed =
            finding("a.c", 1, "same();", "m",
                    ",\"fingerprints\":{\"b/v1\":\"two\",\"a/v1\":\"one\"},"
                    "\"partialFingerprints\":{\"primaryLocationLineHash\":\"abc:1\"}") +
            "," +
            finding("a.c", 2, "same();", "m",
                    ",\"partialFingerprints\":{\"primaryLocationLineHash\":\"abc:1\","
                    "\"other/v2\":\"q\"}") +
            "," + finding("a.c", 3, "same();", "m", ",\"fingerprints\":{\"a/v1\":\"one\"}") + "," +
            finding("a.c", 4, "same();", "m",
                    ",\"fingerprints\":{\"long\":\"" + QByteArray(300, 'f') + "\"}") +
            "," + finding("a.c", 5, "same();", "m", ",\"fingerprints\":{\"empty\":\"\"}");
        const Imported prints = importText("prints.sarif", sarif(printed));
        QVERIFY2(prints.ok(), qPrintable(prints.error.text() + prints.readError));
        const QStringList keys = keysOf(prints, QStringLiteral("Finding"));
        QCOMPARE(keys.size(), 5);
        QCOMPARE(keys.at(0), QStringLiteral("fp:a/v1=one"));
        QCOMPARE(keys.at(1), QStringLiteral("pfp:other/v2=q;primaryLocationLineHash=abc:1"));
        QCOMPARE(keys.at(2), QStringLiteral("fp:a/v1=one#2"));
        QVERIFY2(
            QRegularExpression(QStringLiteral("^fp#[0-9a-f]{40}$")).match(keys.at(3)).hasMatch(),
            qPrintable(keys.at(3)));
        QVERIFY2(keys.at(4).startsWith(QLatin1String("hash:")), qPrintable(keys.at(4)));
        QVERIFY(prints.markup.contains("key=\"fp:a/v1=one\""));

        // flawfinder gives each finding a fingerprint of its own.
        const Imported flawfinder =
            import(data + QStringLiteral("/flawfinder.sarif"), path("ffkeys.crc"));
        QVERIFY(flawfinder.ok());
        const QStringList flawKeys = keysOf(flawfinder, QStringLiteral("Finding"));
        QCOMPARE(flawKeys.size(), 7);
        QCOMPARE(QSet<QString>(flawKeys.begin(), flawKeys.end()).size(), 7);
        for (const QString& key : flawKeys)
            QVERIFY2(key.startsWith(QLatin1String("fp:contextHash/v1=")), qPrintable(key));
    }

    // Each finding carries its level as SARIF defaults it (its own, "none" for a result that is
    // not a failure, its rule's, else "warning") and its rule, for the display and the gates.
    void sarifLevelsAndRules()
    {
        QByteArray log = sarif(result("\"uri\":\"a.c\"", 1, ",\"level\":\"error\"") + "," +
                               result("\"uri\":\"a.c\"", 2) + "," +
                               result("\"uri\":\"a.c\"", 3, ",\"kind\":\"pass\"") + "," +
                               result("\"uri\":\"a.c\"", 4, ",\"level\":\"loud\"") + "," +
                               result("\"uri\":\"a.c\"", 5).replace("\"R1\"", "\"R2\"") + "," +
                               "{\"message\":{\"text\":\"no rule\"},\"level\":\"none\"}");
        log.replace("\"helpUri\"", "\"defaultConfiguration\":{\"level\":\"note\"},\"helpUri\"");
        const Imported imported = importText("levels.sarif", log);
        QVERIFY2(imported.ok(), qPrintable(imported.error.text() + imported.readError));
        QStringList found;
        static const QRegularExpression finding(
            QStringLiteral("type=\"Finding\"[^>]* level=\"([a-z]+)\"( rule=\"([^\"]*)\")?>"));
        for (auto match = finding.globalMatch(QString::fromUtf8(imported.markup));
             match.hasNext();) {
            const QRegularExpressionMatch next = match.next();
            found.append(next.captured(1) + QLatin1Char(' ') + next.captured(3));
        }
        QCOMPARE(found,
                 (QStringList{"error R1", "note R1", "none R1", "note R1", "warning R2", "none "}));
        QVERIFY(imported.markup.contains(">note: goto used</PARAGRAPH>"));
    }

    // A log of several runs: each run is titled by its own tool, and a run is passed unless a
    // result of it failed, a clean one too. clang's analyzer, one log per file merged into one
    // (see data/import), names itself in its version.
    void sarifRunsOfSeveralTools()
    {
        const Imported clang = import(data + QStringLiteral("/clang-merged.sarif"), path("cm.crc"));
        QVERIFY2(clang.ok(), qPrintable(clang.error.text() + clang.readError));
        const QStringList runs = clang.nodes.filter(QRegularExpression(QStringLiteral("^1 Run ")));
        QCOMPARE(runs.size(), 81);
        QCOMPARE(runs.filter(QStringLiteral("1 Run Debian clang version 14.0.6 ok")).size(), 74);
        QCOMPARE(runs.filter(QStringLiteral("1 Run Debian clang version 14.0.6 ko")).size(), 7);
        QCOMPARE(totals(clang), QStringLiteral("0/20/-1"));

        const QByteArray lint = sarif(result("\"uri\":\"a.c\"", 1));
        const QByteArray mixed = lint.chopped(2) +
                                 ",{\"tool\":{\"driver\":{\"name\":\"scan\",\"semanticVersion\":"
                                 "\"3.0\"}},\"results\":[]},{\"tool\":{\"driver\":{}}}]}";
        const Imported imported = importText("mixed.sarif", mixed);
        QVERIFY2(imported.ok(), qPrintable(imported.error.text() + imported.readError));
        QCOMPARE(imported.nodes.filter(QRegularExpression(QStringLiteral("^1 Run "))),
                 (QStringList{"1 Run lint 1.2 ko", "1 Run scan 3.0 ok", "1 Run Unnamed tool ok"}));
        QVERIFY(imported.markup.contains("<TITLE style=\"Title1 Passed\">scan 3.0</TITLE>"));
    }

    // pytest's report (see data/import): its 746 tests grouped by class under the suite, each
    // class with the verdict and counts of its tests, two tests of one name told apart by their
    // class and their key. pytest counts `line` from 0; the places in a trace count from 1 and
    // are links. A case of another tool with a Python file counts from 1. Equal cases of a
    // suite are numbered; a class whose cases are apart is a node per run of them.
    void junitGroupedByClass()
    {
        const Imported pytest =
            import(data + QStringLiteral("/pytest-pyflakes-xunit1.xml"), path("py.crc"));
        QVERIFY2(pytest.ok(), qPrintable(pytest.error.text() + pytest.readError));
        QCOMPARE(totals(pytest), QStringLiteral("723/5/18"));
        const QStringList tests =
            pytest.nodes.filter(QRegularExpression(QStringLiteral("^3 Test ")));
        QCOMPARE(tests.size(), 746);
        QCOMPARE(pytest.nodes.filter(QRegularExpression(QStringLiteral("^2 Class "))).size(), 27);
        QCOMPARE(pytest.nodes.size(), 1 + 27 + 746);
        QCOMPARE(pytest.nodes.at(1),
                 QStringLiteral("2 Class pyflakes.test.test_api.TestIterSourceCode ok"));
        QVERIFY(pytest.markup.contains("<PARAGRAPH style=\"Normal\">17 tests: 16 passed, 1 "
                                       "skipped.</PARAGRAPH>")); // CheckTests
        QVERIFY(pytest.nodes.contains(
            QStringLiteral("2 Class pyflakes.test.test_api.IntegrationTests ko")));
        QVERIFY(
            pytest.markup.contains("<PARAGRAPH style=\"Normal\">5 tests: 5 failed.</PARAGRAPH>"));
        const QStringList keys = keysOf(pytest, QStringLiteral("Test"));
        QCOMPARE(QSet<QString>(keys.begin(), keys.end()).size(), 746);
        QCOMPARE(tests.filter(QStringLiteral(" test_errors_io ")).size(), 2);
        QVERIFY(keys.contains(
            QStringLiteral("junit:pytest|pyflakes.test.test_api.IntegrationTests|test_errors_io")));
        QVERIFY(keys.contains(
            QStringLiteral("junit:pytest|pyflakes.test.test_api.TestMain|test_errors_io")));
        // test_emptyDirectory is at line="114": the line 115 of its file.
        QVERIFY(pytest.markup.contains("<LINK target=\"pyflakes/test/test_api.py line 115\" "
                                       "style=\"Link\">pyflakes/test/test_api.py line 115</LINK>"));
        QVERIFY(pytest.markup.contains("<LINK target=\"pyflakes/test/test_api.py line 772\">"
                                       "pyflakes/test/test_api.py:772</LINK>: AssertionError"));
        QVERIFY(pytest.markup.contains("<PARAGRAPH style=\"Code Failed\">AssertionError: Tuples "
                                       "differ: ('', \"/usr/bin/python3: can't open file "
                                       "'/tmp/[76 chars]\", 2) != ('', '/tmp/tmp1acrcscs/temp: "
                                       "No such file or directory\\n', 1)\n\nFirst differing "
                                       "element 1:\n"));

        Imported imported = importText(
            "cases.xml",
            "<testsuites><testsuite name='mine'>"
            "<testcase classname='pkg.test_a.TestX' name='t' file='pkg/test_a.py' line='0'/>"
            "<testcase classname='pkg.test_a.TestX' name='t' file='pkg/test_a.py' line='7'>"
            "<failure message='m'>Traceback (most recent call last):\n"
            "  File \"pkg/test_a.py\", line 9, in t\n    assert f()\n"
            "  File \"/usr/lib/python3/lib.py\", line 12, in f\nAssertionError at 12:30:45, "
            "see http://host:8080/x.c:5</failure>"
            "</testcase>"
            "<testcase classname='other' name='u' file='pkg/u.py' line='4'/>"
            "<testcase classname='pkg.test_a.TestX' name='t'/>"
            "</testsuite>"
            "<testsuite name='a'><testcase classname='b|c' name='d'/></testsuite>"
            "<testsuite name='a|b'><testcase classname='c' name='d'/></testsuite>"
            "</testsuites>");
        QVERIFY2(imported.ok(), qPrintable(imported.error.text() + imported.readError));
        const QString base = QLatin1Char(' ') + m_dir.path() + QLatin1Char('/');
        QCOMPARE(imported.nodes,
                 (QStringList{QStringLiteral("1 Suite mine ko") + base,
                              QStringLiteral("2 Class pkg.test_a.TestX ko"),
                              QStringLiteral("3 Test t ok"), QStringLiteral("3 Test t ko"),
                              QStringLiteral("2 Class other ok"), QStringLiteral("3 Test u ok"),
                              QStringLiteral("2 Class pkg.test_a.TestX ok"),
                              QStringLiteral("3 Test t ok"), QStringLiteral("1 Suite a ok") + base,
                              QStringLiteral("2 Class b|c ok"), QStringLiteral("3 Test d ok"),
                              QStringLiteral("1 Suite a|b ok") + base,
                              QStringLiteral("2 Class c ok"), QStringLiteral("3 Test d ok")}));
        QCOMPARE(keysOf(imported, QStringLiteral("Test")),
                 (QStringList{"junit:mine|pkg.test_a.TestX|t", "junit:mine|pkg.test_a.TestX|t#2",
                              "junit:mine|other|u", "junit:mine|pkg.test_a.TestX|t#3",
                              "junit:a|b\\|c|d", "junit:a\\|b|c|d"}));
        QVERIFY(imported.markup.contains("<LINK target=\"pkg/test_a.py line 1\""));
        QVERIFY(imported.markup.contains("<LINK target=\"pkg/test_a.py line 8\""));
        QVERIFY(imported.markup.contains("<LINK target=\"pkg/u.py line 4\""));
        QVERIFY(imported.markup.contains(", line 12</LINK>, in f\nAssertionError at 12:30:45, "
                                         "see http://host:8080/x.c:5</PARAGRAPH>"));
        QVERIFY(imported.markup.contains(
            "  File <LINK target=\"pkg/test_a.py line 9\">\"pkg/test_a.py\", line 9</LINK>, in "
            "t\n    assert f()\n  File <LINK target=\"/usr/lib/python3/lib.py line 12\">"));

        // jest writes one class for both cases of a suite that did not run, of one name.
        const Imported jest = import(data + QStringLiteral("/jest-junit.xml"), path("jest.crc"));
        QVERIFY2(jest.ok(), qPrintable(jest.error.text() + jest.readError));
        QCOMPARE(keysOf(jest, QStringLiteral("Test")).mid(0, 2),
                 (QStringList{"junit:gensync/test/index.test.js|Test suite failed to "
                              "run|gensync/test/index.test.js",
                              "junit:gensync/test/index.test.js|Test suite failed to "
                              "run|gensync/test/index.test.js#2"}));
        QCOMPARE(jest.nodes.filter(QStringLiteral(" Class ")).size(), 1);
    }

    // Code frames, stack traces and snippets keep their lines and spaces: the converted file
    // marks them preformatted (the document view lays such text out line by line, see tst_view),
    // and the exported page keeps them (pre-wrap, monospace).
    void preformattedText()
    {
        const QString jest = data + QStringLiteral("/jest-junit.xml");
        const Imported imported = import(jest, path("frames.crc"));
        QVERIFY2(imported.ok(), qPrintable(imported.error.text() + imported.readError));
        const QByteArray frame = "      201 |   });\n      202 |\n    &gt; 203 |   describe(";
        QVERIFY(imported.markup.contains("<PARAGRAPH style=\"Code\">  \xE2\x97\x8F Test suite"));
        QVERIFY(imported.markup.contains(frame));
        QVERIFY(imported.markup.contains(
            "\n      at describe (<LINK target=\"gensync/test/index.test.js line 203\">"
            "gensync/test/index.test.js:203:3</LINK>)\n      at Object.describe ("));
        const Imported flawfinder =
            import(data + QStringLiteral("/flawfinder.sarif"), path("snippets.crc"));
        QVERIFY(
            flawfinder.markup.contains("<PARAGRAPH style=\"Code\">    gets(line);</PARAGRAPH>"));

        const DStyleList styles = shippedStyles();
        QVERIFY(!styles.isEmpty());
        ReportLoadError error;
        const std::unique_ptr<QAReporterData> record =
            loadReport(path("frames.crc"), styles, nullptr, &error);
        QVERIFY2(record, qPrintable(error.message));
        DItem* paragraph = paragraphWith(record->document.get(), QStringLiteral("Code"),
                                         QStringLiteral("      202 |\n"));
        QVERIFY(paragraph);
        QVERIFY(paragraph->style()->pre());

        const QString pages = path("framepages");
        const Run run = crcview({QStringLiteral("export"), pages, jest});
        QCOMPARE(run.status, 0);
        const QByteArray page = readFile(pages + QStringLiteral("/jest-junit-xml.html"));
        QVERIFY2(page.contains(".s-Code { font-family: \"Monospace\", monospace;"),
                 page.constData());
        static const QRegularExpression code(
            QStringLiteral("\\.s-Code \\{[^}]* white-space: pre-wrap; \\}"));
        QVERIFY(code.match(QString::fromUtf8(page)).hasMatch());
        QVERIFY(page.contains("<p class=\"s-Code\">  \xE2\x97\x8F Test suite failed to run\n\n"));
        QVERIFY(page.contains(frame));
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
                                     QStringLiteral("3 Class a.B ko"),
                                     QStringLiteral("4 Test ok1 ok"),
                                     QStringLiteral("4 Test broke ko"),
                                     QStringLiteral("2 Test skip NE"),
                                     QStringLiteral("2 Test wrong ko"),
                                     QStringLiteral("1 Suite skips NE") + base,
                                     QStringLiteral("2 Test s NE"),
                                     QStringLiteral("1 Suite go ok") + base,
                                     QStringLiteral("2 Class pkg ok"),
                                     QStringLiteral("3 Test TestOk ok"),
                                 }));
        QCOMPARE(totals(imported), QStringLiteral("2/2/2"));
        QVERIFY(imported.markup.contains("title=\"all\""));
        QVERIFY(imported.markup.contains("Error: NPE (java.lang.NPE)"));
        // The trace keeps its lines, each place in it a link beside the report.
        QVERIFY(imported.markup.contains(
            "<PARAGRAPH style=\"Code\">at a.B.broke(<LINK target=\"B.java line "
            "12\">B.java:12</LINK>)"
            "\nat a.B.main(<LINK target=\"B.java line 3\">B.java:3</LINK>)</PARAGRAPH>"));
        QVERIFY(imported.markup.contains("Skipped: not on Linux"));
        QVERIFY(imported.markup.contains("<LINK target=\"tests/test_x.py line 17\""));
        QVERIFY(imported.markup.contains("Standard output</PARAGRAPH>"));
        QVERIFY(imported.markup.contains(">ok pkg</PARAGRAPH>"));
        QVERIFY(imported.markup.contains(">set up</PARAGRAPH>")); // before a nested suite
        QVERIFY(imported.markup.contains("1 passed, 1 failed.</PARAGRAPH>")); // of class a.B

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
        QVERIFY(imported.markup.contains("\nline 199</PARAGRAPH>"));
        QVERIFY(!imported.markup.contains("line 200"));
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
        QVERIFY(imported.markup.contains(">before\n\nafter</PARAGRAPH>"));
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
        const QString report =
            QString::fromUtf8(readFile(pages + QStringLiteral("/flawfinder-sarif.html")));
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
        QCOMPARE(beside,
                 (QStringList{"README.md", "clang-analyzer.sarif", "clang-merged.sarif", "clean.c",
                              "copy.c", "ctest-junit.xml", "flawfinder.sarif", "jest-junit.xml",
                              "leak.c", "pytest-pyflakes-xunit1.xml", "tmp.c"}));
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
