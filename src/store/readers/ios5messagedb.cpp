#include "store/readers/ios5messagedb.h"

#include "app/appledates.h"
#include "sqlite_qt/untoucheddb.h"
#include "store/readers/attachmentpaths.h"
#include "store/readers/messageattachments.h"
#include "store/readers/mmsparts.h"
#include "store/readers/openmessagedb.h"
#include "store/readers/participants.h"
#include "store/readers/recordreader.h"
#include "store/readers/standintables.h"
#include "store/records/chatlinks.h"
#include "store/records/chatstyle.h"
#include "store/records/columntables.h"
#include "store/records/madeupchats.h"
#include "store/records/messagestore.h"

#include <algorithm>

using namespace Qt::StringLiterals;

namespace
{

constexpr int partnerStyle = 45;
constexpr int sentFlags = 3;

/// Those that are read as they stand.
std::vector<RecordColumn<_MsgMessage>> columnsOf(std::initializer_list<Ios5Use> uses)
{
    std::vector<RecordColumn<_MsgMessage>> columns;
    for (const Ios5Column &column : ios5MessageTable()) {
        if (std::find(uses.begin(), uses.end(), column.use) != uses.end())
            columns.push_back(column.column);
    }
    return columns;
}

_MsgMessage smsModel()
{
    _MsgMessage model = takenOverMessage(u"SMS"_s);
    model.account = u"e:"_s;
    return model;
}

// Also for the one number that has no counterpart.
qint64 negated(qint64 value)
{
    return qint64(0 - quint64(value));
}

void becomeChatOf(_MsgChat &chat, const QString &address)
{
    chat.chat_identifier = address;
    chat.guid = u"SMS;-;"_s + address;
    chat.style = partnerStyle;
}

void becomeGroup(_MsgChat &chat)
{
    chat.chat_identifier = newChatIdentifier(chat.guid);
    chat.guid = u"SMS;+;"_s + chat.chat_identifier;
    chat.room_name = chat.chat_identifier;
    chat.style = groupStyle;
    chat.account_id = messageGuidFromData(chat.guid.toUtf8());
}

void addMember(_MsgChat &chat, _MsgHandle &handle)
{
    if (!chat.handles.contains(handle.id)) {
        if (chat.handles.isEmpty())
            becomeChatOf(chat, handle.id);
        else if (chat.handles.size() == 1)
            becomeGroup(chat);
    }
    chat.handles.insert(handle.id, &handle);
}

std::unique_ptr<_MsgChat> madridChat(const Sqlite3Cursor &row, const QString &identifier, bool group)
{
    auto chat = std::make_unique<_MsgChat>();
    chat->rowid = negated(row.getInt64(u"rowid"_s));
    chat->chat_identifier = identifier;
    chat->guid = (group ? u"iMessage;+;"_s : u"iMessage;-;"_s) + identifier;
    chat->style = row.getInt(u"style"_s);
    chat->state = row.getInt(u"state"_s);
    chat->account_id = row.getText(u"account_id"_s);
    chat->service_name = u"iMessage"_s;
    chat->account_login = row.getText(u"account_login"_s);
    return chat;
}

/// Adds somebody whom no row of the file stands for.
_MsgHandle *addHandle(_MsgStore &store, AddressResolver &addresses, const QString &id, const QString &service)
{
    qint64 rowid = ~qint64(store.handles.size());
    while (store.handles.contains(rowid)) // a member of a group with a negative number
        --rowid;
    auto handle = std::make_unique<_MsgHandle>();
    handle->rowid = rowid;
    handle->service = service;
    handle->id = id;
    addresses.nameHandle(*handle);
    return *store.handles.insert(rowid, handle.release());
}

QString messageQuery(qint64 chatId)
{
    QString sql = u"select m.* from message as m"_s;
    if (chatId > 0)
        sql += u" where m.group_id=%1"_s.arg(chatId);
    else if (chatId < 0)
        sql += u" inner join madrid_chat as c on (m.madrid_roomname=c.chat_identifier or "
               "m.madrid_handle=c.chat_identifier) and c.rowid=%1"_s.arg(negated(chatId));
    return sql;
}

} // namespace

/// Makes messages of the rows of one query.
class IOS5MessageDb::MessageLoad
{
public:
    MessageLoad(const Sqlite3Cursor &query, _MsgStore &target, AddressResolver &resolver)
        : cursor(query)
        , store(target)
        , addresses(resolver)
        , sms(cursor, columnsOf({Ios5Use::All}), smsModel())
        , madrid(cursor, columnsOf({Ios5Use::All, Ios5Use::IMessages}), takenOverMessage(u"iMessage"_s))
        , isMadrid(cursor.columnIndex(u"is_madrid"_s))
        , date(cursor.columnIndex(u"date"_s))
        , flags(cursor.columnIndex(u"flags"_s))
        , groupId(cursor.columnIndex(u"group_id"_s))
        , country(cursor.columnIndex(u"country"_s))
        , address(cursor.columnIndex(u"address"_s))
        , roomname(cursor.columnIndex(u"madrid_roomname"_s))
        , handle(cursor.columnIndex(u"madrid_handle"_s))
    {
        // Of one identifier the lowest number wins: iMessage chats, whose numbers are negative, before texts.
        QList<_MsgChat *> chats = store.chats.values();
        std::sort(chats.begin(), chats.end(),
                  [](const _MsgChat *a, const _MsgChat *b) { return a->rowid > b->rowid; });
        for (_MsgChat *chat : std::as_const(chats))
            byIdentifier.insert(chat->chat_identifier, chat);
    }

    void takeRow(qint64 rowid)
    {
        _MsgMessage *&slot = store.messages[rowid];
        if (slot)
            return;
        const bool isIMessage = cursor.getInt(isMadrid) != 0;
        slot = (isIMessage ? madrid : sms).read(cursor).release();
        slot->src_rowid = rowid;
        if (isIMessage)
            completeMadrid(*slot);
        else
            completeSms(*slot);
    }

private:
    QString sharedText(int column) { return shared.text(cursor.getUtf8(column)); }

    void putIntoChat(_MsgMessage &message, _MsgChat &chat)
    {
        message.chat = &chat;
        links.add(chat, message);
        if (chat.handles.size() == 1)
            message.handle = *chat.handles.cbegin();
    }

    void putElsewhere(_MsgMessage &message)
    {
        if (!elsewhere)
            elsewhere = &noConversation(store);
        message.chat = elsewhere;
        links.addDated(*message.chat, message, false);
    }

    QString partnerAddress()
    {
        return partners.text(cursor.getUtf8(handle),
                             [this](const QString &stored) { return addresses.normalAddress(stored); });
    }

    void completeMadrid(_MsgMessage &message)
    {
        if (message.guid.isEmpty())
            message.guid = messageGuidFromData(
                u"%1 %2 %3"_s.arg(message.src_rowid).arg(message.date).arg(message.text).toUtf8());
        message.is_from_me = message.date_delivered > 0 ? 1 : 0;
        const QString room = sharedText(roomname);
        const QString partner = partnerAddress();
        _MsgChat *chat = byIdentifier.value(room.isEmpty() ? partner : room);
        if (!chat) {
            message.handle = stranger(partner, message.service);
            return putElsewhere(message);
        }
        putIntoChat(message, *chat);
        if (chat->handles.size() > 1 && message.is_from_me == 0)
            message.handle = chat->handles.value(partner);
    }

    void completeSms(_MsgMessage &message)
    {
        message.guid = newMessageGuid();
        message.date = int(cursor.getInt64(date) - appleEpoch);
        message.date_read = message.date;
        message.date_delivered = message.date;
        message.is_from_me = cursor.getInt(flags) == sentFlags ? 1 : 0;
        _MsgChat *chat = store.chats.value(cursor.getInt64(groupId));
        if (!chat) {
            message.handle = stranger(writer(), message.service);
            return putElsewhere(message);
        }
        putIntoChat(message, *chat);
        if (chat->handles.size() > 1 && message.is_from_me == 0)
            message.handle = chat->handles.value(writer());
    }

    QString writer() { return addresses.normalAddress(sharedText(country), sharedText(address)); }

    /// Somebody who takes part in no chat; null where the row names nobody.
    _MsgHandle *stranger(const QString &id, const QString &service)
    {
        if (id.isEmpty())
            return nullptr;
        _MsgHandle *&known = strangers[{id, service}];
        return known ? known : known = addHandle(store, addresses, id, service);
    }

    const Sqlite3Cursor &cursor;
    _MsgStore &store;
    AddressResolver &addresses;
    ChatsByIdentifier byIdentifier;
    RecordReader<_MsgMessage> sms;
    RecordReader<_MsgMessage> madrid;
    ChatLinks links;
    SharedTexts shared;
    SharedTexts partners;          // in normal form, by what is stored
    _MsgChat *elsewhere = nullptr; // where messages go that no chat has; null before the first
    QHash<std::pair<QString, QString>, _MsgHandle *> strangers; // by address and service
    // Positions of columns.
    int isMadrid, date, flags, groupId, country, address, roomname, handle;
};

IOS5MessageDb::IOS5MessageDb(const QDir &rootFolder, const QString &countryCode)
    : IOS5MessageDb(rootFolder, messageDbPath(rootFolder), countryCode)
{
}

IOS5MessageDb::IOS5MessageDb(const QDir &rootFolder, const QString &databasePath, const QString &countryCode)
    : AbsIOSMessageDb(rootFolder, databasePath, countryCode)
    , addresses(rootFolder, countryCode, u"IOS5MessageDb"_s)
{
}

void IOS5MessageDb::openDb()
{
    if (isOpen())
        return;
    UntouchedDb opened(path);
    takeOpened(opened);
}

void IOS5MessageDb::prepare()
{
    tables = tableTexts(*this);
    standInForMissing(*this, {{"msg_group"_L1, "hash, newest_message"_L1},
                              {"group_member"_L1, "group_id, country, address"_L1}});
    findCountry();
    addresses.useCountry(mcc);
}

void IOS5MessageDb::chats(_MsgStorePtr &store)
{
    openDb();
    addresses.openContacts();
    readGroups(*store);
    readMembers(*store);
    if (!tables.contains(u"madrid_chat"_s))
        return;
    const ChatsByIdentifier madridChats = readMadridChats(*store);
    setNewestDates(madridChats, u"madrid_roomname"_s);
    setNewestDates(madridChats, u"madrid_handle"_s);
}

void IOS5MessageDb::readGroups(_MsgStore &store)
{
    Sqlite3Cursor cursor = queryThrow(
        Sqlite3Sql("select g.*, coalesce(m.date, d.newest) - 978307200 as last_date from msg_group as "
                   "g left join message as m on g.newest_message = m.rowid left join (select "
                   "group_id, max(date) as newest from message group by group_id) as d on "
                   "d.group_id = g.rowid where last_date is not null"));
    while (cursor.moveNextThrow()) {
        const qint64 rowid = cursor.getInt64(u"rowid"_s);
        if (store.chats.contains(rowid))
            continue;
        auto chat = std::make_unique<_MsgChat>();
        chat->rowid = rowid;
        chat->_last = cursor.getInt(u"last_date"_s);
        chat->guid = u"SMS;-;%1"_s.arg(cursor.getInt64(u"hash"_s));
        chat->chat_identifier = u"unknown"_s;
        store.chats.insert(rowid, chat.release());
    }
}

void IOS5MessageDb::readMembers(_MsgStore &store)
{
    Sqlite3Cursor cursor = queryThrow(Sqlite3Sql("select * from group_member"));
    while (cursor.moveNextThrow()) {
        _MsgChat *chat = store.chats.value(cursor.getInt64(u"group_id"_s));
        if (!chat)
            continue;
        const qint64 rowid = cursor.getInt64(u"rowid"_s);
        _MsgHandle *handle = store.handles.value(rowid);
        if (!handle) {
            handle = memberHandle(cursor, rowid);
            store.handles.insert(rowid, handle);
        }
        addMember(*chat, *handle);
    }
}

_MsgHandle *IOS5MessageDb::memberHandle(const Sqlite3Cursor &member, qint64 rowid)
{
    auto handle = std::make_unique<_MsgHandle>();
    handle->rowid = rowid;
    handle->country = member.getText(u"country"_s);
    handle->id = addresses.normalAddress(handle->country, member.getText(u"address"_s));
    addresses.nameHandle(*handle);
    return handle.release();
}

IOS5MessageDb::ChatsByIdentifier IOS5MessageDb::readMadridChats(_MsgStore &store)
{
    ChatsByIdentifier byIdentifier;
    Sqlite3Cursor cursor = queryThrow(Sqlite3Sql("select * from madrid_chat"));
    while (cursor.moveNextThrow()) {
        const qint64 key = negated(cursor.getInt64(u"rowid"_s));
        if (store.chats.contains(key))
            continue;
        const QStringList participants = participantsOf(cursor.getBlob(u"participants"_s));
        const QString identifier = addresses.normalAddress(cursor.getText(u"chat_identifier"_s));
        _MsgChat *chat = madridChat(cursor, identifier, participants.size() >= 2).release();
        store.chats.insert(key, chat);
        byIdentifier.insert(identifier, chat);
        addParticipants(store, *chat, participants);
    }
    return byIdentifier;
}

void IOS5MessageDb::addParticipants(_MsgStore &store, _MsgChat &chat, const QStringList &participants)
{
    for (const QString &participant : participants) {
        _MsgHandle *handle = addHandle(store, addresses, addresses.normalAddress(participant), u"iMessage"_s);
        chat.handles.insert(handle->id, handle);
    }
}

void IOS5MessageDb::setNewestDates(const ChatsByIdentifier &chats, const QString &column)
{
    if (chats.isEmpty())
        return;
    Sqlite3Cursor cursor =
        queryThrow(Sqlite3Sql(u"select %1,max(date) as last_date from message group by %1 having %1 is not "
                              "null and %1 <> ''"_s.arg(column)));
    const int identifier = cursor.columnIndex(column);
    const int lastDate = cursor.columnIndex(u"last_date"_s);
    while (cursor.moveNextThrow()) {
        if (_MsgChat *chat = chats.value(cursor.getText(identifier)))
            chat->_last = cursor.getInt(lastDate);
    }
}

void IOS5MessageDb::messages(_MsgStorePtr &store, qint64 chatId)
{
    openDb();
    chats(store);
    if (chatId == 0)
        store->messages.reserve(rowCount(u"message"_s));
    Sqlite3Cursor cursor = queryThrow(Sqlite3Sql(messageQuery(chatId)));
    MessageLoad load(cursor, *store, addresses);
    const int rowid = cursor.columnIndex(u"rowid"_s);
    while (cursor.moveNextThrow())
        load.takeRow(cursor.getInt64(rowid));
    readMmsTexts(*this, filesFolder(), *store);
    noteSource(*store);
}

void IOS5MessageDb::attachments(_MsgStorePtr &store)
{
    openDb();
    readIos5Attachments(*this, filesFolder(), *attachmentFinder(), *store);
}
