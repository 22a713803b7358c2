#include "device/filerelay.h"

#include "app/filetools.h"
#include "app/jobprogress.h"
#include "backup/backupfiles.h"
#include "device/devicesession.h"
#include "device/servicemessages.h"
#include "device/servicesocket.h"

#include <QLocale>
#include <QLockFile>

using namespace Qt::StringLiterals;

namespace
{

constexpr int chunkSize = 0x80000;              // bytes
constexpr int acknowledgeTimeoutMs = 3'600'000; // the phone packs first

/// Saves what comes until the phone closes the socket, or is silent for a minute.
void saveStream(int socket, const QString &path, JobProgress &progress)
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly))
        throwFileError(u"create %1 failed. %2"_s, file);
    QByteArray chunk(chunkSize, Qt::Uninitialized);
    qint64 total = 0;
    const auto heedPerson = [&] { throwIfCancelled(progress); };
    while (const int received =
               socket_receive(socket, chunk.data(), int(chunk.size()), serviceTimeoutMs, heedPerson)) {
        throwIfCancelled(progress);
        total += received;
        progress.updateProgress({}, 99, u"Received:%L1KB"_s.arg(total / 1024));
        if (file.write(chunk.constData(), received) != received)
            throwFileError(u"write %1 failed. %2"_s, file);
    }
    if (!file.flush())
        throwFileError(u"write %1 failed. %2"_s, file);
}

CFType sendRequest(int socket, const QStringList &sources)
{
    CFType names = CFType::newArray();
    for (const QString &source : sources)
        names.append(CFType::fromString(source));
    CFType request = CFType::newDictionary();
    request.setDictionaryValue(CFType::fromString(u"Sources"_s), names);
    mobiledevice_sendmsg(socket, request, false, serviceTimeoutMs);
    return request;
}

void receiveAcknowledgement(int socket, const CFType &request, const std::function<void()> &atTick)
{
    const CFType reply = mobiledevice_recmsg(socket, request, acknowledgeTimeoutMs, atTick);
    const QString status = reply.dictionaryValue(u"Status"_s).toQString();
    if (status.compare("Acknowledged"_L1, Qt::CaseInsensitive) != 0)
        throw std::runtime_error("invalid feedback.\n" + messageText(reply).toStdString());
}

} // namespace

void mobiledevice_file_relay_start(void *device, int *socket)
{
    mobiledevice_start_service(device, "com.apple.mobile.file_relay", socket);
}

void mobiledevice_file_relay_request(int socket, const QStringList &sources)
{
    receiveAcknowledgement(socket, sendRequest(socket, sources), [] {});
}

bool loadFileRelay(const IOSDevice &device, JobProgress &progress)
{
    progress.updateProgress(QObject::tr("IDS_LOADING_IOS_DATABASES"), 0, {});
    const QDir cache = device.cacheDir();
    const QString archive = cache.absoluteFilePath(u"file-relay.cpio"_s);
    QLockFile lock(cache.absolutePath() + u".lock"_s); // it may be pulled and come again while a run unpacks
    lockThrow(lock, cache, u"this phone is being loaded already"_s);
    ServiceSocket socket;
    mobiledevice_file_relay_start(device.device, socket.target());
    const CFType request = sendRequest(socket.descriptor(), {u"UserDatabases"_s});
    receiveAcknowledgement(socket.descriptor(), request, [&] { throwIfCancelled(progress); });
    cache.mkpath(u"."_s);
    saveStream(socket.descriptor(), archive, progress);
    socket.close();
    const QDir copies(cache.absoluteFilePath(u"file-relay"_s));
    copies.mkpath(u"."_s);
    markAsCache(copies);
    const bool isWhole = extractArchive(archive, copies, progress);
    QFile::remove(archive);
    return isWhole;
}
