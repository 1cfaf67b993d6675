#include "cli/convertcommand.h"

#include "cli/exitstatus.h"
#include "cli/reportoutput.h"
#include "cli/reviewedresults.h"
#include "cli/runreport.h"
#include "compare/runidentities.h"
#include "import/importcache.h"
#include "import/resultimport.h"
#include "sdk/qasafefile.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>
#include <iostream>
#include <new>
#include <vector>

namespace {

bool sameFile(const QString& a, const QString& b)
{
    const QFileInfo first(a);
    const QFileInfo second(b);
    if (first.exists() && second.exists())
        return first.canonicalFilePath() == second.canonicalFilePath();
    return first.absoluteFilePath() == second.absoluteFilePath();
}

int convertUsage()
{
    std::cerr << "usage: crcview convert FILE [-o OUT.crc]\n"
                 "       crcview convert --to codeclimate|junit|markdown|sarif [--limit BYTES]\n"
                 "                       [--max-results N] [--defects STORE]\n"
                 "                       [--source-root DIR] FILE... [-o OUT]\n"
                 "  convert           write the result-file markup of a SARIF log (*.sarif,\n"
                 "                    *.sarif.json) or a JUnit XML report (*.xml) to OUT.crc,\n"
                 "                    or to standard output\n"
                 "  --to FORMAT       write the failed results of the files (any mix of result\n"
                 "                    files, SARIF logs and JUnit reports) as GitLab's Code\n"
                 "                    Quality report, JUnit XML, a Markdown summary or a\n"
                 "                    SARIF log for GitHub code scanning\n"
                 "  --max-results N   the SARIF log's first N results: without it, more than\n"
                 "                    25000 is an error\n"
                 "  --limit BYTES     the Markdown's size at most (1 MiB when not given, for a\n"
                 "                    job summary; 65536 for a pull-request comment)\n"
                 "  --source-root DIR source files inside DIR named from it, as the repository\n"
                 "                    names them\n"
                 "  --defects STORE   the store whose reviews mark results of the SARIF log\n"
                 "                    as suppressed (the default store when not given)\n";
    return exitUsage;
}

// `path` from `root` when it lies inside it, as the repository names it; else as it is.
QString relativeTo(const QString& root, const QString& path)
{
    if (!QDir::isAbsolutePath(path))
        return path;
    const QString clean = QDir::cleanPath(path);
    return clean.startsWith(root + QLatin1Char('/')) ? clean.mid(root.size() + 1) : path;
}

// The failures as a SARIF log GitHub code scanning takes: more results than it takes are an
// error unless `maxResults` (>= 0) cuts them, said on standard error; a log too large zipped is
// an error.
int writeSarifReport(std::vector<const RunFailure*> failures, qsizetype maxResults,
                     const QString& output, const QString& store)
{
    // Results reviewed as false positives or intentional are carried as suppressed.
    ReviewedResults reviews;
    if (!reviews.read(store))
        return exitUnreadable;
    const qsizetype count = qsizetype(failures.size());
    if (maxResults < 0 && count > RunReport::SarifMaxResults) {
        std::cerr << "crcview: " << count << " results, more than the "
                  << RunReport::SarifMaxResults
                  << " GitHub code scanning takes in a run; --max-results N writes the first N\n";
        return exitUnreadable;
    }
    if (maxResults >= 0 && count > maxResults) {
        failures.resize(std::size_t(maxResults));
        std::cerr << "crcview: " << count - maxResults << " of " << count
                  << " results left out (--max-results " << maxResults << ")\n";
    }
    const QByteArray log = RunReport::sarif(failures, &reviews);
    const qsizetype zipped = qCompress(log, 6).size();
    if (zipped > RunReport::SarifMaxZipped) {
        std::cerr << "crcview: the SARIF log is " << zipped / 1024
                  << " KiB compressed, more than the 10 MiB GitHub code scanning takes; "
                     "--max-results N writes fewer results\n";
        return exitUnreadable;
    }
    return writeReport(output, log) ? 0 : exitUnreadable;
}

// crcview convert --to FORMAT: the failed results of the files as one report.
int convertToReport(const QStringList& arguments)
{
    QString format;
    QString output;
    QString sourceRoot;
    QString store;
    qsizetype limit = RunReport::MarkdownSummaryLimit;
    qsizetype maxResults = -1; // none given: more than code scanning takes is an error
    QStringList inputs;
    for (qsizetype i = 0; i < arguments.size(); ++i) {
        const QString& argument = arguments.at(i);
        const bool valueFollows = i + 1 < arguments.size();
        if (argument == QLatin1String("--to") && valueFollows && format.isNull()) {
            format = arguments.at(++i);
        } else if (argument == QLatin1String("-o") && valueFollows && output.isNull()) {
            output = arguments.at(++i);
        } else if (argument == QLatin1String("--defects") && valueFollows) {
            store = arguments.at(++i);
        } else if (argument == QLatin1String("--source-root") && valueFollows) {
            sourceRoot = QDir::cleanPath(QDir(arguments.at(++i)).absolutePath());
        } else if (argument == QLatin1String("--max-results") && valueFollows) {
            bool number = false;
            maxResults = arguments.at(++i).toLongLong(&number);
            if (!number || maxResults < 0)
                return convertUsage();
        } else if (argument == QLatin1String("--limit") && valueFollows) {
            bool number = false;
            limit = arguments.at(++i).toLongLong(&number);
            if (!number || limit < 1024)
                return convertUsage();
        } else if (argument.startsWith(QLatin1Char('-'))) {
            return convertUsage();
        } else {
            inputs.append(argument);
        }
    }
    if (inputs.isEmpty() ||
        (format != QLatin1String("codeclimate") && format != QLatin1String("markdown") &&
         format != QLatin1String("junit") && format != QLatin1String("sarif")))
        return convertUsage();
    for (const QString& input : inputs) {
        if (!output.isNull() && sameFile(input, output)) {
            std::cerr << "crcview: the output " << output.toLocal8Bit().constData()
                      << " is an input; nothing written\n";
            return exitUsage;
        }
    }
    RunIdentities run;
    for (const QString& input : inputs) {
        QString error;
        bool read = false;
        try {
            read = readRunIdentities(input, &run, &error);
        } catch (const std::bad_alloc&) {
            error = input + QStringLiteral(": out of memory");
        }
        if (!read) {
            std::cerr << ImportCache::originalsIn(error).toLocal8Bit().constData() << "\n";
            return exitUnreadable;
        }
    }
    std::vector<const RunFailure*> failures;
    failures.reserve(run.failures.size());
    for (RunFailure& failure : run.failures) {
        if (!sourceRoot.isNull()) {
            failure.source = relativeTo(sourceRoot, failure.source);
            if (!failure.names.isEmpty())
                failure.names.first() = relativeTo(sourceRoot, failure.names.first());
        }
        failures.push_back(&failure);
    }
    if (format == QLatin1String("sarif"))
        return writeSarifReport(failures, maxResults, output, store);
    const QByteArray report =
        format == QLatin1String("codeclimate") ? RunReport::codeClimate(failures)
        : format == QLatin1String("junit")     ? RunReport::junit(failures)
                                               : RunReport::markdown(failures, limit);
    return writeReport(output, report) ? 0 : exitUnreadable;
}

void report(const ImportError& error)
{
    std::cerr << error.text().toLocal8Bit().constData() << "\n";
}

// Option values and the export directory are not files to convert.
bool takesValue(const QString& command, const QString& option)
{
    return (command == QLatin1String("dump") && option == QLatin1String("--hide-type")) ||
           (command == QLatin1String("export") &&
            (option == QLatin1String("--baseline") || option == QLatin1String("--source-url"))) ||
           (command == QLatin1String("summary") &&
            (option == QLatin1String("--node") || option == QLatin1String("--format") ||
             option == QLatin1String("--fail-on")));
}

// Converts into a private temporary folder, not the cache (which need not be writable), and
// copies the result to standard output.
int convertToStandardOutput(const QString& input)
{
    const QTemporaryDir folder;
    if (!folder.isValid()) {
        std::cerr << "crcview: cannot create a temporary folder: "
                  << folder.errorString().toLocal8Bit().constData() << "\n";
        return exitUnreadable;
    }
    const QString converted = folder.filePath(QStringLiteral("converted.crc"));
    ImportError error;
    if (!importResults(input, converted, &error)) {
        report(error);
        return exitUnreadable;
    }
    QFile markup(converted);
    QString reason;
    if (!QASafeWrite::openRegularFile(markup, &reason)) {
        std::cerr << converted.toLocal8Bit().constData() << ": " << reason.toLocal8Bit().constData()
                  << "\n";
        return exitUnreadable;
    }
    while (!markup.atEnd()) {
        const QByteArray block = markup.read(1 << 20);
        std::cout.write(block.constData(), block.size());
    }
    std::cout.flush();
    return std::cout ? 0 : exitUnreadable;
}

} // namespace

int convertCommand(const QStringList& arguments)
{
    if (arguments.contains(QLatin1String("--to")))
        return convertToReport(arguments);
    QString input;
    QString output;
    for (qsizetype i = 0; i < arguments.size(); ++i) {
        const QString& argument = arguments.at(i);
        if (argument == QLatin1String("-o") && i + 1 < arguments.size() && output.isNull())
            output = arguments.at(++i);
        else if (argument.startsWith(QLatin1Char('-')) || !input.isNull())
            return convertUsage();
        else
            input = argument;
    }
    if (input.isNull())
        return convertUsage();
    ImportError error;
    if (output.isNull())
        return convertToStandardOutput(input);
    if (sameFile(input, output)) {
        std::cerr << "crcview: the output " << output.toLocal8Bit().constData()
                  << " is the input itself; nothing written\n";
        return exitUsage;
    }
    if (!importResults(input, output, &error)) {
        report(error);
        return exitUnreadable;
    }
    return 0;
}

ImportedFiles::ImportedFiles(const QString& command, QStringList* arguments)
{
    if (command != QLatin1String("dump") && command != QLatin1String("summary") &&
        command != QLatin1String("export"))
        return;
    bool directoryToCome = command == QLatin1String("export");
    QStringList kept;
    for (qsizetype i = 0; i < arguments->size(); ++i) {
        const QString& argument = arguments->at(i);
        if (argument.startsWith(QLatin1Char('-'))) {
            kept.append(argument);
            if (takesValue(command, argument) && i + 1 < arguments->size())
                kept.append(arguments->at(++i));
            continue;
        }
        if (directoryToCome) {
            directoryToCome = false;
            kept.append(argument);
            continue;
        }
        if (importFormatOf(argument) == ImportFormat::None) {
            ++m_others;
            kept.append(argument);
            continue;
        }
        ImportError error;
        const QString converted = ImportCache::resultFileFor(argument, &error);
        if (converted.isNull()) {
            report(error);
            m_failed.append(argument);
            continue;
        }
        ++m_converted;
        kept.append(converted);
    }
    *arguments = kept;
}

int ImportedFiles::exitStatus(int status) const
{
    // A log that could not be read leaves the verdict incomplete: that outweighs failed tests.
    return !m_failed.isEmpty() && status != exitUsage ? exitUnreadable : status;
}
