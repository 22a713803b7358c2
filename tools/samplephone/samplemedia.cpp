#include "tools/samplephone/samplemedia.h"

#include "testing/builders/samplebytes.h"
#include "testing/builders/samplerandom.h"
#include "tools/samplephone/sampleimages.h"

using namespace Qt::StringLiterals;

namespace
{

constexpr int gifShades = 128;

QByteArray littleEndian(int value)
{
    QByteArray raw(sizeof(quint16), '\0');
    qToLittleEndian(quint16(value), raw.data());
    return raw;
}

/// Codes that are a byte each: a reset comes before the table of the compression outgrows that.
QByteArray gifFrame(int size, SampleRandom &random)
{
    constexpr char reset = char(gifShades);
    constexpr char end = char(gifShades + 1);
    constexpr int codesBetweenResets = 120;
    QByteArray codes;
    for (int pixel = 0; pixel < size * size; ++pixel) {
        if (pixel % codesBetweenResets == 0)
            codes.append(reset);
        codes.append(char((pixel / size + random.below(gifShades / 2)) % gifShades));
    }
    codes.append(end);
    QByteArray frame = QByteArray::fromHex("21F904040A000000 2C00000000");
    frame.append(littleEndian(size)).append(littleEndian(size)).append(QByteArray::fromHex("00 07"));
    constexpr qsizetype mostOfBlock = 255;
    for (qsizetype start = 0; start < codes.size(); start += mostOfBlock) {
        const QByteArray block = codes.mid(start, mostOfBlock);
        frame.append(char(block.size())).append(block);
    }
    return frame.append('\0');
}

} // namespace

QByteArray sampleGif(int size, quint64 seed)
{
    SampleRandom random(seed);
    QByteArray gif = QByteArrayLiteral("GIF89a");
    gif.append(littleEndian(size)).append(littleEndian(size)).append(QByteArray::fromHex("F60000"));
    for (int shade = 0; shade < gifShades; ++shade)
        gif.append(3, char(shade * 2));
    gif.append(QByteArray::fromHex("21FF0B")).append("NETSCAPE2.0").append(QByteArray::fromHex("0301000000"));
    gif.append(gifFrame(size, random)).append(gifFrame(size, random));
    return gif.append(';');
}

QByteArray sampleVoice(quint64 seed)
{
    constexpr quint64 rate = 0x40BF400000000000; // 8000.0
    constexpr int frames = 4000;
    const QByteArray description = bigEndian(rate) + "lpcm" + bigEndian(quint32(0)) + bigEndian(quint32(1)) +
                                   bigEndian(quint32(1)) + bigEndian(quint32(1)) + bigEndian(quint32(8));
    const QByteArray samples = bigEndian(quint32(0)) + SampleRandom(seed).bytes(frames);
    return "caff" + QByteArray::fromHex("00010000") + "desc" + bigEndian(quint64(description.size())) +
           description + "data" + bigEndian(quint64(samples.size())) + samples;
}

// Made with an HEVC encoder from a gradient of two colours.
QByteArray sampleHeic()
{
    return QByteArray::fromHex(
        "0000001c6674797068656963000000006d696631686569636d6961660000013f6d657461000000000000002168646c72"
        "000000000000000070696374000000000000000000000000000000000e7069746d00000000000100000022696c6f6300"
        "0000004440000100010000000001630001000000000000002a0000002369696e6600000000000100000015696e666502"
        "000000000100006876633100000000bf69707270000000a16970636f0000007568766343010370000000000000000000"
        "1ef000fcfdf8f800000f03200001001840010c01ffff03700000030090000003000003001eba02402100010028420101"
        "03700000030090000003000003001ea020810596ea4929ae6c08000003000800000300084022000100074401c172b022"
        "400000001469737065000000000000004000000040000000107069786900000000030808080000001669706d61000000"
        "0000000001000103810283000000326d646174000000262801af1980f78957eb9398c932279b4ec5ee53dab58328a994"
        "09e9dca28238c62edefd0e9a9e");
}

SampleContent sampleMedia(const QString &fileName, quint64 seed)
{
    const QString suffix = fileName.sliced(fileName.lastIndexOf(u'.') + 1).toLower();
    if (suffix == "jpg"_L1 || suffix == "jpeg"_L1)
        return sampleBytes(sampleJpeg(40, seed));
    if (suffix == "png"_L1)
        return sampleBytes(samplePng(120, seed));
    if (suffix == "gif"_L1)
        return sampleBytes(sampleGif(80, seed));
    if (suffix == "heic"_L1)
        return sampleBytes(sampleHeic());
    if (suffix == "caf"_L1)
        return sampleBytes(sampleVoice(seed));
    return sampleNoise(1000 + qint64(seed % 9000), seed);
}
