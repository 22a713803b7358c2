#pragma once

#include "ui/models/sourcenodes.h"

#include <QCache>
#include <QIcon>

/// The tree of sources: phones and Local Databases at the top, the conversations of each below.
class ItemModelMain : public AbsTreeItemModel
{
    Q_OBJECT

public:
    explicit ItemModelMain(QObject *parent = nullptr);

    int columnCount(const QModelIndex &parent = {}) const override;
    QVariant data(const QModelIndex &index, int role) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;

    /// Adds a phone. The node belongs to the model.
    _IOSDeviceItemNode *addDevice(const QSharedPointer<AbsIOSMessageDb> &db, const IOSDevice &device);
    /// Adds a Local Database. The node belongs to the model.
    _LocalDBItemNode *addLocalDb(const QSharedPointer<AbsIOSMessageDb> &db, const QString &name);
    /// Whether the conversations with one person are one. Those of sources read already are made anew.
    void setJoinsPersons(bool joins);
    /// Makes the conversations below `node` anew from its store, newest first.
    void loadSessions(_AbsDBItemNode *node);

    // Both live as long as the model.
    _RootDeviceItemNode *const rootDevice;
    _RootLocalDBItemNode *const rootLocalDb;

private:
    QVariant iconOf(const _ItemNode *node) const;
    QIcon sessionIcon(const _ChatSessionItemNode *node) const;

    bool joinsPersons = false;
    const QIcon devicesIcon, iphoneIcon, databasesIcon, databaseIcon, androidIcon, contactIcon, groupIcon;
    /// Pictures of contacts that were on view lately; null where the bytes are no picture.
    mutable QCache<const _ItemNode *, QIcon> photos;
};
