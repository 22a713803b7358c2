#include "sources/findsource.h"

#include "backup/backupdiscovery.h"
#include "store/readers/openmessagedb.h"

#include <QFileInfo>

#include <stdexcept>

using namespace Qt::StringLiterals;

namespace
{

bool isMeantAsBackup(const QDir &folder)
{
    return folder.exists(u"Manifest.plist"_s) || folder.exists(u"Manifest.mbdb"_s) ||
           folder.exists(u"Manifest.db"_s);
}

} // namespace

FoundSource findSource(const QString &name)
{
    const QDir folder(name);
    if (!name.isEmpty() && isMeantAsBackup(folder))
        return {SourceKind::Backup, folder, {}};
    if (!name.isEmpty() && QFileInfo::exists(messageDbPath(folder)))
        return {SourceKind::PhoneFolder, folder, {}};
    if (const std::optional<LocalDatabase> database = findLocalDatabase(name))
        return {SourceKind::LocalDatabase, QDir(database->path), *database};
    throw std::runtime_error(
        u"%1: not a backup folder (no Manifest.plist), not a folder with "
        "file-relay/var/mobile/Library/SMS/sms.db, and no Local Database of that name."_s.arg(name)
            .toStdString());
}

QList<QSharedPointer<BackupManifest>> findBackups(const QString &root)
{
    if (!root.isEmpty() && !QFileInfo(root).isDir())
        throw std::runtime_error(u"%1: there is no such folder."_s.arg(root).toStdString());
    QList<QSharedPointer<BackupManifest>> backups;
    for (const QString &folder : root.isEmpty() ? defaultBackupRoots() : QStringList(root))
        backups += listBackups(folder);
    return backups;
}
