#include "testing/fakephone/muxserver.h"

#include <QFile>
#include <QtEndian>

#include <csignal>
#include <stdexcept>

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace
{

constexpr quint16 lockdownPort = 62078;
constexpr quint32 plistMessage = 8;
constexpr quint32 plistProtocol = 1;
constexpr int refused = 3;
constexpr int noSuchRecord = 2;

QByteArray littleEndian(std::initializer_list<quint32> numbers)
{
    QByteArray bytes;
    for (const quint32 number : numbers) {
        const quint32 little = qToLittleEndian(number);
        bytes.append(reinterpret_cast<const char *>(&little), sizeof little);
    }
    return bytes;
}

quint32 littleEndianAt(const QByteArray &bytes, int place)
{
    return qFromLittleEndian<quint32>(bytes.constData() + 4 * place);
}

QVariantMap result(int number)
{
    return {{u"MessageType"_s, u"Result"_s}, {u"Number"_s, number}};
}

int listenOn(const QString &path)
{
    const QByteArray name = QFile::encodeName(path);
    sockaddr_un place = {};
    place.sun_family = AF_UNIX;
    if (name.size() >= qsizetype(sizeof place.sun_path))
        throw std::runtime_error("the path of the socket is too long");
    qstrcpy(place.sun_path, name.constData());
    ::unlink(name.constData());
    const int descriptor = ::socket(AF_UNIX, SOCK_STREAM, 0);
    if (::bind(descriptor, reinterpret_cast<const sockaddr *>(&place), sizeof place) != 0 ||
        ::listen(descriptor, 16) != 0)
        throw std::runtime_error("the socket can't be listened on");
    return descriptor;
}

} // namespace

MuxServer::MuxServer(const QString &path) : socketPath(path), listener(listenOn(path))
{
    std::signal(SIGPIPE, SIG_IGN); // TLS over a socket whose other end went
    acceptor = std::thread([this] { acceptAll(); });
}

MuxServer::~MuxServer()
{
    {
        const std::lock_guard lock(mutex);
        stopping = true;
        ::shutdown(listener, SHUT_RDWR);
        for (const Connection &connection : connections)
            ::shutdown(connection.descriptor, SHUT_RDWR);
    }
    acceptor.join();
    for (Connection &connection : connections) {
        connection.thread.join();
        ::close(connection.descriptor);
    }
    ::close(listener);
    QFile::remove(socketPath);
}

void MuxServer::acceptAll()
{
    while (true) {
        const int descriptor = ::accept(listener, nullptr, nullptr);
        const std::lock_guard lock(mutex);
        if (descriptor < 0 || stopping)
            return;
        dropEnded();
        Connection &connection = connections.emplace_back(Connection{descriptor, nullptr, false, false, {}});
        connection.thread = std::thread([this, &connection] {
            try {
                serve(connection);
            } catch (const Closed &) {
                // The client went; so does its thread.
            }
            ::shutdown(connection.descriptor, SHUT_RDWR);
            const std::lock_guard ending(mutex);
            connection.ended = true;
        });
    }
}

void MuxServer::dropEnded()
{
    for (auto it = connections.begin(); it != connections.end();) {
        if (it->ended) {
            it->thread.join();
            ::close(it->descriptor);
        }
        it = it->ended ? connections.erase(it) : std::next(it);
    }
}

void MuxServer::serve(Connection &connection)
{
    const std::unique_ptr<Stream> stream = plainStream(connection.descriptor);
    while (true) {
        const QByteArray header = stream->receive(16);
        const QByteArray body = stream->receive(qsizetype(littleEndianAt(header, 0)) - 16);
        if (!answer(connection, fromPlist(body).toMap(), littleEndianAt(header, 3)))
            return;
    }
}

/// False when the connection has ended.
bool MuxServer::answer(Connection &connection, const QVariantMap &request, quint32 tag)
{
    std::unique_lock lock(mutex);
    const QString type = request.value(u"MessageType"_s).toString();
    if (type != u"Connect"_s) {
        send(connection.descriptor, replyTo(type, request), tag);
        if (type == u"Listen"_s) {
            connection.listens = true;
            for (const quint32 id : phones.keys())
                send(connection.descriptor, describe(id), 0);
        }
        return true;
    }
    const quint16 port = qFromBigEndian(quint16(request.value(u"PortNumber"_s).toUInt()));
    if (port == lockdownPort || !serviceOfPort(port).isEmpty())
        connection.phone = phones.value(request.value(u"DeviceID"_s).toUInt());
    send(connection.descriptor, result(connection.phone ? 0 : refused), tag);
    lock.unlock();
    if (connection.phone)
        tunnel(connection.descriptor, *connection.phone, serviceOfPort(port));
    return !connection.phone;
}

QVariantMap MuxServer::replyTo(const QString &type, const QVariantMap &request)
{
    const QString record = recordName(request.value(u"PairRecordID"_s).toString());
    if (type == u"ListDevices"_s) {
        QVariantList all;
        for (const quint32 id : phones.keys())
            all.append(describe(id));
        return {{u"DeviceList"_s, all}};
    }
    if (type == u"ReadBUID"_s)
        return {{u"BUID"_s, u"30142955-444094379208051516"_s}};
    if (type == u"ReadPairRecord"_s && pairRecords.contains(record))
        return {{u"PairRecordData"_s, pairRecords.value(record)}};
    if (type == u"SavePairRecord"_s)
        pairRecords.insert(record, request.value(u"PairRecordData"_s).toByteArray());
    if (type == u"DeletePairRecord"_s)
        pairRecords.remove(record);
    return result(type == u"ReadPairRecord"_s ? noSuchRecord : 0);
}

/// Making the keys of a pairing takes a second: phones may share those of the first one.
QString MuxServer::recordName(const QString &udid) const
{
    const bool shares = std::any_of(phones.cbegin(), phones.cend(), [&](const FakePhone *phone) {
        return phone->udid == udid && phone->isPairedAlready;
    });
    return shares && !pairRecords.contains(udid) && !pairRecords.isEmpty() ? pairRecords.firstKey() : udid;
}

void MuxServer::tunnel(int descriptor, FakePhone &phone, const QString &service)
{
    if (service.isEmpty())
        return serveLockdown(phone, descriptor);
    const std::unique_ptr<Stream> stream =
        phone.servicesAreEnciphered ? tlsStream(descriptor, phone.tlsManners()) : plainStream(descriptor);
    countTurns(phone, *stream);
    serveService(phone, service, *stream);
}

void MuxServer::send(int descriptor, const QVariantMap &message, quint32 tag)
{
    const QByteArray body = toXml(message);
    plainStream(descriptor)
        ->send(littleEndian({quint32(body.size()) + 16, plistProtocol, plistMessage, tag}) + body);
}

QVariantMap MuxServer::describe(quint32 id) const
{
    return {{u"MessageType"_s, u"Attached"_s},
            {u"DeviceID"_s, id},
            {u"Properties"_s, QVariantMap{{u"ConnectionType"_s, u"USB"_s},
                                          {u"DeviceID"_s, id},
                                          {u"LocationID"_s, 0},
                                          {u"ProductID"_s, 4776},
                                          {u"SerialNumber"_s, phones.value(id)->udid}}}};
}

void MuxServer::tellListeners(const QVariantMap &message)
{
    for (const Connection &connection : connections) {
        try {
            if (connection.listens && !connection.ended)
                send(connection.descriptor, message, 0);
        } catch (const Closed &) {
            // Goes just now; its own thread ends it.
        }
    }
}

void MuxServer::plugIn(FakePhone &phone)
{
    const std::lock_guard lock(mutex);
    phones.insert(++lastId, &phone);
    tellListeners(describe(lastId));
}

void MuxServer::trust(FakePhone &phone)
{
    const std::lock_guard lock(mutex);
    phone.trust = Trust::Given;
    tellListeners({{u"MessageType"_s, u"Paired"_s}, {u"DeviceID"_s, phones.key(&phone)}});
}

void MuxServer::pullOut(FakePhone &phone)
{
    const std::lock_guard lock(mutex);
    const quint32 id = phones.key(&phone);
    if (id == 0) // gone already
        return;
    phones.remove(id);
    tellListeners({{u"MessageType"_s, u"Detached"_s}, {u"DeviceID"_s, id}});
    for (const Connection &connection : connections) {
        if (connection.phone == &phone)
            ::shutdown(connection.descriptor, SHUT_RDWR);
    }
}
