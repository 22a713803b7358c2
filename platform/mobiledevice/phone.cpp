#include "phone.h"

#include "app/plistguard.h"
#include "servicepump.h"

#include <usbmuxd.h>

#include <cstdlib>
#include <utility>

#include <fcntl.h>

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
struct Disconnect {
    void operator()(idevice_connection_t connection) const noexcept { idevice_disconnect(connection); }
};
using Connection = std::unique_ptr<idevice_connection_private, Disconnect>;
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

/// A text or the bytes of a pairing record; empty when it isn't there.
std::string recordField(const PlistNode &record, const char *name)
{
    plist_t node = record ? plist_dict_get_item(record.get(), name) : nullptr;
    if (node && plist_get_node_type(node) == PLIST_STRING)
        return plist_get_string_ptr(node, nullptr);
    if (!node || plist_get_node_type(node) != PLIST_DATA)
        return {};
    uint64_t length = 0;
    const char *bytes = plist_get_data_ptr(node, &length);
    return {bytes, size_t(length)};
}

/// A descriptor of our own, which waits as plain sockets do: the connection's doesn't, and is all that the
/// connection closes.
int descriptorOf(const Connection &connection)
{
    int descriptor = -1;
    idevice_connection_get_fd(connection.get(), &descriptor);
    const int own = ::fcntl(descriptor, F_DUPFD_CLOEXEC, 0);
    ::fcntl(own, F_SETFL, ::fcntl(own, F_GETFL) & ~O_NONBLOCK);
    return own;
}

int encipheredSocket(int descriptor, const std::string &udid, bool isOldPhone)
{
    const PlistNode record = pairRecord(udid);
    std::unique_ptr<ServiceTls> phone = ServiceTls::open(
        descriptor, {recordField(record, "RootCertificate"), recordField(record, "RootPrivateKey"),
                     recordField(record, "DeviceCertificate"), isOldPhone});
    return phone ? pumpedSocket(std::move(phone)) : -1;
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
    return recordField(pairRecord(identifier), "HostID");
}

bool Phone::isPaired() const
{
    return !hostId().empty();
}

int Phone::pair()
{
    return client ? lockdownd_pair(client, nullptr) : LOCKDOWN_E_INVALID_ARG;
}

// The handshake also asks for the system version, without which the library keeps to the oldest cipher rules,
// and has old phones confirm the pairing. Newer ones have no request for that: a session that opens is the
// proof. A phone that was wiped, or whose owner took the trust back, doesn't know this computer any more and
// is asked again.
int Phone::validatePairing()
{
    int code = handshake();
    if (code == LOCKDOWN_E_INVALID_HOST_ID) {
        code = pair();
        if (code == 0)
            code = handshake();
    }
    return code;
}

int Phone::handshake()
{
    if (!device)
        return LOCKDOWN_E_INVALID_ARG;
    lockdownd_client_t opened = nullptr;
    const int code = lockdownd_client_new_with_handshake(device, &opened, clientLabel);
    if (opened)
        lockdownd_client_free(opened);
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
    idevice_connection_t connected = nullptr;
    if (const int code = idevice_connect(device, service->port, &connected))
        return {code, -1};
    const Connection connection(connected);
    const int socket = descriptorOf(connection);
    return {0, service->ssl_enabled ? encipheredSocket(socket, identifier, isOld()) : socket};
}

/// Before iOS 10. One that doesn't say is taken for a newer one.
bool Phone::isOld()
{
    constexpr int firstNewer = 10;
    const PlistNode version(value(nullptr, "ProductVersion"));
    const bool isTold = version && plist_get_node_type(version.get()) == PLIST_STRING;
    const int major = isTold ? std::atoi(plist_get_string_ptr(version.get(), nullptr)) : 0;
    return major > 0 && major < firstNewer;
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
