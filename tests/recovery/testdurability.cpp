// What is left of a Local Database when a job is killed, has no room, may not write or finds the file
// locked: what it held before, or all of the new.

#include "backupsmsthread.h"
#include "childprocess.h"
#include "datalocations.h"
#include "deletemessagesthread.h"
#include "ios6messagedb.h"
#include "localdatabases.h"
#include "localdbtools.h"
#include "localdbupdatethread.h"
#include "messagestore.h"
#include "oldfilebuilder.h"

#include <QElapsedTimer>
#include <QRandomGenerator>
#include <QTest>

#include <future>

using namespace Qt::StringLiterals;

namespace
{

#ifdef __SANITIZE_ADDRESS__
constexpr int killsPerJob = 8; // each child takes ten times as long
#else
constexpr int killsPerJob = 50;
#endif
constexpr int fewMessages = 60;
constexpr int manyMessages = 700;
constexpr auto unchanged = "nothing has changed"_L1;

const QString name = u"Kept"_s;

LocalDatabase kept()
{
    return localDatabaseToFill(name);
}

/// Empty where there is no database yet or it holds nothing, else all of its texts.
QString contentOf(const LocalDatabase &database)
{
    if (!QFile::exists(database.file()) ||
        rowsOf(database.file(), u"select 1 from sqlite_master"_s).isEmpty())
        return {};
    return rowsOf(database.file(),
                  u"select ifnull(group_concat(text || '/' || chat_id), '') from (select text, "
                  "chat_id from message, chat_message_join where message.rowid=message_id order "
                  "by 1)"_s)
        .first();
}

bool isSound(const LocalDatabase &database)
{
    return !QFile::exists(database.file()) ||
           rowsOf(database.file(), u"pragma integrity_check"_s) == QStringList(u"ok"_s);
}

QString numbered(int number)
{
    return u"message %1"_s.arg(number, 5, 10, QChar(u'0'));
}

/// The messages `first` to `last` - 1 of three partners.
Records messagesFrom(int first, int last)
{
    Records records(u"%1"_s.arg(first));
    for (int partner = 0; partner < 3; ++partner) {
        records.chat(u"+3461111111%1"_s.arg(partner));
        for (int i = first + partner; i < last; i += 3)
            records.received(numbered(i)).with([i](_MsgMessage &message) { message.date = 1000 + i; });
    }
    return records;
}

void import(const Records &records)
{
    RecordingProgress progress;
    backupMessages(records.list(), QDir(kept().path), kept().file(), progress);
}

void placeOldFile(int count)
{
    OldFileBuilder old(localDatabasesDir().filePath(name));
    for (int i = 0; i < count; ++i)
        old.message(u"+3461111111%1"_s.arg(i % 3), numbered(i), 1'400'000'000 + i);
    old.write();
}

/// A job with the world that it starts in.
struct Job {
    std::function<void()> prepare;
    std::function<void()> run;
};

const Records &fewRecords()
{
    static const Records records = messagesFrom(0, fewMessages);
    return records;
}

const Records &manyRecords()
{
    static const Records records = messagesFrom(fewMessages, fewMessages + manyMessages);
    return records;
}

void deleteMany()
{
    const std::unique_ptr<IOS6MessageDb> db = openLocalDatabase(kept(), QString());
    _MsgStorePtr store = _MsgStorePtr::create();
    db->messages(store, 0);
    QList<_MsgMessage *> doomed = allMessages(store);
    doomed.removeIf([](const _MsgMessage *message) { return message->text < numbered(fewMessages); });
    RecordingProgress progress;
    deleteMessages(*db, doomed, progress);
}

void update()
{
    RecordingProgress progress;
    updateLocalDatabases(progress);
}

const QMap<QString, Job> &jobs()
{
    static const QMap<QString, Job> all = {
        {u"import into a new database"_s, {[] {}, [] { import(manyRecords()); }}},
        {u"import into one that is there"_s, {[] { import(fewRecords()); }, [] { import(manyRecords()); }}},
        {u"deletion"_s,
         {[] {
              import(fewRecords());
              import(manyRecords());
          },
          deleteMany}},
        {u"update of an old file"_s, {[] { placeOldFile(manyMessages); }, update}},
    };
    return all;
}

void startAfresh(const Job &job)
{
    // The folder itself stays: a disk may be mounted there.
    for (const QFileInfo &entry :
         localDatabasesDir().entryInfoList(QDir::AllEntries | QDir::NoDotAndDotDot)) {
        if (entry.isDir())
            QDir(entry.absoluteFilePath()).removeRecursively();
        else
            QFile::remove(entry.absoluteFilePath());
    }
    job.prepare();
}

bool runsThrough(const std::function<void()> &work)
{
    return failureOf(work).isEmpty();
}

/// Whether an old file lies there with all of its messages, under either name.
bool hasOldFile()
{
    for (const QString &file : QStringList{name, name + u".__tmp"_s}) {
        const QString path = localDatabasesDir().filePath(file);
        if (QFileInfo(path).isFile())
            return countOf(path, u"view_sms"_s) == manyMessages;
    }
    return false;
}

void addJobRows()
{
    QTest::addColumn<QString>("jobName");
    for (auto it = jobs().cbegin(); it != jobs().cend(); ++it)
        QTest::newRow(qPrintable(it.key())) << it.key();
}

/// Runs a job on a disk of its own that `hinder` spoils. Tells what the job said, and what changed if
/// anything did.
QString hinderedRun(const Job &job, const std::function<void(const QString &folder)> &hinder,
                    const std::function<void(const QString &folder)> &help)
{
    return resultOfChild([&]() -> QString {
        const QString folder = localDatabasesDir().absolutePath();
        if (!mountSmallDisk(folder, 4 << 20))
            return u"no disk"_s;
        startAfresh(job);
        const QString before = contentOf(kept());
        const bool hadOldFile = hasOldFile();
        hinder(folder);
        const QString failure = failureOf(job.run);
        help(folder);
        if (!isSound(kept()) || contentOf(kept()) != before || hasOldFile() != hadOldFile)
            return failure + u": the database has changed"_s;
        if (!runsThrough(job.run))
            return failure + u": a second run fails"_s;
        return failure + u": "_s + unchanged;
    });
}

/// Leaves some pages of room: enough to begin, too few to end.
void fillDisk(const QString &folder)
{
    QFile filler(folder + u"/.filler"_s);
    if (!filler.open(QIODevice::WriteOnly | QIODevice::Unbuffered))
        return;
    while (filler.write(QByteArray(4096, 'x')) == 4096) {
    }
    filler.resize(filler.size() - 10 * 4096);
}

} // namespace

class TestDurability : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        if (!hasChildProcesses())
            QSKIP("kills child processes, which this system doesn't have");
    }
    void cleanupTestCase() { localDatabasesDir().removeRecursively(); }
    void aKillLeavesTheOldOrTheNew_data() { addJobRows(); }
    void aKillLeavesTheOldOrTheNew();
    void aKilledUpgradeIsFinishedLater();
    void aFullDiskChangesNothing_data() { addJobRows(); }
    void aFullDiskChangesNothing();
    void aReadOnlyFolderChangesNothing_data() { addJobRows(); }
    void aReadOnlyFolderChangesNothing();
    void aLockChangesNothing();
};

void TestDurability::aKillLeavesTheOldOrTheNew()
{
    QFETCH(QString, jobName);
    const Job &job = jobs()[jobName];
    startAfresh(job);
    const QString before = contentOf(kept());
    QElapsedTimer timer;
    timer.start();
    QVERIFY(runAndKill([&] { return runsThrough(job.run); }, -1));
    const qint64 length = timer.nsecsElapsed() / 1000;
    const QString after = contentOf(kept());
    QVERIFY(after != before);

    QRandomGenerator random(20130501);
    int interrupted = 0;
    for (int i = 0; i < killsPerJob; ++i) {
        startAfresh(job);
        const bool finished =
            runAndKill([&] { return runsThrough(job.run); }, random.bounded(length + length / 10));
        interrupted += finished ? 0 : 1;
        QVERIFY(isSound(kept()));
        const QString content = contentOf(kept());
        QVERIFY(content == after || content == before);
        QVERIFY(jobName != "update of an old file"_L1 || content == after || hasOldFile());
        job.run();
        QVERIFY(isSound(kept()));
        QCOMPARE(contentOf(kept()), after);
        QVERIFY(!needsLocalDbUpdate());
    }
    QVERIFY2(interrupted >= killsPerJob / 3, "the kills came too late to prove anything");
}

void TestDurability::aKilledUpgradeIsFinishedLater()
{
    const Job job{[] {
                      import(fewRecords());
                      runOn(kept().file(),
                            u"drop index message_idx_logic_hash; alter table message drop column "
                            "logic_hash; alter table message drop column item_type; alter table "
                            "chat drop column group_id"_s);
                  },
                  [] { openLocalDatabase(kept(), QString())->openDb(); }};
    QRandomGenerator random(20130501);
    startAfresh(job);
    QElapsedTimer timer;
    timer.start();
    QVERIFY(runAndKill([&] { return runsThrough(job.run); }, -1));
    const qint64 length = timer.nsecsElapsed() / 1000;
    for (int i = 0; i < killsPerJob; ++i) {
        startAfresh(job);
        const QString before = contentOf(kept());
        runAndKill([&] { return runsThrough(job.run); }, random.bounded(length));
        QVERIFY(isSound(kept()));
        const auto schemaHas = [](const QString &text) {
            return rowsOf(kept().file(), u"select sql from sqlite_master"_s).join(u'\n').contains(text);
        };
        QCOMPARE(schemaHas(u"message_idx_logic_hash"_s), schemaHas(u"logic_hash TEXT"_s));
        job.run();
        QVERIFY(schemaHas(u"message_idx_logic_hash"_s) && schemaHas(u"item_type"_s) &&
                schemaHas(u"group_id"_s));
        QCOMPARE(contentOf(kept()), before);
    }
}

void TestDurability::aFullDiskChangesNothing()
{
    QFETCH(QString, jobName);
    const QString result = hinderedRun(jobs()[jobName], fillDisk,
                                       [](const QString &folder) { QFile::remove(folder + u"/.filler"_s); });
    if (result == "no disk"_L1)
        QSKIP("needs the right to mount a file system");
    QVERIFY2(result.contains(u"disk is full: "_s + unchanged), qPrintable(result));
}

void TestDurability::aReadOnlyFolderChangesNothing()
{
    QFETCH(QString, jobName);
    const QString result = hinderedRun(
        jobs()[jobName], [](const QString &folder) { setDiskWritable(folder, false); },
        [](const QString &folder) { setDiskWritable(folder, true); });
    if (result == "no disk"_L1)
        QSKIP("needs the right to mount a file system");
    QVERIFY2(result.endsWith(unchanged) && result.contains(localDatabasesDir().absolutePath()),
             qPrintable(result));
}

void TestDurability::aLockChangesNothing()
{
    startAfresh(jobs()[u"import into one that is there"_s]);
    const LocalDatabase database = kept();
    const LocalDatabase watched = localDatabaseToFill(u"Watched"_s);
    RecordingProgress progress;
    backupMessages(fewRecords().list(), QDir(watched.path), watched.file(), progress);
    const QString before = contentOf(database);

    // One is being written, the other one is being read.
    Sqlite3DB writer;
    writer.openThrow(database.file(), sqliteReadWrite);
    writer.executeThrow(Sqlite3Sql("begin immediate"));
    Sqlite3DB reader;
    reader.openThrow(watched.file(), sqliteReadWrite);
    Sqlite3Cursor cursor = reader.queryThrow(Sqlite3Sql("select * from message"));
    QVERIFY(cursor.moveNext());

    const auto start = [](const std::function<void()> &work) {
        return std::async(std::launch::async, [work] { return failureOf(work); });
    };
    std::vector<std::future<QString>> failures;
    failures.push_back(start([] { import(manyRecords()); }));
    failures.push_back(start(deleteMany));
    failures.push_back(start([&] { deleteLocalDatabase(database); }));
    failures.push_back(start([&] {
        RecordingProgress silent;
        backupMessages(manyRecords().list(), QDir(watched.path), watched.file(), silent);
    }));
    for (std::future<QString> &failure : failures) {
        const QString text = failure.get();
        QVERIFY2(text.contains(u"database is locked"_s) && text.contains(u"sms.db"_s), qPrintable(text));
    }
    cursor = reader.queryThrow(Sqlite3Sql("select 1"));
    writer.close();
    reader.close();
    QCOMPARE(contentOf(database), before);
    QCOMPARE(contentOf(watched), before);
}

QTEST_GUILESS_MAIN(TestDurability)
#include "testdurability.moc"
