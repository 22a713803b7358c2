#pragma once

#include "device/iosdevice.h"

class MainWindow;

/// Says in a bar of `window` that the backup of a phone that was read, `bytes` large, stays in `folder`, and
/// lets the person remove it at once. One bar at a time: a later one takes the place of an earlier.
void tellOfLeftBackup(MainWindow &window, const IOSDevice &phone, const QDir &folder, qint64 bytes);
