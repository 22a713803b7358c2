#pragma once

struct _MsgChat;
struct _MsgStore;

// Messages that no chat of their source names, because its row is gone or there never was one. People see
// them in a conversation of their own.

/// The chat of these messages. It is made where the store has none yet, under a number that keeps it off
/// phones; the store owns it.
_MsgChat &noConversation(_MsgStore &store);

/// Takes a made-up chat away again in which nothing came to stand.
void dropUnused(_MsgStore &store, const _MsgChat &chat);
