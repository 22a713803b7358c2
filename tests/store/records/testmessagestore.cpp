#include "store/readers/messagegaps.h"
#include "store/readers/openmessagedb.h"
#include "store/records/messagestore.h"
#include "testing/builders/smsdbbuilder.h"
#include "testing/helpers/records.h"
#include "testing/helpers/testdatabase.h"

#include <QTemporaryDir>
#include <QTest>

#include <algorithm>
#include <random>

using namespace Qt::StringLiterals;

namespace
{

_MsgMessage message(qint64 rowid, int date, bool isRecovered = false)
{
    _MsgMessage result;
    result.rowid = rowid;
    result.src_rowid = rowid;
    result.date = date;
    result.isRecovered = isRecovered;
    return result;
}

QList<qint64> rowids(const QList<_MsgMessage *> &messages)
{
    QList<qint64> result;
    for (const _MsgMessage *one : messages)
        result.append(one->rowid);
    return result;
}

} // namespace

class TestMessageStore : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void conversationsComeNewestFirst();
    void addressesOfOnePersonAreOneConversation();
    void aMessageInTwoChatsComesOnce();
    void comparesNearRowsByRow();
    void sortsAndKeepsEveryMessageOfACircle();
    void guidsAndIdentifiersOfData();
    void missingRows_data();
    void missingRows();
};

void TestMessageStore::conversationsComeNewestFirst()
{
    Records records;
    const auto add = [&](const QString &identifier, int last) {
        records.talk({}, identifier).lastChat()._last = last;
    };
    for (int i = 1; i <= 20; ++i)
        add(u"same date %1"_s.arg(i), 7);
    add(u"older"_s, 6);
    add(u"newer"_s, 8); // two chats of one identifier are one conversation
    add(u"newer"_s, 5);
    const QList<_MsgSession> sessions = groupChatSessions(records.store);
    QCOMPARE(sessions.size(), 22);
    QCOMPARE(sessions.first().lastDate, 8);
    QCOMPARE(sessions.first().chats.last()->rowid, 23);
    for (int i = 1; i <= 21; ++i)
        QCOMPARE(sessions[i].chats.first()->rowid, i);
}

void TestMessageStore::addressesOfOnePersonAreOneConversation()
{
    Records records;
    const auto talk = [&](const QStringList &cards, const QString &personId, int style = 45) {
        QList<_MsgHandle> members;
        for (const QString &card : cards) {
            members.append(person({}, u"the same name"_s));
            members.last()._contact = card;
            members.last().person_centric_id = personId;
        }
        const int number = int(records.store->chats.size()) + 1;
        _MsgChat &chat = records.talk(members, u"id %1"_s.arg(number)).lastChat();
        chat._last = 100 - number;
        chat.style = style;
    };
    talk({u"ana"_s}, {});
    talk({{}}, {});                    // names prove nothing
    talk({u"bo"_s}, u"p"_s);           // joined with the first by the one after the next
    talk({u"ana"_s, u"bo"_s}, u"p"_s); // groups stay
    talk({u"ana"_s}, u"p"_s);          //
    talk({u"ana"_s}, u"p"_s, 43);      // a group that all others left
    talk({{}}, {});
    QStringList sessions;
    for (const _MsgSession &session : groupChatSessions(records.store, SessionGrouping::ByPerson)) {
        QStringList rows;
        for (const _MsgChat *chat : session.chats)
            rows.append(QString::number(chat->rowid));
        sessions.append(rows.join(u'+'));
    }
    QCOMPARE(sessions, QStringList({u"1+3+5"_s, u"2"_s, u"4"_s, u"6"_s, u"7"_s}));
    QCOMPARE(groupChatSessions(records.store).size(), 7);
}

void TestMessageStore::aMessageInTwoChatsComesOnce()
{
    const _MsgStorePtr store(new _MsgStore);
    _MsgChat first, second;
    first.rowid = 1;
    second.rowid = 2;
    for (const qint64 rowid : {30, 4, 12, 3, 31}) {
        auto *one = new _MsgMessage(message(rowid, 0));
        store->messages.insert(rowid, one);
        if (rowid != 3 && rowid != 31)
            first.messages.insert(QString::number(rowid), one);
        if (rowid != 30 && rowid != 12)
            second.messages.insert(QString::number(rowid), one);
    }
    QCOMPARE(rowids(sessionMessages({&first, &second})), QList<qint64>({4, 12, 30, 3, 31}));
    QCOMPARE(rowids(allMessages(store)), QList<qint64>({3, 4, 12, 30, 31}));
}

void TestMessageStore::comparesNearRowsByRow()
{
    const QList<std::tuple<const char *, _MsgMessage, bool>> cases = {
        {"far rows go by date", message(130, 900), false},
        {"twenty rows are near and keep their order against the clock", message(120, 880), true},
        {"twenty-one are not", message(121, 999), false},
        {"121 seconds are far", message(105, 879), false},
        {"a row without number goes by date", message(0, 999), false},
        {"a recovered row goes by date", message(105, 900, true), false},
        {"dates a century apart", message(105, std::numeric_limits<int>::min()), false},
        {"rows at the end of numbers", message(std::numeric_limits<qint64>::max(), 1001), true}};
    for (const auto &[proves, other, isBefore] : cases)
        QVERIFY2(compareMessages(message(100, 1000), other) == isBefore, proves);
}

void TestMessageStore::sortsAndKeepsEveryMessageOfACircle()
{
    // Each row stands before the next by number, and the last before the first by date.
    std::mt19937 random(7);
    QList<_MsgMessage> records = {message(1, 1000),       message(15, 900),  message(30, 800),
                                  message(5000, 2000000), message(9003, 50), message(9000, 100)};
    for (int i = 31; i <= 2000; ++i)
        records.append(message(i, int(1000000 - i * 5 + int(random() % 300)), random() % 50 == 0));
    QList<_MsgMessage *> list;
    for (_MsgMessage &record : records)
        list.append(&record);
    QList<_MsgMessage *> sorted = sortMessages(list);
    QCOMPARE(rowids(sorted.first(2)), QList<qint64>({9000, 9003}));
    QCOMPARE(sorted.last()->rowid, 5000);
    std::shuffle(list.begin(), list.end(), random);
    QCOMPARE(sortMessages(list), sorted);
    std::sort(sorted.begin(), sorted.end());
    std::sort(list.begin(), list.end());
    QCOMPARE(sorted, list);
}

void TestMessageStore::guidsAndIdentifiersOfData()
{
    // md5sum of nothing
    QCOMPARE(messageGuidFromData({}), u"D41D8CD9-8F00-B204-E980-0998ECF8427E"_s);
    // By hand, from md5sum of the counter's four bytes and the seed: kept in files, so never to change.
    QCOMPARE(newChatIdentifier(u"seed"_s), u"chat133526270673005330"_s);
}

void TestMessageStore::missingRows_data()
{
    QTest::addColumn<IosVersion>("version");
    QTest::addColumn<QString>("script");
    QTest::addColumn<QStringList>("expected"); // count, texts around, conversation
    const auto row = [](const char *name, const QString &script, const QStringList &expected,
                        IosVersion version = IosVersion::Ios8) {
        QTest::newRow(name) << version << script << expected;
    };
    const auto drop = [](const QString &rows) {
        return u"delete from message where rowid in (%1)"_s.arg(rows);
    };
    row("within a conversation", drop(u"2"_s), {u"1 a1 a3 a"_s});
    row("within a conversation, iOS 5",
        u"drop trigger delete_message;drop trigger delete_newest_message;"_s + drop(u"2"_s), {u"1 a1 a3 a"_s},
        IosVersion::Ios5);
    row("between two conversations", drop(u"3,4"_s), {u"2 a2 b5 "_s});
    row("before the first and behind the last", drop(u"1,6"_s), {u"1 - a2 "_s, u"1 b5 - "_s});
    row("shared locations and what no chat holds are there",
        u"update message set item_type=4 where rowid=2; delete from chat_message_join where message_id=3"_s,
        {});
    row("gaps around what isn't shown are one",
        drop(u"2,4"_s) + u";update message set item_type=4 where rowid=3"_s, {u"2 a1 b5 "_s});
    row("rows no phone has", u"insert into message(rowid, guid) values(-9223372036854775807, 'x')"_s, {});
    row("a Local Database counts its own", drop(u"2"_s) + u";alter table message add column logic_hash"_s,
        {});
}

void TestMessageStore::missingRows()
{
    QFETCH(IosVersion, version);
    QFETCH(QString, script);
    const QTemporaryDir dir;
    SmsDbBuilder builder(dir.path(), version);
    builder.chat(u"a"_s).received(u"a1"_s).received(u"a2"_s).received(u"a3"_s);
    const QString path = builder.chat(u"b"_s).received(u"b4"_s).received(u"b5"_s).received(u"b6"_s).write();
    runOn(path, u"drop trigger if exists clean_orphaned_messages;"_s + script);
    const std::unique_ptr<AbsIOSMessageDb> db = openMessageDb(dir.path(), {});
    _MsgStorePtr store(new _MsgStore);
    db->messages(store, 0);
    QStringList found;
    const auto text = [](const _MsgMessage *message) { return message ? message->text : u"-"_s; };
    for (const MessageGap &gap : messageGaps(*db, *store).list)
        found.append(u"%1 %2 %3 %4"_s.arg(QString::number(gap.missing), text(gap.after), text(gap.before),
                                          gap.chat_identifier));
    QTEST(found, "expected");
}

QTEST_GUILESS_MAIN(TestMessageStore)
#include "testmessagestore.moc"
