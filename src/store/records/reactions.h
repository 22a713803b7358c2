#pragma once

#include "store/records/guidindex.h"

// Reactions are rows of `message` on a phone. People see them under the message that they name.

/// Whether a row of this `associated_message_type` is a reaction or takes one away. Balloons of apps use
/// 2 and 3.
constexpr bool isReactionType(int associated_message_type)
{
    return associated_message_type >= 1000;
}

/// Whether such a row takes the sender's reaction away.
constexpr bool isRemovalType(int associated_message_type)
{
    return associated_message_type >= 3000 && associated_message_type < 4000;
}

/// What `associated_message_guid` names: "p:1/GUID" part 1 of a message, "bp:GUID" or a bare GUID the
/// whole, for which `part` is -1.
struct ReactionTarget {
    QString guid;
    int part = -1;
};
ReactionTarget reactionTarget(const QString &associated_message_guid);

/// A reaction as a source tells it, or a removal of one.
struct ReactionRow {
    QString guid; ///< of the message it belongs to
    MessageReaction reaction;
};

/// The reaction that a row of `message` is, whose `extras` hold the `associated_...` columns.
ReactionRow reactionRowOf(const _MsgMessage &message);

/// Puts reactions under their messages. Of each sender the newest tapback and the newest vote on a part
/// count, together with what stands there already; a removal takes the tapback away; stickers all stay.
/// Hands back, by rowid, those that count but whose message `index` doesn't have. Telling rows twice
/// changes nothing.
QList<ReactionRow> applyReactions(const GuidIndex &index, const QList<ReactionRow> &rows);
