#include "samplecipher.h"
#include "samplembdb.h"
#include "samplephone.h"
#include "sampletypedstream.h"
#include "smsdbbuilder.h"
#include "smsdbwriter.h"

#include <QDirIterator>
#include <QTemporaryDir>
#include <QTest>

#include <plist/plist.h>
#include <sqlite3.h>

#include <ranges>

using namespace Qt::StringLiterals;

namespace
{

/// Relative path and bytes of each file below `folder`, in order.
QStringList contentsOf(const QString &folder)
{
    QStringList contents;
    QDirIterator walk(folder, QDir::Files, QDirIterator::Subdirectories);
    while (walk.hasNext()) {
        QFile file(walk.next());
        if (file.open(QIODevice::ReadOnly))
            contents +=
                QDir(folder).relativeFilePath(file.fileName()) + QString::fromLatin1(file.readAll().toHex());
    }
    contents.sort();
    return contents;
}

/// Texts of the first column, one row a line; an error gives its text.
QString query(const QString &path, const QByteArray &sql)
{
    sqlite3 *database = nullptr;
    sqlite3_open_v2(path.toUtf8().constData(), &database, SQLITE_OPEN_READWRITE | SQLITE_OPEN_URI, nullptr);
    const auto answerZero = [](sqlite3_context *context, int, sqlite3_value **) {
        sqlite3_result_int(context, 0);
    };
    sqlite3_create_function(database, "read", -1, SQLITE_UTF8, nullptr, answerZero, nullptr, nullptr);
    for (const char *name : sampleFunctions)
        sqlite3_create_function(database, name, -1, SQLITE_UTF8, nullptr, answerZero, nullptr, nullptr);
    QStringList rows;
    const auto addRow = [](void *list, int, char **values, char **) {
        static_cast<QStringList *>(list)->append(QString::fromUtf8(values[0]));
        return 0;
    };
    if (sqlite3_exec(database, sql.constData(), addRow, &rows, nullptr) != SQLITE_OK)
        rows.append(QString::fromUtf8(sqlite3_errmsg(database)));
    sqlite3_close(database);
    return rows.join(u'\n');
}

} // namespace

class TestSamplePhone : public QObject
{
    Q_OBJECT

private slots:
    void samePlanGivesSameBytes_data();
    void samePlanGivesSameBytes();
    void databasesAreSound_data();
    void databasesAreSound();
    void triggersRun_data();
    void triggersRun();
    void wrapsKeysAsPublished();
    void writesEachFieldOfARecord();
    void derivesTheLongKey();
    void archivesTextAsOlderPhonesDo();
    void keepsWhatModernPhonesKeep_data();
    void keepsWhatModernPhonesKeep();
    void listsFilesInManifestDb_data();
    void listsFilesInManifestDb();
};

void TestSamplePhone::samePlanGivesSameBytes_data()
{
    QTest::addColumn<SamplePhonePlan>("plan");
    QTest::newRow("plain") << SamplePhonePlan{.ios = IosVersion::Ios6, .messages = 200, .filler = 100000};
    QTest::newRow("encrypted, with a log")
        << SamplePhonePlan{.ios = IosVersion::Ios8, .password = u"pw"_s, .iterations = 9, .hasLog = true};
    QTest::newRow("modern, encrypted, with a log")
        << SamplePhonePlan{.ios = IosVersion::Ios26, .password = u"pw"_s, .iterations = 9, .hasLog = true};
    QTest::newRow("iOS 5, listed records") << SamplePhonePlan{.ios = IosVersion::Ios5, .records = 2000};
}

void TestSamplePhone::samePlanGivesSameBytes()
{
    QFETCH(SamplePhonePlan, plan);
    const QTemporaryDir first, second;
    SamplePhone(plan).writeBackup(QDir(first.path()));
    SamplePhone(plan).writeBackup(QDir(second.path()));
    QVERIFY(contentsOf(first.path()).size() > 30);
    QCOMPARE(contentsOf(second.path()), contentsOf(first.path()));
}

void TestSamplePhone::databasesAreSound_data()
{
    QTest::addColumn<IosVersion>("version");
    QTest::addColumn<int>("messages");
    for (const IosVersion version : sampleGenerations)
        for (const int messages : {0, 10, 1000})
            QTest::addRow("iOS %d, %d messages", int(version), messages) << version << messages;
}

void TestSamplePhone::databasesAreSound()
{
    QFETCH(IosVersion, version);
    QFETCH(int, messages);
    const QTemporaryDir folder;
    const SamplePhone phone({.ios = version, .messages = messages, .hasLog = true});
    const QString library = phone.writeRelay(QDir(folder.path())) + u"/var/mobile/Library/"_s;
    const QString path = library + u"SMS/sms.db"_s;
    const QString withoutLog = u"file:"_s % path % u"?immutable=1"_s;
    QCOMPARE(query(withoutLog, "SELECT count(*) FROM message"), QString::number(messages - messages / 10));
    QCOMPARE(query(path, "SELECT count(*) FROM message"), QString::number(messages));
    QCOMPARE(query(path, "PRAGMA foreign_key_check"), QString());
    for (const QString &database : QStringList{path, library + u"AddressBook/AddressBook.sqlitedb"_s,
                                               library + u"AddressBook/AddressBookImages.sqlitedb"_s})
        QCOMPARE(query(database, "PRAGMA integrity_check"), u"ok"_s);
}

void TestSamplePhone::triggersRun_data()
{
    QTest::addColumn<IosVersion>("version");
    QTest::addColumn<QByteArray>("change");
    QTest::addColumn<QString>("left");
    const QByteArray unlink =
        "DELETE FROM message_attachment_join; DELETE FROM chat_message_join; DELETE FROM chat_handle_join;"
        "SELECT (SELECT count(*) FROM attachment) + (SELECT count(*) FROM message)"
        " + (SELECT count(*) FROM handle)";
    QTest::newRow("iOS 5 finds the newest message and drops pieces")
        << IosVersion::Ios5
        << QByteArray("DELETE FROM message WHERE ROWID=2; SELECT newest_message FROM msg_group;"
                      "SELECT count(*) FROM msg_pieces")
        << u"1\n0"_s;
    for (const IosVersion version : sampleGenerations | std::views::drop(1))
        QTest::addRow("iOS %d leaves no orphans", int(version)) << version << unlink << u"0"_s;
}

void TestSamplePhone::triggersRun()
{
    QFETCH(IosVersion, version);
    QFETCH(QByteArray, change);
    const QTemporaryDir folder;
    const QString path = SmsDbBuilder(folder.path(), version)
                             .chat(u"+34612345678"_s)
                             .received(u"Hola"_s)
                             .sent(u"Mira"_s)
                             .attachment(u"~/Library/SMS/Attachments/0a/10/X/IMG_0001.jpg"_s)
                             .write();
    QTEST(query(path, change), "left");
}

// RFC 3394, section 4.6.
void TestSamplePhone::wrapsKeysAsPublished()
{
    const auto wrapping =
        QByteArray::fromHex("000102030405060708090A0B0C0D0E0F101112131415161718191A1B1C1D1E1F");
    const auto key = QByteArray::fromHex("00112233445566778899AABBCCDDEEFF000102030405060708090A0B0C0D0E0F");
    QCOMPARE(sampleWrapKey(wrapping, key).toHex(),
             "28c9f404c4b810f4cbccb35cfb87f8263f5786e2d80ed326cbc7f0e71a99f43bfb988b9b7a02dd21"_ba);
}

void TestSamplePhone::writesEachFieldOfARecord()
{
    SampleRecord record{.domain = "D", .path = "\xC3\xB1", .dataHash = "", .encryptionKey = "k"};
    record.inode = 0x0102030405060708;
    record.mtime = 0xFFFFFFFE;
    record.fileLength = quint64(5) << 32;
    record.protectionClass = 0x84;
    record.properties = {{"n", QByteArray()}};
    QCOMPARE(sampleRecordBytes(record).toHex(),
             "0001440002c3b1ffff000000016b81a40102030405060708000001f5000001f5"
             "fffffffe00000000000000000000000500000000840100016effff"_ba);
}

// The answer is that of Python's hashlib.
void TestSamplePhone::derivesTheLongKey()
{
    const QByteArray zeros(20, '\0');
    QCOMPARE(sampleLongPasswordKey(u"0000"_s, zeros, 1000, zeros, 10).toHex(),
             "34c30bf1e8e59aab27299dc8c33f65be279eb23eaa7c79594b3138a076d64eb0"_ba);
}

// The bytes of typedStreamOf() are a phone's own but for the text.
void TestSamplePhone::archivesTextAsOlderPhonesDo()
{
    for (const qsizetype length : {qsizetype(5), qsizetype(200), qsizetype(40000)}) {
        const QString text(length, u'ñ');
        const SampleRun run{length, {{"__kIMMessagePartAttributeName", 0}}};
        QCOMPARE(sampleTypedStream(text, {run}), typedStreamOf(text));
    }
}

void TestSamplePhone::keepsWhatModernPhonesKeep_data()
{
    QTest::addColumn<QByteArray>("sql");
    QTest::addColumn<QString>("answer");
    QTest::newRow("nanoseconds") << "SELECT min(date) > 1e17 FROM message WHERE ROWID < 4"_ba << u"1"_s;
    QTest::newRow("seconds") << "SELECT date FROM message WHERE ROWID=4"_ba << u"389102580"_s;
    QTest::newRow("text in the body alone") << "SELECT count(*) FROM message WHERE text IS NULL"_ba << u"7"_s;
    QTest::newRow("reaction") << "SELECT r.associated_message_type FROM message r JOIN message m ON "
                                 "r.associated_message_guid='p:0/'||m.guid WHERE m.ROWID=1"_ba
                              << u"2006"_s;
    QTest::newRow("reply") << "SELECT r.ROWID FROM message r JOIN message m ON "
                              "r.thread_originator_guid=m.guid"_ba
                           << u"3"_s;
    QTest::newRow("recently deleted") << "SELECT message_id FROM chat_recoverable_message_join"_ba << u"5"_s;
    QTest::newRow("gap") << "SELECT group_concat(m.ROWID) FROM message m WHERE ROWID > 5"_ba << u"7,8"_s;
    QTest::newRow("highest row number")
        << "SELECT seq FROM sqlite_sequence WHERE name='message'"_ba << u"9"_s;
    QTest::newRow("erased") << "SELECT count(*) FROM deleted_messages"_ba << u"2"_s;
    QTest::newRow("written with a log, left without") << "PRAGMA journal_mode"_ba << u"wal"_s;
}

void TestSamplePhone::keepsWhatModernPhonesKeep()
{
    QFETCH(QByteArray, sql);
    const QTemporaryDir folder;
    SmsDbBuilder builder(folder.path(), IosVersion::Ios26);
    builder.chat(u"+34612345678"_s, u"iMessage"_s).received(u"Hola"_s).reaction(2006, u"🚀"_s);
    builder.reply(u"Sí"_s).sent(u"in seconds"_s).inSeconds().edited(u"Still in seconds"_s);
    builder.received(u"gone soon"_s).recentlyDeleted().sent(u"gone"_s).erased();
    builder.sent(u"no"_s).unsent().received(u"Fin"_s).received(u"gone too"_s).erased();
    const QString path = builder.write();
    QVERIFY(!QFile::exists(path + u"-wal"_s));
    QTEST(query(path, sql), "answer");
}

void TestSamplePhone::listsFilesInManifestDb_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<QString>("fileID");
    QTest::newRow("messages") << u"Library/SMS/sms.db"_s << u"3d0d7e5fb2ce288813306e4d4636395e047a3d28"_s;
    QTest::newRow("address book") << u"Library/AddressBook/AddressBook.sqlitedb"_s
                                  << u"31bb7ba8914766d4ba40d6dfb6113c8b614be442"_s;
}

void TestSamplePhone::listsFilesInManifestDb()
{
    QFETCH(QString, path);
    QFETCH(QString, fileID);
    const QTemporaryDir folder;
    const QString backup =
        SamplePhone({.ios = IosVersion::Ios18, .messages = 10}).writeBackup(QDir(folder.path()));
    const QString manifest = backup + u"/Manifest.db"_s;
    const QString row = query(manifest, QString(u"SELECT hex(file) FROM Files WHERE flags=1 AND fileID='"_s %
                                                fileID % u"' AND relativePath='"_s % path % u"'"_s)
                                            .toUtf8());
    QCOMPARE(query(manifest, "PRAGMA integrity_check"), u"ok"_s);
    const auto blob = QByteArray::fromHex(row.toLatin1());
    plist_t archive = nullptr;
    plist_from_bin(blob.constData(), uint32_t(blob.size()), &archive);
    uint64_t size = 0;
    plist_get_uint_val(plist_access_path(archive, 3, "$objects", 1, "Size"), &size);
    plist_free(archive);
    QCOMPARE(qint64(size), QFileInfo(backup % u"/"_s % fileID.first(2) % u"/"_s % fileID).size());
}

QTEST_GUILESS_MAIN(TestSamplePhone)

#include "testsamplephone.moc"
