#pragma once

#include <QString>

/// One declared column of a table.
class _SqliteCol
{
public:
    _SqliteCol() = default;
    _SqliteCol(const QString &columnName, const QString &declaredType, bool isNotNull, bool isDefaulted,
               bool isPrimaryKey);

    QString name;
    QString type;
    bool notNull = false;
    bool hasDefault = false;
    bool primaryKey = false;

    // The column affinity that SQLite derives from the declared type
    // (https://www.sqlite.org/datatype3.html, section 3.1). Exactly one of these is true.
    bool isInteger() const;
    bool isText() const;
    bool isBlob() const;
    bool isReal() const;
    bool isNumeric() const;
};
