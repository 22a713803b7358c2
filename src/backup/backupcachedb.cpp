#include "backupcachedb.h"

#include <QFile>

using namespace Qt::StringLiterals;

namespace
{

Sqlite3Sql lookUp(const QString &fileName)
{
    Sqlite3Sql sql("select last_date from manifest where file_name like ?");
    sql.addTextParam(fileName);
    return sql;
}

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
    // Lets "like" with a whole name use the index.
    execute(u"PRAGMA case_sensitive_like=ON"_s);
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

int BackupCacheDb::lastDate(const QString &fileName)
{
    open();
    Sqlite3Cursor cursor = db.queryThrow(lookUp(fileName));
    return cursor.moveNextThrow() ? cursor.getInt(0) : 0;
}

void BackupCacheDb::setLastDate(const QString &fileName, int date)
{
    open();
    Sqlite3Cursor cursor = db.queryThrow(lookUp(fileName));
    const bool isKnown = cursor.moveNextThrow();
    if (isKnown && cursor.getInt(0) == date)
        return;
    if (isKnown)
        updateDate(fileName, date);
    else
        insertDate(fileName, date);
}

void BackupCacheDb::insertDate(const QString &fileName, int date)
{
    Sqlite3Sql sql("insert into manifest(file_name,last_date) values(?,?)");
    sql.addTextParam(fileName);
    sql.addIntParam(date);
    db.executeThrow(sql);
}

// The order of the values is the insert's, so the update finds no row. As text the date lets "like" use
// the index.
void BackupCacheDb::updateDate(const QString &fileName, int date)
{
    Sqlite3Sql sql("update manifest set last_date=? where file_name like ?");
    sql.addTextParam(fileName);
    sql.addTextParam(QString::number(date));
    db.executeThrow(sql);
}

void BackupCacheDb::removeEntry(const QString &fileName)
{
    open();
    Sqlite3Sql sql("delete from manifest where file_name=?");
    sql.addTextParam(fileName);
    db.executeThrow(sql);
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
