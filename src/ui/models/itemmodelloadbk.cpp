#include "ui/models/itemmodelloadbk.h"

#include "ui/views/programicon.h"
#include "ui/views/stylesheet.h"

#include <QBrush>
#include <QLocale>
#include <QSize>

using namespace Qt::StringLiterals;

namespace
{

QString textOf(const BackupManifest &manifest, int column)
{
    switch (column) {
    case ItemModelLoadBk::Name: return manifest.displayName;
    case ItemModelLoadBk::Date:
        return QLocale::system().toString(manifest.backupDate.toLocalTime(), QLocale::ShortFormat);
    default: return manifest.backupDir.absolutePath();
    }
}

QVariant backgroundOf(int row)
{
    if (isDarkPalette())
        return {}; // the view's own: these tints would leave light writing on a light ground
    return QBrush(row % 2 == 0 ? QColor(250, 250, 250) : QColor(Qt::white));
}

} // namespace

ItemModelLoadBk::_BKItemNode::_BKItemNode(const QSharedPointer<BackupManifest> &shown)
    : _ItemNode(0, shown->displayName), manifest(shown)
{
}

ItemModelLoadBk::ItemModelLoadBk(QObject *parent)
    : AbsTreeItemModel(parent), icon(programIcon(u":res/iphone.png"_s))
{
}

int ItemModelLoadBk::columnCount(const QModelIndex &) const
{
    return ColumnCount;
}

QVariant ItemModelLoadBk::data(const QModelIndex &index, int role) const
{
    if (!index.isValid())
        return {};
    switch (role) {
    case Qt::DisplayRole:
    case Qt::ToolTipRole: return textOf(*backupAt(index), index.column());
    case Qt::DecorationRole: return index.column() == Name ? QVariant(icon) : QVariant();
    case Qt::BackgroundRole: return backgroundOf(index.row());
    case Qt::SizeHintRole: return QSize(0, 25);
    default: return {};
    }
}

QVariant ItemModelLoadBk::headerData(int section, Qt::Orientation orientation, int role) const
{
    static const QStringList names{u"Name"_s, u"Backup Date"_s, u"Path"_s};
    if (orientation != Qt::Horizontal || role != Qt::DisplayRole)
        return {};
    return names.value(section);
}

ItemModelLoadBk::_BKItemNode *ItemModelLoadBk::addBackup(const QSharedPointer<BackupManifest> &manifest)
{
    auto *node = new _BKItemNode(manifest);
    appendNodes(nullptr, {node});
    return node;
}

QSharedPointer<BackupManifest> ItemModelLoadBk::backupAt(const QModelIndex &index)
{
    const _ItemNode *node = nodeOf(index);
    return node ? static_cast<const _BKItemNode *>(node)->manifest : nullptr;
}

QModelIndex ItemModelLoadBk::find(const BackupManifest &manifest) const
{
    const QList<_ItemNode *> &nodes = childrenOf(nullptr);
    const QString cacheFolder = manifest.cacheFolderName();
    const auto found = std::find_if(nodes.begin(), nodes.end(), [&](const _ItemNode *node) {
        return static_cast<const _BKItemNode *>(node)->manifest->cacheFolderName() == cacheFolder;
    });
    return found == nodes.end() ? QModelIndex() : indexOf(*found);
}
