#pragma once

#include "store/readers/ios6messagedb.h"
#include "store/records/messagerecords.h"

#include <QHash>
#include <QMap>
#include <QSet>
#include <QString>

#include <utility>

/// Finds or makes what stands around messages in a database: their chats, the people, the attachments, and
/// joins them. It works in a transaction of the caller's, which ends with `finish`.
class MessageWriter
{
public:
    explicit MessageWriter(IOS6MessageDb &database) : db(database) {}

    /// Whether the message's chat is one that people know; logs it otherwise.
    static bool hasKnownChat(const _MsgMessage &message);

    /// By guid; in a phone's file, else by address, style and service.
    qint64 chatRowid(const _MsgChat &chat);
    qint64 handleRowid(const _MsgHandle &handle);
    /// Row of somebody who writes in a chat or is spoken of there, joined to it; 0 for nobody. The made-up
    /// chat of messages without a conversation has no members, and a member with two services stays one.
    qint64 personRowid(const _MsgChat &chat, qint64 chatId, const _MsgHandle *handle);
    /// Adds the message to its chat. Returns its row. `hash` may be empty, it is then computed if need be.
    qint64 insert(const _MsgMessage &message, qint64 chatId, qint64 handleId, const QString &hash);
    qint64 attachmentRowid(const _MsgAttachment &attachment);
    void joinAttachment(const _MsgAttachment &attachment, qint64 messageId);
    /// Remembers who wrote last in a group.
    void noteAddressed(const _MsgMessage &message, qint64 chatId);
    /// Writes what is written once a chat instead of once a message.
    void finish();
    /// Forgets all rows.
    void forget();

private:
    qint64 memberRowid(qint64 chatId, const _MsgHandle &handle);

    IOS6MessageDb &db;

    // What is known of the database. Nobody else can change these rows while the run lasts.
    QHash<QString, qint64> chatIds;                       ///< by guid
    QHash<std::pair<QString, QString>, qint64> handleIds; ///< by address and service
    QSet<std::pair<qint64, qint64>> members;              ///< chat and handle that are joined
    QMap<qint64, QString> lastAddressed;                  ///< by chat
};
