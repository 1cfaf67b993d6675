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
#include <cerrno>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

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

// Beside each result file: the lock that every process using the conversion holds shared, so
// that no other process removes the folder from under it.
const QString lockName = QStringLiteral("/.in-use");

// The lock files this process holds, by folder: held until it ends.
QHash<QString, int>& heldLocks()
{
    static QHash<QString, int> byFolder;
    return byFolder;
}

int openLock(const QString& folder)
{
    return ::open(QFile::encodeName(folder + lockName).constData(),
                  O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600);
}

// Takes this process's shared lock on the conversion in `folder`; false when the folder was
// removed meanwhile (the lock taken is then on a file that is gone) or cannot be locked.
bool holdFolder(const QString& folder)
{
    if (heldLocks().contains(folder))
        return true;
    const int lock = openLock(folder);
    if (lock < 0)
        return false;
    struct stat held;
    struct stat named;
    int locked;
    do {
        locked = ::flock(lock, LOCK_SH);
    } while (locked != 0 && errno == EINTR);
    if (locked != 0 || ::fstat(lock, &held) != 0 ||
        ::stat(QFile::encodeName(folder + lockName).constData(), &named) != 0 ||
        held.st_dev != named.st_dev || held.st_ino != named.st_ino) {
        ::close(lock);
        return false;
    }
    heldLocks().insert(folder, lock);
    return true;
}

// Removes the earlier conversions of `original` that no process holds, so that the cache does
// not grow with every run of a tool.
void removeEarlierConversions(const QString& original, const QString& kept)
{
    const QFileInfoList folders =
        QDir(ImportCache::directory())
            .entryInfoList(QDir::Dirs | QDir::NoDotAndDotDot | QDir::NoSymLinks | QDir::Hidden);
    for (const QFileInfo& folder : folders) {
        const QString path = QDir::cleanPath(folder.absoluteFilePath());
        if (path == kept || heldLocks().contains(path))
            continue;
        QFile record(path + originalRecord);
        QString ignored;
        if (!QASafeWrite::openRegularFile(record, &ignored) ||
            QString::fromUtf8(record.read(1 << 16)) != original)
            continue;
        // Removed only while no one holds it; a process that locks it meanwhile finds its lock
        // file gone and converts again.
        const int lock = openLock(path);
        if (lock < 0)
            continue;
        if (::flock(lock, LOCK_EX | LOCK_NB) == 0)
            QDir(path).removeRecursively();
        ::close(lock);
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
    const QString folder = QDir::cleanPath(directory() + QLatin1Char('/') +
                                           QString::fromLatin1(hash.result().toHex().left(24)));
    const QString resultFile = folder + QLatin1Char('/') + original.fileName();
    // The folder is held before it is read or written; another process removing it meanwhile
    // makes it be created again.
    constexpr int Attempts = 3;
    for (int attempt = 1; !holdFolder(folder); ++attempt) {
        if (attempt == Attempts || !QDir().mkpath(folder)) {
            *error = ImportError();
            error->file = folder;
            error->message = QStringLiteral("cannot create and lock the cache folder");
            return QString();
        }
    }
    if (!QASafeWrite::isRegularFile(resultFile)) {
        if (!importResults(file, resultFile, error, progress))
            return QString();
        QString ignored; // without the record, the folder is only never removed
        QASafeWrite::writeFile(folder + originalRecord, absolute.toUtf8(), &ignored);
        removeEarlierConversions(absolute, folder);
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
