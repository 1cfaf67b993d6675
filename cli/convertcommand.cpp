#include "cli/convertcommand.h"

#include "cli/exitstatus.h"
#include "import/importcache.h"
#include "import/resultimport.h"
#include "sdk/qasafefile.h"

#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>
#include <iostream>

namespace {

int convertUsage()
{
    std::cerr << "usage: crcview convert FILE [-o OUT.crc]\n"
                 "  convert           write the result-file markup of a SARIF log (*.sarif,\n"
                 "                    *.sarif.json) or a JUnit XML report (*.xml) to OUT.crc,\n"
                 "                    or to standard output\n";
    return exitUsage;
}

void report(const ImportError& error)
{
    std::cerr << error.text().toLocal8Bit().constData() << "\n";
}

bool sameFile(const QString& a, const QString& b)
{
    const QFileInfo first(a);
    const QFileInfo second(b);
    if (first.exists() && second.exists())
        return first.canonicalFilePath() == second.canonicalFilePath();
    return first.absoluteFilePath() == second.absoluteFilePath();
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
