#pragma once

#include "sqlite_qt/sqlite3sql.h"

#include <QMap>
#include <QSet>
#include <QString>
#include <QVariant>

/// One row as a map from column name to value; NULL is an invalid variant.
class Sqlite3Row
{
public:
    QVariant &operator[](const QString &column) { return values[column]; }
    QVariant value(const QString &column) const { return values.value(column); }
    bool contains(const QString &column) const { return values.contains(column); }

    /// "insert into `table`(columns) values(?,...)" over all columns but those `excluded`, so that the
    /// defaults of the latter apply. Names of columns are compared as spelled.
    Sqlite3Sql insertSql(const QString &table, const QSet<QString> &excluded) const;

private:
    QMap<QString, QVariant> values;
};
