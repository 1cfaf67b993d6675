// crcstudio as a user meets it: the plug-in loaded from its library, result files in tabs, the
// commands following the tab shown, progress while a file is read, source files at a line, and
// the preferences kept in the settings file across a restart.

#include "host/pluginlibrary.h"
#include "host/studiomainwindow.h"
#include "sdk/qaresfile.h"
#include "tests/studio/studiofixture.h"
#include "tests/testkit.h"

#include <QAbstractScrollArea>
#include <QApplication>
#include <QDialog>
#include <QDialogButtonBox>
#include <QDir>
#include <QDockWidget>
#include <QGroupBox>
#include <QLabel>
#include <QLibraryInfo>
#include <QMenu>
#include <QMenuBar>
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
#include <QToolBar>
#include <QTreeView>
#include <QTreeWidget>
#include <algorithm>
#include <iostream>
#include <tuple>

namespace {

using namespace testkit;

// The dialog Tools > Preferences... opened; null when none did.
QDialog* openPreferences(StudioFixture& studio)
{
    if (!studio.trigger({QStringLiteral("Tools"), QStringLiteral("Preferences...")}))
        return nullptr;
    for (QDialog* dialog : studio.window().findChildren<QDialog*>()) {
        if (dialog->isVisible())
            return dialog;
    }
    return nullptr;
}

// The outline depth the preferences dialog shows.
QSpinBox* depthSpin(const QDialog* dialog)
{
    for (QGroupBox* group : dialog->findChildren<QGroupBox*>()) {
        if (group->isVisible() && group->title() == QLatin1String("Report Contents Depth Open"))
            return group->findChild<QSpinBox*>();
    }
    return nullptr;
}

void press(const QDialog* dialog, QDialogButtonBox::StandardButton which)
{
    QTest::mouseClick(dialog->findChild<QDialogButtonBox*>()->button(which), Qt::LeftButton);
}

// The plug-in keeps its state for the whole process, bound to the first studio: a restart of the
// studio is a new process. This one shows what a fresh studio made of a settings file, then quits
// as a user would.
int restartedStudio(const QString& settings)
{
    StudioFixture studio;
    if (!studio.start(settings))
        return 2;
    QDialog* dialog = openPreferences(studio);
    if (!dialog || !depthSpin(dialog))
        return 3;
    std::cout << "depth=" << depthSpin(dialog)->value() << "\n";
    press(dialog, QDialogButtonBox::Cancel);
    std::cout << "output=" << studio.output().toStdString() << "\n";
    if (!studio.open({example("rules-core.crc")})) // quitting with a window open
        return 4;
    studio.quit();
    return 0;
}

// A studio on `settings` quit through File > Quit; prints the messages it showed.
int quitFromMenu(const QString& settings)
{
    StudioFixture studio;
    if (!studio.start(settings))
        return 2;
    if (!studio.trigger({QStringLiteral("File"), QStringLiteral("Quit")}))
        return 3;
    for (const QString& message : studio.dialogs().messages())
        std::cout << "message=" << message.toStdString() << "\n";
    return 0;
}

// How many menus of the menu bar read `title`.
int menusTitled(const QMainWindow& window, const QString& title)
{
    int count = 0;
    for (const QAction* action : window.menuBar()->actions())
        count += action->menu() && plainText(action->text()) == title ? 1 : 0;
    return count;
}

} // namespace

class TestHost : public QObject
{
    Q_OBJECT

    QTemporaryDir m_dir;
    StudioFixture m_studio;

    QString settingsPath() const { return m_dir.filePath(QStringLiteral("config/settings.xml")); }

    bool enabled(const QString& menu, const QString& text)
    {
        QAction* action = m_studio.entry({menu, text});
        return action && action->isEnabled();
    }

    // Whether the entry `names` of the outline shown is drawn open.
    bool isOpen(const QStringList& names)
    {
        const QModelIndex entry = m_studio.outlineEntry(names);
        return entry.isValid() && m_studio.outline()->isExpanded(entry);
    }

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY(m_dir.isValid());
        QVERIFY(m_studio.start(settingsPath()));
    }

    void cleanupTestCase()
    {
        QVERIFY(m_studio.open({example("rules-core.crc"), example("security-audit.crc")}));
        m_studio.quit();
    }

    void cleanup()
    {
        QVERIFY(m_studio.closeAllTabs());
        m_studio.dialogs().asked.clear();
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

        // A studio without its plug-in says why in its output window, and opens nothing from
        // its menus; it has no preferences to show.
        StudioMainWindow refused(foreign, m_dir.filePath(QStringLiteral("refused.xml")));
        QVERIFY(!refused.plugin());
        QVERIFY(refused.pluginError().contains(foreign));
        auto* output = refused.findChild<QDockWidget*>(QStringLiteral("output"));
        QVERIFY(output && output->findChild<QPlainTextEdit*>()->toPlainText().contains(
                              refused.pluginError()));
        refused.show();
        const auto entry = [&refused](const QString& menu, const QString& text) {
            for (QAction* top : refused.menuBar()->actions()) {
                if (top->menu() && plainText(top->text()) == menu)
                    return entryOf(top->menu(), text);
            }
            return static_cast<QAction*>(nullptr);
        };
        m_studio.dialogs().files.append({example("rules-core.crc")});
        QAction* open = entry(QStringLiteral("File"), QStringLiteral("Open..."));
        QVERIFY(open);
        open->trigger();
        QCOMPARE(refused.findChild<QTabWidget*>(QStringLiteral("tabs"))->count(), 0);
        QAction* preferences = entry(QStringLiteral("Tools"), QStringLiteral("Preferences..."));
        QVERIFY(preferences);
        preferences->trigger();
        QVERIFY(refused.findChildren<QDialog*>().isEmpty());
        m_studio.dialogs().files.clear();
        refused.close();
        QVERIFY(m_studio.bringForward());
    }

    // One window per set of files; a file already shown brings its window forward instead of
    // opening a second one, whichever way it comes: Open dialog (by a relative path too) or
    // drop.
    void openingFiles()
    {
        QVERIFY(m_studio.open({example("rules-core.crc"), example("rules-gui.crc")}));
        QCOMPARE(m_studio.tabCount(), 1);
        QCOMPARE(m_studio.currentTabText(), QStringLiteral("rules-core.crc, rules-gui.crc"));
        QVERIFY(m_studio.tabTip(0).contains(example("rules-gui.crc")));
        QVERIFY(!m_studio.tabs()->currentWidget()->isWindow()); // a page of the tabs

        QVERIFY(m_studio.open({example("security-audit.crc")}));
        QCOMPARE(m_studio.tabCount(), 2);
        QCOMPARE(m_studio.currentTabText(), QStringLiteral("security-audit.crc"));

        // Again, by a relative path too: the first window comes forward, no tab is added.
        QDir::setCurrent(examples);
        QVERIFY(m_studio.open({QStringLiteral("rules-gui.crc")}));
        QCOMPARE(m_studio.tabCount(), 2);
        QCOMPARE(m_studio.currentTabText(), QStringLiteral("rules-core.crc, rules-gui.crc"));

        // The Open dialog offers the plug-in's filters first.
        m_studio.dialogs().asked.clear();
        QVERIFY(m_studio.open({example("security-audit.crc")}));
        QCOMPARE(m_studio.dialogs().asked.size(), 1);
        QCOMPARE(m_studio.dialogs().asked.first().kind, QStringLiteral("open"));
        QVERIFY2(m_studio.dialogs().asked.first().text.startsWith(
                     QLatin1String("Code Review (*.crc);;")),
                 qPrintable(m_studio.dialogs().asked.first().text));
        QCOMPARE(m_studio.tabCount(), 2);
        QCOMPARE(m_studio.currentTabText(), QStringLiteral("security-audit.crc"));
        QVERIFY(m_studio.trigger({QStringLiteral("File"), QStringLiteral("Open...")})); // cancelled
        QCOMPARE(m_studio.tabCount(), 2);

        // Files that cannot be read: the plug-in says so, and no empty tab is left behind.
        const QString broken = m_dir.filePath(QStringLiteral("broken.crc"));
        QVERIFY(writeFile(broken, "<XROD><DOCUMENT>"));
        m_studio.dialogs().asked.clear();
        QVERIFY(m_studio.open({broken, m_dir.filePath(QStringLiteral("missing.crc"))}));
        QCOMPARE(m_studio.dialogs().messages().size(), 1);
        QVERIFY(m_studio.dialogs().messages().first().contains(QLatin1String("missing.crc")));
        QCOMPARE(m_studio.tabCount(), 2);
        QCOMPARE(m_studio.currentTabText(), QStringLiteral("security-audit.crc"));

        // Dropped files: only result files are taken; a drag of nothing else is refused.
        const QString copy = m_dir.filePath(QStringLiteral("dropped.crc"));
        QVERIFY(QFile::copy(example("rules-core.crc"), copy));
        QVERIFY(!m_studio.drop({example("metrics-detail.xrd")}));
        QVERIFY(m_studio.drop({copy, example("metrics-detail.xrd")}));
        QCOMPARE(m_studio.tabCount(), 3);
        QCOMPARE(m_studio.currentTabText(), QStringLiteral("dropped.crc"));
        QCOMPARE(m_studio.shownFiles(), QStringList{copy});
    }

    // The tab shown is the active viewer: its outline shows, its "Code Review" menu is the only
    // one in the menu bar, and the commands follow what the tab shown can do. A source file is
    // no viewer. Closing a tab destroys the window and its outline.
    void tabSwitchesMoveTheActiveViewer()
    {
        const QString source = m_dir.filePath(QStringLiteral("main.c"));
        QVERIFY(writeFile(source, "int main()\n{\n    return 0;\n}\n"));
        const QString withSource = m_dir.filePath(QStringLiteral("with-source.crc"));
        QVERIFY(writeFile(withSource,
                          "<XROD><DOCUMENT tag='w'><XROD:NODE name='n' type='Rule' state='ko'>"
                          "<SECTION><PARAGRAPH><LINK target='main.c line 3'>main.c line 3</LINK>"
                          "</PARAGRAPH></SECTION></XROD:NODE></DOCUMENT></XROD>"));
        QVERIFY(m_studio.open({withSource}));
        QVERIFY(m_studio.open({example("rules-gui.crc")}));
        // The plug-in's shared toolbar lives in the main window.
        QVERIFY(m_studio.window().findChild<QToolBar*>(QStringLiteral("codeReviewToolBar")));

        for (const QString& shown :
             {QStringLiteral("with-source.crc"), QStringLiteral("rules-gui.crc"),
              QStringLiteral("with-source.crc")}) {
            QVERIFY(m_studio.showTab(m_studio.tabNamed(shown)));
            QVERIFY(m_studio.outline());
            QCOMPARE(m_studio.outline()->model()->index(0, 0).data().toString(), shown);
            const QList<QTreeView*> outlines =
                m_studio.window().findChildren<QTreeView*>(QStringLiteral("reportOutline"));
            QCOMPARE(std::count_if(outlines.begin(), outlines.end(),
                                   [](const QTreeView* tree) { return tree->isVisible(); }),
                     1);
            QCOMPARE(menusTitled(m_studio.window(), QStringLiteral("Code Review")), 1);
            for (const auto& [menu, command] : {std::pair{"File", "Reload"},
                                                {"File", "Print..."},
                                                {"Edit", "Copy"},
                                                {"Edit", "Find..."},
                                                {"File", "Export to HTML..."},
                                                {"File", "Save As..."}})
                QVERIFY2(enabled(QLatin1String(menu), QLatin1String(command)), command);
        }

        // A source file is no viewer: no outline, no "Code Review" menu, and the viewer commands
        // go grey.
        QVERIFY(m_studio.clickLink(QStringLiteral("main.c line 3")));
        QVERIFY(m_studio.sourceView());
        QVERIFY(!m_studio.outline());
        QCOMPARE(menusTitled(m_studio.window(), QStringLiteral("Code Review")), 0);
        QVERIFY(!enabled(QStringLiteral("File"), QStringLiteral("Reload")));
        QVERIFY(!enabled(QStringLiteral("File"), QStringLiteral("Print...")));
        QVERIFY(enabled(QStringLiteral("Edit"), QStringLiteral("Copy")));
        QVERIFY(enabled(QStringLiteral("File"), QStringLiteral("Close")));

        // Reload from the menu reaches the active window: it reads its file again.
        QVERIFY(m_studio.showTab(m_studio.tabNamed(QStringLiteral("with-source.crc"))));
        QSignalSpy progressed(m_studio.progressBar(), &QProgressBar::valueChanged);
        QVERIFY(m_studio.trigger({QStringLiteral("File"), QStringLiteral("Reload")}));
        QVERIFY(!progressed.isEmpty());

        // Closing the active window's tab destroys it with its outline; the next one comes in,
        // and the toolbar drives it.
        const QPointer<QWidget> first = m_studio.tabs()->currentWidget();
        const QPointer<QWidget> outline = m_studio.outline();
        QVERIFY(m_studio.trigger({QStringLiteral("File"), QStringLiteral("Close")}));
        QTRY_VERIFY(first.isNull());
        QVERIFY(outline.isNull());
        QCOMPARE(m_studio.tabCount(), 2);
        QCOMPARE(m_studio.currentTabText(), QStringLiteral("rules-gui.crc"));
        QVERIFY(m_studio.toolBarButton(QStringLiteral("Next Failed Test"))->isEnabled());
        QCOMPARE(menusTitled(m_studio.window(), QStringLiteral("Code Review")), 1);

        // With only the source left, the toolbar drives nothing.
        QVERIFY(m_studio.closeTab(m_studio.tabNamed(QStringLiteral("rules-gui.crc"))));
        QVERIFY(m_studio.sourceView());
        QVERIFY(!m_studio.toolBarButton(QStringLiteral("Next Failed Test"))->isEnabled());
        QCOMPARE(menusTitled(m_studio.window(), QStringLiteral("Code Review")), 0);
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

        QWidget* panel = m_studio.progress();
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
            connect(m_studio.progressBar(), &QProgressBar::valueChanged, this, [&](int value) {
                moves.append(
                    {m_studio.progressLabel()->text(), m_studio.progressBar()->maximum(), value});
            });
        // The labels shown, as the window repaints: the display lets timers run then.
        QStringList labels;
        QTimer watch;
        connect(&watch, &QTimer::timeout, this, [&] {
            if (panel->isVisible() &&
                labels.value(labels.size() - 1) != m_studio.progressLabel()->text())
                labels.append(m_studio.progressLabel()->text());
        });
        watch.start(0);
        QVERIFY(m_studio.open({big}));
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
        QVERIFY(!m_studio.cancelButton()->text().isEmpty());
        QVERIFY(!panel->isVisible());
    }

    // A link to a source location opens the file read-only at the line, once per file; a file
    // that is not there is reported in the output window, which comes forward.
    void openingSourceLocations()
    {
        QByteArray lines;
        for (int i = 1; i <= 200; ++i)
            lines += "line " + QByteArray::number(i) + "\n";
        QVERIFY(writeFile(m_dir.filePath(QStringLiteral("long.c")), lines));
        QVERIFY(writeFile(m_dir.filePath(QStringLiteral("a line b.c")), "one\ntwo\n"));
        const QByteArray link = "<PARAGRAPH><LINK target='%1'>%2</LINK></PARAGRAPH>";
        QByteArray report = "<XROD><DOCUMENT tag='s'><XROD:NODE name='n' type='Rule' state='ko'>"
                            "<SECTION>";
        for (const auto& [target, label] :
             {std::pair{m_dir.filePath(QStringLiteral("long.c line 150")),
                        QStringLiteral("at 150")},
              {QStringLiteral("long.c line 7"), QStringLiteral("at 7")},
              {m_dir.filePath(QStringLiteral("long.c line 9999")), QStringLiteral("past the end")},
              {QStringLiteral("  a line b.c line 2 "), QStringLiteral("a line b")},
              {m_dir.filePath(QStringLiteral("gone.c line 3")), QStringLiteral("gone")}})
            report += QByteArray(link).replace("%1", target.toUtf8()).replace("%2", label.toUtf8());
        report += "</SECTION></XROD:NODE></DOCUMENT></XROD>";
        const QString here = m_dir.filePath(QStringLiteral("here.crc"));
        QVERIFY(writeFile(here, report));
        const auto showReport = [this] { return m_studio.showTab(m_studio.tabNamed("here.crc")); };

        // The studio's current directory follows the last file opened: the next Open starts there.
        QVERIFY(m_studio.open({here}));
        QVERIFY(m_studio.trigger({QStringLiteral("File"), QStringLiteral("Open...")}));
        QCOMPARE(m_studio.dialogs().openedIn.last(), m_dir.path());
        QVERIFY(m_studio.clickLink(QStringLiteral("at 150")));
        QPlainTextEdit* source = m_studio.sourceView();
        QVERIFY(source);
        QVERIFY(source->isReadOnly());
        QCOMPARE(m_studio.highlightedLine(), 150);
        QCOMPARE(source->textCursor().block().text(), QStringLiteral("line 150"));
        QCOMPARE(source->extraSelections().size(), 1);
        QVERIFY(source->font().styleHint() == QFont::TypeWriter);
        QCOMPARE(m_studio.sourcePath(), m_dir.filePath(QStringLiteral("long.c")));
        const int tabs = m_studio.tabCount();

        // The same file again, by a path relative to the report: the same tab.
        QVERIFY(showReport());
        QVERIFY(m_studio.clickLink(QStringLiteral("at 7")));
        QCOMPARE(m_studio.tabCount(), tabs);
        QCOMPARE(m_studio.sourceView(), source);
        QCOMPARE(source->textCursor().block().text(), QStringLiteral("line 7"));
        // Past the end: the last line.
        QVERIFY(showReport());
        QVERIFY(m_studio.clickLink(QStringLiteral("past the end")));
        QCOMPARE(m_studio.highlightedLine(), 201); // the empty line after the last line feed

        // The last " line N" is the line: a file name may hold the word.
        QVERIFY(showReport());
        QVERIFY(m_studio.clickLink(QStringLiteral("a line b")));
        QVERIFY(m_studio.sourceView() && m_studio.sourceView() != source);
        QCOMPARE(m_studio.sourcePath(), m_dir.filePath(QStringLiteral("a line b.c")));
        QCOMPARE(m_studio.highlightedLine(), 2);
        QVERIFY(m_studio.closeTab(m_studio.tabs()->currentIndex()));
        QCOMPARE(m_studio.tabCount(), tabs);

        // A file that is not there: not located (the question's default, then no file chosen).
        QVERIFY(showReport());
        m_studio.outputDock()->hide();
        QVERIFY(m_studio.clickLink(QStringLiteral("gone")));
        QCOMPARE(m_studio.tabCount(), tabs);
        QVERIFY(m_studio.output().contains(m_dir.filePath(QStringLiteral("gone.c"))));
        QVERIFY(m_studio.outputDock()->isVisible());
        QVERIFY(m_studio.outputDock()->findChild<QPlainTextEdit*>()->isReadOnly());
    }

    // Preferences: Apply and OK hand the values to the plug-in, whose windows then open their
    // outlines to the depth chosen; Defaults resets the page shown; OK writes the settings file,
    // and a restarted studio shows what was saved. A broken file: defaults, a message, and the
    // file kept.
    void preferencesRoundTrip()
    {
        QPointer<QDialog> dialog = openPreferences(m_studio);
        QVERIFY(dialog);
        auto* pages = dialog->findChild<QTreeWidget*>();
        QVERIFY(pages && pages->topLevelItemCount() >= 1);
        QCOMPARE(pages->topLevelItem(0)->childCount(), 1);  // the style page
        QVERIFY(depthSpin(dialog));                         // the general page is shown first
        QCOMPARE(openPreferences(m_studio), dialog.data()); // one dialog at a time

        const int before = depthSpin(dialog)->value();
        const int chosen = before == 2 ? 3 : 2;
        const QStringList noGoto{QStringLiteral("rules-core.crc"), QStringLiteral("src/main.c"),
                                 QStringLiteral("no-goto")};
        typeOver(depthSpin(dialog), QString::number(chosen));
        press(dialog, QDialogButtonBox::Apply);
        QVERIFY(m_studio.open({example("rules-core.crc")}));
        QVERIFY(isOpen({QStringLiteral("rules-core.crc"), QStringLiteral("src/main.c")}));
        QCOMPARE(isOpen(noGoto), chosen > 2);
        QVERIFY(m_studio.closeTab(0));
        press(dialog, QDialogButtonBox::RestoreDefaults);
        QCOMPARE(depthSpin(dialog)->value(), 4);
        press(dialog, QDialogButtonBox::Cancel);
        QTRY_VERIFY(dialog.isNull());

        dialog = openPreferences(m_studio);
        QVERIFY(dialog);
        typeOver(depthSpin(dialog), QString::number(chosen));
        press(dialog, QDialogButtonBox::Ok);
        QTRY_VERIFY(dialog.isNull());
        QVERIFY(m_studio.open({example("rules-core.crc")}));
        QCOMPARE(isOpen(noGoto), chosen > 2);

        QString error;
        std::unique_ptr<QAResGroup> saved = QAResFile::read(settingsPath(), &error);
        QVERIFY2(saved, qPrintable(error));
        QVERIFY(saved->search(QStringLiteral("CRC")));
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
        QVERIFY(m_studio.open({source}));
        const QStringList saveAs{QStringLiteral("File"), QStringLiteral("Save As...")};

        const QString copy = m_dir.filePath(QStringLiteral("copy.xrd"));
        m_studio.dialogs().files.append({copy});
        QVERIFY(m_studio.trigger(saveAs));
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
        FixtureDialogs& dialogs = m_studio.dialogs();
        dialogs.asked.clear();
        dialogs.files.append({target});
        dialogs.buttons = {QMessageBox::Yes}; // overwrite it
        QVERIFY(m_studio.trigger(saveAs));
        QCOMPARE(dialogs.asked.size(), 3); // the name, overwrite?, the failure
        QVERIFY2(dialogs.asked.last().text.contains(QLatin1String("could not be save")) &&
                     dialogs.asked.last().text.contains(QLatin1String("No space left")),
                 qPrintable(dialogs.asked.last().text));
        QCOMPARE(readFile(target), QByteArray("old copy"));
    }

    // File > Export to HTML: into a folder that cannot be written the user is told which pages
    // failed and why; into a good one the summary page opens the set.
    void exportFromTheMenu()
    {
        QVERIFY(m_studio.open({example("rules-core.crc")}));
        const QStringList exportPages{QStringLiteral("File"), QStringLiteral("Export to HTML...")};
        FixtureDialogs& dialogs = m_studio.dialogs();

        const QString good = m_dir.filePath(QStringLiteral("published"));
        QVERIFY(QDir().mkpath(good));
        dialogs.asked.clear();
        dialogs.directories = {good};
        QVERIFY(m_studio.trigger(exportPages));
        QVERIFY(readFile(good + QStringLiteral("/index.html"))
                    .contains("<h1>Code review results</h1>"));
        QVERIFY(readFile(good + QStringLiteral("/rules.html")).contains("href=\"index.html\""));
        QCOMPARE(dialogs.asked.size(), 1); // the folder only: nothing went wrong

        const QString disk = m_dir.filePath(QStringLiteral("export-disk"));
        if (!mountTinyDisk(disk))
            QSKIP("mounting a small file system is not allowed here");
        const auto unmount =
            qScopeGuard([&] { QProcess::execute(QStringLiteral("umount"), {disk}); });
        QVERIFY(QProcess::execute(QStringLiteral("mount"),
                                  {QStringLiteral("-o"), QStringLiteral("remount,ro"), disk}) == 0);
        dialogs.asked.clear();
        dialogs.directories = {disk};
        QVERIFY(m_studio.trigger(exportPages));
        QCOMPARE(dialogs.asked.size(), 2);
        const QString said = dialogs.asked.last().text;
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
        QVERIFY(m_studio.open({linking}));
        m_studio.dialogs().asked.clear();
        QVERIFY(m_studio.clickLink(QStringLiteral("follow me to the pipe")));
        QTRY_VERIFY(!m_studio.dialogs().messages().isEmpty());
        QVERIFY(m_studio.dialogs().messages().last().contains(fifo));
        QVERIFY2(m_studio.output().contains(
                     fifo + QStringLiteral(": cannot open the file: it is not a regular file")),
                 qPrintable(m_studio.output()));
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
