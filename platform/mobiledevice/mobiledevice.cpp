#include "device/cftypes.h"
#include "device/devicenotification.h"
#include "phone.h"
#include "platform/corefoundation/corefoundation.h"

#include <usbmuxd.h>

#include <algorithm>
#include <deque>
#include <map>
#include <mutex>
#include <vector>

// The names of the maker's "iTunesMobileDevice" that the program looks up, over libimobiledevice. Codes are
// libimobiledevice's own; 0 is success.

#define EXPORTED extern "C" __attribute__((visibility("default")))

namespace
{

/// The phones that were ever seen. A handle stays good until the process ends, and a phone that comes back
/// has a new one: a job that still works with the old handle doesn't meet the new visit's calls.
class Phones
{
public:
    Phone *arrived(const std::string &udid)
    {
        const std::lock_guard lock(mutex);
        Phone *&phone = present[udid];
        if (!phone)
            phone = all.emplace_back(std::make_unique<Phone>(udid)).get();
        return phone;
    }

    /// Null when it wasn't there.
    Phone *gone(const std::string &udid)
    {
        const std::lock_guard lock(mutex);
        const auto found = present.find(udid);
        return found == present.end() ? nullptr : present.extract(found).mapped();
    }

    /// Null when it isn't.
    Phone *here(const std::string &udid)
    {
        const std::lock_guard lock(mutex);
        const auto found = present.find(udid);
        return found == present.end() ? nullptr : found->second;
    }

    bool isHere(const Phone *phone)
    {
        const std::lock_guard lock(mutex);
        return std::any_of(present.begin(), present.end(),
                           [phone](const auto &entry) { return entry.second == phone; });
    }

    /// The phone behind a handle. Whatever way the handle took, the lock orders this thread after the one
    /// that saw the phone arrive.
    Phone &of(void *handle)
    {
        const std::lock_guard lock(mutex);
        return *static_cast<Phone *>(handle);
    }

private:
    std::mutex mutex;
    std::map<std::string, Phone *> present;
    std::vector<std::unique_ptr<Phone>> all;
};

Phones &phones()
{
    static auto *all = new Phones; // never freed: threads of the library outlive static objects
    return *all;
}

struct Subscription {
    DeviceNotificationCallback callback;
    void *context;
};

void notify(const idevice_event_t *event, void *user)
{
    const auto *subscription = static_cast<const Subscription *>(user);
    if (event->conn_type != CONNECTION_USBMUXD)
        return;
    DeviceNotificationInfo info = {nullptr, deviceArrived, user};
    switch (event->event) {
    case IDEVICE_DEVICE_ADD: info.device = phones().arrived(event->udid); break;
    case IDEVICE_DEVICE_REMOVE:
        info.message = deviceRemoved;
        info.device = phones().gone(event->udid);
        break;
    case IDEVICE_DEVICE_PAIRED:
        info.message = devicePaired;
        info.device = phones().here(event->udid);
        break;
    }
    if (info.device)
        subscription->callback(&info, subscription->context);
}

/// UTF-8 of a string; empty for null.
std::string textOf(CFTypeRef string)
{
    if (!string)
        return {};
    const CFIndex length = CFStringGetLength(string);
    CFIndex size = 0;
    CFStringGetBytes(string, {0, length}, kCFStringEncodingUTF8, '?', false, nullptr, 0, &size);
    std::string text(size_t(size), '\0');
    CFStringGetBytes(string, {0, length}, kCFStringEncodingUTF8, '?', false,
                     reinterpret_cast<std::uint8_t *>(text.data()), size, nullptr);
    return text;
}

const char *orNull(const std::string &text)
{
    return text.empty() ? nullptr : text.c_str();
}

/// A new value of the same content, by way of the binary form that both libraries speak.
CFTypeRef valueOf(plist_t node)
{
    if (!node)
        return nullptr;
    char *bytes = nullptr;
    uint32_t length = 0;
    plist_to_bin(node, &bytes, &length);
    const CFTypeRef data = CFDataCreate(nullptr, reinterpret_cast<std::uint8_t *>(bytes), length);
    plist_to_bin_free(bytes);
    const CFTypeRef value = CFPropertyListCreateWithData(nullptr, data, 0, nullptr, nullptr);
    CFRelease(data);
    return value;
}

plist_t nodeOf(CFTypeRef value)
{
    const CFTypeRef data =
        CFPropertyListCreateData(nullptr, value, kCFPropertyListBinaryFormat_v1_0, 0, nullptr);
    if (!data)
        return nullptr;
    std::string bytes(size_t(CFDataGetLength(data)), '\0');
    CFDataGetBytes(data, {0, CFIndex(bytes.size())}, reinterpret_cast<std::uint8_t *>(bytes.data()));
    CFRelease(data);
    plist_t node = nullptr;
    plist_from_bin(bytes.data(), uint32_t(bytes.size()), &node);
    return node;
}

Phone &phone(void *device)
{
    return phones().of(device);
}

} // namespace

/// Whether there is a daemon to ask for phones. This name is our own.
EXPORTED int MarrowlightDaemonAnswers()
{
    usbmuxd_device_info_t *list = nullptr;
    const int count = usbmuxd_get_device_list(&list);
    if (list)
        usbmuxd_device_list_free(&list);
    return count >= 0;
}

/// Whether a phone that arrived hasn't gone yet. This name is our own too.
EXPORTED int MarrowlightPhoneIsHere(void *device)
{
    return phones().isHere(static_cast<Phone *>(device));
}

EXPORTED int AMDeviceNotificationSubscribe(DeviceNotificationCallback callback, unsigned, unsigned,
                                           void *context, void **handle)
{
    // Each stays for the rest of the process: a thread of the library may still be in an earlier one.
    static auto *const subscriptions = new std::deque<Subscription>;
    *handle = &subscriptions->emplace_back(Subscription{callback, context});
    return idevice_event_subscribe(notify, *handle);
}

EXPORTED int AMDeviceConnect(void *device)
{
    return phone(device).connect();
}

EXPORTED int AMDeviceIsPaired(void *device)
{
    return phone(device).isPaired();
}

EXPORTED int AMDevicePair(void *device)
{
    return phone(device).pair();
}

EXPORTED int AMDeviceValidatePairing(void *device)
{
    return phone(device).validatePairing();
}

EXPORTED int AMDeviceStartSession(void *device)
{
    return phone(device).startSession();
}

EXPORTED int AMDeviceStopSession(void *device)
{
    phone(device).stopSession();
    return 0;
}

EXPORTED int AMDeviceDisconnect(void *device)
{
    phone(device).disconnect();
    return 0;
}

EXPORTED int AMDeviceStartService(void *device, CFTypeRef name, int *socket, void *)
{
    const Phone::Service service = phone(device).startService(textOf(name).c_str());
    if (service.code != 0)
        return service.code;
    if (service.socket < 0)
        return IDEVICE_E_SSL_ERROR;
    *socket = service.socket;
    return 0;
}

EXPORTED CFTypeRef AMDeviceCopyValue(void *device, CFTypeRef domain, CFTypeRef key)
{
    plist_t node = phone(device).value(orNull(textOf(domain)), orNull(textOf(key)));
    const CFTypeRef value = valueOf(node);
    plist_free(node);
    return value;
}

EXPORTED int AMDeviceSetValue(void *device, CFTypeRef domain, CFTypeRef key, CFTypeRef value)
{
    return phone(device).setValue(orNull(textOf(domain)), orNull(textOf(key)), nodeOf(value));
}

EXPORTED CFTypeRef AMDeviceCopyDeviceIdentifier(void *device)
{
    const std::string &udid = phone(device).udid();
    return CFStringCreateWithBytes(nullptr, reinterpret_cast<const std::uint8_t *>(udid.data()),
                                   CFIndex(udid.size()), kCFStringEncodingUTF8, false);
}
