#include "ui/models/itemmodelmain.h"

#include "store/records/messagestore.h"
#include "store/records/samepersons.h"
#include "ui/views/programicon.h"
#include "ui/views/stylesheet.h"

#include <QColor>
#include <QImage>
#include <QPixmap>
#include <QSize>

using namespace Qt::StringLiterals;

namespace
{

constexpr int photosKept = 400;
// Rows show 18 pixels; three times as many stay crisp on every screen.
constexpr int photoHeight = 3 * 18;

QIcon photoIcon(const QByteArray &bytes)
{
    QImage image;
    if (!image.loadFromData(bytes, "JPEG") && !image.loadFromData(bytes, "PNG"))
        return {};
    return QIcon(QPixmap::fromImage(image.scaledToHeight(photoHeight, Qt::SmoothTransformation)));
}

} // namespace

ItemModelMain::ItemModelMain(QObject *parent)
    : AbsTreeItemModel(parent)
    , rootDevice(new _RootDeviceItemNode)
    , rootLocalDb(new _RootLocalDBItemNode)
    , devicesIcon(programIcon(u":res/devices.png"_s))
    , iphoneIcon(programIcon(u":res/iphone.png"_s))
    , databasesIcon(programIcon(u":res/databases.png"_s))
    , databaseIcon(programIcon(u":res/database.png"_s))
    , androidIcon(programIcon(u":res/android.png"_s))
    , contactIcon(programIcon(u":res/contact.png"_s))
    , groupIcon(programIcon(u":res/group.png"_s))
    , photos(photosKept)
{
    appendNodes(nullptr, {rootDevice, rootLocalDb});
    connect(this, &QAbstractItemModel::rowsRemoved, this, [this] { photos.clear(); });
}

int ItemModelMain::columnCount(const QModelIndex &) const
{
    return 1;
}

QVariant ItemModelMain::data(const QModelIndex &index, int role) const
{
    const _ItemNode *node = nodeOf(index);
    if (!node)
        return {};
    switch (role) {
    case Qt::DisplayRole:
    case Qt::ToolTipRole: return node->text;
    case Qt::SizeHintRole: return QSize(0, 25);
    case Qt::DecorationRole: return iconOf(node);
    case Qt::ForegroundRole:
        if (node->type == ChatSessionNode && static_cast<const _ChatSessionItemNode *>(node)->isRecovered())
            return recoveredColour();
        return {};
    default: return {};
    }
}

QVariant ItemModelMain::headerData(int, Qt::Orientation, int) const
{
    return {};
}

_IOSDeviceItemNode *ItemModelMain::addDevice(const QSharedPointer<AbsIOSMessageDb> &db,
                                             const IOSDevice &device)
{
    auto *node = new _IOSDeviceItemNode(db, device);
    appendNodes(rootDevice, {node});
    return node;
}

_LocalDBItemNode *ItemModelMain::addLocalDb(const QSharedPointer<AbsIOSMessageDb> &db, const QString &name)
{
    auto *node = new _LocalDBItemNode(db, name);
    appendNodes(rootLocalDb, {node});
    return node;
}

void ItemModelMain::setJoinsPersons(bool joins)
{
    joinsPersons = joins;
    for (const QList<_ItemNode *> &nodes : {rootDevice->children, rootLocalDb->children})
        for (_ItemNode *node : nodes)
            if (!node->children.isEmpty())
                loadSessions(static_cast<_AbsDBItemNode *>(node));
}

void ItemModelMain::loadSessions(_AbsDBItemNode *node)
{
    removeChildren(node);
    QList<_ItemNode *> sessions;
    const QList<_MsgSession> all = groupChatSessions(node->store);
    for (const _MsgSession &session : joinsPersons ? joinSamePersons(all) : all)
        sessions.append(new _ChatSessionItemNode(session, node->store));
    appendNodes(node, sessions);
}

QVariant ItemModelMain::iconOf(const _ItemNode *node) const
{
    switch (node->type) {
    case RootDeviceNode: return devicesIcon;
    case RootLocalDbNode: return databasesIcon;
    case IosDeviceNode: return iphoneIcon;
    case AndroidDeviceNode: return androidIcon;
    case LocalDbNode: return databaseIcon;
    default: break;
    }
    const auto *session = static_cast<const _ChatSessionItemNode *>(node);
    return session->session.chats.isEmpty() ? QVariant() : sessionIcon(session);
}

QIcon ItemModelMain::sessionIcon(const _ChatSessionItemNode *node) const
{
    const _MsgChat &chat = *node->session.chats.first();
    if (isGroup(chat))
        return groupIcon;
    if (chat.handles.isEmpty() || (*chat.handles.begin())->_photo.isEmpty())
        return contactIcon;
    if (!photos.contains(node))
        photos.insert(node, new QIcon(photoIcon((*chat.handles.begin())->_photo)));
    const QIcon photo = *photos.object(node);
    return photo.isNull() ? contactIcon : photo;
}
