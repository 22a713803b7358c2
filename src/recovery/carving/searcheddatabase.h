#pragma once

#include "recovery/carving/sqlite3file.h"
#include "sqlite_qt/untoucheddb.h"

#include <QList>
#include <QString>

#include <memory>

class JobProgress;

/// A file to look through for deleted rows, and the same file as SQLite reads it.
struct SearchedFile {
    QString path;
    Sqlite3DB db; ///< closed where SQLite can't read the file
};

/// A phone's message database for a search. Neither it nor what lies beside it is changed: a log is worked
/// into a private copy. What the log took away may still lie in the main file, so that this is looked
/// through too.
class SearchedDatabase
{
public:
    /// Throws `std::runtime_error` when `path` can't be read.
    explicit SearchedDatabase(const QString &path);

    SearchedFile &current() { return now; }
    /// The main file without its log or journal; null where it has none.
    SearchedFile *withoutLog() { return before.get(); }
    /// The rows of `table` that only the main file without its log has, exactly as SQLite reads them. Where
    /// it can't be read on, that is logged. `progress`, which may be null, can end it early.
    QList<Sqlite3RawRow> rowsThatWent(const QString &table, const JobProgress *progress);

private:
    std::unique_ptr<PrivateCopy> copy; // goes after the connections
    SearchedFile now;
    std::unique_ptr<SearchedFile> before;
};
