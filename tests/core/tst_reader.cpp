// The result file reader: result trees, section bounds, totals, progress and bad input.

#include "folio/model/ddocument.h"
#include "model/qareporterdata.h"
#include "model/qareporterdatatree.h"
#include "reader/qastxmlrodhandler.h"
#include "reader/qastxmlrodreader.h"
#include "reader/reportloader.h"
#include "tests/core/testprogress.h"

#include <QBuffer>
#include <QTemporaryDir>
#include <QTest>
#include <sstream>

namespace {

// Reads markup and keeps what the reader built.
struct Result
{
    bool ok = false;
    QString error;
    std::unique_ptr<QAReporterDataTree> tree;
    std::unique_ptr<DDocument> document;
    QStringList types;
    int passed = 0, failed = 0, inconclusive = 0;
    bool hasTypeTree = false;
};

Result read(const QByteArray& markup)
{
    QBuffer buffer;
    buffer.setData(markup);
    buffer.open(QIODevice::ReadOnly);
    QAstXmlRodReader reader;
    Result r;
    r.ok = reader.parse(&buffer, nullptr, nullptr);
    r.error = reader.errorString();
    r.hasTypeTree = reader.typeTree() != nullptr;
    r.types = reader.typeList();
    r.passed = reader.testPassed();
    r.failed = reader.testFailed();
    r.inconclusive = reader.testInconclusive();
    r.tree = reader.handler()->takeDataTree();
    r.document = reader.handler()->takeDocument();
    return r;
}

QByteArray wrap(const QByteArray& nodes)
{
    return "<XROD><DOCUMENT tag='d'>" + nodes + "</DOCUMENT></XROD>";
}

// "name:depth" of every node in walk order.
QStringList shape(QAReporterDataTree* tree)
{
    QStringList nodes;
    tree->toRoot();
    while (QAReporterNode* node = tree->next(QAReporterDataTree::Forward))
        nodes.append(node->name + QLatin1Char(':') + QString::number(tree->iterator()->depth()));
    return nodes;
}

QAReporterNode* findNode(QAReporterDataTree* tree, const QString& name)
{
    tree->toRoot();
    while (QAReporterNode* node = tree->next(QAReporterDataTree::Forward)) {
        if (node->name == name)
            return node;
    }
    return nullptr;
}

} // namespace

class TestReader : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void nodesNestAndAreNumberedInReadingOrder()
    {
        const Result r =
            read(wrap("<XROD:NODE name='A' type='File'><SECTION>"
                      "<XROD:NODE name='A1' type='Rule'><PARAGRAPH>x</PARAGRAPH></XROD:NODE>"
                      "<XROD:NODE name='A2' type='Rule'><PARAGRAPH>y</PARAGRAPH></XROD:NODE>"
                      "</SECTION></XROD:NODE>"
                      "<XROD:NODE name='B' type='File'><SECTION/></XROD:NODE>"));
        QVERIFY2(r.ok, qPrintable(r.error));
        QCOMPARE(shape(r.tree.get()), QStringList({"A:1", "A1:2", "A2:2", "B:1"}));
        QStringList tags;
        r.tree->toRoot();
        while (QAReporterNode* node = r.tree->next(QAReporterDataTree::Forward))
            tags.append(node->tag);
        QCOMPARE(tags, QStringList({"1", "2", "3", "4"}));
        QCOMPARE(r.tree->iterator()->depth(), 0); // the cursor ends on the root
        QVERIFY(r.tree->toRoot()->tag.isNull());
        QCOMPARE(r.types, QStringList({"File", "Rule"}));
        QVERIFY(r.hasTypeTree);
    }

    void attributesAreTakenAsTheyStand()
    {
        const Result r = read(
            wrap("<XROD:NODE name='' type='T' icone='pic.png' base='/src/'><SECTION/></XROD:NODE>"
                 "<XROD:NODE name='n' type='T' state='NE'><SECTION/></XROD:NODE>"
                 "<XROD:NODE name='f' type='Finding' state='ko' level='warning' rule='no-var'>"
                 "<SECTION/></XROD:NODE>"));
        QVERIFY(r.ok);
        QAReporterNode* empty = findNode(r.tree.get(), QString(QLatin1String("")));
        QVERIFY(empty);
        QVERIFY(!empty->name.isNull());
        QVERIFY(empty->stat.isNull());
        QCOMPARE(empty->icon, QStringLiteral("pic.png"));
        QCOMPARE(empty->base, QStringLiteral("/src/"));
        QAReporterNode* ne = findNode(r.tree.get(), QStringLiteral("n"));
        QCOMPARE(ne->stat, QStringLiteral("NE"));
        QVERIFY(ne->base.isNull());
        QVERIFY(ne->icon.isNull());
        QVERIFY(ne->level.isEmpty() && ne->rule.isEmpty());
        QAReporterNode* finding = findNode(r.tree.get(), QStringLiteral("f"));
        QCOMPARE(finding->level, QStringLiteral("warning"));
        QCOMPARE(finding->rule, QStringLiteral("no-var"));
    }

    void totalsCountSumsByState()
    {
        const QByteArray three =
            "<XROD:NODE name='a' type='R' state='ok' sum='2'><SECTION/></XROD:NODE>"
            "<XROD:NODE name='b' type='R' state='ko' sum='3'><SECTION/></XROD:NODE>"
            "<XROD:NODE name='c' type='R' state='ok' sum='4'><SECTION/></XROD:NODE>";
        Result r = read(wrap(three));
        QCOMPARE(r.passed, 6);
        QCOMPARE(r.failed, 3);
        QCOMPARE(r.inconclusive, -1);
        r = read(wrap(three +
                      "<XROD:NODE name='d' type='R' state='NE' sum='1'><SECTION/></XROD:NODE>"
                      "<XROD:NODE name='e' type='R' state='ne' sum='5'><SECTION/></XROD:NODE>"
                      "<XROD:NODE name='f' type='R' state='ok' sum='x'><SECTION/></XROD:NODE>"
                      "<XROD:NODE name='g' type='R' state='OK' sum='7'><SECTION/></XROD:NODE>"));
        QCOMPARE(r.passed, 6);
        QCOMPARE(r.failed, 3);
        QCOMPARE(r.inconclusive, 1);
        r = read(wrap("<XROD:NODE name='z' type='R' state='NE' sum='0'><SECTION/></XROD:NODE>"));
        QCOMPARE(r.inconclusive, 0);
        r = read(wrap(
            "<XROD:NODE name='big' type='R' state='ok' sum='2147483647'><SECTION/></XROD:NODE>"
            "<XROD:NODE name='more' type='R' state='ok' sum='2147483647'><SECTION/></XROD:NODE>"));
        QCOMPARE(r.passed, 2147483647); // saturates instead of wrapping
    }

    void typesKeepTheOrderOfFirstAppearance()
    {
        const Result r = read(wrap("<XROD:NODE name='1' type='A'/><XROD:NODE name='2' type='B'/>"
                                   "<XROD:NODE name='3' type='A'/><XROD:NODE name='4' type='C'/>"
                                   "<SECTION/>"));
        QVERIFY2(r.ok, qPrintable(r.error));
        QCOMPARE(r.types, QStringList({"A", "B", "C"}));
    }

    // A node's section runs from the first item opened after its start tag to the last item
    // at that level when it ends; nodes waiting together share their first item.
    void sectionsAreBoundByTheirItems()
    {
        const Result r = read("<XROD><DOCUMENT tag='d'><TITLE>t</TITLE>"
                              "<XROD:NODE name='A' type='F'><XROD:NODE name='A1' type='R'>"
                              "<SECTION><PARAGRAPH>p</PARAGRAPH></SECTION></XROD:NODE>"
                              "<PARAGRAPH>q</PARAGRAPH></XROD:NODE>"
                              "<XROD:NODE name='E' type='F'/>"
                              "<XROD:NODE name='B' type='F'><PARAGRAPH>r</PARAGRAPH>"
                              "<XROD:NODE name='B1' type='R'>text only</XROD:NODE></XROD:NODE>"
                              "</DOCUMENT></XROD>");
        QVERIFY2(r.ok, qPrintable(r.error));
        DItem* title = r.document->firstChild();
        DItem* section = title->next();
        DItem* paragraphQ = section->next();
        DItem* paragraphR = paragraphQ->next();
        QAReporterNode* root = r.tree->toRoot();
        QCOMPARE(root->item, r.document.get());
        QCOMPARE(root->endItem, nullptr);
        QAReporterNode* a = findNode(r.tree.get(), QStringLiteral("A"));
        QAReporterNode* a1 = findNode(r.tree.get(), QStringLiteral("A1"));
        QCOMPARE(a->item, section);
        QCOMPARE(a1->item, section);
        QCOMPARE(a1->endItem, section);
        QCOMPARE(a->endItem, paragraphQ);
        QAReporterNode* e = findNode(r.tree.get(), QStringLiteral("E"));
        QCOMPARE(e->item, nullptr);
        QCOMPARE(e->endItem, nullptr);
        QAReporterNode* b = findNode(r.tree.get(), QStringLiteral("B"));
        QCOMPARE(b->item, paragraphR);
        QCOMPARE(b->endItem, paragraphR->next()); // the text item left by B1
        QAReporterNode* b1 = findNode(r.tree.get(), QStringLiteral("B1"));
        QCOMPARE(b1->item, nullptr); // text opens no section

        std::ostringstream dumpA, dumpE;
        dumpA << *a;
        dumpE << *e;
        QCOMPARE(
            QString::fromStdString(dumpA.str()),
            QStringLiteral("QAReporterNode::name=A\nQAReporterNode::type=F\nQAReporterNode::stat=\n"
                           "QAReporterNode::tag =1\nQAReporterNode::DItem=SECTION\n"
                           "QAReporterNode::DItem=PARAGRAPH\n"));
        QCOMPARE(QString::fromStdString(dumpE.str()).count(QLatin1Char('\n')), 4);
    }

    void rootOnlyAndPlainDocuments()
    {
        Result r = read("<XROD><DOCUMENT tag='x'/></XROD>");
        QVERIFY2(r.ok, qPrintable(r.error));
        QVERIFY(shape(r.tree.get()).isEmpty());
        QCOMPARE(r.tree->toRoot()->item, r.document.get());

        r = read("<DOCUMENT tag='plain'><PARAGRAPH>no results</PARAGRAPH></DOCUMENT>");
        QVERIFY(r.ok);
        QVERIFY(!r.tree);
        QVERIFY(!r.hasTypeTree);
        QCOMPARE(r.passed, 0);
        QCOMPARE(r.failed, 0);
        QCOMPARE(r.inconclusive, -1);
        QCOMPARE(r.document->tag(), QStringLiteral("plain"));
    }

    void secondXrodStartsANewTree()
    {
        const Result r =
            read("<DOCUMENT><XROD><SECTION/><XROD:NODE name='first' type='T'/></XROD>"
                 "<XROD><SECTION/><XROD:NODE name='second' type='T'/></XROD></DOCUMENT>");
        QVERIFY2(r.ok, qPrintable(r.error));
        QCOMPARE(shape(r.tree.get()), QStringList({"second:1"}));
    }

    void resultStructureErrors_data()
    {
        QTest::addColumn<QByteArray>("markup");
        QTest::addColumn<QString>("message");
        QTest::newRow("empty XROD")
            << QByteArray("<XROD></XROD>") << "nested XMLROD init element.\n";
        QTest::newRow("no name") << wrap("<XROD:NODE type='T'/>")
                                 << "Xml/ROD, unvalable name attribute.\n";
        QTest::newRow("no type") << wrap("<XROD:NODE name='n'/>")
                                 << "Xml/ROD, unvalable type attribute.\n";
        QTest::newRow("node before XROD")
            << QByteArray("<DOCUMENT><XROD:NODE name='n' type='t'/></DOCUMENT>")
            << "XROD:NODE outside of an XROD element.\n";
        QTest::newRow("bad document markup")
            << wrap("<XROD:NODE name='n' type='t'><WHAT/></XROD:NODE>")
            << "unknown element 'WHAT'\n";
        QTest::newRow("malformed") << QByteArray("<XROD><DOCUMENT></XROD>") << "mismatched tag\n";
    }

    void resultStructureErrors()
    {
        QFETCH(QByteArray, markup);
        QFETCH(QString, message);
        const Result r = read(markup);
        QVERIFY(!r.ok);
        QCOMPARE(r.error, message);
    }

    // A node refused for a missing type is already in the tree with its name set.
    void refusedNodeStaysInTheTree()
    {
        const Result r = read(wrap("<XROD:NODE name='ok' type='T'><SECTION/></XROD:NODE>"
                                   "<XROD:NODE name='half'/>"));
        QVERIFY(!r.ok);
        QVERIFY(r.tree);
        QCOMPARE(shape(r.tree.get()), QStringList({"ok:1", "half:1"}));
        QVERIFY(findNode(r.tree.get(), QStringLiteral("half"))->type.isNull());
    }

    void progressIsReportedPerStartTag()
    {
        QTemporaryDir dir;
        const QString path = dir.filePath(QStringLiteral("run.crc"));
        QByteArray markup = "<XROD><DOCUMENT tag='d'>";
        for (int i = 0; i < 20; ++i)
            markup += "<XROD:NODE name='n' type='t'><PARAGRAPH>x</PARAGRAPH></XROD:NODE>";
        markup += "</DOCUMENT></XROD>";
        QFile out(path);
        QVERIFY(out.open(QIODevice::WriteOnly));
        out.write(markup);
        out.close();

        QFile file(path);
        QVERIFY(file.open(QIODevice::ReadOnly));
        TestProgress progress;
        QAstXmlRodReader reader;
        QVERIFY(reader.parse(&file, &file, &progress));
        const int steps = int(markup.size() / 50);
        QCOMPARE(progress.calls,
                 QStringList({QStringLiteral("start %1 Analysing run.crc cancellable").arg(steps),
                              QStringLiteral("finish")}));
        QCOMPARE(progress.steps.size(), 2 + 40);
        QList<int> expected;
        for (int i = 0; i < 42; ++i)
            expected.append(qMin(i, steps - 1));
        QCOMPARE(progress.steps, expected);

        // Under 50 bytes there are no steps: every start tag reports -1.
        QFile small(dir.filePath(QStringLiteral("small.crc")));
        QVERIFY(small.open(QIODevice::WriteOnly));
        small.write("<XROD><DOCUMENT/></XROD>");
        small.close();
        QVERIFY(small.open(QIODevice::ReadOnly));
        TestProgress second;
        QAstXmlRodReader smallReader;
        QVERIFY(smallReader.parse(&small, &small, &second));
        QCOMPARE(second.steps, QList<int>({-1, -1}));

        // Without a progress nothing is reported.
        QVERIFY(small.seek(0));
        QAstXmlRodReader quiet;
        QVERIFY(quiet.parse(&small, &small, nullptr));
    }

    // A cancel stops the reading soon after, as a failure that says "cancelled"
    // and gives no record; a cancel after the last look still counts; without one, nothing is
    // marked cancelled.
    void cancelStopsTheReadingWithoutARecord()
    {
        QTemporaryDir dir;
        const QString path = dir.filePath(QStringLiteral("long.crc"));
        QByteArray nodes;
        for (int i = 0; i < 5000; ++i)
            nodes += "<XROD:NODE name='n' type='t' state='ko' sum='1'><PARAGRAPH>x</PARAGRAPH>"
                     "</XROD:NODE>";
        QFile out(path);
        QVERIFY(out.open(QIODevice::WriteOnly));
        out.write(wrap(nodes));
        out.close();

        TestProgress progress;
        progress.cancelAfterSteps = 2000;
        ReportLoadError error;
        QVERIFY(!loadReport(path, {}, &progress, &error));
        QVERIFY(error.cancelled);
        QCOMPARE(error.message, QStringLiteral("cancelled"));
        QVERIFY(progress.steps.size() >= 2000);
        QVERIFY(progress.steps.size() <= 2000 + 1024); // not read to its end
        QCOMPARE(progress.calls.last(), QStringLiteral("finish"));

        const QString small = dir.filePath(QStringLiteral("small.crc"));
        QFile smallOut(small);
        QVERIFY(smallOut.open(QIODevice::WriteOnly));
        smallOut.write(wrap("<XROD:NODE name='n' type='t' state='ok' sum='1'/>"));
        smallOut.close();
        TestProgress late;
        late.cancelAfterSteps = 0;
        error = {};
        QVERIFY(!loadReport(small, {}, &late, &error));
        QVERIFY(error.cancelled);

        TestProgress patient;
        error = {};
        QVERIFY(loadReport(path, {}, &patient, &error));
        QVERIFY(!error.cancelled);
        QVERIFY(!loadReport(dir.filePath(QStringLiteral("none.crc")), {}, &patient, &error));
        QVERIFY(!error.cancelled);
    }

    void loaderFillsARecordOrSaysWhereItFailed()
    {
        QTemporaryDir dir;
        const QString good = dir.filePath(QStringLiteral("good.crc"));
        QFile file(good);
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(
            wrap("<XROD:NODE name='n' type='Rule' state='ko' sum='4'><SECTION/></XROD:NODE>"));
        file.close();
        ReportLoadError error;
        std::unique_ptr<QAReporterData> record = loadReport(good, {}, nullptr, &error);
        QVERIFY(record);
        QCOMPARE(record->fileName, good);
        QVERIFY(record->tree);
        QVERIFY(record->document);
        QVERIFY(record->typeTree);
        QCOMPARE(record->typeList, QStringList(QStringLiteral("Rule")));
        QCOMPARE(record->failed, 4);
        QCOMPARE(record->passed, 0);
        QCOMPARE(record->inconclusive, -1);

        QVERIFY(!loadReport(dir.filePath(QStringLiteral("missing.crc")), {}, nullptr, &error));
        QVERIFY(error.message.contains(QLatin1String("cannot open")));
        QCOMPARE(error.line, 0);

        const QString bad = dir.filePath(QStringLiteral("bad.crc"));
        QFile badFile(bad);
        QVERIFY(badFile.open(QIODevice::WriteOnly));
        badFile.write("<XROD>\n<DOCUMENT>\n  <XROD:NODE type='t'/>\n</DOCUMENT></XROD>");
        badFile.close();
        QVERIFY(!loadReport(bad, {}, nullptr, &error));
        QCOMPARE(error.message, QStringLiteral("Xml/ROD, unvalable name attribute."));
        QCOMPARE(error.line, 3);
        QCOMPARE(error.column, 3);

        QVERIFY(!loadReport(dir.path(), {}, nullptr, &error)); // a directory
        QVERIFY(!error.message.isEmpty());
    }

    // Every node is freed exactly once: the sanitized build reports a leak or a second free.
    void recordOwnsWhatItHolds()
    {
        {
            QAReporterData record;
            QCOMPARE(record.inconclusive, -1);
            auto* tree = new QAReporterDataTree(new QAReporterNode);
            tree->addChild(new QAReporterNode, -1, nullptr);
            tree->lastChild();
            tree->addChild(new QAReporterNode, -1, nullptr);
            tree->lastChild();
            tree->addChild(new QAReporterNode, -1, nullptr);
            record.tree = tree;
            record.document = std::make_unique<DDocument>();
        }
        {
            QAReporterData record;
            record.tree = new QAReporterDataTree(new QAReporterNode);
            record.typeTree = std::make_unique<QTree<QString>>();
            delete record.tree.data(); // destroyed elsewhere: the record must not touch it again
            QVERIFY(record.tree.isNull());
        }
    }

    // 100,000 levels of nodes and sections must be read and freed without deep recursion.
    // The encoding a file declares decides how its bytes read; one the reader cannot decode is
    // refused by name, never read as if it were UTF-8.
    void declaredEncodingsAreHonoured()
    {
        const auto nameIn = [](const QByteArray& encoding, const QByteArray& name) {
            return "<?xml version='1.0' encoding='" + encoding + "'?>" +
                   wrap("<XROD:NODE name='" + name + "' type='t'><SECTION/></XROD:NODE>");
        };
        const auto firstName = [](const Result& r) {
            r.tree->toRoot();
            QAReporterNode* node = r.tree->next(QAReporterDataTree::Forward);
            return node ? node->name : QString();
        };
        const QString eAcute(QChar(0xe9));

        Result r = read(nameIn("ISO-8859-1", "caf\xe9"));
        QVERIFY2(r.ok, qPrintable(r.error));
        QCOMPARE(firstName(r), QStringLiteral("caf") + eAcute);

        r = read(nameIn("US-ASCII", "plain"));
        QVERIFY2(r.ok, qPrintable(r.error));
        QCOMPARE(firstName(r), QStringLiteral("plain"));

        r = read(nameIn("windows-1252", "\x80 caf\xe9"));
        QVERIFY2(r.ok, qPrintable(r.error));
        QCOMPARE(firstName(r), QString(QChar(0x20ac)) + QStringLiteral(" caf") + eAcute);

        r = read(nameIn("ISO-8859-15", "\xa4"));
        QVERIFY2(r.ok, qPrintable(r.error));
        QCOMPARE(firstName(r), QString(QChar(0x20ac)));

        const QString utf16Text = QString::fromLatin1(nameIn("UTF-16", "caf\xe9"));
        QByteArray utf16("\xff\xfe");
        utf16.append(reinterpret_cast<const char*>(utf16Text.utf16()), utf16Text.size() * 2);
        r = read(utf16);
        QVERIFY2(r.ok, qPrintable(r.error));
        QCOMPARE(firstName(r), QStringLiteral("caf") + eAcute);

        // The text of a plain report document follows its declaration too.
        r = read("<?xml version='1.0' encoding='ISO-8859-1'?>"
                 "<DOCUMENT><PARAGRAPH>na\xefve</PARAGRAPH></DOCUMENT>");
        QVERIFY2(r.ok, qPrintable(r.error));

        r = read(nameIn("x-no-such-set", "n"));
        QVERIFY(!r.ok);
        QCOMPARE(r.error, QStringLiteral("unsupported encoding \"x-no-such-set\"\n"));
        r = read(nameIn("Shift_JIS", "n"));
        QVERIFY(!r.ok);
        QCOMPARE(r.error, QStringLiteral("unsupported encoding \"Shift_JIS\"\n"));
        // Without a declaration the bytes must be UTF-8.
        r = read(wrap("<XROD:NODE name='caf\xe9' type='t'/>"));
        QVERIFY(!r.ok);
    }

    void deeplyNestedFilesAreRead()
    {
        const int depth = 100000;
        QByteArray markup = "<XROD><DOCUMENT>";
        markup.reserve(depth * 60);
        for (int i = 0; i < depth; ++i)
            markup += "<XROD:NODE name='n' type='t'><SECTION>";
        for (int i = 0; i < depth; ++i)
            markup += "</SECTION></XROD:NODE>";
        markup += "</DOCUMENT></XROD>";
        const Result r = read(markup);
        QVERIFY2(r.ok, qPrintable(r.error));
        int count = 0;
        int maxDepth = 0;
        r.tree->toRoot();
        while (r.tree->next(QAReporterDataTree::Forward)) {
            ++count;
            maxDepth = qMax(maxDepth, r.tree->iterator()->depth());
        }
        QCOMPARE(count, depth);
        QCOMPARE(maxDepth, depth);
    }
};

QTEST_APPLESS_MAIN(TestReader)
#include "tst_reader.moc"
