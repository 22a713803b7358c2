#pragma once

#include <QHash>
#include <QString>
#include <QVariant>

#include <deque>
#include <memory>
#include <string>

struct sqlite3;
struct sqlite3_stmt;

struct StatementFinalizer {
    void operator()(sqlite3_stmt *statement) const noexcept;
};
using StatementHandle = std::unique_ptr<sqlite3_stmt, StatementFinalizer>;

/// Prepared statements of one connection that nobody uses at the moment, by their text, and what all its
/// statements share. Only texts with a `?` are kept: one with its numbers written in does not come again.
class StatementCache
{
public:
    /// An idle statement of this text, or null.
    StatementHandle take(const QString &sql);
    void giveBack(const QString &sql, StatementHandle statement);

    std::string fileName; ///< as `sqliteMessage` takes it

private:
    struct Entry {
        QString sql;
        StatementHandle statement;
    };
    std::deque<Entry> idle; // the most recently used first
};

/// A prepared statement with its parameters bound. When it goes, the handle returns to the
/// connection's cache, or is finalised if the connection is closed.
class Sqlite3Stmt
{
public:
    /// Throws `std::runtime_error` with SQLite's message when the text can't be prepared or a
    /// parameter can't be bound.
    Sqlite3Stmt(sqlite3 *db, const std::shared_ptr<StatementCache> &cache, const QString &sql,
                const QList<QVariant> &params);
    Sqlite3Stmt(const Sqlite3Stmt &) = delete;
    Sqlite3Stmt &operator=(const Sqlite3Stmt &) = delete;
    ~Sqlite3Stmt();

    sqlite3_stmt *get() const { return statement.get(); }
    /// One step: true on a row, false at the end and on an error, which `checkThrow` tells apart.
    bool step();
    /// Throws with SQLite's message if the last step failed.
    void checkThrow() const;

private:
    void bindThrow(int index, const QVariant &value);
    [[noreturn]] void failThrow(sqlite3 *db) const;

    std::weak_ptr<StatementCache> cache;
    QString sql;
    StatementHandle statement;
    bool ended = false;
    bool stepFailed = false;
};

/// The text that every failure of this layer carries: the file, then SQLite's own message.
/// `fileName` is what it is called; empty for the name that it was opened by.
std::string sqliteMessage(sqlite3 *db, const std::string &fileName);
