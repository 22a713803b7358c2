#include "sources/phones.h"

#include "app/datalocations.h"
#include "device/iosdevice.h"
#include "recovery/merge/backupmerge.h"
#include "store/readers/ios6messagedb.h"
#include "store/readers/openmessagedb.h"

#include <QFileInfo>
#include <QObject>

using namespace Qt::StringLiterals;

namespace
{

// Phones of later systems list their backups in a form that this program doesn't write.
constexpr int newestWritable = 9;

} // namespace

QList<IOSDevice> virtualPhones()
{
    QList<IOSDevice> phones;
    const QDir parent(dataRoot().filePath(u"virtual_ios"_s));
    for (const QFileInfo &folder : parent.entryInfoList(QDir::Dirs | QDir::NoDotAndDotDot, QDir::Name)) {
        IOSDevice phone;
        phone.deviceName = folder.fileName();
        phone.uniqueDeviceID = folder.absoluteFilePath();
        phones.append(phone);
    }
    return phones;
}

std::unique_ptr<AbsIOSMessageDb> openVirtualPhone(const IOSDevice &phone)
{
    return std::make_unique<IOS6MessageDb>(rootOf(phone), QString(), true);
}

QDir rootOf(const IOSDevice &phone)
{
    return phone.device ? phone.cacheDir() : QDir(phone.uniqueDeviceID);
}

bool hasFileRelay(const IOSDevice &phone)
{
    const QList<int> version = phone.versionNumbers();
    return version.isEmpty() || (version.first() >= 5 && version.first() <= 7);
}

QString transferError(const IOSDevice &phone)
{
    const QString generationError = writeError(messageDbPath(rootOf(phone)));
    if (!generationError.isEmpty())
        return generationError;
    if (!phone.device)
        return QObject::tr("IDS_TRANSFER_NOT_TO_FOLDER");
    const QList<int> version = phone.versionNumbers();
    if (!version.isEmpty() && version.first() > newestWritable)
        return QObject::tr("IDS_TRANSFER_PHONE_IS_TOO_NEW");
    return {};
}
