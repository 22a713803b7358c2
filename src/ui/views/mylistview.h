#pragma once

#include <QListView>

/// A list view that tells of selection changes and of wishes for a context menu by signals. Texts are
/// shown as they are, never as markup.
class MyListView : public QListView
{
    Q_OBJECT

public:
    explicit MyListView(QWidget *parent = nullptr);

Q_SIGNALS:
    void onSelectionChanged(const QItemSelection &selected, const QItemSelection &deselected);
    void createContextMenu();

protected:
    void selectionChanged(const QItemSelection &selected, const QItemSelection &deselected) override;
    void contextMenuEvent(QContextMenuEvent *event) override;
};
