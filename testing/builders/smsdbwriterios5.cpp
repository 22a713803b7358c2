#include "testing/builders/smsdbwriterios5.h"

#include "testing/builders/sampleplist.h"

#include <QFileInfo>

#include <stdexcept>

using namespace Qt::StringLiterals;

namespace
{

const auto iMessage = "iMessage"_L1;

enum SmsFlags { receivedFlags = 2, sentFlags = 3, failedFlags = 33 };
enum MadridFlags { madridReceivedFlags = 12289, madridSentFlags = 36869 };

QString attachmentGuid(const SampleMessage &message, int place)
{
    const QString &given = message.attachments.at(place).guid;
    return given.isNull() ? message.guid % u"_"_s % QString::number(place) : given;
}

std::optional<qint64> rowidOf(const SampleMessage &message)
{
    return message.rowid == 0 ? std::nullopt : std::optional(message.rowid);
}

int flagsOf(const SampleMessage &message)
{
    if (!message.is_from_me)
        return message.is_read ? receivedFlags : 0;
    return message.error == 0 ? sentFlags : failedFlags;
}

QByteArray attachmentInfo(const SampleMessage &message)
{
    if (message.attachments.isEmpty())
        return {};
    SamplePlist list = SamplePlist::array();
    for (int place = 0; place < message.attachments.size(); ++place)
        list.append(attachmentGuid(message, place));
    return list.toBinary();
}

} // namespace

SmsDbWriterIos5::SmsDbWriterIos5(const QString &path)
    : SmsDbWriter(path, IosVersion::Ios5)
    , insertSms(database.prepare(
          "INSERT INTO message(ROWID, address, date, text, flags, replace, svc_center, group_id, "
          "association_id, height, UIFlags, version, subject, country, read, is_madrid) "
          "VALUES(?,?,?,?,?,0,?,?,?,0,4,0,?,?,?,0)"))
    , insertMadrid(database.prepare(
          "INSERT INTO message(ROWID, date, text, flags, replace, group_id, association_id, height, UIFlags, "
          "version, subject, country, read, madrid_attributedBody, madrid_handle, madrid_version, "
          "madrid_guid, madrid_type, madrid_roomname, madrid_service, madrid_account, madrid_account_guid, "
          "madrid_flags, madrid_attachmentInfo, madrid_error, is_madrid, madrid_date_read, "
          "madrid_date_delivered) "
          "VALUES(?,?,?,0,0,0,0,0,0,0,?,?,?,?,?,10,?,0,?,'Madrid','p:+34600000000',"
          "'6B29FC40-CA47-1067-B31D-00DD010662DA',?,?,?,1,?,?)"))
{
}

int SmsDbWriterIos5::addChat(const SampleChat &chat)
{
    chats.append(chat.service == iMessage ? addMadridChat(chat) : addGroup(chat));
    return int(chats.size()) - 1;
}

SmsDbWriterIos5::ChatRow SmsDbWriterIos5::addGroup(const SampleChat &chat)
{
    quint32 hash = 5381;
    for (const SampleHandle &member : chat.members)
        for (const QChar sign : member.id)
            hash = hash * 33 + sign.unicode();
    database.prepare("INSERT INTO msg_group(type, newest_message, unread_count, hash) VALUES(?,0,0,?)")
        .run(chat.members.size() > 1, qint64(hash));
    ChatRow row;
    row.groupRowid = database.lastRowid();
    row.handle = chat.members.isEmpty() ? QString() : chat.members.first().id;
    SampleStatement insert =
        database.prepare("INSERT INTO group_member(group_id, address, country) VALUES(?,?,?)");
    for (const SampleHandle &member : chat.members)
        insert.run(row.groupRowid, member.uncanonicalized_id.isNull() ? member.id : member.uncanonicalized_id,
                   member.country);
    return row;
}

SmsDbWriterIos5::ChatRow SmsDbWriterIos5::addMadridChat(const SampleChat &chat)
{
    const SampleChatIdentity identity = sampleIdentity(chat, int(chats.size()));
    SamplePlist participants = SamplePlist::array();
    for (const SampleHandle &member : chat.members)
        participants.append(member.id);
    database
        .prepare(
            "INSERT INTO madrid_chat(style, state, account_id, properties, chat_identifier, service_name, "
            "guid, room_name, account_login, participants) VALUES(?,3,?,?,?,'Madrid',?,?,?,?)")
        .run(chat.isGroup ? 43 : 45, sampleAccountGuid(chat.service), chat.properties,
             identity.chat_identifier, identity.guid, identity.room_name, u"P:+34600000000"_s,
             participants.toBinary());
    ChatRow row;
    row.handle = chat.isGroup || chat.members.isEmpty() ? QString() : chat.members.first().id;
    row.room_name = identity.room_name;
    return row;
}

void SmsDbWriterIos5::addMessage(const SampleMessage &message)
{
    if (message.item_type != 0)
        throw std::runtime_error("Messages of iOS 5 have no item_type: ask for iOS 7 or 8.");
    const int chat = message.chats.isEmpty() ? -1 : message.chats.first();
    const bool isMadrid = message.service == iMessage;
    const ChatRow row = chat < 0 ? ChatRow() : chats.at(chat);
    if (isMadrid)
        writeMadrid(message, row);
    else
        writeSms(message, row);
    const qint64 rowid = database.lastRowid();
    if (chat >= 0) {
        chats[chat].newest = qMax(row.newest, rowid);
        chats[chat].unread += flagsOf(message) == 0 ? 1 : 0;
    }
    if (isMadrid)
        addMadridAttachments(rowid, message);
    else
        addPieces(rowid, message);
}

void SmsDbWriterIos5::writeSms(const SampleMessage &message, const ChatRow &chat)
{
    const QString address = message.handle.isNull() ? chat.handle : message.handle;
    const qint64 unixDate = message.date + appleEpoch;
    insertSms.run(rowidOf(message), address, unixDate, message.text, flagsOf(message), message.service_center,
                  chat.groupRowid, message.is_from_me ? unixDate : 0, message.subject, message.country,
                  message.is_read || message.is_from_me);
}

void SmsDbWriterIos5::writeMadrid(const SampleMessage &message, const ChatRow &chat)
{
    const bool isDelivered = message.is_from_me && message.error == 0;
    const qint64 read = !message.is_from_me && message.is_read ? message.date + 30 : 0;
    insertMadrid.run(rowidOf(message), message.date, message.text, message.subject, message.country,
                     message.is_read || message.is_from_me, message.attributedBody,
                     message.handle.isNull() ? chat.handle : message.handle, message.guid, chat.room_name,
                     int(message.is_from_me ? madridSentFlags : madridReceivedFlags), attachmentInfo(message),
                     message.error, message.date_read == -1 ? read : message.date_read,
                     message.date_delivered == -1 ? (isDelivered ? message.date + 2 : 0)
                                                  : message.date_delivered);
}

/// An MMS keeps its text and each file as pieces.
void SmsDbWriterIos5::addPieces(qint64 messageRowid, const SampleMessage &message)
{
    if (message.attachments.isEmpty())
        return;
    SampleStatement insert = database.prepare(
        "INSERT INTO msg_pieces(message_id, data, part_id, preview_part, content_type, height, "
        "version, flags, content_id, content_loc) VALUES(?,?,?,?,?,0,0,0,?,?)");
    int part = 0;
    insert.run(messageRowid, message.text.toUtf8(), part, -1, u"text/plain"_s, nullptr, u"text_0.txt"_s);
    for (const SampleAttachment &attachment : message.attachments) {
        ++part;
        const QString name = QFileInfo(attachment.filename).fileName();
        insert.run(messageRowid, nullptr, part, part, attachment.mime_type,
                   u"<"_s % QString::number(part) % u">"_s, name);
    }
}

void SmsDbWriterIos5::addMadridAttachments(qint64 messageRowid, const SampleMessage &message)
{
    for (int place = 0; place < message.attachments.size(); ++place) {
        const SampleAttachment &attachment = message.attachments.at(place);
        database
            .prepare(
                "INSERT INTO madrid_attachment(attachment_guid, created_date, start_date, filename, "
                "uti_type, mime_type, transfer_state, is_incoming, message_id) VALUES(?,?,?,?,?,?,5,?,?)")
            .run(attachmentGuid(message, place), message.date, message.date, attachment.filename,
                 attachment.uti, attachment.mime_type, !message.is_from_me, messageRowid);
    }
}

void SmsDbWriterIos5::settle()
{
    SampleStatement update =
        database.prepare("UPDATE msg_group SET newest_message=?, unread_count=? WHERE ROWID=?");
    for (const ChatRow &chat : std::as_const(chats))
        if (chat.groupRowid != 0)
            update.run(chat.newest, chat.unread, chat.groupRowid);
    SampleStatement insert = database.prepare("INSERT INTO _SqliteDatabaseProperties VALUES(?,?)");
    insert.run(u"_ClientVersion"_s, u"21"_s);
    insert.run(u"_UniqueIdentifier"_s, u"3E1F1C2B-7C4D-4E6A-9B8F-5A0D2C3B4E5F"_s);
    insert.run(u"__CPRecordCount"_s, u"0"_s);
}
