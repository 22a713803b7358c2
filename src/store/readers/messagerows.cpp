#include "store/readers/messagerows.h"

#include "store/archives/typedstream.h"
#include "store/readers/recordreader.h"
#include "store/records/extrasfields.h"
#include "store/records/messageparts.h"
#include "store/records/reactions.h"
#include "store/records/replies.h"

#include <QDebug>

#include <algorithm>
#include <array>

using namespace Qt::StringLiterals;

namespace
{

using MessageField = RecordField<_MsgMessage>;

constexpr RecordDate<_MsgMessage> date(int _MsgMessage::*member)
{
    return {member};
}

constexpr std::array messageFields = {
    MessageField{"rowid"_L1, &_MsgMessage::rowid},
    MessageField{"guid"_L1, &_MsgMessage::guid},
    MessageField{"text"_L1, &_MsgMessage::text},
    MessageField{"replace"_L1, &_MsgMessage::replace},
    MessageField{"service_center"_L1, repeatingText(&_MsgMessage::service_center)},
    MessageField{"handle_id"_L1, &_MsgMessage::handle_id},
    MessageField{"subject"_L1, &_MsgMessage::subject},
    MessageField{"country"_L1, repeatingText(&_MsgMessage::country)},
    MessageField{"attributedBody"_L1, &_MsgMessage::attributedBody},
    MessageField{"version"_L1, &_MsgMessage::version},
    MessageField{"type"_L1, &_MsgMessage::type},
    MessageField{"service"_L1, repeatingText(&_MsgMessage::service)},
    MessageField{"account"_L1, repeatingText(&_MsgMessage::account)},
    MessageField{"account_guid"_L1, repeatingText(&_MsgMessage::account_guid)},
    MessageField{"error"_L1, &_MsgMessage::error},
    MessageField{"date"_L1, date(&_MsgMessage::date)},
    MessageField{"date_read"_L1, date(&_MsgMessage::date_read)},
    MessageField{"date_delivered"_L1, date(&_MsgMessage::date_delivered)},
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
    MessageField{"cache_roomnames"_L1, repeatingText(&_MsgMessage::cache_roomnames)},
    MessageField{"was_data_detected"_L1, &_MsgMessage::was_data_detected},
    MessageField{"was_deduplicated"_L1, &_MsgMessage::was_deduplicated},
    MessageField{"is_audio_message"_L1, &_MsgMessage::is_audio_message},
    MessageField{"is_played"_L1, &_MsgMessage::is_played},
    MessageField{"date_played"_L1, date(&_MsgMessage::date_played)},
    MessageField{"item_type"_L1, &_MsgMessage::item_type},
    MessageField{"other_handle"_L1, &_MsgMessage::other_handle},
    MessageField{"group_title"_L1, repeatingText(&_MsgMessage::group_title)},
    MessageField{"group_action_type"_L1, &_MsgMessage::group_action_type},
    MessageField{"share_status"_L1, &_MsgMessage::share_status},
    MessageField{"share_direction"_L1, &_MsgMessage::share_direction},
    MessageField{"is_expirable"_L1, &_MsgMessage::is_expirable},
    MessageField{"expire_state"_L1, &_MsgMessage::expire_state},
    MessageField{"message_action_type"_L1, &_MsgMessage::message_action_type},
};

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

MessageExtras &ownExtras(_MsgMessage &message)
{
    if (!message.extras)
        message.extras = new MessageExtras;
    return *message.extras;
}

} // namespace

/// Makes records of the rows of one query.
class MessageRows::Reader
{
public:
    Reader(const Sqlite3Cursor &query, DateUnit unit)
        : cursor(query)
        , records(query, messageFields, {}, unit)
        , extras(query)
        , rowid(query.columnIndex(u"rowid"_s))
    {
    }

    qint64 key() const { return cursor.getInt64(rowid); }

    std::unique_ptr<_MsgMessage> read()
    {
        std::unique_ptr<_MsgMessage> record = records.read(cursor);
        record->src_rowid = record->rowid;
        record->extras = extras.read(cursor);
        return record;
    }

private:
    const Sqlite3Cursor &cursor;
    RecordReader<_MsgMessage> records;
    ExtrasReader extras;
    int rowid;
};

QStringList MessageRows::columnsOf(const QSet<QString> &existing)
{
    QStringList columns;
    const auto add = [&](const QString &column) {
        if (existing.contains(column.toLower()))
            columns.append(u'"' + column + u'"'); // some are words of SQL
    };
    for (const MessageField &field : messageFields)
        add(field.column);
    for (const ExtrasField &field : extrasFields())
        add(field.column);
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
