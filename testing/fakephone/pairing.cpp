#include "testing/fakephone/pairing.h"

#include <QMap>

#include <openssl/encoder.h>
#include <openssl/evp.h>
#include <openssl/rsa.h>

#include <mutex>

using namespace Qt::StringLiterals;

namespace
{

std::mutex mutex; // over the pairings
QMap<QString, Pairing> pairings;

} // namespace

evp_pkey_st *phoneKey()
{
    static EVP_PKEY *const key = EVP_RSA_gen(2048);
    return key;
}

QByteArray phonePublicKey()
{
    OSSL_ENCODER_CTX *encoder =
        OSSL_ENCODER_CTX_new_for_pkey(phoneKey(), EVP_PKEY_PUBLIC_KEY, "PEM", "type-specific", nullptr);
    unsigned char *bytes = nullptr;
    size_t length = 0;
    OSSL_ENCODER_to_data(encoder, &bytes, &length);
    const QByteArray pem(reinterpret_cast<const char *>(bytes), qsizetype(length));
    OPENSSL_free(bytes);
    OSSL_ENCODER_CTX_free(encoder);
    return pem;
}

void keepPairing(const QVariantMap &record)
{
    const Pairing pairing = {
        record.value(u"HostID"_s).toString(), record.value(u"DeviceCertificate"_s).toByteArray(),
        record.value(u"HostCertificate"_s).toByteArray(), record.value(u"RootCertificate"_s).toByteArray()};
    const std::lock_guard lock(mutex);
    pairings.insert(pairing.hostId, pairing);
}

std::optional<Pairing> pairingWith(const QString &hostId)
{
    const std::lock_guard lock(mutex);
    const auto found = pairings.constFind(hostId);
    return found == pairings.cend() ? std::nullopt : std::optional(*found);
}
