#include "recovery/carving/searcheddatabase.h"

#include "app/jobprogress.h"
#include "sqlite_qt/databasefiles.h"

#include <QFileInfo>

#include <stdexcept>

using namespace Qt::StringLiterals;

namespace
{

bool hasRow(Sqlite3DB &db, const QString &table, qint64 rowid)
{
    Sqlite3Sql sql(u"select 1 from %1 where rowid=?"_s.arg(table));
    sql.addInt64Param(rowid);
    return db.queryThrow(sql).moveNextThrow();
}

/// The first column is the row's number.
Sqlite3RawRow rawRow(const Sqlite3Cursor &cursor)
{
    Sqlite3RawRow row;
    row.rowid = cursor.getInt64(0);
    for (int column = 1; column < cursor.count(); ++column)
        row.values.append(cursor.getValue(column));
    return row;
}

/// Without its log a file may be in the middle of a change. Its bytes can be looked through all the same.
std::unique_ptr<SearchedFile> mainFile(const QString &path)
{
    auto file = std::make_unique<SearchedFile>();
    file->path = path;
    try {
        openAsItLiesThrow(file->db, path);
    } catch (const std::runtime_error &error) {
        qWarning("without its log: %s", error.what());
    }
    return file;
}

} // namespace

SearchedDatabase::SearchedDatabase(const QString &path)
{
    now.path = path;
    if (hasLogOrJournal(path)) {
        copy = std::make_unique<PrivateCopy>(path);
        now.path = copy->path();
        if (QFileInfo(path).size() > 0)
            before = mainFile(path);
    }
    openAsItLiesThrow(now.db, now.path);
    now.db.setNameInErrors(path);
}

QList<Sqlite3RawRow> SearchedDatabase::rowsThatWent(const QString &table, const JobProgress *progress)
{
    QList<Sqlite3RawRow> rows;
    if (!before || !before->db.isOpen())
        return rows;
    try {
        if (before->db.tbInfo(table).isEmpty() || now.db.tbInfo(table).isEmpty())
            return rows;
        Sqlite3Cursor row = before->db.queryThrow(Sqlite3Sql(u"select rowid, * from %1"_s.arg(table)));
        while (!(progress && progress->cancelled) && row.moveNextThrow()) {
            if (!hasRow(now.db, table, row.getInt64(0)))
                rows.append(rawRow(row));
        }
    } catch (const std::runtime_error &error) {
        qWarning("without its log: %s", error.what());
    }
    return rows;
}
