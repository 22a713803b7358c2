#pragma once

#include <QDir>
#include <QHash>
#include <QLatin1StringView>
#include <QLockFile>
#include <QString>
#include <QStringList>

inline constexpr QLatin1StringView manifestName("Manifest.mbdb");

/// Replaces files of a backup folder together, its manifest among them.
///
/// The new files are written into a folder inside the backup. When all of them are on the disk, renaming
/// that folder is the one step that decides: before it, the change never was; after it, the change is made.
/// What then follows are renames within one disk: a file that is replaced goes aside under its name, "-" and
/// the time, and stays there; the manifest comes last. A program that is killed in between leaves the
/// decided folder, and whoever comes next (`finishRewrite`) makes the renames that are left. Readers take
/// the manifest from `standingManifest`, so that they see the old files or the new ones.
class BackupRewrite
{
public:
    /// Takes the folder for this run and remembers how the files `names`, those that are there, look now.
    /// Throws `std::runtime_error` when another program is changing this backup or it can't be written to.
    BackupRewrite(const QDir &backupDir, const QStringList &names);
    /// Drops what was not committed.
    ~BackupRewrite();
    Q_DISABLE_COPY_MOVE(BackupRewrite)

    /// SHA-1 that a file had at the start, 20 bytes; empty when it wasn't there.
    QByteArray oldHash(const QString &name) const { return oldHashes.value(name); }
    /// Where the new content of the file `name` is to be written.
    QString staged(const QString &name);
    /// Makes the change. Throws `std::runtime_error`, and changes nothing, when a file isn't any more what
    /// it was at the start or the new ones can't be brought onto the disk.
    void commit();

private:
    void checkUnchanged() const;
    void writeBase() const;

    QDir backup;
    QDir staging;
    QLockFile lock;
    QHash<QString, QByteArray> oldHashes;
};

/// Completes a change that was decided when its program was killed, and takes away what an undecided one
/// left. A change whose manifest isn't the one that the folder holds is dropped: another program has made
/// a new backup since. Throws `std::runtime_error` when another program is at work or files can't be moved.
void finishRewrite(const QDir &backupDir);

/// Path of the manifest that goes with the files of the backup: "Manifest.mbdb" but for the moment in which
/// its files are new already and its own turn hasn't come.
QString standingManifest(const QDir &backupDir);
