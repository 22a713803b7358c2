#pragma once

#include <QByteArray>
#include <QList>
#include <QVariant>

// How a Local Database keeps those columns of a phone's row for which it has none: one CBOR map (RFC 8949) a
// row, from the number of a column in `_source_column` to its value. Integers, reals, texts and byte strings
// are what they were in the file.

struct KeptColumn {
    qint64 number = 0; ///< rowid in `_source_column`
    QVariant value;
};

QByteArray encodeKeptColumns(const QList<KeptColumn> &columns);

/// Empty for what isn't such a map; a value of another type is left out.
QList<KeptColumn> decodeKeptColumns(const QByteArray &bytes);
