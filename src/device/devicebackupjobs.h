#pragma once

#include "device/backuptool.h"
#include "device/iosdevice.h"

#include <QThread>

class BackupWorkspace;
class JobProgress;
class PhoneBackupLock;

/// A job around one run of the backup tool. Borrows `device` and `progress`. Made on the main thread.
class BackupToolThread : public QThread
{
    Q_OBJECT

public:
    ~BackupToolThread() override;

    /// Released before a failure is told. Not owned.
    void setLock(PhoneBackupLock *heldLock) { lock = heldLock; }

public Q_SLOTS:
    void cancel() { tool->cancel(); }

protected:
    BackupToolThread(IOSDevice *phone, const QDir &folder, JobProgress *jobProgress, QObject *parent);

    /// Runs the tool under `status`, or under words to the owner of a phone that waits for its passcode.
    void runTool(int op, const QString &status);
    /// Reports a failure of the tool in people's words, and the whole of what it printed as details.
    void fail(const std::exception &error, QString (*textOf)(const QString &));

    IOSDevice *device;
    QDir root; ///< the folder that holds the phone's backup folder
    JobProgress *progress;
    backup2tool *tool;
    PhoneBackupLock *lock = nullptr;

private Q_SLOTS:
    void backupUpdate(double percent, QString status1, QString status2);
};

/// Brings a full backup of a phone into the temporary folder. What lies there of an earlier run is used again
/// when it is whole and of the same system version. A failed run leaves the last whole backup as it was where
/// the disk has space for two, else none.
class IOSMobileBackupThread : public BackupToolThread
{
    Q_OBJECT

public:
    IOSMobileBackupThread(IOSDevice *phone, JobProgress *jobProgress, QObject *parent = nullptr);

    const QDir &backupRoot() const { return root; }

protected:
    void run() override;

private:
    void backUpInto(BackupWorkspace &workspace, const QString &status);
};

/// Puts the backup below `root` back on its phone. The folder stays, whatever happens.
class IOSMobileRestoreThread : public BackupToolThread
{
    Q_OBJECT

public:
    IOSMobileRestoreThread(IOSDevice *phone, const QDir &folder, JobProgress *jobProgress,
                           QObject *parent = nullptr);

protected:
    void run() override;
};

/// What people read when the tool failed with `output`: rich text, and of a long output only the lines that
/// matter.
QString backupFailureText(const QString &output);
QString restoreFailureText(const QString &output);
