// Export benchmark: one result file, read with the shipped display styles as the viewer reads it,
// written as an HTML page with the report link writer; best of several rounds. With OUTDIR the
// page stays there.
//
//   bench_export FILE.crc [OUTDIR]

#include "export/qareporterhtmlwriter.h"
#include "folio/export/dexporthtml.h"
#include "folio/model/ddocument.h"
#include "folio/reader/damlhandler.h"
#include "folio/reader/damlreader.h"
#include "model/qareporterdata.h"
#include "reader/reportloader.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QTemporaryDir>
#include <cstdio>
#include <ctime>

namespace {

constexpr int rounds = 5;

DStyleList readStyles(const QString& path)
{
    QFile file(path);
    DAmlHandler handler;
    handler.setEnabledLocalStyle(true);
    DAmlReader reader(&handler);
    if (!file.open(QIODevice::ReadOnly) || !reader.parse(&file))
        std::fprintf(stderr, "%s: styles not read, pages are written without them\n",
                     qPrintable(path));
    return handler.localStyles();
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    if (argc < 2 || argc > 3) {
        std::fprintf(stderr, "usage: bench_export FILE.crc [OUTDIR]\n");
        return 64;
    }
    const QString path = QString::fromLocal8Bit(argv[1]);
    const DStyleList styles = readStyles(QCoreApplication::applicationDirPath() +
                                         QStringLiteral("/../lib/reporterstyle.aml"));
    ReportLoadError error;
    std::unique_ptr<QAReporterData> report = loadReport(path, styles, nullptr, &error);
    if (!report) {
        std::fprintf(stderr, "%s:%d:%d: %s\n", argv[1], error.line, error.column,
                     qPrintable(error.message));
        return 2;
    }
    QTemporaryDir scratch;
    const QString outputDir = argc > 2 ? QString::fromLocal8Bit(argv[2]) : scratch.path();
    const QList<QAReporterData*> reports{report.get()};

    // Wall time, and the processor time of this process: on a shared machine the second shows
    // the work itself.
    double best = 1e9;
    double bestCpu = 1e9;
    qint64 bytes = 0;
    for (int i = 0; i < rounds; ++i) {
        QElapsedTimer timer;
        timer.start();
        const std::clock_t cpuStart = std::clock();
        QAReporterHTMLWriter writer(reports, reports, nullptr, nullptr);
        writer.setBaseForLink(outputDir);
        DExportHtml exporter(outputDir, QString());
        exporter.setHTMLWriter(&writer);
        if (!exporter.generate(report->document.get(), nullptr, nullptr)) {
            std::fprintf(stderr, "%s: the page could not be written\n", qPrintable(outputDir));
            return 1;
        }
        best = qMin(best, timer.nsecsElapsed() / 1e9);
        bestCpu = qMin(bestCpu, double(std::clock() - cpuStart) / CLOCKS_PER_SEC);
        bytes = exporter.bytesWritten();
    }
    const double megabytes = bytes / 1e6;
    std::printf(
        "export: %.1f MB of pages in %.3f s: %.0f MB/s (processor time %.3f s: %.0f MB/s)\n",
        megabytes, best, megabytes / best, bestCpu, megabytes / bestCpu);
    return 0;
}
