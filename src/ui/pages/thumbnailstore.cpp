#include "ui/pages/thumbnailstore.h"

#include "app/datalocations.h"
#include "app/filetools.h"
#include "store/pictures/picturereader.h"

#include <QDateTime>
#include <QFileInfo>
#include <QImageReader>
#include <QSaveFile>

using namespace Qt::StringLiterals;

namespace
{

QString keyOf(const QFileInfo &file)
{
    return md5Hex(u"%1 %2 %3"_s.arg(file.absoluteFilePath())
                      .arg(file.size())
                      .arg(file.lastModified().toMSecsSinceEpoch()));
}

/// One that can't be kept is made again next time.
void keep(const QImage &image, const QString &path)
{
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly) ||
        !image.save(&file, image.hasAlphaChannel() ? "PNG" : "JPEG", 85) || !file.commit())
        qWarning("A small picture can't be kept: %ls: %ls", qUtf16Printable(path),
                 qUtf16Printable(file.errorString()));
}

} // namespace

ThumbnailStore::ThumbnailStore() : folder(dataRoot().filePath(u"itunes_cache/thumbnails"_s))
{
}

QImage ThumbnailStore::thumbnail(const QString &file) const
{
    const QString path = folder.filePath(keyOf(QFileInfo(file)));
    if (QFile::exists(path))
        if (const QImage known = readPicture(path, box); !known.isNull())
            return known;
    const QImage made = readPicture(file, box);
    if (!made.isNull() && folder.mkpath(u"."_s)) {
        markAsCache(folder);
        keep(made, path);
    }
    return made;
}

void ThumbnailStore::prune(qint64 mostBytes) const
{
    qint64 bytes = 0;
    for (const QFileInfo &file : folder.entryInfoList(QDir::Files, QDir::Time)) { // newest first
        bytes += file.size();
        if (bytes > mostBytes)
            QFile::remove(file.absoluteFilePath());
    }
}
