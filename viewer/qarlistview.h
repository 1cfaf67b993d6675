#pragma once

#include "sdk/qalistview.h"

#include <QPersistentModelIndex>
#include <memory>

class OutlineModel;
class QAReporterDataTree;

// The outline of a viewer window: one entry per result file with its result nodes below, and
// the search for the next or previous failed entry. The entries are the rows of an OutlineModel
// over the shown trees; an entry is named by its index in column 0.
class QARListView : public QAListView
{
    Q_OBJECT

public:
    explicit QARListView(QWidget* parent = nullptr);
    ~QARListView() override;

    OutlineModel* outlineModel() const { return m_model.get(); }

    // Appends the entry of one result file with all its nodes; returns it, or an invalid index
    // when the tree has no root. The tree must stay until clear().
    QModelIndex addReport(QAReporterDataTree* tree, const QString& fileName);
    // Opens the entries whose depth (0 for files) is below `depth`, closes the others; file
    // entries always stay open.
    void openToDepth(int depth);
    // The current entry, in column 0; invalid when there is none.
    QModelIndex currentEntry() const;
    // Makes `entry` the current and only selected entry and scrolls to it.
    void showEntry(const QModelIndex& entry);
    // The names from the file entry down to `entry`, and the entry found again by them (the
    // first of equal names at each level); invalid when the path leads nowhere.
    static QStringList entryPath(const QModelIndex& entry);
    QModelIndex entryAt(const QStringList& path) const;
    // Removes every entry; the trees may go afterwards.
    void clear();

    // The tree view lays out opened branches recursively, one call per level: entries deeper
    // than this stay closed, so that a result file nested a hundred thousand levels deep cannot
    // exhaust the stack. An entry below the limit is stood for by its ancestor at the limit.
    static constexpr int openDepthLimit = 1000;

public Q_SLOTS:
    // Select the next (previous) failed entry after (before) the current one, across closed
    // branches and files, without wrapping around, and emit doubleClicked() for it.
    void nextKO();
    void prevKO();

protected:
    // "*" opens the whole branch under the current entry, down to the limit.
    void keyPressEvent(QKeyEvent* event) override;

private:
    void stepToFailure(bool forward);
    // Opens `entry` and every entry below it down to the depth `limit` (0 for file entries).
    void openBranch(const QModelIndex& entry, int limit);

    std::unique_ptr<OutlineModel> m_model;
    // The entry last shown when it lay below the limit, and the ancestor that stands for it:
    // stepping to failures goes on from the entry while the ancestor stays current.
    QPersistentModelIndex m_deepEntry;
    QPersistentModelIndex m_deepStandIn;
};
