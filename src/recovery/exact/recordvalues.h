#pragma once

#include "recovery/exact/treepage.h"

#include <QVariant>

/// The values of a record, of which the end may be gone. A value that is told by its type alone is there in
/// any case.
class RecordValues
{
public:
    /// `contentBytes` is what there is of the values' bytes. Both are borrowed.
    RecordValues(const RecordHeader &header, QByteArrayView contentBytes);

    size_t size() const { return places.size(); }
    bool isMissing(size_t index) const;
    /// NULL is an invalid variant, as is what is missing or not there; else 64-bit integer, double, string or
    /// byte array. A text that is no UTF-8 is invalid too, see `hasBrokenText`.
    QVariant at(size_t index) const;
    /// Its bytes; empty when missing.
    QByteArrayView bytesAt(size_t index) const;
    /// Place behind it in the content.
    qint64 endOf(size_t index) const { return places[index] + valueSize(types[index]); }
    qint64 typeAt(size_t index) const { return types[index]; }
    /// Whether a text that is there is no UTF-8.
    bool hasBrokenText() const;

private:
    const std::vector<qint64> &types;
    std::vector<qint64> places; // of the values in the content
    QByteArrayView content;
};
