#include "viewer/qarlistview.h"

#include "model/qareporterdatatree.h"
#include "sdk/qapixmapcenter.h"
#include "viewer/qaricons.h"
#include "viewer/qarlistviewitem.h"

#include <QTreeWidgetItemIterator>
#include <vector>

QARListView::QARListView(QWidget* parent) : QAListView(parent)
{
    setColumnCount(2);
}

QARListView::~QARListView()
{
    clear();
}

void QARListView::clear()
{
    // An entry deletes its children recursively, which a result file nested 100,000 levels deep
    // would overflow the stack with. So the branches leave the view first, and are then taken
    // apart from the last entry in walk order back: each entry is a leaf when its turn comes.
    std::vector<QTreeWidgetItem*> branches;
    while (topLevelItemCount() > 0)
        branches.push_back(takeTopLevelItem(topLevelItemCount() - 1));
    std::vector<QTreeWidgetItem*> walk;
    for (QTreeWidgetItem* branch : branches) {
        walk.clear();
        walk.push_back(branch);
        for (size_t i = 0; i < walk.size(); ++i) {
            for (int child = 0; child < walk[i]->childCount(); ++child)
                walk.push_back(walk[i]->child(child));
        }
        for (auto entry = walk.rbegin(); entry != walk.rend(); ++entry) {
            if (QTreeWidgetItem* parent = (*entry)->parent())
                parent->takeChild(parent->childCount() - 1);
            delete *entry;
        }
    }
}

QARListViewItem* QARListView::addReport(QAReporterDataTree* tree, const QString& fileName)
{
    if (!tree || !tree->iterator())
        return nullptr;
    QAReporterNode* root = tree->toRoot();
    if (!root)
        return nullptr;
    // The entries are built before the file entry joins the view, so that the view takes the
    // whole branch at once instead of one insertion per node.
    auto* fileEntry = new QARListViewItem;
    fileEntry->fileInfo = QFileInfo(fileName);
    fileEntry->setText(0, fileEntry->fileInfo.fileName());
    fileEntry->setIcon(0, pixmapcenter()->icon(QARIcons::report()));
    fileEntry->item = root->item;

    std::vector<QARListViewItem*> parents{fileEntry};
    while (QAReporterNode* node = tree->next(QAReporterDataTree::Forward)) {
        const size_t depth = size_t(tree->iterator()->depth());
        parents.resize(depth);
        auto* entry = new QARListViewItem(parents.back());
        entry->decorate(node);
        parents.push_back(entry);
    }
    addTopLevelItem(fileEntry);
    return fileEntry;
}

void QARListView::openToDepth(int depth)
{
    collapseAll();
    // Only entries with children are opened, and while the view's layout is pending, so that the
    // view lays itself out once instead of once per opened entry.
    scheduleDelayedItemsLayout();
    std::vector<std::pair<QTreeWidgetItem*, int>> pending;
    for (int i = 0; i < topLevelItemCount(); ++i)
        pending.emplace_back(topLevelItem(i), 0);
    while (!pending.empty()) {
        const auto [entry, entryDepth] = pending.back();
        pending.pop_back();
        if ((entryDepth > 0 && entryDepth >= depth) || entry->childCount() == 0)
            continue;
        entry->setExpanded(true);
        for (int i = 0; i < entry->childCount(); ++i)
            pending.emplace_back(entry->child(i), entryDepth + 1);
    }
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
    QTreeWidgetItem* start = currentItem();
    if (!start)
        return;
    QTreeWidgetItemIterator it(start);
    for (forward ? ++it : --it; *it; forward ? ++it : --it) {
        auto* entry = dynamic_cast<QARListViewItem*>(*it);
        if (!entry || !entry->ko)
            continue;
        start->setSelected(false);
        setCurrentItem(entry);
        entry->setExpanded(true);
        entry->setSelected(true);
        scrollToItem(entry);
        Q_EMIT doubleClicked(entry);
        return;
    }
}

QStringList QARListView::entryPath(const QTreeWidgetItem* entry)
{
    QStringList path;
    for (; entry; entry = entry->parent())
        path.prepend(entry->text(0));
    return path;
}

QTreeWidgetItem* QARListView::entryAt(const QStringList& path) const
{
    QTreeWidgetItem* found = nullptr;
    for (const QString& name : path) {
        const int count = found ? found->childCount() : topLevelItemCount();
        QTreeWidgetItem* next = nullptr;
        for (int i = 0; i < count && !next; ++i) {
            QTreeWidgetItem* candidate = found ? found->child(i) : topLevelItem(i);
            if (candidate->text(0) == name)
                next = candidate;
        }
        if (!next)
            return nullptr;
        found = next;
    }
    return found;
}
