#include "backuptempdir.h"

#include "datalocations.h"

#include <QStorageInfo>

#include <unistd.h>

using namespace Qt::StringLiterals;

namespace
{

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

/// A disk, and none that only lives in memory or on another computer.
bool isFixed(const QStorageInfo &volume)
{
    return volume.isValid() && volume.isReady() && !volume.isReadOnly() &&
           volume.device().startsWith("/dev/");
}

} // namespace

QString roomiestVolume()
{
    QString best;
    qint64 mostFree = 0;
    for (const QStorageInfo &volume : QStorageInfo::mountedVolumes()) {
        const QString place = isFixed(volume) ? writablePlace(volume) : QString();
        if (!place.isEmpty() && volume.bytesAvailable() > mostFree) {
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
