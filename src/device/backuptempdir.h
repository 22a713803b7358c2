#pragma once

#include <QDir>
#include <QLockFile>

#include <optional>

struct IOSDevice;

/// The folder in which phones are backed up before they are read or written: one folder a phone below it.
/// The volume with the most room is chosen once and remembered until the cache is cleared. The folder
/// itself isn't made.
QDir iosBackupTempDir();

/// The same when it was chosen already; nothing is asked of any disk.
std::optional<QDir> chosenBackupTempDir();

/// The folder of a phone's backup below it, which need not be there. Throws `std::runtime_error` when the
/// phone's identifier names no folder.
QDir backupFolderOf(const IOSDevice &phone);

/// Makes that folder, for this user's eyes only: whole phones lie in it. Throws `std::runtime_error` when it
/// can't be made, or when somebody else may have put it there.
void makeIosBackupTempDir();

/// Keeps other flows away from the backup of a phone in that folder: one that began before the phone was
/// pulled may still write into it.
class PhoneBackupLock
{
public:
    /// Makes the folder and takes the lock. Throws `std::runtime_error` when another flow or program has
    /// this phone's backup.
    explicit PhoneBackupLock(const IOSDevice &phone);

    /// Lets go while a person is asked or told something: the phone may be pulled and come back meanwhile.
    void release() { lock.unlock(); }
    /// Takes it again. Throws as above.
    void take();

private:
    QLockFile lock;
};

/// Removes that folder and forgets the choice. An empty or missing one is no failure.
void clearIosBackupTemp();

/// Makes `folder`, whose parent is there, readable and writable for this user alone. Throws as above.
void makePrivateFolder(const QString &folder);

/// Root of the volume to choose where no choice is remembered: fixed, writable, with the most free bytes.
QString freestVolume();

/// Whether a remembered choice still says which volume it means; that volume's root, else empty.
QString rememberedVolume(const QString &text);
