#include "exportmessagesdb.h"

#include "attachmentmatch.h"
#include "attachmentpaths.h"
#include "messagetext.h"

#include <QDebug>
#include <QFile>
#include <QFileInfo>

using namespace Qt::StringLiterals;

namespace
{

// Chats with rows below this were made up for messages whose address nobody knows.
constexpr qint64 lowestKnownChat = -2047483646;

} // namespace

ExportMessagesDb::ExportMessagesDb(const QDir &rootFolder, const QString &path)
    : db(rootFolder, path, QString(), true), root(rootFolder)
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
}

void ExportMessagesDb::append(const _MsgMessage &message)
{
    if (!canHold(message))
        return;
    const qint64 chatId = chatRowid(*message.chat);
    const qint64 handleId = message.handle ? memberRowid(chatId, *message.handle) : 0;
    const QString hash = logicHash(message);
    qint64 messageId = db.messageRowidByHash(hash);
    if (messageId == 0)
        messageId = db.messageRowid(message.guid);
    if (messageId == 0)
        messageId = rowWithOtherAttachments(db, message);
    if (messageId == 0)
        messageId = insertNew(message, chatId, handleId, hash);
    if (message.handle && message.chat->handles.size() > 1)
        lastAddressed.insert(chatId, message.handle->id);
    if (!message.attachments.isEmpty())
        appendAttachments(message, messageId, hash);
}

void ExportMessagesDb::finish()
{
    for (auto it = newestDates.cbegin(); it != newestDates.cend(); ++it)
        db.raiseChatLast(it.key(), it.value());
    for (auto it = lastAddressed.cbegin(); it != lastAddressed.cend(); ++it)
        db.setLastAddressedHandle(it.key(), it.value());
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
    if (message.chat->rowid < lowestKnownChat) {
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

qint64 ExportMessagesDb::memberRowid(qint64 chatId, const _MsgHandle &handle)
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

qint64 ExportMessagesDb::insertNew(const _MsgMessage &message, qint64 chatId, qint64 handleId,
                                   const QString &hash)
{
    const qint64 otherId = message.otherHandle ? memberRowid(chatId, *message.otherHandle) : 0;
    const qint64 messageId = db.insertMessage(message, handleId, otherId, hash);
    db.joinChatMessage(chatId, messageId);
    const auto newest = newestDates.find(chatId);
    if (newest == newestDates.end())
        newestDates.insert(chatId, message.date);
    else
        *newest = std::max(*newest, message.date);
    return messageId;
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
    lastAddressed.clear();
}
