#pragma once

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

/// A server's end of TLS over a descriptor, with a certificate made for the occasion. Throws `Closed`.
std::unique_ptr<Stream> tlsStream(int descriptor);

// Property lists as Qt's variants: bool, qint64, double, QString, QByteArray, QVariantList, QVariantMap.

QByteArray toXml(const QVariant &value);
QByteArray toBinary(const QVariant &value);
QVariant fromPlist(QByteArrayView bytes);

QByteArray bigEndian(quint32 number);
quint32 bigEndian(QByteArrayView bytes);
