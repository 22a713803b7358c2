#pragma once

#include "device/notificationproxy.h"

#include <functional>

/// Tells while a phone asks its owner for the passcode, as those since iOS 16.1 do when a backup starts:
/// three minutes later they give up.
class PasscodeWatch
{
public:
    /// `tell` runs on a thread of its own: true when the phone asks, false when it no longer does. A phone
    /// that can't be watched is logged, and nothing is told.
    PasscodeWatch(void *device, const std::function<void(bool)> &tell);

private:
    mobiledevice_notification_thread thread;
};
