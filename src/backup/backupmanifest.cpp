#include "backupmanifest.h"

#include "backupfiles.h"
#include "backuprewrite.h"
#include "filetools.h"
#include "keybag.h"
#include "manifesttree.h"
#include "mbdbreader.h"
#include "plistguard.h"
#include "plistvalue.h"

#include <QFileInfo>

using namespace Qt::StringLiterals;

namespace
{

constexpr qsizetype longestNameShown = 1024;

PlistValue readPlist(const QString &path)
{
    if (!QFileInfo::exists(path))
        throw std::runtime_error(u"Cannot find %1"_s.arg(path).toStdString());
    QFile file(path);
    const PlistValue plist = PlistValue::parse(readWholeFile(file, largestPlist), true);
    if (!plist.isDictionary())
        qWarning("%ls is no property list; the backup is shown without its details", qUtf16Printable(path));
    return plist;
}

} // namespace

BackupManifest::BackupManifest(const QString &folder, QObject *parent) : QObject(parent), backupDir(folder)
{
}

BackupManifest::~BackupManifest()
{
    wipeKeys(keyBagClasses);
}

void BackupManifest::loadInfo()
{
    const PlistValue root = readPlist(backupDir.absoluteFilePath(u"Manifest.plist"_s));
    const PlistValue lockdown = root.value(u"Lockdown"_s);
    uniqueDeviceId = lockdown.value(u"UniqueDeviceID"_s).toString();
    deviceName = lockdown.value(u"DeviceName"_s).toString();
    backupDate = root.value(u"Date"_s).toDateTime();
    productType = lockdown.value(u"ProductType"_s).toString();
    productVersion = lockdown.value(u"ProductVersion"_s).toString();
    serialNumber = lockdown.value(u"SerialNumber"_s).toString();
    isEncrypted = root.value(u"IsEncrypted"_s).toBool();
    backupKeyBag = root.value(u"BackupKeyBag"_s).toByteArray();
    // A phone's name is short; a file may claim one that would fill the memory when it is put in.
    const QString phone = deviceName.left(longestNameShown);
    const QString folder = backupDir.dirName();
    displayName = folder.contains(uniqueDeviceId) ? QString(folder).replace(uniqueDeviceId, phone)
                                                  : phone + u'-' + folder;
}

void BackupManifest::loadIndex()
{
    if (!rootNode.children.isEmpty())
        return;
    const QString path = standingManifest(backupDir);
    manifestBytes = readMbdbBytes(path);
    buildManifestTree(*this, manifestBytes, path);
}

bool BackupManifest::unlockKeyBag(const QString &password)
{
    KeyBag keyBag = parseKeyBag(backupKeyBag);
    bool isUnlocked = false;
    try {
        isUnlocked = unlockClasses(keyBag, password);
    } catch (const std::exception &error) {
        const QString path = backupDir.absoluteFilePath(u"Manifest.plist"_s);
        throw std::runtime_error(path.toStdString() + ": " + error.what());
    }
    wipeKeys(keyBagClasses);
    keyBagAttributes = std::move(keyBag.attributes);
    keyBagClasses = std::move(keyBag.classes);
    return isUnlocked;
}

QString BackupManifest::cacheFolderName() const
{
    return md5Hex(backupDir.absolutePath());
}
