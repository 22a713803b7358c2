#pragma once

#include "device/cftype.h"

#include <QList>
#include <QString>

// A client of the sync service "com.apple.mobilesync": whole data classes, such as contacts, record by
// record. All throw `std::runtime_error`.

/// Where both sides stood after the last sync of a data class.
struct MobileSyncAnchors {
    QString dataClass;
    QString deviceAnchor;
    QString computerAnchor;
};

/// Switches the sync of a data class over the cable off or on. Returns the code of the phone, 0 for success.
int mobiledevice_sync_set_tethered(void *device, const QString &dataClass, bool disable);

/// Starts the service and a sync. With `ping` the phone hears that changes are being prepared. The socket is
/// the caller's to close.
void mobiledevice_sync_start(void *device, const MobileSyncAnchors &anchors, int *socket, bool ping);

/// A dictionary of records for each message in which the phone sends them.
QList<CFType> mobiledevice_sync_get_all_records(int socket, const QString &dataClass);

/// Sends changes. Returns which identifiers the phone gave to new records.
CFType mobiledevice_sync_process_changes(int socket, const QString &dataClass, const CFType &entities,
                                         const CFType &actions);

void mobiledevice_sync_clear_all_records(int socket, const QString &dataClass);

/// Ends the sync; the phone may take an hour.
void mobiledevice_sync_finish(int socket, const QString &dataClass);
