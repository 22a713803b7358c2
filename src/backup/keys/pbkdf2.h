#pragma once

#include <QByteArray>
#include <QByteArrayView>

#include <functional>

/// Told, every few milliseconds, how many rounds are done and how many there are. It may throw to end the
/// derivation.
using RoundsReport = std::function<void(quint32 done, quint32 total)>;

/// PBKDF2 with HMAC-SHA1: 32 bytes, for the caller to wipe. A count of 0 counts as 1.
QByteArray pbkdf2Sha1(QByteArrayView password, QByteArrayView salt, quint32 rounds);

/// PBKDF2 with HMAC-SHA256: 32 bytes, for the caller to wipe. A count of 0 counts as 1. Phones ask for ten
/// million rounds, which take seconds.
QByteArray pbkdf2Sha256(QByteArrayView password, QByteArrayView salt, quint32 rounds,
                        const RoundsReport &report);
