#include "store/records/extrastext.h"

#include "store/records/attachmentlist.h"
#include "store/records/contenttext.h"
#include "store/records/eventtext.h"
#include "store/records/messagetext.h"
#include "store/records/reactions.h"
#include "store/records/richcontent.h"

#include <QObject>

#include <algorithm>
#include <array>

using namespace Qt::StringLiterals;

namespace
{

struct Kind {
    int type;
    QLatin1StringView word;
    const char *words; // of who and of what
};

constexpr std::array kinds = {
    Kind{1000, "sticker"_L1, QT_TR_NOOP("IDS_REACTION_%1_STICKER_ON_%2")},
    Kind{2000, "love"_L1, QT_TR_NOOP("IDS_REACTION_%1_LOVED_%2")},
    Kind{2001, "like"_L1, QT_TR_NOOP("IDS_REACTION_%1_LIKED_%2")},
    Kind{2002, "dislike"_L1, QT_TR_NOOP("IDS_REACTION_%1_DISLIKED_%2")},
    Kind{2003, "laugh"_L1, QT_TR_NOOP("IDS_REACTION_%1_LAUGHED_AT_%2")},
    Kind{2004, "emphasize"_L1, QT_TR_NOOP("IDS_REACTION_%1_EMPHASIZED_%2")},
    Kind{2005, "question"_L1, QT_TR_NOOP("IDS_REACTION_%1_QUESTIONED_%2")},
    Kind{2006, "emoji"_L1, QT_TR_NOOP("IDS_REACTION_%1_TO_%2_WITH_%3")},
    Kind{2007, "sticker"_L1, QT_TR_NOOP("IDS_REACTION_%1_TO_%2_WITH_STICKER")},
    Kind{4000, "vote"_L1, QT_TR_NOOP("IDS_REACTION_%1_VOTED_IN_%2")},
};

const Kind *kindOf(int type)
{
    const auto *kind =
        std::find_if(kinds.begin(), kinds.end(), [&](const Kind &k) { return k.type == type; });
    return kind == kinds.end() ? nullptr : kind;
}

struct Name {
    QLatin1StringView identifier;
    const char *name;
};

// In the order of the phone's own menu.
constexpr std::array effects = {
    Name{"com.apple.MobileSMS.expressivesend.impact"_L1, QT_TR_NOOP("IDS_EFFECT_SLAM")},
    Name{"com.apple.MobileSMS.expressivesend.loud"_L1, QT_TR_NOOP("IDS_EFFECT_LOUD")},
    Name{"com.apple.MobileSMS.expressivesend.gentle"_L1, QT_TR_NOOP("IDS_EFFECT_GENTLE")},
    Name{"com.apple.MobileSMS.expressivesend.invisibleink"_L1, QT_TR_NOOP("IDS_EFFECT_INVISIBLE_INK")},
    Name{"com.apple.messages.effect.CKEchoEffect"_L1, QT_TR_NOOP("IDS_EFFECT_ECHO")},
    Name{"com.apple.messages.effect.CKSpotlightEffect"_L1, QT_TR_NOOP("IDS_EFFECT_SPOTLIGHT")},
    Name{"com.apple.messages.effect.CKHappyBirthdayEffect"_L1, QT_TR_NOOP("IDS_EFFECT_BALLOONS")},
    Name{"com.apple.messages.effect.CKConfettiEffect"_L1, QT_TR_NOOP("IDS_EFFECT_CONFETTI")},
    Name{"com.apple.messages.effect.CKHeartEffect"_L1, QT_TR_NOOP("IDS_EFFECT_HEART")},
    Name{"com.apple.messages.effect.CKLasersEffect"_L1, QT_TR_NOOP("IDS_EFFECT_LASERS")},
    Name{"com.apple.messages.effect.CKFireworksEffect"_L1, QT_TR_NOOP("IDS_EFFECT_FIREWORKS")},
    Name{"com.apple.messages.effect.CKShootingStarEffect"_L1, QT_TR_NOOP("IDS_EFFECT_SHOOTING_STAR")},
    Name{"com.apple.messages.effect.CKSparklesEffect"_L1, QT_TR_NOOP("IDS_EFFECT_SPARKLES")},
};

constexpr auto linkBalloon = "com.apple.messages.URLBalloonProvider"_L1;

constexpr std::array balloons = {
    Name{linkBalloon, QT_TR_NOOP("IDS_BALLOON_LINK")},
    Name{"com.apple.Handwriting.HandwritingProvider"_L1, QT_TR_NOOP("IDS_BALLOON_HANDWRITING")},
    Name{"com.apple.DigitalTouchBalloonProvider"_L1, QT_TR_NOOP("IDS_BALLOON_DIGITAL_TOUCH")},
    Name{"com.apple.PassbookUIService.PeerPaymentMessagesExtension"_L1, QT_TR_NOOP("IDS_BALLOON_PAYMENT")},
    Name{"com.apple.ActivityMessagesApp.MessagesExtension"_L1, QT_TR_NOOP("IDS_BALLOON_ACTIVITY")},
    Name{"com.apple.mobileslideshow.PhotosMessagesApp"_L1, QT_TR_NOOP("IDS_BALLOON_PHOTOS")},
    Name{"com.apple.SafetyMonitorApp.SafetyMonitorMessages"_L1, QT_TR_NOOP("IDS_BALLOON_CHECK_IN")},
    Name{"com.apple.findmy.FindMyMessagesApp"_L1, QT_TR_NOOP("IDS_BALLOON_LOCATION")},
    Name{"com.apple.messages.Polls"_L1, QT_TR_NOOP("IDS_BALLOON_POLL")},
    Name{"com.apple.icloud.apps.messages.business.extension"_L1, QT_TR_NOOP("IDS_BALLOON_BUSINESS")},
    Name{"com.apple.PaperKit.MessagesDrawingBoard"_L1, QT_TR_NOOP("IDS_BALLOON_DRAWING")},
};

template <size_t Count>
QString nameIn(const std::array<Name, Count> &names, QStringView identifier)
{
    const auto *found = std::find_if(names.begin(), names.end(),
                                     [&](const Name &name) { return identifier == name.identifier; });
    return found == names.end() ? QString() : QObject::tr(found->name);
}

QStringView appOf(const QString &balloon_bundle_id)
{
    return QStringView(balloon_bundle_id).sliced(balloon_bundle_id.lastIndexOf(u':') + 1);
}

QString reactionTo(const QString &object, const MessageReaction &reaction)
{
    if (isRemovalType(reaction.associated_message_type))
        return QObject::tr("IDS_REACTION_%1_TOOK_BACK_TO_%2").arg(whoReacted(reaction), object);
    const Kind *kind = kindOf(reaction.associated_message_type);
    if (!kind)
        return QObject::tr("IDS_REACTION_%1_TO_%2_UNKNOWN_%3")
            .arg(whoReacted(reaction), object, QString::number(reaction.associated_message_type));
    const QString words = QObject::tr(kind->words);
    if (words.contains("%3"_L1))
        return words.arg(whoReacted(reaction), object, reaction.associated_message_emoji);
    return words.arg(whoReacted(reaction), object);
}

/// When a part was taken back: phones set the date of editing then as well, older ones alone.
QString unsentDate(const _MsgMessage &message, DateForm dates)
{
    const MessageExtras &extras = *message.extras;
    if (extras.date_retracted != 0)
        return eventDate(extras.date_retracted, dates);
    return eventDate(extras.date_edited != 0 ? extras.date_edited : message.date, dates);
}

QString quoted(const QString &text)
{
    return text.isEmpty() ? QObject::tr("IDS_TEXT_UNREADABLE") : u'“' + text + u'”';
}

void addReply(QStringList &lines, const MessageExtras &extras)
{
    if (!extras.originatorWords.isEmpty())
        lines.append(QObject::tr("IDS_REPLY_TO_%1").arg(extras.originatorWords));
    else if (!extras.thread_originator_guid.isEmpty())
        lines.append(QObject::tr("IDS_REPLY_TO_%1").arg(QObject::tr("IDS_MESSAGE_NOT_HERE")));
}

/// What the message said before it was edited.
QStringList earlierTexts(const MessageExtras &extras, DateForm dates = DateForm::Spelled)
{
    QStringList lines;
    for (qsizetype i = 0; i + 1 < extras.edits.size(); ++i) {
        const MessageEdit &edit = extras.edits.at(i);
        if (extras.edits.at(i + 1).part == edit.part) // the last of a part is what it says now
            lines.append(
                QObject::tr("IDS_EDIT_BEFORE_%1_%2").arg(eventDate(edit.date, dates), quoted(edit.text)));
    }
    return lines;
}

void addContent(QStringList &lines, const _MsgMessage &message, DateForm dates)
{
    const MessageExtras &extras = *message.extras;
    QStringList content = contentText(message, dates);
    if (!content.isEmpty() && isShownByContent(message)) // its first line stands there already
        content.removeFirst();
    // The link itself is the text.
    if (content.isEmpty() && !extras.balloon_bundle_id.isEmpty() && !plainText(message).trimmed().isEmpty() &&
        appOf(extras.balloon_bundle_id) != linkBalloon)
        lines.append(balloonName(extras.balloon_bundle_id));
    lines += content;
}

void addEdits(QStringList &lines, const MessageExtras &extras, History history, DateForm dates)
{
    const bool isOnlyUnsent = extras.edits.isEmpty() && hasUnsentParts(extras);
    if (extras.edits.isEmpty() && (extras.date_edited == 0 || isOnlyUnsent))
        return;
    lines.append(extras.date_edited == 0
                     ? QObject::tr("IDS_EDITED")
                     : QObject::tr("IDS_EDITED_%1").arg(eventDate(extras.date_edited, dates)));
    if (history == History::Told)
        lines.append(earlierTexts(extras, dates));
}

void addLostParts(QStringList &lines, const _MsgMessage &message, DateForm dates)
{
    const MessageExtras &extras = *message.extras;
    if (!isUnsent(message) && hasUnsentParts(extras))
        lines.append(QObject::tr("IDS_PART_UNSENT_%1").arg(unsentDate(message, dates)));
    for (const MessageEdit &part : extras.deletedParts)
        lines.append(
            QObject::tr("IDS_PART_DELETED_%1_%2").arg(eventDate(part.date, dates), quoted(part.text)));
}

/// What the phone's filters and its ways say.
void addSorting(QStringList &lines, const _MsgMessage &message)
{
    const MessageExtras &extras = *message.extras;
    if (isJunk(message))
        lines.append(QObject::tr("IDS_JUNK"));
    else if (extras.filter_action == 3)
        lines.append(QObject::tr("IDS_FILTERED_PROMOTION"));
    else if (extras.filter_action == 4)
        lines.append(QObject::tr("IDS_FILTERED_TRANSACTION"));
    if (extras.sent_or_received_off_grid != 0)
        lines.append(QObject::tr("IDS_OFF_GRID"));
}

} // namespace

QString whoReacted(const MessageReaction &reaction)
{
    if (reaction.is_from_me != 0)
        return QObject::tr("IDS_YOU");
    return reaction.handle ? displayName(*reaction.handle, false) : QObject::tr("IDS_SOMEBODY");
}

QString reactionText(const MessageReaction &reaction)
{
    return reactionTo(reaction.part > 0 ? QObject::tr("IDS_PART_%1_OF_THIS").arg(reaction.part + 1)
                                        : QObject::tr("IDS_THIS"),
                      reaction);
}

QString reactionKind(int associated_message_type)
{
    const Kind *kind = kindOf(associated_message_type);
    return kind ? QString(kind->word) : u"unknown %1"_s.arg(associated_message_type);
}

QString effectName(const QString &expressive_send_style_id)
{
    const QString name = nameIn(effects, expressive_send_style_id);
    return name.isEmpty() ? expressive_send_style_id : name;
}

QString balloonName(const QString &balloon_bundle_id)
{
    const QStringView app = appOf(balloon_bundle_id);
    const QString name = nameIn(balloons, app);
    return name.isEmpty() ? QObject::tr("IDS_BALLOON_APP_%1").arg(app) : name;
}

bool hasUnsentParts(const MessageExtras &extras)
{
    return extras.date_retracted != 0 || !extras.retractedParts.isEmpty();
}

bool isUnsent(const _MsgMessage &message)
{
    return message.extras && hasUnsentParts(*message.extras) && plainText(message).trimmed().isEmpty() &&
           message.attachments.isEmpty();
}

QString shownText(const _MsgMessage &message, const QString &text, DateForm dates)
{
    if (!message.extras)
        return text;
    const MessageExtras &extras = *message.extras;
    if (isReactionType(extras.associated_message_type)) {
        const QString words =
            reactionTo(QObject::tr("IDS_MESSAGE_NOT_HERE"), reactionRowOf(message).reaction);
        return text.isEmpty() ? words : QString(words + u": "_s + text);
    }
    if (extras.isTextUndecodable)
        return QString(QObject::tr("IDS_BODY_UNREADABLE") + u' ' + text).trimmed();
    if (!text.isEmpty())
        return text;
    if (isUnsent(message))
        return QObject::tr("IDS_UNSENT_%1").arg(unsentDate(message, dates));
    const QString content = contentSummary(message, dates);
    if (!content.isEmpty() || extras.balloon_bundle_id.isEmpty())
        return content;
    return balloonName(extras.balloon_bundle_id);
}

bool isShownByContent(const _MsgMessage &message)
{
    return hasContent(message) && !message.extras->isTextUndecodable && !isUnsent(message) &&
           plainText(message).trimmed().isEmpty() && shownAttachments(message).isEmpty();
}

bool isRecentlyDeleted(const _MsgMessage &message)
{
    return message.extras && message.extras->delete_date != 0;
}

bool isJunk(const _MsgMessage &message)
{
    constexpr int junkAction = 2;
    return message.extras && (message.extras->is_spam != 0 || message.extras->filter_action == junkAction);
}

bool isNotDelivered(const _MsgMessage &message)
{
    return message.is_from_me != 0 && message.error != 0;
}

QString deliveryText(const _MsgMessage &message, DateForm dates)
{
    if (isNotDelivered(message))
        return QObject::tr("IDS_NOT_DELIVERED");
    const bool isOwn = message.is_from_me != 0;
    if (message.date_read > message.date)
        return (isOwn ? QObject::tr("IDS_READ_BY_THEM_%1") : QObject::tr("IDS_READ_BY_YOU_%1"))
            .arg(eventDate(message.date_read, dates));
    return isOwn && message.date_delivered > message.date
               ? QObject::tr("IDS_DELIVERED_%1").arg(eventDate(message.date_delivered, dates))
               : QString();
}

bool hasHistory(const _MsgMessage &message)
{
    return message.extras && !earlierTexts(*message.extras).isEmpty();
}

QStringList linesUnder(const _MsgMessage &message, History history, DateForm dates, BalloonLines balloon)
{
    QStringList lines;
    if (!message.extras)
        return spokenAndTranslated(message);
    const MessageExtras &extras = *message.extras;
    addReply(lines, extras);
    if (!extras.expressive_send_style_id.isEmpty())
        lines.append(QObject::tr("IDS_SENT_WITH_%1").arg(effectName(extras.expressive_send_style_id)));
    if (balloon == BalloonLines::Told)
        addContent(lines, message, dates);
    lines += spokenAndTranslated(message);
    addEdits(lines, extras, history, dates);
    addLostParts(lines, message, dates);
    if (extras.schedule_type == 2)
        lines.append(QObject::tr("IDS_TO_BE_SENT_LATER"));
    addSorting(lines, message);
    if (isRecentlyDeleted(message))
        lines.append(QObject::tr("IDS_RECENTLY_DELETED_%1").arg(eventDate(extras.delete_date, dates)));
    const bool hasPoll = balloonKind(extras.balloon_bundle_id) == ContentKind::Poll &&
                         !contentSummary(message).isEmpty(); // which tells who voted for what
    for (const MessageReaction &reaction : extras.reactions)
        if (!hasPoll || reactionKind(reaction.associated_message_type) != "vote"_L1)
            lines.append(reactionText(reaction));
    return lines;
}
