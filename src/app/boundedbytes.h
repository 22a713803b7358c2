#pragma once

#include <QByteArrayView>
#include <QtEndian>

#include <algorithm>
#include <optional>
#include <type_traits>

// Bounded reads of foreign bytes. Every parser goes through these: nothing else casts a buffer.

/// Big-endian integer at the front of `bytes`, or nothing when `bytes` is shorter than the integer.
template <typename Integer>
[[nodiscard]] std::optional<Integer> readBigEndian(QByteArrayView bytes)
{
    static_assert(std::is_integral_v<Integer>);
    if (bytes.size() < qsizetype(sizeof(Integer)))
        return std::nullopt;
    return qFromBigEndian<Integer>(bytes.data());
}

/// Little-endian integer at the front of `bytes`, or nothing when `bytes` is shorter than the integer.
template <typename Integer>
[[nodiscard]] std::optional<Integer> readLittleEndian(QByteArrayView bytes)
{
    static_assert(std::is_integral_v<Integer>);
    if (bytes.size() < qsizetype(sizeof(Integer)))
        return std::nullopt;
    return qFromLittleEndian<Integer>(bytes.data());
}

/// Big-endian integer that all of `bytes` make up. Of more than 8 bytes the last 8 count.
[[nodiscard]] inline quint64 bigEndianOf(QByteArrayView bytes)
{
    quint64 value = 0;
    for (const char byte : bytes)
        value = value << 8 | quint8(byte);
    return value;
}

/// Walks over a buffer that it does not own; it never reads past the end.
class ByteCursor
{
public:
    explicit ByteCursor(QByteArrayView all) : bytes(all) {}

    [[nodiscard]] bool atEnd() const { return position == bytes.size(); }
    [[nodiscard]] qsizetype remaining() const { return bytes.size() - position; }
    /// Bytes from the start of the buffer.
    [[nodiscard]] qsizetype offset() const { return position; }

    /// The next `length` bytes, or as many as are left.
    QByteArrayView takeUpTo(qsizetype length)
    {
        const qsizetype taken = std::clamp<qsizetype>(length, 0, remaining());
        const QByteArrayView result = bytes.sliced(position, taken);
        position += taken;
        return result;
    }

    /// The next `length` bytes, or nothing (and no step) when fewer are left.
    std::optional<QByteArrayView> take(qsizetype length)
    {
        if (length < 0 || length > remaining())
            return std::nullopt;
        return takeUpTo(length);
    }

    /// The next big-endian integer, or nothing (and no step) when too few bytes are left.
    template <typename Integer>
    std::optional<Integer> takeBigEndian()
    {
        const std::optional<Integer> value = readBigEndian<Integer>(bytes.sliced(position));
        if (value)
            position += qsizetype(sizeof(Integer));
        return value;
    }

private:
    QByteArrayView bytes;
    qsizetype position = 0;
};
