#pragma once

#include "backup/mbdbrecord.h"

#include <QByteArrayView>
#include <QCryptographicHash>

/// Makes the names of a backup's files, one after the other with one hash object.
class BackupFileName
{
public:
    QString of(QByteArrayView domain, QByteArrayView path);
    QString of(const _MbdbRecord &record);

private:
    QCryptographicHash sha1{QCryptographicHash::Sha1};
};
