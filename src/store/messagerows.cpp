#include "messagerows.h"

#include "extrasfields.h"
#include "reactions.h"
#include "recordreader.h"
#include "replies.h"
#include "typedstream.h"

#include <QDebug>

#include <algorithm>
#include <array>

using namespace Qt::StringLiterals;

namespace
{

using MessageField = RecordField<_MsgMessage>;

constexpr RepeatingText<_MsgMessage> repeating(QString _MsgMessage::*member)
{
    return {member};
}

constexpr RecordDate<_MsgMessage> date(int _MsgMessage::*member)
{
    return {member};
}

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
    MessageField{"cache_roomnames"_L1, repeating(&_MsgMessage::cache_roomnames)},
    MessageField{"was_data_detected"_L1, &_MsgMessage::was_data_detected},
    MessageField{"was_deduplicated"_L1, &_MsgMessage::was_deduplicated},
    MessageField{"is_audio_message"_L1, &_MsgMessage::is_audio_message},
    MessageField{"is_played"_L1, &_MsgMessage::is_played},
    MessageField{"date_played"_L1, date(&_MsgMessage::date_played)},
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

void MessageRows::read(Sqlite3Cursor cursor, Place place)
{
    const DateUnit unit = phone == Phone::Modern ? DateUnit::EachItsOwn : DateUnit::Seconds;
    RecordReader<_MsgMessage> reader(cursor, messageFields, {}, unit);
    const ExtrasReader extrasReader(cursor);
    const int rowid = cursor.columnIndex(u"rowid"_s);
    const int chatColumn = cursor.columnIndex(u"chat_id"_s);
    const int typeColumn = phone == Phone::Modern ? cursor.columnIndex(u"associated_message_type"_s) : -1;
    const auto readRecord = [&](qint64 key) {
        std::unique_ptr<_MsgMessage> record = reader.read(cursor);
        record->src_rowid = key;
        record->extras = extrasReader.read(cursor);
        return record;
    };
    while (cursor.moveNextThrow()) {
        const qint64 key = cursor.getInt64(rowid);
        _MsgChat *chat = store.chats.value(cursor.getInt64(chatColumn));
        if (isReactionType(cursor.getInt(typeColumn)) && !store.messages.contains(key)) {
            addReaction(readRecord(key), chat);
            continue;
        }
        _MsgMessage *&message = store.messages[key];
        if (!message) {
            message = readRecord(key).release();
            complete(*message, place);
        }
        link(store, *message);
        enter(*message, chat);
    }
}

void MessageRows::addReaction(std::unique_ptr<_MsgMessage> record, _MsgChat *chat)
{
    link(store, *record);
    Reaction &reaction = reactions[record->rowid];
    if (!reaction.record)
        reaction.record = std::move(record);
    if (chat)
        reaction.chats.append(chat);
}

void MessageRows::enter(_MsgMessage &message, _MsgChat *chat)
{
    if (!chat)
        return;
    message.chat = chat;
    links.add(*chat, message);
    if (phone == Phone::Modern && chat->_last == 0) {
        int &last = newest[chat];
        last = std::max(last, message.date);
    }
}

void MessageRows::complete(_MsgMessage &message, Place place)
{
    if (message.extras && !message.extras->thread_originator_guid.isEmpty())
        replies.append(&message);
    if (phone == Phone::Older)
        return;
    if (message.text.isEmpty() && !message.attributedBody.isEmpty())
        decodeText(message);
    if (message.item_type != 0)
        ownExtras(message).hasNewerEvent = true;
    // Without a date of its own the message's date stands in: that it was deleted must not be lost.
    if (place == Place::RecentlyDeleted && ownExtras(message).delete_date == 0)
        message.extras->delete_date = std::max(message.date, 1);
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
    nameOriginators(store, replies);
    for (auto it = newest.cbegin(); it != newest.cend(); ++it)
        it.key()->_last = std::max(it.key()->_last, it.value());
    links.enterAll();
    logFaults();
}

void MessageRows::settleReactions()
{
    QList<ReactionRow> rows;
    for (const auto &[rowid, reaction] : reactions)
        rows.append(reactionRowOf(*reaction.record));
    const QList<ReactionRow> homeless = applyReactions(store, rows);
    for (const ReactionRow &row : homeless) {
        Reaction &reaction = reactions.at(row.reaction.rowid);
        _MsgMessage *message = reaction.record.release();
        store.messages.insert(message->rowid, message);
        for (_MsgChat *chat : std::as_const(reaction.chats)) {
            enter(*message, chat);
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
