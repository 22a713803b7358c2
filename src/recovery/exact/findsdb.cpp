#include "recovery/exact/findsdb.h"

#include "store/readers/absmessagedb.h"
#include "store/readers/openmessagedb.h"

#include <QSet>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace
{

constexpr auto findTable =
    "create table if not exists find (kind text not null, identity blob not null, row integer not null, "
    "grade integer not null, method integer not null, origin integer not null, page integer not null, "
    "offset integer not null, src_rowid integer, missing text, primary key (kind, identity)) without rowid";

QString quoted(const QString &name)
{
    return u'"' + QString(name).replace(u'"', "\"\""_L1) + u'"';
}

QByteArray bytesOf(const RowIdentity &identity)
{
    QByteArray bytes(16, '\0');
    qToBigEndian(identity.first, bytes.data());
    qToBigEndian(identity.second, bytes.data() + 8);
    return bytes;
}

/// More is better.
int rankOf(FindGrade grade, bool hasNumber)
{
    return (grade == FindGrade::Whole ? 4 : grade == FindGrade::Partial ? 2 : 0) + (hasNumber ? 1 : 0);
}

} // namespace

FindsDb::FindsDb(const QDir &root) : path(findsDbPath(root))
{
}

void FindsDb::openDb()
{
    if (isOpen())
        return;
    openThrow(path, sqliteReadWriteCreate);
    executeThrow(Sqlite3Sql(findTable));
}

void FindsDb::prepare(const std::vector<ScannedTable> &tables)
{
    openDb();
    for (const ScannedTable &table : tables) {
        const QString name = quoted(table.shape.table);
        executeThrow(Sqlite3Sql(u"create table if not exists %1 (ROWID integer primary key)"_s.arg(name)));
        QSet<QString> existing;
        const QHash<QString, _SqliteCol> columns = tbInfo(table.shape.table);
        for (auto column = columns.cbegin(); column != columns.cend(); ++column)
            existing.insert(column.key().toLower());
        for (size_t i = 1; i < table.shape.columns.size(); ++i) {
            const ShapeColumn &column = table.shape.columns[i];
            if (!existing.contains(column.name))
                executeThrow(Sqlite3Sql(u"alter table %1 add column %2"_s.arg(name, quoted(column.name))));
        }
    }
}

bool FindsDb::keep(const ScannedTable &table, const FoundRow &row, const RowIdentity &identity)
{
    Sqlite3Sql known("select row, grade, src_rowid from find where kind=? and identity=?");
    known.addTextParam(table.shape.table);
    known.addBlobParam(bytesOf(identity));
    qint64 place = 0;
    {
        Sqlite3Cursor cursor = queryThrow(known);
        if (cursor.moveNextThrow()) {
            place = cursor.getInt64(0);
            if (rankOf(FindGrade(cursor.getInt(1)), !cursor.isNull(2)) > rankOf(row.grade, row.rowid > 0))
                return false;
        }
    }
    // A message names its sender by the row's number, so that a handle keeps its own.
    const bool keepsNumber = table.kind == RowKind::Handle;
    if (keepsNumber && row.rowid == 0)
        return false;
    const bool isNew = place == 0;
    insertRow(table, row, keepsNumber ? row.rowid : place);
    addTrace(table, row, identity, isNew ? lastInsertId() : place);
    return isNew && (table.kind == RowKind::Message || table.kind == RowKind::OldMessage);
}

void FindsDb::insertRow(const ScannedTable &table, const FoundRow &row, qint64 rowid)
{
    QStringList columns = {u"ROWID"_s};
    const auto count = std::min<qsizetype>(row.values.size(), qsizetype(table.shape.columns.size()));
    for (qsizetype i = 1; i < count; ++i)
        columns.append(quoted(table.shape.columns[size_t(i)].name));
    Sqlite3Sql sql(u"insert or replace into %1 (%2) values (?%3)"_s.arg(
        quoted(table.shape.table), columns.join(u','), u",?"_s.repeated(columns.size() - 1)));
    sql.addParam(rowid > 0 ? QVariant(rowid) : QVariant());
    for (qsizetype i = 1; i < count; ++i)
        sql.addParam(row.values.at(i));
    executeThrow(sql);
}

void FindsDb::addTrace(const ScannedTable &table, const FoundRow &row, const RowIdentity &identity,
                       qint64 rowid)
{
    QStringList missing;
    for (const int column : row.missing)
        missing.append(table.shape.columns[size_t(column)].name);
    Sqlite3Sql sql("insert or replace into find values (?,?,?,?,?,?,?,?,?,?)");
    sql.addTextParam(table.shape.table);
    sql.addBlobParam(bytesOf(identity));
    sql.addInt64Param(rowid);
    sql.addIntParam(int(row.grade));
    sql.addIntParam(int(row.method));
    sql.addIntParam(int(row.origin));
    sql.addInt64Param(row.page);
    sql.addInt64Param(row.offset);
    sql.addParam(row.rowid > 0 ? QVariant(row.rowid) : QVariant());
    sql.addTextParam(missing.join(u','));
    executeThrow(sql);
}

void FindsDb::copyHandles(AbsIOSMessageDb &phone)
{
    QStringList columns;
    const QHash<QString, _SqliteCol> own = tbInfo(u"handle"_s);
    for (const QString &column : phone.tbInfo(u"handle"_s).keys()) {
        if (own.contains(column.toLower()) || own.contains(column))
            columns.append(quoted(column));
    }
    if (columns.isEmpty())
        return;
    const QString places = u",?"_s.repeated(columns.size() - 1);
    Sqlite3Cursor live = phone.queryThrow(Sqlite3Sql(u"select %1 from handle"_s.arg(columns.join(u','))));
    while (live.moveNextThrow()) {
        Sqlite3Sql sql(u"insert or replace into handle (%1) values (?%2)"_s.arg(columns.join(u','), places));
        for (int i = 0; i < columns.size(); ++i)
            sql.addParam(live.getValue(i));
        executeThrow(sql);
    }
}

FindCounts FindsDb::counts()
{
    openDb();
    FindCounts counts;
    Sqlite3Cursor cursor =
        queryThrow(Sqlite3Sql("select grade, count(*) from find where kind='message' group by grade"));
    while (cursor.moveNextThrow()) {
        switch (FindGrade(cursor.getInt(0))) {
        case FindGrade::Whole: counts.whole = cursor.getInt(1); break;
        case FindGrade::Partial: counts.partial = cursor.getInt(1); break;
        case FindGrade::Text: counts.text = cursor.getInt(1); break;
        }
    }
    return counts;
}
