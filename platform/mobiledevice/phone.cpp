#include "phone.h"

#include "plistguard.h"
#include "servicepump.h"

#include <usbmuxd.h>

#include <cstdlib>
#include <utility>

namespace
{

constexpr const char *clientLabel = "marrowlight";

struct Free {
    void operator()(void *memory) const noexcept { std::free(memory); }
};
using OwnedText = std::unique_ptr<char, Free>;

struct PlistFree {
    void operator()(void *node) const noexcept { plist_free(node); }
};
using PlistNode = std::unique_ptr<void, PlistFree>;

struct ServiceFree {
    void operator()(lockdownd_service_descriptor_t service) const noexcept
    {
        lockdownd_service_descriptor_free(service);
    }
};
using ServiceDescriptor = std::unique_ptr<lockdownd_service_descriptor, ServiceFree>;

PlistNode pairRecord(const std::string &udid)
{
    char *raw = nullptr;
    uint32_t size = 0;
    if (usbmuxd_read_pair_record(udid.c_str(), &raw, &size) != 0)
        return nullptr;
    const OwnedText bytes(raw);
    plist_t record = nullptr;
    if (size > largestPlist)
        return nullptr;
    plist_from_memory(raw, size, &record);
    return PlistNode(record);
}

} // namespace

Phone::Phone(std::string udid) : identifier(std::move(udid))
{
}

Phone::~Phone()
{
    disconnect();
}

int Phone::connect()
{
    disconnect();
    if (const int code = idevice_new_with_options(&device, identifier.c_str(), IDEVICE_LOOKUP_USBMUX))
        return code;
    const int code = lockdownd_client_new(device, &client, clientLabel);
    if (code != 0)
        disconnect();
    return code;
}

void Phone::disconnect()
{
    stopSession();
    if (client)
        lockdownd_client_free(std::exchange(client, nullptr));
    if (device)
        idevice_free(std::exchange(device, nullptr));
}

std::string Phone::hostId() const
{
    const PlistNode record = pairRecord(identifier);
    plist_t node = record ? plist_dict_get_item(record.get(), "HostID") : nullptr;
    if (!node || plist_get_node_type(node) != PLIST_STRING)
        return {};
    return plist_get_string_ptr(node, nullptr);
}

bool Phone::isPaired() const
{
    return !hostId().empty();
}

int Phone::pair()
{
    return client ? lockdownd_pair(client, nullptr) : LOCKDOWN_E_INVALID_ARG;
}

// Phones since iOS 7 have no request of their own for this: a session that opens is the proof.
int Phone::validatePairing()
{
    const int code = startSession();
    stopSession();
    return code;
}

int Phone::startSession()
{
    if (!client)
        return LOCKDOWN_E_INVALID_ARG;
    char *raw = nullptr;
    int isEnciphered = 0;
    const int code = lockdownd_start_session(client, hostId().c_str(), &raw, &isEnciphered);
    const OwnedText opened(raw);
    if (code == 0 && opened)
        session = opened.get();
    return code;
}

void Phone::stopSession()
{
    if (client && !session.empty())
        lockdownd_stop_session(client, session.c_str());
    session.clear();
}

Phone::Service Phone::startService(const char *name)
{
    if (!client)
        return {LOCKDOWN_E_INVALID_ARG, -1};
    lockdownd_service_descriptor_t raw = nullptr;
    if (const int code = lockdownd_start_service(client, name, &raw))
        return {code, -1};
    const ServiceDescriptor service(raw);
    idevice_connection_t connection = nullptr;
    if (const int code = idevice_connect(device, service->port, &connection))
        return {code, -1};
    return {0, serviceSocket(connection, service->ssl_enabled != 0)};
}

plist_t Phone::value(const char *domain, const char *key)
{
    plist_t node = nullptr;
    if (!client || lockdownd_get_value(client, domain, key, &node) != 0)
        return nullptr;
    return node;
}

int Phone::setValue(const char *domain, const char *key, plist_t node)
{
    PlistNode owned(node);
    if (!client)
        return LOCKDOWN_E_INVALID_ARG;
    return lockdownd_set_value(client, domain, key, owned.release());
}
