// crcview diff as a CI job runs it: the gate's exit statuses, the reports in each format, where
// they are written, the SARIF log checked by the SARIF multitool where it is installed, and the
// JUnit reports checked by xmllint against the schema of the JUnit XML that Jenkins reads.

#include "tests/testkit.h"

#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QRegularExpression>
#include <QSet>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>

namespace {

using testkit::writeFile;
using Run = testkit::CrcviewRun;

const QString importData = QStringLiteral(IMPORT_DATA_DIR);
// The SARIF multitool: $SARIF_MULTITOOL, else where scripts/setup installs it.
const QString multitool = qEnvironmentVariable("SARIF_MULTITOOL", QStringLiteral(MULTITOOL_PATH));

Run crcview(const QStringList& arguments)
{
    return testkit::runCrcview(arguments, 60000);
}

QByteArray finding(const QByteArray& name, int line, const char* state = "ko",
                   const QByteArray& message = "bad")
{
    return "<XROD:NODE type='Finding' name='" + name + "' state='" + state +
           "'><SECTION><PARAGRAPH>" + message + " at <LINK target='src/a.c line " +
           QByteArray::number(line) + "'>here</LINK></PARAGRAPH></SECTION></XROD:NODE>";
}

QByteArray resultFile(const QByteArray& findings)
{
    return "<XROD><DOCUMENT tag='d'><XROD:NODE type='File' name='src/a.c' state='ko'><SECTION>" +
           findings + "</SECTION></XROD:NODE></DOCUMENT></XROD>";
}

QSet<QString> keysOf(const QJsonObject& object)
{
    const QStringList keys = object.keys();
    return QSet<QString>(keys.begin(), keys.end());
}

} // namespace

class TestDiff : public QObject
{
    Q_OBJECT

    QTemporaryDir m_dir;
    QString m_base;
    QString m_head;

    QString path(const QString& name) const { return m_dir.filePath(name); }

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY(m_dir.isValid());
        qputenv("XDG_CACHE_HOME", QFile::encodeName(path(QStringLiteral("cache"))));
        m_base = path(QStringLiteral("base.crc"));
        m_head = path(QStringLiteral("head.crc"));
        QVERIFY(writeFile(m_base, resultFile(finding("kept", 10) + finding("gone", 20))));
        QVERIFY(writeFile(m_head, resultFile(finding("kept", 11) +
                                             finding("added", 30, "ko", "a &amp; b &lt;i&gt;"))));
    }

    // --check fails the job on new failures only: 1 when something is new, 0 when things were
    // only fixed or still fail, 2 when a run cannot be read, whatever the other says.
    void gate()
    {
        Run run = crcview({QStringLiteral("diff"), m_base, m_head});
        QCOMPARE(run.status, 0);
        QCOMPARE(run.err, QString());
        QCOMPARE(run.out, QStringLiteral("new: 1, fixed: 1, still failing: 1\n"
                                         "new: src/a.c > added\n"
                                         "  src/a.c:30: a & b <i> at here\n"));
        QCOMPARE(
            crcview({QStringLiteral("diff"), QStringLiteral("--check"), m_base, m_head}).status, 1);
        // The other way round, what was fixed is new; fixed only, the gate passes.
        QCOMPARE(
            crcview({QStringLiteral("diff"), QStringLiteral("--check"), m_head, m_base}).status, 1);
        const QString fixedOnly = path(QStringLiteral("fixed-only.crc"));
        QVERIFY(writeFile(fixedOnly, resultFile(finding("kept", 12))));
        run = crcview({QStringLiteral("diff"), QStringLiteral("--check"), m_base, fixedOnly});
        QCOMPARE(run.status, 0);
        QVERIFY(run.out.startsWith(QStringLiteral("new: 0, fixed: 1, still failing: 1\n")));

        const QString broken = path(QStringLiteral("broken.crc"));
        QVERIFY(writeFile(broken, "<XROD>\n<DOCUMENT>\n<XROD:NODE name='x' type='T'></DOCUMENT>"));
        for (const QStringList& runs :
             {QStringList{broken, m_head}, QStringList{m_base, broken},
              QStringList{path(QStringLiteral("missing.sarif")), m_head}}) {
            run = crcview(QStringList{QStringLiteral("diff"), QStringLiteral("--check")} + runs);
            QCOMPARE(run.status, 2);
            QCOMPARE(run.out, QString());
            QVERIFY2(run.err.contains(runs.contains(broken) ? broken + QStringLiteral(":3:")
                                                            : QStringLiteral("missing.sarif")),
                     qPrintable(run.err));
        }
        // Bad command lines.
        for (const QStringList& arguments :
             {QStringList{m_base}, QStringList{m_base, m_head, m_head},
              QStringList{QStringLiteral("--format"), QStringLiteral("xml"), m_base, m_head},
              QStringList{QStringLiteral("--format"), QStringLiteral("json"),
                          QStringLiteral("--format"), QStringLiteral("text"), m_base, m_head},
              QStringList{QStringLiteral("--format"), QStringLiteral("sarif"), QStringLiteral("-o"),
                          path(QStringLiteral("one.sarif")), QStringLiteral("--format"),
                          QStringLiteral("sarif"), m_base, m_head}})
            QCOMPARE(crcview(QStringList{QStringLiteral("diff")} + arguments).status, 64);
    }

    // The JSON report has exactly the counts, the new and the fixed, each entry the same fields.
    // The exported summary page opens with what is new since the baseline, then what was fixed;
    // a baseline that cannot be read is said and the pages are written without it.
    void exportAgainstABaseline()
    {
        QTemporaryDir out;
        Run run = crcview(
            {QStringLiteral("export"), QStringLiteral("--baseline"), m_base, out.path(), m_head});
        QCOMPARE(run.status, 0);
        QFile index(out.filePath(QStringLiteral("index.html")));
        QVERIFY(index.open(QIODevice::ReadOnly));
        const QString page = QString::fromUtf8(index.readAll());
        const qsizetype added = page.indexOf(QLatin1String("New failures (1)"));
        const qsizetype fixed = page.indexOf(QLatin1String("Fixed (1)"));
        const qsizetype overview = page.indexOf(QLatin1String("Code review results"));
        QVERIFY2(added >= 0 && added < fixed && fixed < overview, qPrintable(page));
        QVERIFY(page.contains(QLatin1String("1 new, 1 fixed, 1 still failing")));
        QVERIFY(page.indexOf(QLatin1String("added"), added) < fixed);
        QVERIFY(page.indexOf(QLatin1String("gone"), fixed) < overview);
        QVERIFY(page.contains(QLatin1String("a &amp; b &lt;i&gt;"))); // the message, escaped
        QVERIFY(page.contains(QLatin1String("src/a.c:30")));

        QTemporaryDir second;
        const QString missing = path(QStringLiteral("no-such-base.crc"));
        run = crcview({QStringLiteral("export"), QStringLiteral("--baseline"), missing,
                       second.path(), m_head});
        QCOMPARE(run.status, 2);
        QVERIFY2(run.err.contains(missing), qPrintable(run.err));
        QFile written(second.filePath(QStringLiteral("index.html")));
        QVERIFY(written.open(QIODevice::ReadOnly));
        QVERIFY(!written.readAll().contains("New failures"));
    }

    // The failed results of any mix of inputs, where CI users look: GitLab's Code Quality report
    // with fingerprints that stay when a finding only moves and differ between equal findings,
    // paths from the repository's root, and a Markdown summary cut to its limit with a note.
    void reportsOfARun()
    {
        const QString log = path(QStringLiteral("lint.sarif"));
        const QByteArray result =
            "{\"ruleId\": \"R1\", \"level\": \"%1\", \"message\": {\"text\": \"m\"}, "
            "\"locations\": [{\"physicalLocation\": {\"artifactLocation\": {\"uri\": "
            "\"file://%2/src/x.c\"}, \"region\": {\"startLine\": %3}}}]}";
        const auto sarif = [&](int line) {
            const auto one = [&](const char* level, int at) {
                return QString::fromUtf8(result)
                    .arg(QLatin1String(level), m_dir.path())
                    .arg(at)
                    .toUtf8();
            };
            return "{\"version\": \"2.1.0\", \"runs\": [{\"tool\": {\"driver\": {\"name\": "
                   "\"lint\"}}, \"results\": [" +
                   one("error", line) + "," + one("note", line + 5) + "]}]}";
        };
        QVERIFY(writeFile(log, sarif(3)));
        const QString out = path(QStringLiteral("quality.json"));
        Run run = crcview({QStringLiteral("convert"), QStringLiteral("--to"),
                           QStringLiteral("codeclimate"), QStringLiteral("--source-root"),
                           m_dir.path(), log, m_head, QStringLiteral("-o"), out});
        QCOMPARE(run.status, 0);
        QFile written(out);
        QVERIFY(written.open(QIODevice::ReadOnly));
        const QJsonArray issues = QJsonDocument::fromJson(written.readAll()).array();
        QCOMPARE(issues.size(), 4); // two findings of the log, two failures of the result file
        QSet<QString> fingerprints;
        for (const QJsonValue& issue : issues) {
            const QJsonObject object = issue.toObject();
            for (const char* key : {"description", "check_name", "fingerprint", "severity"})
                QVERIFY2(!object.value(QLatin1String(key)).toString().isEmpty(), key);
            QVERIFY(object.value("location")
                        .toObject()
                        .value("lines")
                        .toObject()
                        .value("begin")
                        .toInt() >= 1);
            fingerprints.insert(object.value("fingerprint").toString());
        }
        QCOMPARE(fingerprints.size(), 4);
        const QJsonObject first = issues.at(0).toObject();
        QCOMPARE(first.value("severity").toString(), QStringLiteral("critical"));
        QCOMPARE(first.value("check_name").toString(), QStringLiteral("R1"));
        QCOMPARE(first.value("location").toObject().value("path").toString(),
                 QStringLiteral("src/x.c"));
        QCOMPARE(issues.at(1).toObject().value("severity").toString(), QStringLiteral("info"));

        // Moved by ten lines: the same fingerprints.
        QVERIFY(writeFile(log, sarif(13)));
        run = crcview({QStringLiteral("convert"), QStringLiteral("--to"),
                       QStringLiteral("codeclimate"), log});
        QCOMPARE(run.status, 0);
        const QJsonArray moved = QJsonDocument::fromJson(run.out.toUtf8()).array();
        QCOMPARE(moved.at(0).toObject().value("fingerprint"), first.value("fingerprint"));
        QCOMPARE(moved.at(0)
                     .toObject()
                     .value("location")
                     .toObject()
                     .value("lines")
                     .toObject()
                     .value("begin")
                     .toInt(),
                 13);

        // JUnit XML that a JUnit reader takes back: a failed case per failure, texts escaped.
        const QString junit = path(QStringLiteral("failures.xml"));
        run = crcview({QStringLiteral("convert"), QStringLiteral("--to"), QStringLiteral("junit"),
                       QStringLiteral("--source-root"), m_dir.path(), log, m_head,
                       QStringLiteral("-o"), junit});
        QCOMPARE(run.status, 0);
        QFile report(junit);
        QVERIFY(report.open(QIODevice::ReadOnly));
        const QByteArray xml = report.readAll();
        QVERIFY(xml.contains("classname=\"R1\" name=\"R1 line 13\" file=\"src/x.c\" line=\"13\""));
        QVERIFY(xml.contains("message=\"a &amp; b &lt;i&gt; at here\""));
        run = crcview(
            {QStringLiteral("summary"), QStringLiteral("--format"), QStringLiteral("json"), junit});
        QCOMPARE(run.status, 0);
        QCOMPARE(QJsonDocument::fromJson(run.out.toUtf8())
                     .object()
                     .value("totals")
                     .toObject()
                     .value("failed")
                     .toInt(),
                 4);

        // A summary cut at its limit says how many it left out.
        QByteArray many =
            "<XROD><DOCUMENT tag='d'><XROD:NODE type='File' name='f' state='ko'><SECTION>";
        for (int i = 0; i < 300; ++i)
            many += finding("finding " + QByteArray::number(i), i + 1);
        QVERIFY(writeFile(path(QStringLiteral("many.crc")),
                          many + "</SECTION></XROD:NODE></DOCUMENT></XROD>"));
        run = crcview({QStringLiteral("convert"), QStringLiteral("--to"),
                       QStringLiteral("markdown"), QStringLiteral("--limit"),
                       QStringLiteral("4096"), path(QStringLiteral("many.crc"))});
        QCOMPARE(run.status, 0);
        QVERIFY(run.out.toUtf8().size() <= 4096);
        QVERIFY(run.out.startsWith(QLatin1String("### 300 failed results")));
        QVERIFY2(run.out.contains(
                     QRegularExpression(QStringLiteral("\\*Cut to fit: \\d+ more failed results"))),
                 qPrintable(run.out));

        // The same from summary --format.
        const Run fromSummary = crcview({QStringLiteral("summary"), QStringLiteral("--format"),
                                         QStringLiteral("markdown"), QStringLiteral("--limit"),
                                         QStringLiteral("4096"), path(QStringLiteral("many.crc"))});
        QCOMPARE(fromSummary.status, 0);
        QCOMPARE(fromSummary.out, run.out);

        // Unreadable input, unknown format.
        run = crcview({QStringLiteral("convert"), QStringLiteral("--to"),
                       QStringLiteral("markdown"), path(QStringLiteral("missing.crc"))});
        QCOMPARE(run.status, 2);
        QVERIFY(run.err.contains(QLatin1String("missing.crc")));
        QCOMPARE(
            crcview({QStringLiteral("convert"), QStringLiteral("--to"), QStringLiteral("pdf"), log})
                .status,
            64);
    }

    // A SARIF log for code scanning from a result file: valid, with places from the repository's
    // root and partial fingerprints; more results than code scanning takes is an error, not a
    // silent cut, unless a maximum is asked for.
    void sarifForCodeScanning()
    {
        const QString out = path(QStringLiteral("scanning.sarif"));
        Run run = crcview({QStringLiteral("convert"), QStringLiteral("--to"),
                           QStringLiteral("sarif"), QStringLiteral("--source-root"), m_dir.path(),
                           m_head, QStringLiteral("-o"), out});
        QCOMPARE(run.status, 0);
        QFile log(out);
        QVERIFY(log.open(QIODevice::ReadOnly));
        const QJsonObject sarif = QJsonDocument::fromJson(log.readAll()).object();
        const QJsonObject theRun = sarif.value("runs").toArray().at(0).toObject();
        const QJsonArray results = theRun.value("results").toArray();
        QCOMPARE(results.size(), 2);
        for (const QJsonValue& value : results)
            QVERIFY(!value.toObject().value("partialFingerprints").toObject().isEmpty());
        const QJsonObject rule = theRun.value("tool")
                                     .toObject()
                                     .value("driver")
                                     .toObject()
                                     .value("rules")
                                     .toArray()
                                     .at(0)
                                     .toObject();
        for (const char* key : {"shortDescription", "fullDescription", "help"})
            QVERIFY2(rule.contains(QLatin1String(key)), key);
        if (QFile::exists(multitool)) {
            QProcess validate;
            validate.start(multitool, {QStringLiteral("validate"), out});
            QVERIFY(validate.waitForFinished(120000));
            const QString said = QString::fromUtf8(validate.readAllStandardOutput());
            QVERIFY2(said.contains(QStringLiteral("1 files scanned")) &&
                         !said.contains(QStringLiteral(": error ")),
                     qPrintable(said));
        }

        QByteArray many =
            "<XROD><DOCUMENT tag='d'><XROD:NODE type='File' name='f' state='ko'><SECTION>";
        for (int i = 0; i < 25001; ++i)
            many += "<XROD:NODE type='Finding' name='n" + QByteArray::number(i) +
                    "' state='ko'><SECTION/></XROD:NODE>";
        const QString large = path(QStringLiteral("large.crc"));
        QVERIFY(writeFile(large, many + "</SECTION></XROD:NODE></DOCUMENT></XROD>"));
        run = crcview({QStringLiteral("convert"), QStringLiteral("--to"), QStringLiteral("sarif"),
                       large, QStringLiteral("-o"), out});
        QCOMPARE(run.status, 2);
        QVERIFY2(run.err.contains(QLatin1String("25001 results")), qPrintable(run.err));
        log.close(); // read anew: a replaced file is another file
        QVERIFY(log.open(QIODevice::ReadOnly));
        QCOMPARE(QJsonDocument::fromJson(log.readAll()).object(), sarif); // the earlier log kept
        run = crcview({QStringLiteral("convert"), QStringLiteral("--to"), QStringLiteral("sarif"),
                       QStringLiteral("--max-results"), QStringLiteral("10"), large});
        QCOMPARE(run.status, 0);
        QVERIFY(run.err.contains(QLatin1String("24991 of 25001 results left out")));
        QCOMPARE(QJsonDocument::fromJson(run.out.toUtf8())
                     .object()
                     .value("runs")
                     .toArray()
                     .at(0)
                     .toObject()
                     .value("results")
                     .toArray()
                     .size(),
                 10);
    }

    void jsonReport()
    {
        const Run run = crcview({QStringLiteral("diff"), QStringLiteral("--format"),
                                 QStringLiteral("json"), m_base, m_head});
        QCOMPARE(run.status, 0);
        QJsonParseError error;
        const QJsonDocument document = QJsonDocument::fromJson(run.out.toUtf8(), &error);
        QVERIFY2(document.isObject(), qPrintable(error.errorString()));
        const QJsonObject report = document.object();
        QCOMPARE(keysOf(report), (QSet<QString>{QStringLiteral("counts"), QStringLiteral("new"),
                                                QStringLiteral("fixed")}));
        const QJsonObject counts = report.value(QStringLiteral("counts")).toObject();
        QCOMPARE(keysOf(counts), (QSet<QString>{QStringLiteral("new"), QStringLiteral("fixed"),
                                                QStringLiteral("still")}));
        QCOMPARE(counts.value(QStringLiteral("new")).toInt(-1), 1);
        QCOMPARE(counts.value(QStringLiteral("fixed")).toInt(-1), 1);
        QCOMPARE(counts.value(QStringLiteral("still")).toInt(-1), 1);
        const QJsonArray added = report.value(QStringLiteral("new")).toArray();
        const QJsonArray fixed = report.value(QStringLiteral("fixed")).toArray();
        QCOMPARE(added.size(), 1);
        QCOMPARE(fixed.size(), 1);
        const QJsonObject entry = added.at(0).toObject();
        QCOMPARE(keysOf(entry), (QSet<QString>{QStringLiteral("identity"), QStringLiteral("path"),
                                               QStringLiteral("type"), QStringLiteral("source"),
                                               QStringLiteral("line"), QStringLiteral("message")}));
        QCOMPARE(entry.value(QStringLiteral("identity")).toString(),
                 QStringLiteral("File:src/a.c > Finding:added"));
        QCOMPARE(entry.value(QStringLiteral("path")).toArray(),
                 (QJsonArray{QStringLiteral("src/a.c"), QStringLiteral("added")}));
        QCOMPARE(entry.value(QStringLiteral("source")).toString(), QStringLiteral("src/a.c"));
        QCOMPARE(entry.value(QStringLiteral("line")).toInt(), 30);
        QCOMPARE(entry.value(QStringLiteral("message")).toString(),
                 QStringLiteral("a & b <i> at here"));
        QCOMPARE(fixed.at(0).toObject().value(QStringLiteral("line")).toInt(), 20);
    }

    // A pull-request comment stays within its limit, says what it left out, and shows the
    // texts of the runs as text.
    void markdownReport()
    {
        Run run = crcview({QStringLiteral("diff"), QStringLiteral("--format"),
                           QStringLiteral("markdown"), m_base, m_head});
        QCOMPARE(run.status, 0);
        QVERIFY2(run.out.contains(QStringLiteral("a &amp; b &lt;i&gt; at here")),
                 qPrintable(run.out));
        QVERIFY(!run.out.contains(QStringLiteral("Cut to fit")));

        QByteArray many;
        for (int i = 0; i < 3000; ++i)
            many += finding("case_" + QByteArray::number(i), i + 1, "ko", QByteArray(60, 'm'));
        const QString large = path(QStringLiteral("many.crc"));
        QVERIFY(writeFile(large, resultFile(many)));
        run = crcview({QStringLiteral("diff"), QStringLiteral("--format"),
                       QStringLiteral("markdown"), m_base, large});
        QCOMPARE(run.status, 0);
        QVERIFY2(run.out.size() <= 65536, qPrintable(QString::number(run.out.size())));
        QVERIFY(run.out.size() > 60000);
        const QRegularExpressionMatch note =
            QRegularExpression(QStringLiteral("Cut to fit a comment: (\\d+) more new and (\\d+) "
                                              "more fixed are not listed"))
                .match(run.out);
        QVERIFY2(note.hasMatch(), qPrintable(run.out.right(300)));
        const int rows = int(run.out.count(QStringLiteral("| src/a.c &gt; case\\_")));
        QCOMPARE(rows + note.captured(1).toInt(), 3000);
        QCOMPARE(note.captured(2).toInt(), 2);
    }

    // Each format to its own file, one to standard output; a file that cannot be written is
    // named, keeps what it held, and fails the run.
    void outputs()
    {
        const QString json = path(QStringLiteral("out.json"));
        const QString markdown = path(QStringLiteral("out.md"));
        Run run =
            crcview({QStringLiteral("diff"), QStringLiteral("--format"), QStringLiteral("json"),
                     QStringLiteral("-o"), json, QStringLiteral("--format"),
                     QStringLiteral("markdown"), QStringLiteral("-o"), markdown,
                     QStringLiteral("--format"), QStringLiteral("text"), m_base, m_head});
        QCOMPARE(run.status, 0);
        QVERIFY(run.out.startsWith(QStringLiteral("new: 1, fixed: 1")));
        QVERIFY(QJsonDocument::fromJson(testkit::readFile(json)).isObject());
        QVERIFY(testkit::readFile(markdown).startsWith("### 1 new, 1 fixed, 1 still failing"));
        // The SARIF log first and the JSON report after it: both whole.
        const QString sarif = path(QStringLiteral("first.sarif"));
        run = crcview({QStringLiteral("diff"), QStringLiteral("--format"), QStringLiteral("sarif"),
                       QStringLiteral("-o"), sarif, QStringLiteral("--format"),
                       QStringLiteral("json"), m_base, m_head});
        QCOMPARE(run.status, 0);
        QCOMPARE(QJsonDocument::fromJson(run.out.toUtf8())
                     .object()
                     .value(QStringLiteral("new"))
                     .toArray()
                     .size(),
                 1);
        QCOMPARE(QJsonDocument::fromJson(testkit::readFile(sarif))
                     .object()
                     .value(QStringLiteral("runs"))
                     .toArray()
                     .at(0)
                     .toObject()
                     .value(QStringLiteral("results"))
                     .toArray()
                     .size(),
                 3);

        const QString kept = path(QStringLiteral("kept.json"));
        QVERIFY(writeFile(kept, "old"));
        const QString link = path(QStringLiteral("link.json"));
        QVERIFY(QFile::link(kept, link));
        run = crcview({QStringLiteral("diff"), QStringLiteral("--format"), QStringLiteral("json"),
                       QStringLiteral("-o"), link, QStringLiteral("--check"), m_base, m_head});
        QCOMPARE(run.status, 2);
        QVERIFY2(run.err.contains(link), qPrintable(run.err));
        QCOMPARE(testkit::readFile(kept), QByteArray("old"));
        run = crcview({QStringLiteral("diff"), QStringLiteral("-o"),
                       path(QStringLiteral("no/such/folder/out.txt")), m_base, m_head});
        QCOMPARE(run.status, 2);
        QVERIFY(run.err.contains(QStringLiteral("out.txt")));
    }

    // SARIF output: HEAD's own log with a state on every result and the fixed ones added as
    // absent; a result file's HEAD as a log of its failures. Both carry BASE's guid.
    void sarifReport()
    {
        const QByteArray print = ",\"fingerprints\":{\"id/v1\":\"";
        const auto log = [](const QByteArray& results, const QByteArray& run) {
            return "{\"version\":\"2.1.0\",\"runs\":[{\"tool\":{\"driver\":{\"name\":\"lint\","
                   "\"rules\":[{\"id\":\"R1\"},{\"id\":\"R2\"}]}},\"artifacts\":[{\"location\":"
                   "{\"uri\":\"src/a.c\"}}]" +
                   run + ",\"results\":[" + results + "]}]}";
        };
        const auto result = [&print](const char* id, int line, const char* message,
                                     const char* rule = "\"ruleIndex\":0") {
            return "{" + QByteArray(rule) + ",\"message\":{\"text\":\"" + message +
                   "\"},\"locations\":[{\"physicalLocation\":{\"artifactLocation\":{\"index\":0},"
                   "\"region\":{\"startLine\":" +
                   QByteArray::number(line) + "}}}]" + print + id + "\"}}";
        };
        const QString base = path(QStringLiteral("base.sarif"));
        const QString head = path(QStringLiteral("head.sarif"));
        QVERIFY(writeFile(base, log(result("a", 1, "one") + "," + result("b", 2, "two") + "," +
                                        result("c", 3, "three", "\"ruleIndex\":1"),
                                    ",\"automationDetails\":{\"guid\":"
                                    "\"4a1f3c2e-0b5d-4e6f-8a9b-1c2d3e4f5a6b\"}")));
        QVERIFY(writeFile(head, log(result("a", 1, "one") + "," + result("b", 7, "two") + "," +
                                        result("d", 4, "four"),
                                    QByteArray())));
        const QString out = path(QStringLiteral("out.sarif"));
        const Run run = crcview({QStringLiteral("diff"), QStringLiteral("--format"),
                                 QStringLiteral("sarif"), QStringLiteral("-o"), out, base, head});
        QCOMPARE(run.status, 0);
        QCOMPARE(run.err, QString());
        const QJsonObject written = QJsonDocument::fromJson(testkit::readFile(out)).object();
        const QJsonObject firstRun =
            written.value(QStringLiteral("runs")).toArray().at(0).toObject();
        QCOMPARE(firstRun.value(QStringLiteral("baselineGuid")).toString(),
                 QStringLiteral("4a1f3c2e-0b5d-4e6f-8a9b-1c2d3e4f5a6b"));
        const QJsonArray results = firstRun.value(QStringLiteral("results")).toArray();
        QStringList states;
        for (const QJsonValue& value : results)
            states.append(value.toObject().value(QStringLiteral("baselineState")).toString());
        QCOMPARE(states, (QStringList{QStringLiteral("unchanged"), QStringLiteral("updated"),
                                      QStringLiteral("new"), QStringLiteral("absent")}));
        // The absent result names its rule and file by themselves, not by BASE's tables.
        const QJsonObject absent = results.at(3).toObject();
        QCOMPARE(absent.value(QStringLiteral("ruleId")).toString(), QStringLiteral("R2"));
        QVERIFY(!absent.contains(QStringLiteral("ruleIndex")));
        const QJsonObject artifact = absent.value(QStringLiteral("locations"))
                                         .toArray()
                                         .at(0)
                                         .toObject()
                                         .value(QStringLiteral("physicalLocation"))
                                         .toObject()
                                         .value(QStringLiteral("artifactLocation"))
                                         .toObject();
        QCOMPARE(artifact.value(QStringLiteral("uri")).toString(), QStringLiteral("src/a.c"));
        QVERIFY(!artifact.contains(QStringLiteral("index")));

        // Result files: a log of HEAD's failures; a guid made from BASE's bytes, the same each
        // time.
        const QString fromFiles = path(QStringLiteral("files.sarif"));
        QCOMPARE(crcview({QStringLiteral("diff"), QStringLiteral("--format"),
                          QStringLiteral("sarif"), QStringLiteral("-o"), fromFiles, m_base, m_head})
                     .status,
                 0);
        const QJsonObject filesRun = QJsonDocument::fromJson(testkit::readFile(fromFiles))
                                         .object()
                                         .value(QStringLiteral("runs"))
                                         .toArray()
                                         .at(0)
                                         .toObject();
        QCOMPARE(filesRun.value(QStringLiteral("tool"))
                     .toObject()
                     .value(QStringLiteral("driver"))
                     .toObject()
                     .value(QStringLiteral("name"))
                     .toString(),
                 QStringLiteral("crcview"));
        states.clear();
        for (const QJsonValue& value : filesRun.value(QStringLiteral("results")).toArray())
            states.append(value.toObject().value(QStringLiteral("baselineState")).toString());
        QCOMPARE(states, (QStringList{QStringLiteral("updated"), QStringLiteral("new"),
                                      QStringLiteral("absent")}));
        const QString guid = filesRun.value(QStringLiteral("baselineGuid")).toString();
        QVERIFY2(QRegularExpression(QStringLiteral("^[0-9a-f]{8}-[0-9a-f]{4}-5[0-9a-f]{3}-"
                                                   "[89ab][0-9a-f]{3}-[0-9a-f]{12}$"))
                     .match(guid)
                     .hasMatch(),
                 qPrintable(guid));
        const Run again = crcview({QStringLiteral("diff"), QStringLiteral("--format"),
                                   QStringLiteral("sarif"), m_base, m_head});
        QVERIFY(again.out.contains(guid));
    }

    // The JUnit reports of convert --to junit and summary --format junit pass xmllint --schema
    // with the JUnit schema, from real tools' outputs and from names no report should break on:
    // quotes, "]]>", control characters, a lone surrogate, a name that looks like markup.
    void junitReportsPassTheSchema()
    {
        const QString xmllint = QStandardPaths::findExecutable(QStringLiteral("xmllint"));
        if (xmllint.isEmpty())
            QSKIP("xmllint is not installed (scripts/setup installs libxml2-utils)");
        const auto check = [&xmllint](const QString& report) {
            QProcess lint;
            lint.start(xmllint, {QStringLiteral("--noout"), QStringLiteral("--schema"),
                                 QStringLiteral(JUNIT_XSD), report});
            if (!lint.waitForFinished(60000))
                lint.kill();
            const QString said = QString::fromLocal8Bit(lint.readAllStandardError());
            if (lint.exitStatus() != QProcess::NormalExit || lint.exitCode() != 0)
                qWarning().noquote() << said;
            return lint.exitStatus() == QProcess::NormalExit && lint.exitCode() == 0;
        };
        // The schema holds: a case without a name is refused.
        const QString nameless = path(QStringLiteral("nameless.xml"));
        QVERIFY(writeFile(nameless, "<testsuites><testsuite name='s' tests='1'><testcase/>"
                                    "</testsuite></testsuites>"));
        QVERIFY(!check(nameless));

        const QString hostileLog = path(QStringLiteral("hostile.sarif"));
        QVERIFY(writeFile(
            hostileLog,
            "{\"version\":\"2.1.0\",\"runs\":[{\"tool\":{\"driver\":{\"name\":\"t\\\"o'ol ]]> "
            "\\u0001\"}},"
            "\"results\":[{\"ruleId\":\"R\\\"1' ]]> \\u0007\\u0000x\",\"level\":\"error\","
            "\"message\":{\"text\":\"bad \\\"q\\\" ]]> <![CDATA[ x ]]> "
            "\\u0001\\u001b\\u001f\\ud800 \\uFFFE end\"},"
            "\"locations\":[{\"physicalLocation\":{\"artifactLocation\":{\"uri\":\"src/\\\"we "
            "ird'\\u0003]]>.c\"},"
            "\"region\":{\"startLine\":3}}}]}]}]}"));
        const QString hostileFile = path(QStringLiteral("h\"o]]>\x01st <b>.crc"));
        QVERIFY(writeFile(hostileFile,
                          "<XROD><DOCUMENT tag='d'><XROD:NODE type='File' name='a\"b ]]&gt; "
                          "&amp;#1; &lt;/testsuite&gt;' state='ko'><SECTION>" +
                              finding("f &quot;]]&gt;", 4, "ko", "m ]]&gt; \"q\" &lt;x/&gt;") +
                              "</SECTION></XROD:NODE></DOCUMENT></XROD>"));
        QStringList inputs{hostileLog, hostileFile, m_head};
        for (const char* real : {"clang-merged.sarif", "flawfinder.sarif", "ctest-junit.xml",
                                 "jest-junit.xml", "pytest-pyflakes-xunit1.xml"})
            inputs.append(importData + QLatin1Char('/') + QLatin1String(real));
        for (const char* real : {"eslint.sarif", "ctest-junit.xml"})
            inputs.append(QStringLiteral(REAL_DATA_DIR "/") + QLatin1String(real));
        int index = 0;
        for (const QString& input : std::as_const(inputs)) {
            const QString converted = path(QStringLiteral("junit-%1.xml").arg(++index));
            Run run = crcview({QStringLiteral("convert"), QStringLiteral("--to"),
                               QStringLiteral("junit"), input, QStringLiteral("-o"), converted});
            QCOMPARE(run.status, 0);
            QVERIFY2(check(converted), qPrintable(input));
            run = crcview({QStringLiteral("summary"), QStringLiteral("--format"),
                           QStringLiteral("junit"), input});
            QCOMPARE(run.status, 0);
            const QString summary = path(QStringLiteral("summary-%1.xml").arg(index));
            QVERIFY(writeFile(summary, run.out.toUtf8()));
            QVERIFY2(check(summary), qPrintable(input));
        }
        // The hostile texts are all there, escaped, but for the characters XML cannot carry.
        QFile hostile(path(QStringLiteral("junit-1.xml")));
        QVERIFY(hostile.open(QIODevice::ReadOnly));
        const QByteArray xml = hostile.readAll();
        QVERIFY2(xml.contains("classname=\"R&quot;1' ]]&gt; ??x\""), xml.constData());
        QVERIFY2(xml.contains("bad &quot;q&quot; ]]&gt; &lt;![CDATA[ x ]]&gt;"), xml.constData());
    }

    // The SARIF multitool finds no error in the logs written, from SARIF and from result files.
    void sarifReportValidates()
    {
        if (!QFile::exists(multitool))
            QSKIP("the SARIF multitool is not installed (scripts/setup, or SARIF_MULTITOOL)");
        const QString flawfinder = importData + QStringLiteral("/flawfinder.sarif");
        const QString clang = importData + QStringLiteral("/clang-merged.sarif");
        const QList<QStringList> pairs = {
            {flawfinder, clang}, {m_base, m_head}, {m_base, clang}, {clang, m_head}};
        int index = 0;
        for (const QStringList& runs : pairs) {
            const QString out = path(QStringLiteral("valid-%1.sarif").arg(++index));
            const Run run =
                crcview(QStringList{QStringLiteral("diff"), QStringLiteral("--format"),
                                    QStringLiteral("sarif"), QStringLiteral("-o"), out} +
                        runs);
            QCOMPARE(run.status, 0);
            QProcess validate;
            validate.start(multitool, {QStringLiteral("validate"), out});
            QVERIFY(validate.waitForFinished(120000));
            const QString report = QString::fromUtf8(validate.readAllStandardOutput() +
                                                     validate.readAllStandardError());
            QVERIFY2(report.contains(QStringLiteral("1 files scanned")), qPrintable(report));
            QVERIFY2(!report.contains(QStringLiteral(": error ")), qPrintable(report));
        }
        // The multitool does report errors: a log without its tool is one.
        const QString invalid = path(QStringLiteral("invalid.sarif"));
        QVERIFY(writeFile(invalid, "{\"version\":\"2.1.0\",\"runs\":[{\"results\":[]}]}"));
        QProcess validate;
        validate.start(multitool, {QStringLiteral("validate"), invalid});
        QVERIFY(validate.waitForFinished(120000));
        QVERIFY(QString::fromUtf8(validate.readAllStandardOutput())
                    .contains(QStringLiteral(": error ")));
    }
};

QTEST_GUILESS_MAIN(TestDiff)
#include "tst_diff.moc"
