#include "ui/views/mylistview.h"

#include "ui/views/plaintextdelegate.h"

#include <QContextMenuEvent>

MyListView::MyListView(QWidget *parent) : QListView(parent)
{
    setItemDelegate(new PlainTextDelegate(this));
    setIconSize(QSize(18, 18));
}

void MyListView::selectionChanged(const QItemSelection &selected, const QItemSelection &deselected)
{
    QListView::selectionChanged(selected, deselected);
    Q_EMIT onSelectionChanged(selected, deselected);
}

void MyListView::contextMenuEvent(QContextMenuEvent *event)
{
    event->accept();
    Q_EMIT createContextMenu();
}
