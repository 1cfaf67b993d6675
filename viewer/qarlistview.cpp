#include "viewer/qarlistview.h"

#include "model/qareporterdatatree.h"
#include "viewer/outlinemodel.h"

#include <vector>

QARListView::QARListView(QWidget* parent)
    : QAListView(parent), m_model(std::make_unique<OutlineModel>())
{
    setModel(m_model.get());
}

QARListView::~QARListView()
{
    setModel(nullptr);
}

void QARListView::clear()
{
    m_model->clear();
}

QModelIndex QARListView::addReport(QAReporterDataTree* tree, const QString& fileName)
{
    return m_model->addFile(tree, fileName);
}

void QARListView::openToDepth(int depth)
{
    collapseAll();
    // While the view's layout is pending, expand() only notes the entry, so that the view lays
    // itself out once instead of once per opened entry. Only entries with children are opened.
    scheduleDelayedItemsLayout();
    std::vector<std::pair<const OutlineNode*, int>> pending;
    for (int row = m_model->rowCount() - 1; row >= 0; --row)
        pending.emplace_back(m_model->fileRoot(m_model->index(row, 0)), 0);
    while (!pending.empty()) {
        const auto [node, nodeDepth] = pending.back();
        pending.pop_back();
        if ((nodeDepth > 0 && nodeDepth >= depth) || node->children.empty())
            continue;
        expand(m_model->indexOf(node));
        for (const auto& child : node->children)
            pending.emplace_back(child.get(), nodeDepth + 1);
    }
}

QModelIndex QARListView::currentEntry() const
{
    const QModelIndex current = currentIndex();
    return current.isValid() ? current.siblingAtColumn(OutlineModel::NameColumn) : current;
}

void QARListView::showEntry(const QModelIndex& entry)
{
    // The closed branches above the entry open in one layout.
    scheduleDelayedItemsLayout();
    for (QModelIndex above = entry.parent(); above.isValid(); above = above.parent())
        expand(above);
    setCurrentIndex(entry);
    selectionModel()->select(entry, QItemSelectionModel::ClearAndSelect |
                                        QItemSelectionModel::Rows);
    scrollTo(entry);
}

void QARListView::nextKO()
{
    stepToFailure(true);
}

void QARListView::prevKO()
{
    stepToFailure(false);
}

void QARListView::stepToFailure(bool forward)
{
    const QModelIndex start = currentEntry();
    if (!start.isValid())
        return;
    const QModelIndex failure = m_model->failureFrom(start, forward);
    if (!failure.isValid())
        return;
    showEntry(failure);
    expand(failure);
    Q_EMIT doubleClicked(failure);
}

QStringList QARListView::entryPath(const QModelIndex& entry)
{
    QStringList path;
    for (QModelIndex at = entry.siblingAtColumn(OutlineModel::NameColumn); at.isValid();
         at = at.parent())
        path.prepend(at.data().toString());
    return path;
}

QModelIndex QARListView::entryAt(const QStringList& path) const
{
    QModelIndex found;
    for (const QString& name : path) {
        const int count = m_model->rowCount(found);
        QModelIndex next;
        for (int row = 0; row < count && !next.isValid(); ++row) {
            const QModelIndex candidate = m_model->index(row, OutlineModel::NameColumn, found);
            if (candidate.data().toString() == name)
                next = candidate;
        }
        if (!next.isValid())
            return {};
        found = next;
    }
    return found;
}
