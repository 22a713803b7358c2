#pragma once

#include <QString>

/// One connected phone, as it tells about itself. A value: copy it freely.
struct IOSDevice {
    QString deviceName;
    QString uniqueDeviceID; ///< names the phone's folder among the caches
    QString mobileSubscriberCountryCode;
    QString productVersion; ///< such as "6.1.3"
    QString productType;    ///< such as "iPhone3,1"
    void *device = nullptr; ///< opaque handle, valid until the phone goes away; null for none
};
