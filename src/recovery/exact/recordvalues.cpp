#include "recovery/exact/recordvalues.h"

#include <QStringDecoder>

#include <algorithm>
#include <bit>

namespace
{

qint64 integerOf(QByteArrayView bytes)
{
    qint64 value = bytes.isEmpty() ? 0 : qint64(qint8(bytes.front()));
    for (qsizetype i = 1; i < bytes.size(); ++i)
        value = qint64(quint64(value) << 8 | quint8(bytes[i]));
    return value;
}

// A page's own numbers, written over the end of a text, leave these.
bool isNoPartOfText(QChar sign)
{
    return sign < u' ' && sign != u'\n' && sign != u'\r' && sign != u'\t';
}

} // namespace

RecordValues::RecordValues(const RecordHeader &header, QByteArrayView contentBytes)
    : types(header.types), content(contentBytes)
{
    places.reserve(types.size());
    qint64 place = 0;
    for (const qint64 type : types) {
        places.push_back(place);
        place += std::min<qint64>(valueSize(type), std::numeric_limits<qint32>::max());
    }
}

bool RecordValues::isMissing(size_t index) const
{
    const qint64 bytes = valueSize(types[index]);
    return bytes > 0 && (places[index] > content.size() || bytes > content.size() - places[index]);
}

QByteArrayView RecordValues::bytesAt(size_t index) const
{
    return isMissing(index)
               ? QByteArrayView()
               : content.sliced(std::min<qsizetype>(places[index], content.size()), valueSize(types[index]));
}

QVariant RecordValues::at(size_t index) const
{
    if (index >= types.size() || isMissing(index))
        return {};
    const QByteArrayView bytes = bytesAt(index);
    switch (const qint64 type = types[index]) {
    case 0:
    case 10:
    case 11: return {};
    case 7: return std::bit_cast<double>(numberAt<quint64>(bytes, 0));
    case 8: return qint64(0);
    case 9: return qint64(1);
    default:
        if (type < 12)
            return integerOf(bytes);
        if (type % 2 == 0)
            return bytes.toByteArray();
        return bytes.isEmpty() ? QVariant(QLatin1StringView("")) : QVariant(QString::fromUtf8(bytes));
    }
}

bool RecordValues::hasBrokenText() const
{
    for (size_t i = 0; i < types.size(); ++i) {
        if (types[i] < 13 || types[i] % 2 == 0 || isMissing(i))
            continue;
        QStringDecoder decoder(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
        const QString text = decoder(bytesAt(i));
        if (decoder.hasError() || std::any_of(text.begin(), text.end(), isNoPartOfText))
            return true;
    }
    return false;
}
