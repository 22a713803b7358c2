#include "export/messagerecord.h"

#include "app/filetools.h"
#include "store/content/contentkind.h"
#include "store/records/attachmentlist.h"
#include "store/records/contenttext.h"
#include "store/records/extrastext.h"
#include "store/records/messageparts.h"
#include "store/records/messagestore.h"
#include "store/records/richcontent.h"

#include <QCryptographicHash>
#include <QFile>
#include <QObject>

using namespace Qt::StringLiterals;

namespace
{

/// 0 is what files hold where there is no date.
QDateTime localDate(int date)
{
    if (date == 0)
        return {};
    const QDateTime local = appleDateTime(date);
    return local.toOffsetFromUtc(local.offsetFromUtc());
}

RecordPerson personOf(const _MsgHandle *handle)
{
    return handle ? RecordPerson{handle->_ct_name, handle->id} : RecordPerson();
}

QList<RecordEdit> editsOf(const QList<MessageEdit> &edits)
{
    QList<RecordEdit> list;
    for (const MessageEdit &edit : edits)
        list.append({edit.part, localDate(edit.date), edit.text});
    return list;
}

qsizetype indexOf(const QList<RecordAttachment> &attachments, const _MsgAttachment *wanted)
{
    for (qsizetype i = 0; i < attachments.size(); ++i) {
        if (attachments.at(i).source == wanted)
            return i;
    }
    return -1;
}

/// Newer phones may set the date of editing alone.
int unsentDate(const MessageExtras &extras)
{
    return extras.date_retracted != 0 ? extras.date_retracted : extras.date_edited;
}

} // namespace

MessageRecord MessageRecordMaker::record(const _MsgMessage &message)
{
    MessageRecord record;
    record.source = &message;
    record.rowid = message.rowid;
    if (!isOwnGuid || isOwnGuid(message))
        record.guid = message.guid;
    record.service = message.service;
    record.isFromMe = message.is_from_me != 0;
    record.isEvent = message.item_type != 0;
    record.isNotDelivered = isNotDelivered(message);
    record.isRecovered = message.isRecovered;
    record.ownAddress = ownAddress(message);
    record.date = localDate(message.date);
    record.dateDelivered = localDate(message.date_delivered);
    record.dateRead = localDate(message.date_read);
    record.datePlayed = localDate(message.date_played);
    addConversation(record, message);
    addBody(record, message);
    if (message.extras)
        addExtras(record, *message.extras);
    return record;
}

void MessageRecordMaker::addConversation(MessageRecord &record, const _MsgMessage &message)
{
    if (!record.isFromMe)
        record.sender = personOf(message.handle);
    if (!message.chat)
        return;
    Conversation &conversation = conversations[message.chat];
    if (conversation.title.isEmpty()) {
        conversation.title = chatTitle(*message.chat, false);
        for (const _MsgHandle *handle : sortedHandles(*message.chat))
            conversation.others.append(personOf(handle));
    }
    record.chat_identifier = message.chat->chat_identifier;
    record.conversation = conversation.title;
    record.others = conversation.others;
}

void MessageRecordMaker::addBody(MessageRecord &record, const _MsgMessage &message)
{
    record.subject = message.subject;
    record.words = renderText(message, emoji);
    record.body = message.text;
    for (const _MsgAttachment *source : sortedAttachments(message))
        record.attachments.append(attachment(*source));
    for (const MessagePart &part : messageParts(message))
        record.parts.append(
            {withEmoji(part.text, emoji), indexOf(record.attachments, part.attachment), part.isInline});
    record.besideWords = spokenAndTranslated(message);
    if (hasContent(message)) {
        record.contentKind = contentKindName(ownContent(message).kind);
        record.content = contentText(message);
    }
}

void MessageRecordMaker::addExtras(MessageRecord &record, const MessageExtras &extras)
{
    record.isToBeSentLater = isToBeSentLater(extras);
    if (!extras.expressive_send_style_id.isEmpty())
        record.effect = effectName(extras.expressive_send_style_id);
    record.replyTo = extras.thread_originator_guid;
    record.answeredWords = extras.originatorWords;
    for (const MessageReaction &source : extras.reactions)
        record.reactions.append(reaction(source));
    record.dateEdited = localDate(extras.date_edited);
    record.edits = editsOf(extras.edits);
    record.isUnsent = hasUnsentParts(extras);
    if (record.isUnsent)
        record.dateUnsent = localDate(unsentDate(extras));
    record.dateDeleted = localDate(extras.delete_date);
    record.deletedParts = editsOf(extras.deletedParts);
}

RecordReaction MessageRecordMaker::reaction(const MessageReaction &source)
{
    RecordReaction reaction;
    reaction.kind = reactionKind(source.associated_message_type);
    reaction.emoji = source.associated_message_emoji;
    reaction.part = source.part;
    reaction.isFromMe = source.is_from_me != 0;
    if (!reaction.isFromMe)
        reaction.who = personOf(source.handle);
    reaction.words = withEmoji(reactionText(source), emoji);
    reaction.date = localDate(source.date);
    for (const _MsgAttachment *picture : sortedAttachments(source.attachments))
        reaction.attachments.append(attachment(*picture));
    return reaction;
}

RecordAttachment MessageRecordMaker::attachment(const _MsgAttachment &source)
{
    return {&source, attachmentName(source), attachmentBytes(source), sha256(source.localFile),
            missingReason(source)};
}

QString MessageRecordMaker::sha256(const LocalFile &file)
{
    if (file.isEmpty() || hashes == Hashes::LeftOut)
        return {};
    QString &hash = knownHashes[file.path()];
    if (hash.isEmpty())
        hash = sha256OfFile(file.readablePath());
    return hash;
}

QString ownAddress(const _MsgMessage &message)
{
    if (!message.destination_caller_id.isEmpty())
        return message.destination_caller_id;
    // "e:me@example.org", "p:+34612345678"
    const qsizetype colon = message.account.indexOf(u':');
    return colon == 1 ? message.account.sliced(2) : QString();
}

bool isToBeSentLater(const MessageExtras &extras)
{
    return extras.schedule_type == 2;
}

QString isoText(const QDateTime &date)
{
    return date.toString(Qt::ISODate);
}

QString personText(const RecordPerson &person, bool isOwner)
{
    if (isOwner)
        return QObject::tr("IDS_YOU");
    if (person.name.isEmpty())
        return person.address.isEmpty() ? QObject::tr("IDS_SOMEBODY") : person.address;
    return person.address.isEmpty() ? person.name : u"%1 (%2)"_s.arg(person.name, person.address);
}

QString sha256OfFile(const QString &path)
{
    QFile file(path);
    QCryptographicHash hash(QCryptographicHash::Sha256);
    if (!file.open(QIODevice::ReadOnly) || !hash.addData(&file))
        throwFileError(u"%1: %2"_s, file);
    return QString::fromLatin1(hash.result().toHex());
}
