#include "filerelay.h"

#include "devicesession.h"
#include "jobprogress.h"
#include "servicemessages.h"
#include "servicesocket.h"

#include <QLocale>

using namespace Qt::StringLiterals;

namespace
{

constexpr int chunkSize = 0x80000;              // bytes
constexpr int acknowledgeTimeoutMs = 3'600'000; // the phone packs first

[[noreturn]] void failWith(const QString &text, const QFile &file)
{
    throw std::runtime_error(text.arg(file.fileName(), file.errorString()).toStdString());
}

/// Saves what comes until the phone closes the socket, or is silent for a minute.
void saveStream(int socket, const QString &path, JobProgress &progress)
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly))
        failWith(u"create %1 failed. %2"_s, file);
    QByteArray chunk(chunkSize, Qt::Uninitialized);
    qint64 total = 0;
    while (const int received = socket_receive(socket, chunk.data(), chunkSize, serviceTimeoutMs)) {
        throwIfCancelled(progress);
        total += received;
        progress.updateProgress({}, 99, u"Received:%L1KB"_s.arg(total / 1024));
        if (file.write(chunk.constData(), received) != received)
            failWith(u"write %1 failed. %2"_s, file);
    }
    if (!file.flush())
        failWith(u"write %1 failed. %2"_s, file);
}

} // namespace

void mobiledevice_file_relay_start(void *device, int *socket)
{
    mobiledevice_start_service(device, "com.apple.mobile.file_relay", socket);
}

void mobiledevice_file_relay_request(int socket, const QStringList &sources)
{
    CFType names = CFType::newArray();
    for (const QString &source : sources)
        names.append(CFType::fromString(source));
    CFType request = CFType::newDictionary();
    request.setDictionaryValue(CFType::fromString(u"Sources"_s), names);
    mobiledevice_sendmsg(socket, request, false, serviceTimeoutMs);
    const CFType reply = mobiledevice_recmsg(socket, request, acknowledgeTimeoutMs);
    const QString status = reply.dictionaryValue(u"Status"_s).toQString();
    if (status.compare("Acknowledged"_L1, Qt::CaseInsensitive) != 0)
        throw std::runtime_error("invalid feedback.\n" + messageText(reply).toStdString());
}

void loadFileRelay(const IOSDevice &device, JobProgress &progress)
{
    progress.updateProgress(QObject::tr("IDS_LOADING_IOS_DATABASES"), 0, {});
    const QDir cache = device.cacheDir();
    const QString archive = cache.absoluteFilePath(u"file-relay.cpio"_s);
    ServiceSocket socket;
    mobiledevice_file_relay_start(device.device, socket.target());
    mobiledevice_file_relay_request(socket.descriptor(), {u"UserDatabases"_s});
    saveStream(socket.descriptor(), archive, progress);
    socket.close();
    cache.mkpath(u"file-relay"_s);
    extractArchive(archive, QDir(cache.absoluteFilePath(u"file-relay"_s)), progress);
    QFile::remove(archive);
}

IOSLoadFileRelayThread::IOSLoadFileRelayThread(IOSDevice *phone, JobProgress *jobProgress, QObject *parent)
    : QThread(parent), device(phone), progress(jobProgress)
{
}

void IOSLoadFileRelayThread::run()
{
    runJob(*progress, [this] {
        loadFileRelay(*device, *progress);
        return QString();
    });
}
