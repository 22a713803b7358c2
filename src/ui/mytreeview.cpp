#include "mytreeview.h"

#include "plaintextdelegate.h"

#include <QContextMenuEvent>

MyTreeView::MyTreeView(QWidget *parent) : QTreeView(parent)
{
    setItemDelegate(new PlainTextDelegate(this));
    setIconSize(QSize(18, 18));
    setUniformRowHeights(true); // else opening a list of 200,000 rows measures each of them
}

void MyTreeView::selectionChanged(const QItemSelection &selected, const QItemSelection &deselected)
{
    QTreeView::selectionChanged(selected, deselected);
    Q_EMIT onSelectionChanged(selected, deselected);
}

void MyTreeView::contextMenuEvent(QContextMenuEvent *event)
{
    event->accept();
    Q_EMIT createContextMenu();
}
