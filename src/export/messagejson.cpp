#include "export/messagejson.h"

#include "export/contentjson.h"
#include "export/messagerecord.h"
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

QJsonObject partStateJson(const MessageEdit &edit)
{
    return {{u"part"_s, edit.part}, {u"date"_s, messageDateJson(edit.date)}, {u"text"_s, edit.text}};
}

QJsonArray editsJson(const MessageExtras &extras)
{
    QJsonArray edits;
    for (const MessageEdit &edit : extras.edits)
        edits.append(partStateJson(edit));
    return edits;
}

QJsonArray deletedPartsJson(const MessageExtras &extras)
{
    QJsonArray parts;
    for (const MessageEdit &part : extras.deletedParts)
        parts.append(partStateJson(part));
    return parts;
}

/// Without the paths of this computer, which mean nothing to whoever is given the lines.
QJsonValue withoutLocalFiles(const QJsonValue &value)
{
    if (value.isArray()) {
        QJsonArray list;
        for (const QJsonValue &entry : value.toArray())
            list.append(withoutLocalFiles(entry));
        return list;
    }
    if (!value.isObject())
        return value;
    QJsonObject object = value.toObject();
    object.remove(u"localFile"_s);
    for (auto it = object.begin(); it != object.end(); ++it)
        *it = withoutLocalFiles(*it);
    return object;
}

/// `list` with what is known of the files, entry by entry.
QJsonArray withFiles(QJsonArray list, const QList<RecordAttachment> &attachments)
{
    for (qsizetype i = 0; i < list.size(); ++i) {
        QJsonObject object = list.at(i).toObject();
        object.insert(u"name"_s, attachments.at(i).name);
        object.insert(u"sha256"_s, textOrNull(attachments.at(i).sha256));
        object.insert(u"reason"_s, textOrNull(attachments.at(i).missingReason));
        list.replace(i, object);
    }
    return list;
}

QJsonObject personJson(const RecordPerson &person)
{
    return {{u"name"_s, textOrNull(person.name)}, {u"address"_s, textOrNull(person.address)}};
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
    object.insert(u"deleted_parts"_s, deletedPartsJson(extras));
    object.insert(u"to_be_sent_later"_s, isToBeSentLater(extras));
    object.insert(u"junk"_s, isJunk(message));
    object.insert(u"off_grid"_s, extras.sent_or_received_off_grid != 0);
}

/// With nine digits of the second; null where the source counts whole ones.
QJsonValue exactDateJson(const _MsgMessage &message)
{
    if (message.date == 0 || message.date_nanoseconds == 0)
        return {};
    return QString(appleDateTime(message.date).toUTC().toString(u"yyyy-MM-ddTHH:mm:ss"_s) +
                   u".%1Z"_s.arg(message.date_nanoseconds, 9, 10, QChar(u'0')));
}

QLatin1StringView gradeName(FindGrade grade)
{
    switch (grade) {
    case FindGrade::Whole: return "whole"_L1;
    case FindGrade::Partial: return "partial"_L1;
    case FindGrade::Text: return "text"_L1;
    }
    return {};
}

QLatin1StringView methodName(FindMethod method)
{
    switch (method) {
    case FindMethod::EarlierState: return "earlier state"_L1;
    case FindMethod::FreedPage: return "freed page"_L1;
    case FindMethod::Gap: return "gap"_L1;
    case FindMethod::Freeblock: return "freeblock"_L1;
    }
    return {};
}

/// What only the other search found has no proof: its place and how sure it is are null.
QJsonValue recoveryJson(const _MsgMessage &message)
{
    if (!message.isRecovered)
        return false;
    QJsonObject recovery{{u"grade"_s, QJsonValue()},
                         {u"method"_s, QJsonValue()},
                         {u"page"_s, QJsonValue()},
                         {u"offset"_s, QJsonValue()}};
    if (const RecoveryTrace *trace = message.recovery.get())
        recovery = {{u"grade"_s, gradeName(trace->grade)},
                    {u"method"_s, methodName(trace->method)},
                    {u"page"_s, trace->page},
                    {u"offset"_s, trace->offset}};
    return recovery;
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
                       {u"recovered"_s, recoveryJson(message)},
                       {u"own_address"_s, textOrNull(ownAddress(message))},
                       {u"date_exact"_s, exactDateJson(message)},
                       {u"date_delivered"_s, messageDateJson(message.date_delivered)},
                       {u"date_read"_s, messageDateJson(message.date_read)},
                       {u"date_played"_s, messageDateJson(message.date_played)},
                       {u"not_delivered"_s, isNotDelivered(message)},
                       {u"attachments"_s, attachmentsJson(message.attachments)},
                       {u"translations"_s, translationsJson(message)}};
    const QJsonValue content = contentJson(message);
    object.insert(u"content"_s, content);
    object.insert(u"parts"_s, partsJson(message, content));
    addExtras(object, message);
    return object;
}

QJsonObject withRecord(QJsonObject object, const MessageRecord &record)
{
    QJsonArray others;
    for (const RecordPerson &person : record.others)
        others.append(personJson(person));
    QJsonArray reactions = object.value(u"reactions"_s).toArray();
    for (qsizetype i = 0; i < reactions.size(); ++i) {
        QJsonObject reaction = reactions.at(i).toObject();
        const RecordReaction &told = record.reactions.at(i);
        reaction.insert(u"person"_s, personJson(told.who));
        reaction.insert(u"attachments"_s,
                        withFiles(reaction.value(u"attachments"_s).toArray(), told.attachments));
        reactions.replace(i, reaction);
    }
    object.insert(u"reactions"_s, reactions);
    object.insert(u"attachments"_s, withFiles(object.value(u"attachments"_s).toArray(), record.attachments));
    object.insert(u"date_local"_s, textOrNull(isoText(record.date)));
    object.insert(u"conversation"_s, textOrNull(record.conversation));
    object.insert(u"person"_s, personJson(record.sender));
    object.insert(u"others"_s, others);
    object.insert(u"answered"_s, textOrNull(record.answeredWords));
    object.insert(u"date_edited"_s, dateJson(record.dateEdited));
    object.insert(u"date_unsent"_s, dateJson(record.dateUnsent));
    return withoutLocalFiles(object).toObject();
}

QJsonObject attachmentPartJson(const _MsgAttachment &attachment)
{
    return {{u"filename"_s, attachment.filename},
            {u"mime_type"_s, attachment.mime_type},
            {u"total_bytes"_s, attachment.total_bytes},
            {u"localFile"_s, textOrNull(attachment.localFile.readyPath())}};
}
