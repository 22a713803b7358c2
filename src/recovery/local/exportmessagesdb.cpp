#include "recovery/local/exportmessagesdb.h"

#include "recovery/local/attachmentmatch.h"
#include "store/readers/attachmentpaths.h"
#include "store/records/madeupchats.h"
#include "store/records/messagestore.h"
#include "store/records/messagetext.h"

#include <QDebug>
#include <QFile>

#include <algorithm>

using namespace Qt::StringLiterals;

ExportMessagesDb::ExportMessagesDb(const QDir &rootFolder, const QString &path, JobProgress *jobProgress)
    : db(rootFolder, path, QString(), true)
    , writer(db)
    , columns(db, [this](const _MsgHandle &handle) { return db.handleRowid(handle); })
    , extras(
          db, columns, [this](const _MsgHandle &handle) { return handleRowid(handle); },
          [this](const _MsgAttachment &attachment) { return attachmentRowid(attachment); })
    , names(db, [this](const QString &filename) { return attachmentTarget(root, filename); })
    , knownRows(db)
    , root(rootFolder)
    , files(rootFolder)
    , progress(jobProgress)
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
    columns.useSource(db.keepsExtras() ? message.chat->source : QString());
    if (const ExtrasWriter::Taken taken = extras.takeReaction(message); taken != ExtrasWriter::Taken::No) {
        ++(taken == ExtrasWriter::Taken::Added ? messageCounts.added : messageCounts.known);
        return;
    }
    const Incoming incoming{message, logicHash(message)};
    const KnownRows::Row known = knownRows.rowOf(message, incoming.hash);
    if (known.rowid == 0)
        appendNew(incoming);
    else
        appendKnown(incoming, known);
}

void ExportMessagesDb::appendNew(const Incoming &incoming)
{
    ++messageCounts.added;
    const _MsgMessage &message = incoming.message;
    const ExtrasWriter::Place place = placeOf(message);
    const qint64 messageId = writer.insert(message, place.chatId, place.handleId, incoming.hash);
    raiseNewest(place.chatId, message);
    extras.addToNew(messageId, message);
    writer.noteAddressed(message, place.chatId);
    appendAttachments(incoming, messageId);
}

void ExportMessagesDb::appendKnown(const Incoming &incoming, const KnownRows::Row &known)
{
    ++messageCounts.known;
    const _MsgMessage &message = incoming.message;
    extras.addToKept(known.rowid, message, incoming.hash, known.by);
    if (isNoConversation(*message.chat) || isOfUnknownAddress(*message.chat))
        return; // it may be in a conversation here, and stays there
    const ExtrasWriter::Place place = placeOf(message);
    if (extras.updatePlace(known.rowid, message, place, incoming.hash))
        raiseNewest(place.chatId, message);
    writer.noteAddressed(message, place.chatId);
    appendAttachments(incoming, known.rowid);
}

ExtrasWriter::Place ExportMessagesDb::placeOf(const _MsgMessage &message)
{
    const qint64 chatId = writer.chatRowid(*message.chat);
    columns.keep(*message.chat, chatId);
    const qint64 handleId = writer.personRowid(*message.chat, chatId, message.handle);
    if (message.handle)
        columns.keep(*message.handle, handleId);
    return {chatId, handleId};
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

void ExportMessagesDb::appendAttachments(const Incoming &incoming, qint64 messageId)
{
    if (incoming.message.attachments.isEmpty())
        return;
    for (const _MsgAttachment *attachment : sortedAttachments(incoming.message))
        db.joinMessageAttachment(messageId, attachmentRowid(*attachment));
    renewHash(db, messageId, incoming.message, incoming.hash);
}

qint64 ExportMessagesDb::handleRowid(const _MsgHandle &handle)
{
    const qint64 rowid = writer.handleRowid(handle);
    columns.keep(handle, rowid);
    return rowid;
}

qint64 ExportMessagesDb::attachmentRowid(const _MsgAttachment &attachment)
{
    const _MsgAttachment kept = keptFile(attachment);
    const qint64 rowid = writer.attachmentRowid(kept);
    columns.keep(kept, rowid);
    return rowid;
}

_MsgAttachment ExportMessagesDb::keptFile(const _MsgAttachment &attachment)
{
    _MsgAttachment kept = attachment;
    kept.filename = names.pathFor(attachment);
    if (kept.localFile.isThere())
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
    if (!files.copy(attachment.localFile, *target, progress))
        qWarning("The attachment \"%s\" can't be copied to \"%s\".",
                 qUtf8Printable(attachment.localFile.path()), qUtf8Printable(*target));
}

void ExportMessagesDb::forgetRun()
{
    writer.forget();
    columns.forget();
    names.forget();
    knownRows.forget();
    newestDates.clear();
    newestDeleted.clear();
}
