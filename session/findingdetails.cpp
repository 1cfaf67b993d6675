#include "session/findingdetails.h"

#include "folio/model/ditem.h"
#include "folio/model/ditems.h"
#include "folio/model/dlink.h"
#include "folio/styles/dstyle.h"
#include "model/qareporternode.h"

#include <QFileInfo>
#include <QRegularExpression>

namespace {

// The most items of a section looked at: a finding's section is short, a huge one is not read
// to its end.
constexpr int mostItems = 10000;

// The next item in document order after `item`, children first; null once `last` and all
// that is in it are passed.
DItem* following(DItem* item, DItem* last)
{
    if (DItemContainer* container = item->asContainer(); container && container->firstChild())
        return container->firstChild();
    for (DItem* at = item; at; at = at->parent()) {
        if (at == last)
            return nullptr;
        if (at->next())
            return at->next();
    }
    return nullptr;
}

// The text of a paragraph and everything in it, in order.
QString textOf(DItem* paragraph)
{
    QString text;
    int looked = 0;
    for (DItem* item = paragraph; item && looked < mostItems;
         item = following(item, paragraph), ++looked) {
        if (const auto* run = dcast<DText>(item))
            text += run->text();
    }
    return text;
}

} // namespace

FindingDetails FindingDetails::of(const QAReporterNode& node)
{
    FindingDetails details;
    if (node.level.isEmpty() && node.rule.isEmpty())
        return details;
    details.rule = node.rule;
    details.level = node.level;
    static const QRegularExpression atLine(QStringLiteral("^(.+) line (\\d+)\\s*$"));
    const QString levelLead = node.level + QStringLiteral(": ");
    int looked = 0;
    for (DItem* item = node.item; item && looked < mostItems;
         item = following(item, node.endItem), ++looked) {
        if (auto* link = dcast<DLink>(item); link && details.sourcePath.isEmpty()) {
            const QRegularExpressionMatch place = atLine.match(link->target());
            if (place.hasMatch()) {
                details.sourcePath = place.captured(1);
                details.sourceLine = place.captured(2).toInt();
                if (QFileInfo(details.sourcePath).isRelative())
                    details.sourcePath = node.base + details.sourcePath;
            }
        }
        if (item->type() != DItem::Paragraph)
            continue;
        if (const QString text = textOf(item); text.startsWith(QLatin1String("Step "))) {
            for (DItem* in = item; in; in = following(in, item)) {
                if (auto* link = dcast<DLink>(in)) {
                    details.steps.append({link, text});
                    break;
                }
            }
        }
        if (details.snippet.isEmpty() && item->style() &&
            item->style()->name().startsWith(QLatin1String("Code")))
            details.snippet = textOf(item);
        else if (details.message.isEmpty() && !node.level.isEmpty()) {
            const QString text = textOf(item);
            if (text.startsWith(levelLead))
                details.message = text.mid(levelLead.size());
        }
    }
    return details;
}

QList<std::pair<QByteArray, QString>> FindingDetails::named() const
{
    QList<std::pair<QByteArray, QString>> named;
    const auto add = [&named](const char* name, const QString& value) {
        if (!value.isEmpty())
            named.append({QByteArray(name), value});
    };
    add("source_path", sourcePath);
    add("source_line", sourceLine > 0 ? QString::number(sourceLine) : QString());
    add("rule", rule);
    add("level", level);
    add("message", message);
    add("snippet", snippet);
    return named;
}
