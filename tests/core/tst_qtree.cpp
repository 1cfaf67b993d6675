// The tree container: walk orders, recorded moves, insertion and ownership.

#include "model/qtree.h"

#include <QTest>

namespace {

// Counts live instances, so that ownership faults show as a wrong count.
struct Counted
{
    explicit Counted(const char* name) : name(name) { ++alive; }
    ~Counted() { --alive; }
    QString name;
    static int alive;
};
int Counted::alive = 0;

using Tree = QTree<Counted>;
using Dirs = QList<IterateDirection>;

QString walk(Tree& tree, Tree::iterateMode mode, int steps)
{
    QStringList seen;
    for (int i = 0; i < steps; ++i) {
        Counted* data = tree.next(mode);
        seen.append(data ? data->name : QStringLiteral("-"));
    }
    return seen.join(QLatin1Char(' '));
}

// R with children A (children A1, A2) and B; the cursor ends on the root.
struct Sample
{
    Sample() : tree(new Counted("R"))
    {
        tree.setAutoDelete(true);
        tree.addChild(new Counted("A"), -1, nullptr);
        tree.addChild(new Counted("B"), -1, nullptr);
        tree.iterator()->toFirstChild();
        tree.addChild(new Counted("A1"), -1, nullptr);
        tree.addChild(new Counted("A2"), -1, nullptr);
        tree.toRoot();
    }
    Tree tree;
};

} // namespace

class TestQTree : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void rootOnlyWalkEndsAtOnce()
    {
        Tree tree(new Counted("R"));
        tree.setAutoDelete(true);
        QCOMPARE(tree.next(Tree::Forward), nullptr);
        QVERIFY(tree.directions().isEmpty());
        QCOMPARE(tree.next(Tree::Backward), nullptr);
        QVERIFY(tree.directions().isEmpty());
        QCOMPARE(tree.iterator()->current()->name, QStringLiteral("R"));
        QCOMPARE(tree.iterator()->depth(), 0);
    }

    // A forward walk records each step's moves so that the walk can be replayed elsewhere.
    void forwardWalkRecordsItsMoves()
    {
        Sample s;
        const QList<QPair<QString, Dirs>> expected = {
            {QStringLiteral("A"), {DirDown}},  {QStringLiteral("A1"), {DirDown}},
            {QStringLiteral("A2"), {DirNext}}, {QStringLiteral("B"), {DirUp, DirNext}},
            {QStringLiteral("-"), {DirUp}},
        };
        for (const auto& step : expected) {
            Counted* data = s.tree.next(Tree::Forward);
            QCOMPARE(data ? data->name : QStringLiteral("-"), step.first);
            QCOMPARE(s.tree.directions(), step.second);
        }
        QCOMPARE(s.tree.iterator()->depth(), 0);
        QCOMPARE(s.tree.iterator()->current()->name, QStringLiteral("R"));
        QCOMPARE(walk(s.tree, Tree::Forward, 6), QStringLiteral("A A1 A2 B - A"));
    }

    void backwardWalkMirrorsForward()
    {
        Sample s;
        QCOMPARE(walk(s.tree, Tree::Backward, 5), QStringLiteral("B A A2 A1 -"));
        s.tree.toRoot();
        s.tree.next(Tree::Backward);
        s.tree.next(Tree::Backward);
        QCOMPARE(s.tree.directions(), Dirs({DirPrev}));
        QCOMPARE(s.tree.next(Tree::Backward)->name, QStringLiteral("A2"));
        QCOMPARE(s.tree.directions(), Dirs({DirDown}));
        QCOMPARE(s.tree.next(Tree::Backward)->name, QStringLiteral("A1"));
        QCOMPARE(s.tree.directions(), Dirs({DirPrev}));
        QCOMPARE(s.tree.next(Tree::Backward), nullptr);
        QCOMPARE(s.tree.directions(), Dirs({DirUp, DirUp}));
    }

    void depthFollowsTheCursor()
    {
        Sample s;
        QList<int> depths;
        while (s.tree.next(Tree::Forward))
            depths.append(s.tree.iterator()->depth());
        QCOMPARE(depths, QList<int>({1, 2, 2, 1}));
    }

    void siblingModeWarnsAndStepsOnce()
    {
        Sample s;
        s.tree.next(Tree::Forward); // on A
        QTest::ignoreMessage(QtWarningMsg, "Not implemented...");
        QCOMPARE(s.tree.next(Tree::Sibling)->name, QStringLiteral("B"));
        QVERIFY(s.tree.directions().isEmpty());
        QTest::ignoreMessage(QtWarningMsg, "Not implemented...");
        QCOMPARE(s.tree.next(Tree::Sibling), nullptr);
        QCOMPARE(s.tree.next(Tree::iterateMode(7)), nullptr);
    }

    void insertionPositions()
    {
        Sample s;
        s.tree.iterator()->toFirstChild(); // A, children A1 A2
        auto* first = new Counted("X0");
        QVERIFY(s.tree.addChild(first, 0, nullptr));
        QCOMPARE(s.tree.directions(), Dirs({DirNone}));
        QVERIFY(s.tree.addChild(new Counted("Xm"), -1, nullptr));
        QVERIFY(s.tree.addChild(new Counted("X99"), 99, nullptr));
        QVERIFY(s.tree.addChild(new Counted("X2"), 2, s.tree.iterator()->current()));
        QCOMPARE(s.tree.iterator()->current()->name, QStringLiteral("A"));
        s.tree.toRoot();
        QCOMPARE(walk(s.tree, Tree::Forward, 8), QStringLiteral("A X0 A1 X2 A2 Xm X99 B"));
    }

    // Every node knows its parent and its place among its siblings, however it was inserted:
    // at the end, at the front, in the middle, or under a searched parent.
    void nodesKnowTheirParentAndRow()
    {
        Sample s;
        s.tree.iterator()->toFirstChild(); // A, children A1 A2
        QVERIFY(s.tree.addChild(new Counted("X0"), 0, nullptr));
        QVERIFY(s.tree.addChild(new Counted("X2"), 2, nullptr));
        QVERIFY(s.tree.addChild(new Counted("Xe"), -1, nullptr));
        s.tree.toRoot();
        QTreeNode<Counted>* root = s.tree.rootNode();
        QCOMPARE(root->parent, nullptr);
        QTreeNode<Counted>* a = root->children.front().get();
        QStringList names;
        for (const auto& child : a->children) {
            QCOMPARE(child->parent, a);
            QCOMPARE(a->children[size_t(child->row)].get(), child.get());
            names.append(child->data->name);
        }
        QCOMPARE(names, QStringList({"X0", "A1", "X2", "A2", "Xe"}));
        Counted* b = root->children.back()->data;
        QVERIFY(s.tree.addChild(new Counted("B1"), -1, b));
        QTreeNode<Counted>* b1 = root->children.back()->children.front().get();
        QCOMPARE(b1->parent, root->children.back().get());
        QCOMPARE(b1->row, 0);
        QCOMPARE(root->children.back()->row, 1);
    }

    // Inserting under another node searches the tree for it; the root is never a match.
    void insertionUnderASearchedParent()
    {
        Sample s;
        Counted* b = s.tree.iterator()->current();
        while (b && b->name != QLatin1String("B"))
            b = s.tree.next(Tree::Forward);
        s.tree.toRoot();
        Counted* root = s.tree.iterator()->current();
        s.tree.iterator()->toFirstChild();
        QVERIFY(s.tree.addChild(new Counted("B1"), -1, b));
        QCOMPARE(s.tree.iterator()->current(), b);
        Counted stranger("S");
        Counted refused("refused");
        QVERIFY(!s.tree.addChild(&refused, -1, &stranger));
        QCOMPARE(s.tree.iterator()->current(), root);
        s.tree.toRoot();
        QCOMPARE(walk(s.tree, Tree::Forward, 6), QStringLiteral("A A1 A2 B B1 -"));
    }

    void upAndLastChildRecordEvenWhenTheyFail()
    {
        Sample s;
        QCOMPARE(s.tree.up(), nullptr);
        QCOMPARE(s.tree.directions(), Dirs({DirUp}));
        QCOMPARE(s.tree.lastChild()->name, QStringLiteral("B"));
        QCOMPARE(s.tree.lastChild(), nullptr); // B is a leaf
        QCOMPARE(s.tree.directions(), Dirs({DirDown}));
        QCOMPARE(s.tree.iterator()->current()->name, QStringLiteral("B"));
        QCOMPARE(s.tree.up()->name, QStringLiteral("R"));
    }

    void emptyTreeRefusesEverything()
    {
        Tree tree;
        QCOMPARE(tree.iterator(), nullptr);
        QCOMPARE(tree.next(Tree::Forward), nullptr);
        QCOMPARE(tree.up(), nullptr);
        QCOMPARE(tree.lastChild(), nullptr);
        QCOMPARE(tree.toRoot(), nullptr);
        Counted data("x");
        QVERIFY(!tree.addChild(&data, -1, nullptr));
        QVERIFY(tree.directions().isEmpty());

        QTest::ignoreMessage(QtWarningMsg,
                             "QTreeIterator<type>::QTreeIterator<type> : Null parameter");
        QTreeIterator<Counted> nowhere(nullptr);
        QCOMPARE(nowhere.current(), nullptr);
        QCOMPARE(nowhere.toFirstChild(), nullptr);
        QCOMPARE(nowhere.toNext(), nullptr);
    }

    // A failed sibling step leaves the list cursor on no child; the next step fails too.
    void siblingCursorIsSharedThroughTheParentList()
    {
        Sample s;
        QTreeIterator<Counted> a(*s.tree.iterator());
        a.toFirstChild(); // A
        QTreeIterator<Counted> b(a);
        QCOMPARE(b.toNext()->name, QStringLiteral("B"));
        QCOMPARE(a.toNext(), nullptr); // the shared list cursor is already on B
        QCOMPARE(a.toPrev(), nullptr);
        QCOMPARE(a.current()->name, QStringLiteral("A"));
    }

    void ownershipFollowsAutoDelete()
    {
        QCOMPARE(Counted::alive, 0);
        {
            Sample s;
            QCOMPARE(Counted::alive, 5);
        }
        QCOMPARE(Counted::alive, 0);

        Counted root("R");
        Counted child("C");
        {
            Tree borrowed(&root);
            borrowed.addChild(&child, -1, nullptr);
        }
        QCOMPARE(Counted::alive, 2); // not owned, not deleted
    }

    // Walks and destruction must not recurse with the depth of the input.
    void deepAndWideTreesDoNotRecurse()
    {
        const int depth = 200000;
        {
            Tree tree(new Counted("R"));
            tree.setAutoDelete(true);
            for (int i = 0; i < depth; ++i) {
                tree.addChild(new Counted("n"), -1, nullptr);
                tree.lastChild();
            }
            QCOMPARE(tree.iterator()->depth(), depth);
            QCOMPARE(tree.iterator()->node->parent, tree.iterator()->parents.back());
            tree.toRoot();
            int visited = 0;
            while (tree.next(Tree::Forward))
                ++visited;
            QCOMPARE(visited, depth);
            QCOMPARE(tree.directions().size(), depth); // one DirUp per level climbed
        }
        QCOMPARE(Counted::alive, 0);
        {
            Tree tree(new Counted("R"));
            tree.setAutoDelete(true);
            for (int i = 0; i < depth; ++i)
                tree.addChild(new Counted("n"), -1, nullptr);
            QCOMPARE(tree.rootNode()->children.back()->row, depth - 1);
            int visited = 0;
            while (tree.next(Tree::Backward))
                ++visited;
            QCOMPARE(visited, depth);
        }
        QCOMPARE(Counted::alive, 0);
    }
};

QTEST_APPLESS_MAIN(TestQTree)
#include "tst_qtree.moc"
