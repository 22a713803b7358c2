#include "recovery/carving/deletedmessages.h"
#include "recovery/carving/messagerecycledb.h"
#include "recovery/carving/recoverdeleted.h"
#include "recovery/local/importmessages.h"
#include "store/readers/ios5messagedb.h"
#include "store/readers/ios6messagedb.h"
#include "store/readers/openmessagedb.h"
#include "store/records/madeupchats.h"
#include "store/records/messagestore.h"
#include "testing/builders/smsdbbuilder.h"
#include "testing/helpers/testdatabase.h"

#include <QTemporaryDir>
#include <QTest>
#include <QtEndian>

using namespace Qt::StringLiterals;

namespace
{

constexpr int firstDate = 389102400; // of the first message; the others are a minute apart
const QString ann = u"+34612345678"_s;
const QString bob = u"+34698765432"_s;

/// Forty messages with Ann, numbered by their texts, and two with Bob.
QString writePhone(const QDir &root, IosVersion version, int pageSize, qsizetype textLength)
{
    SmsDbBuilder phone(root, version);
    phone.chat(ann, u"iMessage"_s);
    for (int number = 1; number <= 40; ++number)
        phone.received(u"%1 "_s.arg(number).leftJustified(textLength, u'x'));
    phone.chat(bob, u"SMS"_s).received(u"Bob 1"_s).sent(u"Bob 2"_s);
    const QString path = phone.write();
    // Without triggers: some call functions that only a phone has.
    runOn(path, u"PRAGMA writable_schema=ON; delete from sqlite_master where type='trigger'; PRAGMA "
                "writable_schema=RESET; PRAGMA page_size=%1; VACUUM"_s.arg(pageSize));
    return path;
}

void change(const QString &path, const QString &sql)
{
    // Some builds of SQLite wipe what is deleted unless they are told not to.
    runOn(path, u"PRAGMA secure_delete=OFF; "_s + sql);
}

int recover(const QDir &root)
{
    RecordingProgress progress;
    return recoverDeleted(*openMessageDb(root, u"214"_s), progress);
}

_MsgStorePtr storeOf(const QDir &root)
{
    const std::unique_ptr<AbsIOSMessageDb> db = openMessageDb(root, u"214"_s);
    _MsgStorePtr store = _MsgStorePtr::create();
    db->messages(store, 0);
    loadRecycled(*db, *store);
    return store;
}

/// "1-3 7": the numbers of the recovered messages with Ann, then how many of those are still there.
QString recoveredNumbers(const QDir &root)
{
    QSet<int> found;
    QSet<int> live;
    int undated = 0;
    const _MsgStorePtr store = storeOf(root);
    for (const _MsgMessage *message : std::as_const(store->messages)) {
        const int number = message->text.section(u' ', 0, 0).toInt();
        if (!message->isRecovered)
            live.insert(number);
        else if (number > 0)
            found.insert(number);
        undated += message->date == firstDate + 60 * (number - 1) || number == 0 ? 0 : 1;
    }
    QStringList ranges;
    for (int number = 1; number <= 40; ++number) {
        const int first = number;
        while (found.contains(number) && found.contains(number + 1))
            ++number;
        if (found.contains(number))
            ranges.append(first == number ? QString::number(number) : u"%1-%2"_s.arg(first).arg(number));
    }
    const auto wrong = std::count_if(found.cbegin(), found.cend(), [&](int n) { return live.contains(n); });
    return ranges.join(u' ') + (wrong > 0 ? u" (%1 live)"_s.arg(wrong) : QString()) +
           (undated > 0 ? u" (%1 of another date)"_s.arg(undated) : QString());
}

} // namespace

class TestDeletedMessages : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { dir = std::make_unique<QTemporaryDir>(); }
    void findsWhatIsLeft_data();
    void findsWhatIsLeft();
    void sentOnesOfFewWordsKeepTheirDates_data();
    void sentOnesOfFewWordsKeepTheirDates();
    void aTrunkThatAnOldTreeNamesIsWalked();
    void aConversationThatWasDeletedComesBack_data();
    void aConversationThatWasDeletedComesBack();
    void mergesIntoChats();
    void damagedGuidsAreReplaced();
    void aMessageThatCameBackIsNotShown();
    void whatTheLogTookAwayIsFound_data();
    void whatTheLogTookAwayIsFound();
    void aCancelledRunKeepsWhatItHas();

private:
    QDir root() const { return QDir(dir->path()); }

    std::unique_ptr<QTemporaryDir> dir;
};

void TestDeletedMessages::findsWhatIsLeft_data()
{
    QTest::addColumn<IosVersion>("ios");
    QTest::addColumn<int>("pageSize");
    QTest::addColumn<int>("textLength");
    QTest::addColumn<QString>("which"); // of the rows
    QTest::addColumn<QString>("expected");
    using enum IosVersion;
    const QString three = u"between 4 and 6"_s;
    const QString stretch = u"between 8 and 33"_s;

    QTest::newRow("first of a page") << Ios6 << 4096 << 30 << u"= 1"_s << u"1"_s;
    QTest::newRow("middle of a page") << Ios8 << 4096 << 30 << u"= 5"_s << u"5"_s;
    QTest::newRow("middle of a small page") << Ios6 << 1024 << 30 << u"= 5"_s << u"5"_s;
    QTest::newRow("middle of a large page") << Ios6 << 16384 << 30 << u"= 5"_s << u"5"_s;
    QTest::newRow("nobody visits the last page") << Ios6 << 4096 << 30 << u"= 40"_s << QString();
    QTest::newRow("a page that was put together anew") << Ios6 << 1024 << 30 << three << u"6"_s;
    QTest::newRow("pages that were given up") << Ios6 << 4096 << 30 << stretch << u"9 19-33"_s;
    QTest::newRow("small pages that were given up") << Ios6 << 1024 << 30 << stretch << u"10-33"_s;
    QTest::newRow("everything") << Ios8 << 4096 << 30 << u"> 0"_s << u"1-40"_s;
    QTest::newRow("everything in one large page") << Ios6 << 16384 << 30 << u"> 0"_s << u"26-40"_s;
    QTest::newRow("a record that spilled looks wrong in a page")
        << Ios6 << 1024 << 3000 << three << QString();
    QTest::newRow("one that fits does not") << Ios8 << 4096 << 3000 << three << u"5-6"_s;
    QTest::newRow("spilled ones of pages that were given up")
        << Ios6 << 1024 << 3000 << stretch << u"10-33"_s;
    QTest::newRow("lengths of three bytes are read wrong") << Ios6 << 4096 << 9000 << stretch << QString();
    QTest::newRow("columns of iOS 7 fit no list") << Ios7 << 4096 << 30 << three << QString();
    QTest::newRow("but pages tell their own") << Ios7 << 4096 << 30 << stretch << u"28-33"_s;
    QTest::newRow("iOS 11") << Ios11 << 4096 << 30 << stretch << u"32-33"_s;
    QTest::newRow("words of iOS 26 are in the body") << Ios26 << 4096 << 30 << stretch << u"32-33"_s;
    QTest::newRow("reactions are no messages")
        << Ios11 << 4096 << 30
        << u"=0; update message set associated_message_type=2000 where rowid=33; delete from message where "
           "rowid "_s +
               stretch
        << u"32"_s;
    QTest::newRow("iOS 5") << Ios5 << 4096 << 30 << three << u"4-6"_s;
    QTest::newRow("iOS 5 rows that only moved") << Ios5 << 1024 << 30 << three << u"6"_s;
    QTest::newRow("overwritten in part")
        << Ios6 << 4096 << 30 << three + u"; update message set text=text||'more words' where rowid=7"_s
        << u"5-6 (1 of another date)"_s;
    QTest::newRow("wiped") << Ios6 << 4096 << 30
                           << u"=0; PRAGMA secure_delete=ON; delete from message where rowid "_s + three
                           << QString();
}

void TestDeletedMessages::findsWhatIsLeft()
{
    QFETCH(IosVersion, ios);
    QFETCH(int, pageSize);
    QFETCH(int, textLength);
    QFETCH(QString, which);
    const QString path = writePhone(root(), ios, pageSize, textLength);
    change(path, u"delete from message where rowid "_s + which);
    const QByteArray before = bytesOf(path);
    recover(root());
    QTEST(recoveredNumbers(root()), "expected");
    QCOMPARE(bytesOf(path), before);
    QCOMPARE(recover(root()), 0);
}

// Each leaves free space of just its size, and its date is the last thing in it, or there is a byte behind.
void TestDeletedMessages::sentOnesOfFewWordsKeepTheirDates_data()
{
    QTest::addColumn<IosVersion>("version");
    QTest::addColumn<QString>("behind");
    QTest::addColumn<int>("last"); ///< the last page isn't visited
    QTest::newRow("iOS 6") << IosVersion::Ios6 << QString() << 37;
    QTest::newRow("iOS 8") << IosVersion::Ios8 << u", other_handle=-1"_s << 41;
}

void TestDeletedMessages::sentOnesOfFewWordsKeepTheirDates()
{
    QFETCH(IosVersion, version);
    QFETCH(QString, behind);
    QFETCH(int, last);
    const QString path = writePhone(root(), version, 1024, 2);
    change(path, u"update message set date_read=0, date_delivered=0, text=rowid%5%1; VACUUM; delete from "
                 "message where rowid % 2"_s.arg(behind));
    recover(root());
    QSet<int> numbers;
    const _MsgStorePtr store = storeOf(root());
    for (const _MsgMessage *message : std::as_const(store->messages)) {
        if (message->isRecovered)
            numbers.insert((message->date - firstDate) / 60 + 1);
    }
    QSet<int> expected;
    for (int number = 1; number <= last; number += 2)
        expected.insert(number);
    QCOMPARE(numbers, expected);
}

// Its page was given up and used again, after the tree that it was part of.
void TestDeletedMessages::aTrunkThatAnOldTreeNamesIsWalked()
{
    const QString path = writePhone(root(), IosVersion::Ios6, 1024, 30);
    change(path, u"delete from message where rowid between 8 and 33"_s);
    QByteArray bytes = bytesOf(path);
    const auto numberAt = [&](qsizetype place) { return qFromBigEndian<quint32>(bytes.constData() + place); };
    const auto put = [&](qsizetype place, quint32 number) { qToBigEndian(number, bytes.data() + place); };
    const auto placeOf = [](quint32 page) { return qsizetype(page - 1) * 1024; };
    const qsizetype trunk = placeOf(numberAt(32));
    const quint32 count = numberAt(trunk + 4);
    const quint32 last = numberAt(trunk + 4 + count * 4);
    // The last free page lists all others but the first, and the first names it as its child.
    put(placeOf(last), 0);
    put(placeOf(last) + 4, count - 2);
    for (quint32 i = 0; i < count - 2; ++i)
        put(placeOf(last) + 8 + i * 4, numberAt(trunk + 12 + i * 4));
    const qsizetype tree = placeOf(numberAt(trunk + 8));
    bytes.replace(tree, 14, QByteArray::fromHex("0500000001000000000000000020"));
    put(tree + 0x20, last);
    put(trunk, last);
    put(trunk + 4, 1);
    QVERIFY(writeFile(path, bytes));
    recover(root());
    QCOMPARE(recoveredNumbers(root()), u"10-12 15-33"_s);
}

// A handle that was found between rows has lost its number: only one that is there still, or that the recycle
// database alone knows by its number, tells who took part.
void TestDeletedMessages::aConversationThatWasDeletedComesBack_data()
{
    QTest::addColumn<qint64>("rowid"); // of the handle
    QTest::addColumn<bool>("isLive");
    QTest::addColumn<QStringList>("found"); // that claim its row
    QTest::addColumn<QString>("identifier");
    QTest::newRow("with a handle that is there still") << 2LL << true << QStringList(ann) << bob;
    QTest::newRow("with a known handle") << 2LL << false << QStringList(bob) << bob;
    QTest::newRow("with an unknown one") << 2LL << false << QStringList() << u"unknown2"_s;
    QTest::newRow("two claim the row") << 2LL << false << QStringList({ann, bob}) << u"unknown2"_s;
    QTest::newRow("a number that all of a country have")
        << 17LL << false << QStringList(ann) << u"unknown17"_s;
}

void TestDeletedMessages::aConversationThatWasDeletedComesBack()
{
    QFETCH(qint64, rowid);
    QFETCH(bool, isLive);
    QFETCH(QStringList, found);
    QFETCH(QString, identifier);
    for (const QString &id : found) {
        _MsgHandle handle;
        handle.id = id;
        handle.country = u"es"_s;
        MessageRecycleDb(root()).insertHandle(handle, rowid);
    }
    const QString path = writePhone(root(), IosVersion::Ios6, 4096, 30);
    change(path, u"delete from chat_handle_join where chat_id=2; delete from chat where rowid=2; delete from "
                 "chat_message_join where chat_id=2; update message set handle_id=%1 where handle_id=2; "
                 "update handle set rowid=%2 where rowid=2; delete from message where rowid > 7"_s.arg(rowid)
                     .arg(isLive ? rowid : 999));
    QVERIFY(recover(root()) > 0);
    const _MsgStorePtr store = storeOf(root());
    QList<_MsgSession> sessions = groupChatSessions(store);
    std::sort(sessions.begin(), sessions.end(), [](const _MsgSession &a, const _MsgSession &b) {
        return a.chats.first()->rowid < b.chats.first()->rowid;
    });
    const _MsgChat &chat = *sessions.first().chats.first();
    QCOMPARE(chat.chat_identifier, identifier);
    QCOMPARE(chat.rowid, (identifier == bob ? -1947483647 : -2047483647) - rowid);
    QCOMPARE(chat.messages.size(), 2);
    for (const _MsgMessage *message : chat.messages) {
        QVERIFY(message->isRecovered && message->text.startsWith(u"Bob"_s));
        QCOMPARE(message->handle->id, identifier);
        QCOMPARE(message->src_rowid, -message->rowid);
    }
    QCOMPARE(isOfUnknownAddress(chat), identifier != bob);
    const QString kept = dir->filePath(u"kept.db"_s);
    RecordingProgress progress;
    for (int run = 0; run < 2; ++run)
        importMessages(allMessages(store), root(), kept, progress);
    QCOMPARE(rowsOf(kept, u"select count(*) from message"_s), {QString::number(store->messages.size())});
    QCOMPARE(rowsOf(kept, u"select h.id, count(*), min(m._is_recovered) from message m join handle h on "
                          "m.handle_id=h.rowid where m.text like 'Bob%' group by 1"_s),
             {identifier + u"|2|1"_s});

    // Another phone has them still, and the date that is lost.
    _MsgHandle person;
    person.id = bob;
    person.service = u"SMS"_s;
    _MsgChat live = chat;
    live.guid = u"SMS;-;"_s + bob;
    live.chat_identifier = bob;
    live.rowid = 1;
    live.handles = {{u"1"_s, &person}};
    for (const _MsgMessage *message : chat.messages) {
        _MsgMessage back = *message;
        back.isRecovered = false;
        back.chat = &live;
        back.handle = &person;
        back.date += identifier == bob ? 0 : 7;
        importMessages({&back}, root(), kept, progress);
        QCOMPARE(
            rowsOf(kept, u"select c.guid, h.id, m.date, m._is_recovered from message m join handle h on "
                         "m.handle_id=h.rowid join chat_message_join j on j.message_id=m.rowid join chat c "
                         "on c.rowid=j.chat_id where m.guid='%1'"_s.arg(back.guid)),
            {u"%1|%2|%3|0"_s.arg(live.guid, bob).arg(back.date)});
    }
    QCOMPARE(rowsOf(kept, u"select count(*) from chat union all select count(*) from handle"_s),
             QStringList({u"2"_s, u"2"_s}));
}

void TestDeletedMessages::mergesIntoChats()
{
    _MsgStore store;
    auto *live = new _MsgChat;
    live->chat_identifier = ann;
    store.chats.insert(1, live);
    const auto recycled = [](qint64 rowid, const QString &service, const QString &chat, qint64 handle) {
        _MsgMessage message;
        message.rowid = rowid;
        message.guid = newMessageGuid();
        message.service = service;
        message.handle_id = handle;
        message.date = 200;
        return _RecycleMessage{message, chat, chat};
    };
    const QList<_RecycleMessage> messages = {
        recycled(-10, u"SMS"_s, ann, 1),
        recycled(-11, u"iMessage"_s, ann, 5),
        recycled(-12, u"SMS"_s, bob, 5),
        recycled(-13, u"SMS"_s, QString(), 17),
        recycled(-14, u"iMessage"_s, {}, -1),
        recycled(-15, u"SMS"_s, u"x"_s, std::numeric_limits<qint64>::max())};
    MessageRecycleDb::mergeInto(store, messages);
    MessageRecycleDb::mergeInto(store, messages);
    const auto chatOf = [&](qint64 rowid) { return store.messages.value(rowid)->chat; };
    QCOMPARE(chatOf(-10), live);
    QCOMPARE(live->_last, 200);
    QCOMPARE(chatOf(-11)->guid, u"iMessage;-;"_s + ann);
    QCOMPARE(chatOf(-11)->rowid, -1947483652);
    QCOMPARE(chatOf(-12)->rowid, -1947483653); // its own number is taken
    QCOMPARE(chatOf(-13)->chat_identifier, u"unknown17"_s);
    QCOMPARE(chatOf(-13)->rowid, -2047483664);
    QCOMPARE(chatOf(-14)->service_name, u"SMS"_s);
    QVERIFY(chatOf(-15)->rowid > -2047483647);
    QCOMPARE(store.chats.size(), 6);
}

void TestDeletedMessages::damagedGuidsAreReplaced()
{
    MessageRecycleDb db(root());
    _MsgMessage words;
    words.guid = u"\u0001damaged"_s;
    words.text = u"Hola"_s;
    _RecycleMessage wordless;
    wordless.message.attributedBody = "body";
    wordless.chat_identifier = ann;
    db.insertMessage(words, ann, ann, 3);
    db.insertMessage(wordless.message, ann, ann, 0);
    QVERIFY(db.findMessage(words) > 0);
    QVERIFY(db.findMessage(wordless.message) == 0 && db.findWordless(wordless) > 0);
    QVERIFY(isGuid(db.loadMessages().first().message.guid));
    QCOMPARE(db.loadMessages().last().message.rowid, -2047483650);
    words.is_from_me = 1;
    QCOMPARE(db.findMessage(words), 0);
    const qint64 rowid = db.insertMessage(words, ann, ann, 4);
    QCOMPARE(db.findMessage(words), rowid);
}

void TestDeletedMessages::aMessageThatCameBackIsNotShown()
{
    const QString path = writePhone(root(), IosVersion::Ios6, 4096, 30);
    change(path,
           u"create table kept as select * from message where rowid=5; delete from message where rowid=5"_s);
    QCOMPARE(recover(root()), 1);
    QCOMPARE(recoveredNumbers(root()), u"5"_s);
    change(path, u"insert into message select * from kept"_s);
    QCOMPARE(recoveredNumbers(root()), QString());
}

void TestDeletedMessages::whatTheLogTookAwayIsFound_data()
{
    QTest::addColumn<IosVersion>("ios");
    QTest::newRow("iOS 5") << IosVersion::Ios5;
    QTest::newRow("iOS 6") << IosVersion::Ios6;
    QTest::newRow("iOS 26") << IosVersion::Ios26;
}

// The pages in the log are wiped, and those of the main file would be by a checkpoint.
void TestDeletedMessages::whatTheLogTookAwayIsFound()
{
    QFETCH(IosVersion, ios);
    const QString path = writePhone(root(), ios, 1024, 30);
    const QString main = dir->filePath(u"main.db"_s);
    runOn(path, u"PRAGMA journal_mode=wal"_s);
    QVERIFY(QFile::copy(path, main));
    {
        Sqlite3DB db;
        db.openThrow(path, sqliteReadWrite);
        db.executeThrow(Sqlite3Sql("PRAGMA secure_delete=ON"));
        db.executeThrow(Sqlite3Sql("delete from message where rowid between 2 and 40"));
        QVERIFY(QFile::copy(path + u"-wal"_s, main + u"-wal"_s));
    }
    for (const QString &suffix : {QString(), u"-wal"_s}) {
        QFile::remove(path + suffix);
        QVERIFY(QFile::rename(main + suffix, path + suffix));
    }
    const QDir folder = QFileInfo(path).dir();
    const QByteArray before = bytesOf(path) + bytesOf(path + u"-wal"_s);
    QCOMPARE(recover(root()), 39);
    QCOMPARE(recoveredNumbers(root()), u"2-40"_s);
    QCOMPARE(bytesOf(path) + bytesOf(path + u"-wal"_s), before);
    QCOMPARE(folder.entryList(QDir::Files), QStringList({u"sms.db"_s, u"sms.db-wal"_s}));
    QCOMPARE(recover(root()), 0);
}

void TestDeletedMessages::aCancelledRunKeepsWhatItHas()
{
    const QString path = writePhone(root(), IosVersion::Ios8, 1024, 30);
    change(path, u"delete from message where rowid between 8 and 33"_s);
    const std::unique_ptr<AbsIOSMessageDb> db = openMessageDb(root(), {});
    RecordingProgress progress;
    progress.cancelled = true;
    QVERIFY_EXCEPTION_THROWN(recoverDeleted(*db, progress), int);
    QCOMPARE(recoveredNumbers(root()), QString());
    progress.cancelled = false;
    QVERIFY(recoverDeleted(*db, progress) > 10);
    QVERIFY(progress.updates > 4);
}

QTEST_GUILESS_MAIN(TestDeletedMessages)
#include "testdeletedmessages.moc"
