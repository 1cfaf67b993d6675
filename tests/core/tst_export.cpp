// Export: the HTML writer and exporter, the report link writer, the reverse search, paths.

#include "export/qareporterhtmlwriter.h"
#include "folio/export/dexporthtml.h"
#include "folio/export/dhtmlwriter.h"
#include "folio/export/dpagenames.h"
#include "folio/model/ddocument.h"
#include "folio/model/dlink.h"
#include "folio/reader/damlhandler.h"
#include "folio/reader/damlreader.h"
#include "model/qareporterdata.h"
#include "model/qareporterdatatree.h"
#include "model/reversesearch.h"
#include "reader/qastxmlrodhandler.h"
#include "reader/qastxmlrodreader.h"
#include "sdk/qafileutil.h"
#include "sdk/qailogmonitor.h"
#include "sdk/qaiprogressmonitor.h"
#include "tests/testkit.h"

#include <QBuffer>
#include <QDir>
#include <QFile>
#include <QProcess>
#include <QRandomGenerator>
#include <QRegularExpression>
#include <QScopeGuard>
#include <QTemporaryDir>
#include <QTest>

namespace {

struct Log : QAILogMonitor
{
    void logMessage(const QString& message) override { messages.append(message); }
    QStringList messages;
};

// Cancels at the given poll (never when negative).
struct Progress : QAIProgressMonitor
{
    void setTotalSteps(int) override {}
    void setProgress(int) override {}
    void setLabelText(const QString&) override {}
    bool isCanceled() const override { return cancelAt >= 0 && ++polls >= cancelAt; }
    int cancelAt = -1;
    mutable int polls = 0;
};

std::unique_ptr<QAReporterData> readReport(const QByteArray& markup,
                                           const DStyleList& styles = DStyleList())
{
    QBuffer buffer;
    buffer.setData(markup);
    buffer.open(QIODevice::ReadOnly);
    QAstXmlRodReader reader;
    reader.handler()->setStyles(styles);
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

QByteArray report(const QByteArray& body, const char* tag = "doc")
{
    return "<XROD><DOCUMENT tag='" + QByteArray(tag) + "'>" + body + "</DOCUMENT></XROD>";
}

QString body(DHTMLWriter& writer, DDocument* document)
{
    QByteArray page;
    writer.writeBody(document, &page, nullptr);
    return QString::fromUtf8(page);
}

QStringList hrefs(const QString& page)
{
    QStringList found;
    static const QRegularExpression href(QStringLiteral("href=\"([^\"]*)\""));
    for (auto it = href.globalMatch(page); it.hasNext();)
        found.append(it.next().captured(1));
    return found;
}

// All items of a document in document order.
QList<DItem*> itemsOf(DItem* root)
{
    QList<DItem*> items;
    std::vector<DItem*> pending{root};
    while (!pending.empty()) {
        DItem* item = pending.back();
        pending.pop_back();
        items.append(item);
        if (item->next())
            pending.push_back(item->next());
        if (DItemContainer* container = item->asContainer(); container && container->firstChild())
            pending.push_back(container->firstChild());
    }
    return items;
}

DLink* linkTo(DItem* root, const QString& target)
{
    for (DItem* item : itemsOf(root)) {
        if (auto* link = dcast<DLink>(item); link && link->target() == target)
            return link;
    }
    return nullptr;
}

QByteArray nested(int depth, const QByteArray& inner)
{
    QByteArray xml;
    for (int i = 0; i < depth; ++i)
        xml += "<SECTION>";
    xml += inner;
    for (int i = 0; i < depth; ++i)
        xml += "</SECTION>";
    return xml;
}

} // namespace

class TestExport : public QObject
{
    Q_OBJECT

private slots:
    void relativePathRules_data();
    void relativePathRules();
    void absPathToRelative();
    void sourceLinks_data();
    void sourceLinks();
    void reportAndTagLinks();
    void hostileContentStaysText();
    void pageNamesStayInsideTheDirectory();
    void pageSettingsAndLayout();
    void hugePageWaitsOnDisk();
    void hugePageOnAFullDiskKeepsTheOldPage();
    void imagesAreCopiedOrLogged();
    void cancelLeavesNoPage();
    void cellSpansCountColumns();
    void pageNamesAreUniqueAndFit();
    void styleSheetStaysInsideTheExport_data();
    void styleSheetStaysInsideTheExport();
    void deepDocumentExports();
    void searchItemInBounds();
    void reverseSearchDefersToBase();
    void reverseSearchMatchesReference();
    void reverseSearchOnDeepTrees();
};

// The drive-letter rules: only "X:\" makes a path absolute, "X:/" and "X:" do not.
void TestExport::relativePathRules_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<bool>("relative");
    QTest::newRow("slash") << "/x" << false;
    QTest::newRow("backslash") << "\\x" << false;
    QTest::newRow("drive backslash") << "C:\\x" << false;
    QTest::newRow("drive slash") << "C:/x" << true;
    QTest::newRow("drive name") << "C:x" << true;
    QTest::newRow("drive alone") << "C:" << true;
    QTest::newRow("empty") << "" << true;
    QTest::newRow("one char") << "a" << true;
    QTest::newRow("plain") << "src/a.c" << true;
}

void TestExport::relativePathRules()
{
    QFETCH(QString, path);
    QFETCH(bool, relative);
    QCOMPARE(is_relative_path(path), relative);
}

void TestExport::absPathToRelative()
{
    using QAFileUtil::absPathToRelative;
    QCOMPARE(absPathToRelative("/a/b", "/a/c/d.c"), QStringLiteral("../c/d.c"));
    QCOMPARE(absPathToRelative("/a/b/", "/a/b/c/d.c"), QStringLiteral("c/d.c"));
    QCOMPARE(absPathToRelative("/a/b", "/x/y"), QStringLiteral("../../x/y"));
    QCOMPARE(absPathToRelative("/a/b", "src/d.c"), QStringLiteral("src/d.c"));
    QCOMPARE(absPathToRelative("/a/b", ""), QString());
    QCOMPARE(absPathToRelative("out", "/a/c"), QStringLiteral("/a/c"));
}

// Each row: the link target, the base for links, the href written. The link lies in the section
// of a node with base /home/p/, or (target prefixed with "child:") of its child without base.
void TestExport::sourceLinks_data()
{
    QTest::addColumn<QString>("target");
    QTest::addColumn<QString>("baseForLink");
    QTest::addColumn<QString>("href");
    QTest::newRow("node base makes it absolute") << "src/a.c line 12"
                                                 << ""
                                                 << "file:////home/p/src/a.c";
    QTest::newRow("relative to the export directory") << "src/a.c line 12"
                                                      << "/home/p/out"
                                                      << "../src/a.c";
    QTest::newRow("drive and backslashes are absolute") << "C:\\work\\a.c line 3"
                                                        << ""
                                                        << "file:///C:/work/a.c";
    QTest::newRow("drive and slash count as relative") << "C:/work/a.c line 3"
                                                       << ""
                                                       << "file:////home/p/C:/work/a.c";
    QTest::newRow("absolute path kept") << "/usr/x.h line 1"
                                        << ""
                                        << "file:////usr/x.h";
    QTest::newRow("last 'line N' wins, blanks trimmed") << "  a line b.c line 9"
                                                        << ""
                                                        << "file:////home/p/a line b.c";
    QTest::newRow("report prefix read as a path") << "xrdlink://x line 5"
                                                  << ""
                                                  << "file:////home/p/xrdlink:/x";
    QTest::newRow("child without base takes the parent's") << "child:lib/b.c line 2"
                                                           << ""
                                                           << "file:////home/p/lib/b.c";
}

void TestExport::sourceLinks()
{
    QFETCH(QString, target);
    QFETCH(QString, baseForLink);
    QFETCH(QString, href);
    const bool inChild = target.startsWith(QLatin1String("child:"));
    const QByteArray link = "<PARAGRAPH><LINK target='" +
                            target.mid(inChild ? 6 : 0).toHtmlEscaped().toUtf8() +
                            "'>here</LINK></PARAGRAPH>";
    const QByteArray child = "<XROD:NODE name='c' type='Rule'><SECTION>" +
                             (inChild ? link : QByteArray("<PARAGRAPH>x</PARAGRAPH>")) +
                             "</SECTION></XROD:NODE>";
    auto record =
        readReport(report("<XROD:NODE name='f' type='File' base='/home/p/'><SECTION>" +
                          (inChild ? QByteArray() : link) + child + "</SECTION></XROD:NODE>"));
    QVERIFY(record);
    QAReporterHTMLWriter writer({record.get()}, {record.get()}, nullptr, nullptr);
    if (!baseForLink.isEmpty())
        writer.setBaseForLink(baseForLink);
    const QString page = body(writer, record->document.get());
    QVERIFY2(page.contains(QStringLiteral("<a href=\"%1\">here</a>").arg(href.toHtmlEscaped())),
             qPrintable(page));
    QVERIFY(writer.referencedXrd().isEmpty());
}

void TestExport::reportAndTagLinks()
{
    auto first = readReport(report("<PARAGRAPH>"
                                   "<LINK target='xrdlink://sub/run2.xrd#T12'>a</LINK>"
                                   "<LINK target='xrdlink://sub/run2.xrd'>b</LINK>"
                                   "<LINK target='xrdlink://#T12'>c</LINK>"
                                   "<LINK target='::other'>d</LINK>"
                                   "<LINK target='f::doc::x'>e</LINK>"
                                   "<LINK target='::nowhere'>f</LINK>"
                                   "</PARAGRAPH>"));
    auto second = readReport(report("<PARAGRAPH>x</PARAGRAPH>", "other"));
    QVERIFY(first && second);
    QAReporterHTMLWriter writer({first.get(), second.get()}, {first.get()}, nullptr, nullptr);
    QCOMPARE(writer.getHtmlFilenameForXrd("dir/run2.v1.xrd"), QStringLiteral("run2.html"));
    writer.setXrdBase(QStringLiteral("/reports/a"));
    const QString page = body(writer, first->document.get());
    // A link without a file leads to the anchor in the page itself, never to ".html".
    QCOMPARE(hrefs(page),
             QStringList({"run2.html#T12", "run2.html", "#T12", "other.html", "#x", "#nowhere"}));
    // Each report file once, in the order met, beside the report that names it.
    QCOMPARE(writer.referencedXrd(), QStringList({"/reports/a/sub/run2.xrd"}));
    writer.setReferencedXrd({});
    body(writer, first->document.get());
    QCOMPARE(writer.referencedXrd(), QStringList({"/reports/a/sub/run2.xrd"}));
    // The same link in a report of another folder names another file, with a page of its own.
    DPageNames names;
    writer.setPageNames(&names);
    QCOMPARE(hrefs(body(writer, first->document.get())).first(), QStringLiteral("run2.html#T12"));
    writer.setXrdBase(QStringLiteral("/reports/b"));
    QCOMPARE(hrefs(body(writer, first->document.get())).first(), QStringLiteral("run2-2.html#T12"));
    QCOMPARE(writer.referencedXrd(),
             QStringList({"/reports/a/sub/run2.xrd", "/reports/b/sub/run2.xrd"}));
}

// No result file may put markup or a script link into a page.
void TestExport::hostileContentStaysText()
{
    DStylePtr style(new DStyle(QStringLiteral("x\"><script>")));
    style->setFamily(QStringLiteral("A\"; } </style><script>alert(1)</script>"));
    auto record = readReport(
        report(
            "<TITLE tag='t&quot;&gt;&lt;script&gt;'>&lt;script&gt;alert(1)&lt;/script&gt;</TITLE>"
            "<PARAGRAPH style='evil'>"
            "<LINK target='javascript:alert(1)'>a</LINK>"
            "<LINK target='javascript:alert(1) line 3'>b</LINK>"
            "<LINK target='xrdlink://javascript:alert(1).xrd#&quot;x'>c</LINK>"
            "<LINK target='::javascript:alert(1)'>d</LINK>"
            "<TAGPOINTER target='&quot; onclick=&quot;x'/>"
            "<IMAGE src='&quot;&gt;&lt;script&gt;'/>"
            "</PARAGRAPH><TABLE><ROW><CELLTEXT text='&lt;b onmouseover=&quot;x&quot;&gt;'/>"
            "</ROW></TABLE>",
            "javascript:alert(1)"),
        {DStylePtr(style)});
    QVERIFY(record);
    style->setName(QStringLiteral("evil"));
    QTemporaryDir dir;
    QAReporterHTMLWriter writer({record.get()}, {record.get()}, nullptr, nullptr);
    DExportHtml exporter(dir.path(), QString());
    exporter.setHTMLWriter(&writer);
    QVERIFY(exporter.generate(record->document.get(), nullptr, nullptr));
    const QStringList pages = QDir(dir.path()).entryList(QDir::Files);
    QCOMPARE(pages, QStringList{"javascript_alert(1).html"});
    QFile file(dir.filePath(pages.first()));
    QVERIFY(file.open(QIODevice::ReadOnly));
    const QString page = QString::fromUtf8(file.readAll());
    QCOMPARE(page.count(QLatin1String("<script")), 0);
    QCOMPARE(page.count(QLatin1String("</style>")), 1);
    QVERIFY(!page.contains(QLatin1String("onclick=\"")));
    QVERIFY(!page.contains(QLatin1String("onmouseover=\"")));
    const QStringList links = hrefs(page);
    QCOMPARE(links.size(), 5);
    for (const QString& href : links) {
        const qsizetype colon = href.indexOf(u':');
        const bool scheme = colon >= 0 && (href.indexOf(u'/') < 0 || colon < href.indexOf(u'/')) &&
                            !href.startsWith(u'#');
        QVERIFY2(!scheme || href.startsWith(QLatin1String("file:")), qPrintable(href));
    }
}

void TestExport::pageNamesStayInsideTheDirectory()
{
    QTemporaryDir parent;
    const QString out = parent.filePath("out");
    DExportHtml exporter(out, QString());
    Log log;
    const QStringList tags{"../evil", "a/b", "x\\y", QStringLiteral("c\u0001d"), ".hidden", ""};
    for (const QString& tag : tags) {
        DDocument document;
        document.setTag(tag);
        QVERIFY(exporter.generate(&document, nullptr, &log));
    }
    QDir(out).removeRecursively();
    QCOMPARE(QDir(parent.path()).entryList(QDir::AllEntries | QDir::NoDotAndDotDot), QStringList());

    DExportHtml again(out, QString());
    for (const QString& tag : tags) {
        DDocument document;
        document.setTag(tag);
        QVERIFY(again.generate(&document, nullptr, &log));
    }
    DDocument untagged; // a second page without tag does not replace the first
    QVERIFY(again.generate(&untagged, nullptr, &log));
    QStringList names = QDir(out).entryList(QDir::Files | QDir::Hidden);
    names.sort();
    QCOMPARE(names, QStringList({"___evil.html", "_hidden.html", "a_b.html", "c_d.html",
                                 "untitled-2.html", "untitled.html", "x_y.html"}));
    QCOMPARE(log.messages.size(), 3); // each document without tag
    QVERIFY(log.messages.last().contains(QLatin1String("untitled-2.html")));
}

void TestExport::pageSettingsAndLayout()
{
    QTemporaryDir dir;
    const QString config = dir.filePath("dhtml.cfg");
    QFile cfg(config);
    QVERIFY(cfg.open(QIODevice::WriteOnly));
    cfg.write("# site\ncss = site.css\ntitle = Nightly\ncolour = red\ncolour = blue\nnonsense\n");
    cfg.close();

    DStylePtr title(new DStyle(QStringLiteral("Title 1")));
    title->setBold(true);
    title->setSize(16);
    title->setColor(DColor(0x11, 0x22, 0x33));
    title->setAlign(DStyle::AlignCenter);
    title->setIndent(8);
    auto record = readReport(
        report("<TITLE style='Title 1'>Run</TITLE><SECTION tag='s1'><TITLE>Inner</TITLE>"
               "<TABLE widths='1 3'><ROW><CELL span='2'>wide</CELL></ROW></TABLE>"
               "<LIST ordered='1'><PARAGRAPH>one</PARAGRAPH><PARAGRAPH>two</PARAGRAPH></LIST>"
               "<PAGEBREAK/><TAG name='here'/>"
               "<GRAPHIC title='Trend'><AXIS name='x' min='0' max='10'/>"
               "<CURVE name='errors' color='#ff0000'><POINT x='0' y='1'/><POINT x='10' y='3'/>"
               "</CURVE></GRAPHIC></SECTION>"),
        {title});
    QVERIFY(record);
    record->document->setTitle(QStringLiteral("Rules & more"));
    DExportHtml exporter(dir.filePath("out"), config);
    Log log;
    QVERIFY(exporter.generate(record->document.get(), nullptr, &log));
    QCOMPARE(log.messages.size(), 2); // one unknown key (logged once), one malformed line
    QFile file(dir.filePath("out/doc.html"));
    QVERIFY(file.open(QIODevice::ReadOnly));
    const QString page = QString::fromUtf8(file.readAll());
    for (const char* expected :
         {"<!DOCTYPE html>\n<html lang=\"en\">", "<meta charset=\"utf-8\">",
          "<title>Rules &amp; more \u2013 Nightly</title>",
          "<link rel=\"stylesheet\" href=\"site.css\">",
          ".s-Title-1 { font-size: 16pt; font-weight: bold; color: #112233; text-align: center; "
          "margin-left: 8px; }",
          "<h1 class=\"s-Title-1\">Run</h1>", "<section id=\"s1\"><h2>Inner</h2>",
          "<col style=\"width: 25%\"><col style=\"width: 75%\">", "<td colspan=\"2\">wide</td>",
          "<ol>\n<li><p>one</p>\n</li>\n<li><p>two</p>\n</li>\n</ol>", "<hr>",
          "<span id=\"here\"></span>", "<svg", "stroke=\"#ff0000\"", "</html>\n"}) {
        QVERIFY2(page.contains(QString::fromUtf8(expected)), expected);
    }
}

// A body larger than the writer keeps in memory goes to disk in parts and comes back whole:
// the same bytes as a page written in one go, the way back to the summary inside the main block,
// and no temporary file left beside the pages.
void TestExport::hugePageWaitsOnDisk()
{
    DStylePtr bold(new DStyle(QStringLiteral("Strong")));
    bold->setBold(true);
    QByteArray paragraphs;
    for (int i = 0; i < 300; ++i)
        paragraphs +=
            "<PARAGRAPH style='Strong'>line " + QByteArray::number(i) + " &amp; more</PARAGRAPH>";
    auto record = readReport(report("<SECTION tag='s1'><TITLE>Big</TITLE>" + paragraphs +
                                    "</SECTION><TABLE><ROW><CELLTEXT text='end'/></ROW></TABLE>"),
                             {bold});
    QVERIFY(record);
    QTemporaryDir dir;
    QByteArray pages[2];
    for (int spilled = 0; spilled < 2; ++spilled) {
        const QString out = dir.filePath(spilled ? "spilled" : "whole");
        DHTMLWriter writer;
        if (spilled)
            writer.setSpillSize(64);
        DExportHtml exporter(out, QString());
        exporter.setHTMLWriter(&writer);
        exporter.setIndexPage(QStringLiteral("index.html"));
        exporter.setPagePreamble(QStringLiteral("doc.html"), "<p>preamble</p>\n");
        QVERIFY(exporter.generate(record->document.get(), nullptr, nullptr));
        QCOMPARE(QDir(out).entryList(QDir::Files | QDir::Hidden), QStringList{"doc.html"});
        QFile file(out + "/doc.html");
        QVERIFY(file.open(QIODevice::ReadOnly));
        pages[spilled] = file.readAll();
    }
    QCOMPARE(pages[1], pages[0]);
    const qsizetype nav = pages[1].indexOf("<nav class=\"back\"><a href=\"index.html\">");
    QVERIFY(nav > pages[1].indexOf("<main"));
    QVERIFY(nav < pages[1].indexOf("<section"));
    QVERIFY(pages[1].contains("</nav>\n<p>preamble</p>\n"));
    QVERIFY(pages[1].contains(".s-Strong { font-weight: bold; }"));
    QCOMPARE(pages[1].count("line 299 &amp; more"), 1);
}

// A full disk while the body of a big page waits on it: the export says why, the page that was
// there keeps every byte, and the waiting part leaves nothing behind.
void TestExport::hugePageOnAFullDiskKeepsTheOldPage()
{
    QTemporaryDir dir;
    const QString disk = dir.filePath("full");
    if (!testkit::mountTinyDisk(disk))
        QSKIP("mounting a small file system is not allowed here");
    const auto unmount =
        qScopeGuard([&disk] { QProcess::execute(QStringLiteral("umount"), {disk}); });
    const QString page = disk + "/doc.html";
    QFile old(page);
    QVERIFY(old.open(QIODevice::WriteOnly) && old.write("old page") == 8);
    old.close();

    QByteArray paragraphs;
    for (int i = 0; i < 2000; ++i)
        paragraphs += "<PARAGRAPH>line " + QByteArray::number(i) + " of a page too big</PARAGRAPH>";
    auto record = readReport(report(paragraphs));
    QVERIFY(record);
    DHTMLWriter writer;
    writer.setSpillSize(1024);
    DExportHtml exporter(disk, QString());
    exporter.setHTMLWriter(&writer);
    Log log;
    const bool written = exporter.generate(record->document.get(), nullptr, &log);
    QVERIFY(!written);
    QVERIFY2(log.messages.join('\n').contains(QLatin1String("No space left")),
             qPrintable(log.messages.join('\n')));
    QFile kept(page);
    QVERIFY(kept.open(QIODevice::ReadOnly));
    QCOMPARE(kept.readAll(), QByteArray("old page"));
    QCOMPARE(QDir(disk).entryList(QDir::Files | QDir::Hidden), QStringList{"doc.html"});
}

void TestExport::imagesAreCopiedOrLogged()
{
    QTemporaryDir dir;
    QDir(dir.path()).mkpath("pictures");
    QFile picture(dir.filePath("pictures/chart.png"));
    QVERIFY(picture.open(QIODevice::WriteOnly));
    picture.write("PNG");
    picture.close();
    auto record = readReport(report("<PARAGRAPH><IMAGE src='chart.png' width='40'/>"
                                    "<IMAGE src='lost.png'/><IMAGE src='lost.png'/></PARAGRAPH>"));
    QVERIFY(record);
    DExportHtml exporter(dir.filePath("out"), QString());
    exporter.setSearchPath({dir.filePath("elsewhere"), dir.filePath("pictures")});
    Log log;
    QVERIFY(exporter.generate(record->document.get(), nullptr, &log));
    QFile copy(dir.filePath("out/chart.png"));
    QVERIFY(copy.open(QIODevice::ReadOnly));
    QCOMPARE(copy.readAll(), QByteArray("PNG"));
    QCOMPARE(log.messages.size(), 1);
    QVERIFY(log.messages.first().contains(QLatin1String("lost.png")));
    QFile page(dir.filePath("out/doc.html"));
    QVERIFY(page.open(QIODevice::ReadOnly));
    const QByteArray html = page.readAll();
    QVERIFY(html.contains("<img src=\"chart.png\" alt=\"chart.png\" width=\"40\">"));
    QVERIFY(html.contains("<span class=\"missing-image\">[lost.png]</span>"));
}

// A canceled export leaves the previous page as it was, and stops at its next check.
void TestExport::cancelLeavesNoPage()
{
    QTemporaryDir dir;
    QFile old(dir.filePath("doc.html"));
    QVERIFY(old.open(QIODevice::WriteOnly));
    old.write("previous");
    old.close();
    QByteArray paragraphs;
    for (int i = 0; i < 5000; ++i)
        paragraphs += "<PARAGRAPH>text</PARAGRAPH>";
    auto record = readReport(report(paragraphs));
    QVERIFY(record);
    DExportHtml exporter(dir.path(), QString());
    Progress progress;
    progress.cancelAt = 2;
    Log log;
    QVERIFY(!exporter.generate(record->document.get(), &progress, &log));
    QCOMPARE(progress.polls, 2);
    QVERIFY(log.messages.isEmpty());
    QVERIFY(old.open(QIODevice::ReadOnly));
    QCOMPARE(old.readAll(), QByteArray("previous"));
    QCOMPARE(QDir(dir.path()).entryList(QDir::Files), QStringList{"doc.html"});
}

void TestExport::deepDocumentExports()
{
    constexpr int depth = 50000;
    auto record = readReport(report(nested(depth, "<PARAGRAPH>deep</PARAGRAPH>")));
    QVERIFY(record);
    QAReporterHTMLWriter writer({record.get()}, {record.get()}, nullptr, nullptr);
    const QString page = body(writer, record->document.get());
    QCOMPARE(page.count(QLatin1String("<section>")), depth);
    QCOMPARE(page.count(QLatin1String("</section>")), depth);
    QVERIFY(page.contains(QLatin1String("<p>deep</p>\n</section>")));
}

// Closed range, bounds compared before anything else, and the end met at any depth ends the walk.
void TestExport::searchItemInBounds()
{
    auto record = readReport(report("<SECTION><PARAGRAPH>a</PARAGRAPH>"
                                    "<SECTION><PARAGRAPH>b</PARAGRAPH></SECTION></SECTION>"
                                    "<PARAGRAPH>after</PARAGRAPH>"));
    QVERIFY(record);
    const QList<DItem*> items = itemsOf(record->document.get());
    // document, section, paragraph a, text a, inner section, paragraph b, text b, after, text
    QCOMPARE(items.size(), 9);
    DItem* outer = items[1];
    DItem* innerText = items[6];
    DItem* after = items[7];
    bool stop = false;
    QCOMPARE(searchItemIn(nullptr, after, after, &stop), after);
    QCOMPARE(searchItemIn(outer, innerText, innerText, &stop), innerText);
    QCOMPARE(searchItemIn(outer, after, items[3], &stop), items[3]);
    stop = false;
    QCOMPARE(searchItemIn(outer, items[5], after, &stop), nullptr);
    QVERIFY(stop); // the end lay inside the first container: "after" was never looked at
    stop = true;
    QCOMPARE(searchItemIn(items[2], nullptr, after, &stop), nullptr);
    QVERIFY(!stop); // the walk stays on the first item's level
    QCOMPARE(searchItemIn(outer, nullptr, after, &stop), after);
    QCOMPARE(searchItemIn(outer, after, nullptr, &stop), nullptr);
}

void TestExport::reverseSearchDefersToBase()
{
    auto record = readReport(report(
        "<PARAGRAPH><LINK target='top'>t</LINK></PARAGRAPH>"
        "<XROD:NODE name='f' type='File' base='/p/'><SECTION>"
        " <XROD:NODE name='r' type='Rule'><SECTION><LINK target='r'>r</LINK></SECTION></XROD:NODE>"
        " <XROD:NODE name='s' type='Rule' base='/s/'><SECTION><LINK target='s'>s</LINK>"
        "</SECTION></XROD:NODE></SECTION></XROD:NODE>"));
    QVERIFY(record);
    const QList<QAReporterData*> displayed{record.get()};
    DItem* doc = record->document.get();
    const auto name = [&](const char* target) {
        QAReporterNode* node =
            searchReporterNode(displayed, linkTo(doc, QString::fromLatin1(target)));
        return node ? node->name : QStringLiteral("(none)");
    };
    QCOMPARE(name("r"), QStringLiteral("f")); // no base: its parent answers
    QCOMPARE(name("s"), QStringLiteral("s"));
    QCOMPARE(name("top"), QString()); // only the tree root holds it
    QCOMPARE(searchReporterNode(displayed, nullptr), nullptr);
    QCOMPARE(searchReporterNode({}, linkTo(doc, "s")), nullptr);
    const QAReporterNodeIndex index(displayed, DItem::Link);
    QCOMPARE(index.find(linkTo(doc, "r"))->name, QStringLiteral("f"));
    QCOMPARE(index.find(linkTo(doc, "s"))->name, QStringLiteral("s"));
}

namespace {

// The search as first written: recursive, one walk per node. Small trees only.
QAReporterNode* reference(QTreeNode<QAReporterNode>* tree, DItem* item)
{
    for (auto& child : tree->children) {
        if (QAReporterNode* found = reference(child.get(), item))
            return found->base.isEmpty() ? tree->data : found;
    }
    bool stop = false;
    return tree->data && searchItemIn(tree->data->item, tree->data->endItem, item, &stop)
               ? tree->data
               : nullptr;
}

} // namespace

// Random documents and trees, section bounds anywhere (reversed, in other branches, missing) and
// nodes without data: the index and the single search answer as the plain algorithm does.
void TestExport::reverseSearchMatchesReference()
{
    QRandomGenerator random(7);
    for (int round = 0; round < 200; ++round) {
        // Sections and paragraphs with links, opened and closed at random.
        QList<QByteArray> open;
        QByteArray doc;
        for (int i = 0; i < 14; ++i) {
            const int pick = random.bounded(4);
            if (pick == 0) {
                doc += "<SECTION>";
                open.append("</SECTION>");
            } else if (pick == 1 && !open.isEmpty()) {
                doc += open.takeLast();
            } else {
                doc += "<PARAGRAPH><LINK target='x'>l</LINK></PARAGRAPH>";
            }
        }
        while (!open.isEmpty())
            doc += open.takeLast();
        auto record = readReport(report(doc));
        QVERIFY(record);
        const QList<DItem*> items = itemsOf(record->document.get());
        const auto anyItem = [&]() -> DItem* {
            const int pick = random.bounded(int(items.size()) + 2);
            return pick < items.size() ? items[pick] : nullptr;
        };
        QTreeIterator<QAReporterNode>* cursor = record->tree->iterator();
        QTreeNode<QAReporterNode>* root = cursor->node;
        root->data->item = anyItem();
        std::vector<std::unique_ptr<QAReporterNode>> owned;
        std::vector<QTreeNode<QAReporterNode>*> nodes{root};
        for (int i = 0; i < 8; ++i) {
            QTreeNode<QAReporterNode>* parent = nodes[random.bounded(int(nodes.size()))];
            QAReporterNode* data = nullptr;
            if (random.bounded(8) != 0) {
                owned.push_back(std::make_unique<QAReporterNode>());
                data = owned.back().get();
                data->name = QString::number(i);
                data->item = anyItem();
                data->endItem = anyItem();
                if (random.bounded(2))
                    data->base = QStringLiteral("/b/");
            }
            parent->children.push_back(std::make_unique<QTreeNode<QAReporterNode>>(data));
            nodes.push_back(parent->children.back().get());
        }
        const QList<QAReporterData*> displayed{record.get()};
        const QAReporterNodeIndex index(displayed, DItem::Link);
        for (DItem* item : items) {
            QAReporterNode* expected = reference(root, item);
            QCOMPARE(searchReporterNode(displayed, item), expected);
            QCOMPARE(searchChildReporterNode(root, item), expected);
            if (item->type() == DItem::Link)
                QCOMPARE(index.find(item), expected);
        }
        root->children.clear(); // their data belongs to `owned`
    }
}

// Result nodes nested 20,000 deep, each with its own section: no walk may recurse, and the
// search may not walk the sections one inside the other again and again.
void TestExport::reverseSearchOnDeepTrees()
{
    constexpr int depth = 20000;
    QByteArray open;
    QByteArray close;
    for (int i = 0; i < depth; ++i) {
        open += i % 2 ? "<XROD:NODE name='n' type='T'><SECTION>"
                      : "<XROD:NODE name='b' type='T' base='/b/'><SECTION>";
        close += "</SECTION></XROD:NODE>";
    }
    auto record = readReport(
        report(open + "<PARAGRAPH><LINK target='a.c line 1'>x</LINK></PARAGRAPH>" + close));
    QVERIFY(record);
    DLink* link = linkTo(record->document.get(), "a.c line 1");
    QAReporterNode* found = searchReporterNode({record.get()}, link);
    QVERIFY(found);
    QCOMPARE(found->name, QStringLiteral("b")); // the innermost has no base: its parent answers
    QCOMPARE(QAReporterNodeIndex({record.get()}, DItem::Link).find(link), found);
    QAReporterHTMLWriter writer({record.get()}, {record.get()}, nullptr, nullptr);
    QVERIFY(body(writer, record->document.get()).contains(QLatin1String("file:////b/a.c")));
}

QTEST_GUILESS_MAIN(TestExport)
#include "tst_export.moc"

// span="3" is a cell over three columns: in a table of three columns it makes no fourth.
void TestExport::cellSpansCountColumns()
{
    auto record = readReport(report("<TABLE widths='1 1 1'><ROW><CELL>a</CELL><CELL>b</CELL>"
                                    "<CELL>c</CELL></ROW><ROW><CELL span='3'>all</CELL></ROW>"
                                    "<ROW><CELLTEXT text='two' span='2'/><CELL span='1'>one</CELL>"
                                    "</ROW><ROW><CELL span='0'>x</CELL></ROW></TABLE>"));
    QVERIFY(record);
    DHTMLWriter writer;
    const QString page = body(writer, record->document.get());
    QVERIFY2(page.contains(QLatin1String("<td colspan=\"3\">all</td>")), qPrintable(page));
    QVERIFY2(page.contains(QLatin1String("<td colspan=\"2\">two</td><td>one</td>")),
             qPrintable(page));
    QVERIFY(page.contains(QLatin1String("<td>x</td>")));
    QVERIFY(!page.contains(QLatin1String("colspan=\"4\"")));
}

void TestExport::styleSheetStaysInsideTheExport_data()
{
    QTest::addColumn<QString>("css");
    QTest::addColumn<bool>("linked");
    QTest::newRow("relative") << "site.css" << true;
    QTest::newRow("below") << "css/site.css" << true;
    QTest::newRow("other host") << "//host/x.css" << false;
    QTest::newRow("windows share") << "\\\\host\\x.css" << false;
    QTest::newRow("mixed slashes") << "/\\host/x.css" << false;
    QTest::newRow("web") << "https://host/x.css" << false;
    QTest::newRow("file url") << "file:///etc/x.css" << false;
    QTest::newRow("drive") << "C:/x.css" << false;
    QTest::newRow("absolute") << "/srv/x.css" << false;
    QTest::newRow("climbing") << "css/../../x.css" << false;
    QTest::newRow("escaped climbing") << "%2e%2e/%2E%2E/x.css" << false;
}

// The style sheet of dhtml.cfg: only a relative path inside the export is linked; anything
// else would make the pages reach out when opened, and is said in the log.
void TestExport::styleSheetStaysInsideTheExport()
{
    QFETCH(QString, css);
    QFETCH(bool, linked);
    QTemporaryDir dir;
    const QString config = dir.filePath("dhtml.cfg");
    QFile cfg(config);
    QVERIFY(cfg.open(QIODevice::WriteOnly));
    cfg.write("css = " + css.toUtf8() + "\n");
    cfg.close();
    auto record = readReport(report("<PARAGRAPH>p</PARAGRAPH>"));
    QVERIFY(record);
    DExportHtml exporter(dir.filePath("out"), config);
    Log log;
    QVERIFY(exporter.generate(record->document.get(), nullptr, &log));
    QFile file(dir.filePath("out/doc.html"));
    QVERIFY(file.open(QIODevice::ReadOnly));
    const QByteArray page = file.readAll();
    QCOMPARE(page.contains("<link rel=\"stylesheet\""), linked);
    QCOMPARE(log.messages.size(), linked ? 0 : 1);
}

// One name per thing written, asked for as often as wanted; two things never share a name, even
// when only the case differs; names fit in 255 bytes and keep their suffix; reserved names (files
// of the user) are never given.
void TestExport::pageNamesAreUniqueAndFit()
{
    DPageNames names;
    names.reserve(QStringLiteral("Build.png"));
    const QString html = QStringLiteral(".html");
    QCOMPARE(names.nameFor("report:run.v2", "run.v2", html), QStringLiteral("run.v2.html"));
    QCOMPARE(names.nameFor("report:run.v2", "ignored", html), QStringLiteral("run.v2.html"));
    QCOMPARE(names.nameFor("report:R", "R", html), QStringLiteral("R.html"));
    QCOMPARE(names.nameFor("report:r", "r", html), QStringLiteral("r-2.html"));
    QCOMPARE(names.nameFor("xrd:/a/r.0.xrd", "r", html), QStringLiteral("r-3.html"));
    QCOMPARE(names.nameFor("report:dir/name", "dir/name", html), QStringLiteral("dir_name.html"));
    QCOMPARE(names.nameFor("report:", "", html), QStringLiteral("untitled.html"));
    QCOMPARE(names.nameFor("image:/x/build.png", "build", ".png"), QStringLiteral("build-2.png"));
    QCOMPARE(names.nameOf("report:r"), QStringLiteral("r-2.html"));
    QVERIFY(names.nameOf("report:unknown").isEmpty());

    // Numbering steps over names already taken, and many wanting one name stay distinct.
    names.reserve(QStringLiteral("q-3.html"));
    QStringList numbered;
    for (int i = 0; i < 5; ++i)
        numbered.append(names.nameFor("xrd:q." + QString::number(i), "q", html));
    QCOMPARE(numbered, QStringList({"q.html", "q-2.html", "q-4.html", "q-5.html", "q-6.html"}));
    QCOMPARE(names.nameFor("report:q-4", "q-4", html), QStringLiteral("q-4-2.html"));

    const QString cjk(120, QChar(0x6f22));
    const QString first = names.nameFor("report:cjk", cjk, html);
    const QString second = names.nameFor("report:cjk2", cjk, html);
    QVERIFY(first != second);
    for (const QString& name : {first, second}) {
        QVERIFY2(name.toUtf8().size() <= 255, qPrintable(name));
        QVERIFY(name.endsWith(html));
        QVERIFY(name.startsWith(QString(10, QChar(0x6f22))));
    }
}
