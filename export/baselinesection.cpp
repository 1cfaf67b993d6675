#include "export/baselinesection.h"

#include "folio/export/dhtmlwriter.h"

#include <QCoreApplication>

namespace {

// As the list of failed items: the first ones listed, the rest counted.
constexpr std::size_t listedEntries = 200;

QString text(const char* source)
{
    return QCoreApplication::translate("Reporter", source);
}

void appendList(QByteArray& out, const char* cssClass, const QString& heading,
                const std::vector<BaselineEntry>& entries)
{
    out += "<h2>";
    DHTMLWriter::appendEscaped(out, heading.arg(entries.size()));
    out += "</h2>\n";
    if (entries.empty())
        return;
    out += "<ul class=\"" + QByteArray(cssClass) + "\">\n";
    const std::size_t listed = std::min(entries.size(), listedEntries);
    for (std::size_t i = 0; i < listed; ++i) {
        const BaselineEntry& entry = entries[i];
        out += "<li>";
        DHTMLWriter::appendEscaped(out, entry.names.join(QStringLiteral(" \u203a ")));
        if (!entry.source.isEmpty()) {
            out += " &middot; <code>";
            DHTMLWriter::appendEscaped(
                out, entry.line > 0 ? QStringLiteral("%1:%2").arg(entry.source).arg(entry.line)
                                    : entry.source);
            out += "</code>";
        }
        if (!entry.message.isEmpty()) {
            out += "<br><span class=\"message\">";
            DHTMLWriter::appendEscaped(out, entry.message);
            out += "</span>";
        }
        out += "</li>\n";
    }
    out += "</ul>\n";
    if (entries.size() > listed) {
        out += "<p>";
        DHTMLWriter::appendEscaped(out, text("and %1 more").arg(entries.size() - listed));
        out += "</p>\n";
    }
}

} // namespace

QByteArray baselineSection(const QString& baseName, const std::vector<BaselineEntry>& added,
                           const std::vector<BaselineEntry>& fixed, std::size_t still)
{
    QByteArray out = "<section class=\"baseline\">\n<p class=\"baseline\">";
    DHTMLWriter::appendEscaped(out, text("Compared with %1: %2 new, %3 fixed, %4 still failing")
                                        .arg(baseName)
                                        .arg(added.size())
                                        .arg(fixed.size())
                                        .arg(still));
    out += "</p>\n";
    appendList(out, "new", text("New failures (%1)"), added);
    appendList(out, "fixed", text("Fixed (%1)"), fixed);
    out += "</section>\n";
    return out;
}
