#include "store/readers/localschema.h"

#include "sqlite_qt/writetransaction.h"
#include "store/readers/ownschema.h"
#include "store/records/columntables.h"

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
    QString text;
};

// The numbers of the first statements; each further one of "message" is three higher.
constexpr int chatLine = 122;
constexpr int messageLine = 127;
constexpr int linesBetween = 3;

constexpr int hashIndexLine = 164;
constexpr auto hashIndex = "CREATE INDEX message_idx_logic_hash ON message(logic_hash);"_L1;

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

void addHashIndex(Sqlite3DB &db)
{
    if (!schemaNames(db, u"index"_s).contains(u"message_idx_logic_hash"_s))
        execThrow(db, {hashIndexLine, hashIndex});
}

/// The column of hashes and its index come together: without the index each look-up would read the whole
/// file.
void addColumn(Sqlite3DB &db, const NumberedSql &sql, bool isHash)
{
    WriteTransaction transaction(db);
    execThrow(db, sql);
    if (isHash)
        addHashIndex(db);
    transaction.commit();
}

/// Adds what `table` lacks, in the order in which a new file has it.
template <typename Record>
void addColumns(Sqlite3DB &db, const QString &table, RecordColumns<Record> columns, int line)
{
    const QSet<QString> known = columnNames(db, table);
    for (const RecordColumn<Record> &column : columns) {
        if (column.traits.local != LocalColumn::Added)
            continue;
        if (!known.contains(column.name))
            addColumn(
                db, {line, u"ALTER TABLE %1 ADD COLUMN %2 %3;"_s.arg(table, column.name, column.declaration)},
                column.name == "logic_hash"_L1);
        line += linesBetween;
    }
}

void upgradeSchema(Sqlite3DB &db)
{
    addColumns(db, u"chat"_s, chatTable(), chatLine);
    addColumns(db, u"message"_s, messageTable(), messageLine);
    addHashIndex(db);
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
