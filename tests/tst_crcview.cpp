// The command line: output formats, exit statuses and the bundled examples.

#include <QDir>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

namespace {

struct Run
{
    int status = -1;
    QString out;
    QString err;
};

Run crcview(const QStringList& arguments)
{
    QProcess process;
    process.start(QStringLiteral(CRCVIEW_PATH), arguments);
    Run run;
    if (!process.waitForFinished(60000)) {
        process.kill();
        return run;
    }
    run.status = process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
    run.out = QString::fromUtf8(process.readAllStandardOutput());
    run.err = QString::fromUtf8(process.readAllStandardError());
    return run;
}

QString writeFile(const QTemporaryDir& dir, const QString& name, const QByteArray& content)
{
    const QString path = dir.filePath(name);
    QFile file(path);
    if (file.open(QIODevice::WriteOnly))
        file.write(content);
    return path;
}

} // namespace

class TestCrcview : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void dumpPrintsNodesTypesAndTotals()
    {
        QTemporaryDir dir;
        const QString path = writeFile(dir, QStringLiteral("r.crc"),
                                       "<XROD><DOCUMENT tag='d'>"
                                       "<XROD:NODE name='main.c' type='File' state='ko'><SECTION>"
                                       "<XROD:NODE name='no-goto' type='Rule' state='ko' "
                                       "sum='2'><PARAGRAPH>x</PARAGRAPH></XROD:NODE>"
                                       "</SECTION></XROD:NODE>"
                                       "<XROD:NODE name='empty' type='Rule' state='ok' sum='5'/>"
                                       "<XROD:NODE name='skipped' type='Naming' state='NE' "
                                       "sum='1'><PARAGRAPH>y</PARAGRAPH></XROD:NODE>"
                                       "</DOCUMENT></XROD>");
        Run run = crcview({QStringLiteral("dump"), path});
        QCOMPARE(run.status, 0);
        QCOMPARE(run.err, QString());
        QCOMPARE(run.out,
                 QStringLiteral("node 1 depth 1\n"
                                "QAReporterNode::name=main.c\nQAReporterNode::type=File\n"
                                "QAReporterNode::stat=ko\nQAReporterNode::tag =1\n"
                                "QAReporterNode::DItem=SECTION\nQAReporterNode::DItem=SECTION\n"
                                "node 2 depth 2\n"
                                "QAReporterNode::name=no-goto\nQAReporterNode::type=Rule\n"
                                "QAReporterNode::stat=ko\nQAReporterNode::tag =2\n"
                                "QAReporterNode::DItem=PARAGRAPH\nQAReporterNode::DItem=PARAGRAPH\n"
                                "node 3 depth 1\n"
                                "QAReporterNode::name=empty\nQAReporterNode::type=Rule\n"
                                "QAReporterNode::stat=ok\nQAReporterNode::tag =3\n"
                                "node 4 depth 1\n"
                                "QAReporterNode::name=skipped\nQAReporterNode::type=Naming\n"
                                "QAReporterNode::stat=NE\nQAReporterNode::tag =4\n"
                                "QAReporterNode::DItem=PARAGRAPH\nQAReporterNode::DItem=PARAGRAPH\n"
                                "types: File, Rule, Naming\n"
                                "totals: passed=5 failed=2 inconclusive=1\n"));

        run = crcview({QStringLiteral("dump"), QStringLiteral("--count"), path});
        QCOMPARE(run.status, 0);
        QCOMPARE(run.out, QStringLiteral("nodes: 4\ntotals: passed=5 failed=2 inconclusive=1\n"));
    }

    void unreadableFilesNameFileLineAndColumn()
    {
        QTemporaryDir dir;
        const QString bad =
            writeFile(dir, QStringLiteral("bad.crc"),
                      "<XROD>\n<DOCUMENT>\n <XROD:NODE name='n'/>\n</DOCUMENT></XROD>\n");
        Run run = crcview({QStringLiteral("dump"), bad});
        QCOMPARE(run.status, 2);
        QCOMPARE(run.out, QString());
        QCOMPARE(run.err, bad + QStringLiteral(":3:2: Xml/ROD, unvalable type attribute.\n"));

        const QString empty = writeFile(dir, QStringLiteral("empty.crc"), QByteArray());
        run = crcview({QStringLiteral("dump"), empty});
        QCOMPARE(run.status, 2);
        QCOMPARE(run.err, empty + QStringLiteral(":1:1: no element found\n"));

        const QString missing = dir.filePath(QStringLiteral("missing.crc"));
        run = crcview({QStringLiteral("dump"), missing});
        QCOMPARE(run.status, 2);
        QVERIFY(run.err.startsWith(missing + QStringLiteral(": cannot open the file")));
        QCOMPARE(run.err.count(QLatin1Char('\n')), 1);
    }

    void badCommandLinesGetUsage()
    {
        const QList<QStringList> lines = {
            {},
            {QStringLiteral("dump")},
            {QStringLiteral("dump"), QStringLiteral("--bogus"), QStringLiteral("x.crc")},
            {QStringLiteral("dump"), QStringLiteral("a.crc"), QStringLiteral("b.crc")},
            {QStringLiteral("explode")},
        };
        for (const QStringList& arguments : lines) {
            const Run run = crcview(arguments);
            QCOMPARE(run.status, 64);
            QVERIFY(run.err.startsWith(QLatin1String("usage: crcview")));
        }
    }

    void summaryCountsAllFilesAndSaysWhatFailed()
    {
        QTemporaryDir dir;
        const QString passed =
            writeFile(dir, QStringLiteral("ok.crc"),
                      "<XROD><DOCUMENT tag='a'><XROD:NODE name='r' type='Rule' state='ok' sum='4'>"
                      "<SECTION/></XROD:NODE></DOCUMENT></XROD>");
        const QString failed =
            writeFile(dir, QStringLiteral("ko.crc"),
                      "<XROD><DOCUMENT tag='b'><XROD:NODE name='r' type='Rule' state='ko' sum='2'>"
                      "<SECTION/></XROD:NODE></DOCUMENT></XROD>");
        const QString broken = writeFile(dir, QStringLiteral("broken.crc"), "<XROD>\n<DOCUMENT>");

        Run run = crcview({QStringLiteral("summary"), passed, failed});
        QCOMPARE(run.status, 0);
        QCOMPARE(run.out, QStringLiteral("\t[4] Test Case Passed\n\t[2] Test Case Failed\n"));
        QCOMPARE(run.err, QString());

        run = crcview({QStringLiteral("summary"), QStringLiteral("--check"),
                       QStringLiteral("--node"), QStringLiteral("suite.rules"), passed, failed});
        QCOMPARE(run.status, 1);
        QCOMPARE(run.out, QStringLiteral("TestNode: suite.rules\n\t[4] Test Case Passed\n"
                                         "\t[2] Test Case Failed\n"));
        QCOMPARE(crcview({QStringLiteral("summary"), QStringLiteral("--check"), passed}).status, 0);

        run = crcview({QStringLiteral("summary"), passed, broken});
        QCOMPARE(run.status, 2);
        QCOMPARE(run.out, QStringLiteral("\t[4] Test Case Passed\n\t[0] Test Case Failed\n"));
        QVERIFY(run.err.contains(QStringLiteral("File(s) not found or corrupted:\n\t") + broken));
        QVERIFY(run.err.contains(broken + QStringLiteral(":2:")));
        QCOMPARE(crcview({QStringLiteral("summary")}).status, 64);
    }

    void exportWritesLinkedPages()
    {
        QTemporaryDir dir;
        const QString out = dir.filePath(QStringLiteral("html"));
        const QDir examples(QStringLiteral(EXAMPLES_DIR));
        Run run = crcview(
            {QStringLiteral("export"), out, examples.filePath(QStringLiteral("rules-core.crc"))});
        QCOMPARE(run.status, 0);
        QCOMPARE(run.out.trimmed(), QDir(out).absoluteFilePath(QStringLiteral("index.html")));
        const QStringList pages = QDir(out).entryList({QStringLiteral("*.html")}, QDir::Files);
        QVERIFY(pages.contains(QStringLiteral("index.html")));
        QVERIFY(pages.contains(QStringLiteral("rules.html")));
        QVERIFY(pages.contains(QStringLiteral("metrics-detail.html"))); // linked report file
        QFile index(QDir(out).filePath(QStringLiteral("index.html")));
        QVERIFY(index.open(QIODevice::ReadOnly));
        QVERIFY(index.readAll().contains("href=\"rules.html\""));

        run = crcview({QStringLiteral("export"), out});
        QCOMPARE(run.status, 64);
        run = crcview({QStringLiteral("export"), out, dir.filePath(QStringLiteral("missing.crc"))});
        QCOMPARE(run.status, 2);
    }

    // The bundled examples are what a new user opens first: they must all read cleanly.
    void examplesReadCleanly()
    {
        const QDir examples(QStringLiteral(EXAMPLES_DIR));
        const QStringList files =
            examples.entryList({QStringLiteral("*.crc"), QStringLiteral("*.xrd")}, QDir::Files);
        QVERIFY(files.size() >= 4);
        for (const QString& name : files) {
            const Run run = crcview({QStringLiteral("dump"), examples.filePath(name)});
            QVERIFY2(run.status == 0, qPrintable(name + QLatin1String(": ") + run.err));
            if (name.endsWith(QLatin1String(".crc"))) {
                QVERIFY2(run.out.contains(QLatin1String("QAReporterNode::stat=ko")),
                         qPrintable(name));
                QVERIFY2(!run.out.contains(QLatin1String("failed=0 ")), qPrintable(name));
            }
        }
    }
};

QTEST_GUILESS_MAIN(TestCrcview)
#include "tst_crcview.moc"
