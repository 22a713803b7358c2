#pragma once

#include <QDir>
#include <QList>
#include <QString>

/// One connected phone, as it tells about itself. A value: copy it freely.
struct IOSDevice {
    virtual ~IOSDevice() = default;

    QString deviceName;
    QString uniqueDeviceID; ///< names the phone's folder among the caches
    QString mobileSubscriberCountryCode;
    QString productVersion; ///< such as "6.1.3"
    QString productType;    ///< such as "iPhone3,1"
    void *device = nullptr; ///< opaque handle, valid until the phone goes away; null for none

    /// Where copies of the phone's files lie; made when it is missing. Throws `std::runtime_error` when the
    /// identifier is no name of a folder.
    QDir cacheDir() const;

    /// The numbers of `productVersion`: 6, 1 and 3 of "6.1.3".
    QList<int> versionNumbers() const;
};

/// How many bytes the phone has in use; 0 when it doesn't say. Throws `std::runtime_error` when it can't be
/// reached.
qint64 usedBytes(void *handle);

/// Asks the phone behind `handle` who it is. Throws `std::runtime_error` when it can't be reached.
IOSDevice readDevice(void *handle);
