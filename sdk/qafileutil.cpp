#include "sdk/qafileutil.h"

#include <QDir>

QString QAFileUtil::absPathToRelative(const QString& baseDir, const QString& path)
{
    if (path.isEmpty() || QDir::isRelativePath(path) || QDir::isRelativePath(baseDir))
        return path;
    // Paths on two different drives have no relative form.
    const QString from = QDir::cleanPath(QDir::fromNativeSeparators(baseDir));
    const QString to = QDir::cleanPath(QDir::fromNativeSeparators(path));
    const auto drive = [](const QString& p) {
        return p.size() > 1 && p[1] == u':' ? p[0].toUpper() : QChar();
    };
    if (drive(from) != drive(to))
        return path;
    return QDir(from).relativeFilePath(to);
}
