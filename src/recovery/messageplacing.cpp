#include "messageplacing.h"

#include <QDebug>

#include <algorithm>

namespace
{

// Chats with rows below this were made up for messages whose address nobody knows.
constexpr qint64 lowestKnownChat = -2047483646;

} // namespace

bool MessagePlacing::hasKnownChat(const _MsgMessage &message)
{
    if (!message.chat) {
        qDebug("IOS6RestoreMessagesThread skip message with empty chat.");
        return false;
    }
    if (message.chat->rowid < lowestKnownChat) {
        qDebug("IOS6RestoreMessagesThread skip message with unknown chat.");
        return false;
    }
    return true;
}

MessagePlacing::Place MessagePlacing::place(const _MsgMessage &message)
{
    Place found;
    found.chat = chatRowid(*message.chat);
    if (message.handle) {
        found.handle = memberRowid(found.chat, *message.handle);
        if (message.chat->handles.size() > 1)
            lastAddressed.insert(found.chat, message.handle->id);
    }
    return found;
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

qint64 MessagePlacing::memberRowid(qint64 chatId, const _MsgHandle &handle)
{
    qint64 &rowid = handleIds[{handle.id, handle.service}];
    if (rowid == 0)
        rowid = db.handleRowid(handle);
    if (rowid == 0)
        rowid = db.insertHandle(handle);
    if (!members.contains({chatId, rowid})) {
        if (!db.chatHasHandle(chatId, rowid))
            db.joinChatHandle(chatId, rowid);
        members.insert({chatId, rowid});
    }
    return rowid;
}

qint64 MessagePlacing::insert(const _MsgMessage &message, const Place &place, const QString &hash)
{
    const qint64 otherId = message.otherHandle ? memberRowid(place.chat, *message.otherHandle) : 0;
    const qint64 messageId = db.insertMessage(message, place.handle, otherId, hash);
    db.joinChatMessage(place.chat, messageId);
    const auto newest = newestDates.find(place.chat);
    if (newest == newestDates.end())
        newestDates.insert(place.chat, message.date);
    else
        *newest = std::max(*newest, message.date);
    return messageId;
}

void MessagePlacing::joinAttachment(const _MsgAttachment &attachment, qint64 messageId)
{
    qint64 attachmentId = db.attachmentRowid(attachment.guid);
    if (attachmentId == 0)
        attachmentId = db.insertAttachment(attachment);
    db.joinMessageAttachment(messageId, attachmentId);
}

void MessagePlacing::finish()
{
    for (auto it = newestDates.cbegin(); it != newestDates.cend(); ++it)
        db.raiseChatLast(it.key(), it.value());
    for (auto it = lastAddressed.cbegin(); it != lastAddressed.cend(); ++it)
        db.setLastAddressedHandle(it.key(), it.value());
    forget();
}

void MessagePlacing::forget()
{
    chatIds.clear();
    handleIds.clear();
    members.clear();
    newestDates.clear();
    lastAddressed.clear();
}
