#include "store/records/reactions.h"

#include <algorithm>
#include <map>
#include <tuple>

using namespace Qt::StringLiterals;

namespace
{

enum class ReactionKind { Sticker, Tapback, Vote, Unknown };

ReactionKind kindOf(int type)
{
    switch (type / 1000) {
    case 1: return ReactionKind::Sticker;
    case 2:
    case 3: return ReactionKind::Tapback;
    case 4: return ReactionKind::Vote;
    default: return ReactionKind::Unknown;
    }
}

enum class SenderKind { Owner, Known, Unknown };

// Who has one address in two services is one sender, whatever the rows of `handle`.
std::pair<SenderKind, QString> senderOf(const MessageReaction &reaction)
{
    if (reaction.is_from_me != 0)
        return {SenderKind::Owner, {}};
    return reaction.handle ? std::pair(SenderKind::Known, reaction.handle->id)
                           : std::pair(SenderKind::Unknown, QString());
}

bool isEarlier(const MessageReaction &a, const MessageReaction &b)
{
    return std::tie(a.date, a.rowid) < std::tie(b.date, b.rowid);
}

/// The reactions to one message of which one may replace another.
class Contest
{
public:
    void enter(const MessageReaction &reaction)
    {
        const ReactionKind kind = kindOf(reaction.associated_message_type);
        const bool standsAlone = kind == ReactionKind::Sticker || kind == ReactionKind::Unknown;
        const auto [place, isNew] = winners.try_emplace(
            {kind, reaction.part, senderOf(reaction), standsAlone ? reaction.rowid : 0}, reaction);
        if (!isNew && !isEarlier(reaction, place->second))
            place->second = reaction;
    }

    /// Removals that won come too.
    QList<MessageReaction> takeResult()
    {
        QList<MessageReaction> reactions;
        for (auto &winner : winners)
            reactions.append(std::move(winner.second));
        winners.clear();
        std::sort(reactions.begin(), reactions.end(), isEarlier);
        return reactions;
    }

private:
    std::map<std::tuple<ReactionKind, int, std::pair<SenderKind, QString>, qint64>, MessageReaction> winners;
};

void setReactions(_MsgMessage &message, QList<MessageReaction> reactions)
{
    if (!message.extras)
        message.extras = new MessageExtras;
    message.extras->reactions = std::move(reactions);
    message.extras->reactions.removeIf(
        [](const MessageReaction &reaction) { return isRemovalType(reaction.associated_message_type); });
}

} // namespace

ReactionTarget reactionTarget(const QString &associated_message_guid)
{
    if (associated_message_guid.startsWith("bp:"_L1))
        return {associated_message_guid.sliced(3), -1};
    const qsizetype slash = associated_message_guid.indexOf(u'/');
    if (!associated_message_guid.startsWith("p:"_L1) || slash < 0)
        return {associated_message_guid, -1};
    bool isNumber = false;
    const int part = QStringView(associated_message_guid).sliced(2, slash - 2).toInt(&isNumber);
    return {associated_message_guid.sliced(slash + 1), isNumber && part >= 0 ? part : -1};
}

ReactionRow reactionRowOf(const _MsgMessage &message)
{
    const MessageExtras &extras = *message.extras;
    const ReactionTarget target = reactionTarget(extras.associated_message_guid);
    const bool isOwn = message.is_from_me != 0 || message.handle_id == 0;
    return {target.guid,
            {.rowid = message.rowid,
             .guid = message.guid,
             .associated_message_type = extras.associated_message_type,
             .associated_message_emoji = extras.associated_message_emoji,
             .part = target.part,
             .is_from_me = isOwn ? 1 : 0,
             .handle = isOwn ? nullptr : message.handle,
             .date = message.date,
             .service = message.service,
             .text = message.text,
             .payload_data = extras.payload_data,
             .message_summary_info = extras.message_summary_info,
             .attachments = message.attachments}};
}

QList<ReactionRow> applyReactions(const GuidIndex &index, const QList<ReactionRow> &rows)
{
    if (rows.isEmpty())
        return {};
    QHash<QString, Contest> contests;
    contests.reserve(rows.size());
    for (const ReactionRow &row : rows)
        contests[row.guid].enter(row.reaction);
    const QList<_MsgMessage *> messages = index.find(contests.keys());
    auto target = messages.begin();
    QList<ReactionRow> homeless;
    for (auto it = contests.begin(); it != contests.end(); ++it) {
        _MsgMessage *message = *target++;
        if (message && message->extras) {
            for (const MessageReaction &reaction : std::as_const(message->extras->reactions))
                it->enter(reaction);
        }
        QList<MessageReaction> reactions = it->takeResult();
        if (message) {
            setReactions(*message, std::move(reactions));
            continue;
        }
        for (const MessageReaction &reaction : std::as_const(reactions))
            homeless.append({it.key(), reaction});
    }
    std::sort(homeless.begin(), homeless.end(),
              [](const ReactionRow &a, const ReactionRow &b) { return a.reaction.rowid < b.reaction.rowid; });
    return homeless;
}
