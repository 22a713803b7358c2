#include "backupbuilder.h"
#include "backupcachedb.h"
#include "backupdiscovery.h"
#include "itunescachesmsthread.h"
#include "jobprogress.h"
#include "texts.h"

#include <QDirIterator>
#include <QElapsedTimer>
#include <QTemporaryDir>
#include <QTest>
#include <QTranslator>

#include <csignal>
#include <sys/wait.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace
{

const QString home = u"HomeDomain"_s;
const QString media = u"MediaDomain"_s;
const QString smsDb = u"Library/SMS/sms.db"_s;

/// Writes down what a job tells, and cancels it on the wanted report.
class Recorder : public JobProgress
{
public:
    void updateProgress(const QString &status, int curProgress, const QString &) override
    {
        told.append(u"%1 %2"_s.arg(status).arg(curProgress));
        if (told.size() == cancelAt)
            cancelled = true;
    }
    void errorOccurred(const QString &err) override { told.append(u"error: "_s + err); }
    void succeed(const QString &tipsStr) override { told.append(u"done"_s + tipsStr); }
    void tipsWait(const QString &) override {}

    QStringList told;
    qsizetype cancelAt = -1;
};

QByteArray contentOf(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("unreadable");
}

/// Paths below `folder`, folders with a slash behind.
QStringList treeOf(const QString &folder)
{
    QStringList paths;
    QDirIterator entries(folder, QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot | QDir::System,
                         QDirIterator::Subdirectories);
    while (entries.hasNext()) {
        entries.next();
        paths += QDir(folder).relativeFilePath(entries.filePath()) +
                 (entries.fileInfo().isDir() ? u"/"_s : QString());
    }
    paths.sort();
    return paths;
}

} // namespace

class TestBackupCache : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void copiesMessagesAndAddressBook();
    void runsAsAThread();
    void withoutMessagesNothingIsMade();
    void withoutAnAddressBookItLoads();
    void secondRunCopiesNothing();
    void changedFilesAreCopiedAgain();
    void filesOfNoDateCountAsCached();
    void anEmptyFileIsAFolder();
    void databasesGetTheirProperCase_data();
    void databasesGetTheirProperCase();
    void hostileNamesStayInside_data();
    void hostileNamesStayInside();
    void oldLogsGoWithTheirDatabase();
    void aLogThatComesBackIsCopiedAgain();
    void cancellingLeavesNothing();
    void failuresLeaveNothing();
    void killedRunsAreMadeGood();
    void twoRunsDoNotMix();
    void datesAreFoundByIndex();
    void updatesOfDatesChangeNothing();
    void entriesGoOneByOne();

private:
    QString cacheDir() const { return dir->filePath(u"cache"_s); }
    QString cached(const QString &path) const
    {
        return cacheDir() + u"/file-relay/var/mobile/Library/"_s + path;
    }
    BackupBuilder builder() const { return BackupBuilder(QDir(dir->filePath(u"backup"_s))); }
    std::unique_ptr<BackupManifest> opened(const QString &password = {})
    {
        auto manifest = std::make_unique<BackupManifest>(dir->filePath(u"backup"_s));
        if (openBackup(*manifest, password) != BackupOpening::Ready)
            qFatal("the fixture does not open");
        return manifest;
    }
    void run(const BackupBuilder &backup)
    {
        QDir(dir->filePath(u"backup"_s)).removeRecursively();
        backup.write();
        Recorder progress;
        cacheBackupMessages(*opened(), QDir(cacheDir()), progress);
    }

    std::unique_ptr<QTemporaryDir> dir;
    QTranslator texts;
};

void TestBackupCache::initTestCase()
{
    installTexts(texts);
}

void TestBackupCache::init()
{
    dir = std::make_unique<QTemporaryDir>();
}

void TestBackupCache::copiesMessagesAndAddressBook()
{
    builder()
        .password(u"pw"_s)
        .iterations(2)
        .file(home, smsDb, "messages")
        .mtime(1000)
        .file(media, u"Library/SMS/Attachments/0a/pic: 1.jpg"_s, "picture")
        .file(home, u"Library/AddressBook/AddressBook.sqlitedb"_s, "people")
        .file(home, u"Library/Notes/notes.sqlite"_s, "notes")
        .missing(home, u"Library/SMS/gone"_s, 5)
        .link(home, u"Library/SMS/link"_s, u"/etc/passwd"_s)
        .write();
    Recorder progress;
    cacheBackupMessages(*opened(u"pw"_s), QDir(cacheDir()), progress);
    QCOMPARE(treeOf(cached({})), QStringList({u"AddressBook/"_s, u"AddressBook/AddressBook.sqlitedb"_s,
                                              u"SMS/"_s, u"SMS/Attachments/"_s, u"SMS/Attachments/0a/"_s,
                                              u"SMS/Attachments/0a/pic 1.jpg"_s, u"SMS/sms.db"_s}));
    QCOMPARE(contentOf(cached(u"SMS/sms.db"_s)), "messages"_ba);
    QCOMPARE(QFileInfo(cached(u"SMS/sms.db"_s)).lastModified().toSecsSinceEpoch(), 1000);
    QCOMPARE(progress.told.first(), u"Loading iTunes backup... 99"_s);
    QVERIFY(progress.told.contains(u"Saving sms.db... -1"_s));
}

void TestBackupCache::runsAsAThread()
{
    builder().file(home, smsDb, "messages").write();
    const auto manifest = opened();
    Recorder progress;
    ITunesCacheSMSThread thread(manifest.get(), &progress);
    thread.start();
    QVERIFY(thread.wait());
    QCOMPARE(progress.told.last(), u"done"_s);
    QVERIFY(thread.cacheDir().path().endsWith(u"/itunes_cache/"_s + manifest->cacheFolderName()));
    QCOMPARE(contentOf(thread.cacheDir().filePath(u"file-relay/var/mobile/Library/SMS/sms.db"_s)),
             "messages"_ba);
}

void TestBackupCache::withoutMessagesNothingIsMade()
{
    builder().file(home, u"Library/AddressBook/AddressBook.sqlitedb"_s, "people").write();
    const auto manifest = opened();
    Recorder progress;
    ITunesCacheSMSThread thread(manifest.get(), QDir(cacheDir()), &progress);
    thread.start();
    QVERIFY(thread.wait());
    QCOMPARE(progress.told.last(), u"error: Found no message database file in this iTunes backup."_s);
    QCOMPARE(treeOf(dir->path()).filter(u"cache"_s), QStringList());
}

void TestBackupCache::withoutAnAddressBookItLoads()
{
    run(builder().file(home, smsDb, "messages"));
    QCOMPARE(treeOf(cached({})), QStringList({u"SMS/"_s, u"SMS/sms.db"_s}));
}

void TestBackupCache::secondRunCopiesNothing()
{
    const BackupBuilder backup =
        builder().file(home, smsDb, "messages").file(media, u"Library/SMS/a.jpg"_s, "a");
    run(backup);
    const QString picture = cached(u"SMS/a.jpg"_s);
    const QString database = cached(u"SMS/sms.db"_s);
    QVERIFY(QFile::remove(picture)); // nobody looks whether it is still there
    QFile file(database);
    QVERIFY(file.open(QIODevice::WriteOnly) && file.write("touched") == 7);
    file.close();
    run(backup);
    QVERIFY(!QFile::exists(picture));
    QCOMPARE(contentOf(database), "touched"_ba);
}

void TestBackupCache::changedFilesAreCopiedAgain()
{
    run(builder().file(home, smsDb, "old").mtime(1000));
    run(builder().file(home, smsDb, "new").mtime(2000));
    QCOMPARE(contentOf(cached(u"SMS/sms.db"_s)), "new"_ba);
    run(builder().file(home, smsDb, "newer").mtime(2000)); // the old date stays, so the copy comes again
    QCOMPARE(contentOf(cached(u"SMS/sms.db"_s)), "newer"_ba);
}

void TestBackupCache::filesOfNoDateCountAsCached()
{
    run(builder().file(home, smsDb, "messages").mtime(0));
    QVERIFY(!QFile::exists(cached(u"SMS/sms.db"_s)));
}

void TestBackupCache::anEmptyFileIsAFolder()
{
    run(builder()
            .file(home, smsDb, "messages")
            .file(home, u"Library/SMS/x"_s, "")
            .file(home, smsDb + u"-wal"_s, ""));
    QCOMPARE(treeOf(cached(u"SMS"_s)),
             QStringList({u"sms.db"_s, u"x/"_s})); // but no log for SQLite to trip over
    run(builder().file(home, smsDb, "messages").file(home, u"Library/SMS/x"_s, "now full"));
    QCOMPARE(contentOf(cached(u"SMS/x"_s)), "now full"_ba);
    run(builder().file(home, smsDb, "messages").file(home, u"Library/SMS/x/y"_s, "below"));
    QCOMPARE(contentOf(cached(u"SMS/x/y"_s)), "below"_ba);
}

void TestBackupCache::databasesGetTheirProperCase_data()
{
    QTest::addColumn<QStringList>("inBackup");
    QTest::addColumn<QStringList>("inCache");
    QTest::newRow("folder, database and log")
        << QStringList{u"library/sms/SMS.DB"_s, u"library/sms/SMS.DB-wal"_s, u"library/sms/parts/P"_s}
        << QStringList{u"SMS/"_s, u"SMS/Parts/"_s, u"SMS/Parts/P"_s, u"SMS/sms.db"_s, u"SMS/sms.db-wal"_s};
    QTest::newRow("address book") << QStringList{u"Library/SMS/sms.db"_s,
                                                 u"Library/addressbook/addressbook.SQLITEDB"_s}
                                  << QStringList{u"AddressBook/"_s, u"AddressBook/AddressBook.sqlitedb"_s,
                                                 u"SMS/"_s, u"SMS/sms.db"_s};
    QTest::newRow("the proper case goes first")
        << QStringList{u"Library/SMS/SMS.db"_s, u"Library/SMS/sms.db"_s}
        << QStringList{u"SMS/"_s, u"SMS/SMS.db"_s, u"SMS/sms.db"_s};
}

void TestBackupCache::databasesGetTheirProperCase()
{
    QFETCH(QStringList, inBackup);
    BackupBuilder backup = builder();
    for (const QString &path : std::as_const(inBackup))
        backup.file(home, path, path.toUtf8());
    run(backup);
    QTEST(treeOf(cached({})), "inCache");
}

void TestBackupCache::hostileNamesStayInside_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<QStringList>("more");
    QTest::newRow("parent folder") << u"Library/SMS/../../../../../out"_s << QStringList();
    QTest::newRow("parent folder as a file") << u"Library/SMS/.."_s << QStringList();
    QTest::newRow("this folder") << u"Library/SMS/./x"_s << QStringList();
    QTest::newRow("backslashes") << u"Library/SMS/..\\..\\out"_s << QStringList(u"....out"_s);
    QTest::newRow("drive letter") << u"Library/SMS/C:/x"_s << QStringList();
    QTest::newRow("nothing but forbidden signs") << u"Library/SMS/???"_s << QStringList();
    QTest::newRow("too long for the disk") << u"Library/SMS/"_s + QString(256, u'x') << QStringList();
    QTest::newRow("control signs") << u"Library/SMS/a\nb\x1b"_s << QStringList(u"a\nb\x1b"_s);
    QTest::newRow("far too deep") << u"Library/SMS"_s + QString(u"/d"_s).repeated(3000) + u"/f"_s
                                  << QStringList();
}

void TestBackupCache::hostileNamesStayInside()
{
    QFETCH(QString, path);
    QFETCH(QStringList, more);
    run(builder().file(home, smsDb, "messages").file(home, path, "hostile"));
    const QStringList outside = treeOf(dir->path()).filter(u"out"_s);
    QStringList files;
    for (const QString &entry : treeOf(cached(u"SMS"_s)))
        if (!entry.endsWith(u'/'))
            files.append(entry);
    QCOMPARE(files, more + QStringList(u"sms.db"_s));
    for (const QString &entry : outside)
        QVERIFY2(entry.startsWith(u"cache/file-relay/var/mobile/Library/SMS/"_s), qUtf8Printable(entry));
}

void TestBackupCache::oldLogsGoWithTheirDatabase()
{
    const auto writeLog = [this](const QString &suffix) {
        QFile file(cached(u"SMS/sms.db"_s) + suffix);
        QVERIFY(file.open(QIODevice::WriteOnly) && file.write("stale") == 5);
    };
    run(builder().file(home, smsDb, "old").mtime(1000).file(home, smsDb + u"-wal"_s, "old log").mtime(1000));
    for (const QString &suffix : {u"-shm"_s, u"-journal"_s})
        writeLog(suffix);
    run(builder().file(home, smsDb, "old").mtime(1000)); // the database stays: so do the logs
    QVERIFY(QFile::exists(cached(u"SMS/sms.db-wal"_s)));
    run(builder().file(home, smsDb, "new").mtime(2000));
    QCOMPARE(treeOf(cached(u"SMS"_s)), QStringList(u"sms.db"_s));
}

void TestBackupCache::aLogThatComesBackIsCopiedAgain()
{
    const BackupBuilder withLog =
        builder().file(home, smsDb, "1").mtime(1000).file(home, smsDb + u"-wal"_s, "log").mtime(900);
    run(withLog);
    run(builder().file(home, smsDb, "2").mtime(2000));
    QVERIFY(!QFile::exists(cached(u"SMS/sms.db-wal"_s)));
    run(withLog);
    QCOMPARE(contentOf(cached(u"SMS/sms.db-wal"_s)), "log"_ba);
}

void TestBackupCache::cancellingLeavesNothing()
{
    const BackupBuilder backup = builder()
                                     .file(home, smsDb, "messages")
                                     .file(media, u"Library/SMS/.hidden/.x"_s, "hidden")
                                     .file(media, u"Library/SMS/a"_s, "a");
    backup.write();
    for (int report = 1; report <= 6; ++report) {
        Recorder progress;
        progress.cancelAt = report;
        QVERIFY_EXCEPTION_THROWN(cacheBackupMessages(*opened(), QDir(cacheDir()), progress), int);
        QCOMPARE(treeOf(dir->path()).filter(u"cache"_s), QStringList());
    }
}

void TestBackupCache::failuresLeaveNothing()
{
    builder()
        .password(u"pw"_s)
        .iterations(2)
        .file(home, u"Library/SMS/a"_s, "a")
        .file(home, smsDb, "messages")
        .write();
    const auto manifest = opened(u"pw"_s);
    QVERIFY(QFile::resize(*manifest->sourceFile(manifest->smsDatabase->record), 15));
    Recorder progress;
    ITunesCacheSMSThread thread(manifest.get(), QDir(cacheDir()), &progress);
    thread.start();
    QVERIFY(thread.wait());
    QVERIFY(progress.told.last().startsWith(u"error: "_s + recordFileName(manifest->smsDatabase->record)));
    QCOMPARE(treeOf(dir->path()).filter(u"cache"_s), QStringList());
}

// Children are killed at ever later moments; whatever they left, the next run makes it whole.
void TestBackupCache::killedRunsAreMadeGood()
{
    BackupBuilder backup = builder().file(home, smsDb, "messages");
    for (int i = 0; i < 40; ++i)
        backup.file(media, u"Library/SMS/Attachments/%1"_s.arg(i), QByteArray(20000, char('a' + i % 26)));
    backup.write();
    const auto manifest = opened();
    for (int micros = 0; micros < 20000; micros += 1000) {
        const pid_t child = fork();
        if (child == 0) {
            Recorder progress;
            cacheBackupMessages(*manifest, QDir(cacheDir()), progress);
            _exit(0);
        }
        usleep(useconds_t(micros));
        kill(child, SIGKILL);
        waitpid(child, nullptr, 0);
    }
    Recorder progress;
    cacheBackupMessages(*manifest, QDir(cacheDir()), progress);
    for (int i = 0; i < 40; ++i)
        QCOMPARE(contentOf(cached(u"SMS/Attachments/%1"_s.arg(i))), QByteArray(20000, char('a' + i % 26)));
}

void TestBackupCache::twoRunsDoNotMix()
{
    builder().file(home, smsDb, "messages").write();
    const auto manifest = opened();
    struct Nested : Recorder {
        void updateProgress(const QString &status, int value, const QString &text) override
        {
            Recorder::updateProgress(status, value, text);
            if (told.size() == 3)
                start();
        }
        std::function<void()> start;
    } outer;
    QString error;
    outer.start = [&] {
        Recorder inner;
        try {
            cacheBackupMessages(*manifest, QDir(cacheDir()), inner);
        } catch (const std::runtime_error &failure) {
            error = QString::fromUtf8(failure.what());
        }
    };
    cacheBackupMessages(*manifest, QDir(cacheDir()), outer);
    QVERIFY2(error.startsWith(cacheDir()), qUtf8Printable(error));
    QCOMPARE(contentOf(cached(u"SMS/sms.db"_s)), "messages"_ba);
}

void TestBackupCache::datesAreFoundByIndex()
{
    const QString path = dir->filePath(u"manifest.db"_s);
    constexpr int entries = 50'000;
    const auto name = [](int i) { return u"%1"_s.arg(i, 40, 16, QLatin1Char('0')); };
    QElapsedTimer timer;
    timer.start();
    BackupCacheDb cache(path);
    for (int i = 0; i < entries; ++i)
        cache.setLastDate(name(i), i + 1);
    for (int i = 0; i < entries; ++i) // changed files, the costlier kind
        cache.setLastDate(name(i), i + 2);
    for (int i = 0; i < entries; ++i)
        QCOMPARE(cache.lastDate(name(i)), i + 1);
    // Looking at each row each time takes many minutes.
    QVERIFY2(timer.elapsed() < 60'000, qPrintable(QString::number(timer.elapsed())));
}

void TestBackupCache::updatesOfDatesChangeNothing()
{
    BackupCacheDb cache(dir->filePath(u"manifest.db"_s));
    QCOMPARE(cache.lastDate(u"a"_s), 0);
    cache.setLastDate(u"a"_s, 5);
    cache.setLastDate(u"a"_s, 6);
    QCOMPARE(cache.lastDate(u"a"_s), 5);
}

void TestBackupCache::entriesGoOneByOne()
{
    const QString path = dir->filePath(u"manifest.db"_s);
    {
        BackupCacheDb cache(path);
        cache.setLastDate(u"a"_s, 5);
        cache.setLastDate(u"b"_s, -5);
        cache.removeEntry(u"a"_s);
    }
    {
        BackupCacheDb cache(path);
        QCOMPARE(cache.lastDate(u"a"_s), 0);
        QCOMPARE(cache.lastDate(u"b"_s), -5);
        cache.setLastDate(u"c"_s, 1);
        cache.rollback();
    }
    BackupCacheDb cache(path);
    QCOMPARE(cache.lastDate(u"c"_s), 0);
}

QTEST_GUILESS_MAIN(TestBackupCache)
#include "testbackupcache.moc"
