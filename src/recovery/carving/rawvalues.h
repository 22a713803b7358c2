#pragma once

#include "app/appledates.h"
#include "store/records/recordcolumn.h"

#include <QVariant>

// Values of raw rows as numbers. Damaged rows bring texts where numbers belong, and doubles without bound.

/// 0 for what is no integer.
inline qint64 longOf(const QVariant &value)
{
    return value.typeId() == QMetaType::Double ? 0 : value.toLongLong();
}

/// The lower 32 bits.
inline int intOf(const QVariant &value)
{
    return int(longOf(value));
}

/// A date in seconds, whatever the phone counts in.
inline int dateOf(const QVariant &value)
{
    return wholeSeconds(longOf(value));
}

/// Gives a field of `record` the value of a raw row.
template <typename Record>
struct RawField {
    Record &record;
    const QVariant &value;

    void operator()(std::monostate) const {}
    void operator()(int Record::*member) const { record.*member = intOf(value); }
    void operator()(qint64 Record::*member) const { record.*member = longOf(value); }
    void operator()(bool Record::*member) const { record.*member = longOf(value) != 0; }
    void operator()(QString Record::*member) const { record.*member = value.toString(); }
    void operator()(RepeatingText<Record> text) const { record.*text.member = value.toString(); }
    void operator()(QByteArray Record::*member) const { record.*member = value.toByteArray(); }
    void operator()(RecordDate<Record> date) const { record.*date.member = dateOf(value); }
};

template <typename Record>
void takeRawValue(Record &record, const RecordColumn<Record> &column, const QVariant &value)
{
    std::visit(RawField<Record>{record, value}, column.member);
}
