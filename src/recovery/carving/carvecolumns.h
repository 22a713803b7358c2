#pragma once

#include "sqlite_qt/sqlitecol.h"

#include <QList>

#include <array>
#include <vector>

/// The columns of a table in the form in which the scan asks for them: which serial type can stand where.
class CarveColumns
{
public:
    CarveColumns(const QList<_SqliteCol> &tbCols); // NOLINT: a list of columns is what it says

    /// Number of columns, the first one included, which holds the row number and is not scanned for.
    qsizetype size() const { return qsizetype(tests.size()); }

    /// Whether a value of the serial type `type` can stand in the column at `index`.
    bool allows(qsizetype index, qint64 type) const
    {
        const Test &test = tests[size_t(index)];
        if (type >= 0 && type < firstLongType)
            return test.byFirstByte[size_t(type)];
        return type < 0 || (type % 2 == 0 ? test.blob : test.text);
    }

    /// Whether the number of such a type may begin with `byte`. A byte below 128 is the whole number.
    bool mayBeginWith(qsizetype index, quint8 byte) const { return tests[size_t(index)].byFirstByte[byte]; }

private:
    static constexpr qint64 firstLongType = 128; // that takes more than a byte

    struct Test {
        std::array<bool, 256> byFirstByte; ///< below 128 also: by serial type
        bool blob;
        bool text;
    };

    static Test testOf(const _SqliteCol &column);

    std::vector<Test> tests;
};
