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

Certificate certificateOf(const std::string &pem)
{
    return Certificate(PEM_read_bio_X509(sourceOf(pem).get(), nullptr, nullptr, nullptr));
}

/// Old phones only know what is forbidden elsewhere by now. Who the phone is, its certificate tells once it
/// is there: no authority has signed it.
Context contextFor(const TlsCredentials &credentials)
{
    Context context(SSL_CTX_new(TLS_client_method()));
    SSL_CTX_set_security_level(context.get(), 0);
    SSL_CTX_set_min_proto_version(context.get(), TLS1_VERSION);
    SSL_CTX_set_options(context.get(), SSL_OP_LEGACY_SERVER_CONNECT);
    SSL_CTX_set_verify(context.get(), SSL_VERIFY_NONE, nullptr);
    if (credentials.isOldPhone)
        SSL_CTX_set_max_proto_version(context.get(), TLS1_VERSION);
    const Certificate certificate = certificateOf(credentials.certificate);
    const Key key(PEM_read_bio_PrivateKey(sourceOf(credentials.privateKey).get(), nullptr, nullptr, nullptr));
    const bool isReady = certificate && key &&
                         SSL_CTX_use_certificate(context.get(), certificate.get()) == 1 &&
                         SSL_CTX_use_PrivateKey(context.get(), key.get()) == 1;
    return isReady ? std::move(context) : nullptr;
}

bool isPhoneOf(const TlsCredentials &credentials, const SSL *session)
{
    const Certificate shown(SSL_get1_peer_certificate(session));
    const Certificate paired = certificateOf(credentials.phoneCertificate);
    return shown && paired && X509_cmp(shown.get(), paired.get()) == 0;
}

} // namespace

void ServiceTls::Free::operator()(ssl_st *handle) const noexcept
{
    SSL_free(handle);
}

std::unique_ptr<ServiceTls> ServiceTls::open(int descriptor, const TlsCredentials &credentials)
{
    std::unique_ptr<ServiceTls> tls(new ServiceTls(descriptor));
    return tls->shakeHands(credentials) ? std::move(tls) : nullptr;
}

ServiceTls::~ServiceTls()
{
    if (session)
        SSL_shutdown(session.get());
    ::close(socket);
}

bool ServiceTls::shakeHands(const TlsCredentials &credentials)
{
    const Context context = contextFor(credentials);
    if (!context)
        return false;
    ::setsockopt(socket, SOL_SOCKET, SO_RCVTIMEO, &handshakeTimeout, sizeof handshakeTimeout);
    session.reset(SSL_new(context.get()));
    SSL_set_fd(session.get(), socket);
    if (SSL_connect(session.get()) != 1 || !isPhoneOf(credentials, session.get())) {
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
