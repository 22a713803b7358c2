#include "tools/samplephone/sampleimages.h"

#include "testing/builders/samplebytes.h"
#include "testing/builders/samplerandom.h"

#include <bit>
#include <cstdlib>

namespace
{

// A baseline JPEG of one component in which each block has a mean and nothing else.
constexpr int pixelsOfBlock = 8;

/// Collects bits and stuffs a zero behind each byte 0xFF, as scans need it.
class BitWriter
{
public:
    void add(quint32 value, int count)
    {
        for (int bit = count - 1; bit >= 0; --bit)
            addBit((value >> bit) & 1);
    }

    QByteArray finish()
    {
        while (filled != 0)
            addBit(1);
        return bytes;
    }

private:
    void addBit(quint32 bit)
    {
        current = current << 1 | bit;
        if (++filled < 8)
            return;
        bytes.append(char(current));
        if ((current & 0xFF) == 0xFF)
            bytes.append('\0');
        filled = 0;
    }

    QByteArray bytes;
    quint32 current = 0;
    int filled = 0;
};

QByteArray jpegSegment(quint8 mark, const QByteArray &body)
{
    QByteArray segment("\xFF", 1);
    segment.append(char(mark));
    const int length = int(body.size()) + 2;
    segment.append(char(length >> 8)).append(char(length & 0xFF));
    return segment + body;
}

/// Eight codes of four bits for the size of a mean's difference, one of one bit for "no more".
QByteArray huffmanTables()
{
    return jpegSegment(0xC4, QByteArray::fromHex("00 00000008000000000000000000000000 0001020304050607")) +
           jpegSegment(0xC4, QByteArray::fromHex("10 01000000000000000000000000000000 00"));
}

QByteArray jpegHead(int size)
{
    const int pixels = size * pixelsOfBlock;
    QByteArray frame = QByteArray::fromHex("08");
    for (int side = 0; side < 2; ++side)
        frame.append(char(pixels >> 8)).append(char(pixels & 0xFF));
    frame.append(QByteArray::fromHex("01 011100"));
    return QByteArray::fromHex("FFD8") +
           jpegSegment(0xE0, QByteArray::fromHex("4A46494600 0101 00 0001 0001 0000")) +
           jpegSegment(0xDB, QByteArray(1, '\0') + QByteArray(64, char(8))) + jpegSegment(0xC0, frame) +
           huffmanTables() + jpegSegment(0xDA, QByteArray::fromHex("01 0100 003F00"));
}

quint32 crc32(const QByteArray &bytes)
{
    quint32 crc = 0xFFFFFFFFu;
    for (const char byte : bytes) {
        crc ^= quint8(byte);
        for (int bit = 0; bit < 8; ++bit)
            crc = (crc >> 1) ^ ((crc & 1) ? 0xEDB88320u : 0u);
    }
    return ~crc;
}

QByteArray pngChunk(const QByteArray &body)
{
    constexpr qsizetype typeLength = 4;
    return bigEndian(quint32(body.size() - typeLength)) + body + bigEndian(crc32(body));
}

} // namespace

QByteArray sampleJpeg(int size, quint64 seed)
{
    SampleRandom random(seed);
    BitWriter scan;
    int previous = 0;
    for (int block = 0; block < size * size; ++block) {
        const int mean = random.below(128) - 64;
        const int difference = mean - previous;
        previous = mean;
        const int bits = int(std::bit_width(unsigned(std::abs(difference))));
        scan.add(quint32(bits), 4);
        scan.add(quint32(difference < 0 ? difference + (1 << bits) - 1 : difference), bits);
        scan.add(0, 1);
    }
    return jpegHead(size) + scan.finish() + QByteArray::fromHex("FFD9");
}

QByteArray samplePng(int size, quint64 seed)
{
    constexpr qsizetype lengthOfQtHeader = 4;
    SampleRandom random(seed);
    QByteArray rows;
    for (int row = 0; row < size; ++row)
        rows += QByteArray(1, '\0') + random.bytes(size);
    QByteArray header = QByteArrayLiteral("IHDR");
    header.append(bigEndian(quint32(size))).append(bigEndian(quint32(size)));
    header.append(QByteArray::fromHex("0800000000"));
    return QByteArray::fromHex("89504E470D0A1A0A") + pngChunk(header) +
           pngChunk(QByteArrayLiteral("IDAT") + qCompress(rows).mid(lengthOfQtHeader)) +
           pngChunk(QByteArrayLiteral("IEND"));
}
