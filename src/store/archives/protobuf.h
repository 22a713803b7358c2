#pragma once

#include <QByteArrayView>

#include <optional>
#include <vector>

/// A message in the wire format of protocol buffers, read without its description: a row of fields, each a
/// key of number and wire type, then a value
/// (https://protobuf.dev/programming-guides/encoding describes it).
class ProtobufMessage
{
public:
    struct Field {
        quint64 number = 0;
        quint64 value = 0;    ///< of a varint; the bits of a fixed one
        QByteArrayView bytes; ///< of text, bytes and messages; of a fixed number its four or eight bytes
    };

    /// Nothing when `message` is not made of whole fields, or of more than a hundred thousand. The fields
    /// point into it.
    static std::optional<ProtobufMessage> read(QByteArrayView message);

    const std::vector<Field> &fields() const { return all; }
    /// Whether the field is there at all.
    bool has(quint64 number) const { return find(number) != nullptr; }
    /// Value and bytes of a field, of several the last one; 0 and empty without any.
    quint64 value(quint64 number) const;
    QByteArrayView bytes(quint64 number) const;

private:
    const Field *find(quint64 number) const;

    std::vector<Field> all;
};
