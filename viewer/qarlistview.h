#pragma once

#include "sdk/qalistview.h"

class QAReporterDataTree;
class QARListViewItem;

// The outline of a viewer window: one entry per result file with its result nodes below, and
// the search for the next or previous failed entry.
class QARListView : public QAListView
{
    Q_OBJECT

public:
    explicit QARListView(QWidget* parent = nullptr);
    ~QARListView() override;

    // Appends the entry of one result file with all its nodes; returns it, or null when the
    // tree has no root.
    QARListViewItem* addReport(QAReporterDataTree* tree, const QString& fileName);
    // Opens the entries whose depth (0 for files) is below `depth`, closes the others; file
    // entries always stay open.
    void openToDepth(int depth);
    // The names from the file entry down to `entry`, and the entry found again by them (the
    // first of equal names at each level); null when the path leads nowhere.
    static QStringList entryPath(const QTreeWidgetItem* entry);
    QTreeWidgetItem* entryAt(const QStringList& path) const;
    // Removes and deletes every entry, deep branches without recursion. It stands in for
    // QTreeWidget::clear(), whose entries delete their children recursively.
    void clear();

public Q_SLOTS:
    // Select the next (previous) failed entry after (before) the current one, across closed
    // branches and files, without wrapping around, and emit doubleClicked() for it.
    void nextKO();
    void prevKO();

private:
    void stepToFailure(bool forward);
};
