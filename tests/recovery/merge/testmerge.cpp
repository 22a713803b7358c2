// Messages that go into a backup of a phone: what the phone held is all still there, the new ones stand in
// their place in time, and nothing but the database, its log and the manifest has changed.

#include "app/texts.h"
#include "backup/backupmanifest.h"
#include "backup/backuprewrite.h"
#include "backup/extractmessages.h"
#include "backup/manifestwriter.h"
#include "backup/mbdbreader.h"
#include "recovery/merge/backupmerge.h"
#include "recovery/merge/mergeorder.h"
#include "store/records/messagestore.h"
#include "testing/builders/backupbuilder.h"
#include "testing/builders/smsdbbuilder.h"
#include "testing/helpers/localdbtools.h"

#include <QRandomGenerator>
#include <QTemporaryDir>
#include <QTest>
#include <QTranslator>

using namespace Qt::StringLiterals;

namespace
{

const QString databaseName = u"3d0d7e5fb2ce288813306e4d4636395e047a3d28"_s;
const QString logName = mbdbFileName(u"HomeDomain"_s, u"Library/SMS/sms.db-wal"_s);
constexpr int start = 400'000'000; // seconds since 2001

/// All rows of a table as text, without the columns `hidden`.
QStringList rowsWithout(const QString &path, const QString &table, const QStringList &hidden = {})
{
    QStringList columns = rowsOf(path, u"select name from pragma_table_info('%1') order by 1"_s.arg(table));
    columns.removeIf([&](const QString &column) { return hidden.contains(column); });
    return rowsOf(
        path, u"select '%2', quote(%1) from %2 order by 2"_s.arg(columns.join(u")||'|'||quote("_s), table));
}

/// What stays as it is to the last row.
QStringList keptContent(const QString &path)
{
    return rowsWithout(path, u"extra"_s) + rowsWithout(path, u"attachment"_s) +
           rowsWithout(path, u"sqlite_master"_s, {u"rootpage"_s}) + rowsOf(path, u"pragma user_version"_s);
}

/// What is still there, whatever the numbers of messages are, among what came.
QStringList grownContent(const QString &path)
{
    const QString joins =
        u"select m.guid, j.%1_id, j.note from message m join %2 j on j.message_id=m.rowid"_s;
    return rowsWithout(path, u"message"_s, {u"ROWID"_s}) +
           rowsWithout(path, u"chat"_s, {u"properties"_s, u"last_addressed_handle"_s}) +
           rowsWithout(path, u"handle"_s) + rowsWithout(path, u"chat_handle_join"_s) +
           rowsOf(path, joins.arg(u"chat"_s, u"chat_message_join"_s)) +
           rowsOf(path, joins.arg(u"attachment"_s, u"message_attachment_join"_s));
}

/// The files of a folder with their content.
QHash<QString, QByteArray> filesOf(const QDir &dir)
{
    QHash<QString, QByteArray> files;
    for (const QString &name : dir.entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot))
        files.insert(name, bytesOf(dir.filePath(name)));
    return files;
}

/// Does something behind the job's back when all rows are written and no file is moved.
class Meddler final : public RecordingProgress
{
public:
    void updateProgress(const QString &status, int percent, const QString &) override
    {
        if (status.isEmpty() && percent == 99 && meddle)
            meddle();
    }

    std::function<void()> meddle;
};

} // namespace

class TestMerge : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { installTexts(translator); }
    void init();
    void ordersWhateverCircles();
    void keepsAllThatThePhoneHeld_data();
    void keepsAllThatThePhoneHeld();
    void whatCantBeDoneChangesNothing_data();
    void whatCantBeDoneChangesNothing();
    void placesWhatIsThereOrMissing();
    void aChatOfAnyServiceJoinsThePhonesOwn();

private:
    QString writePhone(IosVersion version, bool hasLog);
    MergeCounts merge(const QList<_MsgMessage *> &messages)
    {
        BackupManifest manifest(backup.path());
        openForMerge(manifest);
        return mergeIntoBackup(messages, manifest, progress);
    }
    QString databasePath() const { return backup.filePath(databaseName); }

    QTranslator translator;
    std::unique_ptr<QTemporaryDir> dir;
    QDir backup;
    QString phone; ///< the file that the backup was made from
    Records chosen{u"N"_s};
    Meddler progress;
    QString meddled; ///< the file that was changed behind the job's back
};

void TestMerge::init()
{
    dir = std::make_unique<QTemporaryDir>();
    chosen = Records(u"N"_s);
    chosen.chat(u"+34612345678"_s).received(u"chosen"_s);
    progress.meddle = nullptr;
    progress.cancelled = false;
    meddled.clear();
}

/// A phone with two conversations, a group, an orphan, an attachment, and with what nobody here knows:
/// columns, a table, and triggers that call functions of the phone.
QString TestMerge::writePhone(IosVersion version, bool hasLog)
{
    backup = QDir(dir->filePath(u"backup"_s));
    SmsDbBuilder builder(QDir(dir->filePath(u"phone"_s)), version);
    builder.chat(u"+34612345678"_s).received(u"one"_s).at(start).sent(u"two"_s).at(start + 50);
    builder.attachment(u"~/Library/SMS/Attachments/aa/a.jpg"_s);
    builder.group({u"+34612345678"_s, u"+34698765432"_s}).received(u"three"_s).at(start + 1000);
    builder.noChat().received(u"nobody's"_s);
    if (hasLog)
        builder.restInLog();
    builder.chat(u"+34698765432"_s).received(u"four"_s).at(start + 20).sent(u"five \U0001F600"_s);
    phone = builder.write();
    QString script =
        u"pragma user_version=17; create table extra(a, b); insert into extra values(x'00', 1.5);"
        "update chat set properties=x'01'; insert into message(rowid, guid, text, date) "
        "values(900, 'gap', 'last', 1);"_s;
    for (const char *table :
         {"message", "chat", "handle", "attachment", "chat_message_join", "message_attachment_join"})
        script += u"alter table %1 add column note; "_s.arg(QLatin1StringView(table));
    script +=
        u"update message set note=x'ff00' || rowid; update chat_message_join set note=message_id; create "
        "trigger extra_insert after insert on message begin select of_the_phone(new.guid); end; create "
        "trigger extra_delete after delete on message begin insert into extra values(of_the_phone(old.guid), "
        "2); end;"_s;
    runOn(phone, script);
    BackupBuilder(backup).messages(phone).file(u"HomeDomain"_s, u"Library/other"_s, "other").write();
    return phone;
}

void TestMerge::ordersWhateverCircles()
{
    QRandomGenerator random(20130501);
    const _MsgMessage message;
    for (int round = 0; round < 3000; ++round) {
        const int spread = round % 2 ? 300 : 100'000; // seconds
        const auto makeRows = [&](int most, const _MsgMessage *chosenOne) {
            std::vector<MergeItem> rows;
            qint64 rowid = 0;
            for (int i = random.bounded(most); i > 0; --i)
                rows.push_back(
                    {rowid += 1 + random.bounded(round % 3 ? 2 : 15), random.bounded(spread), chosenOne});
            return rows;
        };
        const std::vector<MergeItem> rows = makeRows(60, nullptr);
        std::vector<MergeItem> added = makeRows(20, &message);
        added.push_back({0, random.bounded(spread), &message});
        const std::vector<MergeItem> merged = mergeOrder(rows, added);
        QCOMPARE(merged.size(), rows.size() + added.size());
        QSet<qint64> found;
        for (size_t i = 0; i < merged.size(); ++i) {
            if (!merged[i].message)
                found.insert(merged[i].rowid);
            QVERIFY(i == 0 || !mergesBefore(merged[i], merged[i - 1]));
            for (size_t k = 0; k < i; ++k) {
                const bool isClose = merged[i].message == merged[k].message && merged[i].rowid != 0 &&
                                     merged[k].rowid != 0 &&
                                     std::abs(merged[i].rowid - merged[k].rowid) < 21 &&
                                     std::abs(merged[i].date - merged[k].date) < 121;
                QVERIFY(!isClose || merged[k].rowid < merged[i].rowid);
            }
        }
        QCOMPARE(size_t(found.size()), rows.size());
    }
}

void TestMerge::keepsAllThatThePhoneHeld_data()
{
    QTest::addColumn<IosVersion>("version");
    QTest::addColumn<bool>("hasLog");
    for (const IosVersion version : {IosVersion::Ios6, IosVersion::Ios7, IosVersion::Ios8}) {
        for (const bool hasLog : {false, true})
            QTest::addRow("iOS %d%s", int(version), hasLog ? " with a log" : "") << version << hasLog;
    }
}

void TestMerge::keepsAllThatThePhoneHeld()
{
    QFETCH(IosVersion, version);
    QFETCH(bool, hasLog);
    writePhone(version, hasLog);
    const QStringList keptBefore = keptContent(phone);
    const QStringList before = grownContent(phone);
    const QHash<QString, QByteArray> filesBefore = filesOf(backup);
    QCOMPARE(filesBefore.contains(logName), hasLog);
    Records records(u"N"_s);
    records.chat(u"+34612345678"_s).received(u"before all"_s).last().date = start - 1;
    records.received(u"between \U0001F600"_s).last().date = start + 10;
    records.received(u"as the clock was set back"_s).last().date = start + 5;
    records.group({u"+34611111111"_s, u"+34622222222"_s}).received(u"new group"_s).last().date = start + 2000;
    QCOMPARE(merge(records.list()).written, 4);
    QCOMPARE(rowsOf(databasePath(), u"pragma integrity_check"_s), QStringList(u"ok"_s));
    QCOMPARE(keptContent(databasePath()), keptBefore);
    QStringList after = grownContent(databasePath());
    for (const QString &row : before)
        QVERIFY2(after.removeOne(row), qPrintable(row));
    QCOMPARE(after.filter(u"'N-"_s).size(), 4);
    QCOMPARE(rowsOf(databasePath(), u"select group_concat(substr(text, 1, 6), ',') from message"_s),
             QStringList(u"last,before,one,betwee,as the,two,four,five \U0001F600,three,nobody,new gr"_s));
    QCOMPARE(rowsOf(databasePath(), u"select count(*) from chat where properties not null"_s),
             QStringList(u"0"_s));
    const QHash<QString, QByteArray> files = filesOf(backup);
    for (auto it = filesBefore.cbegin(); it != filesBefore.cend(); ++it) {
        const QStringList aside = backup.entryList({it.key() + u"-*"_s});
        const bool isReplaced = it.key() == databaseName || it.key() == logName || it.key() == manifestName;
        QCOMPARE(aside.size(), isReplaced ? 1 : 0);
        QCOMPARE(files.value(isReplaced ? aside.first() : it.key()), *it);
    }
    QCOMPARE(files.size(), filesBefore.size() + (hasLog ? 3 : 2));
    QCOMPARE(readMbdbFile(backup.filePath(manifestName)).value(databaseName).dataHash.bytes,
             fileSha1(databasePath()));
}

void TestMerge::whatCantBeDoneChangesNothing_data()
{
    using Spoil = std::function<void(TestMerge &)>;
    QTest::addColumn<Spoil>("spoil");
    QTest::addColumn<QString>("reason");
    const auto row = [](const char *name, const QString &reason, const Spoil &spoil) {
        QTest::newRow(name) << spoil << reason;
    };
    const auto append = [](const QString &path) {
        return [path](TestMerge &test) {
            test.progress.meddle = [&test, path] {
                const QString file = test.backup.filePath(path);
                QVERIFY(writeFile(file, bytesOf(file) + "x"));
                test.meddled = path;
            };
        };
    };
    row("encrypted", u"because your current iTunes backup is encrypted."_s, [](TestMerge &test) {
        BackupBuilder(test.backup).password(u"x"_s).iterations(10).messages(test.phone).write();
    });
    row("of a newer phone", u"iOS 10 or later"_s,
        [](TestMerge &test) { QVERIFY(writeFile(test.backup.filePath(u"Manifest.db"_s), "x")); });
    row("without a manifest", u"Manifest.mbdb"_s, [](TestMerge &test) { test.backup.remove(manifestName); });
    row("without the database", u"no message database"_s,
        [](TestMerge &test) { BackupBuilder(test.backup).file(u"HomeDomain"_s, u"x"_s, "other").write(); });
    row("the file of the database is gone", u"sms.db"_s,
        [](TestMerge &test) { test.backup.remove(databaseName); });
    row("of iOS 5", u"Only iOS 6 or above"_s, [](TestMerge &test) {
        const QDir old(test.dir->filePath(u"old"_s));
        const QString path =
            SmsDbBuilder(old, IosVersion::Ios5).chat(u"+34612345678"_s).received(u"x"_s).write();
        BackupBuilder(test.backup).messages(path).write();
    });
    row("of unknown chats only", u"Only found 1 messages with unknown contact info"_s,
        [](TestMerge &test) { test.chosen.last().chat->rowid = -2047483647; });
    row("cancelled at the last moment", u"cancelled"_s,
        [](TestMerge &test) { test.progress.meddle = [&test] { test.progress.cancelled = true; }; });
    row("the manifest changes meanwhile", u"Manifest.mbdb: another program has changed"_s,
        append(manifestName));
    row("the database changes meanwhile", u"another program has changed"_s, append(databaseName));
}

void TestMerge::whatCantBeDoneChangesNothing()
{
    QFETCH(std::function<void(TestMerge &)>, spoil);
    QFETCH(QString, reason);
    writePhone(IosVersion::Ios7, true);
    spoil(*this);
    QHash<QString, QByteArray> before = filesOf(backup);
    QString failure = u"cancelled"_s;
    try {
        failure = failureOf([this] { merge(chosen.list()); });
    } catch (int) {
    }
    QVERIFY2(failure.contains(reason), qPrintable(failure));
    if (!meddled.isEmpty())
        before[meddled] += "x";
    QCOMPARE(filesOf(backup), before);
    // Beside the cached copy of the phone's database nothing is left either.
    const QDir cache(
        backupCacheDir(BackupManifest(backup.path())).filePath(u"file-relay/var/mobile/Library/SMS"_s));
    QCOMPARE(cache.entryList({u"sms.db[0-9]*"_s}), QStringList());
}

void TestMerge::placesWhatIsThereOrMissing()
{
    const QString phoneGuid =
        rowsOf(writePhone(IosVersion::Ios6, false), u"select guid from message where text='one'"_s).first();
    const QString picture = dir->filePath(u"picture.jpg"_s);
    QVERIFY(writeFile(picture, "picture"));
    const QString kept =
        backup.filePath(mbdbFileName(u"MediaDomain"_s, u"Library/SMS/Attachments/k/kept.jpg"_s));
    QVERIFY(writeFile(kept, "kept"));
    chosen.received(u"on the phone"_s).attachment(u"~/Library/SMS/Attachments/n/new.jpg"_s, picture);
    chosen.last().guid = phoneGuid;
    chosen.received(u"twin"_s).last().guid = u"N-1"_s;
    chosen.received(u"event"_s).last().item_type = 1;
    chosen.received(u"nobody's"_s).last().chat = nullptr;
    chosen.received(u"files"_s)
        .attachment(u"/var/mobile/Library/SMS/Attachments/k/kept.jpg"_s, picture)
        .attachment(u"~/Library/SMS/Attachments/g/gone.jpg"_s, dir->filePath(u"gone"_s))
        .attachment(u"~/Library/../../outside.jpg"_s, picture)
        .attachment(u"~/Media/else.jpg"_s, picture);
    chosen.chat(u"+34698765432"_s); // of two that are alike the phone has one, under another guid
    for (int i = 0; i < 2; ++i)
        chosen.received(u"four"_s).last().date = start + 20;
    const qsizetype filesBefore = backup.entryList(QDir::Files).size();
    const QHash<QString, _MbdbRecord> recordsBefore = readMbdbFile(backup.filePath(manifestName));
    const MergeCounts counts = merge(chosen.list());
    QCOMPARE(counts.written, 3); // the first, the one with files and the second that is alike
    QCOMPARE(counts.validCount, 6);
    QCOMPARE(counts.unknownCount, 1);
    QCOMPARE(backup.entryList(QDir::Files).size(),
             filesBefore + 4); // database and manifest aside, two pictures
    QCOMPARE(bytesOf(kept), "kept"_ba);
    QStringList added;
    QList<quint32> inodes;
    for (const _MbdbRecord &record : readMbdbFile(backup.filePath(manifestName))) {
        if (recordsBefore.contains(recordFileName(record)))
            continue;
        added.append(record.path.text().section(u'/', 2) + u' ' + QString::number(record.fileLength));
        inodes.append(record.inodeLow);
        const QByteArray hash =
            record.mode == 0x41C0 ? QByteArray() : fileSha1(backup.filePath(recordFileName(record)));
        QCOMPARE(record.dataHash.bytes, hash);
    }
    added.sort();
    QCOMPARE(added, QStringList({u" 0"_s, u" 0"_s, u"Attachments 0"_s, u"Attachments/k 0"_s,
                                 u"Attachments/k/1 0"_s, u"Attachments/k/1/kept.jpg 7"_s,
                                 u"Attachments/n 0"_s, u"Attachments/n/new.jpg 7"_s}));
    std::sort(inodes.begin(), inodes.end());
    QCOMPARE(inodes.last() - inodes.first(), 7U);
    const QString attached =
        u"select text, cache_has_attachments, count(attachment_id) from message left join "
        "message_attachment_join on message_id=message.rowid where guid %1 group by guid"_s;
    QCOMPARE(rowsOf(databasePath(), attached.arg(u"='"_s + phoneGuid + u'\'')), QStringList(u"one|1|1"_s));
    QCOMPARE(rowsOf(databasePath(), attached.arg(u"like 'N-%'"_s)),
             QStringList({u"chosen|0|0"_s, u"files|1|4"_s, u"four|0|0"_s}));
}

// As iOS 26 has them: one chat, a member by iMessage, messages by SMS from another handle. RCS is refused.
void TestMerge::aChatOfAnyServiceJoinsThePhonesOwn()
{
    writePhone(IosVersion::Ios8, false);
    runOn(phone, u"update chat set guid='SMS;-;612' where chat_identifier='+34612345678'"_s);
    BackupBuilder(backup).messages(phone).write();
    _MsgHandle *bySms = chosen.last().handle;
    chosen.chat(u"+34612345678"_s, u"iMessage"_s).lastChat().guid = u"any;-;+34612345678"_s;
    for (const QString &service : {u"SMS"_s, u"iMessage"_s, u"RCS"_s}) {
        _MsgMessage &message = chosen.received(service).last();
        message.service = service;
        message.handle = service == "SMS"_L1 ? bySms : message.handle;
    }
    merge(chosen.list());
    QCOMPARE(rowsOf(databasePath(),
                    u"select c.guid, group_concat(m.text), (select count(*) from chat_handle_join h where "
                    "h.chat_id=c.rowid) from message m join chat_message_join j on j.message_id=m.rowid join "
                    "chat c on c.rowid=j.chat_id where m.guid like 'N-%' group by 1"_s),
             QStringList({u"SMS;-;612|chosen,SMS|1"_s, u"iMessage;-;+34612345678|iMessage|1"_s}));
}

QTEST_GUILESS_MAIN(TestMerge)
#include "testmerge.moc"
