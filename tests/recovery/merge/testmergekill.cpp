// What is left of a backup folder when the program is killed while it writes messages into it: the old
// database with the old list of files, or the new ones. Linux only: kills processes.

#include "app/datalocations.h"
#include "backup/backupmanifest.h"
#include "backup/backuprewrite.h"
#include "backup/manifestwriter.h"
#include "backup/mbdbreader.h"
#include "recovery/merge/backupmerge.h"
#include "testing/builders/backupbuilder.h"
#include "testing/builders/smsdbbuilder.h"
#include "testing/helpers/childprocess.h"
#include "testing/helpers/localdbtools.h"

#include <QElapsedTimer>
#include <QRandomGenerator>
#include <QTest>

using namespace Qt::StringLiterals;

namespace
{

constexpr int phoneMessages = 80;
constexpr int chosenMessages = 300;

const QString databaseName = mbdbFileName(u"HomeDomain"_s, u"Library/SMS/sms.db"_s);
const QString logName = mbdbFileName(u"HomeDomain"_s, u"Library/SMS/sms.db-wal"_s);
const QString attachmentPath = u"Library/SMS/Attachments/aa/new.jpg"_s;
const QString attachment = mbdbFileName(u"MediaDomain"_s, attachmentPath);
const QStringList moves{attachment, databaseName, logName, manifestName};

void copyFiles(const QDir &from, const QDir &to)
{
    QDir(to).removeRecursively();
    to.mkpath(u"."_s);
    for (const QString &name : from.entryList(QDir::Files))
        QFile::copy(from.filePath(name), to.filePath(name));
}

} // namespace

class TestMergeKill : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void aKillLeavesTheOldPairOrTheNew();
    void everyMoveLeavesAPairToReaders();
    void aBackupMadeAnewWins();

private:
    QString merge();
    QStringList texts() const { return rowsOf(backup.filePath(databaseName), u"select text from message"_s); }
    bool isOld() const;
    bool isNew() const;
    bool isSound() const;
    void decide();

    QTemporaryDir dir;
    QDir original;
    QDir backup;
    QDir made; ///< what a whole merge leaves
    QStringList newTexts;
};

void TestMergeKill::initTestCase()
{
    original = QDir(dir.filePath(u"original"_s));
    backup = QDir(dir.filePath(u"backup"_s));
    made = QDir(dir.filePath(u"made"_s));
    SmsDbBuilder builder(QDir(dir.filePath(u"phone"_s)), IosVersion::Ios8);
    builder.chat(u"+34612345678"_s);
    for (int i = 0; i < phoneMessages; ++i) {
        builder.received(u"of the phone %1"_s.arg(i));
        if (i == phoneMessages / 2)
            builder.restInLog();
    }
    BackupBuilder(original).messages(builder.write()).file(u"HomeDomain"_s, u"x"_s, "other").write();
    QVERIFY(writeFile(dir.filePath(u"new.jpg"_s), QByteArray(200'000, 'j')));
    copyFiles(original, backup);
    QVERIFY(isOld() && isSound());
    QCOMPARE(merge(), QString());
    newTexts = texts();
    QCOMPARE(newTexts.size(), phoneMessages + chosenMessages);
    QVERIFY(isNew() && isSound() && !isOld());
    copyFiles(backup, made);
}

QString TestMergeKill::merge()
{
    return failureOf([this] {
        Records records(u"N"_s);
        records.chat(u"+34612345678"_s);
        for (int i = 0; i < chosenMessages; ++i)
            records.received(u"chosen %1"_s.arg(i));
        records.attachment(u"~/"_s + attachmentPath, dir.filePath(u"new.jpg"_s));
        RecordingProgress progress;
        BackupManifest manifest(backup.path());
        openForMerge(manifest);
        mergeIntoBackup(records.list(), manifest, progress);
    });
}

bool TestMergeKill::isOld() const
{
    return bytesOf(standingManifest(backup)) == bytesOf(original.filePath(manifestName)) &&
           bytesOf(backup.filePath(databaseName)) == bytesOf(original.filePath(databaseName)) &&
           bytesOf(backup.filePath(logName)) == bytesOf(original.filePath(logName));
}

bool TestMergeKill::isNew() const
{
    const QHash<QString, _MbdbRecord> records = readMbdbFile(standingManifest(backup));
    return records.value(databaseName).dataHash.bytes == fileSha1(backup.filePath(databaseName)) &&
           records.value(attachment).dataHash.bytes == fileSha1(backup.filePath(attachment)) &&
           records.value(logName).fileLength == 0 && texts() == newTexts;
}

/// Whether the database is whole and what was moved aside is what it was.
bool TestMergeKill::isSound() const
{
    const QStringList aside = backup.entryList({u"*-??????????"_s}, QDir::Files);
    const bool isKept = std::all_of(aside.begin(), aside.end(), [this](const QString &name) {
        return bytesOf(backup.filePath(name)) == bytesOf(original.filePath(name.chopped(11)));
    });
    const QString check = rowsOf(backup.filePath(databaseName), u"pragma integrity_check"_s).join(u'\n');
    return isKept && check == "ok"_L1 && aside.size() == (isNew() ? 3 : aside.size());
}

void TestMergeKill::aKillLeavesTheOldPairOrTheNew()
{
    copyFiles(original, backup);
    QElapsedTimer timer;
    timer.start();
    QCOMPARE(resultOfChild([this] { return merge(); }), QString());
    qint64 length = timer.nsecsElapsed() / 1000;
    QRandomGenerator random(20130501);
    int kills = 0;
    for (int runs = 0; kills < KILLS; ++runs) {
        QVERIFY2(runs < 3 * KILLS, "the kills come too late to prove anything");
        copyFiles(original, backup);
        const QString result = resultOfChild([this] { return merge(); }, random.bounded(length));
        QVERIFY2(result.isEmpty() || result == "signal 9"_L1, qPrintable(result));
        if (result.isEmpty())
            length -= length / 8; // it took longer while it was measured
        else
            ++kills;
        QVERIFY(isOld() != isNew());
        QVERIFY(isSound());
        QCOMPARE(failureOf([this] { finishRewrite(backup); }), QString());
        QVERIFY(isOld() != isNew() && isSound());
        QVERIFY(backup.entryList({u"marrowlight*"_s}, QDir::AllEntries | QDir::Hidden).isEmpty());
        if (runs % 8 == 0 && isOld()) {
            QCOMPARE(merge(), QString());
            QVERIFY(isNew() && isSound());
        }
    }
}

/// Puts the folder of a change that was decided into the old backup.
void TestMergeKill::decide()
{
    copyFiles(original, backup);
    const QDir folder(backup.filePath(u"marrowlight-ready-1400000000"_s));
    folder.mkpath(u"."_s);
    for (const QString &name : moves)
        QVERIFY(QFile::copy(made.filePath(name), folder.filePath(name)));
    QVERIFY(writeFile(folder.filePath(u"old-manifest.sha1"_s), fileSha1(original.filePath(manifestName))));
}

// A kill between two renames is too rare to be hit: here each of them is the last.
void TestMergeKill::everyMoveLeavesAPairToReaders()
{
    for (qsizetype done = 0; done <= moves.size(); ++done) {
        decide();
        for (const QString &name : moves) {
            if (name != attachment)
                QVERIFY(QFile::copy(backup.filePath(name), backup.filePath(name + u"-1400000000"_s)));
        }
        for (const QString &name : moves.first(done)) {
            QFile::remove(backup.filePath(name));
            QVERIFY(QFile::rename(backup.filePath(u"marrowlight-ready-1400000000/"_s + name),
                                  backup.filePath(name)));
        }
        // Between database and log readers see the new list, in which the log is empty.
        QCOMPARE(isNew(), done >= 2);
        QCOMPARE(isOld(), done < 2);
        finishRewrite(backup);
        QVERIFY(isNew() && isSound());
        QCOMPARE(backup.entryList({u"marrowlight*"_s}, QDir::AllEntries), QStringList());
    }
}

void TestMergeKill::aBackupMadeAnewWins()
{
    decide();
    const QString manifest = backup.filePath(manifestName);
    const QByteArray anew = bytesOf(manifest).chopped(1) + "x";
    QVERIFY(writeFile(manifest, anew));
    finishRewrite(backup);
    QCOMPARE(bytesOf(manifest), anew);
    QCOMPARE(bytesOf(backup.filePath(databaseName)), bytesOf(original.filePath(databaseName)));
    QCOMPARE(backup.entryList({u"marrowlight*"_s}, QDir::AllEntries), QStringList());
}

QTEST_GUILESS_MAIN(TestMergeKill)
#include "testmergekill.moc"
