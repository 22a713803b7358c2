#pragma once

class QObject;

/// Where phones that come and go are told. Has to live as long as the process, also when the receiver goes.
struct DeviceWatchTarget {
    QObject *receiver;
    const char *connectedSlot;    ///< takes the handle as a void pointer
    const char *disconnectedSlot; ///< the same
    const char *pairedSlot; ///< the same, for a phone whose owner has just trusted this computer; may be null
};

/// From now on the slots are called, on the receiver's thread, for each phone that is there, comes or goes.
/// Loads the libraries when they aren't loaded; throws `std::runtime_error` when they can't be.
void mobiledevice_subscribe(DeviceWatchTarget *target);

/// No slot of this target is called any more once this returns: for a receiver that goes.
void mobiledevice_forget(DeviceWatchTarget *target);
