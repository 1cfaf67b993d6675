// Model benchmark, in one process on one result file: a bare expat pass against a full read
// (result tree, document, totals) and the memory the read keeps; the failed-only copy (tree and
// document) against the read; the summary document of 1,000 reports.

#include "filter/qareporterfilter.h"
#include "filter/qareporternodevalidator.h"
#include "folio/model/ddocument.h"
#include "model/qareporterdata.h"
#include "reader/reportloader.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <cstdio>
#include <expat.h>

namespace {

constexpr int rounds = 7;

// Resident memory in bytes, current or peak ("VmRSS" or "VmHWM").
qint64 residentBytes(const char* field)
{
    QFile status(QStringLiteral("/proc/self/status"));
    if (!status.open(QIODevice::ReadOnly | QIODevice::Text))
        return 0;
    const QByteArray key = QByteArray(field) + ':';
    for (QByteArray line = status.readLine(); !line.isEmpty(); line = status.readLine()) {
        if (line.startsWith(key))
            return line.mid(key.size()).trimmed().split(' ').first().toLongLong() * 1024;
    }
    return 0;
}

bool bareExpatPass(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return false;
    XML_Parser parser = XML_ParserCreate("UTF-8");
    bool ok = true;
    for (bool last = false; ok && !last;) {
        void* buffer = XML_GetBuffer(parser, 256 * 1024);
        const qint64 length = file.read(static_cast<char*>(buffer), 256 * 1024);
        last = length <= 0;
        ok = XML_ParseBuffer(parser, int(qMax<qint64>(length, 0)), last) == XML_STATUS_OK;
    }
    XML_ParserFree(parser);
    return ok;
}

// The display styles a viewer hands to every reading.
DStyleList viewerStyles()
{
    DStyleList styles;
    const char* names[] = {"Normal", "Title0", "Array Title", "Array", "Warning", "Link"};
    for (const char* name : names)
        styles.append(DStylePtr(new DStyle(QString::fromLatin1(name))));
    for (const char* base :
         {"Normal", "Title1", "Title2", "Title3", "Title4", "Title5", "Title6", "Array"}) {
        for (const char* variant : {" Failed", " Passed"})
            styles.append(
                DStylePtr(new DStyle(QString::fromLatin1(base) + QLatin1String(variant))));
    }
    return styles;
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    if (argc != 2) {
        std::fprintf(stderr, "usage: bench_read FILE.crc\n");
        return 64;
    }
    const QString path = QString::fromLocal8Bit(argv[1]);
    const double megabytes = QFileInfo(path).size() / 1e6;
    const DStyleList styles = viewerStyles();
    if (!bareExpatPass(path)) {
        std::fprintf(stderr, "%s: not well-formed\n", argv[1]);
        return 2;
    }

    // Memory first, while the process is still small.
    const qint64 before = residentBytes("VmRSS");
    ReportLoadError error;
    std::unique_ptr<QAReporterData> first = loadReport(path, styles, nullptr, &error);
    if (!first) {
        std::fprintf(stderr, "%s:%d:%d: %s\n", argv[1], error.line, error.column,
                     qPrintable(error.message));
        return 2;
    }
    const qint64 peak = residentBytes("VmHWM") - before;
    const qint64 retained = residentBytes("VmRSS") - before;
    first.reset();

    // Best times of several rounds; the bare passes run before and after the full reads, so that
    // a passing disturbance of the machine cannot favour the full read.
    double expat = 1e9;
    const auto timeBareExpat = [&] {
        for (int i = 0; i < rounds; ++i) {
            QElapsedTimer timer;
            timer.start();
            bareExpatPass(path);
            expat = qMin(expat, timer.nsecsElapsed() / 1e9);
        }
    };
    timeBareExpat();
    double full = 1e9;
    double freed = 1e9;
    for (int i = 0; i < rounds; ++i) {
        QElapsedTimer timer;
        timer.start();
        std::unique_ptr<QAReporterData> read = loadReport(path, styles, nullptr, &error);
        full = qMin(full, timer.nsecsElapsed() / 1e9);
        timer.restart();
        read.reset();
        freed = qMin(freed, timer.nsecsElapsed() / 1e9);
    }
    timeBareExpat();

    std::printf("file:             %.1f MB\n", megabytes);
    std::printf("bare expat pass:  %.3f s  %.1f MB/s\n", expat, megabytes / expat);
    std::printf("full read:        %.3f s  %.1f MB/s  (tree, document, totals)\n", full,
                megabytes / full);
    std::printf("freeing it:       %.3f s\n", freed);
    std::printf("read / expat:     %.2f  (goal: at most 2)\n", full / expat);
    // The failed-only copy of the file, as the viewer builds it on a switch of display mode.
    std::unique_ptr<QAReporterData> record = loadReport(path, styles, nullptr, &error);
    QAReporterNodeValidator failedOnly;
    failedOnly.setAttribut(QAReporterNodeValidator::AttrState,
                           QRegularExpression(QStringLiteral("ko")));
    double filtering = 1e9;
    for (int i = 0; i < rounds; ++i) {
        QAReporterFilter filter;
        filter.setValidator(failedOnly);
        QElapsedTimer timer;
        timer.start();
        filter.applyFilter({record.get()});
        filtering = qMin(filtering, timer.nsecsElapsed() / 1e9);
    }

    // The summary of 1,000 reports.
    std::vector<std::unique_ptr<QAReporterData>> reports;
    QList<QAReporterData*> reportList;
    for (int i = 0; i < 1000; ++i) {
        auto report = std::make_unique<QAReporterData>();
        report->fileName = QStringLiteral("/results/run%1.crc").arg(i);
        report->document = std::make_unique<DDocument>();
        report->document->setTag(QStringLiteral("report%1").arg(i));
        report->failed = i % 7;
        report->passed = 100 + i;
        report->inconclusive = i % 3 - 1;
        reportList.append(report.get());
        reports.push_back(std::move(report));
    }
    double summary = 1e9;
    for (int i = 0; i < rounds; ++i) {
        QAReporterFilter filter;
        QElapsedTimer timer;
        timer.start();
        const std::unique_ptr<DDocument> document =
            filter.doHeaderDoc(reportList, QStringLiteral("bench"), styles);
        summary = qMin(summary, timer.nsecsElapsed() / 1e9);
    }

    std::printf("peak memory:      %.2f x file size  (kept after reading: %.2f x; goal: under 5)\n",
                peak / (megabytes * 1e6), retained / (megabytes * 1e6));
    std::printf("failed-only copy: %.3f s  (%.2f of the read; goal: at most 0.25)\n", filtering,
                filtering / full);
    std::printf("summary, 1000 reports: %.1f ms  (goal: at most 50 ms)\n", summary * 1e3);
    return 0;
}
