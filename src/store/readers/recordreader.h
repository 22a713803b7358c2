#pragma once

#include "app/appledates.h"
#include "sqlite_qt/sqlite3cursor.h"
#include "store/records/sharedtexts.h"

#include <QByteArray>
#include <QLatin1StringView>
#include <QString>

#include <memory>
#include <span>
#include <variant>
#include <vector>

/// A text field with few different values in many rows.
template <typename Record>
struct RepeatingText {
    QString Record::*member;
};

/// A field for a date in seconds since 2001.
template <typename Record>
struct RecordDate {
    int Record::*member;
};

template <typename Record>
constexpr RepeatingText<Record> repeatingText(QString Record::*member)
{
    return {member};
}

/// In what a file counts its dates.
enum class DateUnit {
    Seconds,
    EachItsOwn, ///< some in seconds, some in nanoseconds
};

/// Which column goes into which field of a record.
template <typename Record>
struct RecordField {
    QLatin1StringView column;
    std::variant<int Record::*, qint64 Record::*, QString Record::*, QByteArray Record::*,
                 RepeatingText<Record>, RecordDate<Record>>
        member;
};

/// Makes records of the rows of one query. The columns are looked up once; a column that the result
/// lacks reads as 0 or empty, also where a new record has another default.
template <typename Record>
class RecordReader
{
public:
    /// `model` is what a record holds before its columns are read.
    RecordReader(const Sqlite3Cursor &cursor, std::span<const RecordField<Record>> fields,
                 const Record &model = {}, DateUnit dateUnit = DateUnit::Seconds)
        : blank(model), unit(dateUnit)
    {
        for (const RecordField<Record> &field : fields) {
            const int position = cursor.columnIndex(field.column);
            std::visit([&](auto member) { place(position, member); }, field.member);
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
    std::vector<Column<QString>> &columnsOf(QString Record::*) { return texts; }
    std::vector<Column<QByteArray>> &columnsOf(QByteArray Record::*) { return blobs; }

    Record blank;
    DateUnit unit;
    std::vector<Column<int>> ints;
    std::vector<Column<int>> dates;
    std::vector<Column<qint64>> longs;
    std::vector<Column<QString>> texts;
    std::vector<Column<QString>> repeating;
    std::vector<Column<QByteArray>> blobs;
    SharedTexts shared;
};
