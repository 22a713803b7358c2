#pragma once

#include <QDir>

#include <optional>

class QWidget;
struct IOSDevice;

// The steps that reading from a phone and writing to it share. All are modal over `window`.

/// False, after telling the person what to change, when the phone's own settings are in the way of a
/// backup. Encryption matters where messages are to be written. Throws `std::runtime_error` when the phone
/// can't be reached.
bool checkBackupOptions(const IOSDevice &phone, bool checkCloudBackup, bool checkEncryption);

/// Backs the phone up into the temporary folder, which a `PhoneBackupLock` of the caller's guards. The folder
/// of its backup, or nothing when that failed or was cancelled; the person knows.
std::optional<QDir> backUpPhone(IOSDevice phone, QWidget *window);

/// Puts the backup in `folder`, which `backUpPhone` made, back on the phone. False as above.
bool restorePhone(IOSDevice phone, const QDir &folder, QWidget *window);
