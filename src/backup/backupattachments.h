#pragma once

#include "backup/backupmanifest.h"
#include "backup/decipheredfiles.h"
#include "store/readers/attachmentpaths.h"

#include <QSharedPointer>

/// The attachments of an opened backup where they lie in it: a plain backup's are read in place, an encrypted
/// one's are deciphered when somebody asks for them. What the backup lacks may still be in its cache. Its
/// files live on after it; `find` is for one thread at a time.
class BackupAttachments final : public AttachmentFinder
{
public:
    /// `manifest` is unlocked and has its index. Copies go below `cacheDir`.
    BackupAttachments(const QSharedPointer<const BackupManifest> &manifest, const QDir &cacheDir);
    LocalFile find(const QString &filename) override;

    struct Shared;

private:
    const _ManifestNode *nodeOf(const QString &filename) const;
    QString listedPath(const QString &path) const;

    std::shared_ptr<Shared> shared;
    QString messageFolder;    ///< as the backup spells "Library/SMS"
    QString attachmentFolder; ///< and "Attachments" in it
    FolderAttachments inCache;
};
