#include "testing/builders/smsdbwritermodern.h"

#include "testing/builders/samplebody.h"

#include <QFileInfo>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace
{

const auto ownAddress = "+34600000000"_L1;

QString accountOf(const QString &service)
{
    return service == "iMessage"_L1 ? QString(u"P:"_s + ownAddress) : u"E:"_s;
}

/// `date` in nanoseconds, with a fraction of a second that differs from row to row.
qint64 stamp(qint64 date, qint64 rowid, const SampleMessage &message)
{
    constexpr qint64 second = 1'000'000'000;
    constexpr qint64 step = 376'543'211;
    if (date == 0 || message.extras.hasDatesInSeconds)
        return date;
    return date * second + rowid * step % second;
}

bool hasEventColumns(const SampleMessage &message)
{
    return message.item_type != 0 || message.is_audio_message;
}

bool hasExtras(const SampleExtras &extras)
{
    return extras.associated_message_type != 0 || !extras.balloon_bundle_id.isNull() ||
           !extras.expressive_send_style_id.isNull() || !extras.payload_data.isNull();
}

bool hasLaterExtras(const SampleExtras &extras)
{
    return !extras.thread_originator_guid.isNull() || !extras.reply_to_guid.isNull() ||
           extras.date_edited != 0 || extras.date_retracted != 0 || !extras.edits.isEmpty() ||
           !extras.retractedParts.isEmpty() || !extras.message_summary_info.isNull();
}

struct TextAndBody {
    QString text;
    QByteArray body;
};

/// Since iOS 16 most rows have their text in the body alone.
TextAndBody written(const SampleMessage &message, IosVersion version)
{
    using Text = SampleExtras::Text;
    Text place = message.extras.textIn;
    if (place == Text::AsUsual)
        place = version >= IosVersion::Ios16 ? Text::Body : Text::Both;
    QByteArray body = message.attributedBody;
    if (body.isNull() && place != Text::Column && !message.text.isEmpty())
        body = sampleBody(message);
    return {place == Text::Body && !body.isNull() ? QString() : message.text, body};
}

QByteArray insertionOfMessage(IosVersion version)
{
    const bool countsParts = version >= IosVersion::Ios16;
    return QByteArray("INSERT INTO message(ROWID, guid, text, service_center, handle_id, subject, country, "
                      "attributedBody, version, service, account, account_guid, error, date, date_read, "
                      "date_delivered, is_delivered, is_finished, is_from_me, is_read, is_sent, "
                      "cache_has_attachments, cache_roomnames, was_data_detected, destination_caller_id, "
                      "ck_sync_state") +
           (countsParts ? ", part_count" : "") +
           ") VALUES(?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,1,?,?,?,?,?,?,?,1" + (countsParts ? ",1)" : ")");
}

} // namespace

SmsDbWriterModern::SmsDbWriterModern(const QString &path, IosVersion generation)
    : SmsDbWriterSince6(path, generation)
    , insertMessage(database.prepare(insertionOfMessage(generation).constData()))
    , insertChatMessage(
          database.prepare("INSERT INTO chat_message_join(chat_id, message_id, message_date) VALUES(?,?,?)"))
    , updateEvent(database.prepare(
          "UPDATE message SET is_audio_message=?, is_played=?, date_played=?, item_type=?, other_handle=?, "
          "group_title=?, group_action_type=?, share_status=?, share_direction=? WHERE ROWID=?"))
    , updateExtras(
          database.prepare("UPDATE message SET associated_message_guid=?, associated_message_type=?, "
                           "associated_message_range_length=?, balloon_bundle_id=?, payload_data=?, "
                           "expressive_send_style_id=? WHERE ROWID=?"))
    , insertAttachment(database.prepare(
          "INSERT INTO attachment(guid, created_date, start_date, filename, uti, mime_type, transfer_state, "
          "is_outgoing, transfer_name, total_bytes, is_sticker, hide_attachment, original_guid) "
          "VALUES(?,?,?,?,?,?,?,?,?,?,?,?,?)"))
    , joinAttachment(database.prepare("INSERT INTO message_attachment_join VALUES(?,?)"))
{
    if (version >= IosVersion::Ios16)
        updateIos16.emplace(database.prepare(
            "UPDATE message SET thread_originator_guid=?, thread_originator_part=?, reply_to_guid=?, "
            "date_edited=?, date_retracted=?, message_summary_info=?, part_count=? WHERE ROWID=?"));
    if (version >= IosVersion::Ios18)
        updateIos18.emplace(database.prepare("UPDATE message SET associated_message_emoji=?, "
                                             "schedule_type=?, schedule_state=? WHERE ROWID=?"));
}

/// Since iOS 26 the guid of a chat with one partner doesn't tell the service.
QString SmsDbWriterModern::guidOf(const SampleChat &chat, const SampleChatIdentity &identity)
{
    QString guid = identity.guid;
    const QString anyService = u"any;-;"_s + identity.chat_identifier;
    if (version >= IosVersion::Ios26 && chat.guid.isNull() && !chat.isGroup &&
        !chatGuids.contains(anyService))
        guid = anyService;
    chatGuids.insert(guid);
    return guid;
}

int SmsDbWriterModern::addChat(const SampleChat &chat)
{
    const SampleChatIdentity identity = sampleIdentity(chat, int(chats.size()));
    database
        .prepare("INSERT INTO chat(guid, style, state, account_id, properties, chat_identifier, "
                 "service_name, room_name, account_login, is_archived, last_addressed_handle, display_name, "
                 "group_id, is_filtered, successful_query, original_group_id) "
                 "VALUES(?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?)")
        .run(guidOf(chat, identity), chat.isGroup ? groupStyle : directStyle, 3,
             sampleAccountGuid(chat.service), chat.properties, identity.chat_identifier, chat.service,
             identity.room_name, accountOf(chat.service), chat.is_archived, chat.last_addressed_handle,
             chat.display_name, chat.group_id, chat.is_filtered, true, chat.group_id);
    const qint64 rowid = database.lastRowid();
    SampleStatement join = database.prepare("INSERT OR IGNORE INTO chat_handle_join VALUES(?,?)");
    for (const SampleHandle &member : chat.members)
        join.run(rowid, handleRowid(member, chat.service));
    if (version >= IosVersion::Ios18)
        writeLookup(rowid, chat, identity.chat_identifier);
    chats.append({rowid, chat.service, identity.room_name});
    return int(chats.size()) - 1;
}

void SmsDbWriterModern::writeLookup(qint64 chat, const SampleChat &told, const QString &identifier)
{
    database.prepare("INSERT INTO chat_lookup(identifier, domain, chat) VALUES(?,?,?)")
        .run(identifier, told.service, chat);
    database.prepare("INSERT INTO chat_service(service, chat) VALUES(?,?)").run(told.service, chat);
}

void SmsDbWriterModern::addMessage(const SampleMessage &message)
{
    const qint64 rowid = message.rowid == 0 ? highestRowid + 1 : message.rowid;
    highestRowid = std::max(highestRowid, rowid);
    if (message.extras.isErased)
        return erase(rowid, message);
    writeRow(rowid, message);
    if (hasEventColumns(message))
        writeEvent(rowid, message);
    if (hasExtras(message.extras))
        writeExtras(rowid, message);
    if (version >= IosVersion::Ios16)
        writeLaterExtras(rowid, message);
    writeJoins(rowid, message);
    for (int place = 0; place < message.attachments.size(); ++place)
        writeAttachment(rowid, message, place);
}

/// What a phone keeps of a message that was deleted for good.
void SmsDbWriterModern::erase(qint64 rowid, const SampleMessage &message)
{
    hasErased = true;
    database.prepare("INSERT INTO deleted_messages(guid) VALUES(?)").run(message.guid);
    database.prepare("INSERT INTO sync_deleted_messages(guid, recordID) VALUES(?,?)")
        .run(message.guid, QString::number(rowid, 16).rightJustified(64, u'0'));
}

/// Handles need a service, messages don't.
QString SmsDbWriterModern::serviceOfHandle(const SampleMessage &message) const
{
    if (!message.service.isNull())
        return message.service;
    return message.chats.isEmpty() ? u"SMS"_s : chats.at(message.chats.first()).service;
}

void SmsDbWriterModern::writeRow(qint64 rowid, const SampleMessage &message)
{
    const bool isIMessage = message.service == iMessage;
    const bool isReadHere = message.is_read && !message.is_from_me;
    const bool isDelivered = message.is_from_me && isIMessage && message.error == 0;
    const qint64 read = orDefault(message.date_read, isReadHere ? message.date + 30 : 0);
    const qint64 delivered = orDefault(message.date_delivered, isDelivered ? message.date + 2 : 0);
    const TextAndBody content = written(message, version);
    insertMessage.run(rowid, message.guid, content.text, message.service_center,
                      handleRowid({message.handle, message.country}, serviceOfHandle(message)),
                      message.subject, message.country, content.body, messageVersion, message.service,
                      accountOf(message.service), sampleAccountGuid(message.service), message.error,
                      stamp(message.date, rowid, message), stamp(read, rowid, message),
                      stamp(delivered, rowid, message), isDelivered, message.is_from_me, isReadHere,
                      message.is_from_me && message.error == 0, !message.attachments.isEmpty(),
                      roomNames(message), !message.is_from_me, ownAddress);
}

void SmsDbWriterModern::writeEvent(qint64 rowid, const SampleMessage &message)
{
    const bool hasOther = !message.otherHandle.isNull();
    const qint64 other =
        hasOther ? handleRowid({message.otherHandle, message.country}, serviceOfHandle(message)) : 0;
    const bool isAudio = message.is_audio_message;
    updateEvent.run(isAudio, isAudio, stamp(isAudio ? message.date + 60 : 0, rowid, message),
                    message.item_type, other, message.group_title, message.group_action_type,
                    message.share_status, message.share_direction, rowid);
}

void SmsDbWriterModern::writeExtras(qint64 rowid, const SampleMessage &message)
{
    const SampleExtras &extras = message.extras;
    updateExtras.run(extras.associated_message_guid, extras.associated_message_type,
                     extras.associated_message_type == 0 ? 0 : 1, extras.balloon_bundle_id,
                     extras.payload_data, extras.expressive_send_style_id, rowid);
}

void SmsDbWriterModern::writeLaterExtras(qint64 rowid, const SampleMessage &message)
{
    const SampleExtras &extras = message.extras;
    if (hasLaterExtras(extras)) {
        const QByteArray summary =
            extras.message_summary_info.isNull() ? sampleSummary(message) : extras.message_summary_info;
        updateIos16->run(extras.thread_originator_guid, extras.thread_originator_part, extras.reply_to_guid,
                         stamp(extras.date_edited, rowid, message),
                         stamp(extras.date_retracted, rowid, message), summary,
                         message.text.isEmpty() ? 0 : 1, rowid);
    }
    if (updateIos18 && (!extras.associated_message_emoji.isNull() || extras.schedule_type != 0))
        updateIos18->run(extras.associated_message_emoji, extras.schedule_type, extras.schedule_state, rowid);
}

/// A message in "Recently Deleted" has left its chat.
void SmsDbWriterModern::writeJoins(qint64 rowid, const SampleMessage &message)
{
    const SampleExtras &extras = message.extras;
    const bool keepsDeleted = version >= IosVersion::Ios16;
    for (const int number : message.chats) {
        const qint64 chat = chats.at(number).rowid;
        if (extras.delete_date != 0 && keepsDeleted)
            database
                .prepare("INSERT INTO chat_recoverable_message_join(chat_id, message_id, delete_date) "
                         "VALUES(?,?,?)")
                .run(chat, rowid, stamp(extras.delete_date, rowid, message));
        else
            insertChatMessage.run(chat, rowid, stamp(message.date, rowid, message));
        if (!keepsDeleted)
            continue;
        for (const SampleDeletedPart &part : extras.deletedParts)
            database
                .prepare("INSERT INTO recoverable_message_part(chat_id, message_id, part_index, "
                         "delete_date, part_text) VALUES(?,?,?,?,?)")
                .run(chat, rowid, part.part, stamp(part.delete_date, rowid, message),
                     sampleBody(part.text, part.part));
    }
}

void SmsDbWriterModern::writeAttachment(qint64 messageRowid, const SampleMessage &message, int place)
{
    const SampleAttachment &attachment = message.attachments.at(place);
    const QString guid = sampleAttachmentGuid(message, place);
    const QString name = attachment.transfer_name.isNull() ? QFileInfo(attachment.filename).fileName()
                                                           : attachment.transfer_name;
    insertAttachment.run(guid, message.date, message.date, attachment.filename, attachment.uti,
                         attachment.mime_type, attachment.transfer_state, message.is_from_me, name,
                         attachment.total_bytes, attachment.is_sticker, attachment.hide_attachment, guid);
    const qint64 rowid = database.lastRowid();
    if (version >= IosVersion::Ios18 && !attachment.emoji_image_short_description.isNull())
        database.prepare("UPDATE attachment SET emoji_image_short_description=? WHERE ROWID=?")
            .run(attachment.emoji_image_short_description, rowid);
    joinAttachment.run(messageRowid, rowid);
}

void SmsDbWriterModern::settle()
{
    SampleStatement insert = database.prepare("INSERT INTO _SqliteDatabaseProperties VALUES(?,?)");
    insert.run(u"_ClientVersion"_s, QString::number(14000 + int(version)));
    insert.run(u"_UniqueIdentifier"_s, u"3E1F1C2B-7C4D-4E6A-9B8F-5A0D2C3B4E5F"_s);
    insert.run(u"counter_last_reset"_s, u"0"_s);
    if (hasErased) {
        database.execute("DELETE FROM sqlite_sequence WHERE name='message'");
        database.prepare("INSERT INTO sqlite_sequence(name, seq) VALUES('message', ?)").run(highestRowid);
    }
    if (version >= IosVersion::Ios26)
        database.execute("INSERT INTO index_state(message_id) SELECT ROWID FROM message ORDER BY ROWID");
    database.execute("UPDATE chat SET last_read_message_timestamp=(SELECT max(message_date) FROM "
                     "chat_message_join WHERE chat_id=chat.ROWID)");
}
