#include "afcpackets.h"

#include "boundedbytes.h"
#include "servicesocket.h"

#include <array>

using namespace Qt::StringLiterals;

namespace
{

constexpr quint64 headerSize = 40;
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
    const quint64 thisLength = headerSize + parameters;
    return magic.toByteArray() + afcNumber(thisLength + data) + afcNumber(thisLength) + afcNumber(number) +
           afcNumber(quint64(operation));
}

bool sendWhole(int socket, const QByteArray &bytes)
{
    return socket_send(socket, bytes.constData(), int(bytes.size()), serviceTimeoutMs) == bytes.size();
}

AfcHeader receiveHeader(int socket)
{
    std::array<char, headerSize> bytes = {};
    const int received = socket_receive(socket, bytes.data(), int(bytes.size()), serviceTimeoutMs);
    const QByteArrayView view(bytes.data(), received);
    if (received < int(headerSize) || !view.startsWith(magic))
        throw std::runtime_error("read AFC header failed.");
    const AfcHeader header = {*readLittleEndian<quint64>(view.sliced(8)),
                              *readLittleEndian<quint64>(view.sliced(32))};
    if (header.entireLength < headerSize)
        throw std::runtime_error("read AFC header failed.");
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
        if (socket_receive(socket, payload.data() + before, piece, serviceTimeoutMs) < piece)
            throw std::runtime_error("read AFC file block data failed.");
    }
    return payload;
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

void sendAfc(int socket, AfcOperation operation, const QByteArray &parameters, const QByteArray &data)
{
    const QByteArray header =
        headerBytes(socket, operation, quint64(parameters.size()), quint64(data.size()));
    if (!sendWhole(socket, header))
        throw std::runtime_error(u"send AFC header (%1) error."_s.arg(quint64(operation)).toStdString());
    if (!sendWhole(socket, parameters))
        throw std::runtime_error(u"send AFC content (%1) error."_s.arg(quint64(operation)).toStdString());
    if (!data.isEmpty() && !sendWhole(socket, data))
        throw std::runtime_error("write AFC file error.");
}

QByteArray receiveAfc(int socket, quint64 *status)
{
    const AfcHeader header = receiveHeader(socket);
    const QByteArray payload = receivePayload(socket, header.entireLength - headerSize);
    const quint64 first = readLittleEndian<quint64>(payload).value_or(0);
    if (header.operation == quint64(AfcOperation::Data) ||
        header.operation == quint64(AfcOperation::FileOpened))
        return payload;
    if (header.operation != quint64(AfcOperation::Status))
        throw std::runtime_error(
            u"read AFC failed, Unknown operation code received %1, param1=%2."_s.arg(header.operation)
                .arg(first)
                .toStdString());
    if (status)
        *status = first;
    if (first != 0)
        throw std::runtime_error(
            u"read AFC failed, received AFC_OP_STATUS, param1=%1."_s.arg(first).toStdString());
    return {};
}

QByteArray askAfc(int socket, AfcOperation operation, const QByteArray &parameters)
{
    sendAfc(socket, operation, parameters);
    return receiveAfc(socket);
}
