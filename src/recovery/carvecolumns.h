#pragma once

#include "sqlitecol.h"

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
        if (type >= 0 && type < qint64(test.small.size()))
            return test.small[size_t(type)];
        return type < 0 || (type % 2 == 0 ? test.blob : test.text);
    }

private:
    struct Test {
        std::array<bool, 128> small; ///< by serial type
        bool blob;
        bool text;
    };

    static Test testOf(const _SqliteCol &column);

    std::vector<Test> tests;
};
