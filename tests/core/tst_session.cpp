// What a viewer shows, without a window: reading, the mode and hidden types, the analysis, the
// way back and forward, failure steps, links, the texts of a defect and the HTML export.

#include "filter/qareporternodevalidator.h"
#include "folio/model/ddocument.h"
#include "folio/model/dlink.h"
#include "model/qareporterdata.h"
#include "model/qareporterdatatree.h"
#include "sdk/qailogmonitor.h"
#include "sdk/qaiprogressmonitor.h"
#include "sdk/trackwellinterface.h"
#include "session/defectdraft.h"
#include "session/failurewalk.h"
#include "session/reportsession.h"
#include "session/sessioncontext.h"
#include "tests/core/testprogress.h"

#include <QDate>
#include <QDir>
#include <QFileInfo>
#include <QHash>
#include <QTemporaryDir>
#include <QTest>

namespace {

using ResultNode = ReportSession::ResultNode;

QByteArray report(const char* tag, const QByteArray& nodes)
{
    return "<XROD><DOCUMENT tag='" + QByteArray(tag) + "'>" + nodes + "</DOCUMENT></XROD>";
}

QByteArray node(const char* name, const char* type, const char* state, int sum,
                const QByteArray& children = {})
{
    return "<XROD:NODE name='" + QByteArray(name) + "' type='" + type + "' state='" + state +
           "' sum='" + QByteArray::number(sum) + "'><SECTION><PARAGRAPH>" + name +
           "</PARAGRAPH></SECTION>" + children + "</XROD:NODE>";
}

class Files
{
public:
    QString add(const QString& name, const QByteArray& content)
    {
        const QString path = m_dir.filePath(name);
        QDir().mkpath(QFileInfo(path).path());
        QFile file(path);
        if (file.open(QIODevice::WriteOnly))
            file.write(content);
        return path;
    }
    QString path(const QString& name) const { return m_dir.filePath(name); }

private:
    QTemporaryDir m_dir;
};

// A program around the session: converted copies that stand for other files, and a progress
// that may cancel.
class TestContext : public SessionContext
{
public:
    QString originalFileOf(const QString& path) const override
    {
        return originals.value(path, path);
    }
    ReadProgress* readProgress() override { return &progress; }

    QHash<QString, QString> originals;
    TestProgress progress;
};

// Reads `files` and shows them as a viewer does.
ReportSession::Reading open(ReportSession& session, const QStringList& files)
{
    session.setFiles(files);
    ReportSession::Reading reading = session.read(files, true);
    ReportSession::Reading failures{{}, reading.failed, reading.reasons, reading.cancelled};
    session.add(std::move(reading));
    session.analyse(QStringLiteral("test"));
    return failures;
}

QStringList tags(const ReportSession& session)
{
    QStringList result;
    for (const auto& record : session.records())
        result.append(record->document->tag());
    return result;
}

// The names of the nodes below the root of the shown report `index`, in outline order.
QStringList shownNodes(const ReportSession& session, size_t index = 0)
{
    QStringList names;
    const ResultNode* root = session.filtered().at(index)->tree->rootNode();
    std::vector<const ResultNode*> pending{root};
    while (!pending.empty()) {
        const ResultNode* at = pending.back();
        pending.pop_back();
        if (at != root)
            names.append(at->data->name);
        for (auto child = at->children.rbegin(); child != at->children.rend(); ++child)
            pending.push_back(child->get());
    }
    return names;
}

// The shown node named `name`, or null.
const ResultNode* shownNode(const ReportSession& session, const QString& name)
{
    for (const QAReporterData* record : session.filtered()) {
        std::vector<const ResultNode*> pending{record->tree->rootNode()};
        while (!pending.empty()) {
            const ResultNode* at = pending.back();
            pending.pop_back();
            if (at->parent && at->data->name == name)
                return at;
            for (const auto& child : at->children)
                pending.push_back(child.get());
        }
    }
    return nullptr;
}

QString nameOf(const ResultNode* node)
{
    return node ? node->data->name : QStringLiteral("(none)");
}

// The links of the first shown document by their text.
QHash<QString, DLink*> linksOf(const ReportSession& session)
{
    QHash<QString, DLink*> links;
    QList<DItem*> pending{session.filtered().front()->document.get()};
    while (!pending.isEmpty()) {
        for (DItem* item = pending.takeLast(); item; item = item->next()) {
            if (auto* link = dcast<DLink>(item))
                links.insert(dcast<DText>(link->firstChild())->text(), link);
            if (DItemContainer* container = item->asContainer())
                pending.append(container->firstChild());
        }
    }
    return links;
}

Place placeOf(const QString& file, const QString& anchor = QString())
{
    return Place{{file}, {}, {}, anchor, 0};
}

struct Log : QAILogMonitor
{
    void logMessage(const QString& message) override { messages.append(message); }
    QStringList messages;
};

} // namespace

class TestSession : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    // Each file is read once; a file held already is neither read again nor reported; files
    // that cannot be read are named with why, and the rest are held all the same.
    void readingHoldsEachFileOnceAndNamesTheUnreadable()
    {
        Files files;
        const QString a =
            files.add(QStringLiteral("a.crc"), report("ra", node("n1", "Rule", "ok", 3)));
        const QString c =
            files.add(QStringLiteral("c.crc"), report("rc", node("n2", "Metric", "ko", 2)));
        const QString bad = files.add(QStringLiteral("bad.crc"), "<XROD><DOCUMENT>");
        const QString missing = files.path(QStringLiteral("b.crc"));
        ReportSession session;
        const ReportSession::Reading failures = open(session, {a, a, missing, bad, c});
        QCOMPARE(session.records().size(), size_t(2));
        QCOMPARE(failures.failed, QStringList({missing, bad}));
        QCOMPARE(failures.reasons.first(), missing + QStringLiteral(": no such file"));
        QVERIFY2(failures.reasons.last().startsWith(bad + QStringLiteral(":1:")),
                 qPrintable(failures.reasons.last()));
        QCOMPARE(ReportSession::unreadableMessage(failures.failed),
                 QStringLiteral("File(s) not found or corrupted:\n\t") + missing +
                     QStringLiteral("\n\t") + bad + QStringLiteral("\n"));
        QCOMPARE(session.testPassed(), 3);
        QCOMPARE(session.testFailed(), 2);
        QCOMPARE(session.typeNames(), QStringList({"Rule", "Metric"}));
        QVERIFY(session.contains(a));
        QVERIFY(!session.contains(missing));
        QCOMPARE(session.consoleSummary(QString()),
                 QStringLiteral("\t[3] Test Case Passed\n\t[2] Test Case Failed\n"));
        QCOMPARE(session.consoleSummary(QStringLiteral("suite.rules")),
                 QStringLiteral("TestNode: suite.rules\n\t[3] Test Case Passed\n"
                                "\t[2] Test Case Failed\n"));

        const QAReporterData* held = session.records().front().get();
        QVERIFY(session.read({a}, true).records.empty());
        ReportSession::Reading again = session.read({a}, false); // a reload reads it again
        QCOMPARE(again.records.size(), size_t(1));
        QVERIFY(again.records.front().get() != held);
        QCOMPARE(session.records().front().get(), held); // reading changed nothing
    }

    // A cancel leaves the session as it was: no record, no failure, still analysed.
    void aCancelledReadingChangesNothing()
    {
        Files files;
        QByteArray many;
        for (int i = 0; i < 3000; ++i)
            many += node("n", "Rule", "ok", 1);
        const QString big = files.add(QStringLiteral("big.crc"), report("big", many));
        const QString small =
            files.add(QStringLiteral("small.crc"), report("small", node("s", "Rule", "ok", 1)));
        TestContext context;
        ReportSession session(&context);
        open(session, {small});
        QVERIFY(session.isAnalysed());
        context.progress.cancelAfterSteps = 1500;
        const ReportSession::Reading reading = session.read({big, small}, false);
        QVERIFY(reading.cancelled);
        QVERIFY(reading.records.empty() && reading.failed.isEmpty());
        QCOMPARE(session.records().size(), size_t(1));
        QVERIFY(session.isAnalysed());
        QCOMPARE(context.progress.calls.last(), QStringLiteral("finish"));
    }

    // Documents that share a tag are told apart: within one reading by their index, across
    // readings by "_1", one more with each analysis that still finds them alike.
    void documentTagsAreMadeUnique()
    {
        Files files;
        ReportSession session;
        const QString a =
            files.add(QStringLiteral("a.crc"), report("summary", node("x", "R", "ok", 1)));
        const QString b =
            files.add(QStringLiteral("b.crc"), report("summary", node("y", "R", "ok", 1)));
        open(session, {a, b});
        QCOMPARE(tags(session), QStringList({"summary", "summary1"}));
        const QString c =
            files.add(QStringLiteral("c.crc"), report("summary1", node("z", "R", "ok", 1)));
        const QString d =
            files.add(QStringLiteral("d.crc"), report("summary1", node("w", "R", "ok", 1)));
        open(session, {c});
        QCOMPARE(tags(session), QStringList({"summary", "summary1", "summary1_1"}));
        open(session, {d});
        QCOMPARE(tags(session), QStringList({"summary", "summary1", "summary1_1", "summary1_1"}));
        session.setFailedOnly(false); // a new analysis renames the remaining duplicate again
        session.analyse(QStringLiteral("test"));
        QCOMPARE(tags(session), QStringList({"summary", "summary1", "summary1_1", "summary1_1_1"}));
        QCOMPARE(session.summary()->tag(), QStringLiteral("index"));
    }

    // The mode and the hidden types decide what is shown; any change asks for a new analysis,
    // and the records stay as read.
    void modeAndHiddenTypesDecideWhatIsShown()
    {
        Files files;
        const QString a = files.add(
            QStringLiteral("a.crc"),
            report("ra", node("f", "File", "ok", 1) + node("r", "Rule", "ko", 1) +
                             node("s", "RuleSet", "ok", 1) + node("m", "Metric", "ko", 1)));
        ReportSession session;
        open(session, {a});
        QCOMPARE(shownNodes(session), QStringList({"f", "r", "s", "m"}));

        session.setFailedOnly(true);
        QVERIFY(session.failedOnly());
        QVERIFY(!session.isAnalysed());
        session.analyse(QStringLiteral("test"));
        QCOMPARE(shownNodes(session), QStringList({"r", "m"}));
        QCOMPARE(session.validator().active(), unsigned(QAReporterNodeValidator::AttrState));

        session.setFailedOnly(false);
        session.setTypeVisible(QStringLiteral("Rule"), false); // RuleSet begins with it too
        QVERIFY(!session.isTypeVisible(QStringLiteral("Rule")));
        QVERIFY(session.isTypeVisible(QStringLiteral("Metric")));
        session.analyse(QStringLiteral("test"));
        QCOMPARE(shownNodes(session), QStringList({"f", "m"}));

        // Hidden twice, shown once: shown.
        session.setTypeVisible(QStringLiteral("Rule"), false);
        session.setTypeVisible(QStringLiteral("Rule"), true);
        session.analyse(QStringLiteral("test"));
        QCOMPARE(shownNodes(session), QStringList({"f", "r", "s", "m"}));
        QCOMPARE(session.validator().active(), 0u);
        QCOMPARE(session.testFailed(), 2); // the totals are those read

        // New files bring their types back, all shown.
        session.setTypeVisible(QStringLiteral("Metric"), false);
        const QString b =
            files.add(QStringLiteral("b.crc"), report("rb", node("x", "Check", "ok", 1)));
        open(session, {b});
        QCOMPARE(session.typeNames(), QStringList({"File", "Rule", "RuleSet", "Metric", "Check"}));
        QVERIFY(session.isTypeVisible(QStringLiteral("Metric")));
        QCOMPARE(shownNodes(session), QStringList({"f", "r", "s", "m"}));
    }

    // From failure to failure in outline order, across files, never around the end.
    void failureStepsFollowTheOutline()
    {
        Files files;
        const QString one =
            files.add(QStringLiteral("one.crc"),
                      report("one", node("A", "R", "ok", 1,
                                         node("F1", "R", "ko", 1) + node("F2", "R", "ko", 1)) +
                                        node("B", "R", "ok", 1)));
        const QString two =
            files.add(QStringLiteral("two.crc"),
                      report("two", node("X", "R", "ok", 1, node("F3", "R", "ko", 1)) +
                                        node("F4", "R", "ko", 1)));
        ReportSession session;
        open(session, {one, two});
        QCOMPARE(nameOf(session.failureFrom(nullptr, true)), QStringLiteral("F1"));
        QCOMPARE(nameOf(session.failureFrom(nullptr, false)), QStringLiteral("F4"));
        const ResultNode* f1 = shownNode(session, QStringLiteral("F1"));
        QCOMPARE(nameOf(session.failureFrom(f1, true)), QStringLiteral("F2"));
        QCOMPARE(nameOf(session.failureFrom(shownNode(session, QStringLiteral("F2")), true)),
                 QStringLiteral("F3")); // over B and into the next file
        QCOMPARE(nameOf(session.failureFrom(shownNode(session, QStringLiteral("F4")), true)),
                 QStringLiteral("(none)"));
        QCOMPARE(nameOf(session.failureFrom(f1, false)), QStringLiteral("(none)"));
        QCOMPARE(nameOf(session.failureFrom(shownNode(session, QStringLiteral("X")), false)),
                 QStringLiteral("F2")); // back over the first file's last entries
        // A file stands for its first node.
        const ResultNode* secondFile = session.filtered().at(1)->tree->rootNode();
        QCOMPARE(nameOf(session.failureFrom(secondFile, true)), QStringLiteral("F3"));
        QCOMPARE(nameOf(session.failureFrom(secondFile, false)), QStringLiteral("F2"));

        // Only what is shown is stepped through.
        session.setTypeVisible(QStringLiteral("R"), false);
        session.analyse(QStringLiteral("test"));
        QVERIFY(!session.failureFrom(nullptr, true));
        QVERIFY(!failureFrom({}, nullptr, true));
    }

    // Back and Forward as in a browser, each keeping its last hundred places.
    void theWayBackAndForward()
    {
        PlaceHistory history;
        QVERIFY(!history.canGoBack() && !history.canGoForward());
        history.leave(placeOf(QStringLiteral("a")));
        history.leave(placeOf(QStringLiteral("b")));
        QCOMPARE(history.backPlace().files, QStringList({"b"}));
        history.wentBack(placeOf(QStringLiteral("c"))); // now on b, c ahead
        QCOMPARE(history.backPlace().files, QStringList({"a"}));
        QCOMPARE(history.forwardPlace().files, QStringList({"c"}));
        history.wentForward(placeOf(QStringLiteral("b"))); // on c again
        QCOMPARE(history.backPlace().files, QStringList({"b"}));
        QVERIFY(!history.canGoForward());
        history.wentBack(placeOf(QStringLiteral("c")));
        history.leave(placeOf(QStringLiteral("b"), QStringLiteral("t"))); // a link: no way forward
        QVERIFY(!history.canGoForward());
        QCOMPARE(history.backPlace().anchor, QStringLiteral("t"));
        QCOMPARE(history.takeBack().anchor, QStringLiteral("t"));
        QCOMPARE(history.backPlace().files, QStringList({"a"}));

        for (int i = 0; i < 150; ++i)
            history.leave(placeOf(QString::number(i)));
        int back = 0;
        QString last;
        while (history.canGoBack()) {
            last = history.backPlace().files.first();
            history.wentBack(placeOf(QStringLiteral("here")));
            ++back;
        }
        QCOMPARE(back, int(PlaceHistory::bound));
        QCOMPARE(last, QStringLiteral("50")); // the oldest fifty were let go
        int forward = 0;
        while (history.canGoForward()) {
            history.wentForward(placeOf(QStringLiteral("here")));
            ++forward;
        }
        QCOMPARE(forward, int(PlaceHistory::bound));
    }

    // What a link leads to: another result file beside the report that holds the link, a tag, a
    // source file at a line after the node's base and beside the report.
    void linksAreClassifiedAndResolved()
    {
        Files files;
        const QString main = files.add(
            QStringLiteral("converted/main.crc"),
            "<XROD><DOCUMENT tag='maindoc'>"
            "<XROD:NODE name='F' type='File' base='/home/p/'><SECTION>"
            "<PARAGRAPH><LINK target='src/a.c line 12'>a</LINK></PARAGRAPH>"
            "<XROD:NODE name='R' type='Rule'><SECTION><PARAGRAPH>"
            "<LINK target='src/b.c line 7'>b</LINK><LINK target='/abs/c.c line 3'>c</LINK>"
            "<LINK target='plain text'>d</LINK><LINK target='xrdlink://#top'>e</LINK>"
            "<LINK target='xrdlink://'>f</LINK><LINK target='xrdlink://other.crc#there'>g</LINK>"
            "<LINK target='xrdlink:///abs/x.crc'>i</LINK>"
            "</PARAGRAPH></SECTION></XROD:NODE></SECTION></XROD:NODE>"
            "<PARAGRAPH><LINK target='loose.c line 1'>h</LINK></PARAGRAPH>"
            "<TAG name='top'/></DOCUMENT></XROD>");
        // The file was converted from one elsewhere: its links are taken beside that one.
        TestContext context;
        const QString original = files.path(QStringLiteral("logs/run.sarif"));
        context.originals.insert(main, original);
        const QString beside = QFileInfo(original).absolutePath();
        ReportSession session(&context);
        open(session, {main});
        const QHash<QString, DLink*> links = linksOf(session);
        QCOMPARE(links.size(), 9);
        const auto follow = [&](const char* text) {
            return session.followLink(links.value(QString::fromLatin1(text)));
        };
        using Action = ReportSession::LinkAction;
        QCOMPARE(follow("a").kind, Action::OpenSource);
        QCOMPARE(follow("a").location, QStringLiteral("/home/p/src/a.c line 12"));
        QCOMPARE(follow("b").location, QStringLiteral("/home/p/src/b.c line 7")); // parent's base
        QCOMPARE(follow("c").location, QStringLiteral("/abs/c.c line 3"));
        QCOMPARE(follow("h").location, beside + QStringLiteral("/loose.c line 1"));
        QCOMPARE(follow("d").kind, Action::OpenTag);
        QCOMPARE(follow("d").location, QStringLiteral("plain text"));
        QCOMPARE(follow("e").kind, Action::ShowAnchor);
        QCOMPARE(follow("e").anchor, QStringLiteral("top"));
        QCOMPARE(follow("f").kind, Action::Nothing);
        QCOMPARE(follow("g").kind, Action::ShowReport);
        QCOMPARE(follow("g").file, beside + QStringLiteral("/other.crc"));
        QCOMPARE(follow("g").anchor, QStringLiteral("there"));
        QCOMPARE(follow("i").file, QStringLiteral("/abs/x.crc"));
        QVERIFY(follow("i").anchor.isEmpty());

        // A relative report file in a document no report shown holds leads nowhere.
        DLink loose(QStringLiteral("xrdlink://other.crc#there"));
        QCOMPARE(session.followLink(&loose).kind, Action::Nothing);
        QCOMPARE(session.followLink(nullptr).kind, Action::Nothing);
        QCOMPARE(session.reportFolderOf(main), beside);
    }

    // The headline and description a defect is filed with, and its attachment.
    void defectTextsNameTheFileAndTheItem()
    {
        const QFileInfo file(QStringLiteral("/results/run.crc"));
        DefectDraft draft =
            DefectDraft::forItem(QStringLiteral("Studio"), QString(), QString(), file,
                                 QStringLiteral("bad"), QStringLiteral("Rule"));
        QCOMPARE(draft.headline, QStringLiteral("Studiorun.crc:bad"));
        QCOMPARE(draft.description,
                 QStringLiteral("Report file:  run.crc Item failed:  bad Item type:   Rule "));
        QCOMPARE(draft.attachmentLabel, QStringLiteral("Report File"));
        QCOMPARE(draft.attachmentPath, QDir::toNativeSeparators(file.absoluteFilePath()));

        draft = DefectDraft::forItem(QStringLiteral("Studio"), QStringLiteral("ws"),
                                     QStringLiteral("suite.test"), file, QStringLiteral("bad"),
                                     QString());
        QCOMPARE(draft.headline, QStringLiteral("Studiows:suite.test:run.crc:bad"));
        QCOMPARE(draft.description,
                 QStringLiteral("Workspace:  ws Test:       suite.test Report file:  run.crc "
                                "Item failed:  bad Item type:    "));
        // A workspace without a test says nothing of either.
        draft = DefectDraft::forItem(QStringLiteral("S"), QStringLiteral("ws"), QString(), file,
                                     QStringLiteral("x"), QStringLiteral("T"));
        QCOMPARE(draft.headline, QStringLiteral("Srun.crc:x"));
    }

    // The tracker gets the draft step by step; a failed step is said, a failed opening or
    // submission stops the filing.
    void defectsAreHandedToTheTrackerStepByStep()
    {
        struct Tracker : TrackwellInterface
        {
            quint16 open() override { return step("open", openResult); }
            quint16 setHeadline(const char* text) override
            {
                headline = QString::fromLocal8Bit(text);
                return step("headline", headlineResult);
            }
            quint16 setDescription(const char*) override { return step("description", 1); }
            quint16 attachFile(const char* label, const char* path) override
            {
                attachment =
                    QString::fromLocal8Bit(label) + QLatin1Char('=') + QString::fromLocal8Bit(path);
                return step("attach", 1);
            }
            quint16 submit(int) override { return step("submit", submitResult); }
            const char* getCmdLine() override { return "cmd"; }
            int activatedCmdLine() const override { return echo; }
            const char* getErrorMessage() const override { return "broken"; }
            quint16 step(const char* name, quint16 result)
            {
                steps.append(QString::fromLatin1(name));
                return result;
            }
            QStringList steps;
            QString headline, attachment;
            quint16 openResult = 1, headlineResult = 1, submitResult = 1;
            int echo = 0;
        } tracker;
        const DefectDraft draft = DefectDraft::forItem(
            QStringLiteral("S"), QString(), QString(), QFileInfo(QStringLiteral("/r/run.crc")),
            QStringLiteral("bad"), QStringLiteral("Rule"));
        QStringList said;
        const auto log = [&said](const QString& text) { said.append(text); };

        QVERIFY(draft.submitTo(tracker, log));
        QCOMPARE(tracker.steps,
                 QStringList({"open", "headline", "description", "attach", "submit"}));
        QCOMPARE(tracker.headline, QStringLiteral("Srun.crc:bad"));
        QCOMPARE(tracker.attachment, QStringLiteral("Report File=") +
                                         QDir::toNativeSeparators(QStringLiteral("/r/run.crc")));
        QVERIFY(said.isEmpty());

        tracker.steps.clear();
        tracker.headlineResult = 0;
        tracker.echo = 1;
        QVERIFY(draft.submitTo(tracker, log)); // a failed step is no failed filing
        QCOMPARE(tracker.steps.size(), 5);
        QCOMPARE(said, QStringList({"cmd\n", "cmd\n", "Warning ...\n", "broken\n", "cmd\n", "cmd\n",
                                    "cmd\n"}));

        said.clear();
        tracker.steps.clear();
        tracker.submitResult = 0;
        tracker.echo = 0;
        QVERIFY(!draft.submitTo(tracker, log));
        QCOMPARE(said.mid(said.size() - 2), QStringList({"broken\n", "Stopped.\n"}));

        said.clear();
        tracker.steps.clear();
        tracker.openResult = 0;
        QVERIFY(!draft.submitTo(tracker, log));
        QCOMPARE(tracker.steps, QStringList({"open"}));
        QCOMPARE(said, QStringList({"broken\n", "Stopped.\n"}));
        QVERIFY(!draft.submitTo(tracker, nullptr)); // nowhere to say it: said nowhere
    }

    // The pages of the reports as shown, of the report files they link to (and those these link
    // to), and the summary; a file that cannot be read is said and leaves the rest written.
    void exportWritesTheShownReportsAndWhatTheyLinkTo()
    {
        Files files;
        files.add(QStringLiteral("common.xrd"),
                  "<DOCUMENT tag='c'><LINK target='xrdlink://deeper.xrd#x'>d</LINK>"
                  "<LINK target='xrdlink://common.xrd'>self</LINK></DOCUMENT>");
        files.add(QStringLiteral("deeper.xrd"),
                  "<DOCUMENT tag='d'><LINK target='xrdlink://common.xrd'>back</LINK>"
                  "<LINK target='xrdlink://missing.xrd'>m</LINK></DOCUMENT>");
        const QByteArray links =
            "<PARAGRAPH><LINK target='xrdlink://common.xrd#top'>c</LINK></PARAGRAPH>";
        const QString a = files.add(
            QStringLiteral("a.crc"),
            report("ra", node("pass", "R", "ok", 1) +
                             "<XROD:NODE name='fail' type='R' state='ko' sum='1'><SECTION>" +
                             links + "</SECTION></XROD:NODE>"));
        const QString b =
            files.add(QStringLiteral("b.crc"),
                      report("rb", "<XROD:NODE name='f2' type='R' state='ko' sum='1'><SECTION>" +
                                       links + "</SECTION></XROD:NODE>"));
        ReportSession idle;
        QTemporaryDir nothing;
        Log log;
        QVERIFY(idle.exportHTML(nothing.path(), nullptr, &log));
        QVERIFY(QDir(nothing.path()).entryList(QDir::Files).isEmpty()); // nothing analysed

        ReportSession session;
        open(session, {a, b});
        session.setFailedOnly(true);
        session.analyse(QStringLiteral("test"));
        QTemporaryDir out;
        QVERIFY(!session.exportHTML(out.path(), nullptr, &log));
        QCOMPARE(QDir(out.path()).entryList({QStringLiteral("*.html")}, QDir::Files, QDir::Name),
                 QStringList({"common.html", "deeper.html", "index.html", "ra.html", "rb.html"}));
        QCOMPARE(session.exportedIndexPage(), QStringLiteral("index.html"));
        QFile ra(QDir(out.path()).filePath(QStringLiteral("ra.html")));
        QVERIFY(ra.open(QIODevice::ReadOnly));
        const QByteArray page = ra.readAll();
        QVERIFY(page.contains("href=\"common.html#top\""));
        QVERIFY(!page.contains(">pass<")); // failed only: the passed section is not there
        QCOMPARE(log.messages.size(), 1);
        QVERIFY2(log.messages.first().contains(QLatin1String("missing.xrd: cannot open the file")),
                 qPrintable(log.messages.first()));

        // A cancel writes no report page.
        struct Canceled : QAIProgressMonitor
        {
            void setTotalSteps(int) override {}
            void setProgress(int) override {}
            void setLabelText(const QString&) override {}
            bool isCanceled() const override { return true; }
        } canceled;
        QTemporaryDir third;
        QVERIFY(!session.exportHTML(third.path(), &canceled, &log));
        QVERIFY(QDir(third.path()).entryList(QDir::Files).isEmpty());

        // A file of the summary's name that no export wrote stays; the summary takes another.
        QTemporaryDir fourth;
        const QString foreign = QDir(fourth.path()).filePath(QStringLiteral("index.html"));
        QFile mine(foreign);
        QVERIFY(mine.open(QIODevice::WriteOnly) && mine.write("mine") == 4);
        mine.close();
        session.exportHTML(fourth.path(), nullptr, &log);
        QVERIFY(session.exportedIndexPage() != QStringLiteral("index.html"));
        QVERIFY(mine.open(QIODevice::ReadOnly));
        QCOMPARE(mine.readAll(), QByteArray("mine"));
    }

    // The summary page opens with the files, the date and the totals, and lists the failures.
    void exportedSummaryNamesTheFilesAndTheFailures()
    {
        Files files;
        const QString a = files.add(
            QStringLiteral("a.crc"),
            report("ra", node("good", "Rule", "ok", 3) +
                             "<XROD:NODE name='bad &lt;one&gt;' type='Rule' state='ko' sum='2'>"
                             "<SECTION tag='s1'><PARAGRAPH>x</PARAGRAPH></SECTION></XROD:NODE>"));
        const QString b =
            files.add(QStringLiteral("b.crc"), report("rb", node("worse", "Metric", "ko", 1)));
        ReportSession session;
        open(session, {a, b});
        QTemporaryDir out;
        QVERIFY(session.exportHTML(out.path(), nullptr, nullptr));
        QFile index(QDir(out.path()).filePath(QStringLiteral("index.html")));
        QVERIFY(index.open(QIODevice::ReadOnly));
        const QString page = QString::fromUtf8(index.readAll());
        for (const QString& expected :
             {QStringLiteral("<h1>Code review results</h1>"), QStringLiteral("a.crc, b.crc"),
              QDate::currentDate().toString(Qt::ISODate),
              QStringLiteral("3 passed, 3 failed, 0 inconclusive, 6 in all"),
              QStringLiteral("<a href=\"ra.html#s1\">bad &lt;one&gt;</a>"),
              QStringLiteral("<a href=\"rb.html\">worse</a>")})
            QVERIFY2(page.contains(expected), qPrintable(expected));
        QVERIFY(!page.contains(QLatin1String(">good</a>")));
    }

    // A cancel while the linked report files are written stops those pages, but the summary is
    // still written; a report document given alone is exported as its own page, and every page
    // but the summary leads back to it.
    void aCancelAmongLinkedPagesKeepsTheSummary()
    {
        Files files;
        files.add(QStringLiteral("one.xrd"),
                  "<DOCUMENT tag='o'><PARAGRAPH>1</PARAGRAPH></DOCUMENT>");
        files.add(QStringLiteral("two.xrd"),
                  "<DOCUMENT tag='t'><PARAGRAPH>2</PARAGRAPH></DOCUMENT>");
        const QString a = files.add(
            QStringLiteral("a.crc"),
            report("ra", "<XROD:NODE name='f' type='R' state='ko' sum='1'><SECTION>"
                         "<LINK target='xrdlink://one.xrd'>1</LINK>"
                         "<LINK target='xrdlink://two.xrd'>2</LINK></SECTION></XROD:NODE>"));
        ReportSession session;
        open(session, {a});
        // The user presses Abort once the first linked page is begun.
        struct AbortOnLinked : QAIProgressMonitor
        {
            void setTotalSteps(int) override {}
            void setProgress(int) override {}
            void setLabelText(const QString& text) override
            {
                aborted = aborted || text.contains(QLatin1String("one"));
            }
            bool isCanceled() const override { return aborted; }
            bool aborted = false;
        } progress;
        QTemporaryDir out;
        QVERIFY(!session.exportHTML(out.path(), &progress, nullptr));
        QVERIFY(progress.aborted);
        // The page begun may end; the next one is not begun.
        QCOMPARE(QDir(out.path()).entryList({QStringLiteral("*.html")}, QDir::Files),
                 QStringList({"index.html", "one.html", "ra.html"}));

        ReportSession alone;
        open(alone, {files.path(QStringLiteral("one.xrd"))});
        QTemporaryDir second;
        QVERIFY(alone.exportHTML(second.path(), nullptr, nullptr));
        QCOMPARE(QDir(second.path()).entryList({QStringLiteral("*.html")}, QDir::Files),
                 QStringList({"index.html", "o.html"}));
        QFile page(QDir(second.path()).filePath(QStringLiteral("o.html")));
        QVERIFY(page.open(QIODevice::ReadOnly));
        QVERIFY(page.readAll().contains("<nav class=\"back\"><a href=\"index.html\">"));
        QFile index(QDir(second.path()).filePath(QStringLiteral("index.html")));
        QVERIFY(index.open(QIODevice::ReadOnly));
        QVERIFY(!index.readAll().contains("<nav class=\"back\""));
    }

    void readingAReportDocument()
    {
        Files files;
        const QString xrd =
            files.add(QStringLiteral("detail.xrd"),
                      "<DOCUMENT tag='metrics'><PARAGRAPH>x</PARAGRAPH></DOCUMENT>");
        ReportSession session;
        std::unique_ptr<DDocument> document = session.readXrdFile(xrd);
        QVERIFY(document);
        QCOMPARE(document->tag(), QStringLiteral("metrics"));
        QString reason;
        QVERIFY(!session.readXrdFile(files.path(QStringLiteral("none.xrd")), &reason));
        QVERIFY2(reason.startsWith(files.path(QStringLiteral("none.xrd")) + QStringLiteral(": ")),
                 qPrintable(reason));
        const QString bad = files.add(QStringLiteral("bad.xrd"), "<DOCUMENT>");
        QVERIFY(!session.readXrdFile(bad, &reason));
        QVERIFY2(reason.startsWith(bad + QStringLiteral(":1:")), qPrintable(reason));
        QVERIFY(session.records().empty()); // nothing of it is held
    }
};

QTEST_GUILESS_MAIN(TestSession)
#include "tst_session.moc"
