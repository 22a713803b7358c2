#include "store/readers/openmessagedb.h"
#include "store/records/extrastext.h"
#include "store/records/messagestore.h"
#include "store/records/messagetext.h"
#include "testing/builders/smsdbbuilder.h"
#include "testing/builders/smsdbwriter.h"
#include "testing/helpers/testdatabase.h"

#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;

namespace
{

const QString ann = u"+34612345678"_s;
const QString ben = u"+34612345679"_s;

} // namespace

class TestModernMessages : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { root = std::make_unique<QTemporaryDir>(); }

    void tellsTheUnitOfEachDate();
    void takesTheTextOutOfTheBody();
    void putsPartsInTheOrderOfTheirWriter();
    void putsReactionsUnderTheirMessage_data();
    void putsReactionsUnderTheirMessage();
    void keepsAReactionWhoseMessageIsGone();
    void showsWhatWasDeletedAndWhatHasNoChat();
    void joinsGroupsThatMoved();
    void ordersEqualSecondsByWhatIsBelow();
    void readsTwiceWithoutChange();
    void readsOnWhereValuesAreOdd();

private:
    SmsDbBuilder phone() const { return SmsDbBuilder(root->path(), IosVersion::Ios26); }
    _MsgStorePtr read() const
    {
        _MsgStorePtr store(new _MsgStore);
        openMessageDb(root->path(), u"214"_s)->messages(store, 0);
        return store;
    }

    std::unique_ptr<QTemporaryDir> root;
};

void TestModernMessages::tellsTheUnitOfEachDate()
{
    SmsDbBuilder builder = phone().chat(ann).received(u"a"_s).attachment(u"a.jpg"_s).sent(u"b"_s);
    builder.sent(u"c"_s);
    runOn(builder.chat(ben).sent(u"d"_s).write(),
          u"update message set date=700000000 where rowid=1;"
          "update message set date=700000060999999999, date_read=700000070000000000 where rowid=2;"
          "update message set date=700000030, date_delivered=-5 where rowid=3;"
          "update message set date='no number' where rowid=4;"
          "update attachment set created_date=700000060999999999, start_date=700000030"_s);
    _MsgStorePtr store = read();
    openMessageDb(root->path(), u"214"_s)->attachments(store);
    const _MsgAttachment *picture = store->attachments.value(1);
    QCOMPARE(QList({picture->created_date, picture->start_date}), QList({700000060, 700000030}));
    QCOMPARE(store->messages.value(1)->date, 700000000);
    QCOMPARE(store->messages.value(2)->date, 700000060);
    QCOMPARE(store->messages.value(2)->date_read, 700000070);
    QCOMPARE(store->messages.value(3)->date_delivered, 0);
    QCOMPARE(store->chats.value(1)->_last, 700000060);
    QCOMPARE(store->chats.value(2)->_last, 0);
}

void TestModernMessages::takesTheTextOutOfTheBody()
{
    const auto body = [](const QByteArray &bytes) {
        return [=](SampleMessage &message) { message.attributedBody = bytes; };
    };
    const QByteArray whole = typedStreamOf(u"Grüße 🎉"_s);
    SmsDbBuilder builder = phone().chat(ann).received({}).with(body(whole));
    builder.received({}).with(body(whole.first(60))).received({}).received(u"own"_s).with(body(whole));
    builder.textIn(SampleExtras::Text::Both).write();
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression(u"^1 messages .* the first is message 2.$"_s));
    const _MsgStorePtr store = read();
    QCOMPARE(store->messages.value(1)->text, u"Grüße 🎉"_s);
    QVERIFY(store->messages.value(2)->extras->isTextUndecodable);
    QVERIFY(!store->messages.value(3)->extras || !store->messages.value(3)->extras->isTextUndecodable);
    QCOMPARE(store->messages.value(4)->text, u"own"_s);
}

void TestModernMessages::putsPartsInTheOrderOfTheirWriter()
{
    const QList<std::pair<IosVersion, QString>> layouts = {
        {IosVersion::Ios26, u"[IMAGE]\n👍 1\n[VIDEO]\ntest 2"_s},
        {IosVersion::Ios8, u"👍 1test 2 [VIDEO] [IMAGE]"_s}};
    for (const auto &[version, layout] : layouts) {
        root = std::make_unique<QTemporaryDir>();
        SmsDbBuilder builder = SmsDbBuilder(root->path(), version).chat(ann, u"iMessage"_s);
        builder.received(u"\uFFFC👍 1\uFFFCtest 2"_s).attachment(u"a.jpg"_s);
        runOn(builder.attachment(u"b.mp4"_s, u"video/mp4"_s).write(),
              u"update message_attachment_join set attachment_id=9 where attachment_id=1;"
              "update attachment set rowid=9 where rowid=1"_s);
        _MsgStorePtr store = read();
        openMessageDb(root->path(), u"214"_s)->attachments(store);
        QCOMPARE(displayText(*store->messages.value(1)), layout);
    }
}

void TestModernMessages::putsReactionsUnderTheirMessage_data()
{
    QTest::addColumn<QList<int>>("types"); // of Ann, Ben, Ann, and the owner
    QTest::addColumn<QString>("expected");
    QTest::newRow("the newest of each sender") << QList<int>{2000, 2001, 2003, 2006} << u"2001 2003 2006"_s;
    QTest::newRow("one taken back") << QList<int>{2000, 2001, 3000, 2005} << u"2001 2005"_s;
    QTest::newRow("all stickers") << QList<int>{1000, 1000, 1000, 4000} << u"1000 1000 1000 4000"_s;
    QTest::newRow("a kind of tomorrow") << QList<int>{2999, 7000, 7000, 3007} << u"2999 7000 7000"_s;
}

void TestModernMessages::putsReactionsUnderTheirMessage()
{
    QFETCH(QList<int>, types);
    SmsDbBuilder builder = phone().group({ann, ben}).sent(u"party?"_s).reactionBy(ann, types.at(0));
    builder.reactionBy(ben, types.at(1)).reactionBy(ann, types.at(2)).ownReaction(types.at(3)).write();
    const _MsgStorePtr store = read();
    QCOMPARE(store->messages.size(), 1);
    QCOMPARE(store->chats.value(1)->_last, store->messages.value(1)->date);
    QStringList found;
    for (const MessageReaction &reaction : store->messages.value(1)->extras->reactions)
        found.append(QString::number(reaction.associated_message_type));
    QTEST(found.join(u' '), "expected");
}

void TestModernMessages::keepsAReactionWhoseMessageIsGone()
{
    phone().chat(ann).sent(u"a"_s).reaction(2001).aimedAt(u"bp:NOT-HERE"_s).write();
    const _MsgStorePtr store = read();
    QCOMPARE(store->messages.size(), 2);
    QCOMPARE(store->chats.value(1)->messages.size(), 2);
    QCOMPARE(store->chats.value(1)->_last, store->messages.value(2)->date);
}

void TestModernMessages::showsWhatWasDeletedAndWhatHasNoChat()
{
    SmsDbBuilder builder = phone().chat(ann).sent(u"stays"_s).received(u"half"_s);
    builder.deletedPart(1, u"other half"_s).sent(u"goes"_s).recentlyDeleted();
    builder.noChat().receivedFrom(ben, u"lost"_s).write();
    const _MsgStorePtr store = read();
    constexpr int day = 24 * 60 * 60;
    QCOMPARE(store->messages.value(3)->extras->delete_date, store->messages.value(3)->date + day);
    QVERIFY(store->chats.value(1)->messages.contains(u"3"_s));
    QCOMPARE(store->messages.value(2)->extras->deletedParts.first().text, u"other half"_s);
    const _MsgChat *none = store->messages.value(4)->chat;
    QCOMPARE(none->rowid, -2047483647);
    QCOMPARE(none->_last, store->messages.value(4)->date);
    QCOMPARE(store->messages.value(4)->handle->id, ben);
}

void TestModernMessages::joinsGroupsThatMoved()
{
    SmsDbBuilder builder = phone().group({ann, ben}, u"iMessage"_s).sent(u"a"_s);
    builder.group({ann, u"+34612345670"_s}, u"RCS"_s).sent(u"b"_s);
    builder.group({ben, u"+34612345670"_s}, u"SMS"_s).sent(u"c"_s).chat(ann, u"SMS"_s).sent(u"d"_s);
    const QString path = builder.write();
    runOn(path,
          u"update chat set chat_identifier='chat' || rowid where style=43; delete from chat_lookup;"_s);
    QCOMPARE(groupChatSessions(read()).size(), 4);
    runOn(path, u"insert into chat_lookup(identifier, domain, chat) values('x','iMessage',1), ('x','RCS',2), "
                "('y','RCS',2), ('y','SMS',3), ('x','SMS',4), ('z','SMS',99);"_s);
    const _MsgStorePtr store = read();
    const QList<_MsgSession> sessions = groupChatSessions(store);
    QCOMPARE(sessions.size(), 2); // a partner alone is joined by who they are
    for (const _MsgSession &session : sessions)
        QCOMPARE(session.chats.size(), session.chats.first()->style == 43 ? 3 : 1);
}

void TestModernMessages::ordersEqualSecondsByWhatIsBelow()
{
    SmsDbBuilder builder =
        phone().chat(ann).sent(u"late"_s).sent(u"early"_s).sent(u"whole"_s).sent(u"junk"_s);
    runOn(builder.write(),
          u"update message set date=700000060999999999, destination_caller_id='+491' where rowid=1;"
          "update message set date=700000060000000007 where rowid=2;"
          "update message set date=700000060 where rowid=3; update message set is_spam=1 where rowid=4;"_s);
    const _MsgStorePtr store = read();
    QStringList texts;
    for (const _MsgMessage *message : sortMessages(allMessages(store)))
        texts.append(message->text);
    QVERIFY(texts.indexOf(u"early"_s) < texts.indexOf(u"late"_s));
    QCOMPARE(store->messages.value(1)->date_nanoseconds, 999999999);
    QCOMPARE(store->messages.value(3)->date_nanoseconds, 0);
    QCOMPARE(store->messages.value(1)->destination_caller_id, u"+491"_s);
    QVERIFY(isJunk(*store->messages.value(4)) && !isJunk(*store->messages.value(3)));
}

void TestModernMessages::readsTwiceWithoutChange()
{
    phone().chat(ann).sent(u"a"_s).reaction(2001).noChat().sent(u"b"_s).write();
    _MsgStorePtr store(new _MsgStore);
    const auto db = openMessageDb(root->path(), u"214"_s);
    db->messages(store, 1);
    QCOMPARE(store->messages.size(), 1);
    QCOMPARE(store->chats.size(), 1);
    for (int i = 0; i < 2; ++i) {
        db->messages(store, 0);
        QCOMPARE(store->messages.size(), 2);
        QCOMPARE(store->chats.size(), 2);
        QCOMPARE(store->messages.value(1)->extras->reactions.size(), 1);
    }
}

void TestModernMessages::readsOnWhereValuesAreOdd()
{
    SmsDbBuilder builder = phone().chat(ann).sent(u"a"_s).received(u"b"_s).received({}).received(u"d"_s);
    runOn(builder.write(),
          u"update message set associated_message_type=x'ff0078', thread_originator_guid=17, "
          "message_summary_info='bplist00Rec' where rowid=1;"
          "update message set associated_message_type='2000', associated_message_guid='p:99999999999/' where "
          "rowid=2;"
          "update message set attributedBody='no stream' where rowid=3;"
          "update message set date=9223372036854775807 where rowid=4;"
          "create trigger odd after delete on message begin select no_such_function(1); end;"
          "insert into chat_recoverable_message_join(chat_id, message_id, delete_date, ck_sync_state) "
          "values('x', null, 'y', 0), (99, 3, null, 0), (null, 77, 1, 1);"
          "insert into chat_message_join(chat_id, message_id) values(99, 4);"
          "pragma writable_schema=on;"
          "insert into sqlite_master values('table', 'odd', 'odd', 0, 'CREATE VIRTUAL TABLE odd USING "
          "fts4(x, tokenize=ab_cf_tokenizer)');"_s);
    const _MsgStorePtr store = read();
    QCOMPARE(store->messages.size(), 4);
    QCOMPARE(store->messages.value(1)->extras->thread_originator_guid, u"17"_s);
    QCOMPARE(store->messages.value(2)->extras->associated_message_type, 2000);
    QVERIFY(store->messages.value(3)->extras->isTextUndecodable);
    QCOMPARE(store->messages.value(4)->date, 0);
    QVERIFY(store->chats.value(1)->messages.contains(u"4"_s));
}

QTEST_GUILESS_MAIN(TestModernMessages)
#include "testmodernmessages.moc"
