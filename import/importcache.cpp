#include "import/importcache.h"

#include "import/resultimport.h"
#include "sdk/qasafefile.h"

#include <QCryptographicHash>
#include <QDateTime>
#include <QDir>
#include <QFileInfo>
#include <QHash>
#include <QStandardPaths>

namespace {

// Raised when the markup an import writes changes, so that old conversions are made again.
constexpr int MarkupVersion = 1;

QHash<QString, QString>& originals()
{
    static QHash<QString, QString> byResultFile;
    return byResultFile;
}

} // namespace

namespace ImportCache {

QString directory()
{
    return QStandardPaths::writableLocation(QStandardPaths::CacheLocation) +
           QStringLiteral("/imports");
}

QString resultFileFor(const QString& input, ImportError* error)
{
    const QFileInfo original(input);
    const QString absolute = QDir::cleanPath(original.absoluteFilePath());
    if (!QASafeWrite::isRegularFile(absolute)) {
        *error = ImportError();
        error->file = input;
        error->message = original.exists() ? QStringLiteral("not a regular file")
                                           : QStringLiteral("no such file");
        return QString();
    }
    QCryptographicHash hash(QCryptographicHash::Sha1);
    hash.addData(absolute.toUtf8());
    hash.addData(QByteArray::number(original.size()) + '/' +
                 QByteArray::number(original.lastModified().toMSecsSinceEpoch()) + '/' +
                 QByteArray::number(MarkupVersion));
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
        if (!importResults(absolute, resultFile, error))
            return QString();
    }
    originals().insert(resultFile, absolute);
    return resultFile;
}

QString originalOf(const QString& path)
{
    return originals().value(QDir::cleanPath(path), path);
}

} // namespace ImportCache
