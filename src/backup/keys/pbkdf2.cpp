#include "backup/keys/pbkdf2.h"

#include "backup/keys/aes256.h"

#include <QScopeGuard>

#include <nettle/hmac.h>

#include <array>

namespace
{

constexpr quint32 roundsAtOnce = 10'000;
constexpr QByteArrayView firstBlock("\0\0\0\1", 4);

using Block = std::array<uint8_t, SHA256_DIGEST_SIZE>;

const uint8_t *unsignedBytes(QByteArrayView bytes)
{
    return reinterpret_cast<const uint8_t *>(bytes.data());
}

/// The state of a derivation of one block, which is all that a key of 32 bytes takes.
class Derivation
{
public:
    Derivation(QByteArrayView password, QByteArrayView salt)
    {
        hmac_sha256_set_key(&mac, size_t(password.size()), unsignedBytes(password));
        hmac_sha256_update(&mac, size_t(salt.size()), unsignedBytes(salt));
        hmac_sha256_update(&mac, size_t(firstBlock.size()), unsignedBytes(firstBlock));
        hmac_sha256_digest(&mac, last.size(), last.data());
        sum = last;
    }
    Derivation(const Derivation &) = delete;
    Derivation &operator=(const Derivation &) = delete;
    ~Derivation()
    {
        wipe(&mac, sizeof mac);
        wipe(last.data(), last.size());
        wipe(sum.data(), sum.size());
    }

    void run(quint32 rounds)
    {
        for (quint32 round = 0; round < rounds; ++round) {
            hmac_sha256_update(&mac, last.size(), last.data());
            hmac_sha256_digest(&mac, last.size(), last.data());
            for (size_t i = 0; i < sum.size(); ++i)
                sum[i] ^= last[i];
        }
    }

    QByteArray key() const { return QByteArray(reinterpret_cast<const char *>(sum.data()), sum.size()); }

private:
    hmac_sha256_ctx mac;
    Block last;
    Block sum;
};

} // namespace

QByteArray pbkdf2Sha256(QByteArrayView password, QByteArrayView salt, quint32 rounds,
                        const RoundsReport &report)
{
    Derivation derivation(password, salt); // the first round
    for (quint32 done = 1; done < rounds;) {
        const quint32 next = qMin(roundsAtOnce, rounds - done);
        derivation.run(next);
        done += next;
        if (report)
            report(done, rounds);
    }
    return derivation.key();
}
