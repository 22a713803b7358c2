#pragma once

#include "sqlite_qt/sqlite3db.h"

#include <QString>

#include <optional>

/// "manifest.db" of a cache folder: which file of the backup was copied at which date. It is opened by
/// its first operation and holds one transaction over its life. All operations throw what SQLite says.
class BackupCacheDb
{
public:
    explicit BackupCacheDb(const QString &databasePath);
    BackupCacheDb(const BackupCacheDb &) = delete;
    BackupCacheDb &operator=(const BackupCacheDb &) = delete;
    /// Commits; a commit that fails here is only logged.
    ~BackupCacheDb();

    /// Date (seconds since 1970) that is kept for `fileName`, 0 when there is none.
    int lastDate(const QString &fileName);
    /// Keeps the date of the copy that now is in the cache, older or newer than the one before.
    void setLastDate(const QString &fileName, int date);
    void removeEntry(const QString &fileName);
    /// Removes the entry at once, with all that was kept so far. To be called before the copy is replaced:
    /// a program that is killed then leaves no date beside a copy of another one.
    void forgetNow(const QString &fileName);

    /// Ends the transaction and closes; harmless when not open.
    void commit();
    void rollback();

private:
    void open();
    void execute(const QString &sql);
    std::optional<int> keptDate(const QString &fileName);

    QString path;
    Sqlite3DB db;
};
