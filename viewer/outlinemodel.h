#pragma once

#include "model/qtree.h"

#include <QAbstractItemModel>
#include <QFileInfo>
#include <QHash>
#include <QIcon>
#include <QPointer>
#include <vector>

class DItem;
class QAReporterDataTree;
class QAReporterNode;

using OutlineNode = QTreeNode<QAReporterNode>;

// The outline's entries over the shown result trees: one row per result file, its result nodes
// below. Nothing is copied: a node's row is its tree node (the index's internal pointer), a file's
// row has a null internal pointer. Column 0 shows the name and the node's own picture, column 1
// the verdict. The trees must outlive their rows: clear() before a tree goes.
class OutlineModel : public QAbstractItemModel
{
    Q_OBJECT

public:
    enum Column
    {
        NameColumn = 0,
        VerdictColumn = 1
    };

    explicit OutlineModel(QObject* parent = nullptr);
    ~OutlineModel() override;

    // Appends the row of one result file; returns its index, or an invalid one when the tree
    // has no root.
    QModelIndex addFile(QAReporterDataTree* tree, const QString& fileName);
    // Removes every row at once.
    void clear();

    // The tree node of a node entry, null for a file entry.
    static OutlineNode* nodeOf(const QModelIndex& index);
    // The entry of `node` in column 0: a node entry, or the file entry for a tree's root.
    QModelIndex indexOf(const OutlineNode* node) const;
    // The root node under a file entry's rows, null for a node entry.
    OutlineNode* fileRoot(const QModelIndex& index) const;
    // The result file an entry belongs to.
    QFileInfo fileInfo(const QModelIndex& index) const;
    // The entry shows a failed node.
    static bool isFailed(const QModelIndex& index);
    // The document item to show when the entry is chosen.
    DItem* documentItem(const QModelIndex& index) const;
    // The first failed entry after (before) `from` in walk order, parents before children,
    // across files; invalid when there is none up to the end (start).
    QModelIndex failureFrom(const QModelIndex& from, bool forward) const;

    QModelIndex index(int row, int column, const QModelIndex& parent = {}) const override;
    QModelIndex parent(const QModelIndex& child) const override;
    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& parent = {}) const override;
    bool hasChildren(const QModelIndex& parent = {}) const override;
    Qt::ItemFlags flags(const QModelIndex& index) const override;
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    QVariant headerData(int section, Qt::Orientation orientation,
                        int role = Qt::DisplayRole) const override;

private:
    struct File
    {
        QPointer<QAReporterDataTree> tree;
        OutlineNode* root; // looks only; the tree owns it
        QFileInfo info;
        QString name;
    };

    void loadIcons();
    QIcon pictureOf(const QString& fileName) const;

    std::vector<File> m_files;
    QHash<const OutlineNode*, int> m_fileRows; // file row by root node
    // One icon per distinct picture file name, made when first drawn.
    mutable QHash<QString, QIcon> m_pictures;
    QIcon m_report;
    QIcon m_ok;
    QIcon m_failed;
    QIcon m_unknown;
};
