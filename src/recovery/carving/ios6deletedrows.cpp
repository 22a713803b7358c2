#include "recovery/carving/deletedrows.h"
#include "recovery/carving/rawvalues.h"
#include "store/archives/typedstream.h"
#include "store/records/columntables.h"

#include <algorithm>

using namespace Qt::StringLiterals;

// Rows are looked for in the two shapes that iOS 6 and iOS 8 gave "message". Later phones put their columns
// behind those.

namespace
{

RecordColumns<_MsgMessage> shortRow()
{
    static const RecordColumns<_MsgMessage> columns = columnsUpTo(messageTable(), Release::Ios6);
    return columns;
}

RecordColumns<_MsgMessage> longRow()
{
    static const RecordColumns<_MsgMessage> columns = columnsUpTo(messageTable(), Release::Ios8);
    return columns;
}

RecordColumns<_MsgHandle> handleRow()
{
    static const RecordColumns<_MsgHandle> columns = columnsUpTo(handleTable(), Release::Ios6);
    return columns;
}

template <typename Record>
QList<_SqliteCol> scannedColumns(RecordColumns<Record> row)
{
    QList<_SqliteCol> columns;
    for (const RecordColumn<Record> &column : row) {
        const QString declaration = column.declaration;
        columns.append({column.name, declaration.section(u' ', 0, 0), declaration.contains("NOT NULL"_L1),
                        declaration.contains("DEFAULT"_L1), declaration.contains("PRIMARY KEY"_L1)});
    }
    return columns;
}

template <typename Record>
qsizetype placeOf(RecordColumns<Record> row, QLatin1StringView name)
{
    return std::find_if(row.begin(), row.end(),
                        [&](const RecordColumn<Record> &column) { return column.name == name; }) -
           row.begin();
}

bool isService(const QVariant &value)
{
    const QString service = value.toString();
    return service == "SMS"_L1 || service == "iMessage"_L1;
}

/// The first column is the row number, which no value of a row tells.
template <typename Record>
Record recordOf(const Sqlite3RawRow &row, RecordColumns<Record> columns)
{
    Record record;
    record.rowid = row.rowid;
    const qsizetype count = std::min(qsizetype(columns.size()), row.values.size());
    for (qsizetype place = 1; place < count; ++place) {
        const RecordColumn<Record> &column = columns[size_t(place)];
        // A date is often the last thing that a message has: a text message was never marked as read.
        const bool isLastDate = place == row.lastColumn && place < qsizetype(shortRow().size()) &&
                                std::holds_alternative<RecordDate<Record>>(column.member);
        takeRawValue(record, column, isLastDate ? QVariant(row.lastNumber) : row.values.at(place));
    }
    return record;
}

} // namespace

QList<QList<_SqliteCol>> ios6MessageColumns()
{
    return {scannedColumns(shortRow()), scannedColumns(longRow())};
}

bool isPlausibleIos6Row(const Sqlite3RawRow &row)
{
    static const qsizetype service = placeOf(shortRow(), "service"_L1);
    return row.values.size() >= qsizetype(shortRow().size()) && isService(row.values.at(service));
}

std::optional<_RecycleMessage> rowToIos6Message(const Sqlite3RawRow &row)
{
    if (!isPlausibleIos6Row(row))
        return std::nullopt;
    // The last one of the long row, "message_source", isn't kept and may be missing.
    const bool isLong = row.values.size() + 1 >= qsizetype(longRow().size());
    _RecycleMessage recycled = {recordOf(row, isLong ? longRow() : shortRow()), {}, {}};
    if (recycled.message.text.isEmpty()) // newer phones keep the words in the body only
        recycled.message.text =
            textOfTypedStream(recycled.message.attributedBody).value_or(TypedStreamText()).text;
    return recycled;
}

QList<QList<_SqliteCol>> handleColumns()
{
    return {scannedColumns(handleRow())};
}

bool isPlausibleHandleRow(const Sqlite3RawRow &row)
{
    static const qsizetype service = placeOf(handleRow(), "service"_L1);
    return row.values.size() >= qsizetype(handleRow().size()) && isService(row.values.at(service));
}

std::optional<_MsgHandle> rowToHandle(const Sqlite3RawRow &row)
{
    return isPlausibleHandleRow(row) ? std::optional(recordOf(row, handleRow())) : std::nullopt;
}
