#pragma once

#include <QList>
#include <QString>

struct CommandLine;
struct Source;
struct _MsgMessage;

/// A message and the conversation that it is listed in.
struct ListedMessage {
    _MsgMessage *message;
    QString chatIdentifier;
};

/// The messages that the command line asks for, in its order. A message of two chats stands once in a
/// list of all, and once in each conversation asked for. Throws `std::runtime_error` for a conversation
/// that the source doesn't have.
QList<ListedMessage> listedMessages(const Source &source, const CommandLine &line);

/// The same messages, each once.
QList<_MsgMessage *> chosenMessages(const Source &source, const CommandLine &line);
