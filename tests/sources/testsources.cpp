#include "app/datalocations.h"
#include "device/iosdevice.h"
#include "sources/choice.h"
#include "sources/findsource.h"
#include "sources/phones.h"
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
    void phonesDoWhatTheirSystemCan_data();
    void phonesDoWhatTheirSystemCan();
    void aMessageOfTwoConversationsIsListedInBoth();
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
    // The empty name is not the folder in which the program happens to run.
    QDir::setCurrent(dir.filePath(u"phone"_s));
    QVERIFY_THROWS_EXCEPTION(std::runtime_error, findSource(QString()));
    QVERIFY_THROWS_EXCEPTION(std::runtime_error, findSource(dir.path()));
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

QTEST_GUILESS_MAIN(TestSources)
#include "testsources.moc"
