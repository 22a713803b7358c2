#include "device/backupoptions.h"

#include "device/devicesession.h"
#include "device/iosdevice.h"

using namespace Qt::StringLiterals;

namespace
{

/// Since iOS 10 a phone lets a computer back it up whether or not iCloud does too.
bool backsUpBesideCloud(const IOSDevice &phone)
{
    constexpr int firstThatDoes = 10;
    return phone.versionNumbers().value(0) >= firstThatDoes;
}

} // namespace

std::optional<BackupRefusal> backupRefusal(const IOSDevice &phone, bool checkCloudBackup,
                                           bool checkEncryption)
{
    const QList<CFType> values =
        mobiledevice_copy_values(phone.device, {QString()}, u"com.apple.mobile.backup"_s);
    if (values.isEmpty())
        return std::nullopt;
    const CFType &settings = values.first();
    if (checkCloudBackup && settings.dictionaryValue(u"CloudBackupEnabled"_s).toBool(false))
        return BackupRefusal{u"Failed to transfer data to device. Please turn off iCloud backup on your "
                             "iPhone to try again."_s,
                             u":res/close_icloudbk.jpg"_s, !checkEncryption && backsUpBesideCloud(phone)};
    if (checkEncryption && settings.dictionaryValue(u"WillEncrypt"_s).toBool(false))
        return BackupRefusal{
            u"Failed to transfer data to device. Your iTunes backup is encrypted. Please run "
            "iTunes on computer and then uncheck \"Encrypt iPhone backup\" option to try "
            "again."_s,
            u":res/close_itunesbkenc.jpg"_s};
    return std::nullopt;
}
