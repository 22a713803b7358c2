// What `IOS6MessageDb` does to single rows. Numbers are bound, not written into the statements, so that
// each statement is prepared once.

#include "store/readers/ios6messagedb.h"

#include "store/records/messagestore.h"
#include "store/records/messagetext.h"

#include <QDebug>

#include <stdexcept>

using namespace Qt::StringLiterals;

namespace
{

Sqlite3Sql withText(const QString &sql, const QString &value)
{
    Sqlite3Sql statement(sql);
    statement.addTextParam(value);
    return statement;
}

Sqlite3Sql withRows(const QString &sql, std::initializer_list<qint64> rowids)
{
    Sqlite3Sql statement(sql);
    for (const qint64 rowid : rowids)
        statement.addInt64Param(rowid);
    return statement;
}

} // namespace

bool IOS6MessageDb::hasColumn(const QString &table, const QString &columnText)
{
    openDb();
    return tables.value(table).contains(columnText);
}

bool IOS6MessageDb::isLocalDatabase()
{
    openDb();
    return kind == FileKind::LocalDatabase || kind == FileKind::OldLocalDatabase;
}

bool IOS6MessageDb::keepsExtras()
{
    openDb();
    return kind == FileKind::LocalDatabase;
}

bool IOS6MessageDb::hasItemType()
{
    return hasColumn(u"message"_s, u"item_type"_s);
}

// Sharing of locations is hidden, but people are told of it since iOS 10.
QString IOS6MessageDb::shownCondition()
{
    if (!hasItemType() || kind == FileKind::ModernPhone)
        return {};
    return kind == FileKind::LocalDatabase ? u"(m.item_type <> 4 or m._has_newer_event <> 0)"_s
                                           : u"m.item_type <> 4"_s;
}

qint64 IOS6MessageDb::firstRowid(const Sqlite3Sql &sql)
{
    openDb();
    Sqlite3Cursor cursor = queryThrow(sql);
    return cursor.moveNextThrow() ? cursor.getInt64(0) : 0;
}

qint64 IOS6MessageDb::chatRowid(const QString &guid)
{
    return firstRowid(withText(u"select rowid from chat where guid=?"_s, guid));
}

qint64 IOS6MessageDb::attachmentRowid(const QString &guid)
{
    return firstRowid(withText(u"select rowid from attachment where guid=?"_s, guid));
}

qint64 IOS6MessageDb::messageRowid(const QString &guid)
{
    return firstRowid(withText(u"select rowid from message where guid=?"_s, guid));
}

qint64 IOS6MessageDb::handleRowid(const _MsgHandle &handle)
{
    Sqlite3Sql sql = withText(u"select rowid from handle where id=? and service=?"_s, handle.id);
    sql.addTextParam(handle.service);
    return firstRowid(sql);
}

bool IOS6MessageDb::chatHasHandle(qint64 chatId, qint64 handleId)
{
    return firstRowid(withRows(u"select 1 from chat_handle_join where chat_id=? and handle_id=?"_s,
                               {chatId, handleId})) != 0;
}

qint64 IOS6MessageDb::countMessages()
{
    Sqlite3Sql sql(
        "select count(*) from chat_message_join as j inner join message as m on j.message_id = m.rowid");
    if (const QString shown = shownCondition(); !shown.isEmpty())
        sql.appendSql(u" and "_s + shown);
    return firstRowid(sql);
}

qint64 IOS6MessageDb::insertMessage(const _MsgMessage &message, qint64 handleRowid, qint64 otherHandleRowid,
                                    const QString &hash)
{
    openDb();
    return insertThrow(insertion.sql(message, handleRowid, otherHandleRowid,
                                     hash.isEmpty() && isLocalDatabase() ? logicHash(message) : hash));
}

qint64 IOS6MessageDb::insertThrow(const Sqlite3Sql &sql)
{
    executeThrow(sql);
    return lastInsertId();
}

qint64 IOS6MessageDb::insertChat(const _MsgChat &chat)
{
    // A phone would take a chat of another service for broken.
    if (!isLocalDatabase() && chat.service_name != "SMS"_L1 && chat.service_name != "iMessage"_L1)
        throw std::runtime_error(
            u"IOS6MessageDb::insertChat, invalid chat, service_name:%1"_s.arg(chat.service_name)
                .toStdString());
    const QString groupId = chat.group_id.isEmpty() ? messageGuidFromData(chat.guid.toUtf8()) : chat.group_id;
    const qint64 chatId = insertThrow(chatInsertion.sql(u"chat"_s, chat, {{"group_id"_L1, groupId}}));
    for (const _MsgHandle *handle : sortedHandles(chat)) {
        const qint64 known = handleRowid(*handle);
        joinChatHandle(chatId, known != 0 ? known : insertHandle(*handle));
    }
    return chatId;
}

qint64 IOS6MessageDb::insertHandle(const _MsgHandle &handle)
{
    openDb();
    return insertThrow(handleInsertion.sql(u"handle"_s, handle));
}

void IOS6MessageDb::tellPerson(qint64 handleRowid, const _MsgHandle &handle)
{
    const bool isNamed = !handle._ct_name.isEmpty();
    if (!keepsExtras() || (handle.person_centric_id.isEmpty() && handle._contact.isEmpty() && !isNamed))
        return;
    Sqlite3Sql sql("update handle set _person_centric_id = coalesce(nullif(?,''), _person_centric_id), "
                   "_contact = coalesce(nullif(?,''), _contact), "
                   "_ct_name = coalesce(nullif(_ct_name,''), ?), "
                   "_photo = coalesce(nullif(_photo,x''), nullif(?,x'')) where rowid=?");
    sql.addTextParam(handle.person_centric_id);
    sql.addTextParam(handle._contact);
    sql.addTextParam(handle._ct_name);
    sql.addBlobParam(handle._photo);
    sql.addInt64Param(handleRowid);
    executeThrow(sql);
}

qint64 IOS6MessageDb::insertAttachment(const _MsgAttachment &attachment)
{
    openDb();
    return insertThrow(attachmentInsertion.sql(u"attachment"_s, attachment));
}

void IOS6MessageDb::insertJoin(const QString &sql, qint64 first, qint64 second)
{
    openDb();
    executeThrow(withRows(sql, {first, second}));
}

void IOS6MessageDb::joinChatHandle(qint64 chatId, qint64 handleId)
{
    insertJoin(u"replace into chat_handle_join(chat_id,handle_id) values(?,?)"_s, chatId, handleId);
}

void IOS6MessageDb::joinChatMessage(qint64 chatId, qint64 messageId)
{
    insertJoin(u"replace into chat_message_join(chat_id,message_id) values(?,?)"_s, chatId, messageId);
}

void IOS6MessageDb::joinMessageAttachment(qint64 messageId, qint64 attachmentId)
{
    insertJoin(u"replace into message_attachment_join(message_id,attachment_id) values(?,?)"_s, messageId,
               attachmentId);
}

void IOS6MessageDb::setLastAddressedHandle(qint64 chatId, const QString &id)
{
    openDb();
    Sqlite3Sql sql = withText(u"update chat set last_addressed_handle=? where rowid=?"_s, id);
    sql.addInt64Param(chatId);
    executeThrow(sql);
}

void IOS6MessageDb::raiseChatLast(qint64 chatId, int date)
{
    if (hasColumn(u"chat"_s, u"_last INTEGER"_s))
        executeThrow(
            withRows(u"update chat set _last=? where rowid=? and _last < ?"_s, {date, chatId, date}));
}

void IOS6MessageDb::setChatLastIfNone(qint64 chatId, int date)
{
    if (hasColumn(u"chat"_s, u"_last INTEGER"_s))
        executeThrow(withRows(u"update chat set _last=? where rowid=? and _last = 0"_s, {date, chatId}));
}

void IOS6MessageDb::deleteMessage(const _MsgMessage &message)
{
    openDb();
    // A message may stand in more chats than the record names.
    QSet<qint64> chats = chatsOf(message.rowid);
    if (message.chat)
        chats.insert(message.chat->rowid);
    executeThrow(withRows(u"DELETE FROM message WHERE rowid=?"_s, {message.rowid}));
    executeThrow(withRows(u"DELETE FROM chat_message_join where message_id=?"_s, {message.rowid}));
    executeThrow(withRows(u"DELETE FROM message_attachment_join where message_id=?"_s, {message.rowid}));
    for (const qint64 chat : std::as_const(chats))
        executeThrow(withRows(u"DELETE FROM chat WHERE rowid=? and (SELECT 1 from chat_message_join WHERE "
                              "chat_id=? LIMIT 1) IS NULL"_s,
                              {chat, chat}));
}

QSet<qint64> IOS6MessageDb::chatsOf(qint64 messageId)
{
    QSet<qint64> chats;
    Sqlite3Cursor cursor =
        queryThrow(withRows(u"select chat_id from chat_message_join where message_id=?"_s, {messageId}));
    while (cursor.moveNextThrow())
        chats.insert(cursor.getInt64(0));
    return chats;
}
