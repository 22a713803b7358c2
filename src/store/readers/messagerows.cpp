#include "store/readers/messagerows.h"

#include "store/archives/typedstream.h"
#include "store/readers/extrasreader.h"
#include "store/readers/recordreader.h"
#include "store/records/columntables.h"
#include "store/records/messageparts.h"
#include "store/records/reactions.h"
#include "store/records/replies.h"

#include <QDebug>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace
{

/// Adds those columns of a phone that we keep and that are there.
template <typename Record>
void addExisting(QStringList &columns, const QSet<QString> &existing, RecordColumns<Record> table)
{
    for (const RecordColumn<Record> &column : table) {
        if (column.isOfPhone() && column.hasMember() && existing.contains(QString(column.name).toLower()))
            columns.append(u'"' + column.name + u'"'); // some are words of SQL
    }
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

/// Makes records of the rows of one query.
class MessageRows::Reader
{
public:
    Reader(const Sqlite3Cursor &query, DateUnit unit)
        : cursor(query)
        , records(query, messageTable(), {}, unit)
        , extras(query)
        , rowid(query.columnIndex(u"rowid"_s))
        , date(unit == DateUnit::EachItsOwn ? query.columnIndex(u"date"_s) : -1)
    {
    }

    qint64 key() const { return cursor.getInt64(rowid); }

    std::unique_ptr<_MsgMessage> read()
    {
        std::unique_ptr<_MsgMessage> record = records.read(cursor);
        record->src_rowid = record->rowid;
        record->extras = extras.read(cursor);
        if (date >= 0)
            record->date_nanoseconds = nanosecondsOf(cursor.getInt64(date));
        return record;
    }

private:
    const Sqlite3Cursor &cursor;
    RecordReader<_MsgMessage> records;
    ExtrasReader extras;
    int rowid;
    int date; ///< where it counts nanoseconds; else -1
};

QStringList MessageRows::columnsOf(const QSet<QString> &existing)
{
    QStringList columns;
    addExisting(columns, existing, messageTable());
    addExisting(columns, existing, extrasTable());
    return columns;
}

_MsgMessage &MessageRows::linkedMessage(Reader &reader)
{
    _MsgMessage *&message = store.messages[reader.key()];
    if (!message) {
        message = reader.read().release();
        complete(*message);
    }
    link(store, *message);
    return *message;
}

bool MessageRows::read(Sqlite3Cursor cursor)
{
    bool areAllPlaced = true;
    Reader reader(cursor, DateUnit::Seconds);
    const int chatColumn = cursor.columnIndex(u"chat_id"_s);
    while (cursor.moveNextThrow()) {
        _MsgMessage &message = linkedMessage(reader);
        enter(message, store.chats.value(cursor.getInt64(chatColumn)));
        areAllPlaced = areAllPlaced && message.chat;
    }
    return areAllPlaced;
}

void MessageRows::readPlaced(Sqlite3Cursor cursor, const std::vector<Place> &places, _MsgChat *elsewhere)
{
    Reader reader(cursor, DateUnit::EachItsOwn);
    const int typeColumn = cursor.columnIndex(u"associated_message_type"_s);
    auto place = places.begin();
    while (cursor.moveNextThrow()) {
        const qint64 key = reader.key();
        while (place != places.end() && place->message < key)
            ++place;
        const auto first = place;
        while (place != places.end() && place->message == key)
            ++place;
        const Place other{key, elsewhere ? elsewhere->rowid : 0};
        const std::span<const Place> here =
            first == place ? std::span(&other, elsewhere ? 1 : 0) : std::span(first, place);
        if (here.empty())
            continue;
        if (isReactionType(cursor.getInt(typeColumn)) && !store.messages.contains(key)) {
            addReaction(reader.read(), here, elsewhere);
            continue;
        }
        _MsgMessage *&message = store.messages[key];
        if (!message) {
            message = reader.read().release();
            complete(*message, here.front());
            index.add(*message);
        }
        link(store, *message);
        for (const Place &at : here)
            enterPlaced(*message, store.chats.value(at.chat), at.isDeleted);
        if (!message->chat)
            enterPlaced(*message, elsewhere, here.front().isDeleted);
    }
}

void MessageRows::readUnplaced(Sqlite3Cursor cursor, _MsgChat &elsewhere)
{
    Reader reader(cursor, DateUnit::Seconds);
    while (cursor.moveNextThrow()) {
        _MsgMessage &message = linkedMessage(reader);
        enterPlaced(message, &elsewhere, message.extras && message.extras->delete_date != 0);
    }
}

void MessageRows::addReaction(std::unique_ptr<_MsgMessage> record, std::span<const Place> places,
                              _MsgChat *elsewhere)
{
    link(store, *record);
    Reaction &reaction = reactions.try_emplace(reactions.end(), record->rowid)->second;
    reaction.record = std::move(record);
    for (const Place &place : places) {
        if (_MsgChat *chat = store.chats.value(place.chat))
            reaction.chats.append(chat);
    }
    if (reaction.chats.isEmpty() && elsewhere)
        reaction.chats.append(elsewhere);
}

void MessageRows::enter(_MsgMessage &message, _MsgChat *chat)
{
    if (!chat)
        return;
    message.chat = chat;
    links.add(*chat, message);
}

void MessageRows::enterPlaced(_MsgMessage &message, _MsgChat *chat, bool isDeleted)
{
    if (!chat)
        return;
    message.chat = chat;
    links.addDated(*chat, message, isDeleted);
}

void MessageRows::complete(_MsgMessage &message)
{
    if (message.extras && !message.extras->thread_originator_guid.isEmpty())
        replies.append(&message);
}

void MessageRows::complete(_MsgMessage &message, const Place &place)
{
    complete(message);
    if (message.text.isEmpty() && !message.attributedBody.isEmpty())
        decodeText(message);
    if (message.item_type != 0)
        ownExtras(message).hasNewerEvent = true;
    if (needsPartOrder(message))
        ownExtras(message).hasPartOrder = true;
    // Without a date of its own the message's date stands in: that it was deleted must not be lost.
    if (place.isDeleted)
        ownExtras(message).delete_date =
            place.delete_date != 0 ? place.delete_date : std::max(message.date, 1);
}

void MessageRows::decodeText(_MsgMessage &message)
{
    const std::optional<TypedStreamText> decoded = textOfTypedStream(message.attributedBody);
    if (!decoded)
        ownExtras(message).isTextUndecodable = true;
    else
        message.text = decoded->text;
    if (decoded && !decoded->isCut)
        return;
    ++(decoded ? cut : undecodable);
    if (firstFault == 0)
        firstFault = message.rowid;
}

void MessageRows::finish()
{
    settleReactions();
    if (!replies.isEmpty())
        nameOriginators(completeIndex(), replies);
    links.enterAll();
    logFaults();
}

/// The index with what the store had before, or got of files whose reading keeps none.
const GuidIndex &MessageRows::completeIndex()
{
    if (index.size() != store.messages.size())
        index = GuidIndex(store);
    return index;
}

void MessageRows::settleReactions()
{
    if (reactions.empty())
        return;
    QList<ReactionRow> rows;
    rows.reserve(qsizetype(reactions.size()));
    for (const auto &[rowid, reaction] : reactions)
        rows.append(reactionRowOf(*reaction.record));
    const QList<ReactionRow> homeless = applyReactions(completeIndex(), rows);
    for (const ReactionRow &row : homeless) {
        Reaction &reaction = reactions.at(row.reaction.rowid);
        _MsgMessage *message = reaction.record.release();
        store.messages.insert(message->rowid, message);
        index.add(*message);
        for (_MsgChat *chat : std::as_const(reaction.chats)) {
            enterPlaced(*message, chat, false);
            if (chat->_last != 0)
                chat->_last = std::max(chat->_last, message->date);
        }
    }
    reactions.clear();
}

void MessageRows::logFaults() const
{
    if (undecodable > 0 || cut > 0)
        qWarning("%lld messages have a body that can't be read and %lld one that breaks off; the first is "
                 "message %lld.",
                 qlonglong(undecodable), qlonglong(cut), firstFault);
}
