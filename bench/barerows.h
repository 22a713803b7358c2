#pragma once

#include <QByteArray>
#include <QFile>
#include <QString>

#include <sqlite3.h>

#include <deque>
#include <memory>
#include <vector>

// SQLite without anything around it, for the floors of benchmarks. What fails ends the program.

struct DbCloser {
    void operator()(sqlite3 *db) const { sqlite3_close(db); }
};
using Db = std::unique_ptr<sqlite3, DbCloser>;

inline Db openBare(const QString &path)
{
    sqlite3 *db = nullptr;
    const int flags = SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_NOMUTEX;
    if (sqlite3_open_v2(path.toUtf8().constData(), &db, flags, nullptr) != SQLITE_OK)
        qFatal("%s", sqlite3_errmsg(db));
    return Db(db);
}

inline void runBare(sqlite3 *db, const QByteArray &sql)
{
    if (sqlite3_exec(db, sql.constData(), nullptr, nullptr, nullptr) != SQLITE_OK)
        qFatal("%s: %s", sql.constData(), sqlite3_errmsg(db));
}

/// The rows of one table of a finished database, held in memory, ready to be inserted again.
class TableRows
{
public:
    TableRows(sqlite3 *db, const QByteArray &tableName) : table(tableName)
    {
        const QByteArray sql = "select * from " + table + " order by rowid";
        sqlite3_stmt *statement = nullptr;
        sqlite3_prepare_v2(db, sql.constData(), -1, &statement, nullptr);
        columns = sqlite3_column_count(statement);
        while (sqlite3_step(statement) == SQLITE_ROW) {
            for (int i = 0; i < columns; ++i)
                values.push_back(sqlite3_value_dup(sqlite3_column_value(statement, i)));
        }
        sqlite3_finalize(statement);
    }
    TableRows(TableRows &&) = default;
    ~TableRows()
    {
        for (sqlite3_value *value : values)
            sqlite3_value_free(value);
    }
    void insertInto(sqlite3 *db) const { insertInto(db, table); }
    /// `target` is another table that takes them, perhaps with the names of columns.
    void insertInto(sqlite3 *db, const QByteArray &target) const
    {
        const QByteArray sql =
            "insert into " + target + " values(?" + QByteArray(",?").repeated(columns - 1) + ")";
        sqlite3_stmt *statement = nullptr;
        sqlite3_prepare_v2(db, sql.constData(), -1, &statement, nullptr);
        for (size_t row = 0; row < values.size(); row += size_t(columns)) {
            for (int i = 0; i < columns; ++i)
                sqlite3_bind_value(statement, i + 1, values[row + size_t(i)]);
            if (sqlite3_step(statement) != SQLITE_DONE)
                qFatal("%s", sqlite3_errmsg(db));
            sqlite3_reset(statement);
        }
        sqlite3_finalize(statement);
    }

private:
    QByteArray table;
    int columns = 0;
    std::vector<sqlite3_value *> values;
};

/// Fills a new database at `path` with nothing but the bare statements.
inline void makeBare(const QString &path, const QByteArray &schema, const std::deque<TableRows> &tables)
{
    QFile::remove(path);
    const Db db = openBare(path);
    runBare(db.get(), "PRAGMA cache_size=-65536");
    runBare(db.get(), schema);
    runBare(db.get(), "begin");
    for (const TableRows &table : tables)
        table.insertInto(db.get());
    runBare(db.get(), "commit");
}

/// What makes the tables, indexes and triggers of a finished database.
inline QByteArray schemaOf(sqlite3 *db)
{
    sqlite3_stmt *statement = nullptr;
    sqlite3_prepare_v2(db,
                       "select sql from sqlite_master where sql is not null and name <> 'sqlite_sequence'",
                       -1, &statement, nullptr);
    QByteArray script;
    while (sqlite3_step(statement) == SQLITE_ROW)
        script += QByteArray(reinterpret_cast<const char *>(sqlite3_column_text(statement, 0))) + ";";
    sqlite3_finalize(statement);
    return script;
}
