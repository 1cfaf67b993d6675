// crcview where there is no display: no platform named, no X or Wayland display, and no
// platform plug-in it could load. summary and export must work all the same.

#include "tests/testkit.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

namespace {

struct Run
{
    int status = -1;
    QByteArray out;
    QByteArray err;
};

// Runs crcview in `folder` with `environment`.
Run crcview(const QStringList& arguments, const QProcessEnvironment& environment,
            const QString& folder)
{
    QProcess process;
    process.setProcessEnvironment(environment);
    process.setWorkingDirectory(folder);
    process.start(QStringLiteral(CRCVIEW_PATH), arguments);
    Run run;
    if (!process.waitForFinished(60000)) {
        process.kill();
        return run;
    }
    run.status = process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
    run.out = process.readAllStandardOutput();
    run.err = process.readAllStandardError();
    return run;
}

// The environment of this test without anything that names a display or a platform.
QProcessEnvironment withoutDisplay()
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    for (const char* name : {"QT_QPA_PLATFORM", "DISPLAY", "WAYLAND_DISPLAY", "QT_PLUGIN_PATH",
                             "QT_QPA_PLATFORM_PLUGIN_PATH"})
        environment.remove(QString::fromLatin1(name));
    return environment;
}

} // namespace

class TestHeadless : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void summaryAndExportNeedNoDisplay_data()
    {
        QTest::addColumn<bool>("noPlatform");
        QTest::newRow("no display") << false;
        // A platform that is not there, and no folder to find one in: a program that opened a
        // window, even offscreen, could not start.
        QTest::newRow("no platform plug-in") << true;
    }

    void summaryAndExportNeedNoDisplay()
    {
        QFETCH(bool, noPlatform);
        QTemporaryDir work;
        QProcessEnvironment environment = withoutDisplay();
        if (noPlatform) {
            const QString empty = QDir(work.path()).filePath(QStringLiteral("no-plugins"));
            QVERIFY(QDir().mkpath(empty));
            environment.insert(QStringLiteral("QT_QPA_PLATFORM"),
                               QStringLiteral("no-such-platform"));
            environment.insert(QStringLiteral("QT_PLUGIN_PATH"), empty);
            environment.insert(QStringLiteral("QT_QPA_PLATFORM_PLUGIN_PATH"), empty);
        }
        const QStringList files = {testkit::example("rules-core.crc"),
                                   testkit::example("rules-gui.crc")};

        const Run summary =
            crcview(QStringList{QStringLiteral("summary")} + files, environment, work.path());
        QCOMPARE(summary.status, 0);
        QVERIFY2(summary.err.isEmpty(), summary.err.constData());
        QVERIFY2(summary.out.contains("Test Case Passed") &&
                     summary.out.contains("Test Case Failed"),
                 summary.out.constData());

        const QString pages = QDir(work.path()).filePath(QStringLiteral("pages"));
        const Run exported =
            crcview(QStringList{QStringLiteral("export"), pages} + files, environment, work.path());
        QVERIFY2(exported.err.isEmpty(), exported.err.constData());
        QCOMPARE(exported.status, 0);
        const QString index = QDir(pages).filePath(QStringLiteral("index.html"));
        QCOMPARE(QString::fromLocal8Bit(exported.out).trimmed(), index);
        QVERIFY(QFile::exists(index));
        QVERIFY(QDir(pages).entryList({QStringLiteral("*.html")}, QDir::Files).size() >= 3);
    }
};

QTEST_GUILESS_MAIN(TestHeadless)
#include "tst_headless.moc"
