#include "import/importcache.h"

#include "import/resultimport.h"
#include "sdk/qasafefile.h"

#include <QCryptographicHash>
#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QHash>
#include <QRegularExpression>
#include <QStandardPaths>

namespace {

// Raised when the markup an import writes changes, so that old conversions are made again.
constexpr int MarkupVersion = 1;

// What a result file of the cache was converted from.
struct Conversion
{
    QString original;
    qint64 size = 0;
    qint64 modified = 0;
};

Conversion conversionOf(const QString& original)
{
    const QFileInfo info(original);
    return {original, info.size(), info.lastModified().toMSecsSinceEpoch()};
}

QHash<QString, Conversion>& conversions()
{
    static QHash<QString, Conversion> byResultFile;
    return byResultFile;
}

// Beside each result file: the path of the original it was converted from.
const QString originalRecord = QStringLiteral("/.original");

bool inUse(const QString& folder)
{
    const QString prefix = folder + QLatin1Char('/');
    for (auto entry = conversions().cbegin(); entry != conversions().cend(); ++entry) {
        if (entry.key().startsWith(prefix))
            return true;
    }
    return false;
}

// Removes the earlier conversions of `original`, except `kept` and those this process shows, so
// that the cache does not grow with every run of a tool.
void removeEarlierConversions(const QString& original, const QString& kept)
{
    const QFileInfoList folders =
        QDir(ImportCache::directory())
            .entryInfoList(QDir::Dirs | QDir::NoDotAndDotDot | QDir::NoSymLinks | QDir::Hidden);
    for (const QFileInfo& folder : folders) {
        const QString path = QDir::cleanPath(folder.absoluteFilePath());
        if (path == kept || inUse(path))
            continue;
        QFile record(path + originalRecord);
        QString ignored;
        if (QASafeWrite::openRegularFile(record, &ignored) &&
            QString::fromUtf8(record.read(1 << 16)) == original)
            QDir(path).removeRecursively();
    }
}

} // namespace

namespace ImportCache {

QString directory()
{
    return QStandardPaths::writableLocation(QStandardPaths::CacheLocation) +
           QStringLiteral("/imports");
}

QString resultFileFor(const QString& input, ImportError* error, const ImportProgress& progress)
{
    const QFileInfo original(input);
    const QString absolute = QDir::cleanPath(original.absoluteFilePath());
    QFile file(absolute);
    QString reason;
    if (!QASafeWrite::openRegularFile(file, &reason)) {
        *error = ImportError();
        error->file = input;
        error->message = QStringLiteral("cannot open the file: %1").arg(reason);
        return QString();
    }
    const Conversion conversion = conversionOf(absolute);
    QCryptographicHash hash(QCryptographicHash::Sha1);
    hash.addData(absolute.toUtf8());
    hash.addData(QByteArray::number(conversion.size) + '/' +
                 QByteArray::number(conversion.modified) + '/' + QByteArray::number(MarkupVersion));
    const QString folder =
        directory() + QLatin1Char('/') + QString::fromLatin1(hash.result().toHex().left(24));
    const QString resultFile = folder + QLatin1Char('/') + original.fileName();
    if (!QASafeWrite::isRegularFile(resultFile)) {
        if (!QDir().mkpath(folder)) {
            *error = ImportError();
            error->file = folder;
            error->message = QStringLiteral("cannot create the cache folder");
            return QString();
        }
        if (!importResults(file, resultFile, error, progress))
            return QString();
        QString ignored; // without the record, the folder is only never removed
        QASafeWrite::writeFile(folder + originalRecord, absolute.toUtf8(), &ignored);
        removeEarlierConversions(absolute, QDir::cleanPath(folder));
    }
    conversions().insert(resultFile, conversion);
    return resultFile;
}

QString originalOf(const QString& path)
{
    const auto found = conversions().constFind(QDir::cleanPath(path));
    return found == conversions().constEnd() ? path : found->original;
}

QString originalsIn(QString text)
{
    for (auto entry = conversions().cbegin(); entry != conversions().cend(); ++entry) {
        // A line and column are those of the conversion, not of the original.
        const QRegularExpression place(QRegularExpression::escape(entry.key()) +
                                       QStringLiteral(":(\\d+):(\\d+)"));
        QString named;
        qsizetype copied = 0;
        for (auto match = place.globalMatch(text); match.hasNext();) {
            const QRegularExpressionMatch found = match.next();
            named += QStringView(text).sliced(copied, found.capturedStart() - copied);
            named += QStringLiteral("%1 (line %2, column %3 of the result file converted from it)")
                         .arg(entry->original, found.captured(1), found.captured(2));
            copied = found.capturedEnd();
        }
        named += QStringView(text).sliced(copied);
        text = named.replace(entry.key(), entry->original);
    }
    return text;
}

QList<ImportError> refreshChanged()
{
    QList<ImportError> errors;
    for (auto entry = conversions().begin(); entry != conversions().end(); ++entry) {
        const Conversion now = conversionOf(entry->original);
        if (now.size == entry->size && now.modified == entry->modified)
            continue;
        ImportError error;
        QDir().mkpath(QFileInfo(entry.key()).path()); // another process may have removed it
        if (importResults(entry->original, entry.key(), &error))
            *entry = now;
        else
            errors.append(error);
    }
    return errors;
}

} // namespace ImportCache
