#pragma once

#include "sqlite_qt/sqlite3db.h"

#include <QList>
#include <QSet>

/// Base of the program's own databases: opens on first use and knows whether a transaction is open.
/// Failures of SQLite pass through as `std::runtime_error`; `inTransaction` then keeps its value, so
/// that `endTransaction(false)` can still roll back.
class AbsDb : public Sqlite3DB
{
public:
    /// Opens or creates the file and registers what its schema needs; returns at once when it is open.
    virtual void openDb() = 0;

    void beginTransaction();
    /// Does nothing without a transaction.
    void endTransaction(bool commit);

    /// Inserts `row` into `table` but for the columns `excluded`. Returns the new rowid.
    qint64 insertRow(const Sqlite3Row &row, const QString &table, const QSet<QString> &excluded);
    /// All rows of `table`.
    QList<Sqlite3Row> selectAll(const QString &table);

protected:
    bool inTransaction = false;
};
