#pragma once

#include "device/cftype.h"

#include <QList>
#include <QStringList>

// Operations on the phone behind an opaque handle. Each opens a session, does its work and closes it. All
// block, for ten seconds and more where the phone doesn't answer, and wait for each other where they go to
// one phone; any thread. They throw `std::runtime_error` with a text for people when the
// session doesn't open.

/// Whether the phone trusts this computer. False while its owner is asked, or when it is locked and can't
/// ask: try again. Throws as above also when the owner refused.
bool mobiledevice_is_trusted(void *device);

/// Starts a service on the phone. Returns its socket in `socket`, which stays good after the session and is
/// the caller's to close (`mobiledevice_close_socket`). Throws `std::runtime_error` when the phone refuses.
void mobiledevice_start_service(void *device, const char *serviceName, int *socket);

/// The values of `keys`, a null one where the phone has none. An empty domain is that of the phone itself;
/// an empty key is the whole domain as one dictionary.
QList<CFType> mobiledevice_copy_values(void *device, const QStringList &keys, const QString &domain);

/// The code of the phone's answer, 0 for success.
int mobiledevice_set_value(void *device, const QString &domain, const QString &key, const CFType &value);

QString mobiledevice_copy_identifier(void *device);
