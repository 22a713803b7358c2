#include "sqlite_qt/untoucheddb.h"

#include "app/freespace.h"
#include "sqlite_qt/databasefiles.h"

#include <QFileInfo>

#include <stdexcept>

using namespace Qt::StringLiterals;

namespace
{

// The first read is where SQLite finds out that a file is no database, and rolls a journal back.
void probeThrow(Sqlite3DB &db)
{
    Sqlite3Cursor cursor = db.queryThrow(Sqlite3Sql("select count(*) from sqlite_master"));
    cursor.moveNextThrow();
}

qint64 bytesToCopy(const QString &path)
{
    qint64 bytes = QFileInfo(path).size();
    for (const QLatin1StringView suffix : contentSuffixes)
        bytes += 2 * QFileInfo(path + suffix).size(); // they are copied, then worked into the file
    return bytes;
}

} // namespace

PrivateCopy::PrivateCopy(const QString &source) : file(folder.filePath(QFileInfo(source).fileName()))
{
    if (!folder.isValid())
        throw std::runtime_error(u"%1: %2"_s.arg(folder.path(), folder.errorString()).toStdString());
    checkFreeSpaceThrow(folder.path(), bytesToCopy(source));
    if (const QString failure = copyDatabase(source, file); !failure.isNull())
        throw std::runtime_error(failure.toStdString());
    foldThrow(source);
}

void PrivateCopy::foldThrow(const QString &source)
{
    Sqlite3DB db;
    db.openThrow(file, sqliteReadWrite);
    db.setNameInErrors(source);
    probeThrow(db);
    Sqlite3Cursor mode = db.queryThrow(Sqlite3Sql("pragma journal_mode=delete"));
    if (!mode.moveNextThrow() || mode.getText(0) != "delete"_L1)
        throw std::runtime_error(source.toStdString() + ": its log can't be read.");
}

void openAsItLiesThrow(Sqlite3DB &db, const QString &path)
{
    db.openImmutableThrow(path);
    try {
        db.forbidViews();
        probeThrow(db);
    } catch (const std::runtime_error &) {
        db.close();
        throw;
    }
}

UntouchedDb::UntouchedDb(const QString &path)
{
    if (!hasLogOrJournal(path)) {
        openAsItLiesThrow(db, path);
        return;
    }
    copy = std::make_unique<PrivateCopy>(path);
    openAsItLiesThrow(db, copy->path());
    db.setNameInErrors(path);
    if (copy->unlink())
        copy.reset();
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
