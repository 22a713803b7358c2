#include "tools/samplephone/samplemedia.h"

#include "testing/builders/samplerandom.h"

#include <QBuffer>
#include <QFile>
#include <QImage>

#include <cstring>
#include <stdexcept>

using namespace Qt::StringLiterals;

namespace
{

/// `size` by `size` squares of `square` pixels each. Not drawn with Qt's scaling, which leaves threads
/// behind that the leak sanitizer trips over.
QImage noise(int size, int square, quint64 seed)
{
    SampleRandom random(seed);
    QImage image(size * square, size * square, QImage::Format_Grayscale8);
    for (int row = 0; row < size; ++row) {
        const QByteArray greys = random.bytes(size);
        for (int line = row * square; line < (row + 1) * square; ++line)
            for (int column = 0; column < size; ++column)
                std::memset(image.scanLine(line) + column * square, greys.at(column), size_t(square));
    }
    return image;
}

QByteArray encoded(const QImage &image, const char *format)
{
    QBuffer buffer;
    if (!buffer.open(QIODevice::WriteOnly) || !image.save(&buffer, format))
        throw std::runtime_error(std::string("Qt can't write a picture as ") + format);
    return buffer.data();
}

QByteArray stored(const QString &name)
{
    QFile file(u":/samplephone/"_s + name);
    if (!file.open(QIODevice::ReadOnly))
        throw std::runtime_error(QString(file.fileName() % u": "_s % file.errorString()).toStdString());
    return file.readAll();
}

} // namespace

QByteArray sampleJpeg(int size, quint64 seed)
{
    constexpr int square = 8;
    return encoded(noise(size, square, seed), "jpeg");
}

QByteArray samplePng(int size, quint64 seed)
{
    return encoded(noise(size, 1, seed), "png");
}

QByteArray sampleGif()
{
    return stored(u"animation.gif"_s);
}

QByteArray sampleHeic()
{
    return stored(u"picture.heic"_s);
}

SampleContent sampleMedia(const QString &fileName, quint64 seed)
{
    const QString suffix = fileName.sliced(fileName.lastIndexOf(u'.') + 1).toLower();
    if (suffix == "jpg"_L1 || suffix == "thm"_L1)
        return sampleBytes(sampleJpeg(40, seed));
    if (suffix == "png"_L1)
        return sampleBytes(samplePng(120, seed));
    if (suffix == "gif"_L1)
        return sampleBytes(sampleGif());
    if (suffix == "heic"_L1)
        return sampleBytes(sampleHeic());
    if (suffix == "caf"_L1)
        return sampleBytes(stored(u"voice.caf"_s));
    return sampleNoise(1000 + qint64(seed % 9000), seed);
}
