#include "recovery/merge/backupmerge.h"

#include "app/jobprogress.h"
#include "backup/backupmanifest.h"
#include "backup/backuprewrite.h"
#include "backup/extractmessages.h"
#include "backup/manifestdb.h"
#include "backup/manifestwriter.h"
#include "recovery/merge/backupstaging.h"
#include "recovery/merge/mergemessages.h"
#include "store/readers/openmessagedb.h"
#include "store/records/messagestore.h"

#include <QObject>

#include <stdexcept>

using namespace Qt::StringLiterals;

namespace
{

[[noreturn]] void refuse(const QDir &backup, const QString &why)
{
    throw std::runtime_error(u"%1: %2"_s.arg(backup.absolutePath(), why).toStdString());
}

bool isCacheCurrent(const BackupManifest &manifest, const QDir &cache)
{
    const QString inBackup = manifest.backupDir.absoluteFilePath(messageDatabaseName());
    return fileSha1(messageDbPath(cache)) == fileSha1(inBackup);
}

} // namespace

void openForMerge(BackupManifest &manifest)
{
    const QDir &backup = manifest.backupDir;
    manifest.loadInfo();
    if (manifest.isEncrypted)
        refuse(backup, QObject::tr("IDS_CANT_EXPORT_ITUNES_BACKUP_IS_ENCRYPT"));
    if (hasManifestDb(backup.path()))
        refuse(backup, QObject::tr("IDS_CANT_EXPORT_ITUNES_BACKUP_IS_TOO_NEW"));
    finishRewrite(backup);
    manifest.loadIndex();
}

void extractForMerge(const BackupManifest &manifest, JobProgress &progress)
{
    const QDir cache = backupCacheDir(manifest);
    extractMessages(manifest, cache, progress);
    if (isCacheCurrent(manifest, cache))
        return;
    emptyCache(cache);
    extractMessages(manifest, cache, progress);
}

QString writeError(const QString &path)
{
    return sniffMessageDbVersion(path) == 6 ? QString()
                                            : u"Failed to recover. Only iOS 6 or above is supported."_s;
}

std::unique_ptr<IOS6MessageDb> cachedPhone(const BackupManifest &manifest)
{
    const QDir cache = backupCacheDir(manifest);
    if (const QString error = writeError(messageDbPath(cache)); !error.isEmpty())
        refuse(manifest.backupDir, error);
    return std::make_unique<IOS6MessageDb>(cache, QString(), false);
}

MergeCounts mergeIntoBackup(const QList<_MsgMessage *> &messages, const BackupManifest &manifest,
                            JobProgress &progress)
{
    extractForMerge(manifest, progress);
    return mergeMessages(messages, *cachedPhone(manifest), manifest.backupDir, progress);
}
