#include "ios6messagedb.h"
#include "messagestore.h"
#include "messagetext.h"
#include "openmessagedb.h"
#include "smsdbbuilder.h"
#include "smsdbwriter.h"
#include "sqlite3db.h"

#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;

namespace
{

const QString ann = u"+34612345678"_s;
const QString ben = u"+34612345679"_s;
constexpr qint64 noon = 700'000'000; // seconds since 2001
constexpr auto modernColumns =
    "alter table message add associated_message_guid TEXT;"
    "alter table message add associated_message_type INTEGER default 0;"
    "alter table message add associated_message_emoji TEXT;"
    "alter table message add balloon_bundle_id TEXT;"
    "alter table message add payload_data BLOB;"
    "alter table message add expressive_send_style_id TEXT;"
    "alter table message add message_summary_info BLOB;"
    "alter table message add thread_originator_guid TEXT;"
    "alter table message add reply_to_guid TEXT;"
    "alter table message add date_edited INTEGER;"
    "alter table message add date_retracted INTEGER;"
    "alter table message add schedule_type INTEGER;"
    "create table chat_recoverable_message_join(chat_id INTEGER, message_id INTEGER, delete_date INTEGER,"
    " ck_sync_state INTEGER);"
    "create table recoverable_message_part(chat_id INTEGER, message_id INTEGER, part_index INTEGER,"
    " delete_date INTEGER, part_text BLOB);";

/// A phone's file of the newest shape: a file of iOS 8 that got the columns which came since.
class ModernPhone
{
public:
    explicit ModernPhone(const SmsDbBuilder &builder) : path(builder.write())
    {
        run(QString::fromLatin1(modernColumns));
    }

    ModernPhone &run(const QString &sql)
    {
        Sqlite3DB db;
        db.openThrow(path, sqliteReadWrite);
        QString error;
        if (db.exec(sql, error) != 0)
            throw std::runtime_error(error.toStdString());
        return *this;
    }
    ModernPhone &set(qint64 rowid, const QString &column, const QVariant &value)
    {
        Sqlite3DB db;
        db.openThrow(path, sqliteReadWrite);
        Sqlite3Sql sql(u"update message set %1=? where rowid=%2"_s.arg(column).arg(rowid));
        sql.addParam(value);
        db.executeThrow(sql);
        return *this;
    }
    ModernPhone &reaction(qint64 rowid, int type, const QString &target)
    {
        return set(rowid, u"associated_message_type"_s, type)
            .set(rowid, u"associated_message_guid"_s, target);
    }

private:
    QString path;
};

} // namespace

class TestModernMessages : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { root = std::make_unique<QTemporaryDir>(); }

    void tellsTheUnitOfEachDate();
    void takesTheTextOutOfTheBody();
    void putsReactionsUnderTheirMessage_data();
    void putsReactionsUnderTheirMessage();
    void keepsAReactionWhoseMessageIsGone();
    void showsWhatWasDeletedAndWhatHasNoChat();
    void readsTwiceWithoutChange();
    void readsOnWhereValuesAreOdd();

private:
    /// A conversation with Ann, then one of all three.
    SmsDbBuilder phone() const { return SmsDbBuilder(root->path(), IosVersion::Ios8); }
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
    ModernPhone(phone().chat(ann).received(u"a"_s).sent(u"b"_s).sent(u"c"_s).chat(ben).sent(u"d"_s))
        .set(1, u"date"_s, noon)
        .set(2, u"date"_s, (noon + 60) * 1'000'000'000 + 999'999'999)
        .set(2, u"date_read"_s, (noon + 70) * 1'000'000'000)
        .set(3, u"date"_s, noon + 30)
        .set(3, u"date_delivered"_s, -5)
        .set(4, u"date"_s, u"no number"_s);
    const _MsgStorePtr store = read();
    QCOMPARE(store->messages.value(1)->date, int(noon));
    QCOMPARE(store->messages.value(2)->date, int(noon + 60));
    QCOMPARE(store->messages.value(2)->date_read, int(noon + 70));
    QCOMPARE(store->messages.value(3)->date_delivered, 0);
    QCOMPARE(store->chats.value(1)->_last, int(noon + 60));
    QCOMPARE(store->chats.value(2)->_last, 0);
}

void TestModernMessages::takesTheTextOutOfTheBody()
{
    const QByteArray body = typedStreamOf(u"Grüße 🎉"_s);
    ModernPhone(phone().chat(ann).received({}).received({}).received({}).received(u"own"_s))
        .set(1, u"attributedBody"_s, body)
        .set(2, u"attributedBody"_s, body.first(60))
        .set(3, u"attributedBody"_s, QVariant())
        .set(4, u"attributedBody"_s, body);
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression(u"^1 messages .* the first is message 2.$"_s));
    const _MsgStorePtr store = read();
    QCOMPARE(store->messages.value(1)->text, u"Grüße 🎉"_s);
    QVERIFY(store->messages.value(2)->extras->isTextUndecodable);
    QVERIFY(!store->messages.value(3)->extras);
    QCOMPARE(store->messages.value(4)->text, u"own"_s);
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
    ModernPhone(phone()
                    .group({ann, ben})
                    .sent(u"party?"_s)
                    .guid(u"G-1"_s)
                    .receivedFrom(ann, u"Loved"_s)
                    .receivedFrom(ben, u"Liked"_s)
                    .receivedFrom(ann, u"Laughed"_s)
                    .sent(u"Emoji"_s))
        .reaction(2, types.at(0), u"p:0/G-1"_s)
        .reaction(3, types.at(1), u"p:0/G-1"_s)
        .reaction(4, types.at(2), u"p:0/G-1"_s)
        .reaction(5, types.at(3), u"p:0/G-1"_s);
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
    ModernPhone(phone().chat(ann).sent(u"a"_s).received(u"Liked “Lunch?”"_s))
        .reaction(2, 2001, u"bp:NOT-HERE"_s);
    const _MsgStorePtr store = read();
    QCOMPARE(store->messages.size(), 2);
    QCOMPARE(store->chats.value(1)->messages.size(), 2);
    QCOMPARE(store->chats.value(1)->_last, store->messages.value(2)->date);
}

void TestModernMessages::showsWhatWasDeletedAndWhatHasNoChat()
{
    ModernPhone(phone()
                    .chat(ann)
                    .sent(u"stays"_s)
                    .received(u"half"_s)
                    .noChat()
                    .sent(u"goes"_s)
                    .receivedFrom(ben, u"lost"_s))
        .run(u"insert into chat_recoverable_message_join values(1, 3, %1, 0);"
             "insert into recoverable_message_part values(1, 2, 1, %1, x'%2')"_s.arg(noon * 1'000'000'000)
                 .arg(QString::fromLatin1(typedStreamOf(u"other half"_s).toHex())));
    const _MsgStorePtr store = read();
    QCOMPARE(store->messages.value(3)->extras->delete_date, int(noon));
    QVERIFY(store->chats.value(1)->messages.contains(u"3"_s));
    QCOMPARE(store->messages.value(2)->extras->deletedParts.first().text, u"other half"_s);
    const _MsgChat *none = store->messages.value(4)->chat;
    QCOMPARE(none->rowid, -2047483647);
    QCOMPARE(none->_last, store->messages.value(4)->date);
    QCOMPARE(store->messages.value(4)->handle->id, ben);
}

void TestModernMessages::readsTwiceWithoutChange()
{
    ModernPhone(phone().chat(ann).sent(u"a"_s).guid(u"G-1"_s).received(u"Liked"_s).noChat().sent(u"b"_s))
        .reaction(2, 2001, u"p:0/G-1"_s);
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
    ModernPhone(phone().chat(ann).sent(u"a"_s).received(u"b"_s).received({}).received(u"d"_s))
        .set(1, u"associated_message_type"_s, QByteArray("\xFF\x00x", 3))
        .set(1, u"message_summary_info"_s,
             QByteArray("bplist00\x52"
                        "ec"))
        .set(1, u"thread_originator_guid"_s, 17)
        .set(2, u"associated_message_type"_s, u"2000"_s)
        .set(2, u"associated_message_guid"_s, u"p:99999999999/"_s)
        .set(3, u"attributedBody"_s, u"no stream"_s)
        .set(4, u"date"_s, std::numeric_limits<qint64>::max())
        .run(u"create trigger odd after delete on message begin select no_such_function(1); end;"
             "insert into chat_recoverable_message_join values('x', null, 'y', null), (99, 3, null, null),"
             "(null, 77, 1, 1);"
             "insert into chat_message_join values(99, 4);"
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
