#include "testing/builders/smsdbbuilder.h"

#include <stdexcept>

using namespace Qt::StringLiterals;

namespace
{

constexpr qint64 minute = 60;
constexpr qint64 day = 24 * 60 * minute;
constexpr int stickerType = 1000;

} // namespace

/// The ordinary message told last: reactions are none.
SampleMessage &SmsDbBuilder::lastTalk()
{
    if (!isModern(version))
        throw std::runtime_error("Only phones since iOS 11 have this: ask for IosVersion::Ios11 or later.");
    if (talk < 0)
        throw std::runtime_error("Tell the sample a message first.");
    return messages[talk];
}

SmsDbBuilder &SmsDbBuilder::reaction(int type, const QString &emoji)
{
    const qsizetype number = lastTalk().chats.value(0, -1);
    const bool hasPartner = number >= 0 && !chats.at(number).members.isEmpty();
    return reactionBy(hasPartner ? chats.at(number).members.first().id : QString(), type, emoji);
}

SmsDbBuilder &SmsDbBuilder::reactionBy(const QString &address, int type, const QString &emoji)
{
    const SampleMessage target = lastTalk();
    const qsizetype place = talk;
    SampleMessage &message = add({}, address);
    message.chats = target.chats;
    message.service = target.service;
    message.extras.associated_message_type = type;
    message.extras.associated_message_emoji = emoji;
    links[messages.size() - 1] = {place, u"p:0/"_s};
    talk = place;
    return *this;
}

SmsDbBuilder &SmsDbBuilder::ownReaction(int type, const QString &emoji)
{
    reactionBy({}, type, emoji);
    messages.last().is_from_me = true;
    return *this;
}

SmsDbBuilder &SmsDbBuilder::sticker(const QString &filename)
{
    reaction(stickerType);
    SampleMessage &message = messages.last();
    message.text = QChar(0xFFFC);
    message.attachments = {
        {.filename = filename, .mime_type = u"image/png"_s, .uti = u"public.png"_s, .is_sticker = true}};
    return *this;
}

SmsDbBuilder &SmsDbBuilder::aimedAt(const QString &prefix)
{
    const auto link = links.find(messages.size() - 1);
    if (link == links.end())
        throw std::runtime_error("Tell the sample a reaction first.");
    link->second.prefix = prefix;
    return *this;
}

SmsDbBuilder &SmsDbBuilder::reply(const QString &text)
{
    lastTalk();
    const qsizetype target = talk;
    received(text);
    links[talk] = {target, QString()};
    return *this;
}

SmsDbBuilder &SmsDbBuilder::ownReply(const QString &text)
{
    lastTalk();
    const qsizetype target = talk;
    sent(text);
    links[talk] = {target, QString()};
    return *this;
}

SmsDbBuilder &SmsDbBuilder::edited(const QString &text)
{
    SampleMessage &message = lastTalk();
    QList<SampleEdit> &edits = message.extras.edits;
    if (edits.isEmpty())
        edits.append({0, message.date, message.text});
    message.extras.date_edited = edits.last().date + minute;
    edits.append({0, message.extras.date_edited, text});
    message.text = text;
    return *this;
}

SmsDbBuilder &SmsDbBuilder::editedWithoutHistory()
{
    SampleMessage &message = lastTalk();
    message.extras.date_edited = message.date + minute;
    return *this;
}

SmsDbBuilder &SmsDbBuilder::unsent()
{
    SampleMessage &message = lastTalk();
    message.text = QString();
    message.attachments.clear();
    message.extras.date_retracted = message.date + minute;
    return unsentPart(0);
}

SmsDbBuilder &SmsDbBuilder::unsentPart(int part)
{
    SampleMessage &message = lastTalk();
    message.extras.retractedParts.append(part);
    message.extras.date_edited = message.date + minute;
    return *this;
}

SmsDbBuilder &SmsDbBuilder::effect(const QString &styleId)
{
    lastTalk().extras.expressive_send_style_id = styleId;
    return *this;
}

SmsDbBuilder &SmsDbBuilder::balloon(const QString &bundleId, const QByteArray &payload)
{
    lastTalk().extras.balloon_bundle_id = bundleId;
    lastTalk().extras.payload_data = payload;
    return *this;
}

SmsDbBuilder &SmsDbBuilder::recentlyDeleted()
{
    lastTalk().extras.delete_date = lastTalk().date + day;
    return *this;
}

SmsDbBuilder &SmsDbBuilder::deletedPart(int part, const QString &text)
{
    lastTalk().extras.deletedParts.append({part, lastTalk().date + day, text});
    return *this;
}

SmsDbBuilder &SmsDbBuilder::erased()
{
    lastTalk().extras.isErased = true;
    return *this;
}

SmsDbBuilder &SmsDbBuilder::sendLater()
{
    constexpr int sendLaterType = 2;
    lastTalk().extras.schedule_type = sendLaterType;
    lastTalk().extras.schedule_state = 2;
    return *this;
}

SmsDbBuilder &SmsDbBuilder::inSeconds()
{
    lastTalk().extras.hasDatesInSeconds = true;
    return *this;
}

SmsDbBuilder &SmsDbBuilder::textIn(SampleExtras::Text place)
{
    lastTalk().extras.textIn = place;
    return *this;
}

SmsDbBuilder &SmsDbBuilder::samePerson(const QString &personId)
{
    for (SampleHandle &member : lastChat().members)
        member.person_centric_id = personId;
    return *this;
}

SmsDbBuilder &SmsDbBuilder::attachment(const SampleAttachment &attachment)
{
    lastMessage().attachments.append(attachment);
    return *this;
}

/// Reactions and replies by the guid of what they answer.
void SmsDbBuilder::resolveLinks(QList<SampleMessage> &told) const
{
    for (const auto &[place, link] : links) {
        SampleExtras &extras = told[place].extras;
        const SampleMessage &target = told.at(link.target);
        if (extras.associated_message_type != 0) {
            extras.associated_message_guid = link.prefix + target.guid;
            continue;
        }
        const bool isThread = !target.extras.thread_originator_guid.isNull();
        extras.thread_originator_guid = isThread ? target.extras.thread_originator_guid : target.guid;
        extras.thread_originator_part = u"0:0:"_s + QString::number(target.text.size());
        extras.reply_to_guid = target.guid;
    }
}
