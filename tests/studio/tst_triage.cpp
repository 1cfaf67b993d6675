// crcstudio through a day of reading findings: the command line without a display, the Open
// dialog and Open Recent, keys between tabs, source roots in the preferences, the source view
// of a finding, and defects that keep what the finding said.

#include "defects/defectstore.h"
#include "host/studiomainwindow.h"
#include "tests/studio/studiofixture.h"
#include "tests/testkit.h"

#include <QAbstractScrollArea>
#include <QApplication>
#include <QCheckBox>
#include <QDateTime>
#include <QDesktopServices>
#include <QDialog>
#include <QDialogButtonBox>
#include <QDir>
#include <QIcon>
#include <QImage>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QMessageBox>
#include <QPlainTextEdit>
#include <QPointer>
#include <QProcess>
#include <QProcessEnvironment>
#include <QPushButton>
#include <QScopeGuard>
#include <QSqlDatabase>
#include <QSqlQuery>
#include <QTabBar>
#include <QTabWidget>
#include <QTableWidget>
#include <QTemporaryDir>
#include <QTest>
#include <QTextBlock>
#include <QTextDocumentFragment>
#include <QTreeView>
#include <QTreeWidget>
#include <QUrl>
#include <iostream>
#include <sys/stat.h>

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

// A report whose one failed finding links to `target`.
QByteArray reportLinkingTo(const QString& target)
{
    return QStringLiteral("<XROD><DOCUMENT tag='r'><XROD:NODE name='finding' type='Rule' "
                          "state='ko'><SECTION><PARAGRAPH><LINK target='%1'>%1</LINK>"
                          "</PARAGRAPH></SECTION></XROD:NODE></DOCUMENT></XROD>")
        .arg(target)
        .toUtf8();
}

// The dialog Tools > Preferences... opened, showing its page `title`; null when there is none.
QDialog* preferencesAt(StudioFixture& studio, const QString& title)
{
    if (!studio.trigger({QStringLiteral("Tools"), QStringLiteral("Preferences...")}))
        return nullptr;
    QDialog* dialog = nullptr;
    for (QDialog* shown : studio.window().findChildren<QDialog*>()) {
        if (shown->isVisible() && shown->windowTitle() == QLatin1String("Preferences"))
            dialog = shown;
    }
    auto* pages = dialog ? dialog->findChild<QTreeWidget*>() : nullptr;
    const QList<QTreeWidgetItem*> found =
        pages ? pages->findItems(title, Qt::MatchExactly | Qt::MatchRecursive)
              : QList<QTreeWidgetItem*>();
    if (found.isEmpty()) {
        qWarning().noquote() << "The preferences have no page" << title;
        return nullptr;
    }
    QTest::mouseClick(pages->viewport(), Qt::LeftButton, {},
                      pages->visualItemRect(found.first()).center());
    return dialog;
}

// The rows of the source roots page: missing folder, a tab, the folder looked under.
QStringList rowsOf(const QTableWidget* table)
{
    QStringList rows;
    for (int row = 0; row < table->rowCount(); ++row)
        rows.append(table->item(row, 0)->text() + QLatin1Char('\t') + table->item(row, 1)->text());
    return rows;
}

// The field in which the cell of `table` at `row`, `column` is being edited; null when none is.
QLineEdit* cellEditor(const QTableWidget* table, int row, int column)
{
    const QRect cell = table->visualRect(table->model()->index(row, column));
    for (QLineEdit* field : table->viewport()->findChildren<QLineEdit*>()) {
        if (field->isVisible() && field->geometry().contains(cell.center()))
            return field;
    }
    qWarning() << "The cell" << row << column << "is not being edited";
    return nullptr;
}

// Types `text` over what the cell being edited holds, then Return.
bool typeIntoCell(const QTableWidget* table, int row, int column, const QString& text)
{
    QLineEdit* editor = cellEditor(table, row, column);
    if (!editor)
        return false;
    QTest::keyClick(editor, Qt::Key_A, Qt::ControlModifier);
    QTest::keyClicks(editor, text);
    QTest::keyClick(editor, Qt::Key_Return);
    // The view takes the text once the events that follow the key are handled.
    QCoreApplication::processEvents();
    return true;
}

// Double-clicks the cell and types `text` over what it holds.
bool editCell(QTableWidget* table, int row, int column, const QString& text)
{
    const QRect cell = table->visualRect(table->model()->index(row, column));
    QTest::mouseClick(table->viewport(), Qt::LeftButton, {}, cell.center());
    QTest::mouseDClick(table->viewport(), Qt::LeftButton, {}, cell.center());
    return typeIntoCell(table, row, column, text);
}

QPushButton* buttonNamed(const QWidget* parent, const QString& text)
{
    for (QPushButton* button : parent->findChildren<QPushButton*>()) {
        if (button->isVisible() && plainText(button->text()) == text)
            return button;
    }
    qWarning().noquote() << "No button" << text;
    return nullptr;
}

// Shows the dialog handed to the studio's dialogs, lets `act` work on it as a user does, and
// answers how it ended.
std::function<int(QDialog*)> actingOn(const std::function<void(QDialog*)>& act)
{
    return [act](QDialog* dialog) {
        dialog->show();
        act(dialog);
        const int result = dialog->result();
        dialog->hide();
        return result;
    };
}

// Clicks the button of the dialog that reads `text`.
void click(const QDialog* dialog, const QString& text)
{
    if (QPushButton* button = buttonNamed(dialog, text))
        QTest::mouseClick(button, Qt::LeftButton);
}

QList<Defect> storedDefects(const QString& store)
{
    DefectStore reader(store);
    QList<Defect> defects;
    if (!reader.read(&defects))
        qWarning() << reader.errorString();
    return defects;
}

// A defect store as the first crcstudio made it, holding one defect; false when it cannot be
// made.
bool writeFirstStore(const QString& path)
{
    bool made = false;
    {
        QSqlDatabase database =
            QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), QStringLiteral("first"));
        database.setDatabaseName(path);
        QSqlQuery query(database);
        made = database.open() &&
               query.exec(QStringLiteral(
                   "CREATE TABLE defects ( id INTEGER PRIMARY KEY AUTOINCREMENT, state TEXT NOT "
                   "NULL DEFAULT 'open'  CHECK (state IN ('open', 'closed')), headline TEXT NOT "
                   "NULL, description TEXT NOT NULL, item_path TEXT NOT NULL, file TEXT, filed "
                   "TEXT NOT NULL, external_reference TEXT)")) &&
               query.exec(QStringLiteral(
                   "CREATE TABLE attachments ( defect INTEGER NOT NULL REFERENCES defects(id), "
                   "label TEXT NOT NULL, path TEXT NOT NULL, size INTEGER NOT NULL, sha256 TEXT "
                   "NOT NULL)")) &&
               query.exec(QStringLiteral("PRAGMA user_version = 1")) &&
               query.exec(QStringLiteral(
                   "INSERT INTO defects (headline, description, item_path, filed) VALUES "
                   "('old one', 'kept', '[\"a.crc\",\"x\"]', '2025-01-02T03:04:05Z')"));
        database.close();
    }
    QSqlDatabase::removeDatabase(QStringLiteral("first"));
    return made;
}

} // namespace

// Stands for the desktop's editors: notes the files handed to them.
class Editors : public QObject
{
    Q_OBJECT

public:
    QStringList opened;

public Q_SLOTS:
    void open(const QUrl& url) { opened.append(url.toLocalFile()); }
};

class TestTriage : public QObject
{
    Q_OBJECT

    QTemporaryDir m_dir;
    StudioFixture m_studio;

    QString path(const QString& name) const { return m_dir.filePath(name); }
    QString settingsPath() const { return path(QStringLiteral("config/settings.xml")); }

    // An analyzer's log of one finding, with its source beside it; the log's path.
    // Right-clicks `entry` in the outline, opens Review in its menu and clicks `choice` there.
    bool chooseReview(const QModelIndex& entry, const QString& choice)
    {
        QMenu* menu = m_studio.openOutlineMenu(entry);
        QAction* review = menu ? entryOf(menu, QStringLiteral("Review")) : nullptr;
        if (!review || !review->isEnabled() || !review->menu()) {
            qWarning() << "The outline's menu has no enabled Review";
            m_studio.closeMenus();
            return false;
        }
        QTest::mouseClick(menu, Qt::LeftButton, {}, menu->actionGeometry(review).center());
        QMenu* decisions = review->menu();
        if (!decisions->isVisible())
            QTest::keyClick(menu, Qt::Key_Right);
        QAction* decision = entryOf(decisions, choice);
        if (!decisions->isVisible() || !decision) {
            qWarning() << "Review did not open, or has no" << choice;
            m_studio.closeMenus();
            return false;
        }
        QTest::mouseClick(decisions, Qt::LeftButton, {},
                          decisions->actionGeometry(decision).center());
        return !menu->isVisible();
    }

    QString writeScan() const
    {
        const QString log = path(QStringLiteral("scan/scan.sarif"));
        const bool written =
            writeFile(path(QStringLiteral("scan/src/copy.c")),
                      "int f(char* in)\n{\n    char buf[4];\n    strcpy(buf, in);\n}\n") &&
            writeFile(log, R"({"version":"2.1.0","runs":[{"tool":{"driver":{"name":"Flawfinder"}},
                "results":[{"ruleId":"FF1001","level":"error",
                "message":{"text":"Buffer <b>overflow</b> of buf"},
                "locations":[{"physicalLocation":{"artifactLocation":{"uri":"src/copy.c"},
                "region":{"startLine":3,"endLine":4,
                "snippet":{"text":"char buf[4];\n    strcpy(buf, in);"}}}}]}]}]})");
        if (!written)
            qWarning() << "Cannot write" << log;
        return log;
    }

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
    // Two logs in one folder whose sources are in two checkouts: locating the second's keeps
    // the first's root, and both stay found. The Preferences list the roots, newest first; a
    // root removed there is gone from the settings file, one added there is used.
    void severalSourceRootsInPreferences()
    {
        QVERIFY(writeFile(path(QStringLiteral("one/src/a.c")), "int a;\n"));
        QVERIFY(writeFile(path(QStringLiteral("two/lib/b.c")), "int b;\n"));
        QVERIFY(writeFile(path(QStringLiteral("three/lib/b.c")), "int b3;\n"));
        QVERIFY(writeFile(path(QStringLiteral("logs/first.crc")),
                          reportLinkingTo(QStringLiteral("src/a.c line 1"))));
        QVERIFY(writeFile(path(QStringLiteral("logs/second.crc")),
                          reportLinkingTo(QStringLiteral("lib/b.c line 1"))));
        const QString logs = path(QStringLiteral("logs/"));
        // Opens the report, shows its tab and follows the link; a source located on the way is
        // `located`.
        auto follow = [this](const QString& report, const QString& link,
                             const QString& located = QString()) {
            if (!m_studio.open({path(report)}) ||
                !m_studio.showTab(m_studio.tabNamed(QFileInfo(report).fileName())))
                return false;
            if (!located.isEmpty()) {
                m_studio.dialogs().buttons = {QMessageBox::Yes};
                m_studio.dialogs().files = {{path(located)}};
            }
            return m_studio.clickLink(link);
        };

        QVERIFY(follow(QStringLiteral("logs/first.crc"), QStringLiteral("src/a.c line 1"),
                       QStringLiteral("one/src/a.c")));
        QCOMPARE(m_studio.sourcePath(), path(QStringLiteral("one/src/a.c")));
        QVERIFY(follow(QStringLiteral("logs/second.crc"), QStringLiteral("lib/b.c line 1"),
                       QStringLiteral("two/lib/b.c")));
        QCOMPARE(m_studio.sourcePath(), path(QStringLiteral("two/lib/b.c")));
        QVERIFY(m_studio.closeAllTabs());
        m_studio.dialogs().asked.clear();
        QVERIFY(follow(QStringLiteral("logs/first.crc"), QStringLiteral("src/a.c line 1")));
        QCOMPARE(m_studio.sourcePath(), path(QStringLiteral("one/src/a.c")));
        QVERIFY(m_studio.dialogs().messages().isEmpty());

        QPointer<QDialog> dialog = preferencesAt(m_studio, QStringLiteral("Source Roots"));
        QVERIFY(dialog);
        auto* table = dialog->findChild<QTableWidget*>(QStringLiteral("sourceRoots"));
        QVERIFY(table && table->isVisible());
        QCOMPARE(rowsOf(table), (QStringList{logs + '\t' + path(QStringLiteral("two/")),
                                             logs + '\t' + path(QStringLiteral("one/"))}));
        QTest::mouseClick(table->viewport(), Qt::LeftButton, {},
                          table->visualRect(table->model()->index(0, 0)).center());
        QTest::mouseClick(buttonNamed(dialog, QStringLiteral("Remove")), Qt::LeftButton);
        QTest::mouseClick(buttonNamed(dialog, QStringLiteral("Add")), Qt::LeftButton);
        QVERIFY(typeIntoCell(table, 1, 0, path(QStringLiteral("elsewhere"))));
        QVERIFY(editCell(table, 1, 1, path(QStringLiteral("three"))));
        QCOMPARE(rowsOf(table), (QStringList{logs + '\t' + path(QStringLiteral("one/")),
                                             path(QStringLiteral("elsewhere")) + '\t' +
                                                 path(QStringLiteral("three"))}));
        QTest::mouseClick(dialog->findChild<QDialogButtonBox*>()->button(QDialogButtonBox::Ok),
                          Qt::LeftButton);
        QTRY_VERIFY(dialog.isNull());
        const QByteArray settings = testkit::readFile(settingsPath());
        QVERIFY(!settings.contains(path(QStringLiteral("two/")).toUtf8()));
        QVERIFY(settings.contains(path(QStringLiteral("three/")).toUtf8()));

        QVERIFY(writeFile(path(QStringLiteral("elsewhere/third.crc")),
                          reportLinkingTo(path(QStringLiteral("elsewhere/lib/b.c line 1")))));
        QVERIFY(follow(QStringLiteral("elsewhere/third.crc"),
                       path(QStringLiteral("elsewhere/lib/b.c line 1"))));
        QCOMPARE(m_studio.sourcePath(), path(QStringLiteral("three/lib/b.c")));
        QVERIFY(m_studio.dialogs().messages().isEmpty());
    }
    // From a source shown by a link, Back (the key, the menu) returns to the report it came
    // from. Open in Editor hands the file to the desktop's editor, and refuses it once a FIFO
    // took its place.
    void sourceViewBackAndEditor()
    {
        QVERIFY(writeFile(path(QStringLiteral("back/main.c")), "int a;\nint b;\n"));
        QVERIFY(writeFile(path(QStringLiteral("back/finding.crc")),
                          reportLinkingTo(QStringLiteral("main.c line 2"))));
        QVERIFY(m_studio.open({example("rules-core.crc")}));
        QVERIFY(m_studio.open({path(QStringLiteral("back/finding.crc"))}));
        QVERIFY(m_studio.clickLink(QStringLiteral("main.c line 2")));
        QCOMPARE(m_studio.currentTabText(), QStringLiteral("main.c"));
        m_studio.press(Qt::Key_Left, Qt::AltModifier);
        QCOMPARE(m_studio.currentTabText(), QStringLiteral("finding.crc"));
        QVERIFY(m_studio.clickLink(QStringLiteral("main.c line 2")));
        QCOMPARE(m_studio.currentTabText(), QStringLiteral("main.c"));
        QVERIFY(m_studio.trigger({QStringLiteral("Go"), QStringLiteral("Back")}));
        QCOMPARE(m_studio.currentTabText(), QStringLiteral("finding.crc"));

        Editors editors;
        QDesktopServices::setUrlHandler(QStringLiteral("file"), &editors, "open");
        auto noEditors =
            qScopeGuard([] { QDesktopServices::unsetUrlHandler(QStringLiteral("file")); });
        QVERIFY(!m_studio.entry({QStringLiteral("File"), QStringLiteral("Open in Editor")})
                     ->isEnabled());
        QVERIFY(m_studio.clickLink(QStringLiteral("main.c line 2")));
        QVERIFY(m_studio.trigger({QStringLiteral("File"), QStringLiteral("Open in Editor")}));
        QCOMPARE(editors.opened, QStringList{path(QStringLiteral("back/main.c"))});

        QVERIFY(QFile::remove(path(QStringLiteral("back/main.c"))));
        QCOMPARE(mkfifo(QFile::encodeName(path(QStringLiteral("back/main.c"))).constData(), 0600),
                 0);
        m_studio.newOutput();
        QVERIFY(m_studio.trigger({QStringLiteral("File"), QStringLiteral("Open in Editor")}));
        QCOMPARE(editors.opened.size(), 1);
        QVERIFY2(m_studio.newOutput().join('\n').contains(
                     path(QStringLiteral("back/main.c")) +
                     QStringLiteral(" is no longer a regular file")),
                 qPrintable(m_studio.output()));
    }
    // A defect filed from an analyzer's finding keeps its source, rule, level, message and code,
    // and has the log attached, not its converted copy. Before it is filed it is shown for
    // review, texts from the log as they are: Cancel files nothing, the headline can be
    // amended, and reviews can be turned off, which is kept in the settings.
    void defectsKeepWhatTheFindingSays()
    {
        const QString log = writeScan();
        const QString store = path(QStringLiteral("scan/defects.sqlite"));
        m_studio.useDefectStore(store);
        QVERIFY(m_studio.open({log}));
        QStringList finding;
        const QAbstractItemModel* entries = m_studio.outline()->model();
        for (QModelIndex item = entries->index(0, 0); item.isValid();
             item = entries->index(0, 0, item))
            finding.append(item.data().toString());
        auto reviews = [this] {
            int count = 0;
            for (const ScriptedDialogs::Asked& one : std::as_const(m_studio.dialogs().asked))
                count += one.kind == QLatin1String("dialog") ? 1 : 0;
            return count;
        };

        m_studio.newOutput();
        m_studio.dialogs().dialogRuns.append(
            actingOn([](QDialog* dialog) { click(dialog, QStringLiteral("Cancel")); }));
        QVERIFY(m_studio.fileDefect(finding));
        QCOMPARE(reviews(), 1);
        QVERIFY(storedDefects(store).isEmpty());
        QVERIFY2(m_studio.newOutput().join('\n').contains(QLatin1String("nothing was filed")),
                 qPrintable(m_studio.output()));

        QString details;
        m_studio.dialogs().dialogRuns.append(actingOn([&details](QDialog* dialog) {
            details = dialog->findChild<QPlainTextEdit*>(QStringLiteral("details"))->toPlainText();
            typeOver(fieldLabelled(dialog, QStringLiteral("Headline:")),
                     QStringLiteral("Overflow in copy.c"));
            click(dialog, QStringLiteral("File"));
        }));
        QVERIFY(m_studio.fileDefect(finding));
        QCOMPARE(reviews(), 2);
        QList<Defect> defects = storedDefects(store);
        QCOMPARE(defects.size(), 1);
        const Defect& filed = defects.first();
        QCOMPARE(filed.headline, QStringLiteral("Overflow in copy.c"));
        QCOMPARE(filed.sourcePath, path(QStringLiteral("scan/src/copy.c")));
        QCOMPARE(filed.sourceLine, 3);
        QCOMPARE(filed.rule, QStringLiteral("FF1001"));
        QCOMPARE(filed.level, QStringLiteral("error"));
        QCOMPARE(filed.message, QStringLiteral("Buffer <b>overflow</b> of buf"));
        QCOMPARE(filed.snippet, QStringLiteral("char buf[4];\n    strcpy(buf, in);"));
        QCOMPARE(filed.file, log);
        QCOMPARE(filed.attachments.size(), 1);
        QCOMPARE(filed.attachments.first().path, log);
        QVERIFY2(details.contains(QStringLiteral("Message: Buffer <b>overflow</b> of buf")),
                 qPrintable(details));
        QVERIFY2(details.contains(QStringLiteral("Attached: ") + log), qPrintable(details));

        m_studio.dialogs().dialogRuns.append(actingOn([](QDialog* dialog) {
            for (QCheckBox* box : dialog->findChildren<QCheckBox*>()) {
                if (plainText(box->text()) ==
                    QLatin1String("Review each defect before it is filed"))
                    QTest::mouseClick(box, Qt::LeftButton, {}, QPoint(4, box->height() / 2));
            }
            click(dialog, QStringLiteral("File"));
        }));
        QVERIFY(m_studio.fileDefect(finding));
        QVERIFY(m_studio.fileDefect(finding));
        QCOMPARE(reviews(), 3);
        QCOMPARE(storedDefects(store).size(), 3);
        QVERIFY(testkit::readFile(settingsPath())
                    .contains("<boolean name=\"review_before_filing\" value=\"false\"/>"));

        // Tools > Defect Tracker shows the reviews turned off, and turns them on again.
        QPointer<QDialog> tracker = m_studio.openTrackerDialog();
        QVERIFY(tracker);
        QCheckBox* review = nullptr;
        for (QCheckBox* box : tracker->findChildren<QCheckBox*>()) {
            if (plainText(box->text()) == QLatin1String("Review each defect before it is filed"))
                review = box;
        }
        QVERIFY(review && !review->isChecked());
        QTest::mouseClick(review, Qt::LeftButton, {}, QPoint(4, review->height() / 2));
        QTest::mouseClick(tracker->findChild<QDialogButtonBox*>()->button(QDialogButtonBox::Ok),
                          Qt::LeftButton);
        QTRY_VERIFY(tracker.isNull());
        QVERIFY(m_studio.fileDefect(finding));
        QCOMPARE(reviews(), 4);
        QCOMPARE(storedDefects(store).size(), 4);
    }
    // A store of the first crcstudio, without the details of findings, is read as it is and
    // takes a defect with them: its old defect is kept.
    void aFirstStoreTakesTheDetails()
    {
        const QString store = path(QStringLiteral("first/defects.sqlite"));
        QVERIFY(QDir().mkpath(path(QStringLiteral("first"))));
        QVERIFY(writeFirstStore(store));
        QCOMPARE(storedDefects(store).size(), 1);
        m_studio.useDefectStore(store);
        QVERIFY(m_studio.open({writeScan()}));
        QStringList finding;
        const QAbstractItemModel* entries = m_studio.outline()->model();
        for (QModelIndex item = entries->index(0, 0); item.isValid();
             item = entries->index(0, 0, item))
            finding.append(item.data().toString());
        QVERIFY(m_studio.fileDefect(finding));
        const QList<Defect> defects = storedDefects(store);
        QCOMPARE(defects.size(), 2);
        QCOMPARE(defects.first().headline, QStringLiteral("old one"));
        QVERIFY(defects.first().rule.isEmpty());
        QCOMPARE(defects.last().rule, QStringLiteral("FF1001"));
        QCOMPARE(defects.last().sourceLine, 3);
    }
    // Following a finding's own place highlights all the lines of its region and shows its
    // message beside the first, as text; a link elsewhere shows the line alone, no message.
    void sourceViewShowsTheFindingsRegionAndMessage()
    {
        const QString log = writeScan();
        QVERIFY(m_studio.open({log}));
        QStringList finding;
        const QAbstractItemModel* entries = m_studio.outline()->model();
        for (QModelIndex item = entries->index(0, 0); item.isValid();
             item = entries->index(0, 0, item))
            finding.append(item.data().toString());
        QVERIFY(m_studio.clickEntry(finding));
        QVERIFY(m_studio.clickLink(QStringLiteral("src/copy.c line 3")));
        QPlainTextEdit* source = m_studio.sourceView();
        QVERIFY2(source, qPrintable(m_studio.output()));
        QList<int> highlighted;
        for (const QTextEdit::ExtraSelection& one : source->extraSelections())
            highlighted.append(one.cursor.blockNumber() + 1);
        QCOMPARE(highlighted, (QList<int>{3, 4}));
        auto* message = source->viewport()->findChild<QLabel*>(QStringLiteral("findingMessage"));
        QVERIFY(message && message->isVisible());
        QCOMPARE(message->textFormat(), Qt::PlainText);
        QCOMPARE(message->text(), QStringLiteral("error: Buffer <b>overflow</b> of buf"));
        const QTextBlock third = source->document()->findBlockByNumber(2);
        const QRect line = source->cursorRect(QTextCursor(third));
        QVERIFY2(message->geometry().top() <= line.center().y() &&
                     message->geometry().bottom() >= line.center().y(),
                 qPrintable(QStringLiteral("%1 %2").arg(message->y()).arg(line.y())));
        QVERIFY(message->x() > source->fontMetrics().horizontalAdvance(third.text()));

        QVERIFY(writeFile(path(QStringLiteral("scan/plain.crc")),
                          reportLinkingTo(QStringLiteral("src/copy.c line 3"))));
        QVERIFY(m_studio.open({path(QStringLiteral("scan/plain.crc"))}));
        QVERIFY(m_studio.clickLink(QStringLiteral("src/copy.c line 3")));
        QCOMPARE(m_studio.sourceView(), source);
        QCOMPARE(source->extraSelections().size(), 1);
        QVERIFY(message->isHidden());
    }
    // A finding with a code flow: from its own place, Go > Next Step (F10) and Previous Step
    // (Shift+F10) go through the steps, each highlighted with its text; a step in another file
    // opens that file and stepping goes on there.
    void steppingThroughACodeFlow()
    {
        const QString log = path(QStringLiteral("flow/flow.sarif"));
        QVERIFY(writeFile(path(QStringLiteral("flow/src/a.c")), "one\ntwo\nthree\nfour\n"));
        QVERIFY(writeFile(path(QStringLiteral("flow/src/b.c")), "b1\nb2\n"));
        auto place = [](const char* file, int line, const char* message) {
            return QStringLiteral(
                       R"({"location":{"physicalLocation":{"artifactLocation":{"uri":"%1"},
                "region":{"startLine":%2}},"message":{"text":"%3"}}})")
                .arg(QLatin1String(file))
                .arg(line)
                .arg(QLatin1String(message));
        };
        QVERIFY(writeFile(
            log, QStringLiteral(R"({"version":"2.1.0","runs":[{"tool":{"driver":{"name":"clang"}},
                 "results":[{"ruleId":"core.NullDereference","level":"warning",
                 "message":{"text":"Null dereference"},
                 "locations":[{"physicalLocation":{"artifactLocation":{"uri":"src/a.c"},
                 "region":{"startLine":4}}}],
                 "codeFlows":[{"threadFlows":[{"locations":[%1,%2,%3]}]}]}]}]})")
                     .arg(place("src/a.c", 1, "p is null"), place("src/b.c", 2, "passed on"),
                          place("src/a.c", 4, "dereferenced"))
                     .toUtf8()));
        QVERIFY(m_studio.open({log}));
        QStringList finding;
        const QAbstractItemModel* entries = m_studio.outline()->model();
        for (QModelIndex item = entries->index(0, 0); item.isValid();
             item = entries->index(0, 0, item))
            finding.append(item.data().toString());
        QVERIFY(m_studio.clickEntry(finding));
        QVERIFY(m_studio.clickLink(QStringLiteral("src/a.c line 4")));
        QVERIFY2(m_studio.sourceView(), qPrintable(m_studio.output()));
        QVERIFY(
            !m_studio.entry({QStringLiteral("Go"), QStringLiteral("Previous Step")})->isEnabled());
        auto message = [this] {
            auto* label = m_studio.sourceView()->viewport()->findChild<QLabel*>(
                QStringLiteral("findingMessage"));
            return label && label->isVisible() ? label->text() : QString();
        };
        QCOMPARE(message(), QStringLiteral("warning: Null dereference"));

        m_studio.press(Qt::Key_F10);
        QCOMPARE(m_studio.sourcePath(), path(QStringLiteral("flow/src/a.c")));
        QCOMPARE(m_studio.highlightedLine(), 1);
        QVERIFY2(message().endsWith(QLatin1String("p is null")), qPrintable(message()));
        QVERIFY(m_studio.trigger({QStringLiteral("Go"), QStringLiteral("Next Step")}));
        QCOMPARE(m_studio.sourcePath(), path(QStringLiteral("flow/src/b.c")));
        QCOMPARE(m_studio.highlightedLine(), 2);
        QVERIFY2(message().endsWith(QLatin1String("passed on")), qPrintable(message()));
        m_studio.press(Qt::Key_F10);
        QCOMPARE(m_studio.sourcePath(), path(QStringLiteral("flow/src/a.c")));
        QCOMPARE(m_studio.highlightedLine(), 4);
        QVERIFY2(message().endsWith(QLatin1String("dereferenced")), qPrintable(message()));
        QVERIFY(!m_studio.entry({QStringLiteral("Go"), QStringLiteral("Next Step")})->isEnabled());
        m_studio.press(Qt::Key_F10, Qt::ShiftModifier);
        QCOMPARE(m_studio.sourcePath(), path(QStringLiteral("flow/src/b.c")));
        QCOMPARE(m_studio.highlightedLine(), 2);
    }

    // Review > False Positive... on a finding asks for a comment and keeps the decision in the
    // defect store, with who made it and when; Cancel keeps nothing, Clear... sets it back to
    // unreviewed. The file's own entry has no identity to keep a review by. A store that cannot
    // be written is said, naming it.
    void reviewingAFinding()
    {
        const QString log = writeScan();
        const QString store = path(QStringLiteral("scan/reviews.sqlite"));
        m_studio.useDefectStore(store);
        QVERIFY(m_studio.open({log}));
        const QAbstractItemModel* entries = m_studio.outline()->model();
        QModelIndex finding = entries->index(0, 0);
        const QModelIndex fileEntry = finding;
        while (entries->index(0, 0, finding).isValid())
            finding = entries->index(0, 0, finding);
        QVERIFY(finding != fileEntry);

        QMenu* menu = m_studio.openOutlineMenu(fileEntry);
        QVERIFY(menu);
        QAction* review = entryOf(menu, QStringLiteral("Review"));
        QVERIFY(review && !review->isEnabled());
        m_studio.closeMenus();

        auto stored = [&store] {
            DefectStore reader(store);
            QList<Review> reviews;
            if (!reader.readReviews(&reviews))
                qWarning() << reader.errorString();
            return reviews;
        };
        auto comment = [](const QString& text, const QString& button) {
            return actingOn([text, button](QDialog* dialog) {
                auto* field = dialog->findChild<QPlainTextEdit*>();
                QTest::mouseClick(field->viewport(), Qt::LeftButton);
                QTest::keyClicks(field, text);
                click(dialog, button);
            });
        };
        const QDateTime before = QDateTime::currentDateTimeUtc().addSecs(-1);
        m_studio.dialogs().dialogRuns.append(
            comment(QStringLiteral("bounded by the caller <b>4</b>"), QStringLiteral("OK")));
        QVERIFY(chooseReview(finding, QStringLiteral("False Positive...")));
        QList<Review> reviews = stored();
        QCOMPARE(reviews.size(), 1);
        QVERIFY(!reviews.first().identity.isEmpty());
        QCOMPARE(reviews.first().rule, QStringLiteral("FF1001"));
        QCOMPARE(reviews.first().status, QStringLiteral("false-positive"));
        QCOMPARE(reviews.first().comment, QStringLiteral("bounded by the caller <b>4</b>"));
        QVERIFY(!reviews.first().who.isEmpty());
        QVERIFY(reviews.first().when >= before);
        QVERIFY(reviews.first().when <= QDateTime::currentDateTimeUtc());
        const QString identity = reviews.first().identity;
        // The Defects dock lists it under Reviews.
        QVERIFY(m_studio.showDock(QStringLiteral("Defects")));
        auto* views =
            m_studio.defectsDock()->findChild<QTabWidget*>(QStringLiteral("defectsViews"));
        QVERIFY(views);
        QTest::mouseClick(views->tabBar(), Qt::LeftButton, {},
                          views->tabBar()->tabRect(1).center());
        auto* listed = m_studio.defectsDock()->findChild<QTreeWidget*>(QStringLiteral("reviews"));
        QVERIFY(listed && listed->isVisible());
        QCOMPARE(listed->topLevelItemCount(), 1);
        QCOMPARE(listed->topLevelItem(0)->text(0), QStringLiteral("false-positive"));
        QCOMPARE(listed->topLevelItem(0)->text(1), identity);
        QCOMPARE(listed->topLevelItem(0)->text(5),
                 QStringLiteral("bounded by the caller <b>4</b>"));
        QTest::mouseClick(views->tabBar(), Qt::LeftButton, {},
                          views->tabBar()->tabRect(0).center());
        QTreeView* tree = m_studio.outline();
        // As the user reads the tool tip: shown as rich text, the comment as typed.
        const auto tipOf = [tree](const QModelIndex& entry) {
            return QTextDocumentFragment::fromHtml(
                       hover(tree->viewport(), tree->visualRect(entry).center()))
                .toPlainText();
        };
        const QString tip = tipOf(finding);
        QVERIFY2(tip.contains(QStringLiteral("Reviewed: false-positive by ") + reviews.first().who),
                 qPrintable(tip));
        QVERIFY2(tip.contains(QStringLiteral("bounded by the caller <b>4</b>")), qPrintable(tip));

        m_studio.dialogs().dialogRuns.append(
            comment(QStringLiteral("not really"), QStringLiteral("Cancel")));
        QVERIFY(chooseReview(finding, QStringLiteral("Confirmed...")));
        QCOMPARE(stored().first().status, QStringLiteral("false-positive"));

        m_studio.dialogs().dialogRuns.append(
            comment(QStringLiteral("a real overflow"), QStringLiteral("OK")));
        QVERIFY(chooseReview(finding, QStringLiteral("Confirmed...")));
        reviews = stored();
        QCOMPARE(reviews.size(), 1);
        QCOMPARE(reviews.first().status, QStringLiteral("confirmed"));
        QCOMPARE(reviews.first().comment, QStringLiteral("a real overflow"));

        m_studio.dialogs().dialogRuns.append(comment(QString(), QStringLiteral("OK")));
        QVERIFY(chooseReview(finding, QStringLiteral("Clear...")));
        reviews = stored();
        QCOMPARE(reviews.size(), 1);
        QCOMPARE(reviews.first().identity, identity);
        QCOMPARE(reviews.first().status, QStringLiteral("unreviewed"));
        QVERIFY2(!tipOf(finding).contains(QLatin1String("Reviewed")), qPrintable(tipOf(finding)));

        // A folder where the store should be: nothing is kept and the user is told.
        const QString folder = path(QStringLiteral("scan/folder.sqlite"));
        QVERIFY(QDir().mkpath(folder));
        m_studio.useDefectStore(folder);
        m_studio.dialogs().asked.clear();
        m_studio.dialogs().dialogRuns.append(comment(QStringLiteral("x"), QStringLiteral("OK")));
        QVERIFY(chooseReview(finding, QStringLiteral("Intentional...")));
        const QStringList said = m_studio.dialogs().messages();
        QCOMPARE(said.size(), 1);
        QVERIFY2(said.first().contains(folder), qPrintable(said.first()));
    }

    // Reviews and defects marked in the outline, and Code Review > Hide Dismissed Findings:
    // a result reviewed as false positive or intentional goes, with the entries that hold
    // nothing else, F8 passes it by, a review set while hiding is taken at once, a cleared one
    // comes back, and the choice outlasts the tab. A result without an identity cannot be
    // reviewed, and the menu says why.
    void dismissedFindingsAndMarks()
    {
        const QString log = path(QStringLiteral("marks/lint.sarif"));
        const auto result = [](const char* rule, const char* file, int line, const char* text) {
            return QByteArray("{\"ruleId\":\"") + rule +
                   "\",\"level\":\"warning\",\"message\":{\"text\":\"" + text +
                   "\"},\"locations\":[{\"physicalLocation\":{\"artifactLocation\":{\"uri\":\"" +
                   file + "\"},\"region\":{\"startLine\":" + QByteArray::number(line) + "}}}]}";
        };
        QVERIFY(writeFile(log, "{\"version\":\"2.1.0\",\"runs\":[{\"tool\":{\"driver\":{\"name\":"
                               "\"lint\"}},\"results\":[" +
                                   result("R1", "src/a.c", 3, "gets is unsafe") + "," +
                                   result("R1", "src/a.c", 9, "strcpy overflows") + "," +
                                   result("R2", "src/b.c", 2, "sprintf overflows") + "]}]}"));
        m_studio.useDefectStore(path(QStringLiteral("marks/defects.sqlite")));
        QVERIFY(m_studio.open({log}));
        const QString name = m_studio.outline()->model()->index(0, 0).data().toString();
        const QStringList getsEntry{name, QStringLiteral("src/a.c"), QStringLiteral("R1"),
                                    QStringLiteral("line 3: gets is unsafe")};
        const QStringList strcpyEntry{name, QStringLiteral("src/a.c"), QStringLiteral("R1"),
                                      QStringLiteral("line 9: strcpy overflows")};
        const QStringList sprintfEntry{name, QStringLiteral("src/b.c"), QStringLiteral("R2"),
                                       QStringLiteral("line 2: sprintf overflows")};
        const auto entry = [this](const QStringList& names) {
            return m_studio.outlineEntry(names);
        };
        const auto shown = [this](const QStringList& names) {
            QModelIndex found;
            const QAbstractItemModel* entries = m_studio.outline()->model();
            for (const QString& one : names) {
                const QModelIndex parent = found;
                found = QModelIndex();
                for (int row = 0; row < entries->rowCount(parent); ++row) {
                    if (entries->index(row, 0, parent).data().toString() == one)
                        found = entries->index(row, 0, parent);
                }
                if (!found.isValid())
                    return false;
            }
            return true;
        };
        // What the verdict column draws and says of an entry.
        const auto marks = [](const QModelIndex& found) {
            return found.siblingAtColumn(1).data(Qt::AccessibleTextRole).toString();
        };
        const auto picture = [](const QModelIndex& found) {
            return qvariant_cast<QIcon>(found.siblingAtColumn(1).data(Qt::DecorationRole))
                .pixmap(16, 16)
                .toImage();
        };
        const auto italic = [](const QModelIndex& found) {
            return qvariant_cast<QFont>(found.data(Qt::FontRole)).italic();
        };
        QTreeView* tree = m_studio.outline();
        const auto tipOf = [&tree](const QModelIndex& found) {
            tree->scrollTo(found);
            return QTextDocumentFragment::fromHtml(
                       hover(tree->viewport(), tree->visualRect(found).center()))
                .toPlainText();
        };
        const auto comment = [](const QString& text) {
            return actingOn([text](QDialog* dialog) {
                QTest::keyClicks(dialog->findChild<QPlainTextEdit*>(), text);
                click(dialog, QStringLiteral("OK"));
            });
        };
        const QImage plain = picture(entry(getsEntry));
        QCOMPARE(marks(entry(getsEntry)), QStringLiteral("Level: warning"));

        // Marks: confirmed, dismissed, and a defect filed through the menu.
        m_studio.dialogs().dialogRuns.append(comment(QStringLiteral("real")));
        QVERIFY(chooseReview(entry(getsEntry), QStringLiteral("Confirmed...")));
        m_studio.dialogs().dialogRuns.append(comment(QStringLiteral("<i>bounded</i>")));
        QVERIFY(chooseReview(entry(sprintfEntry), QStringLiteral("False Positive...")));
        QVERIFY2(marks(entry(getsEntry)).contains(QLatin1String("confirmed")),
                 qPrintable(marks(entry(getsEntry))));
        QVERIFY(picture(entry(getsEntry)) != plain);
        QVERIFY(!italic(entry(getsEntry)));
        QVERIFY2(marks(entry(sprintfEntry)).contains(QLatin1String("false positive")),
                 qPrintable(marks(entry(sprintfEntry))));
        QVERIFY(picture(entry(sprintfEntry)) != picture(entry(getsEntry)));
        QVERIFY(italic(entry(sprintfEntry)));
        QVERIFY(tipOf(entry(sprintfEntry)).contains(QLatin1String("<i>bounded</i>")));
        QCOMPARE(marks(entry(strcpyEntry)), QStringLiteral("Level: warning"));
        m_studio.dialogs().dialogRuns.append(
            actingOn([](QDialog* dialog) { click(dialog, QStringLiteral("File")); }));
        QVERIFY(m_studio.fileDefect(strcpyEntry));
        QVERIFY2(marks(entry(strcpyEntry)).contains(QLatin1String("defect 1")),
                 qPrintable(marks(entry(strcpyEntry))));
        QVERIFY(picture(entry(strcpyEntry)) != plain);
        QVERIFY2(tipOf(entry(strcpyEntry)).contains(QLatin1String("Defect 1: ")),
                 qPrintable(tipOf(entry(strcpyEntry))));

        // Hidden: the dismissed result and b.c, which holds nothing else.
        QVERIFY(m_studio.trigger(
            {QStringLiteral("Code Review"), QStringLiteral("Hide Dismissed Findings")}));
        QVERIFY(!shown(sprintfEntry));
        QVERIFY(!shown(sprintfEntry.mid(0, 2)));
        QVERIFY(shown(getsEntry) && shown(strcpyEntry));
        QVERIFY(
            m_studio
                .entry({QStringLiteral("Code Review"), QStringLiteral("Hide Dismissed Findings")})
                ->isChecked());
        QVERIFY(m_studio.clickEntry(entry({name})));
        QStringList visited;
        for (int step = 0; step < 8; ++step) {
            m_studio.press(Qt::Key_F8);
            visited.append(m_studio.currentEntry().join(QLatin1Char('/')));
        }
        QVERIFY2(visited.contains(strcpyEntry.join(QLatin1Char('/'))),
                 qPrintable(visited.join(' ')));
        QVERIFY2(!visited.join(' ').contains(QLatin1String("b.c")), qPrintable(visited.join(' ')));

        // Reviewed as intentional while hidden: gone at once.
        m_studio.dialogs().dialogRuns.append(comment(QStringLiteral("on purpose")));
        QVERIFY(chooseReview(entry(strcpyEntry), QStringLiteral("Intentional...")));
        QVERIFY(!shown(strcpyEntry));
        QVERIFY(shown(getsEntry));

        // Kept for the next tab.
        QVERIFY(m_studio.closeAllTabs());
        QVERIFY(m_studio.open({log}));
        QVERIFY(!shown(sprintfEntry) && !shown(strcpyEntry) && shown(getsEntry));

        // Shown again (its key), cleared, and kept when hidden again.
        m_studio.press(Qt::Key_D, Qt::ControlModifier | Qt::ShiftModifier);
        QVERIFY(shown(sprintfEntry));
        QVERIFY(
            !m_studio
                 .entry({QStringLiteral("Code Review"), QStringLiteral("Hide Dismissed Findings")})
                 ->isChecked());
        m_studio.dialogs().dialogRuns.append(comment(QString()));
        QVERIFY(chooseReview(entry(sprintfEntry), QStringLiteral("Clear...")));
        QVERIFY(!italic(entry(sprintfEntry)));
        QCOMPARE(marks(entry(sprintfEntry)), QStringLiteral("Level: warning"));
        QVERIFY(m_studio.trigger(
            {QStringLiteral("Code Review"), QStringLiteral("Hide Dismissed Findings")}));
        QVERIFY(shown(sprintfEntry));
        QVERIFY(!shown(strcpyEntry));
        m_studio.press(Qt::Key_D, Qt::ControlModifier | Qt::ShiftModifier);
        QVERIFY(shown(strcpyEntry));

        // A result without an identity.
        const QString plainFile = path(QStringLiteral("marks/plain.crc"));
        QVERIFY(writeFile(plainFile, reportLinkingTo(QStringLiteral("x"))));
        QVERIFY(m_studio.open({plainFile}));
        QMenu* menu = m_studio.openOutlineMenu(
            entry({QStringLiteral("plain.crc"), QStringLiteral("finding")}));
        QVERIFY(menu);
        QAction* review = entryOf(menu, QStringLiteral("Review"));
        QVERIFY(review && !review->isEnabled());
        QCOMPARE(review->statusTip(),
                 QStringLiteral("This result has no identity to keep a review under"));
        m_studio.closeMenus();
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
