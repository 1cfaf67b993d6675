// crcstudio as a developer reviewing what a change did: the run shown compared with a baseline
// run, the new failures marked in the outline and counted in the summary, the fixed ones listed
// there, the new failures only mode and its key, stepping through the new failures, the
// baseline remembered for the file, and a baseline that cannot be read.

#include "host/studiomainwindow.h"
#include "tests/studio/studiofixture.h"
#include "tests/testkit.h"

#include <QAbstractItemModel>
#include <QAction>
#include <QFont>
#include <QTemporaryDir>
#include <QTest>
#include <QTextDocumentFragment>
#include <QTreeView>

namespace {

using namespace testkit;

QByteArray result(const char* rule, const char* file, int line, const char* message)
{
    return QByteArray("{\"ruleId\":\"") + rule + "\",\"level\":\"error\",\"message\":{\"text\":\"" +
           message + "\"},\"locations\":[{\"physicalLocation\":{\"artifactLocation\":{\"uri\":\"" +
           file + "\"},\"region\":{\"startLine\":" + QByteArray::number(line) + "}}}]}";
}

// A result file of one suite whose tests have the states given, in order.
QByteArray resultFile(const QList<std::pair<const char*, bool>>& tests)
{
    QByteArray nodes;
    bool failed = false;
    for (const auto& [name, passed] : tests) {
        nodes += QByteArray("<XROD:NODE name='") + name + "' type='Test' state='" +
                 (passed ? "ok" : "ko") + "'><SECTION><PARAGRAPH>" + name +
                 "</PARAGRAPH></SECTION></XROD:NODE>";
        failed = failed || !passed;
    }
    return QByteArray("<XROD><DOCUMENT tag='run'><XROD:NODE name='suite' type='Suite' state='") +
           (failed ? "ko" : "ok") + "'><SECTION><PARAGRAPH>suite</PARAGRAPH></SECTION>" + nodes +
           "</XROD:NODE></DOCUMENT></XROD>";
}

QByteArray sarifLog(const QList<QByteArray>& results)
{
    QByteArray joined;
    for (const QByteArray& one : results)
        joined += (joined.isEmpty() ? "" : ",") + one;
    return "{\"version\":\"2.1.0\",\"runs\":[{\"tool\":{\"driver\":{\"name\":\"lint\"}}," +
           QByteArray("\"results\":[") + joined + "]}]}";
}

const QString headName = QStringLiteral("head.sarif");
const QString baseName = QStringLiteral("base.sarif");
const QString fileA = QStringLiteral("src/a.c");
const QString fileB = QStringLiteral("src/b.c");
const QString fileC = QStringLiteral("src/c.c");
// Still failing (it only moved down a line), new in a.c, new in c.c; b.c's is fixed.
const QString still = QStringLiteral("line 4: gets is unsafe");
const QString newA = QStringLiteral("line 9: strcpy overflows");
const QString newC = QStringLiteral("line 2: sprintf overflows");

} // namespace

class TestStudioBaseline : public QObject
{
    Q_OBJECT

    QTemporaryDir m_dir;
    StudioFixture m_studio;

    QModelIndex entry(const QStringList& names) const { return m_studio.outlineEntry(names); }

    QString tipOf(const QModelIndex& entry)
    {
        QTreeView* tree = m_studio.outline();
        tree->scrollTo(entry);
        const QRect drawn = tree->visualRect(entry);
        if (!drawn.isValid() || !tree->viewport()->rect().contains(drawn))
            return QStringLiteral("(not drawn)");
        return QTextDocumentFragment::fromHtml(hover(tree->viewport(), drawn.center()))
            .toPlainText();
    }

    static bool isBold(const QModelIndex& entry)
    {
        return entry.data(Qt::FontRole).value<QFont>().bold();
    }

    // The results under the file entries shown, as "file > rule > result".
    QStringList shownResults() const
    {
        QStringList results;
        const QAbstractItemModel* model = m_studio.outline()->model();
        const QModelIndex log = model->index(0, 0);
        for (int f = 0; f < model->rowCount(log); ++f) {
            const QModelIndex file = model->index(f, 0, log);
            for (int r = 0; r < model->rowCount(file); ++r) {
                const QModelIndex rule = model->index(r, 0, file);
                for (int i = 0; i < model->rowCount(rule); ++i)
                    results.append(QStringList{file.data().toString(), rule.data().toString(),
                                               model->index(i, 0, rule).data().toString()}
                                       .join(QLatin1String(" > ")));
            }
        }
        return results;
    }

    [[nodiscard]] bool compareWith(const QString& base)
    {
        m_studio.dialogs().files.append({base});
        return m_studio.trigger(
            {QStringLiteral("File"), QStringLiteral("Compare with Baseline...")});
    }

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY(m_dir.isValid());
        qputenv("XDG_CACHE_HOME", QFile::encodeName(m_dir.filePath(QStringLiteral("cache"))));
        QVERIFY(writeFile(m_dir.filePath(baseName),
                          sarifLog({result("R1", "src/a.c", 3, "gets is unsafe"),
                                    result("R1", "src/b.c", 2, "gets in b")})));
        QVERIFY(writeFile(m_dir.filePath(headName),
                          sarifLog({result("R1", "src/a.c", 4, "gets is unsafe"),
                                    result("R2", "src/a.c", 9, "strcpy overflows"),
                                    result("R2", "src/c.c", 2, "sprintf overflows")})));
        QVERIFY(writeFile(m_dir.filePath(QStringLiteral("broken.sarif")), "{\"version\":"));
        QVERIFY(writeFile(m_dir.filePath(QStringLiteral("base.crc")),
                          resultFile({{"alpha", false}, {"beta", false}, {"gamma", true}})));
        QVERIFY(writeFile(
            m_dir.filePath(QStringLiteral("head.crc")),
            resultFile({{"alpha", false}, {"beta", true}, {"gamma", false}, {"delta", false}})));
        QVERIFY(m_studio.start(m_dir.filePath(QStringLiteral("settings.xml"))));
    }

    // The baselines are kept with the settings when the studio quits.
    void cleanupTestCase()
    {
        const QString head = m_dir.filePath(QStringLiteral("head.crc"));
        const QString base = m_dir.filePath(QStringLiteral("base.crc"));
        QVERIFY(m_studio.open({head}));
        QVERIFY(compareWith(base));
        m_studio.quit();
        QFile settings(m_dir.filePath(QStringLiteral("settings.xml")));
        QVERIFY(settings.open(QIODevice::ReadOnly));
        const QString saved = QString::fromUtf8(settings.readAll());
        QVERIFY2(saved.contains(QLatin1String("baselines")), qPrintable(saved));
        QVERIFY2(saved.contains(head) && saved.contains(base), qPrintable(saved));
    }

    void cleanup()
    {
        QVERIFY(m_studio.closeAllTabs());
        m_studio.dialogs().asked.clear();
    }

    // After File > Compare with Baseline... the new failures are bold and say so in their tool
    // tips, the summary counts them and lists the fixed one; the new failures only mode keeps
    // them alone and F8 steps through them; all failures again with the key once more.
    void newAndFixed()
    {
        QVERIFY(m_studio.open({m_dir.filePath(headName)}));
        const QStringList stillEntry{headName, fileA, QStringLiteral("R1"), still};
        const QStringList newAEntry{headName, fileA, QStringLiteral("R2"), newA};
        const QStringList newCEntry{headName, fileC, QStringLiteral("R2"), newC};
        QVERIFY(!isBold(entry(newAEntry)));
        QVERIFY(!m_studio.entry({QStringLiteral("File"), QStringLiteral("Clear Baseline")})
                     ->isEnabled());

        QVERIFY(compareWith(m_dir.filePath(baseName)));
        QVERIFY(m_studio.bringForward());
        QVERIFY2(m_studio.dialogs().messages().isEmpty(),
                 qPrintable(m_studio.dialogs().messages().join(QLatin1Char('\n'))));
        QCOMPARE(m_studio.statusMessage(),
                 QStringLiteral("Since base.sarif: 2 new, 1 fixed, 1 still failing"));
        QVERIFY(isBold(entry(newAEntry)));
        QVERIFY(isBold(entry(newCEntry)));
        QVERIFY(!isBold(entry(stillEntry)));
        QVERIFY(!isBold(entry({headName, fileA, QStringLiteral("R2")})));
        const QString tip = tipOf(entry(newAEntry));
        QVERIFY2(tip.contains(QLatin1String("New since base.sarif")), qPrintable(tip));
        QVERIFY2(!tipOf(entry(stillEntry)).contains(QLatin1String("New since")),
                 qPrintable(tipOf(entry(stillEntry))));

        const QString summary = m_studio.summaryText();
        QVERIFY2(summary.contains(QLatin1String("New")), qPrintable(summary));
        // Name, status, failed, new, passed, total: three failed, two of them new.
        QVERIFY2(summary.contains(QRegularExpression(QStringLiteral("Failed\\s+3\\s+2\\s+0\\s+3"))),
                 qPrintable(summary));
        QVERIFY2(summary.contains(QLatin1String("Fixed since base.sarif: 1")), qPrintable(summary));
        QVERIFY2(summary.contains(QLatin1String("src/b.c:2")), qPrintable(summary));
        QVERIFY2(summary.contains(QLatin1String("gets in b")), qPrintable(summary));
        QVERIFY2(!summary.contains(QLatin1String("gets is unsafe")), qPrintable(summary));

        // New failures only, by its key.
        QVERIFY(m_studio.clickEntry(entry({headName})));
        m_studio.press(Qt::Key_F8, Qt::ControlModifier | Qt::ShiftModifier);
        QCOMPARE(shownResults(), (QStringList{fileA + QStringLiteral(" > R2 > ") + newA,
                                              fileC + QStringLiteral(" > R2 > ") + newC}));
        QVERIFY(
            m_studio.entry({QStringLiteral("Code Review"), QStringLiteral("New Failures Only")})
                ->isChecked());
        QVERIFY(m_studio.clickEntry(entry({headName})));
        m_studio.press(Qt::Key_F8);
        QCOMPARE(m_studio.currentEntry(), newAEntry);
        m_studio.press(Qt::Key_F8);
        QCOMPARE(m_studio.currentEntry(), newCEntry);
        m_studio.press(Qt::Key_F8, Qt::ShiftModifier);
        QCOMPARE(m_studio.currentEntry(), newAEntry);

        m_studio.press(Qt::Key_F8, Qt::ControlModifier | Qt::ShiftModifier);
        QCOMPARE(shownResults().size(), 3);
        QVERIFY(isBold(entry(newCEntry)));
    }

    // The baseline is remembered for the file: opened again, it is compared at once; Clear
    // Baseline forgets it.
    void rememberedForTheFile()
    {
        QVERIFY(m_studio.open({m_dir.filePath(headName)}));
        QVERIFY(compareWith(m_dir.filePath(baseName)));
        QVERIFY(m_studio.bringForward());
        const QStringList newAEntry{headName, fileA, QStringLiteral("R2"), newA};
        // A reload compares the files read again.
        QVERIFY(m_studio.trigger({QStringLiteral("File"), QStringLiteral("Reload")}));
        QVERIFY(isBold(entry(newAEntry)));
        QVERIFY(m_studio.closeAllTabs());

        QVERIFY(m_studio.open({m_dir.filePath(headName)}));
        QVERIFY(isBold(entry(newAEntry)));
        QVERIFY(m_studio.summaryText().contains(QLatin1String("Fixed since base.sarif: 1")));

        // Cancelling the dialog keeps the baseline.
        QVERIFY(
            m_studio.trigger({QStringLiteral("File"), QStringLiteral("Compare with Baseline...")}));
        QVERIFY(m_studio.bringForward());
        QVERIFY(isBold(entry(newAEntry)));

        QVERIFY(m_studio.trigger({QStringLiteral("File"), QStringLiteral("Clear Baseline")}));
        QVERIFY(!isBold(entry(newAEntry)));
        QVERIFY(m_studio.closeAllTabs());
        QVERIFY(m_studio.open({m_dir.filePath(headName)}));
        QVERIFY(!isBold(entry(newAEntry)));
        QVERIFY(!m_studio.entry({QStringLiteral("File"), QStringLiteral("Clear Baseline")})
                     ->isEnabled());
    }

    // Result files without keys: the tests are told apart by their places in the tree.
    void resultFiles()
    {
        const QString head = QStringLiteral("head.crc");
        QVERIFY(m_studio.open({m_dir.filePath(head)}));
        QVERIFY(compareWith(m_dir.filePath(QStringLiteral("base.crc"))));
        QVERIFY(m_studio.bringForward());
        QVERIFY2(m_studio.dialogs().messages().isEmpty(),
                 qPrintable(m_studio.dialogs().messages().join(QLatin1Char('\n'))));
        const QString suite = QStringLiteral("suite");
        QVERIFY(!isBold(entry({head, suite, QStringLiteral("alpha")})));
        QVERIFY(isBold(entry({head, suite, QStringLiteral("gamma")})));
        QVERIFY(isBold(entry({head, suite, QStringLiteral("delta")})));
        const QString summary = m_studio.summaryText();
        QVERIFY2(summary.contains(QLatin1String("Fixed since base.crc: 1")), qPrintable(summary));
        QVERIFY2(summary.contains(QStringLiteral("suite \u203a beta")), qPrintable(summary));

        QVERIFY(
            m_studio.trigger({QStringLiteral("Code Review"), QStringLiteral("New Failures Only")}));
        QVERIFY(m_studio.clickEntry(entry({head})));
        m_studio.press(Qt::Key_F8);
        QCOMPARE(m_studio.currentEntry(), (QStringList{head, suite, QStringLiteral("gamma")}));
        m_studio.press(Qt::Key_F8);
        QCOMPARE(m_studio.currentEntry(), (QStringList{head, suite, QStringLiteral("delta")}));
        QVERIFY(!entry({head, suite, QStringLiteral("alpha")}).isValid());
        QVERIFY(m_studio.trigger({QStringLiteral("File"), QStringLiteral("Clear Baseline")}));
        QVERIFY(entry({head, suite, QStringLiteral("alpha")}).isValid());
    }

    // A baseline that cannot be read: a message names it and why, and the view stays as it was.
    void unreadableBaseline()
    {
        QVERIFY(m_studio.open({m_dir.filePath(headName)}));
        QVERIFY(compareWith(m_dir.filePath(baseName)));
        QVERIFY(m_studio.bringForward());
        const QString broken = m_dir.filePath(QStringLiteral("broken.sarif"));
        QVERIFY(compareWith(broken));
        QVERIFY(m_studio.bringForward());
        const QStringList messages = m_studio.dialogs().messages();
        QCOMPARE(messages.size(), 1);
        QVERIFY2(messages.first().contains(broken), qPrintable(messages.first()));
        const QStringList newAEntry{headName, fileA, QStringLiteral("R2"), newA};
        QVERIFY(isBold(entry(newAEntry)));
        QVERIFY(m_studio.summaryText().contains(QLatin1String("Fixed since base.sarif: 1")));
        QVERIFY(m_studio.trigger({QStringLiteral("File"), QStringLiteral("Clear Baseline")}));
    }
};

QTEST_MAIN(TestStudioBaseline)
#include "tst_studiobaseline.moc"
