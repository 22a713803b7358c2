#include "recovery/carving/carvecolumns.h"

namespace
{

bool fits(const _SqliteCol &column, int type)
{
    switch (type) {
    case 0: return !column.notNull && !column.hasDefault && !column.primaryKey;
    case 7: return column.isReal() || column.isNumeric();
    case 10:
    case 11: return true; // never written by SQLite
    default: break;
    }
    if (type < 12)
        return column.isInteger() || column.isNumeric();
    return type % 2 == 0 ? column.isBlob() : column.isText();
}

} // namespace

CarveColumns::CarveColumns(const QList<_SqliteCol> &tbCols)
{
    tests.reserve(size_t(tbCols.size()));
    for (const _SqliteCol &column : tbCols)
        tests.push_back(testOf(column));
}

CarveColumns::Test CarveColumns::testOf(const _SqliteCol &column)
{
    Test test = {{}, column.isBlob(), column.isText()};
    test.byFirstByte.fill(true);
    for (int type = 0; type < firstLongType; ++type)
        test.byFirstByte[size_t(type)] = fits(column, type);
    return test;
}
