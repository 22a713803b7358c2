#pragma once

#include <QString>

struct _MsgChat;
struct _MsgStore;

// Chats that their source doesn't have. Their numbers lie below those of any file, so that the number tells
// what a chat is:
//
// - from `highestMadeUpChat` down those of recovered messages whose address is known;
// - from `highestChatOffPhones` down those that mean nothing to a phone. Of messages whose address nobody
// knows
//   these are "unknown17" and the like, with the number that the address had; messages that no chat names,
//   because its row is gone or there never was one, stand in "no-conversation".

constexpr qint64 highestMadeUpChat = -1947483647;
constexpr qint64 highestChatOffPhones = -2047483647;

/// Whether the chat was made up and has no place on a phone. One that came out of a Local Database has a
/// number of its file; the next two tell it by its name.
bool isKeptOffPhones(const _MsgChat &chat);
/// Whether it is the one of messages that no chat names.
bool isNoConversation(const _MsgChat &chat);
/// Whether it is one of recovered messages whose address nobody knows.
bool isOfUnknownAddress(const _MsgChat &chat);

/// The same two as conditions in SQL on a row of "chat".
QString isNoConversationSql();
QString isOfUnknownAddressSql();

/// The `chat_identifier` of those whose address had this number.
QString unknownAddress(qint64 handle_id);

/// The chat of messages that no chat names. It is made where the store has none yet; the store owns it.
_MsgChat &noConversation(_MsgStore &store);

/// Takes a made-up chat away again in which nothing came to stand.
void dropUnused(_MsgStore &store, const _MsgChat &chat);
