#include "absmessagedb.h"

using namespace Qt::StringLiterals;

AbsIOSMessageDb::AbsIOSMessageDb(const QDir &rootFolder, const QString &databasePath,
                                 const QString &countryCode)
    : root(rootFolder), path(databasePath), mcc(countryCode)
{
}

qsizetype AbsIOSMessageDb::rowCount(const QString &table)
{
    Sqlite3Cursor cursor = queryThrow(Sqlite3Sql(u"select count(*) from %1"_s.arg(table)));
    return cursor.moveNextThrow() ? qsizetype(cursor.getInt64(0)) : 0;
}
