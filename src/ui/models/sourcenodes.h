#pragma once

#include "device/iosdevice.h"
#include "store/readers/absmessagedb.h"
#include "ui/models/abstreeitemmodel.h"

#include <QSharedPointer>

/// The values of `type` in the tree of sources.
enum SourceNodeType {
    RootDeviceNode = 1,
    RootLocalDbNode = 2,
    IosDeviceNode = 3,
    AndroidDeviceNode = 4, ///< reserved
    LocalDbNode = 5,
    ChatSessionNode = 6
};

/// "Devices", above all phones.
struct _RootDeviceItemNode : AbsTreeItemModel::_ItemNode {
    _RootDeviceItemNode();
};

/// "Local Databases", above all of them.
struct _RootLocalDBItemNode : AbsTreeItemModel::_ItemNode {
    _RootLocalDBItemNode();
};

/// A source of messages. Jobs may hold `db` longer than the node lives.
struct _AbsDBItemNode : AbsTreeItemModel::_ItemNode {
    _AbsDBItemNode(int nodeType, const QString &nodeText, const QSharedPointer<AbsIOSMessageDb> &source);
    QSharedPointer<AbsIOSMessageDb> db;
    _MsgStorePtr store; ///< never null; filled when the source is loaded
};

/// A phone.
struct _IOSDeviceItemNode : _AbsDBItemNode {
    _IOSDeviceItemNode(const QSharedPointer<AbsIOSMessageDb> &source, const IOSDevice &phone);
    IOSDevice device;
};

/// A Local Database; its folder's name is the text.
struct _LocalDBItemNode : _AbsDBItemNode {
    _LocalDBItemNode(const QSharedPointer<AbsIOSMessageDb> &source, const QString &name);
};

/// A conversation of the source above it.
struct _ChatSessionItemNode : AbsTreeItemModel::_ItemNode {
    _ChatSessionItemNode(const _MsgSession &shown, const _MsgStorePtr &owner);
    /// True for one that lives on in deleted messages only.
    bool isRecovered() const;
    _MsgSession session;
    _MsgStorePtr store; ///< owns the records
};
