#include "sdk/qapixmapcenter.h"

#include <QDir>
#include <QFileInfo>

void QAPixmapCenter::setSearchPaths(const QStringList& directories)
{
    m_directories = directories;
    m_cache.clear();
    m_icons.clear();
}

QString QAPixmapCenter::getPathByFileName(const QString& fileName) const
{
    if (fileName.isEmpty())
        return QString();
    if (QFileInfo(fileName).isAbsolute())
        return QFileInfo::exists(fileName) ? fileName : QString();
    for (const QString& directory : m_directories) {
        const QString path = QDir(directory).filePath(fileName);
        if (QFileInfo(path).isFile())
            return path;
    }
    return QString();
}

QPixmap QAPixmapCenter::getPixmapByFilePath(const QString& path)
{
    const auto cached = m_cache.constFind(path);
    if (cached != m_cache.constEnd())
        return cached.value();
    const QPixmap picture(path);
    m_cache.insert(path, picture);
    return picture;
}

QPixmap QAPixmapCenter::pixmap(const char* name, const char* const* xpm)
{
    const QString key = QLatin1String("builtin:") + QLatin1String(name);
    const auto cached = m_cache.constFind(key);
    if (cached != m_cache.constEnd())
        return cached.value();
    const QString file = getPathByFileName(QLatin1String(name) + QLatin1String(".png"));
    QPixmap picture = file.isEmpty() ? QPixmap(xpm) : QPixmap(file);
    if (picture.isNull())
        picture = QPixmap(xpm);
    m_cache.insert(key, picture);
    return picture;
}

QIcon QAPixmapCenter::icon(const QPixmap& picture)
{
    const auto cached = m_icons.constFind(picture.cacheKey());
    if (cached != m_icons.constEnd())
        return cached.value();
    const QIcon made(picture);
    m_icons.insert(picture.cacheKey(), made);
    return made;
}

QAPixmapCenter* pixmapcenter()
{
    static QAPixmapCenter center;
    return &center;
}
