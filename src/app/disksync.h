#pragma once

#include <QString>

/// Brings a file, or the names in a folder, onto the disk: what was written before survives a loss of
/// power. Throws `std::runtime_error` that names `path`: a disk may find out only now that it is full.
void syncToDisk(const QString &path);
