#pragma once

#include "export/exportmessages.h"
#include "store/records/messagerecords.h"

#include <QDir>
#include <QThread>

enum class Attachments;
class AbsIOSMessageDb;
class BackupManifest;
class IOS6MessageDb;
class JobProgress;
struct IOSDevice;

// The jobs on messages as threads. Each holds the arguments of the function that it names and tells a
// `JobProgress` how that ended; what is handed in by pointer has to outlive the thread.

/// Runs `loadFileRelay`.
class IOSLoadFileRelayThread final : public QThread
{
public:
    IOSLoadFileRelayThread(IOSDevice *device, JobProgress *progress, QObject *parent = nullptr);

protected:
    void run() override;

private:
    IOSDevice *device;
    JobProgress *progress;
};

/// Runs `extractMessages`.
class ITunesCacheSMSThread final : public QThread
{
public:
    /// Into the cache folder of the backup, where only databases are copied if that will do.
    ITunesCacheSMSThread(BackupManifest *manifest, JobProgress *progress, QObject *parent = nullptr);
    ITunesCacheSMSThread(BackupManifest *manifest, const QDir &cacheDir, Attachments attachments,
                         JobProgress *progress, QObject *parent = nullptr);

    /// Where the files are when the job is done: "file-relay/var/mobile/Library/SMS/sms.db" below it.
    const QDir &cacheDir() const { return folder; }

protected:
    void run() override;

private:
    BackupManifest *manifest;
    JobProgress *progress;
    QDir folder;
    Attachments attachments;
};

/// Runs `importMessages`.
class BackupSMSThread final : public QThread
{
public:
    BackupSMSThread(const QList<_MsgMessage *> &messages, const QDir &root, const QString &path,
                    JobProgress *progress, QObject *parent);

protected:
    void run() override;

private:
    QList<_MsgMessage *> messages;
    QDir root;
    QString path;
    JobProgress *progress;
};

/// Runs `deleteMessages`. The list isn't copied.
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

/// Runs `updateLocalDatabases`. It can't be cancelled.
class LocalDbUpdateThread final : public QThread
{
public:
    LocalDbUpdateThread(JobProgress *progress, QObject *parent);

protected:
    void run() override;

private:
    JobProgress *progress;
};

/// Runs `recoverDeleted`, then `recoverExactly`.
class RecoverDeletedThread final : public QThread
{
public:
    RecoverDeletedThread(AbsIOSMessageDb *db, JobProgress *progress, QObject *parent);

protected:
    void run() override;

private:
    AbsIOSMessageDb *db;
    JobProgress *progress;
};

/// Runs `mergeMessages`. The list isn't copied.
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

/// Runs `exportMessages`.
class ExportSMSThread final : public QThread
{
public:
    /// `ascending` tells the order of the list on view: oldest first or newest first.
    ExportSMSThread(const QList<_MsgMessage *> &messages, const QString &path, int format, bool ascending,
                    JobProgress *progress, QObject *parent);
    ExportSMSThread(const QList<_MsgMessage *> &messages, const ExportPlan &plan, JobProgress *progress,
                    QObject *parent);

protected:
    void run() override;

private:
    QList<_MsgMessage *> messages;
    ExportPlan plan;
    JobProgress *progress;
};
