#include "testing/builders/samplecipher.h"

#include <openssl/evp.h>

#include <stdexcept>

namespace
{

constexpr qsizetype blockSize = 16;
constexpr qsizetype keySize = 32;
constexpr qsizetype wrappingSize = 8; // bytes that a wrapped key is longer

void check(int result)
{
    if (result != 1)
        throw std::runtime_error("A cipher for a sample backup failed.");
}

const unsigned char *bytesOf(QByteArrayView bytes)
{
    return reinterpret_cast<const unsigned char *>(bytes.data());
}

unsigned char *bytesOf(QByteArray &array)
{
    return reinterpret_cast<unsigned char *>(array.data());
}

/// PBKDF2, 32 bytes.
QByteArray derivedKey(const EVP_MD *digest, const QByteArray &secret, const QByteArray &salt, int iterations)
{
    QByteArray key(keySize, '\0');
    check(PKCS5_PBKDF2_HMAC(secret.constData(), int(secret.size()), bytesOf(salt), int(salt.size()),
                            iterations, digest, int(key.size()), bytesOf(key)));
    return key;
}

} // namespace

QByteArray samplePasswordKey(const QString &password, const QByteArray &salt, int iterations)
{
    return derivedKey(EVP_sha1(), password.toUtf8(), salt, iterations);
}

QByteArray sampleLongPasswordKey(const QString &password, const QByteArray &firstSalt, int firstIterations,
                                 const QByteArray &salt, int iterations)
{
    const QByteArray first = derivedKey(EVP_sha256(), password.toUtf8(), firstSalt, firstIterations);
    return derivedKey(EVP_sha1(), first, salt, iterations);
}

void SampleCipherCloser::operator()(evp_cipher_ctx_st *context) const noexcept
{
    EVP_CIPHER_CTX_free(context);
}

QByteArray sampleWrapKey(const QByteArray &wrappingKey, const QByteArray &key)
{
    const SampleCipherContext context(EVP_CIPHER_CTX_new());
    EVP_CIPHER_CTX_set_flags(context.get(), EVP_CIPHER_CTX_FLAG_WRAP_ALLOW);
    check(EVP_EncryptInit_ex(context.get(), EVP_aes_256_wrap(), nullptr, bytesOf(wrappingKey), nullptr));
    QByteArray wrapped(key.size() + wrappingSize, '\0');
    int length = 0;
    check(EVP_EncryptUpdate(context.get(), bytesOf(wrapped), &length, bytesOf(key), int(key.size())));
    return wrapped;
}

SampleFileCipher::SampleFileCipher(const QByteArray &key) : context(EVP_CIPHER_CTX_new())
{
    const QByteArray vector(blockSize, '\0');
    check(EVP_EncryptInit_ex(context.get(), EVP_aes_256_cbc(), nullptr, bytesOf(key), bytesOf(vector)));
}

QByteArray SampleFileCipher::update(QByteArrayView plain)
{
    QByteArray enciphered(plain.size() + blockSize, Qt::Uninitialized);
    int length = 0;
    check(EVP_EncryptUpdate(context.get(), bytesOf(enciphered), &length, bytesOf(plain), int(plain.size())));
    return enciphered.first(length);
}

QByteArray SampleFileCipher::finish()
{
    QByteArray enciphered(blockSize, Qt::Uninitialized);
    int length = 0;
    check(EVP_EncryptFinal_ex(context.get(), bytesOf(enciphered), &length));
    return enciphered.first(length);
}

void SampleFileCipher::finishBare()
{
    EVP_CIPHER_CTX_set_padding(context.get(), 0);
    finish();
}
