#include "testing/fakephone/fakephone.h"

using namespace Qt::StringLiterals;

namespace
{

void serveNotificationProxy(FakePhone &phone, Stream &stream)
{
    while (true) {
        const QVariantMap message = stream.receiveList().toMap();
        const QString command = message.value(u"Command"_s).toString();
        const QString name = message.value(u"Name"_s).toString();
        if (command == u"ObserveNotification"_s && phone.relayedNotifications.contains(name)) {
            stream.sendList(QVariantMap{{u"Command"_s, u"RelayNotification"_s}, {u"Name"_s, name}});
        } else if (command == u"PostNotification"_s) {
            phone.notePosted(name);
        } else if (command == u"Shutdown"_s) {
            stream.sendList(QVariantMap{{u"Command"_s, u"ProxyDeath"_s}});
            return;
        }
    }
}

void serveFileRelay(FakePhone &phone, Stream &stream)
{
    const QStringList sources = stream.receiveList().toMap().value(u"Sources"_s).toStringList();
    if (sources != QStringList{u"UserDatabases"_s}) {
        stream.sendList(QVariantMap{{u"Error"_s, u"InvalidSource"_s}});
        return;
    }
    stream.sendList(QVariantMap{{u"Status"_s, u"Acknowledged"_s}});
    const qsizetype piece = std::max<qsizetype>(64, phone.relayArchive.size() / 16);
    for (qsizetype at = 0; at < phone.relayArchive.size(); at += piece)
        stream.send(phone.relayArchive.mid(at, piece));
    const QByteArray nothing(512 * 1024, '\0');
    for (qint64 left = phone.relayBytes; left > 0; left -= nothing.size())
        stream.send(nothing);
}

void serveSync(FakePhone &phone, Stream &stream)
{
    openLink(stream);
    QList<QVariantMap> left = phone.syncRecords;
    const auto next = [&](const QString &dataClass) {
        if (left.isEmpty()) {
            stream.sendList(QVariantList{u"SDMessageDeviceReadyToReceiveChanges"_s});
        } else {
            const QVariantMap record = left.takeFirst();
            stream.sendList(QVariantList{u"SDMessageProcessChanges"_s, dataClass, record, !left.isEmpty(),
                                         QVariantMap()});
        }
    };
    while (true) {
        const QVariantList message = stream.receiveList().toList();
        const QString name = message.value(0).toString();
        const QString dataClass = message.value(1).toString();
        if (name == u"SDMessageSyncDataClassWithDevice"_s)
            stream.sendList(QVariantList{u"SDMessageSyncDataClassWithComputer"_s, dataClass, message.value(2),
                                         message.value(3), u"SDSyncTypeSlow"_s, message.value(4),
                                         u"___EmptyParameterString___"_s});
        else if (name == u"SDMessageGetAllRecordsFromDevice"_s ||
                 name == u"SDMessageAcknowledgeChangesFromDevice"_s)
            next(dataClass);
        else if (name == u"SDMessageProcessChanges"_s)
            stream.sendList(QVariantList{u"SDMessageRemapRecordIdentifiers"_s, dataClass, message.value(2)});
        else if (name == u"SDMessageClearAllRecordsOnDevice"_s)
            stream.sendList(QVariantList{u"SDMessageDeviceWillClearAllRecords"_s});
        else if (name == u"SDMessageFinishSessionOnDevice"_s)
            stream.sendList(QVariantList{u"SDMessageDeviceFinishedSession"_s});
    }
}

void stayStill(FakePhone &phone, Stream &stream)
{
    phone.isSilent = true;
    phone.isSilent.notify_all();
    while (true)
        stream.receive(1);
}

const QMap<QString, void (*)(FakePhone &, Stream &)> services = {
    {u"com.apple.afc"_s, [](FakePhone &phone, Stream &stream) { serveAfc(phone.media, stream); }},
    {u"com.apple.mobile.house_arrest"_s, serveHouseArrest},
    {u"com.apple.mobile.notification_proxy"_s, serveNotificationProxy},
    {u"com.apple.mobile.file_relay"_s, serveFileRelay},
    {u"com.apple.mobilebackup2"_s, serveBackup},
    {u"com.apple.mobilesync"_s, serveSync}};
constexpr quint16 firstPort = 50000;

} // namespace

void openLink(Stream &stream)
{
    stream.sendList(QVariantList{u"DLMessageVersionExchange"_s, 300, 0});
    stream.receiveList();
    stream.sendList(QVariantList{u"DLMessageDeviceReady"_s});
}

quint16 servicePort(const QString &name)
{
    const qsizetype place = services.keys().indexOf(name);
    return place < 0 ? 0 : quint16(firstPort + place);
}

QString serviceOfPort(quint16 port)
{
    return services.keys().value(port - firstPort);
}

void serveService(FakePhone &phone, const QString &name, Stream &stream)
{
    const Manners manners = phone.manners.value(name, Manners::Good);
    if (manners != Manners::Good && name == u"com.apple.afc"_s)
        stream.receive(42); // what asks for the list of "/"
    const QStringList asked = {u"com.apple.mobile.file_relay"_s, u"com.apple.mobile.house_arrest"_s};
    if (manners != Manners::Good && asked.contains(name))
        stream.receiveList();
    switch (manners) {
    case Manners::Good: break;
    case Manners::ShortFrame: stream.send(QByteArray(2, '\0')); return;
    case Manners::HugeLength: stream.send(bigEndian(0xFFFFFFF0)); return stayStill(phone, stream);
    case Manners::Silence: return stayStill(phone, stream);
    case Manners::ClosesInMessage: stream.send(bigEndian(100) + "half of it"); return;
    case Manners::WrongType:
        stream.sendList(7);
        stream.sendList(7); // for those who answer the first one
        return stayStill(phone, stream);
    }
    services.value(name)(phone, stream);
}
