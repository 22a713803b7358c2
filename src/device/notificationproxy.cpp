#include "device/notificationproxy.h"

#include "device/devicesession.h"
#include "device/servicemessages.h"

using namespace Qt::StringLiterals;

namespace
{

constexpr int notificationTimeoutMs = 500;
constexpr int betweenRoundsMs = 1000;

CFType command(const QString &name)
{
    CFType message = CFType::newDictionary();
    message.setDictionaryValue(CFType::fromString(u"Command"_s), CFType::fromString(name));
    return message;
}

CFType command(const QString &name, const QString &notification)
{
    CFType message = command(name);
    message.setDictionaryValue(CFType::fromString(u"Name"_s), CFType::fromString(notification));
    return message;
}

bool isCommand(const QString &received, QLatin1StringView name)
{
    return received.compare(name, Qt::CaseInsensitive) == 0;
}

} // namespace

QString mobiledevice_notification_get_throw(int socket)
{
    const CFType message = mobiledevice_recmsg(socket, CFType::none(), notificationTimeoutMs);
    const QString received = message.dictionaryValue(u"Command"_s).toText();
    if (isCommand(received, "RelayNotification"_L1)) {
        const QString name = message.dictionaryValue(u"Name"_s).toQString();
        qDebug("mobiledevice_notification_get_throw, got notification %ls.", qUtf16Printable(name));
        return name;
    }
    if (isCommand(received, "ProxyDeath"_L1))
        throw std::runtime_error("ERROR: NotificationProxy died!");
    throw std::runtime_error(
        u"unknown NotificationProxy command '%1' received!"_s.arg(received).toStdString());
}

void mobiledevice_notification_post(int socket, const QString &name)
{
    qDebug("mobiledevice_notification_post, notification:%ls", qUtf16Printable(name));
    mobiledevice_sendmsg(socket, command(u"PostNotification"_s, name), false, serviceTimeoutMs);
    const CFType shutdown = command(u"Shutdown"_s);
    mobiledevice_sendmsg(socket, shutdown, false, serviceTimeoutMs);
    const CFType answer = mobiledevice_recmsg(socket, shutdown, serviceTimeoutMs);
    if (!isCommand(answer.dictionaryValue(u"Command"_s).toText(), "ProxyDeath"_L1))
        qDebug("mobiledevice_notification_post, unexpected answer: %ls",
               qUtf16Printable(messageText(answer)));
}

mobiledevice_notification_thread::mobiledevice_notification_thread(void *handle, QObject *parent)
    : QThread(parent), device(handle)
{
}

mobiledevice_notification_thread::~mobiledevice_notification_thread()
{
    stop();
    wait();
}

void mobiledevice_notification_thread::stop()
{
    stopRequested = true;
    stopped.release();
    if (socket.descriptor() != 0)
        socket_hang_up(socket.descriptor());
}

void mobiledevice_notification_thread::observe(const QStringList &names)
{
    socket.close();
    mobiledevice_start_service(device, "com.apple.mobile.notification_proxy", socket.target());
    stopRequested = false; // here, and not in `run`, where it would undo a stop that came before
    for (const QString &name : names)
        mobiledevice_sendmsg(socket.descriptor(), command(u"ObserveNotification"_s, name), false,
                             serviceTimeoutMs);
}

void mobiledevice_notification_thread::run()
{
    if (socket.descriptor() == 0)
        throw std::runtime_error("mobiledevice_notification_thread::run, start service first.");
    while (!stopRequested) {
        try {
            Q_EMIT recNotification(mobiledevice_notification_get_throw(socket.descriptor()));
        } catch (const std::exception &error) {
            qDebug("mobiledevice_notification_thread::run, %s", error.what());
        }
        stopped.tryAcquire(1, betweenRoundsMs);
    }
}
