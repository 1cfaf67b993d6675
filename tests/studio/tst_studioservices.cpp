// The services crcstudio offers its viewer plug-in, as the plug-in calls them: what no user can
// reach through the window (the plug-in's menus come and go by id, a location of another kind,
// the log and the output window, where things are) is tested on the services themselves, in a
// window of their own without a plug-in.

#include "host/outputdock.h"
#include "host/progresspanel.h"
#include "host/recentfiles.h"
#include "host/sourceroots.h"
#include "host/studioservices.h"
#include "host/studiosettings.h"
#include "host/studiotabs.h"
#include "sdk/qadialogs.h"
#include "sdk/qailogmonitor.h"
#include "sdk/qaoutputwindow.h"
#include "sdk/qares.h"
#include "tests/testkit.h"

#include <QApplication>
#include <QDir>
#include <QMainWindow>
#include <QMenu>
#include <QMenuBar>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QStatusBar>
#include <QTabWidget>
#include <QTemporaryDir>
#include <QTest>
#include <QTextBlock>

namespace {

// A settings group of a producer the plug-in adds.
class Producer : public QAResProducer
{
public:
    std::unique_ptr<QARes> toResources(const char* name) override
    {
        auto group = std::make_unique<QAResGroup>(name ? QString::fromLatin1(name)
                                                       : QStringLiteral("PLUGIN"));
        group->add<QAResInt>(QStringLiteral("answer"), 42);
        return group;
    }
};

} // namespace

class TestStudioServices : public QObject
{
    Q_OBJECT

    QTemporaryDir m_dir;
    std::unique_ptr<QMainWindow> m_window;
    std::unique_ptr<StudioTabs> m_tabs;
    OutputDock* m_output = nullptr;
    ProgressPanel* m_progress = nullptr;
    QMenu* m_tools = nullptr;
    RecentFiles* m_recent = nullptr;
    std::unique_ptr<SourceRoots> m_roots;
    std::unique_ptr<StudioSettings> m_settings;
    std::unique_ptr<StudioServices> m_services;
    ScriptedDialogs* m_dialogs = nullptr;

    QString settingsPath() const { return m_dir.filePath(QStringLiteral("settings.xml")); }
    QString output() const { return m_output->findChild<QPlainTextEdit*>()->toPlainText(); }

private Q_SLOTS:
    void init()
    {
        QVERIFY(m_dir.isValid());
        auto dialogs = std::make_unique<ScriptedDialogs>();
        m_dialogs = dialogs.get();
        QADialogs::install(std::move(dialogs));
        m_window = std::make_unique<QMainWindow>();
        m_tabs = std::make_unique<StudioTabs>(m_window.get());
        m_output = new OutputDock(m_window.get());
        m_progress = new ProgressPanel(m_window->statusBar());
        m_window->statusBar()->addPermanentWidget(m_progress);
        m_window->menuBar()->addMenu(QStringLiteral("&File"));
        m_tools = m_window->menuBar()->addMenu(QStringLiteral("&Tools"));
        m_recent = new RecentFiles(m_window.get());
        m_roots = std::make_unique<SourceRoots>();
        m_settings = std::make_unique<StudioSettings>(settingsPath(), m_window.get(), m_recent,
                                                      m_roots.get(), m_output);
        m_settings->load();
        m_services = std::make_unique<StudioServices>(m_window.get(), m_tools, m_tabs.get(),
                                                      m_output, m_progress, m_settings.get(),
                                                      m_roots.get(), [] { return nullptr; });
        m_window->show();
    }

    void cleanup()
    {
        m_services.reset();
        m_tabs.reset();
        m_settings.reset();
        m_window.reset();
    }

    // The plug-in's menu goes into the menu bar before Tools under the title it gives, and
    // leaves it again by its id; a null menu gets no id, an id removed twice or never given
    // changes nothing.
    void pluginMenus()
    {
        QMenu menu;
        const int id = m_services->insertMenu(&menu, QStringLiteral("&Commands"));
        QCOMPARE(menu.title(), QStringLiteral("&Commands"));
        const QList<QAction*> bar = m_window->menuBar()->actions();
        const qsizetype at = bar.indexOf(menu.menuAction());
        QVERIFY(at > 0);
        QCOMPARE(bar.at(at + 1)->text(), QStringLiteral("&Tools"));
        QVERIFY(m_services->insertMenu(nullptr, QStringLiteral("none")) < 0);
        QMenu other;
        const int otherId = m_services->insertMenu(&other, QStringLiteral("Other"));
        QVERIFY(otherId != id);
        m_services->removeMenu(id);
        QVERIFY(!m_window->menuBar()->actions().contains(menu.menuAction()));
        QVERIFY(m_window->menuBar()->actions().contains(other.menuAction()));
        m_services->removeMenu(id);
        m_services->removeMenu(12345);
        QVERIFY(m_window->menuBar()->actions().contains(other.menuAction()));
        m_services->removeMenu(otherId);
        QVERIFY(!m_window->menuBar()->actions().contains(other.menuAction()));
    }

    // Locations: a source at a line opens in a tab (a relative path from the current directory
    // when no report is shown); a tag with no viewer to move, and any other kind, are named in
    // the output window.
    void locations()
    {
        QByteArray lines;
        for (int i = 1; i <= 20; ++i)
            lines += "line " + QByteArray::number(i) + "\n";
        QVERIFY(testkit::writeFile(m_dir.filePath(QStringLiteral("a.c")), lines));
        m_settings->setLastDirectory(m_dir.path());
        m_services->openLocation(QStringLiteral("a.c line 12"), 3, true);
        auto* tabs = m_window->findChild<QTabWidget*>(QStringLiteral("tabs"));
        QCOMPARE(tabs->count(), 1);
        auto* source = qobject_cast<QPlainTextEdit*>(tabs->currentWidget());
        QVERIFY(source);
        QCOMPARE(source->textCursor().block().text(), QStringLiteral("line 12"));

        m_output->hide();
        m_services->openLocation(QStringLiteral("xrdlink://other.xrd#top"), 1, true);
        QVERIFY(output().contains(QLatin1String("Cannot open the location "
                                                "\"xrdlink://other.xrd#top\" (kind 1)")));
        m_services->openLocation(QStringLiteral("::f3"), 3, true);
        QVERIFY(output().contains(QLatin1String("\"::f3\" (kind 3)")));
        QCOMPARE(tabs->count(), 1);
    }

    // A source that is not where the report says is located by the user: the folder it was
    // found under becomes a source root, kept in the settings at once, and the next source
    // under the same missing folder is found there without asking.
    void locatingSourcesTeachesRoots()
    {
        QVERIFY(QDir().mkpath(m_dir.filePath(QStringLiteral("moved/src"))));
        QVERIFY(testkit::writeFile(m_dir.filePath(QStringLiteral("moved/src/b.c")), "b\n"));
        QVERIFY(testkit::writeFile(m_dir.filePath(QStringLiteral("moved/src/c.c")), "c\n"));
        m_dialogs->buttons = {QMessageBox::Yes};
        m_dialogs->files = {{m_dir.filePath(QStringLiteral("moved/src/b.c"))}};
        m_services->openLocation(QStringLiteral("/nowhere/src/b.c line 1"), 3, true);
        QCOMPARE(m_dialogs->asked.size(), 2);
        QVERIFY(
            output().contains(QStringLiteral("Sources under /nowhere/ are now looked for under ") +
                              m_dir.filePath(QStringLiteral("moved/"))));
        QVERIFY(testkit::readFile(settingsPath()).contains("\"/nowhere/\""));
        m_dialogs->asked.clear();
        m_services->openLocation(QStringLiteral("/nowhere/src/c.c line 1"), 3, true);
        QVERIFY(m_dialogs->asked.isEmpty());
        QCOMPARE(m_window->findChild<QTabWidget*>(QStringLiteral("tabs"))->count(), 2);
    }

    // The progress display from start to end, its Cancel heard; the output window, the log,
    // the settings producers and where things are.
    void answers()
    {
        m_services->startProgress(10, QStringLiteral("Reading"), QStringLiteral("Cancel"));
        QVERIFY(m_progress->isVisible());
        m_services->setProgress(4);
        QVERIFY(!m_services->progressCancelled());
        QPushButton* cancel = m_progress->findChild<QPushButton*>();
        QTest::mouseClick(cancel, Qt::LeftButton, {}, cancel->rect().center());
        QVERIFY(m_services->progressCancelled());
        m_services->endProgress();
        QVERIFY(!m_progress->isVisible());
        QVERIFY(!m_services->progressCancelled());

        m_output->hide();
        m_services->logMonitor()->logMessage(QStringLiteral("logged\n"));
        m_services->outputWindow()->appendOutput(QStringLiteral("appended"));
        QVERIFY(output().endsWith(QLatin1String("logged\nappended")));
        QVERIFY(!m_output->isVisible());
        m_services->activateOutput();
        QVERIFY(m_output->isVisible());
        QVERIFY(m_output->findChild<QPlainTextEdit*>()->isReadOnly());

        Producer producer;
        m_services->addResProducer(&producer);
        QString error;
        QVERIFY2(m_settings->save(&error), qPrintable(error));
        QVERIFY(testkit::readFile(settingsPath()).contains("<int name=\"answer\" value=\"42\"/>"));
        m_settings->store()->removeProducer(&producer);

        QCOMPARE(m_services->mainWindow(), m_window.get());
        QCOMPARE(m_services->caption(), QStringLiteral("crcstudio"));
        QVERIFY(!m_services->trackwellInterface());
        QCOMPARE(QDir(m_services->installDirectory()).absoluteFilePath(QStringLiteral("bin")),
                 QCoreApplication::applicationDirPath());
        QVERIFY(QFile::exists(m_services->installDirectory() +
                              QStringLiteral("/lib/reporterstyle.aml")));
        m_settings->setLastDirectory(m_dir.path());
        QCOMPARE(m_services->currentDirectory(), m_dir.path());
        QCOMPARE(m_services->documentSearchPath(),
                 QStringList({m_dir.path(), m_services->installDirectory() + "/lib"}));
        const QString plain = m_dir.filePath(QStringLiteral("plain.crc"));
        QCOMPARE(m_services->originalFileOf(plain), plain);
    }
};

QTEST_MAIN(TestStudioServices)
#include "tst_studioservices.moc"
