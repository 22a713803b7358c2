#include "testing/builders/smsdbwriterios6.h"

#include <QFileInfo>

#include <stdexcept>

using namespace Qt::StringLiterals;

namespace
{

/// Accounts as a phone names them: one for each service, the same in every row.
QString accountIos6(const QString &service)
{
    return service == "iMessage"_L1 ? u"p:+34600000000"_s : u"e:"_s;
}

} // namespace

SmsDbWriterIos6::SmsDbWriterIos6(const QString &path, IosVersion generation)
    : SmsDbWriterSince6(path, generation)
    , insertMessage(database.prepare(
          "INSERT INTO message(ROWID, guid, text, service_center, handle_id, subject, country, "
          "attributedBody, version, service, account, account_guid, error, date, date_read, date_delivered, "
          "is_delivered, is_finished, is_from_me, is_read, is_sent, cache_has_attachments, "
          "cache_roomnames, was_data_detected) VALUES(?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?)"))
    , insertChatMessage(database.prepare("INSERT INTO chat_message_join(chat_id, message_id) VALUES(?,?)"))
{
}

int SmsDbWriterIos6::addChat(const SampleChat &chat)
{
    const SampleChatIdentity identity = sampleIdentity(chat, int(chats.size()));
    database
        .prepare(
            "INSERT INTO chat(guid, style, state, account_id, properties, chat_identifier, service_name, "
            "room_name, account_login, is_archived, last_addressed_handle) VALUES(?,?,?,?,?,?,?,?,?,?,?)")
        .run(identity.guid, chat.isGroup ? groupStyle : directStyle, 3, sampleAccountGuid(chat.service),
             chat.properties, identity.chat_identifier, chat.service, identity.room_name,
             accountIos6(chat.service).toUpper(), chat.is_archived, chat.last_addressed_handle);
    const qint64 rowid = database.lastRowid();
    if (version >= IosVersion::Ios7)
        database.prepare("UPDATE chat SET display_name=? WHERE ROWID=?").run(chat.display_name, rowid);
    if (version >= IosVersion::Ios8)
        database.prepare("UPDATE chat SET group_id=?, is_filtered=0, successful_query=1 WHERE ROWID=?")
            .run(chat.group_id, rowid);
    SampleStatement join = database.prepare("INSERT OR IGNORE INTO chat_handle_join VALUES(?,?)");
    for (const SampleHandle &member : chat.members)
        join.run(rowid, handleRowid(member, chat.service));
    chats.append({rowid, chat.service, identity.room_name});
    return int(chats.size()) - 1;
}

void SmsDbWriterIos6::addMessage(const SampleMessage &message)
{
    checkEvent(message);
    writeRow(message);
    const qint64 rowid = database.lastRowid();
    if (version >= IosVersion::Ios7 && (message.item_type != 0 || message.is_audio_message))
        writeLaterColumns(rowid, message);
    for (const int chat : message.chats)
        insertChatMessage.run(chats.at(chat).rowid, rowid);
    int place = 0;
    for (const SampleAttachment &attachment : message.attachments)
        addAttachment(rowid, message, attachment, place++);
    ++(message.is_from_me ? sentCount : receivedCount);
}

void SmsDbWriterIos6::checkEvent(const SampleMessage &message) const
{
    if (version < IosVersion::Ios7 && message.item_type != 0)
        throw std::runtime_error("Messages of iOS 6 have no item_type: ask for iOS 7 or 8.");
}

void SmsDbWriterIos6::writeRow(const SampleMessage &message)
{
    const bool isIMessage = message.service == iMessage;
    const bool isReadHere = message.is_read && !message.is_from_me;
    const bool isDelivered = message.is_from_me && isIMessage && message.error == 0;
    const auto rowid = message.rowid == 0 ? std::nullopt : std::optional(message.rowid);
    insertMessage.run(rowid, message.guid, message.text, message.service_center,
                      handleRowid({message.handle, message.country}, message.service), message.subject,
                      message.country, message.attributedBody, messageVersion, message.service,
                      accountIos6(message.service), sampleAccountGuid(message.service), message.error,
                      message.date,
                      orDefault(message.date_read, isReadHere && isIMessage ? message.date + 30 : 0),
                      orDefault(message.date_delivered, isDelivered ? message.date + 2 : 0), isDelivered,
                      true, message.is_from_me, isReadHere, message.is_from_me && message.error == 0,
                      !message.attachments.isEmpty(), roomNames(message), !message.is_from_me);
}

/// The columns of iOS 7 and 8 differ from their defaults in few rows only.
void SmsDbWriterIos6::writeLaterColumns(qint64 rowid, const SampleMessage &message)
{
    if (!updateLaterColumns)
        updateLaterColumns.emplace(database.prepare(
            "UPDATE message SET is_audio_message=?, is_played=?, date_played=?, item_type=?, other_handle=?, "
            "group_title=?, group_action_type=?, share_status=?, share_direction=? WHERE ROWID=?"));
    const bool hasOther = !message.otherHandle.isNull();
    const qint64 other = hasOther ? handleRowid({message.otherHandle, message.country}, message.service) : -1;
    updateLaterColumns->run(message.is_audio_message, message.is_audio_message,
                            message.is_audio_message ? message.date + 60 : 0, message.item_type, other,
                            message.group_title, message.group_action_type, message.share_status,
                            message.share_direction, rowid);
}

void SmsDbWriterIos6::addAttachment(qint64 messageRowid, const SampleMessage &message,
                                    const SampleAttachment &attachment, int place)
{
    constexpr int transferComplete = 5;
    const QString guid = attachment.guid.isNull() ? u"at_"_s % QString::number(place) % u"_"_s % message.guid
                                                  : attachment.guid;
    const QString name = attachment.transfer_name.isNull() ? QFileInfo(attachment.filename).fileName()
                                                           : attachment.transfer_name;
    database
        .prepare("INSERT INTO attachment(guid, created_date, start_date, filename, uti, mime_type, "
                 "transfer_state, is_outgoing, transfer_name, total_bytes) VALUES(?,?,?,?,?,?,?,?,?,?)")
        .run(guid, message.date, message.date, attachment.filename, attachment.uti, attachment.mime_type,
             transferComplete, message.is_from_me, name, attachment.total_bytes);
    const qint64 rowid = database.lastRowid();
    database.prepare("INSERT INTO message_attachment_join VALUES(?,?)").run(messageRowid, rowid);
}

void SmsDbWriterIos6::settle()
{
    SampleStatement insert = database.prepare("INSERT INTO _SqliteDatabaseProperties VALUES(?,?)");
    insert.run(u"_ClientVersion"_s, QString::number(version == IosVersion::Ios6 ? 36 : 45));
    insert.run(u"_UniqueIdentifier"_s, u"3E1F1C2B-7C4D-4E6A-9B8F-5A0D2C3B4E5F"_s);
    insert.run(u"counter_in_all"_s, QString::number(receivedCount));
    insert.run(u"counter_out_all"_s, QString::number(sentCount));
    insert.run(u"counter_in_lifetime"_s, QString::number(receivedCount));
    insert.run(u"counter_out_lifetime"_s, QString::number(sentCount));
    insert.run(u"counter_last_reset"_s, u"0"_s);
}
