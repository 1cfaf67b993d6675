// The settings tree: lookups, the settings file and the store that keeps it.

#include "sdk/qares.h"
#include "sdk/qaresfile.h"

#include <QBuffer>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>
#include <climits>

namespace {

// Every node below `root` as one line "depth kind name value", in document order, walked
// without the writer, so that a round trip is checked independently of it.
QStringList dump(const QAResGroup& root)
{
    QStringList lines;
    struct Level
    {
        const QAResGroup* group;
        int next;
    };
    std::vector<Level> levels{{&root, 0}};
    while (!levels.empty()) {
        Level& level = levels.back();
        if (level.next == level.group->count()) {
            levels.pop_back();
            continue;
        }
        const QARes* res = level.group->child(level.next++);
        QString value;
        if (const QAResRGB* rgb = res->toResRGB())
            value = QStringLiteral("%1,%2,%3").arg(rgb->red()).arg(rgb->green()).arg(rgb->blue());
        else if (const QAResBoolean* boolean = res->toResBoolean())
            value = boolean->value() ? QStringLiteral("true") : QStringLiteral("false");
        else if (const QAResInt* integer = res->toResInt())
            value = QString::number(integer->value());
        else if (const QAResString* string = res->toResString())
            value = QStringLiteral("[%1]").arg(string->value());
        lines.append(QStringLiteral("%1 %2 [%3] %4")
                         .arg(QString::number(levels.size()), QARes::kindName(res->kind()),
                              res->name(), value));
        if (const QAResGroup* group = res->toResGroup())
            levels.push_back({group, 0});
    }
    return lines;
}

std::unique_ptr<QAResGroup> readXml(const QByteArray& xml, QString* error)
{
    QBuffer buffer;
    buffer.setData(xml);
    buffer.open(QIODevice::ReadOnly);
    return QAResFile::fromXml(&buffer, QStringLiteral("settings.xml"), error);
}

QByteArray contents(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

void writeText(const QString& path, const QByteArray& text)
{
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write(text);
}

// A producer that hands out a fixed group and counts the requests.
class FixedProducer : public QAResProducer
{
public:
    std::unique_ptr<QARes> toResources(const char* name) override
    {
        ++requests;
        auto group =
            std::make_unique<QAResGroup>(name ? QString::fromUtf8(name) : QStringLiteral("CRC"));
        group->add<QAResInt>(QStringLiteral("auto_depth"), depth);
        return group;
    }
    int depth = 3;
    int requests = 0;
};

} // namespace

class TestResources : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void searchFollowsPathsAndStopsAtValues()
    {
        QAResGroup root;
        auto* crc = root.add<QAResGroup>(QStringLiteral("CRC"));
        auto* styles = crc->add<QAResGroup>(QStringLiteral("STYLES"));
        auto* first = styles->add<QAResInt>(QStringLiteral("size"), 1);
        styles->add<QAResInt>(QStringLiteral("size"), 2);
        crc->add<QAResBoolean>(QStringLiteral("auto_raise"), true);

        QCOMPARE(root.search(QStringLiteral("CRC")), crc);
        QCOMPARE(root.search(QStringLiteral("CRC.STYLES")), styles);
        QCOMPARE(root.search(QStringLiteral("CRC.STYLES.size")), first); // first of a name
        QCOMPARE(root.search(QStringLiteral("CRC/STYLES"), QLatin1Char('/')), styles);
        QCOMPARE(crc->search(QStringLiteral("STYLES")), styles); // relative to the node asked

        QVERIFY(!root.search(QString()));
        QVERIFY(!root.search(QStringLiteral("CRC..STYLES")));
        QVERIFY(!root.search(QStringLiteral("CRC.")));
        QVERIFY(!root.search(QStringLiteral("crc")));              // names are case-sensitive
        QVERIFY(!root.search(QStringLiteral("CRC.auto_raise.x"))); // a value has no children
        QVERIFY(!first->search(QStringLiteral("x")));
    }

    void everyKindRoundTripsExactlyThroughAFile()
    {
        QAResGroup root;
        auto* crc = root.add<QAResGroup>(QStringLiteral("CRC"));
        crc->add<QAResRGB>(QStringLiteral("background"), 0, 128, 255);
        crc->add<QAResBoolean>(QStringLiteral("auto_raise"), false);
        crc->add<QAResBoolean>(QStringLiteral("auto_raise"), true); // repeated names stay
        crc->add<QAResInt>(QStringLiteral("min"), INT_MIN);
        crc->add<QAResInt>(QStringLiteral("max"), INT_MAX);
        crc->add<QAResGroup>(QStringLiteral("empty"));
        auto* strings = crc->add<QAResGroup>(QStringLiteral("strings with \"odd\" <names> & é"));
        const QStringList values = {
            QString(),
            QStringLiteral("  leading and trailing blanks  "),
            QStringLiteral("line\nbreaks\r\nand\ttabs"),
            QStringLiteral("<markup attr=\"x\" other='y'> & &amp;"),
            QStringLiteral("accents é, CJK 漢字, emoji 😀"),
            QStringLiteral("control \x01 and \x1f characters"),
            QString(QChar(0xD800)) + QStringLiteral(" lone surrogate"),
            QStringLiteral("\uFFFE not a character"),
        };
        for (int i = 0; i < values.size(); ++i)
            strings->add<QAResString>(QString::number(i), values[i]);
        root.add<QAResString>(QString(), QStringLiteral("unnamed"));

        QTemporaryDir dir;
        const QString path = dir.filePath(QStringLiteral("nested/dirs/settings.xml"));
        QString error;
        QVERIFY2(QAResFile::write(root, path, &error), qPrintable(error));
        std::unique_ptr<QAResGroup> read = QAResFile::read(path, &error);
        QVERIFY2(read, qPrintable(error));
        QCOMPARE(dump(*read), dump(root));
        QCOMPARE(QAResFile::toXml(*read, &error), contents(path)); // a second pass is stable
    }

    void fileLooksLikeTheDocumentedFormat()
    {
        QAResGroup root;
        auto* crc = root.add<QAResGroup>(QStringLiteral("CRC"));
        crc->add<QAResRGB>(QStringLiteral("background"), 255, 255, 255);
        crc->add<QAResGroup>(QStringLiteral("STYLES"));
        QString error;
        QCOMPARE(QAResFile::toXml(root, &error),
                 QByteArray("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                            "<resources version=\"1\">\n"
                            " <group name=\"CRC\">\n"
                            "  <rgb name=\"background\" r=\"255\" g=\"255\" b=\"255\"/>\n"
                            "  <group name=\"STYLES\"/>\n"
                            " </group>\n"
                            "</resources>\n"));
    }

    void deepTreesNeedNoRecursion()
    {
        // Deep enough to overflow the stack of any recursive walk or destructor.
        constexpr int depth = 200000;
        auto root = std::make_unique<QAResGroup>();
        QAResGroup* group = root.get();
        for (int i = 0; i < depth; ++i)
            group = group->add<QAResGroup>(QStringLiteral("g"));
        group->add<QAResInt>(QStringLiteral("leaf"), 7);

        QString error;
        const QByteArray xml = QAResFile::toXml(*root, &error);
        QVERIFY(xml.size() < 100 * depth); // indentation is capped: the file grows linearly
        std::unique_ptr<QAResGroup> read = readXml(xml, &error);
        QVERIFY2(read, qPrintable(error));
        const QAResGroup* deepest = read.get();
        for (int i = 0; i < depth && deepest; ++i)
            deepest = deepest->count() == 1 ? deepest->child(0)->toResGroup() : nullptr;
        QVERIFY(deepest && deepest->count() == 1 && deepest->child(0)->toResInt());
        QCOMPARE(deepest->child(0)->toResInt()->value(), 7);
        root.reset();
        read.reset();
    }

    void malformedDocumentsNameFileAndLine_data()
    {
        QTest::addColumn<QByteArray>("xml");
        QTest::addColumn<int>("line");
        QTest::addColumn<QString>("words");
        const QByteArray head = "<resources version=\"1\">\n";
        QTest::newRow("not xml") << QByteArray("settings = 1\n") << 1 << QString();
        QTest::newRow("empty") << QByteArray() << 1 << QString();
        QTest::newRow("unclosed") << head + "<group name=\"CRC\">\n" << 3 << QString();
        QTest::newRow("other document") << QByteArray("<DOCUMENT/>") << 1 << "not a settings file";
        QTest::newRow("no version") << QByteArray("<resources/>") << 1 << "needs a version";
        QTest::newRow("newer version") << QByteArray("<resources version=\"2\"/>") << 1 << "newer";
        QTest::newRow("unknown kind")
            << head + "<float name=\"x\" value=\"1\"/>" << 2 << "unknown element <float>";
        QTest::newRow("no name") << head + "<int value=\"1\"/>" << 2 << "no name";
        QTest::newRow("rgb out of range")
            << head + "\n<rgb name=\"c\" r=\"1\" g=\"256\" b=\"0\"/>" << 3 << "'256'";
        QTest::newRow("rgb part missing")
            << head + "<rgb name=\"c\" r=\"1\" g=\"2\"/>" << 2 << "b ''";
        QTest::newRow("boolean") << head + "<boolean name=\"b\" value=\"maybe\"/>" << 2
                                 << "neither true nor false";
        QTest::newRow("int text") << head + "<int name=\"i\" value=\"12x\"/>" << 2 << "'12x'";
        QTest::newRow("int overflow")
            << head + "<int name=\"i\" value=\"2147483648\"/>" << 2 << "2147483648";
        QTest::newRow("string without value") << head + "<string name=\"s\"/>" << 2 << "no value";
        QTest::newRow("bad base64")
            << head + "<string name=\"s\" encoding=\"base64\" value=\"!!\"/>" << 2 << "base64";
        QTest::newRow("odd base64")
            << head + "<string name=\"s\" encoding=\"base64\" value=\"QQ==\"/>" << 2 << "base64";
        QTest::newRow("unknown encoding")
            << head + "<string name=\"s\" encoding=\"rot13\" value=\"x\"/>" << 2 << "rot13";
        QTest::newRow("text") << head + "<group name=\"g\">loose text</group>" << 2
                              << "text is not allowed";
        QTest::newRow("element in value")
            << head + "<int name=\"i\" value=\"1\">\n<int name=\"j\" value=\"2\"/></int>" << 3
            << "inside a value";
    }

    void malformedDocumentsNameFileAndLine()
    {
        QFETCH(QByteArray, xml);
        QFETCH(int, line);
        QFETCH(QString, words);
        QString error;
        QVERIFY(!readXml(xml, &error));
        const QString where = QStringLiteral("settings.xml:%1: ").arg(line);
        QVERIFY2(error.startsWith(where), qPrintable(error));
        QVERIFY2(error.size() > where.size() + 5, qPrintable(error));
        QVERIFY2(error.contains(words), qPrintable(error));
    }

    void unreadableFileIsReported()
    {
        QTemporaryDir dir;
        QString error;
        QVERIFY(!QAResFile::read(dir.filePath(QStringLiteral("absent.xml")), &error));
        QVERIFY2(error.startsWith(dir.filePath(QStringLiteral("absent.xml")) +
                                  QStringLiteral(": cannot be read")),
                 qPrintable(error));
        QVERIFY(!QAResFile::read(dir.path(), &error)); // a directory
        QVERIFY(error.startsWith(dir.path()));
    }

    void failedWriteLeavesTheOldFileWhole()
    {
        QTemporaryDir dir;
        const QString path = dir.filePath(QStringLiteral("settings.xml"));
        QAResGroup good;
        good.add<QAResInt>(QStringLiteral("i"), 1);
        QString error;
        QVERIFY(QAResFile::write(good, path, &error));
        const QByteArray before = contents(path);

        QAResGroup unwritable;
        unwritable.add<QAResGroup>(QStringLiteral("g"))
            ->add<QAResInt>(QStringLiteral("bad\x01name"), 2);
        QVERIFY(!QAResFile::write(unwritable, path, &error));
        QVERIFY2(error.startsWith(path) && error.contains(QStringLiteral("g/bad")),
                 qPrintable(error));
        QCOMPARE(contents(path), before);

        // A path below a plain file cannot be created.
        QVERIFY(!QAResFile::write(good, path + QStringLiteral("/inside.xml"), &error));
        QVERIFY(!error.isEmpty());
        QCOMPARE(contents(path), before);
    }

    void storeReplacesProducerGroupsAndKeepsTheRest()
    {
        QTemporaryDir dir;
        const QString path = dir.filePath(QStringLiteral("settings.xml"));
        QAResStore store(path);
        QVERIFY(store.load()); // no file yet: no error, an empty tree
        QCOMPARE(store.root()->count(), 0);

        writeText(path, "<resources version=\"1\">\n"
                        " <group name=\"OTHER\"><int name=\"x\" value=\"1\"/></group>\n"
                        " <group name=\"CRC\"><int name=\"auto_depth\" value=\"5\"/></group>\n"
                        " <group name=\"CRC\"/>\n"
                        "</resources>\n");
        QVERIFY(store.load());
        QCOMPARE(store.root()->search(QStringLiteral("CRC.auto_depth"))->toResInt()->value(), 5);

        FixedProducer producer;
        store.addProducer(&producer);
        store.addProducer(&producer); // once only
        QString error;
        QVERIFY2(store.save(&error), qPrintable(error));
        QCOMPARE(producer.requests, 1);
        QVERIFY(store.brokenCopy().isEmpty());

        std::unique_ptr<QAResGroup> saved = QAResFile::read(path, &error);
        QVERIFY(saved);
        QCOMPARE(dump(*saved),
                 QStringList({QStringLiteral("1 group [OTHER] "), QStringLiteral("2 int [x] 1"),
                              QStringLiteral("1 group [CRC] "),
                              QStringLiteral("2 int [auto_depth] 3")}));

        store.removeProducer(&producer);
        QVERIFY(store.save(&error));
        QCOMPARE(producer.requests, 1);
    }

    void storeKeepsABrokenFileUntilSaved()
    {
        QTemporaryDir dir;
        const QString path = dir.filePath(QStringLiteral("settings.xml"));
        const QByteArray broken = "<resources version=\"1\">\n"
                                  " <group name=\"CRC\">\n"
                                  "  <int name=\"auto_depth\" value=\"deep\"/>\n"
                                  " </group>\n"
                                  "</resources>\n";
        writeText(path, broken);
        QAResStore store(path);
        FixedProducer producer;
        store.addProducer(&producer);

        QVERIFY(!store.load());
        QVERIFY2(store.loadError().startsWith(path + QStringLiteral(":3: ")),
                 qPrintable(store.loadError()));
        QCOMPARE(store.root()->count(), 0); // defaults stay in force
        QCOMPARE(contents(path), broken);   // loading never writes

        QString error;
        QVERIFY2(store.save(&error), qPrintable(error));
        QCOMPARE(store.brokenCopy(), path + QStringLiteral(".broken"));
        QCOMPARE(contents(store.brokenCopy()), broken);
        QVERIFY(store.loadError().isEmpty());
        QVERIFY(QAResFile::read(path, &error));

        // The next save has nothing broken to keep.
        QVERIFY(store.save(&error));
        QVERIFY(store.brokenCopy().isEmpty());
    }
};

QTEST_GUILESS_MAIN(TestResources)
#include "tst_resources.moc"
