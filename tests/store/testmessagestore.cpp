#include "messagestore.h"

#include <QTest>

#include <algorithm>
#include <random>

using namespace Qt::StringLiterals;

namespace
{

_MsgChat *addChat(_MsgStore &store, qint64 rowid, const QString &identifier, int last)
{
    auto *chat = new _MsgChat;
    chat->rowid = rowid;
    chat->chat_identifier = identifier;
    chat->_last = last;
    store.chats.insert(rowid, chat);
    return chat;
}

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
};

void TestMessageStore::conversationsComeNewestFirst()
{
    const _MsgStorePtr store(new _MsgStore);
    for (int i = 1; i <= 20; ++i)
        addChat(*store, i, u"same date %1"_s.arg(i), 7);
    addChat(*store, 21, u"older"_s, 6);
    addChat(*store, 23, u"newer"_s, 5); // two chats of one identifier are one conversation
    addChat(*store, 22, u"newer"_s, 8);
    const QList<_MsgSession> sessions = groupChatSessions(store);
    QCOMPARE(sessions.size(), 22);
    QCOMPARE(sessions.first().lastDate, 8);
    QCOMPARE(sessions.first().chats.last()->rowid, 23);
    for (int i = 1; i <= 21; ++i)
        QCOMPARE(sessions[i].chats.first()->rowid, i);
}

void TestMessageStore::addressesOfOnePersonAreOneConversation()
{
    const _MsgStorePtr store(new _MsgStore);
    const auto talk = [&](const QStringList &cards, const QString &person, int style = 45) {
        const int number = int(store->chats.size()) + 1;
        _MsgChat *chat = addChat(*store, number, u"id %1"_s.arg(number), 100 - number);
        chat->style = style;
        for (const QString &card : cards) {
            auto *handle = new _MsgHandle;
            handle->_ct_name = u"the same name"_s;
            handle->_contact = card;
            handle->person_centric_id = person;
            chat->handles.insert(card, handle);
            store->handles.insert(store->handles.size(), handle);
        }
    };
    talk({u"ana"_s}, {});
    talk({{}}, {});                    // names prove nothing
    talk({u"bo"_s}, u"p"_s);           // joined with the first by the one after the next
    talk({u"ana"_s, u"bo"_s}, u"p"_s); // groups stay
    talk({u"ana"_s}, u"p"_s);          //
    talk({u"ana"_s}, u"p"_s, 43);      // a group that all others left
    talk({{}}, {});
    QStringList sessions;
    for (const _MsgSession &session : groupChatSessions(store, SessionGrouping::ByPerson)) {
        QStringList rows;
        for (const _MsgChat *chat : session.chats)
            rows.append(QString::number(chat->rowid));
        sessions.append(rows.join(u'+'));
    }
    QCOMPARE(sessions, QStringList({u"1+3+5"_s, u"2"_s, u"4"_s, u"6"_s, u"7"_s}));
    QCOMPARE(groupChatSessions(store).size(), 7);
}

void TestMessageStore::aMessageInTwoChatsComesOnce()
{
    const _MsgStorePtr store(new _MsgStore);
    _MsgChat *first = addChat(*store, 1, u"a"_s, 0);
    _MsgChat *second = addChat(*store, 2, u"a"_s, 0);
    for (const qint64 rowid : {30, 4, 12, 3, 31}) {
        auto *one = new _MsgMessage(message(rowid, 0));
        store->messages.insert(rowid, one);
        if (rowid != 3 && rowid != 31)
            first->messages.insert(QString::number(rowid), one);
        if (rowid != 30 && rowid != 12)
            second->messages.insert(QString::number(rowid), one);
    }
    QCOMPARE(rowids(sessionMessages({first, second})), QList<qint64>({4, 12, 30, 3, 31}));
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

QTEST_GUILESS_MAIN(TestMessageStore)
#include "testmessagestore.moc"
