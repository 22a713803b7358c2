#include "recovery/local/rc4.h"

#include <mbedtls/arc4.h>

#include <stdexcept>

namespace
{

class Arc4
{
public:
    explicit Arc4(QByteArrayView key)
    {
        mbedtls_arc4_init(&context);
        mbedtls_arc4_setup(&context, reinterpret_cast<const unsigned char *>(key.data()),
                           unsigned(key.size()));
    }
    ~Arc4() { mbedtls_arc4_free(&context); }
    Q_DISABLE_COPY_MOVE(Arc4)

    QByteArray crypt(QByteArrayView bytes)
    {
        QByteArray result(bytes.size(), Qt::Uninitialized);
        const int failed = mbedtls_arc4_crypt(&context, size_t(bytes.size()),
                                              reinterpret_cast<const unsigned char *>(bytes.data()),
                                              reinterpret_cast<unsigned char *>(result.data()));
        if (failed != 0)
            throw std::runtime_error("the cipher library refused to work");
        return result;
    }

private:
    mbedtls_arc4_context context;
};

} // namespace

QByteArray rc4(QByteArrayView key, QByteArrayView bytes)
{
    Q_ASSERT(!key.isEmpty() && key.size() <= 256);
    return Arc4(key).crypt(bytes);
}
