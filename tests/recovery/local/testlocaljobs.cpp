#include "app/datalocations.h"
#include "recovery/local/deletemessages.h"
#include "recovery/local/importmessages.h"
#include "recovery/local/localdatabases.h"
#include "recovery/local/updatelocaldatabases.h"
#include "store/readers/attachmentpaths.h"
#include "store/readers/ios6messagedb.h"
#include "store/records/messagestore.h"
#include "testing/helpers/localdbtools.h"

#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;

using Change = std::function<void(_MsgMessage &)>;

class TestLocalJobs : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup() { localDatabasesDir().removeRecursively(); }
    void lookAlikes_data();
    void lookAlikes();
    void alikeInOneSourceAreTwo();
    void aSecondRunChangesNothing();
    void messagesWithoutAKnownChatAreLeftOut();
    void chatsKnowTheirLatestButNoNewMembers();
    void attachmentsStayInsideAndAsTheyWere();
    void filesOfOnePathStayApart();
    void attachmentsReadOrNotMakeNoDoubles_data();
    void attachmentsReadOrNotMakeNoDoubles();
    void aCancelledBackupLeavesNothing();
    void namesOfDatabases();
    void aDeletedDatabaseIsGoneAltogether();
    void deletingMessagesTakesWhatHangsOnThem_data();
    void deletingMessagesTakesWhatHangsOnThem();
    void aConversationGoesWithItsChats();
    void oldFilesBecomeLocalDatabases();
    void aFailedUpdateKeepsTheOldFile();
    void aFileOfAnotherKindKeepsItsName();
    void cipherVectors();

private:
    void fillSample();
    void append(const QList<_MsgMessage *> &list) { importMessages(list, QDir(sample.path), file, progress); }
    QStringList rows(const QString &sql) const { return rowsOf(file, sql); }

    RecordingProgress progress;
    LocalDatabase sample;
    QString file;
};

void TestLocalJobs::init()
{
    cleanup(); // a run that crashed has left it
    sample = localDatabaseToFill(u"Sample"_s);
    file = sample.file();
}

/// Two partners, a group of both, and one message that stands in two chats.
void TestLocalJobs::fillSample()
{
    Records records;
    records.chat(u"+34611111111"_s).received(u"a1"_s).attachment(u"/x/1.jpg"_s).received(u"a2"_s);
    records.chat(u"+34622222222"_s).received(u"b1"_s).attachment(u"/x/2.jpg"_s);
    records.group({u"+34611111111"_s, u"+34633333333"_s}, u"SMS"_s).received(u"g1"_s).received(QString());
    records.last().item_type = 4; // a shared location
    append(records.list());
    runOn(file, u"insert into chat_message_join values(3, 2)"_s); // a2 stands in the group too
}

void TestLocalJobs::lookAlikes_data()
{
    QTest::addColumn<int>("kept");
    QTest::addColumn<Change>("change");
    const auto row = [](const char *name, int kept, const Change &change) {
        QTest::newRow(name) << kept << change;
    };
    row("another second", 2, [](_MsgMessage &message) { message.date += 1; });
    row("another direction", 2, [](_MsgMessage &message) { message.is_from_me = 1; });
    row("another text", 2, [](_MsgMessage &message) { message.text += u'.'; });
    row("another sender", 2, [](_MsgMessage &message) { message.handle->id = u"+34600000000"_s; });
    row("no sender", 2, [](_MsgMessage &message) { message.handle = nullptr; });
    row("another attachment", 2,
        [](_MsgMessage &message) { (*message.attachments.begin())->filename = u"/x/b.jpg"_s; });
    row("no attachment", 2, [](_MsgMessage &message) { message.attachments.clear(); });
    row("an event, known by its guid alone", 2, [](_MsgMessage &message) { message.item_type = 3; });
    row("another service", 1, [](_MsgMessage &message) { message.service = u"iMessage"_s; });
    row("another chat", 1, [](_MsgMessage &message) { message.chat->guid = u"iMessage;-;1"_s; });
    row("sign of an attachment", 1, [](_MsgMessage &message) { message.text += QChar(0xFFFC); });
    row("case and folder of an attachment", 1,
        [](_MsgMessage &message) { (*message.attachments.begin())->filename = u"~/Elsewhere/A.JPG"_s; });
}

void TestLocalJobs::lookAlikes()
{
    QFETCH(int, kept);
    QFETCH(Change, change);
    Records first(u"first"_s);
    Records second(u"second"_s);
    for (Records *records : {&first, &second})
        records->chat(u"+34612345678"_s).received(u"Hola"_s).attachment(u"/x/a.jpg"_s);
    change(second.last());
    append(first.list());
    append(second.list());
    QCOMPARE(rows(u"select guid from message"_s), QStringList({u"first-1"_s, u"second-1"_s}).first(kept));
}

void TestLocalJobs::alikeInOneSourceAreTwo()
{
    // One text to several people and pictures in the cloud, all of one second.
    const auto import = [this](const QString &phone, int chats, int pictures) {
        Records records(phone);
        for (int i = 0; i < chats; ++i)
            records.chat(u"+3461234567%1"_s.arg(i)).sent(u"Feliz año"_s).last().handle = nullptr;
        for (int i = 0; i < pictures; ++i)
            records.chat(u"+34611111111"_s).received(u"\uFFFC"_s).attachment(QString());
        for (_MsgMessage *message : records.list())
            message->date = 400'000'000;
        const ImportCounts counts = importMessages(records.list(), QDir(sample.path), file, progress);
        return u"%1 added %2 known"_s.arg(counts.added).arg(counts.known);
    };
    QCOMPARE(import(u"first"_s, 4, 5), u"9 added 0 known"_s);
    QCOMPARE(rows(u"select count(*) from message_attachment_join group by message_id"_s),
             QStringList(5, u"1"_s));
    QCOMPARE(import(u"first"_s, 4, 5), u"0 added 9 known"_s);
    QCOMPARE(import(u"second"_s, 5, 2), u"1 added 6 known"_s);
}

void TestLocalJobs::aSecondRunChangesNothing()
{
    Records records;
    records.chat(u"+34612345678"_s).received(u"Hola"_s).attachment(u"/x/a.jpg"_s).received(u"Sí"_s);
    records.group({u"+34612345678"_s, u"ana@example.org"_s}).received(u"Hola a todos"_s);
    records.received(QString()).last().item_type = 3;
    append(records.list() + records.list());
    const QStringList before = rows(u"select * from message, chat"_s);
    append(records.list());
    QCOMPARE(rows(u"select * from message, chat"_s), before);
    runOn(file, u"update message set logic_hash=null"_s); // as a release leaves it that knew no hashes
    append(records.list());
    QCOMPARE(countsOf(file), u"4|2|3|1|3|4|1"_s);
}

void TestLocalJobs::messagesWithoutAKnownChatAreLeftOut()
{
    Records records;
    records.chat(u"1"_s).received(u"no chat"_s).chat(u"2"_s).received(u"address unknown"_s);
    records.chat(u"3"_s).received(u"lowest known"_s);
    records.list()[0]->chat = nullptr;
    records.list()[1]->chat->rowid = -2047483647;
    records.list()[2]->chat->rowid = -2047483646;
    append(records.list());
    QCOMPARE(rows(u"select text from message"_s), QStringList(u"lowest known"_s));
    records.chat(u"4"_s, u"Pigeon"_s).received(u"of any service"_s).chat(u"5"_s, {}).received(u"of none"_s);
    append(records.list());
    QCOMPARE(countsOf(file), u"3|3|3|0|3|3|0"_s);
    const QString phone = file + u"-phone"_s;
    runOn(phone, u"create table chat(guid); create table message(guid)"_s);
    const auto intoPhone = [&] {
        IOS6MessageDb(QDir(sample.path), phone, {}, false).insertChat(*records.last().chat);
    };
    QVERIFY(failureOf(intoPhone).contains(u"invalid chat, service_name:"_s));
}

void TestLocalJobs::chatsKnowTheirLatestButNoNewMembers()
{
    Records records;
    records.group({u"ana@example.org"_s, u"1"_s}).received(u"Hola"_s).received(u"Otra"_s);
    _MsgHandle luis = *records.last().handle;
    luis.id = u"luis@example.org"_s;
    records.last().handle = &luis;
    const QString query = u"select last_addressed_handle, _last, (select count(*) from handle) from chat"_s;
    append(records.list());
    QCOMPARE(rows(query), QStringList(u"luis@example.org|400000120|3"_s));
    records.group({u"ana@example.org"_s, u"new"_s}).received(u"early"_s).last().date = 500;
    append({&records.last()});
    QCOMPARE(rows(query), QStringList(u"ana@example.org|400000120|3"_s));
}

void TestLocalJobs::attachmentsStayInsideAndAsTheyWere()
{
    const QTemporaryDir dir;
    const QDir root(sample.path);
    const QString photo = dir.filePath(u"photo"_s);
    QVERIFY(writeFile(photo, "JPEG"));
    QVERIFY(root.mkpath(u"."_s) && QFile::link(dir.path(), root.filePath(u"link"_s)));
    const QStringList before = QDir(dir.path()).entryList(QDir::NoDotAndDotDot | QDir::AllEntries);
    Records records;
    records.chat(u"1"_s).received(u"\uFFFC"_s).attachment(u"~/Library/IMG:1.JPG"_s, photo);
    for (const char *hostile : {"~/../../../../stolen", "~/.:./.:./.*./../stolen", "//stolen",
                                "~/..\\..\\stolen", "/link/stolen", ""}) {
        records.attachment(QString::fromLatin1(hostile), photo);
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression(u"is not copied"_s));
    }
    append(records.list());
    QCOMPARE(QDir(dir.path()).entryList(QDir::NoDotAndDotDot | QDir::AllEntries), before);
    QCOMPARE(countsOf(file), u"1|1|1|7|1|1|7"_s);
    QCOMPARE(bytesOf(root.filePath(u"var/mobile/Library/IMG1.JPG"_s)), QByteArray("JPEG"));
}

void TestLocalJobs::filesOfOnePathStayApart()
{
    const QTemporaryDir dir;
    const QDir root(sample.path);
    const auto import = [&](const QString &phone, const QByteArray &content) {
        const QString picture = dir.filePath(u"none"_s);
        QFile::remove(picture);
        QVERIFY(content.isEmpty() || writeFile(picture, content));
        Records records(phone);
        records.chat(u"1"_s).received(phone).attachment(u"~/Library/SMS/Parts/01/1-1.jpg"_s, picture);
        append(records.list());
    };
    int phone = 0;
    for (const char *content : {"one", "two", "", "one", ""})
        import(u"phone %1"_s.arg(++phone), content);
    import(u"phone 3"_s, "three"); // found in a later backup
    import(u"phone 2"_s, "two");
    QStringList contents;
    for (const QString &name : rows(u"select filename from attachment order by rowid"_s))
        contents.append(
            QString::fromUtf8(bytesOf(FolderAttachments(root).find(name).path()))); // "unreadable" for none
    QCOMPARE(contents, QStringList({u"one"_s, u"two"_s, u"three"_s, u"one"_s, u"unreadable"_s}));
}

void TestLocalJobs::attachmentsReadOrNotMakeNoDoubles_data()
{
    QTest::addColumn<QList<int>>("runs"); // names of the pictures that are read; 0 reads none
    QTest::addColumn<bool>("isSent");
    QTest::addColumn<QString>("counts"); // messages, attachments
    QTest::newRow("an older database learns of them") << QList{0, 1, 1, 0} << false << u"1|1"_s;
    QTest::newRow("read at first, then not") << QList{1, 0, 0, 1} << true << u"1|1"_s;
    QTest::newRow("two of one second, one known of before") << QList{0, 1, 2, 1, 0} << false << u"2|2"_s;
}

void TestLocalJobs::attachmentsReadOrNotMakeNoDoubles()
{
    QFETCH(QList<int>, runs);
    QFETCH(bool, isSent);
    QFETCH(QString, counts);
    for (qsizetype run = 0; run < runs.size(); ++run) {
        // Phones before iOS 6 give a text message another guid each time.
        Records records(QString::number(run));
        records.chat(u"+34611111111"_s).received(u"\uFFFC"_s);
        records.last().is_from_me = isSent;
        if (isSent)
            records.last().handle = nullptr;
        if (runs.at(run) != 0) {
            records.attachment(u"~/Library/SMS/%1.jpg"_s.arg(runs.at(run)));
            (*records.last().attachments.begin())->guid = u"file %1"_s.arg(runs.at(run));
        }
        append(records.list());
    }
    QCOMPARE(rows(u"select (select count(*) from message), (select count(*) from message_attachment_join)"_s),
             QStringList{counts});
}

void TestLocalJobs::aCancelledBackupLeavesNothing()
{
    fillSample();
    const QTemporaryDir dir;
    const QString photo = dir.filePath(u"photo"_s);
    QVERIFY(writeFile(photo, "JPEG"));
    Records records;
    records.chat(u"+34612345678"_s).received(u"missed its files"_s).attachment(u"/x/1.jpg"_s, photo);
    records.attachment(u"/x/2.jpg"_s, photo).received(u"new"_s).attachment(u"/x/y/z.jpg"_s, photo).upTo(500);
    const QByteArray before = bytesOf(file);
    for (const LocalDatabase &target : {sample, localDatabaseToFill(u"New"_s)}) {
        RecordingProgress dialog;
        dialog.actAtUpdate = 2; // the first comes before any message
        runJob(dialog, [&] {
            importMessages(records.list(), QDir(target.path), target.file(), dialog);
            return QString();
        });
        QCOMPARE(dialog.outcome, u"not reported"_s);
    }
    QVERIFY(bytesOf(file) == before);
    QVERIFY(!findLocalDatabase(u"New"_s));
    QCOMPARE(QDir(sample.path + u"/x"_s).entryList(QDir::NoDotAndDotDot | QDir::AllEntries),
             QStringList({u"1.jpg"_s, u"2.jpg"_s}));
}

void TestLocalJobs::namesOfDatabases()
{
    fillSample();
    QCOMPARE(countMessages(sample), 5); // one of them in two chats, the shared location not at all
    QCOMPARE(localDatabaseToFill(u" sAMPLE "_s).path, sample.path);
    QCOMPARE(localDatabaseToFill(u" Ana's iPhone 4.1 (año) "_s).name, u"Ana's iPhone 4.1 (año)"_s);
    for (const char *name : {" ", "a\\b", "a/b", "a:b", "a*b", "a?b", "a\"b", "a<b", "a>b", "a|b", ".", ".."})
        QVERIFY2(!failureOf([&] { localDatabaseToFill(QString::fromLatin1(name)); }).isEmpty(), name);
}

void TestLocalJobs::aDeletedDatabaseIsGoneAltogether()
{
    fillSample();
    QVERIFY(writeFile(QDir(sample.path).filePath(u".hidden"_s), "x"));
    deleteLocalDatabase(sample);
    QVERIFY(localDatabasesDir().isEmpty(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot));
}

void TestLocalJobs::deletingMessagesTakesWhatHangsOnThem_data()
{
    QTest::addColumn<QString>("doomed");
    QTest::addColumn<int>("cancelAt");
    QTest::addColumn<QString>("counts"); // message, chat, handle, attachment, then the joins
    QTest::newRow("none") << QString() << -1 << u"5|3|3|2|4|6|2"_s;
    QTest::newRow("one of a chat") << u"a1"_s << -1 << u"4|3|3|1|4|5|1"_s;
    QTest::newRow("the last of a chat") << u"b1"_s << -1 << u"4|2|2|1|3|5|1"_s;
    QTest::newRow("one of two chats") << u"a2"_s << -1 << u"4|3|3|2|4|4|2"_s;
    QTest::newRow("all but the location") << u"a1 a2 b1 g1"_s << -1 << u"1|1|2|0|2|1|0"_s;
    QTest::newRow("a cancelled run leaves all") << u"a1 a2 b1 g1"_s << 2 << u"5|3|3|2|4|6|2"_s;
}

void TestLocalJobs::deletingMessagesTakesWhatHangsOnThem()
{
    fillSample();
    QFETCH(QString, doomed);
    QFETCH(int, cancelAt);
    const QStringList before = rows(u"select sql from sqlite_master order by 1"_s);
    const std::unique_ptr<IOS6MessageDb> db = openLocalDatabase(sample, QString());
    _MsgStorePtr store = _MsgStorePtr::create();
    db->messages(store, 0);
    QList<_MsgMessage *> list = allMessages(store);
    list.removeIf([&](const _MsgMessage *message) { return !doomed.split(u' ').contains(message->text); });
    RecordingProgress dialog;
    dialog.actAtUpdate = cancelAt;
    runJob(dialog, [&] { return QString::number(deleteMessages(*db, list, dialog)); });
    QTEST(countsOf(file), "counts");
    QCOMPARE(rows(u"select sql from sqlite_master order by 1"_s), before);
}

void TestLocalJobs::aConversationGoesWithItsChats()
{
    fillSample();
    runOn(file, u"insert into chat(guid, chat_identifier) values('iMessage', '+34611111111')"_s);
    const QByteArray before = bytesOf(file);
    const std::unique_ptr<IOS6MessageDb> db = openLocalDatabase(sample, QString());
    const auto remove = [&](const QStringList &names) { return deleteConversations(*db, names, progress); };
    QVERIFY(failureOf([&] { remove({u"chat123"_s, u"nobody"_s}); }).contains(u"\"nobody\""_s));
    QVERIFY(bytesOf(file) == before);
    QCOMPARE(remove({u"+34611111111"_s}), 1); // a2 stays in the group
    QCOMPARE(countsOf(file), u"4|2|3|1|3|4|1"_s);
    QCOMPARE(remove({u"chat123"_s, u"+34622222222"_s}), 3); // and a shared location
    QCOMPARE(countsOf(file), u"0|0|0|0|0|0|0"_s);
}

void TestLocalJobs::oldFilesBecomeLocalDatabases()
{
    const QString messages = oldMessage(u"612 34 56 78"_s, u"Hola ñ 😀"_s, 1'400'000'000, true) +
                             oldMessage(u"Ana@Example.org"_s, QString(), 1'400'000'001);
    const QString path = localDatabasesDir().filePath(u"Old.db"_s);
    // The second is what an update leaves that was interrupted after it had committed.
    for (const QString &old : QStringList{path, path + u".__tmp"_s}) {
        writeOldFile(old, messages);
        updateLocalDatabases(progress);
        QVERIFY(!needsLocalDbUpdate());
        QCOMPARE(
            rowsOf(
                findLocalDatabase(u"Old.db"_s)->file(),
                u"select m.text, m.date, m.is_from_me, h.id, h.uncanonicalized_id, h._ct_name, c.guid from "
                "message m, handle h, chat c where m.handle_id=h.rowid and c.chat_identifier=h.id"_s),
            QStringList({u"Hola ñ 😀|421692800|1|612345678|612 34 56 78|Ana|SMS;-;612345678"_s,
                         u"|421692801|0|ana@example.org|Ana@Example.org|Ana|SMS;-;ana@example.org"_s}));
    }
}

void TestLocalJobs::aFailedUpdateKeepsTheOldFile()
{
    const QString broken = localDatabasesDir().filePath(u"Broken"_s);
    const QByteArray bytes = QByteArray("SQLite format 3", 16) + QByteArray(4000, 'x');
    QVERIFY(writeFile(broken, bytes));
    QVERIFY(needsLocalDbUpdate());
    QVERIFY(failureOf([this] { updateLocalDatabases(progress); }).startsWith(broken));
    QVERIFY(bytesOf(broken) == bytes && !findLocalDatabase(u"Broken"_s));
    QVERIFY(QFile::remove(broken));
    writeOldFile(broken, oldMessage(u"1"_s, u"a"_s, 1));
    QVERIFY(QFile::copy(broken, broken + u".__tmp"_s));
    const QByteArray old = bytesOf(broken);
    QCOMPARE(failureOf([this] { updateLocalDatabases(progress); }),
             u"can not rename %1.__tmp."_s.arg(broken));
    QVERIFY(bytesOf(broken) == old && bytesOf(broken + u".__tmp"_s) == old);
}

void TestLocalJobs::aFileOfAnotherKindKeepsItsName()
{
    const QString note = localDatabasesDir().filePath(u"note.txt"_s);
    const QString other = localDatabasesDir().filePath(u"other.db"_s);
    QVERIFY(writeFile(note));
    runOn(other, u"create table sms(x)"_s);
    QVERIFY(!needsLocalDbUpdate());
    updateLocalDatabases(progress);
    QVERIFY(QFile::exists(note) && QFile::exists(other));
}

void TestLocalJobs::cipherVectors()
{
    // RFC 6229, the first 16 bytes of the key stream.
    const QByteArray zeros(16, '\0');
    QCOMPARE(rc4(QByteArray::fromHex("0102030405"), zeros).toHex(), "b2396305f03dc027ccc3524a0a1118a8");
    QCOMPARE(rc4(QByteArray::fromHex("0102030405060708090a0b0c0d0e0f10"), zeros).toHex(),
             "9ac7cc9a609d1ef7b2932899cde41b97");
}

QTEST_GUILESS_MAIN(TestLocalJobs)
#include "testlocaljobs.moc"
