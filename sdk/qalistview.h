#pragma once

#include <QTreeView>

// The studio's list view: a tree of entries that also answers the keyboard. Return or Enter on
// an entry, or a double click, emits doubleClicked() for it; the context menu key or a right
// click emits contextMenuRequested() with the global position (an invalid index on empty space).
class QAListView : public QTreeView
{
    Q_OBJECT

public:
    explicit QAListView(QWidget* parent = nullptr);

Q_SIGNALS:
    void contextMenuRequested(const QModelIndex& index, const QPoint& globalPosition, int column);

protected:
    void keyPressEvent(QKeyEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    void contextMenuEvent(QContextMenuEvent* event) override;
};
