#pragma once

#include "testing/fakephone/fakephone.h"

#include <QString>

#include <list>
#include <thread>

/// The daemon that computers ask for phones, with made phones on it: it listens on a local socket and speaks
/// the plist form of the multiplexer's protocol. Clients find it by USBMUXD_SOCKET_ADDRESS.
class MuxServer
{
public:
    /// Throws `std::runtime_error` when `path` can't be listened on.
    explicit MuxServer(const QString &path);
    ~MuxServer();

    /// What the environment variable has to say for clients to come here.
    QString address() const { return QStringLiteral("UNIX:") + socketPath; }

    void plugIn(FakePhone &phone);
    /// Its owner trusts this computer from now on, and computers are told.
    void trust(FakePhone &phone);
    /// Its connections end in the middle of what they say.
    void pullOut(FakePhone &phone);

private:
    struct Connection {
        int descriptor;
        FakePhone *phone = nullptr; ///< that it is a tunnel to
        bool listens = false;
        bool ended = false;
        std::thread thread;
    };

    void acceptAll();
    void dropEnded();
    void serve(Connection &connection);
    bool answer(Connection &connection, const QVariantMap &request, quint32 tag);
    QVariantMap replyTo(const QString &type, const QVariantMap &request);
    void tunnel(int descriptor, FakePhone &phone, const QString &service);
    void tellListeners(const QVariantMap &message);
    void send(int descriptor, const QVariantMap &message, quint32 tag);
    QVariantMap describe(quint32 id) const;
    QString recordName(const QString &udid) const;

    QString socketPath;
    int listener = -1;
    mutable std::mutex mutex;          ///< over all below
    QMap<quint32, FakePhone *> phones; ///< by the number of their visit
    quint32 lastId = 0;
    QMap<QString, QByteArray> pairRecords;
    std::list<Connection> connections;
    bool stopping = false;
    std::thread acceptor;
};
