#include "backupsmsthread.h"
#include "datalocations.h"
#include "deletemessagesthread.h"
#include "ios6messagedb.h"
#include "localdatabases.h"
#include "localdbtools.h"
#include "localdbupdatethread.h"
#include "messagestore.h"
#include "oldfilebuilder.h"
#include "texts.h"

#include <QTest>
#include <QTranslator>

using namespace Qt::StringLiterals;

namespace
{

/// Two partners, a group of both, and one message that stands in two chats.
void fillSample(const LocalDatabase &database)
{
    Records records;
    records.chat(u"+34611111111"_s).received(u"a1"_s).attachment(u"/x/1.jpg"_s).sent(u"a2"_s);
    records.chat(u"+34622222222"_s).received(u"b1"_s).attachment(u"/x/2.jpg"_s);
    records.group({u"+34611111111"_s, u"+34633333333"_s}, u"SMS"_s).received(u"g1"_s).event(4);
    RecordingProgress progress;
    backupMessages(records.list(), QDir(database.path), database.file(), progress);
    // a2 stands in the group too.
    runOn(database.file(),
          u"insert into chat_message_join select c.rowid, m.rowid from chat c, message m where "
          "c.chat_identifier='chat123' and m.text='a2'"_s);
}

_MsgStorePtr read(IOS6MessageDb &db)
{
    _MsgStorePtr store = _MsgStorePtr::create();
    db.messages(store, 0);
    return store;
}

QStringList textsIn(const LocalDatabase &database)
{
    return rowsOf(database.file(), u"select text from message order by rowid"_s);
}

QString stateOf(const LocalDatabase &database)
{
    const QString file = database.file();
    QStringList state = rowsOf(file, u"select * from message order by rowid"_s);
    for (const QString &table : {u"chat"_s, u"handle"_s, u"attachment"_s, u"chat_handle_join"_s,
                                 u"chat_message_join"_s, u"message_attachment_join"_s, u"sqlite_master"_s})
        state += rowsOf(file, u"select * from %1 order by 1, 2"_s.arg(table));
    return state.join(u'\n');
}

QStringList filesIn(const QDir &dir)
{
    return dir.entryList(QDir::Files | QDir::Hidden, QDir::Name);
}

} // namespace

class TestLocalJobs : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { installTexts(translator); }
    void init();
    void cleanup();
    void anEmptyListMakesAnEmptyDatabase();
    void aBackupTellsHowManyItWasGiven();
    void aCancelledBackupLeavesNothing_data();
    void aCancelledBackupLeavesNothing();
    void namesOfDatabases_data();
    void namesOfDatabases();
    void databasesAreFoundWithoutCase();
    void aHalfMadeDatabaseCountsAsEmpty();
    void aDeletedDatabaseIsGoneAltogether();
    void deletingMessagesTakesWhatHangsOnThem_data();
    void deletingMessagesTakesWhatHangsOnThem();
    void deletingManyEndsAsDeletingEach();
    void aCancelledDeletionLeavesAll();
    void aConversationGoesWithItsChats();
    void deletingAnUnknownConversationChangesNothing();
    void oldFilesBecomeLocalDatabases();
    void anInterruptedUpdateIsTakenUp_data();
    void anInterruptedUpdateIsTakenUp();
    void aFailedUpdateKeepsTheOldFile();
    void aNameThatIsTakenStopsTheUpdate();
    void cipherVectors_data();
    void cipherVectors();

private:
    QTranslator translator;
    RecordingProgress progress;
    QDir databases;
    LocalDatabase sample;
};

void TestLocalJobs::init()
{
    localDatabasesDir().removeRecursively(); // a run that crashed has left it
    databases = localDatabasesDir();
    sample = localDatabaseToFill(u"Sample"_s);
}

void TestLocalJobs::cleanup()
{
    QDir(databases).removeRecursively();
}

void TestLocalJobs::anEmptyListMakesAnEmptyDatabase()
{
    RecordingProgress dialog;
    BackupSMSThread job({}, QDir(sample.path), sample.file(), &dialog, nullptr);
    job.start();
    QVERIFY(job.wait());
    QCOMPARE(dialog.success, u"Successfully Backup 0 SMS to local Database."_s);
    QCOMPARE(countMessages(sample), 0);
    QVERIFY(QFile::exists(sample.file()));
}

void TestLocalJobs::aBackupTellsHowManyItWasGiven()
{
    Records records;
    records.chat(u"+34612345678"_s).received(u"later"_s).received(u"earlier"_s).received(u"no chat"_s);
    QList<_MsgMessage *> list = records.list();
    list[1]->date = 5;
    list[2]->chat = nullptr;
    QCOMPARE(backupMessages(list + list, QDir(sample.path), sample.file(), progress), 6);
    QCOMPARE(textsIn(sample), QStringList({u"earlier"_s, u"later"_s}));
}

void TestLocalJobs::aCancelledBackupLeavesNothing_data()
{
    QTest::addColumn<bool>("isThere");
    QTest::newRow("a new database is not there afterwards") << false;
    QTest::newRow("one that is there stays as it was") << true;
}

void TestLocalJobs::aCancelledBackupLeavesNothing()
{
    QFETCH(bool, isThere);
    if (isThere)
        fillSample(sample);
    const QString before = isThere ? stateOf(sample) : QString();
    Records records;
    records.chat(u"+34612345678"_s);
    for (int i = 0; i < 500; ++i)
        records.received(QString::number(i));
    RecordingProgress dialog;
    dialog.cancelAtUpdate = 2; // the first comes before any message, the next with the last one or before
    BackupSMSThread job(records.list(), QDir(sample.path), sample.file(), &dialog, nullptr);
    job.start();
    QVERIFY(job.wait());
    QCOMPARE(dialog.success + dialog.error, u"not reported"_s);
    QCOMPARE(QFile::exists(sample.path), isThere);
    if (isThere)
        QCOMPARE(stateOf(sample), before);
}

void TestLocalJobs::namesOfDatabases_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("error");
    const QString invalid = u"Invalid Local Database name(can't contain \\ / : * ? \" < > |)."_s;
    QTest::newRow("letters, blanks, dots") << u"Ana's iPhone 4.1 (año)"_s << QString();
    QTest::newRow("blanks around it") << u"  Ana "_s << QString();
    QTest::newRow("nothing but blanks") << u"   "_s << u"Select one Database or enter a new Database name"_s;
    for (const QChar forbidden : u"\\/:*?\"<>|"_s)
        QTest::newRow(qPrintable(u"forbidden %1"_s.arg(forbidden))) << u"a%1b"_s.arg(forbidden) << invalid;
    QTest::newRow("this folder") << u"."_s << invalid;
    QTest::newRow("the folder above") << u".."_s << invalid;
    QTest::newRow("hidden") << u".secret"_s << invalid;
    QTest::newRow("a zero byte") << u"a%1b"_s.arg(QChar(u'\0')) << invalid;
}

void TestLocalJobs::namesOfDatabases()
{
    QFETCH(QString, name);
    QFETCH(QString, error);
    QCOMPARE(localDatabaseNameError(name), error);
    QCOMPARE(failureOf([&] { localDatabaseToFill(name); }), error);
}

void TestLocalJobs::databasesAreFoundWithoutCase()
{
    fillSample(sample);
    QVERIFY(databases.mkpath(u"Älter"_s));
    QCOMPARE(localDatabaseToFill(u" sAMPLE "_s).path, databases.filePath(u"Sample"_s));
    QCOMPARE(findLocalDatabase(u"äLTER"_s)->name, u"Älter"_s);
    QVERIFY(!findLocalDatabase(u"Sampl"_s));
    QStringList names;
    for (const LocalDatabase &database : localDatabases())
        names.append(database.name);
    QCOMPARE(names, QStringList({u"Sample"_s, u"Älter"_s}));
    QCOMPARE(countMessages(sample), 5); // one of them in two chats, the shared location not at all
}

void TestLocalJobs::aHalfMadeDatabaseCountsAsEmpty()
{
    QVERIFY(QDir().mkpath(QFileInfo(sample.file()).path()));
    QCOMPARE(countMessages(sample), 0);
    runOn(sample.file(), u"select 1"_s);
    QCOMPARE(countMessages(sample), 0);
    QCOMPARE(QFileInfo(sample.file()).size(), 0);
    QCOMPARE(read(*openLocalDatabase(sample, QString()))->messages.size(), 0);
}

void TestLocalJobs::aDeletedDatabaseIsGoneAltogether()
{
    fillSample(sample);
    runOn(QDir(sample.path).filePath(u".hidden"_s), u"create table t(a)"_s);
    deleteLocalDatabase(sample);
    QVERIFY(!QFile::exists(sample.path));
    QVERIFY(!findLocalDatabase(u"Sample"_s));
    QVERIFY(databases.isEmpty(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot));
    QVERIFY(failureOf([this] { deleteLocalDatabase(sample); }).contains(sample.path));
}

void TestLocalJobs::deletingMessagesTakesWhatHangsOnThem_data()
{
    QTest::addColumn<QStringList>("texts");
    QTest::addColumn<QString>("counts"); // message, chat, handle, attachment, then the joins
    QTest::newRow("none") << QStringList() << u"5|3|3|2|4|6|2"_s;
    QTest::newRow("one of a chat") << QStringList(u"a1"_s) << u"4|3|3|1|4|5|1"_s;
    QTest::newRow("the last of a chat") << QStringList(u"b1"_s) << u"4|2|2|1|3|5|1"_s;
    QTest::newRow("one of two chats") << QStringList(u"a2"_s) << u"4|3|3|2|4|4|2"_s;
    QTest::newRow("all") << QStringList({u"a1"_s, u"a2"_s, u"b1"_s, u"g1"_s, QString()})
                         << u"0|0|0|0|0|0|0"_s;
}

void TestLocalJobs::deletingMessagesTakesWhatHangsOnThem()
{
    QFETCH(QStringList, texts);
    fillSample(sample);
    if (texts.size() == 5) // an event that the reader doesn't hand out
        runOn(sample.file(), u"update message set item_type=3 where item_type=4"_s);
    const std::unique_ptr<IOS6MessageDb> db = openLocalDatabase(sample, QString());
    const _MsgStorePtr store = read(*db);
    QList<_MsgMessage *> doomed;
    for (_MsgMessage *message : allMessages(store)) {
        if (texts.contains(message->text))
            doomed.append(message);
    }
    RecordingProgress dialog;
    DeleteMessagesThread job(db.get(), &doomed, &dialog, nullptr);
    job.start();
    QVERIFY(job.wait());
    QCOMPARE(dialog.success, u"Successfully Deleted %1 SMS."_s.arg(texts.size()));
    QTEST(countsOf(sample.file()), "counts");
}

void TestLocalJobs::deletingManyEndsAsDeletingEach()
{
    fillSample(sample);
    const LocalDatabase other = localDatabaseToFill(u"Other"_s);
    fillSample(other);
    runOn(sample.file(), u"insert into message(guid) values('orphan')"_s);
    runOn(other.file(), u"insert into message(guid) values('orphan')"_s);
    const std::unique_ptr<IOS6MessageDb> each = openLocalDatabase(sample, QString());
    const _MsgStorePtr store = read(*each);
    const QList<_MsgMessage *> doomed = allMessages(store).first(3);
    for (const _MsgMessage *message : doomed)
        each->deleteMessage(*message);
    each->close();
    deleteMessages(*openLocalDatabase(other, QString()), doomed, progress);
    QCOMPARE(rowsOf(other.file(), u"select count(*) from sqlite_master"_s),
             rowsOf(sample.file(), u"select count(*) from sqlite_master"_s));
    QCOMPARE(rowsOf(other.file(), u"select sql from sqlite_master where type='trigger' order by name"_s),
             rowsOf(sample.file(), u"select sql from sqlite_master where type='trigger' order by name"_s));
    QCOMPARE(countsOf(other.file()), countsOf(sample.file()));
    QCOMPARE(textsIn(other), textsIn(sample));
}

void TestLocalJobs::aCancelledDeletionLeavesAll()
{
    fillSample(sample);
    const QString before = stateOf(sample);
    const std::unique_ptr<IOS6MessageDb> db = openLocalDatabase(sample, QString());
    const _MsgStorePtr store = read(*db);
    const QList<_MsgMessage *> doomed = allMessages(store);
    RecordingProgress dialog;
    dialog.cancelAtUpdate = 2;
    DeleteMessagesThread job(db.get(), &doomed, &dialog, nullptr);
    job.start();
    QVERIFY(job.wait());
    QCOMPARE(dialog.success + dialog.error, u"not reported"_s);
    QCOMPARE(stateOf(sample), before);
    db->endTransaction(true); // there is none left
}

void TestLocalJobs::aConversationGoesWithItsChats()
{
    fillSample(sample);
    const std::unique_ptr<IOS6MessageDb> db = openLocalDatabase(sample, QString());
    db->openDb();
    db->executeThrow(Sqlite3Sql(
        "insert into chat(guid, chat_identifier) values('iMessage;-;+34611111111', '+34611111111')"));
    QCOMPARE(deleteConversations(*db, {u"+34611111111"_s}, progress), 1); // a2 stays in the group
    QCOMPARE(rowsOf(sample.file(), u"select chat_identifier from chat"_s),
             QStringList({u"+34622222222"_s, u"chat123"_s}));
    QCOMPARE(textsIn(sample), QStringList({u"a2"_s, u"b1"_s, u"g1"_s, QString()}));
    QCOMPARE(deleteConversations(*db, {u"chat123"_s, u"+34622222222"_s}, progress),
             3); // and a shared location
    QCOMPARE(countsOf(sample.file()), u"0|0|0|0|0|0|0"_s);
}

void TestLocalJobs::deletingAnUnknownConversationChangesNothing()
{
    fillSample(sample);
    const QString before = stateOf(sample);
    const std::unique_ptr<IOS6MessageDb> db = openLocalDatabase(sample, QString());
    const QString failure = failureOf([&] {
        deleteConversations(*db, {u"chat123"_s, u"nobody"_s}, progress);
    });
    QVERIFY2(failure.contains(u"\"nobody\""_s), qPrintable(failure));
    QCOMPARE(stateOf(sample), before);
}

void TestLocalJobs::oldFilesBecomeLocalDatabases()
{
    OldFileBuilder(databases.filePath(u"Work.db"_s))
        .message(u"612 34 56 78"_s, u"Hola ñ 😀"_s, 1'400'000'000, true, u"Ana"_s)
        .withoutBody(u"Ana@Example.org"_s, 1'400'000'001)
        .write();
    OldFileBuilder(databases.filePath(u"Home"_s)).message(u"1"_s, u"x"_s, 978307200).write();
    QVERIFY(needsLocalDbUpdate());
    RecordingProgress dialog;
    LocalDbUpdateThread job(&dialog, nullptr);
    job.start();
    QVERIFY(job.wait());
    QCOMPARE(dialog.error, QString());
    QCOMPARE(dialog.success, u"Successfully updated local database. Please restart software."_s);
    QVERIFY(!needsLocalDbUpdate());
    const QString file = findLocalDatabase(u"Work.db"_s)->file();
    QCOMPARE(
        rowsOf(
            file,
            u"select m.text, m.date, m.date_read, m.is_from_me, m.is_sent, m.is_delivered, m.version, "
            "m.service, m.account, h.id, h.uncanonicalized_id, h._ct_name, c.guid, c.style from message m, "
            "handle h, chat c where m.handle_id=h.rowid and c.chat_identifier=h.id order by m.rowid"_s),
        QStringList(
            {u"Hola ñ 😀|421692800|421692800|1|1|0|10|SMS|e:|612345678|612 34 56 78|Ana|SMS;-;612345678|45"_s,
             u"|421692801|421692801|0|1|0|10|SMS|e:|ana@example.org|Ana@Example.org||SMS;-;ana@example.org|45"_s}));
    QCOMPARE(countMessages(*findLocalDatabase(u"home"_s)), 1);
}

void TestLocalJobs::anInterruptedUpdateIsTakenUp_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<bool>("isConverted");
    QTest::newRow("before the rename") << u"Old"_s << false;
    QTest::newRow("after the rename") << u"Old.__tmp"_s << false;
    QTest::newRow("after the new one was committed") << u"Old.__tmp"_s << true;
    QTest::newRow("a second file of the same name and content") << u"oLD"_s << true;
}

void TestLocalJobs::anInterruptedUpdateIsTakenUp()
{
    QFETCH(QString, name);
    QFETCH(bool, isConverted);
    const auto place = [this](const QString &fileName) {
        OldFileBuilder(databases.filePath(fileName))
            .message(u"612345678"_s, u"Hola"_s, 1'400'000'000)
            .write();
    };
    if (isConverted) {
        place(u"Old"_s);
        updateLocalDatabases(progress);
    }
    place(name);
    updateLocalDatabases(progress);
    QVERIFY(!needsLocalDbUpdate());
    QCOMPARE(localDatabases().size(), 1);
    QCOMPARE(countsOf(findLocalDatabase(u"Old"_s)->file()), u"1|1|1|0|1|1|0"_s);
}

void TestLocalJobs::aFailedUpdateKeepsTheOldFile()
{
    OldFileBuilder(databases.filePath(u"A good one"_s))
        .message(u"612345678"_s, u"Hola"_s, 1'400'000'000)
        .write();
    QFile file(databases.filePath(u"Broken"_s));
    QVERIFY(file.open(QIODevice::WriteOnly) && file.write(QByteArray(4000, 'x')) == 4000);
    file.close();
    RecordingProgress dialog;
    LocalDbUpdateThread job(&dialog, nullptr);
    job.start();
    QVERIFY(job.wait());
    QVERIFY2(dialog.error.contains(u"Broken.__tmp"_s) && dialog.error.contains(u"not a database"_s),
             qPrintable(dialog.error));
    QCOMPARE(bytesOf(databases.filePath(u"Broken.__tmp"_s)), QByteArray(4000, 'x'));
    QVERIFY(!findLocalDatabase(u"Broken"_s));
    QCOMPARE(countMessages(*findLocalDatabase(u"A good one"_s)), 1);
}

void TestLocalJobs::aNameThatIsTakenStopsTheUpdate()
{
    for (const QString &name : {u"Old"_s, u"Old.__tmp"_s})
        OldFileBuilder(databases.filePath(name)).message(u"612345678"_s, name, 1'400'000'000).write();
    QCOMPARE(failureOf([this] { updateLocalDatabases(progress); }),
             u"can not rename %1."_s.arg(databases.filePath(u"Old.__tmp"_s)));
    QCOMPARE(filesIn(databases), QStringList({u"Old"_s, u"Old.__tmp"_s}));
}

void TestLocalJobs::cipherVectors_data()
{
    // RFC 6229, the first 16 bytes of the key stream.
    QTest::addColumn<QByteArray>("key");
    QTest::addColumn<QByteArray>("stream");
    QTest::newRow("40 bits") << QByteArray::fromHex("0102030405")
                             << QByteArray("b2396305f03dc027ccc3524a0a1118a8");
    QTest::newRow("128 bits") << QByteArray::fromHex("0102030405060708090a0b0c0d0e0f10")
                              << QByteArray("9ac7cc9a609d1ef7b2932899cde41b97");
    QTest::newRow("256 bits") << QByteArray::fromHex(
                                     "0102030405060708090a0b0c0d0e0f101112131415161718191a1b1c1d1e1f20")
                              << QByteArray("eaa6bd25880bf93d3f5d1e4ca2611d91");
}

void TestLocalJobs::cipherVectors()
{
    QFETCH(QByteArray, key);
    QTEST(rc4(key, QByteArray(16, '\0')).toHex(), "stream");
}

QTEST_GUILESS_MAIN(TestLocalJobs)
#include "testlocaljobs.moc"
