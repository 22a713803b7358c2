#include "store/pictures/picturereader.h"

#include "store/pictures/heifpicture.h"
#include "store/pictures/pictureformat.h"

#include <QImageReader>
#include <QMutex>

namespace
{

// A picture of 100 megapixels has to be seen. JPEG and PNG are scaled while they are read; the rest is bound
// by Qt's own limit of 128 MB a picture.
constexpr qint64 mostPixels = 140'000'000;
// Above this one is read at a time.
constexpr qint64 largePixels = 24'000'000;

qint64 pixelsOf(const QSize &size)
{
    return qint64(size.width()) * size.height();
}

QImage readWithQt(const QString &file, const QByteArray &format, const QSize &box)
{
    static QMutex oneLargeAtATime;
    QImageReader reader(file, format);
    reader.setAutoDetectImageFormat(false);
    reader.setAutoTransform(true);
    const QSize size = reader.size();
    if (size.isEmpty() || pixelsOf(size) > mostPixels)
        return {};
    const bool isTurned = reader.transformation() & QImageIOHandler::TransformationRotate90;
    const QSize most = isTurned ? box.transposed() : box;
    if (size.width() > most.width() || size.height() > most.height())
        reader.setScaledSize(size.scaled(most, Qt::KeepAspectRatio).expandedTo({1, 1}));
    QMutexLocker lock(pixelsOf(size) > largePixels ? &oneLargeAtATime : nullptr);
    return reader.read();
}

} // namespace

bool canReadPictures(const QByteArray &format)
{
    static const QList<QByteArray> readable = QImageReader::supportedImageFormats();
    return readable.contains(format) || (format == "heic" && canReadHeif());
}

QImage readPicture(const QString &file, const QSize &box)
{
    const QByteArray format = pictureFormat(file);
    if (format.isEmpty() || !canReadPictures(format))
        return {};
    if (format == "heic" && canReadHeif())
        return readHeif(file, box);
    return readWithQt(file, format, box);
}
