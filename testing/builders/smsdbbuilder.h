#pragma once

#include "testing/builders/iosversion.h"
#include "testing/builders/samplerecords.h"

#include <QDateTime>
#include <QDir>

#include <map>

/// Tells a phone's messages in the order in which they came and writes them as the phone would:
/// SmsDbBuilder(dir).chat(u"+34612345678"_s).received(u"Hola"_s).sent(u"Sí"_s).write().
/// The first message is of 2013-05-01 12:00 UTC, each further one a minute later. A call on "the
/// message" or "the chat" means the one told last. What is told twice alike gets the same guids.
class SmsDbBuilder
{
public:
    /// Writes below `sourceRoot`, the root folder of a source.
    explicit SmsDbBuilder(const QDir &sourceRoot, IosVersion generation = IosVersion::Ios6);

    /// Further messages belong to the chat with one partner, which goes on if it was told before.
    SmsDbBuilder &chat(const QString &address, const QString &service = QStringLiteral("SMS"));
    /// Further messages belong to a group.
    SmsDbBuilder &group(const QStringList &addresses, const QString &service = QStringLiteral("iMessage"));
    /// Further messages belong to no chat; receivedFrom() gives one a handle, received() does not.
    SmsDbBuilder &noChat();
    /// Goes back to the chat that was told as the `number`th, from 0.
    SmsDbBuilder &backTo(int number);

    SmsDbBuilder &named(const QString &displayName);
    /// Country of all members of the chat; a null text stands as NULL.
    SmsDbBuilder &handleCountry(const QString &country);
    /// Changes any field of the chat: withChat([](SampleChat &chat) { chat.is_archived = true; }).
    template <typename Change>
    SmsDbBuilder &withChat(Change change)
    {
        change(lastChat());
        return *this;
    }

    SmsDbBuilder &received(const QString &text);
    /// In a group: from this member.
    SmsDbBuilder &receivedFrom(const QString &address, const QString &text);
    SmsDbBuilder &sent(const QString &text);
    /// An event by `address`, or by the owner when it is null; from iOS 7 on.
    SmsDbBuilder &event(int itemType, const QString &address = {});

    SmsDbBuilder &at(const QDateTime &date);
    /// Seconds since 2001.
    SmsDbBuilder &at(qint64 date);
    SmsDbBuilder &guid(const QString &guid);
    SmsDbBuilder &rowid(qint64 rowid);
    SmsDbBuilder &country(const QString &country);
    SmsDbBuilder &service(const QString &service);
    SmsDbBuilder &unread();
    /// The address that an event speaks of.
    SmsDbBuilder &about(const QString &address);
    SmsDbBuilder &groupTitle(const QString &title);
    SmsDbBuilder &attachment(const QString &filename, const QString &mimeType = QStringLiteral("image/jpeg"));
    /// The message stands in the chat that was told as the `number`th too.
    SmsDbBuilder &alsoIn(int number);
    /// Changes any field of the message: with([](SampleMessage &message) { message.error = 1; }).
    template <typename Change>
    SmsDbBuilder &with(Change change)
    {
        change(lastMessage());
        return *this;
    }

    // What follows needs iOS 11 or later. It speaks of the ordinary message told last; reactions count as
    // the message told last for at(), guid(), rowid(), with() and attachment() alone.

    /// A row that people see under the message, by the partner or the first member of the group: 1000 a
    /// sticker, 2000 to 2007 a tapback, 3000 to 3007 its removal, 4000 a vote; 2006 has an emoji.
    SmsDbBuilder &reaction(int type, const QString &emoji = {});
    SmsDbBuilder &reactionBy(const QString &address, int type, const QString &emoji = {});
    SmsDbBuilder &ownReaction(int type, const QString &emoji = {});
    SmsDbBuilder &sticker(const QString &filename);
    /// What stands before the guid in the reaction told last: "p:0/" unless told, else "p:1/", "bp:", "".
    SmsDbBuilder &aimedAt(const QString &prefix);
    /// The partner answers the message; the answer is the message from then on.
    SmsDbBuilder &reply(const QString &text);
    SmsDbBuilder &ownReply(const QString &text);
    /// The message says `text` now, a minute after what it said before.
    SmsDbBuilder &edited(const QString &text);
    SmsDbBuilder &editedWithoutHistory();
    /// The whole message, or one part of it.
    SmsDbBuilder &unsent();
    SmsDbBuilder &unsentPart(int part);
    /// Such as "com.apple.MobileSMS.expressivesend.impact".
    SmsDbBuilder &effect(const QString &styleId);
    SmsDbBuilder &balloon(const QString &bundleId, const QByteArray &payload = {});
    /// Moved to "Recently Deleted" a day after its date; a part of it alone.
    SmsDbBuilder &recentlyDeleted();
    SmsDbBuilder &deletedPart(int part, const QString &text);
    /// Deleted for good: its row number stays free, its guid is noted.
    SmsDbBuilder &erased();
    SmsDbBuilder &sendLater();
    /// Its dates are seconds, not nanoseconds.
    SmsDbBuilder &inSeconds();
    SmsDbBuilder &textIn(SampleExtras::Text place);
    /// The members of the chat have this person_centric_id.
    SmsDbBuilder &samePerson(const QString &personId);
    SmsDbBuilder &attachment(const SampleAttachment &attachment);

    /// The messages that follow stand only in the write-ahead log, which stays beside the file.
    SmsDbBuilder &restInLog();

    /// Path of the file, "file-relay/var/mobile/Library/SMS/sms.db" below the root. Throws
    /// std::runtime_error.
    QString write() const;
    /// Writes to a path of your own and hands it back.
    QString writeTo(const QString &path) const;

private:
    SampleMessage &add(const QString &text, const QString &handle);
    /// What a reaction or an answer belongs to, as a place in `messages`.
    struct Link {
        qsizetype target = 0;
        QString prefix;
    };

    SampleMessage &lastMessage();
    SampleMessage &lastTalk();
    QList<SampleMessage> completeMessages() const;
    void resolveLinks(QList<SampleMessage> &told) const;
    SampleChat &lastChat();
    void addChat(const SampleChat &chat);

    QDir root;
    IosVersion version;
    QList<SampleChat> chats;
    QList<SampleMessage> messages;
    std::map<qsizetype, Link> links;
    qsizetype talk = -1;
    int currentChat = -1;
    qsizetype logStart = -1;
    qint64 nextDate;
};
