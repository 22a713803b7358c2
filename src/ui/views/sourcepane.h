#pragma once

#include "ui/models/itemmodelmain.h"

#include <QSet>
#include <QWidget>

#include <functional>

class MyTreeView;
class QItemSelection;
class QLineEdit;

/// The left part of the main window: the tree of sources and the search in it. What is selected in the tree
/// is what the program works with; at most one node is.
class SourcePane : public QWidget
{
    Q_OBJECT

public:
    explicit SourcePane(QWidget *parent);

    ItemModelMain &model() { return *mainModel; }

    /// The node selected; null for none.
    AbsTreeItemModel::_ItemNode *currentNode() const;
    /// The source selected, or the one of the conversation selected; null for a root or none.
    _AbsDBItemNode *currentSource() const;
    /// The conversation selected; null for anything else.
    _ChatSessionItemNode *currentConversation() const;
    /// The Local Database of that name, compared without case; null when there is none.
    _LocalDBItemNode *localDatabase(const QString &name) const;
    QStringList localDatabaseNames() const;
    bool hasDevice() const;
    /// The first phone with this handle, null when there is none.
    _IOSDeviceItemNode *device(const void *handle) const;
    /// The source whose records `store` owns; null when it was read anew or went since.
    _AbsDBItemNode *sourceOf(const _MsgStorePtr &store) const;

    /// Runs `work`, which may wait under a dialog for another thread, on the database of a source. One
    /// connection serves one at a time: throws `std::runtime_error` when it is in use, and what `work`
    /// throws.
    void use(const _AbsDBItemNode &source, const std::function<void(AbsIOSMessageDb &db)> &work);
    /// Whether any source is in use.
    bool isBusy() const { return !inUse.isEmpty(); }
    /// Reads a source that isn't loaded, and makes its conversations. False when it went away meanwhile.
    /// Throws as `use` does; the tree is then as it was.
    bool load(_AbsDBItemNode *source);
    /// Throws away what was read of a source; its conversations go.
    void unload(_AbsDBItemNode *source);
    void select(const AbsTreeItemModel::_ItemNode *node);
    /// Whether the conversations with one person are one. The one selected stays so.
    void setJoinsPersons(bool joins);
    /// Selects the conversation with this identifier below `source`, if it is there.
    void selectConversation(const _AbsDBItemNode *source, const QString &chatIdentifier);

public Q_SLOTS:
    /// Goes to the next conversation of the source whose title holds the words typed.
    void searchCotnact();

Q_SIGNALS:
    void selectionChanged(const QItemSelection &selected, const QItemSelection &deselected);
    void contextMenuWanted();
    /// No source is in use any more.
    void becameIdle();

private:
    void build();

    ItemModelMain *mainModel;
    QLineEdit *txtHandleKeyword;
    MyTreeView *treeViewDS;
    QSet<const AbsIOSMessageDb *> inUse;
};
