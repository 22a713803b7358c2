#include "device/backuptempdir.h"

#include "app/datalocations.h"

#include <QStorageInfo>
#include <QTemporaryDir>

#include <cerrno>

#include <sys/stat.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace
{

/// Whether a folder there can be kept from others: some file systems know no owners.
bool keepsFoldersPrivate(const QString &place)
{
    const QTemporaryDir probe(place + u"/.marrowlight-XXXXXX"_s); // for its owner alone, if that can be
    struct stat status = {};
    return probe.isValid() && ::stat(QFile::encodeName(probe.path()).constData(), &status) == 0 &&
           (status.st_mode & (S_IRWXG | S_IRWXO)) == 0;
}

/// A place on the volume where an ordinary user may write: the data root where it lies on that volume, else
/// the root of the volume itself. Empty when there is none.
QString writablePlace(const QStorageInfo &volume)
{
    const QString ownPlace = dataRoot().absolutePath();
    if (QStorageInfo(ownPlace).rootPath() == volume.rootPath())
        return ownPlace;
    return ::access(QFile::encodeName(volume.rootPath()).constData(), W_OK) == 0 ? volume.rootPath()
                                                                                 : QString();
}

/// Whether the system says that a disk, or the one that it is a part of, can be taken out.
bool isRemovable(const QByteArray &device)
{
    const QString name = QFileInfo(QFileInfo(QFile::decodeName(device)).canonicalFilePath()).fileName();
    const QString disk = QFileInfo(u"/sys/class/block/"_s + name).canonicalFilePath();
    for (const char *place : {"/removable", "/../removable"}) {
        QFile flag(disk + QLatin1StringView(place));
        if (flag.open(QIODevice::ReadOnly))
            return flag.read(1) == "1";
    }
    return false;
}

/// A disk, and none that only lives in memory or on another computer, nor a single file that is laid over
/// another one.
bool isFixed(const QStorageInfo &volume)
{
    return volume.isValid() && volume.isReady() && !volume.isReadOnly() &&
           volume.device().startsWith("/dev/") && QFileInfo(volume.rootPath()).isDir() &&
           !isRemovable(volume.device());
}

} // namespace

void makePrivateFolder(const QString &folder)
{
    const QByteArray path = QFile::encodeName(folder);
    if (::mkdir(path.constData(), S_IRWXU) == 0)
        return;
    if (errno != EEXIST)
        throw std::runtime_error(path.toStdString() + ": " + qt_error_string(errno).toStdString());
    struct stat status = {};
    if (::lstat(path.constData(), &status) != 0 || !S_ISDIR(status.st_mode) || status.st_uid != ::geteuid())
        throw std::runtime_error(path.toStdString() +
                                 ": this is no folder of yours, so no phone is backed up into it. "
                                 "Remove it and try again.");
    if ((status.st_mode & (S_IRWXG | S_IRWXO)) != 0 && ::chmod(path.constData(), S_IRWXU) != 0)
        qWarning("%s stays open to others: %ls", path.constData(), qUtf16Printable(qt_error_string(errno)));
}

QString freestVolume()
{
    QString best;
    qint64 mostFree = 0;
    for (const QStorageInfo &volume : QStorageInfo::mountedVolumes()) {
        const QString place = isFixed(volume) ? writablePlace(volume) : QString();
        if (!place.isEmpty() && volume.bytesAvailable() > mostFree && keepsFoldersPrivate(place)) {
            best = place;
            mostFree = volume.bytesAvailable();
        }
    }
    return best.isEmpty() ? dataRoot().absolutePath() : best;
}

QString rememberedVolume(const QString &text)
{
    return text.startsWith(u'/') ? text : QString();
}
