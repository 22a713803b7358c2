#pragma once

#include "sqlite_qt/sqlite3cursor.h"
#include "sqlite_qt/sqlite3sql.h"
#include "sqlite_qt/sqlitecol.h"

#include <QHash>
#include <QString>

#include <memory>

struct sqlite3;
class StatementCache;

/// Version of this layer's interface. The program starts with 6 and no other.
int sqlite_qt_version();

// Flags of `openThrow`, with SQLite's own values.
inline constexpr int sqliteReadOnly = 1;
inline constexpr int sqliteReadWrite = 2;
inline constexpr int sqliteReadWriteCreate = 6;

/// One connection. It belongs to one thread at a time; there is no lock here.
///
/// Operations that end in `Throw` throw `std::runtime_error` with the file's path and SQLite's message.
/// Prepared statements are kept and used again as long as the connection is open.
class Sqlite3DB
{
public:
    Sqlite3DB();
    Sqlite3DB(const Sqlite3DB &) = delete;
    Sqlite3DB &operator=(const Sqlite3DB &) = delete;
    virtual ~Sqlite3DB();

    bool isOpen() const { return connection != nullptr; }
    /// Opens `path`, waiting up to five seconds for another process's lock in all later work. On
    /// failure the connection stays closed.
    void openThrow(const QString &path, int flags);
    /// Opens `path` for reading without looking for a journal or a write-ahead log and without making any
    /// file beside it, so that a folder nobody may write to serves too. Nobody changes the file meanwhile.
    void openImmutableThrow(const QString &path);
    /// Harmless when not open. Cursors that are still alive keep their rows.
    void close();
    /// Goes on with what `other` has open, which is closed then.
    void takeOver(Sqlite3DB &other);
    /// What failures call the file of an open connection: of a copy, people know what it is a copy of.
    void setNameInErrors(const QString &path);

    /// A cursor before the first row.
    Sqlite3Cursor queryThrow(const Sqlite3Sql &sql);
    /// Runs a statement to its end.
    void executeThrow(const Sqlite3Sql &sql);
    /// Runs one or more statements without parameters. Returns SQLite's result, 0 for success, and
    /// leaves its message in `error` otherwise. Never throws.
    int exec(const QString &sql, QString &error);

    // BEGIN and COMMIT throw as the `Throw` operations do: a commit that a full disk refuses must not
    // pass for done. ROLLBACK never throws.
    void beginTran();
    void commitTran();
    void rollbackTran();

    qint64 lastInsertId() const;
    /// The columns of `table` by name; empty when there is no such table.
    QHash<QString, _SqliteCol> tbInfo(const QString &table);

    /// Keeps SQLite from folding the write-ahead log into the file when the connection closes, so that
    /// reading leaves a file and its log as they lie. Call it before the first read. Where no log lies,
    /// it does nothing: the empty one that SQLite makes then goes again when the connection closes.
    void keepLogOnClose();

    /// A query of a view fails from now on: in a file of somebody else's it may be without an end.
    void forbidViews();

    /// Whether changes set off the triggers of the file. Without them a phone's database can be written
    /// whose triggers call functions that only the phone has.
    void setTriggersEnabled(bool enabled);

protected:
    /// Gives SQL a function that answers with `result` of its first argument as an integer (0 where it
    /// has none). Throws when SQLite refuses.
    void createFunctionThrow(const char *name, int arguments, int (*result)(int first));

private:
    struct Closer {
        void operator()(sqlite3 *db) const noexcept;
    };
    void openNamedThrow(const QString &path, const QByteArray &name, int flags);

    std::unique_ptr<sqlite3, Closer> connection;
    std::shared_ptr<StatementCache> statements;
};
