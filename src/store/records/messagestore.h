#pragma once

#include "store/records/messagerecords.h"

#include <QDateTime>
#include <QList>
#include <QString>

// What all layers above the readers do with a store of messages: conversations, lists, their order.
// Every list comes in a fixed order, so that two runs over one source give the same bytes.

/// What makes chats one conversation.
enum class SessionGrouping {
    ByIdentifier, ///< one `chat_identifier`
    ByPerson,     ///< or one partner with several addresses, see `joinSamePersons`
};

/// The conversations. Newest first, of one date the one with the lowest chat rowid first; the chats of one
/// `chat_identifier` within by rowid.
QList<_MsgSession> groupChatSessions(const _MsgStorePtr &store,
                                     SessionGrouping grouping = SessionGrouping::ByIdentifier);

/// The messages of these chats, chat after chat, in each by rowid. A message that stands in several of
/// them comes once.
QList<_MsgMessage *> sessionMessages(const QList<_MsgChat *> &chats);

/// All messages by rowid, each once.
QList<_MsgMessage *> allMessages(const _MsgStorePtr &store);

/// True when more than one person takes part besides the owner.
bool isGroup(const _MsgChat &chat);

/// A date of a record (seconds since 2001-01-01 UTC) in local time.
QDateTime appleDateTime(int seconds);

/// Whether `a` stands before `b` in a list. Rows near each other keep the order of the database, others
/// go by date. This is no strict weak ordering (three messages may form a circle): hand it to no
/// algorithm that needs one, use `sortMessages`.
bool compareMessages(const _MsgMessage &a, const _MsgMessage &b);

/// `messages` in the order of `compareMessages`, oldest first, the same for every order they come in.
/// Messages that compare alike go by rowid.
QList<_MsgMessage *> sortMessages(const QList<_MsgMessage *> &messages);

/// A message as iOS 6 takes it over from an older phone: these flags are set on each.
_MsgMessage takenOverMessage(const QString &service);

/// A new random UUID in upper case, without braces.
QString newMessageGuid();

/// A GUID made of the MD5 of `data`, upper case: the same data gives the same GUID.
QString messageGuidFromData(const QByteArray &data);

/// "chat" and 18 digits, made of `seed`: the identifier of a group that has none.
QString newChatIdentifier(const QString &seed);

/// The generation of a message database: 6 when it has all tables of the newer one, else 5. Throws
/// `std::runtime_error` when `path` is missing or no database.
int sniffMessageDbVersion(const QString &path);
