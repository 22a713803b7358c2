#pragma once

#include "store/records/messagerecords.h"
#include "store/records/messagetext.h"

#include <QDateTime>
#include <QHash>
#include <QStringList>

#include <functional>

// All that is known of a message, in plain values: what a format is made of that leaves nothing out. Dates
// are in local time with its offset from UTC, and invalid where there is none. Texts come from others: each
// format makes sure that they stay texts.

/// Somebody who wrote, was written to or reacted.
struct RecordPerson {
    QString name; ///< of the address book; empty when unknown
    QString address;
};

/// An attachment.
struct RecordAttachment {
    const _MsgAttachment *source = nullptr;
    QString name; ///< one line, without folders; never empty
    qint64 bytes = 0;
    QString sha256;        ///< lower-case hex of the file at hand; empty where none is or none was asked for
    QString missingReason; ///< why there is no file; empty when there is one
};

/// A reaction that is in force.
struct RecordReaction {
    QString kind; ///< "love", "emoji", "sticker", "vote" ...
    QString emoji;
    int part = 0; ///< of the message; -1 for all of it
    bool isFromMe = false;
    RecordPerson who; ///< empty for the owner and where unknown
    QString words;    ///< "Ann loved this"
    QDateTime date;
    QList<RecordAttachment> attachments;
};

/// A state of a part of the message.
struct RecordEdit {
    int part = 0;
    QDateTime date;
    QString text;
};

/// Words, or an attachment, in the order of the writer.
struct RecordPart {
    QString text;
    qsizetype attachment = -1; ///< index in `MessageRecord::attachments`; -1 for words
    bool isInline = false;     ///< the attachment stands within a line, like an emoji
};

/// One message.
struct MessageRecord {
    const _MsgMessage *source = nullptr;
    qint64 rowid = 0;
    QString guid;            ///< empty when the message has none of its own
    QString chat_identifier; ///< empty for a message without a conversation
    QString conversation;    ///< its title
    QString service;
    bool isFromMe = false;
    bool isEvent = false;       ///< of the conversation: somebody joined, left, named it
    RecordPerson sender;        ///< empty name and address for the owner
    QList<RecordPerson> others; ///< the other side of the conversation, by rowid
    QString ownAddress;         ///< of the owner in this message; empty when unknown

    QDateTime date;
    QDateTime dateDelivered;
    QDateTime dateRead;
    QDateTime datePlayed;
    bool isNotDelivered = false; ///< the phone could not send it
    bool isToBeSentLater = false;

    QString subject;
    QList<RecordPart> parts;
    QString words; ///< the text that views show, or the sentence of an event
    QString body;  ///< as stored

    QString contentKind;     ///< of a rich message: "poll", "link" ...; empty for others
    QStringList content;     ///< what its balloon holds, in words
    QStringList besideWords; ///< transcripts of voice messages, translations
    QString effect;          ///< name of the effect that it was sent with

    QString replyTo;       ///< guid of the message that this one answers
    QString answeredWords; ///< who wrote that, and how it begins

    QList<RecordReaction> reactions;
    QDateTime dateEdited;
    QList<RecordEdit> edits; ///< by part, oldest first; the last of a part is what it says now
    bool isUnsent = false;   ///< some of it, or all, was taken back
    QDateTime dateUnsent;
    QDateTime dateDeleted;          ///< when it went to "Recently Deleted"
    QList<RecordEdit> deletedParts; ///< parts that alone went there
    bool isRecovered = false;       ///< it was deleted, and found again in the file

    QList<RecordAttachment> attachments; ///< those that the phone hides as well, by rowid
};

/// Which guids are a message's own; those of some sources are made up anew on every load.
using GuidTest = std::function<bool(const _MsgMessage &)>;

/// Makes the records of a list of messages.
class MessageRecordMaker
{
public:
    /// Whether the files of attachments are read for their SHA-256.
    enum class Hashes { Made, LeftOut };

    explicit MessageRecordMaker(Hashes hashes = Hashes::Made, EmojiStyle emoji = EmojiStyle::Characters,
                                GuidTest isOwnGuid = {})
        : hashes(hashes), emoji(emoji), isOwnGuid(std::move(isOwnGuid))
    {
    }

    /// Throws `std::runtime_error` when a file that is at hand can't be read.
    MessageRecord record(const _MsgMessage &message);
    RecordAttachment attachment(const _MsgAttachment &source);

private:
    struct Conversation {
        QString title;
        QList<RecordPerson> others;
    };

    void addConversation(MessageRecord &record, const _MsgMessage &message);
    void addBody(MessageRecord &record, const _MsgMessage &message);
    void addExtras(MessageRecord &record, const MessageExtras &extras);
    RecordReaction reaction(const MessageReaction &source);
    QString sha256(const LocalFile &file);

    Hashes hashes;
    EmojiStyle emoji;
    GuidTest isOwnGuid;
    QHash<const _MsgChat *, Conversation> conversations;
    QHash<QString, QString> knownHashes; ///< by path
};

/// The owner's address in the message; empty when unknown.
QString ownAddress(const _MsgMessage &message);

bool isToBeSentLater(const MessageExtras &extras);

/// "2014-03-05T18:30:00+01:00"; empty for an invalid date.
QString isoText(const QDateTime &date);

/// The name, with the address in brackets where both are known; "You" for the owner.
QString personText(const RecordPerson &person, bool isOwner);

/// SHA-256 of a file in lower-case hex. Throws `std::runtime_error` that names the file.
QString sha256OfFile(const QString &path);
