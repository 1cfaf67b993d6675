// Filtering: the node predicate, the filtered copies of trees and documents, the summary.

#include "filter/failurecounts.h"
#include "filter/outlinequery.h"
#include "filter/qareporterfilter.h"
#include "filter/qareporterfilterwriter.h"
#include "filter/qareporternodevalidator.h"
#include "folio/model/ddocument.h"
#include "folio/model/dlink.h"
#include "folio/model/dupdater.h"
#include "model/qareporterdata.h"
#include "model/qareporterdatatree.h"
#include "reader/qastxmlrodhandler.h"
#include "reader/qastxmlrodreader.h"

#include <QBuffer>
#include <QSet>
#include <QTest>
#include <climits>

namespace {

using Validator = QAReporterNodeValidator;

QRegularExpression exp(const char* pattern)
{
    return QRegularExpression(QString::fromLatin1(pattern));
}

QAReporterNode node(const char* name, const char* type, const char* state)
{
    QAReporterNode n;
    if (name)
        n.name = QString::fromLatin1(name);
    if (type)
        n.type = QString::fromLatin1(type);
    if (state)
        n.stat = QString::fromLatin1(state);
    return n;
}

std::unique_ptr<QAReporterData> readReport(const QByteArray& markup)
{
    QBuffer buffer;
    buffer.setData(markup);
    buffer.open(QIODevice::ReadOnly);
    QAstXmlRodReader reader;
    if (!reader.parse(&buffer, nullptr, nullptr)) {
        qWarning("%s", qPrintable(reader.errorString()));
        return nullptr;
    }
    auto record = std::make_unique<QAReporterData>();
    record->fileName = QStringLiteral("/results/run.crc");
    record->tree = reader.handler()->takeDataTree().release();
    record->document = reader.handler()->takeDocument();
    return record;
}

QByteArray wrap(const QByteArray& body)
{
    return "<XROD><DOCUMENT tag='doc'>" + body + "</DOCUMENT></XROD>";
}

// A node element: failed ("ko"), passed ("ok") or without verdict ("").
QByteArray nodeXml(const char* name, const char* state, const QByteArray& content)
{
    QByteArray xml = "<XROD:NODE name='" + QByteArray(name) + "' type='Rule'";
    if (*state)
        xml += " state='" + QByteArray(state) + "'";
    return xml + ">" + content + "</XROD:NODE>";
}

QByteArray section(const char* text)
{
    return "<SECTION><PARAGRAPH>" + QByteArray(text) + "</PARAGRAPH></SECTION>";
}

// The items of a document, in order, with the texts that tell them apart.
QString outline(const DItem* item)
{
    QStringList parts;
    for (; item; item = item->next()) {
        QString part = QLatin1String(strItemType(item->type()));
        if (const auto* text = dcast<DText>(item))
            part += QLatin1Char(':') + text->text();
        if (const auto* tag = dcast<DTag>(item))
            part += QLatin1Char(':') + tag->name();
        if (const DItemContainer* container = item->asContainer();
            container && container->firstChild())
            part += QLatin1Char('[') + outline(container->firstChild()) + QLatin1Char(']');
        parts.append(part);
    }
    return parts.join(QLatin1Char(' '));
}

QStringList shape(QAReporterDataTree* tree)
{
    QStringList nodes;
    tree->toRoot();
    while (QAReporterNode* n = tree->next(QAReporterDataTree::Forward))
        nodes.append(n->name + QLatin1Char(':') + QString::number(tree->iterator()->depth()));
    return nodes;
}

QSet<const DItem*> itemsOf(const DItem* root)
{
    QSet<const DItem*> items;
    QList<const DItem*> pending{root};
    while (!pending.isEmpty()) {
        const DItem* item = pending.takeLast();
        for (; item; item = item->next()) {
            items.insert(item);
            if (const DItemContainer* container = item->asContainer())
                pending.append(container->firstChild());
        }
    }
    items.remove(nullptr);
    return items;
}

struct Filtered
{
    std::unique_ptr<QAReporterData> source;
    QAReporterFilter filter;
    QAReporterData* copy = nullptr;
    std::unique_ptr<QAReporterData> written; // made by the writer alone
};

std::unique_ptr<Filtered> filtered(const QByteArray& markup, const Validator& validator)
{
    auto result = std::make_unique<Filtered>();
    result->source = readReport(markup);
    if (!result->source)
        return result;
    result->filter.setValidator(validator);
    result->filter.applyFilter({result->source.get()});
    if (!result->filter.filtered().empty())
        result->copy = result->filter.filtered().front();
    return result;
}

// The writer's copy of a report, made whatever the validator keeps.
std::unique_ptr<Filtered> written(const QByteArray& markup, const Validator& validator)
{
    auto result = std::make_unique<Filtered>();
    result->source = readReport(markup);
    if (!result->source)
        return result;
    QAReporterFilterWriter writer(&validator);
    writer.startWriter(result->source->tree, result->source->document.get());
    result->written = std::make_unique<QAReporterData>();
    result->written->tree = writer.takeNewTree().release();
    result->written->document = writer.takeNewDocument();
    DUpdater().doItem(result->written->document.get());
    result->copy = result->written.get();
    return result;
}

Validator failedOnly()
{
    Validator validator;
    validator.setAttribut(Validator::AttrState, exp("ko"));
    return validator;
}

// Every kept node must point into the copy, right behind the empty tag that marks its start,
// and the copy must share no item with the source.
void checkIntegrity(const Filtered& f)
{
    const QSet<const DItem*> source = itemsOf(f.source->document.get());
    const QSet<const DItem*> copied = itemsOf(f.copy->document.get());
    QVERIFY(!source.intersects(copied));
    QAReporterDataTree* tree = f.copy->tree;
    tree->toRoot();
    while (QAReporterNode* n = tree->next(QAReporterDataTree::Forward)) {
        QVERIFY2(!n->item || copied.contains(n->item), qPrintable(n->name));
        QVERIFY2(!n->endItem || copied.contains(n->endItem), qPrintable(n->name));
    }
}

} // namespace

class TestFilter : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void validatorCriteria()
    {
        Validator fresh;
        QCOMPARE(fresh.isValid(node("a", "Rule", "ok")), 7);
        QCOMPARE(fresh.isValid(QAReporterNode()), 7);

        Validator state = failedOnly();
        QCOMPARE(state.isValid(node("a", "Rule", "ko")), 7);
        QCOMPARE(state.isValid(node("a", "Rule", "ok")), 3);
        QCOMPARE(state.isValid(node("a", "Rule", "NE")), 3);
        QCOMPARE(state.isValid(node("a", "Rule", nullptr)), 7);
        QCOMPARE(state.isValid(node("a", "Rule", "kofoo")), 7); // only the start must match
        state.unsetAttribut(Validator::AttrState);
        QCOMPARE(state.isValid(node("a", "Rule", "ok")), 7);
        QCOMPARE(state.active(), 0u);

        Validator types;
        types.setAttribut(Validator::AttrType, exp("Rule"));
        types.setAttribut(Validator::AttrType, exp("File"));
        QCOMPARE(types.isValid(node("a", "Rule", "ok")), 5);
        QCOMPARE(types.isValid(node("a", "RuleSet", "ok")), 5);
        QCOMPARE(types.isValid(node("a", "MyRule", "ok")), 7);
        QCOMPARE(types.isValid(node("a", nullptr, "ok")), 7);
        types.unsetType(
            QRegularExpression(QStringLiteral("Rule"), QRegularExpression::CaseInsensitiveOption));
        QCOMPARE(types.typeExpressions().size(), 2); // differs in case sensitivity: kept
        types.unsetType(exp("File"));
        QCOMPARE(types.active(), unsigned(Validator::AttrType));
        types.unsetType(exp("Rule"));
        QCOMPARE(types.active(), 0u);
        QCOMPARE(types.isValid(node("a", "Rule", "ok")), 7);

        Validator name;
        name.setAttribut(Validator::AttrName, exp("src/"));
        QCOMPARE(name.isValid(node("src/main.c", "File", "ok")), 7);
        QCOMPARE(name.isValid(node("lib/src/x.c", "File", "ok")), 6);
        QCOMPARE(name.isValid(node("", "File", "ok")), 6); // empty is not absent
        QCOMPARE(name.isValid(node(nullptr, "File", "ok")), 7);

        Validator copy(name); // a copy is independent of its original
        name.unsetAttribut(Validator::AttrName);
        QCOMPARE(copy.isValid(node("lib", "File", "ok")), 6);
        QCOMPARE(name.isValid(node("lib", "File", "ok")), 7);

        // Plain texts and expressions decide alike: a match must begin at the first character,
        // special characters and options keep their meaning.
        const auto I = QRegularExpression::CaseInsensitiveOption;
        const auto X = QRegularExpression::ExtendedPatternSyntaxOption;
        const struct
        {
            const char* pattern;
            QRegularExpression::PatternOptions options;
            const char* text;
            bool kept;
        } cases[] = {
            {"ko", {}, "ko", true},      {"ko", {}, "kofoo", true}, {"ko", {}, "xko", false},
            {"ko", {}, "KO", false},     {"ko", {}, "k", false},    {"ko", I, "KO", true},
            {"", {}, "ok", true},        {"", {}, "", true},        {"k.", {}, "kx", true},
            {"ko$", {}, "kofoo", false}, {"ko$", {}, "ko", true},   {"k o", {}, "ko", false},
            {"k o", X, "ko", true},      {"k o", {}, "k o!", true}, {"a#b", {}, "a#bc", true},
            {"(k)o", {}, "ko", true},    {"k\\.", {}, "kx", false}, {"é", {}, "été", true},
            {"o|k", {}, "ko", true},     {"[k]", {}, "[k]", false}, {"n?", {}, "x", true},
        };
        for (const auto& c : cases) {
            const QRegularExpression pattern(QString::fromUtf8(c.pattern), c.options);
            const QString text = QString::fromUtf8(c.text);
            Validator byState;
            byState.setAttribut(Validator::AttrState, pattern);
            Validator byName;
            byName.setAttribut(Validator::AttrName, pattern);
            const QString what = QStringLiteral("%1 on %2").arg(pattern.pattern(), text);
            QAReporterNode n;
            n.name = text;
            n.stat = text;
            QVERIFY2(bool(byState.isValid(n) & Validator::AttrState) == c.kept, qPrintable(what));
            QVERIFY2(bool(byName.isValid(n) & Validator::AttrName) == c.kept, qPrintable(what));
            // Asked again, the answer stays the same.
            QVERIFY2(bool(byState.isValid(n) & Validator::AttrState) == c.kept, qPrintable(what));
        }
    }

    void allPassingKeepsShapeAndAddsTags()
    {
        const QByteArray markup =
            wrap("<TITLE>t</TITLE>" +
                 nodeXml("A", "ok", section("a") + nodeXml("A1", "ok", section("a1"))) +
                 "<PARAGRAPH>between</PARAGRAPH>" + nodeXml("B", "ok", section("b")));
        const QString sourceOutline =
            QStringLiteral("DOCUMENT[TITLE[TEXT:t] SECTION[PARAGRAPH[TEXT:a]] "
                           "SECTION[PARAGRAPH[TEXT:a1]] PARAGRAPH[TEXT:between] "
                           "SECTION[PARAGRAPH[TEXT:b]]]");

        // The filter shows a report it keeps whole as it is, and leaves it unchanged.
        const auto shown = filtered(markup, Validator());
        QCOMPARE(shown->copy, shown->source.get());
        QCOMPARE(outline(shown->source->document.get()), sourceOutline);
        QVERIFY(shown->source->tree->toRoot()->tag.isNull());
        QAReporterNode* first = shown->source->tree->next(QAReporterDataTree::Forward);
        QCOMPARE(first->item->parent(), shown->source->document.get());
        // Hiding a type no node has keeps it whole too.
        Validator otherType;
        otherType.setAttribut(Validator::AttrType, exp("Nothing"));
        const auto other = filtered(markup, otherType);
        QCOMPARE(other->copy, other->source.get());

        // The writer's copy keeping every node has the source's shape and a tag before each
        // node section.
        const auto f = written(markup, Validator());
        QVERIFY(f->copy);
        QCOMPARE(shape(f->copy->tree), shape(f->source->tree));
        QCOMPARE(outline(f->source->document.get()), sourceOutline);
        QCOMPARE(outline(f->copy->document.get()),
                 QStringLiteral("DOCUMENT[TITLE[TEXT:t] TAG: SECTION[PARAGRAPH[TEXT:a]] TAG: "
                                "SECTION[PARAGRAPH[TEXT:a1]] PARAGRAPH[TEXT:between] TAG: "
                                "SECTION[PARAGRAPH[TEXT:b]]]"));
        QCOMPARE(dcast<DDocument>(f->copy->document.get())->tag(), QStringLiteral("doc"));
        QCOMPARE(f->copy->tree->toRoot()->tag, QStringLiteral("doc"));
        checkIntegrity(*f);
        // A node points at its copied first item, not at the tag before it.
        QAReporterNode* a = f->copy->tree->next(QAReporterDataTree::Forward);
        QCOMPARE(a->item->type(), DItem::Section);
        QCOMPARE(a->item->parent(), f->copy->document.get());
    }

    void droppedSectionsGoWithTheirNodes_data()
    {
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<QStringList>("tree");
        QTest::addColumn<QString>("document");
        QTest::newRow("failed node with passing children")
            << (nodeXml("A", "ko",
                        section("a") + nodeXml("A1", "ok", section("a1")) +
                            nodeXml("A2", "ko", section("a2"))))
            << QStringList{"A:1", "A2:2"}
            << "TAG: SECTION[PARAGRAPH[TEXT:a]] TAG: SECTION[PARAGRAPH[TEXT:a2]]";
        QTest::newRow("dropped first child")
            << (nodeXml("A", "ok", section("a")) + nodeXml("B", "ko", section("b")))
            << QStringList{"B:1"} << "TAG: SECTION[PARAGRAPH[TEXT:b]]";
        QTest::newRow("dropped last child")
            << (nodeXml("A", "ko", section("a")) + nodeXml("B", "ok", section("b")))
            << QStringList{"A:1"} << "TAG: SECTION[PARAGRAPH[TEXT:a]]";
        QTest::newRow("dropped siblings in a row")
            << (nodeXml("A", "ko", section("a")) + nodeXml("B", "ok", section("b")) +
                nodeXml("C", "ok", section("c")) + "<PARAGRAPH>mid</PARAGRAPH>" +
                nodeXml("D", "ok", section("d")) + nodeXml("E", "ko", section("e")))
            << QStringList{"A:1", "E:1"}
            << "TAG: SECTION[PARAGRAPH[TEXT:a]] PARAGRAPH[TEXT:mid] TAG: "
               "SECTION[PARAGRAPH[TEXT:e]]";
        QTest::newRow("dropped parent takes passing children along")
            << (nodeXml("A", "ok", section("a") + nodeXml("A1", "ko", section("a1"))) +
                nodeXml("B", "ko", section("b") + nodeXml("B1", "", section("b1"))))
            << QStringList{"B:1", "B1:2"}
            << "TAG: SECTION[PARAGRAPH[TEXT:b]] TAG: SECTION[PARAGRAPH[TEXT:b1]]";
        QTest::newRow("kept, dropped with child, kept")
            << (nodeXml("A", "ko", section("a")) +
                nodeXml("C", "ok", section("c") + nodeXml("C1", "ko", section("c1"))) +
                nodeXml("D", "ko", section("d")))
            << QStringList{"A:1", "D:1"}
            << "TAG: SECTION[PARAGRAPH[TEXT:a]] TAG: SECTION[PARAGRAPH[TEXT:d]]";
        QTest::newRow("one-item range")
            << (QByteArray("<PARAGRAPH>before</PARAGRAPH>") +
                nodeXml("A", "ok", "<PARAGRAPH>only</PARAGRAPH>") + "<PARAGRAPH>after</PARAGRAPH>")
            << QStringList{} << "PARAGRAPH[TEXT:before] PARAGRAPH[TEXT:after]";
        QTest::newRow("range of several items")
            << (nodeXml("A", "ok", "<TITLE>t</TITLE><PARAGRAPH>p</PARAGRAPH><PAGEBREAK/>") +
                "<PARAGRAPH>after</PARAGRAPH>")
            << QStringList{} << "PARAGRAPH[TEXT:after]";
        QTest::newRow("nested inside a container")
            << QByteArray("<SECTION><TITLE>s</TITLE>" +
                          nodeXml("A", "ok", "<PARAGRAPH>x</PARAGRAPH>") +
                          nodeXml("B", "ko", "<PARAGRAPH>y</PARAGRAPH>") + "</SECTION>")
            << QStringList{"B:1"} << "SECTION[TITLE[TEXT:s] TAG: PARAGRAPH[TEXT:y]]";
        QTest::newRow("axis begins a node without a tag")
            << QByteArray("<GRAPHIC>" + nodeXml("A", "ko", "<AXIS name='x'/>") +
                          nodeXml("B", "ko", "<CURVE><POINT x='1' y='2'/></CURVE>") + "</GRAPHIC>")
            << QStringList{"A:1", "B:1"} << "GRAPHIC[AXIS TAG: CURVE[POINT]]";
    }

    void droppedSectionsGoWithTheirNodes()
    {
        QFETCH(QByteArray, body);
        QFETCH(QStringList, tree);
        QFETCH(QString, document);
        const auto f = written(wrap(body), failedOnly());
        QVERIFY(f->copy);
        QCOMPARE(shape(f->copy->tree), tree);
        QCOMPARE(outline(f->copy->document.get()), QStringLiteral("DOCUMENT[%1]").arg(document));
        checkIntegrity(*f);
    }

    // A kept node whose first item lies in a dropped range starts at the last item copied
    // before it at that level, or nowhere.
    void keptNodeWhoseFirstItemIsDropped()
    {
        const QByteArray nested =
            nodeXml("P", "ko", nodeXml("C", "ok", section("c")) + nodeXml("D", "ko", section("d")));
        auto f = filtered(wrap("<PARAGRAPH>intro</PARAGRAPH>" + nested), failedOnly());
        QCOMPARE(shape(f->copy->tree), QStringList({"P:1", "D:2"}));
        QAReporterDataTree* tree = f->copy->tree;
        tree->toRoot();
        QAReporterNode* p = tree->next(QAReporterDataTree::Forward);
        QCOMPARE(outline(p->item).section(QLatin1Char(' '), 0, 0),
                 QStringLiteral("PARAGRAPH[TEXT:intro]"));
        QAReporterNode* d = tree->next(QAReporterDataTree::Forward);
        QCOMPARE(d->item->type(), DItem::Section);
        QCOMPARE(p->endItem, d->endItem);
        checkIntegrity(*f);

        f = filtered(wrap(nested), failedOnly());
        tree = f->copy->tree;
        tree->toRoot();
        QCOMPARE(tree->next(QAReporterDataTree::Forward)->item, nullptr);
    }

    // Nodes without any section must not stop the following nodes from being redirected.
    void sectionlessNodesAreSkipped()
    {
        const auto f =
            filtered(wrap(nodeXml("E", "ko", "") + nodeXml("F", "ko", nodeXml("F1", "ko", "")) +
                          nodeXml("A", "ko", section("a")) + nodeXml("B", "ok", section("b")) +
                          nodeXml("C", "ko", section("c"))),
                     failedOnly());
        QCOMPARE(shape(f->copy->tree), QStringList({"E:1", "F:1", "F1:2", "A:1", "C:1"}));
        checkIntegrity(*f);
        QAReporterDataTree* tree = f->copy->tree;
        tree->toRoot();
        QStringList firstTexts;
        while (QAReporterNode* n = tree->next(QAReporterDataTree::Forward))
            firstTexts.append(n->item ? outline(n->item).section(QLatin1Char(' '), 0, 0)
                                      : QStringLiteral("-"));
        QCOMPARE(firstTexts, QStringList({"-", "-", "-", "SECTION[PARAGRAPH[TEXT:a]]",
                                          "SECTION[PARAGRAPH[TEXT:c]]"}));
    }

    // Every kind of item is copied with its own attributes.
    void everyKindIsCopied()
    {
        const QByteArray kinds =
            "<HEADER>h</HEADER><FOOTER>f</FOOTER><PAGEBREAK/><IMAGE src='i.png' width='3'/>"
            "<LIST ordered='1'><PARAGRAPH>l</PARAGRAPH></LIST><LINK target='::x' tag='lk'>k</LINK>"
            "<TAG name='x'/><TABLE code='1' widths='0.5 0.5'><ROW><CELL span='2'>c</CELL>"
            "<CELLTEXT text='ct'/></ROW></TABLE><TAGPOINTER target='x'/>"
            "<POPUPLINK tag='pl' target='pp'>p</POPUPLINK><POPUP tag='pp'>q</POPUP>"
            "<SUMMARY tag='s'><SENTRY target='x' text='e'/></SUMMARY>"
            "<INDEX tag='i'><IENTRY target='x' text='e'/></INDEX>"
            "<GRAPHIC tag='g' title='G'><AXIS name='t'/><CURVE name='c'><POINT x='1' "
            "y='2'/></CURVE></GRAPHIC>";
        const auto f =
            filtered(wrap(nodeXml("A", "ko", "<SECTION tag='sa'>" + kinds + "</SECTION>") +
                          nodeXml("B", "ok", "<SECTION>" + kinds + "</SECTION>")),
                     failedOnly());
        const QString source = outline(f->source->document.get());
        const QString copy = outline(f->copy->document.get());
        QCOMPARE(copy, QStringLiteral("DOCUMENT[TAG: %1]")
                           .arg(source.mid(9).section(QLatin1String(" SECTION["), 0, 0)));
        checkIntegrity(*f);
        const auto* section = dcast<DSection>(f->copy->document->firstChild()->next());
        QCOMPARE(section->tag(), QStringLiteral("sa"));
        const DItem* table = section->firstChild();
        while (table && table->type() != DItem::Table)
            table = table->next();
        QCOMPARE(dcast<DTable>(table)->widths(), QList<double>({0.5, 0.5}));
        QCOMPARE(dcast<DTable>(table)->code(), 1);
    }

    void deepChainsDoNotRecurse()
    {
        const int depth = 20000;
        QByteArray body;
        for (int i = 0; i < depth; ++i)
            body += "<XROD:NODE name='n' type='t' state='" +
                    QByteArray(i == depth / 2 ? "ok" : "ko") + "'><SECTION>";
        for (int i = 0; i < depth; ++i)
            body += "</SECTION></XROD:NODE>";
        const auto f = filtered(wrap(body), failedOnly());
        QVERIFY(f->copy);
        QCOMPARE(shape(f->copy->tree).size(), depth / 2);
        QVERIFY(itemsOf(f->copy->document.get()).size() > depth / 2);
    }

    void filterRunsOncePerAnalysis()
    {
        auto report =
            readReport(wrap(nodeXml("A", "ko", section("a")) + nodeXml("B", "ok", section("b"))));
        QAReporterFilter filter;
        QVERIFY(filter.applyFilter({}));
        QVERIFY(filter.filtered().empty());
        filter.setValidator(failedOnly());
        QVERIFY(filter.applyFilter({report.get()}));
        const QString first = outline(filter.filtered().front()->document.get());
        filter.clear();
        QVERIFY(filter.filtered().empty());
        filter.applyFilter({report.get()});
        QCOMPARE(filter.filtered().size(), size_t(1));
        QCOMPARE(outline(filter.filtered().front()->document.get()), first);
        QCOMPARE(filter.filtered().front()->fileName, report->fileName);
        QCOMPARE(filter.filtered().front()->inconclusive, -1);

        QAReporterData empty; // no tree, no document: skipped
        filter.clear();
        filter.applyFilter({&empty, report.get()});
        QCOMPARE(filter.filtered().size(), size_t(1));

        // A report document without result nodes is shown as it is, in failed-only mode too.
        auto document = readReport("<DOCUMENT tag='plain'><SECTION tag='s'><TITLE>t</TITLE>"
                                   "<PARAGRAPH>p <LINK target='::s'>l</LINK></PARAGRAPH>"
                                   "</SECTION></DOCUMENT>");
        QVERIFY(document && document->document);
        filter.clear();
        filter.applyFilter({document.get()});
        QCOMPARE(filter.filtered().size(), size_t(1));
        DDocument* shown = filter.filtered().front()->document.get();
        QCOMPARE(filter.filtered().front(), document.get());
        QCOMPARE(shown->tag(), QStringLiteral("plain"));
        QVERIFY(!filter.filtered().front()->tree);
    }

    // The writer's helpers under the names the viewer's other parts know them by.
    void writerHelpersByName()
    {
        const auto record = readReport(wrap(
            "<SECTION tag='s1'><PARAGRAPH>in</PARAGRAPH></SECTION><PARAGRAPH>out</PARAGRAPH>"));
        QVERIFY(record);
        DItem* section = record->document->firstChild();
        DItem* inside = section->asContainer()->firstChild()->asContainer()->firstChild();
        DItem* outside = section->next()->asContainer()->firstChild();
        QCOMPARE(QAReporterFilterWriter::getTagDocument(inside), QStringLiteral("doc"));
        QCOMPARE(QAReporterFilterWriter::getTagSection(inside), QStringLiteral("s1"));
        QCOMPARE(QAReporterFilterWriter::getTagSection(section), QStringLiteral(""));
        QVERIFY(!QAReporterFilterWriter::getTagSection(outside).isNull());
        QCOMPARE(QAReporterFilterWriter::getTagDocument(record->document.get()),
                 QStringLiteral(""));

        QAReporterFilter filter;
        QVERIFY(!filter.filterAction());

        // The tag a caller passes is left as it was.
        Validator all;
        QAReporterFilterWriter writer(&all);
        writer.startWriter(record->tree, record->document.get());
        QString tag = QStringLiteral("given");
        writer.isReftoBegin(inside, tag, nullptr);
        writer.isReftoEnd(inside, tag, nullptr);
        QCOMPARE(tag, QStringLiteral("given"));
    }

    void summaryDocument()
    {
        DStyleList styles{DStylePtr(new DStyle(QStringLiteral("Array"))),
                          DStylePtr(new DStyle(QStringLiteral("Array Passed"))),
                          DStylePtr(new DStyle(QStringLiteral("Array Failed")))};
        QAReporterFilter filter;
        auto document = filter.doHeaderDoc({}, QString(), styles);
        QCOMPARE(document->tag(), QStringLiteral("tagheaderdoc0"));
        QCOMPARE(document->title(), QStringLiteral("Results files"));
        QCOMPARE(document->style()->name(), QStringLiteral("Array"));
        QCOMPARE(outline(document.get()),
                 QStringLiteral(
                     "DOCUMENT[SECTION[TABLE[ROW[CELLTEXT CELLTEXT CELLTEXT CELLTEXT CELLTEXT] "
                     "ROW[CELLTEXT CELL[TEXT:0] CELL[TEXT:0] CELL[TEXT:0]]]]]"));

        std::vector<std::unique_ptr<QAReporterData>> owned;
        QList<QAReporterData*> reports;
        for (const auto& [path, failed, passed, inconclusive] :
             {std::tuple{"/a/b/run1.crc", 2, 5, -1}, std::tuple{"run2.crc", 0, 7, -1}}) {
            auto r = std::make_unique<QAReporterData>();
            r->fileName = QString::fromLatin1(path);
            r->document = std::make_unique<DDocument>();
            r->document->setTag(QStringLiteral("t%1").arg(reports.size()));
            r->failed = failed;
            r->passed = passed;
            r->inconclusive = inconclusive;
            reports.append(r.get());
            owned.push_back(std::move(r));
        }
        document = filter.doHeaderDoc(reports, QString(), styles);
        const auto* table = dcast<DTable>(dcast<DSection>(document->firstChild())->firstChild());
        QCOMPARE(table->widths(), QList<double>({0.6, 0.1, 0.1, 0.1, 0.1}));
        const DItem* row1 = table->firstChild()->next();
        QCOMPARE(row1->style()->name(), QStringLiteral("Array Failed"));
        QCOMPARE(outline(row1),
                 QStringLiteral("ROW[CELL[LINK[TEXT:run1.crc]] CELLTEXT CELL[TEXT:2] "
                                "CELL[TEXT:5] CELL[TEXT:7]] "
                                "ROW[CELL[LINK[TEXT:run2.crc]] CELLTEXT CELL[TEXT:0] "
                                "CELL[TEXT:7] CELL[TEXT:7]] "
                                "ROW[CELLTEXT CELL[TEXT:2] CELL[TEXT:12] CELL[TEXT:14]]"));
        const auto* link =
            dcast<DLink>(dcast<DCell>(dcast<DRow>(row1)->firstChild())->firstChild());
        QCOMPARE(link->target(), QStringLiteral("::t0"));
        QCOMPARE(dcast<DCellText>(dcast<DRow>(row1)->firstChild()->next())->text(),
                 QStringLiteral("Failed"));
        QCOMPARE(row1->next()->style()->name(), QStringLiteral("Array Passed"));
        const DItem* totalRow = row1->next()->next();
        QCOMPARE(totalRow->style(), nullptr);
        QCOMPARE(dcast<DCellText>(dcast<DRow>(totalRow)->firstChild())->span(), 1);

        reports[1]->inconclusive = 3;
        document = filter.doHeaderDoc(reports, QString(), {});
        table = dcast<DTable>(dcast<DSection>(document->firstChild())->firstChild());
        QCOMPARE(table->widths(), QList<double>({0.5, 0.1, 0.1, 0.1, 0.1, 0.1}));
        QCOMPARE(
            outline(table->firstChild()->next()->next()),
            QStringLiteral("ROW[CELL[LINK[TEXT:run2.crc]] CELLTEXT CELL[TEXT:0] CELL[TEXT:7] "
                           "CELL[TEXT:3] CELL[TEXT:10]] "
                           "ROW[CELLTEXT CELL[TEXT:2] CELL[TEXT:12] CELL[TEXT:3] CELL[TEXT:17]]"));
        QCOMPARE(outline(table->firstChild()->next()).section(QLatin1String("] ROW"), 0, 0),
                 QStringLiteral("ROW[CELL[LINK[TEXT:run1.crc]] CELLTEXT CELL[TEXT:2] CELL[TEXT:5] "
                                "CELL[TEXT:0] CELL[TEXT:7]"));
        QCOMPARE(table->firstChild()->next()->style(), nullptr); // no styles given

        reports[1]->inconclusive = 0; // shows the column, adds nothing
        document = filter.doHeaderDoc(reports, QString(), styles);
        table = dcast<DTable>(dcast<DSection>(document->firstChild())->firstChild());
        QCOMPARE(table->widths().size(), 6);
        QVERIFY(outline(table).endsWith(
            QLatin1String("ROW[CELLTEXT CELL[TEXT:2] CELL[TEXT:12] CELL[TEXT:0] CELL[TEXT:14]]]")));
        for (const DItem* item : itemsOf(document.get()))
            QVERIFY(item == document.get() || item->parent());

        // Counts near the int limit add up without wrapping.
        reports[0]->failed = INT_MAX;
        reports[0]->passed = INT_MAX;
        reports[1]->failed = INT_MAX;
        reports[1]->inconclusive = INT_MAX;
        document = filter.doHeaderDoc(reports, QString(), styles);
        table = dcast<DTable>(dcast<DSection>(document->firstChild())->firstChild());
        QVERIFY(outline(table->firstChild()->next())
                    .startsWith(QLatin1String(
                        "ROW[CELL[LINK[TEXT:run1.crc]] CELLTEXT CELL[TEXT:2147483647] "
                        "CELL[TEXT:2147483647] CELL[TEXT:0] CELL[TEXT:4294967294]]")));
        QVERIFY(outline(table).endsWith(
            QLatin1String("ROW[CELLTEXT CELL[TEXT:4294967294] CELL[TEXT:2147483654] "
                          "CELL[TEXT:2147483647] CELL[TEXT:8589934595]]]")));
    }
    // The outline's filter box: a result is shown when every word holds, with the entries
    // above it; words find parts of the names above, levels by their start, rules and files by
    // a part; commas give alternatives, quotes keep blanks.
    void outlineQueryShowsResultsAndWhatIsAbove()
    {
        const auto record = readReport(
            wrap("<XROD:NODE name='src/main.c' type='File' state='ko'><SECTION/>"
                 "<XROD:NODE name='no-goto' type='Rule' state='ko'><SECTION/>"
                 "<XROD:NODE name='line 3: goto used' type='Finding' state='ko' level='error' "
                 "rule='no-goto'><SECTION/></XROD:NODE>"
                 "<XROD:NODE name='line 9: goto again' type='Finding' state='ko' level='warning' "
                 "rule='no-goto'><SECTION/></XROD:NODE></XROD:NODE></XROD:NODE>"
                 "<XROD:NODE name='src/util.c' type='File' state='ko'><SECTION/>"
                 "<XROD:NODE name='unused' type='Rule' state='ko'><SECTION/>"
                 "<XROD:NODE name='line 1: use strict missing' type='Finding' state='ko' "
                 "level='note' rule='unused'><SECTION/></XROD:NODE></XROD:NODE>"
                 "<XROD:NODE name='empty' type='Rule' state='ok'><SECTION/></XROD:NODE>"
                 "</XROD:NODE>"));
        QVERIFY(record);
        const auto shown = [&record](const QString& text, const QStringList& levels = {}) {
            OutlineQuery query(text);
            query.requireLevel(levels);
            QStringList names;
            query.select(
                record->tree->rootNode(), QStringLiteral("clang.sarif"),
                [&names](const OutlineQuery::ResultNode* node) { names.append(node->data->name); });
            return names.join(QLatin1Char('|'));
        };
        const QString all = QStringLiteral("src/main.c|no-goto|line 3: goto used|line 9: goto "
                                           "again|src/util.c|unused|line 1: use strict "
                                           "missing|empty");
        QVERIFY(OutlineQuery(QStringLiteral("  ")).isEmpty());
        QCOMPARE(shown(QString()), all);
        QCOMPARE(shown(QStringLiteral("clang")), all); // the file entry's name
        QCOMPARE(shown(QStringLiteral("MAIN.C")), QStringLiteral("src/main.c|no-goto|line 3: "
                                                                 "goto used|line 9: goto again"));
        QCOMPARE(shown(QStringLiteral("level:err")),
                 QStringLiteral("src/main.c|no-goto|line 3: goto used"));
        QCOMPARE(shown(QStringLiteral("level:error,note")),
                 QStringLiteral("src/main.c|no-goto|line 3: goto used|src/util.c|unused|line 1: "
                                "use strict missing"));
        QCOMPARE(shown(QStringLiteral("level:error level:note")), QString());
        QCOMPARE(shown(QString(), {QStringLiteral("warning")}),
                 QStringLiteral("src/main.c|no-goto|line 9: goto again"));
        QCOMPARE(shown(QStringLiteral("level:error"), {QStringLiteral("warning")}), QString());
        QCOMPARE(shown(QStringLiteral("rule:USED again")), QString());
        QCOMPARE(shown(QStringLiteral("rule:goto again")),
                 QStringLiteral("src/main.c|no-goto|line 9: goto again"));
        QCOMPARE(shown(QStringLiteral("file:util \"use strict\"")),
                 QStringLiteral("src/util.c|unused|line 1: use strict missing"));
        QCOMPARE(shown(QStringLiteral("file:clang")), QString()); // files are the File entries
        QCOMPARE(shown(QStringLiteral("empty")), QStringLiteral("src/util.c|empty"));
        QCOMPARE(shown(QStringLiteral("http://x level:")), QString()); // a plain word

        FailureCounts counts;
        QCOMPARE(counts.text(), QString());
        QAReporterNode finding;
        finding.level = QStringLiteral("error");
        counts.addFailure(finding);
        QCOMPARE(counts.text(), QStringLiteral("1 error"));
        finding.level = QStringLiteral("none");
        counts.addFailure(finding);
        FailureCounts more;
        finding.level = QStringLiteral("warning");
        more.addFailure(finding);
        more.addFailure(finding);
        counts += more;
        QCOMPARE(counts.text(), QStringLiteral("1 error, 2 warnings, 1 failed"));
        QCOMPARE(counts.total(), 4);
    }
};

QTEST_APPLESS_MAIN(TestFilter)
#include "tst_filter.moc"
