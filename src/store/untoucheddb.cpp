#include "untoucheddb.h"

#include "sqlite3db.h"

#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>

#include <exception>
#include <stdexcept>

using namespace Qt::StringLiterals;

namespace
{

// The first read is where SQLite looks for the write-ahead log and wants to make its index.
void probeThrow(Sqlite3DB &db)
{
    Sqlite3Cursor cursor = db.queryThrow(Sqlite3Sql("select count(*) from sqlite_master"));
    cursor.moveNextThrow();
}

void copyThrow(const QString &from, const QString &to)
{
    QFile source(from);
    if (!source.copy(to))
        throw std::runtime_error(u"%1: %2"_s.arg(from, source.errorString()).toStdString());
}

std::unique_ptr<QTemporaryDir> openCopyThrow(Sqlite3DB &db, const QString &path)
{
    auto folder = std::make_unique<QTemporaryDir>();
    if (!folder->isValid())
        throw std::runtime_error(u"%1: %2"_s.arg(folder->path(), folder->errorString()).toStdString());
    const QString copy = folder->filePath(QFileInfo(path).fileName());
    copyThrow(path, copy);
    const QString log = path + u"-wal"_s;
    if (QFile::exists(log))
        copyThrow(log, copy + u"-wal"_s);
    db.openThrow(copy, sqliteReadOnly); // a change would be lost with the copy
    return folder;
}

} // namespace

std::unique_ptr<QTemporaryDir> openUntouchedThrow(Sqlite3DB &db, const QString &path)
{
    db.openThrow(path, sqliteReadWrite);
    db.keepLogOnClose();
    std::exception_ptr failure;
    try {
        probeThrow(db);
        return nullptr;
    } catch (const std::runtime_error &) {
        db.close();
        if (QFileInfo(QFileInfo(path).absolutePath()).isWritable())
            throw;
        failure = std::current_exception();
    }
    // On a read-only medium a file in write-ahead mode has no place for the index of its log.
    std::unique_ptr<QTemporaryDir> folder = openCopyThrow(db, path);
    try {
        probeThrow(db);
    } catch (const std::runtime_error &) {
        db.close();
        std::rethrow_exception(failure); // which names the file, not its copy
    }
    return folder;
}

QHash<QString, QString> tableTexts(Sqlite3DB &db)
{
    QHash<QString, QString> tables;
    Sqlite3Cursor cursor = db.queryThrow(Sqlite3Sql("select * from sqlite_master where type='table'"));
    const int name = cursor.columnIndex(u"name"_s);
    const int sql = cursor.columnIndex(u"sql"_s);
    while (cursor.moveNextThrow())
        tables.insert(cursor.getText(name), cursor.getText(sql));
    return tables;
}
