#include "recovery/local/rc4.h"

#include <nettle/arcfour.h>

QByteArray rc4(QByteArrayView key, QByteArrayView bytes)
{
    Q_ASSERT(!key.isEmpty() && key.size() <= ARCFOUR_MAX_KEY_SIZE);
    arcfour_ctx context;
    arcfour_set_key(&context, size_t(key.size()), reinterpret_cast<const uint8_t *>(key.data()));
    QByteArray result(bytes.size(), Qt::Uninitialized);
    arcfour_crypt(&context, size_t(bytes.size()), reinterpret_cast<uint8_t *>(result.data()),
                  reinterpret_cast<const uint8_t *>(bytes.data()));
    return result;
}
