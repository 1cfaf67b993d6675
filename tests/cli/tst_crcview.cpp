// The command line: output formats, exit statuses and the bundled examples.

#include "tests/testkit.h"

#include <QDir>
#include <QHash>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QRegularExpression>
#include <QScopeGuard>
#include <QSet>
#include <QStorageInfo>
#include <QTemporaryDir>
#include <QTest>
#include <QUrl>

namespace {

using testkit::mountTinyDisk;
using Run = testkit::CrcviewRun;

Run crcview(const QStringList& arguments)
{
    return testkit::runCrcview(arguments, 60000);
}

QString writeFile(const QTemporaryDir& dir, const QString& name, const QByteArray& content)
{
    const QString path = dir.filePath(name);
    QFile file(path);
    if (file.open(QIODevice::WriteOnly))
        file.write(content);
    return path;
}

QByteArray readAll(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

// A result file of one failed node whose section holds `content`.
QByteArray result(const QString& tag, const QByteArray& content)
{
    return "<XROD><DOCUMENT tag='" + tag.toUtf8() +
           "'><XROD:NODE name='n' type='Rule' state='ko' sum='1'><SECTION tag='s'>" + content +
           "</SECTION></XROD:NODE></DOCUMENT></XROD>";
}

// Every local link of every page in `out`: the page it names must be there, and so must the
// anchor in it; a link to another file (a source file) must find it. The links that lead
// nowhere, as "PAGE -> HREF".
QStringList deadLinks(const QString& out)
{
    QStringList dead;
    static const QRegularExpression href(QStringLiteral("href=\"([^\"]*)\""));
    static const QRegularExpression id(QStringLiteral("id=\"([^\"]*)\""));
    QHash<QString, QSet<QString>> ids;
    const QStringList pages = QDir(out).entryList({QStringLiteral("*.html")}, QDir::Files);
    for (const QString& page : pages) {
        const QString html = QString::fromUtf8(readAll(QDir(out).filePath(page)));
        for (auto match = id.globalMatch(html); match.hasNext();)
            ids[page].insert(match.next().captured(1));
    }
    for (const QString& page : pages) {
        const QString html = QString::fromUtf8(readAll(QDir(out).filePath(page)));
        for (auto match = href.globalMatch(html); match.hasNext();) {
            const QString link = match.next().captured(1);
            // Source files and web pages are outside the export.
            if (link.startsWith(QLatin1String("file:")) || link.startsWith(QLatin1String("https:")))
                continue;
            const qsizetype hash = link.indexOf(u'#');
            QString target = hash < 0 ? link : link.left(hash);
            const QString anchor = hash < 0 ? QString() : link.mid(hash + 1);
            target = target.isEmpty() ? page : QUrl::fromPercentEncoding(target.toUtf8());
            if (!target.endsWith(QLatin1String(".html")) && anchor.isEmpty() &&
                QFileInfo(QDir(out).filePath(target)).isFile())
                continue;
            if (!pages.contains(target) || (!anchor.isEmpty() && !ids[target].contains(anchor)))
                dead.append(page + QStringLiteral(" -> ") + link);
        }
    }
    return dead;
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
        // Asked for, the usage is an answer, not an error.
        Run run = crcview({QStringLiteral("--help")});
        QCOMPARE(run.status, 0);
        QVERIFY(run.out.startsWith(QLatin1String("usage: crcview")));
        QCOMPARE(run.err, QString());
        run = crcview({QStringLiteral("--version")});
        QCOMPARE(run.status, 0);
        QVERIFY(run.out.startsWith(QLatin1String("crcview ")));
        QVERIFY(run.out.at(8).isDigit());
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

        // A log that cannot be converted leaves the verdict incomplete, even beside failed tests.
        const QString brokenLog = writeFile(dir, QStringLiteral("broken.sarif"), "{\"runs\": [");
        run = crcview({QStringLiteral("summary"), QStringLiteral("--check"), failed, brokenLog});
        QCOMPARE(run.status, 2);
        QVERIFY(run.err.contains(brokenLog));

        // For scripts: the totals and each file's counts, the unreadable ones named as given.
        run = crcview({QStringLiteral("summary"), QStringLiteral("--format"),
                       QStringLiteral("json"), passed, failed, broken, brokenLog});
        QCOMPARE(run.status, 2);
        const QJsonObject counts = QJsonDocument::fromJson(run.out.toUtf8()).object();
        QCOMPARE(counts.value("totals").toObject(),
                 QJsonObject({{"passed", 4}, {"failed", 2}, {"skipped", 0}}));
        const QJsonArray perFile = counts.value("files").toArray();
        QCOMPARE(perFile.size(), 2);
        QCOMPARE(perFile.at(1).toObject().value("file").toString(), failed);
        QCOMPARE(perFile.at(1).toObject().value("failed").toInt(), 2);
        QCOMPARE(counts.value("unreadable").toArray(), QJsonArray({brokenLog, broken}));
    }

    // The gate counts analyzers' findings from the level asked for; failures without a level
    // always count, and a rule's group is not a failure of its own.
    void gateOnTheLevelOfFindings()
    {
        QTemporaryDir dir;
        const QString log = writeFile(
            dir, QStringLiteral("lint.sarif"),
            R"({"version": "2.1.0", "runs": [{"tool": {"driver": {"name": "lint"}}, "results": [
                 {"ruleId": "R1", "level": "warning", "message": {"text": "w"}},
                 {"ruleId": "R2", "level": "note", "message": {"text": "n"}}]}]})");
        const QString failed =
            writeFile(dir, QStringLiteral("ko.crc"),
                      "<XROD><DOCUMENT tag='b'><XROD:NODE name='r' type='Rule' state='ko' sum='1'>"
                      "<SECTION/></XROD:NODE></DOCUMENT></XROD>");
        const auto gate = [&](const QString& level, const QString& file) {
            return crcview({QStringLiteral("summary"), QStringLiteral("--check"),
                            QStringLiteral("--fail-on"), level, file})
                .status;
        };
        QCOMPARE(crcview({QStringLiteral("summary"), QStringLiteral("--check"), log}).status, 1);
        QCOMPARE(gate(QStringLiteral("error"), log), 0);
        QCOMPARE(gate(QStringLiteral("warning"), log), 1);
        QCOMPARE(gate(QStringLiteral("note"), log), 1);
        QCOMPARE(gate(QStringLiteral("error"), failed), 1);
        QCOMPARE(gate(QStringLiteral("fatal"), log), 64);
        QCOMPARE(crcview({QStringLiteral("summary"), QStringLiteral("--fail-on"),
                          QStringLiteral("note"), log})
                     .status,
                 64);
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

    // Pages that cannot be written (a read-only folder, a full disk) and linked report files
    // that cannot be read (malformed, a device, a FIFO) give exit status 2 and a line each on
    // standard error with the reason; nothing hangs, and no page is left empty or replaced by
    // a broken one.
    void exportExitStatuses()
    {
        QTemporaryDir dir;
        const QString bad = writeFile(dir, QStringLiteral("bad.xrd"), "<DOCUMENT tag='b'>\n<oops");
        const QString fifo = dir.filePath(QStringLiteral("fifo.xrd"));
        QVERIFY(QProcess::execute(QStringLiteral("mkfifo"), {fifo}) == 0);
        const QString linking = writeFile(dir, QStringLiteral("linking.crc"),
                                          result(QStringLiteral("linking"),
                                                 "<LINK target='xrdlink://bad.xrd'>b</LINK>"
                                                 "<LINK target='xrdlink:///dev/zero'>z</LINK>"
                                                 "<LINK target='xrdlink://fifo.xrd'>f</LINK>"));
        const QString out = dir.filePath(QStringLiteral("out"));
        Run run = crcview({QStringLiteral("export"), out, linking});
        QCOMPARE(run.status, 2);
        QVERIFY2(run.err.contains(
                     QStringLiteral("Unable to open the report file '%1': %1:2:1: ").arg(bad)),
                 qPrintable(run.err));
        QVERIFY2(run.err.contains(
                     QLatin1String("/dev/zero: cannot open the file: it is not a regular file")),
                 qPrintable(run.err));
        QVERIFY2(run.err.contains(
                     fifo + QStringLiteral(": cannot open the file: it is not a regular file")),
                 qPrintable(run.err));
        QVERIFY(QFileInfo::exists(QDir(out).filePath(QStringLiteral("index.html"))));

        const QString good =
            writeFile(dir, QStringLiteral("good.crc"),
                      result(QStringLiteral("good"), "<PARAGRAPH>fine</PARAGRAPH>"));
        const QString disk = dir.filePath(QStringLiteral("disk"));
        if (!mountTinyDisk(disk))
            QSKIP("mounting a small file system is not allowed here");
        const auto unmount =
            qScopeGuard([&] { QProcess::execute(QStringLiteral("umount"), {disk}); });
        run = crcview({QStringLiteral("export"), disk, good});
        QCOMPARE(run.status, 0);
        const QByteArray page = readAll(disk + QStringLiteral("/good.html"));
        QVERIFY(page.contains("fine"));

        // Full: what was there stays whole, nothing new is left empty.
        QFile filler(disk + QStringLiteral("/filler"));
        QVERIFY(filler.open(QIODevice::WriteOnly));
        filler.write(QByteArray(QStorageInfo(disk).bytesAvailable() - 1024, 'f'));
        filler.close();
        const QString other = writeFile(dir, QStringLiteral("other.crc"),
                                        result(QStringLiteral("other"), QByteArray(8000, 'x')));
        run = crcview({QStringLiteral("export"), disk, good, other});
        QCOMPARE(run.status, 2);
        QVERIFY2(run.err.contains(QLatin1String("No space left")), qPrintable(run.err));
        QCOMPARE(readAll(disk + QStringLiteral("/good.html")).size(), page.size());
        for (const QFileInfo& file : QDir(disk).entryInfoList(QDir::Files | QDir::Hidden))
            QVERIFY2(file.size() > 0, qPrintable(file.fileName()));
        QFile::remove(disk + QStringLiteral("/filler"));

        QVERIFY(QProcess::execute(QStringLiteral("mount"),
                                  {QStringLiteral("-o"), QStringLiteral("remount,ro"), disk}) == 0);
        run = crcview({QStringLiteral("export"), disk, good});
        QCOMPARE(run.status, 2);
        QVERIFY2(run.err.contains(QLatin1String("Read-only")), qPrintable(run.err));
        QCOMPARE(readAll(disk + QStringLiteral("/good.html")).size(), page.size());
    }

    // A result file written to harm whoever exports it: pictures outside its folder (absolute,
    // climbing out, through a link, system files), a picture named like a page or a script,
    // pages that are links to other files, files of the user in the folder. Nothing outside is
    // copied, no foreign file is replaced, nothing is written through a link; a second export
    // into the same folder replaces its own pages under the same names.
    void hostileResultFilesStayInside()
    {
        QTemporaryDir dir;
        const QString reports = dir.filePath(QStringLiteral("reports"));
        QVERIFY(QDir().mkpath(reports + QStringLiteral("/pics")));
        QVERIFY(QDir().mkpath(dir.filePath(QStringLiteral("victim"))));
        writeFile(dir, QStringLiteral("reports/pics/chart.png"), "PNG");
        writeFile(dir, QStringLiteral("reports/pics/a.html"), "<script>alert(1)</script>");
        writeFile(dir, QStringLiteral("reports/build.sh"), "echo harm");
        writeFile(dir, QStringLiteral("outside.png"), "SECRET");
        writeFile(dir, QStringLiteral("victim/x"), "victim");
        QVERIFY(QFile::link(dir.filePath(QStringLiteral("outside.png")),
                            reports + QStringLiteral("/pics/inside.png")));
        const QString crc = writeFile(
            dir, QStringLiteral("reports/a.crc"),
            result(QStringLiteral("a"),
                   "<PARAGRAPH><IMAGE src='/etc/passwd'/><IMAGE src='../../../../etc/shadow'/>"
                   "<IMAGE src='/proc/self/environ'/><IMAGE src='../outside.png'/>"
                   "<IMAGE src='pics/inside.png'/><IMAGE src='pics/a.html'/>"
                   "<IMAGE src='build.sh'/><IMAGE src='pics/chart.png'/></PARAGRAPH>"));
        const QString out = dir.filePath(QStringLiteral("out"));
        QVERIFY(QDir().mkpath(out));
        writeFile(dir, QStringLiteral("out/chart.png"), "user's own picture");
        QVERIFY(QFile::link(dir.filePath(QStringLiteral("victim/x")),
                            QDir(out).filePath(QStringLiteral("index.html"))));

        Run run = crcview({QStringLiteral("export"), out, crc});
        QCOMPARE(run.status, 0);
        QCOMPARE(run.out.trimmed(), QDir(out).filePath(QStringLiteral("index-2.html")));
        QCOMPARE(readAll(dir.filePath(QStringLiteral("victim/x"))), QByteArray("victim"));
        QCOMPARE(readAll(QDir(out).filePath(QStringLiteral("chart.png"))),
                 QByteArray("user's own picture"));
        QCOMPARE(readAll(QDir(out).filePath(QStringLiteral("chart-2.png"))), QByteArray("PNG"));
        QStringList written = QDir(out).entryList(QDir::Files | QDir::Hidden | QDir::System);
        written.sort();
        QCOMPARE(written, QStringList({".crc-export-manifest", "a.html", "chart-2.png", "chart.png",
                                       "index-2.html", "index.html"}));
        QCOMPARE(readAll(QDir(out).filePath(QStringLiteral("a.html"))).count("<script"), 0);
        for (const char* leftOut : {"/etc/passwd", "../../../../etc/shadow", "/proc/self/environ",
                                    "../outside.png", "pics/inside.png", "pics/a.html", "build.sh"})
            QVERIFY2(
                run.err.contains(QStringLiteral("Image '%1' left out").arg(QLatin1String(leftOut))),
                qPrintable(run.err));

        run = crcview({QStringLiteral("export"), out, crc});
        QCOMPARE(run.status, 0);
        QStringList again = QDir(out).entryList(QDir::Files | QDir::Hidden | QDir::System);
        again.sort();
        QCOMPARE(again, written);
    }

    // Reports and linked files whose names collide, or would break links: every page is
    // written under its own name within 255 bytes, and every local link of every page leads
    // to a page and an anchor that are there.
    void collidingNamesAllReachTheirPages()
    {
        QTemporaryDir dir;
        QByteArray fifty;
        for (int i = 0; i < 50; ++i) {
            const QString name = QStringLiteral("r.%1.xrd").arg(i);
            writeFile(dir, name,
                      "<DOCUMENT tag='x'><TAG name='t'/><PARAGRAPH>" + QByteArray::number(i) +
                          "</PARAGRAPH></DOCUMENT>");
            fifty += "<LINK target='xrdlink://" + name.toUtf8() + "#t'>" + QByteArray::number(i) +
                     "</LINK>";
        }
        writeFile(dir, QStringLiteral("d.xrd"),
                  "<DOCUMENT tag='dd'><TAG name='t'/><LINK target='::d'>back</LINK></DOCUMENT>");
        const QString cjk = QString(120, QChar(0x6f22));
        const QStringList tags{
            QStringLiteral("index"),    QStringLiteral("d"), QStringLiteral("run.v2"),
            QStringLiteral("dir/name"), QString(),           cjk,
            QStringLiteral("run")};
        QStringList files;
        QByteArray links = "<LINK target='xrdlink://d.xrd#t'>d file</LINK>" + fifty;
        for (const QString& tag : tags)
            links += "<LINK target='::" + tag.toUtf8() + "'>to " + tag.toUtf8() + "</LINK>";
        for (int i = 0; i < tags.size(); ++i)
            files.append(writeFile(dir, QStringLiteral("c%1.crc").arg(i),
                                   result(tags.at(i), "<PARAGRAPH>" + links + "</PARAGRAPH>")));
        const QString out = dir.filePath(QStringLiteral("out"));
        Run run = crcview(QStringList{QStringLiteral("export"), out} + files);
        QCOMPARE(run.status, 0);
        const QStringList pages = QDir(out).entryList({QStringLiteral("*.html")}, QDir::Files);
        QCOMPARE(pages.size(), 1 + int(tags.size()) + 1 + 50); // index, reports, d.xrd, r.N.xrd
        for (const QString& page : pages)
            QVERIFY2(page.toUtf8().size() <= 255, qPrintable(page));
        QVERIFY(readAll(QDir(out).filePath(QStringLiteral("index.html")))
                    .contains("Code review results"));
        const QStringList dead = deadLinks(out);
        QVERIFY2(dead.isEmpty(), qPrintable(dead.join(u'\n')));
    }

    // Each report's links are taken beside that report: a report file it names, the report
    // files those name in turn, and a source path no node's base makes whole. For analyzer and
    // test results that beside is the folder of the log the user gave, not the converted copy's.
    void exportTakesEachLinkBesideItsReport()
    {
        QTemporaryDir dir;
        QVERIFY(QDir(dir.path()).mkpath(QStringLiteral("a")));
        QVERIFY(QDir(dir.path()).mkpath(QStringLiteral("b/more")));
        QVERIFY(QDir(dir.path()).mkpath(QStringLiteral("b/src")));
        QVERIFY(QDir(dir.path()).mkpath(QStringLiteral("j/src")));
        const QString first =
            writeFile(dir, QStringLiteral("a/first.crc"), result(QStringLiteral("first"), "a"));
        const QString second =
            writeFile(dir, QStringLiteral("b/second.crc"),
                      result(QStringLiteral("second"),
                             "<PARAGRAPH><LINK target='xrdlink://detail.xrd#x'>detail</LINK> "
                             "<LINK target='src/b.c line 3'>b.c</LINK></PARAGRAPH>"));
        writeFile(dir, QStringLiteral("b/detail.xrd"),
                  "<DOCUMENT tag='detail'><SECTION tag='x'><PARAGRAPH>"
                  "<LINK target='xrdlink://more/deeper.xrd#y'>deeper</LINK>"
                  "</PARAGRAPH></SECTION></DOCUMENT>");
        writeFile(dir, QStringLiteral("b/more/deeper.xrd"),
                  "<DOCUMENT tag='deeper'><SECTION tag='y'><PARAGRAPH>"
                  "<LINK target='xrdlink://../detail.xrd#x'>back</LINK>"
                  "</PARAGRAPH></SECTION></DOCUMENT>");
        writeFile(dir, QStringLiteral("b/src/b.c"), "int b;\n");
        writeFile(dir, QStringLiteral("j/src/t.c"), "int t;\n");
        // A test case outside any suite: no node gives its file a base.
        const QString junit = writeFile(
            dir, QStringLiteral("j/bare.xml"),
            "<?xml version='1.0'?><testsuites name='bare'><testcase name='t1' classname='c' "
            "file='src/t.c' line='3'><failure message='boom'>x</failure></testcase></testsuites>");
        qputenv("XDG_CACHE_HOME", QFile::encodeName(dir.filePath(QStringLiteral("cache"))));
        const QString sarif = QStringLiteral(IMPORT_DATA_DIR "/flawfinder.sarif");

        const auto pagesLinkTo = [](const QString& out, const QString& href) {
            for (const QString& page : QDir(out).entryList({QStringLiteral("*.html")})) {
                if (readAll(QDir(out).filePath(page)).contains("href=\"" + href.toUtf8() + '"'))
                    return true;
            }
            return false;
        };
        const QString out = dir.filePath(QStringLiteral("out"));
        Run run = crcview({QStringLiteral("export"), out, first, second});
        QVERIFY2(run.status == 0, qPrintable(run.err));
        QCOMPARE(run.err, QString());
        for (const char* page : {"first.html", "second.html", "detail.html", "deeper.html"})
            QVERIFY2(QFile::exists(QDir(out).filePath(QLatin1String(page))), page);
        QStringList dead = deadLinks(out);
        QVERIFY2(dead.isEmpty(), qPrintable(dead.join(u'\n')));
        QVERIFY(pagesLinkTo(out, QStringLiteral("../b/src/b.c")));

        // The issue's own case: a converted log first, then a report that links to its file.
        const QString imported = dir.filePath(QStringLiteral("imported"));
        run = crcview({QStringLiteral("export"), imported, sarif, junit, second});
        QVERIFY2(run.status == 0, qPrintable(run.err));
        QVERIFY2(!run.err.contains(QLatin1String("cache")), qPrintable(run.err));
        QVERIFY(QFile::exists(QDir(imported).filePath(QStringLiteral("detail.html"))));
        dead = deadLinks(imported);
        QVERIFY2(dead.isEmpty(), qPrintable(dead.join(u'\n')));
        QVERIFY(pagesLinkTo(imported, QStringLiteral("../j/src/t.c")));
        qunsetenv("XDG_CACHE_HOME");
    }

    // The bundled examples are what a new user opens first: they must all read cleanly.
    // --source-url links each source place to a web address; --embed-sources shows the lines
    // around it under the link, read only from a regular file. A template that is no web
    // address, or names no path, is a bad command line.
    void exportLinksSourcesToTheWebOrEmbedsThem()
    {
        QTemporaryDir dir;
        QVERIFY(dir.isValid());
        QVERIFY(QDir(dir.path()).mkpath(QStringLiteral("repo/src")));
        writeFile(dir, QStringLiteral("repo/src/main.c"),
                  "int one;\nint two;\nint three;\nint four;\nint five;\nint six;\n");
        const QString report = writeFile(
            dir, QStringLiteral("repo/report.crc"),
            "<XROD><DOCUMENT tag='r'><XROD:NODE name='f' type='File' state='ko' base='" +
                dir.filePath(QStringLiteral("repo/")).toUtf8() +
                "'><SECTION><XROD:NODE name='n' type='Rule' state='ko' sum='1'><SECTION "
                "tag='s'><PARAGRAPH>At <LINK target='src/main.c line 4'>main.c:4</LINK>"
                "</PARAGRAPH></SECTION></XROD:NODE></SECTION></XROD:NODE></DOCUMENT></XROD>");
        const QString out = dir.filePath(QStringLiteral("web"));
        Run run = crcview({QStringLiteral("export"), QStringLiteral("--source-url"),
                           QStringLiteral("https://host/repo/blob/REV/{path}#L{line}"),
                           QStringLiteral("--embed-sources"), out, report});
        QVERIFY2(run.status == 0, qPrintable(run.err));
        QByteArray page = readAll(out + QStringLiteral("/r.html"));
        QVERIFY2(page.contains("<a href=\"https://host/repo/blob/REV/src/main.c#L4\">main.c:4</a>"),
                 page.constData());
        QVERIFY(page.contains("     1  int one;\n"));
        QVERIFY(page.contains("<mark>     4  int four;\n</mark>"));
        QVERIFY(page.contains("     6  int six;\n</code>"));

        // Without a template the link stays a file's; the lines are shown all the same.
        const QString local = dir.filePath(QStringLiteral("local"));
        run = crcview({QStringLiteral("export"), QStringLiteral("--embed-sources"), local, report});
        QVERIFY2(run.status == 0, qPrintable(run.err));
        page = readAll(local + QStringLiteral("/r.html"));
        QVERIFY(page.contains("src/main.c\">main.c:4</a>"));
        QVERIFY(page.contains("<mark>     4  int four;\n</mark>"));
        // No template, no lines: as before.
        run = crcview({QStringLiteral("export"), dir.filePath(QStringLiteral("plain")), report});
        QVERIFY(!readAll(dir.filePath(QStringLiteral("plain/r.html"))).contains("int four"));

        for (const QString& bad : {QStringLiteral("javascript:alert('{path}')"),
                                   QStringLiteral("https://host/no-path")}) {
            run = crcview({QStringLiteral("export"), QStringLiteral("--source-url"), bad,
                           dir.filePath(QStringLiteral("bad")), report});
            QCOMPARE(run.status, 64);
        }
    }

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
