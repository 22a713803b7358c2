#include "device/servicemessages.h"

#include "app/boundedbytes.h"
#include "device/servicesocket.h"

#include <QRegularExpression>
#include <QtEndian>

using namespace Qt::StringLiterals;

namespace
{

constexpr qsizetype longestQuote = 800;           // characters
constexpr qint64 firstPiece = 64 * 1024;          // bytes
constexpr qint64 largestPiece = 16 * 1024 * 1024; // bytes

/// For an error, which goes to the log and to the screen: without passwords.
QString quoteOf(const CFType &message)
{
    static const QRegularExpression password(u"(<key>[^<]*password[^<]*</key>\\s*<(string|data)>)[^<]*"_s,
                                             QRegularExpression::CaseInsensitiveOption);
    return messageText(message).replace(password, u"\\1..."_s).left(longestQuote);
}

[[noreturn]] void failSending(const QString &text, const CFType &message)
{
    throw std::runtime_error(text.arg(quoteOf(message)).toStdString());
}

[[noreturn]] void failReceiving(const QString &text, qint64 received, const CFType &lastSent)
{
    QString error = text.arg(received);
    if (lastSent.ref())
        error += u'\n' + quoteOf(lastSent);
    throw std::runtime_error(error.toStdString());
}

/// Up to `length` bytes. The buffer grows with what really comes: a length is only the sender's word.
QByteArray receiveBody(int socket, qint64 length, int timeoutMs, const std::function<void()> &atTick)
{
    QByteArray body;
    while (body.size() < length) {
        const qint64 before = body.size();
        const qint64 piece = std::min(length - before, std::clamp(before, firstPiece, largestPiece));
        body.resize(before + piece);
        const int received = socket_receive(socket, body.data() + before, int(piece), timeoutMs, atTick);
        body.resize(before + received);
        if (received < piece)
            break;
    }
    return body;
}

} // namespace

QString messageText(const CFType &message)
{
    return QString::fromUtf8(message.toPropertyListBytes(kCFPropertyListXMLFormat_v1_0));
}

void mobiledevice_sendmsg(int socket, const CFType &message, bool binary, int timeoutMs)
{
    const QByteArray body = message.toPropertyListBytes(binary ? kCFPropertyListBinaryFormat_v1_0
                                                               : kCFPropertyListXMLFormat_v1_0);
    if (body.isEmpty())
        return;
    const quint32 length = qToBigEndian(quint32(body.size()));
    if (socket_send(socket, &length, sizeof length, timeoutMs) < int(sizeof length))
        failSending(u"mobiledevice_sendmsg(msg-length) error.\n%1"_s, message);
    if (socket_send(socket, body.constData(), int(body.size()), timeoutMs) < body.size())
        failSending(u"mobiledevice_sendmsg(msg) error.\n%1"_s, message);
}

CFType mobiledevice_recmsg(int socket, const CFType &lastSent, int timeoutMs,
                           const std::function<void()> &atTick)
{
    std::array<char, sizeof(quint32)> lengthBytes = {};
    const int received =
        socket_receive(socket, lengthBytes.data(), sizeof(quint32), serviceTimeoutMs, atTick);
    if (received < int(sizeof(quint32)))
        failReceiving(u"mobiledevice_recmsg(msg-length) error, received length: %1."_s, received, lastSent);
    const quint32 length = *readBigEndian<quint32>(lengthBytes);
    const QByteArray body = receiveBody(socket, length, timeoutMs, atTick);
    if (body.size() < qint64(length))
        failReceiving(u"mobiledevice_recmsg(msg) error, received length: %1."_s, body.size(), lastSent);
    return CFType::fromPropertyListBytes(body);
}
