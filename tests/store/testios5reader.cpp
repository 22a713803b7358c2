#include "addressbookbuilder.h"
#include "readerfixture.h"
#include "smsdbbuilder.h"

#include <QTemporaryDir>

using namespace Qt::StringLiterals;

namespace
{

const QString anna = u"+34612345678"_s;
const QString bruno = u"+34612345679"_s;
const QString clara = u"+34612345680"_s;

} // namespace

class TestIos5Reader : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { root = std::make_unique<QTemporaryDir>(); }
    void keepsATextConversation();
    void onlyFlagsThreeIsSent();
    void aGroupGetsTheSameNamesOnEveryLoad();
    void aGroupWithoutMembersStaysUnknown();
    void whoWroteInAGroup();
    void namesComeFromTheAddressBook();
    void iMessageChats();
    void iMessagesOfGroups();
    void undeliveredOwnIMessagesCountAsReceived();
    void guidsOfTextsAreNewOnEveryLoad();
    void readsOneChat();
    void withoutIMessageChats();
    void iMessagesGoIntoTheIMessageChatOfAPerson();
    void brokenParticipantsAreNone();
    void aSecondCallReadsNothingAnew();
    void theLogBesideTheFileIsReadAndStays();
    void damageIsAnErrorWithTheFilesName();

private:
    SmsDbBuilder phone() const { return SmsDbBuilder(root->path(), IosVersion::Ios5); }

    std::unique_ptr<QTemporaryDir> root;
};

void TestIos5Reader::keepsATextConversation()
{
    phone().chat(u"612345678"_s).received(u"Hola"_s).at(qint64(0)).sent(u"Sí"_s).at(100).write();
    const _MsgStorePtr store = loadStore(root->path());
    const _MsgMessage *hola = messageOf(store, u"Hola"_s);
    QCOMPARE(hola->date, 0);
    QCOMPARE(hola->date_read, 0);
    QCOMPARE(hola->service, u"SMS"_s);
    QCOMPARE(hola->account, u"e:"_s);
    QCOMPARE(hola->version, 10);
    QCOMPARE(hola->is_finished + hola->is_prepared + hola->is_read + hola->is_sent + hola->was_data_detected,
             5);
    QCOMPARE(hola->handle->id, anna);
    QCOMPARE(hola->chat->chat_identifier, anna);
    QCOMPARE(hola->chat->guid, u"SMS;-;"_s + anna);
    QCOMPARE(hola->chat->style, 45);
    QCOMPARE(hola->chat->_last, 100);
    QCOMPARE(hola->chat->messages.size(), 2);
    QCOMPARE(messageOf(store, u"Sí"_s)->handle, hola->handle);
}

void TestIos5Reader::onlyFlagsThreeIsSent()
{
    phone()
        .chat(anna)
        .received(u"received"_s)
        .sent(u"sent"_s)
        .sent(u"failed"_s)
        .with([](SampleMessage &message) { message.error = 1; })
        .write();
    const _MsgStorePtr store = loadStore(root->path());
    QCOMPARE(messageOf(store, u"received"_s)->is_from_me, 0);
    QCOMPARE(messageOf(store, u"sent"_s)->is_from_me, 1);
    QCOMPARE(messageOf(store, u"failed"_s)->is_from_me, 0);
}

void TestIos5Reader::aGroupGetsTheSameNamesOnEveryLoad()
{
    phone()
        .group({anna, bruno}, u"SMS"_s)
        .received(u"two"_s)
        .group({anna, bruno, clara}, u"SMS"_s)
        .received(u"three"_s)
        .write();
    const _MsgStorePtr store = loadStore(root->path());
    const _MsgChat *two = chatOf(store, u"two"_s);
    QCOMPARE(two->chat_identifier, newChatIdentifier(u"SMS;-;"_s + anna));
    QCOMPARE(two->guid, u"SMS;+;"_s + two->chat_identifier);
    QCOMPARE(two->room_name, two->chat_identifier);
    QCOMPARE(two->style, 43);
    QCOMPARE(two->account_id, messageGuidFromData(two->guid.toUtf8()));
    const _MsgChat *three = chatOf(store, u"three"_s);
    QCOMPARE(three->guid, two->guid);
    QCOMPARE(three->handles.size(), 3);
}

void TestIos5Reader::aGroupWithoutMembersStaysUnknown()
{
    const QString path = phone().chat(anna).received(u"a"_s).write();
    runSql(path, u"delete from group_member; update msg_group set hash=4711"_s);
    const _MsgStorePtr store = loadStore(root->path());
    QCOMPARE(chatOf(store, u"a"_s)->chat_identifier, u"unknown"_s);
    QCOMPARE(chatOf(store, u"a"_s)->guid, u"SMS;-;4711"_s);
    QVERIFY(!messageOf(store, u"a"_s)->handle);
    runSql(path, u"update msg_group set newest_message=999"_s);
    QVERIFY(loadStore(root->path())->chats.isEmpty());
}

void TestIos5Reader::whoWroteInAGroup()
{
    phone()
        .group({anna, bruno}, u"SMS"_s)
        .receivedFrom(u"612 345 679"_s, u"Bruno's"_s)
        .receivedFrom(clara, u"a stranger's"_s)
        .sent(u"own"_s)
        .write();
    const _MsgStorePtr store = loadStore(root->path());
    QCOMPARE(messageOf(store, u"Bruno's"_s)->handle->id, bruno);
    QVERIFY(!messageOf(store, u"a stranger's"_s)->handle);
    QVERIFY(!messageOf(store, u"own"_s)->handle);
    QCOMPARE(chatOf(store, u"own"_s)->messages.size(), 3);
}

void TestIos5Reader::namesComeFromTheAddressBook()
{
    AddressBookBuilder(root->path())
        .person(u"Anna"_s, u"Berg"_s)
        .phone(u"612-345-678"_s)
        .photo("image")
        .write();
    phone().chat(anna).received(u"sms"_s).chat(anna, u"iMessage"_s).received(u"madrid"_s).write();
    const _MsgStorePtr store = loadStore(root->path());
    for (const QString &text : {u"sms"_s, u"madrid"_s}) {
        QCOMPARE(messageOf(store, text)->handle->_ct_name, u"Anna Berg"_s);
        QCOMPARE(messageOf(store, text)->handle->_photo, QByteArray("image"));
    }
}

void TestIos5Reader::iMessageChats()
{
    phone()
        .chat(anna, u"iMessage"_s)
        .received(u"in"_s)
        .at(1000)
        .sent(u"out"_s)
        .at(2000)
        .chat(u"Ann@Example.org"_s, u"iMessage"_s)
        .received(u"mail"_s)
        .write();
    const _MsgStorePtr store = loadStore(root->path());
    const _MsgChat *chat = chatOf(store, u"in"_s);
    QVERIFY(chat->rowid < 0);
    QCOMPARE(store->chats.value(chat->rowid), chat);
    QCOMPARE(chat->guid, u"iMessage;-;"_s + anna);
    QCOMPARE(chat->service_name, u"iMessage"_s);
    QCOMPARE(chat->style, 45);
    QCOMPARE(chat->_last, 2000);
    QCOMPARE(chat->messages.size(), 2);
    const _MsgMessage *out = messageOf(store, u"out"_s);
    QCOMPARE(out->date, 2000);
    QCOMPARE(out->is_from_me, 1);
    QCOMPARE(out->service, u"iMessage"_s);
    QCOMPARE(out->handle->id, anna);
    QCOMPARE(out->handle->service, u"iMessage"_s);
    QVERIFY(out->handle->rowid < 0);
    QVERIFY(!out->attributedBody.isEmpty());
    QCOMPARE(chatOf(store, u"mail"_s)->chat_identifier, u"ann@example.org"_s);
}

void TestIos5Reader::iMessagesOfGroups()
{
    phone()
        .group({anna, bruno})
        .receivedFrom(bruno, u"Bruno's"_s)
        .sent(u"own"_s)
        .chat(bruno, u"iMessage"_s)
        .received(u"alone"_s)
        .write();
    const _MsgStorePtr store = loadStore(root->path());
    const _MsgChat *group = chatOf(store, u"Bruno's"_s);
    QCOMPARE(group->style, 43);
    QCOMPARE(group->guid, u"iMessage;+;"_s + group->chat_identifier);
    QCOMPARE(group->handles.size(), 2);
    QCOMPARE(messageOf(store, u"Bruno's"_s)->handle->id, bruno);
    QVERIFY(!messageOf(store, u"own"_s)->handle);
    QCOMPARE(chatOf(store, u"own"_s), group);
    QVERIFY(chatOf(store, u"alone"_s) != group);
    // Every participant of every chat is a person of its own.
    QCOMPARE(store->handles.size(), 3);
}

void TestIos5Reader::undeliveredOwnIMessagesCountAsReceived()
{
    phone()
        .chat(anna, u"iMessage"_s)
        .sent(u"undelivered"_s)
        .with([](SampleMessage &message) { message.date_delivered = 0; })
        .write();
    QCOMPARE(messageOf(loadStore(root->path()), u"undelivered"_s)->is_from_me, 0);
}

void TestIos5Reader::guidsOfTextsAreNewOnEveryLoad()
{
    phone().chat(anna).received(u"sms"_s).chat(anna, u"iMessage"_s).received(u"madrid"_s).write();
    const _MsgStorePtr first = loadStore(root->path());
    const _MsgStorePtr second = loadStore(root->path());
    QVERIFY(messageOf(first, u"sms"_s)->guid != messageOf(second, u"sms"_s)->guid);
    QCOMPARE(messageOf(first, u"sms"_s)->guid.size(), 36);
    QCOMPARE(messageOf(first, u"madrid"_s)->guid, messageOf(second, u"madrid"_s)->guid);
    QVERIFY(!messageOf(first, u"madrid"_s)->guid.isEmpty());
}

void TestIos5Reader::readsOneChat()
{
    phone()
        .chat(anna)
        .received(u"sms"_s)
        .chat(bruno)
        .received(u"other"_s)
        .chat(anna, u"iMessage"_s)
        .received(u"madrid"_s)
        .write();
    const _MsgStorePtr store = loadStore(root->path());
    for (const QString &text : {u"sms"_s, u"other"_s, u"madrid"_s}) {
        const qint64 chat = chatOf(store, text)->rowid;
        QCOMPARE(textsOf(allMessages(loadStore(root->path(), chat))), QStringList({text}));
    }
}

void TestIos5Reader::withoutIMessageChats()
{
    const QString path = phone()
                             .chat(anna)
                             .received(u"sms"_s)
                             .chat(anna, u"iMessage"_s)
                             .received(u"linked"_s)
                             .chat(bruno, u"iMessage"_s)
                             .received(u"alone"_s)
                             .write();
    runSql(path, u"drop table madrid_chat"_s);
    const _MsgStorePtr store = loadStore(root->path());
    QCOMPARE(store->chats.size(), 1);
    QCOMPARE(chatOf(store, u"linked"_s), chatOf(store, u"sms"_s));
    QVERIFY(!chatOf(store, u"alone"_s));
}

void TestIos5Reader::iMessagesGoIntoTheIMessageChatOfAPerson()
{
    phone().chat(anna).received(u"sms"_s).chat(anna, u"iMessage"_s).received(u"madrid"_s).write();
    const _MsgStorePtr store = loadStore(root->path());
    QCOMPARE(chatOf(store, u"sms"_s)->service_name, u"SMS"_s);
    QCOMPARE(chatOf(store, u"madrid"_s)->service_name, u"iMessage"_s);
    QCOMPARE(groupChatSessions(store).size(), 1);
}

void TestIos5Reader::brokenParticipantsAreNone()
{
    const QString path = phone().group({anna, bruno}).receivedFrom(bruno, u"a"_s).write();
    for (const QString &blob :
         {u"x'6162'"_s, u"null"_s, u"x'62706C6973743030FFFFFFFFFF'"_s, u"zeroblob(70000)"_s}) {
        runSql(path, u"update madrid_chat set participants="_s + blob);
        const _MsgStorePtr store = loadStore(root->path());
        const _MsgChat *chat = chatOf(store, u"a"_s);
        QVERIFY(chat->handles.isEmpty());
        QVERIFY(chat->guid.startsWith(u"iMessage;-;"_s));
        QVERIFY(!messageOf(store, u"a"_s)->handle);
    }
}

void TestIos5Reader::aSecondCallReadsNothingAnew()
{
    phone().chat(anna).received(u"a"_s).group({anna, bruno}).sent(u"b"_s).write();
    _MsgStorePtr store(new _MsgStore);
    const std::unique_ptr<AbsIOSMessageDb> db = openMessageDb(root->path(), u"214"_s);
    db->messages(store, 0);
    const auto messages = store->messages;
    const auto handles = store->handles;
    const auto chats = store->chats;
    const QString guid = messageOf(store, u"a"_s)->guid;
    db->messages(store, 0);
    QCOMPARE(store->messages, messages);
    QCOMPARE(store->handles, handles);
    QCOMPARE(store->chats, chats);
    QCOMPARE(messageOf(store, u"a"_s)->guid, guid);
}

void TestIos5Reader::theLogBesideTheFileIsReadAndStays()
{
    const QString path = phone().chat(anna).received(u"file"_s).restInLog().received(u"log"_s).write();
    const QByteArray bytesBefore = bytesOf(path);
    const QByteArray logBefore = bytesOf(path + u"-wal"_s);
    QVERIFY(!logBefore.isEmpty());
    QCOMPARE(textsOf(allMessages(loadStore(root->path()))), QStringList({u"file"_s, u"log"_s}));
    QCOMPARE(bytesOf(path), bytesBefore);
    QCOMPARE(bytesOf(path + u"-wal"_s), logBefore);
}

void TestIos5Reader::damageIsAnErrorWithTheFilesName()
{
    SmsDbBuilder builder = phone();
    for (int i = 0; i < 200; ++i)
        builder.chat(u"+346123456%1"_s.arg(10 + i % 5), i % 2 ? u"SMS"_s : u"iMessage"_s)
            .received(u"text %1"_s.arg(i));
    const QString path = builder.write();
    QVERIFY(damageAndRead(root->path(), path) > 20);
}

QTEST_GUILESS_MAIN(TestIos5Reader)
#include "testios5reader.moc"
