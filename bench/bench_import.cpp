// Import speed: a ~100 MB SARIF log and a ~100 MB JUnit report converted by crcview, against
// crcview reading the result file each produces, each a whole process. Also the bare parse of
// the SARIF log by rapidjson (the importer's parser) and by Qt's QJsonDocument, which was the
// other choice.

#include "sdk/qasafefile.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QProcess>
#include <cstdio>
#include <rapidjson/document.h>

namespace {

constexpr qint64 TargetSize = 100ll << 20;

// head, then items (separated by `separator`) up to about 100 MB, then tail.
bool writeBig(const QString& path, const QByteArray& head, const char* separator,
              QByteArray (*item)(int), const QByteArray& tail)
{
    QASafeFile file(path);
    if (!file.open() || !file.write(head))
        return false;
    qint64 written = head.size();
    for (int i = 0; written < TargetSize; ++i) {
        const QByteArray bytes = (i ? QByteArray(separator) : QByteArray()) + item(i);
        if (!file.write(bytes))
            return false;
        written += bytes.size();
    }
    return file.write(tail) && file.commit();
}

QByteArray sarifResult(int i)
{
    const QByteArray n = QByteArray::number(i);
    return "{\"ruleId\":\"R" + QByteArray::number(i % 50) +
           "\",\"ruleIndex\":" + QByteArray::number(i % 50) + ",\"level\":\"" +
           (i % 3 ? "warning" : "error") +
           "\",\"message\":{\"text\":\"Call to an unsafe function in item " + n +
           "; use the bounded variant instead\"},\"locations\":[{\"physicalLocation\":"
           "{\"artifactLocation\":{\"uri\":\"src/module" +
           QByteArray::number(i % 997) + "/file" + QByteArray::number(i % 13) +
           ".c\",\"uriBaseId\":\"SRCROOT\"},\"region\":{\"startLine\":" +
           QByteArray::number(i % 4000 + 1) +
           ",\"startColumn\":5,\"snippet\":{\"text\":"
           "\"    strcpy(buffer, name);\"}}}}],\"partialFingerprints\":{\"primary\":\"" +
           QByteArray::number(qHash(n), 16) + "\"}}";
}

QByteArray sarifHead()
{
    QByteArray rules;
    for (int r = 0; r < 50; ++r)
        rules += (r ? "," : "") + QByteArray("{\"id\":\"R") + QByteArray::number(r) +
                 "\",\"shortDescription\":{\"text\":\"Rule number " + QByteArray::number(r) +
                 "\"},\"helpUri\":\"https://example.org/R" + QByteArray::number(r) + "\"}";
    return "{\"version\":\"2.1.0\",\"runs\":[{\"tool\":{\"driver\":{\"name\":\"benchlint\","
           "\"version\":\"1.0\",\"rules\":[" +
           rules +
           "]}},\"originalUriBaseIds\":{\"SRCROOT\":{\"uri\":\"file:///home/dev/project/\"}},"
           "\"results\":[";
}

QByteArray junitCase(int i)
{
    QByteArray item = "<testcase classname=\"pkg.Module" + QByteArray::number(i % 500) +
                      "\" name=\"test_case_" + QByteArray::number(i) + "\" time=\"0.01\"";
    if (i % 10 == 0)
        item += "><failure message=\"expected 1, got 2\" type=\"AssertionError\">"
                "Traceback (most recent call last):\n  File \"tests/test_x.py\", line 12\n"
                "AssertionError: expected 1, got 2</failure></testcase>\n";
    else if (i % 10 == 1)
        item += "><skipped message=\"not on this platform\"/></testcase>\n";
    else
        item += "><system-out>ran step one\nran step two</system-out></testcase>\n";
    // A new suite every 1000 cases.
    if (i % 1000 == 999)
        item += "</testsuite><testsuite name=\"suite" + QByteArray::number(i / 1000 + 1) + "\">";
    return item;
}

double runProcess(const QString& program, const QStringList& arguments)
{
    QElapsedTimer timer;
    timer.start();
    QProcess process;
    process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    process.start(program, arguments);
    process.waitForFinished(-1);
    if (process.exitCode() != 0)
        std::printf("  %s failed (%d)\n", qPrintable(arguments.join(QLatin1Char(' '))),
                    process.exitCode());
    return timer.elapsed() / 1000.0;
}

void compare(const QString& crcview, const QString& input, const QString& output)
{
    const double convert =
        runProcess(crcview, {QStringLiteral("convert"), input, QStringLiteral("-o"), output});
    const double read =
        runProcess(crcview, {QStringLiteral("dump"), QStringLiteral("--count"), output});
    std::printf("%s (%.0f MB): import %.2f s, reading its result file (%.0f MB) %.2f s, "
                "ratio %.2f\n",
                qPrintable(QFileInfo(input).fileName()), QFileInfo(input).size() / 1048576.0,
                convert, QFileInfo(output).size() / 1048576.0, read, convert / read);
}

void parsers(const QString& sarif)
{
    QFile file(sarif);
    if (!file.open(QIODevice::ReadOnly))
        return;
    const QByteArray bytes = file.readAll();
    QElapsedTimer timer;
    timer.start();
    QByteArray copy = bytes;
    rapidjson::Document rapid;
    rapid.ParseInsitu<rapidjson::kParseIterativeFlag | rapidjson::kParseValidateEncodingFlag>(
        copy.data());
    const double rapidTime = timer.elapsed() / 1000.0;
    timer.restart();
    QJsonParseError error;
    const QJsonDocument qt = QJsonDocument::fromJson(bytes, &error);
    const double qtTime = timer.elapsed() / 1000.0;
    std::printf("bare parse of %s: rapidjson %.2f s%s, QJsonDocument %.2f s%s, ratio %.2f\n",
                qPrintable(QFileInfo(sarif).fileName()), rapidTime,
                rapid.HasParseError() ? " (failed)" : "", qtTime,
                qt.isNull() ? qPrintable(QStringLiteral(" (failed: %1)").arg(error.errorString()))
                            : "",
                qtTime / rapidTime);
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    if (argc != 3) {
        std::fprintf(stderr, "usage: bench_import CRCVIEW DIRECTORY\n");
        return 64;
    }
    const QString crcview = QString::fromLocal8Bit(argv[1]);
    const QString directory = QString::fromLocal8Bit(argv[2]);
    const QString sarif = directory + QStringLiteral("/bench-100mb.sarif");
    const QString junit = directory + QStringLiteral("/bench-100mb.xml");
    if (!QFileInfo::exists(sarif) && !writeBig(sarif, sarifHead(), ",", sarifResult, "]}]}\n"))
        return 2;
    if (!QFileInfo::exists(junit) &&
        !writeBig(junit, "<?xml version=\"1.0\"?>\n<testsuites><testsuite name=\"suite0\">", "",
                  junitCase, "</testsuite></testsuites>\n"))
        return 2;
    parsers(sarif);
    compare(crcview, sarif, directory + QStringLiteral("/bench-100mb-sarif.crc"));
    compare(crcview, junit, directory + QStringLiteral("/bench-100mb-junit.crc"));
    return 0;
}
