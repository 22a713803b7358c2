#pragma once

#include "sqlite_qt/sqlite3db.h"

#include <QtGlobal>

/// A transaction that takes the write lock at once, and is rolled back unless it is committed.
class WriteTransaction
{
public:
    explicit WriteTransaction(Sqlite3DB &database) : db(database)
    {
        db.executeThrow(Sqlite3Sql("BEGIN IMMEDIATE"));
    }
    ~WriteTransaction()
    {
        if (!committed)
            db.rollbackTran();
    }
    Q_DISABLE_COPY_MOVE(WriteTransaction)

    void commit()
    {
        db.commitTran();
        committed = true;
    }

private:
    Sqlite3DB &db;
    bool committed = false;
};
