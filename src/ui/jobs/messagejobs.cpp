#include "ui/jobs/messagejobs.h"

#include "app/jobprogress.h"
#include "backup/extractmessages.h"
#include "device/filerelay.h"
#include "recovery/carving/recoverdeleted.h"
#include "recovery/exact/recoverexactly.h"
#include "recovery/local/deletemessages.h"
#include "recovery/local/importmessages.h"
#include "recovery/local/updatelocaldatabases.h"
#include "recovery/merge/mergemessages.h"
#include "search/messagesearch.h"
#include "store/readers/ios6messagedb.h"

IOSLoadFileRelayThread::IOSLoadFileRelayThread(IOSDevice *device, JobProgress *progress, QObject *parent)
    : QThread(parent), device(device), progress(progress)
{
}

void IOSLoadFileRelayThread::run()
{
    runJob(*progress, [this] {
        return loadFileRelay(*device, *progress) ? QString() : QObject::tr("IDS_PHONE_STOPPED_EARLY");
    });
}

ITunesCacheSMSThread::ITunesCacheSMSThread(BackupManifest *manifest, JobProgress *progress, QObject *parent)
    : ITunesCacheSMSThread(manifest, backupCacheDir(*manifest), Attachments::LeftInBackup, progress, parent)
{
}

ITunesCacheSMSThread::ITunesCacheSMSThread(BackupManifest *manifest, const QDir &cacheDir,
                                           Attachments attachments, JobProgress *progress, QObject *parent)
    : QThread(parent), manifest(manifest), progress(progress), folder(cacheDir), attachments(attachments)
{
}

void ITunesCacheSMSThread::run()
{
    runJob(*progress, [this] {
        extractMessages(*manifest, folder, *progress, attachments);
        return QString();
    });
}

BackupSMSThread::BackupSMSThread(const QList<_MsgMessage *> &messages, const QDir &root, const QString &path,
                                 JobProgress *progress, QObject *parent)
    : QThread(parent), messages(messages), root(root), path(path), progress(progress)
{
}

void BackupSMSThread::run()
{
    runJob(*progress, [this] {
        const ImportCounts counts = importMessages(messages, root, path, *progress);
        IOS6MessageDb filled(root, path, QString(), true);
        updateSearchIndex(filled, *progress);
        return QObject::tr("IDS_SUC_BACKUP_%1_SMS").arg(counts.handedIn());
    });
}

DeleteMessagesThread::DeleteMessagesThread(IOS6MessageDb *db, const QList<_MsgMessage *> *messages,
                                           JobProgress *progress, QObject *parent)
    : QThread(parent), db(db), messages(messages), progress(progress)
{
}

void DeleteMessagesThread::run()
{
    runJob(*progress, [this] {
        const qint64 count = deleteMessages(*db, *messages, *progress);
        updateSearchIndex(*db, *progress);
        return QObject::tr("IDS_SUC_DELETE_%1_MESSAGES").arg(count);
    });
}

LocalDbUpdateThread::LocalDbUpdateThread(JobProgress *progress, QObject *parent)
    : QThread(parent), progress(progress)
{
}

void LocalDbUpdateThread::run()
{
    runJob(*progress, [this] {
        updateLocalDatabases(*progress);
        return QObject::tr("IDS_LOCALDB_UPDATE_SUC_RESTART_REFRESH");
    });
}

RecoverDeletedThread::RecoverDeletedThread(AbsIOSMessageDb *db, JobProgress *progress, QObject *parent)
    : QThread(parent), db(db), progress(progress)
{
}

void RecoverDeletedThread::run()
{
    runJob(*progress, [this] {
        recoverDeleted(*db, *progress);
        recoverExactly(*db, *progress);
        return QString();
    });
}

IOS6RestoreMessagesThread::IOS6RestoreMessagesThread(const QList<_MsgMessage *> *messages,
                                                     IOS6MessageDb *source, const QDir &backupDir,
                                                     JobProgress *progress, QObject *parent)
    : QThread(parent), messages(messages), source(source), backupDir(backupDir), progress(progress)
{
}

void IOS6RestoreMessagesThread::run()
{
    runJob(*progress, [this] {
        const MergeCounts counts = mergeMessages(*messages, *source, backupDir, *progress);
        unknownCount = counts.unknownCount;
        validCount = counts.validCount;
        return QString();
    });
}

ExportSMSThread::ExportSMSThread(const QList<_MsgMessage *> &messages, const QString &path, int format,
                                 bool ascending, JobProgress *progress, QObject *parent)
    : ExportSMSThread(messages, ExportPlan{path, format, ascending}, progress, parent)
{
}

ExportSMSThread::ExportSMSThread(const QList<_MsgMessage *> &messages, const ExportPlan &plan,
                                 JobProgress *progress, QObject *parent)
    : QThread(parent), messages(messages), plan(plan), progress(progress)
{
}

void ExportSMSThread::run()
{
    runJob(*progress, [this] {
        const qint64 written = exportMessages(messages, plan, *progress);
        return QObject::tr("IDS_SUC_EXPORT_%1_MMS").arg(written);
    });
}
