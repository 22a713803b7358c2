#pragma once

#include <QAbstractItemModel>
#include <QList>

/// A tree model over nodes that know their own place in it, so that an index and its parent are found
/// without a search. Subclasses say what a node shows.
class AbsTreeItemModel : public QAbstractItemModel
{
    Q_OBJECT

public:
    /// A node owns its children.
    struct _ItemNode {
        _ItemNode() = default;
        _ItemNode(int nodeType, const QString &nodeText) : type(nodeType), text(nodeText) {}
        _ItemNode(const _ItemNode &) = delete;
        _ItemNode &operator=(const _ItemNode &) = delete;
        virtual ~_ItemNode() { qDeleteAll(children); }

        int type = 0;
        QString text;
        int row = -1;                ///< place in the parent's list, kept up by the model
        _ItemNode *parent = nullptr; ///< null at the top level
        QList<_ItemNode *> children;
    };

    using QAbstractItemModel::QAbstractItemModel;
    ~AbsTreeItemModel() override;

    QModelIndex index(int row, int column, const QModelIndex &parent = {}) const override;
    QModelIndex parent(const QModelIndex &index) const override;
    int rowCount(const QModelIndex &parent = {}) const override;

    /// Index of column 0; invalid for null.
    QModelIndex indexOf(const _ItemNode *node) const;
    /// The node behind an index of any column; null for an invalid one.
    static _ItemNode *nodeOf(const QModelIndex &index);
    /// Deletes all children of `node`; null means the top level.
    void removeChildren(_ItemNode *node);
    /// Takes `node` out of the tree and deletes it with its children.
    void removeNode(_ItemNode *node);
    /// All nodes, depth first, parents before children.
    QList<_ItemNode *> allNodes() const;
    /// Tells views that `node` and its children show something new.
    void childrenChanged(_ItemNode *node);
    /// Tells views that anything may show something new.
    void refresh();

protected:
    /// Appends `nodes`, which come to be owned, below `parent`; null means the top level.
    void appendNodes(_ItemNode *parent, const QList<_ItemNode *> &nodes);
    const QList<_ItemNode *> &childrenOf(const _ItemNode *node) const;

private:
    QList<_ItemNode *> &listOf(_ItemNode *node);

    QList<_ItemNode *> topLevel;
};
