#pragma once

#include <QDir>
#include <QHash>
#include <QString>

#include <mutex>

/// Where in its folder a backup has its files. The folder and those in it are looked at once, a file each
/// time. For any thread.
class BackupPlaces
{
public:
    explicit BackupPlaces(const QDir &folder) : root(folder) {}

    struct Place {
        QString path;           ///< where the file lies, or would lie
        bool isTaken = false;   ///< something stands there
        bool isAllowed = false; ///< it is an ordinary file, and no link leads out of the backup
        qint64 size = 0;        ///< bytes
    };

    /// Where the file called `name`, 40 hex digits, lies. Newer backups sort their files into folders named
    /// after the first two digits, and an unfinished one has some in "Snapshot".
    Place find(const QString &name, bool isModern);

private:
    enum class Folder { Missing, Inside, Outside };

    Place lookIn(const QString &folder, const QString &name, bool isModern);
    Folder kindOf(const QString &folder);
    Folder look(const QString &folder);
    const QString &canonicalRoot();

    QDir root;
    QString canonical;
    QHash<QString, Folder> folders; ///< by path below the root
    std::mutex mutex;
};
