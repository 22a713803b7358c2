#include "ui/models/abstreeitemmodel.h"

AbsTreeItemModel::~AbsTreeItemModel()
{
    qDeleteAll(topLevel);
}

QModelIndex AbsTreeItemModel::index(int row, int column, const QModelIndex &parent) const
{
    if (!hasIndex(row, column, parent))
        return {};
    return createIndex(row, column, childrenOf(nodeOf(parent)).at(row));
}

QModelIndex AbsTreeItemModel::parent(const QModelIndex &index) const
{
    const _ItemNode *node = nodeOf(index);
    return node ? indexOf(node->parent) : QModelIndex();
}

int AbsTreeItemModel::rowCount(const QModelIndex &parent) const
{
    return int(childrenOf(nodeOf(parent)).size());
}

QModelIndex AbsTreeItemModel::indexOf(const _ItemNode *node) const
{
    return node ? createIndex(node->row, 0, node) : QModelIndex();
}

AbsTreeItemModel::_ItemNode *AbsTreeItemModel::nodeOf(const QModelIndex &index)
{
    return index.isValid() ? static_cast<_ItemNode *>(index.internalPointer()) : nullptr;
}

const QList<AbsTreeItemModel::_ItemNode *> &AbsTreeItemModel::childrenOf(const _ItemNode *node) const
{
    return node ? node->children : topLevel;
}

QList<AbsTreeItemModel::_ItemNode *> &AbsTreeItemModel::listOf(_ItemNode *node)
{
    return node ? node->children : topLevel;
}

void AbsTreeItemModel::appendNodes(_ItemNode *parent, const QList<_ItemNode *> &nodes)
{
    if (nodes.isEmpty())
        return;
    QList<_ItemNode *> &list = listOf(parent);
    const int first = int(list.size());
    beginInsertRows(indexOf(parent), first, first + int(nodes.size()) - 1);
    for (_ItemNode *node : nodes) {
        node->parent = parent;
        node->row = int(list.size());
        list.append(node);
    }
    endInsertRows();
}

void AbsTreeItemModel::removeChildren(_ItemNode *node)
{
    QList<_ItemNode *> &list = listOf(node);
    if (list.isEmpty())
        return;
    beginRemoveRows(indexOf(node), 0, int(list.size()) - 1);
    qDeleteAll(list);
    list.clear();
    endRemoveRows();
}

void AbsTreeItemModel::removeNode(_ItemNode *node)
{
    removeChildren(node);
    QList<_ItemNode *> &list = listOf(node->parent);
    beginRemoveRows(indexOf(node->parent), node->row, node->row);
    list.removeAt(node->row);
    for (int row = node->row; row < list.size(); ++row)
        list.at(row)->row = row;
    delete node;
    endRemoveRows();
}

QList<AbsTreeItemModel::_ItemNode *> AbsTreeItemModel::allNodes() const
{
    QList<_ItemNode *> found;
    QList<_ItemNode *> waiting(topLevel.crbegin(), topLevel.crend());
    while (!waiting.isEmpty()) {
        _ItemNode *node = waiting.takeLast();
        found.append(node);
        waiting.append(QList<_ItemNode *>(node->children.crbegin(), node->children.crend()));
    }
    return found;
}

void AbsTreeItemModel::childrenChanged(_ItemNode *node)
{
    const QModelIndex top = indexOf(node);
    Q_EMIT dataChanged(top, top.siblingAtColumn(columnCount(top.parent()) - 1));
    if (!node->children.isEmpty())
        Q_EMIT dataChanged(indexOf(node->children.first()), indexOf(node->children.last()));
}

void AbsTreeItemModel::refresh()
{
    Q_EMIT layoutAboutToBeChanged();
    Q_EMIT layoutChanged();
}
