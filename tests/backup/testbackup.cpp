#include "backup/backupdiscovery.h"
#include "backup/extractmessages.h"
#include "testing/builders/backupbuilder.h"
#include "testing/builders/samplerandom.h"
#include "testing/helpers/childprocess.h"

#include <QDirIterator>
#include <QTemporaryDir>
#include <QTest>

#include <csignal>
#include <sys/resource.h>
#include <sys/stat.h>

using namespace Qt::StringLiterals;

namespace
{

const QString home = u"HomeDomain"_s;
const QString smsDb = u"Library/SMS/sms.db"_s;
const QString dates = u"cache/manifest.db"_s;
const QString mark = u"cache/file-relay/CACHEDIR.TAG"_s;

} // namespace

/// Opens backups, takes files out of them and caches their messages.
class TestBackup : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { dir = std::make_unique<QTemporaryDir>(); }
    void listsBackupsUnderNamesForPeople();
    void extracts_data();
    void extracts();
    void filesWithoutAKeyStayCiphertext();
    void failuresLeaveNothing_data();
    void failuresLeaveNothing();
    void readsFilesOfTheBackupOnly();
    void cachesUnderProperNamesWithTheirDate();
    void keepsNamesInsideAndApart_data();
    void keepsNamesInsideAndApart();
    void onlyChangedFilesAreCopiedAgain();
    void anEmptyFileIsAFolder();
    void logsGoAndComeWithTheirDatabase();
    void cancellingLeavesNothing();
    void aFailedRunKeepsTheCacheThatWasThere();
    void killedRunsAreMadeGood();
    void twoRunsDoNotMix();

private:
    QString path(const QString &name) const { return dir->filePath(name); }
    QString target() const { return path(u"target"_s); }
    QString cached(const QString &name) const
    {
        return path(u"cache/file-relay/var/mobile/Library/"_s + name);
    }
    BackupBuilder builder() const { return BackupBuilder(QDir(path(u"backup"_s))); }
    void open(const BackupBuilder &backup, const QString &password = {})
    {
        QDir(path(u"backup"_s)).removeRecursively();
        manifest = std::make_unique<BackupManifest>(backup.write());
        if (openBackup(*manifest, password) != BackupOpening::Ready)
            qFatal("the fixture does not open");
        source = manifest->backupDir.filePath(mbdbFileName(home, smsDb));
    }
    /// What went wrong.
    QString extract() const
    {
        return failureOf([this] { manifest->extractFile(manifest->smsDatabase, target()); });
    }
    QString cache() const
    {
        RecordingProgress progress;
        runJob(progress, [&] {
            extractMessages(*manifest, QDir(path(u"cache"_s)), progress);
            return QString();
        });
        return progress.outcome;
    }
    void cache(const BackupBuilder &backup)
    {
        open(backup);
        QCOMPARE(cache(), QString());
    }
    /// All files outside the backup but the mark of a cache, and empty folders; what is copied is named from
    /// Library on.
    QStringList found() const
    {
        QStringList paths;
        const QDir::Filters all = QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot;
        QDirIterator entries(dir->path(), all, QDirIterator::Subdirectories);
        while (entries.hasNext()) {
            const QString name = QDir(dir->path()).relativeFilePath(entries.next());
            if (!name.startsWith(u"backup"_s) && name != mark && QDir(entries.filePath()).isEmpty(all))
                paths += QString(name).remove(u"cache/file-relay/var/mobile/Library/"_s);
        }
        paths.sort();
        return paths;
    }

    std::unique_ptr<QTemporaryDir> dir;
    std::unique_ptr<BackupManifest> manifest;
    QString source; // where sms.db lies in the backup
};

void TestBackup::listsBackupsUnderNamesForPeople()
{
    const QString udid = SampleDevice().udid;
    for (const QString &name : QStringList{u"old"_s, udid, udid + u"-2014"_s, u"unreadable"_s})
        BackupBuilder(QDir(path(name))).write();
    QVERIFY(QFile::remove(path(u"unreadable/Manifest.plist"_s)));
    QVERIFY(QDir(dir->path()).mkdir(u"unreadable/Manifest.plist"_s));
    BackupBuilder(QDir(path(u"nobody's"_s))).write();
    QVERIFY(writeFile(path(u"nobody's/Manifest.plist"_s),
                      "<plist version=\"1.0\"><dict><key>Lockdown</key><dict><key>DeviceName</key>"
                      "<string>Bo</string></dict></dict></plist>"));
    QStringList names;
    for (const auto &backup : listBackups(dir->path()))
        names.append(backup->displayName);
    QCOMPARE(countryOfBackup(QDir(path(u"old"_s))), u"214"_s);
    QCOMPARE(names, QStringList({u"Ana's iPhone"_s, u"Ana's iPhone-2014"_s, u"Bo-nobody's"_s,
                                 u"Ana's iPhone-old"_s}));
}

void TestBackup::extracts_data()
{
    QTest::addColumn<QString>("password");
    QTest::addColumn<int>("length");
    QTest::addColumn<int>("listed");
    QTest::addColumn<int>("extracted");
    QTest::newRow("plain") << QString() << 20000 << 20000 << 20000;
    QTest::newRow("plain, on both cores") << QString() << 3'000'000 << 3'000'000 << 3'000'000;
    QTest::newRow("encrypted, padding goes") << u"pw"_s << 100 << 100 << 100;
    QTest::newRow("encrypted, one byte over") << u"pw"_s << 8193 << 8193 << 8193;
    QTest::newRow("encrypted, chained over blocks") << u"pw"_s << 30001 << 30001 << 30001;
    QTest::newRow("encrypted, a whole block of padding stays") << u"pw"_s << 8192 << 8192 << 8208;
    QTest::newRow("encrypted, on both cores") << u"pw"_s << 3'000'001 << 3'000'001 << 3'000'001;
    QTest::newRow("a wrong length cuts where a block of 8192 ends")
        << u"pw"_s << 300'001 << 81'915 << 300'011;
}

void TestBackup::extracts()
{
    QFETCH(QString, password);
    QFETCH(int, length);
    const QByteArray content = SampleRandom(7).bytes(length);
    QFETCH(int, listed);
    BackupBuilder backup = builder().password(password).iterations(3).file(home, smsDb, content);
    open(backup.with([=](SampleRecord &record) { record.fileLength = quint64(listed); }), password);
    QCOMPARE(extract(), QString());
    QCOMPARE(bytesOf(target()).first(qMin(length, listed)), content.first(qMin(length, listed)));
    QTEST(int(bytesOf(target()).size()), "extracted");
}

void TestBackup::filesWithoutAKeyStayCiphertext()
{
    // Classes that the keybag lacks and that the phone's own key wraps, a short wrapped key and none.
    const QList<std::pair<int, int>> classesAndLengths{{99, 44}, {11, 44}, {3, 43}, {3, 0}};
    for (const auto &[protectionClass, length] : classesAndLengths) {
        BackupBuilder backup = builder().password(u"pw"_s).iterations(3).file(home, smsDb, "plain");
        backup.with([number = protectionClass, length = length](SampleRecord &record) {
            record.protectionClass = quint8(number);
            record.encryptionKey.truncate(length);
        });
        open(backup, u"pw"_s);
        QCOMPARE(extract(), QString());
        QCOMPARE(bytesOf(target()), bytesOf(source));
    }
}

void TestBackup::failuresLeaveNothing_data()
{
    QTest::addColumn<int>("length");
    QTest::newRow("on this core") << 100'000;
    QTest::newRow("on both cores") << 4'000'000;
}

void TestBackup::failuresLeaveNothing()
{
    QFETCH(int, length);
    open(builder().password(u"pw"_s).iterations(3).file(home, smsDb, QByteArray(length, 'x')), u"pw"_s);
    const auto cancel = [](qint64 total, qint64 done, void *) {
        if (done >= total / 2)
            throw -1;
    };
    QVERIFY_EXCEPTION_THROWN(manifest->extractFile(manifest->smsDatabase, target(), nullptr, cancel), int);
    QCOMPARE(found(), QStringList());
    rlimit before{};
    getrlimit(RLIMIT_FSIZE, &before);
    const rlimit fullDisk{rlim_t(length / 2), before.rlim_max};
    std::signal(SIGXFSZ, SIG_IGN); // a write beyond the limit then fails
    setrlimit(RLIMIT_FSIZE, &fullDisk);
    const QStringList errors{extract(), cache()};
    setrlimit(RLIMIT_FSIZE, &before);
    QCOMPARE(found(), QStringList());
    QVERIFY(QFile::resize(source, length - 1)); // no whole number of cipher blocks
    const QStringList cutErrors{extract(), cache()};
    QVERIFY(errors.first().startsWith(target()) && errors.last().startsWith(path(u"cache"_s)));
    QCOMPARE(cutErrors.filter(QFileInfo(source).fileName()).size(), 2);
    QCOMPARE(found(), QStringList());
}

void TestBackup::readsFilesOfTheBackupOnly()
{
    open(builder().file(home, smsDb, "x"));
    QVERIFY(QFile::rename(source, path(u"backup/inside"_s)) && QFile::link(u"inside"_s, source));
    QCOMPARE(extract(), QString());
    QVERIFY(QFile::rename(target(), path(u"secret"_s)));
    QVERIFY(QFile::remove(source) && QFile::link(path(u"secret"_s), source));
    QVERIFY(extract().startsWith(source));
    QVERIFY(QFile::remove(source) && mkfifo(source.toUtf8().constData(), 0600) == 0);
    QVERIFY(extract().startsWith(source)); // and does not wait
    QCOMPARE(found(), QStringList(u"secret"_s));
}

void TestBackup::cachesUnderProperNamesWithTheirDate()
{
    BackupBuilder backup = builder().password(u"pw"_s).iterations(3);
    backup.file(home, u"library/sms/SMS.DB"_s, "messages")
        .mtime(1000)
        .file(home, u"library/sms/SMS.DB-wal"_s, "log")
        .file(u"MediaDomain"_s, u"library/sms/parts/P"_s, "part")
        .file(home, u"library/addressbook/addressbook.SQLITEDB"_s, "people")
        .file(home, u"library/Notes/notes.sqlite"_s, "notes")
        .missing(home, u"library/sms/gone"_s, 5)
        .link(home, u"library/sms/link"_s, u"/etc/passwd"_s);
    open(backup, u"pw"_s);
    QCOMPARE(cache(), QString());
    QCOMPARE(found(), QStringList({u"AddressBook/AddressBook.sqlitedb"_s, u"SMS/Parts/P"_s, u"SMS/sms.db"_s,
                                   u"SMS/sms.db-wal"_s, dates}));
    QCOMPARE(bytesOf(cached(u"SMS/sms.db"_s)), "messages"_ba);
    QCOMPARE(QFileInfo(cached(u"SMS/sms.db"_s)).lastModified().toSecsSinceEpoch(), 1000);
    QVERIFY(bytesOf(path(mark)).startsWith("Signature: 8a477f597d28d172789f06886806bc55\n"));
}

void TestBackup::keepsNamesInsideAndApart_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QStringList>("kept");
    QTest::newRow("parent folder") << u"../../../../../out"_s << QStringList();
    QTest::newRow("parent folder as a file") << u".."_s << QStringList();
    QTest::newRow("this folder") << u"./x"_s << QStringList();
    QTest::newRow("backslashes") << u"..\\..\\out"_s << QStringList(u"SMS/....out"_s);
    QTest::newRow("drive letter") << u"C:/x"_s << QStringList();
    QTest::newRow("only forbidden signs") << u"???"_s << QStringList();
    QTest::newRow("too long for the disk") << QString(256, u'x') << QStringList();
    QTest::newRow("control signs") << u"a\nb\x1b"_s << QStringList(u"SMS/a\nb\x1b"_s);
    QTest::newRow("too deep") << QString(u"d/"_s).repeated(3000) + u"f"_s
                              << QStringList(u"SMS"_s + QString(u"/d"_s).repeated(256));
    QTest::newRow("the database but for the case") << u"SMS.db"_s << QStringList(u"SMS/SMS.db"_s);
}

void TestBackup::keepsNamesInsideAndApart()
{
    QFETCH(QString, name);
    QFETCH(QStringList, kept);
    cache(builder().file(home, smsDb, "messages").file(home, u"Library/SMS/"_s + name, "hostile"));
    QCOMPARE(found(), kept + QStringList({u"SMS/sms.db"_s, dates}));
}

void TestBackup::onlyChangedFilesAreCopiedAgain()
{
    const QString database = cached(u"SMS/sms.db"_s);
    BackupBuilder others = builder().file(home, u"Library/SMS/a.jpg"_s, "a");
    others.file(home, u"Library/SMS/undated.jpg"_s, "u").mtime(0); // counts as cached
    cache(BackupBuilder(others).file(home, smsDb, "old").mtime(1000));
    QVERIFY(QFile::remove(cached(u"SMS/a.jpg"_s))); // nobody looks whether it is still there
    cache(BackupBuilder(others).file(home, smsDb, "new").mtime(2000));
    QCOMPARE(found(), QStringList({u"SMS/sms.db"_s, dates}));
    QCOMPARE(bytesOf(database), "new"_ba);
    cache(BackupBuilder(others).file(home, smsDb, "unseen").mtime(2000)); // a copy is known by its new date
    QCOMPARE(bytesOf(database), "new"_ba);
    cache(BackupBuilder(others).file(home, smsDb, "old").mtime(1000)); // the folder was put back
    QCOMPARE(bytesOf(database), "old"_ba);
    open(BackupBuilder(others).file(home, smsDb, "killed").mtime(3000).file(home, u"Library/SMS/z"_s, "z"));
    resultOfChild([this] {
        RecordingProgress progress;
        progress.act = [&] {
            if (bytesOf(cached(u"SMS/sms.db"_s)) == "killed"_ba)
                _exit(1);
            ++progress.actAtUpdate;
        };
        progress.actAtUpdate = 1;
        extractMessages(*manifest, QDir(path(u"cache"_s)), progress);
        return QString();
    });
    QCOMPARE(bytesOf(database), "killed"_ba);
    cache(others.file(home, smsDb, "old").mtime(1000));
    QCOMPARE(bytesOf(database), "old"_ba);
}

void TestBackup::anEmptyFileIsAFolder()
{
    const BackupBuilder backup = builder().file(home, smsDb, "messages");
    cache(BackupBuilder(backup).file(home, u"Library/SMS/x"_s, "").file(home, smsDb + u"-wal"_s, ""));
    QCOMPARE(found(), QStringList({u"SMS/sms.db"_s, u"SMS/x"_s, dates})); // no log for SQLite to trip over
    cache(BackupBuilder(backup).file(home, u"Library/SMS/x"_s, "now full"));
    QCOMPARE(bytesOf(cached(u"SMS/x"_s)), "now full"_ba);
}

void TestBackup::logsGoAndComeWithTheirDatabase()
{
    const QString log = cached(u"SMS/sms.db-wal"_s);
    BackupBuilder withLog = builder().file(home, smsDb, "1").mtime(1000);
    withLog.file(home, smsDb + u"-wal"_s, "log").mtime(900);
    cache(withLog);
    QVERIFY(QFile::copy(log, cached(u"SMS/sms.db-shm"_s)));
    QVERIFY(QFile::copy(log, cached(u"SMS/sms.db-journal"_s)));
    cache(builder().file(home, smsDb, "1").mtime(1000)); // the database stays: so do the logs
    QCOMPARE(bytesOf(log), "log"_ba);
    cache(builder().file(home, smsDb, "2").mtime(2000));
    QCOMPARE(found(), QStringList({u"SMS/sms.db"_s, dates}));
    cache(withLog);
    QCOMPARE(bytesOf(log), "log"_ba);
}

void TestBackup::cancellingLeavesNothing()
{
    // But what was recovered from the backup can't be made again.
    QVERIFY(writeFile(path(u"cache/recycle.db"_s)));
    open(builder().file(home, smsDb, "messages").file(home, u"Library/SMS/.hidden/.x"_s, "hidden"));
    for (int report = 1; report <= 5; ++report) {
        RecordingProgress progress;
        progress.actAtUpdate = report;
        QVERIFY_EXCEPTION_THROWN(extractMessages(*manifest, QDir(path(u"cache"_s)), progress), int);
        QCOMPARE(found(), QStringList(u"cache/recycle.db"_s));
    }
}

// As where another program has the database open on Windows.
void TestBackup::aFailedRunKeepsTheCacheThatWasThere()
{
    const auto run = [this](const QByteArray &content, qint64 date) {
        open(builder().file(home, smsDb, content).mtime(date));
        return cache();
    };
    QCOMPARE(run("old", 1000), QString());
    QVERIFY(writeFile(path(u"cache/half-copied/in the way"_s)));
    QVERIFY(!run("new", 2000).isEmpty());
    QCOMPARE(bytesOf(cached(u"SMS/sms.db"_s)), "old"_ba);
    QVERIFY(QDir(path(u"cache/half-copied"_s)).removeRecursively());
    QCOMPARE(run("new", 2000), QString());
    QCOMPARE(bytesOf(cached(u"SMS/sms.db"_s)), "new"_ba);
}

// Children are killed at ever later moments; whatever they left, the next run makes it whole.
void TestBackup::killedRunsAreMadeGood()
{
    BackupBuilder backup = builder().file(home, smsDb, "messages");
    for (int i = 0; i < 40; ++i)
        backup.file(home, u"Library/SMS/%1"_s.arg(i), QByteArray(20000, char('a' + i % 26)));
    open(backup);
    for (int micros = 0; micros < 20000; micros += 1000) {
        const auto work = [this] {
            RecordingProgress progress;
            extractMessages(*manifest, QDir(path(u"cache"_s)), progress);
        };
        resultOfChild([&] { return failureOf(work); }, micros);
    }
    QCOMPARE(cache(), QString());
    for (int i = 0; i < 40; ++i)
        QCOMPARE(bytesOf(cached(u"SMS/%1"_s.arg(i))), QByteArray(20000, char('a' + i % 26)));
}

void TestBackup::twoRunsDoNotMix()
{
    open(builder().file(home, smsDb, "messages"));
    QString error;
    RecordingProgress outer;
    outer.actAtUpdate = 3;
    outer.act = [&] { error = cache(); };
    extractMessages(*manifest, QDir(path(u"cache"_s)), outer);
    QVERIFY2(error.startsWith(path(u"cache"_s)), qUtf8Printable(error));
    QCOMPARE(bytesOf(cached(u"SMS/sms.db"_s)), "messages"_ba);
}

QTEST_GUILESS_MAIN(TestBackup)
#include "testbackup.moc"
