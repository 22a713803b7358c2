#include "backup/cachespace.h"

#include "backup/backupcachedb.h"
#include "backup/backupmanifest.h"
#include "backup/cachefilenames.h"
#include "backup/extractmessages.h"

#include <QFileInfo>

using namespace Qt::StringLiterals;

namespace
{

QList<const _MbdbRecord *> databasesIn(const _ManifestNode &folder)
{
    QList<const _MbdbRecord *> files;
    for (const _ManifestNode *child : folder.children) {
        if (isReadFile(child->name))
            files.append(&child->record);
    }
    return files;
}

QList<const _MbdbRecord *> filesBelow(const _ManifestNode &folder)
{
    QList<const _MbdbRecord *> files;
    QList<const _ManifestNode *> open = {&folder};
    while (!open.isEmpty()) {
        const _ManifestNode *node = open.takeLast();
        if (!isEmptyEntry(node->record))
            files.append(&node->record);
        else
            for (const _ManifestNode *child : node->children)
                open.append(child);
    }
    return files;
}

/// Leaves out what the cache has. One that is damaged has nothing: copying finds that out and says so.
void leaveOutCached(QList<const _MbdbRecord *> &files, const QDir &cacheDir)
{
    const QString path = cacheDir.absoluteFilePath(u"manifest.db"_s);
    if (!QFile::exists(path))
        return;
    try {
        BackupCacheDb known(path);
        QList<const _MbdbRecord *> missing;
        for (const _MbdbRecord *file : std::as_const(files)) {
            if (known.lastDate(recordFileName(*file)) != int(file->mtime))
                missing.append(file);
        }
        known.rollback();
        files = missing;
    } catch (const std::runtime_error &error) {
        qWarning("%s", error.what());
    }
}

} // namespace

qint64 bytesToCache(const BackupManifest &manifest, const _ManifestNode &folder, const QDir &cacheDir,
                    Attachments attachments)
{
    QList<const _MbdbRecord *> files =
        areLeft(attachments, manifest) ? databasesIn(folder) : filesBelow(folder);
    leaveOutCached(files, cacheDir);
    qint64 bytes = 0;
    for (const _MbdbRecord *file : std::as_const(files)) {
        if (const std::optional<QString> source = manifest.sourceFile(*file))
            bytes += QFileInfo(*source).size();
    }
    return bytes;
}
