#pragma once

#include "device/iosdevice.h"

#include <optional>

class PhoneBackupLock;
class QWidget;

// The steps that reading from a phone and writing to it share. All are modal over `window`.

/// Who the phone behind `handle` is; waits until its owner trusts this computer. Nothing when the person gave
/// up. Throws `std::runtime_error` when the owner refused or the phone can't be reached.
std::optional<IOSDevice> askPhone(void *handle, QWidget *window);

/// False, after telling the person what to change, when the phone's own settings are in the way of a backup,
/// when the disk lacks space for it, or when the person gave up. Encryption matters where messages are to be
/// written. Throws `std::runtime_error` when the phone can't be reached.
bool checkBackupOptions(const IOSDevice &phone, bool checkCloudBackup, bool checkEncryption, QWidget *window);

/// Backs the phone up into the temporary folder, which `lock` guards; it is released before a failure is
/// told. The folder of the backup, or nothing when that failed or was cancelled; the person knows.
std::optional<QDir> backUpPhone(IOSDevice phone, PhoneBackupLock &lock, QWidget *window);

/// Puts the backup in `folder`, which `backUpPhone` made, back on the phone. False as above.
bool restorePhone(IOSDevice phone, const QDir &folder, PhoneBackupLock &lock, QWidget *window);
