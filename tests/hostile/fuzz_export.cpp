// Fuzz target for the road from a result file to exported pages: read, failed-only filter,
// summary and HTML export into a temporary folder. Beyond never crashing, hanging or leaking, the
// written pages must carry nothing a browser runs (no script, no event attribute, no
// "javascript:" or "data:" address) and no file may land outside the export folder.
// Built with -DCRC_FUZZ=ON under clang (libFuzzer):
//   fuzz_export -max_total_time=300 tests/corpus/

#include "export/qareporterhtmlwriter.h"
#include "filter/qareporterfilter.h"
#include "filter/qareporternodevalidator.h"
#include "folio/export/dexporthtml.h"
#include "folio/model/ddocument.h"
#include "model/qareporterdata.h"
#include "reader/reportloader.h"
#include "sdk/qasafefile.h"
#include "tests/hostile/pageoracle.h"

#include <QCoreApplication>
#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

namespace {

[[noreturn]] void fail(const QString& what)
{
    std::fprintf(stderr, "fuzz_export: %s\n", qPrintable(what));
    std::abort();
}

// Everything under `root` must be the input file or a regular file inside the export folder.
void checkTheFolder(const QString& root, const QString& input, const QString& output)
{
    QDirIterator it(root, QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot,
                    QDirIterator::Subdirectories);
    while (it.hasNext()) {
        const QFileInfo entry(it.next());
        const QString path = entry.filePath();
        if (path == input || path == output)
            continue;
        if (!path.startsWith(output + QLatin1Char('/')))
            fail(QStringLiteral("a file outside the export folder: ") + path);
        if (entry.isSymLink() || !(entry.isFile() || entry.isDir()))
            fail(QStringLiteral("neither a plain file nor a folder: ") + path);
        if (entry.suffix() == QLatin1String("html")) {
            QFile page(path);
            if (!page.open(QIODevice::ReadOnly))
                fail(QStringLiteral("unreadable page: ") + path);
            const QString problem = pageOracle::activeContent(QString::fromUtf8(page.readAll()));
            if (!problem.isEmpty())
                fail(path + QStringLiteral(": ") + problem);
        }
    }
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv)
{
    static QCoreApplication app(*argc, *argv);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    QTemporaryDir root;
    if (!root.isValid())
        fail(QStringLiteral("no temporary folder"));
    const QString input = root.filePath(QStringLiteral("input.crc"));
    const QString output = root.filePath(QStringLiteral("pages"));
    QString error;
    if (!QASafeWrite::writeFile(
            input, QByteArray(reinterpret_cast<const char*>(data), qsizetype(size)), &error) ||
        !QDir().mkpath(output))
        fail(error);

    ReportLoadError loadError;
    std::unique_ptr<QAReporterData> record = loadReport(input, {}, nullptr, &loadError);
    if (!record) {
        if (loadError.message.isEmpty())
            fail(QStringLiteral("a refusal without a reason"));
        return 0;
    }
    const QList<QAReporterData*> reports{record.get()};
    QAReporterNodeValidator failedOnly;
    failedOnly.setAttribut(QAReporterNodeValidator::AttrState,
                           QRegularExpression(QStringLiteral("ko")));
    QAReporterFilter filter;
    filter.setValidator(failedOnly);
    filter.applyFilter(reports);
    std::unique_ptr<DDocument> summary = filter.doHeaderDoc(reports, QString(), {});
    summary->setTag(QStringLiteral("index"));

    const QList<QAReporterData*> displayed(filter.filtered().begin(), filter.filtered().end());
    QAReporterHTMLWriter writer(reports, displayed, nullptr, nullptr);
    writer.setBaseForLink(output);
    DExportHtml exporter(output, root.filePath(QStringLiteral("dhtml.cfg")));
    exporter.setHTMLWriter(&writer);
    for (QAReporterData* shown : std::as_const(displayed)) {
        if (shown->document)
            exporter.generate(shown->document.get(), nullptr, nullptr);
    }
    exporter.generate(summary.get(), nullptr, nullptr);
    checkTheFolder(root.path(), input, output);
    return 0;
}
