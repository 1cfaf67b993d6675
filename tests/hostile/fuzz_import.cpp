// Fuzz target for the importers: every input is converted both as a SARIF log and as a JUnit XML
// report. Beyond never crashing, hanging or leaking, a conversion either is refused with a reason
// and leaves no file, or gives a result file that the result file reader reads back.
// Built with -DCRC_FUZZ=ON under clang (libFuzzer):
//   fuzz_import -max_total_time=300 NEW/ tests/corpus/import/ tests/data/import/

#include "import/resultimport.h"
#include "model/qareporterdata.h"
#include "reader/reportloader.h"
#include "sdk/qasafefile.h"

#include <QByteArray>
#include <QFile>
#include <QTemporaryDir>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

namespace {

[[noreturn]] void fail(const QString& what)
{
    std::fprintf(stderr, "fuzz_import: %s\n", qPrintable(what));
    std::abort();
}

void convertAndReadBack(const QTemporaryDir& root, const QString& name, const QByteArray& bytes)
{
    const QString input = root.filePath(name);
    const QString output = root.filePath(QStringLiteral("converted.crc"));
    QString reason;
    if (!QASafeWrite::writeFile(input, bytes, &reason))
        fail(reason);
    QFile::remove(output);
    ImportError error;
    if (!importResults(input, output, &error)) {
        if (error.message.isEmpty() || error.file.isEmpty())
            fail(name + QStringLiteral(": a refusal without a reason"));
        if (QFile::exists(output))
            fail(name + QStringLiteral(": refused, yet a result file was written"));
        return;
    }
    ReportLoadError loadError;
    if (!loadReport(output, {}, nullptr, &loadError))
        fail(QStringLiteral("%1 converts to a result file the reader refuses: %2:%3: %4")
                 .arg(name)
                 .arg(loadError.line)
                 .arg(loadError.column)
                 .arg(loadError.message));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static const QTemporaryDir root;
    if (!root.isValid())
        fail(QStringLiteral("no temporary folder"));
    const QByteArray bytes(reinterpret_cast<const char*>(data), qsizetype(size));
    convertAndReadBack(root, QStringLiteral("log.sarif"), bytes);
    convertAndReadBack(root, QStringLiteral("report.xml"), bytes);
    return 0;
}
