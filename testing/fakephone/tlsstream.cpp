#include "testing/fakephone/stream.h"

#include <openssl/ssl.h>
#include <openssl/x509.h>

namespace
{

template <auto freeFunction>
struct Release {
    void operator()(auto *handle) const noexcept { freeFunction(handle); }
};
using Context = std::unique_ptr<SSL_CTX, Release<SSL_CTX_free>>;
using Session = std::unique_ptr<SSL, Release<SSL_free>>;
using Key = std::unique_ptr<EVP_PKEY, Release<EVP_PKEY_free>>;
using Certificate = std::unique_ptr<X509, Release<X509_free>>;

Certificate selfSigned(EVP_PKEY *key)
{
    Certificate certificate(X509_new());
    ASN1_INTEGER_set(X509_get_serialNumber(certificate.get()), 1);
    X509_gmtime_adj(X509_getm_notBefore(certificate.get()), 0);
    X509_gmtime_adj(X509_getm_notAfter(certificate.get()), 86400);
    X509_set_pubkey(certificate.get(), key);
    X509_sign(certificate.get(), key, EVP_sha256());
    return certificate;
}

/// One key serves all phones of a process.
SSL_CTX *serverContext()
{
    static const Key key(EVP_RSA_gen(2048));
    static const Context context = [] {
        Context made(SSL_CTX_new(TLS_server_method()));
        SSL_CTX_use_PrivateKey(made.get(), key.get());
        SSL_CTX_use_certificate(made.get(), selfSigned(key.get()).get());
        return made;
    }();
    return context.get();
}

class TlsStream final : public Stream
{
public:
    explicit TlsStream(int descriptor) : session(SSL_new(serverContext()))
    {
        SSL_set_fd(session.get(), descriptor);
        if (SSL_accept(session.get()) != 1)
            throw Closed();
    }
    ~TlsStream() override { SSL_shutdown(session.get()); }

protected:
    void sendAll(const QByteArray &bytes) override
    {
        if (!bytes.isEmpty() && SSL_write(session.get(), bytes.constData(), int(bytes.size())) <= 0)
            throw Closed();
    }

    qsizetype receiveSome(char *target, qsizetype length) override
    {
        return SSL_read(session.get(), target, int(length));
    }

private:
    Session session;
};

} // namespace

std::unique_ptr<Stream> tlsStream(int descriptor)
{
    return std::make_unique<TlsStream>(descriptor);
}
