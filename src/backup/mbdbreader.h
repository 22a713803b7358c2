#pragma once

#include "backup/mbdbrecord.h"

#include <QHash>

#include <functional>

/// All bytes of a "Manifest.mbdb". Throws `std::runtime_error` that names the file when it can't be read
/// or is larger than any backup's.
QByteArray readMbdbBytes(const QString &path);

/// Hands each record of `content` to `visit`, in the order of the file. Its strings point into `content`,
/// which has to outlive them. The first six bytes are not looked at. Throws `std::runtime_error` with
/// `path` and position when the content is cut inside a record.
void forEachRecord(const QByteArray &content, const QString &path,
                   const std::function<void(_MbdbRecord &&)> &visit);

/// The records of a "Manifest.mbdb", each under its name in the backup folder; of two with the same
/// domain and path the later one stays. Throws as the two above do.
QHash<QString, _MbdbRecord> readMbdbFile(const QString &path);
