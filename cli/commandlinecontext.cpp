#include "cli/commandlinecontext.h"

#include "folio/reader/dstylefile.h"
#include "import/importcache.h"

#include <QCoreApplication>
#include <QDir>

CommandLineContext::CommandLineContext()
{
    const QString installation =
        QDir::cleanPath(QCoreApplication::applicationDirPath() + QStringLiteral("/.."));
    m_styles = DStyleFile::read(styleFilePath(installation)).styles;
}

QString CommandLineContext::originalFileOf(const QString& path) const
{
    return ImportCache::originalOf(path);
}

QStringList CommandLineContext::documentSearchPath() const
{
    return {QDir::currentPath()};
}
