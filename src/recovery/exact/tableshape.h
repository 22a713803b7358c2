#pragma once

#include "recovery/exact/treepage.h"

#include <QString>

#include <limits>
#include <set>
#include <vector>

/// What can stand in a column.
struct ShapeColumn {
    enum Kind : quint8 { Null = 1, Integer = 2, Real = 4, Text = 8, Blob = 16 };

    QString name;
    quint8 kinds = 0; ///< of `Kind`

    static Kind kindOf(qint64 serialType)
    {
        if (serialType == 0)
            return Null;
        if (serialType < 10)
            return serialType == 7 ? Real : Integer;
        return serialType % 2 == 0 ? Blob : Text;
    }
    bool allows(qint64 serialType) const { return kinds & kindOf(serialType); }
};

/// What the rows of a table look like: columns as the text that created it declares them, and what the rows
/// that are there show. A row that is older than the last columns has fewer values than the table columns.
struct TableShape {
    QString table;
    std::vector<ShapeColumn> columns = {}; ///< the first is the row number's, which stands as NULL
    std::set<size_t> counts = {};          ///< of values that rows have
    qint64 highestRowid = std::numeric_limits<qint64>::max(); ///< that a row ever had

    /// Reads what SQLite keeps as the table's text. No columns where that is none, or where its first column
    /// is no row number.
    static TableShape of(const QString &table, const QString &sql);

    /// Widens the shape by a row that is there.
    void observe(const RecordHeader &row);
    /// Place of a column, -1 where there is none.
    int columnIndex(QLatin1StringView name) const;
    bool isEmpty() const { return columns.empty(); }
};
