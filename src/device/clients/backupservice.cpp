#include "device/clients/backupservice.h"

#include "device/clients/devicelink.h"
#include "device/devicesession.h"
#include "device/servicemessages.h"
#include "device/servicesocket.h"

using namespace Qt::StringLiterals;

namespace
{

CFType key(const QString &name)
{
    return CFType::fromString(name);
}

/// Repeats an option at the top of a request.
void lift(CFType &request, const CFType &options, const QString &name)
{
    const CFType value = options.dictionaryValue(name);
    if (value.ref())
        request.setDictionaryValue(key(name), value);
}

CFType optionsWith(const QString &name, bool value)
{
    CFType options = CFType::newDictionary();
    options.setDictionaryValue(key(name), CFType::fromBool(value));
    return options;
}

} // namespace

void mobiledevice_backup2_start(void *device, int *socket)
{
    mobiledevice_start_service(device, "com.apple.mobilebackup2", socket);
    mobiledevice_link_version_exchange(*socket);
}

double mobiledevice_backup2_version_exchange(int socket, const double *versions, signed char count)
{
    CFType offered = CFType::newArray();
    for (int i = 0; i < count; ++i)
        offered.append(CFType::fromDouble(versions[i]));
    CFType hello = CFType::newDictionary();
    hello.setDictionaryValue(key(u"SupportedProtocolVersions"_s), offered);
    const CFType sent = mobiledevice_backup2_send_message(socket, u"Hello"_s, hello);
    int errorCode = 0;
    const CFType reply = mobiledevice_backup2_recv_response(socket, errorCode, sent, nullptr);
    if (errorCode == 1)
        throw std::runtime_error("mobiledevice_backup2_version_exchange: MOBILEBACKUP2_E_NO_COMMON_VERSION");
    if (errorCode != 0)
        throw std::runtime_error("mobiledevice_backup2_version_exchange: MOBILEBACKUP2_E_REPLY_NOT_OK");
    return reply.dictionaryValue(u"ProtocolVersion"_s).toDouble(0);
}

CFType mobiledevice_backup2_send_message(int socket, const QString &name, CFType dictionary)
{
    dictionary.setDictionaryValue(key(u"MessageName"_s), CFType::fromString(name));
    return mobiledevice_link_send_process_message(socket, dictionary);
}

CFType mobiledevice_backup2_send_request(int socket, const QString &name, const QString &target,
                                         const QString &source, const CFType &options)
{
    CFType request = CFType::newDictionary();
    request.setDictionaryValue(key(u"TargetIdentifier"_s), CFType::fromString(target));
    if (!source.isEmpty())
        request.setDictionaryValue(key(u"SourceIdentifier"_s), CFType::fromString(source));
    if (options.ref())
        request.setDictionaryValue(key(u"Options"_s), options);
    if (name == "Unback"_L1)
        lift(request, options, u"Password"_s);
    if (name == "EnableCloudBackup"_L1)
        lift(request, options, u"CloudBackupState"_s);
    return mobiledevice_backup2_send_message(socket, name, request);
}

CFType mobiledevice_backup2_recv_response(int socket, int &errorCode, const CFType &lastSent, CFType *whole)
{
    CFType message(nullptr, true);
    const CFType reply = mobiledevice_link_sc_recv_process_message(socket, lastSent, &message);
    if (reply.dictionaryValue(u"MessageName"_s).toQString() != "Response"_L1)
        throw std::runtime_error("Did not receive a message(\"Message Name\" is \"Response\").\n" +
                                 messageText(message).toStdString());
    errorCode = reply.dictionaryValue(u"ErrorCode"_s).toInt(0);
    if (whole)
        *whole = message;
    return reply;
}

void mobiledevice_backup2_request_backup(int socket, const QString &target, bool forceFull)
{
    qDebug("Requesting backup from device, %s", forceFull ? "Full backup mode" : "Incremental backup mode");
    const CFType options = forceFull ? optionsWith(u"ForceFullBackup"_s, true) : CFType::none();
    mobiledevice_backup2_send_request(socket, u"Backup"_s, target, target, options);
}

void mobiledevice_backup2_set_cloud_backup(int socket, const QString &target, bool enabled)
{
    qDebug("Set EnableCloudBackup: %d", int(enabled));
    const CFType sent = mobiledevice_backup2_send_request(socket, u"EnableCloudBackup"_s, target, target,
                                                          optionsWith(u"CloudBackupState"_s, enabled));
    int errorCode = 0;
    mobiledevice_backup2_recv_response(socket, errorCode, sent, nullptr);
    if (errorCode != 0)
        throw std::runtime_error("Set EnableCloudBackup error code: " + std::to_string(errorCode));
}

CFType mobiledevice_backup2_send_status_response(int socket, int status, const QString &text,
                                                 const CFType &dictionary)
{
    const CFType nothing = CFType::fromString(QString::fromLatin1(emptyParameter));
    const CFType response = messageArray(
        {CFType::fromString(u"DLMessageStatusResponse"_s), CFType::fromInt32(status),
         text.isEmpty() ? nothing : CFType::fromString(text), dictionary.ref() ? dictionary : nothing});
    mobiledevice_sendmsg(socket, response, true, serviceTimeoutMs);
    return response.deepCopy();
}
