#pragma once

class Sqlite3DB;
struct _MsgStore;

/// Tells chats of groups that they are one conversation: one that moves to another service goes on in a chat
/// of another identifier, and the table "chat_lookup" names both under one. A chat of several such names
/// joins what stands under any of them. Does nothing for a file without that table.
void joinGroups(Sqlite3DB &db, const _MsgStore &store);
