#include "testing/builders/samplembdb.h"
#include "testing/builders/sampletypedstream.h"
#include "testing/builders/smsdbbuilder.h"
#include "testing/builders/smsdbwriter.h"
#include "testing/helpers/testdatabase.h"
#include "tools/samplephone/samplephone.h"

#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;

class TestSamplePhone : public QObject
{
    Q_OBJECT

private slots:
    void databasesAreSound_data();
    void databasesAreSound();
    void writesEachFieldOfARecord();
    void archivesTextAsOlderPhonesDo();
    void keepsWhatModernPhonesKeep();
};

void TestSamplePhone::databasesAreSound_data()
{
    QTest::addColumn<IosVersion>("version");
    for (const IosVersion version : sampleGenerations)
        QTest::addRow("iOS %d", int(version)) << version;
}

void TestSamplePhone::databasesAreSound()
{
    QFETCH(IosVersion, version);
    for (const int messages : {0, 10, 1000}) {
        const QTemporaryDir folder;
        const SamplePhone phone({.ios = version, .messages = messages, .hasLog = true});
        const QString library = phone.writeRelay(QDir(folder.path())) + u"/var/mobile/Library/"_s;
        const QString path = library + u"SMS/sms.db"_s;
        const QString count = u"SELECT count(*) FROM message"_s;
        const QString withoutLog = folder.filePath(u"without log"_s);
        QVERIFY(QFile::copy(path, withoutLog));
        QCOMPARE(rowsOf(withoutLog, count), QStringList(QString::number(messages - messages / 10)));
        QCOMPARE(rowsOf(path, count), QStringList(QString::number(messages)));
        QCOMPARE(rowsOf(path, u"PRAGMA foreign_key_check"_s), QStringList());
        for (const QString &database : QStringList{path, library + u"AddressBook/AddressBook.sqlitedb"_s,
                                                   library + u"AddressBook/AddressBookImages.sqlitedb"_s})
            QCOMPARE(rowsOf(database, u"PRAGMA integrity_check"_s), QStringList(u"ok"_s));
    }
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

// The bytes of typedStreamOf() are a phone's own but for the text.
void TestSamplePhone::archivesTextAsOlderPhonesDo()
{
    for (const qsizetype length : {qsizetype(5), qsizetype(200), qsizetype(40000)}) {
        const QString text(length, u'ñ');
        const SampleRun run{length, {{"__kIMMessagePartAttributeName", 0}}};
        QCOMPARE(sampleTypedStream(text, {run}), typedStreamOf(text));
    }
}

void TestSamplePhone::keepsWhatModernPhonesKeep()
{
    const QTemporaryDir folder;
    SmsDbBuilder builder(folder.path(), IosVersion::Ios26);
    builder.chat(u"+34612345678"_s, u"iMessage"_s).received(u"Hola"_s).reaction(2006, u"🚀"_s);
    builder.reply(u"Sí"_s).sent(u"in seconds"_s).inSeconds().edited(u"Still in seconds"_s);
    builder.received(u"gone soon"_s).recentlyDeleted().sent(u"gone"_s).erased();
    builder.sent(u"no"_s).unsent().received(u"Fin"_s).received(u"gone too"_s).erased();
    const QString path = builder.write();
    QVERIFY(!QFile::exists(path + u"-wal"_s));
    // The dates of which are nanoseconds and which seconds, texts in the body alone, the reaction, the
    // reply, Recently Deleted, gaps, the highest row number, what was erased, and that there was a log.
    const QString rows =
        u"SELECT min(date) > 1e17 FROM message WHERE ROWID < 4 UNION ALL "
        "SELECT date FROM message WHERE ROWID=4 UNION ALL "
        "SELECT count(*) FROM message WHERE text IS NULL UNION ALL "
        "SELECT r.associated_message_type FROM message r JOIN message m ON "
        "r.associated_message_guid='p:0/'||m.guid WHERE m.ROWID=1 UNION ALL "
        "SELECT r.ROWID FROM message r JOIN message m ON r.thread_originator_guid=m.guid UNION ALL "
        "SELECT message_id FROM chat_recoverable_message_join UNION ALL "
        "SELECT group_concat(m.ROWID) FROM message m WHERE ROWID > 5 UNION ALL "
        "SELECT seq FROM sqlite_sequence WHERE name='message' UNION ALL "
        "SELECT count(*) FROM deleted_messages"_s;
    QCOMPARE(rowsOf(path, rows).join(u' '), u"1 389102580 7 2006 3 5 7,8 9 2"_s);
    QCOMPARE(rowsOf(path, u"PRAGMA journal_mode"_s), QStringList(u"wal"_s));
}

QTEST_GUILESS_MAIN(TestSamplePhone)

#include "testsamplephone.moc"
