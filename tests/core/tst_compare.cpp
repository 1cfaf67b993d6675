// Two runs compared: what identifies a result in result files and SARIF logs, new, fixed and
// still failing results, duplicates, mixed formats and runs that cannot be read.

#include "compare/runcomparison.h"
#include "compare/runidentities.h"
#include "import/resultimport.h"
#include "tests/testkit.h"

#include <QTemporaryDir>
#include <QTest>
#include <sys/stat.h>

namespace {

using testkit::writeFile;

// A result-file node; `inner` goes inside its section.
QByteArray node(const QByteArray& type, const QByteArray& name, const char* state,
                const QByteArray& inner = QByteArray(), const QByteArray& extra = QByteArray())
{
    return "<XROD:NODE type='" + type + "' name='" + name + "' state='" + state + "'" + extra +
           "><SECTION><TITLE>" + name + "</TITLE>" + inner + "</SECTION></XROD:NODE>";
}

QByteArray resultFile(const QByteArray& nodes)
{
    return "<?xml version='1.0'?><XROD><DOCUMENT tag='d'>" + nodes + "</DOCUMENT></XROD>";
}

QByteArray finding(const QByteArray& name, int line, const char* state = "ko",
                   const QByteArray& extra = QByteArray())
{
    return node("Finding", name, state,
                "<PARAGRAPH>bad at <LINK target='src/a.c line " + QByteArray::number(line) +
                    "'>line</LINK></PARAGRAPH>",
                extra);
}

// A SARIF log of rule R1's results.
QByteArray sarif(const QByteArray& results)
{
    return "{\"version\":\"2.1.0\",\"runs\":[{\"tool\":{\"driver\":{\"name\":\"lint\","
           "\"rules\":[{\"id\":\"R1\"}]}},\"results\":[" +
           results + "]}]}";
}

// A result of rule R1 at `line` of `uri`; `extra` adds members (fingerprints, a kind).
QByteArray result(const QByteArray& uri, int line, const QByteArray& message,
                  const QByteArray& extra = QByteArray())
{
    return "{\"ruleId\":\"R1\",\"message\":{\"text\":\"" + message +
           "\"},\"locations\":[{\"physicalLocation\":{\"artifactLocation\":{\"uri\":\"" + uri +
           "\"},\"region\":{\"startLine\":" + QByteArray::number(line) + "}}}]" + extra + "}";
}

struct Compared
{
    RunIdentities base;
    RunIdentities head;
    RunComparison comparison;
    QString error;

    // The last of the names of each new (or fixed) result, in order.
    QStringList added() const { return lastNames(comparison.added); }
    QStringList fixed() const { return lastNames(comparison.fixed); }

    static QStringList lastNames(const std::vector<const RunFailure*>& failures)
    {
        QStringList names;
        for (const RunFailure* failure : failures)
            names.append(failure->names.isEmpty() ? QString() : failure->names.last());
        return names;
    }
};

} // namespace

class TestCompare : public QObject
{
    Q_OBJECT

    QTemporaryDir m_dir;

    QString path(const char* name) const { return m_dir.filePath(QString::fromUtf8(name)); }

    // BASE and HEAD written under the names given and compared.
    std::unique_ptr<Compared> compare(const char* baseName, const QByteArray& base,
                                      const char* headName, const QByteArray& head)
    {
        auto compared = std::make_unique<Compared>();
        if (!writeFile(path(baseName), base) || !writeFile(path(headName), head)) {
            compared->error = QStringLiteral("cannot write the runs");
            return compared;
        }
        if (readRunIdentities(path(baseName), &compared->base, &compared->error) &&
            readRunIdentities(path(headName), &compared->head, &compared->error))
            compared->comparison = compareRuns(compared->base, compared->head);
        return compared;
    }

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY(m_dir.isValid());
        qputenv("XDG_CACHE_HOME", QFile::encodeName(m_dir.filePath(QStringLiteral("cache"))));
    }

    // Without keys a result is its path of (type, name) with an occurrence number: a result that
    // moved to another line stays the same, the later of two equal ones is matched with the
    // later, and only the failed results below the files and rules are reported.
    void resultFileIdentities()
    {
        const QByteArray base =
            resultFile(node("File", "src/a.c", "ko",
                            node("Rule", "no-goto", "ko",
                                 finding("goto", 10) + finding("goto", 20) + finding("goto", 30)) +
                                node("Rule", "names", "ok", finding("ok-name", 5, "ok"))));
        // Moved lines, the third goto gone, a new finding under a rule that passed before.
        const QByteArray head = resultFile(
            node("File", "src/a.c", "ko",
                 node("Rule", "no-goto", "ko", finding("goto", 12) + finding("goto", 22)) +
                     node("Rule", "names", "ko", finding("bad-name", 7))));
        const auto compared = compare("base.crc", base, "head.crc", head);
        QVERIFY2(compared->error.isEmpty(), qPrintable(compared->error));
        QCOMPARE(compared->base.failures.size(), size_t(3)); // the findings, not file and rule
        QCOMPARE(compared->added(), QStringList{QStringLiteral("bad-name")});
        QCOMPARE(compared->fixed(), QStringList{QStringLiteral("goto")});
        QCOMPARE(compared->comparison.still, size_t(2));
        const RunFailure& fixed = *compared->comparison.fixed.front();
        QCOMPARE(fixed.identity, QByteArray("File:src/a.c > Rule:no-goto > Finding:goto#3"));
        QCOMPARE(fixed.source, QStringLiteral("src/a.c"));
        QCOMPARE(fixed.line, 30);
        QCOMPARE(fixed.message, QStringLiteral("bad at line"));
        QCOMPARE(compared->comparison.added.front()->names,
                 QStringList({QStringLiteral("src/a.c"), QStringLiteral("names"),
                              QStringLiteral("bad-name")}));

        // A renamed file is another path: its results are new. A rule that lists its findings in
        // one run and fails without them in the other still fails; its findings are gone.
        const QByteArray renamed =
            resultFile(node("File", "src/b.c", "ko", node("Rule", "no-goto", "ko")) +
                       node("File", "src/a.c", "ko", node("Rule", "no-goto", "ko")));
        const auto moved = compare("base.crc", base, "renamed.crc", renamed);
        QVERIFY2(moved->error.isEmpty(), qPrintable(moved->error));
        QCOMPARE(moved->added(), QStringList{QStringLiteral("no-goto")});
        QCOMPARE(moved->comparison.added.front()->names.front(), QStringLiteral("src/b.c"));
        QCOMPARE(moved->fixed(), QStringList(3, QStringLiteral("goto")));
        QCOMPARE(moved->comparison.still, size_t(1));

        // A key, where a node has one, is its identity: renamed nodes keep it.
        const QByteArray keyed =
            resultFile(node("Test", "one", "ko", QByteArray(), " key='junit:s|c|one'") +
                       node("Test", "two", "ko", QByteArray(), " key='junit:s|c|two'"));
        const QByteArray keyedHead =
            resultFile(node("Test", "renamed", "ko", QByteArray(), " key='junit:s|c|one'") +
                       node("Test", "two", "ko", QByteArray(), " key='junit:s|c|other'"));
        const auto keys = compare("keyed.crc", keyed, "keyed-head.crc", keyedHead);
        QVERIFY2(keys->error.isEmpty(), qPrintable(keys->error));
        QCOMPARE(keys->added(), QStringList{QStringLiteral("two")});
        QCOMPARE(keys->fixed(), QStringList{QStringLiteral("two")});
        QCOMPARE(keys->comparison.still, size_t(1));

        // A result deep down is reported by the top and the end of its path.
        QByteArray deep = node("Leaf", "bottom", "ko");
        for (int level = 199; level >= 0; --level)
            deep = node("Level", QByteArray::number(level), "ko", deep);
        const auto nested =
            compare("shallow.crc", resultFile(QByteArray()), "deep.crc", resultFile(deep));
        QVERIFY2(nested->error.isEmpty(), qPrintable(nested->error));
        QCOMPARE(nested->comparison.added.size(), size_t(1));
        const RunFailure& bottom = *nested->comparison.added.front();
        QCOMPARE(bottom.names.size(), 65);
        QCOMPARE(bottom.names.mid(7, 3),
                 (QStringList{QStringLiteral("7"), QStringLiteral("..."), QStringLiteral("145")}));
        QCOMPARE(bottom.names.last(), QStringLiteral("bottom"));
        QVERIFY(bottom.identity.startsWith("Level:0 > Level:1 > "));
        QVERIFY(bottom.identity.contains(" > Level:7 > ... > Level:145 > "));
        QVERIFY(bottom.identity.endsWith(" > Leaf:bottom"));
    }

    // SARIF logs are matched by the keys the importer gives: fingerprints survive a move to
    // another file, results without them survive moved lines and renumbered messages, and
    // equal results are matched in their order.
    void sarifIdentities()
    {
        const QByteArray print = ",\"fingerprints\":{\"id/v1\":\"p1\"}";
        const QByteArray base =
            sarif(result("a.c", 3, "x declared at line 3 is unused") + "," +
                  result("a.c", 8, "leak") + "," + result("a.c", 9, "leak") + "," +
                  result("a.c", 10, "leak") + "," + result("a.c", 20, "printed", print) + "," +
                  result("a.c", 30, "renamed away") + "," + result("a.c", 40, "passes later") +
                  "," + result("a.c", 50, "was a pass", ",\"kind\":\"pass\""));
        const QByteArray head = sarif(result("a.c", 13, "x declared at line 13 is unused") + "," +
                                      result("a.c", 18, "leak") + "," + result("a.c", 19, "leak") +
                                      "," + result("moved/b.c", 2, "printed", print) + "," +
                                      result("c.c", 30, "renamed away") + "," +
                                      result("a.c", 40, "passes later", ",\"kind\":\"pass\"") +
                                      "," + result("a.c", 50, "was a pass"));
        const auto compared = compare("base.sarif", base, "head.sarif", head);
        QVERIFY2(compared->error.isEmpty(), qPrintable(compared->error));
        QCOMPARE(compared->base.format, RunIdentities::Format::Sarif);
        QCOMPARE(compared->comparison.still, size_t(4)); // unused x, two leaks, the printed one
        QCOMPARE(compared->comparison.added.size(), size_t(2));
        QCOMPARE(compared->comparison.added.at(0)->source, QStringLiteral("c.c"));
        QCOMPARE(compared->comparison.added.at(1)->message, QStringLiteral("was a pass"));
        QCOMPARE(compared->comparison.fixed.size(), size_t(3));
        // The third leak of BASE is the one gone.
        QCOMPARE(compared->comparison.fixed.at(0)->line, 10);
        QVERIFY(compared->comparison.fixed.at(0)->identity.endsWith("#3"));
        QCOMPARE(compared->comparison.fixed.at(1)->message, QStringLiteral("renamed away"));
        QCOMPARE(compared->comparison.fixed.at(2)->message, QStringLiteral("passes later"));
        QCOMPARE(compared->comparison.fixed.at(2)->result, 6);
        // Each failure of HEAD knows the one of BASE it matched.
        QCOMPARE(compared->comparison.baseOf.size(), size_t(6));
        QCOMPARE(compared->comparison.baseOf.at(3)->line, 20);
        QCOMPARE(compared->comparison.baseOf.at(4), nullptr);
    }

    // A SARIF log converted into a result file keeps the keys of its results: the converted
    // file matches the log either way, and a JUnit report its own converted file.
    void mixedFormats()
    {
        const QByteArray log = sarif(result("a.c", 3, "one") + "," + result("a.c", 4, "two") + "," +
                                     result("a.c", 4, "two"));
        QVERIFY(writeFile(path("mixed.sarif"), log));
        ImportError error;
        QVERIFY2(importResults(path("mixed.sarif"), path("mixed.crc"), &error),
                 qPrintable(error.text()));
        for (const auto& [first, second] :
             {std::pair("mixed.crc", "mixed.sarif"), std::pair("mixed.sarif", "mixed.crc")}) {
            RunIdentities base;
            RunIdentities head;
            QString reason;
            QVERIFY2(readRunIdentities(path(first), &base, &reason), qPrintable(reason));
            QVERIFY2(readRunIdentities(path(second), &head, &reason), qPrintable(reason));
            const RunComparison comparison = compareRuns(base, head);
            QCOMPARE(comparison.still, size_t(3));
            QVERIFY(comparison.added.empty());
            QVERIFY(comparison.fixed.empty());
        }
        // A converted log against another log: only the new result is new.
        QVERIFY(writeFile(path("later.sarif"),
                          sarif(result("a.c", 3, "one") + "," + result("a.c", 5, "two") + "," +
                                result("a.c", 6, "two") + "," + result("a.c", 7, "three"))));
        RunIdentities converted;
        RunIdentities later;
        QString reason;
        QVERIFY(readRunIdentities(path("mixed.crc"), &converted, &reason));
        QVERIFY2(readRunIdentities(path("later.sarif"), &later, &reason), qPrintable(reason));
        const RunComparison comparison = compareRuns(converted, later);
        QCOMPARE(comparison.added.size(), size_t(1));
        QCOMPARE(comparison.added.front()->message, QStringLiteral("three"));
        QCOMPARE(comparison.still, size_t(3));

        const QByteArray junit =
            "<testsuite name='s'><testcase classname='c' name='t1'><failure message='no'/>"
            "</testcase><testcase classname='c' name='t2'/></testsuite>";
        QVERIFY(writeFile(path("report.xml"), junit));
        QVERIFY2(importResults(path("report.xml"), path("report.crc"), &error),
                 qPrintable(error.text()));
        RunIdentities report;
        RunIdentities reportConverted;
        QVERIFY2(readRunIdentities(path("report.xml"), &report, &reason), qPrintable(reason));
        QVERIFY2(readRunIdentities(path("report.crc"), &reportConverted, &reason),
                 qPrintable(reason));
        QCOMPARE(report.failures.size(), size_t(1));
        QCOMPARE(report.failures.front().identity, QByteArray("junit:s|c|t1"));
        QCOMPARE(report.path, path("report.xml"));
        const RunComparison same = compareRuns(report, reportConverted);
        QCOMPARE(same.still, size_t(1));
        QVERIFY(same.added.empty() && same.fixed.empty());
    }

    // A run that cannot be read is named with the place of the fault.
    void unreadableRuns()
    {
        struct Case
        {
            const char* name;
            QByteArray content;
            QString expected;
        };
        const Case cases[] = {
            {"broken.crc", "<XROD>\n<DOCUMENT>\n<XROD:NODE name='a' type='T'></DOCUMENT>",
             QStringLiteral("broken.crc:3:")},
            {"outside.crc", "<DOCUMENT><XROD:NODE name='a' type='T'/></DOCUMENT>",
             QStringLiteral("outside.crc:1:11: XROD:NODE outside of an XROD element")},
            {"nameless.crc", "<XROD><XROD:NODE type='T'/></XROD>",
             QStringLiteral("nameless.crc:1:7: a result node without a name attribute")},
            {"empty.crc", "<DOCUMENT/>",
             QStringLiteral("empty.crc: not a result file: no XROD element")},
            {"broken.sarif", "{\"runs\": [\n}", QStringLiteral("broken.sarif:2:1: ")},
            {"shape.sarif", "{\"version\":\"2.1.0\",\"runs\":[{\"results\":{}}]}",
             QStringLiteral("shape.sarif: $.runs[0].results: an array of results was expected")},
            {"version.sarif", "{\"version\":\"1.0\",\"runs\":[]}",
             QStringLiteral("version.sarif: $.version: SARIF 1.0 cannot be read")},
        };
        for (const Case& test : cases) {
            QVERIFY(writeFile(path(test.name), test.content));
            RunIdentities run;
            QString error;
            QVERIFY2(!readRunIdentities(path(test.name), &run, &error), test.name);
            QVERIFY2(error.startsWith(m_dir.path() + QLatin1Char('/') + test.expected),
                     qPrintable(error));
        }
        RunIdentities run;
        QString error;
        QVERIFY(!readRunIdentities(m_dir.path(), &run, &error)); // a folder
        QVERIFY2(error.startsWith(m_dir.path() + QStringLiteral(": ")), qPrintable(error));
        // A FIFO nobody writes to is refused, not waited on, whatever its name says.
        for (const char* name : {"fifo.crc", "fifo.sarif"}) {
            QVERIFY(::mkfifo(QFile::encodeName(path(name)).constData(), 0600) == 0);
            QVERIFY(!readRunIdentities(path(name), &run, &error));
            QVERIFY2(error.startsWith(path(name) + QStringLiteral(": ")), qPrintable(error));
        }
    }
};

QTEST_GUILESS_MAIN(TestCompare)
#include "tst_compare.moc"
