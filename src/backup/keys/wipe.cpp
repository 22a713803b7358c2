#include "backup/keys/wipe.h"

void wipe(void *secret, size_t length)
{
    volatile auto *bytes = static_cast<unsigned char *>(secret);
    for (size_t i = 0; i < length; ++i)
        bytes[i] = 0;
}

void wipe(QByteArray &secret)
{
    wipe(secret.data(), size_t(secret.size()));
    secret.clear();
}
