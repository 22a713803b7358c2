#include "backup/keys/aes256.h"

#include <mbedtls/aes.h>
#include <mbedtls/md.h>
#include <mbedtls/pkcs5.h>
#include <mbedtls/platform_util.h>

#include <stdexcept>

namespace
{

constexpr int keyBits = 256;
constexpr qsizetype aesBlockSize = 16;

struct MdContext {
    MdContext() { mbedtls_md_init(&context); }
    MdContext(const MdContext &) = delete;
    MdContext &operator=(const MdContext &) = delete;
    ~MdContext() { mbedtls_md_free(&context); }

    mbedtls_md_context_t context;
};

const unsigned char *unsignedBytes(QByteArrayView bytes)
{
    return reinterpret_cast<const unsigned char *>(bytes.data());
}

} // namespace

void wipe(QByteArray &secret)
{
    mbedtls_platform_zeroize(secret.data(), size_t(secret.size()));
    secret.clear();
}

void wipe(void *secret, size_t length)
{
    mbedtls_platform_zeroize(secret, length);
}

void Aes256::Closer::operator()(mbedtls_aes_context *closed) const noexcept
{
    mbedtls_aes_free(closed); // wipes it too
    delete closed;
}

Aes256::Aes256() : context(new mbedtls_aes_context)
{
    mbedtls_aes_init(context.get());
}

std::optional<Aes256> Aes256::forDecryption(QByteArrayView key)
{
    if (key.size() * 8 != keyBits)
        return std::nullopt;
    Aes256 aes;
    if (mbedtls_aes_setkey_dec(aes.context.get(), unsignedBytes(key), keyBits) != 0)
        return std::nullopt;
    return aes;
}

void Aes256::decryptBlock(unsigned char block[16])
{
    if (mbedtls_aes_crypt_ecb(context.get(), MBEDTLS_AES_DECRYPT, block, block) != 0)
        throw std::runtime_error("the cipher library refuses to decrypt");
}

bool Aes256::decryptCbc(const char *data, qsizetype length, unsigned char iv[16], char *plain)
{
    if (length < 0 || length % aesBlockSize != 0)
        return false;
    return mbedtls_aes_crypt_cbc(context.get(), MBEDTLS_AES_DECRYPT, size_t(length), iv,
                                 reinterpret_cast<const unsigned char *>(data),
                                 reinterpret_cast<unsigned char *>(plain)) == 0;
}

QByteArray pbkdf2Sha1(QByteArrayView password, QByteArrayView salt, quint32 rounds)
{
    QByteArray key(keyBits / 8, Qt::Uninitialized);
    MdContext md;
    const bool isDerived =
        mbedtls_md_setup(&md.context, mbedtls_md_info_from_type(MBEDTLS_MD_SHA1), 1) == 0 &&
        mbedtls_pkcs5_pbkdf2_hmac(&md.context, unsignedBytes(password), size_t(password.size()),
                                  unsignedBytes(salt), size_t(salt.size()), rounds, uint32_t(key.size()),
                                  reinterpret_cast<unsigned char *>(key.data())) == 0;
    if (!isDerived)
        throw std::runtime_error("the cipher library refuses to derive a key");
    return key;
}
