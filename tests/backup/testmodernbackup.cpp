#include "backup/backupattachments.h"
#include "backup/backupdiscovery.h"
#include "backup/extractmessages.h"
#include "backup/keys/keybag.h"
#include "backup/mbfile.h"
#include "backup/sessionkeys.h"
#include "testing/builders/backupbuilder.h"
#include "testing/builders/samplembfile.h"
#include "testing/builders/samplerandom.h"
#include "testing/helpers/testdatabase.h"

#include <QElapsedTimer>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;

namespace
{

using Shelf = SampleManifestOptions::Shelf;

const QString home = u"HomeDomain"_s;
const QString media = u"MediaDomain"_s;
const QString smsDb = u"Library/SMS/sms.db"_s;

/// The names below `node`, those of a folder in parentheses behind it.
QString outline(const _ManifestNode &node)
{
    QStringList shown;
    for (const _ManifestNode *child : node.children) {
        const QString below = outline(*child);
        shown += below.isEmpty() ? child->name : child->name + u'(' + below + u')';
    }
    return shown.join(u' ');
}

/// `pages` pages of a database, its header and the end of its last page as wanted.
QByteArray database(int pages, const QByteArray &end = {})
{
    QByteArray bytes(qsizetype(pages) * 512, '\0');
    bytes.replace(0, 18, QByteArray("SQLite format 3\0\2\0", 18));
    return bytes.replace(bytes.size() - end.size(), end.size(), end);
}

} // namespace

/// Backups of iOS 10 and later.
class TestModernBackup : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { dir = std::make_unique<QTemporaryDir>(); }
    void readsGoodAndHostileDescriptions();
    void fillsTheTreeOfTheOlderList();
    void takesOddRows();
    void refusesListsThatAreNone_data();
    void refusesListsThatAreNone();
    void readsWhatTheLogHolds();
    void findsFilesInTheirPlaces();
    void opensEncryptedOnes_data();
    void opensEncryptedOnes();
    void takesOffPaddingOnly_data();
    void takesOffPaddingOnly();
    void damagedFilesAreErrors();
    void derivesAKnownKey();
    void derivationsEndAtOnce();
    void saysWhatIsMissing();
    void aPlainListNeedsNoPropertyList();
    void keysLieInTheDamagedPropertyList();
    void attachmentsStayInTheBackup_data();
    void attachmentsStayInTheBackup();
    void decipheringIsCancelled();
    void theOldestCopiesGo();
    void keysStayForTheSession();

private:
    QString path(const QString &name) const { return dir->filePath(name); }
    BackupBuilder builder(const SampleManifestOptions &options = {}) const
    {
        return BackupBuilder(QDir(path(u"backup"_s))).iterations(3).manifestDb(options);
    }
    void open(const BackupBuilder &backup, const QString &password = {})
    {
        manifest = std::make_unique<BackupManifest>(backup.write());
        QCOMPARE(openBackup(*manifest, password), BackupOpening::Ready);
    }
    /// The plain content of sms.db, or what went wrong.
    QByteArray extract(const QString &name = smsDb) const
    {
        const auto work = [&] { manifest->extractFile(manifest->findFile(home, name), path(u"target"_s)); };
        const QString failure = failureOf(work);
        return failure.isEmpty() ? bytesOf(path(u"target"_s)) : failure.toUtf8();
    }
    QString indexError() const
    {
        return failureOf([this] { BackupManifest(path(u"backup"_s)).loadIndex(); });
    }

    std::unique_ptr<QTemporaryDir> dir;
    std::unique_ptr<BackupManifest> manifest;
};

// Each length and each byte changed; what comes out may be anything, but it comes.
void TestModernBackup::readsGoodAndHostileDescriptions()
{
    SampleRecord record{.domain = "D", .path = "p", .linkTarget = "../ä", .dataHash = QByteArray(20, 'h')};
    record.encryptionKey = QByteArray(44, 'k');
    record.mtime = 0xFFFFFFFF;
    record.fileLength = 0x1122334455;
    const QByteArray archive = sampleMbFile(record);
    const MbFile whole = readMbFile(archive).value();
    QCOMPARE(whole.target + whole.encryptionKey.toByteArray() + whole.digest.toByteArray(),
             record.linkTarget + record.encryptionKey + record.dataHash);
    QCOMPARE(whole.lastModified, record.mtime);
    QCOMPARE(whole.size, record.fileLength);
    for (qsizetype length = 0; length < archive.size(); ++length)
        QVERIFY(!readMbFile(archive.first(length))); // the end tells where everything is
    for (qsizetype place = 0; place < archive.size(); ++place) {
        for (const int value : {0x00, 0x01, 0x7F, 0x80, 0x81, 0xD1, 0xFF}) {
            QByteArray changed = archive;
            changed[place] = char(value);
            if (const std::optional<MbFile> file = readMbFile(changed))
                QVERIFY(file->encryptionKey.size() + file->target.size() <= 2 * archive.size());
        }
    }
}

void TestModernBackup::fillsTheTreeOfTheOlderList()
{
    const auto filled = [](BackupBuilder backup) {
        return backup.file(home, smsDb, "1")
            .file(media, u"Library/SMS/Attachments/9e/14/G/IMG.HEIC"_s, "2")
            .file(u"AppDomain-org.a"_s, u"Documents/ä"_s, "3")
            .link(home, u"Library/link"_s, u"/x"_s);
    };
    open(filled(BackupBuilder(QDir(path(u"older"_s)))));
    const QString older = outline(manifest->rootNode);
    open(filled(builder()).file(u"AppDomainGroup-g"_s, smsDb, "an app's"));
    QCOMPARE(outline(manifest->rootNode).replace(u" AppDomainGroup-g(Library(SMS(sms.db)))"_s, QString()),
             older);
    QCOMPARE(manifest->smsFilesByStem.keys(),
             QStringList(u"/var/mobile/Library/SMS/Attachments/9e/14/G/IMG"_s));
    QCOMPARE(extract(), "1"_ba);
    QVERIFY(!manifest->findFile(home, u"Library/SMS/Attachments/9e/14/G/IMG.HEIC"_s));
}

void TestModernBackup::takesOddRows()
{
    const QString name = sampleHashedName("HomeDomain", "Library/SMS/sms.db");
    BackupBuilder backup = builder();
    backup.row({.fileID = u"nothing"_s, .flags = 16})
        .row({.fileID = u"../../outside"_s, .domain = home, .relativePath = u"outside"_s})
        .row({.fileID = name, .domain = home, .relativePath = smsDb, .flags = 0, .file = "bplist00"})
        .row({.fileID = u"long"_s, .domain = home, .relativePath = QString(70000, u'x')});
    open(backup);
    QCOMPARE(outline(manifest->rootNode), u"Library(SMS(sms.db)) outside"_s); // folders without a row too
    QCOMPARE(manifest->sourceFile(manifest->smsDatabase->record), std::nullopt);
    const QString place = path(u"backup/"_s + name.first(2) + u'/' + name);
    QVERIFY(writeFile(place, "messages"));
    QCOMPARE(extract(), "messages"_ba);
    RecordingProgress progress;
    const QDir cache(path(u"cache"_s));
    for (int run = 0; run < 2; ++run) { // a date that nobody knows is no reason to keep a copy
        extractMessages(*manifest, cache, progress);
        QCOMPARE(bytesOf(cache.filePath(u"file-relay/var/mobile/"_s + smsDb)),
                 run == 0 ? "messages"_ba : "newer"_ba);
        QVERIFY(writeFile(place, "newer"));
    }
}

void TestModernBackup::refusesListsThatAreNone_data()
{
    QTest::addColumn<QString>("sql");
    QTest::addColumn<double>("kept"); // part of the file
    QTest::newRow("cut in the header") << QString() << 0.01;
    QTest::newRow("cut in the middle") << QString() << 0.5;
    QTest::newRow("empty") << QString() << 0.0;
    QTest::newRow("without the table") << u"DROP TABLE Files"_s << 1.0;
    QTest::newRow("an endless view for the table")
        << u"DROP TABLE Files; CREATE VIEW Files AS WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i FROM "
           u"n) "
           "SELECT 'a' fileID, 'd' domain, 'p' relativePath, 1 flags, NULL file FROM n"_s
        << 1.0;
}

void TestModernBackup::refusesListsThatAreNone()
{
    QFETCH(QString, sql);
    QFETCH(double, kept);
    BackupBuilder backup = builder();
    for (int i = 0; i < 100; ++i)
        backup.file(home, QString::number(i), "x");
    const QString list = backup.write() + u"/Manifest.db"_s;
    runOn(list, sql);
    QVERIFY(QFile::resize(list, qint64(double(QFileInfo(list).size()) * kept)));
    QVERIFY2(indexError().startsWith(list), qPrintable(indexError()));
}

void TestModernBackup::readsWhatTheLogHolds()
{
    const QString list = builder().file(home, smsDb, "1").write() + u"/Manifest.db"_s;
    runOn(list, u"PRAGMA journal_mode=WAL"_s);
    const auto indexed = [&] {
        BackupManifest backup(path(u"backup"_s));
        backup.loadIndex();
        return outline(backup.rootNode);
    };
    QCOMPARE(indexed(), u"Library(SMS(sms.db))"_s);
    QVERIFY(!QFile::exists(list + u"-wal"_s) && !QFile::exists(list + u"-shm"_s));
    {
        Sqlite3DB db;
        db.openThrow(list, sqliteReadWrite);
        db.executeThrow(Sqlite3Sql("INSERT INTO Files VALUES('x','HomeDomain','late',1,NULL)"));
        db.keepLogOnClose();
    }
    const QByteArray log = bytesOf(list + u"-wal"_s);
    QCOMPARE(indexed(), u"Library(SMS(sms.db)) late"_s);
    QCOMPARE(bytesOf(list + u"-wal"_s), log);
}

void TestModernBackup::findsFilesInTheirPlaces()
{
    for (const Shelf shelf :
         {Shelf::TwoLetters, Shelf::Flat, Shelf::SnapshotTwoLetters, Shelf::SnapshotFlat}) {
        init();
        open(builder({.shelf = shelf}).file(home, smsDb, "messages"));
        QCOMPARE(extract(), "messages"_ba);
        const QString place = manifest->sourceFile(manifest->smsDatabase->record).value();
        QVERIFY(QFile::rename(place, path(u"outside"_s)) && QFile::link(path(u"outside"_s), place));
        QVERIFY(extract().endsWith("is no file of this backup"));
    }
}

void TestModernBackup::opensEncryptedOnes_data()
{
    QTest::addColumn<SampleManifestOptions>("options");
    QTest::newRow("padded list") << SampleManifestOptions{.isPadded = true};
    QTest::newRow("iOS 10.0: older key, plain list")
        << SampleManifestOptions{.hasLongKey = false, .isEnciphered = false};
}

void TestModernBackup::opensEncryptedOnes()
{
    QFETCH(SampleManifestOptions, options);
    const QByteArray content = SampleRandom(7).bytes(30000);
    open(builder(options).password(u"pässword"_s).file(home, smsDb, content), u"pässword"_s);
    QCOMPARE(extract(), content);
    BackupManifest other(path(u"backup"_s));
    QCOMPARE(openBackup(other, std::nullopt), BackupOpening::NeedsPassword);
    QCOMPARE(openBackup(other, u"password"_s), BackupOpening::WrongPassword);
    QCOMPARE(openBackup(other, u"pässword"_s), BackupOpening::Ready);
    const QString list = path(u"backup/Manifest.db"_s);
    QVERIFY(QFile::resize(list, QFileInfo(list).size() / 2));
    BackupManifest cut(path(u"backup"_s));
    QVERIFY_EXCEPTION_THROWN(openBackup(cut, u"pässword"_s), std::runtime_error);
}

void TestModernBackup::takesOffPaddingOnly_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<quint64>("listed");
    QTest::addColumn<bool>("isPadded");
    QTest::newRow("the listed length is too short") << QByteArray(8191, 'x') << 100ULL << true;
    QTest::newRow("the listed length is too long") << QByteArray(100, 'x') << 9000ULL << true;
    QTest::newRow("the listed length is nothing") << QByteArray(100, 'x') << 0ULL << true;
    QTest::newRow("a whole block of padding") << QByteArray(8192, 'x') << 8192ULL << true;
    QTest::newRow("none at all") << QByteArray(8192, 'x') << 8192ULL << false;
    QTest::newRow("read and deciphered on both cores") << QByteArray(3'000'001, 'x') << 0ULL << true;
    QTest::newRow("whole pages without padding") << database(3) << 1536ULL << false;
    QTest::newRow("a page that ends as if padded") << database(3, "\2\2") << 1534ULL << false;
    QTest::newRow("whole pages and padding") << database(3, "\2\2") << 1536ULL << true;
}

void TestModernBackup::takesOffPaddingOnly()
{
    QFETCH(QByteArray, content);
    QFETCH(quint64, listed);
    QFETCH(bool, isPadded);
    BackupBuilder backup = builder().password(u"pw"_s).file(home, smsDb, content);
    if (!isPadded)
        backup.unpadded();
    open(backup.with([=](SampleRecord &record) { record.fileLength = listed; }), u"pw"_s);
    QCOMPARE(extract(), content);
}

// Of a picture that is only a line in the log: the messages are still worth reading.
void TestModernBackup::damagedFilesAreErrors()
{
    const auto breakKey = [](SampleRecord &record) {
        record.encryptionKey[20] = char(~record.encryptionKey[20]);
    };
    const QString picture = u"Library/SMS/picture"_s;
    BackupBuilder backup = builder().password(u"pw"_s).file(home, smsDb, "messages").file(home, picture, "p");
    open(BackupBuilder(backup).with(breakKey), u"pw"_s);
    QVERIFY(extract(picture).startsWith(picture.toUtf8()));
    RecordingProgress progress;
    const QDir cache(path(u"cache"_s));
    extractMessages(*manifest, cache, progress);
    QVERIFY(!cache.exists(u"file-relay/var/mobile/"_s + picture));
    QVERIFY(QFile::resize(manifest->sourceFile(manifest->smsDatabase->record).value(), 15));
    QVERIFY(extract().startsWith(smsDb.toUtf8()));
    QVERIFY_EXCEPTION_THROWN(extractMessages(*manifest, QDir(path(u"other"_s)), progress),
                             std::runtime_error);
}

// Of the page on which the format is described in public.
void TestModernBackup::derivesAKnownKey()
{
    const QByteArray salt(20, '\0');
    const QByteArray first = pbkdf2Sha256("0000", salt, 10'000'000, {});
    QCOMPARE(pbkdf2Sha1(first, salt, 10'000).toHex(),
             "ec8edc160b5745ccae000bfb4787630f322821191fba7eea38feab2c6307cd9b"_ba);
}

void TestModernBackup::derivationsEndAtOnce()
{
    BackupManifest backup(builder({.firstIterations = 5}).password(u"pw"_s).write());
    backup.loadInfo();
    QVERIFY(backup.isSlowToUnlock() && backup.unlockKeyBag(u"pw"_s));
    const auto keys = backup.keyBagClasses;
    const qsizetype rounds = backup.backupKeyBag.indexOf("DPIC") + 8;
    backup.backupKeyBag.replace(rounds, 4, QByteArray::fromHex("05f5e100")); // as many as are taken
    RecordingProgress progress;
    progress.actAtUpdate = 2;
    QElapsedTimer timer;
    timer.start();
    QVERIFY_EXCEPTION_THROWN((void)backup.unlockKeyBag(u"pw"_s, &progress), int);
    QVERIFY2(timer.elapsed() < 3000, qPrintable(QString::number(timer.elapsed())));
    QCOMPARE(backup.keyBagClasses, keys);
    backup.backupKeyBag.replace(rounds, 4, QByteArray::fromHex("05f5e101"));
    QVERIFY_EXCEPTION_THROWN((void)backup.unlockKeyBag(u"pw"_s), std::runtime_error);
}

void TestModernBackup::keysLieInTheDamagedPropertyList()
{
    const BackupBuilder old = BackupBuilder(QDir(path(u"old"_s))).iterations(3);
    for (const BackupBuilder &backup : {builder(), old}) {
        for (const QString &password : {QString(), u"pw"_s}) {
            BackupBuilder phone(backup);
            const QString folder = phone.file(home, smsDb, "x").password(password).write();
            QVERIFY(writeFile(folder + u"/Manifest.plist"_s, "<pl"));
            manifest = std::make_unique<BackupManifest>(folder);
            const QString failure = failureOf([this] { (void)openBackup(*manifest, std::nullopt); });
            QCOMPARE(failure.startsWith(folder + u"/Manifest.plist"_s), !password.isNull());
            QCOMPARE(manifest->displayName, QDir(folder).dirName());
            QVERIFY(QDir(folder).removeRecursively());
        }
    }
}

void TestModernBackup::aPlainListNeedsNoPropertyList()
{
    for (const QString &password : {QString(), u"pw"_s}) {
        const QString folder = builder().password(password).write();
        QVERIFY(QFile::remove(folder + u"/Manifest.plist"_s));
        manifest = std::make_unique<BackupManifest>(folder);
        const QString failure = failureOf([this] { (void)openBackup(*manifest, std::nullopt); });
        QCOMPARE(failure.contains(u"Manifest.plist"_s), !password.isNull());
        QCOMPARE(listBackups(dir->path()).size(), password.isNull() ? 1 : 0);
        QVERIFY(QDir(folder).removeRecursively());
    }
}

void TestModernBackup::saysWhatIsMissing()
{
    builder().snapshotState(u"uploading"_s).missing(home, smsDb, 5).write();
    const auto backups = listBackups(dir->path());
    QCOMPARE(backups.size(), 1);
    QVERIFY(backups.first()->displayName.contains(u"NOT_FINISHED"_s)); // a key, without the texts
    backups.first()->loadIndex();
    RecordingProgress progress;
    const QDir cache(path(u"cache"_s));
    QVERIFY_EXCEPTION_THROWN(extractMessages(*backups.first(), cache, progress), std::runtime_error);
    QVERIFY(!cache.exists());
}

void TestModernBackup::attachmentsStayInTheBackup_data()
{
    QTest::addColumn<QString>("password");
    QTest::addColumn<QString>("folder"); // as the backup spells it
    QTest::newRow("plain") << QString() << u"Library/SMS/Attachments"_s;
    QTest::newRow("encrypted") << u"pw"_s << u"Library/SMS/Attachments"_s;
    QTest::newRow("in another letter case") << u"pw"_s << u"Library/SMS/attachments"_s;
}

// The film is long enough for two threads.
void TestModernBackup::attachmentsStayInTheBackup()
{
    QFETCH(QString, password);
    QFETCH(QString, folder);
    const QByteArray film = SampleRandom(3).bytes(1'500'000);
    const auto breakKey = [](SampleRecord &record) {
        if (!record.encryptionKey.isEmpty())
            record.encryptionKey[20] = char(~record.encryptionKey[20]);
    };
    BackupBuilder backup = builder().password(password).file(home, smsDb, "messages");
    backup.file(media, folder + u"/a/film.mov"_s, film).file(media, folder + u"/empty"_s, QByteArray());
    backup.file(media, folder + u"/linked"_s, "l").missing(media, folder + u"/gone"_s, 5);
    backup.file(media, folder + u"/broken"_s, "b").with(breakKey);
    backup.write();
    const auto opened = QSharedPointer<BackupManifest>::create(path(u"backup"_s));
    QCOMPARE(openBackup(*opened, password), BackupOpening::Ready);
    const QString linked = opened->sourceFile(opened->findFile(media, folder + u"/linked"_s)->record).value();
    QVERIFY(QFile::rename(linked, path(u"outside"_s)) && QFile::link(path(u"outside"_s), linked));

    RecordingProgress progress;
    const QDir cache(path(u"cache"_s));
    extractMessages(*opened, cache, progress, Attachments::LeftInBackup);
    QCOMPARE(QDir(cache.filePath(u"file-relay/var/mobile/Library/SMS"_s))
                 .entryList(QDir::AllEntries | QDir::NoDotAndDotDot),
             QStringList(u"sms.db"_s));
    BackupAttachments attachments(opened, cache);
    const auto found = [&](const QString &name) {
        return attachments.find(u"~/Library/SMS/Attachments/"_s + name);
    };
    for (const QString &name : {u"gone"_s, u"linked"_s, u"unlisted"_s, u"../../../../outside"_s})
        QVERIFY2(found(name).isEmpty(), qPrintable(name));
    QCOMPARE(found(u"broken"_s).isEmpty(), !password.isNull());
    QCOMPARE(bytesOf(found(u"empty"_s).readablePath()), ""_ba);
    const LocalFile file = found(u"a/film.mov"_s);
    QCOMPARE(file.size(), film.size());
    QVERIFY(file.isThere());
    QCOMPARE(file.readyPath().isEmpty(), !password.isNull());
    QCOMPARE(bytesOf(file.readablePath()), film);
    QCOMPARE(file.readyPath(), file.readablePath());
    file.copyTo(path(u"copy"_s));
    QCOMPARE(bytesOf(path(u"copy"_s)), film);
    QVERIFY_EXCEPTION_THROWN(file.copyTo(path(u"copy"_s)), std::runtime_error); // stays as it is
    QVERIFY(writeFile(cache.filePath(u"file-relay/var/mobile/Library/SMS/Attachments/gone"_s), "kept"));
    QCOMPARE(bytesOf(BackupAttachments(opened, cache).find(u"~/Library/SMS/Attachments/gone"_s).path()),
             "kept"_ba);
}

void TestModernBackup::decipheringIsCancelled()
{
    const QString name = u"Library/SMS/Attachments/film.mov"_s;
    builder().password(u"pw"_s).file(home, smsDb, "m").file(media, name, QByteArray(8'000'000, 'x')).write();
    const auto opened = QSharedPointer<BackupManifest>::create(path(u"backup"_s));
    QCOMPARE(openBackup(*opened, u"pw"_s), BackupOpening::Ready);
    const LocalFile film = BackupAttachments(opened, QDir(path(u"cache"_s))).find(u"~/"_s + name);
    RecordingProgress progress;
    progress.cancelled = true;
    QVERIFY_EXCEPTION_THROWN((void)film.readablePath(&progress), int);
    QVERIFY(film.readyPath().isEmpty());
    QVERIFY(QDir().mkpath(path(u"target"_s)));
    QVERIFY_EXCEPTION_THROWN(film.copyTo(path(u"target/film"_s), &progress), int);
    QVERIFY(QDir(path(u"target"_s)).isEmpty(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot));
    QCOMPARE(QFileInfo(film.readablePath()).size(), 8'000'000);
}

void TestModernBackup::theOldestCopiesGo()
{
    DecipheredFiles copies(QDir(path(u"copies"_s)), 250);
    const auto make = [](int bytes) {
        return [=](const QString &to) { writeFile(to, QByteArray(bytes, 'x')); };
    };
    for (const QString &id : {u"1"_s, u"2"_s}) {
        copies.add(id, u"film"_s, make(100));
        QTest::qWait(5); // dates are told apart by milliseconds
    }
    QVERIFY(!copies.find(u"1"_s, u"film"_s).isEmpty()); // and is the last that was used
    QTest::qWait(5);
    copies.add(u"3"_s, u"film"_s, make(100));
    QStringList kept = QDir(path(u"copies"_s)).entryList(QDir::Dirs | QDir::NoDotAndDotDot, QDir::Name);
    QCOMPARE(kept, QStringList({u"1"_s, u"3"_s}));
    copies.add(u"4"_s, u"film"_s, make(1000)); // larger than all may be: it is wanted now
    kept = QDir(path(u"copies"_s)).entryList(QDir::Dirs | QDir::NoDotAndDotDot, QDir::Name);
    QCOMPARE(kept, QStringList(u"4"_s));
    const auto fail = [](const QString &to) {
        writeFile(to);
        throw std::runtime_error("full");
    };
    QVERIFY_EXCEPTION_THROWN(copies.add(u"5"_s, u"film"_s, fail), std::runtime_error);
    QVERIFY(copies.find(u"5"_s, u"film"_s).isEmpty());
}

// Whoever lent them has wiped its own by then.
void TestModernBackup::keysStayForTheSession()
{
    SessionKeys keys;
    open(builder().password(u"pw"_s).file(home, smsDb, "messages"), u"pw"_s);
    keys.keep(*manifest);
    for (int i = 0; i < 2; ++i) {
        manifest = std::make_unique<BackupManifest>(path(u"backup"_s));
        manifest->loadInfo();
        QVERIFY(keys.unlock(*manifest));
        manifest->loadIndex();
        QCOMPARE(extract(), "messages"_ba);
    }
    BackupManifest other(builder().seed(2).password(u"pw"_s).file(home, smsDb, "x").write());
    other.loadInfo();
    QVERIFY(!keys.unlock(other));
}

QTEST_GUILESS_MAIN(TestModernBackup)
#include "testmodernbackup.moc"
