#include "recovery/local/extraswriter.h"

#include "recovery/local/sourcecolumns.h"
#include "store/readers/ios6messagedb.h"
#include "store/records/madeupchats.h"
#include "store/records/messagestore.h"
#include "store/records/messagesummary.h"
#include "store/records/messagetext.h"
#include "store/records/reactions.h"

#include <algorithm>
#include <utility>

namespace
{

bool tells(const QList<MessageEdit> &edits, const MessageEdit &state)
{
    return std::any_of(edits.begin(), edits.end(), [&](const MessageEdit &edit) {
        return edit.part == state.part && edit.date == state.date && edit.text == state.text;
    });
}

bool tellsText(const QList<MessageEdit> &edits, const QString &text)
{
    return std::any_of(edits.begin(), edits.end(),
                       [&](const MessageEdit &edit) { return edit.text == text; });
}

bool isInRecentlyDeleted(const _MsgMessage &message)
{
    return message.extras && message.extras->delete_date != 0;
}

} // namespace

ExtrasWriter::ExtrasWriter(IOS6MessageDb &target, SourceColumns &sourceColumns, HandleRowid handles,
                           AttachmentRowid attachments)
    : db(target)
    , columns(sourceColumns)
    , rows(target)
    , handleRowid(std::move(handles))
    , attachmentRowid(std::move(attachments))
{
}

void ExtrasWriter::begin()
{
    isKeeping = db.keepsExtras();
    deleted = isKeeping ? rows.recentlyDeleted() : QSet<qint64>();
    lost = isKeeping ? rows.withoutConversation() : QSet<qint64>();
    recovered = isKeeping ? rows.recovered() : QSet<qint64>();
    unknown = isKeeping ? rows.ofUnknownAddress() : QSet<qint64>();
}

ExtrasWriter::Taken ExtrasWriter::takeReaction(const _MsgMessage &message)
{
    if (!isKeeping || !message.extras || !isReactionType(message.extras->associated_message_type))
        return Taken::No;
    const ReactionRow row = reactionRowOf(message);
    const qint64 target = db.messageRowid(row.guid);
    if (target == 0)
        return Taken::No;
    if (isRemovalType(row.reaction.associated_message_type))
        return Taken::Known;
    const bool isKnown = rows.hasReaction(target, row.reaction);
    addReaction(target, row.reaction);
    return isKnown ? Taken::Known : Taken::Added;
}

void ExtrasWriter::addToNew(qint64 messageId, const _MsgMessage &message)
{
    if (!isKeeping)
        return;
    if (message.extras)
        addRows(messageId, message);
    columns.keep(message, messageId);
    if (message.isRecovered) {
        recovered.insert(messageId);
        if (isOfUnknownAddress(*message.chat))
            unknown.insert(messageId);
    }
}

void ExtrasWriter::addToKept(qint64 messageId, const _MsgMessage &message, const QString &hash, KnownBy known)
{
    if (!isKeeping)
        return;
    if (message.extras)
        addRows(messageId, message);
    const bool isLater = (message.extras || known == KnownBy::Guid) && addChange(messageId, message, hash);
    columns.keep(message, messageId, isLater ? SourceColumns::State::Later : SourceColumns::State::First);
    if (!message.isRecovered && recovered.remove(messageId))
        rows.takeBackRecovery(messageId);
}

bool ExtrasWriter::updatePlace(qint64 messageId, const _MsgMessage &message, Place place, const QString &hash)
{
    const bool isBack = !isInRecentlyDeleted(message) && deleted.remove(messageId);
    if (isBack)
        rows.takeBackDeletion(messageId);
    const bool isFound = !isNoConversation(*message.chat) && lost.remove(messageId);
    const bool isTold = !message.isRecovered && unknown.remove(messageId);
    if (isTold)
        rows.updateOrigin(messageId, message.date, place.handleId, hash);
    if (isFound || isTold)
        rows.moveToChat(messageId, place.chatId);
    return isBack || isFound || isTold;
}

void ExtrasWriter::finish()
{
    if (isKeeping)
        rows.dropEmptyMadeUpChats();
}

void ExtrasWriter::addRows(qint64 messageId, const _MsgMessage &message)
{
    for (const MessageReaction &reaction : std::as_const(message.extras->reactions))
        addReaction(messageId, reaction);
    for (const MessageEdit &part : std::as_const(message.extras->deletedParts))
        rows.addPartText(messageId, LocalExtras::PartText::Deleted, part);
    addStates(messageId, message);
}

void ExtrasWriter::addReaction(qint64 messageId, const MessageReaction &reaction)
{
    const qint64 handleId = reaction.handle ? handleRowid(*reaction.handle) : 0;
    const qint64 reactionId = rows.addReaction(messageId, reaction, handleId);
    for (const _MsgAttachment *attachment : sortedAttachments(reaction.attachments))
        rows.joinReactionAttachment(reactionId, attachmentRowid(*attachment));
    columns.keep(reaction, reactionId);
    rows.removeReactionLine(reaction.guid, reactionId);
}

// Of a message out of another Local Database: what its summary doesn't tell.
void ExtrasWriter::addStates(qint64 messageId, const _MsgMessage &message)
{
    const MessageExtras &extras = *message.extras;
    if (extras.edits.isEmpty())
        return;
    const QList<MessageEdit> summary = messageSummaryOf(extras.message_summary_info).edits;
    for (const MessageEdit &edit : extras.edits) {
        if (edit.text != message.text && !tells(summary, edit))
            rows.addPartText(messageId, LocalExtras::PartText::BeforeEdit, edit);
    }
}

bool ExtrasWriter::addChange(qint64 messageId, const _MsgMessage &message, const QString &hash)
{
    const MessageExtras none;
    const MessageExtras &extras = message.extras ? *message.extras : none;
    const KeptMessage kept = rows.kept(messageId);
    const int changed = std::max(extras.date_edited, extras.date_retracted);
    const bool isLater = message.extras && (changed > kept.changed || !kept.hasExtras);
    if (isLater)
        rows.updateExtras(messageId, extras);
    if (plainText(message).isEmpty() || message.text == kept.text)
        return isLater;
    // A message of an older phone stays as it came in first.
    if (changed > kept.changed || (kept.text.isEmpty() && kept.hasExtras)) {
        addStateBefore(messageId, {0, kept.date, kept.text}, extras.edits);
        rows.updateText(messageId, message, hash);
    } else if (changed < kept.changed) {
        addStateBefore(messageId, {0, message.date, message.text},
                       messageSummaryOf(kept.message_summary_info).edits);
    }
    return isLater;
}

void ExtrasWriter::addStateBefore(qint64 messageId, const MessageEdit &state,
                                  const QList<MessageEdit> &history)
{
    if (!state.text.isEmpty() && !tellsText(history, state.text))
        rows.addPartText(messageId, LocalExtras::PartText::BeforeEdit, state);
}
