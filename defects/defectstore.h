#pragma once

#include <QDateTime>
#include <QList>
#include <QString>
#include <QStringList>
#include <functional>

class QSqlDatabase;
// What a store holds (defined with the store's tables).
enum class StoreSchema : int;

// A file kept with a defect, as it was when the defect was filed.
struct DefectAttachment
{
    QString label;
    QString path; // absolute
    qint64 size = -1;
    QString sha256; // hex; empty until the defect is filed
};

// One defect filed from a result item.
struct Defect
{
    qint64 id = 0;
    bool closed = false;
    QString headline;
    QString description;
    QStringList itemPath;      // the outline texts from the result file down to the item
    QString file;              // the result file the item comes from
    QDateTime filed;           // UTC
    QString externalReference; // what a team's tracker answered, such as a URL
    QList<DefectAttachment> attachments;
    // What the item says of itself when it is a finding; empty (0) when it says nothing.
    QString sourcePath; // the source file it points at
    int sourceLine = 0;
    QString rule;
    QString level;
    QString message;
    QString snippet;

    // The result item's own text: the last of its path.
    QString item() const { return itemPath.isEmpty() ? QString() : itemPath.last(); }
};

// What a person decided about a failed result, kept across runs by the result's identity and the
// rule that found it (empty: any rule).
struct Review
{
    QString identity;
    QString rule;
    QString status; // one of Review::statuses()
    QString comment;
    QString who;
    QDateTime when; // UTC, to the second

    static const QStringList& statuses();
    // Whether a result of this status is left out of the gate.
    bool suppresses() const;
};

// The defects of one user, in an SQLite database. Filing is one short transaction: a defect is
// stored whole or not at all, and a store that cannot be written (read-only, full, locked) keeps
// what it had. A database that is not exactly one of crcstudio's (another program's, or one with
// views or triggers added) is refused before anything of it is used, and no statement on a store
// runs longer than a few seconds. A store of the first crcstudio, without the details of
// findings, is read as it is and brought up to date in the transaction of its first write; so is
// a store from before reviews were kept beside the defects. Every failure leaves its reason,
// naming the file, in errorString().
class DefectStore
{
public:
    explicit DefectStore(const QString& path);
    ~DefectStore();
    DefectStore(const DefectStore&) = delete;
    DefectStore& operator=(const DefectStore&) = delete;

    // Where crcstudio keeps defects unless told otherwise (the user's data location).
    static QString defaultPath();

    const QString& path() const { return m_path; }
    const QString& errorString() const { return m_error; }

    // Makes sure defects can be filed: creates the folder, the file and the tables as needed and
    // checks that the database takes writes.
    bool prepareForFiling();

    // Takes the id the next defect gets, before it is filed, so that a team's tracker can be told
    // it while the store stays free for others; an id taken and never filed is left out.
    bool reserveId(qint64* id);
    // Stores `defect` in one transaction: with its id when one was reserved, a new one otherwise;
    // its id and time filed are set here. Returns false, with nothing stored, on any failure.
    bool file(Defect& defect);

    // Every defect, in the order filed. A store that does not exist yet holds none.
    bool read(QList<Defect>* defects);
    // Closes or reopens the defects `ids`, all or none.
    bool setClosed(const QList<qint64>& ids, bool closed);

    // Every review, sorted by identity and then rule. A store that does not exist yet, or has
    // no reviews yet, holds none.
    bool readReviews(QList<Review>* reviews);
    // Stores `reviews` in one transaction, all or none. Each replaces the review of its identity
    // and rule; with `keepLater`, only when it was made later than the one stored. `changed`,
    // when given, gets how many were written.
    bool writeReviews(const QList<Review>& reviews, bool keepLater, int* changed = nullptr);

private:
    // Sets the error to `what` (with %1 for the store's path) and the reason; returns false.
    bool fail(const QString& what, const QString& reason);
    // Refuses, with `what` as for fail(), a store that is a symbolic link or not a regular file:
    // nothing is written through a link or into a device.
    bool refuseUnsafeStore(const QString& what);
    // Opens the store for reading and has `readTables` read it, given what it holds and whether
    // it keeps reviews. A store that does not exist yet is not opened and reads as empty.
    bool readStore(const std::function<bool(const QSqlDatabase&, StoreSchema, bool)>& readTables);
    bool readDefects(const QSqlDatabase& database, StoreSchema schema, QList<Defect>* defects);
    bool readReviewTable(const QSqlDatabase& database, QList<Review>* reviews);

    QString m_path;
    QString m_error;
};

namespace DefectFormat {

// The defects as CSV (RFC 4180, a header line first) and as a JSON array, for other tools. A
// CSV cell that a spreadsheet would take for a formula begins with a single quote.
QByteArray toCsv(const QList<Defect>& defects);
QByteArray toJson(const QList<Defect>& defects);

} // namespace DefectFormat
