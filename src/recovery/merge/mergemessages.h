#pragma once

#include "recovery/merge/messagemerge.h"

#include <QDir>
#include <QList>
#include <QThread>

class JobProgress;

/// Writes messages into an unencrypted backup of iOS 6 to 9: a new message database with the phone's own
/// messages and these, their attachment files, and a manifest that lists both. Everything is prepared before
/// the first file of the backup is moved; what is replaced stays in the folder under its name, "-" and the
/// time. `source` is the copy of the phone's database that was taken out of this backup; it is closed.
///
/// Throws `std::runtime_error`, and the integer -1 when cancelled; the backup is then as it was.
MergeCounts restoreMessages(const QList<_MsgMessage *> &messages, IOS6MessageDb &source,
                            const QDir &backupDir, JobProgress &progress);

/// The job around `restoreMessages`. What it is handed has to outlive it.
class IOS6RestoreMessagesThread final : public QThread
{
public:
    IOS6RestoreMessagesThread(const QList<_MsgMessage *> *messages, IOS6MessageDb *source,
                              const QDir &backupDir, JobProgress *progress, QObject *parent);

    int unknownCount = 0; ///< messages refused for their chat
    int validCount = 0;   ///< messages taken

protected:
    void run() override;

private:
    const QList<_MsgMessage *> *messages;
    IOS6MessageDb *source;
    QDir backupDir;
    JobProgress *progress;
};
