#include "tools/samplephone/sampleseason.h"

#include "testing/builders/samplepayloads.h"

using namespace Qt::StringLiterals;

namespace
{

/// Whether people can answer it.
bool isTalk(const SampleMessage &message)
{
    const SampleExtras &extras = message.extras;
    return message.item_type == 0 && extras.associated_message_type == 0 && message.chats.size() == 1 &&
           !message.text.isEmpty() && extras.delete_date == 0 && !extras.isErased;
}

} // namespace

SampleSeason::SampleSeason(IosVersion generation, quint64 seed) : version(generation), random(seed ^ 0x5A17u)
{
}

void SampleSeason::season(SampleMessage &message)
{
    static constexpr Habit habits[] = {
        {9, IosVersion::Ios11, &SampleSeason::react},
        {15, IosVersion::Ios16, &SampleSeason::reply},
        {40, IosVersion::Ios16, &SampleSeason::edit},
        {150, IosVersion::Ios16, &SampleSeason::unsend},
        {60, IosVersion::Ios11, &SampleSeason::addEffect},
        {90, IosVersion::Ios11, &SampleSeason::shareLink},
        {300, IosVersion::Ios16, &SampleSeason::removeSoon},
        {500, IosVersion::Ios11, &SampleSeason::countSeconds},
        {5, IosVersion::Ios16, &SampleSeason::writeColumn},
    };
    if (!message.attachments.isEmpty())
        return;
    for (const Habit &habit : habits)
        if (habit.since <= version && random.isOneIn(habit.oneIn))
            return (this->*habit.change)(message);
}

void SampleSeason::remember(const SampleMessage &message)
{
    if (!isTalk(message))
        return;
    newestOfChat[message.chats.first()] = message;
    last = message;
    if (message.extras.balloon_bundle_id.endsWith("com.apple.messages.Polls"_L1))
        poll = message;
}

int SampleSeason::erasedHere()
{
    return random.isOneIn(120) ? 1 + random.below(4) : 0;
}

void SampleSeason::react(SampleMessage &message)
{
    constexpr int love = 2000;
    constexpr int withEmoji = 2006;
    constexpr int removal = 1000;
    const auto target = newestOfChat.constFind(message.chats.first());
    if (target == newestOfChat.cend())
        return;
    SampleExtras &extras = message.extras;
    extras.associated_message_type = love + random.below(6);
    if (version >= IosVersion::Ios18 && random.isOneIn(4)) {
        static const QStringList emoji = {u"🚀"_s, u"😄"_s, u"🇪🇸"_s, u"👩‍👩‍👧"_s, u"🤔"_s};
        extras.associated_message_type = withEmoji;
        extras.associated_message_emoji = random.pick(emoji);
    }
    if (random.isOneIn(50))
        extras.associated_message_type += removal;
    extras.associated_message_guid =
        (target->extras.balloon_bundle_id.isNull() ? "p:0/"_L1 : "bp:"_L1) + target->guid;
    message.service = target->service;
    message.text = QString();
}

void SampleSeason::reply(SampleMessage &message)
{
    const auto target = newestOfChat.constFind(message.chats.first());
    if (target == newestOfChat.cend())
        return;
    const QString &thread = target->extras.thread_originator_guid;
    message.extras.thread_originator_guid = thread.isNull() ? target->guid : thread;
    message.extras.thread_originator_part = u"0:0:"_s + QString::number(target->text.size());
    message.extras.reply_to_guid = target->guid;
}

void SampleSeason::edit(SampleMessage &message)
{
    const QString first = message.text.chopped(message.text.size() / 3);
    message.extras.edits = {{0, message.date, first}, {0, message.date + 45, message.text}};
    message.extras.date_edited = message.date + 45;
}

void SampleSeason::unsend(SampleMessage &message)
{
    message.text = QString();
    message.extras.retractedParts = {0};
    message.extras.date_edited = message.date + 30;
}

void SampleSeason::addEffect(SampleMessage &message)
{
    static const QStringList effects = {
        u"com.apple.MobileSMS.expressivesend.impact"_s, u"com.apple.MobileSMS.expressivesend.loud"_s,
        u"com.apple.messages.effect.CKConfettiEffect"_s, u"com.apple.messages.effect.CKHeartEffect"_s};
    message.extras.expressive_send_style_id = random.pick(effects);
}

void SampleSeason::shareLink(SampleMessage &message)
{
    const QString address = u"https://example.org/"_s + QString::number(random.below(100000));
    message.extras.balloon_bundle_id = u"com.apple.messages.URLBalloonProvider"_s;
    message.extras.payload_data = sampleLinkPayload(address, message.text, u"example.org"_s);
    message.text = address;
    SampleAttachment preview;
    preview.filename = u"~/Library/SMS/Attachments/bb/11/"_s % message.guid % u"/"_s % message.guid %
                       u".pluginPayloadAttachment"_s;
    preview.mime_type = QString();
    preview.uti = u"dyn.age81a5dzq7y"_s;
    preview.hide_attachment = true;
    message.attachments = {preview};
}

void SampleSeason::removeSoon(SampleMessage &message)
{
    constexpr qint64 day = 24 * 60 * 60;
    message.extras.delete_date = message.date + day * (1 + random.below(30));
}

void SampleSeason::countSeconds(SampleMessage &message)
{
    message.extras.hasDatesInSeconds = true;
}

void SampleSeason::writeColumn(SampleMessage &message)
{
    message.extras.textIn = random.isOneIn(2) ? SampleExtras::Text::Column : SampleExtras::Text::Both;
}
