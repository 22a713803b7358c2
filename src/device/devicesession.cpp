#include "device/devicesession.h"

#include "device/mobiledevice.h"

#include <map>
#include <mutex>

using namespace Qt::StringLiterals;

namespace
{

/// Calls a function of the phone library that returns a code.
template <typename... Arguments>
int amd(const char *name, Arguments... arguments)
{
    return callResolved<int(Arguments...)>(mobiledevice_resolve, name, arguments...);
}

int failed(QString &errorText, const char *step, int code)
{
    const QString label = u"%1(%2)"_s.arg(QString::fromLatin1(step)).arg(code);
    errorText = u"Please restart your iPhone and computer to try again. If a prompt message pops out on your "
                "iPhone, please click \"Trust\".<br/><br/>Error code: %1"_s.arg(label);
    return code;
}

/// 0, or the code of the step that failed. Only a failed session disconnects: a phone that waits for its
/// owner to trust this computer stays connected for the next try.
int mobiledevice_open_session(void *device, QString &errorText)
{
    if (const int code = amd("AMDeviceConnect", device))
        return failed(errorText, "AMDeviceConnect", code);
    if (amd("AMDeviceIsPaired", device) == 0) {
        if (const int code = amd("AMDevicePair", device))
            return failed(errorText, "AMDevicePair", code);
    }
    if (const int code = amd("AMDeviceValidatePairing", device))
        return failed(errorText, "AMDeviceValidatePairing", code);
    if (const int code = amd("AMDeviceStartSession", device)) {
        amd("AMDeviceDisconnect", device);
        return failed(errorText, "AMDeviceStartSession", code);
    }
    return 0;
}

void mobiledevice_close_session(void *device)
{
    amd("AMDeviceStopSession", device);
    amd("AMDeviceDisconnect", device);
}

/// Of a phone, for good: handles aren't used twice.
std::mutex &turnOf(void *device)
{
    static std::mutex guard;
    static auto *turns = new std::map<void *, std::mutex>; // outlives threads that wait for a phone
    const std::lock_guard lock(guard);
    return (*turns)[device];
}

// Codes of libimobiledevice. Those of the maker's library are others.
constexpr int passwordProtected = -17;
constexpr int dialogResponsePending = -19;

/// An open session, for as long as it stands.
class DeviceSession
{
public:
    explicit DeviceSession(void *handle) : device(handle), turn(turnOf(handle))
    {
        QString errorText;
        if (mobiledevice_open_session(device, errorText) != 0)
            throw std::runtime_error(errorText.toStdString());
    }
    DeviceSession(const DeviceSession &) = delete;
    DeviceSession &operator=(const DeviceSession &) = delete;
    ~DeviceSession()
    {
        try {
            mobiledevice_close_session(device);
        } catch (const std::exception &error) {
            qWarning("%s", error.what()); // the library lacks a name; the session ends with the process
        }
    }

private:
    void *device;
    std::lock_guard<std::mutex> turn;
};

CFType nameOrNull(const QString &name)
{
    return name.isEmpty() ? CFType::none() : CFType::fromString(name);
}

} // namespace

bool mobiledevice_is_trusted(void *device)
{
    const std::lock_guard turn(turnOf(device));
    QString errorText;
    const int code = mobiledevice_open_session(device, errorText);
    if (code == passwordProtected || code == dialogResponsePending)
        return false;
    if (code != 0)
        throw std::runtime_error(errorText.toStdString());
    mobiledevice_close_session(device);
    return true;
}

void mobiledevice_start_service(void *device, const char *serviceName, int *socket)
{
    const QString name = QString::fromLatin1(serviceName);
    const CFType nameValue = CFType::fromString(name);
    int code = 0;
    {
        const DeviceSession session(device);
        void *const noOptions = nullptr;
        code = amd("AMDeviceStartService", device, nameValue.ref(), socket, noOptions);
    }
    if (code != 0)
        throw std::runtime_error(
            (u"Please turn off Wifi Sync on iTunes to try again.<br/>To do this:  Launch iTunes -&gt; "
             u"Connect "
             "your device -&gt; Go Summary -&gt; Options -&gt; Uncheck Sync with this device over "
             "Wi-Fi.<br/><br/>Error code: AMDeviceStartService(%1)=%2"_s.arg(name)
                 .arg(code))
                .toStdString());
}

QList<CFType> mobiledevice_copy_values(void *device, const QStringList &keys, const QString &domain)
{
    const CFType domainName = nameOrNull(domain);
    const DeviceSession session(device);
    QList<CFType> values;
    for (const QString &key : keys) {
        const CFType keyName = nameOrNull(key);
        const auto value = callResolved<CFTypeRef(void *, CFTypeRef, CFTypeRef)>(
            mobiledevice_resolve, "AMDeviceCopyValue", device, domainName.ref(), keyName.ref());
        values.append(CFType(value, true));
    }
    return values;
}

int mobiledevice_set_value(void *device, const QString &domain, const QString &key, const CFType &value)
{
    const CFType domainName = CFType::fromString(domain);
    const CFType keyName = CFType::fromString(key);
    const DeviceSession session(device);
    return amd("AMDeviceSetValue", device, domainName.ref(), keyName.ref(), value.ref());
}

QString mobiledevice_copy_identifier(void *device)
{
    const DeviceSession session(device);
    return CFType(
               callResolved<CFTypeRef(void *)>(mobiledevice_resolve, "AMDeviceCopyDeviceIdentifier", device),
               true)
        .toQString();
}
