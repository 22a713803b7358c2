// The clients of a phone's services, through the libraries that stand in for the maker's, against a phone
// that is well or badly behaved.

#include "device/clients/afcconnection.h"
#include "device/clients/afcpackets.h"
#include "device/clients/backupservice.h"
#include "device/clients/devicelink.h"
#include "device/clients/mobilesync.h"
#include "device/devicesession.h"
#include "device/filerelay.h"
#include "device/iosdevice.h"
#include "device/notificationproxy.h"
#include "device/servicemessages.h"
#include "device/servicesocket.h"
#include "testing/helpers/phonestand.h"
#include "testing/helpers/testtools.h"

#include <QTest>

#include <thread>

#include <sys/resource.h>
#include <sys/socket.h>

using namespace Qt::StringLiterals;

namespace
{

/// The most memory that this process ever had, in KiB.
qint64 peakMemory()
{
    rusage usage = {};
    return ::getrusage(RUSAGE_SELF, &usage) == 0 ? usage.ru_maxrss : 0;
}

/// Both ends of the socket of a service.
struct Line {
    Line()
    {
        int pair[2];
        if (::socketpair(AF_UNIX, SOCK_STREAM, 0, pair) != 0)
            throw std::runtime_error("no socket pair");
        *phone.target() = pair[0];
        *program.target() = pair[1];
    }
    void say(const QByteArray &bytes) const
    {
        socket_send(phone.descriptor(), bytes.constData(), int(bytes.size()), 100);
    }

    ServiceSocket phone, program;
};

QByteArray afcPacket(quint64 entireLength, quint64 operation, const QByteArray &payload)
{
    return "CFA6LPAA" + afcNumber(entireLength) + afcNumber(40) + afcNumber(7) + afcNumber(operation) +
           payload;
}

void startLink(void *phone, const char *service)
{
    ServiceSocket socket;
    mobiledevice_start_service(phone, service, socket.target());
    mobiledevice_link_version_exchange(socket.descriptor());
}

void askRelay(void *phone)
{
    ServiceSocket socket;
    mobiledevice_file_relay_start(phone, socket.target());
    mobiledevice_file_relay_request(socket.descriptor(), {u"UserDatabases"_s});
}

void listMedia(void *phone)
{
    AfcConnection afc(phone);
    afc.connect({});
    afc.list(u"/"_s);
}

void hearNotification(void *phone)
{
    ServiceSocket socket;
    mobiledevice_start_service(phone, "com.apple.mobile.notification_proxy", socket.target());
    mobiledevice_notification_get_throw(socket.descriptor());
}

} // namespace

class TestServices : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void tellsWhoThePhoneIs();
    void saysWhyAPhoneIsOutOfReach_data();
    void saysWhyAPhoneIsOutOfReach();
    void standsUpToBadManners_data();
    void standsUpToBadManners();
    void stopsWaitingForTheRest();
    void packetsComeWholeOrNotAtAll_data();
    void packetsComeWholeOrNotAtAll();
    void movesFiles_data();
    void movesFiles();
    void refusesAnImpostor();
    void hearsAndPostsNotifications();
    void asksForBackups();
    void syncsRecords();
    void wrongKindsGiveDefaults();

private:
    PhoneStand stand;
};

void TestServices::tellsWhoThePhoneIs()
{
    FakePhone &first = stand.newPhone();
    FakePhone &second = stand.newPhone();
    second.values[u"DeviceName"_s] = u"Bob’s iPhone"_s;
    void *const ann = stand.plugIn(first);
    void *const bob = stand.plugIn(second);
    QVERIFY(ann && bob && ann != bob);
    QCOMPARE(readDevice(bob).deviceName, u"Bob’s iPhone"_s);
    const IOSDevice phone = readDevice(ann);
    QCOMPARE(phone.uniqueDeviceID, first.udid);
    QCOMPARE(phone.versionNumbers(), QList<int>({6, 1, 3}));
    QCOMPARE(mobiledevice_copy_identifier(ann), first.udid);
    const QList<CFType> values = mobiledevice_copy_values(ann, {u"Nothing"_s, u"DeviceName"_s}, {});
    QVERIFY(values.size() == 2 && !values.first().ref());
    QCOMPARE(values.last().toQString(), phone.deviceName);
    QCOMPARE(mobiledevice_sync_set_tethered(ann, u"com.apple.Contacts"_s, true), 0);
    QCOMPARE(first.posted(), QStringList({u"com.apple.mobile.tethered_sync/com.apple.Contacts"_s}));
    QVERIFY(stand.pullOut(first, ann) && stand.pullOut(second, bob));
    QVERIFY(failureOf([&] { readDevice(ann); }).contains(u"AMDeviceConnect(-"_s));
    QVERIFY(stand.plugIn(first) != ann);
}

void TestServices::saysWhyAPhoneIsOutOfReach_data()
{
    QTest::addColumn<Trust>("trust");
    QTest::addColumn<QString>("label");
    QTest::newRow("the owner says no") << Trust::Refused << u"AMDevicePair(-18)"_s;
    QTest::newRow("the owner doesn't look") << Trust::NotAnswered << u"AMDevicePair(-19)"_s;
    QTest::newRow("the passcode isn't entered") << Trust::PasscodeWanted << u"AMDevicePair(-17)"_s;
    QTest::newRow("the service is missing")
        << Trust::Given << u"AMDeviceStartService(com.apple.mobile.file_relay)=-"_s;
}

void TestServices::saysWhyAPhoneIsOutOfReach()
{
    QFETCH(Trust, trust);
    QFETCH(QString, label);
    FakePhone &phone = stand.newPhone();
    phone.trust = trust;
    phone.isPairedAlready = false;
    phone.missingServices = QStringList({u"com.apple.mobile.file_relay"_s});
    void *const handle = stand.plugIn(phone);
    const QString error = failureOf([&] { askRelay(handle); });
    QVERIFY2(error.contains(u"<br/><br/>Error code: "_s + label), qPrintable(error));
    phone.trust = Trust::Given; // the owner has second thoughts
    QCOMPARE(readDevice(handle).uniqueDeviceID, phone.udid);
    phone.trust = Trust::Refused;
    QVERIFY(failureOf([&] { readDevice(handle); }).contains(u"AMDeviceValidatePairing(-18)"_s));
}

void TestServices::standsUpToBadManners_data()
{
    using Ask = std::function<void(void *)>;
    const auto link = [](const char *service) {
        return Ask([=](void *phone) { startLink(phone, service); });
    };
    const auto received = [](const char *part, int count) {
        return u"mobiledevice_recmsg(%1) error, received length: %2."_s.arg(QLatin1StringView(part))
            .arg(count);
    };
    const QString noAgreement = u"invalid feedback after send DLMessageVersionExchange.\n<?xml"_s;
    const struct {
        const char *service;
        Ask ask;
        QString wrongType;
    } services[] = {
        {"com.apple.mobile.file_relay", askRelay, u"invalid feedback.\n<?xml"_s},
        {"com.apple.mobile.notification_proxy", hearNotification,
         u"unknown NotificationProxy command '' received!"_s},
        {"com.apple.mobilebackup2", link("com.apple.mobilebackup2"), noAgreement},
        {"com.apple.mobilesync", link("com.apple.mobilesync"), noAgreement},
        {"com.apple.mobile.house_arrest",
         [](void *phone) { AfcConnection(phone).connect(u"org.example.app"_s); },
         u"can not find org.example.app."_s},
        {"com.apple.afc", listMedia, u"read AFC header failed."_s},
    };
    QTest::addColumn<QString>("service");
    QTest::addColumn<Ask>("ask");
    QTest::addColumn<Manners>("manners");
    QTest::addColumn<QString>("error");
    for (const auto &row : services) {
        const QString name = QString::fromLatin1(row.service);
        const auto add = [&](const char *manners, Manners kind, const QString &error) {
            QTest::addRow("%s, %s", row.service, manners)
                << name << row.ask << kind << (name == u"com.apple.afc"_s ? row.wrongType : error);
        };
        add("wrong type", Manners::WrongType, row.wrongType);
        add("short frame", Manners::ShortFrame, received("msg-length", 2));
        add("half a message", Manners::ClosesInMessage, received("msg", 10));
        add("silent until it is pulled", Manners::Silence, received("msg-length", 0));
        add("four gigabytes of nothing until it is pulled", Manners::HugeLength, received("msg", 0));
    }
}

void TestServices::standsUpToBadManners()
{
    QFETCH(QString, service);
    QFETCH(std::function<void(void *)>, ask);
    QFETCH(Manners, manners);
    QFETCH(QString, error);
    FakePhone &phone = stand.newPhone();
    phone.manners.insert(service, manners);
    void *const handle = stand.plugIn(phone);
    const qint64 before = peakMemory();
    const bool isPulled = manners == Manners::Silence || manners == Manners::HugeLength;
    std::thread owner([&] {
        if (isPulled)
            stand.pullOutWhenSilent(phone);
    });
    const QString thrown = failureOf([&] { ask(handle); });
    owner.join();
    QVERIFY2(thrown.startsWith(error), qPrintable(thrown));
    QVERIFY(peakMemory() - before < 64 * 1024);
    QCOMPARE(failureOf([&] { readDevice(handle); }).isEmpty(), !isPulled);
}

void TestServices::stopsWaitingForTheRest()
{
    const Line line;
    const int phone = line.phone.descriptor();
    const int program = line.program.descriptor();
    line.say("ab");
    char buffer[4];
    QCOMPARE(socket_receive(program, buffer, 4, 30), 2);
    // What drew no answer is quoted, 800 characters of it at most; what has no form isn't sent.
    const CFType sent = CFType::fromString(QString(2000, u'x'));
    line.say("\xFF\xFF\xFF\xF0");
    const QString error = failureOf([&] { mobiledevice_recmsg(program, sent, 30); });
    QCOMPARE(error.section(u'\n', 1).size(), 800);
    line.say("\xFF\xFF\xFF\xF0"); // nor is a person who gives up kept waiting for an hour
    const auto giveUp = [turn = 0]() mutable {
        if (++turn > 2)
            throw std::runtime_error("given up");
    };
    QCOMPARE(failureOf([&] { mobiledevice_recmsg(program, sent, 3'600'000, giveUp); }), u"given up"_s);
    line.say("\xFF\xFF\xFF\xF0");
    QCOMPARE(failureOf([&] { mobiledevice_recmsg(program, sent, 0, giveUp); }), u"given up"_s); // in the body
    CFType secret = CFType::newDictionary();
    secret.setDictionaryValue(CFType::fromString(u"BackupPassword"_s), CFType::fromString(u"sesame"_s));
    line.say("\xFF\xFF\xFF\xF0");
    const QString quote = failureOf([&] { mobiledevice_recmsg(program, secret, 30); });
    QVERIFY(quote.contains(u"BackupPassword"_s) && !quote.contains(u"sesame"_s));
    mobiledevice_sendmsg(phone, CFType(nullptr, true), true, 30);
    QCOMPARE(socket_wait(program, 10, true), 0);
    // A phone that stops reading holds nobody either.
    const CFType large = CFType::fromBytes(QByteArray(8 << 20, 'x'));
    QVERIFY(failureOf([&] {
                mobiledevice_sendmsg(program, large, true, 30);
            }).startsWith(u"mobiledevice_sendmsg(msg) error.\n<?xml"_s));
}

void TestServices::packetsComeWholeOrNotAtAll_data()
{
    QTest::addColumn<QByteArray>("packet");
    QTest::addColumn<QString>("error");
    const QString noHeader = u"read AFC header failed."_s;
    const QString noPayload = u"read AFC file block data failed."_s;
    QTest::newRow("data") << afcPacket(44, 2, "abcd") << QString();
    QTest::newRow("more data than was asked for") << afcPacket(45, 2, "abcde") << noPayload;
    QTest::newRow("success") << afcPacket(48, 1, afcNumber(0)) << QString();
    QTest::newRow("success without its word") << afcPacket(44, 1, "\0\0\0") << noPayload;
    QTest::newRow("a refusal") << afcPacket(48, 1, afcNumber(8))
                               << u"read AFC failed, received AFC_OP_STATUS, param1=8."_s;
    QTest::newRow("a file that nobody opened")
        << afcPacket(48, 14, afcNumber(3))
        << u"read AFC failed, Unknown operation code received 14, param1=3."_s;
    QTest::newRow("no packet") << QByteArray(40, 'x') << noHeader;
    QTest::newRow("shorter than its header") << afcPacket(39, 2, {}) << noHeader;
    QTest::newRow("eighteen exabytes of nothing") << afcPacket(~quint64(0), 1, {}) << noPayload;
}

void TestServices::packetsComeWholeOrNotAtAll()
{
    QFETCH(QByteArray, packet);
    const qint64 before = peakMemory();
    const auto answer = [&](qsizetype length) {
        Line line;
        line.say(packet.left(length));
        line.phone.close();
        char target[4];
        return failureOf([&] { receiveAfcData(line.program.descriptor(), target, sizeof target); });
    };
    QTEST(answer(packet.size()), "error");
    for (qsizetype length = 0; length < packet.size(); ++length)
        QVERIFY(!answer(length).isEmpty());
    QVERIFY(peakMemory() - before < 64 * 1024);
}

void TestServices::movesFiles_data()
{
    QTest::addColumn<bool>("isEnciphered");
    QTest::addColumn<QString>("version");
    QTest::newRow("plain") << false << u"6.1.3"_s;
    QTest::newRow("enciphered as old phones do") << true << u"9.3"_s;
    QTest::newRow("enciphered") << true << u"16.1"_s;
}

void TestServices::movesFiles()
{
    QFETCH(bool, isEnciphered);
    QFETCH(QString, version);
    const QTemporaryDir folder;
    FakePhone &phone = stand.newPhone();
    phone.servicesAreEnciphered = isEnciphered;
    phone.values[u"ProductVersion"_s] = version;
    phone.speaksOldTls = version == u"9.3"_s;
    phone.containers.insert(u"org.example.app"_s, QDir(folder.path()));
    AfcConnection afc(stand.plugIn(phone));
    QCOMPARE(failureOf([&] { afc.connect(u"org.none"_s); }), u"can not find org.none."_s);
    afc.connect(u"org.example.app"_s);
    QByteArray content(3'000'001, '\0');
    for (qsizetype i = 0; i < content.size(); ++i)
        content[i] = char(i * 7 + (i >> 9));
    AfcFile written = afc.openWrite(u"/new"_s);
    QCOMPARE(written.write(content.constData(), content.size()), content.size());
    QCOMPARE(written.close() + written.close(), 0);
    QVERIFY(afc.makeDirectory(u"/sub"_s) && afc.rename(u"/new"_s, u"/sub/old"_s));
    AfcFile read = afc.openRead(u"/sub/old"_s);
    QByteArray came(content.size() + 10, '\0');
    QCOMPARE(read.read(came.data(), 0), 0);
    QCOMPARE(read.read(came.data(), came.size()), content.size());
    QVERIFY(came.startsWith(content));
    QVERIFY(read.control(6) == 0 && read.close() == 0);
    QCOMPARE(read.control(6), 8); // the phone knows no such file
    QVERIFY(afc.list(u"/"_s).contains(u".."_s));
    const QList<AfcFileInfo> infos = afc.listInfo(u"/"_s);
    QVERIFY(infos.size() == 1 && infos.first().isDirectory() && infos.first().name == u"sub"_s);
    const AfcFileInfo info = afc.fileInfo(u"/sub/old"_s);
    QVERIFY(info.isFile() && info.size == content.size());
    QVERIFY(qAbs(info.modified.secsTo(QDateTime::currentDateTime())) < 600);
    QCOMPARE(afc.openRead(u"/none"_s).handle, 0U);
    QVERIFY(afc.removePath(u"/sub/old"_s) && !afc.removePath(u"/sub/old"_s));
}

// Another phone in its place, or one that was wiped, mustn't be trusted with anything.
void TestServices::refusesAnImpostor()
{
    FakePhone &phone = stand.newPhone();
    phone.servicesAreEnciphered = true;
    phone.isImpostor = true;
    void *const handle = stand.plugIn(phone);
    QVERIFY(failureOf([&] { listMedia(handle); }).contains(u"AMDeviceStartService(com.apple.afc)=-"_s));
    phone.isImpostor = false;
    QVERIFY(failureOf([&] { listMedia(handle); }).isEmpty());
}

void TestServices::hearsAndPostsNotifications()
{
    FakePhone &phone = stand.newPhone();
    phone.relayedNotifications = QStringList({u"org.example.changed"_s});
    void *const handle = stand.plugIn(phone);
    mobiledevice_notification_thread thread(handle, nullptr);
    QStringList heard;
    connect(&thread, &mobiledevice_notification_thread::recNotification, this,
            [&](const QString &name) { heard.append(name); });
    thread.observe({u"org.example.quiet"_s, u"org.example.changed"_s});
    thread.start();
    QTRY_COMPARE(heard, QStringList({u"org.example.changed"_s}));
    ServiceSocket socket;
    mobiledevice_start_service(handle, "com.apple.mobile.notification_proxy", socket.target());
    mobiledevice_notification_post(socket.descriptor(), u"org.example.done"_s);
    QCOMPARE(phone.posted(), QStringList({u"org.example.done"_s}));
}

void TestServices::asksForBackups()
{
    void *const handle = stand.plugIn(stand.newPhone());
    ServiceSocket socket;
    mobiledevice_backup2_start(handle, socket.target());
    const double versions[] = {2.0, 2.1};
    QCOMPARE(mobiledevice_backup2_version_exchange(socket.descriptor(), versions, 2), 2.1);
    mobiledevice_backup2_set_cloud_backup(socket.descriptor(), u"me"_s, false);
    const CFType none(nullptr, true);
    const CFType plain = mobiledevice_backup2_send_request(socket.descriptor(), u"Info"_s, u"me"_s, {}, none);
    QCOMPARE(plain.arrayValue(1).dictionaryCount(), 2); // neither source nor options
    CFType options = CFType::newDictionary();
    options.setDictionaryValue(CFType::fromString(u"Password"_s), CFType::fromString(u"sesame"_s));
    const CFType unback =
        mobiledevice_backup2_send_request(socket.descriptor(), u"Unback"_s, u"me"_s, u"me"_s, options);
    QCOMPARE(unback.arrayValue(1).dictionaryValue(u"Password"_s).toQString(), u"sesame"_s);
    const CFType status = mobiledevice_backup2_send_status_response(socket.descriptor(), 0, {}, none);
    QCOMPARE(status.arrayValue(3).toQString(), u"___EmptyParameterString___"_s);
}

void TestServices::syncsRecords()
{
    FakePhone &phone = stand.newPhone();
    phone.syncRecords = {{{u"1"_s, u"Ann"_s}}, {{u"2"_s, u"Bob"_s}}};
    ServiceSocket socket;
    const QString people = u"com.apple.Contacts"_s;
    mobiledevice_sync_start(stand.plugIn(phone), {people, u"a"_s, u"b"_s}, socket.target(), true);
    const QList<CFType> records = mobiledevice_sync_get_all_records(socket.descriptor(), people);
    QCOMPARE(records.size(), 2);
    QCOMPARE(records.last().dictionaryValue(u"2"_s).toQString(), u"Bob"_s);
    const CFType changed = mobiledevice_sync_process_changes(socket.descriptor(), people, records.first(),
                                                             CFType::newDictionary());
    QCOMPARE(changed.dictionaryValue(u"1"_s).toQString(), u"Ann"_s);
    mobiledevice_sync_clear_all_records(socket.descriptor(), people);
    mobiledevice_sync_finish(socket.descriptor(), people);
}

void TestServices::wrongKindsGiveDefaults()
{
    const CFType nothing(nullptr, true);
    QVERIFY(!nothing.deepCopy().ref() && nothing.toText().isEmpty() && nothing.dictionaryKeys().isEmpty());
    QCOMPARE(CFType::fromInt32(7).toBool(true), true);
    QCOMPARE(CFType::fromString(u"7"_s).toInt(3), 3);
    QCOMPARE(CFType::fromDouble(1e300).toInt(3), 3);
    QCOMPARE(CFType::fromInt64(std::numeric_limits<qint64>::max()).toInt(3), 3);
    QVERIFY(!CFType::fromBool(true).dictionaryValue(u"x"_s).ref());
    QVERIFY(!CFType::fromPropertyListBytes("<plist").ref());
    QCOMPARE(CFType::fromInt64(Q_INT64_C(-9'000'000'000)).toText(), u"-9000000000"_s);
    QCOMPARE(CFType::fromDouble(0.5).deepCopy().toText(), u"0.5"_s);
    QCOMPARE(CFType::fromString(u"Größe \U0001F600"_s).deepCopy().toQString(), u"Größe \U0001F600"_s);
    const QDateTime date(QDate(2012, 2, 29), QTime(23, 59, 58));
    QCOMPARE(CFType::fromDateTime(date).deepCopy().toDateTime(3600.0), date.addSecs(3600));
    CFType outer = CFType::newDictionary();
    {
        CFType inner = CFType::newArray();
        inner.append(CFType::fromBytes(QByteArray("a\0b", 3)));
        outer.setDictionaryValue(CFType::fromString(u"list"_s), inner);
    }
    for (const int form : {kCFPropertyListXMLFormat_v1_0, kCFPropertyListBinaryFormat_v1_0}) {
        const CFType back = CFType::fromPropertyListBytes(outer.toPropertyListBytes(form));
        QCOMPARE(back.dictionaryValue(u"list"_s).arrayValue(0).toByteArray(), QByteArray("a\0b", 3));
    }
}

QTEST_GUILESS_MAIN(TestServices)
#include "testservices.moc"
