// crcview: reads result files headless, for scripts and continuous integration.

#include "cli/convertcommand.h"
#include "cli/defectscommand.h"
#include "cli/exitstatus.h"
#include "cli/headlessstudio.h"
#include "filter/qareporterfilter.h"
#include "filter/qareporternodevalidator.h"
#include "import/importcache.h"
#include "model/qareporterdata.h"
#include "model/qareporterdatatree.h"
#include "reader/reportloader.h"
#include "sdk/qadialogs.h"
#include "sdk/qailogmonitor.h"
#include "viewer/qareporter.h"

#include <QApplication>
#include <QDir>
#include <QFile>
#include <QStringList>
#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <unistd.h>

namespace {

int usage()
{
    std::cerr << "usage: crcview dump [--count] [--failed] [--hide-type TYPE]... FILE\n"
                 "       crcview summary [--node NAME] [--check] FILE...\n"
                 "       crcview export [--failed] DIRECTORY FILE...\n"
                 "       crcview convert FILE [-o OUT.crc]\n"
                 "       crcview defects [--defects FILE] [--format csv|json]\n"
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
                 "  --check           exit status 1 when any test failed\n"
                 "  export            write the reports, the report files they link to and the\n"
                 "                    summary as linked HTML pages into DIRECTORY; prints the\n"
                 "                    path of index.html; exit status 2 when a file could not\n"
                 "                    be read or a page could not be written\n"
                 "  convert           write the result-file markup of FILE to OUT.crc or to\n"
                 "                    standard output\n"
                 "SARIF logs (*.sarif, *.sarif.json) and JUnit XML reports (*.xml) are read as\n"
                 "result files everywhere.\n"
                 "  defects           list the defects filed from crcstudio (its store, or\n"
                 "                    --defects FILE) as CSV or JSON\n";
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
        std::cout << "node " << node->tag.toStdString() << " depth " << tree->iterator()->depth()
                  << "\n"
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

// A viewer window without a display, in a studio of its own. Its dialogs are scripted: a
// warning (files that could not be read) is recorded instead of shown.
struct HeadlessViewer
{
    HeadlessViewer() : dialogs(installScriptedDialogs())
    {
        QAReporter::initialize(nullptr, &studio); // before the window, which reads the settings
        window = std::make_unique<QAReporter>(QStringLiteral("crcview"), QPixmap());
    }
    bool warned() const { return !dialogs->asked.isEmpty(); }

    static const ScriptedDialogs* installScriptedDialogs()
    {
        auto scripted = std::make_unique<ScriptedDialogs>();
        const ScriptedDialogs* installed = scripted.get();
        QADialogs::install(std::move(scripted));
        return installed;
    }

    const ScriptedDialogs* dialogs;
    HeadlessStudio studio;
    std::unique_ptr<QAReporter> window;
};

// What a command has read. It is never freed: the process ends with it still in memory, since
// freeing a million nodes one by one is time the user would wait for nothing.
struct Loaded
{
    std::unique_ptr<QAReporterData> record;
    std::unique_ptr<QAReporterFilter> filter;
    std::unique_ptr<HeadlessViewer> viewer;
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

// Widgets without a display: the offscreen platform, and a private runtime directory when the
// session has none, so that nothing but the summary reaches the terminal.
void prepareHeadlessDisplay()
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    if (qEnvironmentVariableIsEmpty("XDG_RUNTIME_DIR")) {
        const QString runtime =
            QDir::tempPath() + QStringLiteral("/crcview-runtime-%1").arg(getuid());
        QDir().mkpath(runtime);
        QFile::setPermissions(runtime, QFileDevice::ReadOwner | QFileDevice::WriteOwner |
                                           QFileDevice::ExeOwner);
        qputenv("XDG_RUNTIME_DIR", runtime.toLocal8Bit());
    }
}

// Runs a viewer window headless on the files, as the studio does for a console run.
int summary(const QStringList& arguments, Loaded& loaded)
{
    QString node;
    bool check = false;
    QStringList files;
    for (qsizetype i = 0; i < arguments.size(); ++i) {
        const QString& argument = arguments.at(i);
        if (argument == QLatin1String("--node") && i + 1 < arguments.size())
            node = arguments.at(++i);
        else if (argument == QLatin1String("--check"))
            check = true;
        else if (argument.startsWith(QLatin1Char('-')))
            return usage();
        else
            files.append(argument);
    }
    if (files.isEmpty())
        return usage();

    loaded.viewer = std::make_unique<HeadlessViewer>();
    HeadlessViewer& viewer = *loaded.viewer;
    if (!node.isEmpty())
        viewer.window->setNode({QString(), node});
    viewer.window->setFiles(&files, nullptr, QAStViewerWindow::Console);
    if (viewer.warned())
        return exitUnreadable;
    return check && viewer.window->testFailed() > 0 ? exitFailedTests : 0;
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

// Opens the files in a viewer window without a display and exports them as HTML pages.
int exportPages(const QStringList& arguments, Loaded& loaded)
{
    bool failedOnly = false;
    QStringList rest;
    for (const QString& argument : arguments) {
        if (argument == QLatin1String("--failed"))
            failedOnly = true;
        else if (argument.startsWith(QLatin1Char('-')))
            return usage();
        else
            rest.append(argument);
    }
    if (rest.size() < 2)
        return usage();
    const QString directory = rest.takeFirst();
    if (!QDir().mkpath(directory)) {
        std::cerr << "crcview: cannot create the directory " << directory.toLocal8Bit().constData()
                  << "\n";
        return exitUnreadable;
    }
    loaded.viewer = std::make_unique<HeadlessViewer>();
    HeadlessViewer& viewer = *loaded.viewer;
    // The pages are written from the reports, not from the window's views: nothing is laid out.
    viewer.window->setActivateDisplay(false);
    viewer.window->setFiles(&rest, nullptr, QAStViewerWindow::Normal);
    // Only files that could not be read are errors; the question asked when nothing failed
    // (show all results instead?) is not.
    const bool unreadable = viewer.warned();
    if (failedOnly)
        viewer.window->failedtests();
    ErrorLog log;
    // Pages that could not be written and linked files that could not be read are each a line
    // on standard error already; they make the exit status 2.
    const bool complete =
        viewer.window->exportHTML(directory, QStringLiteral("index.html"), nullptr, &log);
    std::cout << QDir(directory)
                     .absoluteFilePath(viewer.window->exportedIndexPage())
                     .toLocal8Bit()
                     .constData()
              << "\n";
    return unreadable || !complete ? exitUnreadable : 0;
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
    const bool needsWidgets =
        argc > 1 && (qstrcmp(argv[1], "summary") == 0 || qstrcmp(argv[1], "export") == 0);
    if (needsWidgets)
        prepareHeadlessDisplay();
    std::unique_ptr<QCoreApplication> app = needsWidgets
                                                ? std::make_unique<QApplication>(argc, argv)
                                                : std::make_unique<QCoreApplication>(argc, argv);
    std::ios::sync_with_stdio(false);
    QStringList arguments = QCoreApplication::arguments().mid(1);
    if (arguments.isEmpty())
        return usage();
    const QString command = arguments.takeFirst();
    if (command == QLatin1String("convert"))
        return convertCommand(arguments);
    if (command == QLatin1String("defects"))
        return defectsCommand(arguments, usage);
    const ImportedFiles imported(command, &arguments); // SARIF and JUnit XML as result files
    if (!imported.anyLeft())
        return exitUnreadable;
    Loaded loaded;
    int status = 0;
    if (command == QLatin1String("dump"))
        status = dump(arguments, loaded);
    else if (command == QLatin1String("summary"))
        status = summary(arguments, loaded);
    else if (command == QLatin1String("export"))
        status = exportPages(arguments, loaded);
    else
        return usage();
    endKeepingLoaded(imported.exitStatus(status));
}
