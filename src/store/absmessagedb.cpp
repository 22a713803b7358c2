#include "absmessagedb.h"

using namespace Qt::StringLiterals;

qsizetype AbsIOSMessageDb::rowCount(const QString &table)
{
    Sqlite3Cursor cursor = queryThrow(Sqlite3Sql(u"select count(*) from %1"_s.arg(table)));
    return cursor.moveNextThrow() ? qsizetype(cursor.getInt64(0)) : 0;
}
