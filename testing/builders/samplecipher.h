#pragma once

// The ciphers of a phone, by another library than the program's, so that a fault in one shows.

#include <QByteArray>
#include <QString>

#include <memory>

struct evp_cipher_ctx_st;

struct SampleCipherCloser {
    void operator()(evp_cipher_ctx_st *context) const noexcept;
};
using SampleCipherContext = std::unique_ptr<evp_cipher_ctx_st, SampleCipherCloser>;

/// The key that a backup password gives: PBKDF2 with HMAC-SHA1, 32 bytes.
QByteArray samplePasswordKey(const QString &password, const QByteArray &salt, int iterations);

/// The key of a password since iOS 10.2: PBKDF2 with HMAC-SHA256 first, then the older derivation on what
/// that gave.
QByteArray sampleLongPasswordKey(const QString &password, const QByteArray &firstSalt, int firstIterations,
                                 const QByteArray &salt, int iterations);

/// `key` wrapped with `wrappingKey` as in RFC 3394; 8 bytes longer than `key`.
QByteArray sampleWrapKey(const QByteArray &wrappingKey, const QByteArray &key);

/// Enciphers a file as backups hold it: AES-256-CBC from a zero vector, padded to the next whole block
/// (a full block where the length is one already).
class SampleFileCipher
{
public:
    explicit SampleFileCipher(const QByteArray &key);

    /// The whole blocks that are ready; the rest waits for more.
    QByteArray update(QByteArrayView plain);
    QByteArray finish();
    /// As finish(), without padding: throws std::runtime_error unless all blocks are whole.
    void finishBare();

private:
    SampleCipherContext context;
};
