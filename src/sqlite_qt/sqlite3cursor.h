#pragma once

#include "sqlite_qt/sqlite3row.h"

#include <QByteArray>
#include <QByteArrayView>
#include <QString>

#include <memory>

class Sqlite3Stmt;

/// A forward cursor over the rows of a query. Copies share one statement and stand on one row.
///
/// Columns are named without regard to case. A column that the result lacks reads as empty text, 0 or
/// NULL, never as an error: the readers run "select *" on files of many generations. In loops over
/// many rows, ask `columnIndex` once and read by position.
class Sqlite3Cursor
{
public:
    explicit Sqlite3Cursor(std::shared_ptr<Sqlite3Stmt> statement);

    /// Steps to the next row. False at the end, and also where the file can't be read on.
    bool moveNext();
    /// The same, but throws `std::runtime_error` where the file can't be read on. Loops that must not
    /// take a damaged file for a short one use this.
    bool moveNextThrow();

    /// Number of columns in a row of the result.
    int count() const;
    /// Position of a column, from 0; -1 when the result has none of that name. Every read by position
    /// takes -1 for an unknown column.
    int columnIndex(const QString &column) const;

    QString getText(const QString &column) const { return getText(columnIndex(column)); }
    int getInt(const QString &column) const { return getInt(columnIndex(column)); }
    qint64 getInt64(const QString &column) const { return getInt64(columnIndex(column)); }
    QByteArray getBlob(const QString &column) const { return getBlob(columnIndex(column)); }
    bool isNull(const QString &column) const { return isNull(columnIndex(column)); }

    QString getText(int index) const;
    /// An integer wider than 32 bits loses its upper half, as SQLite's own call has it.
    int getInt(int index) const;
    qint64 getInt64(int index) const;
    QByteArray getBlob(int index) const;
    bool isNull(int index) const;
    /// The value in the variant type of its storage class; NULL is an invalid variant.
    QVariant getValue(int index) const;
    /// The column as UTF-8, in SQLite's own memory: good until the next step.
    QByteArrayView getUtf8(int index) const;
    /// The column as bytes, in SQLite's own memory: good until the next step.
    QByteArrayView getBytes(int index) const;

    /// The current row, each value as `getValue` has it.
    Sqlite3Row getRow() const;

private:
    std::shared_ptr<Sqlite3Stmt> statement;
    mutable std::shared_ptr<const QHash<QString, int>> columns; // lower case name to position
};
