#include "app/binaryplist.h"

#include "app/boundedbytes.h"

#include <QString>

#include <bit>

namespace
{

constexpr QByteArrayView header("bplist00");
constexpr qsizetype trailerSize = 32;
constexpr int countFollows = 0xF;
constexpr quint64 mostKeysSearched = 1024;

enum Marker {
    SimpleMarker = 0x0,
    IntegerMarker = 0x1,
    RealMarker = 0x2,
    DateMarker = 0x3,
    DataMarker = 0x4,
    AsciiMarker = 0x5,
    Utf16Marker = 0x6,
    UidMarker = 0x8,
    ArrayMarker = 0xA,
    SetMarker = 0xC,
    DictionaryMarker = 0xD
};

bool isWidth(qsizetype width)
{
    return width >= 1 && width <= 8;
}

/// Of the objects that stand behind a count.
BinaryPlist::Kind kindOf(int marker)
{
    switch (marker) {
    case DataMarker: return BinaryPlist::Kind::Data;
    case AsciiMarker: return BinaryPlist::Kind::Ascii;
    case Utf16Marker: return BinaryPlist::Kind::Utf16;
    case ArrayMarker:
    case SetMarker: return BinaryPlist::Kind::Array;
    case DictionaryMarker: return BinaryPlist::Kind::Dictionary;
    default: return BinaryPlist::Kind::Other;
    }
}

} // namespace

std::optional<BinaryPlist> BinaryPlist::open(QByteArrayView plist)
{
    if (plist.size() < header.size() + trailerSize || plist.size() > largestPlist ||
        !plist.startsWith(header))
        return std::nullopt;
    const QByteArrayView bytes = plist.last(trailerSize);
    const Trailer trailer{quint8(bytes.at(6)), quint8(bytes.at(7)), *readBigEndian<quint64>(bytes.sliced(8)),
                          *readBigEndian<quint64>(bytes.sliced(16)),
                          *readBigEndian<quint64>(bytes.sliced(24))};
    const quint64 size = quint64(plist.size());
    const bool isSound = isWidth(trailer.offsetWidth) && isWidth(trailer.referenceWidth) &&
                         trailer.offsetTable < size &&
                         trailer.objects <= (size - trailer.offsetTable) / quint64(trailer.offsetWidth);
    return isSound ? std::optional(BinaryPlist(plist, trailer)) : std::nullopt;
}

BinaryPlist::Object BinaryPlist::object(quint64 number) const
{
    if (number >= trailer.objects) // below that the table lies inside
        return {};
    const quint64 place = bigEndianOf(all.sliced(
        qsizetype(trailer.offsetTable + number * quint64(trailer.offsetWidth)), trailer.offsetWidth));
    return place < quint64(all.size()) ? objectAt(qsizetype(place)) : Object{};
}

BinaryPlist::Object BinaryPlist::objectAt(qsizetype place) const
{
    const int marker = quint8(all.at(place)) >> 4;
    const int low = quint8(all.at(place)) & 0xF;
    const bool isInteger = marker == IntegerMarker && low <= 4;
    if (isInteger || marker == UidMarker) {
        const qsizetype width = isInteger ? qsizetype(1) << low : low + 1;
        const Kind kind = isInteger ? Kind::Integer : Kind::Uid;
        return width < all.size() - place ? Object{kind, bigEndianOf(all.sliced(place + 1, width)), {}}
                                          : Object{};
    }
    const Kind kind = kindOf(marker);
    if (kind != Kind::Other)
        return low == countFollows ? counted(kind, place + 1) : sized(kind, quint64(low), place + 1);
    return simpleAt(marker, low, place + 1);
}

/// Reals, dates, booleans and what has no value at all.
BinaryPlist::Object BinaryPlist::simpleAt(int marker, int low, qsizetype place) const
{
    constexpr int isFalse = 8;
    constexpr int isTrue = 9;
    if (marker == RealMarker && (low == 2 || low == 3))
        return sized(Kind::Real, quint64(1) << low, place);
    if (marker == DateMarker && low == 3)
        return sized(Kind::Date, sizeof(double), place);
    const bool isBoolean = marker == SimpleMarker && (low == isFalse || low == isTrue);
    return isBoolean ? Object{Kind::Boolean, low == isTrue ? quint64(1) : 0, {}} : Object{Kind::Other, 0, {}};
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
    return object(bigEndianOf(
        container.bytes.sliced(qsizetype(index) * trailer.referenceWidth, trailer.referenceWidth)));
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

double realOf(const BinaryPlist::Object &object)
{
    if (object.kind != BinaryPlist::Kind::Real && object.kind != BinaryPlist::Kind::Date)
        return 0;
    if (object.bytes.size() == sizeof(float))
        return std::bit_cast<float>(*readBigEndian<quint32>(object.bytes));
    return std::bit_cast<double>(*readBigEndian<quint64>(object.bytes));
}
