// The viewer's widgets that stand on their own: outline, toolbar, and the studio services they
// use (picture cache, dialogs).

#include "model/qareporterdatatree.h"
#include "reader/qastxmlrodhandler.h"
#include "reader/qastxmlrodreader.h"
#include "sdk/qadialogs.h"
#include "sdk/qapixmapcenter.h"
#include "tests/teststudio.h"
#include "viewer/outlinemodel.h"
#include "viewer/qaricons.h"
#include "viewer/qarlistview.h"
#include "viewer/qartoolbar.h"

#include <QBuffer>
#include <QMainWindow>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>
#include <QToolButton>

namespace {

std::unique_ptr<QAReporterDataTree> readTree(const QByteArray& nodes)
{
    QBuffer buffer;
    buffer.setData("<XROD><DOCUMENT tag='d'>" + nodes + "</DOCUMENT></XROD>");
    buffer.open(QIODevice::ReadOnly);
    QAstXmlRodReader reader;
    if (!reader.parse(&buffer, nullptr, nullptr))
        qWarning("%s", qPrintable(reader.errorString()));
    return reader.handler()->takeDataTree();
}

QByteArray node(const char* name, const char* state, const QByteArray& children = {})
{
    QByteArray xml = "<XROD:NODE name='" + QByteArray(name) + "' type='Rule'";
    if (*state)
        xml += " state='" + QByteArray(state) + "'";
    return xml + "><SECTION/>" + children + "</XROD:NODE>";
}

// The names drawn on the entries below `parent`.
QStringList texts(const QModelIndex& parent)
{
    QStringList names;
    for (int i = 0; i < parent.model()->rowCount(parent); ++i)
        names.append(parent.model()->index(i, 0, parent).data().toString());
    return names;
}

// The first entry, in walk order, that shows `name`.
QModelIndex entry(const QARListView& view, const QString& name)
{
    const QAbstractItemModel* model = view.model();
    const QModelIndexList found = model->match(model->index(0, 0), Qt::DisplayRole, name, 1,
                                               Qt::MatchExactly | Qt::MatchRecursive);
    return found.isEmpty() ? QModelIndex() : found.first();
}

QIcon iconOf(const QModelIndex& entry, int column)
{
    return entry.siblingAtColumn(column).data(Qt::DecorationRole).value<QIcon>();
}

qint64 iconKey(const QModelIndex& entry, int column)
{
    return iconOf(entry, column).pixmap(16).cacheKey();
}

} // namespace

class TestViewer : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void outlineShowsFilesAndNodesInOrder()
    {
        QARListView view;
        auto empty = readTree(QByteArray());
        auto tree = readTree(node("A", "ok", node("A1", "ko") + node("A2", "ne")) + node("B", "") +
                             node("C", "NE"));
        OutlineModel* model = view.outlineModel();
        const QModelIndex first = view.addReport(empty.get(), QStringLiteral("/results/empty.crc"));
        const QModelIndex second = view.addReport(tree.get(), QStringLiteral("/results/run.crc"));
        QCOMPARE(model->rowCount(), 2);
        QCOMPARE(model->index(0, 0), first);
        QCOMPARE(first.data().toString(), QStringLiteral("empty.crc"));
        QCOMPARE(iconKey(first, 0), QARIcons::report().cacheKey());
        QVERIFY(iconOf(first, 1).isNull());
        QCOMPARE(model->rowCount(first), 0);
        QCOMPARE(model->fileInfo(first).fileName(), QStringLiteral("empty.crc"));
        QCOMPARE(model->documentItem(first), empty->toRoot()->item);
        QCOMPARE(texts(second), QStringList({"A", "B", "C"}));
        QCOMPARE(texts(model->index(0, 0, second)), QStringList({"A1", "A2"}));
        QCOMPARE(tree->iterator()->depth(), 0); // the cursor stays on the root

        const QModelIndex a1 = entry(view, QStringLiteral("A1"));
        QVERIFY(OutlineModel::isFailed(a1));
        QVERIFY(OutlineModel::isFailed(a1.siblingAtColumn(1)));
        QCOMPARE(OutlineModel::nodeOf(a1)->data->name, QStringLiteral("A1"));
        QCOMPARE(model->documentItem(a1), OutlineModel::nodeOf(a1)->data->item);
        QCOMPARE(model->fileInfo(a1).fileName(), QStringLiteral("run.crc"));
        QCOMPARE(a1.parent(), model->index(0, 0, second));
        QCOMPARE(a1.parent().parent(), second);
        QCOMPARE(entry(view, QStringLiteral("B")).row(), 1);
        QCOMPARE(iconKey(a1, 1), QARIcons::testFailed().cacheKey());
        QCOMPARE(iconKey(entry(view, QStringLiteral("A")), 1), QARIcons::testOk().cacheKey());
        QCOMPARE(iconKey(entry(view, QStringLiteral("A2")), 1), QARIcons::testUnknown().cacheKey());
        QVERIFY(iconOf(entry(view, QStringLiteral("B")), 1).isNull());
        QVERIFY(iconOf(entry(view, QStringLiteral("C")), 1).isNull()); // "NE" is no verdict here
        QVERIFY(!OutlineModel::isFailed(entry(view, QStringLiteral("A"))));
        QVERIFY(!OutlineModel::isFailed(second));

        // Cleared, the outline holds nothing of the trees, which may then go.
        view.clear();
        QCOMPARE(model->rowCount(), 0);
        tree.reset();
        QVERIFY(!view.currentEntry().isValid());
    }

    void outlineOpensToTheConfiguredDepth()
    {
        QARListView view;
        auto tree = readTree(node("A", "ok", node("A1", "ok", node("A11", "ok"))));
        const QModelIndex file = view.addReport(tree.get(), QStringLiteral("run.crc"));
        view.openToDepth(1);
        QVERIFY(view.isExpanded(file));
        QVERIFY(!view.isExpanded(entry(view, QStringLiteral("A"))));
        view.openToDepth(2);
        QVERIFY(view.isExpanded(entry(view, QStringLiteral("A"))));
        QVERIFY(!view.isExpanded(entry(view, QStringLiteral("A1"))));
        view.openToDepth(6);
        QVERIFY(view.isExpanded(entry(view, QStringLiteral("A1"))));
        QVERIFY(!view.isExpanded(entry(view, QStringLiteral("A11")))); // a leaf stays closed
        view.openToDepth(0);
        QVERIFY(view.isExpanded(file));
        QVERIFY(!view.isExpanded(entry(view, QStringLiteral("A"))));
    }

    void unknownPicturesShowTheQuestionMark()
    {
        QTemporaryDir pictures;
        QPixmap red(8, 8);
        red.fill(Qt::red);
        QVERIFY(red.save(pictures.filePath(QStringLiteral("rule.png"))));
        pixmapcenter()->setSearchPaths({pictures.path()});
        QARListView view;
        auto tree =
            readTree("<XROD:NODE name='known' type='t' icone='rule.png'><SECTION/></XROD:NODE>"
                     "<XROD:NODE name='unknown' type='t' icone='nope.png'><SECTION/></XROD:NODE>");
        view.addReport(tree.get(), QStringLiteral("run.crc"));
        QCOMPARE(
            iconOf(entry(view, QStringLiteral("known")), 0).pixmap(8).toImage().pixelColor(4, 4),
            QColor(Qt::red));
        QCOMPARE(iconKey(entry(view, QStringLiteral("unknown")), 0),
                 QARIcons::testUnknown().cacheKey());
        pixmapcenter()->setSearchPaths({});
    }

    // The failure search visits every entry, closed branches and other files included, and
    // never wraps around.
    void failureSearchSteps()
    {
        QARListView view;
        auto first =
            readTree(node("A", "ok", node("F1", "ko") + node("F2", "ko")) + node("B", "ok"));
        auto second = readTree(node("X", "ok", node("F3", "ko")));
        view.addReport(first.get(), QStringLiteral("one.crc"));
        view.addReport(second.get(), QStringLiteral("two.crc"));
        view.openToDepth(1); // everything below the files closed
        QSignalSpy chosen(&view, &QAListView::doubleClicked);

        view.nextKO(); // no current entry: nothing
        QCOMPARE(chosen.count(), 0);

        view.setCurrentIndex(view.model()->index(0, 0));
        view.nextKO();
        QCOMPARE(view.currentEntry(), entry(view, QStringLiteral("F1")));
        QVERIFY(view.selectionModel()->isSelected(entry(view, QStringLiteral("F1"))));
        QVERIFY(view.isExpanded(entry(view, QStringLiteral("A")))); // its branch opened
        view.nextKO();
        QCOMPARE(view.currentEntry(), entry(view, QStringLiteral("F2")));
        QCOMPARE(chosen.count(), 2);
        QCOMPARE(chosen.last().first().value<QModelIndex>(), entry(view, QStringLiteral("F2")));
        QVERIFY(!view.selectionModel()->isSelected(entry(view, QStringLiteral("F1"))));
        view.nextKO();
        QCOMPARE(view.currentEntry(), entry(view, QStringLiteral("F3")));
        view.nextKO(); // the last failure: nothing changes
        QCOMPARE(view.currentEntry(), entry(view, QStringLiteral("F3")));
        QCOMPARE(chosen.count(), 3);
        view.prevKO();
        QCOMPARE(view.currentEntry(), entry(view, QStringLiteral("F2")));
        view.prevKO();
        view.prevKO(); // the first failure: nothing changes
        QCOMPARE(view.currentEntry(), entry(view, QStringLiteral("F1")));
        QCOMPARE(chosen.count(), 5);
        // From the second file backwards, over the first file's last entries.
        view.setCurrentIndex(view.model()->index(1, 0));
        view.prevKO();
        QCOMPARE(view.currentEntry(), entry(view, QStringLiteral("F2")));
    }

    void toolbarKeepsTheDisplayMode()
    {
        QVERIFY(!QARToolBar::getToolBar(nullptr));
        TestStudio headless;
        QVERIFY(!QARToolBar::getToolBar(&headless));

        QMainWindow window;
        TestStudio studio;
        studio.window = &window;
        QARToolBar* shared = QARToolBar::getToolBar(&studio);
        QVERIFY(shared);
        QCOMPARE(QARToolBar::getToolBar(&studio), shared);
        QCOMPARE(shared->parent(), &window);
        QVERIFY(!shared->prevButton()->isEnabled());
        QVERIFY(!shared->nextButton()->isEnabled());
        QVERIFY(!shared->filterButton()->isEnabled());
        QVERIFY(!shared->isFiltered());

        shared->setEnabledAll(true);
        QSignalSpy mode(shared, &QARToolBar::fltClicked);
        QSignalSpy next(shared, &QARToolBar::KOsuivClicked);
        QSignalSpy previous(shared, &QARToolBar::KOprecClicked);
        shared->filterButton()->click();
        QVERIFY(shared->isFiltered());
        QVERIFY(shared->filterButton()->isDown());
        QCOMPARE(shared->filterButton()->icon().pixmap(16).cacheKey(),
                 QARIcons::failedTests().cacheKey());
        shared->filterButton()->click();
        QVERIFY(!shared->isFiltered());
        QVERIFY(!shared->filterButton()->isDown());
        QCOMPARE(shared->filterButton()->icon().pixmap(16).cacheKey(),
                 QARIcons::allTests().cacheKey());
        QCOMPARE(mode.count(), 2);
        shared->nextButton()->click();
        shared->prevButton()->click();
        QCOMPARE(next.count(), 1);
        QCOMPARE(previous.count(), 1);
        QCOMPARE(shared->filterButton()->toolTip(),
                 QStringLiteral("All Test Results / Failed Tests Only (Ctrl+F8)"));
    }

    void iconsAreCrispAtTheirSize()
    {
        QCOMPARE(QARIcons::testOk().size(), QSize(16, 16));
        QCOMPARE(QARIcons::testFailed().size(), QSize(15, 15));
        QCOMPARE(QARIcons::testUnknown().size(), QSize(11, 14));
        QCOMPARE(QARIcons::report().size(), QSize(16, 16));
        QCOMPARE(QARIcons::previousFailure().size(), QSize(16, 16));
        QCOMPARE(QARIcons::nextFailure().size(), QSize(16, 16));
        QCOMPARE(QARIcons::allTests().size(), QSize(16, 16));
        QCOMPARE(QARIcons::testOk().toImage().pixelColor(3, 9), QColor(0x00, 0xBF, 0x00));
        QCOMPARE(QARIcons::testOk().toImage().pixelColor(0, 0).alpha(), 0);
    }

    void dialogsAnswerFromTheirScript()
    {
        auto script = std::make_unique<ScriptedDialogs>();
        ScriptedDialogs* scripted = script.get();
        scripted->buttons = {QMessageBox::No};
        scripted->files = {{QStringLiteral("/tmp/a.crc"), QStringLiteral("/tmp/b.crc")}};
        QADialogs::install(std::move(script));
        QCOMPARE(QADialogs::question(nullptr, QStringLiteral("Q"), QStringLiteral("Really?"),
                                     QMessageBox::Yes | QMessageBox::No, QMessageBox::Yes),
                 QMessageBox::No);
        QCOMPARE(QADialogs::question(nullptr, QStringLiteral("Q"), QStringLiteral("Again?"),
                                     QMessageBox::Yes | QMessageBox::No, QMessageBox::Yes),
                 QMessageBox::Yes); // the script ran out: the default button
        QADialogs::warning(nullptr, QStringLiteral("W"), QStringLiteral("Careful"));
        QCOMPARE(QADialogs::current().openFileNames(nullptr, QStringLiteral("Open"), QString(),
                                                    QStringLiteral("*.crc")),
                 QStringList({"/tmp/a.crc", "/tmp/b.crc"}));
        QVERIFY(QADialogs::current()
                    .saveFileName(nullptr, QStringLiteral("Save"), QString(), QString())
                    .isNull());
        QCOMPARE(scripted->asked.size(), 5);
        QCOMPARE(scripted->asked.at(2).text, QStringLiteral("Careful"));
        QADialogs::install(nullptr);
        QVERIFY(dynamic_cast<ScriptedDialogs*>(&QADialogs::current()) == nullptr);
    }

    // A deep result tree becomes a deep outline without recursion in the builder.
    void deepTreesMakeDeepOutlines()
    {
        const int depth = 5000;
        QByteArray nodes;
        for (int i = 0; i < depth; ++i)
            nodes += "<XROD:NODE name='n' type='t' state='ko'><SECTION>";
        for (int i = 0; i < depth; ++i)
            nodes += "</SECTION></XROD:NODE>";
        auto tree = readTree(nodes);
        QARListView view;
        QModelIndex item = view.addReport(tree.get(), QStringLiteral("deep.crc"));
        int levels = 0;
        while (view.model()->rowCount(item) == 1) {
            item = view.model()->index(0, 0, item);
            ++levels;
        }
        QCOMPARE(levels, depth);
        QCOMPARE(QARListView::entryPath(item).size(), depth + 1);
        QCOMPARE(view.entryAt(QARListView::entryPath(item)), item);

        // Filtered, counted and stepped through without recursion either: the deepest entry
        // is the only result, every entry above it stays, and the file counts one failure.
        view.setFilterText(QStringLiteral("deep.crc"));
        item = view.model()->index(0, 0);
        QCOMPARE(view.model()->index(0, 2).data().toString(), QStringLiteral("1"));
        levels = 0;
        while (view.model()->rowCount(item) == 1) {
            item = view.model()->index(0, 0, item);
            ++levels;
        }
        QCOMPARE(levels, depth);
        view.setCurrentIndex(view.model()->index(0, 0));
        view.nextFinding();
        QCOMPARE(QARListView::entryPath(view.currentEntry()).size(),
                 QARListView::openDepthLimit + 1); // the entry at the limit stands for it
        view.setFilterText(QStringLiteral("nothing"));
        QCOMPARE(view.model()->rowCount(view.model()->index(0, 0)), 0);
        view.clear();
    }
};

QTEST_MAIN(TestViewer)
#include "tst_viewer.moc"
