#include "device/clients/mobilesync.h"

#include "device/clients/devicelink.h"
#include "device/devicesession.h"
#include "device/servicemessages.h"
#include "device/servicesocket.h"

using namespace Qt::StringLiterals;

namespace
{

constexpr int protocolVersion = 106;
constexpr int finishTimeoutMs = 3'600'000;

CFType text(const QString &string)
{
    return CFType::fromString(string);
}

void send(int socket, const CFType &message)
{
    mobiledevice_sendmsg(socket, message, false, serviceTimeoutMs);
}

bool isNamed(const CFType &reply, QLatin1StringView name)
{
    return reply.arrayCount() > 0 && reply.arrayValue(0).toQString() == name;
}

CFType element(const CFType &message, long index)
{
    return index < message.arrayCount() ? message.arrayValue(index) : CFType::none();
}

[[noreturn]] void refuse(const char *request, const CFType &reply)
{
    throw std::runtime_error(std::string("invalid feedback after send ") + request + ".\n" +
                             messageText(reply).toStdString());
}

/// Sends `message`, whose name is `request`, and receives the answer of that name.
CFType ask(int socket, const CFType &message, const char *request, QLatin1StringView answer)
{
    send(socket, message);
    const CFType reply = mobiledevice_recmsg(socket, message, serviceTimeoutMs);
    if (!isNamed(reply, answer))
        refuse(request, reply);
    return reply;
}

} // namespace

int mobiledevice_sync_set_tethered(void *device, const QString &dataClass, bool disable)
{
    CFType setting = CFType::newDictionary();
    setting.setDictionaryValue(text(u"DisableTethered"_s), CFType::fromBool(disable));
    return mobiledevice_set_value(device, u"com.apple.mobile.tethered_sync"_s, dataClass, setting);
}

void mobiledevice_sync_start(void *device, const MobileSyncAnchors &anchors, int *socket, bool ping)
{
    mobiledevice_start_service(device, "com.apple.mobilesync", socket);
    mobiledevice_link_version_exchange(*socket);
    const CFType start = messageArray({text(u"SDMessageSyncDataClassWithDevice"_s), text(anchors.dataClass),
                                       text(anchors.deviceAnchor), text(anchors.computerAnchor),
                                       CFType::fromInt32(protocolVersion)});
    ask(*socket, start, "SDMessageSyncDataClassWithDevice", "SDMessageSyncDataClassWithComputer"_L1);
    if (ping)
        send(*socket,
             messageArray({text(u"DLMessagePing"_s), text(u"Preparing to get changes for device"_s)}));
}

QList<CFType> mobiledevice_sync_get_all_records(int socket, const QString &dataClass)
{
    CFType last = messageArray({text(u"SDMessageGetAllRecordsFromDevice"_s), text(dataClass)});
    send(socket, last);
    QList<CFType> records;
    while (true) {
        const CFType reply = mobiledevice_recmsg(socket, last, serviceTimeoutMs);
        if (isNamed(reply, "SDMessageDeviceReadyToReceiveChanges"_L1))
            return records;
        if (!isNamed(reply, "SDMessageProcessChanges"_L1))
            refuse("SDMessageGetAllRecordsFromDevice", reply);
        const CFType some = element(reply, 2);
        if (some.isDictionary())
            records.append(some.deepCopy());
        last = messageArray({text(u"SDMessageAcknowledgeChangesFromDevice"_s), text(dataClass)});
        send(socket, last);
    }
}

CFType mobiledevice_sync_process_changes(int socket, const QString &dataClass, const CFType &entities,
                                         const CFType &actions)
{
    const CFType changes = messageArray(
        {text(u"SDMessageProcessChanges"_s), text(dataClass), entities, CFType::fromBool(false), actions});
    const CFType reply =
        ask(socket, changes, "SDMessageProcessChanges", "SDMessageRemapRecordIdentifiers"_L1);
    return element(reply, 2).deepCopy();
}

void mobiledevice_sync_clear_all_records(int socket, const QString &dataClass)
{
    const CFType request = messageArray({text(u"SDMessageClearAllRecordsOnDevice"_s), text(dataClass),
                                         text(QString::fromLatin1(emptyParameter))});
    ask(socket, request, "SDMessageClearAllRecordsOnDevice", "SDMessageDeviceWillClearAllRecords"_L1);
}

void mobiledevice_sync_finish(int socket, const QString &dataClass)
{
    const CFType request = messageArray({text(u"SDMessageFinishSessionOnDevice"_s), text(dataClass)});
    send(socket, request);
    mobiledevice_recmsg(socket, request, finishTimeoutMs);
}
