#pragma once

#include "backup/keys/keybag.h"

#include <QHash>

class BackupManifest;

/// The keys of backups that were unlocked, so that a person gives each password once while a window is open.
/// They are kept in memory only, by the keybag that they opened, and wiped when this goes. For one thread.
class SessionKeys
{
public:
    SessionKeys() = default;
    SessionKeys(const SessionKeys &) = delete;
    SessionKeys &operator=(const SessionKeys &) = delete;
    ~SessionKeys();

    /// Takes copies of the keys of `unlocked`.
    void keep(const BackupManifest &unlocked);
    /// Gives `manifest`, whose `loadInfo` is behind it, the keys of its keybag; false when they aren't here.
    [[nodiscard]] bool unlock(BackupManifest &manifest) const;

private:
    QHash<QByteArray, QMap<int, KeyBagItems>> classes; ///< by the bytes of the keybag
};
