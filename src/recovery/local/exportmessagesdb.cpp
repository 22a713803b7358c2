#include "recovery/local/exportmessagesdb.h"

#include "recovery/local/attachmentmatch.h"
#include "store/readers/attachmentpaths.h"
#include "store/records/madeupchats.h"
#include "store/records/messagestore.h"
#include "store/records/messagetext.h"

#include <QDebug>
#include <QFile>
#include <QFileInfo>

#include <algorithm>

using namespace Qt::StringLiterals;

ExportMessagesDb::ExportMessagesDb(const QDir &rootFolder, const QString &path)
    : db(rootFolder, path, QString(), true)
    , writer(db)
    , extras(
          db, [this](const _MsgHandle &handle) { return writer.handleRowid(handle); },
          [this](const _MsgAttachment &attachment) { return writer.attachmentRowid(keptFile(attachment)); })
    , names(db, [this](const QString &filename) { return attachmentTarget(root, filename); })
    , knownRows(db)
    , root(rootFolder)
    , files(rootFolder)
{
}

ExportMessagesDb::~ExportMessagesDb()
{
    if (!db.isOpen())
        return;
    transaction.reset(); // rolls back what `finish` has not committed
    try {
        takeFilesBack();
    } catch (const std::exception &error) {
        qWarning("Attachments of a broken import may be left behind: %s", error.what());
    }
}

void ExportMessagesDb::takeFilesBack()
{
    QSet<QString> named;
    Sqlite3Cursor cursor = db.queryThrow(Sqlite3Sql("select filename from attachment"));
    while (cursor.moveNextThrow())
        named.insert(attachmentTarget(root, cursor.getText(0)).value_or(QString()));
    files.removeBut(named);
}

void ExportMessagesDb::begin()
{
    forgetRun();
    messageCounts = {};
    db.openDb();
    transaction.emplace(db);
    extras.begin();
}

void ExportMessagesDb::expect(const QList<_MsgMessage *> &messages)
{
    for (const _MsgMessage *message : messages)
        knownRows.expect(message->guid);
}

void ExportMessagesDb::append(const _MsgMessage &message)
{
    if (!canHold(message)) {
        ++messageCounts.refused;
        return;
    }
    if (const ExtrasWriter::Taken taken = extras.takeReaction(message); taken != ExtrasWriter::Taken::No) {
        ++(taken == ExtrasWriter::Taken::Added ? messageCounts.added : messageCounts.known);
        return;
    }
    const QString hash = logicHash(message);
    const auto [known, by] = knownRows.rowOf(message, hash);
    ++(known != 0 ? messageCounts.known : messageCounts.added);
    if (known != 0)
        extras.addToKept(known, message, hash, by);
    if (known != 0 && (isNoConversation(*message.chat) || isOfUnknownAddress(*message.chat)))
        return; // it may be in a conversation here, and stays there
    const qint64 chatId = writer.chatRowid(*message.chat);
    const qint64 handleId = writer.personRowid(*message.chat, chatId, message.handle);
    const qint64 messageId = known != 0 ? known : insertNew(message, chatId, handleId, hash);
    if (known != 0 && extras.updatePlace(known, message, {chatId, handleId}, hash))
        raiseNewest(chatId, message);
    writer.noteAddressed(message, chatId);
    if (!message.attachments.isEmpty())
        appendAttachments(message, messageId, hash);
}

void ExportMessagesDb::finish()
{
    for (auto it = newestDates.cbegin(); it != newestDates.cend(); ++it)
        db.raiseChatLast(it.key(), it.value());
    // As on the phone, they date only a chat that has nothing else.
    for (auto it = newestDeleted.cbegin(); it != newestDeleted.cend(); ++it)
        db.setChatLastIfNone(it.key(), it.value());
    writer.finish();
    extras.finish();
    transaction->commit();
    transaction.reset();
    files.keep();
    db.close();
    forgetRun();
}

bool ExportMessagesDb::canHold(const _MsgMessage &message)
{
    if (message.item_type != 0 && !db.hasItemType())
        return false;
    const bool isKept = message.chat && isNoConversation(*message.chat) && db.keepsExtras();
    return isKept || MessageWriter::hasKnownChat(message);
}

qint64 ExportMessagesDb::insertNew(const _MsgMessage &message, qint64 chatId, qint64 handleId,
                                   const QString &hash)
{
    const qint64 messageId = writer.insert(message, chatId, handleId, hash);
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
    for (const _MsgAttachment *attachment : sortedAttachments(message))
        writer.joinAttachment(keptFile(*attachment), messageId);
    renewHash(db, messageId, message, hash);
}

_MsgAttachment ExportMessagesDb::keptFile(const _MsgAttachment &attachment)
{
    _MsgAttachment kept = attachment;
    kept.filename = names.pathFor(attachment);
    if (QFileInfo(kept.localFile).isFile())
        copyFile(kept);
    return kept;
}

void ExportMessagesDb::copyFile(const _MsgAttachment &attachment)
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
    if (!files.copy(attachment.localFile, *target))
        qWarning("The attachment \"%s\" can't be copied to \"%s\".", qUtf8Printable(attachment.localFile),
                 qUtf8Printable(*target));
}

void ExportMessagesDb::forgetRun()
{
    writer.forget();
    names.forget();
    knownRows.forget();
    newestDates.clear();
    newestDeleted.clear();
}
