#pragma once

#include <QFileInfo>
#include <QTreeWidgetItem>

class DItem;
class QAReporterNode;

// One outline entry: a result file at the top level, a result node below it. Column 0 shows the
// name and the node's own picture, column 1 the verdict.
class QARListViewItem : public QTreeWidgetItem
{
public:
    enum
    {
        Type = QTreeWidgetItem::UserType + 1
    };

    // A file entry, not yet in a view.
    QARListViewItem();
    // A node entry under `parent`; it starts with the parent's failed flag.
    explicit QARListViewItem(QARListViewItem* parent);
    ~QARListViewItem() override;

    // Shows `node` in this entry: its name, its picture, its verdict.
    void decorate(QAReporterNode* node);

    bool ko = false;       // the node failed
    QFileInfo fileInfo;    // the result file, for a file entry
    DItem* item = nullptr; // the document item to show when the entry is chosen
    QAReporterNode* node = nullptr;
};
