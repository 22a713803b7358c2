#include "servicetls.h"

#include <openssl/pem.h>
#include <openssl/ssl.h>

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

namespace
{

constexpr timeval handshakeTimeout = {30, 0};
constexpr int stillNotWritten = 60'000; // ms

template <auto freeFunction>
struct Release {
    void operator()(auto *handle) const noexcept { freeFunction(handle); }
};
using Context = std::unique_ptr<SSL_CTX, Release<SSL_CTX_free>>;
using Source = std::unique_ptr<BIO, Release<BIO_free>>;
using Certificate = std::unique_ptr<X509, Release<X509_free>>;
using Key = std::unique_ptr<EVP_PKEY, Release<EVP_PKEY_free>>;

Source sourceOf(const std::string &text)
{
    return Source(BIO_new_mem_buf(text.data(), int(text.size())));
}

/// Phones sign for themselves, and old ones only know what is forbidden elsewhere by now: who the phone is
/// was settled when it was paired.
Context contextFor(const HostCredentials &host)
{
    Context context(SSL_CTX_new(TLS_client_method()));
    SSL_CTX_set_security_level(context.get(), 0);
    SSL_CTX_set_min_proto_version(context.get(), TLS1_VERSION);
    SSL_CTX_set_options(context.get(), SSL_OP_LEGACY_SERVER_CONNECT);
    SSL_CTX_set_verify(context.get(), SSL_VERIFY_NONE, nullptr);
    const Certificate certificate(
        PEM_read_bio_X509(sourceOf(host.certificate).get(), nullptr, nullptr, nullptr));
    const Key key(PEM_read_bio_PrivateKey(sourceOf(host.privateKey).get(), nullptr, nullptr, nullptr));
    const bool isReady = certificate && key &&
                         SSL_CTX_use_certificate(context.get(), certificate.get()) == 1 &&
                         SSL_CTX_use_PrivateKey(context.get(), key.get()) == 1;
    return isReady ? std::move(context) : nullptr;
}

} // namespace

void ServiceTls::Free::operator()(ssl_st *handle) const noexcept
{
    SSL_free(handle);
}

std::unique_ptr<ServiceTls> ServiceTls::open(int descriptor, const HostCredentials &host)
{
    std::unique_ptr<ServiceTls> tls(new ServiceTls(descriptor));
    return tls->shakeHands(host) ? std::move(tls) : nullptr;
}

ServiceTls::~ServiceTls()
{
    if (session)
        SSL_shutdown(session.get());
    ::close(socket);
}

bool ServiceTls::shakeHands(const HostCredentials &host)
{
    const Context context = contextFor(host);
    if (!context)
        return false;
    ::setsockopt(socket, SOL_SOCKET, SO_RCVTIMEO, &handshakeTimeout, sizeof handshakeTimeout);
    session.reset(SSL_new(context.get()));
    SSL_set_fd(session.get(), socket);
    if (SSL_connect(session.get()) != 1) {
        session.reset();
        return false;
    }
    return ::fcntl(socket, F_SETFL, ::fcntl(socket, F_GETFL) | O_NONBLOCK) == 0;
}

ssize_t ServiceTls::read(char *target, size_t size)
{
    size_t received = 0;
    const int result = SSL_read_ex(session.get(), target, size, &received);
    if (result == 1)
        return ssize_t(received);
    const int reason = SSL_get_error(session.get(), result);
    return reason == SSL_ERROR_WANT_READ || reason == SSL_ERROR_WANT_WRITE ? 0 : -1;
}

bool ServiceTls::write(const char *bytes, size_t size)
{
    while (true) {
        size_t written = 0;
        const int result = SSL_write_ex(session.get(), bytes, size, &written);
        if (result == 1)
            return true;
        const int reason = SSL_get_error(session.get(), result);
        const bool wantsRead = reason == SSL_ERROR_WANT_READ;
        if (!wantsRead && reason != SSL_ERROR_WANT_WRITE)
            return false;
        pollfd end = {socket, short(wantsRead ? POLLIN : POLLOUT), 0};
        if (::poll(&end, 1, stillNotWritten) <= 0)
            return false;
    }
}
