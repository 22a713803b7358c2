#pragma once

#include "store/records/messagerecords.h"

#include <QList>
#include <QString>
#include <QStringList>

#include <optional>

/// A conversation or a person that the source doesn't have: a slip, unless several sources are asked at once.
enum class Absent { IsError, IsNobody };

/// What narrows the messages of a source down: one has to meet each part that is there. Without any it
/// stands for all.
struct Choice {
    QStringList chats = {};   ///< `chat_identifier`s of conversations; it stands in one of them
    QStringList persons = {}; ///< as `PersonPattern` takes them. One of them wrote it, is spoken of, or was
                              ///< sent it by the owner
    QString country = {};     ///< mobile country code of the phone, for numbers of persons; may be empty
    std::optional<qint64> from = {}; ///< first and last second, since 2001-01-01 UTC
    std::optional<qint64> to = {};
    bool sent = false;            ///< by the owner
    bool received = false;        ///< both together are all
    bool withAttachments = false; ///< that people see
    bool withLinks = false;       ///< in the text or as its content
    bool withReactions = false;
    Absent absent = Absent::IsError;
};

enum class ListOrder { OldestFirst, NewestFirst };

/// A message and the conversation that it is listed in.
struct ListedMessage {
    _MsgMessage *message;
    QString chatIdentifier;
};

/// The conversations with these identifiers.
QList<_MsgSession> chosenSessions(const _MsgStorePtr &store, const QStringList &identifiers);

/// The messages that `choice` asks for. A message of two chats stands once in a list of all, and
/// once in each conversation asked for. Throws `std::runtime_error` for a conversation or a person that the
/// source doesn't have.
QList<ListedMessage> listedMessages(const _MsgStorePtr &store, const Choice &choice,
                                    ListOrder order = ListOrder::OldestFirst);

/// The same messages, each once.
QList<_MsgMessage *> chosenMessages(const _MsgStorePtr &store, const Choice &choice,
                                    ListOrder order = ListOrder::OldestFirst);
