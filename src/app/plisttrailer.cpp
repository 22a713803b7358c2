#include "app/plisttrailer.h"

#include "app/boundedbytes.h"

namespace
{

constexpr QByteArrayView header("bplist00");
constexpr qsizetype trailerSize = 32;

bool isWidth(qsizetype width)
{
    return width >= 1 && width <= 8;
}

} // namespace

std::optional<PlistTrailer> readPlistTrailer(QByteArrayView list)
{
    if (list.size() < header.size() + trailerSize || !list.startsWith(header))
        return std::nullopt;
    const QByteArrayView bytes = list.last(trailerSize);
    const PlistTrailer trailer{
        quint8(bytes.at(6)), quint8(bytes.at(7)), *readBigEndian<quint64>(bytes.sliced(8)),
        *readBigEndian<quint64>(bytes.sliced(16)), *readBigEndian<quint64>(bytes.sliced(24))};
    const quint64 size = quint64(list.size());
    const bool isSound = isWidth(trailer.offsetWidth) && isWidth(trailer.referenceWidth) &&
                         trailer.offsetTable < size &&
                         trailer.objects <= (size - trailer.offsetTable) / quint64(trailer.offsetWidth);
    return isSound ? std::optional(trailer) : std::nullopt;
}
