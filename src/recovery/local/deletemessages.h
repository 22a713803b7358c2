#pragma once

#include "store/records/messagerecords.h"

#include <QList>
#include <QString>
#include <QStringList>
#include <QThread>

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

/// The job around `deleteMessages`. Database and list have to outlive it; the list isn't copied.
class DeleteMessagesThread final : public QThread
{
public:
    DeleteMessagesThread(IOS6MessageDb *db, const QList<_MsgMessage *> *messages, JobProgress *progress,
                         QObject *parent);

protected:
    void run() override;

private:
    IOS6MessageDb *db;
    const QList<_MsgMessage *> *messages;
    JobProgress *progress;
};
