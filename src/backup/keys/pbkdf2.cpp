#include "backup/keys/pbkdf2.h"

#include "backup/keys/wipe.h"

#include <QtEndian>

#include <nettle/hmac.h>

#include <array>

// PBKDF2 as in RFC 8018, section 5.2: the key is a row of blocks as long as the hash, numbered from 1. A
// block is the sum (exclusive or) of its rounds: the HMAC of salt and big-endian number, then of each round
// before. The library derives, too, but tells nothing in between and leaves what it worked with in memory.

namespace
{

constexpr qsizetype keySize = 32;
constexpr quint32 roundsAtOnce = 10'000;

struct HmacSha1 {
    hmac_sha1_ctx context;
    static constexpr size_t size = SHA1_DIGEST_SIZE;
    static constexpr auto setKey = hmac_sha1_set_key;
    static constexpr auto update = hmac_sha1_update;
    static constexpr auto digest = hmac_sha1_digest;
};

struct HmacSha256 {
    hmac_sha256_ctx context;
    static constexpr size_t size = SHA256_DIGEST_SIZE;
    static constexpr auto setKey = hmac_sha256_set_key;
    static constexpr auto update = hmac_sha256_update;
    static constexpr auto digest = hmac_sha256_digest;
};

const uint8_t *unsignedBytes(QByteArrayView bytes)
{
    return reinterpret_cast<const uint8_t *>(bytes.data());
}

/// The derivation of one block.
template <typename Hmac>
class Block
{
public:
    /// The first round.
    Block(QByteArrayView password, QByteArrayView salt, quint32 number)
    {
        const quint32 bigEndian = qToBigEndian(number);
        Hmac::setKey(&mac.context, size_t(password.size()), unsignedBytes(password));
        Hmac::update(&mac.context, size_t(salt.size()), unsignedBytes(salt));
        Hmac::update(&mac.context, sizeof bigEndian, reinterpret_cast<const uint8_t *>(&bigEndian));
        Hmac::digest(&mac.context, last.size(), last.data());
        sum = last;
    }
    Q_DISABLE_COPY_MOVE(Block)
    ~Block()
    {
        wipe(&mac, sizeof mac);
        wipe(last.data(), last.size());
        wipe(sum.data(), sum.size());
    }

    void run(quint32 rounds)
    {
        for (quint32 round = 0; round < rounds; ++round) {
            Hmac::update(&mac.context, last.size(), last.data());
            Hmac::digest(&mac.context, last.size(), last.data());
            for (size_t i = 0; i < sum.size(); ++i)
                sum[i] ^= last[i];
        }
    }

    QByteArrayView bytes() const
    {
        return {reinterpret_cast<const char *>(sum.data()), qsizetype(sum.size())};
    }

private:
    Hmac mac;
    std::array<uint8_t, Hmac::size> last;
    std::array<uint8_t, Hmac::size> sum;
};

template <typename Hmac>
QByteArray derive(QByteArrayView password, QByteArrayView salt, quint32 rounds, const RoundsReport &report)
{
    QByteArray key;
    key.reserve(keySize); // never moved: no copy stays behind
    for (quint32 number = 1; key.size() < keySize; ++number) {
        Block<Hmac> block(password, salt, number);
        for (quint32 done = 1; done < rounds;) {
            const quint32 next = qMin(roundsAtOnce, rounds - done);
            block.run(next);
            done += next;
            if (report)
                report(done, rounds);
        }
        key += block.bytes().first(qMin(qsizetype(Hmac::size), keySize - key.size()));
    }
    return key;
}

} // namespace

QByteArray pbkdf2Sha1(QByteArrayView password, QByteArrayView salt, quint32 rounds)
{
    return derive<HmacSha1>(password, salt, rounds, {});
}

QByteArray pbkdf2Sha256(QByteArrayView password, QByteArrayView salt, quint32 rounds,
                        const RoundsReport &report)
{
    return derive<HmacSha256>(password, salt, rounds, report);
}
