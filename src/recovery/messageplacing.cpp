#include "messageplacing.h"

#include "messagerecycledb.h"
#include "messagestore.h"

#include <QDebug>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace
{

/// Since iOS 26 a chat is no longer one of a service: somebody's messages by SMS and iMessage come from two
/// handles, of which one takes part.
bool isMemberByOtherService(const _MsgChat &chat, const _MsgHandle &handle)
{
    if (!chat.guid.startsWith("any;"_L1))
        return false;
    const auto isSame = [&](const _MsgHandle *member) { return member == &handle; };
    const auto hasAddress = [&](const _MsgHandle *member) { return member->id == handle.id; };
    return std::none_of(chat.handles.begin(), chat.handles.end(), isSame) &&
           std::any_of(chat.handles.begin(), chat.handles.end(), hasAddress);
}

} // namespace

bool MessagePlacing::hasKnownChat(const _MsgMessage &message)
{
    if (!message.chat) {
        qDebug("IOS6RestoreMessagesThread skip message with empty chat.");
        return false;
    }
    if (message.chat->rowid <= highestUnknownChat) {
        qDebug("IOS6RestoreMessagesThread skip message with unknown chat.");
        return false;
    }
    return true;
}

qint64 MessagePlacing::chatRowid(const _MsgChat &chat)
{
    qint64 &rowid = chatIds[chat.guid];
    if (rowid == 0)
        rowid = db.chatRowid(chat.guid);
    if (rowid == 0)
        rowid = db.insertChat(chat);
    return rowid;
}

qint64 MessagePlacing::handleRowid(const _MsgHandle &handle)
{
    qint64 &rowid = handleIds[{handle.id, handle.service}];
    if (rowid != 0)
        return rowid;
    rowid = db.handleRowid(handle);
    if (rowid != 0)
        db.tellPerson(rowid, handle); // it may have come in before that was known
    else
        rowid = db.insertHandle(handle);
    return rowid;
}

qint64 MessagePlacing::personRowid(const _MsgChat &chat, qint64 chatId, const _MsgHandle *handle)
{
    if (!handle)
        return 0;
    const bool isLoose = isNoConversation(chat) || isMemberByOtherService(chat, *handle);
    return isLoose ? handleRowid(*handle) : memberRowid(chatId, *handle);
}

qint64 MessagePlacing::memberRowid(qint64 chatId, const _MsgHandle &handle)
{
    const qint64 rowid = handleRowid(handle);
    if (!members.contains({chatId, rowid})) {
        if (!db.chatHasHandle(chatId, rowid))
            db.joinChatHandle(chatId, rowid);
        members.insert({chatId, rowid});
    }
    return rowid;
}

qint64 MessagePlacing::insert(const _MsgMessage &message, qint64 chatId, qint64 handleId, const QString &hash)
{
    const qint64 otherId = personRowid(*message.chat, chatId, message.otherHandle);
    const qint64 messageId = db.insertMessage(message, handleId, otherId, hash);
    db.joinChatMessage(chatId, messageId);
    return messageId;
}

void MessagePlacing::joinAttachment(const _MsgAttachment &attachment, qint64 messageId)
{
    qint64 attachmentId = db.attachmentRowid(attachment.guid);
    if (attachmentId == 0)
        attachmentId = db.insertAttachment(attachment);
    db.joinMessageAttachment(messageId, attachmentId);
}

void MessagePlacing::noteAddressed(const _MsgMessage &message, qint64 chatId)
{
    if (message.handle && message.chat->handles.size() > 1)
        lastAddressed.insert(chatId, message.handle->id);
}

void MessagePlacing::finish()
{
    for (auto it = lastAddressed.cbegin(); it != lastAddressed.cend(); ++it)
        db.setLastAddressedHandle(it.key(), it.value());
}

void MessagePlacing::forget()
{
    chatIds.clear();
    handleIds.clear();
    members.clear();
    lastAddressed.clear();
}
