#include "store/records/messageparts.h"

#include "store/archives/typedstream.h"
#include "store/records/messagetext.h"
#include "store/records/reactions.h"

#include <algorithm>

namespace
{

/// `text` begins at `at` of the message's.
void addWords(QList<MessagePart> &parts, const QString &text, qsizetype at)
{
    QString words = text;
    words.remove(attachmentSign);
    const bool isOneStretch = words.size() == text.size();
    words = words.trimmed();
    if (!words.isEmpty())
        parts.append(MessagePart{words, nullptr, false, isOneStretch ? at + text.indexOf(words) : -1});
}

/// Words and attachments as `text` has them. What of `attachments` is found there is taken out.
QList<MessagePart> orderedParts(const _MsgMessage &message, QList<_MsgAttachment *> &attachments)
{
    QList<MessagePart> parts;
    qsizetype done = 0;
    for (const TypedStreamAttachment &place : attachmentsOfTypedStream(message.attributedBody)) {
        if (place.at < done || place.at >= message.text.size() || message.text.at(place.at) != attachmentSign)
            continue;
        addWords(parts, message.text.sliced(done, place.at - done), done);
        done = place.at + 1;
        const auto found =
            std::find_if(attachments.cbegin(), attachments.cend(),
                         [&](const _MsgAttachment *attachment) { return attachment->guid == place.guid; });
        if (found == attachments.cend())
            continue;
        parts.append(MessagePart{{}, *found, place.isInline});
        attachments.erase(found);
    }
    addWords(parts, message.text.sliced(done), done);
    return parts;
}

} // namespace

bool hasPartOrder(const _MsgMessage &message)
{
    return message.extras && message.extras->hasPartOrder;
}

bool needsPartOrder(const _MsgMessage &message)
{
    const bool isReaction = message.extras && isReactionType(message.extras->associated_message_type);
    return message.text.size() > 1 && message.item_type == 0 && !isReaction &&
           !message.attributedBody.isEmpty() && message.text.contains(attachmentSign);
}

QList<MessagePart> messageParts(const _MsgMessage &message)
{
    QList<_MsgAttachment *> attachments = sortedAttachments(message);
    attachments.removeIf([](const _MsgAttachment *attachment) { return attachment->hide_attachment != 0; });
    QList<MessagePart> parts;
    if (hasPartOrder(message))
        parts = orderedParts(message, attachments);
    else if (message.item_type == 0)
        addWords(parts, message.text, 0);
    for (_MsgAttachment *attachment : std::as_const(attachments))
        parts.append(MessagePart{{}, attachment});
    return parts;
}
