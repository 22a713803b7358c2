#pragma once

#include "ios6messagedb.h"
#include "messagerecords.h"

#include <QHash>
#include <QMap>
#include <QSet>
#include <QString>

#include <utility>

/// Puts messages into a database together with what stands around them: their chat, the people, the
/// attachments. What is there already is found and joined. Everything happens in a transaction of the
/// caller's, which ends with `finish`.
class MessagePlacing
{
public:
    /// The rows that a message belongs to.
    struct Place {
        qint64 chat = 0;
        qint64 handle = 0; ///< 0 when the message has none
    };

    explicit MessagePlacing(IOS6MessageDb &database) : db(database) {}

    /// Whether the message's chat is one that people know; logs it otherwise.
    static bool hasKnownChat(const _MsgMessage &message);

    /// Finds or makes the chat and the sender, and sees that they are joined.
    Place place(const _MsgMessage &message);
    /// Adds the message in its place. Returns its row. `hash` may be empty, it is then computed if need be.
    qint64 insert(const _MsgMessage &message, const Place &place, const QString &hash);
    /// Finds or makes the attachment and joins it.
    void joinAttachment(const _MsgAttachment &attachment, qint64 messageId);
    /// Writes what is written once a chat instead of once a message, and forgets all rows.
    void finish();
    void forget();

private:
    qint64 chatRowid(const _MsgChat &chat);
    qint64 memberRowid(qint64 chatId, const _MsgHandle &handle);

    IOS6MessageDb &db;

    // What is known of the database. Nobody else can change these rows while the run lasts.
    QHash<QString, qint64> chatIds;                       ///< by guid
    QHash<std::pair<QString, QString>, qint64> handleIds; ///< by address and service
    QSet<std::pair<qint64, qint64>> members;              ///< chat and handle that are joined

    QMap<qint64, int> newestDates;       ///< by chat
    QMap<qint64, QString> lastAddressed; ///< by chat
};
