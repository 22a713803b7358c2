#include "sqlite_qt/sqlite3sql.h"

using namespace Qt::StringLiterals;

Sqlite3Sql::Sqlite3Sql(const char *statement) : statementText(QString::fromUtf8(statement))
{
}

Sqlite3Sql::Sqlite3Sql(const QString &statement) : statementText(statement)
{
}

void Sqlite3Sql::appendSql(const QString &text)
{
    statementText += text;
}

void Sqlite3Sql::addTextParam(const QString &value)
{
    values.append(value.isNull() ? u""_s : value);
}

void Sqlite3Sql::addIntParam(int value)
{
    values.append(value);
}

void Sqlite3Sql::addInt64Param(qint64 value)
{
    values.append(value);
}

void Sqlite3Sql::addBlobParam(const QByteArray &value)
{
    values.append(value.isNull() ? QByteArray("") : value);
}

void Sqlite3Sql::addParam(const QVariant &value)
{
    values.append(value);
}
