#pragma once

#include "app/appledates.h"
#include "sqlite_qt/sqlite3cursor.h"
#include "store/records/recordcolumn.h"
#include "store/records/sharedtexts.h"

#include <QByteArray>
#include <QString>

#include <memory>
#include <vector>

/// In what a file counts its dates.
enum class DateUnit {
    Seconds,
    EachItsOwn, ///< some in seconds, some in nanoseconds
};

/// Position of `column` in the result of a query, by a phone's name for it or that of a Local Database; -1
/// where there is none.
template <typename Record>
int positionOf(const Sqlite3Cursor &cursor, const RecordColumn<Record> &column)
{
    const int position = column.isOfPhone() ? cursor.columnIndex(column.name) : -1;
    return position >= 0 ? position : cursor.columnIndex(column.localName());
}

/// Makes records of the rows of one query. The columns are looked up once; a column that the result
/// lacks reads as 0 or empty, also where a new record has another default.
template <typename Record>
class RecordReader
{
public:
    /// `model` is what a record holds before its columns are read.
    RecordReader(const Sqlite3Cursor &cursor, RecordColumns<Record> columns, const Record &model = {},
                 DateUnit dateUnit = DateUnit::Seconds)
        : blank(model), unit(dateUnit)
    {
        for (const RecordColumn<Record> &column : columns) {
            const int position = positionOf(cursor, column);
            std::visit([&](auto member) { place(position, member); }, column.member);
        }
    }

    /// The row on which `cursor` stands.
    std::unique_ptr<Record> read(const Sqlite3Cursor &cursor)
    {
        auto record = std::make_unique<Record>(blank);
        for (const auto &[position, member] : ints)
            (*record).*member = cursor.getInt(position);
        for (const auto &[position, member] : dates)
            (*record).*member = wholeSeconds(cursor.getInt64(position));
        for (const auto &[position, member] : longs)
            (*record).*member = cursor.getInt64(position);
        for (const auto &[position, member] : flags)
            (*record).*member = cursor.getInt(position) != 0;
        for (const auto &[position, member] : texts) {
            QString &text = (*record).*member;
            text = cursor.getText(position);
            text.squeeze(); // decoding takes room for the bytes, of which there may be three a character
        }
        for (const auto &[position, member] : repeating)
            (*record).*member = shared.text(cursor.getUtf8(position));
        for (const auto &[position, member] : blobs)
            (*record).*member = cursor.getBlob(position);
        return record;
    }

private:
    template <typename Value>
    struct Column {
        int position;
        Value Record::*member;
    };

    void place(int, std::monostate) {}

    template <typename Value>
    void place(int position, Value Record::*member)
    {
        if (position < 0)
            blank.*member = Value();
        else
            columnsOf(member).push_back({position, member});
    }

    void place(int position, RepeatingText<Record> field)
    {
        if (position < 0)
            blank.*field.member = QString();
        else
            repeating.push_back({position, field.member});
    }

    void place(int position, RecordDate<Record> field)
    {
        if (position >= 0 && unit == DateUnit::EachItsOwn)
            dates.push_back({position, field.member});
        else
            place(position, field.member);
    }

    std::vector<Column<int>> &columnsOf(int Record::*) { return ints; }
    std::vector<Column<qint64>> &columnsOf(qint64 Record::*) { return longs; }
    std::vector<Column<bool>> &columnsOf(bool Record::*) { return flags; }
    std::vector<Column<QString>> &columnsOf(QString Record::*) { return texts; }
    std::vector<Column<QByteArray>> &columnsOf(QByteArray Record::*) { return blobs; }

    Record blank;
    DateUnit unit;
    std::vector<Column<int>> ints;
    std::vector<Column<int>> dates;
    std::vector<Column<qint64>> longs;
    std::vector<Column<bool>> flags;
    std::vector<Column<QString>> texts;
    std::vector<Column<QString>> repeating;
    std::vector<Column<QByteArray>> blobs;
    SharedTexts shared;
};
