#pragma once

#include "app/jobprogress.h"
#include "recovery/carving/deletedrows.h"

#include <functional>
#include <limits>
#include <vector>

class MessageRecycleDb;
class SearchedDatabase;
struct SearchedFile;

/// Which rows to look for, and what becomes of those found: the calls answer how many finds a row is.
struct DeletedRowKind {
    QString table;
    QList<QList<_SqliteCol>> columns; ///< each list is tried on every page
    Sqlite3File::RowFilter filter;
    std::function<int(const Sqlite3RawRow &)> takeFreedRow;  ///< of a page that was given up whole
    std::function<int(const Sqlite3RawRow &)> takeCarvedRow; ///< from between the rows of a page
};

/// Looks for such rows in a database, as its log leaves it and in its main file, which may hold what the log
/// took away. `progress` may be null. Returns the number of finds. A cancelled run keeps what it has found.
/// Throws `std::runtime_error`; a transaction on `recycle` is then open still.
int searchDeletedRows(SearchedDatabase &database, const DeletedRowKind &kind, MessageRecycleDb &recycle,
                      JobProgress *progress);

/// Looks through the bytes of one file: at the trees of pages that were given up, then at each
/// such page and each leaf of the table for what is left between its rows. One run is one transaction
/// on the recycle database, which is committed also when the run is cancelled. The file stays as it is.
class DeletedRowSearch
{
public:
    /// `waiting` may be null. All are borrowed.
    DeletedRowSearch(SearchedFile &source, MessageRecycleDb &target, JobProgress *waiting);

    /// Whether the file is a database as far as its first bytes tell; else it is logged why not. A main file
    /// whose log or journal is left out may have been caught in the middle of a write.
    bool canOpen();
    /// Returns the number of finds. Throws `std::runtime_error`; the transaction is then open still.
    int run(const DeletedRowKind &kind);

private:
    bool isCancelled() const;
    int searchFreelist(const DeletedRowKind &kind);
    int searchFreePage(const DeletedRowKind &kind, quint32 pageNo);
    int takeFreedRows(const DeletedRowKind &kind, const Sqlite3Page &leaf);
    void addLivePages(const QString &table);
    int searchPages(const DeletedRowKind &kind);
    int searchPage(const DeletedRowKind &kind, const std::vector<CarveColumns> &lists, quint32 pageNo);
    void addPage(quint32 pageNo);
    void report(int percent, const QString &text) const;

    SearchedFile &searched;
    MessageRecycleDb &recycle;
    JobProgress *progress;
    ProgressPace gathering{std::numeric_limits<qint64>::max()}; // nobody knows how many it will be
    Sqlite3File file;
    std::vector<quint32> pages; ///< to be searched between their rows
    QSet<quint32> listed;       ///< those: each is searched once
    QSet<quint32> walked;       ///< on the trees below free pages; some of them are no pages of a tree now
};
