#include "tools/samplephone/samplehistory.h"

#include "tools/samplephone/samplemedia.h"
#include "tools/samplephone/samplewords.h"

#include <algorithm>

using namespace Qt::StringLiterals;

namespace
{

const auto iMessage = "iMessage"_L1;

/// Decides what a file holds, the same on every machine.
quint64 seedOf(const QString &text)
{
    quint64 seed = 5381;
    for (const QChar sign : text)
        seed = seed * 33 + sign.unicode();
    return seed;
}

QString secondAddressOf(int place)
{
    return u"persona"_s % QString::number(place) % u"@example.net"_s;
}

/// Those in the address book who write from a second address have it there too.
void addSecondAddresses(QList<SamplePerson> &people)
{
    for (int place = 3; place < people.size(); place += 5) {
        SamplePerson &person = people[place];
        if (!person.email.isNull())
            continue;
        person.email = secondAddressOf(place);
        person.hasLinkedCard = person.hasCard && place % 2 == 0;
    }
}

/// Whether people can answer it.
bool isTalk(const SampleMessage &message)
{
    const SampleExtras &extras = message.extras;
    return message.item_type == 0 && extras.associated_message_type == 0 && message.chats.size() == 1 &&
           !message.text.isEmpty() && extras.delete_date == 0;
}

} // namespace

SampleHistory::SampleHistory(IosVersion generation, int messages, int wantedConversations, quint64 seed)
    : version(generation)
    , messageCount(messages)
    , conversationCount(std::max(wantedConversations, 1))
    , random(seed)
    , cast(sampleCast(std::max(conversationCount + 10, 100), random))
    , kinds(sampleKinds(generation))
{
    if (isModern(version))
        addSecondAddresses(cast);
}

QList<SampleFile> SampleHistory::write(const QString &path, Log log)
{
    const std::unique_ptr<SmsDbWriter> writer = SmsDbWriter::create(path, version);
    addConversations(*writer);
    setScene();
    const int logStart = log == Log::Beside ? messageCount - std::max(1, messageCount / 10) : -1;
    for (int number = 0; number < messageCount; ++number) {
        if (number == logStart)
            writer->startLog();
        SampleMessage message = messageAt(number);
        remember(message);
        if (!isModern(version) && message.service == iMessage && !message.text.isEmpty())
            message.attributedBody = typedStreamOf(message.text);
        addFiles(message.attachments);
        if (isModern(version))
            writeErased(*writer, message);
        writer->addMessage(message);
    }
    writer->finish();
    return files;
}

/// An ordinary message, or a special one in its place: each kind once, some again and again.
SampleMessage SampleHistory::messageAt(int number)
{
    SampleMessage message = ordinaryMessage(number);
    scene.number = number;
    scene.target = newestOfChat.value(message.chats.first(), newest);
    if (scene.target.guid.isNull())
        return message;
    const int stride = std::max(2, messageCount / int(kinds.size()));
    if (const int place = number / stride; number % stride == stride - 1 && place < kinds.size()) {
        kinds.at(place).touch(message, scene);
    } else if (message.attachments.isEmpty()) {
        const auto kind = std::ranges::find_if(
            kinds, [this](const SampleKind &each) { return each.oneIn && random.isOneIn(each.oneIn); });
        if (kind != kinds.end())
            kind->touch(message, scene);
    }
    return message;
}

void SampleHistory::remember(const SampleMessage &message)
{
    if (!isTalk(message))
        return;
    newest = newestOfChat[message.chats.first()] = message;
    if (message.extras.balloon_bundle_id.endsWith("com.apple.messages.Polls"_L1))
        scene.poll = message;
}

/// Messages that were deleted for good leave gaps before `next`.
void SampleHistory::writeErased(SmsDbWriter &writer, const SampleMessage &next)
{
    for (int left = random.isOneIn(120) ? 1 + random.below(4) : 0; left > 0; --left) {
        SampleMessage erased = next;
        erased.guid = random.guid();
        erased.attachments.clear();
        erased.extras.isErased = true;
        writer.addMessage(erased);
    }
}

/// Every fifth conversation is a group of iMessage, every tenth one of SMS, the others have one partner.
void SampleHistory::addConversations(SmsDbWriter &writer)
{
    conversations.clear();
    for (int place = 0; place < conversationCount; ++place) {
        const bool isGroup = place % 5 == 1 || place % 10 == 8;
        conversations.append(isGroup ? group(writer, place, place % 5 == 1 ? QString(iMessage) : u"SMS"_s)
                                     : direct(writer, place));
        if (!isModern(version) || place % 5 != 3)
            continue;
        // The same person by e-mail.
        const SampleHandle second{.id = secondAddressOf(place),
                                  .person_centric_id = u"person-"_s + QString::number(place)};
        const int chat = writer.addChat({.service = iMessage, .members = {second}});
        conversations.append({.chats = {chat}, .services = {iMessage}, .members = {second}});
    }
}

/// Every third partner writes both ways: two chats with one identifier.
SampleHistory::Conversation SampleHistory::direct(SmsDbWriter &writer, int place) const
{
    const SamplePerson &person = cast.at(place);
    Conversation conversation{.services = servicesOf(person, place), .members = {person.handle}};
    conversation.members.first().person_centric_id = u"person-"_s + QString::number(place);
    for (const QString &service : std::as_const(conversation.services))
        conversation.chats.append(writer.addChat({.service = service,
                                                  .members = conversation.members,
                                                  .is_filtered = isModern(version) && place % 9 == 8}));
    return conversation;
}

QStringList SampleHistory::servicesOf(const SamplePerson &person, int place) const
{
    QStringList services;
    if (person.hasSms && (place % 3 != 1 || !person.hasIMessage))
        services.append(u"SMS"_s);
    if (person.hasIMessage && (place % 3 != 2 || !person.hasSms))
        services.append(iMessage);
    if (version >= IosVersion::Ios18 && person.hasSms && place % 7 == 4)
        services.append(u"RCS"_s);
    return services;
}

SampleHistory::Conversation SampleHistory::group(SmsDbWriter &writer, int place, const QString &service) const
{
    static const QStringList names = {u"Familia"_s, u"Cena viernes 🍕"_s, u"Team A/B: *?"_s,
                                      u"<b>Fútbol</b>"_s};
    Conversation conversation{.isGroup = true, .services = {service}};
    const qsizetype size = 3 + place % 4;
    for (int next = place + 1; conversation.members.size() < size; ++next) {
        const SamplePerson &person = cast.at(next % int(cast.size()));
        if (service == iMessage ? person.hasIMessage : person.hasSms)
            conversation.members.append(person.handle);
    }
    SampleChat chat{.service = service, .members = conversation.members, .isGroup = true};
    chat.group_id = SampleRandom(quint64(place)).guid();
    if (service == iMessage && place % 2 == 0)
        chat.display_name = names.at(place / 2 % int(names.size()));
    conversation.chats = {writer.addChat(chat)};
    return conversation;
}

void SampleHistory::setScene()
{
    const Conversation &place = conversations.at(conversations.size() > 1 ? 1 : 0);
    scene = {.version = version,
             .groupChat = place.chats.first(),
             .groupService = place.services.first(),
             .members = {},
             .otherChat = conversations.last().chats.last()};
    for (const SampleHandle &member : place.members)
        scene.members.append(member.id);
}

/// Talk comes in runs: mostly the conversation of the message before goes on, and some conversations go
/// on far more than others.
SampleMessage SampleHistory::ordinaryMessage(int number)
{
    const int count = int(conversations.size());
    if (random.isOneIn(4))
        current = std::min(random.below(count), random.below(count));
    const Conversation &conversation = conversations.at(current);
    const int way = random.below(int(conversation.chats.size()));
    const SampleHandle &partner = random.pick(conversation.members);
    SampleMessage message;
    message.guid = random.guid();
    message.chats = {conversation.chats.at(way)};
    message.service = conversation.services.at(way);
    message.country = partner.country;
    message.is_from_me = random.isOneIn(2);
    if (!conversation.isGroup || !message.is_from_me)
        message.handle = partner.id;
    message.date = dateOf(number);
    message.text = sampleSentence(current, random);
    if (random.isOneIn(60)) {
        static const QStringList endings = {u".jpg"_s, u".HEIC"_s, u".png"_s, u".gif"_s};
        const QString name = u"IMG_"_s % QString::number(number % 10000).rightJustified(4, u'0') %
                             endings.at(isModern(version) ? number % 4 : 0);
        message.text = QChar(0xFFFC) + (random.isOneIn(2) ? message.text : QString());
        message.attachments = {sampleAttachment(version, message.guid, name)};
    }
    return message;
}

/// Dates rise with the rows, but some clocks are off by a minute and a few by a day.
qint64 SampleHistory::dateOf(int number)
{
    // 2018-01-01 to 2025-12-31, or 2011-01-01 to 2015-12-31, in seconds since 2001.
    const qint64 first = isModern(version) ? 536457600 : 315532800;
    const qint64 last = isModern(version) ? 788832000 : 473212800;
    qint64 date = first + (last - first) * number / messageCount;
    if (random.isOneIn(30))
        date -= random.below(100);
    if (random.isOneIn(1000))
        date -= random.below(24 * 60 * 60);
    return date;
}

/// Gives attachments their sizes once their files are kept. One file in ten was lost.
void SampleHistory::addFiles(QList<SampleAttachment> &attachments)
{
    constexpr qsizetype mostFiles = 4000;
    for (SampleAttachment &attachment : attachments) {
        if (attachment.filename.isNull())
            continue;
        const quint64 seed = seedOf(attachment.filename);
        const SampleContent content = sampleMedia(attachment.filename, seed);
        attachment.total_bytes = content.length;
        if (files.size() >= mostFiles)
            continue;
        const QString path = attachment.filename.sliced(attachment.filename.indexOf("Library/"_L1));
        files.append({u"MediaDomain"_s, path, content, seed % 10 == 0});
        if (!isModern(version) && attachment.mime_type.startsWith("image/"_L1, Qt::CaseInsensitive))
            files.append({u"MediaDomain"_s, path.first(path.lastIndexOf(u'.')) + u"-preview-left.jpg"_s,
                          sampleBytes(sampleJpeg(8, seed))});
    }
}
