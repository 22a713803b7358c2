#include "store/readers/ios6messagedb.h"
#include "store/readers/attachmentpaths.h"

#include "app/appledates.h"
#include "sqlite_qt/untoucheddb.h"
#include "store/readers/joinedgroups.h"
#include "store/readers/localextras.h"
#include "store/readers/localschema.h"
#include "store/readers/messageattachments.h"
#include "store/readers/messagerows.h"
#include "store/readers/modernmessages.h"
#include "store/readers/openmessagedb.h"
#include "store/readers/recordreader.h"
#include "store/readers/standintables.h"
#include "store/records/columntables.h"
#include "store/records/madeupchats.h"

using namespace Qt::StringLiterals;

namespace
{

int keepsFile(int)
{
    return 0;
}

constexpr auto newestDates =
    "select chat_id, max(date) as last from ( select cm.chat_id, m.date from chat_message_join "
    "as cm inner join message as m on cm.message_id=m.rowid ) as tmp group by chat_id";

constexpr auto handlesOfChats =
    "select j.chat_id, h.* from chat_handle_join as j inner join handle as h on j.handle_id = h.rowid";

// Whoever reacted or wrote without being in a chat.
constexpr auto looseHandles = "select h.* from handle as h where h.rowid not in "
                              "(select handle_id from chat_handle_join where handle_id is not null)";

} // namespace

IOS6MessageDb::IOS6MessageDb(const QDir &rootFolder, const QString &countryCode, bool upgradeFile)
    : IOS6MessageDb(rootFolder, messageDbPath(rootFolder), countryCode, upgradeFile)
{
}

IOS6MessageDb::IOS6MessageDb(const QDir &rootFolder, const QString &databasePath, const QString &countryCode,
                             bool upgradeFile)
    : AbsIOSMessageDb(rootFolder, databasePath, countryCode)
    , upgrade(upgradeFile)
    , addresses(rootFolder, countryCode, u"IOS6MessageDb"_s)
{
}

void IOS6MessageDb::openDb()
{
    if (isOpen())
        return;
    if (!upgrade) {
        UntouchedDb opened(path);
        return takeOpened(opened);
    }
    openLocalDatabaseThrow(*this, path);
    prepare();
}

void IOS6MessageDb::openToWrite()
{
    if (isOpen())
        return;
    openThrow(path, sqliteReadWrite);
    prepare();
}

void IOS6MessageDb::prepare()
{
    // Triggers of the phone call these.
    createFunctionThrow("delete_attachment_path", 1, keepsFile);
    createFunctionThrow("before_delete_attachment_path", 2, keepsFile);
    tables = tableTexts(*this);
    standInForMissing(*this, {{"chat"_L1, "guid"_L1},
                              {"handle"_L1, "id, country, service"_L1},
                              {"chat_handle_join"_L1, "chat_id, handle_id"_L1},
                              {"chat_message_join"_L1, "chat_id, message_id"_L1}});
    insertion = MessageInsertion(tables.value(u"message"_s));
    chatInsertion = {chatTable(), tables.value(u"chat"_s)};
    handleInsertion = {handleTable(), tables.value(u"handle"_s)};
    attachmentInsertion = {attachmentTable(), tables.value(u"attachment"_s)};
    kind = kindOfFile();
    findCountry();
    addresses.useCountry(mcc);
}

IOS6MessageDb::FileKind IOS6MessageDb::kindOfFile()
{
    if (ModernMessages::isModern(*this))
        return FileKind::ModernPhone;
    const QString message = tables.value(u"message"_s);
    if (declaresColumn(message, u"_message_summary_info"_s) && tables.contains(u"_reaction"_s) &&
        tables.contains(u"_part_text"_s))
        return FileKind::LocalDatabase;
    return declaresColumn(message, u"logic_hash"_s) ? FileKind::OldLocalDatabase : FileKind::Phone;
}

void IOS6MessageDb::chats(_MsgStorePtr &store)
{
    readChatsAndHandles(*store);
    if (!tables.value(u"chat"_s).contains("_last INTEGER"_L1, Qt::CaseInsensitive))
        deriveNewestDates(*store,
                          kind == FileKind::ModernPhone ? ModernMessages::newestDates() : newestDates);
}

void IOS6MessageDb::readChatsAndHandles(_MsgStore &store)
{
    openDb();
    addresses.openContacts();
    readChats(store);
    readHandles(store, handlesOfChats);
    if (kind == FileKind::ModernPhone) {
        readHandles(store, looseHandles);
        joinGroups(*this, store);
    }
    if (kind == FileKind::LocalDatabase)
        readHandles(store, LocalExtras::looseHandles);
}

void IOS6MessageDb::readChats(_MsgStore &store)
{
    Sqlite3Cursor cursor = queryThrow(Sqlite3Sql("select * from chat"));
    RecordReader<_MsgChat> reader(cursor, chatTable());
    const int rowid = cursor.columnIndex(u"rowid"_s);
    while (cursor.moveNextThrow()) {
        const qint64 key = cursor.getInt64(rowid);
        if (!store.chats.contains(key))
            store.chats.insert(key, reader.read(cursor).release());
    }
}

void IOS6MessageDb::deriveNewestDates(_MsgStore &store, const char *sql)
{
    Sqlite3Cursor cursor = queryThrow(Sqlite3Sql(sql));
    const int chatId = cursor.columnIndex(u"chat_id"_s);
    const int last = cursor.columnIndex(u"last"_s);
    while (cursor.moveNextThrow()) {
        if (_MsgChat *chat = store.chats.value(cursor.getInt64(chatId)))
            chat->_last =
                kind == FileKind::ModernPhone ? wholeSeconds(cursor.getInt64(last)) : cursor.getInt(last);
    }
}

void IOS6MessageDb::readHandles(_MsgStore &store, const char *sql)
{
    Sqlite3Cursor cursor = queryThrow(Sqlite3Sql(sql));
    RecordReader<_MsgHandle> reader(cursor, handleTable());
    const int rowid = cursor.columnIndex(u"rowid"_s);
    const int chatId = cursor.columnIndex(u"chat_id"_s);
    while (cursor.moveNextThrow()) {
        const qint64 key = cursor.getInt64(rowid);
        _MsgHandle *handle = store.handles.value(key);
        if (!handle) {
            handle = reader.read(cursor).release();
            store.handles.insert(key, handle);
            completeHandle(*handle);
        }
        if (_MsgChat *chat = store.chats.value(cursor.getInt64(chatId)))
            chat->handles.insert(QString::number(key), handle);
    }
}

void IOS6MessageDb::completeHandle(_MsgHandle &handle)
{
    handle.id = addresses.normalAddress(handle.country, handle.id);
    nameHandle(handle);
}

void IOS6MessageDb::nameHandle(_MsgHandle &handle)
{
    if (handle.country.isEmpty())
        handle.country = addresses.ownCountry();
    addresses.nameHandle(handle);
    if (kind == FileKind::ModernPhone) // addresses of older phones were never looked up, and their names stay
                                       // as they were
        addresses.nameHandleByMail(handle);
}

QString IOS6MessageDb::handleAddress(qint64 rowid)
{
    openDb();
    if (!tables.contains(u"handle"_s))
        return {};
    Sqlite3Sql sql("select * from handle where rowid=?");
    sql.addInt64Param(rowid);
    Sqlite3Cursor cursor = queryThrow(sql);
    return cursor.moveNextThrow()
               ? addresses.normalAddress(cursor.getText(u"country"_s), cursor.getText(u"id"_s))
               : QString();
}

QString IOS6MessageDb::messageQuery(qint64 chatId)
{
    QString sql = u"select j.chat_id, m.* from chat_message_join as j inner join message as m on "
                  "j.message_id = m.rowid"_s;
    if (const QString shown = shownCondition(); !shown.isEmpty())
        sql += u" and "_s + shown;
    if (chatId > 0)
        sql += u" and j.chat_id=%1"_s.arg(chatId);
    return sql;
}

// Messages that no row of a chat names. Their writers need not take part in a chat.
void IOS6MessageDb::readUnplaced(_MsgStore &store, MessageRows &rows)
{
    QString text = u"select m.* from message as m where m.rowid not in (select j.message_id from "
                   "chat_message_join as j inner join chat as c on c.rowid = j.chat_id where j.message_id is "
                   "not null)"_s;
    if (const QString shown = shownCondition(); !shown.isEmpty())
        text += u" and "_s + shown;
    const Sqlite3Sql sql(text);
    if (!queryThrow(sql).moveNextThrow())
        return;
    readHandles(store, looseHandles);
    rows.readUnplaced(queryThrow(sql), noConversation(store));
}

void IOS6MessageDb::messages(_MsgStorePtr &store, qint64 chatId)
{
    openDb();
    const bool isModern = kind == FileKind::ModernPhone;
    if (isModern && chatId == 0)
        readChatsAndHandles(*store); // the pass over all messages tells the newest dates
    else
        chats(store);
    if (chatId == 0)
        store->messages.reserve(rowCount(u"chat_message_join"_s));
    if (isModern) {
        ModernMessages(*this, tables).read(*store, chatId);
        return noteSource(*store);
    }
    MessageRows rows(*store);
    const bool areAllPlaced = rows.read(queryThrow(Sqlite3Sql(messageQuery(chatId))));
    const bool isComplete = areAllPlaced && store->messages.size() == rowCount(u"message"_s);
    if (chatId == 0 && !isComplete)
        readUnplaced(*store, rows);
    rows.finish();
    if (kind == FileKind::LocalDatabase)
        LocalExtras(*this).read(*store);
    noteSource(*store);
}

void IOS6MessageDb::attachments(_MsgStorePtr &store)
{
    openDb();
    readAttachments(*this, *attachmentFinder(), *store);
}
