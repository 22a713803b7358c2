#include "export/messagejson.h"

#include "export/contentjson.h"
#include "store/records/attachmentlist.h"
#include "store/records/extrastext.h"
#include "store/records/messagerecords.h"
#include "store/records/messagestore.h"

#include <QJsonArray>

using namespace Qt::StringLiterals;

namespace
{

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

QJsonValue dateJson(const QDateTime &date)
{
    return date.isValid() ? QJsonValue(date.toUTC().toString(Qt::ISODate)) : QJsonValue();
}

QJsonValue messageDateJson(int date)
{
    return date == 0 ? QJsonValue() : dateJson(appleDateTime(date));
}

QJsonValue textOrNull(const QString &text)
{
    return text.isEmpty() ? QJsonValue() : QJsonValue(text);
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
