#pragma once

#include <memory>
#include <string>

#include <sys/types.h>

struct ssl_st;

/// What computer and phone show each other to be known, in PEM form.
struct TlsCredentials {
    std::string certificate; ///< of this computer
    std::string privateKey;
    std::string phoneCertificate;
    bool isOldPhone = false; ///< before iOS 10, which are spoken to in version 1.0
};

/// This computer's end of TLS over the socket of a service. libimobiledevice has one too, but a read from
/// it that runs out of time drops what it took from the stream, so a stream without a known length can't be
/// carried over it. One thread at a time uses an object.
class ServiceTls
{
public:
    /// Takes `descriptor` over and speaks to the phone until both agree on a key; null when they don't, or
    /// when it isn't the phone that this computer is paired with.
    static std::unique_ptr<ServiceTls> open(int descriptor, const TlsCredentials &credentials);
    ServiceTls(const ServiceTls &) = delete;
    ServiceTls &operator=(const ServiceTls &) = delete;
    ~ServiceTls();

    int descriptor() const { return socket; }
    /// Bytes that are there, at most `size`, without waiting: 0 for none yet, below 0 when the stream ended.
    ssize_t read(char *target, size_t size);
    /// False when the stream is broken.
    bool write(const char *bytes, size_t size);

private:
    struct Free {
        void operator()(ssl_st *session) const noexcept;
    };
    explicit ServiceTls(int descriptor) : socket(descriptor) {}
    bool shakeHands(const TlsCredentials &credentials);

    int socket;
    std::unique_ptr<ssl_st, Free> session;
};
