// What is left of a Local Database when a job is killed, has no room, may not write or finds the file
// locked: what it held before, or all of the new. Linux only: kills processes and mounts disks.

#include "app/datalocations.h"
#include "recovery/local/deletemessages.h"
#include "recovery/local/importmessages.h"
#include "recovery/local/localdatabases.h"
#include "recovery/local/updatelocaldatabases.h"
#include "store/readers/ios6messagedb.h"
#include "store/records/messagestore.h"
#include "testing/helpers/childprocess.h"
#include "testing/helpers/localdbtools.h"

#include <QElapsedTimer>
#include <QRandomGenerator>
#include <QStorageInfo>
#include <QTest>

#include <future>
#include <sched.h>
#include <sys/mount.h>

using namespace Qt::StringLiterals;

namespace
{

constexpr int fewMessages = 60;
constexpr int manyMessages = 700;

const QString name = u"Kept"_s;
thread_local RecordingProgress silent;

const auto kept = [] { return localDatabaseToFill(name); };

/// Rows of a query; none where the database has no tables yet.
QStringList keptRows(const QString &sql)
{
    const QString file = kept().file();
    const bool isMade = QFile::exists(file) && !rowsOf(file, u"select 1 from sqlite_master"_s).isEmpty();
    return isMade ? rowsOf(file, sql) : QStringList();
}

const auto schema = [] { return keptRows(u"select sql from sqlite_master order by 1"_s).join(u'\n'); };

/// All texts with their chats; those of the old file, under either name, as long as there are no others.
QStringList content()
{
    const QStringList rows = keptRows(u"select text, chat_id from message, chat_message_join where "
                                      "message.rowid=message_id order by 1"_s);
    for (const QString &file : QStringList{name, name + u".__tmp"_s}) {
        const QString path = localDatabasesDir().filePath(file);
        if (rows.isEmpty() && QFileInfo(path).isFile())
            return rowsOf(path, u"select body from view_sms"_s);
    }
    return rows;
}

bool isSound()
{
    const bool hasHash = schema().contains(u"logic_hash TEXT"_s); // comes with its index or not at all
    const QString report = keptRows(u"pragma integrity_check"_s).join(u'\n');
    const bool hasOwn = schema().contains(u"_contact TEXT"_s); // all of our own or nothing
    return hasOwn == schema().contains(u"CREATE TABLE _part_text"_s) &&
           (report.isEmpty() || report == "ok"_L1) &&
           hasHash == schema().contains(u"message_idx_logic_hash"_s);
}

/// Messages `first` to `last` - 1, of three partners in turn.
void import(int first, int last)
{
    Records records(QString::number(first));
    for (int i = first; i < last; ++i)
        records.chat(u"+3461111111%1"_s.arg(i % 3)).received(QString::number(10'000 + i));
    importMessages(records.list(), QDir(kept().path), kept().file(), silent);
}

const auto importFew = [] { import(0, fewMessages); };
const auto importMany = [] { import(fewMessages, fewMessages + manyMessages); };
const auto deleteKept = [] { deleteLocalDatabase(kept()); };

void deleteMany()
{
    const std::unique_ptr<IOS6MessageDb> db = openLocalDatabase(kept(), QString());
    _MsgStorePtr store = _MsgStorePtr::create();
    db->messages(store, 0);
    deleteMessages(*db, allMessages(store).mid(fewMessages), silent);
}

/// A job with the world that it starts in.
struct Job {
    const char *name;
    std::function<void()> prepare;
    std::function<void()> work;

    QString run() const { return failureOf(work); }
    void startAfresh() const
    {
        // The folder itself stays: a disk may be mounted there.
        for (const QFileInfo &entry :
             localDatabasesDir().entryInfoList(QDir::AllEntries | QDir::NoDotAndDotDot)) {
            QDir(entry.absoluteFilePath()).removeRecursively();
            QFile::remove(entry.absoluteFilePath());
        }
        prepare();
    }
};

void placeOldFile()
{
    QString messages;
    for (int i = 0; i < manyMessages; ++i)
        messages += oldMessage(u"+3461111111%1"_s.arg(i % 3), QString::number(10'000 + i), 1'400'000'000 + i);
    writeOldFile(localDatabasesDir().filePath(name), messages);
}

const std::array jobs = {
    Job{"import into a new database", [] {}, importMany},
    Job{"import into one that is there", importFew, importMany},
    Job{"deletion", [] { import(0, fewMessages + manyMessages); }, deleteMany},
    Job{"update of an old file", placeOldFile, [] { updateLocalDatabases(silent); }},
    Job{"upgrade of the columns",
        [] {
            importFew();
            runOn(kept().file(), u"drop index message_idx_logic_hash; alter table message drop column "
                                 "logic_hash; alter table message drop column item_type; alter table "
                                 "chat drop column group_id; drop table _part_text; alter table handle drop "
                                 "column _contact; alter table message drop column _schedule_type"_s);
        },
        [] { openLocalDatabase(kept(), QString())->openDb(); }},
};

/// Runs a job in this process, a child of its own, on a small disk that nobody else sees and that is
/// read-only or has some pages of room: enough to begin, too few to end. Tells what the job said.
QString hinderedRun(const Job &job, bool isFull)
{
    const QByteArray disk = localDatabasesDir().absolutePath().toUtf8();
    if (unshare(CLONE_NEWNS) != 0 || mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0 ||
        mount("small", disk.constData(), "tmpfs", 0, "size=4m") != 0)
        return u"no disk"_s;
    job.startAfresh();
    const QStringList before = content();
    const QStorageInfo room(QString::fromUtf8(disk));
    const QByteArray little = "size=" + QByteArray::number(room.bytesTotal() - room.bytesFree() + 40960);
    mount(nullptr, disk.constData(), nullptr, MS_REMOUNT | (isFull ? 0 : MS_RDONLY), little.constData());
    const QString failure = job.run();
    mount(nullptr, disk.constData(), nullptr, MS_REMOUNT, "size=4m");
    const bool isUnchanged = isSound() && content() == before && job.run().isEmpty();
    return failure + (isUnchanged ? u": nothing has changed"_s : u": changed, or a second run fails"_s);
}

} // namespace

class TestDurability : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void cleanupTestCase() { localDatabasesDir().removeRecursively(); }
    void aKillLeavesTheOldOrTheNew_data() { addJobs(jobs.size()); }
    void aKillLeavesTheOldOrTheNew();
    // Without the last: new columns need next to no room.
    void aDiskThatTakesNoMoreChangesNothing_data() { addJobs(jobs.size() - 1); }
    void aDiskThatTakesNoMoreChangesNothing();
    void aLockChangesNothing();

private:
    void addJobs(size_t count)
    {
        QTest::addColumn<size_t>("index");
        for (size_t i = 0; i < count; ++i)
            QTest::newRow(jobs[i].name) << i;
    }
};

void TestDurability::aKillLeavesTheOldOrTheNew()
{
    QFETCH(size_t, index);
    const Job &job = jobs[index];
    job.startAfresh();
    const QStringList before = content();
    const QString oldSchema = schema();
    QElapsedTimer timer;
    timer.start();
    QCOMPARE(resultOfChild([&] { return job.run(); }), QString());
    const qint64 length = timer.nsecsElapsed() / 1000;
    const QStringList after = content();
    const QString newSchema = schema();
    QVERIFY(after != before || newSchema != oldSchema);

    QRandomGenerator random(20130501);
    int kills = 0;
    for (int runs = 0; kills < KILLS_PER_JOB; ++runs) {
        QVERIFY2(runs < 3 * KILLS_PER_JOB, "the kills come too late to prove anything");
        job.startAfresh();
        const QString result = resultOfChild([&] { return job.run(); }, random.bounded(length));
        kills += result.isEmpty() ? 0 : 1;
        QVERIFY2(result.isEmpty() || result == "signal 9"_L1, qPrintable(result));
        QVERIFY(isSound());
        QVERIFY(content() == after || content() == before);
        QCOMPARE(job.run(), QString());
        QVERIFY(isSound());
        QCOMPARE(content(), after);
        QCOMPARE(schema(), newSchema);
        QVERIFY(!needsLocalDbUpdate());
    }
}

void TestDurability::aDiskThatTakesNoMoreChangesNothing()
{
    QFETCH(size_t, index);
    const Job &job = jobs[index];
    for (const bool isFull : {false, true}) {
        const QString result = resultOfChild([&] { return hinderedRun(job, isFull); });
        if (result == "no disk"_L1)
            QSKIP("needs the right to mount a file system");
        const QString reason = isFull ? u"disk is full"_s : localDatabasesDir().absolutePath();
        QVERIFY2(result.endsWith(u": nothing has changed"_s) && result.contains(reason), qPrintable(result));
    }
}

void TestDurability::aLockChangesNothing()
{
    importFew();
    const QStringList before = content();
    const QList<std::function<void()>> works = {importMany, deleteMany, deleteKept};
    for (const char *others : {"begin immediate", "select * from message"}) {
        Sqlite3DB other;
        other.openThrow(kept().file(), sqliteReadWrite);
        Sqlite3Cursor cursor = other.queryThrow(Sqlite3Sql(others));
        cursor.moveNext();
        std::vector<std::future<QString>> failures;
        for (const std::function<void()> &work : works)
            failures.push_back(std::async(std::launch::async, failureOf, work));
        for (std::future<QString> &failure : failures) {
            const QString text = failure.get();
            QVERIFY2(text.contains(u"database is locked"_s) && text.contains(u"sms.db"_s), qPrintable(text));
        }
    }
    QCOMPARE(content(), before);
}

QTEST_GUILESS_MAIN(TestDurability)
#include "testdurability.moc"
