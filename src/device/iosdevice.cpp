#include "device/iosdevice.h"

#include "app/datalocations.h"
#include "app/filetools.h"
#include "device/devicesession.h"

#include <QRegularExpression>

using namespace Qt::StringLiterals;

QDir IOSDevice::cacheDir() const
{
    const QDir caches(dataRoot().absoluteFilePath(u"ios_cache"_s));
    const std::optional<QString> folder = pathBelow(caches, uniqueDeviceID);
    if (!folder || uniqueDeviceID.isEmpty())
        throw std::runtime_error("The phone gives an identifier that names no folder: \"" +
                                 uniqueDeviceID.toStdString() + "\".");
    QDir().mkpath(*folder);
    return QDir(*folder);
}

QList<int> IOSDevice::versionNumbers() const
{
    static const QRegularExpression number(u"\\.?(\\d+)"_s);
    QList<int> numbers;
    for (const QRegularExpressionMatch &match : number.globalMatch(productVersion))
        numbers.append(match.captured(1).toInt());
    return numbers;
}

IOSDevice readDevice(void *handle)
{
    const QList<CFType> values =
        mobiledevice_copy_values(handle,
                                 {u"UniqueDeviceID"_s, u"DeviceName"_s, u"MobileSubscriberCountryCode"_s,
                                  u"ProductVersion"_s, u"ProductType"_s},
                                 QString());
    IOSDevice phone;
    phone.uniqueDeviceID = values.at(0).toQString();
    phone.deviceName = values.at(1).toQString();
    phone.mobileSubscriberCountryCode = values.at(2).toQString();
    phone.productVersion = values.at(3).toQString();
    phone.productType = values.at(4).toQString();
    phone.device = handle;
    return phone;
}

qint64 usedBytes(void *handle)
{
    const QList<CFType> values = mobiledevice_copy_values(handle, {QString()}, u"com.apple.disk_usage"_s);
    if (values.isEmpty())
        return 0;
    const qint64 total = values.first().dictionaryValue(u"TotalDataCapacity"_s).toLongLong(0);
    const qint64 available = values.first().dictionaryValue(u"AmountDataAvailable"_s).toLongLong(0);
    return qint64(quint64(total) - quint64(available)); // can't overflow
}
