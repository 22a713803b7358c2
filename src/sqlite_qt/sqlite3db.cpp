#include "sqlite_qt/sqlite3db.h"

#include "sqlite_qt/sqlite3stmt.h"

#include <QFile>
#include <QFileInfo>
#include <QUrl>

#include <sqlite3.h>

#include <stdexcept>

using namespace Qt::StringLiterals;

static_assert(sqliteReadOnly == SQLITE_OPEN_READONLY && sqliteReadWrite == SQLITE_OPEN_READWRITE &&
              sqliteReadWriteCreate == (SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE));

namespace
{

constexpr int lockWait = 5000; // milliseconds

using IntFunction = int (*)(int);

void callIntFunction(sqlite3_context *context, int arguments, sqlite3_value **values)
{
    const auto function = reinterpret_cast<IntFunction>(sqlite3_user_data(context));
    sqlite3_result_int(context, function(arguments > 0 ? sqlite3_value_int(values[0]) : 0));
}

} // namespace

int sqlite_qt_version()
{
    return 6;
}

void Sqlite3DB::Closer::operator()(sqlite3 *db) const noexcept
{
    sqlite3_close_v2(db);
}

Sqlite3DB::Sqlite3DB() = default;

Sqlite3DB::~Sqlite3DB()
{
    close();
}

void Sqlite3DB::openThrow(const QString &path, int flags)
{
    openNamedThrow(path, path.toUtf8(), flags);
}

void Sqlite3DB::openImmutableThrow(const QString &path)
{
    const QByteArray absolute = QUrl::toPercentEncoding(QFileInfo(path).absoluteFilePath(), "/:");
    // The host stays empty: SQLite takes the name of a server as part of the path.
    const QByteArray root = absolute.startsWith('/') ? "file://" : "file:///";
    openNamedThrow(path, root + absolute + "?immutable=1", sqliteReadOnly | SQLITE_OPEN_URI);
}

/// `name` is what SQLite is given; `path` stands in what is thrown.
void Sqlite3DB::openNamedThrow(const QString &path, const QByteArray &name, int flags)
{
    close();
    sqlite3 *raw = nullptr;
    // One thread at a time uses a connection: a lock around every column would be a fifth of a read.
    const int result = sqlite3_open_v2(name.constData(), &raw, flags | SQLITE_OPEN_NOMUTEX, nullptr);
    std::unique_ptr<sqlite3, Closer> opened(raw); // SQLite hands out a connection even when opening fails
    if (result != SQLITE_OK) {
        const char *message = raw ? sqlite3_errmsg(raw) : sqlite3_errstr(result);
        throw std::runtime_error(path.toStdString() + ": " + message);
    }
    sqlite3_busy_timeout(raw, lockWait);
    connection = std::move(opened);
    statements = std::make_shared<StatementCache>();
}

void Sqlite3DB::close()
{
    statements.reset();
    connection.reset();
}

void Sqlite3DB::takeOver(Sqlite3DB &other)
{
    close();
    connection = std::move(other.connection);
    statements = std::move(other.statements);
}

void Sqlite3DB::setNameInErrors(const QString &path)
{
    if (statements)
        statements->fileName = path.toStdString();
}

Sqlite3Cursor Sqlite3DB::queryThrow(const Sqlite3Sql &sql)
{
    if (!connection)
        throw std::runtime_error("the database is not open");
    return Sqlite3Cursor(
        std::make_shared<Sqlite3Stmt>(connection.get(), statements, sql.sql(), sql.params()));
}

void Sqlite3DB::executeThrow(const Sqlite3Sql &sql)
{
    Sqlite3Cursor cursor = queryThrow(sql);
    while (cursor.moveNextThrow()) {
    }
}

int Sqlite3DB::exec(const QString &sql, QString &error)
{
    if (!connection) {
        error = u"the database is not open"_s;
        return SQLITE_MISUSE;
    }
    char *message = nullptr;
    const int result = sqlite3_exec(connection.get(), sql.toUtf8().constData(), nullptr, nullptr, &message);
    if (result != SQLITE_OK)
        error = QString::fromUtf8(message ? message : sqlite3_errstr(result));
    sqlite3_free(message);
    return result;
}

void Sqlite3DB::beginTran()
{
    executeThrow(Sqlite3Sql("BEGIN"));
}

void Sqlite3DB::commitTran()
{
    executeThrow(Sqlite3Sql("COMMIT"));
}

void Sqlite3DB::rollbackTran()
{
    QString ignored; // SQLite may have rolled back by itself already
    exec(u"ROLLBACK"_s, ignored);
}

qint64 Sqlite3DB::lastInsertId() const
{
    return connection ? sqlite3_last_insert_rowid(connection.get()) : 0;
}

QHash<QString, _SqliteCol> Sqlite3DB::tbInfo(const QString &table)
{
    Sqlite3Sql sql("select * from pragma_table_info(?)");
    sql.addTextParam(table);
    QHash<QString, _SqliteCol> columns;
    Sqlite3Cursor cursor = queryThrow(sql);
    while (cursor.moveNextThrow()) {
        const QString name = cursor.getText(u"name"_s);
        columns.insert(name, _SqliteCol(name, cursor.getText(u"type"_s), cursor.getInt(u"notnull"_s) != 0,
                                        !cursor.isNull(u"dflt_value"_s), cursor.getInt(u"pk"_s) != 0));
    }
    return columns;
}

void Sqlite3DB::keepLogOnClose()
{
    if (!connection)
        return;
    const char *log = sqlite3_filename_wal(sqlite3_db_filename(connection.get(), "main"));
    if (QFile::exists(QString::fromUtf8(log)))
        sqlite3_db_config(connection.get(), SQLITE_DBCONFIG_NO_CKPT_ON_CLOSE, 1, nullptr);
}

void Sqlite3DB::forbidViews()
{
    if (connection)
        sqlite3_db_config(connection.get(), SQLITE_DBCONFIG_ENABLE_VIEW, 0, nullptr);
}

void Sqlite3DB::setTriggersEnabled(bool enabled)
{
    if (connection)
        sqlite3_db_config(connection.get(), SQLITE_DBCONFIG_ENABLE_TRIGGER, int(enabled), nullptr);
}

void Sqlite3DB::createFunctionThrow(const char *name, int arguments, int (*result)(int))
{
    const int created = sqlite3_create_function_v2(connection.get(), name, arguments, SQLITE_ANY,
                                                   reinterpret_cast<void *>(result), callIntFunction, nullptr,
                                                   nullptr, nullptr);
    if (created != SQLITE_OK)
        throw std::runtime_error(sqliteMessage(connection.get(), statements->fileName));
}
