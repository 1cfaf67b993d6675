#include "export/qareporterindexpage.h"

#include "folio/export/dhtmlwriter.h"
#include "folio/model/ddocument.h"
#include "folio/model/ditems.h"
#include "model/qareporterdata.h"
#include "model/qareporterdatatree.h"
#include "model/qareporternode.h"

#include <QCoreApplication>
#include <QFileInfo>
#include <QStringList>
#include <vector>

namespace {

// A page listing a million failures helps nobody: the first ones are listed, the rest counted.
constexpr int listedFailures = 200;
constexpr int minListedPerFile = 10;

QString text(const char* source)
{
    return QCoreApplication::translate("Reporter", source);
}

void appendText(QByteArray& out, const QString& value)
{
    DHTMLWriter::appendEscaped(out, value);
}

// One part of the bar: a rectangle `share` of the width, after `start`.
void appendBarPart(QByteArray& out, double start, double share, const char* colour,
                   const QString& label)
{
    if (share <= 0)
        return;
    out += "<rect x=\"" + QByteArray::number(start * 100, 'f', 3) + "%\" y=\"0\" width=\"" +
           QByteArray::number(share * 100, 'f', 3) + "%\" height=\"14\" fill=\"" + colour +
           "\"><title>";
    appendText(out, label);
    out += "</title></rect>";
}

// The anchor of a node's section in its page: the tag of the section it starts with.
QString anchorOf(const QAReporterNode& node)
{
    if (const auto* section = dcast<DSection>(node.item))
        return section->tag();
    if (const auto* title = dcast<DTitle>(node.item))
        return title->tag();
    return QString();
}

// The items above a failure, as a reader follows them: all of them when few, else the outermost
// and the nearest ones, so a failure deep in a nested file costs no more than a shallow one.
QString contextOf(const QStringList& above)
{
    constexpr int nearestShown = 6;
    const QString separator = QStringLiteral(" \u203a ");
    if (above.size() <= nearestShown + 2)
        return above.join(separator);
    return above.first() + separator + QStringLiteral("\u2026") + separator +
           above.mid(above.size() - nearestShown).join(separator);
}

} // namespace

QByteArray indexPagePreamble(const QList<QAReporterData*>& reports, const QDateTime& when)
{
    qint64 passed = 0;
    qint64 failed = 0;
    qint64 inconclusive = 0;
    QStringList files;
    for (const QAReporterData* record : reports) {
        passed += qMax(0, record->passed);
        failed += qMax(0, record->failed);
        inconclusive += qMax(0, record->inconclusive);
        files.append(QFileInfo(record->fileName).fileName());
    }
    const qint64 total = passed + failed + inconclusive;

    QByteArray out = "<header class=\"overview\">\n<h1>";
    appendText(out, text("Code review results"));
    out += "</h1>\n<p class=\"files\">";
    appendText(out, files.join(QStringLiteral(", ")));
    out += " &middot; <time datetime=\"" + when.toString(Qt::ISODate).toUtf8() + "\">";
    appendText(out, when.toString(QStringLiteral("yyyy-MM-dd HH:mm")));
    out += "</time></p>\n<p class=\"totals\">";
    const QString totals = text("%1 passed, %2 failed, %3 inconclusive, %4 in all")
                               .arg(passed)
                               .arg(failed)
                               .arg(inconclusive)
                               .arg(total);
    appendText(out, totals);
    out += "</p>\n<svg class=\"bar\" role=\"img\" width=\"100%\" height=\"14\" "
           "xmlns=\"http://www.w3.org/2000/svg\"><title>";
    appendText(out, totals);
    out += "</title><rect width=\"100%\" height=\"14\" fill=\"#e0e0e0\"/>";
    const double scale = total > 0 ? 1.0 / double(total) : 0;
    appendBarPart(out, 0, passed * scale, "#2e7d32", text("%1 passed").arg(passed));
    appendBarPart(out, passed * scale, failed * scale, "#c62828", text("%1 failed").arg(failed));
    appendBarPart(out, (passed + failed) * scale, inconclusive * scale, "#9e9e9e",
                  text("%1 inconclusive").arg(inconclusive));
    out += "</svg>\n";

    out += "<h2>";
    appendText(out, text("Reports"));
    out += "</h2>\n</header>\n";
    return out;
}

QByteArray indexPageFailures(const QList<QAReporterData*>& reports,
                             const std::function<QString(const QString& tag)>& pageOf)
{
    // Each file gets its share of the list, so that one file's many failures hide no other's:
    // its first failures, then the way to its page.
    const int perFile =
        qMax(minListedPerFile, listedFailures / int(qMax<qsizetype>(1, reports.size())));
    QByteArray out;
    for (const QAReporterData* record : reports) {
        QAReporterDataTree* tree = record->tree;
        if (!tree || !record->document)
            continue;
        const QString page = pageOf(record->document->tag());
        const QString fileName = QFileInfo(record->fileName).fileName();
        // The failures to list are the deepest ones: a failed item none of whose descendants
        // failed, named with the items above it ("src/main.c › no-goto › line 42").
        struct Failure
        {
            const QAReporterNode* node;
            QString context;
            bool hasFailedDescendant = false;
        };
        std::vector<Failure> failures;
        std::vector<std::pair<int, size_t>> failedAbove; // depth, index in failures
        QStringList names;                               // of the items above, by depth
        tree->toRoot();
        while (const QAReporterNode* node = tree->next(QAReporterDataTree::Forward)) {
            const int depth = tree->iterator()->depth();
            while (!failedAbove.empty() && failedAbove.back().first >= depth)
                failedAbove.pop_back();
            names.resize(qMax(0, depth - 1));
            if (node->stat == QSKO) {
                if (!failedAbove.empty())
                    failures[failedAbove.back().second].hasFailedDescendant = true;
                failedAbove.emplace_back(depth, failures.size());
                failures.push_back({node, contextOf(names)});
            }
            names.append(node->name);
        }
        int listed = 0;
        qint64 more = 0;
        QByteArray items;
        for (const Failure& failure : failures) {
            if (failure.hasFailedDescendant)
                continue;
            if (listed == perFile) {
                ++more;
                continue;
            }
            ++listed;
            items += "<li>";
            if (!failure.context.isEmpty()) {
                appendText(items, failure.context);
                items += " &rsaquo; ";
            }
            items += "<a href=\"";
            appendText(items, page);
            if (const QString anchor = anchorOf(*failure.node); !anchor.isEmpty()) {
                items += '#';
                appendText(items, anchor);
            }
            items += "\">";
            appendText(items, failure.node->name);
            items += "</a>";
            if (!failure.node->type.isEmpty()) {
                items += " <span class=\"type\">";
                appendText(items, failure.node->type);
                items += "</span>";
            }
            items += "</li>\n";
        }
        if (listed == 0)
            continue;
        out += "<h3><a href=\"";
        appendText(out, page);
        out += "\">";
        appendText(out, fileName);
        out += "</a></h3>\n<ul class=\"failed\">\n" + items + "</ul>\n";
        if (more > 0) {
            out += "<p class=\"more\">";
            appendText(out, text("and %1 more failed items in").arg(more));
            out += " <a href=\"";
            appendText(out, page);
            out += "\">";
            appendText(out, fileName);
            out += "</a></p>\n";
        }
    }
    if (out.isEmpty())
        return out;
    QByteArray section = "<section class=\"failures\">\n<h2>";
    appendText(section, text("Failed items"));
    return section + "</h2>\n" + out + "</section>\n";
    return out;
}
