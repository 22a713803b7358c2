#include "recovery/exact/tableshape.h"

#include "sqlite_qt/sqlite3db.h"

#include <QRegularExpression>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace
{

quint8 kindsOf(const _SqliteCol &column)
{
    const quint8 null = column.notNull ? 0 : ShapeColumn::Null;
    if (column.isInteger())
        return null | ShapeColumn::Integer;
    if (column.isText())
        return null | ShapeColumn::Text;
    if (column.isBlob())
        return null | ShapeColumn::Blob;
    return null | ShapeColumn::Integer | ShapeColumn::Real;
}

/// A text of the file may be anything, and only one that declares columns is run, on no file at all.
bool declaresColumns(const QString &sql)
{
    static const QRegularExpression pattern(
        uR"(^\s*CREATE\s+TABLE\s+("[^"]*"|'[^']*'|`[^`]*`|\[[^\]]*\]|\w+)\s*\()"_s,
        QRegularExpression::CaseInsensitiveOption);
    return pattern.match(sql).hasMatch();
}

} // namespace

TableShape TableShape::of(const QString &table, const QString &sql)
{
    TableShape shape{.table = table};
    if (!declaresColumns(sql))
        return shape;
    Sqlite3DB db;
    db.openThrow(u":memory:"_s, sqliteReadWriteCreate);
    try {
        db.executeThrow(Sqlite3Sql(sql));
    } catch (const std::runtime_error &error) {
        qWarning("the table %ls can't be told: %s", qUtf16Printable(table), error.what());
        return shape;
    }
    Sqlite3Sql query("select name, type, \"notnull\", pk from pragma_table_info(?)");
    query.addTextParam(table);
    Sqlite3Cursor row = db.queryThrow(query);
    while (row.moveNextThrow()) {
        const _SqliteCol column(row.getText(0), row.getText(1), row.getInt(2) != 0, false,
                                row.getInt(3) != 0);
        const bool isRowid = column.primaryKey && column.type.compare("INTEGER"_L1, Qt::CaseInsensitive) == 0;
        if (shape.columns.empty() != isRowid)
            return {.table = table};
        shape.columns.push_back(
            {column.name.toLower(), isRowid ? quint8(ShapeColumn::Null) : kindsOf(column)});
    }
    return shape;
}

void TableShape::observe(const RecordHeader &row)
{
    counts.insert(row.types.size());
    for (size_t i = 1; i < std::min(row.types.size(), columns.size()); ++i)
        columns[i].kinds |= ShapeColumn::kindOf(row.types[i]);
}

int TableShape::columnIndex(QLatin1StringView name) const
{
    const auto found = std::find_if(columns.begin(), columns.end(),
                                    [&](const ShapeColumn &column) { return column.name == name; });
    return found == columns.end() ? -1 : int(found - columns.begin());
}
