// crcstudio as a user meets it: the plug-in loaded from its library, result files in tabs, the
// commands following the tab shown, progress while a file is read, source files at a line, and
// the preferences kept in the settings file across a restart.

#include "folio/model/ditem.h"
#include "folio/view/dreportwidget.h"
#include "host/outputdock.h"
#include "host/pluginlibrary.h"
#include "host/preferencesdialog.h"
#include "host/progresspanel.h"
#include "host/sourceview.h"
#include "host/studiomainwindow.h"
#include "prefs/qareporterpref.h"
#include "prefs/qareporterprefgeneral.h"
#include "sdk/qadialogs.h"
#include "sdk/qaresfile.h"
#include "sdk/qastviewerplugin.h"
#include "sdk/qastviewerwindow.h"
#include "tests/studiotestkit.h"
#include "tests/testkit.h"
#include "viewer/qareporter.h"
#include "viewer/qartoolbar.h"

#include <QApplication>
#include <QDialogButtonBox>
#include <QDir>
#include <QDockWidget>
#include <QLabel>
#include <QLibraryInfo>
#include <QMenuBar>
#include <QMimeData>
#include <QPlainTextEdit>
#include <QPointer>
#include <QProcess>
#include <QProgressBar>
#include <QPushButton>
#include <QScopeGuard>
#include <QSignalSpy>
#include <QSpinBox>
#include <QStorageInfo>
#include <QTabWidget>
#include <QTemporaryDir>
#include <QTest>
#include <QTextBlock>
#include <QTimer>
#include <QToolButton>
#include <QTreeWidget>
#include <iostream>
#include <tuple>

namespace {

using namespace testkit;

// The depth of the outline, as the preferences dialog shows it.
QSpinBox* depthSpin()
{
    return QAReporter::preference()->general->depthSpin;
}

// The plug-in keeps its state for the whole process, bound to the first studio: a restart of the
// studio is a new process. This one shows what a fresh studio made of a settings file, then quits
// as a user would.
int restartedStudio(const QString& settings)
{
    QADialogs::install(std::make_unique<ScriptedDialogs>());
    StudioMainWindow studio(pluginPath, settings);
    if (!studio.plugin())
        return 2;
    PreferencesDialog* dialog = studio.showPreferences();
    std::cout << "depth=" << depthSpin()->value() << "\n";
    dialog->reject();
    std::cout << "output=" << studio.output()->contents().toStdString() << "\n";
    studio.openFiles({example("rules-core.crc")}); // quitting with a window open
    studio.close();
    return 0;
}

// A studio on `settings` quit through File > Quit; prints the messages it showed.
int quitFromMenu(const QString& settings)
{
    auto dialogs = std::make_unique<ScriptedDialogs>();
    ScriptedDialogs* asked = dialogs.get();
    QADialogs::install(std::move(dialogs));
    StudioMainWindow studio(pluginPath, settings);
    if (!studio.plugin())
        return 2;
    studio.show();
    QAction* quit = menuAction(studio, QStringLiteral("&File"), QStringLiteral("&Quit"));
    if (!quit)
        return 3;
    quit->trigger();
    for (const ScriptedDialogs::Asked& message : std::as_const(asked->asked))
        std::cout << "message=" << message.text.toStdString() << "\n";
    return 0;
}

} // namespace

class TestHost : public QObject
{
    Q_OBJECT

    QTemporaryDir m_dir;
    std::unique_ptr<StudioMainWindow> m_studio;
    ScriptedDialogs* m_dialogs = nullptr;

    QString settingsPath() const { return m_dir.filePath(QStringLiteral("config/settings.xml")); }

    void closeAllTabs() { testkit::closeAllTabs(*m_studio); }

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY(m_dir.isValid());
        auto dialogs = std::make_unique<ScriptedDialogs>();
        m_dialogs = dialogs.get();
        QADialogs::install(std::move(dialogs));
        m_studio = std::make_unique<StudioMainWindow>(pluginPath, settingsPath());
        QVERIFY2(m_studio->plugin(), qPrintable(m_studio->pluginError()));
        m_studio->show();
    }

    void cleanupTestCase()
    {
        m_studio->openFiles({example("rules-core.crc"), example("security-audit.crc")});
        m_studio->close();
        m_studio.reset();
    }

    void cleanup()
    {
        closeAllTabs();
        m_dialogs->asked.clear();
    }

    // A library made for another toolkit build is refused before anything of it runs; so is a
    // library without the plug-in's entry points, and a file that is no library at all. The
    // message names the library and what is wrong with it.
    void pluginOfAnotherBuildIsRefused()
    {
        const QString foreign = QStringLiteral(FOREIGN_PLUGIN_PATH);
        QString error;
        QVERIFY(!PluginLibrary::load(foreign, &error)); // its ucm_instantiate() would abort
        QVERIFY2(error.contains(foreign) && error.contains(QLatin1String("another toolkit")) &&
                     error.contains(QLatin1String("version is \"3.3.8\"")),
                 qPrintable(error));

        const QString qtTest =
            QLibraryInfo::path(QLibraryInfo::LibrariesPath) + QStringLiteral("/libQt6Test.so.6");
        QVERIFY(!PluginLibrary::load(qtTest, &error));
        QVERIFY2(error.contains(qtTest) && error.contains(QLatin1String("no verification text")),
                 qPrintable(error));

        const QString notALibrary = m_dir.filePath(QStringLiteral("libtext.so"));
        QVERIFY(writeFile(notALibrary, "not a library\n"));
        QVERIFY(!PluginLibrary::load(notALibrary, &error));
        QVERIFY2(error.contains(notALibrary), qPrintable(error));

        // A studio without its plug-in says why and opens nothing.
        StudioMainWindow refused(foreign, m_dir.filePath(QStringLiteral("refused.xml")));
        QVERIFY(!refused.plugin());
        QVERIFY(refused.pluginError().contains(foreign));
        QVERIFY(refused.output()->contents().contains(refused.pluginError()));
        QVERIFY(!refused.openFiles({example("rules-core.crc")}));
        QCOMPARE(refused.tabs()->count(), 0);
        QVERIFY(!refused.showPreferences());
    }

    // One window per set of files; a file already shown brings its window forward instead of
    // opening a second one, whichever way it comes: command line, Open dialog or drop.
    void openingFiles()
    {
        QAStViewerWindow* pair =
            m_studio->openFiles({example("rules-core.crc"), example("rules-gui.crc")});
        QVERIFY(pair);
        QCOMPARE(m_studio->tabs()->count(), 1);
        QCOMPARE(m_studio->tabs()->tabText(0), QStringLiteral("rules-core.crc, rules-gui.crc"));
        QVERIFY(m_studio->tabs()->tabToolTip(0).contains(example("rules-gui.crc")));
        QVERIFY(!pair->isWindow()); // a page of the tabs
        QCOMPARE(m_studio->plugin()->openedWindow(example("rules-gui.crc")), pair);

        QAStViewerWindow* audit = m_studio->openFiles({example("security-audit.crc")});
        QVERIFY(audit && audit != pair);
        QCOMPARE(m_studio->tabs()->count(), 2);
        QCOMPARE(m_studio->activeViewer(), audit);

        // Again, by a relative path too: the first window comes forward, no tab is added.
        QDir::setCurrent(examples);
        QCOMPARE(m_studio->openFiles({QStringLiteral("rules-gui.crc")}), pair);
        QCOMPARE(m_studio->tabs()->count(), 2);
        QCOMPARE(m_studio->activeViewer(), pair);

        // The Open dialog offers the plug-in's filters.
        m_dialogs->files.append({example("security-audit.crc")});
        m_studio->openWithDialog();
        QCOMPARE(m_dialogs->asked.size(), 1);
        QCOMPARE(m_dialogs->asked.first().kind, QStringLiteral("open"));
        QVERIFY(m_dialogs->asked.first().text.startsWith(m_studio->plugin()->filters().first()));
        QCOMPARE(m_studio->tabs()->count(), 2);
        QCOMPARE(m_studio->activeViewer(), audit);
        m_studio->openWithDialog(); // cancelled: nothing happens
        QCOMPARE(m_studio->tabs()->count(), 2);

        // Files that cannot be read: the plug-in says so, and no empty tab is left behind.
        const QString broken = m_dir.filePath(QStringLiteral("broken.crc"));
        QVERIFY(writeFile(broken, "<XROD><DOCUMENT>"));
        m_dialogs->asked.clear();
        QVERIFY(!m_studio->openFiles({broken, m_dir.filePath(QStringLiteral("missing.crc"))}));
        QCOMPARE(m_dialogs->asked.size(), 1);
        QVERIFY(m_dialogs->asked.first().text.contains(QLatin1String("missing.crc")));
        QCOMPARE(m_studio->tabs()->count(), 2);
        QCOMPARE(m_studio->activeViewer(), audit);

        // Dropped files: only result files are taken.
        const QString copy = m_dir.filePath(QStringLiteral("dropped.crc"));
        QVERIFY(QFile::copy(example("rules-core.crc"), copy));
        QMimeData data;
        data.setUrls(
            {QUrl::fromLocalFile(copy), QUrl::fromLocalFile(example("metrics-detail.xrd"))});
        QCOMPARE(m_studio->droppedFiles(data), QStringList{copy});
        QDragEnterEvent enter(QPoint(10, 10), Qt::CopyAction, &data, Qt::LeftButton,
                              Qt::NoModifier);
        QApplication::sendEvent(m_studio.get(), &enter);
        QVERIFY(enter.isAccepted());
        QDropEvent drop(QPointF(10, 10), Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
        QApplication::sendEvent(m_studio.get(), &drop);
        QCOMPARE(m_studio->tabs()->count(), 3);
        QCOMPARE(m_studio->plugin()->openedWindow(copy), m_studio->activeViewer());
        QVERIFY(!m_studio->plugin()->openedWindow(example("metrics-detail.xrd")));
    }

    // The tab shown is the active viewer: the one before is told it no longer is, its outline
    // gives way, and the commands follow what the tab shown can do. Closing a tab destroys the
    // window and its outline.
    void tabSwitchesMoveTheActiveViewer()
    {
        QPointer<QAStViewerWindow> first = m_studio->openFiles({example("rules-core.crc")});
        QPointer<QAStViewerWindow> second = m_studio->openFiles({example("rules-gui.crc")});
        QVERIFY(first && second);
        auto* toolBar = m_studio->findChild<QARToolBar*>();
        QVERIFY(toolBar); // the plug-in's shared toolbar lives in the main window

        auto pluginMenusInBar = [this] {
            int count = 0;
            for (QMenu* menu : m_studio->pluginMenus())
                count += m_studio->menuBar()->actions().contains(menu->menuAction());
            return count;
        };
        for (QAStViewerWindow* shown : {first.data(), second.data(), first.data()}) {
            m_studio->tabs()->setCurrentWidget(shown);
            QAStViewerWindow* hidden = shown == first ? second : first;
            QVERIFY(shown->isActiveViewer());
            QVERIFY(!hidden->isActiveViewer());
            QCOMPARE(m_studio->currentOutline(), shown->contentOutlineWidget());
            QVERIFY(shown->contentOutlineWidget()->isVisibleTo(m_studio->outlineDock()));
            QVERIFY(!hidden->contentOutlineWidget()->isVisibleTo(m_studio->outlineDock()));
            QCOMPARE(pluginMenusInBar(), 1); // the shown window's menu, never another's
            for (auto command :
                 {StudioMainWindow::Reload, StudioMainWindow::Print, StudioMainWindow::Copy,
                  StudioMainWindow::Find, StudioMainWindow::ExportDoc, StudioMainWindow::SaveAs})
                QVERIFY(m_studio->commandAction(command)->isEnabled());
        }

        // A source file is no viewer: nothing is active, and the viewer commands go grey.
        const QString source = m_dir.filePath(QStringLiteral("main.c"));
        QVERIFY(writeFile(source, "int main()\n{\n    return 0;\n}\n"));
        m_studio->openLocation(source + QStringLiteral(" line 3"), 3, true);
        QVERIFY(m_studio->activeSource());
        QVERIFY(!first->isActiveViewer() && !second->isActiveViewer());
        QVERIFY(!m_studio->currentOutline());
        QVERIFY(!m_studio->commandAction(StudioMainWindow::Reload)->isEnabled());
        QVERIFY(!m_studio->commandAction(StudioMainWindow::Print)->isEnabled());
        QVERIFY(m_studio->commandAction(StudioMainWindow::Copy)->isEnabled());
        QVERIFY(m_studio->commandAction(StudioMainWindow::Close)->isEnabled());

        // Reload from the menu reaches the active window: it reads its file again.
        m_studio->tabs()->setCurrentWidget(first);
        QSignalSpy progressed(m_studio->progress()->bar(), &QProgressBar::valueChanged);
        m_studio->runCommand(StudioMainWindow::Reload);
        QVERIFY(!progressed.isEmpty());

        // Closing the active window's tab destroys it with its outline; the next one comes in.
        QPointer<QWidget> outline = first->contentOutlineWidget();
        QList<QPointer<QAction>> firstMenus;
        for (QMenu* menu : m_studio->pluginMenus())
            firstMenus.append(menu->menuAction());
        m_studio->runCommand(StudioMainWindow::Close);
        QTRY_VERIFY(first.isNull());
        QVERIFY(outline.isNull());
        // The toolbar drives whichever viewer is active now, and nothing when none is.
        QCOMPARE(toolBar->nextButton()->isEnabled(), second->isActiveViewer());
        QCOMPARE(m_studio->viewers(), QList<QAStViewerWindow*>{second.data()});
        for (const QPointer<QAction>& menu : firstMenus)
            QVERIFY(!menu || !m_studio->menuBar()->actions().contains(menu.data()));
        QVERIFY(pluginMenusInBar() <= 1);
        QCOMPARE(m_studio->tabs()->count(), 2);
    }

    // The plug-in's menu goes into the menu bar before Tools under the title it gives, and
    // leaves it again by its id.
    void pluginMenus()
    {
        QMenu menu;
        const int id = m_studio->insertMenu(&menu, QStringLiteral("&Commands"));
        QCOMPARE(menu.title(), QStringLiteral("&Commands"));
        const QList<QAction*> bar = m_studio->menuBar()->actions();
        const qsizetype at = bar.indexOf(menu.menuAction());
        QVERIFY(at > 0);
        QCOMPARE(bar.at(at + 1)->text(), QStringLiteral("&Tools"));
        QVERIFY(m_studio->insertMenu(nullptr, QStringLiteral("none")) < 0);
        QMenu other;
        const int otherId = m_studio->insertMenu(&other, QStringLiteral("Other"));
        QVERIFY(otherId != id);
        m_studio->removeMenu(id);
        QVERIFY(!m_studio->menuBar()->actions().contains(menu.menuAction()));
        QVERIFY(m_studio->menuBar()->actions().contains(other.menuAction()));
        m_studio->removeMenu(id); // twice, and an id never given: nothing happens
        m_studio->removeMenu(12345);
        m_studio->removeMenu(otherId);
        QVERIFY(!m_studio->menuBar()->actions().contains(other.menuAction()));
    }

    // Reading a large file drives the progress display from empty to full, never back, then
    // hides it.
    void progressDuringARead()
    {
        QByteArray content = "<XROD><DOCUMENT tag='big' title='big'>";
        for (int i = 0; i < 3000; ++i)
            content += QStringLiteral("<XROD:NODE name='n%1' type='Rule' state='%2' sum='1'>"
                                      "<SECTION><PARAGRAPH>item %1</PARAGRAPH></SECTION>"
                                      "</XROD:NODE>")
                           .arg(i)
                           .arg(i % 3 ? QStringLiteral("ok") : QStringLiteral("ko"))
                           .toUtf8();
        content += "</DOCUMENT></XROD>";
        const QString big = m_dir.filePath(QStringLiteral("big.crc"));
        QVERIFY(writeFile(big, content));

        ProgressPanel* panel = m_studio->progress();
        QVERIFY(!panel->isVisible());
        // Each move of the bar: its label, its number of steps and where it is.
        struct Move
        {
            QString label;
            int steps;
            int value;
        };
        QList<Move> moves;
        const QMetaObject::Connection moved =
            connect(panel->bar(), &QProgressBar::valueChanged, this, [&](int value) {
                moves.append({panel->label()->text(), panel->bar()->maximum(), value});
            });
        // The labels shown, as the window repaints: the display lets timers run then.
        QStringList labels;
        QTimer watch;
        connect(&watch, &QTimer::timeout, this, [&] {
            if (panel->isVisible() && labels.value(labels.size() - 1) != panel->label()->text())
                labels.append(panel->label()->text());
        });
        watch.start(0);
        QVERIFY(m_studio->openFiles({big}));
        watch.stop();
        disconnect(moved);
        // The reading: one step per 50 bytes, from empty to full, never back. The bar moves at
        // most once per repaint interval: how often depends on the machine.
        const int steps = int(content.size() / 50);
        QList<Move> reading;
        for (const Move& move : std::as_const(moves)) {
            if (move.label.contains(QLatin1String("big.crc")))
                reading.append(move);
        }
        QVERIFY(!reading.isEmpty());
        int last = -1;
        for (const Move& move : std::as_const(reading)) {
            QCOMPARE(move.steps, steps);
            QVERIFY(move.value >= last);
            last = move.value;
        }
        QCOMPARE(last, steps);
        // Then the outline and the summary are prepared, which the label says.
        QCOMPARE(labels,
                 QStringList(
                     {QStringLiteral("Analysing big.crc"), QStringLiteral("Filtering the results"),
                      QStringLiteral("Building the outline"), QStringLiteral("Writing the summary"),
                      QStringLiteral("Laying out the documents")}));
        QVERIFY(!panel->cancelButton()->text().isEmpty());
        QVERIFY(!panel->isVisible());
    }

    // A source location opens the file read-only at the line, once per file; a file that is not
    // there, or a location of another kind, is reported in the output window.
    void openingSourceLocations()
    {
        QByteArray lines;
        for (int i = 1; i <= 200; ++i)
            lines += "line " + QByteArray::number(i) + "\n";
        QVERIFY(writeFile(m_dir.filePath(QStringLiteral("long.c")), lines));

        // The studio's current directory follows the last file opened.
        const QString here = m_dir.filePath(QStringLiteral("here.crc"));
        QVERIFY(QFile::copy(example("rules-core.crc"), here));
        m_studio->openFiles({here});
        QCOMPARE(m_studio->currentDirectory(), m_dir.path());
        m_studio->openLocation(m_dir.filePath(QStringLiteral("long.c line 150")), 3, true);
        SourceView* source = m_studio->activeSource();
        QVERIFY(source);
        QVERIFY(source->isReadOnly());
        QCOMPARE(source->highlightedLine(), 150);
        QCOMPARE(source->textCursor().block().text(), QStringLiteral("line 150"));
        QCOMPARE(source->extraSelections().size(), 1);
        QVERIFY(source->font().styleHint() == QFont::TypeWriter);
        const int tabs = m_studio->tabs()->count();

        // The same file again, by a path relative to the studio's directory: the same tab.
        m_studio->tabs()->setCurrentIndex(0);
        m_studio->openLocation(QStringLiteral("long.c line 7"), 3, true);
        QCOMPARE(m_studio->tabs()->count(), tabs);
        QCOMPARE(m_studio->activeSource(), source);
        QCOMPARE(source->textCursor().block().text(), QStringLiteral("line 7"));
        // Past the end: the last line.
        m_studio->openLocation(m_dir.filePath(QStringLiteral("long.c line 9999")), 3, false);
        QCOMPARE(source->highlightedLine(), 201); // the empty line after the last line feed

        // The last " line N" is the line: a file name may hold the word.
        QVERIFY(writeFile(m_dir.filePath(QStringLiteral("a line b.c")), "one\ntwo\n"));
        m_studio->openLocation(QStringLiteral("  a line b.c line 2 "), 3, true);
        QVERIFY(m_studio->activeSource() && m_studio->activeSource() != source);
        QCOMPARE(m_studio->activeSource()->path(), m_dir.filePath(QStringLiteral("a line b.c")));
        QCOMPARE(m_studio->activeSource()->highlightedLine(), 2);
        Q_EMIT m_studio->tabs()->tabCloseRequested(m_studio->tabs()->currentIndex());
        QCOMPARE(m_studio->tabs()->count(), tabs);

        const QString missing = m_dir.filePath(QStringLiteral("gone.c"));
        m_studio->openLocation(missing + QStringLiteral(" line 3"), 3, true);
        QCOMPARE(m_studio->tabs()->count(), tabs);
        QVERIFY(m_studio->output()->contents().contains(missing));
        QVERIFY(m_studio->output()->isVisible());
        m_studio->openLocation(QStringLiteral("xrdlink://other.xrd#top"), 1, true);
        QVERIFY(m_studio->output()->contents().contains(QLatin1String("xrdlink://other.xrd#top")));
        QCOMPARE(m_studio->tabs()->count(), tabs);
    }

    // The services that only answer: where things are, and where messages go.
    void studioServices()
    {
        QCOMPARE(m_studio->caption(), QStringLiteral("crcstudio"));
        QCOMPARE(m_studio->mainWindow(), m_studio.get());
        QVERIFY(m_studio->trackwellInterface());
        QCOMPARE(QDir(m_studio->installDirectory()).absoluteFilePath(QStringLiteral("bin")),
                 QCoreApplication::applicationDirPath());
        QVERIFY(
            QFile::exists(m_studio->installDirectory() + QStringLiteral("/lib/reporterstyle.aml")));
        m_studio->openFiles({example("rules-core.crc")});
        QCOMPARE(m_studio->currentDirectory(), examples);
        QVERIFY(m_studio->documentSearchPath().contains(examples));

        m_studio->output()->hide();
        m_studio->logMonitor()->logMessage(QStringLiteral("logged\n"));
        m_studio->outputWindow()->appendOutput(QStringLiteral("appended"));
        QVERIFY(m_studio->output()->contents().endsWith(QLatin1String("logged\nappended")));
        m_studio->activateOutput();
        QVERIFY(m_studio->output()->isVisible());
        QVERIFY(m_studio->output()->textView()->isReadOnly());
    }

    // Preferences: Apply and OK hand the values to the plug-in and tell its windows, Cancel
    // leaves them, Defaults resets the page shown; OK writes the settings file, and a restarted
    // studio shows what was saved. A broken file: defaults, a message, and the file kept.
    void preferencesRoundTrip()
    {
        QPointer<PreferencesDialog> dialog = m_studio->showPreferences();
        QVERIFY(dialog);
        QVERIFY(dialog->pageTree()->topLevelItemCount() >= 1);
        QCOMPARE(dialog->pageTree()->topLevelItem(0)->childCount(), 1); // the style page
        QCOMPARE(dialog->currentPage(), QAReporter::preference()->general.get());
        QCOMPARE(m_studio->showPreferences(), dialog.data()); // one dialog at a time
        QSignalSpy changed(QAReporter::preference(), &QAReporterPref::preferencesChanged);

        const int before = QAReporter::preference()->general->autoDepth;
        const int chosen = before == 2 ? 3 : 2;
        depthSpin()->setValue(chosen);
        dialog->buttons()->button(QDialogButtonBox::Apply)->click();
        QCOMPARE(QAReporter::preference()->general->autoDepth, chosen);
        QCOMPARE(changed.size(), 1);
        dialog->buttons()->button(QDialogButtonBox::RestoreDefaults)->click();
        QCOMPARE(depthSpin()->value(), 4);
        dialog->buttons()->button(QDialogButtonBox::Cancel)->click();
        QTRY_VERIFY(dialog.isNull());
        QCOMPARE(changed.size(), 1);

        dialog = m_studio->showPreferences();
        depthSpin()->setValue(chosen);
        dialog->buttons()->button(QDialogButtonBox::Ok)->click();
        QTRY_VERIFY(dialog.isNull());
        QCOMPARE(QAReporter::preference()->general->autoDepth, chosen);
        QCOMPARE(changed.size(), 2);

        QString error;
        std::unique_ptr<QAResGroup> saved = QAResFile::read(settingsPath(), &error);
        QVERIFY2(saved, qPrintable(error));
        QARes* group = saved->search(QStringLiteral("CRC"));
        QVERIFY(group);
        QVERIFY(readFile(settingsPath())
                    .contains(QStringLiteral("<int name=\"auto_depth\" value=\"%1\"/>")
                                  .arg(chosen)
                                  .toUtf8()));

        const QString restarted = runChild({QStringLiteral("--restarted"), settingsPath()});
        QVERIFY2(restarted.contains(QStringLiteral("depth=%1\n").arg(chosen)),
                 qPrintable(restarted));

        const QString broken = m_dir.filePath(QStringLiteral("broken.xml"));
        const QByteArray garbage = "<resources version=\"1\">\n<group name=\"CRC\">\n<int";
        QVERIFY(writeFile(broken, garbage));
        const QString fresh = runChild({QStringLiteral("--restarted"), broken});
        QVERIFY2(fresh.contains(QLatin1String("depth=4\n")), qPrintable(fresh));
        QVERIFY2(fresh.contains(broken + QStringLiteral(":3")), qPrintable(fresh));
        QCOMPARE(readFile(broken), garbage); // quitting did not overwrite it

        // Quitting writes the settings of a readable file, the defaults included.
        const QString bare = m_dir.filePath(QStringLiteral("bare.xml"));
        QVERIFY(writeFile(bare, "<resources version=\"1\"/>\n"));
        const QString quit = runChild({QStringLiteral("--restarted"), bare});
        QVERIFY2(quit.contains(QLatin1String("depth=4\n")), qPrintable(quit));
        QVERIFY(readFile(bare).contains("<int name=\"auto_depth\" value=\"4\"/>"));
    }

    // File > Save As copies the bytes of the result file, CR LF line ends included; a copy that
    // cannot be written (full disk) is said so with the reason, and the file it was to replace
    // keeps its bytes.
    void saveAsCopiesBytes()
    {
        QByteArray crlf = readFile(example("rules-core.crc"));
        crlf.replace("\n", "\r\n");
        const QString source = m_dir.filePath(QStringLiteral("crlf.crc"));
        QVERIFY(writeFile(source, crlf));
        QVERIFY(m_studio->openFiles({source}));
        QAction* saveAs =
            menuAction(*m_studio, QStringLiteral("&File"), QStringLiteral("Save &As..."));
        QVERIFY(saveAs && saveAs->isEnabled());

        const QString copy = m_dir.filePath(QStringLiteral("copy.xrd"));
        m_dialogs->files.append({copy});
        saveAs->trigger();
        QCOMPARE(readFile(copy).size(), crlf.size());
        QCOMPARE(readFile(copy), crlf);

        const QString disk = m_dir.filePath(QStringLiteral("saveas-disk"));
        if (!mountTinyDisk(disk))
            QSKIP("mounting a small file system is not allowed here");
        const auto unmount =
            qScopeGuard([&] { QProcess::execute(QStringLiteral("umount"), {disk}); });
        const QString target = disk + QStringLiteral("/old.xrd");
        QVERIFY(writeFile(target, "old copy"));
        const qint64 room = QStorageInfo(disk).bytesAvailable();
        QVERIFY(writeFile(disk + QStringLiteral("/filler"), QByteArray(room - 4096, 'f')));
        m_dialogs->asked.clear();
        m_dialogs->files.append({target});
        m_dialogs->buttons = {QMessageBox::Yes}; // overwrite it
        saveAs->trigger();
        QCOMPARE(m_dialogs->asked.size(), 3); // the name, overwrite?, the failure
        QVERIFY2(m_dialogs->asked.last().text.contains(QLatin1String("could not be save")) &&
                     m_dialogs->asked.last().text.contains(QLatin1String("No space left")),
                 qPrintable(m_dialogs->asked.last().text));
        QCOMPARE(readFile(target), QByteArray("old copy"));
    }

    // File > Export to HTML: into a folder that cannot be written the user is told which pages
    // failed and why; into a good one the summary page opens the set.
    void exportFromTheMenu()
    {
        QVERIFY(m_studio->openFiles({example("rules-core.crc")}));
        QAction* exportAction =
            menuAction(*m_studio, QStringLiteral("&File"), QStringLiteral("&Export to HTML..."));
        QVERIFY(exportAction && exportAction->isEnabled());

        const QString good = m_dir.filePath(QStringLiteral("published"));
        QVERIFY(QDir().mkpath(good));
        m_dialogs->directories = {good};
        exportAction->trigger();
        QVERIFY(readFile(good + QStringLiteral("/index.html"))
                    .contains("<h1>Code review results</h1>"));
        QVERIFY(readFile(good + QStringLiteral("/rules.html")).contains("href=\"index.html\""));
        QVERIFY(m_dialogs->asked.size() == 1); // the folder only: nothing went wrong

        const QString disk = m_dir.filePath(QStringLiteral("export-disk"));
        if (!mountTinyDisk(disk))
            QSKIP("mounting a small file system is not allowed here");
        const auto unmount =
            qScopeGuard([&] { QProcess::execute(QStringLiteral("umount"), {disk}); });
        QVERIFY(QProcess::execute(QStringLiteral("mount"),
                                  {QStringLiteral("-o"), QStringLiteral("remount,ro"), disk}) == 0);
        m_dialogs->asked.clear();
        m_dialogs->directories = {disk};
        exportAction->trigger();
        QCOMPARE(m_dialogs->asked.size(), 2);
        const QString said = m_dialogs->asked.last().text;
        QVERIFY2(said.contains(QLatin1String("not complete")) && said.contains(disk) &&
                     said.contains(QLatin1String("Read-only")),
                 qPrintable(said));
    }

    // A link to a report file that is a FIFO (or a device) is refused at once with the reason;
    // the studio does not wait for a writer that never comes.
    void followingALinkToAFifo()
    {
        const QString fifo = m_dir.filePath(QStringLiteral("pipe.xrd"));
        QVERIFY(QProcess::execute(QStringLiteral("mkfifo"), {fifo}) == 0);
        const QString linking = m_dir.filePath(QStringLiteral("linking.crc"));
        QVERIFY(writeFile(linking,
                          "<XROD><DOCUMENT tag='lk'><XROD:NODE name='n' type='R' state='ko' "
                          "sum='1'><SECTION><PARAGRAPH><LINK target='xrdlink://pipe.xrd'>"
                          "follow me to the pipe</LINK></PARAGRAPH></SECTION></XROD:NODE>"
                          "</DOCUMENT></XROD>"));
        auto* viewer = qobject_cast<QAReporter*>(m_studio->openFiles({linking}));
        QVERIFY(viewer);
        DReportWidget* view = viewer->documentView();
        QTRY_VERIFY(view->isVisible());
        // Where the link is drawn: the first point of the view that shows it.
        QPoint onLink(-1, -1);
        for (int y = 0; y < view->viewport()->height() && onLink.x() < 0; y += 3) {
            for (int x = 0; x < view->viewport()->width() && onLink.x() < 0; x += 5) {
                const DItem* item = view->itemAt(QPoint(x, y));
                if (item && (item->type() == DItem::Link ||
                             (item->parent() && item->parent()->type() == DItem::Link)))
                    onLink = QPoint(x, y);
            }
        }
        QVERIFY(onLink.x() >= 0);
        m_dialogs->asked.clear();
        QTest::mouseClick(view->viewport(), Qt::LeftButton, {}, onLink);
        QTRY_VERIFY(!m_dialogs->asked.isEmpty());
        QVERIFY(m_dialogs->asked.last().text.contains(fifo));
        QVERIFY2(m_studio->output()->contents().contains(
                     fifo + QStringLiteral(": cannot open the file: it is not a regular file")),
                 qPrintable(m_studio->output()->contents()));
    }

    // Settings that cannot be written on File > Quit: a full disk or a read-only folder keeps
    // the old settings file whole, and the user is told why.
    void quittingOnAFullDiskKeepsTheSettings()
    {
        const QString disk = m_dir.filePath(QStringLiteral("full"));
        if (!mountTinyDisk(disk))
            QSKIP("mounting a small file system is not allowed here");
        const auto unmount =
            qScopeGuard([&] { QProcess::execute(QStringLiteral("umount"), {disk}); });

        const QString settings = disk + QStringLiteral("/settings.xml");
        QByteArray old = "<resources version=\"1\">\n";
        while (old.size() < 13 * 1024)
            old += "<group name=\"OTHER\"><int name=\"kept\" value=\"1\"/></group>\n";
        old += "</resources>\n";
        QVERIFY(writeFile(settings, old));
        // All but a few kilobytes of the room left are taken: the new file starts to be written.
        const qint64 room = QStorageInfo(disk).bytesAvailable();
        QVERIFY(writeFile(disk + QStringLiteral("/filler"), QByteArray(room - 4096, 'f')));

        const QString quit = runChild({QStringLiteral("--quit-from-menu"), settings});
        QVERIFY2(quit.contains(QLatin1String("message=")) && quit.contains(settings) &&
                     quit.contains(QLatin1String("No space left")),
                 qPrintable(quit));
        QCOMPARE(readFile(settings), old);
    }

    // The real crcstudio with --exit-after-open, as the benchmarks run it: the seconds until the
    // outline is shown on standard output and status 0; with a file it cannot read, the file
    // named on standard error and status 2. Nothing waits for a person in either case.
    void exitAfterOpenPrintsTheTimeAndEnds()
    {
        const QString timed = m_dir.filePath(QStringLiteral("timed"));
        QVERIFY(QDir().mkpath(timed));
        const QString broken = timed + QStringLiteral("/broken.crc");
        QVERIFY(writeFile(broken, "<DOCUMENT><XROD><XROD:NODE name=\"a\""));
        auto run = [&](const QStringList& files) {
            QProcess studio;
            studio.start(
                QStringLiteral(CRCSTUDIO_PATH),
                QStringList{QStringLiteral("--exit-after-open"), QStringLiteral("--settings"),
                            timed + QStringLiteral("/settings.xml"), QStringLiteral("--defects"),
                            timed + QStringLiteral("/defects.sqlite")} +
                    files);
            const bool ended = studio.waitForFinished(60000);
            if (!ended)
                studio.kill();
            return std::make_tuple(ended ? studio.exitCode() : -1,
                                   QString::fromLocal8Bit(studio.readAllStandardOutput()),
                                   QString::fromLocal8Bit(studio.readAllStandardError()));
        };

        const auto [status, out, err] =
            run({example("rules-core.crc"), example("security-audit.crc")});
        QVERIFY2(status == 0, qPrintable(err));
        bool isNumber = false;
        const double seconds = out.trimmed().toDouble(&isNumber);
        QVERIFY2(isNumber && seconds > 0, qPrintable(out));

        const auto [failedStatus, failedOut, failedErr] = run({example("rules-core.crc"), broken});
        QCOMPARE(failedStatus, 2);
        QVERIFY2(failedErr.contains(QLatin1String("broken.crc")), qPrintable(failedErr));
        QVERIFY(failedOut.isEmpty());
    }
};

int main(int argc, char** argv)
{
    QApplication app(argc, argv);
    if (argc == 3 && qstrcmp(argv[1], "--restarted") == 0)
        return restartedStudio(QString::fromLocal8Bit(argv[2]));
    if (argc == 3 && qstrcmp(argv[1], "--quit-from-menu") == 0)
        return quitFromMenu(QString::fromLocal8Bit(argv[2]));
    TestHost test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_host.moc"
