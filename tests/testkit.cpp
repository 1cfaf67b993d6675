#include "tests/testkit.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QProcess>

namespace testkit {

const QString examples = QStringLiteral(EXAMPLES_DIR);

QString example(const char* name)
{
    return examples + QLatin1Char('/') + QLatin1String(name);
}

bool writeFile(const QString& path, const QByteArray& contents)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(contents) == contents.size();
}

QByteArray readFile(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

bool mountTinyDisk(const QString& point, const char* size)
{
    QDir().mkpath(point);
    return QProcess::execute(QStringLiteral("mount"),
                             {QStringLiteral("-t"), QStringLiteral("tmpfs"), QStringLiteral("-o"),
                              QStringLiteral("size=") + QLatin1String(size),
                              QStringLiteral("tmpfs"), point}) == 0;
}

QString runChild(const QStringList& arguments)
{
    QProcess child;
    child.start(QCoreApplication::applicationFilePath(), arguments);
    if (!child.waitForFinished(120000) || child.exitCode() != 0)
        return QStringLiteral("restart failed: ") + QString::fromLocal8Bit(child.readAll());
    return QString::fromLocal8Bit(child.readAllStandardOutput());
}

CrcviewRun runCrcview(const QStringList& arguments, int hangGuardMs)
{
    QProcess process;
    process.start(QStringLiteral(CRCVIEW_PATH), arguments);
    CrcviewRun run;
    if (!process.waitForFinished(hangGuardMs)) {
        process.kill();
        return run;
    }
    run.status = process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
    run.out = QString::fromUtf8(process.readAllStandardOutput());
    run.err = QString::fromUtf8(process.readAllStandardError());
    return run;
}

} // namespace testkit
