#pragma once

#include <QTreeWidget>

// The studio's list view: a tree of entries that also answers the keyboard. Return or Enter on
// an entry, or a double click, emits doubleClicked() for it; the context menu key or a right
// click emits contextMenuRequested() with the global position.
class QAListView : public QTreeWidget
{
    Q_OBJECT

public:
    explicit QAListView(QWidget* parent = nullptr);

Q_SIGNALS:
    void doubleClicked(QTreeWidgetItem* item);
    void contextMenuRequested(QTreeWidgetItem* item, const QPoint& globalPosition, int column);

protected:
    void keyPressEvent(QKeyEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    void contextMenuEvent(QContextMenuEvent* event) override;
};
