#pragma once

#include <QString>

#include <optional>

struct IOSDevice;

/// Why a phone can't be backed up or written to as it is set.
struct BackupRefusal {
    QString text;              ///< what to do about it
    QString picture;           ///< resource that shows where
    bool mayBeIgnored = false; ///< the phone can be read all the same
};

/// Asks the phone for its backup settings. Encryption matters where messages are to be written. Nothing
/// when all is well, also when the phone has no settings. Throws `std::runtime_error` when it can't be
/// reached.
std::optional<BackupRefusal> backupRefusal(const IOSDevice &phone, bool checkCloudBackup,
                                           bool checkEncryption);
