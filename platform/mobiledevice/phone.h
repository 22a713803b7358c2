#pragma once

#include <libimobiledevice/libimobiledevice.h>
#include <libimobiledevice/lockdown.h>

#include <memory>
#include <string>

/// One phone behind a handle. A session lives between `connect` and `disconnect`; calls come from one
/// thread at a time. Results are 0, or an error code of libimobiledevice (negative).
class Phone
{
public:
    explicit Phone(std::string udid);
    ~Phone();

    const std::string &udid() const { return identifier; }

    int connect();
    void disconnect();
    /// Whether this computer holds a pairing record of the phone.
    bool isPaired() const;
    int pair();
    /// 0 when the phone accepts the pairing record.
    int validatePairing();
    int startSession();
    void stopSession();

    /// A connected socket for the service, which the caller closes and which outlives the session; -1 with
    /// the reason in `code` when there is none.
    struct Service {
        int code;
        int socket;
    };
    Service startService(const char *name);

    /// A node that the caller frees; null when the phone has no such value. Null names are "all".
    plist_t value(const char *domain, const char *key);
    /// Takes `node` over.
    int setValue(const char *domain, const char *key, plist_t node);

private:
    std::string hostId() const;
    int handshake();
    bool isOld();

    std::string identifier;
    idevice_t device = nullptr;
    lockdownd_client_t client = nullptr;
    std::string session; ///< identifier of the open session; empty for none
};
