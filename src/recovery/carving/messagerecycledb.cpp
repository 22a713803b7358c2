#include "recovery/carving/messagerecycledb.h"

#include "store/readers/openmessagedb.h"
#include "store/readers/recordinsertion.h"
#include "store/readers/recordreader.h"
#include "store/records/columntables.h"
#include "store/records/messagestore.h"

#include <QFile>
#include <QRegularExpression>

#include <stdexcept>

using namespace Qt::StringLiterals;

namespace
{

constexpr auto schema =
    "CREATE TABLE message (ROWID INTEGER PRIMARY KEY AUTOINCREMENT, guid TEXT UNIQUE NOT NULL, text TEXT, "
    "replace INTEGER DEFAULT 0, service_center TEXT, handle_id INTEGER DEFAULT 0, subject TEXT, country "
    "TEXT, attributedBody BLOB, version INTEGER DEFAULT 0, type INTEGER DEFAULT 0, service TEXT, account "
    "TEXT, account_guid TEXT, error INTEGER DEFAULT 0, date INTEGER, date_read INTEGER, date_delivered "
    "INTEGER, is_delivered INTEGER DEFAULT 0, is_finished INTEGER DEFAULT 0, is_emote INTEGER DEFAULT 0, "
    "is_from_me INTEGER DEFAULT 0, is_empty INTEGER DEFAULT 0, is_delayed INTEGER DEFAULT 0, is_auto_reply "
    "INTEGER DEFAULT 0, is_prepared INTEGER DEFAULT 0, is_read INTEGER DEFAULT 0, is_system_message INTEGER "
    "DEFAULT 0, is_sent INTEGER DEFAULT 0, has_dd_results INTEGER DEFAULT 0, is_service_message INTEGER "
    "DEFAULT 0, is_forward INTEGER DEFAULT 0, was_downgraded INTEGER DEFAULT 0, is_archive INTEGER DEFAULT "
    "0, cache_has_attachments INTEGER DEFAULT 0, cache_roomnames TEXT, was_data_detected INTEGER DEFAULT 0, "
    "was_deduplicated INTEGER DEFAULT 0,chat_identifier TEXT, handle TEXT, src_rowid INTEGER, is_skip "
    "INTEGER NOT NULL DEFAULT 0);CREATE INDEX message_idx_chat_identifier on message(is_skip, "
    "chat_identifier, date);CREATE INDEX message_idx_chat_date on message(date);CREATE INDEX "
    "message_idx_handle_id on message(handle_id);CREATE INDEX message_idx_src_rowid on "
    "message(src_rowid);CREATE TABLE chat (ROWID INTEGER PRIMARY KEY AUTOINCREMENT, guid TEXT UNIQUE NOT "
    "NULL, style INTEGER, state INTEGER, account_id TEXT, properties BLOB, chat_identifier TEXT, "
    "service_name TEXT, room_name TEXT, account_login TEXT, is_archived INTEGER DEFAULT 0, "
    "last_addressed_handle TEXT, display_name TEXT,src_rowid INTEGER);CREATE INDEX chat_idx_identifier ON "
    "chat(chat_identifier);CREATE INDEX chat_idx_src_rowid ON chat(src_rowid);CREATE TABLE handle (ROWID "
    "INTEGER PRIMARY KEY AUTOINCREMENT UNIQUE, id TEXT NOT NULL, country TEXT, service TEXT NOT NULL, "
    "uncanonicalized_id TEXT, src_rowid INTEGER, UNIQUE (id, service));CREATE INDEX handle_idx_src_rowid ON "
    "handle(src_rowid);"_L1;

// Pages that SQLite keeps in memory, in KiB when negative: guids land all over their index.
constexpr auto cachePages = "PRAGMA cache_size=-65536";

// Recovered messages have the numbers below, which no row of a file has.
constexpr qint64 aboveRecovered = -2047483648;

/// The columns that it keeps of a message.
RecordColumns<_MsgMessage> keptColumns()
{
    return columnsUpTo(messageTable(), Release::Ios6);
}

RecordColumns<_MsgHandle> keptHandleColumns()
{
    return columnsUpTo(handleTable(), Release::Ios6);
}

/// Its parameters are those of `addMessage`, chat, handle and row number in the source.
const QString &insertStatement()
{
    static const QString statement = [] {
        QStringList columns;
        for (const RecordColumn<_MsgMessage> &column : keptColumns().subspan(1)) // the row number is new
            columns.append(column.name);
        columns.append({u"chat_identifier"_s, u"handle"_s, u"src_rowid"_s});
        return insertText(u"message"_s, columns);
    }();
    return statement;
}

template <typename Value>
QVariant kept(const Value &value)
{
    return value;
}

QVariant kept(const QString &value)
{
    return value.isEmpty() ? QVariant() : QVariant(value);
}

QVariant kept(const QByteArray &value)
{
    return value.isEmpty() ? QVariant() : QVariant(value);
}

void addMessage(Sqlite3Sql &sql, const _MsgMessage &message)
{
    const QString guid = isGuid(message.guid) ? message.guid : newMessageGuid();
    for (const RecordColumn<_MsgMessage> &column : keptColumns().subspan(1)) {
        if (column.name == "guid"_L1)
            sql.addTextParam(guid);
        else if (column.name == "cache_has_attachments"_L1)
            sql.addIntParam(message.attachments.isEmpty() ? 0 : 1);
        else
            visitMember(column, [&](auto member) { sql.addParam(kept(message.*member)); });
    }
}

/// What was found between rows has no number of its own any more: the type of its second value stands for
/// it, which is that of the country, 17 for all of two letters. A handle that really had that number can't be
/// told from these.
bool hasNumberOfCountry(const _MsgHandle &handle, qint64 srcRowid)
{
    return srcRowid == 13 + 2 * handle.country.toUtf8().size();
}

} // namespace

bool isGuid(const QString &text)
{
    static const QRegularExpression pattern(
        u"^[a-zA-Z0-9]{8}\\-[a-zA-Z0-9]{4}\\-[a-zA-Z0-9]{4}\\-[a-zA-Z0-9]{4}\\-[a-zA-Z0-9]{12}\\z"_s);
    return pattern.match(text).hasMatch();
}

MessageRecycleDb::MessageRecycleDb(const QDir &root) : path(recycleDbPath(root))
{
}

void MessageRecycleDb::openDb()
{
    if (isOpen())
        return;
    const bool isThere = QFile::exists(path);
    try {
        openThrow(path, isThere ? sqliteReadWrite : sqliteReadWriteCreate);
        // A program that was killed early may have left an empty file.
        if (tbInfo(u"message"_s).isEmpty())
            createSchema();
        executeThrow(Sqlite3Sql(cachePages));
    } catch (const std::runtime_error &error) {
        close();
        if (isThere)
            throw;
        throw std::runtime_error(std::string("create MessageRecycleDb error. ") + error.what());
    }
}

void MessageRecycleDb::createSchema()
{
    QString error;
    if (exec("BEGIN IMMEDIATE;"_L1 + schema + "COMMIT;"_L1, error) != 0)
        throw std::runtime_error(u"%1: %2"_s.arg(path, error).toStdString());
}

qint64 MessageRecycleDb::firstRowid(const Sqlite3Sql &sql)
{
    openDb();
    Sqlite3Cursor cursor = queryThrow(sql);
    return cursor.moveNextThrow() ? cursor.getInt64(0) : 0;
}

qint64 MessageRecycleDb::insertMessage(const _MsgMessage &message, const QString &chatIdentifier,
                                       const QString &handle, qint64 srcRowid)
{
    openDb();
    Sqlite3Sql sql(insertStatement());
    addMessage(sql, message);
    sql.addTextParam(chatIdentifier);
    sql.addTextParam(handle);
    sql.addParam(srcRowid > 0 ? QVariant(srcRowid) : QVariant());
    executeThrow(sql);
    const qint64 rowid = lastInsertId();
    if (undated && message.date == 0 && !message.text.isEmpty())
        undated->insert({message.is_from_me, message.text}, rowid);
    return rowid;
}

qint64 MessageRecycleDb::findMessage(const _MsgMessage &message)
{
    if (message.date == 0)
        return findUndated(message);
    Sqlite3Sql sql("select rowid from message where guid=? or (date=? and is_from_me=? and text=?)");
    sql.addTextParam(message.guid);
    sql.addIntParam(message.date);
    sql.addIntParam(message.is_from_me);
    sql.addTextParam(message.text);
    return firstRowid(sql);
}

qint64 MessageRecycleDb::findUndated(const _MsgMessage &message)
{
    Sqlite3Sql sql("select rowid from message where guid=?");
    sql.addTextParam(message.guid);
    const qint64 rowid = firstRowid(sql);
    if (rowid != 0 || message.text.isEmpty())
        return rowid;
    if (!undated)
        loadUndated();
    return undated->value({message.is_from_me, message.text});
}

void MessageRecycleDb::loadUndated()
{
    undated.emplace();
    Sqlite3Cursor cursor =
        queryThrow(Sqlite3Sql("select is_from_me, text, rowid from message where date=0 and text<>''"));
    while (cursor.moveNextThrow())
        undated->insert({cursor.getInt(0), cursor.getText(1)}, cursor.getInt64(2));
}

qint64 MessageRecycleDb::findWordless(const _RecycleMessage &recycled)
{
    const _MsgMessage &message = recycled.message;
    if (!message.text.isEmpty())
        return 0;
    Sqlite3Sql sql("select rowid from message where text is null and chat_identifier=? and is_skip in (0,1) "
                   "and date=? and is_from_me=? and ifnull(attributedBody,x'')=?");
    sql.addTextParam(recycled.chat_identifier);
    sql.addIntParam(message.date);
    sql.addIntParam(message.is_from_me);
    sql.addBlobParam(message.attributedBody);
    return firstRowid(sql);
}

qint64 MessageRecycleDb::insertHandle(const _MsgHandle &handle, qint64 srcRowid)
{
    openDb();
    QStringList columns;
    Sqlite3Sql sql{QString()};
    for (const RecordColumn<_MsgHandle> &column : keptHandleColumns().subspan(1)) {
        columns.append(column.name);
        visitMember(column, [&](auto member) { bindValue(sql, handle.*member); });
    }
    columns.append(u"src_rowid"_s);
    sql.addParam(srcRowid > 0 ? QVariant(srcRowid) : QVariant());
    sql.appendSql(insertText(u"handle"_s, columns));
    executeThrow(sql);
    return lastInsertId();
}

qint64 MessageRecycleDb::findHandle(const _MsgHandle &handle)
{
    Sqlite3Sql sql("select rowid from handle where id=? and service=?");
    sql.addTextParam(handle.id);
    sql.addTextParam(handle.service);
    return firstRowid(sql);
}

_MsgHandle MessageRecycleDb::handleBySourceRowid(qint64 rowid)
{
    openDb();
    Sqlite3Cursor cursor = queryThrow(Sqlite3Sql(u"select * from handle where src_rowid=%1"_s.arg(rowid)));
    RecordReader<_MsgHandle> reader(cursor, keptHandleColumns());
    QList<_MsgHandle> handles;
    while (cursor.moveNextThrow())
        handles.append(*reader.read(cursor));
    handles.removeIf([&](const _MsgHandle &handle) { return hasNumberOfCountry(handle, rowid); });
    return handles.size() == 1 ? handles.first() : _MsgHandle();
}

QList<_RecycleMessage> MessageRecycleDb::loadMessages()
{
    openDb();
    Sqlite3Cursor cursor = queryThrow(Sqlite3Sql("select * from message where is_skip=0 order by rowid"));
    RecordReader<_MsgMessage> reader(cursor, keptColumns());
    const int chatIdentifier = cursor.columnIndex(u"chat_identifier"_s);
    const int handle = cursor.columnIndex(u"handle"_s);
    QList<_RecycleMessage> messages;
    while (cursor.moveNextThrow()) {
        _RecycleMessage recycled{*reader.read(cursor), cursor.getText(chatIdentifier),
                                 cursor.getText(handle)};
        recycled.message.rowid = aboveRecovered - recycled.message.rowid;
        messages.append(recycled);
    }
    return messages;
}

void MessageRecycleDb::setMessageChat(const _MsgMessage &message, const QString &chatIdentifier,
                                      const QString &handle)
{
    const qint64 rowid = findMessage(message);
    if (rowid == 0)
        return;
    Sqlite3Sql sql("update message set chat_identifier=?, handle=? where rowid=?");
    sql.addTextParam(chatIdentifier);
    sql.addTextParam(handle);
    sql.addInt64Param(rowid);
    executeThrow(sql);
}

QList<_MsgHandle> MessageRecycleDb::loadHandles()
{
    openDb();
    Sqlite3Cursor cursor = queryThrow(Sqlite3Sql("select * from handle order by rowid"));
    RecordReader<_MsgHandle> reader(cursor, keptHandleColumns());
    QList<_MsgHandle> handles;
    while (cursor.moveNextThrow())
        handles.append(*reader.read(cursor));
    return handles;
}
