#pragma once

#include "sqlite_qt/sqlite3sql.h"
#include "store/records/recordcolumn.h"

#include <QString>
#include <QStringList>
#include <QVariant>

#include <initializer_list>
#include <vector>

/// What the caller of an insertion says of a column. An invalid value leaves it to its default.
struct ToldValue {
    QLatin1StringView column;
    QVariant value;
};

/// Whether the text that created a table declares a column of that name.
bool declaresColumn(const QString &createText, const QString &name);

/// The statement that inserts a row with these columns.
QString insertText(const QString &table, const QStringList &columns);

inline void bindValue(Sqlite3Sql &sql, qint64 value)
{
    sql.addInt64Param(value);
}

inline void bindValue(Sqlite3Sql &sql, const QString &value)
{
    sql.addTextParam(value);
}

inline void bindValue(Sqlite3Sql &sql, const QByteArray &value)
{
    sql.addBlobParam(value);
}

inline bool isFilled(qint64 value)
{
    return value != 0;
}

inline bool isFilled(const QString &value)
{
    return !value.isEmpty();
}

inline bool isFilled(const QByteArray &value)
{
    return !value.isEmpty();
}

/// Binds the fields of records to the columns that a file's table has. Those are looked up once.
template <typename Record>
class RecordInsertion
{
public:
    RecordInsertion() = default;
    /// Into a table that has all of the columns.
    explicit RecordInsertion(RecordColumns<Record> table)
    {
        for (const RecordColumn<Record> &column : table) {
            if (isInserted(column))
                columns.push_back(&column);
        }
    }
    /// `createText` is the text that created the table. What phones have had since iOS 6 is taken for
    /// granted: a file without it refuses the row instead of losing a part of it.
    RecordInsertion(RecordColumns<Record> table, const QString &createText)
    {
        Q_ASSERT(table.size() <= 64);
        for (const RecordColumn<Record> &column : table) {
            const bool isThere =
                column.traits.since == Release::Ios6 || declaresColumn(createText, column.localName());
            if (isThere && isInserted(column))
                columns.push_back(&column);
        }
    }

    /// Binds the values of `record`. Returns for which columns, a bit each.
    quint64 bind(Sqlite3Sql &sql, const Record &record, std::initializer_list<ToldValue> told = {}) const
    {
        quint64 bound = 0;
        for (size_t i = 0; i < columns.size(); ++i) {
            const bool isBound = columns[i]->traits.inserted == Inserted::AsTold
                                     ? bindTold(sql, columns[i]->name, told)
                                     : bindMember(sql, *columns[i], record);
            bound |= quint64(isBound) << i;
        }
        return bound;
    }

    /// The columns that `bind` told, in their order.
    QStringList names(quint64 bound) const
    {
        QStringList names;
        for (size_t i = 0; i < columns.size(); ++i) {
            if (bound >> i & 1)
                names.append(columns[i]->localName());
        }
        return names;
    }

    /// The statement that inserts `record` into the table of that name.
    Sqlite3Sql sql(const QString &table, const Record &record,
                   std::initializer_list<ToldValue> told = {}) const
    {
        Sqlite3Sql sql{QString()};
        sql.appendSql(insertText(table, names(bind(sql, record, told))));
        return sql;
    }

private:
    static bool isInserted(const RecordColumn<Record> &column)
    {
        return column.traits.inserted != Inserted::Not && column.traits.local != LocalColumn::Not;
    }

    static bool bindTold(Sqlite3Sql &sql, QLatin1StringView column, std::initializer_list<ToldValue> told)
    {
        for (const ToldValue &value : told) {
            if (value.column != column || !value.value.isValid())
                continue;
            sql.addParam(value.value);
            return true;
        }
        return false;
    }

    static bool bindMember(Sqlite3Sql &sql, const RecordColumn<Record> &column, const Record &record)
    {
        bool isBound = false;
        visitMember(column, [&](auto member) {
            isBound = column.traits.inserted == Inserted::Always || isFilled(record.*member);
            if (isBound)
                bindValue(sql, record.*member);
        });
        return isBound;
    }

    std::vector<const RecordColumn<Record> *> columns;
};
