#pragma once

#include <QByteArrayView>

#include <memory>
#include <optional>

struct aes256_ctx;

/// AES-256 set up for decryption with one key; the key schedule is wiped when it goes.
class Aes256
{
public:
    static constexpr qsizetype keySize = 32;   ///< bytes
    static constexpr qsizetype blockSize = 16; ///< bytes

    /// Nothing unless `key` is `keySize` long.
    static std::optional<Aes256> forDecryption(QByteArrayView key);

    /// Deciphers 16 bytes in place.
    void decryptBlock(unsigned char block[blockSize]) const;
    /// Deciphers `length` bytes of a CBC stream from `data` to `plain`, carrying `iv` on. False, with
    /// nothing written, unless `length` is a multiple of 16.
    [[nodiscard]] bool decryptCbc(const char *data, qsizetype length, unsigned char iv[blockSize],
                                  char *plain) const;

private:
    Aes256();
    struct Closer {
        void operator()(aes256_ctx *context) const noexcept;
    };
    std::unique_ptr<aes256_ctx, Closer> context;
};
