// crcview: reads result files headless, for scripts and continuous integration.

#include "filter/qareporterfilter.h"
#include "filter/qareporternodevalidator.h"
#include "model/qareporterdata.h"
#include "model/qareporterdatatree.h"
#include "model/reportloader.h"

#include <QCoreApplication>
#include <QStringList>
#include <iostream>

namespace {

constexpr int exitUnreadable = 2;
constexpr int exitUsage = 64;

int usage()
{
    std::cerr << "usage: crcview dump [--count] [--failed] [--hide-type TYPE]... FILE\n"
                 "  dump              print every result node of FILE, its types and totals\n"
                 "  --count           print only the number of nodes and the totals\n"
                 "  --failed          keep only failed nodes (and nodes without a verdict)\n"
                 "  --hide-type TYPE  drop the nodes whose type starts with the regular\n"
                 "                    expression TYPE, and everything below them\n"
                 "The totals always count the whole file.\n";
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

int dump(const QStringList& arguments)
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
    const std::unique_ptr<QAReporterData> record = loadReport(path, {}, nullptr, &error);
    if (!record) {
        std::cerr << path.toStdString();
        if (error.line > 0)
            std::cerr << ":" << error.line << ":" << error.column;
        std::cerr << ": " << error.message.toStdString() << "\n";
        return exitUnreadable;
    }
    QAReporterDataTree* tree = record->tree;
    QAReporterFilter filter;
    if (filtered) {
        filter.setValidator(validator);
        filter.applyFilter({record.get()});
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

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    std::ios::sync_with_stdio(false);
    QStringList arguments = QCoreApplication::arguments().mid(1);
    if (arguments.isEmpty())
        return usage();
    const QString command = arguments.takeFirst();
    if (command == QLatin1String("dump"))
        return dump(arguments);
    return usage();
}
