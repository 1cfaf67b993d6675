#include "defects/defectstore.h"

#include "defects/storeconnection.h"

#include <QDir>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSet>
#include <QSqlDatabase>
#include <QSqlDriver>
#include <QSqlError>
#include <QSqlQuery>
#include <QStandardPaths>
#include <QVariant>

// What a store holds: nothing yet, the tables of the first stores, or those of now.
enum class StoreSchema : int
{
    Empty,
    First,
    Current
};

namespace {

constexpr int schemaVersion = 3;

// The defects table of the first stores, before a defect kept what its finding said.
const QString defectsTableV1 = QStringLiteral("CREATE TABLE defects ("
                                              " id INTEGER PRIMARY KEY AUTOINCREMENT,"
                                              " state TEXT NOT NULL DEFAULT 'open'"
                                              "  CHECK (state IN ('open', 'closed')),"
                                              " headline TEXT NOT NULL,"
                                              " description TEXT NOT NULL,"
                                              " item_path TEXT NOT NULL,"
                                              " file TEXT,"
                                              " filed TEXT NOT NULL,"
                                              " external_reference TEXT)");
// The columns added since, in the order added; SQLite writes each one added to a table of the
// first stores into its definition as ", COLUMN", so that such a table reads as one made new.
const QStringList addedColumns{
    QStringLiteral("source_path TEXT"), QStringLiteral("source_line INTEGER"),
    QStringLiteral("rule TEXT"),        QStringLiteral("level TEXT"),
    QStringLiteral("message TEXT"),     QStringLiteral("snippet TEXT")};
const QString defectsTable = defectsTableV1.chopped(1) + QStringLiteral(", ") +
                             addedColumns.join(QStringLiteral(", ")) + QLatin1Char(')');
const QString attachmentsTable = QStringLiteral("CREATE TABLE attachments ("
                                                " defect INTEGER NOT NULL REFERENCES defects(id),"
                                                " label TEXT NOT NULL,"
                                                " path TEXT NOT NULL,"
                                                " size INTEGER NOT NULL,"
                                                " sha256 TEXT NOT NULL)");
// What people decided about results; stores made before it gain it with their first write.
const QString reviewsTable = QStringLiteral("CREATE TABLE reviews ("
                                            " identity TEXT NOT NULL,"
                                            " rule TEXT NOT NULL,"
                                            " status TEXT NOT NULL CHECK (status IN"
                                            "  ('unreviewed', 'confirmed', 'false-positive',"
                                            "  'intentional')),"
                                            " comment TEXT NOT NULL,"
                                            " who TEXT NOT NULL,"
                                            " reviewed TEXT NOT NULL,"
                                            " PRIMARY KEY (identity, rule))");
// The index SQLite makes for the reviews' key.
const QString reviewsKeyIndex = QStringLiteral("sqlite_autoindex_reviews_1");

// Runs `statement` with `values` bound in order; false leaves the reason in `error`.
bool run(QSqlQuery& query, const QString& statement, const QVariantList& values, QString* error)
{
    if (!query.prepare(statement)) {
        *error = StoreConnection::reason(query.lastError());
        return false;
    }
    for (const QVariant& value : values)
        query.addBindValue(value);
    if (!query.exec()) {
        *error = StoreConnection::reason(query.lastError());
        return false;
    }
    return true;
}

bool run(const QSqlDatabase& database, const QString& statement, QString* error)
{
    QSqlQuery query(database);
    return run(query, statement, {}, error);
}

QVariant textOrNull(const QString& text)
{
    return text.isNull() ? QVariant(QMetaType(QMetaType::QString)) : QVariant(text);
}

// Text for a column that takes no NULL.
QString notNull(const QString& text)
{
    return text.isNull() ? QStringLiteral("") : text;
}

// One cell. A spreadsheet may compute a cell that begins with =, +, - or @, or with a tab or a
// carriage return: such a cell gets a single quote first, so that it is shown as text and never
// run (=HYPERLINK() would send the sheet's cells elsewhere).
QString csvField(const QString& text)
{
    static const QString formulaStarts = QStringLiteral("=+-@\t\r");
    const QString cell =
        !text.isEmpty() && formulaStarts.contains(text.front()) ? QLatin1Char('\'') + text : text;
    if (!cell.contains(QLatin1Char(',')) && !cell.contains(QLatin1Char('"')) &&
        !cell.contains(QLatin1Char('\n')) && !cell.contains(QLatin1Char('\r')))
        return cell;
    QString quoted = cell;
    quoted.replace(QLatin1Char('"'), QLatin1String("\"\""));
    return QLatin1Char('"') + quoted + QLatin1Char('"');
}

QString timeText(const QDateTime& time)
{
    return time.toUTC().toString(Qt::ISODate);
}

bool createTables(const QSqlDatabase& database, QString* error)
{
    return run(database, defectsTable, error) && run(database, attachmentsTable, error) &&
           run(database, reviewsTable, error) &&
           run(database, QStringLiteral("PRAGMA user_version = %1").arg(schemaVersion), error);
}

// Whether the store holds exactly the tables crcstudio makes, now or in its first stores (in
// `schema`; whether it has reviews in `reviews`). Only the schema is read to find out, nothing of
// it runs: anything else, such as a view that never ends or a trigger that filing would fire, is
// refused with the reason in `error`.
bool checkSchema(const QSqlDatabase& database, StoreSchema* schema, bool* reviews, QString* error)
{
    static const QHash<QString, QString> ours{
        {QStringLiteral("defects"), defectsTable},
        {QStringLiteral("attachments"), attachmentsTable},
        {QStringLiteral("reviews"), reviewsTable},
        // SQLite's own, for AUTOINCREMENT; ANALYZE adds statistics.
        {QStringLiteral("sqlite_sequence"),
         QStringLiteral("CREATE TABLE sqlite_sequence(name,seq)")},
        {QStringLiteral("sqlite_stat1"), QStringLiteral("CREATE TABLE sqlite_stat1(tbl,idx,stat)")},
        {QStringLiteral("sqlite_stat4"),
         QStringLiteral("CREATE TABLE sqlite_stat4(tbl,idx,neq,nlt,ndlt,sample)")},
        {reviewsKeyIndex, QString()}};
    QSqlQuery query(database);
    if (!run(query, QStringLiteral("SELECT type, name, sql FROM sqlite_master"), {}, error))
        return false;
    QSet<QString> tables;
    bool first = false;
    while (query.next()) {
        const QString type = query.value(0).toString();
        const QString name = query.value(1).toString();
        const auto expected = ours.constFind(name);
        if (expected == ours.constEnd()) {
            *error = QStringLiteral("it is no defect store of crcstudio: it holds the %1 %2")
                         .arg(type, name);
            return false;
        }
        const QString sql = query.value(2).toString();
        if (type == QLatin1String("table") && name == QLatin1String("defects") &&
            sql == defectsTableV1)
            first = true;
        else if (name == reviewsKeyIndex ? type != QLatin1String("index") || !sql.isEmpty()
                                         : type != QLatin1String("table") || sql != *expected) {
            *error = QStringLiteral("it is no defect store of crcstudio: its %1 %2 is not the "
                                    "table crcstudio makes")
                         .arg(type, name);
            return false;
        }
        tables.insert(name);
    }
    if (query.lastError().isValid()) {
        *error = StoreConnection::reason(query.lastError());
        return false;
    }
    const bool empty = tables.isEmpty();
    *reviews = tables.contains(QStringLiteral("reviews"));
    if (*reviews != tables.contains(reviewsKeyIndex)) {
        *error = QStringLiteral("it is no defect store of crcstudio: its reviews have no key");
        return false;
    }
    *schema = empty ? StoreSchema::Empty : first ? StoreSchema::First : StoreSchema::Current;
    for (const QString& table : {QStringLiteral("defects"), QStringLiteral("attachments")}) {
        if (!empty && !tables.contains(table)) {
            *error =
                QStringLiteral("it is no defect store of crcstudio: it has no table %1").arg(table);
            return false;
        }
    }
    return true;
}

// Brings a store of the first kind up to date inside the transaction begun: its defects get the
// columns added since, empty. Undone with the transaction when that fails.
bool addColumns(const QSqlDatabase& database, QString* error)
{
    for (const QString& column : addedColumns) {
        if (!run(database, QStringLiteral("ALTER TABLE defects ADD COLUMN ") + column, error))
            return false;
    }
    return run(database, QStringLiteral("PRAGMA user_version = %1").arg(schemaVersion), error);
}

// Begins a transaction that writes to a store checked to be one of crcstudio's, brought up to
// date in the same transaction when it is an earlier one (the details of findings, the reviews);
// false with the reason, and nothing begun, otherwise.
bool beginWriting(const QSqlDatabase& database, bool* empty, QString* error)
{
    if (!run(database, QStringLiteral("BEGIN IMMEDIATE"), error))
        return false;
    StoreSchema schema = StoreSchema::Empty;
    bool reviews = false;
    if (checkSchema(database, &schema, &reviews, error)) {
        *empty = schema == StoreSchema::Empty;
        if (*empty ||
            ((schema != StoreSchema::First || addColumns(database, error)) &&
             (reviews ||
              (run(database, reviewsTable, error) &&
               run(database, QStringLiteral("PRAGMA user_version = %1").arg(schemaVersion),
                   error)))))
            return true;
        *error = QStringLiteral("it cannot be brought up to date: ") + *error;
    }
    QString ignored;
    run(database, QStringLiteral("ROLLBACK"), &ignored);
    return false;
}

} // namespace

DefectStore::DefectStore(const QString& path) : m_path(path) {}

DefectStore::~DefectStore() = default;

QString DefectStore::defaultPath()
{
    // The same place for crcstudio and crcview, whatever the program's own name.
    return QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation) +
           QStringLiteral("/crcstudio/defects.sqlite");
}

bool DefectStore::fail(const QString& what, const QString& reason)
{
    m_error = what.arg(QDir::toNativeSeparators(m_path)) + QStringLiteral(": ") + reason;
    return false;
}

bool DefectStore::refuseUnsafeStore(const QString& what)
{
    const QFileInfo info(m_path);
    if (info.isSymLink())
        return fail(what, QStringLiteral("it is a symbolic link"));
    if (info.exists() && !info.isFile())
        return fail(what, QStringLiteral("it is not a regular file"));
    return true;
}

bool DefectStore::readStore(
    const std::function<bool(const QSqlDatabase&, StoreSchema, bool)>& readTables)
{
    m_error.clear();
    const QFileInfo info(m_path);
    if (!info.exists())
        return true;
    // A FIFO or a device would never end or hang the reader.
    if (!info.isFile())
        return fail(QStringLiteral("Cannot read the defect store %1"),
                    QStringLiteral("it is not a regular file"));
    StoreConnection connection(m_path, true);
    if (!connection.isOpen())
        return fail(QStringLiteral("Cannot open the defect store %1"), connection.error());
    const QSqlDatabase database = connection.database();
    QString error;
    StoreSchema schema = StoreSchema::Empty;
    bool hasReviews = false;
    if (!checkSchema(database, &schema, &hasReviews, &error))
        return fail(QStringLiteral("Cannot read the defect store %1"), error);
    return readTables(database, schema, hasReviews);
}

bool DefectStore::prepareForFiling()
{
    m_error.clear();
    if (!refuseUnsafeStore(QStringLiteral("Cannot file defects in %1")))
        return false;
    const QFileInfo info(m_path);
    const QString folder = info.absolutePath();
    if (!QDir().mkpath(folder))
        return fail(QStringLiteral("Cannot file defects in %1"),
                    QStringLiteral("the folder %1 cannot be created")
                        .arg(QDir::toNativeSeparators(folder)));
    StoreConnection connection(m_path, false);
    if (!connection.isOpen())
        return fail(QStringLiteral("Cannot open the defect store %1"), connection.error());
    const QSqlDatabase database = connection.database();
    QString error;
    // A write that is undone at once tells whether the database takes writes at all: a
    // read-only file or folder answers here, before anything is asked of the user.
    bool fresh = false;
    if (!beginWriting(database, &fresh, &error))
        return fail(QStringLiteral("Cannot file defects in %1"), error);
    const bool written =
        fresh
            ? createTables(database, &error)
            : run(database, QStringLiteral("PRAGMA user_version = %1").arg(schemaVersion), &error);
    if (!written ||
        !run(database, fresh ? QStringLiteral("COMMIT") : QStringLiteral("ROLLBACK"), &error)) {
        QString ignored;
        run(database, QStringLiteral("ROLLBACK"), &ignored);
        return fail(QStringLiteral("Cannot file defects in %1"), error);
    }
    return true;
}

bool DefectStore::reserveId(qint64* id)
{
    if (!prepareForFiling())
        return false;
    StoreConnection connection(m_path, false);
    if (!connection.isOpen())
        return fail(QStringLiteral("Cannot open the defect store %1"), connection.error());
    const QSqlDatabase database = connection.database();
    QString error;
    bool empty = false;
    if (!beginWriting(database, &empty, &error))
        return fail(QStringLiteral("Cannot file the defect in %1"), error);
    // AUTOINCREMENT never gives a number at or below the one SQLite keeps in sqlite_sequence:
    // raising it takes the next number for this defect alone.
    QSqlQuery query(database);
    if (!run(query,
             QStringLiteral("INSERT INTO sqlite_sequence (name, seq) SELECT 'defects', 0"
                            " WHERE NOT EXISTS (SELECT 1 FROM sqlite_sequence"
                            " WHERE name = 'defects')"),
             {}, &error) ||
        !run(query,
             QStringLiteral("UPDATE sqlite_sequence SET seq = max(seq, (SELECT coalesce(max(id), 0)"
                            " FROM defects)) + 1 WHERE name = 'defects'"),
             {}, &error) ||
        !run(query, QStringLiteral("SELECT max(seq) FROM sqlite_sequence WHERE name = 'defects'"),
             {}, &error) ||
        !query.next()) {
        QString ignored;
        run(database, QStringLiteral("ROLLBACK"), &ignored);
        return fail(QStringLiteral("Cannot file the defect in %1"), error);
    }
    const qint64 reserved = query.value(0).toLongLong();
    query.finish();
    if (!run(database, QStringLiteral("COMMIT"), &error)) {
        QString ignored;
        run(database, QStringLiteral("ROLLBACK"), &ignored);
        return fail(QStringLiteral("Cannot file the defect in %1"), error);
    }
    *id = reserved;
    return true;
}

bool DefectStore::file(Defect& defect)
{
    if (!prepareForFiling())
        return false;
    StoreConnection connection(m_path, false);
    if (!connection.isOpen())
        return fail(QStringLiteral("Cannot open the defect store %1"), connection.error());
    const QSqlDatabase database = connection.database();
    QString error;
    const auto undo = [&](const QString& reason) {
        QString ignored;
        run(database, QStringLiteral("ROLLBACK"), &ignored);
        return fail(QStringLiteral("Cannot file the defect in %1"), reason);
    };
    bool empty = false;
    if (!beginWriting(database, &empty, &error))
        return fail(QStringLiteral("Cannot file the defect in %1"), error);
    const QDateTime filed = QDateTime::currentDateTimeUtc();
    QSqlQuery query(database);
    const QVariantList values{
        defect.headline,
        defect.description,
        QString::fromUtf8(QJsonDocument(QJsonArray::fromStringList(defect.itemPath))
                              .toJson(QJsonDocument::Compact)),
        textOrNull(defect.file),
        timeText(filed),
        textOrNull(defect.externalReference),
        textOrNull(defect.sourcePath),
        defect.sourceLine > 0 ? QVariant(defect.sourceLine) : QVariant(QMetaType(QMetaType::Int)),
        textOrNull(defect.rule),
        textOrNull(defect.level),
        textOrNull(defect.message),
        textOrNull(defect.snippet)};
    const QString columns = QStringLiteral(
        "state, headline, description, item_path, file, filed, external_reference, source_path,"
        " source_line, rule, level, message, snippet");
    const QString marks = QStringLiteral("'open', ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?");
    const bool inserted =
        defect.id > 0
            ? run(query,
                  QStringLiteral("INSERT INTO defects (id, %1) VALUES (?, %2)").arg(columns, marks),
                  QVariantList{defect.id} + values, &error)
            : run(query, QStringLiteral("INSERT INTO defects (%1) VALUES (%2)").arg(columns, marks),
                  values, &error);
    if (!inserted)
        return undo(error);
    const qint64 id = defect.id > 0 ? defect.id : query.lastInsertId().toLongLong();
    for (const DefectAttachment& attachment : std::as_const(defect.attachments)) {
        if (!run(query,
                 QStringLiteral("INSERT INTO attachments (defect, label, path, size, sha256)"
                                " VALUES (?, ?, ?, ?, ?)"),
                 {id, attachment.label, attachment.path, attachment.size, attachment.sha256},
                 &error))
            return undo(error);
    }
    query.finish();
    if (!run(database, QStringLiteral("COMMIT"), &error))
        return undo(error);
    defect.id = id;
    defect.filed = filed;
    return true;
}

bool DefectStore::read(QList<Defect>* defects)
{
    defects->clear();
    return readStore([this, defects](const QSqlDatabase& database, StoreSchema schema, bool) {
        return schema == StoreSchema::Empty || readDefects(database, schema, defects);
    });
}

bool DefectStore::readDefects(const QSqlDatabase& database, StoreSchema schema,
                              QList<Defect>* defects)
{
    QString error;
    // A store of the first kind is read as it is: reading never writes.
    const QString details = schema == StoreSchema::First
                                ? QStringLiteral("NULL, NULL, NULL, NULL, NULL, NULL")
                                : QStringLiteral("source_path, source_line, rule, level, message,"
                                                 " snippet");
    QSqlQuery query(database);
    if (!run(query,
             QStringLiteral("SELECT id, state, headline, description, item_path, file, filed,"
                            " external_reference, %1 FROM defects ORDER BY id")
                 .arg(details),
             {}, &error))
        return fail(QStringLiteral("Cannot read the defect store %1"), error);
    QHash<qint64, qsizetype> byId;
    while (query.next()) {
        Defect defect;
        defect.id = query.value(0).toLongLong();
        defect.closed = query.value(1).toString() == QLatin1String("closed");
        defect.headline = query.value(2).toString();
        defect.description = query.value(3).toString();
        for (const QJsonValue& part :
             QJsonDocument::fromJson(query.value(4).toString().toUtf8()).array())
            defect.itemPath.append(part.toString());
        defect.file = query.value(5).toString();
        defect.filed = QDateTime::fromString(query.value(6).toString(), Qt::ISODate);
        defect.externalReference = query.value(7).toString();
        defect.sourcePath = query.value(8).toString();
        defect.sourceLine = query.value(9).toInt();
        defect.rule = query.value(10).toString();
        defect.level = query.value(11).toString();
        defect.message = query.value(12).toString();
        defect.snippet = query.value(13).toString();
        byId.insert(defect.id, defects->size());
        defects->append(defect);
    }
    if (query.lastError().isValid())
        return fail(QStringLiteral("Cannot read the defect store %1"),
                    StoreConnection::reason(query.lastError()));
    if (!run(query,
             QStringLiteral("SELECT defect, label, path, size, sha256 FROM attachments"
                            " ORDER BY rowid"),
             {}, &error))
        return fail(QStringLiteral("Cannot read the defect store %1"), error);
    while (query.next()) {
        const auto owner = byId.constFind(query.value(0).toLongLong());
        if (owner == byId.constEnd())
            continue;
        (*defects)[*owner].attachments.append({query.value(1).toString(), query.value(2).toString(),
                                               query.value(3).toLongLong(),
                                               query.value(4).toString()});
    }
    if (query.lastError().isValid())
        return fail(QStringLiteral("Cannot read the defect store %1"),
                    StoreConnection::reason(query.lastError()));
    return true;
}

bool DefectStore::setClosed(const QList<qint64>& ids, bool closed)
{
    m_error.clear();
    if (!refuseUnsafeStore(QStringLiteral("Cannot change the defect store %1")))
        return false;
    StoreConnection connection(m_path, false);
    if (!connection.isOpen())
        return fail(QStringLiteral("Cannot open the defect store %1"), connection.error());
    const QSqlDatabase database = connection.database();
    QString error;
    bool empty = false;
    if (!beginWriting(database, &empty, &error))
        return fail(QStringLiteral("Cannot change the defect store %1"), error);
    QSqlQuery query(database);
    for (const qint64 id : ids) {
        if (empty ||
            !run(query, QStringLiteral("UPDATE defects SET state = ? WHERE id = ?"),
                 {closed ? QStringLiteral("closed") : QStringLiteral("open"), id}, &error)) {
            QString ignored;
            run(database, QStringLiteral("ROLLBACK"), &ignored);
            return fail(QStringLiteral("Cannot change the defect store %1"),
                        empty ? QStringLiteral("it holds no defects") : error);
        }
    }
    query.finish();
    if (!run(database, QStringLiteral("COMMIT"), &error)) {
        QString ignored;
        run(database, QStringLiteral("ROLLBACK"), &ignored);
        return fail(QStringLiteral("Cannot change the defect store %1"), error);
    }
    return true;
}

const QStringList& Review::statuses()
{
    static const QStringList names{QStringLiteral("unreviewed"), QStringLiteral("confirmed"),
                                   QStringLiteral("false-positive"), QStringLiteral("intentional")};
    return names;
}

bool Review::suppresses() const
{
    return status == QLatin1String("false-positive") || status == QLatin1String("intentional");
}

bool DefectStore::readReviews(QList<Review>* reviews)
{
    reviews->clear();
    return readStore([this, reviews](const QSqlDatabase& database, StoreSchema, bool hasReviews) {
        return !hasReviews || readReviewTable(database, reviews);
    });
}

bool DefectStore::readReviewTable(const QSqlDatabase& database, QList<Review>* reviews)
{
    QString error;
    QSqlQuery query(database);
    if (!run(query,
             QStringLiteral("SELECT identity, rule, status, comment, who, reviewed FROM reviews"
                            " ORDER BY identity, rule"),
             {}, &error))
        return fail(QStringLiteral("Cannot read the defect store %1"), error);
    while (query.next()) {
        reviews->append({query.value(0).toString(), query.value(1).toString(),
                         query.value(2).toString(), query.value(3).toString(),
                         query.value(4).toString(),
                         QDateTime::fromString(query.value(5).toString(), Qt::ISODate)});
    }
    if (query.lastError().isValid())
        return fail(QStringLiteral("Cannot read the defect store %1"),
                    StoreConnection::reason(query.lastError()));
    return true;
}

bool DefectStore::writeReviews(const QList<Review>& reviews, bool keepLater, int* changed)
{
    m_error.clear();
    const QString what = QStringLiteral("Cannot write the reviews into %1");
    if (!refuseUnsafeStore(what))
        return false;
    const QString folder = QFileInfo(m_path).absolutePath();
    if (!QDir().mkpath(folder))
        return fail(what, QStringLiteral("the folder %1 cannot be created")
                              .arg(QDir::toNativeSeparators(folder)));
    StoreConnection connection(m_path, false);
    if (!connection.isOpen())
        return fail(QStringLiteral("Cannot open the defect store %1"), connection.error());
    const QSqlDatabase database = connection.database();
    QString error;
    const auto undo = [&](const QString& reason) {
        QString ignored;
        run(database, QStringLiteral("ROLLBACK"), &ignored);
        return fail(what, reason);
    };
    bool empty = false;
    if (!beginWriting(database, &empty, &error))
        return fail(what, error);
    if (empty && !createTables(database, &error))
        return undo(error);
    // The times are kept as ISO text in UTC, which sorts as the times do.
    const QString statement =
        keepLater ? QStringLiteral("INSERT INTO reviews (identity, rule, status, comment, who,"
                                   " reviewed) VALUES (?, ?, ?, ?, ?, ?)"
                                   " ON CONFLICT (identity, rule) DO UPDATE SET"
                                   " status = excluded.status, comment = excluded.comment,"
                                   " who = excluded.who, reviewed = excluded.reviewed"
                                   " WHERE excluded.reviewed > reviews.reviewed")
                  : QStringLiteral("INSERT OR REPLACE INTO reviews (identity, rule, status,"
                                   " comment, who, reviewed) VALUES (?, ?, ?, ?, ?, ?)");
    QSqlQuery query(database);
    int written = 0;
    for (const Review& review : reviews) {
        if (!run(query, statement,
                 {notNull(review.identity), notNull(review.rule), notNull(review.status),
                  notNull(review.comment), notNull(review.who), timeText(review.when)},
                 &error))
            return undo(error);
        written += query.numRowsAffected() > 0 ? 1 : 0;
    }
    query.finish();
    if (!run(database, QStringLiteral("COMMIT"), &error))
        return undo(error);
    if (changed)
        *changed = written;
    return true;
}

namespace DefectFormat {

QByteArray toCsv(const QList<Defect>& defects)
{
    QString csv = QStringLiteral("id,state,headline,description,item,file,filed,external_reference,"
                                 "attachments,source_path,source_line,rule,level,message,"
                                 "snippet\r\n");
    for (const Defect& defect : defects) {
        QStringList attachments;
        for (const DefectAttachment& attachment : defect.attachments)
            attachments.append(attachment.path + QStringLiteral(" sha256:") + attachment.sha256);
        const QStringList fields{QString::number(defect.id),
                                 defect.closed ? QStringLiteral("closed") : QStringLiteral("open"),
                                 defect.headline,
                                 defect.description,
                                 defect.item(),
                                 defect.file,
                                 timeText(defect.filed),
                                 defect.externalReference,
                                 attachments.join(QLatin1Char('\n')),
                                 defect.sourcePath,
                                 defect.sourceLine > 0 ? QString::number(defect.sourceLine)
                                                       : QString(),
                                 defect.rule,
                                 defect.level,
                                 defect.message,
                                 defect.snippet};
        QStringList quoted;
        for (const QString& field : fields)
            quoted.append(csvField(field));
        csv += quoted.join(QLatin1Char(',')) + QStringLiteral("\r\n");
    }
    return csv.toUtf8();
}

QByteArray toJson(const QList<Defect>& defects)
{
    QJsonArray array;
    for (const Defect& defect : defects) {
        QJsonArray attachments;
        for (const DefectAttachment& attachment : defect.attachments)
            attachments.append(QJsonObject{{QStringLiteral("label"), attachment.label},
                                           {QStringLiteral("path"), attachment.path},
                                           {QStringLiteral("size"), attachment.size},
                                           {QStringLiteral("sha256"), attachment.sha256}});
        array.append(
            QJsonObject{{QStringLiteral("id"), defect.id},
                        {QStringLiteral("state"),
                         defect.closed ? QStringLiteral("closed") : QStringLiteral("open")},
                        {QStringLiteral("headline"), defect.headline},
                        {QStringLiteral("description"), defect.description},
                        {QStringLiteral("item"), defect.item()},
                        {QStringLiteral("item_path"), QJsonArray::fromStringList(defect.itemPath)},
                        {QStringLiteral("file"), defect.file},
                        {QStringLiteral("filed"), timeText(defect.filed)},
                        {QStringLiteral("external_reference"), defect.externalReference},
                        {QStringLiteral("attachments"), attachments},
                        {QStringLiteral("source_path"), defect.sourcePath},
                        {QStringLiteral("source_line"), defect.sourceLine},
                        {QStringLiteral("rule"), defect.rule},
                        {QStringLiteral("level"), defect.level},
                        {QStringLiteral("message"), defect.message},
                        {QStringLiteral("snippet"), defect.snippet}});
    }
    return QJsonDocument(array).toJson(QJsonDocument::Indented);
}

} // namespace DefectFormat
