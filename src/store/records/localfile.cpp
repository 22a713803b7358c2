#include "store/records/localfile.h"

#include "app/filetools.h"

#include <QFile>
#include <QFileInfo>

using namespace Qt::StringLiterals;

bool LocalFile::isThere() const
{
    return !isEmpty() && QFileInfo(path()).isFile();
}

qint64 LocalFile::size() const
{
    if (hidden)
        return hidden->size();
    return place.isEmpty() ? 0 : QFileInfo(place).size();
}

QString LocalFile::readablePath(JobProgress *progress) const
{
    return hidden ? hidden->readableCopy(true, progress) : place;
}

// QFile asks the file system for a reflink (FICLONE) first, and renames what is whole.
void LocalFile::copyTo(const QString &target, JobProgress *progress) const
{
    if (hidden)
        return hidden->copyTo(target, progress);
    QFile file(place);
    if (!file.copy(target))
        throwFileError(target + u": %2"_s, file);
}
