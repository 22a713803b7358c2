#include "sqlite_qt/sqlite3stmt.h"

#include <sqlite3.h>

#include <algorithm>
#include <stdexcept>

namespace
{

constexpr size_t mostIdleStatements = 64;

} // namespace

void StatementFinalizer::operator()(sqlite3_stmt *statement) const noexcept
{
    sqlite3_finalize(statement);
}

StatementHandle StatementCache::take(const QString &sql)
{
    const auto found =
        std::find_if(idle.begin(), idle.end(), [&](const Entry &entry) { return entry.sql == sql; });
    if (found == idle.end())
        return nullptr;
    StatementHandle statement = std::move(found->statement);
    idle.erase(found);
    return statement;
}

void StatementCache::giveBack(const QString &sql, StatementHandle statement)
{
    sqlite3_reset(statement.get());
    sqlite3_clear_bindings(statement.get());
    idle.push_front({sql, std::move(statement)});
    if (idle.size() > mostIdleStatements)
        idle.pop_back();
}

Sqlite3Stmt::Sqlite3Stmt(sqlite3 *db, const std::shared_ptr<StatementCache> &cache, const QString &sql,
                         const QList<QVariant> &params)
    : cache(cache), sql(sql), statement(cache->take(sql))
{
    if (!statement) {
        const QByteArray utf8 = sql.toUtf8();
        sqlite3_stmt *prepared = nullptr;
        if (sqlite3_prepare_v2(db, utf8.constData(), int(utf8.size()), &prepared, nullptr) != SQLITE_OK)
            failThrow(db);
        statement.reset(prepared);
    }
    for (qsizetype i = 0; i < params.size(); ++i)
        bindThrow(int(i) + 1, params.at(i));
}

Sqlite3Stmt::~Sqlite3Stmt()
{
    const std::shared_ptr<StatementCache> statements = cache.lock();
    if (statements && statement && sql.contains(u'?'))
        statements->giveBack(sql, std::move(statement));
}

void Sqlite3Stmt::bindThrow(int index, const QVariant &value)
{
    sqlite3_stmt *raw = statement.get();
    int result = SQLITE_OK;
    switch (value.typeId()) {
    case QMetaType::UnknownType:
    case QMetaType::Nullptr: result = sqlite3_bind_null(raw, index); break;
    case QMetaType::QByteArray: {
        const QByteArray bytes = value.toByteArray();
        result = sqlite3_bind_blob64(raw, index, bytes.isEmpty() ? "" : bytes.constData(),
                                     sqlite3_uint64(bytes.size()), SQLITE_TRANSIENT);
        break;
    }
    case QMetaType::QString: {
        const QByteArray utf8 = value.toString().toUtf8();
        result = sqlite3_bind_text64(raw, index, utf8.isNull() ? "" : utf8.constData(),
                                     sqlite3_uint64(utf8.size()), SQLITE_TRANSIENT, SQLITE_UTF8);
        break;
    }
    case QMetaType::Float:
    case QMetaType::Double: result = sqlite3_bind_double(raw, index, value.toDouble()); break;
    default: result = sqlite3_bind_int64(raw, index, value.toLongLong()); break;
    }
    if (result != SQLITE_OK)
        failThrow(sqlite3_db_handle(raw));
}

bool Sqlite3Stmt::step()
{
    // A further step after the end would start the statement anew.
    if (ended || !statement)
        return false;
    const int result = sqlite3_step(statement.get());
    if (result == SQLITE_ROW)
        return true;
    ended = true;
    stepFailed = result != SQLITE_DONE;
    return false;
}

void Sqlite3Stmt::checkThrow() const
{
    if (stepFailed)
        failThrow(sqlite3_db_handle(statement.get()));
}

void Sqlite3Stmt::failThrow(sqlite3 *db) const
{
    const std::shared_ptr<StatementCache> statements = cache.lock();
    throw std::runtime_error(sqliteMessage(db, statements ? statements->fileName : std::string()));
}

std::string sqliteMessage(sqlite3 *db, const std::string &fileName)
{
    const char *opened = sqlite3_db_filename(db, "main");
    const std::string file = fileName.empty() && opened ? std::string(opened) : fileName;
    const std::string message = sqlite3_errmsg(db);
    return file.empty() ? message : file + ": " + message;
}
