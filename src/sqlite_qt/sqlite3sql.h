#pragma once

#include <QByteArray>
#include <QString>
#include <QVariant>

/// The text of a statement and what is bound to its `?`, in order. A value type.
class Sqlite3Sql
{
public:
    explicit Sqlite3Sql(const char *statement);
    explicit Sqlite3Sql(const QString &statement);

    /// Appends to the statement as it stands; bring your own blank.
    void appendSql(const QString &text);

    /// Makes room for `count` parameters at once.
    void reserveParams(qsizetype count) { values.reserve(count); }
    /// Each appends the value of the next `?`. A null text or blob is bound as an empty one.
    void addTextParam(const QString &value);
    void addIntParam(int value);
    void addInt64Param(qint64 value);
    void addBlobParam(const QByteArray &value);
    /// Text, blob, integer, real or, for an invalid variant, NULL.
    void addParam(const QVariant &value);

    const QString &sql() const { return statementText; }
    const QList<QVariant> &params() const { return values; }

private:
    QString statementText;
    QList<QVariant> values;
};
