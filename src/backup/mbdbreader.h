#pragma once

#include "mbdbrecord.h"

#include <QHash>

/// The records of a "Manifest.mbdb", each under its name in the backup folder; of two with the same
/// domain and path the later one stays. The file's first six bytes are not looked at. Throws
/// `std::runtime_error` with file and position when it can't be read, is cut inside a record or is
/// larger than any backup's.
QHash<QString, _MbdbRecord> readMbdbFile(const QString &path);
