#pragma once

#include "sqlite3db.h"

#include <QString>

/// "manifest.db" of a cache folder: which file of the backup was copied at which date. It is opened by
/// its first operation and holds one transaction over its life. All operations throw what SQLite says.
class BackupCacheDb
{
public:
    explicit BackupCacheDb(const QString &path);
    BackupCacheDb(const BackupCacheDb &) = delete;
    BackupCacheDb &operator=(const BackupCacheDb &) = delete;
    /// Commits; a commit that fails here is only logged.
    ~BackupCacheDb();

    /// Date (seconds since 1970) that is kept for `fileName`, 0 when there is none.
    int lastDate(const QString &fileName);
    /// Keeps a date for a new `fileName`. One that is known keeps its old date, so that a file that has
    /// changed since is copied again on every later load.
    void setLastDate(const QString &fileName, int date);
    void removeEntry(const QString &fileName);

    /// Ends the transaction and closes; harmless when not open.
    void commit();
    void rollback();

private:
    void open();
    void execute(const QString &sql);
    void insertDate(const QString &fileName, int date);
    void updateDate(const QString &fileName, int date);

    QString path;
    Sqlite3DB db;
};
