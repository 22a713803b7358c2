#include "testing/fakephone/stream.h"

#include <openssl/pem.h>
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
using Source = std::unique_ptr<BIO, Release<BIO_free>>;
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

X509 *fromPem(const QByteArray &pem)
{
    const Source source(BIO_new_mem_buf(pem.constData(), int(pem.size())));
    return PEM_read_bio_X509(source.get(), nullptr, nullptr, nullptr);
}

Context contextFor(const TlsManners &manners)
{
    Context context(SSL_CTX_new(TLS_server_method()));
    SSL_CTX_set_security_level(context.get(), 0); // for what old phones know
    SSL_CTX_set_min_proto_version(context.get(), TLS1_VERSION);
    if (manners.isOld)
        SSL_CTX_set_max_proto_version(context.get(), TLS1_VERSION);
    const Certificate certificate(manners.isImpostor ? selfSigned(phoneKey()).release()
                                                     : fromPem(manners.pairing.deviceCertificate));
    SSL_CTX_use_certificate(context.get(), certificate.get());
    SSL_CTX_use_PrivateKey(context.get(), phoneKey());
    SSL_CTX_set_verify(context.get(), SSL_VERIFY_PEER | SSL_VERIFY_FAIL_IF_NO_PEER_CERT,
                       [](int, X509_STORE_CTX *) { return 1; }); // it is compared afterwards
    return context;
}

class TlsStream final : public Stream
{
public:
    TlsStream(int descriptor, const TlsManners &manners)
        : context(contextFor(manners)), session(SSL_new(context.get()))
    {
        SSL_set_fd(session.get(), descriptor);
        if (SSL_accept(session.get()) != 1 || !isKnown(manners.pairing))
            throw Closed();
    }
    /// Takes the other side's farewell in, behind which plain bytes may come.
    ~TlsStream() override
    {
        if (SSL_shutdown(session.get()) == 0)
            SSL_shutdown(session.get());
    }

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
    bool isKnown(const Pairing &pairing) const
    {
        const X509 *shown = SSL_get0_peer_certificate(session.get());
        const Certificate host(fromPem(pairing.hostCertificate));
        const Certificate root(fromPem(pairing.rootCertificate));
        return shown &&
               ((host && X509_cmp(shown, host.get()) == 0) || (root && X509_cmp(shown, root.get()) == 0));
    }

    Context context;
    Session session;
};

} // namespace

std::unique_ptr<Stream> tlsStream(int descriptor, const TlsManners &manners)
{
    return std::make_unique<TlsStream>(descriptor, manners);
}
