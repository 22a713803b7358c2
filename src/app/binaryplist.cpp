#include "app/binaryplist.h"

#include "app/boundedbytes.h"

#include <QString>

namespace
{

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
    const std::optional<PlistTrailer> trailer = readPlistTrailer(bytes);
    return trailer ? std::optional(BinaryPlist(bytes, *trailer)) : std::nullopt;
}

// There are a dozen objects in each of hundreds of thousands of lists, so that these read bytes in place.
// Of a wide integer the last 8 bytes count. Its bytes have to be there.
quint64 BinaryPlist::integerAt(QByteArrayView bytes, qsizetype place, qsizetype width)
{
    if (width == 1)
        return quint8(bytes.at(place));
    if (width == 2)
        return quint64(quint8(bytes.at(place))) << 8 | quint8(bytes.at(place + 1));
    quint64 value = 0;
    for (qsizetype i = 0; i < width; ++i)
        value = value << 8 | quint8(bytes.at(place + i));
    return value;
}

BinaryPlist::Object BinaryPlist::object(quint64 number) const
{
    if (number >= trailer.objects) // below that the table lies inside
        return {};
    const quint64 place = integerAt(
        all, qsizetype(trailer.offsetTable + number * quint64(trailer.offsetWidth)), trailer.offsetWidth);
    return place < quint64(all.size()) ? objectAt(qsizetype(place)) : Object{};
}

BinaryPlist::Object BinaryPlist::objectAt(qsizetype place) const
{
    const int marker = quint8(all.at(place));
    const int low = marker & 0xF;
    const qsizetype left = all.size() - place - 1;
    const bool isInteger = marker >> 4 == IntegerMarker && low <= 4;
    if (isInteger || marker >> 4 == UidMarker) {
        const qsizetype width = isInteger ? qsizetype(1) << low : low + 1;
        const Kind kind = isInteger ? Kind::Integer : Kind::Uid;
        return width <= left ? Object{kind, integerAt(all, place + 1, width), {}} : Object{};
    }
    const Kind kind = kindOf(marker >> 4);
    if (kind == Kind::Other)
        return {};
    return low == countFollows ? counted(kind, place + 1) : sized(kind, quint64(low), place + 1);
}

/// An object whose count stands in an integer object before its bytes.
BinaryPlist::Object BinaryPlist::counted(Kind kind, qsizetype place) const
{
    if (place >= all.size() || quint8(all.at(place)) >> 4 != IntegerMarker)
        return {};
    const Object count = objectAt(place);
    if (count.kind != Kind::Integer)
        return {};
    return sized(kind, count.number, place + 1 + (qsizetype(1) << (all.at(place) & 0xF)));
}

BinaryPlist::Object BinaryPlist::sized(Kind kind, quint64 count, qsizetype place) const
{
    qsizetype width = kind == Kind::Utf16 ? 2 : 1;
    if (kind == Kind::Array || kind == Kind::Dictionary)
        width = trailer.referenceWidth * (kind == Kind::Dictionary ? 2 : 1);
    if (count > quint64((all.size() - place) / width))
        return {};
    return {kind, count, all.sliced(place, qsizetype(count) * width)};
}

BinaryPlist::Object BinaryPlist::referred(const Object &container, quint64 index) const
{
    return object(
        integerAt(container.bytes, qsizetype(index) * trailer.referenceWidth, trailer.referenceWidth));
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
