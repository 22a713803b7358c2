#include "sqlite_qt/absdb.h"

using namespace Qt::StringLiterals;

void AbsDb::beginTransaction()
{
    openDb();
    beginTran();
    inTransaction = true;
}

void AbsDb::endTransaction(bool commit)
{
    if (!inTransaction)
        return;
    openDb();
    if (commit)
        commitTran();
    else
        rollbackTran();
    inTransaction = false;
}

qint64 AbsDb::insertRow(const Sqlite3Row &row, const QString &table, const QSet<QString> &excluded)
{
    openDb();
    executeThrow(row.insertSql(table, excluded));
    return lastInsertId();
}

QList<Sqlite3Row> AbsDb::selectAll(const QString &table)
{
    openDb();
    QList<Sqlite3Row> rows;
    Sqlite3Cursor cursor = queryThrow(Sqlite3Sql(u"select * from %1"_s.arg(table)));
    while (cursor.moveNextThrow())
        rows.append(cursor.getRow());
    return rows;
}
