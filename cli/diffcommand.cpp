#include "cli/diffcommand.h"

#include "cli/diffreport.h"
#include "cli/exitstatus.h"
#include "compare/runcomparison.h"
#include "compare/runidentities.h"
#include "compare/sarifbaseline.h"
#include "sdk/qasafefile.h"

#include <QString>
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
    if (output.file.isEmpty()) {
        std::cout.write(bytes.constData(), bytes.size());
        std::cout.flush();
        if (std::cout)
            return true;
        std::cerr << "crcview: cannot write to standard output\n";
        return false;
    }
    QString error;
    if (QASafeWrite::writeFile(output.file, bytes, &error))
        return true;
    std::cerr << error.toLocal8Bit().constData() << "\n";
    return false;
}

} // namespace

int diffCommand(const QStringList& arguments, int (*usage)())
{
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
    for (const Output& output : outputs)
        toStandardOutput += output.file.isEmpty() ? 1 : 0;
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
    bool written = true;
    for (const Output& output : outputs) {
        switch (output.format) {
        case Format::Text:
            written = write(output, DiffReport::text(comparison)) && written;
            break;
        case Format::Json:
            written = write(output, DiffReport::json(comparison)) && written;
            break;
        case Format::Markdown:
            written = write(output, DiffReport::markdown(comparison)) && written;
            break;
        case Format::Sarif: {
            QByteArray log;
            QString error;
            if (!sarifWithBaseline(base, head, comparison, &log, &error)) {
                std::cerr << error.toLocal8Bit().constData() << "\n";
                return exitUnreadable;
            }
            written = write(output, log) && written;
            break;
        }
        }
    }
    if (!written)
        return exitUnreadable;
    return check && !comparison.added.empty() ? exitFailedTests : 0;
}
