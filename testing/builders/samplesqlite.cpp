#include "testing/builders/samplesqlite.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <sqlite3.h>

#include <stdexcept>

namespace
{

void check(int result, sqlite3 *database, const char *what)
{
    if (result != SQLITE_OK && result != SQLITE_DONE && result != SQLITE_ROW)
        throw std::runtime_error(std::string(sqlite3_errmsg(database)) + ": " + what);
}

void answerZero(sqlite3_context *context, int, sqlite3_value **)
{
    sqlite3_result_int(context, 0);
}

void answerIsRead(sqlite3_context *context, int, sqlite3_value **values)
{
    constexpr int readFlag = 2;
    sqlite3_result_int(context, (sqlite3_value_int(values[0]) & readFlag) ? 1 : 0);
}

/// The log's header holds a random salt; a fixed seed makes it the same in every run.
class FixedSalt
{
public:
    FixedSalt() { seed(1); }
    ~FixedSalt() { seed(0); }
    Q_DISABLE_COPY_MOVE(FixedSalt)

private:
    static void seed(int value)
    {
        sqlite3_test_control(SQLITE_TESTCTRL_PRNG_SEED, value, static_cast<sqlite3 *>(nullptr));
    }
};

} // namespace

void SampleStatement::Finalizer::operator()(sqlite3_stmt *statement) const noexcept
{
    sqlite3_finalize(statement);
}

SampleStatement::SampleStatement(sqlite3 *database, const char *sql)
{
    sqlite3_stmt *raw = nullptr;
    const int result = sqlite3_prepare_v2(database, sql, -1, &raw, nullptr);
    handle.reset(raw);
    check(result, database, sql);
}

void SampleStatement::bind(int place, qint64 value)
{
    sqlite3_bind_int64(handle.get(), place, value);
}

void SampleStatement::bind(int place, std::nullptr_t)
{
    sqlite3_bind_null(handle.get(), place);
}

void SampleStatement::bind(int place, std::optional<qint64> value)
{
    if (value)
        bind(place, *value);
    else
        bind(place, nullptr);
}

void SampleStatement::bind(int place, const QString &value)
{
    if (value.isNull())
        sqlite3_bind_null(handle.get(), place);
    else
        sqlite3_bind_text16(handle.get(), place, value.utf16(), int(value.size() * 2), SQLITE_TRANSIENT);
}

void SampleStatement::bind(int place, const QByteArray &value)
{
    if (value.isNull())
        sqlite3_bind_null(handle.get(), place);
    else
        sqlite3_bind_blob64(handle.get(), place, value.constData(), sqlite3_uint64(value.size()),
                            SQLITE_TRANSIENT);
}

void SampleStatement::finish()
{
    int result = SQLITE_ROW;
    while (result == SQLITE_ROW)
        result = sqlite3_step(handle.get());
    check(result, sqlite3_db_handle(handle.get()), sqlite3_sql(handle.get()));
    sqlite3_reset(handle.get());
}

void SampleSqlite::Closer::operator()(sqlite3 *database) const noexcept
{
    sqlite3_close_v2(database);
}

SampleSqlite::SampleSqlite(const QString &path)
{
    QDir().mkpath(QFileInfo(path).path());
    for (const QString &leftOver : {path, QString(path + u"-wal"), QString(path + u"-shm")})
        QFile::remove(leftOver);
    sqlite3 *raw = nullptr;
    const QByteArray name = path.toUtf8();
    const int result =
        sqlite3_open_v2(name.constData(), &raw, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE, nullptr);
    handle.reset(raw);
    check(result, raw, name.constData());
    execute("PRAGMA page_size=4096; PRAGMA locking_mode=EXCLUSIVE; PRAGMA journal_mode=OFF;"
            "PRAGMA synchronous=OFF; PRAGMA cache_size=-200000; PRAGMA temp_store=MEMORY");
}

void SampleSqlite::execute(const char *sql)
{
    check(sqlite3_exec(handle.get(), sql, nullptr, nullptr, nullptr), handle.get(), sql);
}

SampleStatement SampleSqlite::prepare(const char *sql)
{
    return SampleStatement(handle.get(), sql);
}

qint64 SampleSqlite::lastRowid() const
{
    return sqlite3_last_insert_rowid(handle.get());
}

void SampleSqlite::addFunction(const char *name, int arguments, Answer answer)
{
    const auto function = answer == Answer::IsRead ? &answerIsRead : &answerZero;
    check(sqlite3_create_function_v2(handle.get(), name, arguments, SQLITE_UTF8, nullptr, function, nullptr,
                                     nullptr, nullptr),
          handle.get(), name);
}

void SampleSqlite::switchToLog()
{
    const FixedSalt fixedSalt;
    execute("PRAGMA journal_mode=WAL; PRAGMA wal_autocheckpoint=0");
    sqlite3_db_config(handle.get(), SQLITE_DBCONFIG_NO_CKPT_ON_CLOSE, 1, nullptr);
    // The first frame draws the salt.
    execute("PRAGMA user_version=0");
}

void SampleSqlite::markAsLogged()
{
    execute("PRAGMA journal_mode=WAL");
}
