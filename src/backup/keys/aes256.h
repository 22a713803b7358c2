#pragma once

#include <QByteArray>
#include <QByteArrayView>

#include <memory>
#include <optional>

struct mbedtls_aes_context;

/// Overwrites the bytes of `secret`, which should be their only owner, and empties it.
void wipe(QByteArray &secret);

/// Overwrites `length` bytes.
void wipe(void *secret, size_t length);

/// AES-256 set up for decryption with one key; the key schedule is wiped when it goes.
class Aes256
{
public:
    /// Nothing unless `key` is 32 bytes long.
    static std::optional<Aes256> forDecryption(QByteArrayView key);

    /// Deciphers 16 bytes in place.
    void decryptBlock(unsigned char block[16]);
    /// Deciphers `length` bytes of a CBC stream from `data` to `plain`, carrying `iv` on. False, with
    /// nothing written, unless `length` is a multiple of 16.
    [[nodiscard]] bool decryptCbc(const char *data, qsizetype length, unsigned char iv[16], char *plain);

private:
    Aes256();
    struct Closer {
        void operator()(mbedtls_aes_context *context) const noexcept;
    };
    std::unique_ptr<mbedtls_aes_context, Closer> context;
};

/// PBKDF2 with HMAC-SHA1: 32 bytes, for the caller to wipe. A count of 0 counts as 1. Throws when the
/// library refuses.
QByteArray pbkdf2Sha1(QByteArrayView password, QByteArrayView salt, quint32 rounds);
