#include "sqlite_qt/sqlite3row.h"

using namespace Qt::StringLiterals;

namespace
{

// Column names may be SQL keywords: "replace" is one of them.
QString quoted(const QString &column)
{
    return u'"' + QString(column).replace(u'"', "\"\""_L1) + u'"';
}

} // namespace

Sqlite3Sql Sqlite3Row::insertSql(const QString &table, const QSet<QString> &excluded) const
{
    QStringList columns;
    QList<QVariant> params;
    for (auto it = values.cbegin(); it != values.cend(); ++it) {
        if (excluded.contains(it.key()))
            continue;
        columns.append(quoted(it.key()));
        params.append(it.value());
    }
    const QString marks = QStringList(columns.size(), u"?"_s).join(u',');
    Sqlite3Sql sql(u"insert into %1(%2) values(%3)"_s.arg(table, columns.join(u','), marks));
    for (const QVariant &param : std::as_const(params))
        sql.addParam(param);
    return sql;
}
