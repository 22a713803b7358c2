#include "recovery/merge/backupstaging.h"

#include "app/filetools.h"
#include "app/freespace.h"
#include "app/jobprogress.h"
#include "backup/backuprewrite.h"
#include "backup/cachefilenames.h"
#include "backup/mbdbreader.h"
#include "sqlite_qt/databasefiles.h"

#include <QDateTime>
#include <QFile>
#include <QFileInfo>

#include <stdexcept>

using namespace Qt::StringLiterals;

namespace
{

constexpr auto homeDomain = "HomeDomain"_L1;
constexpr auto mediaDomain = "MediaDomain"_L1;
constexpr auto databasePath = "Library/SMS/sms.db"_L1;

QString backupName(const QString &suffix = {})
{
    return mbdbFileName(homeDomain, databasePath + suffix);
}

[[noreturn]] void fail(const QString &text, const QString &path)
{
    throw std::runtime_error(text.arg(path).toStdString());
}

/// Makes sure that a reader who knows the old file by its date sees that this is another one.
void dateAfter(const QString &path, quint32 seconds)
{
    QFile file(path);
    const QDateTime next = QDateTime::fromSecsSinceEpoch(qint64(seconds) + 1);
    if (QFileInfo(path).lastModified() < next && file.open(QIODevice::ReadWrite))
        file.setFileTime(next, QFileDevice::FileModificationTime);
}

} // namespace

QString messageDatabaseName()
{
    return backupName();
}

QStringList messageDatabaseNames()
{
    QStringList names{backupName()};
    for (const QLatin1StringView suffix : companionSuffixes)
        names.append(backupName(suffix));
    return names;
}

BackupStaging::BackupStaging(const QDir &backupDir, BackupRewrite &backupRewrite)
    : backup(backupDir)
    , rewrite(backupRewrite)
    , manifestPath(backupDir.absoluteFilePath(manifestName))
    , records(readMbdbFile(manifestPath))
{
}

// Readers leave out a log that isn't listed, or is listed as empty.
bool BackupStaging::isListed(const QString &name) const
{
    const auto record = records.constFind(name);
    return record != records.cend() && !isEmptyEntry(*record);
}

void BackupStaging::checkIsCopy(const QString &source) const
{
    const QString log = source + u"-wal"_s;
    const QString logName = backupName(u"-wal"_s);
    const bool isSame = fileSha1(source) == rewrite.oldHash(backupName());
    const bool isSameLog =
        isListed(logName) ? fileSha1(log) == rewrite.oldHash(logName) : QFileInfo(log).size() == 0;
    if (!isSame || !isSameLog)
        fail(u"%1 isn't the database of this backup any more. Load the backup again."_s, source);
}

void BackupStaging::stageFile(const QString &from, const QString &name)
{
    checkFreeSpaceThrow(backup.absolutePath(), QFileInfo(from).size());
    const QString target = rewrite.staged(name);
    if (!QFile::copy(from, target))
        fail(u"can not overwrite %1."_s, backup.absoluteFilePath(name));
}

void BackupStaging::updateRecord(const QString &name)
{
    const QString path = rewrite.staged(name);
    _MbdbRecord &record = records[name];
    dateAfter(path, record.mtime);
    setDataHash(record, fileSha1(path));
    setFileDates(record, path);
}

void BackupStaging::stageDatabase(const QString &path)
{
    const QString name = backupName();
    stageFile(path, name);
    // A backup that doesn't list its database lists it from now on: a record without a name would be none.
    if (!records.contains(name))
        addBackupFile(records, rewrite.staged(name), homeDomain, databasePath);
    updateRecord(name); // its length stays, the phone takes the file as it is
    emptyCompanions();
}

// All that the log held is in the new database. On the old log SQLite would lay the old pages over it.
void BackupStaging::emptyCompanions()
{
    for (const QLatin1StringView suffix : companionSuffixes) {
        const QString name = backupName(suffix);
        if (!isListed(name) || rewrite.oldHash(name).isEmpty())
            continue;
        QFile empty(rewrite.staged(name));
        if (!empty.open(QIODevice::WriteOnly))
            fail(u"can not overwrite %1."_s, backup.absoluteFilePath(name));
        empty.close();
        updateRecord(name);
        records[name].fileLength = 0;
    }
}

void BackupStaging::stageAttachment(const LocalFile &file, const QString &name, JobProgress &progress)
{
    try {
        file.copyTo(rewrite.staged(name), &progress);
    } catch (const std::exception &error) {
        qWarning("%s", error.what());
        fail(u"can not overwrite %1."_s, backup.absoluteFilePath(name));
    }
}

void BackupStaging::stageAttachments(const QList<_MsgAttachment> &attachments, JobProgress &progress)
{
    for (const _MsgAttachment &attachment : attachments) {
        if (attachment.localFile.isThere())
            addAttachment(attachment);
    }
    qint64 bytes = 0;
    for (const Added &file : std::as_const(added))
        bytes += file.source.size();
    checkFreeSpaceThrow(backup.absolutePath(), bytes);
    QList<AddedFile> staged;
    for (const Added &file : std::as_const(added)) {
        throwIfCancelled(progress);
        const QString name = mbdbFileName(mediaDomain, file.path);
        const QString inBackup = backup.absoluteFilePath(name);
        const bool isThere = QFileInfo::exists(inBackup);
        if (!isThere)
            stageAttachment(file.source, name, progress);
        staged.append({isThere ? inBackup : rewrite.staged(name), mediaDomain, file.path});
    }
    addBackupFiles(records, staged);
}

std::optional<QString> BackupStaging::pathInDomain(const QString &filename) const
{
    const qsizetype library = filename.indexOf("Library/"_L1);
    if (library < 0)
        return std::nullopt;
    const QString relative = filename.mid(library);
    return pathBelow(backup, relative) ? std::optional(relative) : std::nullopt;
}

std::optional<QString> BackupStaging::attachmentPlace(const QString &filename) const
{
    const std::optional<QString> relative = pathInDomain(filename);
    return relative ? std::optional(backup.absoluteFilePath(mbdbFileName(mediaDomain, *relative)))
                    : std::nullopt;
}

void BackupStaging::addAttachment(const _MsgAttachment &attachment)
{
    const std::optional<QString> relative = pathInDomain(attachment.filename);
    if (!relative) {
        qWarning("The attachment \"%ls\" is not copied: a backup has no place for it.",
                 qUtf16Printable(attachment.filename));
        return;
    }
    const qsizetype before = addedPaths.size();
    addedPaths.insert(*relative);
    if (addedPaths.size() > before)
        added.append({attachment.localFile, *relative});
}

void BackupStaging::stageManifest()
{
    checkFreeSpaceThrow(backup.absolutePath(), QFileInfo(manifestPath).size() * 2);
    writeMbdbFile(records, rewrite.staged(manifestName));
}
