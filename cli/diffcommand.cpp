#include "cli/diffcommand.h"

#include "cli/diffreport.h"
#include "cli/exitstatus.h"
#include "cli/reportoutput.h"
#include "cli/reviewedresults.h"
#include "compare/runcomparison.h"
#include "compare/runidentities.h"
#include "compare/sarifbaseline.h"
#include "sdk/qasafefile.h"

#include <QString>
#include <algorithm>
#include <iostream>
#include <new>
#include <vector>

namespace {

enum class Format
{
    Text,
    Json,
    Sarif,
    Markdown
};

// A report asked for, and the file it goes to (standard output when none).
struct Output
{
    Format format;
    QString file;
};

bool formatNamed(const QString& name, Format* format)
{
    static const std::pair<const char*, Format> names[] = {{"text", Format::Text},
                                                           {"json", Format::Json},
                                                           {"sarif", Format::Sarif},
                                                           {"markdown", Format::Markdown}};
    for (const auto& [text, value] : names) {
        if (name == QLatin1String(text)) {
            *format = value;
            return true;
        }
    }
    return false;
}

// Reads a run; says why on standard error when it cannot be read.
bool read(const QString& path, RunIdentities* run)
{
    QString error;
    bool read = false;
    try {
        read = readRunIdentities(path, run, &error);
    } catch (const std::bad_alloc&) {
        run->failures = {};
        run->others = {};
        error = QStringLiteral("%1: out of memory: the run is too large to compare").arg(path);
    }
    if (!read)
        std::cerr << error.toLocal8Bit().constData() << "\n";
    return read;
}

bool write(const Output& output, const QByteArray& bytes)
{
    return writeReport(output.file, bytes);
}

// HEAD's SARIF log, written as it is made. Only one such log can be asked for.
bool writeSarif(const Output& output, RunIdentities& base, RunIdentities& head,
                const RunComparison& comparison, const SuppressionOf& suppression)
{
    QString error;
    if (output.file.isEmpty()) {
        const auto toStandardOutput = [](const QByteArray& piece) {
            std::cout.write(piece.constData(), piece.size());
            return bool(std::cout);
        };
        if (sarifWithBaseline(base, head, comparison, toStandardOutput, &error, suppression)) {
            std::cout.flush();
            if (std::cout)
                return true;
        }
        std::cerr << (error.isEmpty() ? QStringLiteral("crcview: cannot write to standard output")
                                      : error)
                         .toLocal8Bit()
                         .constData()
                  << "\n";
        return false;
    }
    QASafeFile file(output.file);
    if (!file.open()) {
        std::cerr << file.errorString().toLocal8Bit().constData() << "\n";
        return false;
    }
    const auto toFile = [&file](const QByteArray& piece) { return file.write(piece); };
    if (sarifWithBaseline(base, head, comparison, toFile, &error, suppression) && file.commit())
        return true;
    file.discard();
    std::cerr << (error.isEmpty() ? file.errorString() : error).toLocal8Bit().constData() << "\n";
    return false;
}

} // namespace

int diffCommand(const QStringList& given, int (*usage)())
{
    QStringList arguments = given;
    QString store;
    if (!ReviewedResults::takeStoreOption(&arguments, &store))
        return usage();
    std::vector<Output> outputs;
    QStringList runs;
    bool check = false;
    for (qsizetype i = 0; i < arguments.size(); ++i) {
        const QString& argument = arguments.at(i);
        const bool hasValue = i + 1 < arguments.size();
        if (argument == QLatin1String("--format") && hasValue) {
            Format format;
            if (!formatNamed(arguments.at(++i), &format))
                return usage();
            outputs.push_back({format, QString()});
        } else if (argument == QLatin1String("-o") && hasValue) {
            // The file of the format before it, of the text report when none was named.
            if (outputs.empty())
                outputs.push_back({Format::Text, QString()});
            if (!outputs.back().file.isEmpty())
                return usage();
            outputs.back().file = arguments.at(++i);
        } else if (argument == QLatin1String("--check")) {
            check = true;
        } else if (argument.startsWith(QLatin1Char('-')) && argument != QLatin1String("-")) {
            return usage();
        } else {
            runs.append(argument);
        }
    }
    if (runs.size() != 2)
        return usage();
    if (outputs.empty())
        outputs.push_back({Format::Text, QString()});
    int toStandardOutput = 0;
    int sarifLogs = 0;
    for (const Output& output : outputs) {
        toStandardOutput += output.file.isEmpty() ? 1 : 0;
        sarifLogs += output.format == Format::Sarif ? 1 : 0;
    }
    if (sarifLogs > 1) {
        std::cerr << "crcview: diff: one SARIF log at a time\n";
        return exitUsage;
    }
    if (toStandardOutput > 1) {
        std::cerr << "crcview: diff: only one report can go to standard output; give the others "
                     "a file with -o\n";
        return exitUsage;
    }

    RunIdentities base;
    RunIdentities head;
    const bool baseRead = read(runs.at(0), &base);
    const bool headRead = read(runs.at(1), &head);
    if (!baseRead || !headRead)
        return exitUnreadable;
    const RunComparison comparison = compareRuns(base, head);
    // The gate leaves out the new failures reviewed as false positives or intentional; the SARIF
    // log marks them suppressed.
    ReviewedResults reviews;
    if ((check || sarifLogs > 0) && !reviews.read(store))
        return exitUnreadable;
    const std::size_t reviewed =
        check ? std::size_t(std::count_if(
                    comparison.added.begin(), comparison.added.end(),
                    [&reviews](const RunFailure* failure) { return reviews.suppresses(*failure); }))
              : 0;
    const QByteArray reviewedNote =
        reviewed > 0 ? QByteArray("left out of the check as reviewed (false positive or "
                                  "intentional): ") +
                           QByteArray::number(qulonglong(reviewed)) + '\n'
                     : QByteArray();
    bool written = true;
    // The SARIF log comes last: it frees what the others report.
    std::stable_partition(outputs.begin(), outputs.end(),
                          [](const Output& output) { return output.format != Format::Sarif; });
    for (const Output& output : outputs) {
        switch (output.format) {
        case Format::Text:
            written = write(output, DiffReport::text(comparison) + reviewedNote) && written;
            break;
        case Format::Json:
            written = write(output, DiffReport::json(comparison)) && written;
            break;
        case Format::Markdown:
            written = write(output, DiffReport::markdown(comparison)) && written;
            break;
        case Format::Sarif:
            written = writeSarif(output, base, head, comparison,
                                 [&reviews](const RunFailure& failure) -> std::optional<QString> {
                                     const Review* review = reviews.suppressing(failure);
                                     return review ? std::optional<QString>(review->comment)
                                                   : std::nullopt;
                                 }) &&
                      written;
            break;
        }
    }
    if (!written)
        return exitUnreadable;
    return check && comparison.added.size() > reviewed ? exitFailedTests : 0;
}
