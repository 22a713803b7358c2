// The jobs that bring a phone's files to the computer and back: archives of strangers, tools that misbehave,
// phones that are pulled, people who cancel.

#include "backupbuilder.h"
#include "backupoptions.h"
#include "backuptempdir.h"
#include "datalocations.h"
#include "devicebackupjobs.h"
#include "filerelay.h"
#include "jobprogress.h"
#include "phonestand.h"

#include <QTest>

#include <archive.h>
#include <archive_entry.h>

using namespace Qt::StringLiterals;

namespace
{

/// Keeps what a job says.
class Notes final : public JobProgress
{
public:
    void updateProgress(const QString &, int, const QString &) override
    {
        if (++updates == cancelAt)
            cancelled = true;
    }
    void errorOccurred(const QString &err) override { error = err; }
    void succeed(const QString &) override { hasSucceeded = true; }
    void tipsWait(const QString &) override {}

    int cancelAt = -1;
    int updates = 0;
    QString error;
    bool hasSucceeded = false;
};

struct Entry {
    const char *name;
    unsigned type = AE_IFREG;
    const char *content = "";
};

/// A compressed "cpio" archive.
QByteArray archiveOf(const QList<Entry> &entries)
{
    QByteArray bytes(1 << 20, '\0');
    size_t used = 0;
    archive *const writer = archive_write_new();
    archive_write_add_filter_gzip(writer);
    archive_write_set_format_cpio_newc(writer);
    archive_write_open_memory(writer, bytes.data(), size_t(bytes.size()), &used);
    for (const Entry &entry : entries) {
        archive_entry *const header = archive_entry_new();
        archive_entry_set_pathname(header, entry.name);
        archive_entry_set_filetype(header, entry.type);
        archive_entry_set_perm(header, 0644);
        archive_entry_set_mtime(header, 1'400'000'000, 0);
        archive_entry_set_size(header, qint64(qstrlen(entry.content)));
        if (entry.type == AE_IFLNK)
            archive_entry_set_symlink(header, "/etc/passwd");
        archive_write_header(writer, header);
        archive_write_data(writer, entry.content, qstrlen(entry.content));
        archive_entry_free(header);
    }
    archive_write_free(writer);
    return bytes.first(qsizetype(used));
}

/// Stands in for the backup tool in the search path, for as long as it lives.
class ToolInPath
{
public:
    explicit ToolInPath(const QByteArray &script) : path(qgetenv("PATH"))
    {
        QFile tool(folder.filePath(u"idevicebackup2"_s));
        if (!script.isNull() && tool.open(QIODevice::WriteOnly)) {
            tool.write("#!/bin/sh\n" + script + '\n');
            tool.setPermissions(tool.permissions() | QFile::ExeOwner);
        }
        qputenv("PATH", folder.path().toUtf8() + (script.isNull() ? QByteArray() : ":" + path));
    }
    ~ToolInPath() { qputenv("PATH", path); }

private:
    QByteArray path;
    QTemporaryDir folder;
};

QByteArrayList filesIn(const QDir &folder)
{
    QByteArrayList files;
    for (const QFileInfo &info : folder.entryInfoList(QDir::Files, QDir::Name)) {
        QFile file(info.filePath());
        if (info.fileName() != u"Info.plist"_s && file.open(QIODevice::ReadOnly))
            files.append(info.fileName().toUtf8() + ':' + file.readAll());
    }
    return files;
}

} // namespace

class TestDeviceJobs : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void unpacksOnlyBelowItsFolder_data();
    void unpacksOnlyBelowItsFolder();
    void keepsWhatCameOfAPulledPhone();
    void cancelsInEachStage();
    void judgesTheTool_data();
    void judgesTheTool();
    void cancelEndsTheTool_data();
    void cancelEndsTheTool();
    void bringsABackupAndPutsItBack();
    void removesWhatCantBeContinued();
    void saysWhyARestoreFailed_data();
    void saysWhyARestoreFailed();
    void refusesAsThePhoneIsSet();
    void remembersTheVolume();

private:
    IOSDevice plugIn(FakePhone &phone);
    PhoneStand stand;
};

IOSDevice TestDeviceJobs::plugIn(FakePhone &phone)
{
    IOSDevice device = readDevice(stand.plugIn(phone));
    device.cacheDir().removeRecursively();
    return device;
}

void TestDeviceJobs::unpacksOnlyBelowItsFolder_data()
{
    QTest::addColumn<QList<Entry>>("entries");
    QTest::addColumn<QString>("lands"); ///< file below "file-relay", empty for none
    QTest::addColumn<QString>("content");
    const auto one = [](const char *name, unsigned type = AE_IFREG) {
        return QList<Entry>({{name, type, type == AE_IFREG ? "x" : ""}});
    };
    QTest::newRow("the leading dot goes")
        << QList<Entry>({{"./var", AE_IFDIR}, {"./var/sms.db", AE_IFREG, "hello"}}) << u"var/sms.db"_s
        << u"hello"_s;
    QTest::newRow("forbidden signs go") << one("a:b?c") << u"abc"_s << u"x"_s;
    QTest::newRow("later one wins") << QList<Entry>({{"a:b", AE_IFREG, "long"}, {"ab", AE_IFREG, "s"}})
                                    << u"ab"_s << u"s"_s;
    QTest::newRow("a link is an empty file") << one("link", AE_IFLNK) << u"link"_s << QString();
    QTest::newRow("a pipe is nothing") << one("pipe", AE_IFIFO) << QString() << QString();
    QTest::newRow("upwards") << one("../out") << QString() << QString();
    QTest::newRow("upwards in the middle") << one("./a/../../out") << QString() << QString();
    QTest::newRow("absolute") << one("/tmp/marrowlight-out") << QString() << QString();
    QTest::newRow("drive") << one("C:") << u"C"_s << u"x"_s;
}

void TestDeviceJobs::unpacksOnlyBelowItsFolder()
{
    QFETCH(QList<Entry>, entries);
    QFETCH(QString, lands);
    FakePhone &phone = stand.newPhone();
    phone.relayArchive = archiveOf(entries);
    const IOSDevice device = plugIn(phone);
    Notes notes;
    loadFileRelay(device, notes);
    const QDir cache = device.cacheDir();
    QCOMPARE(cache.entryList(QDir::AllEntries | QDir::NoDotAndDotDot), QStringList({u"file-relay"_s}));
    QFile file(cache.filePath(u"file-relay/"_s + lands));
    if (lands.isEmpty()) {
        QVERIFY(QDir(file.fileName()).isEmpty());
        return;
    }
    QVERIFY(file.open(QIODevice::ReadOnly) && !QFileInfo(file.fileName()).isSymLink());
    QTEST(QString::fromUtf8(file.readAll()), "content");
    QCOMPARE(QFileInfo(file).lastModified().toSecsSinceEpoch(), 1'400'000'000);
}

void TestDeviceJobs::keepsWhatCameOfAPulledPhone()
{
    FakePhone &phone = stand.newPhone();
    phone.relayArchive = archiveOf({{"whole", AE_IFREG, "whole"}});
    phone.relayBytes = Q_INT64_C(1) << 40;
    IOSDevice device = plugIn(phone);
    Notes notes;
    IOSLoadFileRelayThread job(&device, &notes);
    job.start();
    QTRY_VERIFY(QFileInfo(device.cacheDir().filePath(u"file-relay.cpio"_s)).size() > 1 << 20);
    QVERIFY(stand.pullOut(phone, device.device));
    QVERIFY(job.wait(20'000) && notes.hasSucceeded);
    QVERIFY(QFile::exists(device.cacheDir().filePath(u"file-relay/whole"_s)));
}

void TestDeviceJobs::cancelsInEachStage()
{
    FakePhone &phone = stand.newPhone();
    phone.relayArchive = archiveOf({{"a", AE_IFREG, "a"}, {"b", AE_IFREG, "b"}});
    IOSDevice device = plugIn(phone);
    for (int stage = 2; stage < 6; ++stage) {
        Notes notes;
        notes.cancelAt = stage;
        IOSLoadFileRelayThread job(&device, &notes);
        job.start();
        QVERIFY(job.wait(20'000) && !notes.hasSucceeded && notes.error.isEmpty());
        QVERIFY(QFile::exists(device.cacheDir().filePath(u"file-relay.cpio"_s)));
    }
}

void TestDeviceJobs::judgesTheTool_data()
{
    QTest::addColumn<QByteArray>("script");
    QTest::addColumn<QString>("error"); ///< empty: it went well
    QTest::newRow("silence is success") << QByteArray("exit 3") << QString();
    QTest::newRow("error in any case, both channels")
        << QByteArray("echo fine; echo Some ERROR >&2") << u"Some ERROR\n\nfine\n"_s;
    QTest::newRow("what stands behind a NUL isn't seen")
        << QByteArray("printf 'well\\0error' >&2; echo error") << QString();
    QTest::newRow("a word that comes in two pieces")
        << QByteArray("printf er; sleep 0.5; printf ror") << u"\nerror"_s;
    QTest::newRow("killed") << QByteArray("kill -9 $$") << u"The backup tool crashed.\n\n"_s;
    QTest::newRow("missing") << QByteArray() << u"can not start AppleMobileBackup process."_s;
}

void TestDeviceJobs::judgesTheTool()
{
    QFETCH(QByteArray, script);
    const ToolInPath inPath(script);
    backup2tool tool(stand.plugIn(stand.newPhone()), u"me"_s, QDir::temp());
    QString error;
    try {
        tool.run({0});
    } catch (const std::exception &thrown) {
        error = QString::fromUtf8(thrown.what());
    }
    QTEST(error, "error");
    QVERIFY_EXCEPTION_THROWN(tool.run({2}), std::runtime_error);
}

void TestDeviceJobs::cancelEndsTheTool_data()
{
    QTest::addColumn<QByteArray>("script");
    QTest::newRow("hangs") << QByteArray("exec sleep 300");
    QTest::newRow("prints without end") << QByteArray("exec yes error");
}

void TestDeviceJobs::cancelEndsTheTool()
{
    QFETCH(QByteArray, script);
    const ToolInPath inPath(script);
    backup2tool tool(stand.plugIn(stand.newPhone()), u"me"_s, QDir::temp());
    int ticks = 0;
    connect(&tool, &backup2tool::update, &tool, [&](double percent, const QString &, const QString &) {
        QVERIFY(percent <= 99);
        if (++ticks == 3)
            tool.cancel();
    });
    tool.run({0});
    QCOMPARE(ticks, 3);
}

void TestDeviceJobs::bringsABackupAndPutsItBack()
{
    const QTemporaryDir phoneFiles;
    const QTemporaryDir restored;
    FakePhone &phone = stand.newPhone();
    BackupBuilder(QDir(phoneFiles.filePath(u"bk"_s))).write();
    phone.backup.setPath(phoneFiles.filePath(u"bk"_s));
    phone.restored.setPath(restored.path());
    phone.media.setPath(phoneFiles.path());
    IOSDevice device = plugIn(phone);
    Notes notes;
    IOSMobileBackupThread backup(&device, &notes);
    backup.start();
    QVERIFY(backup.wait(60'000));
    QVERIFY2(notes.hasSucceeded, qPrintable(notes.error));
    const QDir folder(backup.backupRoot().filePath(phone.udid));
    QCOMPARE(filesIn(folder), filesIn(phone.backup));
    IOSMobileRestoreThread restore(&device, backup.backupRoot(), &notes);
    notes.hasSucceeded = false;
    restore.start();
    QVERIFY(restore.wait(60'000));
    QVERIFY2(notes.hasSucceeded, qPrintable(notes.error));
    QCOMPARE(filesIn(restored.path()), filesIn(phone.backup));
}

void TestDeviceJobs::removesWhatCantBeContinued()
{
    const ToolInPath inPath("echo error \"<5>\"");
    IOSDevice device = plugIn(stand.newPhone());
    const QDir folder(iosBackupTempDir().filePath(device.uniqueDeviceID));
    BackupBuilder(folder.path()).write();
    QVERIFY(!canContinueBackup(folder, u"1.0"_s));
    Notes notes;
    IOSMobileBackupThread job(&device, &notes);
    job.start();
    QVERIFY(job.wait(20'000) && !folder.exists());
    QCOMPARE(notes.error, u"\nerror &lt;5&gt;\n<br/><br/>Note: You can restart your device to try again."_s);
}

void TestDeviceJobs::saysWhyARestoreFailed_data()
{
    QTest::addColumn<QString>("output");
    QTest::addColumn<QString>("start");
    const QString room = u"error: insufficient free disk space on device to restore (5 < %1)"_s;
    QTest::newRow("Find My iPhone") << u"error find my iphone MUST be disabled <now>"_s
                                    << u"Please follow <a href=\"http"_s;
    QTest::newRow("1.3 GB") << room.arg(1395864371) << u"1 GB free disk space on your device is required"_s;
    QTest::newRow("12.7 GB") << room.arg(Q_INT64_C(13636521164)) << u"1e+01 GB free disk space"_s;
    QTest::newRow("anything else") << u"error <b>"_s << u"error &lt;b&gt;<br/><br/>Note: You can restart"_s;
}

void TestDeviceJobs::saysWhyARestoreFailed()
{
    QFETCH(QString, output);
    QFETCH(QString, start);
    QVERIFY2(restoreFailureText(output).startsWith(start), qPrintable(restoreFailureText(output)));
}

void TestDeviceJobs::refusesAsThePhoneIsSet()
{
    const auto refusalOf = [this](bool cloud, bool encrypted, bool isTransfer) {
        FakePhone &phone = stand.newPhone();
        phone.domains[u"com.apple.mobile.backup"_s] = {{u"CloudBackupEnabled"_s, cloud},
                                                       {u"WillEncrypt"_s, encrypted}};
        const std::optional<BackupRefusal> refusal = backupRefusal(plugIn(phone), true, isTransfer);
        return refusal ? refusal->picture : QString();
    };
    QCOMPARE(refusalOf(true, true, true), u":res/close_icloudbk.jpg"_s);
    QCOMPARE(refusalOf(false, true, true), u":res/close_itunesbkenc.jpg"_s);
    QVERIFY(refusalOf(false, true, false).isEmpty());
}

void TestDeviceJobs::remembersTheVolume()
{
    QFile note(dataRoot().filePath(u"__marrowlight_iosbk_temp.path"_s));
    QVERIFY(note.open(QIODevice::WriteOnly) && note.write("/no/such/disk") > 0);
    note.close();
    QCOMPARE(iosBackupTempDir().path(), u"/no/such/disk/__marrowlight_iosbk_temp"_s);
    clearIosBackupTemp();
    QVERIFY(!note.exists() && QFileInfo(QFileInfo(iosBackupTempDir().path()).path()).isWritable());
}

QTEST_GUILESS_MAIN(TestDeviceJobs)
#include "testdevicejobs.moc"
