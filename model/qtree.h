#pragma once

#include <QList>
#include <QtGlobal>
#include <memory>
#include <vector>

// The moves a tree's cursor made; a caller replays them on a second tree.
enum IterateDirection
{
    DirNone = 0,
    DirUp = 1,
    DirDown = 2,
    DirNext = 3,
    DirPrev = 4
};

template <class T> class QTreeIterator;
template <class T> class QTree;

// One node of a QTree. The node points to its data; it owns the data only when autoDelete is
// set. The position of the sibling cursor lives in the parent's child list (`currentChild`).
// Each node knows its parent and its index among the parent's children, so that views can find
// their way up without searching.
template <class T> class QTreeNode
{
public:
    explicit QTreeNode(T* data) : data(data) {}
    virtual ~QTreeNode();
    QTreeNode(const QTreeNode&) = delete;
    QTreeNode& operator=(const QTreeNode&) = delete;

    // Sets the flag on this node and on every node below it.
    void setAutoDelete(bool on);

    bool autoDelete = false;
    T* data;
    std::vector<std::unique_ptr<QTreeNode>> children;
    QTreeNode* parent = nullptr; // null for the root
    int row = 0;                 // index in parent->children
    // The child list's cursor: the index of the current child, -1 when it is on no child.
    int currentChild = -1;
};

// A cursor over a QTree: the node it is on and the stack of its ancestors.
template <class T> class QTreeIterator
{
public:
    explicit QTreeIterator(QTreeNode<T>* node);

    T* toFirstChild() { return enterChild(0); }
    T* toLastChild() { return node ? enterChild(int(node->children.size()) - 1) : nullptr; }
    T* toNext() { return stepSibling(+1); }
    T* toPrev() { return stepSibling(-1); }
    T* toParent();
    // Inserts a new node for `data` among the children of the current node, at `position` when it
    // is within 0..count, otherwise at the end. The cursor does not move.
    void addChild(T* data, int position);

    T* current() const { return node ? node->data : nullptr; }
    int depth() const { return int(parents.size()); }

    QTreeNode<T>* node;
    // Ancestors of `node`, the root first and the parent last.
    std::vector<QTreeNode<T>*> parents;

private:
    T* enterChild(int index);
    T* stepSibling(int step);
};

// A tree of pointers to T with one built-in cursor. Every call of next(), up(), lastChild() and
// addChild() records the moves it made in directions().
template <class T> class QTree
{
public:
    // A fixed underlying type: a mode outside the three is a valid value, which next() refuses.
    enum iterateMode : int
    {
        Forward = 0,
        Backward = 1,
        Sibling = 2
    };

    QTree() = default;
    explicit QTree(T* rootData);
    ~QTree();
    QTree(const QTree&) = delete;
    QTree& operator=(const QTree&) = delete;

    // One step of a depth-first walk, parent before children. The walk never returns the root;
    // when it runs out it returns null with the cursor back on the root.
    T* next(iterateMode mode);
    T* up();
    T* lastChild();
    // Inserts under the cursor's node when `parent` is null or is that node's data; otherwise
    // searches the tree for `parent` (leaving the cursor there) and inserts under it.
    bool addChild(T* data, int position, T* parent);
    void setAutoDelete(bool on) { m_autoDelete = on; }
    QTreeIterator<T>* iterator() const { return m_iterator.get(); }
    QTreeNode<T>* rootNode() const { return m_root.get(); }
    const QList<IterateDirection>& directions() const { return m_directions; }
    T* toRoot();

private:
    T* step(bool forward);
    T* climb(bool forward);

    QList<IterateDirection> m_directions;
    std::unique_ptr<QTreeNode<T>> m_root;
    std::unique_ptr<QTreeIterator<T>> m_iterator;
    bool m_autoDelete = false;
};

// ---- QTreeNode

template <class T> QTreeNode<T>::~QTreeNode()
{
    // Descendants are unlinked before they are deleted so that no destructor recurses.
    std::vector<std::unique_ptr<QTreeNode>> pending = std::move(children);
    while (!pending.empty()) {
        std::unique_ptr<QTreeNode> node = std::move(pending.back());
        pending.pop_back();
        for (auto& child : node->children)
            pending.push_back(std::move(child));
        node->children.clear();
    }
    if (autoDelete)
        delete data;
}

template <class T> void QTreeNode<T>::setAutoDelete(bool on)
{
    std::vector<QTreeNode*> pending{this};
    while (!pending.empty()) {
        QTreeNode* node = pending.back();
        pending.pop_back();
        node->autoDelete = on;
        for (auto& child : node->children)
            pending.push_back(child.get());
    }
}

// ---- QTreeIterator

template <class T> QTreeIterator<T>::QTreeIterator(QTreeNode<T>* start) : node(start)
{
    if (!start)
        qWarning("QTreeIterator<type>::QTreeIterator<type> : Null parameter");
}

template <class T> T* QTreeIterator<T>::enterChild(int index)
{
    if (!node || node->children.empty())
        return nullptr;
    node->currentChild = index;
    parents.push_back(node);
    node = node->children[size_t(index)].get();
    return node->data;
}

template <class T> T* QTreeIterator<T>::stepSibling(int step)
{
    if (parents.empty())
        return nullptr;
    QTreeNode<T>* parent = parents.back();
    if (parent->currentChild < 0)
        return nullptr;
    const int index = parent->currentChild + step;
    if (index < 0 || index >= int(parent->children.size())) {
        parent->currentChild = -1;
        return nullptr;
    }
    parent->currentChild = index;
    node = parent->children[size_t(index)].get();
    return node->data;
}

template <class T> T* QTreeIterator<T>::toParent()
{
    if (parents.empty())
        return nullptr;
    node = parents.back();
    parents.pop_back();
    return node->data;
}

template <class T> void QTreeIterator<T>::addChild(T* data, int position)
{
    if (!node)
        return;
    auto& children = node->children;
    const int count = int(children.size());
    const int index = position >= 0 && position <= count ? position : count;
    auto inserted = children.insert(children.begin() + index, std::make_unique<QTreeNode<T>>(data));
    (*inserted)->parent = node;
    // The siblings after the new node move one place on; appending renumbers nothing.
    for (int row = index; row <= count; ++row)
        children[size_t(row)]->row = row;
    node->currentChild = index;
}

// ---- QTree

template <class T>
QTree<T>::QTree(T* rootData)
    : m_root(std::make_unique<QTreeNode<T>>(rootData)),
      m_iterator(std::make_unique<QTreeIterator<T>>(m_root.get()))
{
}

template <class T> QTree<T>::~QTree()
{
    m_iterator.reset();
    if (m_root)
        m_root->setAutoDelete(m_autoDelete);
}

template <class T> T* QTree<T>::next(iterateMode mode)
{
    if (!m_iterator)
        return nullptr;
    m_directions.clear();
    switch (mode) {
    case Forward:
        return step(true);
    case Backward:
        return step(false);
    case Sibling:
        qWarning("Not implemented...");
        return m_iterator->toNext();
    }
    return nullptr;
}

template <class T> T* QTree<T>::step(bool forward)
{
    QTreeIterator<T>& it = *m_iterator;
    if (T* child = forward ? it.toFirstChild() : it.toLastChild()) {
        m_directions.append(DirDown);
        return child;
    }
    if (T* sibling = forward ? it.toNext() : it.toPrev()) {
        m_directions.append(forward ? DirNext : DirPrev);
        return sibling;
    }
    return climb(forward);
}

template <class T> T* QTree<T>::climb(bool forward)
{
    QTreeIterator<T>& it = *m_iterator;
    for (;;) {
        if (it.parents.empty())
            return nullptr;
        if (!it.toParent())
            return nullptr;
        m_directions.append(DirUp);
        if (T* sibling = forward ? it.toNext() : it.toPrev()) {
            m_directions.append(forward ? DirNext : DirPrev);
            return sibling;
        }
    }
}

template <class T> T* QTree<T>::up()
{
    if (!m_iterator)
        return nullptr;
    m_directions.clear();
    m_directions.append(DirUp);
    return m_iterator->toParent();
}

template <class T> T* QTree<T>::lastChild()
{
    if (!m_iterator)
        return nullptr;
    m_directions.clear();
    m_directions.append(DirDown);
    return m_iterator->toLastChild();
}

template <class T> bool QTree<T>::addChild(T* data, int position, T* parent)
{
    if (!m_iterator)
        return false;
    m_directions.clear();
    if (!parent || parent == m_iterator->current()) {
        m_directions.append(DirNone);
        m_iterator->addChild(data, position);
        return true;
    }
    // Only nodes reached by a step are compared, so the root is never a match.
    toRoot();
    if (!m_iterator->current())
        return false;
    for (;;) {
        T* reached = next(Forward);
        if (!reached)
            return false;
        if (reached == parent)
            break;
    }
    m_directions.clear();
    m_directions.append(DirNone);
    m_iterator->addChild(data, position);
    return true;
}

template <class T> T* QTree<T>::toRoot()
{
    if (!m_iterator)
        return nullptr;
    while (!m_iterator->parents.empty())
        m_iterator->toParent();
    return m_iterator->current();
}
