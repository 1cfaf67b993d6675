// Document view benchmark, offscreen, on one result file: the first screen after setDocument,
// page scrolls, moves to sections spread over the document, a search without a match; then a
// document of 100,000 nested sections.
// With --shot it instead renders a report in the view to a picture:
//   bench_view FILE.crc [STYLES.aml]
//   bench_view --shot STYLES.aml FILE.crc OUT.png

#include "folio/model/ddocument.h"
#include "folio/reader/damlhandler.h"
#include "folio/reader/damlreader.h"
#include "folio/view/dreportwidget.h"
#include "model/qareporterdata.h"
#include "reader/reportloader.h"

#include <QApplication>
#include <QBuffer>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QImage>
#include <QRandomGenerator>
#include <QScrollBar>
#include <algorithm>
#include <cstdio>
#include <vector>

namespace {

DStyleList readStyles(const QString& path)
{
    QFile file(path);
    if (path.isEmpty() || !file.open(QIODevice::ReadOnly))
        return {};
    DAmlHandler handler;
    handler.setEnabledLocalStyle(true);
    DAmlReader reader(&handler);
    reader.parse(&file);
    return handler.localStyles();
}

std::unique_ptr<QAReporterData> load(const QString& path, const DStyleList& styles)
{
    ReportLoadError error;
    std::unique_ptr<QAReporterData> record = loadReport(path, styles, nullptr, &error);
    if (!record)
        std::fprintf(stderr, "%s:%d:%d: %s\n", qPrintable(path), error.line, error.column,
                     qPrintable(error.message));
    return record;
}

// The sections of a document, in document order, found without recursion.
std::vector<DItem*> sectionsOf(DDocument* document)
{
    std::vector<DItem*> sections;
    for (DItem* item = document; item;) {
        if (item->type() == DItem::Section)
            sections.push_back(item);
        DItemContainer* container = item->asContainer();
        if (container && container->firstChild()) {
            item = container->firstChild();
            continue;
        }
        while (item && !item->next())
            item = item->parent();
        item = item ? item->next() : nullptr;
    }
    return sections;
}

double milliseconds(const QElapsedTimer& timer)
{
    return timer.nsecsElapsed() / 1e6;
}

void printSpread(const char* what, std::vector<double> times, double goal)
{
    std::sort(times.begin(), times.end());
    std::printf("%-22s median %7.2f ms  max %7.2f ms  (goal: under %.0f ms)\n", what,
                times[times.size() / 2], times.back(), goal);
}

int shot(const QString& styleFile, const QString& report, const QString& output)
{
    const DStyleList styles = readStyles(styleFile);
    std::unique_ptr<QAReporterData> record = load(report, styles);
    if (!record)
        return 2;
    DReportWidget view;
    view.addSearchPath(QFileInfo(report).absolutePath());
    view.resize(900, 700);
    view.setDocument(record->document.get(), true);
    view.show();
    if (!view.grab().save(output)) {
        std::fprintf(stderr, "%s: cannot be written\n", qPrintable(output));
        return 2;
    }
    return 0;
}

} // namespace

int main(int argc, char** argv)
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    const QStringList args = app.arguments().mid(1);
    if (args.size() == 4 && args[0] == QLatin1String("--shot"))
        return shot(args[1], args[2], args[3]);
    if (args.isEmpty() || args.size() > 2) {
        std::fprintf(stderr, "usage: bench_view FILE.crc [STYLES.aml]\n"
                             "       bench_view --shot STYLES.aml FILE.crc OUT.png\n");
        return 64;
    }
    std::unique_ptr<QAReporterData> record = load(args[0], readStyles(args.value(1)));
    if (!record)
        return 2;
    DDocument* document = record->document.get();
    const std::vector<DItem*> sections = sectionsOf(document);

    DReportWidget view;
    view.resize(900, 700);
    view.show();
    QElapsedTimer timer;
    timer.start();
    view.setDocument(document, true);
    const double built = milliseconds(timer);
    const QImage first = view.grab().toImage();
    const double firstScreen = milliseconds(timer);
    std::printf("sections:              %zu\n", sections.size());
    std::printf("setDocument:           %7.1f ms\n", built);
    std::printf("first screen drawn:    %7.1f ms  (goal: under 1000 ms)\n", firstScreen);

    std::vector<double> pages;
    for (int i = 0; i < 200; ++i) {
        timer.restart();
        view.verticalScrollBar()->triggerAction(QAbstractSlider::SliderPageStepAdd);
        view.grab();
        pages.push_back(milliseconds(timer));
    }
    printSpread("page down and draw:", pages, 20);

    std::vector<double> moves;
    QRandomGenerator random(7);
    for (int i = 0; i < 200 && !sections.empty(); ++i) {
        DItem* target = sections[random.bounded(int(sections.size()))];
        timer.restart();
        view.moveTo(target);
        view.grab();
        moves.push_back(milliseconds(timer));
    }
    if (!moves.empty())
        printSpread("moveTo and draw:", moves, 20);

    timer.restart();
    view.moveTo(QString(), QString(), QStringLiteral("s99999"));
    std::printf("first tag move:        %7.1f ms  (builds the tag index)\n", milliseconds(timer));
    timer.restart();
    view.moveTo(QString(), QString(), QStringLiteral("s12345"));
    view.grab();
    std::printf("next tag move, drawn:  %7.1f ms\n", milliseconds(timer));

    timer.restart();
    const bool found =
        view.search(QRegularExpression(QStringLiteral("no such text in the report")));
    std::printf("search, no match:      %7.1f ms  (%s)\n", milliseconds(timer),
                found ? "found?" : "whole document read");

    // Nesting as deep as a result file may go.
    constexpr int depth = 100000;
    QByteArray markup = "<DOCUMENT>";
    for (int i = 0; i < depth; ++i)
        markup += "<SECTION><PARAGRAPH>level</PARAGRAPH>";
    markup += "<PARAGRAPH>bottom</PARAGRAPH>";
    for (int i = 0; i < depth; ++i)
        markup += "</SECTION>";
    markup += "</DOCUMENT>";
    QBuffer buffer(&markup);
    buffer.open(QIODevice::ReadOnly);
    DAmlHandler handler;
    DAmlReader reader(&handler);
    if (!reader.parse(&buffer)) {
        std::fprintf(stderr, "nested document: %s\n", qPrintable(reader.errorString()));
        return 2;
    }
    const std::unique_ptr<DDocument> deep = handler.takeDocument();
    const std::vector<DItem*> levels = sectionsOf(deep.get());
    timer.restart();
    view.setDocument(deep.get(), true);
    view.grab();
    std::printf("%d levels, first screen: %5.1f ms\n", depth, milliseconds(timer));
    timer.restart();
    view.moveTo(levels.back());
    view.grab();
    std::printf("%d levels, deepest move: %5.1f ms\n", depth, milliseconds(timer));
    return 0;
}
