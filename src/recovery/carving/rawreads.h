#pragma once

#include "app/boundedbytes.h"

#include <QByteArray>
#include <QByteArrayView>
#include <QVariant>

#include <optional>
#include <span>

// Reads of the raw reader. A range begins at position 0 and ends with its last byte; any position may be
// asked for. A value that ends exactly at the end of its range is not read, and copies leave out the
// range's last byte: what is found in a file has been found by these rules, so they stay.

/// A number of variable length: bytes consumed, 0 when it ran off the range.
struct RawVarint {
    int length = 0;
    qint64 value = 0;
};

/// Reads a number at `p`. One and two bytes are read as SQLite writes them; from three bytes on the
/// numbers differ from SQLite's, since the shift grows by 7 from byte to byte.
RawVarint readVarint(QByteArrayView range, qint64 p);

/// Bytes that `value` takes as a number of variable length; 1 for a negative one.
int varintLength(qint64 value);

/// 0 outside of the range.
inline quint8 readByte(QByteArrayView range, qint64 p)
{
    return p >= 0 && p < range.size() ? quint8(range[p]) : quint8(0);
}

/// Big-endian integer; 0 where it doesn't end before the range does.
template <typename Integer>
Integer readStrict(QByteArrayView range, qint64 p)
{
    if (p < 0 || range.size() - p <= qint64(sizeof(Integer)))
        return 0;
    return readBigEndian<Integer>(range.sliced(p)).value_or(0);
}

/// The `n` bytes at `p`, or as many as there are before the last byte of the range.
QByteArrayView readBytes(QByteArrayView range, qint64 p, qint64 n);

/// Copies what `readBytes` hands out to `destination`. Returns how many bytes that are.
qint64 copyBytes(std::span<uchar> destination, QByteArrayView range, qint64 p);

/// Decodes values that stand one behind the other, by their serial types.
class RawValues
{
public:
    /// Starts at `start` in `content`.
    RawValues(QByteArrayView content, qint64 start) : bytes(content), p(start) {}

    /// The next value: invalid for NULL, else a 32-bit or 64-bit integer, a double, a string or a byte
    /// array.
    QVariant next(qint64 serialType);

    /// The number that comes next, where `next` reads 0 instead because the content ends with it. `whole` is
    /// the content again, with its last byte where that is missing.
    std::optional<qint64> numberAtEnd(qint64 serialType, QByteArrayView whole) const;

private:
    int threeBytes(qint64 at) const;
    qlonglong sixBytes(qint64 at) const;
    double eightBytes(qint64 at) const;

    QByteArrayView bytes;
    qint64 p;
};

/// Bytes of content that a value of this serial type takes as declared.
qint64 contentLength(qint64 serialType);

/// Bytes of a record of `payload` bytes that stay in its page when the rest goes to overflow pages;
/// `usable` is the size of the page. No more than `most`.
qint16 localPart(qint64 payload, int usable, int most);
