#pragma once

#include "filter/failurecounts.h"
#include "model/qtree.h"

#include <QAbstractItemModel>
#include <QFileInfo>
#include <QHash>
#include <QIcon>
#include <QPointer>
#include <QSet>
#include <functional>
#include <vector>

class DItem;
class OutlineQuery;
class QAReporterDataTree;
class QAReporterNode;

using OutlineNode = QTreeNode<QAReporterNode>;

// The outline's entries over the shown result trees: one row per result file, its result nodes
// below. Nothing is copied: a node's row is its tree node (the index's internal pointer), a file's
// row has a null internal pointer. Column 0 shows the name and the node's own picture, column 1
// the verdict (an analyzer's finding: its level), column 2 how many failures an entry holds by
// level. The trees must outlive their rows: clear() before a tree goes.
//
// A query (the filter box) shows only the results it takes and the entries above them; the file
// rows always stay. The entries it shows are listed once per query, in one walk of the trees.
class OutlineModel : public QAbstractItemModel
{
    Q_OBJECT

public:
    enum Column
    {
        NameColumn = 0,
        VerdictColumn = 1,
        CountColumn = 2
    };

    explicit OutlineModel(QObject* parent = nullptr);
    ~OutlineModel() override;

    // Appends the row of one result file; returns its index, or an invalid one when the tree
    // has no root. `shownPath` is the path its tool tip names (the file the user opened).
    QModelIndex addFile(QAReporterDataTree* tree, const QString& fileName,
                        const QString& shownPath = QString());
    // Removes every row at once.
    void clear();
    // Shows the entries `query` takes (all with an empty one), the rows made anew.
    void setQuery(const OutlineQuery& query);
    bool isFiltered() const { return m_filtered; }
    // The baseline the entries marked new are new against, named in their tool tips; their
    // names are bold.
    void setBaselineName(const QString& name) { m_baselineName = name; }

    // The tree node of a node entry, null for a file entry.
    static OutlineNode* nodeOf(const QModelIndex& index);
    // The entry of `node` in column 0: a node entry, or the file entry for a tree's root;
    // invalid when the query hides it.
    QModelIndex indexOf(const OutlineNode* node) const;
    // The root node under a file entry's rows, null for a node entry.
    OutlineNode* fileRoot(const QModelIndex& index) const;
    // The result file an entry belongs to.
    QFileInfo fileInfo(const QModelIndex& index) const;
    // The entry shows a failed node.
    static bool isFailed(const QModelIndex& index);
    // The document item to show when the entry is chosen.
    DItem* documentItem(const QModelIndex& index) const;
    // The first failed entry shown after (before) `from` in walk order, parents before
    // children, across files; with `resultsOnly`, only failed entries none of whose entries
    // below failed. Invalid when there is none up to the end (start).
    QModelIndex failureFrom(const QModelIndex& from, bool forward, bool resultsOnly = false) const;
    // The failures an entry holds.
    FailureCounts countsOf(const QModelIndex& index) const;

    QModelIndex index(int row, int column, const QModelIndex& parent = {}) const override;
    QModelIndex parent(const QModelIndex& child) const override;
    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& parent = {}) const override;
    bool hasChildren(const QModelIndex& parent = {}) const override;
    Qt::ItemFlags flags(const QModelIndex& index) const override;
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    QVariant headerData(int section, Qt::Orientation orientation,
                        int role = Qt::DisplayRole) const override;

    // Adds what the studio knows of a result (such as its review) to its tool tip.
    void setNotes(std::function<QString(const QAReporterNode&)> notes)
    {
        m_notes = std::move(notes);
    }

private:
    struct File
    {
        QPointer<QAReporterDataTree> tree;
        OutlineNode* root; // looks only; the tree owns it
        QFileInfo info;
        QString name;
        QString shownPath;
    };
    // A node the query shows: its row among the shown children of its parent, and its shown
    // children, m_shownChildren[first, first + count).
    struct Shown
    {
        int row = 0;
        int first = 0;
        int count = 0;
    };

    void loadIcons();
    QIcon pictureOf(const QString& fileName) const;
    QIcon verdictIcon(const QAReporterNode& node) const;
    // `verdict` with the marks of the node's review and defect drawn over it.
    QIcon markedIcon(const QIcon& verdict, const QAReporterNode& node) const;
    QString toolTip(const QModelIndex& index) const;
    const OutlineNode* above(const QModelIndex& parent) const;
    const OutlineNode* shownChild(const OutlineNode* node, int row) const;
    int shownChildCount(const OutlineNode* node) const;
    // Counts the failures under `root` as shown, and notes its failed results.
    void countFailures(const OutlineNode* root);

    std::vector<File> m_files;
    QHash<const OutlineNode*, int> m_fileRows; // file row by root node
    bool m_filtered = false;
    QString m_baselineName;
    QHash<const OutlineNode*, Shown> m_shown; // with a query: the nodes shown, roots included
    std::vector<const OutlineNode*> m_shownChildren;
    // The entries with failures below them (files' roots included), and the failed results:
    // failed entries shown none of whose entries below failed.
    QHash<const OutlineNode*, FailureCounts> m_counts;
    QSet<const OutlineNode*> m_results;
    // One icon per distinct picture file name, made when first drawn.
    mutable QHash<QString, QIcon> m_pictures;
    // The verdicts' pictures with triage marks, by picture and marks: a handful in all.
    mutable QHash<quint64, QIcon> m_markedIcons;
    QIcon m_report;
    QIcon m_ok;
    QIcon m_failed;
    QIcon m_unknown;
    QIcon m_error;
    QIcon m_warning;
    QIcon m_note;
    std::function<QString(const QAReporterNode&)> m_notes;
};
