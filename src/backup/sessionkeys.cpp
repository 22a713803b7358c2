#include "backup/sessionkeys.h"

#include "backup/backupmanifest.h"

SessionKeys::~SessionKeys()
{
    for (QMap<int, KeyBagItems> &keys : classes)
        wipeKeys(keys);
}

void SessionKeys::keep(const BackupManifest &unlocked)
{
    QMap<int, KeyBagItems> &keys = classes[unlocked.backupKeyBag];
    wipeKeys(keys);
    keys = copyWithKeys(unlocked.keyBagClasses);
}

bool SessionKeys::unlock(BackupManifest &manifest) const
{
    const auto keys = classes.constFind(manifest.backupKeyBag);
    if (keys == classes.cend())
        return false;
    wipeKeys(manifest.keyBagClasses);
    manifest.keyBagAttributes = parseKeyBag(manifest.backupKeyBag).attributes;
    manifest.keyBagClasses = copyWithKeys(*keys);
    return true;
}
