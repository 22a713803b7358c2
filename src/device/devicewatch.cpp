#include "device/devicewatch.h"

#include "device/devicenotification.h"
#include "device/mobiledevice.h"

#include <QObject>

#include <mutex>

namespace
{

std::mutex receivers; // over the receivers of all targets

/// Null for what nobody wants to know.
const char *slotFor(const DeviceWatchTarget &target, unsigned message)
{
    switch (message) {
    case deviceArrived: return target.connectedSlot;
    case deviceRemoved: return target.disconnectedSlot;
    case devicePaired: return target.pairedSlot;
    default: return nullptr;
    }
}

/// On a thread of the library: hands over and does nothing else.
void deviceChanged(DeviceNotificationInfo *info, void *context)
{
    const auto *target = static_cast<const DeviceWatchTarget *>(context);
    const std::lock_guard lock(receivers);
    const char *slot = slotFor(*target, info->message);
    if (target->receiver && slot)
        QMetaObject::invokeMethod(target->receiver, slot, Qt::QueuedConnection, Q_ARG(void *, info->device));
}

} // namespace

void mobiledevice_subscribe(DeviceWatchTarget *target)
{
    QString errorText;
    if (!mobiledevice_is_loaded() && !mobiledevice_load_frameworks(errorText))
        throw std::runtime_error(errorText.toStdString());
    static void *subscription = nullptr;
    const DeviceNotificationCallback callback = deviceChanged;
    void *const context = target;
    callResolved<int(DeviceNotificationCallback, unsigned, unsigned, void *, void **)>(
        mobiledevice_resolve, "AMDeviceNotificationSubscribe", callback, 0U, 0U, context, &subscription);
}

void mobiledevice_forget(DeviceWatchTarget *target)
{
    const std::lock_guard lock(receivers);
    target->receiver = nullptr;
}
