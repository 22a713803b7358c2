#pragma once

#include "store/records/messagerecords.h"

#include <QList>
#include <QString>
#include <QStringList>

/// What narrows the messages of a source down; its parts add up. Without any it stands for all.
struct Choice {
    QStringList chats; ///< `chat_identifier`s of conversations
};

enum class ListOrder { OldestFirst, NewestFirst };

/// A message and the conversation that it is listed in.
struct ListedMessage {
    _MsgMessage *message;
    QString chatIdentifier;
};

/// The messages that `choice` asks for. A message of two chats stands once in a list of all, and
/// once in each conversation asked for. Throws `std::runtime_error` for a conversation that the source
/// doesn't have.
QList<ListedMessage> listedMessages(const _MsgStorePtr &store, const Choice &choice,
                                    ListOrder order = ListOrder::OldestFirst);

/// The same messages, each once.
QList<_MsgMessage *> chosenMessages(const _MsgStorePtr &store, const Choice &choice,
                                    ListOrder order = ListOrder::OldestFirst);
