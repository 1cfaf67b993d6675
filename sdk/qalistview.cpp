#include "sdk/qalistview.h"

#include <QContextMenuEvent>
#include <QKeyEvent>

QAListView::QAListView(QWidget* parent) : QTreeWidget(parent)
{
    setUniformRowHeights(true); // keeps scrolling fast on outlines of many thousand entries
}

void QAListView::keyPressEvent(QKeyEvent* event)
{
    if ((event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter) && currentItem()) {
        Q_EMIT doubleClicked(currentItem());
        return;
    }
    QTreeWidget::keyPressEvent(event);
}

void QAListView::mouseDoubleClickEvent(QMouseEvent* event)
{
    // Entries open and close with their branch marker or the arrow keys, not on a double click.
    if (QTreeWidgetItem* item = itemAt(event->position().toPoint()))
        Q_EMIT doubleClicked(item);
}

void QAListView::contextMenuEvent(QContextMenuEvent* event)
{
    QTreeWidgetItem* item =
        event->reason() == QContextMenuEvent::Keyboard ? currentItem() : itemAt(event->pos());
    const QPoint position = event->reason() == QContextMenuEvent::Keyboard && item
                                ? viewport()->mapToGlobal(visualItemRect(item).center())
                                : event->globalPos();
    Q_EMIT contextMenuRequested(item, position, item ? currentColumn() : -1);
}
