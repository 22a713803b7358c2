#include "testing/builders/smsdbwriter.h"

#include <QtEndian>

namespace
{

/// A length as typedstreams write it: one byte below 0x80, else a mark and two or four bytes.
QByteArray lengthBytes(qsizetype length)
{
    if (length < 0x80)
        return QByteArray(1, char(length));
    const bool isShort = length <= 0x7FFF;
    QByteArray raw(isShort ? 3 : 5, char(isShort ? 0x81 : 0x82));
    if (isShort)
        qToLittleEndian(quint16(length), raw.data() + 1);
    else
        qToLittleEndian(quint32(length), raw.data() + 1);
    return raw;
}

} // namespace

QByteArray typedStreamOf(const QString &text)
{
    static const QByteArray head = QByteArray::fromHex("040b73747265616d747970656481e803840140848484194e534d7"
                                                       "57461626c6541747472696275746564537472696e67008484124e"
                                                       "5341747472696275746564537472696e67008484084e534f626a6"
                                                       "563740085928484840f4e534d757461626c65537472696e670184"
                                                       "84084e53537472696e67019584012b");
    static const QByteArray run = QByteArray::fromHex("868402694901");
    static const QByteArray tail = QByteArray::fromHex(
        "928484840c4e5344696374696f6e617279009584016901928498981d5f5f6b494d4d65737361676550617274417474726962"
        "757465"
        "4e616d658692848484084e534e756d626572008484074e5356616c7565009584012a849b9b00868686");
    const QByteArray utf8 = text.toUtf8();
    return head + lengthBytes(utf8.size()) + utf8 + run + lengthBytes(text.size()) + tail;
}
