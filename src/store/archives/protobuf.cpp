#include "store/archives/protobuf.h"

#include "app/boundedbytes.h"

#include <algorithm>

namespace
{

constexpr size_t mostFields = 100'000;

enum WireType { Varint = 0, Fixed64 = 1, LengthDelimited = 2, Fixed32 = 5 };

/// Groups of seven bits, the lowest first; the highest bit says that more follow.
std::optional<quint64> takeVarint(ByteCursor &bytes)
{
    constexpr int mostBits = 64;
    quint64 value = 0;
    for (int shift = 0; shift < mostBits; shift += 7) {
        const std::optional<quint8> byte = bytes.takeBigEndian<quint8>();
        if (!byte)
            return std::nullopt;
        value |= quint64(*byte & 0x7F) << shift;
        if (*byte < 0x80)
            return value;
    }
    return std::nullopt;
}

template <typename Integer>
std::optional<ProtobufMessage::Field> takeFixed(ByteCursor &bytes, quint64 number)
{
    const std::optional<QByteArrayView> raw = bytes.take(sizeof(Integer));
    return raw ? std::optional(ProtobufMessage::Field{number, *readLittleEndian<Integer>(*raw), *raw})
               : std::nullopt;
}

std::optional<ProtobufMessage::Field> takeField(ByteCursor &bytes)
{
    const std::optional<quint64> key = takeVarint(bytes);
    if (!key)
        return std::nullopt;
    const quint64 number = *key >> 3;
    switch (*key & 0x7) {
    case Varint: {
        const std::optional<quint64> value = takeVarint(bytes);
        return value ? std::optional(ProtobufMessage::Field{number, *value, {}}) : std::nullopt;
    }
    case Fixed64: return takeFixed<quint64>(bytes, number);
    case Fixed32: return takeFixed<quint32>(bytes, number);
    case LengthDelimited: {
        const std::optional<quint64> length = takeVarint(bytes);
        if (!length || *length > quint64(bytes.remaining()))
            return std::nullopt;
        return ProtobufMessage::Field{number, 0, bytes.takeUpTo(qsizetype(*length))};
    }
    default: return std::nullopt; // groups, which nobody writes any more
    }
}

} // namespace

std::optional<ProtobufMessage> ProtobufMessage::read(QByteArrayView message)
{
    ProtobufMessage result;
    ByteCursor bytes(message);
    while (!bytes.atEnd()) {
        const std::optional<Field> field = takeField(bytes);
        if (!field || result.all.size() == mostFields)
            return std::nullopt;
        result.all.push_back(*field);
    }
    return result;
}

const ProtobufMessage::Field *ProtobufMessage::find(quint64 number) const
{
    const auto found =
        std::find_if(all.crbegin(), all.crend(), [&](const Field &field) { return field.number == number; });
    return found == all.crend() ? nullptr : &*found;
}

quint64 ProtobufMessage::value(quint64 number) const
{
    const Field *field = find(number);
    return field ? field->value : 0;
}

QByteArrayView ProtobufMessage::bytes(quint64 number) const
{
    const Field *field = find(number);
    return field ? field->bytes : QByteArrayView();
}
