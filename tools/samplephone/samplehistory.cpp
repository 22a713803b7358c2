#include "tools/samplephone/samplehistory.h"

#include "tools/samplephone/sampleimages.h"
#include "tools/samplephone/samplemedia.h"
#include "tools/samplephone/samplewords.h"

#include <algorithm>

using namespace Qt::StringLiterals;

namespace
{

/// 2011-01-01 and 2015-12-31, seconds since 2001.
constexpr qint64 firstDay = 315532800;
constexpr qint64 lastDay = 473212800;
/// 2018-01-01 and 2025-12-31.
constexpr qint64 firstDayOfModern = 536457600;
constexpr qint64 lastDayOfModern = 788832000;
/// So many files of attachments stand in a sample at most.
constexpr qsizetype mostFiles = 4000;
constexpr int fewestPeople = 100;

const auto iMessage = "iMessage"_L1;

bool isPicture(const SampleAttachment &attachment)
{
    return attachment.mime_type.startsWith("image/"_L1, Qt::CaseInsensitive);
}

/// "~/Library/..." and "/var/mobile/Library/..." as a path in the backup's domain.
QString pathInDomain(const QString &filename)
{
    return filename.sliced(filename.indexOf("Library/"_L1));
}

/// Decides what a file holds, the same on every machine.
quint64 seedOf(const QString &filename)
{
    quint64 seed = 5381;
    for (const QChar sign : filename)
        seed = seed * 33 + sign.unicode();
    return seed;
}

SampleContent contentOf(const SampleAttachment &attachment)
{
    const quint64 seed = seedOf(attachment.filename);
    if (isPicture(attachment))
        return sampleBytes(sampleJpeg(40, seed));
    return sampleNoise(1000 + qint64(seed % 9000), seed);
}

QString personId(int place)
{
    return u"person-"_s + QString::number(place);
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

SampleFile previewOf(const QString &path)
{
    const QString stem = path.first(path.lastIndexOf(u'.'));
    return {u"MediaDomain"_s, stem % u"-preview-left.jpg"_s, sampleBytes(sampleJpeg(8, seedOf(path)))};
}

} // namespace

SampleHistory::SampleHistory(IosVersion generation, int messages, int conversationsWanted, quint64 seed)
    : version(generation)
    , messageCount(messages)
    , conversationCount(std::max(conversationsWanted, 1))
    , random(seed)
    , cast(sampleCast(std::max(conversationCount + 10, fewestPeople), random))
    , touches(sampleTouches(generation))
    , seasoning(generation, seed)
{
    if (isModern(version))
        addSecondAddresses(cast);
}

QList<SampleFile> SampleHistory::write(const QString &path, Log log)
{
    const std::unique_ptr<SmsDbWriter> writer = SmsDbWriter::create(path, version);
    addConversations(*writer);
    SampleScene scene = sceneOfEvents();
    const int logStart = log == Log::Beside ? messageCount - std::max(1, messageCount / 10) : -1;
    for (int number = 0; number < messageCount; ++number) {
        if (number == logStart)
            writer->startLog();
        scene.target = seasoning.newest();
        scene.poll = seasoning.newestPoll();
        SampleMessage message = messageAt(number, scene);
        complete(message);
        if (isModern(version))
            writeErased(*writer, message);
        writer->addMessage(message);
    }
    writer->finish();
    return files;
}

/// An ordinary message, or an odd one in its place.
SampleMessage SampleHistory::messageAt(int number, const SampleScene &scene)
{
    const int stride = std::max(2, messageCount / int(touches.size()));
    SampleMessage message = ordinaryMessage(number);
    const int touch = number / stride;
    const bool canAnswer = !isModern(version) || !scene.target.guid.isNull();
    if (number % stride == (isModern(version) ? stride - 1 : 0) && touch < touches.size() && canAnswer)
        touches.at(touch)(message, scene);
    else if (isModern(version))
        seasoning.season(message);
    return message;
}

void SampleHistory::complete(SampleMessage &message)
{
    if (isModern(version))
        seasoning.remember(message);
    else if (message.service == iMessage && !message.text.isEmpty())
        message.attributedBody = typedStreamOf(message.text);
    message.attachments = withFiles(message.attachments);
}

/// Messages that were deleted for good leave gaps before `next`.
void SampleHistory::writeErased(SmsDbWriter &writer, const SampleMessage &next)
{
    for (int left = seasoning.erasedHere(); left > 0; --left) {
        SampleMessage erased = next;
        erased.guid = SampleRandom(seedOf(next.guid) + quint64(left)).guid();
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
        if (place % 5 == 1)
            conversations.append(group(writer, place, iMessage));
        else if (place % 10 == 8)
            conversations.append(group(writer, place, u"SMS"_s));
        else
            conversations.append(direct(writer, place));
        if (isModern(version) && place % 5 == 3)
            conversations.append(secondAddress(writer, place));
    }
}

/// Every third partner writes both ways: two chats with one identifier.
SampleHistory::Conversation SampleHistory::direct(SmsDbWriter &writer, int place) const
{
    const SamplePerson &person = cast.at(place);
    Conversation conversation;
    conversation.members = {person.handle};
    conversation.members.first().person_centric_id = personId(place);
    conversation.services = servicesOf(person, place);
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

/// The same person by e-mail.
SampleHistory::Conversation SampleHistory::secondAddress(SmsDbWriter &writer, int place) const
{
    Conversation conversation;
    conversation.members = {{.id = secondAddressOf(place), .person_centric_id = personId(place)}};
    conversation.services = {iMessage};
    conversation.chats = {writer.addChat({.service = iMessage, .members = conversation.members})};
    return conversation;
}

SampleHistory::Conversation SampleHistory::group(SmsDbWriter &writer, int place, const QString &service) const
{
    static const QStringList names = {u"Familia"_s, u"Cena viernes 🍕"_s, u"Team A/B: *?"_s,
                                      u"<b>Fútbol</b>"_s};
    Conversation conversation;
    conversation.isGroup = true;
    conversation.services = {service};
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

SampleScene SampleHistory::sceneOfEvents() const
{
    const Conversation &place = conversations.at(conversations.size() > 1 ? 1 : 0);
    SampleScene scene;
    scene.groupChat = place.chats.first();
    scene.groupService = place.services.first();
    for (const SampleHandle &member : place.members)
        scene.members.append(member.id);
    scene.otherChat = conversations.last().chats.last();
    return scene;
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
        message.text = QChar(0xFFFC) + (random.isOneIn(2) ? message.text : QString());
        SampleAttachment picture;
        picture.filename = sampleAttachmentName(version, message.guid, pictureName(number));
        message.attachments = {picture};
    }
    return message;
}

QString SampleHistory::pictureName(int number) const
{
    static const QStringList modernEndings = {u".jpg"_s, u".HEIC"_s, u".png"_s, u".gif"_s};
    const QString ending = isModern(version) ? modernEndings.at(number % modernEndings.size()) : u".jpg"_s;
    return u"IMG_"_s % QString::number(number % 10000).rightJustified(4, u'0') % ending;
}

/// Dates rise with the rows, but some clocks are off by a minute and a few by a day.
qint64 SampleHistory::dateOf(int number)
{
    const qint64 first = isModern(version) ? firstDayOfModern : firstDay;
    const qint64 last = isModern(version) ? lastDayOfModern : lastDay;
    qint64 date = first + (last - first) * number / messageCount;
    if (random.isOneIn(30))
        date -= random.below(100);
    if (random.isOneIn(1000))
        date -= random.below(24 * 60 * 60);
    return date;
}

/// The attachments with their sizes, once their files are kept. One file in ten was lost.
QList<SampleAttachment> SampleHistory::withFiles(QList<SampleAttachment> attachments)
{
    for (SampleAttachment &attachment : attachments) {
        if (attachment.filename.isNull())
            continue;
        const quint64 seed = seedOf(attachment.filename);
        const SampleContent content =
            isModern(version) ? sampleMedia(attachment.filename, seed) : contentOf(attachment);
        attachment.total_bytes = content.length;
        if (files.size() < mostFiles)
            addFiles(attachment, content);
    }
    return attachments;
}

void SampleHistory::addFiles(const SampleAttachment &attachment, const SampleContent &content)
{
    const QString path = pathInDomain(attachment.filename);
    const bool isLost = seedOf(path) % 10 == 0;
    files.append({u"MediaDomain"_s, path, content, isLost});
    if (isPicture(attachment) && !isModern(version))
        files.append(previewOf(path));
}
