#include "backup/backupcachedb.h"

#include <QFile>

using namespace Qt::StringLiterals;

namespace
{

QString schema()
{
    QFile file(u":res/cache_db.sql"_s);
    if (!file.open(QIODevice::ReadOnly))
        throw std::runtime_error("the program lacks its resource cache_db.sql");
    return QString::fromUtf8(file.readAll());
}

} // namespace

BackupCacheDb::BackupCacheDb(const QString &databasePath) : path(databasePath)
{
}

BackupCacheDb::~BackupCacheDb()
{
    try {
        commit();
    } catch (const std::exception &error) {
        qWarning("%s", error.what());
    }
}

void BackupCacheDb::open()
{
    if (db.isOpen())
        return;
    db.openThrow(path, QFile::exists(path) ? sqliteReadWrite : sqliteReadWriteCreate);
    // A run that was killed early may have left an empty file.
    if (db.tbInfo(u"manifest"_s).isEmpty())
        execute(schema());
    db.beginTran();
}

void BackupCacheDb::execute(const QString &sql)
{
    QString error;
    if (db.exec(sql, error) != 0)
        throw std::runtime_error(u"%1: %2"_s.arg(path, error).toStdString());
}

std::optional<int> BackupCacheDb::keptDate(const QString &fileName)
{
    open();
    Sqlite3Sql sql("select last_date from manifest where file_name=?");
    sql.addTextParam(fileName);
    Sqlite3Cursor cursor = db.queryThrow(sql);
    return cursor.moveNextThrow() ? std::optional(cursor.getInt(0)) : std::nullopt;
}

int BackupCacheDb::lastDate(const QString &fileName)
{
    return keptDate(fileName).value_or(0);
}

void BackupCacheDb::setLastDate(const QString &fileName, int date)
{
    open();
    Sqlite3Sql sql("replace into manifest(file_name,last_date) values(?,?)");
    sql.addTextParam(fileName);
    sql.addIntParam(date);
    db.executeThrow(sql);
}

void BackupCacheDb::removeEntry(const QString &fileName)
{
    open();
    Sqlite3Sql sql("delete from manifest where file_name=?");
    sql.addTextParam(fileName);
    db.executeThrow(sql);
}

void BackupCacheDb::forgetNow(const QString &fileName)
{
    if (!keptDate(fileName))
        return;
    removeEntry(fileName);
    db.commitTran();
    db.beginTran();
}

void BackupCacheDb::commit()
{
    if (!db.isOpen())
        return;
    db.commitTran();
    db.close();
}

void BackupCacheDb::rollback()
{
    if (!db.isOpen())
        return;
    db.rollbackTran();
    db.close();
}
