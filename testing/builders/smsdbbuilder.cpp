#include "testing/builders/smsdbbuilder.h"

#include "testing/builders/smsdbwriter.h"

#include <QCryptographicHash>
#include <QUuid>

#include <algorithm>
#include <stdexcept>

using namespace Qt::StringLiterals;

namespace
{

/// 2013-05-01 12:00 UTC.
constexpr qint64 firstDate = 389102400;

/// A guid that depends on the message alone, so that one message told in two files is one message.
QString guidOf(const SampleMessage &message, const SampleChat *chat)
{
    const QString partner = chat && !chat->members.isEmpty() ? chat->members.first().id : QString();
    const QString told = partner % u"|"_s % message.handle % u"|"_s % QString::number(message.date) % u"|"_s %
                         message.text % u"|"_s % QString::number(message.is_from_me) %
                         QString::number(message.item_type) % message.service;
    const QByteArray digest = QCryptographicHash::hash(told.toUtf8(), QCryptographicHash::Md5);
    return QUuid::fromRfc4122(digest).toString(QUuid::WithoutBraces).toUpper();
}

} // namespace

SmsDbBuilder::SmsDbBuilder(const QDir &sourceRoot, IosVersion generation)
    : root(sourceRoot), version(generation), nextDate(firstDate)
{
}

void SmsDbBuilder::addChat(const SampleChat &chat)
{
    chats.append(chat);
    currentChat = int(chats.size()) - 1;
}

SmsDbBuilder &SmsDbBuilder::chat(const QString &address, const QString &service)
{
    const auto known = std::find_if(chats.cbegin(), chats.cend(), [&](const SampleChat &one) {
        return !one.isGroup && one.service == service && one.members.size() == 1 &&
               one.members.first().id == address;
    });
    if (known != chats.cend())
        return backTo(int(known - chats.cbegin()));
    addChat({.service = service, .members = {{address}}});
    return *this;
}

SmsDbBuilder &SmsDbBuilder::group(const QStringList &addresses, const QString &service)
{
    SampleChat chat{.service = service, .isGroup = true};
    for (const QString &address : addresses)
        chat.members.append({address});
    addChat(chat);
    return *this;
}

SmsDbBuilder &SmsDbBuilder::noChat()
{
    currentChat = -1;
    return *this;
}

SmsDbBuilder &SmsDbBuilder::backTo(int number)
{
    if (number < 0 || number >= chats.size())
        throw std::runtime_error("The sample has no chat of this number.");
    currentChat = number;
    return *this;
}

SmsDbBuilder &SmsDbBuilder::named(const QString &displayName)
{
    lastChat().display_name = displayName;
    return *this;
}

SmsDbBuilder &SmsDbBuilder::handleCountry(const QString &country)
{
    for (SampleHandle &member : lastChat().members)
        member.country = country;
    return *this;
}

SampleMessage &SmsDbBuilder::add(const QString &text, const QString &handle)
{
    SampleMessage message;
    message.text = text;
    message.handle = handle;
    message.date = nextDate;
    if (currentChat >= 0) {
        message.service = chats.at(currentChat).service;
        message.chats = {currentChat};
    }
    nextDate += 60;
    messages.append(message);
    talk = messages.size() - 1;
    return messages.last();
}

SmsDbBuilder &SmsDbBuilder::received(const QString &text)
{
    const bool hasPartner = currentChat >= 0 && !chats.at(currentChat).members.isEmpty();
    add(text, hasPartner ? chats.at(currentChat).members.first().id : QString());
    return *this;
}

SmsDbBuilder &SmsDbBuilder::receivedFrom(const QString &address, const QString &text)
{
    add(text, address);
    return *this;
}

SmsDbBuilder &SmsDbBuilder::sent(const QString &text)
{
    const bool hasOnePartner = currentChat >= 0 && chats.at(currentChat).members.size() == 1;
    add(text, hasOnePartner ? chats.at(currentChat).members.first().id : QString()).is_from_me = true;
    return *this;
}

SmsDbBuilder &SmsDbBuilder::event(int itemType, const QString &address)
{
    SampleMessage &message = add({}, address);
    message.item_type = itemType;
    message.is_from_me = address.isNull();
    return *this;
}

SmsDbBuilder &SmsDbBuilder::at(const QDateTime &date)
{
    return at(date.toSecsSinceEpoch() - appleEpoch);
}

SmsDbBuilder &SmsDbBuilder::at(qint64 date)
{
    lastMessage().date = date;
    nextDate = date + 60;
    return *this;
}

SmsDbBuilder &SmsDbBuilder::guid(const QString &guid)
{
    lastMessage().guid = guid;
    return *this;
}

SmsDbBuilder &SmsDbBuilder::rowid(qint64 rowid)
{
    lastMessage().rowid = rowid;
    return *this;
}

SmsDbBuilder &SmsDbBuilder::country(const QString &country)
{
    lastMessage().country = country;
    return *this;
}

SmsDbBuilder &SmsDbBuilder::service(const QString &service)
{
    lastMessage().service = service;
    return *this;
}

SmsDbBuilder &SmsDbBuilder::unread()
{
    lastMessage().is_read = false;
    return *this;
}

SmsDbBuilder &SmsDbBuilder::about(const QString &address)
{
    lastMessage().otherHandle = address;
    return *this;
}

SmsDbBuilder &SmsDbBuilder::groupTitle(const QString &title)
{
    lastMessage().group_title = title;
    return *this;
}

SmsDbBuilder &SmsDbBuilder::attachment(const QString &filename, const QString &mimeType)
{
    SampleAttachment attachment;
    attachment.filename = filename;
    attachment.mime_type = mimeType;
    lastMessage().attachments.append(attachment);
    return *this;
}

SmsDbBuilder &SmsDbBuilder::alsoIn(int number)
{
    lastMessage().chats.append(number);
    return *this;
}

SmsDbBuilder &SmsDbBuilder::restInLog()
{
    logStart = messages.size();
    return *this;
}

SampleMessage &SmsDbBuilder::lastMessage()
{
    if (messages.isEmpty())
        throw std::runtime_error("Tell the sample a message first.");
    return messages.last();
}

SampleChat &SmsDbBuilder::lastChat()
{
    if (currentChat < 0)
        throw std::runtime_error("Tell the sample a chat first.");
    return chats[currentChat];
}

QString SmsDbBuilder::write() const
{
    return writeTo(root.filePath(QString::fromLatin1(smsDbBelowRoot)));
}

QString SmsDbBuilder::writeTo(const QString &path) const
{
    const std::unique_ptr<SmsDbWriter> writer = SmsDbWriter::create(path, version);
    for (const SampleChat &chat : chats)
        writer->addChat(chat);
    const QList<SampleMessage> told = completeMessages();
    for (qsizetype place = 0; place < told.size(); ++place) {
        if (place == logStart)
            writer->startLog();
        writer->addMessage(told.at(place));
    }
    writer->finish();
    return path;
}

/// The messages with their guids, with bodies where the older phones write them.
QList<SampleMessage> SmsDbBuilder::completeMessages() const
{
    QList<SampleMessage> told = messages;
    for (SampleMessage &message : told) {
        if (message.guid.isNull())
            message.guid =
                guidOf(message, message.chats.isEmpty() ? nullptr : &chats.at(message.chats.first()));
        if (!isModern(version) && message.attributedBody.isNull() && message.service == "iMessage"_L1 &&
            !message.text.isEmpty())
            message.attributedBody = typedStreamOf(message.text);
    }
    resolveLinks(told);
    return told;
}
