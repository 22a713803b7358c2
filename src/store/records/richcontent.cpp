#include "store/records/richcontent.h"

#include "store/content/poll.h"
#include "store/records/extrastext.h"
#include "store/records/messagetext.h"

#include <QObject>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace
{

constexpr int voteType = 4000;

/// A body of one run that is a link: phones leave out the balloon's identifier then.
bool isBareLink(const _MsgMessage &message)
{
    const MessageExtras &extras = *message.extras;
    if (extras.payload_data.isEmpty() || !extras.balloon_bundle_id.isEmpty() ||
        extras.associated_message_type != 0)
        return false;
    const QList<StyledRun> runs = styledRuns(message);
    return runs.size() == 1 && !runs.first().link.isEmpty();
}

/// Words that phones complete when they show them: the workouts of a friend.
void putNames(QString &words, const _MsgMessage &message)
{
    if (!words.contains("$(kIM"_L1))
        return;
    const QString you = QObject::tr("IDS_YOU");
    const _MsgHandle *handle = message.handle;
    const QString other = handle ? displayName(*handle, false) : QObject::tr("IDS_SOMEBODY");
    const bool isOwn = message.is_from_me != 0;
    words.replace("$(kIMTranscriptPluginBreadcrumbTextReceiverIdentifier)"_L1, isOwn ? other : you);
    words.replace("$(kIMTranscriptPluginBreadcrumbTextSenderIdentifier)"_L1, isOwn ? you : other);
}

/// The rows that tell a poll's options anew, by date.
QList<const _MsgMessage *> laterOptions(const _MsgMessage &poll)
{
    QList<const _MsgMessage *> rows;
    if (!poll.chat || poll.guid.isEmpty())
        return rows;
    for (const _MsgMessage *row : std::as_const(poll.chat->messages)) {
        if (row != &poll && row->extras && row->extras->associated_message_guid == poll.guid &&
            balloonKind(row->extras->balloon_bundle_id) == ContentKind::Poll)
            rows.append(row);
    }
    std::sort(rows.begin(), rows.end(), [](const _MsgMessage *a, const _MsgMessage *b) {
        return a->date != b->date ? a->date < b->date : a->rowid < b->rowid;
    });
    return rows;
}

/// The name of whom a payload knows by an address: mostly who sent the row.
QString voterName(const _MsgMessage &poll, const MessageReaction &row, const QString &address)
{
    if (address.isEmpty() || row.is_from_me != 0 || (row.handle && row.handle->id == address))
        return whoReacted(row);
    if (!poll.chat)
        return address;
    for (const _MsgHandle *handle : std::as_const(poll.chat->handles))
        if (handle->id == address)
            return displayName(*handle, false);
    return address;
}

void completePoll(MessageContent &content, const _MsgMessage &poll)
{
    for (const _MsgMessage *row : laterOptions(poll)) {
        const MessageContent later = ownContent(*row);
        if (!later.choices.isEmpty())
            content.choices = later.choices;
    }
    QList<PollVote> votes;
    for (const MessageReaction &reaction : poll.extras->reactions) {
        if (reaction.associated_message_type != voteType)
            continue;
        for (PollVote vote : readVotes(reaction.payload_data)) {
            vote.voter = voterName(poll, reaction, vote.voter);
            votes.append(vote);
        }
    }
    countVotes(content, votes);
}

} // namespace

bool hasContent(const _MsgMessage &message)
{
    return message.extras && message.item_type == 0 && message.extras->associated_message_type == 0 &&
           (balloonKind(message.extras->balloon_bundle_id) != ContentKind::None || isBareLink(message));
}

MessageContent ownContent(const _MsgMessage &message)
{
    if (!message.extras || message.item_type != 0)
        return {};
    MessageContent content =
        readContent({message.extras->balloon_bundle_id, message.extras->payload_data, isBareLink(message)});
    putNames(content.words, message);
    return content;
}

MessageContent contentOf(const _MsgMessage &message)
{
    MessageContent content = ownContent(message);
    if (content.kind == ContentKind::Poll)
        completePoll(content, message);
    return content;
}

std::optional<Drawing> drawingOf(const _MsgMessage &message)
{
    return message.extras ? drawingOf(message.extras->balloon_bundle_id, message.extras->payload_data)
                          : std::nullopt;
}

const _MsgAttachment *pictureFile(const _MsgMessage &message, const ContentPicture &picture)
{
    int index = 0;
    for (const _MsgAttachment *attachment : sortedAttachments(message)) {
        if (attachment->hide_attachment != 0 && index++ == picture.hiddenAttachment)
            return attachment;
    }
    return nullptr;
}

QList<StyledRun> styledRuns(const _MsgMessage &message)
{
    return message.attributedBody.isEmpty() ? QList<StyledRun>()
                                            : styledRuns(message.text, message.attributedBody);
}

QStringList transcriptsOf(const _MsgMessage &message)
{
    QStringList transcripts;
    if (message.attachments.isEmpty() || !message.attributedBody.contains("IMAudioTranscription"))
        return transcripts;
    for (const StyledRun &run : styledRuns(message))
        if (!run.transcript.isEmpty())
            transcripts.append(run.transcript);
    return transcripts;
}

QList<Translation> translationsOf(const _MsgMessage &message)
{
    const bool mayHave = message.extras && message.extras->message_summary_info.contains("tmp");
    return mayHave ? readTranslations(message.extras->message_summary_info) : QList<Translation>();
}
