#include "store/readers/standintables.h"

#include "sqlite_qt/sqlite3db.h"

using namespace Qt::StringLiterals;

namespace
{

bool hasTable(Sqlite3DB &db, QLatin1StringView name)
{
    Sqlite3Sql sql("select 1 from sqlite_master where type='table' and name=? collate nocase");
    sql.addTextParam(name);
    return db.queryThrow(sql).moveNextThrow();
}

} // namespace

void standInForMissing(Sqlite3DB &db, std::initializer_list<TableShape> shapes)
{
    for (const TableShape &shape : shapes) {
        if (!hasTable(db, shape.name))
            db.executeThrow(
                Sqlite3Sql(u"create temp table if not exists %1(%2)"_s.arg(shape.name, shape.columns)));
    }
}
