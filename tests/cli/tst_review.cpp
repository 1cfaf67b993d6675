// crcview review as a team uses it: decisions kept in the defect store, shared through an exported
// file and merged back, and the gates of diff and summary leaving out what was reviewed away.

#include "tests/testkit.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSqlDatabase>
#include <QSqlQuery>
#include <QTemporaryDir>
#include <QTest>

namespace {

using testkit::writeFile;
using Run = testkit::CrcviewRun;

Run crcview(const QStringList& arguments)
{
    return testkit::runCrcview(arguments, 60000);
}

QByteArray finding(const QByteArray& name, int line)
{
    return "<XROD:NODE type='Finding' name='" + name +
           "' state='ko'><SECTION><PARAGRAPH>bad at <LINK target='src/a.c line " +
           QByteArray::number(line) + "'>here</LINK></PARAGRAPH></SECTION></XROD:NODE>";
}

QByteArray resultFile(const QByteArray& findings)
{
    return "<XROD><DOCUMENT tag='d'><XROD:NODE type='File' name='src/a.c' state='ko'><SECTION>" +
           findings + "</SECTION></XROD:NODE></DOCUMENT></XROD>";
}

QByteArray readAll(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

QJsonObject review(const QString& identity, const QString& status, const QString& when,
                   const QString& comment = QString())
{
    return {{"identity", identity}, {"rule", ""},       {"status", status},
            {"comment", comment},   {"who", "someone"}, {"when", when}};
}

QByteArray reviewFile(const QJsonArray& reviews)
{
    return QJsonDocument(QJsonObject{{"reviews", reviews}}).toJson();
}

// The reviews of a store as `list --format json` gives them.
QJsonArray listed(const QString& store)
{
    const Run run = crcview({"review", "--defects", store, "list", "--format", "json"});
    if (run.status != 0)
        return {QStringLiteral("list failed: ") + run.err};
    return QJsonDocument::fromJson(run.out.toUtf8()).object().value("reviews").toArray();
}

// A SARIF log with a result per fingerprint; the first one carries a suppression of its own.
QByteArray sarifLog(const QStringList& fingerprints)
{
    QJsonArray results;
    for (const QString& fingerprint : fingerprints) {
        QJsonObject result{{"ruleId", "R1"},
                           {"level", "warning"},
                           {"message", QJsonObject{{"text", fingerprint}}},
                           {"fingerprints", QJsonObject{{"v1", fingerprint}}}};
        if (fingerprint == fingerprints.first())
            result.insert("suppressions", QJsonArray{QJsonObject{{"kind", "inSource"}}});
        results.append(result);
    }
    return QJsonDocument(
               QJsonObject{
                   {"version", "2.1.0"},
                   {"runs", QJsonArray{QJsonObject{
                                {"tool", QJsonObject{{"driver", QJsonObject{{"name", "lint"}}}}},
                                {"results", results}}}}})
        .toJson();
}

// A store of the first crcstudio: its defects without the details of findings, no reviews.
bool writeFirstStore(const QString& path)
{
    bool made = false;
    {
        QSqlDatabase database =
            QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), QStringLiteral("first"));
        database.setDatabaseName(path);
        QSqlQuery query(database);
        made = database.open() &&
               query.exec(QStringLiteral(
                   "CREATE TABLE defects ( id INTEGER PRIMARY KEY AUTOINCREMENT, state TEXT NOT "
                   "NULL DEFAULT 'open'  CHECK (state IN ('open', 'closed')), headline TEXT NOT "
                   "NULL, description TEXT NOT NULL, item_path TEXT NOT NULL, file TEXT, filed "
                   "TEXT NOT NULL, external_reference TEXT)")) &&
               query.exec(QStringLiteral(
                   "CREATE TABLE attachments ( defect INTEGER NOT NULL REFERENCES defects(id), "
                   "label TEXT NOT NULL, path TEXT NOT NULL, size INTEGER NOT NULL, sha256 TEXT "
                   "NOT NULL)")) &&
               query.exec(QStringLiteral(
                   "INSERT INTO defects (headline, description, item_path, filed) VALUES "
                   "('old one', 'kept', '[\"a.crc\",\"x\"]', '2025-01-02T03:04:05Z')"));
        database.close();
    }
    QSqlDatabase::removeDatabase(QStringLiteral("first"));
    return made;
}

} // namespace

class TestReview : public QObject
{
    Q_OBJECT

    QTemporaryDir m_dir;

    QString path(const QString& name) const { return m_dir.filePath(name); }

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY(m_dir.isValid());
        qputenv("XDG_CACHE_HOME", QFile::encodeName(path(QStringLiteral("cache"))));
        qputenv("XDG_DATA_HOME", QFile::encodeName(path(QStringLiteral("data"))));
        qputenv("USER", "alice");
    }

    // set and list; export writes them sorted by identity and rule, and an import of that file
    // into another store gives the same file back.
    void setListExportImport()
    {
        const QString store = path(QStringLiteral("one.sqlite"));
        QCOMPARE(crcview({"review", "--defects", store, "set", "--status", "intentional",
                          "--comment", "on purpose", "z-last"})
                     .status,
                 0);
        QCOMPARE(crcview({"review", "--defects", store, "set", "--status", "false-positive",
                          "--rule", "R2", "a-first"})
                     .status,
                 0);
        QCOMPARE(crcview({"review", "--defects", store, "set", "--status", "confirmed", "a-first"})
                     .status,
                 0);
        const QJsonArray reviews = listed(store);
        QCOMPARE(reviews.size(), 3);
        QCOMPARE(reviews.at(0)["identity"].toString(), QStringLiteral("a-first"));
        QCOMPARE(reviews.at(0)["rule"].toString(), QString());
        QCOMPARE(reviews.at(0)["status"].toString(), QStringLiteral("confirmed"));
        QCOMPARE(reviews.at(1)["rule"].toString(), QStringLiteral("R2"));
        QCOMPARE(reviews.at(2)["identity"].toString(), QStringLiteral("z-last"));
        QCOMPARE(reviews.at(2)["comment"].toString(), QStringLiteral("on purpose"));
        QCOMPARE(reviews.at(2)["who"].toString(), QStringLiteral("alice"));
        QVERIFY(QDateTime::fromString(reviews.at(2)["when"].toString(), Qt::ISODate).isValid());
        // Setting again replaces the decision of that key.
        QCOMPARE(crcview({"review", "--defects", store, "set", "--status", "unreviewed", "z-last"})
                     .status,
                 0);
        QCOMPARE(listed(store).at(2)["status"].toString(), QStringLiteral("unreviewed"));
        const Run text = crcview({"review", "--defects", store, "list"});
        QCOMPARE(text.status, 0);
        QVERIFY2(text.out.startsWith(QLatin1String("confirmed\ta-first\t-\talice\t")),
                 qPrintable(text.out));

        const QString exported = path(QStringLiteral("reviews.json"));
        QCOMPARE(crcview({"review", "--defects", store, "export", exported}).status, 0);
        const QString other = path(QStringLiteral("other.sqlite"));
        const Run imported = crcview({"review", "--defects", other, "import", exported});
        QCOMPARE(imported.status, 0);
        QCOMPARE(imported.out, QStringLiteral("reviews read: 3, taken: 3\n"));
        const QString again = path(QStringLiteral("again.json"));
        QCOMPARE(crcview({"review", "--defects", other, "export", again}).status, 0);
        QCOMPARE(readAll(again), readAll(exported));

        // A store of the first crcstudio gains the reviews and keeps its defects.
        const QString first = path(QStringLiteral("first.sqlite"));
        QVERIFY(writeFirstStore(first));
        QCOMPARE(crcview({"review", "--defects", first, "import", exported}).status, 0);
        QCOMPARE(listed(first).size(), 3);
        const Run defects = crcview({"defects", "--defects", first});
        QCOMPARE(defects.status, 0);
        QVERIFY(defects.out.contains(QLatin1String("old one")));

        // Bad command lines.
        for (const QStringList& arguments :
             {QStringList{"set", "--status", "wrong", "x"}, QStringList{"set", "x"},
              QStringList{"set", "--status", "confirmed"}, QStringList{"list", "--format", "csv"},
              QStringList{"export"}, QStringList{"import"}, QStringList{"remove", "x"}})
            QCOMPARE(crcview(QStringList{"review", "--defects", store} + arguments).status, 64);
    }

    // An import merges: of each identity and rule the later decision wins, nothing else is lost.
    void importKeepsTheLaterDecision()
    {
        const QString store = path(QStringLiteral("merge.sqlite"));
        QVERIFY(writeFile(path(QStringLiteral("mine.json")),
                          reviewFile({review("x", "false-positive", "2026-01-01T00:00:00Z", "old"),
                                      review("y", "confirmed", "2026-03-01T00:00:00Z", "mine")})));
        QCOMPARE(crcview({"review", "--defects", store, "import", path("mine.json")}).status, 0);
        QVERIFY(writeFile(path(QStringLiteral("theirs.json")),
                          reviewFile({review("y", "unreviewed", "2026-02-01T00:00:00Z", "older"),
                                      review("x", "intentional", "2026-02-01T00:00:00Z", "newer"),
                                      review("w", "confirmed", "2026-02-01T00:00:00Z")})));
        const Run run = crcview({"review", "--defects", store, "import", path("theirs.json")});
        QCOMPARE(run.status, 0);
        QCOMPARE(run.out, QStringLiteral("reviews read: 3, taken: 2\n"));
        const QJsonArray reviews = listed(store);
        QCOMPARE(reviews.size(), 3);
        QCOMPARE(reviews.at(0)["identity"].toString(), QStringLiteral("w"));
        QCOMPARE(reviews.at(1)["status"].toString(), QStringLiteral("intentional"));
        QCOMPARE(reviews.at(1)["comment"].toString(), QStringLiteral("newer"));
        QCOMPARE(reviews.at(2)["status"].toString(), QStringLiteral("confirmed"));
        QCOMPARE(reviews.at(2)["comment"].toString(), QStringLiteral("mine"));
    }

    // A malformed file is refused with the file and the reason, and the store stays as it was;
    // so does a store that is no defect store.
    void malformedImportIsRefused()
    {
        const QString store = path(QStringLiteral("kept.sqlite"));
        QVERIFY(writeFile(path(QStringLiteral("good.json")),
                          reviewFile({review("x", "confirmed", "2026-01-01T00:00:00Z")})));
        QCOMPARE(crcview({"review", "--defects", store, "import", path("good.json")}).status, 0);
        const QByteArray before = readAll(store);
        const QJsonObject fine = review("y", "intentional", "2026-05-01T00:00:00Z");
        const std::pair<QByteArray, QString> bad[] = {
            {"{\"reviews\": [\n{\"identity\": \"y\",\n oops}]}", ":3: not JSON"},
            {"[]", "has no array \"reviews\""},
            {reviewFile({fine, review("z", "fine", "2026-05-01T00:00:00Z")}),
             "review 2: the status \"fine\""},
            {reviewFile({fine, review("z", "confirmed", "yesterday")}), "review 2: the time"},
            {reviewFile({fine, review("", "confirmed", "2026-05-01T00:00:00Z")}),
             "review 2: the identity is empty"},
            {reviewFile({fine, QJsonObject{{"identity", "z"}}}), "review 2: \"rule\" is not text"}};
        for (const auto& [content, reason] : bad) {
            const QString file = path(QStringLiteral("bad.json"));
            QVERIFY(writeFile(file, content));
            const Run run = crcview({"review", "--defects", store, "import", file});
            QCOMPARE(run.status, 2);
            QVERIFY2(run.err.contains(file) && run.err.contains(reason), qPrintable(run.err));
            QCOMPARE(readAll(store), before);
        }
        const Run missing = crcview({"review", "--defects", store, "import", path("none.json")});
        QCOMPARE(missing.status, 2);
        QVERIFY(missing.err.contains(path("none.json")));

        const QString foreign = path(QStringLiteral("foreign.sqlite"));
        QVERIFY(writeFile(foreign, "not a database at all, but long enough to be read as one...."));
        for (const QStringList& arguments :
             {QStringList{"import", path("good.json")}, QStringList{"list"},
              QStringList{"set", "--status", "confirmed", "x"}}) {
            const Run run = crcview(QStringList{"review", "--defects", foreign} + arguments);
            QCOMPARE(run.status, 2);
            QVERIFY2(run.err.contains(foreign), qPrintable(run.err));
        }
        QCOMPARE(readAll(foreign),
                 QByteArray("not a database at all, but long enough to be read as one...."));
    }

    // diff --check and summary --check leave out the failures reviewed as false positives or
    // intentional, and say how many; confirmed ones still count.
    void gateLeavesOutReviewed()
    {
        const QString store = path(QStringLiteral("gate.sqlite"));
        const QString base = path(QStringLiteral("base.crc"));
        const QString head = path(QStringLiteral("head.crc"));
        QVERIFY(writeFile(base, resultFile(finding("kept", 10))));
        QVERIFY(writeFile(
            head, resultFile(finding("kept", 10) + finding("added", 20) + finding("other", 30))));
        const Run json = crcview({"diff", "--format", "json", base, head});
        QCOMPARE(json.status, 0);
        QStringList identities;
        for (const QJsonValue& entry :
             QJsonDocument::fromJson(json.out.toUtf8()).object().value("new").toArray())
            identities.append(entry["identity"].toString());
        QCOMPARE(identities.size(), 2);
        const QStringList diff{"diff", "--check", "--defects", store, base, head};
        QCOMPARE(crcview({"review", "--defects", store, "set", "--status", "false-positive",
                          identities.at(0)})
                     .status,
                 0);
        Run run = crcview(diff);
        QCOMPARE(run.status, 1);
        QVERIFY2(
            run.out.endsWith(QLatin1String("as reviewed (false positive or intentional): 1\n")),
            qPrintable(run.out));
        // Of another rule, the review does not stand for this result.
        QCOMPARE(crcview({"review", "--defects", store, "set", "--status", "intentional", "--rule",
                          "R9", identities.at(1)})
                     .status,
                 0);
        QCOMPARE(crcview(diff).status, 1);
        QCOMPARE(crcview({"review", "--defects", store, "set", "--status", "intentional",
                          identities.at(1)})
                     .status,
                 0);
        run = crcview(diff);
        QCOMPARE(run.status, 0);
        QVERIFY2(run.out.contains(QLatin1String("(false positive or intentional): 2\n")),
                 qPrintable(run.out));
        // Without the store, both count.
        QCOMPARE(crcview({"diff", "--check", base, head}).status, 1);

        // The SARIF log carries the reviewed ones as suppressed, with the comment.
        QCOMPARE(crcview({"review", "--defects", store, "set", "--status", "intentional",
                          "--comment", "meant so", identities.at(1)})
                     .status,
                 0);
        const QString log = path(QStringLiteral("reviewed.sarif"));
        QCOMPARE(crcview({"convert", "--to", "sarif", "--defects", store, head, "-o", log}).status,
                 0);
        const QJsonArray results = QJsonDocument::fromJson(readAll(log))
                                       .object()
                                       .value("runs")
                                       .toArray()
                                       .at(0)["results"]
                                       .toArray();
        QCOMPARE(results.size(), 3);
        QCOMPARE(results.at(0).toObject().contains("suppressions"), false); // "kept"
        QCOMPARE(results.at(1)["suppressions"].toArray().at(0)["kind"].toString(),
                 QStringLiteral("external"));
        const QJsonObject suppression = results.at(2)["suppressions"].toArray().at(0).toObject();
        QCOMPARE(suppression["kind"].toString(), QStringLiteral("external"));
        QCOMPARE(suppression["justification"].toString(), QStringLiteral("meant so"));

        const QStringList summary{"summary", "--check", "--defects", store, head};
        run = crcview(summary);
        QCOMPARE(run.status, 1); // "kept" still counts
        QVERIFY2(run.out.contains(QLatin1String("(false positive or intentional): 2\n")),
                 qPrintable(run.out));
        QVERIFY(writeFile(path(QStringLiteral("empty.crc")), resultFile("")));
        const Run kept = crcview({"diff", "--format", "json", path("empty.crc"), base});
        const QString keptIdentity = QJsonDocument::fromJson(kept.out.toUtf8())
                                         .object()
                                         .value("new")
                                         .toArray()
                                         .at(0)["identity"]
                                         .toString();
        QVERIFY(!keptIdentity.isEmpty());
        QCOMPARE(crcview({"review", "--defects", store, "set", "--status", "false-positive",
                          keptIdentity})
                     .status,
                 0);
        QCOMPARE(crcview(summary).status, 0);
        // Confirmed counts again.
        QCOMPARE(
            crcview({"review", "--defects", store, "set", "--status", "confirmed", keptIdentity})
                .status,
            0);
        QCOMPARE(crcview(summary).status, 1);

        // diff's SARIF log marks them too, for a result file's HEAD and for a SARIF HEAD, which
        // keeps the suppressions it had.
        const QString baselined = path(QStringLiteral("baselined.sarif"));
        const auto suppressionsIn = [&](const QStringList& runs) {
            QList<QJsonArray> found;
            if (crcview(
                    QStringList{"diff", "--defects", store, "--format", "sarif", "-o", baselined} +
                    runs)
                    .status != 0)
                return found;
            for (const QJsonValue& result : QJsonDocument::fromJson(readAll(baselined))
                                                .object()
                                                .value("runs")
                                                .toArray()
                                                .at(0)["results"]
                                                .toArray())
                found.append(result["suppressions"].toArray());
            return found;
        };
        QList<QJsonArray> found = suppressionsIn({base, head}); // kept, added, other
        QCOMPARE(found.size(), 3);
        QVERIFY(found.at(0).isEmpty());
        QCOMPARE(found.at(1).size(), 1);
        QCOMPARE(found.at(1).at(0)["kind"].toString(), QStringLiteral("external"));
        QVERIFY(!found.at(1).at(0).toObject().contains("justification"));
        QCOMPARE(found.at(2).at(0)["justification"].toString(), QStringLiteral("meant so"));

        QVERIFY(writeFile(path(QStringLiteral("base.sarif")), sarifLog({"one"})));
        QVERIFY(writeFile(path(QStringLiteral("head.sarif")), sarifLog({"one", "two", "three"})));
        const QStringList sarifRuns{path("base.sarif"), path("head.sarif")};
        const QJsonArray added =
            QJsonDocument::fromJson(
                crcview(QStringList{"diff", "--format", "json"} + sarifRuns).out.toUtf8())
                .object()
                .value("new")
                .toArray();
        QCOMPARE(added.size(), 2);
        QCOMPARE(crcview({"review", "--defects", store, "set", "--status", "intentional",
                          "--comment", "by design", added.at(0)["identity"].toString()})
                     .status,
                 0);
        found = suppressionsIn(sarifRuns); // one, two, three
        QCOMPARE(found.size(), 3);
        QCOMPARE(found.at(0).size(), 1);
        QCOMPARE(found.at(0).at(0)["kind"].toString(), QStringLiteral("inSource"));
        QCOMPARE(found.at(1).size(), 1);
        QCOMPARE(found.at(1).at(0)["kind"].toString(), QStringLiteral("external"));
        QCOMPARE(found.at(1).at(0)["justification"].toString(), QStringLiteral("by design"));
        QVERIFY(found.at(2).isEmpty());

        // A store that cannot be read fails the gate as an unreadable input does.
        const QString foreign = path(QStringLiteral("not-a-store.sqlite"));
        QVERIFY(writeFile(foreign, "not a database at all, but long enough to be read as one...."));
        for (const QStringList& arguments :
             {QStringList{"diff", "--check", "--defects", foreign, base, head},
              QStringList{"summary", "--check", "--defects", foreign, head}}) {
            run = crcview(arguments);
            QCOMPARE(run.status, 2);
            QVERIFY2(run.err.contains(foreign), qPrintable(run.err));
        }
    }
};

QTEST_GUILESS_MAIN(TestReview)
#include "tst_review.moc"
