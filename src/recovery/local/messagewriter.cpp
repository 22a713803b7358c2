#include "recovery/local/messagewriter.h"

#include "store/records/madeupchats.h"
#include "store/records/messagestore.h"

#include <QDebug>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace
{

/// Whether somebody takes part in `chat`, but by another service: messages by SMS and iMessage come from two
/// handles. Since iOS 26 they stand in one chat, of which one handle is a member.
bool isMemberByOtherService(const _MsgChat &chat, const _MsgHandle &handle)
{
    const auto isSame = [&](const _MsgHandle *member) {
        return member->id == handle.id && member->service == handle.service;
    };
    const auto hasAddress = [&](const _MsgHandle *member) { return member->id == handle.id; };
    return std::none_of(chat.handles.begin(), chat.handles.end(), isSame) &&
           std::any_of(chat.handles.begin(), chat.handles.end(), hasAddress);
}

/// Row of the phone's own chat with the same address under another guid; 0 when there is none.
qint64 rowidOfAddress(IOS6MessageDb &phone, const _MsgChat &chat)
{
    Sqlite3Sql sql("select rowid from chat where chat_identifier=? and style=? and service_name=?");
    sql.addTextParam(chat.chat_identifier);
    sql.addIntParam(chat.style);
    sql.addTextParam(chat.service_name);
    Sqlite3Cursor cursor = phone.queryThrow(sql);
    return cursor.moveNextThrow() ? cursor.getInt64(0) : 0;
}

} // namespace

bool MessageWriter::hasKnownChat(const _MsgMessage &message)
{
    if (!message.chat) {
        qDebug("IOS6RestoreMessagesThread skip message with empty chat.");
        return false;
    }
    if (isKeptOffPhones(*message.chat)) {
        qDebug("IOS6RestoreMessagesThread skip message with unknown chat.");
        return false;
    }
    return true;
}

qint64 MessageWriter::chatRowid(const _MsgChat &chat)
{
    qint64 &rowid = chatIds[chat.guid];
    if (rowid == 0)
        rowid = db.chatRowid(chat.guid);
    if (rowid == 0 && !db.isLocalDatabase())
        rowid = rowidOfAddress(db, chat);
    if (rowid == 0)
        rowid = db.insertChat(chat);
    return rowid;
}

qint64 MessageWriter::handleRowid(const _MsgHandle &handle)
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

qint64 MessageWriter::personRowid(const _MsgChat &chat, qint64 chatId, const _MsgHandle *handle)
{
    if (!handle)
        return 0;
    const bool isLoose = isNoConversation(chat) || isMemberByOtherService(chat, *handle);
    return isLoose ? handleRowid(*handle) : memberRowid(chatId, *handle);
}

qint64 MessageWriter::memberRowid(qint64 chatId, const _MsgHandle &handle)
{
    const qint64 rowid = handleRowid(handle);
    if (!members.contains({chatId, rowid})) {
        if (!db.chatHasHandle(chatId, rowid))
            db.joinChatHandle(chatId, rowid);
        members.insert({chatId, rowid});
    }
    return rowid;
}

qint64 MessageWriter::insert(const _MsgMessage &message, qint64 chatId, qint64 handleId, const QString &hash)
{
    const qint64 otherId = personRowid(*message.chat, chatId, message.otherHandle);
    const qint64 messageId = db.insertMessage(message, handleId, otherId, hash);
    db.joinChatMessage(chatId, messageId);
    return messageId;
}

qint64 MessageWriter::attachmentRowid(const _MsgAttachment &attachment)
{
    const qint64 known = db.attachmentRowid(attachment.guid);
    return known != 0 ? known : db.insertAttachment(attachment);
}

void MessageWriter::joinAttachment(const _MsgAttachment &attachment, qint64 messageId)
{
    db.joinMessageAttachment(messageId, attachmentRowid(attachment));
}

void MessageWriter::noteAddressed(const _MsgMessage &message, qint64 chatId)
{
    if (message.handle && message.chat->handles.size() > 1)
        lastAddressed.insert(chatId, message.handle->id);
}

void MessageWriter::finish()
{
    for (auto it = lastAddressed.cbegin(); it != lastAddressed.cend(); ++it)
        db.setLastAddressedHandle(it.key(), it.value());
}

void MessageWriter::forget()
{
    chatIds.clear();
    handleIds.clear();
    members.clear();
    lastAddressed.clear();
}
