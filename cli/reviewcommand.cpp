#include "cli/reviewcommand.h"

#include "cli/exitstatus.h"
#include "cli/reportoutput.h"
#include "cli/reviewedresults.h"
#include "defects/defectstore.h"

#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <iostream>

namespace {

// A review file larger than this is refused rather than read.
constexpr qint64 maximumFileSize = 64 * 1024 * 1024;

void sayError(const QString& text)
{
    std::cerr << "crcview: " << text.toLocal8Bit().constData() << "\n";
}

QString timeText(const QDateTime& time)
{
    return time.toUTC().toString(Qt::ISODate);
}

// Who makes a review: the user's name as the environment gives it.
QString userName()
{
    for (const char* name : {"USER", "LOGNAME", "USERNAME"}) {
        const QString user = qEnvironmentVariable(name);
        if (!user.isEmpty())
            return user;
    }
    return QStringLiteral("unknown");
}

QByteArray toJson(const QList<Review>& reviews)
{
    QJsonArray array;
    for (const Review& review : reviews)
        array.append(QJsonObject{{QStringLiteral("identity"), review.identity},
                                 {QStringLiteral("rule"), review.rule},
                                 {QStringLiteral("status"), review.status},
                                 {QStringLiteral("comment"), review.comment},
                                 {QStringLiteral("who"), review.who},
                                 {QStringLiteral("when"), timeText(review.when)}});
    return QJsonDocument(QJsonObject{{QStringLiteral("reviews"), array}})
        .toJson(QJsonDocument::Indented);
}

QByteArray toText(const QList<Review>& reviews)
{
    QString text;
    for (const Review& review : reviews) {
        text += review.status + QLatin1Char('\t') + review.identity + QLatin1Char('\t') +
                (review.rule.isEmpty() ? QStringLiteral("-") : review.rule) + QLatin1Char('\t') +
                review.who + QLatin1Char('\t') + timeText(review.when) + QLatin1Char('\t') +
                QString(review.comment).replace(QLatin1Char('\n'), QLatin1Char(' ')) +
                QLatin1Char('\n');
    }
    return text.toUtf8();
}

// The line of the byte at `offset` in `bytes`, from 1.
int lineAt(const QByteArray& bytes, qsizetype offset)
{
    return int(bytes.left(offset).count('\n')) + 1;
}

// Reads the reviews of a file written by export; false with the reason naming the file.
bool readReviewFile(const QString& path, QList<Review>* reviews, QString* error)
{
    const QFileInfo info(path);
    if (!info.exists()) {
        *error = path + QStringLiteral(": there is no such file");
        return false;
    }
    if (!info.isFile()) {
        *error = path + QStringLiteral(": it is not a regular file");
        return false;
    }
    if (info.size() > maximumFileSize) {
        *error = path + QStringLiteral(": it is too large for a file of reviews");
        return false;
    }
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        *error = path + QStringLiteral(": ") + file.errorString();
        return false;
    }
    const QByteArray bytes = file.read(maximumFileSize + 1);
    QJsonParseError parsed;
    const QJsonDocument document = QJsonDocument::fromJson(bytes, &parsed);
    if (parsed.error != QJsonParseError::NoError) {
        *error = QStringLiteral("%1:%2: not JSON: %3")
                     .arg(path)
                     .arg(lineAt(bytes, parsed.offset))
                     .arg(parsed.errorString());
        return false;
    }
    const QJsonValue list = document.object().value(QLatin1String("reviews"));
    if (!document.isObject() || !list.isArray()) {
        *error = path + QStringLiteral(": not a file of reviews: it has no array \"reviews\"");
        return false;
    }
    const QJsonArray array = list.toArray();
    for (qsizetype i = 0; i < array.size(); ++i) {
        const QJsonObject object = array.at(i).toObject();
        const auto text = [&object](const char* key) { return object.value(QLatin1String(key)); };
        const auto bad = [&](const QString& reason) {
            *error = QStringLiteral("%1: review %2: %3").arg(path).arg(i + 1).arg(reason);
            return false;
        };
        if (!array.at(i).isObject())
            return bad(QStringLiteral("it is not an object"));
        for (const char* key : {"identity", "rule", "status", "comment", "who", "when"}) {
            if (!text(key).isString())
                return bad(QStringLiteral("\"%1\" is not text").arg(QLatin1String(key)));
        }
        Review review{text("identity").toString(), text("rule").toString(),
                      text("status").toString(),   text("comment").toString(),
                      text("who").toString(),      QDateTime()};
        if (review.identity.isEmpty())
            return bad(QStringLiteral("the identity is empty"));
        if (!Review::statuses().contains(review.status))
            return bad(QStringLiteral("the status \"%1\" is not one of %2")
                           .arg(review.status, Review::statuses().join(QStringLiteral(", "))));
        review.when = QDateTime::fromString(text("when").toString(), Qt::ISODate);
        if (!review.when.isValid())
            return bad(QStringLiteral("the time \"%1\" is not an ISO 8601 date and time")
                           .arg(text("when").toString()));
        reviews->append(review);
    }
    return true;
}

int setReview(const QString& store, const QStringList& arguments, int (*usage)())
{
    Review review;
    for (qsizetype i = 0; i < arguments.size(); ++i) {
        const QString& argument = arguments.at(i);
        const bool hasValue = i + 1 < arguments.size();
        if (argument == QLatin1String("--status") && hasValue)
            review.status = arguments.at(++i);
        else if (argument == QLatin1String("--comment") && hasValue)
            review.comment = arguments.at(++i);
        else if (argument == QLatin1String("--rule") && hasValue)
            review.rule = arguments.at(++i);
        else if (argument.startsWith(QLatin1Char('-')) || !review.identity.isEmpty())
            return usage();
        else
            review.identity = argument;
    }
    if (review.identity.isEmpty() || !Review::statuses().contains(review.status))
        return usage();
    review.who = userName();
    review.when = QDateTime::currentDateTimeUtc();
    review.when.setTime(
        QTime(review.when.time().hour(), review.when.time().minute(), review.when.time().second()));
    DefectStore defects(store.isEmpty() ? DefectStore::defaultPath() : store);
    if (!defects.writeReviews({review}, false)) {
        sayError(defects.errorString());
        return exitUnreadable;
    }
    return 0;
}

} // namespace

int reviewCommand(const QStringList& given, int (*usage)())
{
    QStringList arguments = given;
    QString store;
    if (arguments.isEmpty() || !ReviewedResults::takeStoreOption(&arguments, &store))
        return usage();
    const QString action = arguments.takeFirst();
    if (action == QLatin1String("set"))
        return setReview(store, arguments, usage);

    QString format = QStringLiteral("text");
    QString file;
    for (qsizetype i = 0; i < arguments.size(); ++i) {
        const QString& argument = arguments.at(i);
        if (action == QLatin1String("list") && argument == QLatin1String("--format") &&
            i + 1 < arguments.size())
            format = arguments.at(++i);
        else if (action != QLatin1String("list") && file.isEmpty() &&
                 !argument.startsWith(QLatin1Char('-')))
            file = argument;
        else
            return usage();
    }
    DefectStore defects(store.isEmpty() ? DefectStore::defaultPath() : store);
    if (action == QLatin1String("import") && !file.isEmpty()) {
        QList<Review> reviews;
        QString error;
        if (!readReviewFile(file, &reviews, &error)) {
            sayError(error);
            return exitUnreadable;
        }
        int changed = 0;
        if (!defects.writeReviews(reviews, true, &changed)) {
            sayError(defects.errorString());
            return exitUnreadable;
        }
        std::cout << "reviews read: " << reviews.size() << ", taken: " << changed << "\n";
        return 0;
    }
    const bool list = action == QLatin1String("list") &&
                      (format == QLatin1String("text") || format == QLatin1String("json"));
    if (!list && (action != QLatin1String("export") || file.isEmpty()))
        return usage();
    // A store named on the command line must be there; the default one may not exist yet.
    if (!store.isEmpty() && !QFileInfo::exists(store)) {
        sayError(QStringLiteral("there is no defect store ") + store);
        return exitUnreadable;
    }
    QList<Review> reviews;
    if (!defects.readReviews(&reviews)) {
        sayError(defects.errorString());
        return exitUnreadable;
    }
    if (!list)
        return writeReport(file, toJson(reviews)) ? 0 : exitUnreadable;
    return writeReport(QString(),
                       format == QLatin1String("json") ? toJson(reviews) : toText(reviews))
               ? 0
               : exitUnreadable;
}
