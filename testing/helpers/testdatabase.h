#pragma once

#include "sqlite_qt/sqlite3db.h"
#include "testing/helpers/testtools.h"

/// Rows of a query on the file `path`, columns joined by "|", NULL as "null".
inline QStringList rowsOf(const QString &path, const QString &sql)
{
    Sqlite3DB db;
    db.openThrow(path, sqliteReadWrite);
    QStringList rows;
    Sqlite3Cursor cursor = db.queryThrow(Sqlite3Sql(sql));
    while (cursor.moveNextThrow()) {
        QStringList columns;
        for (int i = 0; i < cursor.count(); ++i)
            columns.append(cursor.isNull(i) ? QStringLiteral("null") : cursor.getText(i));
        rows.append(columns.join(u'|'));
    }
    return rows;
}

/// Makes the file when it isn't there. A log that lies beside it stays.
inline void runOn(const QString &path, const QString &script)
{
    Sqlite3DB db;
    db.openThrow(path, sqliteReadWriteCreate);
    db.keepLogOnClose();
    QString error;
    if (db.exec(script, error) != 0)
        throw std::runtime_error(error.toStdString());
}
