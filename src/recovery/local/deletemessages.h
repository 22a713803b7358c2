#pragma once

#include "store/records/messagerecords.h"

#include <QList>
#include <QString>
#include <QStringList>

class IOS6MessageDb;
class JobProgress;

/// Deletes messages from a Local Database, all or none. Returns their number. Throws
/// `std::runtime_error`, also where a row holds another message by now, and the integer -1 on cancel.
qint64 deleteMessages(IOS6MessageDb &db, const QList<_MsgMessage *> &messages, JobProgress &progress);

/// Deletes the conversations with these `chat_identifier`s, all or none, empty chats too. A message that
/// stands in another conversation as well stays there. Returns the number of messages that are gone.
/// Throws `std::runtime_error`, also for an identifier that the database doesn't have, and the
/// integer -1 on cancel.
qint64 deleteConversations(IOS6MessageDb &db, const QStringList &chatIdentifiers, JobProgress &progress);
