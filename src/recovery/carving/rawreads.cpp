#include "recovery/carving/rawreads.h"

#include <QString>

#include <algorithm>
#include <array>
#include <bit>

namespace
{

constexpr int longestVarint = 9;

qint64 signedModulo(qint64 dividend, qint64 divisor)
{
    return divisor == 0 || divisor == -1 ? 0 : dividend % divisor;
}

} // namespace

RawVarint readVarint(QByteArrayView range, qint64 p)
{
    if (p < 0 || p >= range.size())
        return {};
    const qint64 available = range.size() - p;
    quint8 byte = quint8(range[p]);
    quint64 value = byte & 0x7F;
    int count = 1;
    int shift = 0;
    while (byte & 0x80) {
        if (count == available)
            return {};
        byte = quint8(range[p + count]);
        ++count;
        if (count == longestVarint)
            return {count, qint64(value << (shift + 8) | (byte & 0x8F))};
        shift += 7;
        value = value << shift | (byte & 0x7F);
    }
    return {count, qint64(value)};
}

int varintLength(qint64 value)
{
    if (value < 0)
        return 1;
    constexpr std::array<qint64, 8> mostFor = {0x7F,        0x3FFF,        0x1FFFFF,        0xFFFFFFF,
                                               0x7FFFFFFFF, 0x3FFFFFFFFFF, 0x1FFFFFFFFFFFF, 0xFFFFFFFFFFFFFF};
    const auto fits = std::lower_bound(mostFor.begin(), mostFor.end(), value);
    return int(fits - mostFor.begin()) + 1;
}

QByteArrayView readBytes(QByteArrayView range, qint64 p, qint64 n)
{
    if (p < 0 || p >= range.size() || n < 1)
        return {};
    return range.sliced(p, std::min(range.size() - p - 1, n));
}

qint64 copyBytes(std::span<uchar> destination, QByteArrayView range, qint64 p)
{
    const QByteArrayView bytes = readBytes(range, p, qint64(destination.size()));
    std::copy(bytes.begin(), bytes.end(), destination.begin());
    return bytes.size();
}

qint64 contentLength(qint64 serialType)
{
    if (serialType >= 12)
        return (serialType - 12) / 2; // an odd type stands for a text of (type - 13) / 2, which is the same
    switch (serialType) {
    case 1:
    case 2:
    case 3:
    case 4: return serialType;
    case 5: return 6;
    case 6:
    case 7: return 8;
    default: return 0;
    }
}

qint16 localPart(qint64 payload, int usable, int most)
{
    const qint64 least = qint16((usable - 12) * 32 / 255 - 23);
    const auto rest = qint64(quint64(payload) - quint64(least));
    const auto wanted = qint16(least + signedModulo(rest, usable - 4));
    return std::min(wanted, qint16(most));
}

QVariant RawValues::next(qint64 serialType)
{
    if (serialType >= 12) {
        // Moves by the bytes that are there, the other types by what they declare.
        const QByteArrayView value = readBytes(bytes, p, contentLength(serialType));
        p += value.size();
        if (serialType % 2 == 0)
            return value.toByteArray();
        return QString::fromUtf8(value.first(qstrnlen(value.data(), size_t(value.size()))));
    }
    const qint64 at = p;
    p += contentLength(serialType);
    switch (serialType) {
    case 1: return int(qint8(readByte(bytes, at)));
    case 2: return int(readStrict<qint16>(bytes, at));
    case 3: return threeBytes(at);
    case 4: return int(readStrict<qint32>(bytes, at));
    case 5: return sixBytes(at);
    case 6: return qlonglong(readStrict<qint64>(bytes, at));
    case 7: return eightBytes(at);
    case 8: return 0;
    case 9: return 1;
    default: return {};
    }
}

std::optional<qint64> RawValues::numberAtEnd(qint64 serialType, QByteArrayView whole) const
{
    const qint64 end = p + contentLength(serialType);
    if (end < bytes.size() || end > whole.size())
        return std::nullopt;
    switch (serialType) {
    case 2: return readBigEndian<qint16>(whole.sliced(p));
    case 4: return readBigEndian<qint32>(whole.sliced(p));
    case 6: return readBigEndian<qint64>(whole.sliced(p));
    default: return std::nullopt;
    }
}

// The three bytes stand at the top: the number is 256 times the one stored.
int RawValues::threeBytes(qint64 at) const
{
    std::array<uchar, 4> number = {};
    copyBytes(std::span(number).first<3>(), bytes, at);
    return qFromBigEndian<qint32>(number.data());
}

// The third byte lands where the fifth does, and bits 24 to 31 stay 0.
qlonglong RawValues::sixBytes(qint64 at) const
{
    std::array<uchar, 6> b = {};
    copyBytes(b, bytes, at);
    return qlonglong(quint64(b[0]) << 40 | quint64(b[1]) << 32 | quint64(b[3]) << 16 |
                     quint64(b[2] | b[4]) << 8 | b[5]);
}

// In the order of this machine, not of the file.
double RawValues::eightBytes(qint64 at) const
{
    std::array<uchar, 8> number = {};
    copyBytes(number, bytes, at);
    return std::bit_cast<double>(number);
}
