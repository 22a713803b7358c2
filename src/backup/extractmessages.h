#pragma once

#include <QDir>

class BackupManifest;
class JobProgress;
struct _ManifestNode;

/// The folders of a backup that messages are read from; null for one that it lacks.
struct MessageFolders {
    const _ManifestNode *sms = nullptr;
    const _ManifestNode *addressBook = nullptr;
};
/// By their names on the phone, in any letter case.
MessageFolders findMessageFolders(const BackupManifest &manifest);

/// Folder below the data root that keeps the copies of the backup `manifest`.
QDir backupCacheDir(const BackupManifest &manifest);

/// What becomes of the files beside the databases. A backup with "Manifest.mbdb" always has them copied.
enum class Attachments {
    Copied,
    LeftInBackup ///< `BackupAttachments` finds them there
};
/// Whether nothing but databases is copied.
bool areLeft(Attachments attachments, const BackupManifest &manifest);

/// Copies the message and address book folders of an indexed backup into
/// "file-relay/var/mobile/Library" below `cacheDir`, deciphered, and skips what is there already. Names
/// that would leave the folder are passed over and logged. Throws `std::runtime_error`, or the integer
/// -1 when cancelled; a cache that was new is then gone, one that was there before holds what was not
/// replaced yet and is completed by the next run. A recycle database in it stays.
void extractMessages(const BackupManifest &manifest, const QDir &cacheDir, JobProgress &progress,
                     Attachments attachments = Attachments::Copied);

/// Takes away what was copied into `cacheDir`; a recycle database in it stays, with the journal that it may
/// need. Throws `std::runtime_error` when another program works in it.
void emptyCache(const QDir &cacheDir);
/// The same for each folder in `parent`.
void emptyCaches(const QDir &parent);
