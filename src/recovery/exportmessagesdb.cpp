#include "exportmessagesdb.h"

#include "filetools.h"
#include "messagestore.h"
#include "messagetext.h"

#include <QDebug>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace
{

using KnownBy = ExtrasKeeper::KnownBy;

/// Where an attachment goes below the root: its path on the phone.
QString relativePath(const QString &filename)
{
    static const QRegularExpression forbidden(u"[:*?\"<>|]"_s);
    QString path = filename;
    if (path.startsWith(u'/'))
        path.remove(0, 1);
    if (path.startsWith("~/"_L1))
        path.replace(0, 2, "var/mobile/"_L1);
    return path.remove(forbidden);
}

} // namespace

ExportMessagesDb::ExportMessagesDb(const QDir &rootFolder, const QString &path)
    : db(rootFolder, path, QString(), true)
    , placing(db)
    , extras(db, [this](const _MsgHandle &handle) { return placing.handleRowid(handle); })
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
    const qint64 byHash = db.messageRowidByHash(hash);
    const qint64 known = byHash != 0 ? byHash : db.messageRowid(message.guid);
    if (known != 0)
        extras.addToKept(known, message, hash, byHash != 0 ? KnownBy::Content : KnownBy::Guid);
    if (known != 0 && isNoConversation(*message.chat))
        return; // it may be in a conversation here, and stays there
    const qint64 chatId = placing.chatRowid(*message.chat);
    const qint64 handleId = placing.personRowid(*message.chat, chatId, message.handle);
    const qint64 messageId = known != 0 ? known : insertNew(message, chatId, handleId, hash);
    if (known != 0 && extras.hasComeBack(known, message, chatId))
        raiseNewest(chatId, message);
    placing.noteAddressed(message, chatId);
    if (!message.attachments.isEmpty())
        appendAttachments(message, messageId);
}

void ExportMessagesDb::finish()
{
    for (auto it = newestDates.cbegin(); it != newestDates.cend(); ++it)
        db.raiseChatLast(it.key(), it.value());
    // As on the phone, they date only a chat that has nothing else.
    for (auto it = newestDeleted.cbegin(); it != newestDeleted.cend(); ++it)
        db.setChatLastIfNone(it.key(), it.value());
    placing.finish();
    extras.finish();
    db.endTransaction(true);
    db.close();
    forgetRun();
}

bool ExportMessagesDb::canHold(const _MsgMessage &message)
{
    if (message.item_type != 0 && !db.hasItemType())
        return false;
    const bool isKept = message.chat && isNoConversation(*message.chat) && db.keepsExtras();
    return isKept || MessagePlacing::hasKnownChat(message);
}

qint64 ExportMessagesDb::insertNew(const _MsgMessage &message, qint64 chatId, qint64 handleId,
                                   const QString &hash)
{
    const qint64 messageId = placing.insert(message, chatId, handleId, hash);
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

void ExportMessagesDb::appendAttachments(const _MsgMessage &message, qint64 messageId)
{
    for (const _MsgAttachment *attachment : sortedAttachments(message)) {
        if (QFileInfo(attachment->localFile).isFile())
            copyFile(*attachment);
        placing.joinAttachment(*attachment, messageId);
    }
}

void ExportMessagesDb::copyFile(const _MsgAttachment &attachment) const
{
    const std::optional<QString> target = pathBelow(root, relativePath(attachment.filename));
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
    placing.forget();
    newestDates.clear();
    newestDeleted.clear();
}
