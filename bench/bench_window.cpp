// Window benchmark, in one process on one result file: opening it in a viewer window (read,
// analyse, outline, summary, view) against reading it alone, and the switches to failed results
// only and back.

#include "model/qareporterdata.h"
#include "prefs/qareporterpref.h"
#include "prefs/qareporterprefstyles.h"
#include "reader/reportloader.h"
#include "sdk/qadialogs.h"
#include "tests/teststudio.h"
#include "viewer/qareporter.h"
#include "viewer/qartoolbar.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QFileInfo>
#include <cstdio>

namespace {

double seconds(const QElapsedTimer& timer)
{
    return timer.nsecsElapsed() / 1e9;
}

} // namespace

int main(int argc, char** argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    if (argc != 2) {
        std::fprintf(stderr, "usage: bench_window FILE.crc\n");
        return 64;
    }
    const QString path = QString::fromLocal8Bit(argv[1]);
    QADialogs::install(std::make_unique<ScriptedDialogs>());
    TestStudio studio;
    studio.directory = QCoreApplication::applicationDirPath() + QStringLiteral("/..");
    QAReporter::initialize(nullptr, &studio);

    // Reading alone, best of three, with the styles a window reads with.
    QElapsedTimer timer;
    double read = 1e9;
    for (int round = 0; round < 3; ++round) {
        ReportLoadError error;
        timer.restart();
        const std::unique_ptr<QAReporterData> record =
            loadReport(path, QAReporter::preference()->styles->styles, nullptr, &error);
        read = qMin(read, seconds(timer));
        if (!record) {
            std::fprintf(stderr, "%s: %s\n", argv[1], qPrintable(error.message));
            return 2;
        }
    }

    QAReporter window(QStringLiteral("bench"), QPixmap());
    window.resize(1000, 800);
    window.show();
    QStringList files{path};
    timer.restart();
    window.setFiles(&files, nullptr, QAStViewerWindow::Normal);
    window.grab(); // the first screen is drawn
    const double open = seconds(timer);

    timer.restart();
    window.failedtests();
    window.grab();
    const double toFailed = seconds(timer);
    timer.restart();
    window.alltests();
    window.grab();
    const double toAll = seconds(timer);

    std::printf("file:              %.1f MB\n", QFileInfo(path).size() / 1e6);
    std::printf("read alone:        %.3f s\n", read);
    std::printf("open in a window:  %.3f s  (%.2f of the read; goal: at most 2)\n", open,
                open / read);
    std::printf("to failed only:    %.3f s  (goal: at most 1 s)\n", toFailed);
    std::printf("back to all:       %.3f s  (goal: at most 1 s)\n", toAll);
    return 0;
}
