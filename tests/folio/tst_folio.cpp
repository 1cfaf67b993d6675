// The document library core: items, links, copies, and the markup reader.

#include "folio/model/ddocument.h"
#include "folio/model/dlink.h"
#include "folio/model/dstring.h"
#include "folio/model/dstyletable.h"
#include "folio/reader/damlhandler.h"
#include "folio/reader/damlreader.h"

#include <QBuffer>
#include <QTest>
#include <thread>
#include <vector>

namespace {

struct Reading
{
    bool ok = false;
    std::unique_ptr<DDocument> document;
    QString error;
    int line = 0;
    int column = 0;
};

Reading read(const QByteArray& markup, DAmlHandler& handler)
{
    QBuffer buffer;
    buffer.setData(markup);
    buffer.open(QIODevice::ReadOnly);
    DAmlReader reader(&handler);
    Reading result;
    result.ok = reader.parse(&buffer);
    result.error = reader.errorString();
    result.line = reader.lineNumber();
    result.column = reader.columnNumber();
    result.document = handler.takeDocument();
    return result;
}

Reading read(const QByteArray& markup)
{
    DAmlHandler handler;
    return read(markup, handler);
}

// The kinds of the items below `container`, in document order, nested in brackets.
QString outline(const DItem* item)
{
    QString text;
    for (; item; item = item->next()) {
        text += QLatin1String(strItemType(item->type()));
        if (const DItemContainer* container = item->asContainer();
            container && container->firstChild())
            text += QLatin1Char('[') + outline(container->firstChild()) + QLatin1Char(']');
        if (item->next())
            text += QLatin1Char(' ');
    }
    return text;
}

} // namespace

class TestFolio : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    // Texts of up to seven bytes live in the word, longer ones in a shared block: both read back
    // as written, compare equal by content, and outlive the copies they came from.
    void compactTextsReadAsTheyWereWritten()
    {
        QVERIFY(DString().isNull() && DString().isEmpty());
        QVERIFY(!DString(std::string_view("")).isNull() && DString(std::string_view("")).isEmpty());
        QVERIFY(DString(QString()).isNull());
        QVERIFY(!DString(QLatin1String("")).isNull());
        QVERIFY(DString().toString().isNull());
        QVERIFY(!DString(std::string_view("")).toString().isNull());

        const QStringList texts = {QStringLiteral("s12345"),
                                   QStringLiteral("1234567"),
                                   QStringLiteral("12345678"),
                                   QStringLiteral("caf\u00e9!!"),
                                   QStringLiteral("\u20ac\u20ac\u20ac"),
                                   QString::fromUtf8("\xf0\x9f\x98\x80 emoji"),
                                   QString(300, QLatin1Char('x'))};
        for (const QString& text : texts) {
            DString compact(text);
            QCOMPARE(compact.toString(), text);
            QCOMPARE(compact.size(), text.toUtf8().size());
            QCOMPARE(compact.utf16Size(), text.size());
            QVERIFY(compact == text && text == compact && !(compact != text));
            QVERIFY(compact != QString(text + QLatin1Char('.')));
            DString copy = compact;
            compact = DString(QStringLiteral("other"));
            QCOMPARE(copy.toString(), text); // the copy keeps the text when the first goes
            QVERIFY(copy == DString(text));
            DString moved = std::move(copy);
            QVERIFY(copy.isNull());
            QCOMPARE(QString(moved), text);
            const DString& same = moved;
            moved = same;
            QCOMPARE(moved.toString(), text);
        }
        QVERIFY(DString(QStringLiteral("1234567")) != DString(QStringLiteral("12345678")));
        QVERIFY(DString(QStringLiteral("ko")) == QLatin1String("ko"));
        QVERIFY(DString(QStringLiteral("ok")) != QLatin1String("ko"));

        // Items copy their texts, and the copies read the same after the originals are gone.
        auto text = std::make_unique<DText>(QString(40, QLatin1Char('t')));
        DItemPtr copy = text->copy();
        text.reset();
        QCOMPARE(dcast<DText>(copy.get())->text(), QString(40, QLatin1Char('t')));
    }

    // A style keeps one number for good; threads numbering styles at once get numbers of their
    // own that lead back to their styles.
    void stylesAreNumberedOnceFromAnyThread()
    {
        QCOMPARE(DStyleTable::numberOf(DStylePtr()), 0u);
        QCOMPARE(DStyleTable::at(0), nullptr);
        const DStylePtr style(new DStyle(QStringLiteral("Normal")));
        const std::uint32_t number = DStyleTable::numberOf(style);
        QVERIFY(number != 0);
        QCOMPARE(DStyleTable::numberOf(style), number);
        QCOMPARE(DStyleTable::at(number), style.data());
        QCOMPARE(DStyleTable::sharedAt(number), style);

        constexpr int perThread = 3000; // beyond one chunk of the table
        std::vector<DStyleList> styles(4);
        std::vector<std::vector<std::uint32_t>> numbers(styles.size());
        std::vector<std::thread> threads;
        for (size_t t = 0; t < styles.size(); ++t) {
            for (int i = 0; i < perThread; ++i)
                styles[t].append(DStylePtr(new DStyle(QString::number(i))));
            threads.emplace_back([&, t] {
                for (const DStylePtr& each : styles[t])
                    numbers[t].push_back(DStyleTable::numberOf(each));
            });
        }
        for (std::thread& thread : threads)
            thread.join();
        QSet<std::uint32_t> seen;
        for (size_t t = 0; t < styles.size(); ++t) {
            for (int i = 0; i < perThread; ++i) {
                QCOMPARE(DStyleTable::at(numbers[t][size_t(i)]), styles[t][i].data());
                seen.insert(numbers[t][size_t(i)]);
            }
        }
        QCOMPARE(seen.size(), qsizetype(styles.size()) * perThread);

        auto paragraph = std::make_unique<DParagraph>();
        paragraph->setStyle(style);
        QCOMPARE(paragraph->style(), style.data());
        QCOMPARE(paragraph->copy()->style(), style.data());
    }

    void linkSplitsTagTargets()
    {
        QString file, document, tag;
        DLink(QStringLiteral("A::B::C")).split(file, document, tag);
        QCOMPARE(file, QStringLiteral("A"));
        QCOMPARE(document, QStringLiteral("B"));
        QCOMPARE(tag, QStringLiteral("C"));

        DLink(QStringLiteral("A::C")).split(file, document, tag);
        QCOMPARE(file, QStringLiteral("A"));
        QVERIFY(document.isNull());
        QCOMPARE(tag, QStringLiteral("C"));

        DLink(QStringLiteral("plain")).split(file, document, tag);
        QVERIFY(file.isNull());
        QVERIFY(document.isNull());
        QCOMPARE(tag, QStringLiteral("plain"));

        DLink(QStringLiteral("::T")).split(file, document, tag);
        QVERIFY(!file.isNull());
        QVERIFY(file.isEmpty());
        QVERIFY(document.isNull());
        QCOMPARE(tag, QStringLiteral("T"));
    }

    void kindsKnowTheirNamesAndShapes()
    {
        QCOMPARE(strItemType(DItem::Text), "TEXT");
        QCOMPARE(strItemType(DItem::CellText), "CELLTEXT");
        QCOMPARE(strItemType(DItem::Point), "POINT");
        int containers = 0;
        int tagged = 0;
        for (int type = 0; type < DItem::TypeCount; ++type) {
            containers += DItem::isContainerType(DItem::Type(type));
            tagged += DItem::isTaggedType(DItem::Type(type));
            QVERIFY(!DItem::isTaggedType(DItem::Type(type)) ||
                    DItem::isContainerType(DItem::Type(type)));
        }
        QCOMPARE(containers, 18);
        QCOMPARE(tagged, 9);
        DText text;
        QCOMPARE(dcast<DText>(&text), &text);
        QCOMPARE(dcast<DTag>(&text), nullptr);
        QCOMPARE(text.asContainer(), nullptr);
    }

    // A copy keeps every attribute of the item itself and none of its links.
    void copiesKeepOwnAttributesOnly()
    {
        const Reading r =
            read("<DOCUMENT tag='d' title='T' style='S'>"
                 "<TABLE code='1' widths='0.25 0.75' style='S'><ROW><CELL span='2'>a</CELL>"
                 "<CELLTEXT text='t' span='3'/></ROW></TABLE>"
                 "<IMAGE src='p.png' width='10' height='20'/><LIST "
                 "ordered='yes'><PARAGRAPH>x</PARAGRAPH></LIST>"
                 "<LINK target='a::b' tag='l'>go</LINK><TAG name='n'/><TAGPOINTER target='n'/>"
                 "<POPUPLINK tag='pl' target='p'>p</POPUPLINK><POPUP tag='p' target='q'>q</POPUP>"
                 "<SUMMARY tag='s'><SENTRY target='x' text='X'/></SUMMARY>"
                 "<INDEX tag='i'><IENTRY target='y' text='Y'/></INDEX>"
                 "<GRAPHIC tag='g' title='G'><AXIS name='t' min='-1.5' max='2'/>"
                 "<CURVE name='c' color='#ff0000'><POINT x='1' y='2.5'/></CURVE></GRAPHIC>"
                 "</DOCUMENT>");
        QVERIFY2(r.ok, qPrintable(r.error));
        const DDocument* doc = r.document.get();
        auto docCopy = doc->copyDocument();
        QCOMPARE(docCopy->tag(), QStringLiteral("d"));
        QCOMPARE(docCopy->title(), QStringLiteral("T"));
        QCOMPARE(docCopy->firstChild(), nullptr);

        int copied = 0;
        for (DItem* item = doc->firstChild(); item; item = item->next()) {
            DItemPtr copy = item->copy();
            QCOMPARE(copy->type(), item->type());
            QCOMPARE(copy->next(), nullptr);
            QCOMPARE(copy->parent(), nullptr);
            if (copy->isContainer())
                QCOMPARE(copy->asContainer()->firstChild(), nullptr);
            if (copy->isTagged())
                QCOMPARE(static_cast<DTaggedItemContainer*>(copy.get())->tag(),
                         static_cast<DTaggedItemContainer*>(item)->tag());
            ++copied;
        }
        QCOMPARE(copied, 11);

        const DItem* first = doc->firstChild();
        auto table = first->copy();
        QCOMPARE(dcast<DTable>(table.get())->code(), 1);
        QCOMPARE(dcast<DTable>(table.get())->widths(), QList<double>({0.25, 0.75}));
        const DItem* row = dcast<DTable>(first)->firstChild();
        auto cell = dcast<DRow>(row)->firstChild()->copy();
        QCOMPARE(dcast<DCell>(cell.get())->span(), 1);
        auto cellText = dcast<DRow>(row)->firstChild()->next()->copy();
        QCOMPARE(dcast<DCellText>(cellText.get())->text(), QStringLiteral("t"));
        QCOMPARE(dcast<DCellText>(cellText.get())->span(), 2);

        const DItem* image = first->next();
        auto imageCopy = image->copy();
        QCOMPARE(dcast<DImage>(imageCopy.get())->source(), QStringLiteral("p.png"));
        QCOMPARE(dcast<DImage>(imageCopy.get())->width(), 10);
        QCOMPARE(dcast<DImage>(imageCopy.get())->height(), 20);
        QVERIFY(dcast<DList>(image->next()->copy().get())->ordered());
        const DItem* link = image->next()->next();
        QCOMPARE(dcast<DLink>(link->copy().get())->target(), QStringLiteral("a::b"));
        QCOMPARE(dcast<DTag>(link->next()->copy().get())->name(), QStringLiteral("n"));
        QCOMPARE(dcast<DTagPointer>(link->next()->next()->copy().get())->target(),
                 QStringLiteral("n"));
        const DItem* popupLink = link->next()->next()->next();
        QCOMPARE(dcast<DPopupLink>(popupLink->copy().get())->target(), QStringLiteral("p"));
        QCOMPARE(dcast<DPopup>(popupLink->next()->copy().get())->target(), QStringLiteral("q"));
        const DItem* summary = popupLink->next()->next();
        auto entry = dcast<DSummary>(summary)->firstChild()->copy();
        QCOMPARE(dcast<DSEntry>(entry.get())->target(), QStringLiteral("x"));
        QCOMPARE(dcast<DSEntry>(entry.get())->text(), QStringLiteral("X"));
        auto ientry = dcast<DIndex>(summary->next())->firstChild()->copy();
        QCOMPARE(dcast<DIEntry>(ientry.get())->text(), QStringLiteral("Y"));
        const DGraphic* graphic = dcast<DGraphic>(summary->next()->next());
        QVERIFY(graphic);
        QCOMPARE(dcast<DGraphic>(graphic->copy().get())->title(), QStringLiteral("G"));
        auto axis = graphic->firstChild()->copy();
        QCOMPARE(dcast<DAxis>(axis.get())->minimum(), -1.5);
        QCOMPARE(dcast<DAxis>(axis.get())->maximum(), 2.0);
        const DItem* curve = graphic->firstChild()->next();
        QCOMPARE(dcast<DCurve>(curve->copy().get())->color(), DColor(255, 0, 0));
        auto point = dcast<DCurve>(curve)->firstChild()->copy();
        QCOMPARE(dcast<DPoint>(point.get())->y(), 2.5);
    }

    // A run of several megabytes arrives in many pieces, some ending inside a character; it is
    // one text item, read back whole, and the style named on its paragraph is kept.
    void longRunsOfTextArriveWhole()
    {
        QString run;
        for (int i = 0; run.size() < 3 * 1024 * 1024; ++i)
            run += QStringLiteral("line %1 \u00e9\u20ac\U0001F600 &\n").arg(i);
        QByteArray escaped = run.toUtf8();
        escaped.replace("&", "&amp;");
        DAmlHandler handler;
        const DStylePtr normal(new DStyle(QStringLiteral("Normal")));
        handler.setStyles({normal});
        const Reading r = read(
            "<DOCUMENT><PARAGRAPH style='Normal'>" + escaped + "</PARAGRAPH></DOCUMENT>", handler);
        QVERIFY2(r.ok, qPrintable(r.error));
        const DItem* paragraph = r.document->firstChild();
        QCOMPARE(paragraph->style(), normal.data());
        const auto* text = dcast<DText>(dcast<DParagraph>(paragraph)->firstChild());
        QVERIFY(text && !text->next());
        QCOMPARE(text->text(), run);
    }

    void readerBuildsTheItemTree()
    {
        const Reading r =
            read("<?xml version='1.0'?>\n<DOCUMENT tag='t'>\n"
                 "  <SECTION tag='s'>\n    <TITLE>Hello &amp; <LINK target='x'>w</LINK></TITLE>\n"
                 "    <PARAGRAPH>a\nb &lt; c</PARAGRAPH>   <PAGEBREAK/>\n  </SECTION>\n"
                 "  <HEADER>h</HEADER><FOOTER>f</FOOTER>\n</DOCUMENT>\n");
        QVERIFY2(r.ok, qPrintable(r.error));
        QCOMPARE(outline(r.document.get()),
                 QStringLiteral("DOCUMENT[SECTION[TITLE[TEXT LINK[TEXT]] PARAGRAPH[TEXT] "
                                "PAGEBREAK] HEADER[TEXT] FOOTER[TEXT]]"));
        const auto* section = dcast<DSection>(r.document->firstChild());
        QCOMPARE(section->tag(), QStringLiteral("s"));
        QCOMPARE(section->parent(), r.document.get());
        const auto* title = dcast<DTitle>(section->firstChild());
        QCOMPARE(dcast<DText>(title->firstChild())->text(), QStringLiteral("Hello & "));
        QCOMPARE(title->firstChild()->parent(), title);
        const auto* paragraph = dcast<DParagraph>(title->next());
        QCOMPARE(dcast<DText>(paragraph->firstChild())->text(), QStringLiteral("a\nb < c"));

        // A span counts the columns a cell covers; below one, it covers its own column only.
        const Reading spans = read("<DOCUMENT><TABLE><ROW><CELL span='-2147483648'>a</CELL>"
                                   "<CELLTEXT text='b' span='-2147483648'/><CELL span='0'>c</CELL>"
                                   "<CELL span='2147483647'>d</CELL></ROW></TABLE></DOCUMENT>");
        QVERIFY2(spans.ok, qPrintable(spans.error));
        const DItem* cell = dcast<DTable>(spans.document->firstChild())->firstChild();
        cell = dcast<DRow>(cell)->firstChild();
        QCOMPARE(dcast<DCell>(cell)->span(), 0);
        QCOMPARE(dcast<DCellText>(cell->next())->span(), 0);
        QCOMPARE(dcast<DCell>(cell->next()->next())->span(), 0);
        QCOMPARE(dcast<DCell>(cell->next()->next()->next())->span(), 2147483646);
    }

    void stylesAreLookedUpByName()
    {
        DStylePtr normal(new DStyle(QStringLiteral("Normal")));
        DStylePtr failed(new DStyle(QStringLiteral("Title1 Failed")));
        DAmlHandler handler;
        handler.setStyles({normal, failed});
        const Reading r = read("<DOCUMENT style='Normal'><TITLE style='Title1 Failed'>t</TITLE>"
                               "<PARAGRAPH style='Nope'>p</PARAGRAPH></DOCUMENT>",
                               handler);
        QVERIFY(r.ok);
        QCOMPARE(r.document->style(), normal.data());
        QCOMPARE(r.document->firstChild()->style(), failed.data());
        QCOMPARE(r.document->firstChild()->next()->style(), nullptr);
        QCOMPARE(dcast<DTitle>(r.document->firstChild())->firstChild()->style(), nullptr);
        // The document keeps its styles alive after the list that gave them is gone.
        const DStyle* kept = normal.data();
        normal.reset();
        handler.setStyles({});
        QCOMPARE(r.document->style(), kept);
        QCOMPARE(r.document->style()->name(), QStringLiteral("Normal"));
    }

    void localStylesAreReadWhenEnabled()
    {
        const QByteArray markup =
            "<DOCUMENT><STYLES>"
            "<STYLE name='Normal' family='Sans' size='10' color='#202020' align='justify'/>"
            "<STYLE name='Title0' bold='1' italic='true' underline='no' background='lightgray' "
            "indent='12'/></STYLES><PARAGRAPH style='Title0'>x</PARAGRAPH></DOCUMENT>";
        DAmlHandler off;
        QVERIFY(read(markup, off).ok);
        QVERIFY(off.localStyles().isEmpty());

        DAmlHandler on;
        on.setEnabledLocalStyle(true);
        const Reading r = read(markup, on);
        QVERIFY2(r.ok, qPrintable(r.error));
        QCOMPARE(on.localStyleNames(),
                 QStringList({QStringLiteral("Normal"), QStringLiteral("Title0")}));
        const DStyle* normal = on.localStyles().at(0).data();
        QCOMPARE(normal->family(), QStringLiteral("Sans"));
        QCOMPARE(normal->size(), 10);
        QCOMPARE(normal->color(), DColor(0x20, 0x20, 0x20));
        QCOMPARE(normal->align(), DStyle::AlignJustify);
        const DStyle* title = on.localStyles().at(1).data();
        QVERIFY(title->bold() && title->italic() && !title->underline());
        QCOMPARE(title->background(), DColor(0xd3, 0xd3, 0xd3)); // "lightgray"
        QCOMPARE(title->indent(), 12);
        QCOMPARE(r.document->firstChild()->style(), title);

        // A second reading with the same handler starts again from the given styles only.
        const Reading again = read(markup, on);
        QVERIFY2(again.ok, qPrintable(again.error));
        QCOMPARE(on.localStyles().size(), 2);
        QVERIFY(on.localStyles().at(1).data() != title);
    }

    // Bad markup stops the reading with a message and the place where it stopped.
    void badMarkupIsReportedWithItsPlace_data()
    {
        QTest::addColumn<QByteArray>("markup");
        QTest::addColumn<QString>("message");
        QTest::addColumn<int>("line");
        QTest::newRow("malformed")
            << QByteArray("<DOCUMENT>\n<PARAGRAPH>\n</DOCUMENT>") << "mismatched tag" << 3;
        QTest::newRow("empty") << QByteArray() << "no element found" << 1;
        QTest::newRow("binary") << QByteArray("\x7f"
                                              "ELF\x02\x01\x01\0\0\0",
                                              10)
                                << "not well-formed (invalid token)" << 1;
        QTest::newRow("unknown element")
            << QByteArray("<DOCUMENT>\n <BLINK/></DOCUMENT>") << "unknown element 'BLINK'" << 2;
        QTest::newRow("text element")
            << QByteArray("<DOCUMENT><TEXT/></DOCUMENT>") << "unknown element 'TEXT'" << 1;
        QTest::newRow("outside document")
            << QByteArray("<PARAGRAPH/>") << "PARAGRAPH must stand inside a DOCUMENT" << 1;
        QTest::newRow("two documents") << QByteArray("<DOCUMENT><DOCUMENT/></DOCUMENT>")
                                       << "a file holds only one DOCUMENT" << 1;
        QTest::newRow("leaf with child") << QByteArray("<DOCUMENT><IMAGE><TAG/></IMAGE></DOCUMENT>")
                                         << "IMAGE cannot contain TAG" << 1;
        QTest::newRow("text in leaf") << QByteArray("<DOCUMENT><TAG>x</TAG></DOCUMENT>")
                                      << "text is not allowed inside TAG" << 1;
        QTest::newRow("bad number") << QByteArray("<DOCUMENT><CELL span='two'/></DOCUMENT>")
                                    << "attribute 'span' of CELL: 'two' is not a whole number" << 1;
        QTest::newRow("bad widths")
            << QByteArray("<DOCUMENT><TABLE widths='0.5 x'/></DOCUMENT>")
            << "attribute 'widths' of TABLE: '0.5 x' is not a list of fractions" << 1;
        QTest::newRow("bad colour") << QByteArray("<DOCUMENT><CURVE color='blurple'/></DOCUMENT>")
                                    << "attribute 'color' of CURVE: 'blurple' is not a colour" << 1;
        QTest::newRow("unclosed") << QByteArray("<DOCUMENT><PARAGRAPH>x") << "no element found"
                                  << 1;
    }

    void badMarkupIsReportedWithItsPlace()
    {
        QFETCH(QByteArray, markup);
        QFETCH(QString, message);
        QFETCH(int, line);
        const Reading r = read(markup);
        QVERIFY(!r.ok);
        QCOMPARE(r.error, message + QLatin1Char('\n'));
        QCOMPARE(r.line, line);
        QVERIFY(r.column >= 1);
    }

    void badStylesAreRefused()
    {
        DAmlHandler handler;
        handler.setEnabledLocalStyle(true);
        Reading r = read("<STYLES><STYLE name='A'/><STYLE name='A'/></STYLES>", handler);
        QCOMPARE(r.error, QStringLiteral("style 'A' is defined twice\n"));
        QCOMPARE(handler.localStyleNames(), QStringList(QStringLiteral("A")));
        DAmlHandler second;
        second.setEnabledLocalStyle(true);
        r = read("<STYLES><STYLE name='A' color='nocolour'/></STYLES>", second);
        QCOMPARE(r.error,
                 QStringLiteral("attribute 'color' of STYLE: 'nocolour' is not a colour\n"));
        DAmlHandler third;
        third.setEnabledLocalStyle(true);
        r = read("<STYLES><STYLE name='A' align='middle'/></STYLES>", third);
        QVERIFY(r.error.startsWith(QLatin1String("attribute 'align' of STYLE: 'middle'")));
        QVERIFY(third.localStyles().isEmpty());
    }

    // Neither a long sibling chain nor deep nesting may overflow the stack on destruction.
    void hugeDocumentsAreDestroyedIteratively()
    {
        const int count = 300000;
        auto document = std::make_unique<DDocument>();
        DItemContainer* container = document.get();
        for (int i = 0; i < count; ++i) {
            auto section = std::make_unique<DSection>();
            section->setParent(container);
            DSection* next = section.get();
            container->setFirstChild(std::move(section));
            container = next;
        }
        auto paragraph = std::make_unique<DParagraph>();
        DItem* last = nullptr;
        for (int i = 0; i < count; ++i) {
            auto text = std::make_unique<DText>(QStringLiteral("t"));
            DItem* raw = text.get();
            if (last)
                last->setNext(std::move(text));
            else
                paragraph->setFirstChild(std::move(text));
            last = raw;
        }
        container->setFirstChild(std::move(paragraph));
        document.reset();

        QByteArray deep = "<DOCUMENT>";
        for (int i = 0; i < count; ++i)
            deep += "<SECTION>";
        deep += "x";
        for (int i = 0; i < count; ++i)
            deep += "</SECTION>";
        deep += "</DOCUMENT>";
        const Reading r = read(deep);
        QVERIFY2(r.ok, qPrintable(r.error));
    }
};

QTEST_APPLESS_MAIN(TestFolio)
#include "tst_folio.moc"
