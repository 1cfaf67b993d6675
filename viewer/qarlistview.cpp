#include "viewer/qarlistview.h"

#include "filter/outlinequery.h"
#include "model/qareporterdatatree.h"
#include "viewer/outlinemodel.h"

#include <QKeyEvent>
#include <vector>

QARListView::QARListView(QWidget* parent)
    : QAListView(parent), m_model(std::make_unique<OutlineModel>()),
      m_query(std::make_unique<OutlineQuery>())
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

QModelIndex QARListView::addReport(QAReporterDataTree* tree, const QString& fileName,
                                   const QString& shownPath)
{
    return m_model->addFile(tree, fileName, shownPath);
}

void QARListView::showReports(int depth)
{
    m_openDepth = depth;
    if (m_query->isEmpty()) {
        openToDepth(depth);
        return;
    }
    m_model->setQuery(*m_query);
    openShown();
}

void QARListView::setFilterText(const QString& text)
{
    if (text == m_filterText)
        return;
    m_filterText = text;
    *m_query = OutlineQuery(text);
    // The current entry stays when shown; else the nearest entry above it that is.
    const QModelIndex current = currentEntry();
    const OutlineNode* kept = OutlineModel::nodeOf(current);
    if (!kept)
        kept = m_model->fileRoot(current);
    if (m_deepEntry.isValid() && current == m_deepStandIn)
        kept = OutlineModel::nodeOf(m_deepEntry);
    m_deepEntry = QModelIndex();
    m_deepStandIn = QModelIndex();
    m_model->setQuery(*m_query);
    if (m_model->isFiltered())
        openShown();
    else
        openToDepth(m_openDepth);
    QModelIndex entry;
    for (const OutlineNode* node = kept; node && !entry.isValid(); node = node->parent)
        entry = m_model->indexOf(node);
    if (entry.isValid())
        showEntry(entry);
}

void QARListView::openShown()
{
    collapseAll();
    scheduleDelayedItemsLayout();
    for (int row = 0; row < m_model->rowCount(); ++row)
        openBranch(m_model->index(row, 0), openDepthLimit);
}

namespace {

// Levels above `entry`: 0 for a file entry.
int depthOf(QModelIndex entry)
{
    int depth = 0;
    for (entry = entry.parent(); entry.isValid(); entry = entry.parent())
        ++depth;
    return depth;
}

} // namespace

void QARListView::openToDepth(int depth)
{
    collapseAll();
    // While the view's layout is pending, expand() only notes the entry, so that the view lays
    // itself out once instead of once per opened entry. File entries always open.
    scheduleDelayedItemsLayout();
    for (int row = 0; row < m_model->rowCount(); ++row)
        openBranch(m_model->index(row, 0), qBound(1, depth, openDepthLimit));
}

void QARListView::openBranch(const QModelIndex& entry, int limit)
{
    // Only entries with children are opened; with a filter, only the entries it shows.
    std::vector<std::pair<QModelIndex, int>> pending;
    pending.emplace_back(entry, depthOf(entry));
    while (!pending.empty()) {
        const auto [at, atDepth] = pending.back();
        pending.pop_back();
        const int children = m_model->rowCount(at);
        if (atDepth >= limit || children == 0)
            continue;
        expand(at);
        for (int row = 0; row < children; ++row)
            pending.emplace_back(m_model->index(row, OutlineModel::NameColumn, at), atDepth + 1);
    }
}

void QARListView::keyPressEvent(QKeyEvent* event)
{
    const QModelIndex current = currentEntry();
    if (event->key() == Qt::Key_Asterisk && current.isValid()) {
        scheduleDelayedItemsLayout();
        openBranch(current, openDepthLimit);
        return;
    }
    QAListView::keyPressEvent(event);
}

QModelIndex QARListView::currentEntry() const
{
    const QModelIndex current = currentIndex();
    return current.isValid() ? current.siblingAtColumn(OutlineModel::NameColumn) : current;
}

void QARListView::showEntry(const QModelIndex& entry)
{
    QModelIndex shown = entry;
    for (int depth = depthOf(entry); depth > openDepthLimit; --depth)
        shown = shown.parent();
    m_deepEntry = shown == entry ? QModelIndex() : entry;
    m_deepStandIn = shown == entry ? QModelIndex() : shown;
    // The closed branches above the entry open in one layout; when all are open, the layout
    // the view has stays.
    bool closedAbove = false;
    for (QModelIndex above = shown.parent(); above.isValid() && !closedAbove;
         above = above.parent())
        closedAbove = !isExpanded(above);
    if (closedAbove) {
        scheduleDelayedItemsLayout();
        for (QModelIndex above = shown.parent(); above.isValid(); above = above.parent())
            expand(above);
    }
    setCurrentIndex(shown);
    selectionModel()->select(shown,
                             QItemSelectionModel::ClearAndSelect | QItemSelectionModel::Rows);
    scrollTo(shown);
}

void QARListView::nextKO()
{
    stepToFailure(true, false);
}

void QARListView::prevKO()
{
    stepToFailure(false, false);
}

void QARListView::nextFinding()
{
    stepToFailure(true, true);
}

void QARListView::previousFinding()
{
    stepToFailure(false, true);
}

void QARListView::stepToFailure(bool forward, bool resultsOnly)
{
    QModelIndex start = currentEntry();
    if (!start.isValid())
        return;
    if (m_deepEntry.isValid() && start == m_deepStandIn)
        start = m_deepEntry;
    const QModelIndex failure = m_model->failureFrom(start, forward, resultsOnly);
    if (!failure.isValid())
        return;
    showEntry(failure);
    if (depthOf(failure) < openDepthLimit)
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
            return found;
        found = next;
    }
    return found;
}
