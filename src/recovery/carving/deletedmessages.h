#pragma once

#include "recovery/carving/deletedrows.h"

#include <QList>

class AbsIOSMessageDb;
class IOS6MessageDb;
class JobProgress;
class MessageRecycleDb;
class SearchedDatabase;

// Finds what was deleted from a phone's message database and keeps it in the recycle database. What is known
// there is not kept again. `database` is the file of `db`. All return how many new ones were found;
// `progress` may be null. A cancelled run keeps what it has found. They throw `std::runtime_error`, with the
// transaction on `recycle` open.

/// Comes before `recoverIos6Messages`: deleted messages find their chats by these.
int recoverHandles(SearchedDatabase &database, MessageRecycleDb &recycle, JobProgress *progress);
/// `chats` are the live ones, to tie messages to.
int recoverIos6Messages(IOS6MessageDb &db, SearchedDatabase &database, MessageRecycleDb &recycle,
                        const QList<_MsgChat *> &chats, JobProgress *progress);
/// Messages of these phones carry their own address.
int recoverIos5Messages(AbsIOSMessageDb &db, SearchedDatabase &database, MessageRecycleDb &recycle,
                        JobProgress *progress);

/// What was found earlier in the file of `db`, without what is in it again. Empty where nobody has looked.
QList<_RecycleMessage> recycledMessages(AbsIOSMessageDb &db);
/// Adds found messages to the chats of `store`, which holds the chats and messages of `db`.
void joinRecovered(AbsIOSMessageDb &db, _MsgStore &store, const QList<_RecycleMessage> &messages);
/// Both in one.
void loadRecycled(AbsIOSMessageDb &db, _MsgStore &store);
