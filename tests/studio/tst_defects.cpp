// Filing failed result items as defects from crcstudio, as a user does it: select the item in the
// outline, open its context menu, choose the entry; the defect lands in the store, the output
// window narrates the run, the Defects dock lists it, and crcview reads the store for scripts.

#include "defects/defectstore.h"
#include "host/defectsdock.h"
#include "host/studiomainwindow.h"
#include "sdk/qaresfile.h"
#include "sdk/qastviewerwindow.h"
#include "tests/studio/studiofixture.h"
#include "tests/testkit.h"

#include <QApplication>
#include <QCheckBox>
#include <QCryptographicHash>
#include <QDialog>
#include <QDialogButtonBox>
#include <QHeaderView>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QPointer>
#include <QProcess>
#include <QPushButton>
#include <QSpinBox>
#include <QSqlDatabase>
#include <QSqlQuery>
#include <QStandardPaths>
#include <QTabWidget>
#include <QTableView>
#include <QTemporaryDir>
#include <QTest>
#include <QTreeView>
#include <algorithm>

namespace {

using namespace testkit;

QString sha256(const QString& path)
{
    QFile file(path);
    QCryptographicHash hash(QCryptographicHash::Sha256);
    return file.open(QIODevice::ReadOnly) && hash.addData(&file)
               ? QString::fromLatin1(hash.result().toHex())
               : QString();
}

QList<Defect> storedDefects(const QString& store)
{
    DefectStore reader(store);
    QList<Defect> defects;
    if (!reader.read(&defects))
        qWarning() << reader.errorString();
    return defects;
}

bool run(const QString& program, const QStringList& arguments)
{
    QProcess process;
    process.start(program, arguments);
    return process.waitForFinished(60000) && process.exitStatus() == QProcess::NormalExit &&
           process.exitCode() == 0;
}

// A folder made read-only for everyone, root included, for as long as it lives.
class ReadOnlyFolder
{
public:
    explicit ReadOnlyFolder(const QString& path) : m_path(path)
    {
        m_mounted = run(QStringLiteral("mount"), {QStringLiteral("--bind"), path, path});
        if (m_mounted)
            m_readOnly = run(QStringLiteral("mount"),
                             {QStringLiteral("-o"), QStringLiteral("remount,bind,ro"), path});
    }
    ~ReadOnlyFolder()
    {
        if (m_mounted)
            run(QStringLiteral("umount"), {m_path});
    }
    bool isReadOnly() const { return m_readOnly; }

private:
    QString m_path;
    bool m_mounted = false;
    bool m_readOnly = false;
};

// A tiny file system of its own that can be filled up.
class TinyFileSystem
{
public:
    TinyFileSystem(const QString& path, const char* size) : m_path(path)
    {
        m_mounted = mountTinyDisk(path, size);
    }
    ~TinyFileSystem()
    {
        if (m_mounted)
            run(QStringLiteral("umount"), {m_path});
    }
    bool isMounted() const { return m_mounted; }
    // Writes a file until the file system has no room left.
    void fill() const
    {
        QFile filler(m_path + QStringLiteral("/filler"));
        if (!filler.open(QIODevice::WriteOnly))
            return;
        const QByteArray block(512, 'x');
        while (filler.write(block) == block.size() && filler.flush()) {
        }
    }

private:
    QString m_path;
    bool m_mounted = false;
};

} // namespace

class TestDefects : public QObject
{
    Q_OBJECT

    QTemporaryDir m_dir;
    StudioFixture m_studio;
    QString m_store;

    QString path(const QString& name) const { return m_dir.filePath(name); }
    QString settingsPath() const { return path(QStringLiteral("settings.xml")); }

    // The value `key` of the DEFECTS group of the settings file, as saved.
    QString savedSetting(const QString& key) const
    {
        QString error;
        const std::unique_ptr<QAResGroup> saved = QAResFile::read(settingsPath(), &error);
        const QARes* group = saved ? saved->child(QStringLiteral("DEFECTS")) : nullptr;
        const QARes* value =
            group && group->toResGroup() ? group->toResGroup()->child(key) : nullptr;
        return value && value->toResString() ? value->toResString()->value() : error;
    }

    // Tools > Defect Tracker..., filled in as a user does, OK; the settings file has them.
    void configure(const QString& command, int seconds, bool echo)
    {
        QVERIFY(m_studio.configureTracker(command, seconds, echo));
        QCOMPARE(savedSetting(QStringLiteral("submit_command")), command);
        const QByteArray xml = readFile(settingsPath());
        QVERIFY(xml.contains(
            QStringLiteral("<int name=\"time_limit\" value=\"%1\"/>").arg(seconds).toUtf8()));
        QVERIFY(xml.contains(echo ? "<boolean name=\"echo_command_lines\" value=\"true\"/>"
                                  : "<boolean name=\"echo_command_lines\" value=\"false\"/>"));
    }

    void useStore(const QString& store)
    {
        m_store = store;
        m_studio.useDefectStore(store);
    }

    bool openCopy(const char* name, const QString& as)
    {
        QFile::remove(as);
        return QFile::copy(example(name), as) && m_studio.open({as});
    }

    // The studio's node of the viewer shown (its workspace and test), which crcstudio itself
    // never sets: a studio that runs tests hands it to its viewers through the SDK.
    void setStudioNode(const QString& workspace, const QString& test)
    {
        auto* viewer = qobject_cast<QAStViewerWindow*>(m_studio.tabs()->currentWidget());
        QVERIFY(viewer);
        viewer->setNode({workspace, test});
    }

    // Clicks the first row of the Defects dock, then goes down `row` rows with the keyboard.
    void selectDefect(int row)
    {
        QTableView* table = m_studio.defectsTable();
        QVERIFY(table && table->model()->rowCount() > row);
        QTest::mouseClick(table->viewport(), Qt::LeftButton, {},
                          table->visualRect(table->model()->index(0, 0)).center());
        for (int i = 0; i < row; ++i)
            QTest::keyClick(table, Qt::Key_Down);
        QCOMPARE(table->currentIndex().row(), row);
    }

    QPushButton* button(const QString& text) const { return m_studio.defectsButton(text); }

    // The items of the defects shown, top to bottom.
    QStringList shownItems() { return m_studio.defectsColumn(DefectsDock::ItemColumn); }

private Q_SLOTS:
    void initTestCase()
    {
        QStandardPaths::setTestModeEnabled(true);
        QVERIFY(m_dir.isValid());
        // The tracker's settings of an earlier run are in force from the start.
        QVERIFY(writeFile(settingsPath(), "<resources version=\"1\"><group name=\"DEFECTS\">"
                                          "<string name=\"submit_command\" value=\"client {id}\"/>"
                                          "<int name=\"time_limit\" value=\"42\"/>"
                                          "<boolean name=\"echo_command_lines\" value=\"true\"/>"
                                          "</group></resources>"));
        QVERIFY(m_studio.start(settingsPath()));
        QPointer<QDialog> dialog = m_studio.openTrackerDialog();
        QVERIFY(dialog);
        auto* command =
            qobject_cast<QLineEdit*>(fieldLabelled(dialog, QStringLiteral("Submit command:")));
        auto* limit = qobject_cast<QSpinBox*>(fieldLabelled(dialog, QStringLiteral("Time limit:")));
        QVERIFY(command && limit);
        QCOMPARE(command->text(), QStringLiteral("client {id}"));
        QCOMPARE(limit->value(), 42);
        for (QCheckBox* box : dialog->findChildren<QCheckBox*>())
            QVERIFY(box->isChecked());
        QTest::mouseClick(dialog->findChild<QDialogButtonBox*>()->button(QDialogButtonBox::Cancel),
                          Qt::LeftButton);
        QTRY_VERIFY(dialog.isNull());
    }

    void init()
    {
        useStore(path(QStringLiteral("%1.sqlite").arg(QTest::currentTestFunction())));
        configure(QString(), 60, false);
        m_studio.newOutput();
        m_studio.dialogs().asked.clear();
    }

    void cleanup() { QVERIFY(m_studio.closeAllTabs()); }

    void cleanupTestCase() { m_studio.quit(); }

    // The headline and description of the stored defect are exactly those the viewer builds,
    // with and without the studio's node name; the result file is attached with its size and
    // hash; a successful run says nothing after its first line.
    void filingAFailedItem()
    {
        const QString file = path(QStringLiteral("core.crc"));
        QVERIFY(openCopy("rules-core.crc", file));
        const QStringList noGoto{QStringLiteral("core.crc"), QStringLiteral("src/main.c"),
                                 QStringLiteral("no-goto")};
        QVERIFY(m_studio.fileDefect(noGoto));
        QCOMPARE(m_studio.newOutput(), QStringList{QStringLiteral("Submit Defect Report ...")});

        setStudioNode(QStringLiteral("nightly"), QStringLiteral("suite.core"));
        QVERIFY(m_studio.fileDefect(noGoto));
        setStudioNode(QString(), QStringLiteral("suite.core"));
        QVERIFY(m_studio.fileDefect(noGoto));
        QCOMPARE(m_studio.newOutput(), QStringList(2, QStringLiteral("Submit Defect Report ...")));
        // Filing the item again asks first, naming the defect it has (Yes by default).
        QStringList asked = m_studio.dialogs().messages();
        QCOMPARE(asked.size(), 2);
        for (const QString& question : std::as_const(asked))
            QVERIFY2(question.startsWith(
                         QStringLiteral("no-goto already has defect 1: crcstudiocore.crc:no-goto")),
                     qPrintable(question));

        // No, and Open (which goes to the defect's item), file nothing.
        m_studio.dialogs().buttons = {QMessageBox::No, QMessageBox::Open};
        QVERIFY(m_studio.fileDefect(noGoto));
        QVERIFY(m_studio.newOutput().join('\n').contains(QLatin1String("nothing was filed")));
        QVERIFY(m_studio.fileDefect(noGoto));
        QVERIFY(m_studio.newOutput().join('\n').contains(QLatin1String("nothing was filed")));
        QCOMPARE(m_studio.currentEntry(), noGoto);
        QCOMPARE(m_studio.dialogs().messages().size(), 4);
        m_studio.dialogs().asked.clear();

        const QList<Defect> defects = storedDefects(m_store);
        QCOMPARE(defects.size(), 3);
        QCOMPARE(defects[0].headline, QStringLiteral("crcstudiocore.crc:no-goto"));
        QCOMPARE(defects[0].description,
                 QStringLiteral("Report file:  core.crc Item failed:  no-goto Item type:   Rule "));
        QCOMPARE(defects[1].headline,
                 QStringLiteral("crcstudionightly:suite.core:core.crc:no-goto"));
        QCOMPARE(defects[1].description,
                 QStringLiteral("Workspace:  nightly Test:       suite.core Report file:  "
                                "core.crc Item failed:  no-goto Item type:   Rule "));
        QCOMPARE(defects[2].headline, QStringLiteral("crcstudiosuite.core:core.crc:no-goto"));
        QVERIFY(defects[2].description.startsWith(QLatin1String("Test:       suite.core ")));
        for (const Defect& defect : defects) {
            QVERIFY(!defect.closed);
            QCOMPARE(defect.itemPath, noGoto);
            QCOMPARE(defect.file, file);
            QVERIFY(qAbs(defect.filed.secsTo(QDateTime::currentDateTimeUtc())) < 3600);
            QCOMPARE(defect.attachments.size(), 1);
            QCOMPARE(defect.attachments[0].label, QStringLiteral("Report File"));
            QCOMPARE(defect.attachments[0].path, file);
            QCOMPARE(defect.attachments[0].size, QFileInfo(file).size());
            QCOMPARE(defect.attachments[0].sha256, sha256(file));
        }
        QVERIFY(defects[0].id < defects[1].id && defects[1].id < defects[2].id);

        // The dock lists them at once; activating a row brings its item back into view.
        QCOMPARE(shownItems(), QStringList(3, QStringLiteral("no-goto")));
        QVERIFY(m_studio.clickEntry({QStringLiteral("core.crc"), QStringLiteral("src/parser.c")}));
        selectDefect(0);
        QTableView* table = m_studio.defectsTable();
        QTest::keyClick(table, Qt::Key_Return);
        QCOMPARE(m_studio.currentEntry(), noGoto);

        // A result file that is gone is said, not opened.
        QVERIFY(m_studio.closeAllTabs());
        QVERIFY(QFile::remove(file));
        QTest::keyClick(table, Qt::Key_Return);
        QCOMPARE(m_studio.dialogs().messages().size(), 1);
        QVERIFY(m_studio.dialogs().messages().first().contains(file));
        QCOMPARE(m_studio.tabCount(), 0);

        // Filed from an analyzer's log, the defect names the log, not its converted copy in the
        // cache; after the analyzer ran again, the row opens the log converted anew.
        const QString log = path(QStringLiteral("scan.sarif"));
        const QByteArray findings = "{\"version\":\"2.1.0\",\"runs\":[{\"tool\":{\"driver\":"
                                    "{\"name\":\"Flawfinder\"}},\"results\":[{\"ruleId\":"
                                    "\"FF1\",\"message\":{\"text\":\"one left\"}}]}]}";
        QVERIFY(writeFile(log, findings));
        QVERIFY(m_studio.open({log}));
        QStringList finding;
        const QAbstractItemModel* entries = m_studio.outline()->model();
        for (QModelIndex item = entries->index(0, 0); item.isValid();
             item = entries->index(0, 0, item))
            finding.append(item.data().toString());
        QVERIFY(m_studio.fileDefect(finding));
        const QList<Defect> withLog = storedDefects(m_store);
        QCOMPARE(withLog.size(), 4);
        QCOMPARE(withLog.last().file, log);
        QVERIFY(m_studio.closeAllTabs());
        QVERIFY(writeFile(log, findings + "\n"));
        QVERIFY(m_studio.open({log})); // the cache's earlier copy goes
        QVERIFY(m_studio.closeAllTabs());
        m_studio.dialogs().asked.clear();
        selectDefect(3);
        QCOMPARE(table->model()->index(3, DefectsDock::ItemColumn).data().toString(),
                 finding.last());
        QTest::keyClick(table, Qt::Key_Return);
        QVERIFY(m_studio.dialogs().asked.isEmpty());
        QCOMPARE(m_studio.tabCount(), 1);
        QCOMPARE(m_studio.currentEntry(), finding);
    }

    // With the echo on, every step is followed by its command line, the failing ones too; the
    // last is a command a user can run to store the same defect. With the echo off there is none.
    void echoingCommandLines()
    {
        configure(QString(), 60, true);
        const QString file = path(QStringLiteral("gone.crc"));
        QVERIFY(openCopy("rules-core.crc", file));
        QVERIFY(QFile::remove(file)); // attaching it fails; the rest goes on
        QVERIFY(m_studio.fileDefect(
            {QStringLiteral("gone.crc"), QStringLiteral("src/main.c"), QStringLiteral("no-goto")}));
        const QStringList lines = m_studio.newOutput();
        QCOMPARE(lines.size(), 8);
        QCOMPARE(lines[0], QStringLiteral("Submit Defect Report ..."));
        for (int step : {1, 2, 3, 4, 7})
            QVERIFY2(lines[step].startsWith(QStringLiteral("sqlite3 ") + m_store),
                     qPrintable(lines[step]));
        QCOMPARE(lines[5], QStringLiteral("Warning ..."));
        QCOMPARE(lines[6], QStringLiteral("The attachment %1 does not exist").arg(file));
        QVERIFY(!lines[1].contains(QLatin1String("crcstudiogone.crc:no-goto")));
        QVERIFY(lines[2].contains(QLatin1String("crcstudiogone.crc:no-goto")));

        QList<Defect> defects = storedDefects(m_store);
        QCOMPARE(defects.size(), 1);
        QVERIFY(defects[0].attachments.isEmpty());
        if (!QStandardPaths::findExecutable(QStringLiteral("sqlite3")).isEmpty()) {
            QVERIFY(run(QStringLiteral("/bin/sh"), {QStringLiteral("-c"), lines[7]}));
            defects = storedDefects(m_store);
            QCOMPARE(defects.size(), 2);
            QCOMPARE(defects[1].headline, defects[0].headline);
            QCOMPARE(defects[1].description, defects[0].description);
            QCOMPARE(defects[1].itemPath, defects[0].itemPath);
        }

        configure(QString(), 60, false);
        QVERIFY(openCopy("rules-core.crc", file));
        QVERIFY(m_studio.fileDefect(
            {QStringLiteral("gone.crc"), QStringLiteral("src/main.c"), QStringLiteral("no-goto")}));
        QCOMPARE(m_studio.newOutput(), QStringList{QStringLiteral("Submit Defect Report ...")});
    }

    // Each failure row: a store that cannot be opened stops the run at once; a team tracker that
    // refuses stops it at the end with its own words, and nothing is stored.
    void failuresStopTheRun()
    {
        QVERIFY(m_studio.open({example("rules-core.crc")}));
        const QStringList noGoto{QStringLiteral("rules-core.crc"), QStringLiteral("src/main.c"),
                                 QStringLiteral("no-goto")};

        QFile plain(path(QStringLiteral("plain")));
        QVERIFY(plain.open(QIODevice::WriteOnly));
        plain.close();
        useStore(path(QStringLiteral("plain/defects.sqlite")));
        QVERIFY(m_studio.fileDefect(noGoto));
        QCOMPARE(m_studio.newOutput(),
                 QStringList({QStringLiteral("Submit Defect Report ..."),
                              QStringLiteral("Cannot file defects in %1: the folder %2 cannot be "
                                             "created")
                                  .arg(m_store, path(QStringLiteral("plain"))),
                              QStringLiteral("Stopped.")}));

        useStore(path(QStringLiteral("refused.sqlite")));
        configure(QStringLiteral("/bin/sh -c \"echo 'tracker says no' >&2; exit 3\""), 60, false);
        QVERIFY(m_studio.fileDefect(noGoto));
        QCOMPARE(m_studio.newOutput(),
                 QStringList({QStringLiteral("Submit Defect Report ..."),
                              QStringLiteral("tracker says no"), QStringLiteral("Stopped.")}));
        QVERIFY(storedDefects(m_store).isEmpty());

        configure(QStringLiteral("/bin/false"), 60, false);
        QVERIFY(m_studio.fileDefect(noGoto));
        QCOMPARE(m_studio.newOutput().value(1),
                 QStringLiteral("The submit command /bin/false failed with exit status 1"));
        configure(path(QStringLiteral("no-such-client")), 60, false);
        QVERIFY(m_studio.fileDefect(noGoto));
        QVERIFY(m_studio.newOutput().value(1).contains(QLatin1String("cannot be started")));
        QVERIFY(storedDefects(m_store).isEmpty());

        // A command that cannot be run as written is refused by the dialog, which stays open.
        for (const char* bad : {"client 'open quote {id}", "client {headlin}"}) {
            QPointer<QDialog> dialog = m_studio.openTrackerDialog();
            QVERIFY(dialog);
            QWidget* command = fieldLabelled(dialog, QStringLiteral("Submit command:"));
            QVERIFY(command);
            typeOver(command, QLatin1String(bad));
            m_studio.dialogs().asked.clear();
            auto* buttons = dialog->findChild<QDialogButtonBox*>();
            QTest::mouseClick(buttons->button(QDialogButtonBox::Ok), Qt::LeftButton);
            QCOMPARE(m_studio.dialogs().asked.size(), 1);
            QVERIFY(m_studio.dialogs().asked.first().text.contains(
                bad[7] == '\'' ? QLatin1String("quote") : QLatin1String("{headlin}")));
            QVERIFY(dialog->isVisible());
            QTest::mouseClick(buttons->button(QDialogButtonBox::Cancel), Qt::LeftButton);
            QTRY_VERIFY(dialog.isNull());
        }
        // The command in force is still the last one accepted, as the dialog shows it.
        QPointer<QDialog> dialog = m_studio.openTrackerDialog();
        QVERIFY(dialog);
        auto* command =
            qobject_cast<QLineEdit*>(fieldLabelled(dialog, QStringLiteral("Submit command:")));
        QVERIFY(command);
        QCOMPARE(command->text(), path(QStringLiteral("no-such-client")));
        QTest::mouseClick(dialog->findChild<QDialogButtonBox*>()->button(QDialogButtonBox::Cancel),
                          Qt::LeftButton);
        QTRY_VERIFY(dialog.isNull());
        QCOMPARE(savedSetting(QStringLiteral("submit_command")),
                 path(QStringLiteral("no-such-client")));

        // Another program writing to the store: after a short wait, the lock is the reason.
        configure(QString(), 60, false);
        QVERIFY(m_studio.fileDefect(noGoto));
        m_studio.newOutput();
        {
            QSqlDatabase other =
                QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), QStringLiteral("other"));
            other.setDatabaseName(m_store);
            QVERIFY(other.open());
            QSqlQuery(QStringLiteral("BEGIN EXCLUSIVE"), other);
            QVERIFY(m_studio.fileDefect(noGoto));
            QSqlQuery(QStringLiteral("ROLLBACK"), other);
            other.close();
        }
        QSqlDatabase::removeDatabase(QStringLiteral("other"));
        const QStringList locked = m_studio.newOutput();
        QCOMPARE(locked.size(), 3);
        QVERIFY2(locked[1].contains(m_store) && locked[1].contains(QLatin1String("locked")),
                 qPrintable(locked[1]));
        QCOMPARE(storedDefects(m_store).size(), 1);
    }

    // The team's client gets each value as one argument, whatever it holds (no shell), the
    // description as a file and the new defect's id; what it prints is kept on the defect. One
    // that hangs is stopped at the time limit, and nothing is filed.
    void handingOffToATeamTracker()
    {
        QVERIFY(m_studio.open({example("rules-core.crc")}));
        setStudioNode(QStringLiteral("my ws"), QStringLiteral("it's $(true); `x`"));
        const QString received = path(QStringLiteral("received.txt"));
        configure(QStringLiteral("/bin/sh -c 'printf \"%s\\n\" \"$1\" \"$3\" \"$4\" \"$#\" > %1; "
                                 "cat \"$2\" >> %1; echo https://tracker.example/77' client "
                                 "{headline} {description_file} {attachment} {id}")
                      .arg(received),
                  60, false);
        QVERIFY(m_studio.fileDefect({QStringLiteral("rules-core.crc"), QStringLiteral("src/main.c"),
                                     QStringLiteral("no-goto")}));
        const QStringList said = m_studio.newOutput();
        QVERIFY2(said == QStringList{QStringLiteral("Submit Defect Report ...")},
                 qPrintable(said.join(QLatin1Char('|'))));
        const QList<Defect> defects = storedDefects(m_store);
        QCOMPARE(defects.size(), 1);
        QCOMPARE(defects[0].externalReference, QStringLiteral("https://tracker.example/77"));
        QFile file(received);
        QVERIFY(file.open(QIODevice::ReadOnly));
        QCOMPARE(QString::fromUtf8(file.readAll()),
                 defects[0].headline + QLatin1Char('\n') + example("rules-core.crc") +
                     QLatin1Char('\n') + QString::number(defects[0].id) + QStringLiteral("\n4\n") +
                     defects[0].description);
        QCOMPARE(defects[0].headline,
                 QStringLiteral("crcstudiomy ws:it's $(true); `x`:rules-core.crc:no-goto"));
        QCOMPARE(m_studio.defectsColumn(DefectsDock::ReferenceColumn),
                 QStringList{QStringLiteral("https://tracker.example/77")});

        configure(QStringLiteral("sleep 30"), 1, true);
        QVERIFY(m_studio.fileDefect({QStringLiteral("rules-core.crc"), QStringLiteral("src/main.c"),
                                     QStringLiteral("no-goto")}));
        const QStringList lines = m_studio.newOutput();
        QCOMPARE(lines.mid(lines.size() - 3),
                 QStringList({QStringLiteral("sleep 30"),
                              QStringLiteral("The submit command sleep did not finish within 1 "
                                             "second and was stopped"),
                              QStringLiteral("Stopped.")}));
        QCOMPARE(storedDefects(m_store).size(), 1);

        // Values that look like placeholders reach the client as they are: a node named with
        // one, a result file whose name holds one.
        const QString verbatim = path(QStringLiteral("verbatim.txt"));
        configure(QStringLiteral("/bin/sh -c 'printf \"%s\\n\" \"$1\" \"$2\" > %1' client "
                                 "{headline} {attachment}")
                      .arg(verbatim),
                  60, false);
        QVERIFY(openCopy("rules-core.crc", path(QStringLiteral("{headline}.crc"))));
        setStudioNode(QString(), QStringLiteral("check {id}"));
        QVERIFY(m_studio.fileDefect({QStringLiteral("{headline}.crc"), QStringLiteral("src/main.c"),
                                     QStringLiteral("no-goto")}));
        QFile filled(verbatim);
        QVERIFY(filled.open(QIODevice::ReadOnly));
        QCOMPARE(QString::fromUtf8(filled.readAll()),
                 QStringLiteral("crcstudiocheck {id}:{headline}.crc:no-goto\n") +
                     path(QStringLiteral("{headline}.crc")) + QLatin1Char('\n'));
    }

    // A store that cannot take the defect (read-only, full) says why, and what it held before
    // is all still there.
    void unwritableStoreLosesNothing()
    {
        QVERIFY(m_studio.open({example("rules-core.crc")}));
        const QStringList noGoto{QStringLiteral("rules-core.crc"), QStringLiteral("src/main.c"),
                                 QStringLiteral("no-goto")};
        const QString folder = path(QStringLiteral("locked"));
        QVERIFY(QDir().mkpath(folder));
        useStore(folder + QStringLiteral("/defects.sqlite"));
        QVERIFY(m_studio.fileDefect(noGoto));
        const QList<Defect> before = storedDefects(m_store);
        QCOMPARE(before.size(), 1);
        m_studio.newOutput();
        {
            ReadOnlyFolder readOnly(folder);
            if (!readOnly.isReadOnly())
                QSKIP("a read-only bind mount is not allowed here");
            QVERIFY(m_studio.fileDefect(noGoto));
            const QStringList lines = m_studio.newOutput();
            QCOMPARE(lines.size(), 3);
            QVERIFY2(lines[1].contains(m_store) && lines[1].contains(QLatin1String("readonly")),
                     qPrintable(lines[1]));
            QCOMPARE(lines[2], QStringLiteral("Stopped."));

            // Closing it from the dock fails the same way, with a message.
            selectDefect(0);
            QTest::mouseClick(button(QStringLiteral("Close Defect")), Qt::LeftButton);
            const QStringList said = m_studio.dialogs().messages();
            QCOMPARE(said.size(), 1);
            QVERIFY(said.first().contains(QLatin1String("readonly")));
        }
        const QList<Defect> after = storedDefects(m_store);
        QCOMPARE(after.size(), 1);
        QCOMPARE(after[0].headline, before[0].headline);
        QVERIFY(!after[0].closed);

        TinyFileSystem tiny(path(QStringLiteral("tiny")), "128k");
        if (!tiny.isMounted())
            QSKIP("a small tmpfs cannot be mounted here");
        useStore(path(QStringLiteral("tiny/defects.sqlite")));
        QVERIFY(m_studio.fileDefect(noGoto));
        QCOMPARE(storedDefects(m_store).size(), 1);
        tiny.fill();
        m_studio.newOutput();
        for (int i = 0; i < 3; ++i)
            QVERIFY(m_studio.fileDefect(noGoto));
        const QStringList lines = m_studio.newOutput();
        QCOMPARE(lines.size(), 9);
        QVERIFY2(lines[1].contains(QLatin1String("full")), qPrintable(lines[1]));
        QCOMPARE(lines[2], QStringLiteral("Stopped."));
        QCOMPARE(storedDefects(m_store).size(), 1);
        QSqlDatabase database =
            QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), QStringLiteral("check"));
        database.setDatabaseName(m_store);
        QVERIFY(database.open());
        {
            QSqlQuery check(QStringLiteral("PRAGMA integrity_check"), database);
            QVERIFY(check.next());
            QCOMPARE(check.value(0).toString(), QStringLiteral("ok"));
        }
        database.close();
        database = QSqlDatabase();
        QSqlDatabase::removeDatabase(QStringLiteral("check"));
    }

    // The dock sorts by the column clicked, in the order its header shows, filters, closes and
    // reopens, and exports what it shows as CSV, through the safe writer: a link is not written
    // through, a failed export keeps the old file.
    void defectsDock()
    {
        const QString file = path(QStringLiteral("dock.crc"));
        QVERIFY(openCopy("rules-core.crc", file));
        // Filed in an order that no sort gives.
        QVERIFY(m_studio.fileDefect({QStringLiteral("dock.crc"), QStringLiteral("src/main.c"),
                                     QStringLiteral("printf-format-literal")}));
        QVERIFY(m_studio.fileDefect({QStringLiteral("dock.crc"), QStringLiteral("src/parser.c"),
                                     QStringLiteral("switch-default")}));
        QVERIFY(m_studio.fileDefect(
            {QStringLiteral("dock.crc"), QStringLiteral("src/main.c"), QStringLiteral("no-goto")}));
        QTableView* table = m_studio.defectsTable();
        QVERIFY(table);
        QCOMPARE(shownItems(),
                 QStringList({QStringLiteral("printf-format-literal"),
                              QStringLiteral("switch-default"), QStringLiteral("no-goto")}));

        // Sorting by item: a click on its title sorts as the header's arrow then shows, a second
        // click the other way round; then filtering by text.
        const QStringList ascending{QStringLiteral("no-goto"),
                                    QStringLiteral("printf-format-literal"),
                                    QStringLiteral("switch-default")};
        const QStringList descending(ascending.rbegin(), ascending.rend());
        QHeaderView* header = table->horizontalHeader();
        const QPoint itemTitle(header->sectionViewportPosition(DefectsDock::ItemColumn) + 5,
                               header->height() / 2);
        QTest::mouseClick(header->viewport(), Qt::LeftButton, {}, itemTitle);
        QCOMPARE(header->sortIndicatorSection(), int(DefectsDock::ItemColumn));
        const Qt::SortOrder first = header->sortIndicatorOrder();
        QCOMPARE(shownItems(), first == Qt::AscendingOrder ? ascending : descending);
        QTest::mouseClick(header->viewport(), Qt::LeftButton, {}, itemTitle);
        QVERIFY(header->sortIndicatorOrder() != first);
        QCOMPARE(shownItems(), first == Qt::AscendingOrder ? descending : ascending);
        if (header->sortIndicatorOrder() != Qt::AscendingOrder)
            QTest::mouseClick(header->viewport(), Qt::LeftButton, {}, itemTitle);
        QCOMPARE(shownItems(), ascending);
        QTest::keyClicks(m_studio.defectsFilter(), QStringLiteral("NO-GOTO"));
        QCOMPARE(table->model()->rowCount(), 1);

        // Close the defect shown, then reopen it.
        QVERIFY(!button(QStringLiteral("Close Defect"))->isEnabled());
        QTest::mouseClick(table->viewport(), Qt::LeftButton, {},
                          table->visualRect(table->model()->index(0, 0)).center());
        QVERIFY(button(QStringLiteral("Close Defect"))->isEnabled());
        QVERIFY(!button(QStringLiteral("Reopen"))->isEnabled());
        QTest::mouseClick(button(QStringLiteral("Close Defect")), Qt::LeftButton);
        QList<Defect> stored = storedDefects(m_store);
        const auto noGoto = [&stored] {
            return *std::find_if(stored.begin(), stored.end(), [](const Defect& defect) {
                return defect.item() == QLatin1String("no-goto");
            });
        };
        QVERIFY(noGoto().closed);
        QCOMPARE(std::count_if(stored.begin(), stored.end(),
                               [](const Defect& defect) { return defect.closed; }),
                 1);
        QCOMPARE(m_studio.defectsColumn(DefectsDock::StateColumn),
                 QStringList{QStringLiteral("closed")});
        QVERIFY(button(QStringLiteral("Reopen"))->isEnabled());

        // Export: the row shown, in CSV.
        const QString csv = path(QStringLiteral("export.csv"));
        m_studio.dialogs().files.append({csv});
        QTest::mouseClick(button(QStringLiteral("Export CSV...")), Qt::LeftButton);
        const QList<QByteArray> rows = readFile(csv).split('\n');
        QCOMPARE(rows.size(), 3); // header, the defect, the empty rest after the last line end
        QCOMPARE(rows[0], QByteArray("id,state,headline,description,item,file,filed,"
                                     "external_reference,attachments,source_path,source_line,"
                                     "rule,level,message,snippet\r"));
        QVERIFY(rows[1].startsWith(QByteArray::number(noGoto().id) +
                                   ",closed,crcstudiodock.crc:no-goto,Report file:  dock.crc"));
        QVERIFY(rows[1].contains(sha256(file).toLatin1()));
        QVERIFY(rows[1].endsWith("\r"));

        QTest::mouseClick(button(QStringLiteral("Reopen")), Qt::LeftButton);
        stored = storedDefects(m_store);
        QVERIFY(!noGoto().closed);

        // Going to the Output tab and back keeps the rows and the selection as they were; a
        // store another program changed meanwhile is read again.
        QCOMPARE(table->selectionModel()->selectedRows().size(), 1);
        QVERIFY(m_studio.showDock(QStringLiteral("Output")));
        QVERIFY(m_studio.showDock(QStringLiteral("Defects")));
        QCOMPARE(table->selectionModel()->selectedRows().size(), 1);
        QVERIFY(m_studio.showDock(QStringLiteral("Output")));
        DefectStore otherProgram(m_store);
        QVERIFY(otherProgram.setClosed({noGoto().id}, true));
        QVERIFY(m_studio.showDock(QStringLiteral("Defects")));
        QCOMPARE(m_studio.defectsColumn(DefectsDock::StateColumn),
                 QStringList{QStringLiteral("closed")});
        QVERIFY(m_studio.showDock(QStringLiteral("Output")));
        QVERIFY(otherProgram.setClosed({noGoto().id}, false));
        QVERIFY(m_studio.showDock(QStringLiteral("Defects")));
        QCOMPARE(m_studio.defectsColumn(DefectsDock::StateColumn),
                 QStringList{QStringLiteral("open")});

        // Failing exports: into a folder that is not there; through a link.
        m_studio.dialogs().files.append({path(QStringLiteral("none/export.csv"))});
        QTest::mouseClick(button(QStringLiteral("Export CSV...")), Qt::LeftButton);
        QCOMPARE(m_studio.dialogs().asked.last().kind, QStringLiteral("message"));
        QVERIFY(
            m_studio.dialogs().asked.last().text.contains(path(QStringLiteral("none/export.csv"))));
        const QString link = path(QStringLiteral("link.csv"));
        QVERIFY(QFile::link(csv, link));
        const QByteArray before = readFile(csv);
        typeOver(m_studio.defectsFilter(), QString());
        QCOMPARE(table->model()->rowCount(), 3);
        m_studio.dialogs().files.append({link});
        QTest::mouseClick(button(QStringLiteral("Export CSV...")), Qt::LeftButton);
        QCOMPARE(m_studio.dialogs().asked.last().kind, QStringLiteral("message"));
        QCOMPARE(readFile(csv), before);
        QVERIFY(QFileInfo(link).isSymLink());

        // Close and Reopen do not write through a symbolic link to a store.
        const QString linkedStore = path(QStringLiteral("linked.sqlite"));
        QVERIFY(QFile::link(m_store, linkedStore));
        const QString realStore = m_store;
        useStore(linkedStore);
        QCOMPARE(shownItems(), ascending); // read again, in the order the user chose
        QTest::mouseClick(table->viewport(), Qt::LeftButton, {},
                          table->visualRect(table->model()->index(0, 0)).center());
        QTest::mouseClick(button(QStringLiteral("Close Defect")), Qt::LeftButton);
        const QString refusal = linkedStore + QStringLiteral(": it is a symbolic link");
        QVERIFY2(m_studio.dialogs().asked.last().text.contains(refusal),
                 qPrintable(m_studio.dialogs().asked.last().text));
        for (const Defect& defect : storedDefects(realStore))
            QVERIFY(!defect.closed);

        // A file that is no store is said in the dock, naming it.
        useStore(example("rules-core.crc"));
        QCOMPARE(table->model()->rowCount(), 0);
        QVERIFY(!m_studio.defectsMessage()->isHidden());
        QVERIFY(m_studio.defectsMessage()->text().contains(m_store));
        QVERIFY(m_studio.defectsMessage()->text().contains(QLatin1String("not a database")));
    }

    // crcview lists the store for scripts, as CSV or JSON; a bad command line or a missing
    // store is an error.
    void crcviewListsTheStore()
    {
        QVERIFY(m_studio.open({example("rules-core.crc")}));
        QVERIFY(m_studio.fileDefect({QStringLiteral("rules-core.crc"), QStringLiteral("src/main.c"),
                                     QStringLiteral("no-goto")}));
        const Defect defect = storedDefects(m_store).value(0);
        const QString crcview = QStringLiteral(CRCVIEW_PATH);
        QProcess process;
        process.start(crcview, {QStringLiteral("defects"), QStringLiteral("--defects"), m_store,
                                QStringLiteral("--format"), QStringLiteral("json")});
        QVERIFY(process.waitForFinished(60000));
        QCOMPARE(process.exitCode(), 0);
        const QJsonArray array = QJsonDocument::fromJson(process.readAllStandardOutput()).array();
        QCOMPARE(array.size(), 1);
        const QJsonObject object = array.first().toObject();
        QCOMPARE(object.value(QStringLiteral("id")).toInteger(), defect.id);
        QCOMPARE(object.value(QStringLiteral("headline")).toString(), defect.headline);
        QCOMPARE(object.value(QStringLiteral("state")).toString(), QStringLiteral("open"));
        QCOMPARE(object.value(QStringLiteral("item")).toString(), QStringLiteral("no-goto"));
        QCOMPARE(object.value(QStringLiteral("attachments"))
                     .toArray()
                     .first()
                     .toObject()
                     .value(QStringLiteral("sha256"))
                     .toString(),
                 sha256(example("rules-core.crc")));

        process.start(crcview, {QStringLiteral("defects"), QStringLiteral("--defects"), m_store});
        QVERIFY(process.waitForFinished(60000));
        QCOMPARE(process.exitCode(), 0);
        QCOMPARE(process.readAllStandardOutput(), DefectFormat::toCsv({defect}));

        process.start(crcview, {QStringLiteral("defects"), QStringLiteral("--format"),
                                QStringLiteral("xml")});
        QVERIFY(process.waitForFinished(60000));
        QCOMPARE(process.exitCode(), 64);
        const QString missing = path(QStringLiteral("missing.sqlite"));
        process.start(crcview, {QStringLiteral("defects"), QStringLiteral("--defects"), missing});
        QVERIFY(process.waitForFinished(60000));
        QCOMPARE(process.exitCode(), 2);
        QVERIFY(QString::fromLocal8Bit(process.readAllStandardError()).contains(missing));
        QVERIFY(!QFileInfo::exists(missing));
        const QString notAStore = example("rules-core.crc");
        process.start(crcview, {QStringLiteral("defects"), QStringLiteral("--defects"), notAStore});
        QVERIFY(process.waitForFinished(60000));
        QCOMPARE(process.exitCode(), 2);
        const QString said = QString::fromLocal8Bit(process.readAllStandardError());
        QVERIFY2(said.contains(notAStore) && said.contains(QLatin1String("not a database")),
                 qPrintable(said));
        const QString fifo = path(QStringLiteral("fifo"));
        QVERIFY(run(QStringLiteral("mkfifo"), {fifo}));
        process.start(crcview, {QStringLiteral("defects"), QStringLiteral("--defects"), fifo});
        QVERIFY(process.waitForFinished(60000));
        QCOMPARE(process.exitCode(), 2);
        QVERIFY(process.readAllStandardError().contains("not a regular file"));
    }
};

QTEST_MAIN(TestDefects)
#include "tst_defects.moc"
