#include "sdk/qalistview.h"

#include <QContextMenuEvent>
#include <QKeyEvent>

QAListView::QAListView(QWidget* parent) : QTreeView(parent)
{
    setUniformRowHeights(true); // keeps scrolling fast on outlines of many thousand entries
}

void QAListView::keyPressEvent(QKeyEvent* event)
{
    const QModelIndex current = currentIndex();
    if ((event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter) && current.isValid()) {
        Q_EMIT doubleClicked(current);
        return;
    }
    QTreeView::keyPressEvent(event);
}

void QAListView::mouseDoubleClickEvent(QMouseEvent* event)
{
    // Entries open and close with their branch marker or the arrow keys, not on a double click.
    const QModelIndex index = indexAt(event->position().toPoint());
    if (index.isValid())
        Q_EMIT doubleClicked(index);
}

void QAListView::contextMenuEvent(QContextMenuEvent* event)
{
    const bool keyboard = event->reason() == QContextMenuEvent::Keyboard;
    const QModelIndex index = keyboard ? currentIndex() : indexAt(event->pos());
    const QPoint position = keyboard && index.isValid()
                                ? viewport()->mapToGlobal(visualRect(index).center())
                                : event->globalPos();
    Q_EMIT contextMenuRequested(index, position, index.isValid() ? currentIndex().column() : -1);
}
