#include "ui/models/sourcenodes.h"

#include "store/records/messagetext.h"

#include <QObject>

namespace
{

// Chats that were found in the recycle database only have their numbers below this one.
constexpr qint64 recoveredChatsBelow = -1947483646;

QString titleOf(const _MsgSession &session)
{
    return session.chats.isEmpty() ? QString() : chatTitle(*session.chats.first(), false);
}

} // namespace

_RootDeviceItemNode::_RootDeviceItemNode() : _ItemNode(RootDeviceNode, QObject::tr("IDS_ROOT_DEVICE"))
{
}

_RootLocalDBItemNode::_RootLocalDBItemNode() : _ItemNode(RootLocalDbNode, QObject::tr("IDS_ROOT_LOCALDB"))
{
}

_AbsDBItemNode::_AbsDBItemNode(int nodeType, const QString &nodeText,
                               const QSharedPointer<AbsIOSMessageDb> &source)
    : _ItemNode(nodeType, nodeText), db(source), store(_MsgStorePtr::create())
{
}

_IOSDeviceItemNode::_IOSDeviceItemNode(const QSharedPointer<AbsIOSMessageDb> &source, const IOSDevice &phone)
    : _AbsDBItemNode(IosDeviceNode, phone.deviceName, source), device(phone)
{
}

_LocalDBItemNode::_LocalDBItemNode(const QSharedPointer<AbsIOSMessageDb> &source, const QString &name)
    : _AbsDBItemNode(LocalDbNode, name, source)
{
}

_ChatSessionItemNode::_ChatSessionItemNode(const _MsgSession &shown, const _MsgStorePtr &owner)
    : _ItemNode(ChatSessionNode, titleOf(shown)), session(shown), store(owner)
{
}

bool _ChatSessionItemNode::isRecovered() const
{
    return !session.chats.isEmpty() && session.chats.first()->rowid < recoveredChatsBelow;
}
