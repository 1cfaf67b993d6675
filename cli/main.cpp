// crcview: reads result files headless, for scripts and continuous integration.

#include "cli/commandlinecontext.h"
#include "cli/convertcommand.h"
#include "cli/defectscommand.h"
#include "cli/diffcommand.h"
#include "cli/exitstatus.h"
#include "cli/reviewcommand.h"
#include "cli/reviewedresults.h"
#include "compare/runidentities.h"
#include "filter/failurecounts.h"
#include "filter/qareporterfilter.h"
#include "filter/qareporternodevalidator.h"
#include "import/importcache.h"
#include "model/qareporterdata.h"
#include "model/qareporterdatatree.h"
#include "reader/reportloader.h"
#include "sdk/qailogmonitor.h"
#include "session/reportsession.h"

#include <QCoreApplication>
#include <QDir>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QStringList>
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <iostream>

namespace {

void printUsage(std::ostream& out)
{
    out << "usage: crcview dump [--count] [--failed] [--hide-type TYPE]... FILE\n"
           "       crcview summary [--node NAME] [--check [--fail-on LEVEL] [--defects STORE]]\n"
           "                       [--format text|json] FILE...\n"
           "       crcview export [--failed] [--baseline BASE] [--source-url TEMPLATE]\n"
           "                      [--embed-sources] DIRECTORY FILE...\n"
           "       crcview convert FILE [-o OUT.crc]\n"
           "       crcview diff [--format text|json|sarif|markdown [-o FILE]]...\n"
           "                    [--check] [--defects STORE] BASE HEAD\n"
           "       crcview defects [--defects FILE] [--format csv|json]\n"
           "       crcview review [--defects FILE] set --status STATUS [--comment TEXT]\n"
           "                      [--rule RULE] IDENTITY\n"
           "       crcview review [--defects FILE] list [--format text|json]\n"
           "       crcview review [--defects FILE] export|import FILE\n"
           "       crcview --help | --version\n"
           "  dump              print every result node of FILE, its types and totals\n"
           "  --count           print only the number of nodes and the totals\n"
           "  --failed          keep only failed nodes (and nodes without a verdict)\n"
           "  --hide-type TYPE  drop the nodes whose type starts with the regular\n"
           "                    expression TYPE, and everything below them\n"
           "The totals always count the whole file.\n"
           "  summary           open the files in a viewer and print the passed and failed\n"
           "                    counts; files that cannot be read are listed on standard\n"
           "                    error (exit status 2)\n"
           "  --node NAME       name the test node in the summary\n"
           "  --check           exit status 1 when any test failed, 2 when a file could\n"
           "                    not be read (even when tests failed)\n"
           "  --format json     the totals and each file's counts as one JSON object;\n"
           "                    sarif, junit, codeclimate or markdown: as convert --to\n"
           "  --fail-on LEVEL   with --check, count only analyzers' findings of LEVEL\n"
           "                    (error, warning or note) or graver, and every other failure\n"
           "  export            write the reports, the report files they link to and the\n"
           "                    summary as linked HTML pages into DIRECTORY; prints the\n"
           "                    path of index.html; exit status 2 when a file could not\n"
           "                    be read or a page could not be written\n"
           "  --baseline BASE   the summary page starts with the failures that are new\n"
           "                    since the run BASE, then those fixed since\n"
           "  --source-url TEMPLATE  link sources to a web address, {path} the file's path\n"
           "                    in the sources and {line} the line, e.g.\n"
           "                    'https://host/repo/blob/REV/{path}#L{line}'\n"
           "  --embed-sources   show the lines around each place under its link\n"
           "  convert           write the result-file markup of FILE to OUT.crc or to\n"
           "                    standard output\n"
           "  diff              compare the failed results of HEAD with those of BASE:\n"
           "                    the counts of new, fixed and still failing, each new one;\n"
           "                    each --format may be given again, its -o FILE after it\n"
           "  --check           (diff) exit status 1 when anything failed that did not\n"
           "                    in BASE; 2 when a run cannot be read\n"
           "SARIF logs (*.sarif, *.sarif.json) and JUnit XML reports (*.xml) are read as\n"
           "result files everywhere.\n"
           "  defects           list the defects filed from crcstudio (its store, or\n"
           "                    --defects FILE) as CSV or JSON\n"
           "  review            the decisions about failed results, by identity (as diff\n"
           "                    --format json prints it) and rule: STATUS unreviewed,\n"
           "                    confirmed, false-positive or intentional; export writes\n"
           "                    them as JSON, import merges such a file (the later\n"
           "                    decision wins); --check of summary and diff leaves out\n"
           "                    the false positives and intentional ones\n";
}

int usage()
{
    printUsage(std::cerr);
    return exitUsage;
}

void printTotals(const QAReporterData& record)
{
    std::cout << "totals: passed=" << record.passed << " failed=" << record.failed
              << " inconclusive=" << record.inconclusive << "\n";
}

// Every node in walk order (the root excepted), with its tag, depth and debug dump.
void printNodes(QAReporterDataTree* tree)
{
    tree->toRoot();
    while (QAReporterNode* node = tree->next(QAReporterDataTree::Forward)) {
        std::cout << "node " << std::string(node->tag.utf8()) << " depth "
                  << tree->iterator()->depth() << "\n"
                  << *node;
    }
}

int countNodes(QAReporterDataTree* tree)
{
    int count = 0;
    tree->toRoot();
    while (tree->next(QAReporterDataTree::Forward))
        ++count;
    return count;
}

// The session of a viewer, as the studio runs one for a console run.
struct Viewer
{
    Viewer() : session(&context) {}

    CommandLineContext context;
    ReportSession session;
};

// What a command has read. It is never freed: the process ends with it still in memory, since
// freeing a million nodes one by one is time the user would wait for nothing.
struct Loaded
{
    std::unique_ptr<QAReporterData> record;
    std::unique_ptr<QAReporterFilter> filter;
    std::unique_ptr<Viewer> viewer;
};

int dump(const QStringList& arguments, Loaded& loaded)
{
    bool countOnly = false;
    bool filtered = false;
    QAReporterNodeValidator validator;
    QString path;
    for (qsizetype i = 0; i < arguments.size(); ++i) {
        const QString& argument = arguments.at(i);
        if (argument == QLatin1String("--count")) {
            countOnly = true;
        } else if (argument == QLatin1String("--failed")) {
            validator.setAttribut(QAReporterNodeValidator::AttrState,
                                  QRegularExpression(QStringLiteral("ko")));
            filtered = true;
        } else if (argument == QLatin1String("--hide-type") && i + 1 < arguments.size()) {
            const QRegularExpression type(arguments.at(++i));
            if (!type.isValid()) {
                std::cerr << "crcview: --hide-type " << type.pattern().toStdString() << ": "
                          << type.errorString().toStdString() << "\n";
                return exitUsage;
            }
            validator.setAttribut(QAReporterNodeValidator::AttrType, type);
            filtered = true;
        } else if (argument.startsWith(QLatin1Char('-')) || !path.isNull()) {
            return usage();
        } else {
            path = argument;
        }
    }
    if (path.isNull())
        return usage();

    ReportLoadError error;
    loaded.record = loadReport(path, {}, nullptr, &error);
    const QAReporterData* record = loaded.record.get();
    if (!record) {
        const QString place =
            error.line > 0 ? QStringLiteral("%1:%2:%3").arg(path).arg(error.line).arg(error.column)
                           : path;
        std::cerr << ImportCache::originalsIn(place).toLocal8Bit().constData() << ": "
                  << error.message.toLocal8Bit().constData() << "\n";
        return exitUnreadable;
    }
    QAReporterDataTree* tree = record->tree;
    if (filtered) {
        loaded.filter = std::make_unique<QAReporterFilter>();
        QAReporterFilter& filter = *loaded.filter;
        filter.setValidator(validator);
        filter.applyFilter({loaded.record.get()});
        tree = filter.filtered().empty() ? nullptr : filter.filtered().front()->tree.data();
    }
    if (countOnly) {
        std::cout << "nodes: " << (tree ? countNodes(tree) : 0) << "\n";
    } else {
        if (tree)
            printNodes(tree);
        std::cout << "types: " << record->typeList.join(QStringLiteral(", ")).toStdString() << "\n";
    }
    printTotals(*record);
    return 0;
}

// Reads `files` into the session and shows it as a viewer does; the files that could not be
// read are named on standard error with why, and returned.
QStringList open(ReportSession& session, const QStringList& files)
{
    session.setFiles(files);
    ReportSession::Reading reading = session.read(files, true);
    QStringList failed = std::move(reading.failed);
    const QStringList reasons = std::move(reading.reasons);
    session.add(std::move(reading));
    if (!failed.isEmpty()) {
        std::cerr << ImportCache::originalsIn(ReportSession::unreadableMessage(failed))
                         .toLocal8Bit()
                         .constData();
        for (const QString& reason : reasons)
            std::cerr
                << ImportCache::originalsIn(reason + QLatin1Char('\n')).toLocal8Bit().constData();
    }
    if (!session.records().empty())
        session.analyse(QStringLiteral("crcview"));
    return failed;
}

// The counts as scripts read them: totals, then each file by the name it was given.
QByteArray summaryJson(const ReportSession& session, const QStringList& unreadable)
{
    qint64 passed = 0, failed = 0, skipped = 0;
    QJsonArray files;
    for (const auto& record : session.records()) {
        const qint32 notRun = std::max(record->inconclusive, 0);
        passed += record->passed;
        failed += record->failed;
        skipped += notRun;
        files.append(QJsonObject{{"file", ImportCache::originalsIn(record->fileName)},
                                 {"passed", record->passed},
                                 {"failed", record->failed},
                                 {"skipped", notRun}});
    }
    QJsonArray unread;
    for (const QString& file : unreadable)
        unread.append(ImportCache::originalsIn(file));
    const QJsonObject totals{{"passed", passed}, {"failed", failed}, {"skipped", skipped}};
    return QJsonDocument(QJsonObject{{"totals", totals}, {"files", files}, {"unreadable", unread}})
        .toJson(QJsonDocument::Indented);
}

// The levels --fail-on takes, gravest first.
const QStringList failLevels = {QStringLiteral("error"), QStringLiteral("warning"),
                                QStringLiteral("note")};

// Whether a failure counts against the gate: analyzers' findings of `level` or graver, and every
// failure that has no level.
bool failsAt(const ReportSession& session, const QString& level)
{
    const qsizetype threshold = failLevels.indexOf(level);
    FailureCounts counts;
    for (const auto& record : session.records())
        counts += failuresIn(record->tree ? record->tree->rootNode() : nullptr);
    const int graver[] = {counts.errors, counts.warnings, counts.notes};
    int failing = counts.failed;
    for (qsizetype i = 0; i <= threshold; ++i)
        failing += graver[i];
    return failing > 0;
}

// The failures of `files` that count against the gate (as failsAt(), all of them when `level` is
// null) in `counted`, and of those the ones reviewed as left out in `reviewed`. False, with the
// reason on standard error, when a file cannot be read.
bool countReviewed(const QStringList& files, const QString& level, const ReviewedResults& reviews,
                   int* counted, int* reviewed)
{
    const qsizetype threshold = level.isNull() ? failLevels.size() : failLevels.indexOf(level);
    for (const QString& file : files) {
        RunIdentities run;
        QString error;
        if (!readRunIdentities(file, &run, &error)) {
            std::cerr << ImportCache::originalsIn(error).toLocal8Bit().constData() << "\n";
            return false;
        }
        for (const RunFailure& failure : run.failures) {
            const qsizetype grade = failLevels.indexOf(failure.level);
            if (grade > threshold)
                continue;
            ++*counted;
            *reviewed += reviews.suppresses(failure) ? 1 : 0;
        }
    }
    return true;
}

// Reads the files as the studio does for a console run, and prints the totals.
int summary(const QStringList& arguments, const QStringList& unconverted, const QString& store,
            Loaded& loaded)
{
    QString node;
    QString failOn;
    bool check = false;
    bool json = false;
    QStringList files;
    for (qsizetype i = 0; i < arguments.size(); ++i) {
        const QString& argument = arguments.at(i);
        if (argument == QLatin1String("--node") && i + 1 < arguments.size())
            node = arguments.at(++i);
        else if (argument == QLatin1String("--format") && i + 1 < arguments.size() &&
                 (arguments.at(i + 1) == QLatin1String("json") ||
                  arguments.at(i + 1) == QLatin1String("text")))
            json = arguments.at(++i) == QLatin1String("json");
        else if (argument == QLatin1String("--check"))
            check = true;
        else if (argument == QLatin1String("--fail-on") && i + 1 < arguments.size() &&
                 failLevels.contains(arguments.at(i + 1)))
            failOn = arguments.at(++i);
        else if (argument.startsWith(QLatin1Char('-')))
            return usage();
        else
            files.append(argument);
    }
    if (files.isEmpty() || (!failOn.isNull() && !check))
        return usage();

    loaded.viewer = std::make_unique<Viewer>();
    ReportSession& session = loaded.viewer->session;
    const QStringList unreadable = unconverted + open(session, files);
    if (json)
        std::cout << summaryJson(session, unreadable).constData();
    else
        std::cout << session.consoleSummary(node).toLocal8Bit().constData();
    std::cout.flush();
    if (!unreadable.isEmpty())
        return exitUnreadable;
    if (!check)
        return 0;
    ReviewedResults reviews;
    if (!reviews.read(store))
        return exitUnreadable;
    if (reviews.anySuppressing()) {
        // The gate then counts by the results' identities, which the reviews name.
        int counted = 0;
        int reviewed = 0;
        if (!countReviewed(files, failOn, reviews, &counted, &reviewed))
            return exitUnreadable;
        if (reviewed > 0 && !json)
            std::cout << "left out of the check as reviewed (false positive or intentional): "
                      << reviewed << "\n";
        return counted > reviewed ? exitFailedTests : 0;
    }
    const bool failing = failOn.isNull() ? session.testFailed() > 0 : failsAt(session, failOn);
    return failing ? exitFailedTests : 0;
}

// Log messages of an export, on standard error.
class ErrorLog : public QAILogMonitor
{
public:
    void logMessage(const QString& message) override
    {
        std::cerr << ImportCache::originalsIn(message).toLocal8Bit().constData() << "\n";
    }
};

// Reads the files as a viewer does and exports them as HTML pages.
int exportPages(const QStringList& arguments, Loaded& loaded)
{
    bool failedOnly = false;
    QString baseline;
    bool embedSources = false;
    QString sourceUrl;
    QStringList rest;
    for (qsizetype i = 0; i < arguments.size(); ++i) {
        const QString& argument = arguments.at(i);
        if (argument == QLatin1String("--failed")) {
            failedOnly = true;
        } else if (argument == QLatin1String("--baseline") && i + 1 < arguments.size() &&
                   baseline.isNull()) {
            baseline = arguments.at(++i);
        } else if (argument == QLatin1String("--embed-sources")) {
            embedSources = true;
        } else if (argument == QLatin1String("--source-url") && i + 1 < arguments.size()) {
            sourceUrl = arguments.at(++i);
            // A web address, so that no page links to a script.
            if (!(sourceUrl.startsWith(QLatin1String("https://")) ||
                  sourceUrl.startsWith(QLatin1String("http://"))) ||
                !sourceUrl.contains(QLatin1String("{path}"))) {
                std::cerr << "crcview: --source-url needs an http or https address with {path}\n";
                return exitUsage;
            }
        } else if (argument.startsWith(QLatin1Char('-'))) {
            return usage();
        } else {
            rest.append(argument);
        }
    }
    if (rest.size() < 2)
        return usage();
    const QString directory = rest.takeFirst();
    if (!QDir().mkpath(directory)) {
        std::cerr << "crcview: cannot create the directory " << directory.toLocal8Bit().constData()
                  << "\n";
        return exitUnreadable;
    }
    loaded.viewer = std::make_unique<Viewer>();
    ReportSession& session = loaded.viewer->session;
    const bool unreadable = !open(session, rest).isEmpty();
    if (failedOnly) {
        // The failed results only, none when none failed: the summary says how they went.
        session.setFailedOnly(true);
        session.analyse(QStringLiteral("crcview"));
    }
    // A baseline that cannot be read is said, and the pages are written without it.
    QString baselineError;
    const bool compared = baseline.isNull() || session.setBaseline(baseline, &baselineError);
    if (!compared)
        std::cerr << ImportCache::originalsIn(baselineError).toLocal8Bit().constData() << "\n";
    session.setSourceExport(sourceUrl, embedSources);
    ErrorLog log;
    // Pages that could not be written and linked files that could not be read are each a line
    // on standard error already; they make the exit status 2.
    const bool complete = session.exportHTML(directory, nullptr, &log);
    std::cout
        << QDir(directory).absoluteFilePath(session.exportedIndexPage()).toLocal8Bit().constData()
        << "\n";
    return unreadable || !complete || !compared ? exitUnreadable : 0;
}

// Ends the process once the output is out, leaving what the command read where it is. Every
// file a command writes is closed before it returns; only the standard streams are still open.
[[noreturn]] void endKeepingLoaded(int status)
{
    std::cout.flush();
    std::cerr.flush();
    std::fflush(nullptr);
    std::_Exit(status);
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    std::ios::sync_with_stdio(false);
    QStringList arguments = QCoreApplication::arguments().mid(1);
    if (arguments.isEmpty())
        return usage();
    const QString command = arguments.takeFirst();
    if (command == QLatin1String("--help") || command == QLatin1String("-h")) {
        printUsage(std::cout);
        return 0;
    }
    if (command == QLatin1String("--version")) {
        std::cout << "crcview " CRC_VIEWER_VERSION "\n";
        return 0;
    }
    if (command == QLatin1String("convert"))
        return convertCommand(arguments);
    if (command == QLatin1String("defects"))
        return defectsCommand(arguments, usage);
    if (command == QLatin1String("review"))
        return reviewCommand(arguments, usage);
    if (command == QLatin1String("diff"))
        return diffCommand(arguments, usage);
    if (command == QLatin1String("summary")) {
        // The reports of the failures are those of convert --to.
        const qsizetype format = arguments.indexOf(QLatin1String("--format"));
        if (format >= 0 && format + 1 < arguments.size() &&
            !QStringList{QStringLiteral("text"), QStringLiteral("json")}.contains(
                arguments.at(format + 1))) {
            arguments[format] = QStringLiteral("--to");
            return convertCommand(arguments);
        }
    }
    QString store; // where summary --check finds the reviews
    if (command == QLatin1String("summary") &&
        !ReviewedResults::takeStoreOption(&arguments, &store))
        return usage();
    const ImportedFiles imported(command, &arguments); // SARIF and JUnit XML as result files
    if (!imported.anyLeft())
        return exitUnreadable;
    Loaded loaded;
    int status = 0;
    if (command == QLatin1String("dump"))
        status = dump(arguments, loaded);
    else if (command == QLatin1String("summary"))
        status = summary(arguments, imported.failed(), store, loaded);
    else if (command == QLatin1String("export"))
        status = exportPages(arguments, loaded);
    else
        return usage();
    endKeepingLoaded(imported.exitStatus(status));
}
