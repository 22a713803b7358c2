#include "store/readers/localextras.h"

#include "sqlite_qt/sqlite3db.h"
#include "store/readers/recordinsertion.h"
#include "store/readers/recordreader.h"
#include "store/records/columntables.h"
#include "store/records/madeupchats.h"
#include "store/records/messagestore.h"
#include "store/records/reactions.h"

#include <algorithm>
#include <utility>

using namespace Qt::StringLiterals;

namespace
{

/// Reactions of hostile files may lack a guid.
QString reactionGuid(const MessageReaction &reaction)
{
    if (!reaction.guid.isEmpty())
        return reaction.guid;
    const QString sender = reaction.handle ? reaction.handle->id : QString::number(reaction.is_from_me);
    return messageGuidFromData(u"%1 %2 %3 %4"_s.arg(reaction.associated_message_type)
                                   .arg(reaction.part)
                                   .arg(reaction.date)
                                   .arg(sender)
                                   .toUtf8());
}

// What the message said before an edit that the phone keeps no history of.
void addStateBefore(_MsgMessage &message, const MessageEdit &before)
{
    MessageExtras &extras = ownExtras(message);
    if (extras.edits.isEmpty())
        extras.edits = {{before.part, extras.date_edited, message.text}};
    const auto isLater = [&](const MessageEdit &edit) {
        return edit.part > before.part || (edit.part == before.part && edit.date > before.date);
    };
    const auto place = std::find_if(extras.edits.cbegin(), extras.edits.cend(), isLater);
    extras.edits.insert(place, before);
}

/// What is written beside a message that is there; that it is in "Recently Deleted" is told otherwise.
bool isUpdated(const RecordColumn<MessageExtras> &column)
{
    return column.name != "delete_date"_L1;
}

QString updateSql()
{
    QStringList columns;
    for (const RecordColumn<MessageExtras> &column : extrasTable()) {
        if (isUpdated(column))
            columns.append(column.localName() + u"=?");
    }
    return u"update message set %1 where rowid=?"_s.arg(columns.join(u','));
}

/// Into a file that was brought up to date: it has all columns.
const RecordInsertion<MessageReaction> &reactionInsertion()
{
    static const RecordInsertion<MessageReaction> insertion(reactionTable());
    return insertion;
}

QString madeUpChats()
{
    return u"(%1 or %2)"_s.arg(isNoConversationSql(), isOfUnknownAddressSql());
}

} // namespace

const char *LocalExtras::looseHandles =
    "select h.* from handle as h where h.rowid not in (select handle_id from chat_handle_join where "
    "handle_id is not null) and (h.rowid in (select handle_id from _reaction) or exists (select 1 from "
    "message as m where m.handle_id = h.rowid))";

void LocalExtras::read(_MsgStore &store)
{
    readReactions(store);
    readPartTexts(store);
}

void LocalExtras::readReactions(_MsgStore &store)
{
    Sqlite3Cursor cursor = db.queryThrow(Sqlite3Sql("select * from _reaction order by rowid"));
    RecordReader<MessageReaction> reader(cursor, reactionTable());
    const int messageId = cursor.columnIndex(u"message_id"_s);
    const int handleId = cursor.columnIndex(u"handle_id"_s);
    QList<ReactionRow> rows;
    while (cursor.moveNextThrow()) {
        const _MsgMessage *message = store.messages.value(cursor.getInt64(messageId));
        if (!message)
            continue;
        rows.append({message->guid, *reader.read(cursor)});
        rows.last().reaction.handle = store.handles.value(cursor.getInt64(handleId));
    }
    if (!rows.isEmpty())
        applyReactions(GuidIndex(store), rows);
}

void LocalExtras::readPartTexts(_MsgStore &store)
{
    Sqlite3Cursor cursor = db.queryThrow(Sqlite3Sql(
        "select message_id, kind, part, date, text from _part_text order by message_id, kind, part, date"));
    QHash<_MsgMessage *, QList<MessageEdit>> deleted;
    while (cursor.moveNextThrow()) {
        _MsgMessage *message = store.messages.value(cursor.getInt64(0));
        if (!message)
            continue;
        const MessageEdit text{cursor.getInt(2), cursor.getInt(3), cursor.getText(4)};
        if (cursor.getInt(1) == int(PartText::Deleted))
            deleted[message].append(text);
        else
            addStateBefore(*message, text);
    }
    for (auto it = deleted.cbegin(); it != deleted.cend(); ++it)
        ownExtras(*it.key()).deletedParts = it.value();
}

qint64 LocalExtras::addReaction(qint64 messageId, const MessageReaction &reaction, qint64 handleId)
{
    const QString guid = reactionGuid(reaction);
    MessageReaction named = reaction;
    named.guid = guid;
    Sqlite3Sql sql = reactionInsertion().sql(u"_reaction"_s, named,
                                             {{"message_id"_L1, messageId}, {"handle_id"_L1, handleId}});
    sql.appendSql(u" on conflict(message_id, guid) do update set "
                  "payload_data=coalesce(nullif(payload_data, x''), excluded.payload_data), "
                  "message_summary_info=coalesce(nullif(message_summary_info, x''), "
                  "excluded.message_summary_info)"_s);
    db.executeThrow(sql);
    Sqlite3Sql row("select rowid from _reaction where message_id=? and guid=?");
    row.addInt64Param(messageId);
    row.addTextParam(guid);
    Sqlite3Cursor cursor = db.queryThrow(row);
    return cursor.moveNextThrow() ? cursor.getInt64(0) : 0;
}

void LocalExtras::joinReactionAttachment(qint64 reactionId, qint64 attachmentId)
{
    Sqlite3Sql sql("insert or ignore into _reaction_attachment_join(reaction_id, attachment_id) values(?,?)");
    sql.addInt64Param(reactionId);
    sql.addInt64Param(attachmentId);
    db.executeThrow(sql);
}

bool LocalExtras::hasReaction(qint64 messageId, const MessageReaction &reaction)
{
    Sqlite3Sql sql("select 1 from _reaction where message_id=? and guid=?");
    sql.addInt64Param(messageId);
    sql.addTextParam(reactionGuid(reaction));
    return db.queryThrow(sql).moveNextThrow();
}

void LocalExtras::removeReactionLine(const QString &guid, qint64 reactionId)
{
    Sqlite3Sql sql("select rowid from message where guid=? and _associated_message_type >= 1000");
    sql.addTextParam(guid);
    QList<qint64> lines;
    Sqlite3Cursor cursor = db.queryThrow(sql);
    while (cursor.moveNextThrow())
        lines.append(cursor.getInt64(0));
    for (const qint64 line : std::as_const(lines))
        foldLine(line, reactionId);
}

void LocalExtras::foldLine(qint64 messageId, qint64 reactionId)
{
    if (!db.tbInfo(u"message_attachment_join"_s).isEmpty()) {
        Sqlite3Sql move("insert or ignore into _reaction_attachment_join(reaction_id, attachment_id) "
                        "select ?, attachment_id from message_attachment_join where message_id=?");
        move.addInt64Param(reactionId);
        move.addInt64Param(messageId);
        db.executeThrow(move);
    }
    Sqlite3Sql columns("insert or ignore into _reaction_source select ?, columns from _message_source where "
                       "rowid=?");
    columns.addInt64Param(reactionId);
    columns.addInt64Param(messageId);
    db.executeThrow(columns);
    Sqlite3Sql sql("delete from message where rowid=?");
    sql.addInt64Param(messageId);
    db.executeThrow(sql);
}

void LocalExtras::addPartText(qint64 messageId, PartText kind, const MessageEdit &text)
{
    Sqlite3Sql sql("insert or ignore into _part_text(message_id, kind, part, date, text) values(?,?,?,?,?)");
    sql.addInt64Param(messageId);
    sql.addIntParam(int(kind));
    sql.addIntParam(text.part);
    sql.addIntParam(text.date);
    sql.addTextParam(text.text);
    db.executeThrow(sql);
}

KeptMessage LocalExtras::kept(qint64 messageId)
{
    Sqlite3Sql sql(
        "select text, date, _date_edited, _date_retracted, _message_summary_info from message where rowid=?");
    sql.addInt64Param(messageId);
    Sqlite3Cursor cursor = db.queryThrow(sql);
    if (!cursor.moveNextThrow())
        return {};
    return {.text = cursor.getText(0),
            .date = cursor.getInt(1),
            .hasExtras = !cursor.isNull(2),
            .changed = std::max(cursor.getInt(2), cursor.getInt(3)),
            .message_summary_info = cursor.getBlob(4)};
}

void LocalExtras::updateExtras(qint64 messageId, const MessageExtras &extras)
{
    static const QString text = updateSql();
    Sqlite3Sql sql(text);
    for (const RecordColumn<MessageExtras> &column : extrasTable()) {
        if (isUpdated(column))
            visitMember(column, [&](auto member) { bindValue(sql, extras.*member); });
    }
    sql.addInt64Param(messageId);
    db.executeThrow(sql);
}

void LocalExtras::updateText(qint64 messageId, const _MsgMessage &message, const QString &logicHash)
{
    Sqlite3Sql sql("update message set text=?, attributedBody=?, logic_hash=? where rowid=?");
    sql.addTextParam(message.text);
    sql.addBlobParam(message.attributedBody);
    sql.addTextParam(logicHash);
    sql.addInt64Param(messageId);
    db.executeThrow(sql);
}

QSet<qint64> LocalExtras::recentlyDeleted()
{
    return rowids(u"select rowid from message where _delete_date > 0"_s);
}

void LocalExtras::takeBackDeletion(qint64 messageId)
{
    Sqlite3Sql sql("update message set _delete_date=0 where rowid=?");
    sql.addInt64Param(messageId);
    db.executeThrow(sql);
}

QSet<qint64> LocalExtras::recovered()
{
    return rowids(u"select rowid from message where _is_recovered > 0"_s);
}

void LocalExtras::takeBackRecovery(qint64 messageId)
{
    Sqlite3Sql sql("update message set _is_recovered=0 where rowid=?");
    sql.addInt64Param(messageId);
    db.executeThrow(sql);
}

QSet<qint64> LocalExtras::withoutConversation()
{
    return rowids(
        u"select j.message_id from chat inner join chat_message_join as j on j.chat_id = chat.rowid where %1"_s
            .arg(isNoConversationSql()));
}

QSet<qint64> LocalExtras::ofUnknownAddress()
{
    return rowids(u"select message_id from chat_message_join where chat_id in (select rowid from chat where "
                  "%1)"_s.arg(isOfUnknownAddressSql()));
}

// As an update: a row that leaves a chat would have the file look for orphans among all messages.
void LocalExtras::moveToChat(qint64 messageId, qint64 chatId)
{
    Sqlite3Sql sql(u"update or replace chat_message_join set chat_id=? where message_id=? and chat_id in "
                   "(select rowid from chat where %1)"_s.arg(madeUpChats()));
    sql.addInt64Param(chatId);
    sql.addInt64Param(messageId);
    db.executeThrow(sql);
}

void LocalExtras::updateOrigin(qint64 messageId, int date, qint64 handleId, const QString &logicHash)
{
    Sqlite3Sql sql("update message set date=?, handle_id=?, logic_hash=? where rowid=?");
    sql.addIntParam(date);
    sql.addInt64Param(handleId);
    sql.addTextParam(logicHash);
    sql.addInt64Param(messageId);
    db.executeThrow(sql);
}

void LocalExtras::dropEmptyMadeUpChats()
{
    db.executeThrow(Sqlite3Sql(u"delete from chat where %1 and not exists (select 1 from "
                               "chat_message_join where chat_id = chat.rowid)"_s.arg(madeUpChats())));
}

QSet<qint64> LocalExtras::rowids(const QString &sql)
{
    QSet<qint64> rows;
    Sqlite3Cursor cursor = db.queryThrow(Sqlite3Sql(sql));
    while (cursor.moveNextThrow())
        rows.insert(cursor.getInt64(0));
    return rows;
}
