#pragma once

#include <QByteArray>
#include <QtEndian>

#include <bit>

/// A message in the wire format of protocol buffers in the making.
class SampleProtobuf
{
public:
    SampleProtobuf &number(int field, quint64 value)
    {
        varint(quint64(field) << 3);
        varint(value);
        return *this;
    }
    SampleProtobuf &bytes(int field, const QByteArray &content)
    {
        varint(quint64(field) << 3 | 2);
        varint(quint64(content.size()));
        message += content;
        return *this;
    }
    SampleProtobuf &real(int field, float value)
    {
        varint(quint64(field) << 3 | 5);
        message += QByteArray(4, '\0');
        qToLittleEndian(std::bit_cast<quint32>(value), message.data() + message.size() - 4);
        return *this;
    }

    QByteArray message;

private:
    void varint(quint64 value)
    {
        for (; value > 0x7F; value >>= 7)
            message += char(0x80 | (value & 0x7F));
        message += char(value);
    }
};
