#include "cli/headlessstudio.h"

#include "import/importcache.h"

#include <QCoreApplication>
#include <QDir>
#include <iostream>

QAOutputWindow* HeadlessStudio::outputWindow() const
{
    return const_cast<HeadlessStudio*>(this);
}

void HeadlessStudio::appendOutput(const QString& text)
{
    std::cerr << ImportCache::originalsIn(text).toLocal8Bit().constData();
}

QStringList HeadlessStudio::documentSearchPath() const
{
    return {QDir::currentPath()};
}

QString HeadlessStudio::currentDirectory() const
{
    return QDir::currentPath();
}

QString HeadlessStudio::installDirectory() const
{
    return QDir::cleanPath(QCoreApplication::applicationDirPath() + QStringLiteral("/.."));
}

QString HeadlessStudio::originalFileOf(const QString& path) const
{
    return ImportCache::originalOf(path);
}

QString HeadlessStudio::caption() const
{
    return QStringLiteral("crcview");
}
