#pragma once

#include "testing/fakephone/pairing.h"

#include <QByteArray>
#include <QVariant>

#include <functional>
#include <memory>

/// The other side is gone, or the test wants this side to be.
struct Closed {
};

/// One end of a connection to a service. Blocks; everything throws `Closed` when the other side is gone.
class Stream
{
public:
    virtual ~Stream() = default;

    void send(const QByteArray &bytes);
    QByteArray receive(qsizetype length);

    // Property lists with their length in front, big-endian.
    void sendList(const QVariant &message);
    void sendBinaryList(const QVariant &message);
    QVariant receiveList();

    std::function<void()> beforeSend; ///< called before anything is sent; may throw `Closed`

protected:
    virtual void sendAll(const QByteArray &bytes) = 0;
    /// Some bytes, at most `length`; none means the end.
    virtual qsizetype receiveSome(char *target, qsizetype length) = 0;
};

/// Over a descriptor that stays the caller's.
std::unique_ptr<Stream> plainStream(int descriptor);

/// How a phone speaks TLS.
struct TlsManners {
    Pairing pairing;         ///< whose certificates both sides show
    bool isOld = false;      ///< speaks version 1.0 and no other
    bool isImpostor = false; ///< shows a certificate that nobody knows
};

/// A phone's end of TLS over a descriptor. Throws `Closed`, also when the computer isn't the one it paired
/// with.
std::unique_ptr<Stream> tlsStream(int descriptor, const TlsManners &manners);

// Property lists as Qt's variants: bool, qint64, double, QString, QByteArray, QVariantList, QVariantMap.

QByteArray toXml(const QVariant &value);
QByteArray toBinary(const QVariant &value);
QVariant fromPlist(QByteArrayView bytes);

QByteArray bigEndian(quint32 number);
quint32 bigEndian(QByteArrayView bytes);
