// The document view: moves, search, links, selection and copy, printing, style changes and
// documents nested deeper than any call stack.

#include "folio/model/ddocument.h"
#include "folio/model/dlink.h"
#include "folio/reader/damlhandler.h"
#include "folio/reader/damlreader.h"
#include "folio/view/dblocks.h"
#include "folio/view/dheightindex.h"
#include "folio/view/dlayout.h"
#include "folio/view/dqcolor.h"
#include "folio/view/dreportwidget.h"

#include <QBuffer>
#include <QClipboard>
#include <QFontInfo>
#include <QFontMetricsF>
#include <QImage>
#include <QMimeData>
#include <QPainter>
#include <QPrinter>
#include <QRandomGenerator>
#include <QScrollBar>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

namespace {

std::unique_ptr<DDocument> read(const QByteArray& markup, const DStyleList& styles = {})
{
    QBuffer buffer;
    buffer.setData(markup);
    buffer.open(QIODevice::ReadOnly);
    DAmlHandler handler;
    handler.setStyles(styles);
    DAmlReader reader(&handler);
    if (!reader.parse(&buffer))
        qWarning("%s", qPrintable(reader.errorString()));
    return handler.takeDocument();
}

// A document tagged `tag` with `sections` sections s1.. of a title and three paragraphs each;
// `extra` goes at the end of the second section.
QByteArray report(const QByteArray& tag, int sections, const QByteArray& extra = QByteArray())
{
    QByteArray markup = "<DOCUMENT tag=\"" + tag + "\">";
    for (int s = 1; s <= sections; ++s) {
        const QByteArray number = QByteArray::number(s);
        markup += "<SECTION tag=\"" + tag + "s" + number + "\"><TITLE>" + tag + " section " +
                  number + "</TITLE>";
        for (int p = 1; p <= 3; ++p)
            markup += "<PARAGRAPH>Text " + QByteArray::number(p) + " of " + tag + " section " +
                      number + ".</PARAGRAPH>";
        if (s == 2)
            markup += extra;
        markup += "</SECTION>";
    }
    return markup + "</DOCUMENT>";
}

// The first item of `kind` in document order whose text or tag contains `text` (any when empty).
DItem* find(DItem* root, DItem::Type kind, const QString& text = QString())
{
    for (DItem* item = root; item;) {
        if (item->type() == kind) {
            QString shown;
            if (const DText* plain = dcast<DText>(item))
                shown = plain->text();
            else if (item->isTagged())
                shown = static_cast<DTaggedItemContainer*>(item)->tag();
            if (shown.contains(text))
                return item;
        }
        DItemContainer* container = item->asContainer();
        if (container && container->firstChild()) {
            item = container->firstChild();
            continue;
        }
        while (item && !item->next())
            item = item->parent();
        item = item ? item->next() : nullptr;
    }
    return nullptr;
}

struct ShownView
{
    DReportWidget view;
    ShownView(int width = 500, int height = 300)
    {
        view.resize(width, height);
        view.show();
    }
};

} // namespace

class TestView : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { qRegisterMetaType<DLink*>(); }

    void movesToItemsAndTagsAcrossDocuments()
    {
        const auto one = read(report("one", 6,
                                     "<PARAGRAPH>before<TAG name=\"anchor\"/></PARAGRAPH>"
                                     "<SECTION tag=\"dup\"><TITLE>dup</TITLE></SECTION>"));
        const auto two = read(report("two", 12,
                                     "<SECTION tag=\"dup\"><TITLE>dup</TITLE></SECTION>"
                                     "<PARAGRAPH>after</PARAGRAPH>"));
        const auto foreign = read(report("three", 1));
        ShownView shown;
        DFolioView& view = shown.view;
        view.setDocument(one.get(), true);
        view.setDocument(two.get(), false);
        QCOMPARE(view.documents().size(), std::size_t(2));
        QCOMPARE(view.currentDocument(), one.get());

        // An item of the second document stands at the top, and its document is current.
        DItem* section = find(two.get(), DItem::Section, QStringLiteral("twos3"));
        QVERIFY(view.moveTo(section));
        QCOMPARE(view.currentDocument(), two.get());
        QCOMPARE(shown.view.currentTag(), QStringLiteral("two"));
        QCOMPARE(view.itemRect(section).top(), 0);
        // A piece of text goes to its paragraph.
        DItem* text = find(two.get(), DItem::Text, QStringLiteral("Text 2 of two section 4"));
        QVERIFY(view.moveTo(text));
        QCOMPARE(view.itemRect(text).top(), 0);

        // Tags: the first one wins, unless a document is named.
        QVERIFY(view.moveTo(QString(), QString(), QStringLiteral("dup")));
        QCOMPARE(view.currentDocument(), one.get());
        QVERIFY(
            view.moveTo(QStringLiteral("any file"), QStringLiteral("two"), QStringLiteral("dup")));
        QCOMPARE(view.currentDocument(), two.get());
        QCOMPARE(view.itemRect(find(two.get(), DItem::Section, QStringLiteral("dup"))).top(), 0);
        // A document by its tag, and an anchor inside a paragraph.
        QVERIFY(view.moveTo(QString(), QString(), QStringLiteral("one")));
        QCOMPARE(view.currentDocument(), one.get());
        QVERIFY(view.moveTo(QString(), QString(), QStringLiteral("anchor")));
        QCOMPARE(view.itemRect(find(one.get(), DItem::Text, QStringLiteral("before"))).top(), 0);

        // What is not shown leaves the view where it was.
        const int position = view.verticalScrollBar()->value();
        QVERIFY(!view.moveTo(QString(), QString(), QStringLiteral("missing")));
        QVERIFY(!view.moveTo(QString(), QStringLiteral("one"), QStringLiteral("twos1")));
        QVERIFY(!view.moveTo(QString(), QString(), QString()));
        QVERIFY(!view.moveTo(find(foreign.get(), DItem::Section)));
        QVERIFY(!view.moveTo(nullptr));
        QCOMPARE(view.verticalScrollBar()->value(), position);

        // The last item cannot stand at the top: the view stops at the end instead.
        QVERIFY(view.moveTo(find(two.get(), DItem::Section, QStringLiteral("twos12"))));
        QCOMPARE(view.verticalScrollBar()->value(), view.verticalScrollBar()->maximum());

        // `first` replaces what was shown.
        view.setDocument(two.get(), true);
        QCOMPARE(view.documents().size(), std::size_t(1));
        QVERIFY(!view.moveTo(QString(), QString(), QStringLiteral("ones1")));
        shown.view.setDocuments({two.get(), nullptr, one.get()});
        QCOMPARE(view.documents(), (std::vector<DDocument*>{two.get(), one.get()}));
        QCOMPARE(shown.view.currentTag(), QStringLiteral("two"));
    }

    void heightIndexAgreesWithASimpleSum()
    {
        // Zero heights (document starts) and changes after layout are the cases that matter.
        DHeightIndex index;
        std::vector<int> heights;
        QRandomGenerator random(3);
        for (int i = 0; i < 300; ++i) {
            heights.push_back(i % 7 == 0 ? 0 : int(random.bounded(40)));
            index.append(heights.back());
        }
        for (int round = 0; round < 200; ++round) {
            const int changed = int(random.bounded(300));
            heights[changed] = int(random.bounded(60));
            index.setHeight(changed, heights[changed]);
            long long top = 0;
            for (int i = 0; i < 300; ++i) {
                QCOMPARE(index.top(i), top);
                // The block covering its own first pixel is itself, unless it has no height.
                if (heights[i] > 0)
                    QCOMPARE(index.blockAt(top), i);
                top += heights[i];
            }
            QCOMPARE(index.total(), top);
            QCOMPARE(index.blockAt(top + 100), 299);
        }
        index.clear();
        QCOMPARE(index.blockAt(0), -1);
    }

    void heightIndexAppendedInBulkAgreesWithOneByOne()
    {
        // A bulk append rebuilds the tree when it at least doubles the heights, and appends one
        // by one otherwise; both after heights changed by layout.
        QRandomGenerator random(5);
        DHeightIndex single;
        DHeightIndex bulk;
        for (const int count : {0, 1, 37, 20, 300, 5, 1000}) {
            std::vector<int> heights;
            for (int i = 0; i < count; ++i)
                heights.push_back(i % 5 == 0 ? 0 : int(random.bounded(40)));
            for (const int height : heights)
                single.append(height);
            bulk.append(heights);
            QCOMPARE(bulk.size(), single.size());
            if (single.size() > 0) {
                const int changed = int(random.bounded(single.size()));
                const int height = int(random.bounded(60));
                single.setHeight(changed, height);
                bulk.setHeight(changed, height);
            }
            for (int i = 0; i <= single.size(); ++i)
                QCOMPARE(bulk.top(i), single.top(i));
            QCOMPARE(bulk.total(), single.total());
            for (long long y = 0; y < single.total() + 50; y += 7)
                QCOMPARE(bulk.blockAt(y), single.blockAt(y));
        }
    }

    void blocksOfItemsAcrossManyDocuments()
    {
        // Documents of uneven sizes, appended one by one: each item is found in its own
        // document, at the block that shows it, whatever order the look-ups come in.
        std::vector<std::unique_ptr<DDocument>> documents;
        DBlockList list;
        for (const int sections : {1, 40, 3, 3, 120, 2, 7}) {
            documents.push_back(
                read(report("doc" + QByteArray::number(documents.size()), sections)));
            list.appendDocument(documents.back().get());
        }
        for (int document = int(documents.size()) - 1; document >= 0; --document) {
            const int start = list.blockOf(documents[size_t(document)].get());
            QVERIFY(start >= 0);
            QCOMPARE(list.blocks()[size_t(start)].kind, DBlock::DocumentStart);
            QCOMPARE(list.blocks()[size_t(start)].document, document);
            DItem* title = find(documents[size_t(document)].get(), DItem::Title);
            const int block = list.blockOf(title);
            QVERIFY(block > start);
            QCOMPARE(list.blocks()[size_t(block)].document, document);
            QVERIFY(list.blocks()[size_t(block)].flags & DBlock::Heading);
        }
    }

    void keepsTheTopItemWhileScrollingAndResizing()
    {
        const auto document = read(report("doc", 200, "<SECTION tag=\"empty\"/>"));
        ShownView shown(500, 300);
        DFolioView& view = shown.view;
        view.setDocument(document.get(), true);
        DItem* target = find(document.get(), DItem::Section, QStringLiteral("docs150"));
        QVERIFY(view.moveTo(target));
        // Pages laid out on the way up and down change no position under the view.
        for (int i = 0; i < 5; ++i)
            QTest::keyClick(&view, Qt::Key_PageUp);
        for (int i = 0; i < 5; ++i)
            QTest::keyClick(&view, Qt::Key_PageDown);
        QCOMPARE(view.itemRect(target).top(), 0);
        view.resize(300, 400);
        QCOMPARE(view.itemRect(target).top(), 0);
        QVERIFY(view.verticalScrollBar()->value() <= view.verticalScrollBar()->maximum());

        // An empty section shows nothing: a move to it goes to what follows.
        QVERIFY(view.moveTo(find(document.get(), DItem::Section, QStringLiteral("empty"))));
        QCOMPARE(view.itemRect(find(document.get(), DItem::Section, QStringLiteral("docs3"))).top(),
                 0);
    }

    void searchesForwardAndWrapsAround()
    {
        const auto document =
            read(report("doc", 8,
                        "<TABLE><ROW><CELL>cell</CELL><CELLTEXT text=\"match 2\"/>"
                        "</ROW></TABLE><PARAGRAPH>match 3</PARAGRAPH>")
                     .replace("Text 1 of doc section 1.", "match 1 here"));
        ShownView shown;
        DFolioView& view = shown.view;
        view.setDocument(document.get(), true);
        const QRegularExpression expression(QStringLiteral("match \\d"));
        QStringList found;
        for (int i = 0; i < 4; ++i) {
            QVERIFY(view.search(expression));
            found << view.selectedText();
        }
        QCOMPARE(found, (QStringList{QStringLiteral("match 1"), QStringLiteral("match 2"),
                                     QStringLiteral("match 3"), QStringLiteral("match 1")}));

        // Backward from the first match wraps to the last; the result says when the search went
        // past an end.
        QCOMPARE(view.find(expression, true), DFolioView::Wrapped);
        QCOMPARE(view.selectedText(), QStringLiteral("match 3"));
        QCOMPARE(view.find(expression, true), DFolioView::Found);
        QCOMPARE(view.selectedText(), QStringLiteral("match 2"));
        QCOMPARE(view.find(expression), DFolioView::Found);
        QCOMPARE(view.selectedText(), QStringLiteral("match 3"));
        QCOMPARE(view.find(expression), DFolioView::Wrapped);
        QCOMPARE(view.selectedText(), QStringLiteral("match 1"));
        QCOMPARE(view.find(QRegularExpression(QStringLiteral("absent")), true),
                 DFolioView::NotFound);

        // A match far down is brought into view.
        QVERIFY(view.search(QRegularExpression(QStringLiteral("doc section 8"))));
        const QRect rect =
            view.itemRect(find(document.get(), DItem::Section, QStringLiteral("docs8")));
        QVERIFY(rect.bottom() > 0 && rect.top() < view.viewport()->height());

        // No match, a pattern that matches only empty text and a broken pattern find nothing and
        // keep the selection.
        QVERIFY(!view.search(QRegularExpression(QStringLiteral("absent"))));
        QVERIFY(!view.search(QRegularExpression(QStringLiteral("z*"))));
        QVERIFY(!view.search(QRegularExpression(QStringLiteral("("))));
        QCOMPARE(view.selectedText(), QStringLiteral("doc section 8"));

        // Several matches in one paragraph: backward takes the nearest before the selection.
        const auto line = read("<DOCUMENT tag=\"l\"><PARAGRAPH>x1 x2 x3</PARAGRAPH></DOCUMENT>");
        view.setDocument(line.get(), true);
        const QRegularExpression numbered(QStringLiteral("x\\d"));
        QStringList backward;
        QCOMPARE(view.find(numbered), DFolioView::Found);
        for (int i = 0; i < 3; ++i) {
            view.find(numbered, true);
            backward << view.selectedText();
        }
        QCOMPARE(backward,
                 (QStringList{QStringLiteral("x3"), QStringLiteral("x2"), QStringLiteral("x1")}));

        // Backward visits the matches forward finds, in reverse, also when matches could
        // overlap or be empty: the block is read once, not from each position again. Each time
        // from a fresh view of `paragraph`: `count` matches forward, then back again.
        const auto stepsBackward = [&](const QByteArray& paragraph, const QString& pattern,
                                       int count) {
            const auto words =
                read("<DOCUMENT tag=\"w\"><PARAGRAPH>" + paragraph + "</PARAGRAPH></DOCUMENT>");
            view.setDocument(words.get(), true);
            const QRegularExpression expression(pattern);
            for (int i = 0; i < count; ++i)
                view.find(expression);
            QStringList texts{view.selectedText()};
            for (int i = 1; i < count; ++i) {
                view.find(expression, true);
                texts << view.selectedText();
            }
            view.clearDocs();
            return texts;
        };
        QCOMPARE(stepsBackward("1a2b3c4 hello world", QStringLiteral("\\w+"), 3),
                 (QStringList{QStringLiteral("world"), QStringLiteral("hello"),
                              QStringLiteral("1a2b3c4")}));
        QCOMPARE(stepsBackward("1a2b3c4", QStringLiteral("\\d[a-c]\\d"), 2),
                 (QStringList{QStringLiteral("3c4"), QStringLiteral("1a2")}));
        QCOMPARE(stepsBackward("x12 y3", QStringLiteral("\\d*"), 2),
                 (QStringList{QStringLiteral("3"), QStringLiteral("12")}));
    }

    void clickingLinksActivatesThem()
    {
        const auto document =
            read("<DOCUMENT><PARAGRAPH>See <LINK target=\"::s1\">the first section</LINK> and "
                 "<TAGPOINTER target=\"plan\"/>.</PARAGRAPH>"
                 "<SUMMARY><SENTRY target=\"::s2\" text=\"Second entry\"/></SUMMARY>"
                 "<PARAGRAPH>Plain words only</PARAGRAPH></DOCUMENT>");
        ShownView shown;
        DFolioView& view = shown.view;
        view.setDocument(document.get(), true);
        QStringList targets;
        connect(&view, &DFolioView::activatedLink, this,
                [&](DLink* link) { targets << link->target(); });
        QSignalSpy spy(&view, &DFolioView::activatedLink);

        DItem* link = find(document.get(), DItem::Link);
        const QPoint onLink = view.itemRect(link).center();
        QCOMPARE(view.itemAt(onLink), link);
        QTest::mouseClick(view.viewport(), Qt::LeftButton, {}, onLink);
        QCOMPARE(spy.count(), 1);
        QCOMPARE(spy.at(0).at(0).value<DLink*>(), static_cast<DLink*>(link));

        // Pointers and entries arrive as links to their target.
        QTest::mouseClick(view.viewport(), Qt::LeftButton, {},
                          view.itemRect(find(document.get(), DItem::TagPointer)).center());
        QTest::mouseClick(view.viewport(), Qt::LeftButton, {},
                          view.itemRect(find(document.get(), DItem::SEntry)).center());
        QCOMPARE(targets, (QStringList{QStringLiteral("::s1"), QStringLiteral("plan"),
                                       QStringLiteral("::s2")}));

        // Plain text, and a drag that starts on a link, activate nothing.
        QTest::mouseClick(view.viewport(), Qt::LeftButton, {},
                          view.itemRect(find(document.get(), DItem::Text, "Plain")).center());
        QTest::mousePress(view.viewport(), Qt::LeftButton, {}, onLink);
        QTest::mouseMove(view.viewport(), onLink + QPoint(0, 60));
        QTest::mouseRelease(view.viewport(), Qt::LeftButton, {}, onLink);
        QCOMPARE(spy.count(), 3);
    }

    void selectsAndCopiesTextAndHtml()
    {
        DStylePtr bold(new DStyle(QStringLiteral("Strong")));
        bold->setBold(true);
        const auto document = read("<DOCUMENT><PARAGRAPH style=\"Strong\">Hello &lt;world&gt;"
                                   "</PARAGRAPH><TABLE widths=\"0.3 0.7\"><ROW><CELL>a</CELL>"
                                   "<CELLTEXT text=\"b\"/></ROW></TABLE><LIST ordered=\"1\">"
                                   "<PARAGRAPH>first</PARAGRAPH><PARAGRAPH>second</PARAGRAPH>"
                                   "</LIST><PARAGRAPH>Drag across this line</PARAGRAPH></DOCUMENT>",
                                   {bold});
        ShownView shown;
        DFolioView& view = shown.view;
        view.setDocument(document.get(), true);
        QVERIFY(!view.hasSelection());

        QTest::keyClick(&view, Qt::Key_A, Qt::ControlModifier);
        QTest::keyClick(&view, Qt::Key_C, Qt::ControlModifier);
        const QMimeData* mime = QGuiApplication::clipboard()->mimeData();
        QVERIFY(mime);
        QCOMPARE(mime->text(), QStringLiteral("Hello <world>\na\tb\nfirst\nsecond\n"
                                              "Drag across this line"));
        const QString html = mime->html();
        QVERIFY(html.contains(QLatin1String("font-weight:bold")));
        QVERIFY(html.contains(QLatin1String("Hello &lt;world&gt;")));
        QVERIFY(html.contains(QLatin1String("<table")));
        QVERIFY(html.contains(QRegularExpression(QStringLiteral("2\\. (<[^>]*>)*second"))));

        // A drag over one line selects part of it.
        const QRect line = view.itemRect(find(document.get(), DItem::Text, "Drag"));
        QTest::mousePress(view.viewport(), Qt::LeftButton, {}, line.topLeft() + QPoint(1, 4));
        QTest::mouseMove(view.viewport(), QPoint(line.center().x(), line.top() + 4));
        QTest::mouseRelease(view.viewport(), Qt::LeftButton, {},
                            QPoint(line.center().x(), line.top() + 4));
        const QString dragged = view.selectedText();
        QVERIFY2(dragged.startsWith(QLatin1String("Drag")) && dragged.size() < 21,
                 qPrintable(dragged));
        QTest::mouseDClick(view.viewport(), Qt::LeftButton, {}, line.topLeft() + QPoint(4, 4));
        QCOMPARE(view.selectedText(), QStringLiteral("Drag"));
    }

    void printsPagesToPdf()
    {
        const auto document = read(report("doc", 3, "<PAGEBREAK/>"));
        const auto second = read(report("two", 40));
        ShownView shown;
        shown.view.setDocument(document.get(), true);
        shown.view.setDocument(second.get(), false);
        QTemporaryDir dir;
        const QString path = dir.filePath(QStringLiteral("out.pdf"));
        QPrinter printer(QPrinter::HighResolution);
        printer.setOutputFormat(QPrinter::PdfFormat);
        printer.setOutputFileName(path);
        shown.view.print(&printer);
        QFile pdf(path);
        QVERIFY(pdf.open(QIODevice::ReadOnly));
        const QByteArray content = pdf.readAll();
        QVERIFY(content.startsWith("%PDF"));
        // A page break, a new document and 40 sections: four pages at least, not dozens.
        const int pages = int(content.count("/Type /Page\n")) + int(content.count("/Type /Page ")) +
                          int(content.count("/Type /Page>")) + int(content.count("/Type /Page/"));
        QVERIFY2(pages >= 4 && pages <= 12, qPrintable(QString::number(pages)));
    }

    void clearsAndFollowsStyleChanges()
    {
        DStylePtr style(new DStyle(QStringLiteral("Body")));
        style->setSize(9);
        const auto document = read("<DOCUMENT><PARAGRAPH style=\"Body\">Some body text</PARAGRAPH>"
                                   "<IMAGE src=\"missing.png\"/></DOCUMENT>",
                                   {style});
        ShownView shown;
        DFolioView& view = shown.view;
        view.setDocument(document.get(), true);
        DItem* text = find(document.get(), DItem::Text);
        const int small = view.itemRect(text).height();
        style->setSize(27);
        view.refresh();
        QVERIFY(view.itemRect(text).height() > small * 2);

        // A missing picture keeps a place with its name.
        const QRect placeholder = view.itemRect(find(document.get(), DItem::Image));
        QVERIFY(placeholder.width() > 40 && placeholder.height() > 10);

        // Without word wrap a long line widens the view instead of wrapping.
        const auto wide = read("<DOCUMENT><PARAGRAPH>" + QByteArray("many words ").repeated(80) +
                               "</PARAGRAPH></DOCUMENT>");
        view.setDocument(wide.get(), false);
        QCOMPARE(view.horizontalScrollBar()->maximum(), 0);
        view.setWordWrap(false);
        QVERIFY(view.horizontalScrollBar()->maximum() > 1000);
        view.setWordWrap(true);

        view.setBackgroundColor(QColor(250, 240, 200));
        QCOMPARE(view.viewport()->grab().toImage().pixelColor(view.viewport()->width() - 4, 50),
                 QColor(250, 240, 200));

        view.selectAll();
        view.clearDocs();
        QVERIFY(!view.currentDocument());
        QVERIFY(!view.hasSelection());
        QVERIFY(!view.moveTo(text));
        QVERIFY(!view.search(QRegularExpression(QStringLiteral("body"))));
        QVERIFY(!view.grab().isNull());
    }

    void showsImagesAndChartsAtTheirSize()
    {
        QTemporaryDir dir;
        QImage picture(40, 20, QImage::Format_RGB32);
        picture.fill(Qt::red);
        QVERIFY(picture.save(dir.filePath(QStringLiteral("pic.png"))));
        const auto document = read(
            "<DOCUMENT><IMAGE src=\"pic.png\"/><IMAGE src=\"pic.png\" width=\"80\"/>"
            "<GRAPHIC title=\"Trend\"><AXIS name=\"x\"/><AXIS name=\"y\" min=\"0\" max=\"5\"/>"
            "<CURVE name=\"c\" color=\"#ff0000\"><POINT x=\"1\" y=\"1\"/><POINT x=\"2\" y=\"4\"/>"
            "</CURVE></GRAPHIC></DOCUMENT>");
        ShownView shown;
        DFolioView& view = shown.view;
        view.setSearchPaths({dir.path()});
        view.setDocument(document.get(), true);
        DItem* natural = find(document.get(), DItem::Image);
        QCOMPARE(view.itemRect(natural).height(), 20 + 10);
        const QRect scaled = view.itemRect(natural->next());
        QCOMPARE(view.grab().toImage().pixelColor(scaled.left() + 10, scaled.top() + 10),
                 QColor(Qt::red));
        QVERIFY(view.itemRect(find(document.get(), DItem::Graphic)).height() > 200);

        // A height at the int limit is drawn bounded, and the blocks after it still follow it.
        const auto giant = read("<DOCUMENT><IMAGE src=\"missing.png\" height=\"2147483647\"/>"
                                "<IMAGE src=\"pic.png\" width=\"2147483647\" "
                                "height=\"2147483647\"/><PARAGRAPH>after</PARAGRAPH></DOCUMENT>");
        view.setDocument(giant.get(), true);
        DItem* missing = find(giant.get(), DItem::Image);
        const QRect missingRect = view.itemRect(missing);
        const QRect pictureRect = view.itemRect(missing->next());
        QVERIFY(missingRect.height() > 10000);
        QVERIFY(pictureRect.top() >= missingRect.bottom());
        QVERIFY(pictureRect.height() > 0);
        QVERIFY(view.itemRect(find(giant.get(), DItem::Paragraph)).top() > pictureRect.top());
    }

    // A paragraph of a few megabytes is laid out in pieces of bounded length, few of them kept
    // laid out at once; positions, links and the view still see one paragraph.
    void longParagraphsAreLaidOutInBoundedPieces()
    {
        QByteArray words;
        while (words.size() < 3 << 20)
            words += "lorem ipsum dolor sit amet \xc3\xa9\xe2\x82\xac\xf0\x9f\x99\x82 ";
        QByteArray unbroken(1 << 20, 'x');
        const auto document = read("<DOCUMENT><PARAGRAPH>" + words + unbroken +
                                   " <LINK target='::end'>end</LINK></PARAGRAPH></DOCUMENT>");
        DBlockList blocks;
        blocks.appendDocument(document.get());
        const auto paragraph =
            std::find_if(blocks.blocks().begin(), blocks.blocks().end(),
                         [](const DBlock& block) { return block.kind == DBlock::Text; });
        QVERIFY(paragraph != blocks.blocks().end());
        DLayoutContext context;
        DBlockLayout layout(*paragraph, context);
        layout.layOut();
        QVERIFY(layout.length() > 3 << 20);
        QVERIFY(layout.longestPiece() <= 1 << 16);
        QVERIFY(layout.liveLayouts() <= 16);
        QVERIFY(layout.height() > 10000);

        // Positions map to places and back across the whole run.
        for (const int position :
             {0, 5000, 1 << 20, 5 << 19, layout.length() - 600000, layout.length() - 1}) {
            const QRectF cursor = layout.cursorRect(position);
            QVERIFY2(qAbs(layout.positionAt(cursor.center()) - position) <= 1,
                     qPrintable(QString::number(position)));
        }
        QVERIFY(layout.liveLayouts() <= 16);
        // The text arrives whole, multi-byte characters included.
        QCOMPARE(layout.plainText(0, int(QString::fromUtf8(words).size())),
                 QString::fromUtf8(words));

        // The link at the very end is found where it is drawn: at the bottom of the paragraph.
        DItem* link = find(document.get(), DItem::Link);
        const QRectF linkRect = layout.rectOf(link);
        QVERIFY(linkRect.top() > layout.height() - 200);
        QCOMPARE(layout.linkAt(linkRect.center()), link);

        // Every cell of a wide row keeps its layout: drawing twice and pointing at the cells
        // lays out nothing again.
        QByteArray cells;
        for (int i = 0; i < 12; ++i)
            cells += "<CELL>cell " + QByteArray::number(i) + " <LINK target='::c'>go</LINK></CELL>";
        const auto table = read("<DOCUMENT><TABLE><ROW>" + cells + "</ROW></TABLE></DOCUMENT>");
        DBlockList rows;
        rows.appendDocument(table.get());
        const auto row =
            std::find_if(rows.blocks().begin(), rows.blocks().end(),
                         [](const DBlock& block) { return block.kind == DBlock::Row; });
        QVERIFY(row != rows.blocks().end());
        DLayoutContext wide;
        wide.width = 1200;
        DBlockLayout rowLayout(*row, wide);
        rowLayout.layOut();
        const int made = rowLayout.layoutsMade();
        QCOMPARE(made, 12);
        QImage image(wide.width, rowLayout.height(), QImage::Format_ARGB32);
        for (int pass = 0; pass < 2; ++pass) {
            QPainter painter(&image);
            rowLayout.draw(&painter, 0, 0);
        }
        DItem* cellLink = find(table.get(), DItem::Link);
        QVERIFY(rowLayout.linkAt(rowLayout.rectOf(cellLink).center()) == cellLink);
        QCOMPARE(rowLayout.layoutsMade(), made);
        QCOMPARE(rowLayout.liveLayouts(), 12);

        // Cells of two pieces each: pointing at the second piece of one cell lays out no other.
        QByteArray longCells;
        const QByteArray filler = QByteArray("lorem ipsum ").repeated(1600);
        for (int i = 0; i < 12; ++i)
            longCells += "<CELL>" + filler + "<LINK target='::c" + QByteArray::number(i) +
                         "'>go</LINK></CELL>";
        const auto longTable =
            read("<DOCUMENT><TABLE><ROW>" + longCells + "</ROW></TABLE></DOCUMENT>");
        DBlockList longRows;
        longRows.appendDocument(longTable.get());
        const auto longRow =
            std::find_if(longRows.blocks().begin(), longRows.blocks().end(),
                         [](const DBlock& block) { return block.kind == DBlock::Row; });
        QVERIFY(longRow != longRows.blocks().end());
        DBlockLayout longLayout(*longRow, wide);
        longLayout.layOut();
        QCOMPARE(longLayout.layoutsMade(), 24);
        // The link ending the last cell.
        DItem* lastLink = find(longTable.get(), DItem::Row);
        QVERIFY(lastLink);
        for (int level = 0; level < 2; ++level) {
            lastLink = lastLink->asContainer()->firstChild();
            while (lastLink->next())
                lastLink = lastLink->next();
        }
        QCOMPARE(lastLink->type(), DItem::Link);
        const QPointF lastPoint = longLayout.rectOf(lastLink).center();
        const int madeBefore = longLayout.layoutsMade();
        QCOMPARE(longLayout.linkAt(lastPoint), lastLink);
        QCOMPARE(longLayout.layoutsMade(), madeBefore);

        ShownView shown;
        shown.view.setDocument(document.get(), true);
        QVERIFY(shown.view.itemRect(link).top() > 10000);
    }

    void placesCellsByWidthsAndSpans()
    {
        const auto document =
            read("<DOCUMENT><TABLE widths=\"0.25 0.25 0.5\">"
                 "<ROW><CELL span=\"2\">wide</CELL><CELL>right</CELL></ROW>"
                 "<ROW><CELL>a</CELL><CELL>b</CELL><CELL>c</CELL></ROW>"
                 "<ROW><CELL>x</CELL><CELL span=\"6\">too wide</CELL></ROW>"
                 "<ROW><CELL>y</CELL><CELL span=\"2147483647\">widest</CELL></ROW>"
                 "</TABLE></DOCUMENT>");
        ShownView shown(616, 300);
        DFolioView& view = shown.view;
        view.setDocument(document.get(), true);
        const auto left = [&](const char* text) {
            return view.itemRect(find(document.get(), DItem::Text, QLatin1String(text))).left();
        };
        const int width = view.viewport()->width() - 2 * view.margin();
        QCOMPARE(left("right"), left("c"));
        QVERIFY(qAbs(left("b") - left("a") - width / 4) <= 1);
        QVERIFY(qAbs(left("c") - left("a") - width / 2) <= 1);
        // A span past the last column ends at the table's edge and moves no column.
        QCOMPARE(left("too wide"), left("b"));
        QVERIFY(view.itemRect(find(document.get(), DItem::Text, "too wide")).right() <
                view.viewport()->width());
        // So does the largest span there is, after a first cell.
        QCOMPARE(left("widest"), left("b"));
        QVERIFY(view.itemRect(find(document.get(), DItem::Text, "widest")).right() <
                view.viewport()->width());
    }

    void keyboardScrollsAndSelects()
    {
        const auto document = read(report("doc", 30));
        ShownView shown;
        DFolioView& view = shown.view;
        view.setDocument(document.get(), true);
        QCOMPARE(view.focusPolicy(), Qt::StrongFocus);
        QScrollBar* bar = view.verticalScrollBar();
        QTest::keyClick(&view, Qt::Key_PageDown);
        QCOMPARE(bar->value(), view.viewport()->height());
        QTest::keyClick(&view, Qt::Key_Down);
        QCOMPARE(bar->value(), view.viewport()->height() + bar->singleStep());
        QTest::keyClick(&view, Qt::Key_End);
        QCOMPARE(bar->value(), bar->maximum());
        QVERIFY(
            view.itemRect(find(document.get(), DItem::Text, "Text 3 of doc section 30")).bottom() <=
            view.viewport()->height());
        QTest::keyClick(&view, Qt::Key_Home);
        QCOMPARE(bar->value(), 0);
        QTest::keyClick(&view, Qt::Key_A, Qt::ControlModifier);
        QVERIFY(view.selectedText().endsWith(QLatin1String("Text 3 of doc section 30.")));
    }

    void showsDocumentsNestedDeeperThanTheStack()
    {
        constexpr int depth = 50000;
        QByteArray markup = "<DOCUMENT tag=\"deep\">";
        for (int i = 0; i < depth; ++i)
            markup += "<SECTION>";
        markup += "<PARAGRAPH>bottom</PARAGRAPH><TAG name=\"end\"/>";
        for (int i = 0; i < depth; ++i)
            markup += "</SECTION>";
        markup += "</DOCUMENT>";
        const auto document = read(markup);
        QVERIFY(document);
        ShownView shown;
        DFolioView& view = shown.view;
        view.setDocument(document.get(), true);
        QVERIFY(!view.grab().isNull());
        QVERIFY(view.moveTo(find(document.get(), DItem::Paragraph)));
        QVERIFY(view.moveTo(QString(), QString(), QStringLiteral("end")));
        QVERIFY(view.search(QRegularExpression(QStringLiteral("bottom"))));
        QCOMPARE(view.selectedText(), QStringLiteral("bottom"));
    }

    // Preformatted text (code frames, stack traces) is laid out line by line as it is written,
    // spaces kept, in a fixed-width face.
    void preformattedTextKeepsItsLines()
    {
        DStylePtr code(new DStyle(QStringLiteral("Code")));
        code->setFamily(QStringLiteral("Monospace"));
        code->setSize(9);
        code->setPre(true);
        QByteArray frame;
        for (int line = 1; line <= 14; ++line)
            frame += (line > 1 ? "\n" : "") + QByteArray(line % 3, ' ') + "    " +
                     QByteArray::number(line) + " |   call(" + QByteArray::number(line) + ");";
        const std::unique_ptr<DDocument> document =
            read("<DOCUMENT tag='d'><PARAGRAPH style='Code'>" + frame + "</PARAGRAPH></DOCUMENT>",
                 {code});
        DBlockList blocks;
        blocks.appendDocument(document.get());
        const DBlock* block = nullptr;
        for (const DBlock& candidate : blocks.blocks()) {
            if (candidate.style == code.data())
                block = &candidate;
        }
        QVERIFY(block);
        DLayoutContext context;
        context.width = 4000; // no line is wrapped
        DBlockLayout layout(*block, context);
        layout.layOut();
        const QString text = layout.plainText();
        QCOMPARE(int(text.count(QLatin1Char('\n'))) + 1, 14);
        QVERIFY(text.contains(QLatin1String("\n      5 |   call(5);\n")));
        const QFont font = context.fontOf(code.data());
        QVERIFY(QFontInfo(font).fixedPitch());
        QVERIFY2(layout.height() >= 14 * QFontMetricsF(font).lineSpacing(),
                 qPrintable(QString::number(layout.height())));
    }

    // The documents' colours read every spelling the toolkit's colours read, to the same value,
    // and refuse what it refuses.
    void colourSpellingsReadAsTheToolkitReadsThem()
    {
        QStringList spellings;
        for (const QString& name : QColor::colorNames())
            spellings << name << name.toUpper() << QLatin1Char(' ') + name
                      << name.left(2) + QStringLiteral(" \t") + name.mid(2);
        spellings << QStringLiteral("transparent") << QStringLiteral("Transparent")
                  << QStringLiteral("#abc") << QStringLiteral("#AbC") << QStringLiteral("#a0b1c2")
                  << QStringLiteral("#80a0b1c2") << QStringLiteral("#123456789")
                  << QStringLiteral("#123456789abc") << QStringLiteral("#fffFFFfff")
                  << QStringLiteral("#000") << QStringLiteral("#ffffffffffff")
                  << QString::fromUtf8("red\u4e00") << QString(250, QLatin1Char(' ')) + "red"
                  << QString(300, QLatin1Char(' ')) + "red" << QString() << QStringLiteral("#")
                  << QStringLiteral("#12") << QStringLiteral("#1234") << QStringLiteral("#12345")
                  << QStringLiteral("#1234567") << QStringLiteral("#ggg") << QStringLiteral("#fff ")
                  << QStringLiteral("#-12") << QStringLiteral("#+1234")
                  << QStringLiteral("rgb(1,2,3)") << QStringLiteral("red\n")
                  << QString::fromUtf8("r\u00c9d") << QString::fromUtf8("\u4e00red")
                  << QStringLiteral("notacolour");
        for (const QString& spelling : std::as_const(spellings)) {
            const QColor expected = QColor::fromString(spelling);
            const DColor read = DColor::fromString(spelling);
            QVERIFY2(read.isValid() == expected.isValid(), qPrintable(spelling));
            if (!expected.isValid())
                continue;
            QVERIFY2(read.rgba() == expected.rgba(), qPrintable(spelling));
            QCOMPARE(read.name(), expected.name());
            QCOMPARE(toQColor(read).rgba(), expected.rgba());
            QCOMPARE(toDColor(expected), read);
        }
        QCOMPARE(DColor().name(), QColor().name());
        QVERIFY(!toQColor(DColor()).isValid());
        QVERIFY(!toDColor(QColor()).isValid());
        QCOMPARE(DColor(300, -4, 17).name(), QStringLiteral("#ff0011"));
    }
};

QTEST_MAIN(TestView)
#include "tst_view.moc"
