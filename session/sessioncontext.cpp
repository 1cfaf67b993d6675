#include "session/sessioncontext.h"

#include <QDir>

SessionContext::~SessionContext() = default;

QString SessionContext::originalFileOf(const QString& path) const
{
    return path;
}

QStringList SessionContext::documentSearchPath() const
{
    return {};
}

QString SessionContext::currentDirectory() const
{
    return QDir::currentPath();
}

DStyleList SessionContext::styles() const
{
    return {};
}

ReadProgress* SessionContext::readProgress()
{
    return nullptr;
}

QString SessionContext::styleFilePath(const QString& installDirectory)
{
    return installDirectory + QDir::separator() + QStringLiteral("lib") + QDir::separator() +
           QStringLiteral("reporterstyle.aml");
}
