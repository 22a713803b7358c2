#include "cli/jsonlines.h"

#include "backup/backupmanifest.h"
#include "cli/contentjson.h"
#include "store/readers/messagegaps.h"
#include "store/records/attachmentlist.h"
#include "store/records/extrastext.h"
#include "store/records/messagerecords.h"
#include "store/records/messagestore.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QSet>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>

using namespace Qt::StringLiterals;

namespace
{

[[noreturn]] void throwOutputError()
{
    throw std::runtime_error(std::string("standard output: ") + std::strerror(errno));
}

QJsonValue dateJson(const QDateTime &date)
{
    return date.isValid() ? QJsonValue(date.toUTC().toString(Qt::ISODate)) : QJsonValue();
}

/// 0 is what files hold where there is no date.
QJsonValue messageDateJson(int date)
{
    return date == 0 ? QJsonValue() : dateJson(appleDateTime(date));
}

QJsonArray participantsJson(const _MsgSession &session)
{
    QMap<QString, QString> names;
    for (const _MsgChat *chat : session.chats) {
        for (const _MsgHandle *handle : sortedHandles(*chat)) {
            QString &name = names[handle->id];
            if (name.isEmpty())
                name = handle->_ct_name;
        }
    }
    QJsonArray participants;
    for (auto it = names.cbegin(); it != names.cend(); ++it)
        participants.append(QJsonObject{{u"id"_s, it.key()}, {u"name"_s, it.value()}});
    return participants;
}

QJsonArray servicesJson(const _MsgSession &session)
{
    QStringList services;
    for (const _MsgChat *chat : session.chats)
        services.append(chat->service_name);
    services.sort();
    services.removeDuplicates();
    return QJsonArray::fromStringList(services);
}

QJsonValue textOrNull(const QString &text)
{
    return text.isEmpty() ? QJsonValue() : QJsonValue(text);
}

QJsonArray attachmentsJson(const QHash<QString, _MsgAttachment *> &attachments)
{
    QJsonArray list;
    for (const _MsgAttachment *attachment : sortedAttachments(attachments))
        list.append(attachmentPartJson(*attachment));
    return list;
}

QJsonArray reactionsJson(const MessageExtras &extras)
{
    QJsonArray reactions;
    for (const MessageReaction &reaction : extras.reactions) {
        reactions.append(QJsonObject{{u"type"_s, reactionKind(reaction.associated_message_type)},
                                     {u"emoji"_s, reaction.associated_message_emoji},
                                     {u"part"_s, reaction.part},
                                     {u"sender"_s, whoReacted(reaction)},
                                     {u"date"_s, messageDateJson(reaction.date)},
                                     {u"is_from_me"_s, reaction.is_from_me != 0},
                                     {u"attachments"_s, attachmentsJson(reaction.attachments)}});
    }
    return reactions;
}

QJsonArray editsJson(const MessageExtras &extras)
{
    QJsonArray edits;
    for (const MessageEdit &edit : extras.edits)
        edits.append(QJsonObject{
            {u"part"_s, edit.part}, {u"date"_s, messageDateJson(edit.date)}, {u"text"_s, edit.text}});
    return edits;
}

/// What newer phones keep. Every message has the keys.
void addExtras(QJsonObject &object, const _MsgMessage &message)
{
    static const MessageExtras none;
    const MessageExtras &extras = message.extras ? *message.extras : none;
    object.insert(u"reactions"_s, reactionsJson(extras));
    object.insert(u"reply_to"_s, textOrNull(extras.thread_originator_guid));
    object.insert(u"edits"_s, editsJson(extras));
    object.insert(u"unsent"_s, hasUnsentParts(extras));
    object.insert(u"effect"_s, textOrNull(effectName(extras.expressive_send_style_id)));
    object.insert(u"deleted_at"_s, messageDateJson(extras.delete_date));
}

} // namespace

void printJsonLine(const QJsonObject &object)
{
    const QByteArray line = QJsonDocument(object).toJson(QJsonDocument::Compact) + '\n';
    if (std::fwrite(line.constData(), 1, size_t(line.size()), stdout) != size_t(line.size()))
        throwOutputError();
}

void finishOutput()
{
    if (std::fflush(stdout) != 0)
        throwOutputError();
}

QJsonObject backupJson(const BackupManifest &backup)
{
    return {{u"path"_s, backup.backupDir.absolutePath()}, {u"displayName"_s, backup.displayName},
            {u"deviceName"_s, backup.deviceName},         {u"productType"_s, backup.productType},
            {u"productVersion"_s, backup.productVersion}, {u"serialNumber"_s, backup.serialNumber},
            {u"uniqueDeviceId"_s, backup.uniqueDeviceId}, {u"date"_s, dateJson(backup.backupDate)},
            {u"encrypted"_s, backup.isEncrypted}};
}

QJsonObject sessionJson(const _MsgSession &session)
{
    const _MsgChat &first = *session.chats.first();
    QSet<const _MsgMessage *> messages;
    bool group = false;
    for (const _MsgChat *chat : session.chats) {
        group |= isGroup(*chat);
        for (const _MsgMessage *message : chat->messages)
            messages.insert(message);
    }
    return {{u"chat_identifier"_s, first.chat_identifier},
            {u"title"_s, chatTitle(first, false)},
            {u"services"_s, servicesJson(session)},
            {u"participants"_s, participantsJson(session)},
            {u"last"_s, messageDateJson(session.lastDate)},
            {u"messages"_s, messages.size()},
            {u"group"_s, group}};
}

QJsonObject gapJson(const MessageGap &gap)
{
    const auto date = [](const _MsgMessage *message) {
        return message ? messageDateJson(message->date) : QJsonValue();
    };
    const auto rowid = [](const _MsgMessage *message) {
        return message ? QJsonValue(message->rowid) : QJsonValue();
    };
    const bool hasChat = gap.after && gap.before && !gap.chat_identifier.isEmpty();
    return {{u"missing"_s, gap.missing},
            {u"after"_s, date(gap.after)},
            {u"before"_s, date(gap.before)},
            {u"after_rowid"_s, rowid(gap.after)},
            {u"before_rowid"_s, rowid(gap.before)},
            {u"chat_identifier"_s, hasChat ? QJsonValue(gap.chat_identifier) : QJsonValue()}};
}

QJsonObject gapsTotalJson(const MessageGaps &gaps)
{
    return {{u"gaps"_s, gaps.list.size()},
            {u"missing"_s, gaps.missing},
            {u"recorded_deletions"_s,
             gaps.recordedDeletions ? QJsonValue(*gaps.recordedDeletions) : QJsonValue()}};
}

QJsonObject messageJson(const _MsgMessage &message, const QString &chatIdentifier, bool hasGuid,
                        EmojiStyle emoji)
{
    QJsonObject object{{u"rowid"_s, message.rowid},
                       {u"guid"_s, hasGuid ? QJsonValue(message.guid) : QJsonValue()},
                       {u"chat_identifier"_s, message.chat ? QJsonValue(chatIdentifier) : QJsonValue()},
                       {u"service"_s, message.service},
                       {u"is_from_me"_s, message.is_from_me != 0},
                       {u"date"_s, messageDateJson(message.date)},
                       {u"sender"_s, senderLabel(message)},
                       {u"handle"_s, message.handle ? QJsonValue(message.handle->id) : QJsonValue()},
                       {u"subject"_s, textOrNull(message.subject)},
                       {u"text"_s, fullText(message, emoji)},
                       {u"body"_s, message.text},
                       {u"item_type"_s, message.item_type},
                       {u"recovered"_s, message.isRecovered},
                       {u"attachments"_s, attachmentsJson(message.attachments)},
                       {u"translations"_s, translationsJson(message)}};
    const QJsonValue content = contentJson(message);
    object.insert(u"content"_s, content);
    object.insert(u"parts"_s, partsJson(message, content));
    addExtras(object, message);
    return object;
}

QJsonObject attachmentPartJson(const _MsgAttachment &attachment)
{
    return {{u"filename"_s, attachment.filename},
            {u"mime_type"_s, attachment.mime_type},
            {u"total_bytes"_s, attachment.total_bytes},
            {u"localFile"_s, textOrNull(attachment.localFile)}};
}

QJsonObject attachmentJson(const _MsgAttachment &attachment, const _MsgMessage &message, bool hasGuid)
{
    const bool isMissing = attachment.localFile.isEmpty();
    return {{u"filename"_s, attachment.filename},
            {u"transfer_name"_s, attachment.transfer_name},
            {u"mime_type"_s, attachment.mime_type},
            {u"total_bytes"_s, attachment.total_bytes},
            {u"localFile"_s, textOrNull(attachment.localFile)},
            {u"missing"_s, isMissing},
            {u"reason"_s, isMissing ? QJsonValue(missingReason(attachment)) : QJsonValue()},
            {u"sticker"_s, attachment.is_sticker != 0},
            {u"hidden"_s, attachment.hide_attachment != 0},
            {u"chat_identifier"_s, message.chat ? QJsonValue(message.chat->chat_identifier) : QJsonValue()},
            {u"guid"_s, hasGuid ? QJsonValue(message.guid) : QJsonValue()},
            {u"date"_s, messageDateJson(message.date)}};
}

QJsonObject attachmentTotalsJson(const AttachmentTotals &totals)
{
    return {{u"attachments"_s, totals.count},
            {u"bytes"_s, totals.bytes},
            {u"bytes_on_disk"_s, totals.bytesOnDisk},
            {u"missing"_s, totals.missing},
            {u"missing_bytes"_s, totals.missingBytes}};
}
