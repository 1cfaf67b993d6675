#pragma once

#include <QHash>
#include <QIcon>
#include <QPixmap>
#include <QStringList>

// The studio's picture cache: built-in images by name, and picture files found through a list
// of directories. A picture file named like a built-in image replaces it, so a studio can
// restyle the plug-in's icons.
class QAPixmapCenter
{
public:
    void setSearchPaths(const QStringList& directories);
    // The full path of the picture file `fileName` in the search directories, or empty.
    QString getPathByFileName(const QString& fileName) const;
    QPixmap getPixmapByFilePath(const QString& path);
    // The picture named `name`: a file "name.png" found in the search directories, otherwise
    // the built-in XPM image.
    QPixmap pixmap(const char* name, const char* const* xpm);
    // One shared icon per picture: views showing the same picture on thousands of entries then
    // share one icon instead of building one each.
    QIcon icon(const QPixmap& picture);

private:
    QStringList m_directories;
    QHash<QString, QPixmap> m_cache;
    QHash<qint64, QIcon> m_icons;
};

// The process's picture cache.
QAPixmapCenter* pixmapcenter();

inline QPixmap GETPIX(const char* name, const char* const* xpm)
{
    return pixmapcenter()->pixmap(name, xpm);
}
