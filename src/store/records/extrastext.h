#pragma once

#include "store/records/eventtext.h"
#include "store/records/messagerecords.h"

#include <QStringList>

// What people read of a message beside its text, in words: what newer phones keep about it. Empty for
// messages without `extras`. Emoji stand as they are.

/// "You", the name of who reacted, or "Somebody".
QString whoReacted(const MessageReaction &reaction);

/// "Ann loved this"; "part 2 of this" where the reaction is to a further part.
QString reactionText(const MessageReaction &reaction);

/// What to call a kind of reaction in data: "love", "like" ... "sticker", "vote"; "unknown" with its
/// number for a kind of later phones.
QString reactionKind(int associated_message_type);

/// The name of the effect that a message was sent with; the identifier itself where it isn't known.
QString effectName(const QString &expressive_send_style_id);

/// What the balloon of an app is, such as "Poll"; "Message from app X" for others.
QString balloonName(const QString &balloon_bundle_id);

/// Whether some of the message, or all of it, was taken back.
bool hasUnsentParts(const MessageExtras &extras);

/// Whether all of the message was taken back.
bool isUnsent(const _MsgMessage &message);

/// What an ordinary message shows as its text: `text`, or what stands in the place of one that is empty,
/// can't be read or is a reaction to a message that isn't there.
QString shownText(const _MsgMessage &message, const QString &text, DateForm dates = DateForm::Spelled);

/// Whether the content of its balloon stands in the place of a text that it doesn't have.
bool isShownByContent(const _MsgMessage &message);

/// Whether it lies in "Recently Deleted".
bool isRecentlyDeleted(const _MsgMessage &message);

/// Whether the phone took it for junk.
bool isJunk(const _MsgMessage &message);

/// Whether the owner sent it in vain.
bool isNotDelivered(const _MsgMessage &message);

/// "Read by them" with a date, "Read by you", "Delivered", "Not delivered"; empty where nothing is told.
QString deliveryText(const _MsgMessage &message, DateForm dates = DateForm::Spelled);

/// Whether something is known of what an edited message said before.
bool hasHistory(const _MsgMessage &message);

/// Whether an edited message comes with what it said before.
enum class History { Told, LeftOut };

/// Whether what its balloon holds stands among the lines.
enum class BalloonLines { Told, LeftOut };

/// The lines under the message: what it answers, effect, content, edits with what it said before, unsent and
/// deleted parts, that it is still to be sent or recently deleted, then the reactions.
QStringList linesUnder(const _MsgMessage &message, History history = History::Told,
                       DateForm dates = DateForm::Spelled, BalloonLines balloon = BalloonLines::Told);
