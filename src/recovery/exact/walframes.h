#pragma once

#include "recovery/exact/sqliteformat.h"

#include <vector>

/// A version of a page that a write-ahead log or a rollback journal holds. Bytes are borrowed.
struct PageVersion {
    quint32 page = 0; ///< its number
    QByteArrayView content;
    qint64 offset = 0; ///< of the content in its file
};

/// What one transaction left in the log.
struct WalCommit {
    std::vector<PageVersion> pages;
    quint32 pageCount = 0; ///< of the database from then on
};

/// A write-ahead log, read as SQLite reads it: frames count up to the last commit whose salts and checksums
/// are right. What lies behind belongs to an older run of the log, or to a transaction that never ended.
struct WalFrames {
    std::vector<WalCommit> commits; ///< in their order
    std::vector<PageVersion> loose;

    /// `pageSize` is that of the database.
    WalFrames(QByteArrayView wal, int pageSize);
};

struct JournalHeader;

/// The pages that a rollback journal keeps from before a transaction.
struct JournalPages {
    std::vector<PageVersion> pages;
    bool isHot = false;    ///< the transaction never ended: these are the truth
    quint32 pageCount = 0; ///< of the database before it; 0 when unknown

    JournalPages(QByteArrayView journal, int pageSize);

private:
    /// Returns the place behind the part, 0 where it ends early.
    qint64 takePart(QByteArrayView journal, qint64 at, int pageSize, const JournalHeader &header);
};
