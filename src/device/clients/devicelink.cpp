#include "device/clients/devicelink.h"

#include "device/servicemessages.h"
#include "device/servicesocket.h"

using namespace Qt::StringLiterals;

namespace
{

QString nameOf(const CFType &message)
{
    return message.arrayCount() > 0 ? message.arrayValue(0).toQString() : QString();
}

bool isDeviceReady(const CFType &message)
{
    return nameOf(message) == "DLMessageDeviceReady"_L1;
}

} // namespace

CFType messageArray(const QList<CFType> &elements)
{
    CFType array = CFType::newArray();
    for (const CFType &element : elements)
        array.append(element);
    return array;
}

void mobiledevice_link_version_exchange(int socket)
{
    if (isDeviceReady(mobiledevice_recmsg(socket, CFType::none(), serviceTimeoutMs)))
        return;
    const CFType agreement = messageArray(
        {CFType::fromString(u"DLMessageVersionExchange"_s), CFType::fromString(u"DLVersionsOk"_s)});
    mobiledevice_sendmsg(socket, agreement, false, serviceTimeoutMs);
    const CFType reply = mobiledevice_recmsg(socket, agreement, serviceTimeoutMs);
    if (!isDeviceReady(reply))
        throw std::runtime_error("invalid feedback after send DLMessageVersionExchange.\n" +
                                 messageText(reply).toStdString());
}

void mobiledevice_link_disconnect(int socket, const QString &message)
{
    const QString text = message.isEmpty() ? QString::fromLatin1(emptyParameter) : message;
    const CFType goodbye =
        messageArray({CFType::fromString(u"DLMessageDisconnect"_s), CFType::fromString(text)});
    mobiledevice_sendmsg(socket, goodbye, true, serviceTimeoutMs);
}

CFType mobiledevice_link_send_process_message(int socket, const CFType &message)
{
    const CFType wrapped = messageArray({CFType::fromString(u"DLMessageProcessMessage"_s), message});
    mobiledevice_sendmsg(socket, wrapped, true, serviceTimeoutMs);
    return wrapped.deepCopy();
}

void mobiledevice_link_sc_recv_dlmessaeg(int socket, CFType &message, QString &name, const CFType &lastSent)
{
    const CFType received = mobiledevice_recmsg(socket, lastSent, serviceTimeoutMs);
    const QString receivedName = nameOf(received);
    if (!receivedName.startsWith("DL"_L1, Qt::CaseInsensitive)) {
        qDebug("mobiledevice_link_sc_recv_dlmessaeg recv invalid msg:\n%ls",
               qUtf16Printable(messageText(received)));
        throw std::runtime_error("Did not receive a DL* message as expected.");
    }
    message = received;
    name = receivedName;
}

void mobiledevice_link_recv(int socket, CFType &message, QString &name)
{
    mobiledevice_link_sc_recv_dlmessaeg(socket, message, name, CFType::none());
}

CFType mobiledevice_link_sc_recv_process_message(int socket, const CFType &lastSent, CFType *whole)
{
    CFType message = CFType::none();
    QString name;
    mobiledevice_link_sc_recv_dlmessaeg(socket, message, name, lastSent);
    if (name != "DLMessageProcessMessage"_L1) {
        qDebug("mobiledevice_link_sc_recv_process_message recv invalid msg:\n%ls",
               qUtf16Printable(messageText(message)));
        throw std::runtime_error("Did not receive DLMessageProcessMessage as expected.");
    }
    if (whole)
        *whole = message;
    return message.arrayCount() > 1 ? message.arrayValue(1).deepCopy() : CFType::none();
}
