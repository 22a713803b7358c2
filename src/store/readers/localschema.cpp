#include "store/readers/localschema.h"

#include "sqlite_qt/writetransaction.h"
#include "store/readers/ownschema.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSet>

#include <array>
#include <stdexcept>

using namespace Qt::StringLiterals;

namespace
{

/// A statement with the number by which a failure of it is known.
struct NumberedSql {
    int line;
    QLatin1StringView text;
};

struct AddedColumn {
    QLatin1StringView table;
    QLatin1StringView column;
    NumberedSql sql;
};

// In the order in which a new file has them.
constexpr std::array addedColumns = {
    AddedColumn{"chat"_L1, "group_id"_L1, {122, "ALTER TABLE chat ADD COLUMN group_id TEXT;"_L1}},
    AddedColumn{"message"_L1,
                "is_audio_message"_L1,
                {127, "ALTER TABLE message ADD COLUMN is_audio_message INTEGER DEFAULT 0;"_L1}},
    AddedColumn{"message"_L1,
                "is_played"_L1,
                {130, "ALTER TABLE message ADD COLUMN is_played INTEGER DEFAULT 0;"_L1}},
    AddedColumn{
        "message"_L1, "date_played"_L1, {133, "ALTER TABLE message ADD COLUMN date_played INTEGER;"_L1}},
    AddedColumn{"message"_L1,
                "item_type"_L1,
                {136, "ALTER TABLE message ADD COLUMN item_type INTEGER DEFAULT 0;"_L1}},
    AddedColumn{"message"_L1,
                "other_handle"_L1,
                {139, "ALTER TABLE message ADD COLUMN other_handle INTEGER DEFAULT -1;"_L1}},
    AddedColumn{"message"_L1, "group_title"_L1, {142, "ALTER TABLE message ADD COLUMN group_title TEXT;"_L1}},
    AddedColumn{"message"_L1,
                "group_action_type"_L1,
                {145, "ALTER TABLE message ADD COLUMN group_action_type INTEGER DEFAULT 0;"_L1}},
    AddedColumn{
        "message"_L1, "share_status"_L1, {148, "ALTER TABLE message ADD COLUMN share_status INTEGER;"_L1}},
    AddedColumn{"message"_L1,
                "share_direction"_L1,
                {151, "ALTER TABLE message ADD COLUMN share_direction INTEGER;"_L1}},
    AddedColumn{"message"_L1,
                "is_expirable"_L1,
                {154, "ALTER TABLE message ADD COLUMN is_expirable INTEGER DEFAULT 0;"_L1}},
    AddedColumn{"message"_L1,
                "expire_state"_L1,
                {157, "ALTER TABLE message ADD COLUMN expire_state INTEGER DEFAULT 0;"_L1}},
    AddedColumn{"message"_L1,
                "message_action_type"_L1,
                {160, "ALTER TABLE message ADD COLUMN message_action_type INTEGER DEFAULT 0;"_L1}},
    AddedColumn{"message"_L1, "logic_hash"_L1, {163, "ALTER TABLE message ADD COLUMN logic_hash TEXT;"_L1}},
};

constexpr NumberedSql hashIndex = {164, "CREATE INDEX message_idx_logic_hash ON message(logic_hash);"_L1};

constexpr std::array neededTables = {"chat"_L1, "handle"_L1, "chat_handle_join"_L1, "message"_L1,
                                     "chat_message_join"_L1};

// Pages that SQLite keeps in memory, in KiB when negative. Rows of one import land all over the indexes
// of guid and hash; the cache bounds the memory whatever the file's size.
constexpr auto cachePages = "PRAGMA cache_size=-65536"_L1;

QSet<QString> schemaNames(Sqlite3DB &db, const QString &type)
{
    Sqlite3Sql sql("select name from sqlite_master where type=?");
    sql.addTextParam(type);
    QSet<QString> names;
    Sqlite3Cursor cursor = db.queryThrow(sql);
    while (cursor.moveNextThrow())
        names.insert(cursor.getText(0).toLower());
    return names;
}

QSet<QString> columnNames(Sqlite3DB &db, const QString &table)
{
    QSet<QString> names;
    const QHash<QString, _SqliteCol> columns = db.tbInfo(table);
    for (auto it = columns.cbegin(); it != columns.cend(); ++it)
        names.insert(it.key().toLower());
    return names;
}

QString creationScript()
{
    QFile file(u":/res/localmsgdb_ddl.sql"_s);
    if (!file.open(QIODevice::ReadOnly))
        throw std::runtime_error(u"read IOS6MessageDb ddl error. %1"_s.arg(file.errorString()).toStdString());
    const QByteArray script = file.readAll();
    return QString::fromUtf8(script.first(qstrnlen(script.constData(), size_t(script.size()))));
}

void createSchema(Sqlite3DB &db, const QString &path)
{
    const QString script = creationScript();
    WriteTransaction transaction(db);
    if (!schemaNames(db, u"table"_s).isEmpty())
        return; // another program was faster
    QString error;
    if (db.exec(script, error) != 0)
        throw std::runtime_error(u"create IOS6MessageDb error. %1: %2"_s.arg(path, error).toStdString());
    transaction.commit();
}

void execThrow(Sqlite3DB &db, const NumberedSql &sql)
{
    QString error;
    if (db.exec(sql.text, error) != 0)
        throw std::runtime_error(
            u"line:%1, sql:%2, error:%3"_s.arg(QString::number(sql.line), sql.text, error).toStdString());
}

bool lacksHashIndex(Sqlite3DB &db)
{
    return !schemaNames(db, u"index"_s).contains(u"message_idx_logic_hash"_s);
}

/// The column and its index come together: without the index each look-up would read the whole file.
void addColumn(Sqlite3DB &db, const AddedColumn &added)
{
    WriteTransaction transaction(db);
    execThrow(db, added.sql);
    if (added.column == "logic_hash"_L1 && lacksHashIndex(db))
        execThrow(db, hashIndex);
    transaction.commit();
}

void upgradeSchema(Sqlite3DB &db)
{
    const QSet<QString> chat = columnNames(db, u"chat"_s);
    const QSet<QString> message = columnNames(db, u"message"_s);
    for (const AddedColumn &added : addedColumns) {
        if (!(added.table == "chat"_L1 ? chat : message).contains(added.column))
            addColumn(db, added);
    }
    if (lacksHashIndex(db))
        execThrow(db, hashIndex);
}

void checkTablesThrow(const QSet<QString> &tables, const QString &path)
{
    for (const QLatin1StringView table : neededTables) {
        if (!tables.contains(table))
            throw std::runtime_error(
                u"%1: this is no message database, it has no table \"%2\"."_s.arg(path, table).toStdString());
    }
}

void makeFolderThrow(const QString &folder)
{
    if (!QDir().mkpath(folder))
        throw std::runtime_error(u"%1: the folder can't be made."_s.arg(folder).toStdString());
}

void bringUpToDate(Sqlite3DB &db, const QString &path)
{
    // Off unless it is asked for; the joins of a deleted row go by it.
    db.executeThrow(Sqlite3Sql("PRAGMA foreign_keys=ON"));
    db.executeThrow(Sqlite3Sql(cachePages));
    if (schemaNames(db, u"table"_s).isEmpty())
        createSchema(db, path);
    checkTablesThrow(schemaNames(db, u"table"_s), path);
    upgradeSchema(db);
    addOwnSchemaThrow(db);
}

} // namespace

void openLocalDatabaseThrow(Sqlite3DB &db, const QString &path)
{
    const bool isThere = QFile::exists(path);
    if (!isThere)
        makeFolderThrow(QFileInfo(path).absolutePath());
    db.openThrow(path, isThere ? sqliteReadWrite : sqliteReadWriteCreate);
    try {
        bringUpToDate(db, path);
    } catch (const std::runtime_error &) {
        db.close();
        throw;
    }
}
