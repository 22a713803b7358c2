#include "backup/keys/aes256.h"

#include "backup/keys/wipe.h"

#include <nettle/aes.h>
#include <nettle/cbc.h>
#include <nettle/nettle-meta.h>

void Aes256::Closer::operator()(aes256_ctx *closed) const noexcept
{
    wipe(closed, sizeof *closed);
    delete closed;
}

Aes256::Aes256() : context(new aes256_ctx)
{
}

std::optional<Aes256> Aes256::forDecryption(QByteArrayView key)
{
    if (key.size() != keySize)
        return std::nullopt;
    Aes256 aes;
    aes256_set_decrypt_key(aes.context.get(), reinterpret_cast<const uint8_t *>(key.data()));
    return aes;
}

void Aes256::decryptBlock(unsigned char block[blockSize]) const
{
    aes256_decrypt(context.get(), blockSize, block, block);
}

bool Aes256::decryptCbc(const char *data, qsizetype length, unsigned char iv[blockSize], char *plain) const
{
    if (length < 0 || length % blockSize != 0)
        return false;
    cbc_decrypt(context.get(), nettle_aes256.decrypt, blockSize, iv, size_t(length),
                reinterpret_cast<uint8_t *>(plain), reinterpret_cast<const uint8_t *>(data));
    return true;
}
