#include "binaryplist.h"

#include "boundedbytes.h"

#include <QString>

namespace
{

constexpr QByteArrayView header("bplist00");
constexpr qsizetype trailerSize = 32;
constexpr int countFollows = 0xF;
constexpr quint64 mostKeysSearched = 1024;

enum Marker {
    IntegerMarker = 0x1,
    DataMarker = 0x4,
    AsciiMarker = 0x5,
    Utf16Marker = 0x6,
    UidMarker = 0x8,
    ArrayMarker = 0xA,
    DictionaryMarker = 0xD
};

/// A big-endian integer of `width` bytes; of one that is wider than 8, the last 8.
std::optional<quint64> integer(QByteArrayView bytes, qsizetype width)
{
    if (width < 1 || width > 16 || bytes.size() < width)
        return std::nullopt;
    quint64 value = 0;
    for (const char byte : bytes.first(width))
        value = value << 8 | quint8(byte);
    return value;
}

std::optional<quint64> takeInteger(ByteCursor &cursor, int low)
{
    if (low > 4)
        return std::nullopt;
    const qsizetype width = qsizetype(1) << low;
    const std::optional<QByteArrayView> bytes = cursor.take(width);
    return bytes ? integer(*bytes, width) : std::nullopt;
}

/// A count: in the marker itself, or in an integer object behind it.
std::optional<quint64> takeCount(ByteCursor &cursor, int low)
{
    if (low != countFollows)
        return quint64(low);
    const std::optional<quint8> marker = cursor.takeBigEndian<quint8>();
    if (!marker || *marker >> 4 != IntegerMarker)
        return std::nullopt;
    return takeInteger(cursor, *marker & 0xF);
}

BinaryPlist::Kind kindOf(int marker)
{
    switch (marker) {
    case DataMarker: return BinaryPlist::Kind::Data;
    case AsciiMarker: return BinaryPlist::Kind::Ascii;
    case Utf16Marker: return BinaryPlist::Kind::Utf16;
    case ArrayMarker: return BinaryPlist::Kind::Array;
    case DictionaryMarker: return BinaryPlist::Kind::Dictionary;
    default: return BinaryPlist::Kind::Other;
    }
}

} // namespace

std::optional<BinaryPlist> BinaryPlist::open(QByteArrayView bytes)
{
    BinaryPlist list(bytes);
    if (!bytes.startsWith(header) || !list.readTrailer())
        return std::nullopt;
    return list;
}

bool BinaryPlist::readTrailer()
{
    if (all.size() < header.size() + trailerSize)
        return false;
    const QByteArrayView trailer = all.last(trailerSize);
    offsetWidth = quint8(trailer.at(6));
    referenceWidth = quint8(trailer.at(7));
    objects = *readBigEndian<quint64>(trailer.sliced(8));
    rootObject = *readBigEndian<quint64>(trailer.sliced(16));
    offsetTable = *readBigEndian<quint64>(trailer.sliced(24));
    const quint64 size = quint64(all.size());
    const bool hasWidths = offsetWidth >= 1 && offsetWidth <= 8 && referenceWidth >= 1 && referenceWidth <= 8;
    return hasWidths && offsetTable < size && objects <= (size - offsetTable) / quint64(offsetWidth);
}

BinaryPlist::Object BinaryPlist::object(quint64 number) const
{
    if (number >= objects)
        return {};
    const qsizetype place = qsizetype(offsetTable) + qsizetype(number) * offsetWidth;
    const std::optional<quint64> offset = integer(all.sliced(place), offsetWidth);
    if (!offset || *offset >= quint64(all.size()))
        return {};
    return objectAt(all.sliced(qsizetype(*offset)));
}

BinaryPlist::Object BinaryPlist::objectAt(QByteArrayView rest) const
{
    ByteCursor cursor(rest);
    const int marker = *cursor.takeBigEndian<quint8>();
    const int low = marker & 0xF;
    if (marker >> 4 == IntegerMarker) {
        const std::optional<quint64> value = takeInteger(cursor, low);
        return value ? Object{Kind::Integer, *value, {}} : Object{};
    }
    if (marker >> 4 == UidMarker) {
        const std::optional<QByteArrayView> bytes = cursor.take(low + 1);
        const std::optional<quint64> value = bytes ? integer(*bytes, low + 1) : std::nullopt;
        return value ? Object{Kind::Uid, *value, {}} : Object{};
    }
    const Kind kind = kindOf(marker >> 4);
    const std::optional<quint64> count = takeCount(cursor, low);
    if (kind == Kind::Other || !count || *count > quint64(all.size()))
        return {};
    qsizetype width = kind == Kind::Utf16 ? 2 : 1;
    if (kind == Kind::Array || kind == Kind::Dictionary)
        width = referenceWidth * (kind == Kind::Dictionary ? 2 : 1);
    const std::optional<QByteArrayView> bytes = cursor.take(qsizetype(*count) * width);
    return bytes ? Object{kind, *count, *bytes} : Object{};
}

BinaryPlist::Object BinaryPlist::referred(const Object &container, quint64 index) const
{
    const qsizetype place = qsizetype(index) * referenceWidth;
    const std::optional<quint64> number = integer(container.bytes.sliced(place), referenceWidth);
    return number ? object(*number) : Object{};
}

BinaryPlist::Object BinaryPlist::at(const Object &array, quint64 index) const
{
    return array.kind == Kind::Array && index < array.number ? referred(array, index) : Object{};
}

BinaryPlist::Object BinaryPlist::key(const Object &dictionary, quint64 index) const
{
    const bool isThere = dictionary.kind == Kind::Dictionary && index < dictionary.number;
    return isThere ? referred(dictionary, index) : Object{};
}

BinaryPlist::Object BinaryPlist::entry(const Object &dictionary, quint64 index) const
{
    const bool isThere = dictionary.kind == Kind::Dictionary && index < dictionary.number;
    return isThere ? referred(dictionary, dictionary.number + index) : Object{};
}

BinaryPlist::Object BinaryPlist::value(const Object &dictionary, QByteArrayView name) const
{
    for (quint64 i = 0; i < qMin(dictionary.number, mostKeysSearched); ++i) {
        const Object found = key(dictionary, i);
        if (found.kind == Kind::Ascii && found.bytes == name)
            return entry(dictionary, i);
    }
    return {};
}

QByteArray textOf(const BinaryPlist::Object &object)
{
    if (object.kind == BinaryPlist::Kind::Ascii)
        return object.bytes.toByteArray();
    if (object.kind != BinaryPlist::Kind::Utf16)
        return {};
    QString text;
    for (qsizetype i = 0; i + 1 < object.bytes.size(); i += 2)
        text += QChar(*readBigEndian<quint16>(object.bytes.sliced(i)));
    return text.toUtf8();
}
