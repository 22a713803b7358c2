#pragma once

#include "app/boundedbytes.h"

#include <QByteArrayView>

#include <cstdint>
#include <optional>

// Reads of SQLite's file format exactly as SQLite reads it (https://www.sqlite.org/fileformat2.html), where
// the raw reader of the other search has ways of its own.

/// A number of variable length, big-endian, seven bits a byte and eight in a ninth. `length` is the bytes it
/// takes, 0 when it runs off the range.
struct Varint {
    int length = 0;
    qint64 value = 0;
};

inline Varint varintAt(QByteArrayView bytes, qsizetype at)
{
    constexpr int longest = 9;
    quint64 value = 0;
    for (int i = 0; i < longest; ++i) {
        if (at < 0 || at + i >= bytes.size())
            return {};
        const auto byte = quint8(bytes[at + i]);
        if (i == longest - 1)
            return {longest, qint64(value << 8 | byte)};
        value = value << 7 | (byte & 0x7F);
        if (byte < 0x80)
            return {i + 1, qint64(value)};
    }
    return {};
}

/// Bytes that `value`, which is not negative, takes.
inline int varintSize(qint64 value)
{
    int size = 1;
    for (quint64 rest = quint64(value) >> 7; rest > 0 && size < 9; rest >>= 7)
        ++size;
    return size;
}

/// Big-endian number; 0 where it isn't whole.
template <typename Integer>
Integer numberAt(QByteArrayView bytes, qsizetype at)
{
    if (at < 0 || at > bytes.size())
        return 0;
    return readBigEndian<Integer>(bytes.sliced(at)).value_or(0);
}

/// Bytes of content that a value of this serial type takes.
inline qint64 valueSize(qint64 serialType)
{
    constexpr qint64 sizes[] = {0, 1, 2, 3, 4, 6, 8, 8, 0, 0, 0, 0};
    return serialType < 12 ? sizes[serialType < 0 ? 0 : serialType] : (serialType - 12) / 2;
}

/// What the header of a file says of all its pages.
struct PageLayout {
    static constexpr int fileHeader = 100; ///< bytes ahead of the first page's own header

    int size = 0;   ///< bytes of a page, a power of two from 512 to 65,536
    int usable = 0; ///< of those, without what is reserved at the end

    /// Of a file's first bytes; nothing where they are no header.
    static std::optional<PageLayout> of(QByteArrayView header)
    {
        constexpr qsizetype sizePlace = 16;
        constexpr qsizetype reservedPlace = 20;
        constexpr int leastUsable = 480;
        if (header.size() < fileHeader)
            return std::nullopt;
        const int declared = numberAt<quint16>(header, sizePlace);
        const int size = declared == 1 ? 65536 : declared;
        const int usable = size - numberAt<quint8>(header, reservedPlace);
        if (size < 512 || (size & (size - 1)) != 0 || usable < leastUsable)
            return std::nullopt;
        return PageLayout{size, usable};
    }

    /// Bytes of a payload that stay in the page; the rest goes to overflow pages.
    qint64 localSize(qint64 payload, bool isTableLeaf) const
    {
        const qint64 most = isTableLeaf ? usable - 35 : (usable - 12) * 64 / 255 - 23;
        if (payload <= most)
            return payload;
        const qint64 least = (usable - 12) * 32 / 255 - 23;
        const qint64 fitting = least + (payload - least) % (usable - 4);
        return fitting <= most ? fitting : least;
    }
};
