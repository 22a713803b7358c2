// Messages that go into a backup of a phone: what the phone held is all still there, the new ones stand in
// their place in time, and nothing but the database, its log and the manifest has changed.

#include "backupbuilder.h"
#include "backupmanifest.h"
#include "backupmerge.h"
#include "backuprewrite.h"
#include "itunescachesmsthread.h"
#include "localdbtools.h"
#include "manifestwriter.h"
#include "mbdbreader.h"
#include "mergeorder.h"
#include "messagestore.h"
#include "smsdbbuilder.h"
#include "texts.h"

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

/// Runs a script on a phone's file and leaves a log beside it that lies there.
void runOnPhone(const QString &path, const QString &script)
{
    Sqlite3DB db;
    db.openThrow(path, sqliteReadWrite);
    db.keepLogOnClose();
    QString error;
    if (db.exec(script, error) != 0)
        throw std::runtime_error(error.toStdString());
}

/// All rows of a table as text, without the columns `hidden`.
QStringList rowsWithout(const QString &path, const QString &table, const QStringList &hidden)
{
    Sqlite3DB db;
    db.openThrow(path, sqliteReadWrite);
    QStringList columns;
    for (const _SqliteCol &column : db.tbInfo(table)) {
        if (!hidden.contains(column.name, Qt::CaseInsensitive))
            columns.append(u"quote(%1)"_s.arg(column.name));
    }
    columns.sort();
    db.close();
    return rowsOf(path, u"select %1 from %2 order by 1"_s.arg(columns.join(u"||'|'||"_s), table));
}

/// Everything that a phone's file holds, whatever the numbers of its messages are.
QHash<QString, QStringList> contentOf(const QString &path)
{
    const QString joins =
        u"select m.guid, j.%1_id, j.note from message m join %2 j on j.message_id=m.rowid"_s;
    return {{u"message"_s, rowsWithout(path, u"message"_s, {u"rowid"_s})},
            {u"chat"_s, rowsWithout(path, u"chat"_s, {u"properties"_s, u"last_addressed_handle"_s})},
            {u"handle"_s, rowsWithout(path, u"handle"_s, {})},
            {u"attachment"_s, rowsWithout(path, u"attachment"_s, {})},
            {u"members"_s, rowsWithout(path, u"chat_handle_join"_s, {})},
            {u"of chats"_s, rowsOf(path, joins.arg(u"chat"_s, u"chat_message_join"_s))},
            {u"attached"_s, rowsOf(path, joins.arg(u"attachment"_s, u"message_attachment_join"_s))},
            {u"extra"_s, rowsWithout(path, u"extra"_s, {})},
            {u"schema"_s, rowsOf(path, u"select sql from sqlite_master order by 1"_s)},
            {u"version"_s, rowsOf(path, u"pragma user_version"_s)}};
}

/// The files of a folder with their content.
QHash<QString, QByteArray> filesOf(const QDir &dir)
{
    QHash<QString, QByteArray> files;
    for (const QString &name : dir.entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot))
        files.insert(name, bytesOf(dir.filePath(name)));
    return files;
}

bool isWithin(const QStringList &part, const QStringList &whole)
{
    const QSet<QString> all(whole.begin(), whole.end());
    return std::all_of(part.begin(), part.end(), [&](const QString &row) { return all.contains(row); });
}

} // namespace

class TestMerge : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { installTexts(translator); }
    void init() { dir = std::make_unique<QTemporaryDir>(); }
    void ordersWhateverCircles();
    void keepsAllThatThePhoneHeld_data();
    void keepsAllThatThePhoneHeld();
    void manifestKeepsEveryRecord();
    void addsFoldersOnce();

private:
    QString writePhone(IosVersion version, bool hasLog);
    MergeCounts merge(const QList<_MsgMessage *> &messages)
    {
        BackupManifest manifest(backup.path());
        openForMessages(manifest);
        return mergeIntoBackup(messages, manifest, progress);
    }
    QString databasePath() const { return backup.filePath(databaseName); }

    QTranslator translator;
    std::unique_ptr<QTemporaryDir> dir;
    QDir backup;
    RecordingProgress progress;
};

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
    const QString path = builder.write();
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
    runOnPhone(path, script);
    BackupBuilder(backup).messages(path).file(u"HomeDomain"_s, u"Library/other"_s, "other").write();
    return path;
}

void TestMerge::ordersWhateverCircles()
{
    QRandomGenerator random(20130501);
    const _MsgMessage message;
    for (int round = 0; round < 3000; ++round) {
        const int spread = round % 2 ? 300 : 100'000; // seconds
        std::vector<MergeItem> phone;
        std::vector<MergeItem> chosen;
        qint64 rowid = 0;
        for (int i = random.bounded(60); i > 0; --i)
            phone.push_back(
                {rowid += 1 + random.bounded(round % 3 ? 2 : 15), random.bounded(spread), nullptr});
        for (int i = random.bounded(20); i > 0; --i)
            chosen.push_back({0, random.bounded(spread), &message});
        const std::vector<MergeItem> merged = mergeOrder(phone, chosen);
        QCOMPARE(merged.size(), phone.size() + chosen.size());
        QSet<qint64> rows;
        for (size_t i = 0; i < merged.size(); ++i) {
            if (!merged[i].message)
                rows.insert(merged[i].rowid);
            QVERIFY(i == 0 || !mergesBefore(merged[i], merged[i - 1]));
            for (size_t k = 0; k < i; ++k) {
                const bool isClose = !merged[i].message && !merged[k].message &&
                                     std::abs(merged[i].rowid - merged[k].rowid) < 21 &&
                                     std::abs(merged[i].date - merged[k].date) < 121;
                QVERIFY(!isClose || merged[k].rowid < merged[i].rowid);
            }
        }
        QCOMPARE(size_t(rows.size()), phone.size());
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
    const QHash<QString, QStringList> before = contentOf(writePhone(version, hasLog));
    const QHash<QString, QByteArray> filesBefore = filesOf(backup);
    QCOMPARE(filesBefore.contains(logName), hasLog);
    Records records(u"N"_s);
    records.chat(u"+34612345678"_s).received(u"before all"_s).last().date = start - 1;
    records.received(u"between \U0001F600"_s).last().date = start + 10;
    records.group({u"+34611111111"_s, u"+34622222222"_s}).received(u"new group"_s).last().date = start + 2000;
    const MergeCounts counts = merge(records.list());
    QCOMPARE(counts.written, 3);
    QCOMPARE(rowsOf(databasePath(), u"pragma integrity_check"_s), QStringList(u"ok"_s));
    const QHash<QString, QStringList> after = contentOf(databasePath());
    for (auto it = before.cbegin(); it != before.cend(); ++it)
        QVERIFY2(isWithin(*it, after.value(it.key())), qPrintable(it.key()));
    for (const QString &table : {u"extra"_s, u"schema"_s, u"version"_s})
        QCOMPARE(after.value(table), before.value(table));
    QCOMPARE(after.value(u"message"_s).size(), before.value(u"message"_s).size() + 3);
    QCOMPARE(rowsOf(databasePath(), u"select group_concat(substr(text, 1, 6), ',') from message"_s),
             QStringList(u"last,before,one,betwee,two,four,five \U0001F600,three,nobody,new gr"_s));
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

void TestMerge::manifestKeepsEveryRecord()
{
    QHash<QString, _MbdbRecord> records;
    QRandomGenerator random(1);
    const auto string = [&](bool isNamed) {
        const QByteArray bytes(1 + random.bounded(isNamed ? 30 : 3), char('a' + random.bounded(20)));
        const quint16 length =
            isNamed ? quint16(bytes.size())
                    : std::array<quint16, 3>{0xFFFF, 0, quint16(bytes.size())}[size_t(random.bounded(3))];
        return _MbdbString{length, length == bytes.size() ? bytes : QByteArray()};
    };
    for (int i = 0; i < 500; ++i) {
        _MbdbRecord record;
        for (_MbdbString *text : {&record.domain, &record.path})
            *text = string(true);
        for (_MbdbString *text : {&record.linkTarget, &record.dataHash, &record.encryptionKey})
            *text = string(false);
        record.mode = quint16(random.generate());
        for (quint32 *number : {&record.inodeHigh, &record.inodeLow, &record.userId, &record.groupId,
                                &record.mtime, &record.atime, &record.ctime})
            *number = random.generate();
        record.fileLength = random.generate64();
        record.protectionClass = quint8(random.generate());
        for (int k = random.bounded(3); k > 0; --k)
            record.properties.append({string(false), string(false)});
        records.insert(recordFileName(record), record);
    }
    _MbdbRecord longest = records.begin().value();
    longest.path = {0xFFFE, QByteArray(0xFFFE, 'x')};
    records.insert(recordFileName(longest), longest);
    const QString path = dir->filePath(u"Manifest.mbdb"_s);
    writeMbdbFile(records, path);
    QCOMPARE(readMbdbFile(path), records);
    QVERIFY_EXCEPTION_THROWN(writeMbdbFile(records, u"/dev/full"_s), std::runtime_error);
}

void TestMerge::addsFoldersOnce()
{
    const QString local = dir->filePath(u"local"_s);
    QVERIFY(writeFile(local, "four"));
    QHash<QString, _MbdbRecord> records;
    addBackupFile(records, local, u"MediaDomain"_s, u"Library"_s);
    addBackupFile(records, local, u"MediaDomain"_s, u"Library/SMS/Parts/a.jpg"_s);
    QVERIFY(writeFile(local, "longer"));
    addBackupFile(records, local, u"MediaDomain"_s, u"Library/SMS/Parts/a.jpg"_s);
    QStringList shown;
    for (const _MbdbRecord &record : std::as_const(records))
        shown += u"%1 %2 %3 %4"_s.arg(record.path.text())
                     .arg(record.inodeLow)
                     .arg(record.mode, 0, 16)
                     .arg(record.fileLength);
    shown.sort();
    QCOMPARE(shown, QStringList({u"Library 1 81a4 4"_s, u"Library/SMS 3 41c0 0"_s,
                                 u"Library/SMS/Parts 2 41c0 0"_s, u"Library/SMS/Parts/a.jpg 4 81a4 4"_s}));
    const QString name = mbdbFileName(u"MediaDomain"_s, u"Library/SMS/Parts/a.jpg"_s);
    QCOMPARE(records.value(name).dataHash.bytes, fileSha1(local));
}

QTEST_GUILESS_MAIN(TestMerge)
#include "testmerge.moc"
