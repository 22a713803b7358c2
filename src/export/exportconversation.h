#pragma once

#include <QList>
#include <QString>

struct _MsgChat;
struct _MsgMessage;

/// The messages that go into one file of an export.
struct ExportConversation {
    QString fileName; ///< without suffix; two conversations may have the same
    QList<_MsgMessage *> messages;
};

/// One entry for each `chat_identifier` (letter case apart) and one for messages without a chat, by the
/// lowest rowid of their chats, whatever order `messages` come in. Within, the messages stand in the order
/// of the message list, oldest first if `ascending`, else newest first.
QList<ExportConversation> exportConversations(const QList<_MsgMessage *> &messages, bool ascending);

/// The name of the file for a chat (null: messages without one), without suffix: a group's identifier, or
/// the name and address of the partner. It is legal on every system, and short enough to take a number
/// and a suffix.
QString conversationFileName(const _MsgChat *chat);

/// `title` as the name of a file, before its suffix: legal on every system, not hidden, never empty, and
/// short enough to take a number and a suffix.
QString legalFileName(const QString &title);
