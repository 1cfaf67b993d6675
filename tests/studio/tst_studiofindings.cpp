// crcstudio as a developer triaging an analyzer's findings uses it: the levels told apart in the
// outline, the failures counted on what holds them, the filter box above the outline, the
// keyboard staying in the outline, and stepping from finding to finding.

#include "host/studiomainwindow.h"
#include "tests/studio/studiofixture.h"
#include "tests/testkit.h"

#include <QAbstractItemModel>
#include <QAbstractScrollArea>
#include <QAction>
#include <QApplication>
#include <QColor>
#include <QDesktopServices>
#include <QDir>
#include <QIcon>
#include <QImage>
#include <QLineEdit>
#include <QTemporaryDir>
#include <QTest>
#include <QTextDocumentFragment>
#include <QTreeView>
#include <QUrl>

namespace {

using namespace testkit;

// One file with an error, a warning and a note (its rule's default level), another with an
// error; a message holds markup; a rule's help is a web page, another's a script.
const char lintLog[] = R"json({"version":"2.1.0","runs":[{"tool":{"driver":{"name":"lint",
"version":"1.0","rules":[{"id":"R1","shortDescription":{"text":"no gets"},
"helpUri":"https://example.org/rules/R1"},
{"id":"R2","shortDescription":{"text":"style"},"defaultConfiguration":{"level":"note"},
"helpUri":"javascript:alert(1)"}]}},
"results":[
{"ruleId":"R1","level":"error","message":{"text":"gets is <b>unsafe</b>"},"locations":[
{"physicalLocation":{"artifactLocation":{"uri":"src/a.c"},"region":{"startLine":3}}}]},
{"ruleId":"R1","level":"warning","message":{"text":"gets again"},"locations":[
{"physicalLocation":{"artifactLocation":{"uri":"src/a.c"},"region":{"startLine":5}}}]},
{"ruleId":"R2","message":{"text":"long line"},"locations":[
{"physicalLocation":{"artifactLocation":{"uri":"src/a.c"},"region":{"startLine":7}}}]},
{"ruleId":"R1","level":"error","message":{"text":"gets in b"},"locations":[
{"physicalLocation":{"artifactLocation":{"uri":"src/b.c"},"region":{"startLine":2}}}]}]}]})json";

const QString lintName = QStringLiteral("lint.sarif");
const QString fileA = QStringLiteral("src/a.c");
const QString fileB = QStringLiteral("src/b.c");
const QString error1 = QStringLiteral("line 3: gets is <b>unsafe</b>");
const QString warning1 = QStringLiteral("line 5: gets again");
const QString note1 = QStringLiteral("line 7: long line");
const QString error2 = QStringLiteral("line 2: gets in b");

// A log of `count` warnings in one file, "many 1" at line 1 and so on.
QByteArray manyWarnings(int count)
{
    QByteArray results;
    for (int i = 1; i <= count; ++i) {
        const QByteArray n = QByteArray::number(i);
        results += (i > 1 ? "," : "") + QByteArray("{\"ruleId\":\"B\",\"level\":\"warning\",") +
                   "\"message\":{\"text\":\"many " + n + "\"},\"locations\":[{" +
                   "\"physicalLocation\":{\"artifactLocation\":{\"uri\":\"big.c\"}," +
                   "\"region\":{\"startLine\":" + n + "}}}]}";
    }
    return "{\"version\":\"2.1.0\",\"runs\":[{\"tool\":{\"driver\":{\"name\":\"big\"}}," +
           QByteArray("\"results\":[") + results + "]}]}";
}

QImage picture(const QModelIndex& entry)
{
    return entry.siblingAtColumn(1).data(Qt::DecorationRole).value<QIcon>().pixmap(16).toImage();
}

} // namespace

class TestStudioFindings : public QObject
{
    Q_OBJECT

    QTemporaryDir m_dir;
    StudioFixture m_studio;

    QModelIndex entry(const QStringList& names) const { return m_studio.outlineEntry(names); }

    // What the outline shows, one line per entry drawn or not, indented by depth, in order.
    QStringList shownEntries() const
    {
        QStringList lines;
        const QAbstractItemModel* model = m_studio.outline()->model();
        std::vector<std::pair<QModelIndex, int>> pending{{QModelIndex(), -1}};
        while (!pending.empty()) {
            const auto [at, depth] = pending.back();
            pending.pop_back();
            if (at.isValid())
                lines.append(QString(depth * 2, QLatin1Char(' ')) + at.data().toString());
            for (int row = model->rowCount(at) - 1; row >= 0; --row)
                pending.emplace_back(model->index(row, 0, at), depth + 1);
        }
        return lines;
    }

    // The count column of an entry, and its tool tip's last line: "4 (2 errors, 1 warning)".
    QString counts(const QModelIndex& entry)
    {
        const QString shown = entry.siblingAtColumn(2).data().toString();
        if (shown.isEmpty())
            return shown;
        return QStringLiteral("%1 (%2)").arg(shown, tipOf(entry).split(QLatin1Char('\n')).last());
    }

    QString tipOf(const QModelIndex& entry)
    {
        // The entries of this log all fit in the outline: the pointer rests on the one drawn.
        QTreeView* tree = m_studio.outline();
        const QRect drawn = tree->visualRect(entry);
        if (!drawn.isValid() || !tree->viewport()->rect().contains(drawn))
            return QStringLiteral("(not drawn)");
        // As the user reads it: the tool tip is shown as rich text.
        return QTextDocumentFragment::fromHtml(hover(tree->viewport(), drawn.center()))
            .toPlainText();
    }

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY(m_dir.isValid());
        qputenv("XDG_CACHE_HOME", QFile::encodeName(m_dir.filePath(QStringLiteral("cache"))));
        QVERIFY(writeFile(m_dir.filePath(lintName), lintLog));
        QVERIFY(m_studio.start(m_dir.filePath(QStringLiteral("settings.xml"))));
    }

    void cleanupTestCase() { m_studio.quit(); }

    void cleanup()
    {
        QVERIFY(m_studio.closeAllTabs());
        m_studio.dialogs().asked.clear();
    }

    // Each level has its own picture and colour; the tool tip names the level in full and gives
    // the message as text; what holds findings counts them by level.
    void levelsAndCounts()
    {
        QVERIFY(m_studio.open({m_dir.filePath(lintName)}));
        const QModelIndex error = entry({lintName, fileA, QStringLiteral("R1"), error1});
        const QModelIndex warning = entry({lintName, fileA, QStringLiteral("R1"), warning1});
        const QModelIndex note = entry({lintName, fileA, QStringLiteral("R2"), note1});
        const QModelIndex rule = entry({lintName, fileA, QStringLiteral("R1")});
        QVERIFY(error.isValid() && warning.isValid() && note.isValid() && rule.isValid());
        const QImage pictures[] = {picture(error), picture(warning), picture(note), picture(rule)};
        for (int i = 0; i < 4; ++i) {
            QVERIFY(!pictures[i].isNull());
            for (int j = i + 1; j < 4; ++j)
                QVERIFY2(pictures[i] != pictures[j],
                         qPrintable(QStringLiteral("%1 %2").arg(i).arg(j)));
        }
        const QColor colours[] = {error.data(Qt::ForegroundRole).value<QColor>(),
                                  warning.data(Qt::ForegroundRole).value<QColor>(),
                                  note.data(Qt::ForegroundRole).value<QColor>()};
        QVERIFY(colours[0].isValid() && colours[1].isValid() && colours[2].isValid());
        QVERIFY(colours[0] != colours[1] && colours[1] != colours[2] && colours[0] != colours[2]);

        const QString tip = tipOf(error);
        QVERIFY2(tip.contains(QLatin1String("Level: error")), qPrintable(tip));
        QVERIFY2(tip.contains(QLatin1String("Rule: R1")), qPrintable(tip));
        // The markup of the message is shown as written, never rendered.
        QVERIFY2(tip.contains(QLatin1String("error: gets is <b>unsafe</b>")), qPrintable(tip));
        QVERIFY2(tipOf(note).contains(QLatin1String("Level: note")), qPrintable(tipOf(note)));

        QCOMPARE(counts(entry({lintName})), QStringLiteral("4 (2 errors, 1 warning, 1 note)"));
        QCOMPARE(counts(entry({lintName, fileA})),
                 QStringLiteral("3 (1 error, 1 warning, 1 note)"));
        QCOMPARE(counts(entry({lintName, fileA, QStringLiteral("R1")})),
                 QStringLiteral("2 (1 error, 1 warning)"));
        QCOMPARE(counts(entry({lintName, fileB})), QStringLiteral("1 (1 error)"));
        QCOMPARE(counts(error), QString()); // a finding is not counted on itself
        // The count is in the colour of the gravest level counted.
        QCOMPARE(
            entry({lintName, fileA}).siblingAtColumn(2).data(Qt::ForegroundRole).value<QColor>(),
            colours[0]);
    }

    // The filter box keeps the results asked for and what holds them; the counts follow; the
    // selected entry stays selected; an empty box shows everything again.
    void filterBox()
    {
        QVERIFY(m_studio.open({m_dir.filePath(lintName)}));
        QVERIFY(m_studio.clickEntry(entry({lintName, fileB, QStringLiteral("R1"), error2})));
        QVERIFY(m_studio.filterOutline(QStringLiteral("level:error")));
        QCOMPARE(shownEntries(),
                 (QStringList{lintName, QStringLiteral("  ") + fileA, QStringLiteral("    R1"),
                              QStringLiteral("      ") + error1, QStringLiteral("  ") + fileB,
                              QStringLiteral("    R1"), QStringLiteral("      ") + error2}));
        QCOMPARE(m_studio.currentEntry(),
                 (QStringList{lintName, fileB, QStringLiteral("R1"), error2}));
        QCOMPARE(counts(entry({lintName})), QStringLiteral("2 (2 errors)"));
        // Every entry shown is open.
        QVERIFY(m_studio.outline()
                    ->visualRect(entry({lintName, fileA, QStringLiteral("R1"), error1}))
                    .isValid());

        QVERIFY(m_studio.filterOutline(QStringLiteral("level:warn,note")));
        QCOMPARE(shownEntries(),
                 (QStringList{lintName, QStringLiteral("  ") + fileA, QStringLiteral("    R1"),
                              QStringLiteral("      ") + warning1, QStringLiteral("    R2"),
                              QStringLiteral("      ") + note1}));
        // The selected finding is not shown: the nearest entry above it that is stays selected.
        QCOMPARE(m_studio.currentEntry(), QStringList{lintName});
        // Down in the filter box goes on into the outline, where the keys choose entries.
        m_studio.press(Qt::Key_Down);
        QVERIFY(m_studio.outline()->hasFocus());
        m_studio.press(Qt::Key_Down);
        QCOMPARE(m_studio.currentEntry(), (QStringList{lintName, fileA}));

        QVERIFY(m_studio.filterOutline(QStringLiteral("rule:R1 file:b.c")));
        QCOMPARE(shownEntries(),
                 (QStringList{lintName, QStringLiteral("  ") + fileB, QStringLiteral("    R1"),
                              QStringLiteral("      ") + error2}));
        QVERIFY(m_studio.filterOutline(QStringLiteral("again")));
        QCOMPARE(shownEntries(),
                 (QStringList{lintName, QStringLiteral("  ") + fileA, QStringLiteral("    R1"),
                              QStringLiteral("      ") + warning1}));
        QVERIFY(m_studio.filterOutline(QStringLiteral("nothing-like-this")));
        QCOMPARE(shownEntries(), QStringList{lintName});

        // Stepping goes over the entries shown only.
        QVERIFY(m_studio.filterOutline(QStringLiteral("level:error")));
        QVERIFY(m_studio.clickEntry(entry({lintName})));
        m_studio.press(Qt::Key_Period, Qt::ControlModifier);
        QCOMPARE(m_studio.currentEntry(),
                 (QStringList{lintName, fileA, QStringLiteral("R1"), error1}));
        m_studio.press(Qt::Key_Period, Qt::ControlModifier);
        QCOMPARE(m_studio.currentEntry(),
                 (QStringList{lintName, fileB, QStringLiteral("R1"), error2}));

        QVERIFY(m_studio.filterOutline(QString()));
        QCOMPARE(shownEntries().size(), 10);
        QCOMPARE(m_studio.currentEntry(),
                 (QStringList{lintName, fileB, QStringLiteral("R1"), error2}));
        QCOMPARE(counts(entry({lintName})), QStringLiteral("4 (2 errors, 1 warning, 1 note)"));
    }

    // A click leaves the keyboard in the outline: Up and Down go on choosing entries, each shown
    // in the report; Return hands the keyboard to the report. The finding keys step over the
    // findings only, the failure keys over everything failed; both leave the keyboard where it
    // was; the Code Review menu names them.
    void keyboardStaysInTheOutline()
    {
        QVERIFY(m_studio.open({m_dir.filePath(lintName)}));
        QTreeView* outline = m_studio.outline();
        QVERIFY(m_studio.bringForward());
        QVERIFY(m_studio.clickEntry(entry({lintName, fileA, QStringLiteral("R1"), error1})));
        QVERIFY(outline->hasFocus());
        const int before = m_studio.scrollPosition();
        m_studio.press(Qt::Key_Down);
        QCOMPARE(m_studio.currentEntry(),
                 (QStringList{lintName, fileA, QStringLiteral("R1"), warning1}));
        m_studio.press(Qt::Key_Down);
        QCOMPARE(m_studio.currentEntry(), (QStringList{lintName, fileA, QStringLiteral("R2")}));
        QVERIFY(outline->hasFocus());
        QVERIFY(m_studio.scrollPosition() > before);
        m_studio.press(Qt::Key_Up);
        QCOMPARE(m_studio.currentEntry(),
                 (QStringList{lintName, fileA, QStringLiteral("R1"), warning1}));

        // Findings only: over the rule R2 and the file b.c to the findings.
        m_studio.press(Qt::Key_Period, Qt::ControlModifier);
        QCOMPARE(m_studio.currentEntry(),
                 (QStringList{lintName, fileA, QStringLiteral("R2"), note1}));
        m_studio.press(Qt::Key_Period, Qt::ControlModifier);
        QCOMPARE(m_studio.currentEntry(),
                 (QStringList{lintName, fileB, QStringLiteral("R1"), error2}));
        m_studio.press(Qt::Key_Comma, Qt::ControlModifier);
        QCOMPARE(m_studio.currentEntry(),
                 (QStringList{lintName, fileA, QStringLiteral("R2"), note1}));
        QVERIFY(outline->hasFocus());
        // Every failure: the rule R2 first.
        QVERIFY(m_studio.clickEntry(entry({lintName, fileA, QStringLiteral("R1"), warning1})));
        m_studio.press(Qt::Key_F8);
        QCOMPARE(m_studio.currentEntry(), (QStringList{lintName, fileA, QStringLiteral("R2")}));
        QVERIFY(outline->hasFocus());

        QVERIFY(m_studio.trigger({QStringLiteral("Code Review"), QStringLiteral("Next Finding")}));
        QCOMPARE(m_studio.currentEntry(),
                 (QStringList{lintName, fileA, QStringLiteral("R2"), note1}));
        QVERIFY(
            m_studio.trigger({QStringLiteral("Code Review"), QStringLiteral("Previous Finding")}));
        QCOMPARE(m_studio.currentEntry(),
                 (QStringList{lintName, fileA, QStringLiteral("R1"), warning1}));
        QAction* next =
            m_studio.entry({QStringLiteral("Code Review"), QStringLiteral("Next Finding")});
        QVERIFY(next && next->text().endsWith(QLatin1String("\tCtrl+.")));

        // Return on an entry: the report takes the keyboard (auto-raise is on).
        QVERIFY(m_studio.clickEntry(entry({lintName, fileB})));
        m_studio.press(Qt::Key_Return);
        QVERIFY(m_studio.documentView()->hasFocus());
    }

    // The type entries say that hiding a type hides everything below it; the selected entry
    // stays selected while types are hidden and shown, or the nearest one above it.
    void hidingATypeKeepsTheSelection()
    {
        QVERIFY(m_studio.open({m_dir.filePath(lintName)}));
        const QStringList types = m_studio.entries({QStringLiteral("Code Review")});
        QVERIFY2(types.contains(QLatin1String("[x] Rule (and all below)")),
                 qPrintable(types.join('|')));
        QVERIFY(m_studio.clickEntry(entry({lintName, fileA, QStringLiteral("R2")})));
        QVERIFY(m_studio.trigger(
            {QStringLiteral("Code Review"), QStringLiteral("Finding (and all below)")}));
        QCOMPARE(m_studio.currentEntry(), (QStringList{lintName, fileA, QStringLiteral("R2")}));
        QVERIFY(!entry({lintName, fileA, QStringLiteral("R2")})
                     .model()
                     ->hasChildren(entry({lintName, fileA, QStringLiteral("R2")})));
        QVERIFY(m_studio.trigger(
            {QStringLiteral("Code Review"), QStringLiteral("Finding (and all below)")}));
        QCOMPARE(m_studio.currentEntry(), (QStringList{lintName, fileA, QStringLiteral("R2")}));

        QVERIFY(m_studio.clickEntry(entry({lintName, fileB, QStringLiteral("R1"), error2})));
        QVERIFY(m_studio.trigger(
            {QStringLiteral("Code Review"), QStringLiteral("Rule (and all below)")}));
        QCOMPARE(m_studio.currentEntry(), (QStringList{lintName, fileB}));
        QVERIFY(m_studio.trigger(
            {QStringLiteral("Code Review"), QStringLiteral("Rule (and all below)")}));
        QCOMPARE(m_studio.currentEntry(), (QStringList{lintName, fileB}));
    }

    // The summary of a tab of several files opens tall enough to show its rows, the totals
    // included, and no taller than it needs.
    void summaryShowsItsRows()
    {
        const QString second = m_dir.filePath(QStringLiteral("second/lint.sarif"));
        QVERIFY(QDir().mkpath(m_dir.filePath(QStringLiteral("second"))));
        QVERIFY(writeFile(second, lintLog));
        const QString third = m_dir.filePath(QStringLiteral("tests.xml"));
        QVERIFY(writeFile(third, "<?xml version='1.0'?><testsuite name='s'><testcase name='t' "
                                 "classname='c'/></testsuite>"));
        QVERIFY(m_studio.open({m_dir.filePath(lintName), second, third}));
        QAbstractScrollArea* summary = m_studio.summaryView();
        QVERIFY(summary && summary->isVisible());
        const QString shown = m_studio.shownLines(summary).join(QLatin1Char('\n'));
        QVERIFY2(shown.contains(QLatin1String("tests.xml")), qPrintable(shown));
        QVERIFY2(shown.contains(QLatin1String("Total")), qPrintable(shown));
        QVERIFY2(summary->height() < m_studio.window().height() / 2,
                 qPrintable(QString::number(summary->height())));
    }

    // Save As starts beside the log the user opened, not beside its converted copy; the export
    // says where it wrote the summary page.
    void saveAndExportSayWhere()
    {
        QVERIFY(m_studio.open({m_dir.filePath(lintName)}));
        QVERIFY(m_studio.trigger({QStringLiteral("File"), QStringLiteral("Save As...")}));
        QCOMPARE(m_studio.dialogs().savedIn, QStringList{QDir(m_dir.path()).absolutePath()});

        const QString pages = m_dir.filePath(QStringLiteral("pages"));
        QVERIFY(QDir().mkpath(pages));
        m_studio.dialogs().directories.append(pages);
        m_studio.newOutput();
        QVERIFY(m_studio.trigger({QStringLiteral("File"), QStringLiteral("Export to HTML...")}));
        const QString index = QDir::toNativeSeparators(pages + QStringLiteral("/index.html"));
        QVERIFY(QFile::exists(index));
        QCOMPARE(m_studio.statusMessage(), QStringLiteral("Exported to ") + index);
        QVERIFY2(m_studio.newOutput().join(QLatin1Char('\n')).contains(index),
                 qPrintable(m_studio.output()));
    }

    // The summary page of an export: the table of the reports comes before the failures; each
    // log's failures are listed under its name, its first ones, then how many more and a link
    // to its page, so that a log of many failures hides no other's; each log's page is named
    // after the log.
    void exportIndexGroupsFailuresByFile()
    {
        const QString big = m_dir.filePath(QStringLiteral("big.sarif"));
        QVERIFY(writeFile(big, manyWarnings(250)));
        QVERIFY(m_studio.open({big, m_dir.filePath(lintName)}));
        const QString pages = m_dir.filePath(QStringLiteral("grouped"));
        QVERIFY(QDir().mkpath(pages));
        m_studio.dialogs().directories.append(pages);
        QVERIFY(m_studio.trigger({QStringLiteral("File"), QStringLiteral("Export to HTML...")}));
        const QByteArray index = readFile(pages + QStringLiteral("/index.html"));
        QVERIFY(QFile::exists(pages + QStringLiteral("/big-sarif.html")));
        QVERIFY(QFile::exists(pages + QStringLiteral("/lint-sarif.html")));
        const qsizetype table = index.indexOf("<table");
        const qsizetype failures = index.indexOf("Failed items");
        QVERIFY(table >= 0 && failures > table);
        QVERIFY(index.indexOf("<a href=\"big-sarif.html\">big.sarif</a></h3>") > failures);
        QVERIFY(index.contains(">line 1: many 1</a>"));
        QVERIFY(!index.contains(">line 250: many 250</a>"));
        QVERIFY(index.contains("and 150 more failed items in <a href=\"big-sarif.html\">"));
        // The other log's failures are listed all the same.
        QVERIFY(index.contains("<a href=\"lint-sarif.html\">lint.sarif</a></h3>"));
        QVERIFY(index.contains(">line 2: gets in b</a>"));
    }

    // A rule's help address is a link: in the report it opens the browser, in the export it is
    // a link to the page. An address of another kind stays text.
    void helpAddressesAreLinks()
    {
        QVERIFY(m_studio.open({m_dir.filePath(lintName)}));
        QVERIFY(m_studio.bringForward());
        QVERIFY(m_studio.clickEntry(entry({lintName, fileA, QStringLiteral("R1")})));
        QDesktopServices::setUrlHandler(QStringLiteral("https"), this, "browse");
        const bool clicked = m_studio.clickLink(QStringLiteral("https://example.org/rules/R1"));
        QDesktopServices::unsetUrlHandler(QStringLiteral("https"));
        QVERIFY(clicked);
        QCOMPARE(m_browsed, (QList<QUrl>{QUrl(QStringLiteral("https://example.org/rules/R1"))}));
        QVERIFY(!m_studio.drawnLinks(m_studio.documentView())
                     .contains(QStringLiteral("javascript:alert(1)")));

        const QString pages = m_dir.filePath(QStringLiteral("help"));
        QVERIFY(QDir().mkpath(pages));
        m_studio.dialogs().directories.append(pages);
        QVERIFY(m_studio.trigger({QStringLiteral("File"), QStringLiteral("Export to HTML...")}));
        const QByteArray page = readFile(pages + QStringLiteral("/lint-sarif.html"));
        QVERIFY(page.contains("<a href=\"https://example.org/rules/R1\""));
        QVERIFY(page.contains("Help: javascript:alert(1)"));
        QVERIFY(!page.contains("href=\"javascript:"));
    }

public Q_SLOTS:
    void browse(const QUrl& url) { m_browsed.append(url); }

private:
    QList<QUrl> m_browsed;
};

QTEST_MAIN(TestStudioFindings)
#include "tst_studiofindings.moc"
