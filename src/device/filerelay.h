#pragma once

#include "device/iosdevice.h"

#include <QStringList>

class JobProgress;

// Older phones send their databases in one go, over the service "com.apple.mobile.file_relay".

/// Throws `std::runtime_error`. The socket is the caller's to close.
void mobiledevice_file_relay_start(void *device, int *socket);

/// Asks for the files of these sources; a compressed archive then comes on `socket` until the phone closes
/// it. Throws `std::runtime_error` when the phone refuses.
void mobiledevice_file_relay_request(int socket, const QStringList &sources);

/// Brings the databases of `device` into "file-relay" below its cache folder. False when the phone stopped
/// before the end, which is no failure: what came is there. Throws `std::runtime_error`, or the integer -1
/// when cancelled; what came so far then stays, and the next run writes over it.
bool loadFileRelay(const IOSDevice &device, JobProgress &progress);

/// Takes a "cpio" or other archive apart below `folder`. An entry whose name would lead out of it is passed
/// over and logged. False when the archive ends early. Throws as above.
bool extractArchive(const QString &archivePath, const QDir &folder, JobProgress &progress);
