// Hostile result files through crcview dump, summary and export: every input gives a clear error
// naming the file or a clean result, within a bound of processor time and memory; exported pages
// carry nothing a browser runs, and nothing is written outside the export folder.

#include "tests/pageoracle.h"
#include "tests/testkit.h"

#include <QDir>
#include <QDirIterator>
#include <QProcess>
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
        for (const QString& folder : {QStringLiteral(CORPUS_DIR), QStringLiteral(EXAMPLES_DIR)}) {
            for (const QFileInfo& file : QDir(folder).entryInfoList(QDir::Files, QDir::Name))
                m_inputs.append(file.absoluteFilePath());
        }
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
