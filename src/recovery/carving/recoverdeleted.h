#pragma once

#include <QThread>

class AbsIOSMessageDb;
class JobProgress;

/// Looks for deleted messages in a phone's message database and keeps them in the recycle database beside it:
/// handles first, then messages. Returns how many messages were found that weren't known yet. Throws
/// `std::runtime_error`, and the integer -1 on cancel: what was found by then is kept.
int recoverDeleted(AbsIOSMessageDb &db, JobProgress &progress);

/// The job around `recoverDeleted`. Database and progress have to outlive it.
class RecoverDeletedThread final : public QThread
{
public:
    RecoverDeletedThread(AbsIOSMessageDb *db, JobProgress *progress, QObject *parent);

    /// What `recoverDeleted` returned; 0 before.
    int found() const { return count; }

protected:
    void run() override;

private:
    AbsIOSMessageDb *db;
    JobProgress *progress;
    int count = 0;
};
