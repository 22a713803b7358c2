#include "sources/findsource.h"

#include "app/sqliteheader.h"
#include "backup/backupdiscovery.h"
#include "store/readers/openmessagedb.h"

#include <QFile>
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

/// The one backup in a folder of backups; nothing when there is none. Throws when there are several.
std::optional<QDir> onlyBackupIn(const QDir &parent)
{
    QStringList backups;
    for (const QFileInfo &folder : parent.entryInfoList(QDir::Dirs | QDir::NoDotAndDotDot, QDir::Name)) {
        if (isMeantAsBackup(QDir(folder.absoluteFilePath())))
            backups.append(folder.absoluteFilePath());
    }
    if (backups.size() > 1)
        throw std::runtime_error(u"%1: there are several backups in this folder; name one of them: %2"_s
                                     .arg(parent.path(), backups.join(u", "_s))
                                     .toStdString());
    return backups.isEmpty() ? std::nullopt : std::optional(QDir(backups.first()));
}

bool isDatabaseFile(const QString &path)
{
    QFile file(path);
    return QFileInfo(path).isFile() && file.open(QIODevice::ReadOnly) &&
           file.read(sqliteFileHeader.size()) == sqliteFileHeader;
}

std::optional<FoundSource> sourceAt(const QString &path)
{
    const QDir folder(path);
    if (isMeantAsBackup(folder))
        return FoundSource{SourceKind::Backup, folder, {}, {}};
    if (QFileInfo::exists(messageDbPath(folder)))
        return FoundSource{SourceKind::PhoneFolder, folder, {}, {}};
    if (const std::optional<QDir> backup = folder.exists() ? onlyBackupIn(folder) : std::nullopt)
        return FoundSource{SourceKind::Backup, *backup, {}, {}};
    if (isDatabaseFile(path))
        return FoundSource{SourceKind::DatabaseFile, {}, {}, QFileInfo(path).canonicalFilePath()};
    return std::nullopt;
}

} // namespace

FoundSource findSource(const QString &name)
{
    if (const std::optional<FoundSource> found = name.isEmpty() ? std::nullopt : sourceAt(name))
        return *found;
    if (const std::optional<LocalDatabase> database = findLocalDatabase(name))
        return {SourceKind::LocalDatabase, QDir(database->path), *database, {}};
    throw std::runtime_error(
        u"%1: not a backup folder (no Manifest.plist), not a folder with one backup in it, not a folder with "
        "file-relay/var/mobile/Library/SMS/sms.db or var/mobile/Library/SMS/sms.db, not a message database "
        "(a file of SQLite), and no Local Database of that name."_s.arg(name)
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
