#pragma once

#include "recovery/exact/foundrow.h"
#include "recovery/exact/livemap.h"
#include "recovery/exact/overflowchain.h"
#include "recovery/exact/rowfinder.h"
#include "recovery/exact/rowrules.h"
#include "recovery/exact/walframes.h"

#include <functional>
#include <map>
#include <optional>
#include <vector>

class JobProgress;

/// The bytes of a database and of what SQLite left beside it; empty where there is none. Borrowed.
struct DatabaseBytes {
    QByteArrayView mainFile;
    QByteArrayView wal;
    QByteArrayView journal;
};

/// One table whose deleted rows are looked for.
struct ScannedTable {
    RowKind kind;
    TableShape shape;
};

/// Looks for deleted rows of messages, handles and chats, and believes only what the file's own format
/// proves. Nothing is folded in place: the main file as it lies comes first, then each commit of the
/// write-ahead log in its order, then frames behind the last commit as single pages, and the pages of a
/// rollback journal. What is there still, as SQLite reads the database, is no find.
class ExactScan
{
public:
    /// Takes a row that nothing better was found for so far; a later one of the same identity replaces it.
    using Sink = std::function<void(const FoundRow &, const RowIdentity &)>;

    /// `bytes` have to outlive the scan, `jobProgress` may be null. Throws `std::runtime_error` where the
    /// bytes are no database.
    ExactScan(const DatabaseBytes &bytes, JobProgress *jobProgress);

    /// The tables that the database has, in the order of `FoundRow::table`.
    const std::vector<ScannedTable> &tables() const { return scanned; }
    /// Whether the scan came to its end; false when it was cancelled.
    bool run(const Sink &rowSink);

private:
    struct Moment;
    struct PageTask;
    struct Piece;

    // exactscan.cpp
    bool isCancelled() const;
    void report();
    void scanMainFile();
    void scanWal();
    void scanLoosePages();
    void scanPages(Moment &moment, const std::vector<PageVersion> &pages);
    void take(const FoundRow &row);
    bool isLive(size_t table, const RowIdentity &identity) const;

    // livetables.cpp
    void applyLast(DatabaseState &state) const;
    void readLiveTables(const DatabaseState &state, const LiveMap &map);
    void readLiveRows(const DatabaseState &state, const LiveMap &map, const SchemaEntry &table, size_t index);
    void readHighestRowids(const DatabaseState &state, const LiveMap &map);

    // pagescan.cpp
    void scanPage(Moment &moment, PageTask task);
    bool hasRow(QByteArrayView page, const TreePage &tree) const;
    void scanArea(const PageTask &task, qsizetype start, qsizetype end, std::vector<Piece> &pieces) const;
    void takeCell(const PageTask &task, const TreeCell &cell, std::vector<Piece> &pieces) const;
    void takePieces(Moment &moment, const PageTask &task, std::vector<Piece> &pieces);
    bool isOfLiveGuid(const PageTask &task, const Piece &piece) const;
    bool isProven(const Piece &piece, const FoundRow &row) const;
    bool isOwnChain(Moment &moment, const PageTask &task, const Piece &piece) const;
    const LiveMap &mapOf(Moment &moment) const;
    OverflowChain chainOf(Moment &moment, const PageTask &task, const Piece &piece) const;
    std::optional<FoundRow> decode(const PageTask &task, const Piece &piece,
                                   const OverflowChain &chain) const;

    struct Rank {
        int value = 0;
        size_t content = 0;
    };
    using Identities = std::vector<RowIdentity>; // sorted, for a million rows take little memory so

    DatabaseBytes files;
    JobProgress *progress;
    PageLayout layout;
    WalFrames wal;
    JournalPages journal;
    std::vector<ScannedTable> scanned;
    std::vector<RowFinder> finders;
    std::vector<RowRules> rules;
    std::vector<bool> isReplaced; // pages of the main file that the log has newer ones of
    std::optional<LiveMap> lastMap;
    std::vector<Identities> live;
    std::vector<std::map<RowIdentity, Rank>> found;
    Sink sink;
    qint64 pagesDone = 0;
    qint64 pagesInAll = 0;
};
