// crcstudio through a day of reading findings: the command line without a display, the Open
// dialog and Open Recent, keys between tabs, source roots in the preferences, the source view
// of a finding, and defects that keep what the finding said.

#include "host/studiomainwindow.h"
#include "tests/studio/studiofixture.h"
#include "tests/testkit.h"

#include <QAbstractScrollArea>
#include <QApplication>
#include <QDialog>
#include <QDialogButtonBox>
#include <QLabel>
#include <QMenu>
#include <QPlainTextEdit>
#include <QProcess>
#include <QProcessEnvironment>
#include <QTabWidget>
#include <QTemporaryDir>
#include <QTest>
#include <QTreeView>
#include <iostream>

namespace {

using testkit::example;
using testkit::runChild;

const QString analyzerFilter =
    QStringLiteral("Analyzer and test results (*.sarif *.sarif.json *.xml)");

bool writeFile(const QString& path, const QByteArray& contents)
{
    QDir().mkpath(QFileInfo(path).path());
    return testkit::writeFile(path, contents);
}

// A second studio on the same settings file (a new process, as a restart is): the file type its
// Open dialog shows first.
int restartedStudio(const QString& settings)
{
    StudioFixture studio;
    if (!studio.start(settings))
        return 2;
    if (studio.trigger({QStringLiteral("File"), QStringLiteral("Open...")}) &&
        !studio.dialogs().asked.isEmpty())
        std::cout << "filter=" << studio.dialogs().asked.last().selectedFilter.toStdString()
                  << "\n";
    studio.quit();
    return 0;
}

// crcstudio run with `arguments` where there is no display at all.
std::tuple<int, QString, QString> runWithoutDisplay(const QStringList& arguments)
{
    QProcess studio;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.remove(QStringLiteral("DISPLAY"));
    environment.remove(QStringLiteral("WAYLAND_DISPLAY"));
    environment.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("xcb"));
    studio.setProcessEnvironment(environment);
    studio.start(QStringLiteral(CRCSTUDIO_PATH), arguments);
    const bool ended = studio.waitForFinished(60000);
    if (!ended)
        studio.kill();
    return {ended && studio.exitStatus() == QProcess::NormalExit ? studio.exitCode() : -1,
            QString::fromLocal8Bit(studio.readAllStandardOutput()),
            QString::fromLocal8Bit(studio.readAllStandardError())};
}

} // namespace

class TestTriage : public QObject
{
    Q_OBJECT

    QTemporaryDir m_dir;
    StudioFixture m_studio;

    QString path(const QString& name) const { return m_dir.filePath(name); }
    QString settingsPath() const { return path(QStringLiteral("config/settings.xml")); }

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY(m_dir.isValid());
        QVERIFY(m_studio.start(settingsPath()));
    }

    void cleanupTestCase() { m_studio.quit(); }

    void cleanup()
    {
        QVERIFY(m_studio.closeAllTabs());
        m_studio.dialogs().asked.clear();
        m_studio.dialogs().buttons.clear();
        m_studio.dialogs().files.clear();
        m_studio.dialogs().filters.clear();
    }

    // --help and --version answer where no display can be opened, and say what they should.
    void helpAndVersionWithoutADisplay()
    {
        const auto [helpStatus, help, helpErr] = runWithoutDisplay({QStringLiteral("--help")});
        QVERIFY2(helpStatus == 0, qPrintable(helpErr));
        QVERIFY2(help.contains(QLatin1String("--settings")) &&
                     help.contains(QLatin1String("--plugin")) &&
                     help.contains(QLatin1String("--defects")),
                 qPrintable(help));
        const auto [versionStatus, version, versionErr] =
            runWithoutDisplay({QStringLiteral("--version")});
        QVERIFY2(versionStatus == 0, qPrintable(versionErr));
        QVERIFY2(version.startsWith(QLatin1String("crcstudio ")), qPrintable(version));
    }

    // The empty window names every kind of file it opens; the Open dialog shows the file type
    // chosen last, also after a restart; Open Recent names the files by their paths.
    void openDialogAndRecentFiles()
    {
        QVERIFY(m_studio.showsWelcome());
        const auto* welcome = m_studio.window().findChild<QLabel*>(QStringLiteral("welcome"));
        QVERIFY(welcome->text().contains(QLatin1String("SARIF")));
        QVERIFY(welcome->text().contains(QLatin1String("JUnit")));

        QVERIFY(m_studio.trigger({QStringLiteral("File"), QStringLiteral("Open...")}));
        QCOMPARE(m_studio.dialogs().asked.last().selectedFilter,
                 QStringLiteral("Code Review (*.crc)"));
        m_studio.dialogs().filters.append(analyzerFilter);
        QVERIFY(m_studio.open({example("rules-core.crc")}));
        QCOMPARE(m_studio.tabCount(), 1);
        QVERIFY(m_studio.trigger({QStringLiteral("File"), QStringLiteral("Open...")}));
        QCOMPARE(m_studio.dialogs().asked.last().selectedFilter, analyzerFilter);

        const QString deep = path(QStringLiteral("a/b/rules-copy.crc"));
        QVERIFY(QDir().mkpath(QFileInfo(deep).path()));
        QVERIFY(QFile::copy(example("rules-core.crc"), deep));
        QVERIFY(m_studio.open({deep}));
        const QStringList recent =
            m_studio.entries({QStringLiteral("File"), QStringLiteral("Open Recent")});
        QCOMPARE(recent.value(0), QStringLiteral("1 ") + QDir::toNativeSeparators(deep));
        QCOMPARE(recent.value(1),
                 QStringLiteral("2 ") + QDir::toNativeSeparators(example("rules-core.crc")));

        // The choice is in the settings file at once.
        const QString restarted = runChild({QStringLiteral("--restarted"), settingsPath()});
        QVERIFY2(restarted.contains(QStringLiteral("filter=") + analyzerFilter + '\n'),
                 qPrintable(restarted));
    }

    // Ctrl+PgDn and Ctrl+PgUp go round the tabs, whether the keys are pressed in the outline,
    // the report or a source.
    void ctrlPageKeysSwitchTabs()
    {
        QVERIFY(writeFile(path(QStringLiteral("tabs/lines.c")), "int a;\nint b;\n"));
        QVERIFY(writeFile(path(QStringLiteral("tabs/lines.crc")),
                          "<XROD><DOCUMENT tag='l'><XROD:NODE name='n' type='Rule' state='ko'>"
                          "<SECTION><PARAGRAPH><LINK target='lines.c line 2'>lines.c line 2"
                          "</LINK></PARAGRAPH></SECTION></XROD:NODE></DOCUMENT></XROD>"));
        QVERIFY(m_studio.open({example("rules-core.crc")}));
        QVERIFY(m_studio.open({path(QStringLiteral("tabs/lines.crc"))}));
        QVERIFY(m_studio.clickLink(QStringLiteral("lines.c line 2")));
        QCOMPARE(m_studio.tabCount(), 3);
        QCOMPARE(m_studio.currentTabText(), QStringLiteral("lines.c"));

        m_studio.clickInto(m_studio.sourceView());
        m_studio.press(Qt::Key_PageDown, Qt::ControlModifier);
        QCOMPARE(m_studio.currentTabText(), QStringLiteral("rules-core.crc"));
        QVERIFY(m_studio.clickEntry({QStringLiteral("rules-core.crc")}));
        m_studio.press(Qt::Key_PageDown, Qt::ControlModifier);
        QCOMPARE(m_studio.currentTabText(), QStringLiteral("lines.crc"));
        m_studio.clickInto(m_studio.documentView());
        m_studio.press(Qt::Key_PageUp, Qt::ControlModifier);
        QCOMPARE(m_studio.currentTabText(), QStringLiteral("rules-core.crc"));
        m_studio.press(Qt::Key_PageUp, Qt::ControlModifier);
        QCOMPARE(m_studio.currentTabText(), QStringLiteral("lines.c"));
    }
};

int main(int argc, char** argv)
{
    QApplication app(argc, argv);
    if (argc == 3 && qstrcmp(argv[1], "--restarted") == 0)
        return restartedStudio(QString::fromLocal8Bit(argv[2]));
    TestTriage test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_triage.moc"
