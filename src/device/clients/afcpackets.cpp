#include "device/clients/afcpackets.h"

#include "app/boundedbytes.h"
#include "device/servicesocket.h"

#include <array>

using namespace Qt::StringLiterals;

namespace
{

constexpr quint64 afcHeaderSize = 40;
constexpr QByteArrayView magic = "CFA6LPAA";
constexpr int largestPiece = 1024 * 1024; // bytes

struct AfcHeader {
    quint64 entireLength;
    quint64 operation;
};

QByteArray headerBytes(int socket, AfcOperation operation, quint64 parameters, quint64 data)
{
    // The packet number is the descriptor's and no counter; the phone only hands it back.
    const quint64 number = socket == 0 ? 0xFFFFFFFF : quint64(socket);
    const quint64 thisLength = afcHeaderSize + parameters;
    return magic.toByteArray() + afcNumber(thisLength + data) + afcNumber(thisLength) + afcNumber(number) +
           afcNumber(quint64(operation));
}

/// Out of step for good: the answer to one request would pass for the answer to the next.
[[noreturn]] void giveUp(int socket, const char *text)
{
    socket_hang_up(socket);
    throw std::runtime_error(text);
}

[[noreturn]] void failSending(int socket, const QString &text, AfcOperation operation)
{
    socket_hang_up(socket); // the phone waits for the rest of a packet
    throw std::runtime_error(text.arg(quint64(operation)).toStdString());
}

bool receiveWhole(int socket, char *target, int length)
{
    return socket_receive(socket, target, length, serviceTimeoutMs) == length;
}

AfcHeader receiveHeader(int socket)
{
    std::array<char, afcHeaderSize> bytes = {};
    const QByteArrayView view(bytes);
    if (!receiveWhole(socket, bytes.data(), int(bytes.size())) || !view.startsWith(magic))
        giveUp(socket, "read AFC header failed.");
    const AfcHeader header = {*readLittleEndian<quint64>(view.sliced(8)),
                              *readLittleEndian<quint64>(view.sliced(32))};
    if (header.entireLength < afcHeaderSize)
        giveUp(socket, "read AFC header failed.");
    return header;
}

/// Grows with what really comes: a length is only the sender's word.
QByteArray receivePayload(int socket, quint64 length)
{
    QByteArray payload;
    while (quint64(payload.size()) < length) {
        const qsizetype before = payload.size();
        const int piece = int(std::min<quint64>(length - quint64(before), largestPiece));
        payload.resize(before + piece);
        if (!receiveWhole(socket, payload.data() + before, piece))
            giveUp(socket, "read AFC file block data failed.");
    }
    return payload;
}

/// Throws unless an answer without data says that all went well.
void judge(const AfcHeader &header, const QByteArray &payload, quint64 *status)
{
    const std::optional<quint64> first = readLittleEndian<quint64>(payload);
    if (header.operation != quint64(AfcOperation::Status))
        throw std::runtime_error(
            u"read AFC failed, Unknown operation code received %1, param1=%2."_s.arg(header.operation)
                .arg(first.value_or(0))
                .toStdString());
    if (!first) // a word that isn't there must not pass for success
        throw std::runtime_error("read AFC file block data failed.");
    if (status)
        *status = *first;
    if (*first != 0)
        throw std::runtime_error(
            u"read AFC failed, received AFC_OP_STATUS, param1=%1."_s.arg(*first).toStdString());
}

} // namespace

QByteArray afcNumber(quint64 number)
{
    const quint64 little = qToLittleEndian(number);
    return QByteArray(reinterpret_cast<const char *>(&little), sizeof little);
}

QByteArray afcPath(const QString &path)
{
    return path.toUtf8() + '\0';
}

// Header and parameters go out in one piece: the phone wakes once a packet. How much of it went tells which
// of the two failed.
void sendAfc(int socket, AfcOperation operation, const QByteArray &parameters, QByteArrayView data)
{
    const QByteArray packet =
        headerBytes(socket, operation, quint64(parameters.size()), quint64(data.size())) + parameters;
    const int sent = socket_send(socket, packet.constData(), int(packet.size()), serviceTimeoutMs);
    if (sent < int(afcHeaderSize))
        failSending(socket, u"send AFC header (%1) error."_s, operation);
    if (sent < packet.size())
        failSending(socket, u"send AFC content (%1) error."_s, operation);
    if (socket_send(socket, data.data(), int(data.size()), serviceTimeoutMs) < data.size())
        giveUp(socket, "write AFC file error.");
}

QByteArray receiveAfc(int socket, AfcOperation asked, quint64 *status)
{
    const AfcHeader header = receiveHeader(socket);
    const QByteArray payload = receivePayload(socket, header.entireLength - afcHeaderSize);
    const bool isOpened =
        asked == AfcOperation::OpenFile && header.operation == quint64(AfcOperation::FileOpened);
    if (isOpened || header.operation == quint64(AfcOperation::Data))
        return payload;
    judge(header, payload, status);
    return {};
}

// Straight to where the bytes are wanted: at this size a copy costs as much as the socket does.
qint64 receiveAfcData(int socket, char *target, qint64 length)
{
    const AfcHeader header = receiveHeader(socket);
    const quint64 payload = header.entireLength - afcHeaderSize;
    if (header.operation != quint64(AfcOperation::Data)) {
        judge(header, receivePayload(socket, payload), nullptr);
        return 0;
    }
    // More than was asked for would be missing from the next piece.
    if (payload > quint64(length) || !receiveWhole(socket, target, int(payload)))
        giveUp(socket, "read AFC file block data failed.");
    return qint64(payload);
}

QByteArray askAfc(int socket, AfcOperation operation, const QByteArray &parameters)
{
    sendAfc(socket, operation, parameters);
    return receiveAfc(socket, operation);
}
