#include "backup/extractmessages.h"

#include "app/datalocations.h"
#include "app/freespace.h"
#include "app/jobprogress.h"
#include "backup/backupfiles.h"
#include "backup/backupmanifest.h"
#include "backup/cachespace.h"
#include "backup/messagecache.h"
#include "store/readers/openmessagedb.h"

#include <QLockFile>
#include <QObject>

using namespace Qt::StringLiterals;

namespace
{

bool isNamed(const _ManifestNode *node, QLatin1StringView name)
{
    return node->name.compare(name, Qt::CaseInsensitive) == 0;
}

// The list of a modern backup that was broken off names files that never came.
void checkDatabase(const BackupManifest &manifest)
{
    if (!manifest.isModern || (manifest.smsDatabase && manifest.sourceFile(manifest.smsDatabase->record)))
        return;
    QString text = QObject::tr("IDS_NOT_CONTAIN_SMS_DB_IN_ITUNES_BACKUP");
    if (!manifest.isFinished)
        text += u' ' + QObject::tr("IDS_BACKUP_WAS_BROKEN_OFF");
    throw std::runtime_error(text.toStdString());
}

void copyFolders(const BackupManifest &manifest, const MessageFolders &folders, const QDir &cacheDir,
                 Attachments attachments, JobProgress &progress)
{
    MessageCache cache(manifest, cacheDir, attachments, progress);
    cache.copyFolder(*folders.sms, u"SMS"_s);
    if (folders.addressBook)
        cache.copyFolder(*folders.addressBook, u"AddressBook"_s);
    cache.commit();
}

/// Two programs in one cache folder would take each other's files away.
class CacheLock
{
public:
    explicit CacheLock(const QDir &cacheDir) : lock(cacheDir.absolutePath() + u".lock"_s)
    {
        QDir().mkpath(QFileInfo(cacheDir.absolutePath()).absolutePath());
        lockThrow(lock, cacheDir, u"another program is loading this backup"_s);
    }

private:
    QLockFile lock;
};

/// The caller holds the lock. Hidden files go too. Deleted messages that were found in the backup stay: they
/// are no copy.
void removeCache(const QDir &cacheDir)
{
    const auto isKept = [&](const QString &name) { // nor the journal that it may need
        return name.startsWith(QFileInfo(recycleDbPath(cacheDir)).fileName()) ||
               name.startsWith(QFileInfo(findsDbPath(cacheDir)).fileName());
    };
    const auto everything = QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot;
    for (const QFileInfo &entry : cacheDir.entryInfoList(everything)) {
        if (entry.isDir() && !entry.isSymLink())
            QDir(entry.absoluteFilePath()).removeRecursively();
        else if (!isKept(entry.fileName()))
            QFile::remove(entry.absoluteFilePath());
    }
    QDir().rmdir(cacheDir.absolutePath());
}

} // namespace

MessageFolders findMessageFolders(const BackupManifest &manifest)
{
    MessageFolders found;
    for (const _ManifestNode *library : manifest.rootNode.children) {
        if (!isNamed(library, "Library"_L1))
            continue;
        for (const _ManifestNode *folder : library->children) {
            if (!found.sms && isNamed(folder, "SMS"_L1))
                found.sms = folder;
            else if (!found.addressBook && isNamed(folder, "AddressBook"_L1))
                found.addressBook = folder;
        }
    }
    return found;
}

bool areLeft(Attachments attachments, const BackupManifest &manifest)
{
    return attachments == Attachments::LeftInBackup && manifest.isModern;
}

QDir backupCacheDir(const BackupManifest &manifest)
{
    return QDir(dataRoot().absoluteFilePath(u"itunes_cache/"_s + manifest.cacheFolderName()));
}

void extractMessages(const BackupManifest &manifest, const QDir &cacheDir, JobProgress &progress,
                     Attachments attachments)
{
    progress.updateProgress(QObject::tr("IDS_LOADING_ITUNES_BACKUP"), 99, {});
    const MessageFolders folders = findMessageFolders(manifest);
    if (!folders.sms)
        throw std::runtime_error(QObject::tr("IDS_NOT_CONTAIN_SMS_DB_IN_ITUNES_BACKUP").toStdString());
    checkDatabase(manifest);
    // Before anything is touched: a person with a hundred gigabytes of videos is told at once.
    checkFreeSpaceThrow(cacheDir.absolutePath(), bytesToCache(manifest, *folders.sms, cacheDir, attachments));
    const CacheLock lock(cacheDir);
    const bool isNew = !cacheDir.exists(u"manifest.db"_s);
    try {
        copyFolders(manifest, folders, cacheDir, attachments, progress);
    } catch (...) {
        if (isNew)
            removeCache(cacheDir); // no half-made one stays
        throw;
    }
}

void emptyCache(const QDir &cacheDir)
{
    if (!cacheDir.exists())
        return;
    const CacheLock lock(cacheDir);
    removeCache(cacheDir);
}

void emptyCaches(const QDir &parent)
{
    for (const QString &name : parent.entryList(QDir::Dirs | QDir::NoDotAndDotDot))
        emptyCache(QDir(parent.absoluteFilePath(name)));
}
