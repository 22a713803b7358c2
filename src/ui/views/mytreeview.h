#pragma once

#include <QTreeView>

/// A tree view that tells of selection changes and of wishes for a context menu by signals. Texts are
/// shown as they are, never as markup. When the selected row is removed, or one above it, the selection
/// becomes empty instead of passing to a neighbour that nobody picked.
class MyTreeView : public QTreeView
{
    Q_OBJECT

public:
    explicit MyTreeView(QWidget *parent = nullptr);

    /// Makes a column as wide as any date needs in the short form of the system, with an icon before it.
    void fitDates(int column);

Q_SIGNALS:
    void onSelectionChanged(const QItemSelection &selected, const QItemSelection &deselected);
    void createContextMenu();

protected:
    void selectionChanged(const QItemSelection &selected, const QItemSelection &deselected) override;
    void rowsAboutToBeRemoved(const QModelIndex &parent, int start, int end) override;
    void contextMenuEvent(QContextMenuEvent *event) override;
};
