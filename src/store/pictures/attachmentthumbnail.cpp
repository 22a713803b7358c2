#include "store/pictures/attachmentthumbnail.h"

#include "app/filetools.h"
#include "store/records/messagerecords.h"

#include <QDir>
#include <QFile>
#include <QImage>

using namespace Qt::StringLiterals;

namespace
{

constexpr int longerSide = 120; // pixels

QImage scaled(const QImage &image)
{
    return image.width() >= image.height() ? image.scaledToWidth(longerSide)
                                           : image.scaledToHeight(longerSide);
}

} // namespace

QString attachmentThumbnail(const _MsgAttachment &attachment)
{
    const QString path = QDir::temp().filePath(md5Hex(attachment.localFile.path()) + u".thumb"_s);
    if (QFile::exists(path))
        return path;
    const QImage image(attachment.localFile.readablePath());
    if (!image.isNull())
        scaled(image).save(path, "PNG");
    return path;
}
