#include "app/freespace.h"

#include <QFileInfo>
#include <QLocale>
#include <QStorageInfo>

#include <algorithm>
#include <stdexcept>

using namespace Qt::StringLiterals;

QString sizeText(qint64 bytes)
{
    return QLocale::c().formattedDataSize(std::max<qint64>(bytes, 0), 1, QLocale::DataSizeSIFormat);
}

void checkFreeSpaceThrow(const QString &folder, qint64 bytes)
{
    QString existing = QFileInfo(folder).absoluteFilePath();
    while (!QFileInfo::exists(existing) && existing != QFileInfo(existing).path())
        existing = QFileInfo(existing).path();
    const QStorageInfo disk(existing);
    if (bytes > 0 && disk.isValid() && disk.bytesAvailable() < bytes)
        throw std::runtime_error(
            u"%1: the disk is too full: %2 are needed there and %3 are free. Make room and try again."_s
                .arg(folder, sizeText(bytes), sizeText(disk.bytesAvailable()))
                .toStdString());
}
