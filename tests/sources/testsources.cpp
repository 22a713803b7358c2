#include "app/datalocations.h"
#include "device/iosdevice.h"
#include "sources/choice.h"
#include "sources/choicedates.h"
#include "sources/findsource.h"
#include "sources/opensource.h"
#include "sources/phones.h"
#include "sources/readsource.h"
#include "store/readers/absmessagedb.h"
#include "store/readers/openmessagedb.h"
#include "store/records/messagetext.h"
#include "testing/builders/addressbookbuilder.h"
#include "testing/builders/smsdbbuilder.h"
#include "testing/helpers/records.h"
#include "testing/helpers/testtools.h"

#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;

class TestSources : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void aNameStandsForOneKindOfSource();
    void aDatabaseAloneIsReadUntouched();
    void phonesDoWhatTheirSystemCan_data();
    void phonesDoWhatTheirSystemCan();
    void aMessageOfTwoConversationsIsListedInBoth();
    void aChoiceTakesWhatItSays_data();
    void aChoiceTakesWhatItSays();
    void daysAreThoseOfTheLocalCalendar_data();
    void daysAreThoseOfTheLocalCalendar();
};

void TestSources::aNameStandsForOneKindOfSource()
{
    const QTemporaryDir dir;
    const QString database = localDatabasesDir().filePath(u"Kept"_s);
    QVERIFY(QDir().mkpath(database));
    // An unfinished backup is a backup still, also where a phone's tree lies beside its list.
    SmsDbBuilder(QDir(dir.filePath(u"backup"_s))).chat(u"+1"_s).write();
    QVERIFY(writeFile(dir.filePath(u"backup/Manifest.db"_s), "x"));
    SmsDbBuilder(QDir(dir.filePath(u"phone"_s))).chat(u"+1"_s).write();
    QCOMPARE(findSource(dir.filePath(u"backup"_s)).kind, SourceKind::Backup);
    QCOMPARE(findSource(dir.filePath(u"phone"_s)).kind, SourceKind::PhoneFolder);
    QCOMPARE(findSource(u" kept "_s).kind, SourceKind::LocalDatabase);
    QCOMPARE(findSource(u" kept "_s).database.path, database);
    // A folder with one backup stands for it, one with several for none.
    const QDir phoneRoot(dir.filePath(u"phone"_s));
    const QString inRoot =
        SmsDbBuilder(phoneRoot).chat(u"+1"_s).writeTo(dir.filePath(u"plain/var/mobile/Library/SMS/sms.db"_s));
    QCOMPARE(findSource(dir.path()).folder.absolutePath(), dir.filePath(u"backup"_s));
    QVERIFY(writeFile(dir.filePath(u"second/Manifest.mbdb"_s)));
    const QString several = failureOf([&] { findSource(dir.path()); });
    QVERIFY(several.contains(dir.filePath(u"backup"_s)) && several.contains(dir.filePath(u"second"_s)));
    QCOMPARE(findSource(dir.filePath(u"plain"_s)).kind, SourceKind::PhoneFolder);
    QCOMPARE(findSource(inRoot).kind, SourceKind::DatabaseFile);
    QVERIFY_THROWS_EXCEPTION(std::runtime_error, findSource(dir.filePath(u"second/Manifest.mbdb"_s)));
    // The empty name is not the folder in which the program happens to run.
    QDir::setCurrent(dir.filePath(u"phone"_s));
    QVERIFY_THROWS_EXCEPTION(std::runtime_error, findSource(QString()));
}

/// Nothing is to lie beside it afterwards, and its attachments are found there.
void TestSources::aDatabaseAloneIsReadUntouched()
{
    const QTemporaryDir dir;
    const QDir folder(dir.path());
    const QString path = SmsDbBuilder(folder, IosVersion::Ios16)
                             .chat(u"+1"_s)
                             .received(u"one"_s)
                             .attachment(u"/Users/ann/Library/Messages/Attachments/1/a.jpg"_s)
                             .writeTo(folder.filePath(u"chat.db"_s));
    QVERIFY(writeFile(folder.filePath(u"Attachments/1/a.jpg"_s)));
    const QStringList before = folder.entryList(QDir::AllEntries | QDir::Hidden);
    const QByteArray bytes = bytesOf(path);
    const std::unique_ptr<AbsIOSMessageDb> db = openInPlace(findSource(path), {});
    const _MsgStorePtr store = readSource(*db, Recovered::Shown);
    QCOMPARE(store->messages.size(), 1);
    QCOMPARE((*store->attachments.cbegin())->localFile.path(), folder.filePath(u"Attachments/1/a.jpg"_s));
    QCOMPARE(folder.entryList(QDir::AllEntries | QDir::Hidden), before);
    QCOMPARE(bytesOf(path), bytes);
}

void TestSources::phonesDoWhatTheirSystemCan_data()
{
    QTest::addColumn<QString>("version");
    QTest::addColumn<bool>("isConnected");
    QTest::addColumn<bool>("handsOutFiles");
    QTest::addColumn<bool>("takesMessages");
    QTest::newRow("says nothing") << u""_s << true << true << true;
    QTest::newRow("before the service") << u"4.3.5"_s << true << false << true;
    QTest::newRow("the last with the service") << u"7.1.2"_s << true << true << true;
    QTest::newRow("the first that only makes backups") << u"8.0"_s << true << false << true;
    QTest::newRow("the last that can be written") << u"9.3.6"_s << true << false << true;
    QTest::newRow("too new") << u"10.0"_s << true << false << false;
    QTest::newRow("a folder") << u"7.0"_s << false << true << false;
}

void TestSources::phonesDoWhatTheirSystemCan()
{
    QFETCH(QString, version);
    QFETCH(bool, isConnected);
    IOSDevice phone;
    const QTemporaryDir dir;
    phone.uniqueDeviceID = isConnected ? u"0123abcd"_s : dir.path();
    phone.productVersion = version;
    phone.device = isConnected ? &phone : nullptr;
    QTEST(hasFileRelay(phone), "handsOutFiles");
    SmsDbBuilder(rootOf(phone)).chat(u"+1"_s).write();
    QTEST(transferError(phone).isEmpty(), "takesMessages");
}

void TestSources::aMessageOfTwoConversationsIsListedInBoth()
{
    Records records;
    const auto stand = [](_MsgMessage &message, _MsgChat &chat) {
        chat.messages.insert(QString::number(message.rowid), &message);
    };
    _MsgChat &first = records.chat(u"+1"_s).lastChat();
    stand(records.received(u"one"_s).last(), first);
    _MsgMessage &both = records.received(u"both"_s).last();
    stand(both, first);
    _MsgChat &second = records.chat(u"+2"_s).lastChat();
    stand(both, second);
    stand(records.received(u"two"_s).last(), second);
    const auto listing = [&](const QStringList &chats, ListOrder order) {
        QStringList lines;
        for (const ListedMessage &listed : listedMessages(records.store, {chats}, order))
            lines.append(listed.message->text + u' ' + listed.chatIdentifier);
        return lines;
    };
    QCOMPARE(listing({}, ListOrder::OldestFirst), QStringList({u"one +1"_s, u"both +1"_s, u"two +2"_s}));
    QCOMPARE(listing({u"+2"_s}, ListOrder::NewestFirst), QStringList({u"two +2"_s, u"both +2"_s}));
    QCOMPARE(listing({u"+1"_s, u"+2"_s}, ListOrder::OldestFirst).size(), 4);
    QCOMPARE(chosenMessages(records.store, {{u"+1"_s, u"+2"_s}}).size(), 3);
    QVERIFY_THROWS_EXCEPTION(std::runtime_error, listedMessages(records.store, {{u"+1"_s, u"+3"_s}}));
}

void TestSources::aChoiceTakesWhatItSays_data()
{
    QTest::addColumn<Choice>("choice");
    QTest::addColumn<QString>("expected"); // "nobody" for an error
    const auto person = [](const QString &text) { return Choice{.persons = {text}, .country = u"262"_s}; };
    QTest::newRow("everything") << Choice() << u"hallo ja www.example.org alle Foto Glas"_s;
    QTest::newRow("a person, with what she was sent") << person(u"zoe mÜLL"_s) << u"hallo ja alle Foto"_s;
    QTest::newRow("a group's member is not the group") << person(u"bob@"_s) << u"alle Glas"_s;
    for (const QString &spelling : {u"+49 (0)170 / 123-45 67"_s, u"0170 1234567"_s, u"0049 170 1234567"_s,
                                    u"٠١٧٠ 1234567"_s, u"170-123.4"_s, u"49170"_s})
        QTest::newRow(qUtf8Printable(u"number "_s + spelling)) << person(spelling) << u"hallo ja alle Foto"_s;
    QTest::newRow("two persons") << Choice{.persons = {u"Zoé"_s, u"+331"_s}}
                                 << u"hallo ja www.example.org alle Foto"_s;
    for (const QString &nobody : {u"Nina"_s, u""_s, u"+49 171"_s, u"0171 1234567"_s, u"034567"_s})
        QTest::newRow(qUtf8Printable(u"nobody is "_s + nobody)) << person(nobody) << u"nobody"_s;
    QTest::newRow("one by one") << Choice{.persons = {u"Zoé"_s, u"Nina"_s}} << u"nobody"_s;
    QTest::newRow("sent") << Choice{.sent = true} << u"ja alle"_s;
    QTest::newRow("received from a person")
        << Choice{.persons = {u"zoe"_s}, .received = true} << u"hallo Foto"_s;
    QTest::newRow("sent and received")
        << Choice{.sent = true, .received = true} << u"hallo ja www.example.org alle Foto Glas"_s;
    QTest::newRow("attachments") << Choice{.withAttachments = true} << u"Foto"_s;
    QTest::newRow("links") << Choice{.withLinks = true} << u"www.example.org"_s;
    QTest::newRow("reactions in one chat")
        << Choice{.chats = {u"+491701234567"_s}, .withReactions = true} << u"ja"_s;
    const qint64 first = 389102400; // 2013-05-01 12:00 UTC
    QTest::newRow("from and to, both with their second")
        << Choice{.from = first + 60, .to = first + 120} << u"ja www.example.org"_s;
}

void TestSources::aChoiceTakesWhatItSays()
{
    QFETCH(Choice, choice);
    const QTemporaryDir dir;
    SmsDbBuilder(QDir(dir.path()), IosVersion::Ios16)
        .chat(u"+491701234567"_s)
        .received(u"hallo"_s)
        .sent(u"ja"_s)
        .reaction(2000)
        .at(QDateTime({2013, 5, 1}, {12, 1}, Qt::UTC))
        .chat(u"+33123456789"_s)
        .received(u"www.example.org"_s)
        .at(QDateTime({2013, 5, 1}, {12, 2}, Qt::UTC))
        .group({u"+491701234567"_s, u"bob@example.org"_s})
        .sent(u"alle"_s)
        .receivedFrom(u"+491701234567"_s, u"Foto"_s)
        .attachment(u"~/Library/SMS/Attachments/1/a.jpg"_s)
        .receivedFrom(u"bob@example.org"_s, u"Glas"_s)
        .write();
    AddressBookBuilder(QDir(dir.path())).person(u"Zoé"_s, u"Müller"_s).phone(u"+49 170 1234567"_s).write();
    const std::unique_ptr<AbsIOSMessageDb> db = openMessageDb(QDir(dir.path()), u"262"_s);
    const _MsgStorePtr store = readSource(*db, Recovered::LeftOut);
    QStringList found;
    try {
        for (const _MsgMessage *message : chosenMessages(store, choice))
            found.append(plainText(*message));
    } catch (const std::runtime_error &error) {
        found = {QByteArray(error.what()).contains("no person") ? u"nobody"_s
                                                                : QString::fromUtf8(error.what())};
    }
    QTEST(found.join(u' '), "expected");
}

void TestSources::daysAreThoseOfTheLocalCalendar_data()
{
    QTest::addColumn<QString>("first");
    QTest::addColumn<QString>("last");
    const auto row = [](const char *text, const char *first, const char *last) {
        QTest::newRow(text) << QString::fromLatin1(first) << QString::fromLatin1(last);
    };
    // In Madrid clocks go forward at 01:00 UTC on 2014-03-30 and back at 01:00 UTC on 2014-10-26.
    row("2014-03-30", "2014-03-29T23:00:00Z", "2014-03-30T21:59:59Z");
    row("2014-10-26", "2014-10-25T22:00:00Z", "2014-10-26T22:59:59Z");
    row("2014-10-26T02:30", "2014-10-26T00:30:00Z", "2014-10-26T01:30:00Z");
    row("2014-06-01T10:20:30", "2014-06-01T08:20:30Z", "2014-06-01T08:20:30Z");
    row("2014-06-01T10:20:30Z", "2014-06-01T10:20:30Z", "2014-06-01T10:20:30Z");
    row("2014-06-01T10:20-05:00", "2014-06-01T15:20:00Z", "2014-06-01T15:20:00Z");
    for (const char *wrong :
         {"", "2014-02-30", "2014-3-5", "5.3.2014", "2014", "2014-06-01T25:00", "2014-06-01T"})
        row(wrong, "", "");
}

void TestSources::daysAreThoseOfTheLocalCalendar()
{
    const QString text = QString::fromLatin1(QTest::currentDataTag());
    const auto spelled = [](std::optional<qint64> seconds) {
        return seconds ? QDateTime::fromSecsSinceEpoch(*seconds + 978307200, Qt::UTC).toString(Qt::ISODate)
                       : QString();
    };
    QTEST(spelled(firstSecond(text)), "first");
    QTEST(spelled(lastSecond(text)), "last");
}

QTEST_GUILESS_MAIN(TestSources)
#include "testsources.moc"
