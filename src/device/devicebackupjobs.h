#pragma once

#include "device/backuptool.h"
#include "device/iosdevice.h"

#include <QThread>

class JobProgress;

/// A job around one run of the backup tool. Borrows `device` and `progress`. Made on the main thread.
class BackupToolThread : public QThread
{
    Q_OBJECT

public:
    ~BackupToolThread() override;

public Q_SLOTS:
    void cancel() { tool->cancel(); }

protected:
    BackupToolThread(IOSDevice *device, const QDir &root, JobProgress *progress, QObject *parent);

    /// Reports a failure of the tool in people's words, and the whole of what it printed as details.
    void fail(const std::exception &error, QString (*textOf)(const QString &));

    IOSDevice *device;
    QDir root; ///< the folder that holds the phone's backup folder
    JobProgress *progress;
    backup2tool *tool;

private Q_SLOTS:
    void backupUpdate(double percent, QString status1, QString status2);
};

/// Brings a full backup of a phone into the temporary folder. What lies there of an earlier run is used
/// again when it was finished and is of the same system version, else removed first. A failed run removes it
/// too.
class IOSMobileBackupThread : public BackupToolThread
{
    Q_OBJECT

public:
    IOSMobileBackupThread(IOSDevice *device, JobProgress *progress, QObject *parent = nullptr);

    const QDir &backupRoot() const { return root; }

protected:
    void run() override;
};

/// Puts the backup below `root` back on its phone. The folder stays, whatever happens.
class IOSMobileRestoreThread : public BackupToolThread
{
    Q_OBJECT

public:
    IOSMobileRestoreThread(IOSDevice *device, const QDir &root, JobProgress *progress,
                           QObject *parent = nullptr);

protected:
    void run() override;
};

/// Whether the backup in `folder` may be continued for a phone of that system version: it is finished and
/// of the same version.
bool canContinueBackup(const QDir &folder, const QString &productVersion);

/// What people read when the tool failed with `output`: rich text, and of a long output only the lines that
/// matter.
QString backupFailureText(const QString &output);
QString restoreFailureText(const QString &output);
