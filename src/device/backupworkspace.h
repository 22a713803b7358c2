#pragma once

#include <QDir>

class JobProgress;

/// Where a phone is backed up while its last whole backup stays as it is: in a folder beside it, which a
/// backup that can be continued is copied to first. Where the disk has no space for two, the tool works on
/// the only one.
class BackupWorkspace
{
public:
    /// `root` holds the backup, in a folder named after the phone. What is there and isn't whole is removed.
    /// Throws `std::runtime_error`, and as a cancelled job does.
    BackupWorkspace(const QDir &root, const QString &udid, const QString &productVersion,
                    JobProgress &progress);
    BackupWorkspace(const BackupWorkspace &) = delete;
    BackupWorkspace &operator=(const BackupWorkspace &) = delete;
    /// Removes what wasn't kept, but for the only backup.
    ~BackupWorkspace();

    /// The folder that the tool is given: it holds the phone's folder.
    const QDir &toolRoot() const { return work; }
    /// The new backup takes the place of the last one. Throws `std::runtime_error` when it can't.
    void keep();
    /// The tool failed: what it worked on is no backup any more.
    void discard();

private:
    void takeBack() const;
    void copyLast(JobProgress &progress);

    QDir last;  ///< the phone's folder
    QDir aside; ///< the folder beside it
    QDir work;
    QString name; ///< of the phone's folder
};

/// What the files below `folder` come to.
qint64 sizeOfFolder(const QDir &folder);

/// Whether `folder` holds a backup that came to its end.
bool isWholeBackup(const QDir &folder);

/// Whether the backup in `folder` may be continued for a phone of that system version: it is whole and of the
/// same version.
bool canContinueBackup(const QDir &folder, const QString &productVersion);
