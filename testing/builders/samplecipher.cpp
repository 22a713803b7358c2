#include "testing/builders/samplecipher.h"

#include <QtEndian>

#include <mbedtls/aes.h>
#include <mbedtls/md.h>
#include <mbedtls/pkcs5.h>

#include <stdexcept>

namespace
{

constexpr qsizetype blockSize = 16;
constexpr unsigned keyBits = 256;

void check(int result)
{
    if (result != 0)
        throw std::runtime_error("A cipher for a sample backup failed.");
}

const unsigned char *bytesOf(const QByteArray &array)
{
    return reinterpret_cast<const unsigned char *>(array.constData());
}

unsigned char *bytesOf(QByteArray &array)
{
    return reinterpret_cast<unsigned char *>(array.data());
}

/// A context that is freed whatever happens.
class EncryptionContext
{
public:
    explicit EncryptionContext(const QByteArray &key)
    {
        mbedtls_aes_init(&context);
        check(mbedtls_aes_setkey_enc(&context, bytesOf(key), keyBits));
    }
    ~EncryptionContext() { mbedtls_aes_free(&context); }
    Q_DISABLE_COPY_MOVE(EncryptionContext)

    void encryptBlock(QByteArray &block)
    {
        check(mbedtls_aes_crypt_ecb(&context, MBEDTLS_AES_ENCRYPT, bytesOf(block), bytesOf(block)));
    }

private:
    mbedtls_aes_context context;
};

/// PBKDF2, 32 bytes.
QByteArray derivedKey(mbedtls_md_type_t digest, const QByteArray &secret, const QByteArray &salt,
                      int iterations)
{
    QByteArray key(keyBits / 8, '\0');
    mbedtls_md_context_t context;
    mbedtls_md_init(&context);
    int result = mbedtls_md_setup(&context, mbedtls_md_info_from_type(digest), 1);
    if (result == 0)
        result = mbedtls_pkcs5_pbkdf2_hmac(&context, bytesOf(secret), size_t(secret.size()), bytesOf(salt),
                                           size_t(salt.size()), unsigned(iterations), uint32_t(key.size()),
                                           bytesOf(key));
    mbedtls_md_free(&context);
    check(result);
    return key;
}

} // namespace

QByteArray samplePasswordKey(const QString &password, const QByteArray &salt, int iterations)
{
    return derivedKey(MBEDTLS_MD_SHA1, password.toUtf8(), salt, iterations);
}

QByteArray sampleLongPasswordKey(const QString &password, const QByteArray &firstSalt, int firstIterations,
                                 const QByteArray &salt, int iterations)
{
    const QByteArray first = derivedKey(MBEDTLS_MD_SHA256, password.toUtf8(), firstSalt, firstIterations);
    return derivedKey(MBEDTLS_MD_SHA1, first, salt, iterations);
}

QByteArray sampleWrapKey(const QByteArray &wrappingKey, const QByteArray &key)
{
    constexpr int rounds = 6;
    constexpr qsizetype half = 8;
    EncryptionContext context(wrappingKey);
    QByteArray check(half, char(0xA6));
    QByteArray words = key;
    const qsizetype count = words.size() / half;
    for (int round = 0; round < rounds; ++round) {
        for (qsizetype place = 0; place < count; ++place) {
            QByteArray block = check + words.mid(place * half, half);
            context.encryptBlock(block);
            const quint64 step = quint64(count) * quint64(round) + quint64(place) + 1;
            check.resize(half);
            qToBigEndian(qFromBigEndian<quint64>(block.constData()) ^ step, check.data());
            words.replace(place * half, half, block.mid(half));
        }
    }
    return check + words;
}

SampleFileCipher::SampleFileCipher(const QByteArray &key)
    : context(std::make_unique<mbedtls_aes_context>()), vector(blockSize, '\0')
{
    mbedtls_aes_init(context.get());
    check(mbedtls_aes_setkey_enc(context.get(), bytesOf(key), keyBits));
}

SampleFileCipher::~SampleFileCipher()
{
    mbedtls_aes_free(context.get());
}

QByteArray SampleFileCipher::update(QByteArrayView plain)
{
    waiting.append(plain);
    const qsizetype whole = waiting.size() - waiting.size() % blockSize;
    QByteArray enciphered(whole, Qt::Uninitialized);
    if (whole > 0)
        check(mbedtls_aes_crypt_cbc(context.get(), MBEDTLS_AES_ENCRYPT, size_t(whole), bytesOf(vector),
                                    bytesOf(std::as_const(waiting)), bytesOf(enciphered)));
    waiting.remove(0, whole);
    return enciphered;
}

QByteArray SampleFileCipher::finish()
{
    const qsizetype padding = blockSize - waiting.size() % blockSize;
    return update(QByteArray(padding, char(padding)));
}

void SampleFileCipher::finishBare() const
{
    if (!waiting.isEmpty())
        throw std::runtime_error("A sample file without padding must be whole blocks of 16 bytes.");
}
