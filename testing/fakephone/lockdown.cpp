#include "testing/fakephone/fakephone.h"

using namespace Qt::StringLiterals;

namespace
{

QVariantMap failure(const QString &error)
{
    return {{u"Error"_s, error}};
}

QVariantMap pairAnswer(const FakePhone &phone, const QVariantMap &record)
{
    switch (phone.trust) {
    case Trust::Given: keepPairing(record); return {{u"EscrowBag"_s, QByteArray(32, 'e')}};
    case Trust::Refused: return failure(u"UserDeniedPairing"_s);
    case Trust::NotAnswered: return failure(u"PairingDialogResponsePending"_s);
    case Trust::PasscodeWanted: return failure(u"PasswordProtected"_s);
    }
    return {};
}

QVariantMap valueAnswer(const FakePhone &phone, const QVariantMap &request)
{
    const QString domain = request.value(u"Domain"_s).toString();
    const QString key = request.value(u"Key"_s).toString();
    const QVariantMap all = domain.isEmpty() ? phone.values : phone.domains.value(domain);
    const QVariant value = key.isEmpty() ? QVariant(all) : all.value(key);
    return value.isValid() && !all.isEmpty() ? QVariantMap{{u"Value"_s, value}} : failure(u"MissingValue"_s);
}

QVariantMap serviceAnswer(const FakePhone &phone, const QString &name)
{
    if (servicePort(name) == 0 || phone.missingServices.contains(name))
        return failure(u"InvalidService"_s);
    return {{u"Service"_s, name},
            {u"Port"_s, servicePort(name)},
            {u"EnableServiceSSL"_s, phone.servicesAreEnciphered}};
}

QVariantMap sessionAnswer(FakePhone &phone, const QString &hostId)
{
    const std::optional<Pairing> pairing = pairingWith(hostId);
    if (phone.trust != Trust::Given || !pairing)
        return failure(u"InvalidHostID"_s);
    phone.noteSession(*pairing);
    return {{u"SessionID"_s, u"1"_s}, {u"EnableSessionSSL"_s, phone.sessionsAreEnciphered}};
}

QVariantMap answer(FakePhone &phone, const QString &request, const QVariantMap &message)
{
    if (request == u"QueryType"_s)
        return {{u"Type"_s, u"com.apple.mobile.lockdown"_s}};
    if (request == u"GetValue"_s)
        return valueAnswer(phone, message);
    if (request == u"SetValue"_s) {
        phone.notePosted(message.value(u"Domain"_s).toString() + u'/' + message.value(u"Key"_s).toString());
        return {{u"Value"_s, message.value(u"Value"_s)}};
    }
    if (request == u"Pair"_s)
        return pairAnswer(phone, message.value(u"PairRecord"_s).toMap());
    if (request == u"ValidatePair"_s)
        return pairingWith(message.value(u"PairRecord"_s).toMap().value(u"HostID"_s).toString())
                   ? QVariantMap()
                   : failure(u"InvalidHostID"_s);
    if (request == u"StartSession"_s)
        return sessionAnswer(phone, message.value(u"HostID"_s).toString());
    if (request == u"StartService"_s)
        return serviceAnswer(phone, message.value(u"Service"_s).toString());
    return {}; // StopSession, Goodbye
}

} // namespace

FakePhone::FakePhone(const QString &identifier) : udid(identifier)
{
    values = {{u"UniqueDeviceID"_s, udid},
              {u"DeviceName"_s, u"Ann's iPhone"_s},
              {u"DeviceClass"_s, u"iPhone"_s},
              {u"ProductType"_s, u"iPhone3,1"_s},
              {u"ProductVersion"_s, u"6.1.3"_s},
              {u"BuildVersion"_s, u"10B329"_s},
              {u"HardwareModel"_s, u"N90AP"_s},
              {u"SerialNumber"_s, u"C00000000001"_s},
              {u"MobileSubscriberCountryCode"_s, u"214"_s},
              {u"WiFiAddress"_s, u"00:00:00:00:00:01"_s},
              {u"DevicePublicKey"_s, phonePublicKey()}};
    domains[u"com.apple.disk_usage"_s] = {{u"TotalDataCapacity"_s, 2'000'000'000},
                                          {u"AmountDataAvailable"_s, 1'900'000'000}};
    domains[u"com.apple.mobile.backup"_s] = {{u"CloudBackupEnabled"_s, false}, {u"WillEncrypt"_s, false}};
}

QStringList FakePhone::posted() const
{
    const std::lock_guard lock(mutex);
    return postedNames;
}

void FakePhone::notePosted(const QString &name)
{
    const std::lock_guard lock(mutex);
    postedNames.append(name);
}

TlsManners FakePhone::tlsManners() const
{
    const std::lock_guard lock(mutex);
    return {lastSession, speaksOldTls, isImpostor};
}

void FakePhone::noteSession(const Pairing &pairing)
{
    const std::lock_guard lock(mutex);
    lastSession = pairing;
}

void countTurns(FakePhone &phone, Stream &stream)
{
    stream.beforeSend = [&phone] {
        if (++phone.piecesSent == phone.turn)
            phone.atTurn();
    };
}

void serveLockdown(FakePhone &phone, int descriptor)
{
    const std::unique_ptr<Stream> plain = plainStream(descriptor);
    std::unique_ptr<Stream> enciphered;
    countTurns(phone, *plain);
    while (true) {
        Stream &stream = enciphered ? *enciphered : *plain;
        const QVariantMap message = stream.receiveList().toMap();
        const QString request = message.value(u"Request"_s).toString();
        QVariantMap reply = answer(phone, request, message);
        reply.insert(u"Request"_s, request);
        if (!reply.contains(u"Error"_s))
            reply.insert(u"Result"_s, u"Success"_s);
        stream.sendList(reply);
        if (request == u"StopSession"_s)
            enciphered.reset();
        if (reply.value(u"EnableSessionSSL"_s).toBool()) {
            TlsManners manners = phone.tlsManners();
            manners.isImpostor = false;
            enciphered = tlsStream(descriptor, manners);
            countTurns(phone, *enciphered);
        }
    }
}
