#include "store/readers/openmessagedb.h"
#include "store/records/madeupchats.h"
#include "store/records/messagestore.h"
#include "testing/builders/addressbookbuilder.h"
#include "testing/builders/smsdbbuilder.h"
#include "testing/helpers/testdatabase.h"

#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;

namespace
{

const QString anna = u"+34612345678"_s;
const QString bruno = u"+34612345679"_s;
const QString clara = u"+34612345680"_s;

QStringList textsOf(const _MsgStorePtr &store)
{
    QStringList texts;
    for (const _MsgMessage *message : allMessages(store))
        texts.append(message->text);
    return texts;
}

const _MsgMessage *messageOf(const _MsgStorePtr &store, const QString &text)
{
    for (const _MsgMessage *message : std::as_const(store->messages)) {
        if (message->text == text)
            return message;
    }
    throw std::runtime_error("no message " + text.toStdString());
}

_MsgChat *chatOf(const _MsgStorePtr &store, const QString &text)
{
    return messageOf(store, text)->chat;
}

QList<QByteArray> damagedCopies(const QByteArray &whole)
{
    QList<QByteArray> damaged = {"x", QByteArray(100000, '\xA5')};
    for (qsizetype length = 1; length < whole.size(); length += whole.size() / 40)
        damaged.append(whole.first(length));
    for (qsizetype page = 0; page * 4096 < whole.size(); ++page) {
        for (const char fill : {'\0', '\xFF', '\x05'})
            damaged.append(QByteArray(whole).replace(page * 4096 + 100, 2000, QByteArray(2000, fill)));
    }
    for (qsizetype i = 1; i < 200; ++i)
        damaged.append(QByteArray(whole).replace(i * whole.size() / 200, 1, "\x91"));
    return damaged;
}

void generations()
{
    QTest::addColumn<IosVersion>("version");
    QTest::newRow("iOS 5") << IosVersion::Ios5;
    QTest::newRow("iOS 8") << IosVersion::Ios8;
}

} // namespace

class TestMessageReaders : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { root = std::make_unique<QTemporaryDir>(); }
    void keepsAConversation_data() { generations(); }
    void keepsAConversation();
    void readsOneChat_data() { generations(); }
    void readsOneChat();
    void aSecondCallReadsNothingAnew_data() { generations(); }
    void aSecondCallReadsNothingAnew();
    void theLogBesideTheFileIsReadAndStays_data() { generations(); }
    void theLogBesideTheFileIsReadAndStays();
    void aDamagedAddressBookOnlyTakesTheNames();
    void damageIsAnErrorWithTheFilesName_data() { generations(); }
    void damageIsAnErrorWithTheFilesName();
    void tablesThatAreMissing_data();
    void tablesThatAreMissing();
    void messagesWithoutAChatStandTogether_data();
    void messagesWithoutAChatStandTogether();
    void ios5OnlyFlagsThreeAndDeliveredAreSent();
    void ios5GroupsGetTheSameNamesOnEveryLoad();
    void ios5GroupsWithoutMembersStayUnknown();
    void ios5WhoWroteInAGroup();
    void ios5IMessagesHaveChatsOfTheirOwn();
    void ios5BrokenParticipantsAreNone();
    void aLocalDatabaseKeepsItsNamesAndDates();
    void withoutAllNewTablesAFileIsOfIos5();
    void anEndlessViewIsNoTable();
    void eventsKnowWhomTheySpeakOfButNoLocations();

private:
    SmsDbBuilder phone(IosVersion version) const { return SmsDbBuilder(root->path(), version); }
    /// The addresses tell the country.
    _MsgStorePtr load(qint64 chatId = 0) const
    {
        _MsgStorePtr store(new _MsgStore);
        openMessageDb(root->path(), {})->messages(store, chatId);
        return store;
    }

    std::unique_ptr<QTemporaryDir> root;
};

void TestMessageReaders::keepsAConversation()
{
    QFETCH(IosVersion, version);
    AddressBookBuilder(root->path()).person(u"Anna"_s).phone(u"612-345 678"_s).photo("image").write();
    SmsDbBuilder builder = phone(version).chat(anna).received(u"Hola 😄"_s).at(qint64(0));
    builder.sent(u"Sí"_s).at(100).chat(u"612345679"_s, u"iMessage"_s).received(u"other"_s).at(50).write();
    const _MsgStorePtr store = load();
    QStringList told;
    for (const _MsgMessage *message : std::as_const(store->messages)) {
        const _MsgHandle &handle = *message->handle;
        const QString words = u"%1 %2 %3 "_s.arg(message->date).arg(message->is_from_me).arg(message->text);
        told.append(words + handle.id + handle._ct_name + QString::fromLatin1(handle._photo) +
                    message->chat->service_name);
    }
    told.sort();
    QCOMPARE(told,
             QStringList({u"0 0 Hola 😄 %1AnnaimageSMS"_s.arg(anna), u"100 1 Sí %1AnnaimageSMS"_s.arg(anna),
                          u"50 0 other %1iMessage"_s.arg(bruno)}));
    QCOMPARE(chatOf(store, u"Sí"_s)->guid, u"SMS;-;"_s + anna);
    const QList<_MsgSession> sessions = groupChatSessions(store);
    QCOMPARE(sessions.first().lastDate, 100);
    QCOMPARE(sessions.first().chats.first()->messages.size(), 2);
}

void TestMessageReaders::readsOneChat()
{
    QFETCH(IosVersion, version);
    SmsDbBuilder builder = phone(version).chat(anna).received(u"sms"_s).chat(bruno).received(u"other"_s);
    builder.chat(anna, u"iMessage"_s).received(u"madrid"_s).write();
    const _MsgStorePtr store = load();
    for (const QString &text : {u"sms"_s, u"other"_s, u"madrid"_s})
        QCOMPARE(textsOf(load(chatOf(store, text)->rowid)), QStringList({text}));
}

void TestMessageReaders::aSecondCallReadsNothingAnew()
{
    QFETCH(IosVersion, version);
    phone(version).chat(anna).received(u"a"_s).group({anna, bruno}).sent(u"b"_s).write();
    _MsgStorePtr store(new _MsgStore);
    const std::unique_ptr<AbsIOSMessageDb> db = openMessageDb(root->path(), u"214"_s);
    db->messages(store, 0);
    const auto messages = store->messages;
    const auto chats = store->chats;
    (*messages.begin())->text = u"changed"_s;
    db->messages(store, 0);
    QCOMPARE(store->messages, messages);
    QCOMPARE(store->chats, chats);
    QVERIFY(textsOf(store).contains(u"changed"_s));
}

void TestMessageReaders::theLogBesideTheFileIsReadAndStays()
{
    QFETCH(IosVersion, version);
    const QString path = phone(version).chat(anna).received(u"file"_s).restInLog().received(u"log"_s).write();
    const QByteArray bytesBefore = bytesOf(path);
    const QByteArray logBefore = bytesOf(path + u"-wal"_s);
    QVERIFY(QFile::exists(path + u"-wal"_s));
    QCOMPARE(textsOf(load()), QStringList({u"file"_s, u"log"_s}));
    QCOMPARE(bytesOf(path), bytesBefore);
    QCOMPARE(bytesOf(path + u"-wal"_s), logBefore);
}

void TestMessageReaders::aDamagedAddressBookOnlyTakesTheNames()
{
    phone(IosVersion::Ios8).chat(anna).received(u"a"_s).write();
    for (const QString &damaged : {u"AddressBook.sqlitedb"_s, u"AddressBookImages.sqlitedb"_s}) {
        for (const QByteArray &bytes : {QByteArray(), QByteArray(4096, 'x')}) {
            const QString book = AddressBookBuilder(root->path())
                                     .person(u"Anna"_s)
                                     .phone(u"612345678"_s)
                                     .photo("image")
                                     .write();
            QVERIFY(writeFile(QFileInfo(book).dir().filePath(damaged), bytes));
            _MsgStorePtr store(new _MsgStore);
            const std::unique_ptr<AbsIOSMessageDb> db = openMessageDb(root->path(), u"214"_s);
            db->messages(store, 0);
            QCOMPARE(messageOf(store, u"a"_s)->handle->_ct_name,
                     damaged.contains(u"Images"_s) ? u"Anna"_s : QString());
            QVERIFY(db->takeContactsFailure().contains(damaged));
            db->messages(store, 0);
            QCOMPARE(db->takeContactsFailure(), QString()); // once
        }
    }
}

void TestMessageReaders::damageIsAnErrorWithTheFilesName()
{
    QFETCH(IosVersion, version);
    SmsDbBuilder builder = phone(version);
    for (int i = 0; i < 300; ++i)
        builder.chat(u"+346123456%1"_s.arg(10 + i % 5), i % 2 ? u"SMS"_s : u"iMessage"_s)
            .received(u"text %1"_s.arg(i));
    const QString path = builder.write();
    int complaints = 0;
    const QList<QByteArray> copies = damagedCopies(bytesOf(path));
    for (const QByteArray &bytes : copies) {
        QVERIFY(writeFile(path, bytes));
        const QString failure = failureOf([this] { load(); });
        complaints += failure.isEmpty() ? 0 : 1;
        QVERIFY2(failure.isEmpty() || failure.contains(path), qPrintable(failure));
    }
    QVERIFY(complaints > 20);
}

void TestMessageReaders::tablesThatAreMissing_data()
{
    QTest::addColumn<IosVersion>("version");
    QTest::addColumn<QStringList>("missing");
    QTest::addColumn<QString>("names"); // what the error has to tell
    const QStringList ofChats = {u"chat"_s, u"chat_handle_join"_s, u"chat_message_join"_s};
    const auto row = [](const char *name, IosVersion version, const QStringList &missing,
                        const QString &names = {}) { QTest::newRow(name) << version << missing << names; };
    row("iOS 5", IosVersion::Ios5, {u"msg_group"_s, u"group_member"_s, u"madrid_chat"_s});
    row("iOS 8", IosVersion::Ios8, ofChats);
    row("iOS 13", IosVersion::Ios13, ofChats);
    row("all but the messages", IosVersion::Ios13, ofChats + QStringList{u"handle"_s, u"attachment"_s});
    row("no messages", IosVersion::Ios13, {u"message"_s}, u"no table \"message\""_s);
}

void TestMessageReaders::tablesThatAreMissing()
{
    QFETCH(IosVersion, version);
    QFETCH(QString, names);
    const QString path = phone(version).chat(anna).received(u"a"_s).chat(bruno).sent(u"b"_s).write();
    QString script = u"pragma legacy_alter_table=on;"_s;
    QFETCH(QStringList, missing);
    for (const QString &table : missing)
        script += u"alter table %1 rename to gone_%1;"_s.arg(table);
    runOn(path, script);
    if (!names.isEmpty()) {
        const QString failure = failureOf([this] { load(); });
        QVERIFY2(failure.contains(path) && failure.contains(names), qPrintable(failure));
        return;
    }
    const _MsgStorePtr store = load();
    QCOMPARE(textsOf(store), QStringList({u"a"_s, u"b"_s}));
    QVERIFY(isNoConversation(*chatOf(store, u"a"_s)) && chatOf(store, u"b"_s)->messages.size() == 2);
}

void TestMessageReaders::messagesWithoutAChatStandTogether_data()
{
    QTest::addColumn<IosVersion>("version");
    for (const IosVersion version : sampleGenerations)
        QTest::addRow("iOS %d", int(version)) << version;
}

void TestMessageReaders::messagesWithoutAChatStandTogether()
{
    QFETCH(IosVersion, version);
    const bool isIos5 = version == IosVersion::Ios5;
    SmsDbBuilder builder = phone(version).chat(anna).received(u"kept"_s).chat(bruno).received(u"lost"_s);
    runOn(builder.noChat().receivedFrom(clara, u"never in one"_s).write(),
          u"update %1 set rowid=99 where rowid=2"_s.arg(isIos5 ? u"msg_group"_s : u"chat"_s));
    const _MsgStorePtr store = load();
    QCOMPARE(textsOf(store), QStringList({u"kept"_s, u"lost"_s, u"never in one"_s}));
    const _MsgChat *none = chatOf(store, u"lost"_s);
    QVERIFY(isNoConversation(*none) && chatOf(store, u"never in one"_s) == none);
    QCOMPARE(none->messages.size(), 2);
    QCOMPARE(none->_last, messageOf(store, u"never in one"_s)->date);
    QCOMPARE(messageOf(store, u"lost"_s)->handle->id, bruno);
    QCOMPARE(messageOf(store, u"never in one"_s)->handle->id, clara);
}

void TestMessageReaders::ios5OnlyFlagsThreeAndDeliveredAreSent()
{
    SmsDbBuilder builder = phone(IosVersion::Ios5).chat(anna).sent(u"failed"_s);
    builder.with([](SampleMessage &message) { message.error = 1; });
    builder.chat(anna, u"iMessage"_s).sent(u"delivered"_s).sent(u"undelivered"_s);
    builder.with([](SampleMessage &message) { message.date_delivered = 0; }).write();
    const _MsgStorePtr store = load();
    QCOMPARE(messageOf(store, u"failed"_s)->is_from_me, 0);
    QCOMPARE(messageOf(store, u"delivered"_s)->is_from_me, 1);
    QCOMPARE(messageOf(store, u"undelivered"_s)->is_from_me, 0);
}

void TestMessageReaders::ios5GroupsGetTheSameNamesOnEveryLoad()
{
    SmsDbBuilder builder = phone(IosVersion::Ios5).group({anna, bruno}, u"SMS"_s).received(u"two"_s);
    builder.group({anna, bruno, clara}, u"SMS"_s).received(u"three"_s).write();
    const _MsgStorePtr store = load();
    const _MsgChat *two = chatOf(store, u"two"_s);
    QCOMPARE(two->chat_identifier, newChatIdentifier(u"SMS;-;"_s + anna));
    QCOMPARE(two->guid, u"SMS;+;"_s + two->chat_identifier);
    QCOMPARE(two->style, 43);
    QCOMPARE(two->account_id, messageGuidFromData(two->guid.toUtf8()));
    // Named after the first member alone: groups that share it share their name.
    QCOMPARE(chatOf(store, u"three"_s)->guid, two->guid);
    QCOMPARE(chatOf(store, u"three"_s)->handles.size(), 3);
}

void TestMessageReaders::ios5GroupsWithoutMembersStayUnknown()
{
    const QString path = phone(IosVersion::Ios5).chat(anna).received(u"a"_s).write();
    runOn(path, u"delete from group_member; update msg_group set hash=4711"_s);
    const _MsgStorePtr store = load();
    QCOMPARE(chatOf(store, u"a"_s)->chat_identifier, u"unknown"_s);
    QCOMPARE(chatOf(store, u"a"_s)->guid, u"SMS;-;4711"_s);
    QVERIFY(!messageOf(store, u"a"_s)->handle);
    runOn(path, u"update msg_group set newest_message=999"_s);
    QCOMPARE(chatOf(load(), u"a"_s)->guid, u"SMS;-;4711"_s);
}

void TestMessageReaders::ios5WhoWroteInAGroup()
{
    SmsDbBuilder builder = phone(IosVersion::Ios5).group({anna, bruno}, u"SMS"_s);
    builder.receivedFrom(u"612 345 679"_s, u"Bruno's"_s).receivedFrom(clara, u"a stranger's"_s);
    builder.sent(u"own"_s).group({anna, bruno}).receivedFrom(bruno, u"iMessage"_s).write();
    const _MsgStorePtr store = load();
    QCOMPARE(messageOf(store, u"Bruno's"_s)->handle->id, bruno);
    QVERIFY(!messageOf(store, u"a stranger's"_s)->handle);
    QVERIFY(!messageOf(store, u"own"_s)->handle);
    QCOMPARE(chatOf(store, u"own"_s)->messages.size(), 3);
    QCOMPARE(messageOf(store, u"iMessage"_s)->handle->id, bruno);
    QCOMPARE(chatOf(store, u"iMessage"_s)->handles.size(), 2);
}

void TestMessageReaders::ios5IMessagesHaveChatsOfTheirOwn()
{
    SmsDbBuilder builder = phone(IosVersion::Ios5).chat(anna).received(u"sms"_s);
    builder.chat(anna, u"iMessage"_s).received(u"linked"_s).at(2000);
    const QString path = builder.chat(bruno, u"iMessage"_s).received(u"alone"_s).write();
    const _MsgStorePtr store = load();
    const _MsgChat *chat = chatOf(store, u"linked"_s);
    QVERIFY(chat->rowid < 0);
    QCOMPARE(chat->guid, u"iMessage;-;"_s + anna);
    QCOMPARE(chat->_last, 2000);
    QVERIFY(messageOf(store, u"linked"_s)->handle->rowid < 0);
    QVERIFY(chatOf(store, u"sms"_s) != chat);
    QCOMPARE(groupChatSessions(store).size(), 2);

    runOn(
        path,
        u"drop table madrid_chat; drop trigger mark_message_read; drop trigger mark_message_unread; update message set madrid_guid=null"_s);
    const _MsgStorePtr without = load();
    QVERIFY(messageOf(without, u"alone"_s)->guid != messageOf(without, u"linked"_s)->guid);
    QCOMPARE(chatOf(without, u"linked"_s), chatOf(without, u"sms"_s));
    QVERIFY(isNoConversation(*chatOf(without, u"alone"_s)));
}

void TestMessageReaders::ios5BrokenParticipantsAreNone()
{
    const QString path = phone(IosVersion::Ios5).group({anna, bruno}).receivedFrom(bruno, u"a"_s).write();
    for (const QString &blob :
         {u"x'6162'"_s, u"null"_s, u"x'62706C6973743030FFFFFFFFFF'"_s, u"zeroblob(70000)"_s}) {
        runOn(path, u"update madrid_chat set participants="_s + blob);
        const _MsgStorePtr store = load();
        QVERIFY(chatOf(store, u"a"_s)->handles.isEmpty());
        QVERIFY(!messageOf(store, u"a"_s)->handle);
    }
}

void TestMessageReaders::aLocalDatabaseKeepsItsNamesAndDates()
{
    const QString path = phone(IosVersion::Ios8).chat(anna).received(u"a"_s).write();
    runOn(path, u"alter table handle add column _ct_name TEXT; alter table handle add column _photo BLOB; "
                "update handle set _ct_name='Anna', _photo=x'0102'; "
                "alter table chat add column _last integer default 0; update chat set _last=77"_s);
    const _MsgStorePtr store = load();
    QCOMPARE(chatOf(store, u"a"_s)->_last, 77);
    QCOMPARE(messageOf(store, u"a"_s)->handle->_ct_name, u"Anna"_s);
    QCOMPARE(messageOf(store, u"a"_s)->handle->_photo, QByteArray("\x01\x02"));
    // Where there is an address book, it knows best.
    AddressBookBuilder(root->path()).person(u"Other"_s).phone(u"1"_s).write();
    QCOMPARE(messageOf(load(), u"a"_s)->handle->_ct_name, QString());
}

void TestMessageReaders::withoutAllNewTablesAFileIsOfIos5()
{
    const QString path = root->filePath(u"größe.db"_s);
    QVERIFY_THROWS_EXCEPTION(std::runtime_error, sniffMessageDbVersion(path));
    QVERIFY(!QFile::exists(path));
    for (const QString &table :
         {u"chat"_s, u"handle"_s, u"chat_handle_join"_s, u"message"_s, u"chat_message_join"_s}) {
        SmsDbBuilder(root->path()).writeTo(path);
        QCOMPARE(sniffMessageDbVersion(path), 6);
        runOn(path, u"alter table %1 rename to gone"_s.arg(table));
        QCOMPARE(sniffMessageDbVersion(path), 5);
    }
}

void TestMessageReaders::anEndlessViewIsNoTable()
{
    const QString path = phone(IosVersion::Ios5).chat(anna).received(u"a"_s).write();
    runOn(path, u"alter table message rename to gone; create view message as with recursive n(rowid) as "
                "(select 1 union all select rowid+1 from n) select rowid, 'a' as text from n"_s);
    QVERIFY(failureOf([this] { load(); }).startsWith(path));
}

void TestMessageReaders::eventsKnowWhomTheySpeakOfButNoLocations()
{
    SmsDbBuilder builder =
        phone(IosVersion::Ios8).chat(clara).group({anna, bruno}).event(1, anna).about(bruno);
    builder.event(4, anna).event(2).groupTitle(u"Trip"_s).alsoIn(0).write();
    const _MsgStorePtr store = load();
    const QList<_MsgMessage *> events = allMessages(store);
    QCOMPARE(events.size(), 2);
    QCOMPARE(events.first()->handle->id, anna);
    QCOMPARE(events.first()->otherHandle->id, bruno);
    QVERIFY(!events.last()->handle && !events.last()->otherHandle);
    QCOMPARE(events.last()->group_title, u"Trip"_s);
    QCOMPARE(store->chats.value(1)->messages.size(), 1); // it stands in both chats
    QCOMPARE(store->chats.value(2)->messages.size(), 2);
}

QTEST_GUILESS_MAIN(TestMessageReaders)
#include "testmessagereaders.moc"
