// The jobs that bring a phone's files to the computer and back: archives of strangers, tools that misbehave,
// phones that are pulled, people who cancel.

#include "app/datalocations.h"
#include "device/backupoptions.h"
#include "device/backuptempdir.h"
#include "device/backupworkspace.h"
#include "device/clients/backupservice.h"
#include "device/devicebackupjobs.h"
#include "device/filerelay.h"
#include "device/servicesocket.h"
#include "testing/builders/backupbuilder.h"
#include "testing/helpers/phonestand.h"
#include "testing/helpers/testtools.h"

#include <QDirIterator>
#include <QRandomGenerator>
#include <QTest>

#include <sys/stat.h>
#include <sys/wait.h>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace
{

struct Entry {
    QByteArray name;
    unsigned type = S_IFREG;
    QByteArray content = {};
};

/// Nobody looks at the sums at its end.
QByteArray compressed(const QByteArray &bytes)
{
    return QByteArray("\x1f\x8b\x08\0\0\0\0\0\0\0", 10) + qCompress(bytes).mid(6).chopped(4) +
           QByteArray(8, '\0');
}

/// A compressed "cpio" archive.
QByteArray archiveOf(const QList<Entry> &entries)
{
    QByteArray bytes;
    const auto number = [](qsizetype value) { return QByteArray::number(value, 16).rightJustified(8, '0'); };
    const auto fillUp = [&bytes] { bytes.append(-bytes.size() & 3, '\0'); };
    for (const Entry &entry : entries + QList<Entry>({{"TRAILER!!!"}})) {
        bytes += "07070100000000" + number(entry.type) + QByteArray(24, '0') + number(1'400'000'000) +
                 number(entry.content.size()) + QByteArray(32, '0') + number(entry.name.size() + 1) +
                 QByteArray(8, '0') + entry.name + '\0';
        fillUp();
        bytes += entry.content;
        fillUp();
    }
    return compressed(bytes);
}

/// Runs `job` to its end; what stands in for the person's "Cancel" is the flag in `notes`.
void runToItsEnd(BackupToolThread &job, const RecordingProgress &notes)
{
    job.start();
    while (!job.wait(5)) {
        if (notes.cancelled)
            job.cancel();
    }
}

/// Everything that a job could leave open: descriptors, threads, and, far too many to miss, processes.
qsizetype resourcesInUse()
{
    const auto count = [](const QString &path) { return QDir(path).entryList(QDir::NoFilter).size(); };
    const bool hasChild = ::waitpid(-1, nullptr, WNOHANG) >= 0;
    return count(u"/proc/self/fd"_s) + count(u"/proc/self/task"_s) + (hasChild ? 1000 : 0);
}

/// All files below `folder`, as "name:content", but for the one that differs from computer to computer and
/// the mark of a cache.
QByteArrayList filesIn(const QDir &folder)
{
    QByteArrayList files;
    QDirIterator found(folder.path(), QDir::Files | QDir::Hidden, QDirIterator::Subdirectories);
    while (found.hasNext()) {
        const QString path = found.next();
        files.append(folder.relativeFilePath(path).toUtf8() + ':' + bytesOf(path));
    }
    files.removeIf([](const QByteArray &file) {
        return file.startsWith("Info.plist") || file.startsWith("CACHEDIR.TAG:");
    });
    std::sort(files.begin(), files.end());
    return files;
}

/// A job on a phone. Tells whether what it left on the disk agrees with what it said: nothing, if all is
/// well.
using Work = std::function<bool(IOSDevice &, const FakePhone &, RecordingProgress &)>;

bool loadByRelay(IOSDevice &device, const FakePhone &phone, RecordingProgress &notes)
{
    runJob(notes, [&] { return loadFileRelay(device, notes) ? QString() : u"stopped early"_s; });
    const QByteArrayList files = filesIn(device.cacheDir().filePath(u"file-relay"_s));
    return !notes.outcome.isEmpty() || files == QByteArrayList({"a:" + phone.udid.toUtf8(), "b:b"});
}

bool backUp(IOSDevice &device, const FakePhone &phone, RecordingProgress &notes)
{
    IOSMobileBackupThread job(&device, &notes);
    runToItsEnd(job, notes);
    const QDir folder(job.backupRoot().filePath(device.uniqueDeviceID));
    const bool hasNothingBeside = job.backupRoot().entryList({u"*.new"_s}, QDir::Dirs).isEmpty();
    const bool isWhole = filesIn(folder) == filesIn(phone.backup);
    return hasNothingBeside && (isWhole || (!notes.outcome.isEmpty() && !folder.exists()));
}

bool putBack(IOSDevice &device, const FakePhone &phone, RecordingProgress &notes)
{
    IOSMobileRestoreThread job(&device, iosBackupTempDir(), &notes);
    runToItsEnd(job, notes);
    return !notes.outcome.isEmpty() || filesIn(phone.restored) == filesIn(phone.backup);
}

bool askBackupService(IOSDevice &device, const FakePhone &phone, RecordingProgress &notes)
{
    runJob(notes, [&] {
        ServiceSocket socket;
        mobiledevice_backup2_start(device.device, socket.target());
        const double version = 2.1;
        mobiledevice_backup2_version_exchange(socket.descriptor(), &version, 1);
        mobiledevice_backup2_set_cloud_backup(socket.descriptor(), phone.udid, true);
        return QString();
    });
    return true;
}

enum class Event { Pulled, GivenUp, GivenUpAtReport };

} // namespace

class TestDeviceJobs : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void cleanup() { qputenv("PATH", path); }
    void unpacksOnlyBelowItsFolder_data();
    void unpacksOnlyBelowItsFolder();
    void noticesACutArchive();
    void endsWellInEachStage_data();
    void endsWellInEachStage();
    void endsTheToolGently();
    void keepsTwoPhonesApart();
    void judgesTheTool_data();
    void judgesTheTool();
    void removesWhatCantBeContinued();
    void keepsTheLastGoodBackup();
    void saysWhyARestoreFailed_data();
    void saysWhyARestoreFailed();
    void refusesAsThePhoneIsSet();
    void remembersTheVolume();
    void keepsBackupsToItself();

private:
    IOSDevice plugIn(FakePhone &phone);
    FakePhone &newFullPhone();
    void replaceTool(const QByteArray &script);

    const QByteArray path = qgetenv("PATH");
    PhoneStand stand;
    QTemporaryDir phoneFiles;
};

IOSDevice TestDeviceJobs::plugIn(FakePhone &phone)
{
    IOSDevice device = readDevice(stand.plugIn(phone));
    device.cacheDir().removeRecursively();
    return device;
}

FakePhone &TestDeviceJobs::newFullPhone()
{
    FakePhone &phone = stand.newPhone();
    phone.sessionsAreEnciphered = false; // there are hundreds of them
    phone.relayArchive = archiveOf({{"a", S_IFREG, phone.udid.toUtf8()}, {"b", S_IFREG, "b"}});
    phone.backup.setPath(phoneFiles.filePath(phone.udid + u'/' + phone.udid));
    phone.restored.setPath(phoneFiles.filePath(phone.udid + u"/restored"_s));
    phone.media.setPath(phoneFiles.path());
    BackupBuilder(phone.backup).file(u"HomeDomain"_s, u"Library/of"_s, phone.udid.toUtf8()).write();
    return phone;
}

/// Until the end of the test; a null `script` for a system without the tool.
void TestDeviceJobs::replaceTool(const QByteArray &script)
{
    const QString tool = phoneFiles.filePath(u"idevicebackup2"_s);
    QFile::remove(tool);
    if (!script.isNull() && writeFile(tool, "#!/bin/sh\n" + script + '\n'))
        QFile::setPermissions(tool, QFile::ReadOwner | QFile::ExeOwner);
    qputenv("PATH", phoneFiles.path().toUtf8() + (script.isNull() ? QByteArray() : ":" + path));
}

void TestDeviceJobs::unpacksOnlyBelowItsFolder_data()
{
    QTest::addColumn<QByteArray>("archive");
    QTest::addColumn<QByteArrayList>("left"); ///< with a log of an earlier run
    const auto row = [](const char *name, const QList<Entry> &entries, const QByteArrayList &left) {
        QTest::newRow(name) << archiveOf(entries) << left;
    };
    const QByteArray log = "sms/sms.db-wal:old";
    row("dot and slash at the ends go", {{"./var/", S_IFDIR}, {"./var/db", S_IFREG, "hello"}},
        {log, "var/db:hello"});
    row("forbidden signs go, the later one wins", {{"ab:c", S_IFREG, "long"}, {"a:b?c", S_IFREG, "x"}},
        {"abc:x", log});
    row("a link is an empty file", {{"link", S_IFLNK, "/etc/passwd"}}, {"link:", log});
    row("a pipe is nothing", {{"pipe", S_IFIFO}}, {log});
    row("upwards", {{"../out"}}, {log});
    row("upwards in the middle", {{"./a/../../out"}}, {log});
    row("absolute", {{"/tmp/marrowlight-out"}}, {log});
    row("drive", {{"C:", S_IFREG, "x"}}, {"C:x", log});
    QTest::newRow("tar") << bytesOf(QStringLiteral(CORPUS "archive/tar"))
                         << QByteArrayList({"d/f:hello", log});
    QTest::newRow("nothing") << QByteArray() << QByteArrayList({log});
    row("an endless name ends it", {{"a", S_IFREG, "x"}, {QByteArray(70'000, 'b')}}, {"a:x", log});
    row("a new database, an old log", {{"sms/sms.db", S_IFREG, "x"}}, {"sms/sms.db:x"});
}

void TestDeviceJobs::unpacksOnlyBelowItsFolder()
{
    QFETCH(QByteArray, archive);
    FakePhone &phone = stand.newPhone();
    phone.relayArchive = archive;
    const IOSDevice device = plugIn(phone);
    const QDir cache = device.cacheDir();
    QVERIFY(writeFile(cache.filePath(u"file-relay/sms/sms.db-wal"_s), "old"));
    RecordingProgress notes;
    loadFileRelay(device, notes);
    QTEST(filesIn(cache.filePath(u"file-relay"_s)), "left");
    QCOMPARE(cache.entryList(QDir::AllEntries | QDir::NoDotAndDotDot), QStringList({u"file-relay"_s}));
    const QFileInfo file(cache.filePath(u"file-relay/abc"_s));
    QVERIFY(!file.exists() || file.lastModified().toSecsSinceEpoch() == 1'400'000'000);
}

// Cut where a piece that is unpacked and an entry end alike: what came looks whole.
void TestDeviceJobs::noticesACutArchive()
{
    const QByteArray tar = bytesOf(QStringLiteral(CORPUS "archive/tar"));
    const QByteArray piece = tar.first(512).repeated(126) + tar.mid(512, 1024);
    FakePhone &phone = stand.newPhone();
    QList<quint32> noise(1000); // doesn't shrink
    QRandomGenerator(1).fillRange(noise.data(), noise.size());
    const QByteArray rest(reinterpret_cast<const char *>(noise.constData()), noise.size() * 4);
    phone.relayArchive = compressed(piece + rest).chopped(1000);
    const IOSDevice device = plugIn(phone);
    RecordingProgress notes;
    QVERIFY(!loadFileRelay(device, notes));
    QCOMPARE(filesIn(device.cacheDir().filePath(u"file-relay"_s)), QByteArrayList({"d/f:hello"}));
}

void TestDeviceJobs::endsWellInEachStage_data()
{
    QTest::addColumn<Work>("work");
    QTest::addColumn<Event>("event");
    QTest::addColumn<int>("stride"); ///< the tool takes its time, not each of its turns is tried
    QTest::newRow("file relay, pulled") << Work(loadByRelay) << Event::Pulled << 1;
    QTest::newRow("file relay, given up") << Work(loadByRelay) << Event::GivenUp << 1;
    QTest::newRow("file relay, given up while unpacking") << Work(loadByRelay) << Event::GivenUpAtReport << 1;
    QTest::newRow("backup, pulled") << Work(backUp) << Event::Pulled << 5;
    QTest::newRow("backup, given up") << Work(backUp) << Event::GivenUp << 9;
    QTest::newRow("restore, pulled") << Work(putBack) << Event::Pulled << 3;
    QTest::newRow("restore, given up") << Work(putBack) << Event::GivenUp << 9;
    QTest::newRow("backup service, pulled") << Work(askBackupService) << Event::Pulled << 1;
}

// Something happens before the first thing that the phone says, then, in a new run, before a later one, until
// a run ends without it.
void TestDeviceJobs::endsWellInEachStage()
{
    QFETCH(Work, work);
    QFETCH(Event, event);
    QFETCH(int, stride);
    FakePhone &phone = newFullPhone();
    IOSDevice device = plugIn(phone);
    RecordingProgress made;
    QVERIFY(backUp(device, phone, made) && made.outcome.isEmpty()); // for a restore
    const qsizetype before = resourcesInUse();
    JobProgress *current = nullptr;
    phone.atTurn = [&] {
        if (event == Event::Pulled)
            return stand.yank(phone);
        current->cancelled = true;
        std::this_thread::sleep_for(300ms); // as a phone that is stuck
    };
    for (int step = 1, hasHappened = true; hasHappened; step += stride) {
        RecordingProgress notes;
        notes.actAtUpdate = event == Event::GivenUpAtReport ? step : -1;
        current = &notes;
        phone.turn = -1;
        QVERIFY(stand.pullOut(phone, device.device));
        device = plugIn(phone);
        phone.piecesSent = 0;
        phone.turn = event == Event::GivenUpAtReport ? -1 : step;
        QElapsedTimer clock;
        clock.start();
        const bool agrees = work(device, phone, notes);
        QVERIFY(clock.elapsed() < 10'000);
        hasHappened = notes.cancelled || (event == Event::Pulled && phone.piecesSent >= step);
        const bool isSilent = notes.outcome.isEmpty() || notes.outcome == RecordingProgress().outcome;
        QVERIFY2(notes.cancelled ? isSilent : agrees && (hasHappened || isSilent), qPrintable(notes.outcome));
    }
    phone.turn = -1;
    plugIn(phone);
    QTRY_VERIFY(resourcesInUse() < before + 6);
}

// A tool that is killed doesn't tell the phone that it is no longer being synchronised.
void TestDeviceJobs::endsTheToolGently()
{
    FakePhone &phone = newFullPhone();
    IOSDevice device = plugIn(phone);
    RecordingProgress notes;
    phone.atTurn = [&] {
        notes.cancelled = !phone.posted().isEmpty(); // by the tool, which has begun
        if (notes.cancelled)
            std::this_thread::sleep_for(500ms);
        else
            phone.turn = phone.piecesSent + 1;
    };
    phone.turn = phone.piecesSent + 1;
    backUp(device, phone, notes);
    QVERIFY(notes.cancelled);
    QVERIFY2(phone.posted().contains(u"com.apple.itunes-mobdev.syncDidFinish"_s),
             qPrintable(phone.posted().join(u' ')));
}

void TestDeviceJobs::keepsTwoPhonesApart()
{
    FakePhone &ann = newFullPhone();
    FakePhone &bob = newFullPhone();
    IOSDevice annsPhone = plugIn(ann);
    IOSDevice bobsPhone = plugIn(bob);
    RecordingProgress relayed;
    RecordingProgress backedUp;
    std::thread backup([&] { QVERIFY(backUp(bobsPhone, bob, backedUp)); });
    QVERIFY(loadByRelay(annsPhone, ann, relayed));
    backup.join();
    QCOMPARE(relayed.outcome + backedUp.outcome, QString());
}

void TestDeviceJobs::judgesTheTool_data()
{
    QTest::addColumn<QByteArray>("script");
    QTest::addColumn<QString>("error"); ///< empty: it went well, or was given up
    QTest::addColumn<bool>("isFull");
    const auto row = [](const char *name, const QByteArray &script, const QString &error = {},
                        bool isFull = false) { QTest::newRow(name) << script << error << isFull; };
    const QString failed = u"The backup tool failed.\n"_s;
    row("error in a path is none", "echo In /home/error: 0 errors; echo Backup Successful.");
    row("fails without a word", "exit 3", failed + u'\n');
    row("a code that was cut to nothing", "echo 'Backup Failed (Error Code 256).'",
        failed + u"\nBackup Failed (Error Code 256).\n"_s);
    row("both channels", "echo Backup Successful.; echo No >&2; exit 1",
        failed + u"No\n\nBackup Successful.\n"_s);
    row("what stands behind a NUL isn't seen", "printf 'no\\0Backup Successful.'", failed + u"\nno"_s);
    row("the last line in two pieces", "printf Succ; sleep 0.5; printf essful");
    row("killed", "kill -9 $$", u"The backup tool crashed.\n\n"_s);
    row("missing", {}, u"can not start AppleMobileBackup process."_s);
    row("hangs", "exec sleep 300");
    row("won't end", "trap '' TERM; while :; do sleep 1; done");
    row("prints without end", "exec yes error");
    const QString full = QDir::tempPath() + u": the disk is too full for a backup of the phone."_s;
    row("no room in the middle", "exec sleep 300", full, true);
    row("no room at the end", "echo Successful", full, true);
}

void TestDeviceJobs::judgesTheTool()
{
    QFETCH(QByteArray, script);
    QFETCH(bool, isFull);
    replaceTool(script);
    backup2tool tool(stand.plugIn(stand.newPhone()), u"me"_s, QDir::temp());
    tool.setLeastRoom(isFull ? Q_INT64_C(1) << 60 : 0);
    tool.setPatience(100);
    int ticks = 0;
    connect(&tool, &backup2tool::update, &tool, [&](double percent, const QString &, const QString &) {
        if (percent > 99 || ++ticks == 6)
            tool.cancel();
    });
    const QString error = failureOf([&] { tool.run({0}); });
    QTEST(error.section(u" Make room"_s, 0, 0), "error");
    QVERIFY(::waitpid(-1, nullptr, WNOHANG) < 0);
    QVERIFY_EXCEPTION_THROWN(tool.run({2}), std::runtime_error);
}

void TestDeviceJobs::removesWhatCantBeContinued()
{
    replaceTool("ls \"$4\" >&2; seq 50 | sed \"s/^/Sending 'error/\"; echo \"error <5>\"; echo End; exit 5");
    FakePhone &phone = stand.newPhone();
    IOSDevice device = plugIn(phone);
    iosBackupTempDir().removeRecursively();
    const QDir folder(iosBackupTempDir().filePath(phone.udid));
    BackupBuilder(folder).write();
    QVERIFY(canContinueBackup(folder, u"6.1.4"_s) && !canContinueBackup(folder, u"6.1.5"_s));
    BackupBuilder(folder).snapshotState(u"uploading"_s).write();
    RecordingProgress notes;
    QVERIFY(backUp(device, phone, notes));
    QCOMPARE(
        notes.outcome,
        u"The backup tool failed.\nerror &lt;5&gt;\nEnd<br/><br/>Note: You can restart your device to try again."_s);
    QVERIFY(notes.details.endsWith(u"Sending 'error50\nerror <5>\nEnd\n"_s));
}

void TestDeviceJobs::keepsTheLastGoodBackup()
{
    FakePhone &phone = newFullPhone();
    phone.relayedNotifications = QStringList({u"com.apple.LocalAuthentication.ui.presented"_s});
    IOSDevice device = plugIn(phone);
    RecordingProgress first;
    QVERIFY(backUp(device, phone, first) && first.outcome.isEmpty());
    QVERIFY(first.statuses.contains(u"IDS_ENTER_PASSCODE_ON_PHONE"_s));
    const QDir folder(iosBackupTempDir().filePath(phone.udid));
    phone.backupRefusal = u"Device locked"_s;
    phone.refusalCode = 208;
    RecordingProgress refused;
    backUp(device, phone, refused);
    QVERIFY2(refused.outcome.startsWith(u"IDS_PHONE_ERROR_LOCKED<br/>"_s), qPrintable(refused.outcome));
    QVERIFY(filesIn(folder) == filesIn(phone.backup));
    // A power cut between the two renames at the end: the old one comes back.
    QVERIFY(QDir(folder.path() + u".new"_s).mkpath(u"."_s));
    QVERIFY(QDir().rename(folder.path(), folder.path() + u".new/replaced"_s));
    device.productVersion = u"7.0"_s;
    backUp(device, phone, refused);
    QVERIFY(filesIn(folder) == filesIn(phone.backup));
    phone.backupRefusal.clear();
    RecordingProgress second;
    QVERIFY(backUp(device, phone, second) && second.outcome.isEmpty());
}

void TestDeviceJobs::saysWhyARestoreFailed_data()
{
    QTest::addColumn<QString>("refusal"); ///< empty: nobody enters the passcode
    QTest::addColumn<QString>("text");
    const auto row = [](const char *name, const QString &refusal, const QString &text) {
        QTest::newRow(name) << refusal << text;
    };
    const QString room = u"insufficient free disk space on device to restore (5 < %1)"_s;
    const QString note = u"<br/><br/>Note: You can restart your device to try again.$"_s;
    row("Find My iPhone", u"Find my iphone MUST be disabled <now>"_s,
        u"^Please follow <a href=\"http.*<br/><br/>$"_s);
    row("1.3 GB", room.arg(1395864371), u"^1 GB free disk space on your device is"_s);
    row("12.7 GB", room.arg(Q_INT64_C(13636521164)), u"^1e\\+01 GB free disk space"_s);
    row("anything else", u"<b>"_s, u"&lt;b&gt;.*"_s + note);
    row("passcode not entered", {}, u"\nERROR: .*"_s + note);
}

void TestDeviceJobs::saysWhyARestoreFailed()
{
    QFETCH(QString, refusal);
    QFETCH(QString, text);
    FakePhone &phone = newFullPhone();
    phone.restoreRefusal = refusal;
    IOSDevice device = plugIn(phone);
    RecordingProgress notes;
    QVERIFY(backUp(device, phone, notes) && notes.outcome.isEmpty());
    phone.trust = refusal.isEmpty() ? Trust::PasscodeWanted : Trust::Given;
    putBack(device, phone, notes);
    const QRegularExpression wanted(text, QRegularExpression::DotMatchesEverythingOption);
    QVERIFY2(wanted.match(notes.outcome).hasMatch(), qPrintable(notes.outcome));
}

void TestDeviceJobs::refusesAsThePhoneIsSet()
{
    const auto refusalOf = [this](bool cloud, bool encrypted, bool isTransfer) {
        FakePhone &phone = stand.newPhone();
        phone.domains[u"com.apple.mobile.backup"_s] = {{u"CloudBackupEnabled"_s, cloud},
                                                       {u"WillEncrypt"_s, encrypted}};
        return backupRefusal(plugIn(phone), true, isTransfer).value_or(BackupRefusal()).picture;
    };
    QCOMPARE(refusalOf(true, true, true), u":res/close_icloudbk.jpg"_s);
    QCOMPARE(refusalOf(false, true, true), u":res/close_itunesbkenc.jpg"_s);
    QVERIFY(refusalOf(false, true, false).isEmpty());
}

void TestDeviceJobs::remembersTheVolume()
{
    QVERIFY(writeFile(dataRoot().filePath(u"__marrowlight_iosbk_temp.path"_s), "/no/such/disk"));
    QCOMPARE(iosBackupTempDir().path(), u"/no/such/disk/__marrowlight_iosbk_temp"_s);
    clearIosBackupTemp();
    const QString place = QFileInfo(iosBackupTempDir().path()).path();
    QVERIFY(QFileInfo(place).isDir() && QFileInfo(place).isWritable());
}

void TestDeviceJobs::keepsBackupsToItself()
{
    const QString folder = iosBackupTempDir().absolutePath();
    IOSDevice phone;
    phone.uniqueDeviceID = u"me"_s;
    QVERIFY(QDir().mkpath(folder) && QFile::setPermissions(folder, QFile::Permissions(0x7775)));
    {
        const PhoneBackupLock first(phone);
        QVERIFY(failureOf([&] { PhoneBackupLock second(phone); }).contains(u"loaded already"_s));
    }
    QCOMPARE(int(QFileInfo(folder).permissions()) & 0x77, 0);
    clearIosBackupTemp();
    QVERIFY(QFile::link(QDir::tempPath(), iosBackupTempDir().absolutePath()));
    QVERIFY(failureOf(makeIosBackupTempDir).contains(u"no folder of yours"_s));
    QVERIFY(QFile::remove(iosBackupTempDir().absolutePath()));
}

QTEST_GUILESS_MAIN(TestDeviceJobs)
#include "testdevicejobs.moc"
