#include "backup/decipheredfiles.h"

#include "app/filetools.h"
#include "backup/backupfiles.h"

#include <QDateTime>
#include <QDirIterator>
#include <QFileInfo>
#include <QTemporaryFile>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace
{

/// The access time tells the order: thumbnails know a file by the other one.
void touch(const QString &path)
{
    QFile file(path);
    if (file.open(QIODevice::ReadWrite | QIODevice::ExistingOnly))
        file.setFileTime(QDateTime::currentDateTimeUtc(), QFileDevice::FileAccessTime);
}

QFileInfoList filesBelow(const QDir &folder)
{
    QFileInfoList files;
    QDirIterator it(folder.absolutePath(), QDir::Files | QDir::Hidden, QDirIterator::Subdirectories);
    while (it.hasNext()) {
        it.next();
        files.append(it.fileInfo());
    }
    return files;
}

} // namespace

DecipheredFiles::DecipheredFiles(const QDir &keptIn, qint64 mostBytes) : folder(keptIn), most(mostBytes)
{
}

QString DecipheredFiles::find(const QString &id, const QString &name) const
{
    const QString path = folder.absoluteFilePath(id + u'/' + name);
    if (!QFileInfo(path).isFile())
        return {};
    touch(path);
    return path;
}

QString DecipheredFiles::add(const QString &id, const QString &name,
                             const std::function<void(const QString &path)> &make)
{
    const QString path = folder.absoluteFilePath(id + u'/' + name);
    if (!folder.mkpath(id))
        throw std::runtime_error(u"%1: the folder can't be made"_s.arg(folder.filePath(id)).toStdString());
    markAsCache(folder);
    QTemporaryFile half(folder.absoluteFilePath(u"half-XXXXXX"_s));
    if (!half.open())
        throwFileError(half);
    half.close();
    make(half.fileName());
    touch(half.fileName());
    QFile::remove(path); // another program's, or of another thread's: the same content
    if (!half.rename(path))
        throwFileError(half);
    half.setAutoRemove(false);
    count(path);
    return path;
}

void DecipheredFiles::count(const QString &added)
{
    const std::scoped_lock lock(mutex);
    if (bytes)
        *bytes += QFileInfo(added).size();
    if (!bytes || *bytes > most)
        removeOldest(added);
}

void DecipheredFiles::removeOldest(const QString &kept)
{
    QFileInfoList files = filesBelow(folder);
    std::sort(files.begin(), files.end(), [](const QFileInfo &left, const QFileInfo &right) {
        return left.lastRead() > right.lastRead();
    });
    bytes = QFileInfo(kept).size();
    for (const QFileInfo &file : std::as_const(files)) { // the last used first
        if (file.absoluteFilePath() == kept || file.fileName() == "CACHEDIR.TAG"_L1)
            continue;
        if (*bytes + file.size() <= most) {
            *bytes += file.size();
        } else if (QFile::remove(file.absoluteFilePath()) && file.dir() != folder) {
            folder.rmdir(file.dir().dirName());
        }
    }
}
