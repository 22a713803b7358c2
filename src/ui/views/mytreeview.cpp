#include "ui/views/mytreeview.h"

#include "ui/views/plaintextdelegate.h"

#include <QContextMenuEvent>
#include <QHeaderView>

MyTreeView::MyTreeView(QWidget *parent) : QTreeView(parent)
{
    setItemDelegate(new PlainTextDelegate(this));
    setIconSize(QSize(18, 18));
    setUniformRowHeights(true); // else opening a list of 200,000 rows measures each of them
}

void MyTreeView::fitDates(int column)
{
    constexpr int margins = 16; // pixels, around icon and text
    int widest = 0;
    for (int month = 1; month <= 12; ++month) {
        const QDateTime date(QDate(2028, month, 28), QTime(20, 58, 58));
        const QString text = QLocale::system().toString(date, QLocale::ShortFormat);
        widest = std::max(widest, fontMetrics().horizontalAdvance(text));
    }
    header()->resizeSection(column, iconSize().width() + widest + margins);
}

void MyTreeView::selectionChanged(const QItemSelection &selected, const QItemSelection &deselected)
{
    QTreeView::selectionChanged(selected, deselected);
    // Rows that go above the selected one make Qt tell of a change that is none.
    if (!selected.isEmpty() || !deselected.isEmpty())
        Q_EMIT onSelectionChanged(selected, deselected);
}

void MyTreeView::rowsAboutToBeRemoved(const QModelIndex &parent, int start, int end)
{
    QModelIndex index = currentIndex();
    while (index.isValid() && index.parent() != parent)
        index = index.parent();
    if (index.isValid() && index.row() >= start && index.row() <= end)
        selectionModel()->clear();
    QTreeView::rowsAboutToBeRemoved(parent, start, end);
}

void MyTreeView::contextMenuEvent(QContextMenuEvent *event)
{
    event->accept();
    Q_EMIT createContextMenu();
}
