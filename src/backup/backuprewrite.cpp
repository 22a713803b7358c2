#include "backup/backuprewrite.h"

#include "app/disksync.h"
#include "app/filetools.h"
#include "backup/backupfiles.h"
#include "backup/manifestwriter.h"

#include <QDateTime>
#include <QFileInfo>

#include <algorithm>
#include <filesystem>

using namespace Qt::StringLiterals;

namespace
{

constexpr auto stagingName = "marrowlight-new"_L1;
constexpr auto decidedPrefix = "marrowlight-ready-"_L1; // and the time of the change
constexpr auto lockName = "marrowlight.lock"_L1;
constexpr auto changedText = "another program is changing this backup"_L1;
constexpr auto baseName = "old-manifest.sha1"_L1; // of the manifest that the change was made from

QString decidedFolder(const QDir &backup)
{
    const QStringList found = backup.entryList({decidedPrefix + u"*"_s}, QDir::Dirs, QDir::Name);
    return found.isEmpty() ? QString() : backup.absoluteFilePath(found.first());
}

/// A change that was decided, on its way to its end.
class DecidedChange
{
public:
    DecidedChange(const QDir &backupDir, const QString &folder)
        : backup(backupDir), staging(folder), time(folder.mid(folder.lastIndexOf(u'-')))
    {
    }

    /// Whether moves are left: the manifest's is the last one.
    bool isOpen() const { return staging.exists(manifestName); }
    /// Whether a file has been replaced already.
    bool hasBegun() const;
    /// Whether the folder still holds the manifest that the change was made from.
    bool isOfThisManifest() const;
    void makeMoves() const;
    void remove() const { QDir(staging).removeRecursively(); }

private:
    QStringList namesInOrder() const;
    QString place(const QString &name) const { return backup.absoluteFilePath(name); }
    void putAside(const QString &name) const;

    QDir backup;
    QDir staging;
    QString time; ///< with "-" before it
};

bool DecidedChange::hasBegun() const
{
    const QStringList aside = backup.entryList({u'*' + time}, QDir::Files);
    return std::any_of(aside.cbegin(), aside.cend(), [this](const QString &name) {
        const QString replaced = name.chopped(time.size());
        return replaced != manifestName && !staging.exists(replaced);
    });
}

bool DecidedChange::isOfThisManifest() const
{
    const QString path = place(manifestName);
    const QString old = QFile::exists(path) ? path : path + time;
    QFile base(staging.absoluteFilePath(baseName));
    return base.open(QIODevice::ReadOnly) && base.readAll() == fileSha1(old);
}

// What nobody knows yet comes first, then what replaces a file, the manifest at the very end.
QStringList DecidedChange::namesInOrder() const
{
    QStringList names = staging.entryList(QDir::Files | QDir::Hidden, QDir::Name);
    names.removeOne(baseName);
    const auto rank = [this](const QString &name) {
        return name == manifestName ? 2 : backup.exists(name) ? 1 : 0;
    };
    std::stable_sort(names.begin(), names.end(),
                     [&](const QString &a, const QString &b) { return rank(a) < rank(b); });
    return names;
}

// A second name for the file, where the file system has such: then its own name is never without a file.
void DecidedChange::putAside(const QString &name) const
{
    const QString path = place(name);
    if (!QFile::exists(path) || QFile::exists(path + time))
        return;
    std::error_code error;
    std::filesystem::create_hard_link(path.toStdU16String(), QString(path + time).toStdU16String(), error);
    if (error)
        renameThrow(path, path + time);
}

void DecidedChange::makeMoves() const
{
    const QStringList names = namesInOrder();
    for (const QString &name : names)
        putAside(name);
    for (const QString &name : names)
        renameThrow(staging.absoluteFilePath(name), place(name));
    syncToDisk(backup.absolutePath());
}

void finishDecided(const QDir &backup, const QString &folder)
{
    const DecidedChange change(backup, folder);
    if (change.isOpen() && change.isOfThisManifest())
        change.makeMoves();
    else if (change.isOpen())
        qWarning("%ls: the backup was made anew since a change to it was interrupted; the change is dropped",
                 qUtf16Printable(backup.absolutePath()));
    change.remove();
}

void finishLeftOvers(const QDir &backup)
{
    for (QString folder = decidedFolder(backup); !folder.isEmpty(); folder = decidedFolder(backup)) {
        finishDecided(backup, folder);
        if (QFileInfo::exists(folder))
            throw std::runtime_error(u"%1: can't be removed"_s.arg(folder).toStdString());
    }
    QDir(backup.absoluteFilePath(stagingName)).removeRecursively();
}

} // namespace

BackupRewrite::BackupRewrite(const QDir &backupDir, const QStringList &names)
    : backup(backupDir)
    , staging(backupDir.absoluteFilePath(stagingName))
    , lock(backupDir.absoluteFilePath(lockName))
{
    lockThrow(lock, backup, changedText);
    finishLeftOvers(backup);
    for (const QString &name : names) {
        if (backup.exists(name))
            oldHashes.insert(name, fileSha1(backup.absoluteFilePath(name)));
    }
}

BackupRewrite::~BackupRewrite()
{
    staging.removeRecursively();
}

QString BackupRewrite::staged(const QString &name)
{
    if (!backup.mkpath(stagingName))
        throw std::runtime_error(
            u"%1: the backup can't be written to."_s.arg(backup.absolutePath()).toStdString());
    return staging.absoluteFilePath(name);
}

void BackupRewrite::checkUnchanged() const
{
    for (auto it = oldHashes.cbegin(); it != oldHashes.cend(); ++it) {
        if (fileSha1(backup.absoluteFilePath(it.key())) != it.value())
            throw std::runtime_error(
                u"%1: another program has changed this file meanwhile. Nothing was written; try again."_s
                    .arg(backup.absoluteFilePath(it.key()))
                    .toStdString());
    }
}

void BackupRewrite::writeBase() const
{
    QFile base(staging.absoluteFilePath(baseName));
    const QByteArray hash = oldHash(manifestName);
    if (!base.open(QIODevice::WriteOnly) || base.write(hash) != hash.size() || !base.flush())
        throwFileError(base);
}

void BackupRewrite::commit()
{
    writeBase();
    const QStringList names = staging.entryList(QDir::Files | QDir::Hidden);
    for (const QString &name : names) {
        const QString path = staging.absoluteFilePath(name);
        if (backup.exists(name)) // what only some may read stays so
            QFile::setPermissions(path, QFile::permissions(backup.absoluteFilePath(name)));
        syncToDisk(path);
    }
    syncToDisk(staging.absolutePath());
    qint64 time = QDateTime::currentSecsSinceEpoch();
    const auto isTaken = [&](const QString &name) {
        return QFileInfo::exists(backup.absoluteFilePath(u"%1-%2"_s.arg(name).arg(time)));
    };
    while (std::any_of(names.cbegin(), names.cend(), isTaken))
        ++time;
    checkUnchanged();
    const QString decided = backup.absoluteFilePath(decidedPrefix + QString::number(time));
    renameThrow(staging.absolutePath(), decided);
    syncToDisk(backup.absolutePath());
    finishDecided(backup, decided);
}

void finishRewrite(const QDir &backupDir)
{
    const bool hasLeftOvers =
        !decidedFolder(backupDir).isEmpty() || backupDir.exists(stagingName) || backupDir.exists(lockName);
    if (!hasLeftOvers)
        return;
    QLockFile lock(backupDir.absoluteFilePath(lockName));
    lockThrow(lock, backupDir, changedText);
    finishLeftOvers(backupDir);
}

QString standingManifest(const QDir &backupDir)
{
    const QString folder = decidedFolder(backupDir);
    if (!folder.isEmpty()) {
        const DecidedChange change(backupDir, folder);
        if (change.isOpen() && change.hasBegun() && change.isOfThisManifest())
            return QDir(folder).absoluteFilePath(manifestName);
    }
    return backupDir.absoluteFilePath(manifestName);
}
