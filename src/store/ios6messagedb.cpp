#include "ios6messagedb.h"

#include "chatlinks.h"
#include "localschema.h"
#include "openmessagedb.h"
#include "recordreader.h"
#include "untoucheddb.h"

#include <QTemporaryDir>

#include <array>

using namespace Qt::StringLiterals;

namespace
{

using ChatField = RecordField<_MsgChat>;
using HandleField = RecordField<_MsgHandle>;
using MessageField = RecordField<_MsgMessage>;

constexpr RepeatingText<_MsgMessage> repeating(QString _MsgMessage::*member)
{
    return {member};
}

constexpr std::array chatFields = {
    ChatField{"rowid"_L1, &_MsgChat::rowid},
    ChatField{"guid"_L1, &_MsgChat::guid},
    ChatField{"style"_L1, &_MsgChat::style},
    ChatField{"state"_L1, &_MsgChat::state},
    ChatField{"account_id"_L1, &_MsgChat::account_id},
    ChatField{"properties"_L1, &_MsgChat::properties},
    ChatField{"chat_identifier"_L1, &_MsgChat::chat_identifier},
    ChatField{"service_name"_L1, &_MsgChat::service_name},
    ChatField{"room_name"_L1, &_MsgChat::room_name},
    ChatField{"account_login"_L1, &_MsgChat::account_login},
    ChatField{"is_archived"_L1, &_MsgChat::is_archived},
    ChatField{"last_addressed_handle"_L1, &_MsgChat::last_addressed_handle},
    ChatField{"display_name"_L1, &_MsgChat::display_name},
    ChatField{"_last"_L1, &_MsgChat::_last},
    ChatField{"group_id"_L1, &_MsgChat::group_id},
};

constexpr std::array handleFields = {
    HandleField{"rowid"_L1, &_MsgHandle::rowid},
    HandleField{"id"_L1, &_MsgHandle::id},
    HandleField{"country"_L1, &_MsgHandle::country},
    HandleField{"service"_L1, &_MsgHandle::service},
    HandleField{"uncanonicalized_id"_L1, &_MsgHandle::uncanonicalized_id},
    HandleField{"_ct_name"_L1, &_MsgHandle::_ct_name},
    HandleField{"_photo"_L1, &_MsgHandle::_photo},
};

constexpr std::array messageFields = {
    MessageField{"rowid"_L1, &_MsgMessage::rowid},
    MessageField{"guid"_L1, &_MsgMessage::guid},
    MessageField{"text"_L1, &_MsgMessage::text},
    MessageField{"replace"_L1, &_MsgMessage::replace},
    MessageField{"service_center"_L1, repeating(&_MsgMessage::service_center)},
    MessageField{"handle_id"_L1, &_MsgMessage::handle_id},
    MessageField{"subject"_L1, &_MsgMessage::subject},
    MessageField{"country"_L1, repeating(&_MsgMessage::country)},
    MessageField{"attributedBody"_L1, &_MsgMessage::attributedBody},
    MessageField{"version"_L1, &_MsgMessage::version},
    MessageField{"type"_L1, &_MsgMessage::type},
    MessageField{"service"_L1, repeating(&_MsgMessage::service)},
    MessageField{"account"_L1, repeating(&_MsgMessage::account)},
    MessageField{"account_guid"_L1, repeating(&_MsgMessage::account_guid)},
    MessageField{"error"_L1, &_MsgMessage::error},
    MessageField{"date"_L1, &_MsgMessage::date},
    MessageField{"date_read"_L1, &_MsgMessage::date_read},
    MessageField{"date_delivered"_L1, &_MsgMessage::date_delivered},
    MessageField{"is_delivered"_L1, &_MsgMessage::is_delivered},
    MessageField{"is_finished"_L1, &_MsgMessage::is_finished},
    MessageField{"is_emote"_L1, &_MsgMessage::is_emote},
    MessageField{"is_from_me"_L1, &_MsgMessage::is_from_me},
    MessageField{"is_empty"_L1, &_MsgMessage::is_empty},
    MessageField{"is_delayed"_L1, &_MsgMessage::is_delayed},
    MessageField{"is_auto_reply"_L1, &_MsgMessage::is_auto_reply},
    MessageField{"is_prepared"_L1, &_MsgMessage::is_prepared},
    MessageField{"is_read"_L1, &_MsgMessage::is_read},
    MessageField{"is_system_message"_L1, &_MsgMessage::is_system_message},
    MessageField{"is_sent"_L1, &_MsgMessage::is_sent},
    MessageField{"has_dd_results"_L1, &_MsgMessage::has_dd_results},
    MessageField{"is_service_message"_L1, &_MsgMessage::is_service_message},
    MessageField{"is_forward"_L1, &_MsgMessage::is_forward},
    MessageField{"was_downgraded"_L1, &_MsgMessage::was_downgraded},
    MessageField{"is_archive"_L1, &_MsgMessage::is_archive},
    MessageField{"cache_has_attachments"_L1, &_MsgMessage::cache_has_attachments},
    MessageField{"cache_roomnames"_L1, repeating(&_MsgMessage::cache_roomnames)},
    MessageField{"was_data_detected"_L1, &_MsgMessage::was_data_detected},
    MessageField{"was_deduplicated"_L1, &_MsgMessage::was_deduplicated},
    MessageField{"is_audio_message"_L1, &_MsgMessage::is_audio_message},
    MessageField{"is_played"_L1, &_MsgMessage::is_played},
    MessageField{"date_played"_L1, &_MsgMessage::date_played},
    MessageField{"item_type"_L1, &_MsgMessage::item_type},
    MessageField{"other_handle"_L1, &_MsgMessage::other_handle},
    MessageField{"group_title"_L1, repeating(&_MsgMessage::group_title)},
    MessageField{"group_action_type"_L1, &_MsgMessage::group_action_type},
    MessageField{"share_status"_L1, &_MsgMessage::share_status},
    MessageField{"share_direction"_L1, &_MsgMessage::share_direction},
    MessageField{"is_expirable"_L1, &_MsgMessage::is_expirable},
    MessageField{"expire_state"_L1, &_MsgMessage::expire_state},
    MessageField{"message_action_type"_L1, &_MsgMessage::message_action_type},
};

int keepsFile(int)
{
    return 0;
}

QString messageQuery(bool hasItemType, qint64 chatId)
{
    QString sql = u"select j.chat_id, m.* from chat_message_join as j inner join message as m on "
                  "j.message_id = m.rowid"_s;
    if (hasItemType)
        sql += u" and m.item_type <> 4"_s; // sharing of locations
    if (chatId > 0)
        sql += u" and j.chat_id=%1"_s.arg(chatId);
    return sql;
}

void link(const _MsgStore &store, _MsgMessage &message)
{
    if (_MsgHandle *handle = store.handles.value(message.handle_id)) {
        message.handle = handle;
        if (message.country.isEmpty())
            message.country = handle->country;
    }
    if (message.other_handle > 0) {
        if (_MsgHandle *other = store.handles.value(message.other_handle))
            message.otherHandle = other;
    }
}

} // namespace

IOS6MessageDb::IOS6MessageDb(const QDir &rootFolder, const QString &countryCode, bool upgradeFile)
    : IOS6MessageDb(rootFolder, messageDbPath(rootFolder), countryCode, upgradeFile)
{
}

IOS6MessageDb::IOS6MessageDb(const QDir &rootFolder, const QString &databasePath, const QString &countryCode,
                             bool upgradeFile)
    : AbsIOSMessageDb(rootFolder, databasePath, countryCode)
    , upgrade(upgradeFile)
    , parts(rootFolder, countryCode, u"IOS6MessageDb"_s)
{
}

IOS6MessageDb::~IOS6MessageDb()
{
    close(); // before the copy goes
}

void IOS6MessageDb::openDb()
{
    if (isOpen())
        return;
    if (upgrade)
        openLocalDatabaseThrow(*this, path);
    else
        copy = openUntouchedThrow(*this, path);
    // Triggers of the phone call these.
    createFunctionThrow("delete_attachment_path", 1, keepsFile);
    createFunctionThrow("before_delete_attachment_path", 2, keepsFile);
    tables = tableTexts(*this);
    insertion = MessageInsertion(tables.value(u"message"_s));
}

void IOS6MessageDb::chats(_MsgStorePtr &store)
{
    openDb();
    parts.openContacts();
    readChats(*store);
    if (!tables.value(u"chat"_s).contains("_last INTEGER"_L1, Qt::CaseInsensitive))
        deriveNewestDates(*store);
    readHandles(*store);
}

void IOS6MessageDb::readChats(_MsgStore &store)
{
    Sqlite3Cursor cursor = queryThrow(Sqlite3Sql("select * from chat"));
    RecordReader<_MsgChat> reader(cursor, chatFields);
    const int rowid = cursor.columnIndex(u"rowid"_s);
    while (cursor.moveNextThrow()) {
        const qint64 key = cursor.getInt64(rowid);
        if (!store.chats.contains(key))
            store.chats.insert(key, reader.read(cursor).release());
    }
}

void IOS6MessageDb::deriveNewestDates(_MsgStore &store)
{
    Sqlite3Cursor cursor = queryThrow(Sqlite3Sql(
        "select chat_id, max(date) as last from ( select cm.chat_id, m.date from chat_message_join "
        "as cm inner join message as m on cm.message_id=m.rowid ) as tmp group by chat_id"));
    const int chatId = cursor.columnIndex(u"chat_id"_s);
    const int last = cursor.columnIndex(u"last"_s);
    while (cursor.moveNextThrow()) {
        if (_MsgChat *chat = store.chats.value(cursor.getInt64(chatId)))
            chat->_last = cursor.getInt(last);
    }
}

void IOS6MessageDb::readHandles(_MsgStore &store)
{
    Sqlite3Cursor cursor = queryThrow(Sqlite3Sql(
        "select j.chat_id, h.* from chat_handle_join as j inner join handle as h on j.handle_id = h.rowid"));
    RecordReader<_MsgHandle> reader(cursor, handleFields);
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
    handle.id = parts.normalAddress(handle.country, handle.id);
    if (handle.country.isEmpty())
        handle.country = parts.ownCountry();
    parts.nameHandle(handle);
}

void IOS6MessageDb::messages(_MsgStorePtr &store, qint64 chatId)
{
    openDb();
    chats(store);
    if (chatId == 0)
        store->messages.reserve(rowCount(u"chat_message_join"_s));
    const bool hasItemType = tables.value(u"message"_s).contains("item_type"_L1);
    Sqlite3Cursor cursor = queryThrow(Sqlite3Sql(messageQuery(hasItemType, chatId)));
    RecordReader<_MsgMessage> reader(cursor, messageFields);
    const int rowid = cursor.columnIndex(u"rowid"_s);
    const int chatColumn = cursor.columnIndex(u"chat_id"_s);
    ChatLinks links;
    while (cursor.moveNextThrow()) {
        const qint64 key = cursor.getInt64(rowid);
        _MsgMessage *&message = store->messages[key];
        if (!message) {
            message = reader.read(cursor).release();
            message->src_rowid = key;
        }
        link(*store, *message);
        if (_MsgChat *chat = store->chats.value(cursor.getInt64(chatColumn))) {
            message->chat = chat;
            links.add(*chat, *message);
        }
    }
}
