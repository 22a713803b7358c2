#pragma once

#include "device/cftype.h"

#include <QString>

// A client of the backup service "com.apple.mobilebackup2": its opening and its requests. What the phone
// asks for while a backup runs (the transfer of files) is not part of it. All throw `std::runtime_error`.

/// Starts the service and opens its link. The socket is the caller's to close.
void mobiledevice_backup2_start(void *device, int *socket);

/// Offers protocol versions; returns the one that the phone chose.
double mobiledevice_backup2_version_exchange(int socket, const double *versions, signed char count);

/// Sends `dictionary` as the message `name`, which is put into it. Returns a copy of what went out.
CFType mobiledevice_backup2_send_message(int socket, const QString &name, CFType dictionary);

/// Sends a request about the backup of `target`. An empty `source` and null `options` are left out.
CFType mobiledevice_backup2_send_request(int socket, const QString &name, const QString &target,
                                         const QString &source, const CFType &options);

/// Receives the answer to a request, with its code in `errorCode` (0 for success). `whole`, unless null,
/// gets the whole message.
CFType mobiledevice_backup2_recv_response(int socket, int &errorCode, const CFType &lastSent, CFType *whole);

void mobiledevice_backup2_request_backup(int socket, const QString &target, bool forceFull);

void mobiledevice_backup2_set_cloud_backup(int socket, const QString &target, bool enabled);

/// Answers a request of the phone; empty text and a null dictionary go as their placeholder. Returns a
/// copy of what went out.
CFType mobiledevice_backup2_send_status_response(int socket, int status, const QString &text,
                                                 const CFType &dictionary);
