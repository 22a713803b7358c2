#pragma once

#include <QByteArray>
#include <QString>

#include <memory>
#include <optional>

struct sqlite3;
struct sqlite3_stmt;

/// A statement that is prepared once and run many times.
class SampleStatement
{
public:
    /// Throws std::runtime_error with SQLite's text and the statement.
    SampleStatement(sqlite3 *database, const char *sql);

    /// Binds `values` to the placeholders in order and runs to the end. A null QString or QByteArray
    /// and nullptr are bound as NULL. Throws std::runtime_error.
    template <typename... Values>
    void run(const Values &...values)
    {
        int place = 0;
        (bind(++place, values), ...);
        finish();
    }

private:
    struct Finalizer {
        void operator()(sqlite3_stmt *statement) const noexcept;
    };

    void bind(int place, qint64 value);
    void bind(int place, int value) { bind(place, qint64(value)); }
    void bind(int place, bool value) { bind(place, qint64(value)); }
    void bind(int place, std::nullptr_t);
    void bind(int place, std::optional<qint64> value);
    void bind(int place, const QString &value);
    void bind(int place, const QByteArray &value);
    void finish();

    std::unique_ptr<sqlite3_stmt, Finalizer> handle;
};

/// A new database file, written as fast as SQLite can: nobody needs a sample that was cut short, so
/// there is no rollback journal and no sync. All failures are std::runtime_error.
class SampleSqlite
{
public:
    /// Makes the folders above `path` and replaces a file that stands there.
    explicit SampleSqlite(const QString &path);

    void execute(const char *sql);
    SampleStatement prepare(const char *sql);
    qint64 lastRowid() const;

    /// What stands in for an SQL function that the phone's triggers call: nothing, or whether flags of
    /// iOS 5 say that a message was read.
    enum class Answer { Zero, IsRead };
    void addFunction(const char *name, int arguments, Answer answer);

    /// What is written from here on stands only in the write-ahead log, and the log stays beside the
    /// file when the database is closed. Call outside a transaction.
    void switchToLog();

    /// The file says of itself that it has a write-ahead log, but none is left when it is closed. Call
    /// outside a transaction.
    void markAsLogged();

private:
    struct Closer {
        void operator()(sqlite3 *database) const noexcept;
    };

    std::unique_ptr<sqlite3, Closer> handle;
};
