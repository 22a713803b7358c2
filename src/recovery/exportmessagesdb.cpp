#include "exportmessagesdb.h"

#include "attachmentmatch.h"
#include "attachmentpaths.h"
#include "messagestore.h"
#include "messagetext.h"

#include <QDebug>
#include <QFile>
#include <QFileInfo>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace
{

using KnownBy = ExtrasKeeper::KnownBy;

// Chats with rows below this were made up for messages whose address nobody knows.
constexpr qint64 lowestKnownChat = -2047483646;

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

ExportMessagesDb::ExportMessagesDb(const QDir &rootFolder, const QString &path)
    : db(rootFolder, path, QString(), true)
    , extras(db, [this](const _MsgHandle &handle) { return handleRowid(handle); })
    , root(rootFolder)
{
}

ExportMessagesDb::~ExportMessagesDb()
{
    if (db.isOpen())
        db.rollbackTran(); // what `finish` has not committed
}

void ExportMessagesDb::begin()
{
    forgetRun();
    db.beginTransaction();
    extras.begin();
}

void ExportMessagesDb::append(const _MsgMessage &message)
{
    if (!canHold(message) || extras.takeReaction(message))
        return;
    const QString hash = logicHash(message);
    const auto [known, by] = keptRow(message, hash);
    if (known != 0)
        extras.addToKept(known, message, hash, by);
    if (known != 0 && isNoConversation(*message.chat))
        return; // it may be in a conversation here, and stays there
    const qint64 chatId = chatRowid(*message.chat);
    const qint64 handleId = personRowid(*message.chat, chatId, message.handle);
    const qint64 messageId = known != 0 ? known : insertNew(message, chatId, handleId, hash);
    if (known != 0 && extras.hasComeBack(known, message, chatId))
        raiseNewest(chatId, message);
    if (message.handle && message.chat->handles.size() > 1)
        lastAddressed.insert(chatId, message.handle->id);
    if (!message.attachments.isEmpty())
        appendAttachments(message, messageId, hash);
}

std::pair<qint64, ExtrasKeeper::KnownBy> ExportMessagesDb::keptRow(const _MsgMessage &message,
                                                                   const QString &hash)
{
    if (const qint64 byHash = db.messageRowidByHash(hash); byHash != 0)
        return {byHash, KnownBy::Content};
    if (const qint64 byGuid = db.messageRowid(message.guid); byGuid != 0)
        return {byGuid, KnownBy::Guid};
    return {rowWithOtherAttachments(db, message), KnownBy::Content};
}

void ExportMessagesDb::finish()
{
    for (auto it = newestDates.cbegin(); it != newestDates.cend(); ++it)
        db.raiseChatLast(it.key(), it.value());
    // As on the phone, they date only a chat that has nothing else.
    for (auto it = newestDeleted.cbegin(); it != newestDeleted.cend(); ++it)
        db.setChatLastIfNone(it.key(), it.value());
    for (auto it = lastAddressed.cbegin(); it != lastAddressed.cend(); ++it)
        db.setLastAddressedHandle(it.key(), it.value());
    extras.finish();
    db.endTransaction(true);
    db.close();
    forgetRun();
}

bool ExportMessagesDb::canHold(const _MsgMessage &message)
{
    if (message.item_type != 0 && !db.hasItemType())
        return false;
    if (!message.chat) {
        qDebug("IOS6RestoreMessagesThread skip message with empty chat.");
        return false;
    }
    if (message.chat->rowid < lowestKnownChat && !(isNoConversation(*message.chat) && db.keepsExtras())) {
        qDebug("IOS6RestoreMessagesThread skip message with unknown chat.");
        return false;
    }
    return true;
}

qint64 ExportMessagesDb::chatRowid(const _MsgChat &chat)
{
    qint64 &rowid = chatIds[chat.guid];
    if (rowid == 0)
        rowid = db.chatRowid(chat.guid);
    if (rowid == 0)
        rowid = db.insertChat(chat);
    return rowid;
}

qint64 ExportMessagesDb::handleRowid(const _MsgHandle &handle)
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

/// 0 for nobody. The made-up chat of messages without a conversation has no members, and a member with two
/// services stays one.
qint64 ExportMessagesDb::personRowid(const _MsgChat &chat, qint64 chatId, const _MsgHandle *handle)
{
    if (!handle)
        return 0;
    const bool isLoose = isNoConversation(chat) || isMemberByOtherService(chat, *handle);
    return isLoose ? handleRowid(*handle) : memberRowid(chatId, *handle);
}

qint64 ExportMessagesDb::memberRowid(qint64 chatId, const _MsgHandle &handle)
{
    const qint64 rowid = handleRowid(handle);
    if (!members.contains({chatId, rowid})) {
        if (!db.chatHasHandle(chatId, rowid))
            db.joinChatHandle(chatId, rowid);
        members.insert({chatId, rowid});
    }
    return rowid;
}

qint64 ExportMessagesDb::insertNew(const _MsgMessage &message, qint64 chatId, qint64 handleId,
                                   const QString &hash)
{
    const qint64 otherId = personRowid(*message.chat, chatId, message.otherHandle);
    const qint64 messageId = db.insertMessage(message, handleId, otherId, hash);
    db.joinChatMessage(chatId, messageId);
    raiseNewest(chatId, message);
    extras.addToNew(messageId, message);
    return messageId;
}

void ExportMessagesDb::raiseNewest(qint64 chatId, const _MsgMessage &message)
{
    const bool isDeleted = message.extras && message.extras->delete_date != 0;
    QMap<qint64, int> &dates = isDeleted ? newestDeleted : newestDates;
    const auto newest = dates.find(chatId);
    if (newest == dates.end())
        dates.insert(chatId, message.date);
    else
        *newest = std::max(*newest, message.date);
}

void ExportMessagesDb::appendAttachments(const _MsgMessage &message, qint64 messageId, const QString &hash)
{
    for (const _MsgAttachment *attachment : sortedAttachments(message)) {
        if (QFileInfo(attachment->localFile).isFile())
            copyFile(*attachment);
        qint64 attachmentId = db.attachmentRowid(attachment->guid);
        if (attachmentId == 0)
            attachmentId = db.insertAttachment(*attachment);
        db.joinMessageAttachment(messageId, attachmentId);
    }
    renewHash(db, messageId, message, hash);
}

void ExportMessagesDb::copyFile(const _MsgAttachment &attachment) const
{
    const std::optional<QString> target = attachmentTarget(root, attachment.filename);
    if (!target) {
        qWarning("The attachment \"%s\" is not copied: its path leaves the Local Database.",
                 qUtf8Printable(attachment.filename));
        return;
    }
    if (QFile::exists(*target))
        return;
    // A file that can't be copied is no reason to lose the message.
    if (!QDir().mkpath(QFileInfo(*target).path()) || !QFile::copy(attachment.localFile, *target))
        qWarning("The attachment \"%s\" can't be copied to \"%s\".", qUtf8Printable(attachment.localFile),
                 qUtf8Printable(*target));
}

void ExportMessagesDb::forgetRun()
{
    chatIds.clear();
    handleIds.clear();
    members.clear();
    newestDates.clear();
    newestDeleted.clear();
    lastAddressed.clear();
}
