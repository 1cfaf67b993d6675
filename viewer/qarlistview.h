#pragma once

#include "sdk/qalistview.h"

#include <QPersistentModelIndex>
#include <memory>

class OutlineModel;
class OutlineQuery;
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
    // when the tree has no root. The tree must stay until clear(). `shownPath` is the path the
    // entry's tool tip names (the file the user opened), `fileName` when empty.
    QModelIndex addReport(QAReporterDataTree* tree, const QString& fileName,
                          const QString& shownPath = QString());
    // Once the reports are added: applies the filter and opens the entries, every one shown
    // when filtered, else those above `depth` (see openToDepth()).
    void showReports(int depth);
    // Shows only the entries `text` asks for (an OutlineQuery; all with an empty text), keeping
    // the current entry, or the nearest one above it that stays.
    void setFilterText(const QString& text);
    const QString& filterText() const { return m_filterText; }
    // Opens the entries whose depth (0 for files) is below `depth`, closes the others; file
    // entries always stay open.
    void openToDepth(int depth);
    // The current entry, in column 0; invalid when there is none.
    QModelIndex currentEntry() const;
    // Makes `entry` the current and only selected entry and scrolls to it.
    void showEntry(const QModelIndex& entry);
    // The names from the file entry down to `entry`, and the entry found again by them (the
    // first of equal names at each level): where the path breaks off (a type hidden, a filter),
    // the last entry found on the way; invalid when not even the file is there.
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
    // The same over the failed results only: the findings and tests, not what holds them.
    void nextFinding();
    void previousFinding();

protected:
    // "*" opens the whole branch under the current entry, down to the limit.
    void keyPressEvent(QKeyEvent* event) override;

private:
    void stepToFailure(bool forward, bool resultsOnly);
    void openShown();
    // Opens `entry` and every entry below it down to the depth `limit` (0 for file entries).
    void openBranch(const QModelIndex& entry, int limit);

    std::unique_ptr<OutlineModel> m_model;
    QString m_filterText;
    std::unique_ptr<OutlineQuery> m_query;
    int m_openDepth = 4;
    // The entry last shown when it lay below the limit, and the ancestor that stands for it:
    // stepping to failures goes on from the entry while the ancestor stays current.
    QPersistentModelIndex m_deepEntry;
    QPersistentModelIndex m_deepStandIn;
};
