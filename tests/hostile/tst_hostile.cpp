// Hostile result files, analyzer logs and test reports through crcview dump, summary, export and
// convert: every input gives a clear error naming the file or a clean result, within a bound of
// processor time and memory; exported pages carry nothing a browser runs, nothing is written
// outside the export folder, and no external entity is ever read. The importers, in crcview and
// in crcstudio, end with a message naming the log when memory runs out.

#include "tests/hostile/pageoracle.h"
#include "tests/testkit.h"

#include <QDir>
#include <QDirIterator>
#include <QHash>
#include <QProcess>
#include <QSet>
#include <QTemporaryDir>
#include <QTest>
#include <sys/resource.h>

#if defined(__SANITIZE_ADDRESS__)
#define CRC_ADDRESS_SANITIZER 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define CRC_ADDRESS_SANITIZER 1
#endif
#endif

#ifdef CRC_ADDRESS_SANITIZER
constexpr bool underAddressSanitizer = true;
#else
constexpr bool underAddressSanitizer = false;
#endif

namespace {

constexpr int cpuSeconds = 120;
constexpr rlim_t memoryBytes = rlim_t(3) << 30;
constexpr int exitUnreadable = 2;
// A file of a few hundred thousand distinct item types is read, counted and shown in well under
// a second; a look-up per type in a list of them took minutes.
constexpr int manyTypesCpuSeconds = 20;
// Far more than a program needs to start, far less than the large file below needs to be read.
constexpr rlim_t smallMemoryBytes = rlim_t(512) << 20;

struct Limits
{
    int cpuSeconds = ::cpuSeconds;
    rlim_t memoryBytes = ::memoryBytes;
};

enum class Outcome
{
    Read,   // a clean result
    Refused // an error naming the file
};

// What each file of the seed corpus must give when read by crcview dump (and, for analyzer logs
// and test reports, when converted): every file there is listed.
const QHash<QString, Outcome>& corpusOutcomes()
{
    static const QHash<QString, Outcome> outcomes{
        {QStringLiteral("active-content.crc"), Outcome::Read},
        {QStringLiteral("bad-utf8.crc"), Outcome::Refused},
        {QStringLiteral("binary.crc"), Outcome::Refused},
        {QStringLiteral("deep-document.xrd"), Outcome::Read},
        {QStringLiteral("deep-nodes.crc"), Outcome::Read},
        {QStringLiteral("empty.crc"), Outcome::Refused},
        {QStringLiteral("entities-external.crc"), Outcome::Refused},
        {QStringLiteral("entities-nested.crc"), Outcome::Refused},
        {QStringLiteral("extreme-numbers.crc"), Outcome::Refused},
        {QStringLiteral("latin1.crc"), Outcome::Read},
        {QStringLiteral("long-run.crc"), Outcome::Read},
        {QStringLiteral("paths.crc"), Outcome::Refused},
        {QStringLiteral("span-most-negative.crc"), Outcome::Read},
        {QStringLiteral("span-past-int-range.crc"), Outcome::Read},
        {QStringLiteral("structure-errors.crc"), Outcome::Refused},
        {QStringLiteral("truncated-half.crc"), Outcome::Refused},
        {QStringLiteral("truncated-in-entity.crc"), Outcome::Refused},
        {QStringLiteral("truncated-in-tag.crc"), Outcome::Refused},
        {QStringLiteral("unknown-encoding.crc"), Outcome::Refused},
        {QStringLiteral("utf16.crc"), Outcome::Read},
        {QStringLiteral("windows-1252.crc"), Outcome::Refused},
        {QStringLiteral("import/junit-classes.xml"), Outcome::Read},
        {QStringLiteral("import/junit-cut-in-character.xml"), Outcome::Read},
        {QStringLiteral("import/junit-deep.xml"), Outcome::Read},
        {QStringLiteral("import/junit-entity-expansion.xml"), Outcome::Refused},
        {QStringLiteral("import/junit-external-entity.xml"), Outcome::Refused},
        {QStringLiteral("import/junit-external-entity-text.xml"), Outcome::Read},
        {QStringLiteral("import/junit-latin1.xml"), Outcome::Read},
        {QStringLiteral("import/junit-many-blocks.xml"), Outcome::Read},
        {QStringLiteral("import/junit-nested-in-output.xml"), Outcome::Read},
        {QStringLiteral("import/junit-not-junit.xml"), Outcome::Refused},
        {QStringLiteral("import/junit-truncated.xml"), Outcome::Refused},
        {QStringLiteral("import/junit-unknown-encoding.xml"), Outcome::Refused},
        {QStringLiteral("import/sarif-bad-utf8.sarif"), Outcome::Refused},
        {QStringLiteral("import/sarif-base-cycle.sarif"), Outcome::Read},
        {QStringLiteral("import/sarif-deep.sarif"), Outcome::Read},
        {QStringLiteral("import/sarif-high-surrogate-pair-broken.sarif"), Outcome::Read},
        {QStringLiteral("import/sarif-keys.sarif"), Outcome::Read},
        {QStringLiteral("import/sarif-lone-surrogates.sarif"), Outcome::Read},
        {QStringLiteral("import/sarif-message-bomb.sarif"), Outcome::Read},
        {QStringLiteral("import/sarif-odd-locations.sarif"), Outcome::Read},
        {QStringLiteral("import/sarif-placeholders.sarif"), Outcome::Read},
        {QStringLiteral("import/sarif-truncated.sarif"), Outcome::Refused},
        {QStringLiteral("import/sarif-wrong-shape.sarif"), Outcome::Refused},
    };
    return outcomes;
}

bool isImported(const QString& path)
{
    return path.endsWith(QLatin1String(".sarif")) || path.endsWith(QLatin1String(".xml"));
}

struct Run
{
    bool finished = false;
    bool crashed = false;
    int status = -1;
    QString out;
    QString err;
};

// Runs `program` with a bound on processor time and memory. The address sanitizer reserves far
// more address space than it uses, so under it the bound is its own limit on resident memory.
Run runLimited(const QString& program, const QStringList& arguments, const Limits& limits,
               const QString& workingDirectory = QString())
{
    QProcess process;
    process.setWorkingDirectory(workingDirectory);
    process.setChildProcessModifier([limits] {
        const rlimit cpu{rlim_t(limits.cpuSeconds), rlim_t(limits.cpuSeconds)};
        setrlimit(RLIMIT_CPU, &cpu);
#ifndef CRC_ADDRESS_SANITIZER
        const rlimit memory{limits.memoryBytes, limits.memoryBytes};
        setrlimit(RLIMIT_AS, &memory);
#endif
    });
#ifdef CRC_ADDRESS_SANITIZER
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    const QString options = environment.value(QStringLiteral("ASAN_OPTIONS"));
    environment.insert(QStringLiteral("ASAN_OPTIONS"),
                       options +
                           QStringLiteral(":hard_rss_limit_mb=%1").arg(limits.memoryBytes >> 20));
    process.setProcessEnvironment(environment);
#endif
    process.start(program, arguments);
    Run run;
    // Only a guard against a hang: the processor time bound ends a busy child long before.
    run.finished = process.waitForFinished(4 * limits.cpuSeconds * 1000);
    if (!run.finished) {
        process.kill();
        process.waitForFinished();
    }
    run.crashed = process.exitStatus() == QProcess::CrashExit;
    run.status = process.exitCode();
    run.out = QString::fromUtf8(process.readAllStandardOutput());
    run.err = QString::fromUtf8(process.readAllStandardError());
    return run;
}

Run crcview(const QStringList& arguments, const QString& workingDirectory = QString(),
            const Limits& limits = {})
{
    return runLimited(QStringLiteral(CRCVIEW_PATH), arguments, limits, workingDirectory);
}

QString describe(const QString& command, const QString& input, const Run& run)
{
    return QStringLiteral("crcview %1 %2: %3, status %4\n%5")
        .arg(command, input,
             !run.finished ? QStringLiteral("hung")
             : run.crashed ? QStringLiteral("crashed")
                           : QStringLiteral("finished"))
        .arg(run.status)
        .arg(run.err.left(2000));
}

using testkit::writeFile;

} // namespace

class TestHostile : public QObject
{
    Q_OBJECT

    QTemporaryDir m_dir;
    QStringList m_inputs;

    // A clean end (status 0) or a refusal (status 2) that names the file on standard error: the
    // input, or a report file it links to that could not be read.
    static bool endedCleanly(const Run& run, const QString& input)
    {
        if (!run.finished || run.crashed)
            return false;
        if (run.status == exitUnreadable)
            return run.err.contains(input) || run.err.contains(QFileInfo(input).fileName()) ||
                   run.err.contains(QLatin1String("Unable to open the report file '"));
        return run.status == 0;
    }

private Q_SLOTS:
    // The page check itself: what a browser would run is seen however it is written.
    void pageCheckSeesActiveContent()
    {
        using pageOracle::activeContent;
        QVERIFY(activeContent(QStringLiteral("<p>a &lt;script&gt; b</p><a href=\"#javascript:x\">"))
                    .isEmpty());
        QVERIFY(activeContent(QStringLiteral("<a title='on' href=\"./data:x\">")).isEmpty());
        for (const char* page :
             {"<SCRIPT>x</SCRIPT>", "<p><iframe src=x>", "<img src=x onerror=alert(1)>",
              "<div\nONMOUSEOVER = 'x'>", "<a href=\" javascript:x\">",
              "<a href='&#106;avascript:x'>", "<a href=\"java&#x09;script&colon;x\">",
              "<img src=data:image/png;base64,AAAA>", "<a href=VBScript:x>",
              "<a title=\"x\" href='jav&#97;script:x'>"})
            QVERIFY2(!activeContent(QString::fromLatin1(page)).isEmpty(), page);
    }

    void initTestCase()
    {
        QVERIFY(m_dir.isValid());
        // The children convert into a cache and keep settings and defects of their own.
        for (const char* variable : {"XDG_CACHE_HOME", "XDG_CONFIG_HOME", "XDG_DATA_HOME"})
            qputenv(variable, QFile::encodeName(m_dir.filePath(QString::fromLatin1(variable))));
        for (const QString& folder : {QStringLiteral(CORPUS_DIR), QStringLiteral(EXAMPLES_DIR)}) {
            for (QDirIterator it(folder, QDir::Files, QDirIterator::Subdirectories); it.hasNext();)
                m_inputs.append(it.next());
        }
        m_inputs.sort();
        QVERIFY(m_inputs.size() > 10);

        // Too large for the repository: results nested 100,000 levels deep, and one paragraph
        // of a few megabytes without a line break.
        const int depth = 100000;
        QByteArray deep = "<XROD><DOCUMENT tag='deep'>";
        for (int i = 0; i < depth; ++i)
            deep += "<XROD:NODE name='n' type='t' state='ko' sum='1'><SECTION>";
        deep += "<PARAGRAPH>bottom</PARAGRAPH>";
        for (int i = 0; i < depth; ++i)
            deep += "</SECTION></XROD:NODE>";
        deep += "</DOCUMENT></XROD>";
        m_inputs.append(m_dir.filePath(QStringLiteral("deep100000.crc")));
        QVERIFY(writeFile(m_inputs.last(), deep));

        QByteArray longRun = "<XROD><DOCUMENT tag='long'><XROD:NODE name='n' type='t' "
                             "state='ko' sum='1'><SECTION><PARAGRAPH>";
        const QByteArray words = "lorem ipsum dolor sit amet, consectetur adipiscing elit ";
        while (longRun.size() < 4 << 20)
            longRun += words;
        longRun += "</PARAGRAPH></SECTION></XROD:NODE></DOCUMENT></XROD>";
        m_inputs.append(m_dir.filePath(QStringLiteral("longrun.crc")));
        QVERIFY(writeFile(m_inputs.last(), longRun));
    }

    void dumpReadsOrRefusesEveryInput()
    {
        for (const QString& input : std::as_const(m_inputs)) {
            const Run run = crcview({QStringLiteral("dump"), input});
            QVERIFY2(endedCleanly(run, input),
                     qPrintable(describe(QStringLiteral("dump"), input, run)));
            if (run.status == 0)
                QVERIFY(run.out.contains(QLatin1String("totals: ")));
        }
    }

    // Each file of the corpus is read or refused as the table says; an analyzer log or test
    // report converts the same way, and what it converts to reads back.
    void corpusFilesGiveTheirStatedOutcome()
    {
        const QDir corpus(QStringLiteral(CORPUS_DIR));
        QStringList unlisted;
        QSet<QString> seen;
        for (QDirIterator it(corpus.path(), QDir::Files, QDirIterator::Subdirectories);
             it.hasNext();) {
            const QString input = it.next();
            const QString name = corpus.relativeFilePath(input);
            seen.insert(name);
            const auto stated = corpusOutcomes().constFind(name);
            if (stated == corpusOutcomes().constEnd()) {
                unlisted.append(name);
                continue;
            }
            const bool read = *stated == Outcome::Read;
            Run run = crcview({QStringLiteral("dump"), input});
            QVERIFY2(endedCleanly(run, input) && (run.status == 0) == read,
                     qPrintable(describe(QStringLiteral("dump"), input, run)));
            if (!isImported(input))
                continue;
            const QString converted = m_dir.filePath(QStringLiteral("converted.crc"));
            QFile::remove(converted);
            run = crcview({QStringLiteral("convert"), input, QStringLiteral("-o"), converted});
            QVERIFY2(endedCleanly(run, input) && (run.status == 0) == read,
                     qPrintable(describe(QStringLiteral("convert"), input, run)));
            QCOMPARE(QFile::exists(converted), read);
            if (read) {
                run = crcview({QStringLiteral("dump"), QStringLiteral("--count"), converted});
                QVERIFY2(run.status == 0,
                         qPrintable(describe(QStringLiteral("dump"), converted, run)));
            }
        }
        QVERIFY2(unlisted.isEmpty(),
                 qPrintable(QStringLiteral("say whether these must be read or refused: ") +
                            unlisted.join(QStringLiteral(", "))));
        for (auto it = corpusOutcomes().cbegin(); it != corpusOutcomes().cend(); ++it)
            QVERIFY2(seen.contains(it.key()), qPrintable(it.key() + QStringLiteral(" is gone")));
    }

    // An external entity is never read, whatever reads the file: the text of the file it names
    // shows nowhere, neither in what crcview prints nor in what it writes.
    void externalEntitiesAreNeverExpanded()
    {
        QFile named(QStringLiteral("/etc/passwd"));
        if (!named.open(QIODevice::ReadOnly))
            QSKIP("/etc/passwd, the file the corpus's entities name, cannot be read here");
        const QString secret = QString::fromUtf8(named.readLine()).trimmed();
        QVERIFY(!secret.isEmpty());
        const QDir corpus(QStringLiteral(CORPUS_DIR));
        for (const char* name : {"entities-external.crc", "import/junit-external-entity.xml",
                                 "import/junit-external-entity-text.xml"}) {
            const QString input = corpus.filePath(QLatin1String(name));
            QTemporaryDir sandbox(m_dir.filePath(QStringLiteral("entities-XXXXXX")));
            QVERIFY(sandbox.isValid());
            QList<Run> runs{crcview({QStringLiteral("dump"), input}),
                            crcview({QStringLiteral("summary"), input}),
                            crcview({QStringLiteral("export"),
                                     sandbox.filePath(QStringLiteral("pages")), input},
                                    sandbox.path())};
            if (isImported(input))
                runs.append(crcview({QStringLiteral("convert"), input}));
            for (const Run& run : std::as_const(runs)) {
                QVERIFY2(endedCleanly(run, input), qPrintable(run.err));
                QVERIFY2(!run.out.contains(secret) && !run.err.contains(secret), name);
            }
            for (QDirIterator it(sandbox.path(), QDir::Files, QDirIterator::Subdirectories);
                 it.hasNext();)
                QVERIFY2(!QString::fromUtf8(testkit::readFile(it.next())).contains(secret), name);
        }
    }

    // One message string of 300,000 placeholders, filled by each result with an argument of
    // 10 kB, would be 3 GB: each filled message is cut where captured output is, with a note.
    void messageBombStaysSmall()
    {
        const QByteArray log =
            "{\"version\":\"2.1.0\",\"runs\":[{\"tool\":{\"driver\":{\"name\":\"bomb\",\"rules\":["
            "{\"id\":\"R\",\"messageStrings\":{\"m\":{\"text\":\"" +
            QByteArray("{0}").repeated(300000) +
            "\"}}}]}},\"results\":[{\"ruleIndex\":0,\"message\":{\"id\":\"m\",\"arguments\":[\"" +
            QByteArray(10000, 'x') + "\"]}}]}]}";
        const QString input = m_dir.filePath(QStringLiteral("bomb.sarif"));
        QVERIFY(writeFile(input, log));
        const QString converted = m_dir.filePath(QStringLiteral("bomb.crc"));
        const Run run =
            crcview({QStringLiteral("convert"), input, QStringLiteral("-o"), converted});
        QVERIFY2(run.finished && !run.crashed && run.status == 0,
                 qPrintable(describe(QStringLiteral("convert"), input, run)));
        QVERIFY2(QFileInfo(converted).size() < (1 << 20),
                 qPrintable(QString::number(QFileInfo(converted).size())));
        QVERIFY(testkit::readFile(converted).contains("(cut here: the rest is in bomb.sarif)"));
    }

    // A log too large for the memory the importer may take ends with a message naming it, in
    // crcview (convert, dump) and in crcstudio (its warning), never with a crash.
    void importersRunOutOfMemoryCleanly()
    {
        if (underAddressSanitizer)
            QSKIP("under the address sanitizer, running out of memory is the sanitizer's own "
                  "report");
        constexpr rlim_t limit = rlim_t(300) << 20;
        QByteArray sarif = "{\"version\":\"2.1.0\",\"runs\":[{\"tool\":{\"driver\":{\"name\":"
                           "\"big\"}},\"results\":[";
        for (int i = 0; sarif.size() < 58 << 20; ++i)
            sarif += QByteArray(i ? "," : "") + "{\"ruleId\":\"R" + QByteArray::number(i % 50) +
                     "\",\"message\":{\"text\":\"m\"},\"locations\":[{\"physicalLocation\":"
                     "{\"artifactLocation\":{\"uri\":\"f" +
                     QByteArray::number(i % 1000) +
                     ".c\"},\"region\":{\"startLine\":" + QByteArray::number(i) +
                     "}}}],\"properties\":{\"v\":[0,0,0,0,0,0,0,0,0,0,0,0,0,0,0,0,0,0,0,0]}}";
        sarif += "]}]}";
        const QString log = m_dir.filePath(QStringLiteral("large.sarif"));
        QVERIFY(writeFile(log, sarif));
        sarif.clear();
        const QString report = m_dir.filePath(QStringLiteral("large.xml"));
        QVERIFY(writeFile(report, "<testsuite name='s'><testcase name='c'>" +
                                      QByteArray("<skipped/>").repeated(3000000) +
                                      "</testcase></testsuite>"));
        const QString out = m_dir.filePath(QStringLiteral("large.crc"));
        for (const QString& input : {log, report}) {
            for (const QStringList& arguments :
                 {QStringList{QStringLiteral("convert"), input, QStringLiteral("-o"), out},
                  QStringList{QStringLiteral("dump"), QStringLiteral("--count"), input}}) {
                const Run run =
                    runLimited(QStringLiteral(CRCVIEW_PATH), arguments, Limits{cpuSeconds, limit});
                QVERIFY2(run.finished && !run.crashed && run.status == exitUnreadable &&
                             run.err.contains(input + QStringLiteral(": not enough memory")),
                         qPrintable(describe(arguments.first(), input, run)));
            }
            QVERIFY(!QFile::exists(out));
        }
        const Run studio = runLimited(
            QStringLiteral(CRCSTUDIO_PATH),
            {QStringLiteral("--settings"), m_dir.filePath(QStringLiteral("settings.xml")),
             QStringLiteral("--defects"), m_dir.filePath(QStringLiteral("defects.sqlite")),
             QStringLiteral("--exit-after-open"), log},
            Limits{cpuSeconds, limit});
        QVERIFY2(
            studio.finished && !studio.crashed && studio.status == exitUnreadable &&
                studio.err.contains(QStringLiteral("crcstudio: These results cannot be read:\n") +
                                    log + QStringLiteral(": not enough memory")),
            qPrintable(describe(QStringLiteral("(crcstudio)"), log, studio)));
    }

    void summaryCountsOrRefusesEveryInput()
    {
        for (const QString& input : std::as_const(m_inputs)) {
            const Run run = crcview({QStringLiteral("summary"), input});
            QVERIFY2(endedCleanly(run, input),
                     qPrintable(describe(QStringLiteral("summary"), input, run)));
        }
    }

    // Each input is exported alone into a fresh folder inside a folder of its own: the pages
    // must stay inside the first, and show nothing a browser would run.
    void exportWritesOnlySafePagesInsideItsFolder()
    {
        for (const QString& input : std::as_const(m_inputs)) {
            QTemporaryDir sandbox(m_dir.filePath(QStringLiteral("sandbox-XXXXXX")));
            QVERIFY(sandbox.isValid());
            const QString pages = sandbox.filePath(QStringLiteral("pages"));
            const Run run = crcview({QStringLiteral("export"), pages, input}, sandbox.path());
            QVERIFY2(endedCleanly(run, input),
                     qPrintable(describe(QStringLiteral("export"), input, run)));

            QDirIterator it(sandbox.path(),
                            QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot,
                            QDirIterator::Subdirectories);
            while (it.hasNext()) {
                const QFileInfo entry(it.next());
                if (entry.filePath() == pages)
                    continue;
                QVERIFY2(entry.filePath().startsWith(pages + QLatin1Char('/')),
                         qPrintable(input + QStringLiteral(" wrote ") + entry.filePath()));
                QVERIFY2((entry.isFile() || entry.isDir()) && !entry.isSymLink(),
                         qPrintable(entry.filePath()));
                if (entry.suffix() != QLatin1String("html"))
                    continue;
                QFile page(entry.filePath());
                QVERIFY(page.open(QIODevice::ReadOnly));
                const QString problem =
                    pageOracle::activeContent(QString::fromUtf8(page.readAll()));
                QVERIFY2(problem.isEmpty(),
                         qPrintable(input + QStringLiteral(" -> ") + entry.fileName() +
                                    QStringLiteral(": ") + problem));
            }
        }
    }

    // Hundreds of thousands of distinct item types: a summary in a viewer window, and a dump
    // that hides thousands of them, within a small bound of processor time.
    void manyDistinctTypesStayCheap()
    {
        const int types = 300000;
        const int hidden = 2000;
        QByteArray markup = "<XROD><DOCUMENT tag='types'>";
        markup.reserve(types * 64);
        for (int i = 0; i < types; ++i)
            markup += "<XROD:NODE name='n' type='K" + QByteArray::number(i).rightJustified(6, '0') +
                      "' state='" + (i % 3 == 0 ? "ko" : "ok") + "' sum='1'/>";
        markup += "</DOCUMENT></XROD>";
        const QString input = m_dir.filePath(QStringLiteral("types.crc"));
        QVERIFY(writeFile(input, markup));
        const Limits limits{manyTypesCpuSeconds, memoryBytes};

        Run run = crcview({QStringLiteral("summary"), input}, QString(), limits);
        QVERIFY2(run.finished && !run.crashed && run.status == 0,
                 qPrintable(describe(QStringLiteral("summary"), input, run)));
        QVERIFY2(run.out.contains(QLatin1String("[200000] Test Case Passed")) &&
                     run.out.contains(QLatin1String("[100000] Test Case Failed")),
                 qPrintable(run.out));

        QStringList arguments{QStringLiteral("dump"), QStringLiteral("--count")};
        for (int i = 0; i < hidden; ++i)
            arguments << QStringLiteral("--hide-type")
                      << QStringLiteral("K%1").arg(i, 6, 10, QLatin1Char('0'));
        arguments << input;
        run = crcview(arguments, QString(), limits);
        QVERIFY2(run.finished && !run.crashed && run.status == 0,
                 qPrintable(describe(QStringLiteral("dump --hide-type"), input, run)));
        QVERIFY2(run.out.startsWith(QStringLiteral("nodes: %1\n").arg(types - hidden)),
                 qPrintable(run.out));
    }

    // A result file that needs more memory than the program may use is refused as an
    // unreadable one, naming the file: crcview's commands end with status 2, crcstudio shows the
    // message (here on standard error) and ends with status 2.
    void fileLargerThanTheMemoryIsRefusedByName()
    {
#ifdef CRC_ADDRESS_SANITIZER
        QSKIP("the address sanitizer ends a program that runs out of memory itself");
#endif
        // An empty list of 7 bytes takes about 65 once read: 112 MB of them need over 1 GB.
        const QString input = m_dir.filePath(QStringLiteral("manylists.crc"));
        QFile file(input);
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write("<XROD><DOCUMENT tag='big'><XROD:NODE name='n' type='t' state='ko' sum='1'>"
                   "<SECTION>");
        const QByteArray lists = QByteArray("<LIST/>").repeated(1 << 20);
        for (int i = 0; i < 16; ++i)
            QCOMPARE(file.write(lists), lists.size());
        file.write("</SECTION></XROD:NODE></DOCUMENT></XROD>");
        file.close();

        const Limits limits{cpuSeconds, smallMemoryBytes};
        const auto refused = [&input](const Run& run) {
            return run.finished && !run.crashed && run.status == exitUnreadable &&
                   run.err.contains(input) && run.err.contains(QLatin1String("out of memory"));
        };
        for (const QStringList& arguments :
             {QStringList{QStringLiteral("dump"), input},
              QStringList{QStringLiteral("summary"), input},
              QStringList{QStringLiteral("export"), m_dir.filePath(QStringLiteral("bigpages")),
                          input}}) {
            const Run run = crcview(arguments, QString(), limits);
            QVERIFY2(refused(run), qPrintable(describe(arguments.first(), input, run)));
        }

        const Run studio = runLimited(
            QStringLiteral(CRCSTUDIO_PATH),
            {QStringLiteral("--settings"), m_dir.filePath(QStringLiteral("studio/settings.xml")),
             QStringLiteral("--defects"), m_dir.filePath(QStringLiteral("studio/defects.sqlite")),
             QStringLiteral("--exit-after-open"), input},
            limits);
        QVERIFY2(refused(studio),
                 qPrintable(describe(QStringLiteral("(crcstudio)"), input, studio)));
    }
};

QTEST_GUILESS_MAIN(TestHostile)
#include "tst_hostile.moc"
