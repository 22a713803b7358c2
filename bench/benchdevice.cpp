// Bytes off a made phone, through the libraries that stand in for the maker's, beside a bare copy from
// socket to socket in the same pieces. What the made phone itself costs counts as ours.

#include "benchtable.h"
#include "device/clients/afcconnection.h"
#include "device/filerelay.h"
#include "device/iosdevice.h"
#include "device/servicesocket.h"
#include "silentprogress.h"
#include "testing/helpers/phonestand.h"

#include <QCoreApplication>

#include <sys/socket.h>

using namespace Qt::StringLiterals;

namespace
{

constexpr qint64 allBytes = 200 * 1024 * 1024;
constexpr qint64 pieceSize = 512 * 1024;
constexpr qint64 pictureSize = 2 * 1024 * 1024;

/// A thread sends all in pieces of `size`, this one receives them into `sink`. `OnDemand` waits for a word
/// before each piece, as Apple File Conduit is made.
enum class Sending { Unasked, OnDemand };
template <typename Sink>
void copyOverSocket(qint64 size, Sending sending, Sink sink)
{
    int pair[2];
    if (::socketpair(AF_UNIX, SOCK_STREAM, 0, pair) != 0)
        throw std::runtime_error("no socket pair");
    const ServiceSocket near(pair[1]);
    const ServiceSocket far(pair[0]);
    std::thread sender([&] {
        const QByteArray piece(size, 'x');
        char word = 0;
        for (qint64 sent = 0; sent < allBytes; sent += size) {
            if (sending == Sending::OnDemand)
                ::recv(far.descriptor(), &word, 1, 0);
            ::send(far.descriptor(), piece.constData(), size_t(piece.size()), 0);
        }
    });
    QByteArray buffer(size, '\0');
    for (qint64 total = 0; total < allBytes; total += size) {
        if (sending == Sending::OnDemand)
            ::send(near.descriptor(), "m", 1, 0);
        ::recv(near.descriptor(), buffer.data(), size_t(buffer.size()), MSG_WAITALL);
        sink(buffer.constData(), buffer.size());
    }
    sender.join();
}

void benchFileConduit(void *handle)
{
    AfcConnection afc(handle);
    afc.connect({});
    compareWithFloor(
        "AFC: a hundred pictures of 2 MB", 2.0, 10,
        [&] {
            QByteArray buffer(pieceSize, '\0');
            qint64 total = 0;
            for (qint64 start = 0; start < allBytes; start += pictureSize) {
                AfcFile file = afc.openRead(u"/picture"_s);
                for (qint64 at = 0; at < pictureSize; at += pieceSize)
                    total += file.read(buffer.data(), pieceSize);
                file.close();
            }
            if (total != allBytes)
                throw std::runtime_error("the pictures didn't come whole");
        },
        [] { copyOverSocket(64 * 1024, Sending::OnDemand, [](const char *, qint64) {}); });
}

void benchFileRelay(void *handle, const QDir &folder)
{
    const IOSDevice phone = readDevice(handle);
    SilentProgress silence;
    compareWithFloor(
        "file relay: 200 MB to the disk", 2.0, 10, [&] { loadFileRelay(phone, silence); },
        [&] {
            QFile file(folder.filePath(u"copy"_s));
            if (!file.open(QIODevice::WriteOnly))
                throw std::runtime_error("no copy");
            copyOverSocket(pieceSize, Sending::Unasked,
                           [&](const char *bytes, qint64 count) { file.write(bytes, count); });
        });
}

} // namespace

int main(int argc, char *argv[])
{
    QCoreApplication application(argc, argv);
    const QTemporaryDir folder;
    qputenv("XDG_DATA_HOME", folder.path().toUtf8());
    QFile picture(folder.filePath(u"picture"_s));
    if (!picture.open(QIODevice::WriteOnly) || !picture.resize(pictureSize))
        return 1;
    PhoneStand stand;
    FakePhone &phone = stand.newPhone();
    phone.media.setPath(folder.path());
    phone.relayBytes = allBytes;
    void *const handle = stand.plugIn(phone);
    benchFileConduit(handle);
    benchFileRelay(handle, QDir(folder.path()));
}
