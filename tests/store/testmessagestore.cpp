#include "messagestore.h"
#include "openmessagedb.h"
#include "smsdbbuilder.h"
#include "sqlite3db.h"

#include <QRegularExpression>
#include <QSet>
#include <QTemporaryDir>
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

_MsgMessage *addMessage(_MsgStore &store, _MsgChat &chat, qint64 rowid, int date = 0)
{
    _MsgMessage *&message = store.messages[rowid];
    if (!message)
        message = new _MsgMessage;
    message->rowid = rowid;
    message->src_rowid = rowid;
    message->date = date;
    chat.messages.insert(QString::number(rowid), message);
    return message;
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
    void chatsOfOneIdentifierAreOneConversation();
    void conversationsComeNewestFirst();
    void aMessageInTwoChatsComesOnce();
    void comparesNearRowsByRow_data();
    void comparesNearRowsByRow();
    void sortsWhatHasAnOrder();
    void sortingKeepsEveryMessageOfACircle();
    void sortingForgetsTheOrderItGot();
    void datesCountFrom2001();
    void freshGuids();
    void guidsAndIdentifiersOfData();
    void generations_data();
    void generations();
    void noDatabaseIsAnErrorWithItsName();
};

void TestMessageStore::chatsOfOneIdentifierAreOneConversation()
{
    const _MsgStorePtr store(new _MsgStore);
    addChat(*store, 9, u"+34612"_s, 50);
    addChat(*store, 4, u"+34612"_s, 80);
    const QList<_MsgSession> sessions = groupChatSessions(store);
    QCOMPARE(sessions.size(), 1);
    QCOMPARE(sessions.first().lastDate, 80);
    QCOMPARE(sessions.first().chats.first()->rowid, 4);
    QCOMPARE(sessions.first().chats.last()->rowid, 9);
}

void TestMessageStore::conversationsComeNewestFirst()
{
    const _MsgStorePtr store(new _MsgStore);
    for (int i = 1; i <= 20; ++i)
        addChat(*store, i, u"same date %1"_s.arg(i), 7);
    addChat(*store, 21, u"older"_s, 6);
    addChat(*store, 22, u"newer"_s, 8);
    QList<qint64> order;
    const QList<_MsgSession> sessions = groupChatSessions(store);
    for (const _MsgSession &session : sessions)
        order.append(session.chats.first()->rowid);
    QList<qint64> expected{22};
    for (int i = 1; i <= 21; ++i)
        expected.append(i);
    QCOMPARE(order, expected);
}

void TestMessageStore::aMessageInTwoChatsComesOnce()
{
    const _MsgStorePtr store(new _MsgStore);
    _MsgChat *first = addChat(*store, 1, u"a"_s, 0);
    _MsgChat *second = addChat(*store, 2, u"a"_s, 0);
    for (const qint64 rowid : {30, 4, 12})
        addMessage(*store, *first, rowid);
    for (const qint64 rowid : {4, 3, 31})
        addMessage(*store, *second, rowid);
    QCOMPARE(rowids(sessionMessages({first, second})), QList<qint64>({4, 12, 30, 3, 31}));
    QCOMPARE(rowids(sessionMessages({second})), QList<qint64>({3, 4, 31}));
    QCOMPARE(rowids(allMessages(store)), QList<qint64>({3, 4, 12, 30, 31}));
}

void TestMessageStore::comparesNearRowsByRow_data()
{
    QTest::addColumn<qint64>("row");
    QTest::addColumn<int>("date");
    QTest::addColumn<bool>("isRecovered");
    QTest::addColumn<bool>("isBefore"); // message 100 of date 1000
    QTest::newRow("far rows go by date") << qint64(130) << 900 << false << false;
    QTest::newRow("near rows keep their order against the clock") << qint64(105) << 900 << false << true;
    QTest::newRow("near rows far apart in time go by date") << qint64(105) << 800 << false << false;
    QTest::newRow("twenty rows are near") << qint64(120) << 880 << false << true;
    QTest::newRow("twenty-one are not") << qint64(121) << 999 << false << false;
    QTest::newRow("121 seconds are far") << qint64(105) << 879 << false << false;
    QTest::newRow("a row without number goes by date") << qint64(0) << 999 << false << false;
    QTest::newRow("a negative row goes by date") << qint64(-5) << 1001 << false << true;
    QTest::newRow("a recovered row goes by date") << qint64(105) << 900 << true << false;
    QTest::newRow("dates a century apart")
        << qint64(105) << std::numeric_limits<int>::min() << false << false;
    QTest::newRow("rows at the end of numbers")
        << std::numeric_limits<qint64>::max() << 1001 << false << true;
}

void TestMessageStore::comparesNearRowsByRow()
{
    QFETCH(qint64, row);
    QFETCH(int, date);
    QFETCH(bool, isRecovered);
    const _MsgMessage a = message(100, 1000);
    const _MsgMessage b = message(row, date, isRecovered);
    QTEST(compareMessages(a, b), "isBefore");
    QVERIFY(!(compareMessages(a, b) && compareMessages(b, a)));
}

void TestMessageStore::sortsWhatHasAnOrder()
{
    QList<_MsgMessage> records = {message(1, 500), message(2, 400), message(3, 450), message(40, 100),
                                  message(80, 9000)};
    QList<_MsgMessage *> list;
    for (_MsgMessage &record : records)
        list.append(&record);
    QCOMPARE(rowids(sortMessages(list)), QList<qint64>({40, 1, 2, 3, 80}));
}

void TestMessageStore::sortingKeepsEveryMessageOfACircle()
{
    // Each row stands before the next by number, and the last before the first by date.
    std::mt19937 random(7);
    for (int round = 0; round < 50; ++round) {
        QList<_MsgMessage> records;
        for (int i = 1; i <= 2000; ++i)
            records.append(message(i, int(1000000 - i * 5 + int(random() % 300)), random() % 50 == 0));
        QVERIFY(compareMessages(message(1, 1000), message(15, 900)) &&
                compareMessages(message(15, 900), message(30, 800)) &&
                compareMessages(message(30, 800), message(1, 1000)));
        QList<_MsgMessage *> list;
        for (_MsgMessage &record : records)
            list.append(&record);
        QList<_MsgMessage *> sorted = sortMessages(list);
        std::sort(sorted.begin(), sorted.end());
        std::sort(list.begin(), list.end());
        QCOMPARE(sorted, list);
    }
}

void TestMessageStore::sortingForgetsTheOrderItGot()
{
    std::mt19937 random(3);
    QList<_MsgMessage> records;
    for (int i = 1; i <= 500; ++i)
        records.append(message(i, int(random() % 2000)));
    QList<_MsgMessage *> list;
    for (_MsgMessage &record : records)
        list.append(&record);
    const QList<_MsgMessage *> sorted = sortMessages(list);
    std::shuffle(list.begin(), list.end(), random);
    QCOMPARE(sortMessages(list), sorted);
}

void TestMessageStore::datesCountFrom2001()
{
    QCOMPARE(appleDateTime(0).toUTC(), QDateTime(QDate(2001, 1, 1), QTime(0, 0), Qt::UTC));
    QCOMPARE(appleDateTime(-1).toUTC(), QDateTime(QDate(2000, 12, 31), QTime(23, 59, 59), Qt::UTC));
    QCOMPARE(appleDateTime(std::numeric_limits<int>::max()).toUTC().date().year(), 2069);
    QCOMPARE(appleDateTime(0).time(), QTime(1, 0)); // in Madrid
}

void TestMessageStore::freshGuids()
{
    static const QRegularExpression form(
        u"^[0-9A-F]{8}-[0-9A-F]{4}-4[0-9A-F]{3}-[89AB][0-9A-F]{3}-[0-9A-F]{12}$"_s);
    QSet<QString> guids;
    for (int i = 0; i < 100; ++i)
        guids.insert(newMessageGuid());
    QCOMPARE(guids.size(), 100);
    for (const QString &guid : std::as_const(guids))
        QVERIFY2(form.match(guid).hasMatch(), qPrintable(guid));
}

void TestMessageStore::guidsAndIdentifiersOfData()
{
    // md5sum of nothing
    QCOMPARE(messageGuidFromData({}), u"D41D8CD9-8F00-B204-E980-0998ECF8427E"_s);
    static const QRegularExpression form(u"^chat[0-9]{18}$"_s);
    QSet<QString> identifiers;
    for (int i = 0; i < 200; ++i) {
        const QString identifier = newChatIdentifier(u"SMS;-;+3461%1"_s.arg(i));
        QVERIFY2(form.match(identifier).hasMatch(), qPrintable(identifier));
        identifiers.insert(identifier);
    }
    QCOMPARE(identifiers.size(), 200);
    // By hand, from md5sum of the counter's four bytes and the seed: kept in files, so never to change.
    QCOMPARE(newChatIdentifier(u"seed"_s), u"chat133526270673005330"_s);
}

void TestMessageStore::generations_data()
{
    QTest::addColumn<QString>("drop");
    QTest::addColumn<bool>("isIos5");
    QTest::addColumn<int>("version");
    QTest::newRow("of iOS 5") << QString() << true << 5;
    QTest::newRow("of iOS 6") << QString() << false << 6;
    for (const QString &table :
         {u"chat"_s, u"handle"_s, u"chat_handle_join"_s, u"message"_s, u"chat_message_join"_s})
        QTest::newRow(qPrintable(u"without "_s + table)) << table << false << 5;
}

void TestMessageStore::generations()
{
    QFETCH(QString, drop);
    QFETCH(bool, isIos5);
    const QTemporaryDir dir;
    const QString path = SmsDbBuilder(dir.path(), isIos5 ? IosVersion::Ios5 : IosVersion::Ios6).write();
    if (!drop.isEmpty()) {
        Sqlite3DB db;
        db.openThrow(path, sqliteReadWrite);
        db.executeThrow(Sqlite3Sql(u"alter table %1 rename to gone"_s.arg(drop)));
    }
    QTEST(sniffMessageDbVersion(path), "version");
    QTEST(openMessageDb(dir.path(), {})->dbVersion(), "version");
}

void TestMessageStore::noDatabaseIsAnErrorWithItsName()
{
    const QTemporaryDir dir;
    const QString path = dir.filePath(u"größe.db"_s);
    const auto errorOf = [&] {
        try {
            sniffMessageDbVersion(path);
        } catch (const std::runtime_error &error) {
            return QString::fromUtf8(error.what());
        }
        return QString();
    };
    QVERIFY(errorOf().contains(path));
    QVERIFY(!QFile::exists(path));
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.close();
    QCOMPARE(sniffMessageDbVersion(path), 5); // an empty file is an empty database
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write(QByteArray(5000, 'x'));
    file.close();
    QVERIFY(errorOf().contains(path));
}

QTEST_GUILESS_MAIN(TestMessageStore)
#include "testmessagestore.moc"
