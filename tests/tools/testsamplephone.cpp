#include "samplembdb.h"
#include "samplephone.h"
#include "sampletypedstream.h"
#include "smsdbbuilder.h"
#include "smsdbwriter.h"

#include <QDirIterator>
#include <QTemporaryDir>
#include <QTest>

#include <sqlite3.h>

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
    void samePlanGivesSameBytes();
    void databasesAreSound_data();
    void databasesAreSound();
    void writesEachFieldOfARecord();
    void archivesTextAsOlderPhonesDo();
    void keepsWhatModernPhonesKeep();
};

void TestSamplePhone::samePlanGivesSameBytes()
{
    for (const IosVersion version : {IosVersion::Ios5, IosVersion::Ios8, IosVersion::Ios26}) {
        const SamplePhonePlan plan{
            .ios = version, .filler = 100000, .password = u"pw"_s, .iterations = 9, .hasLog = true};
        const QTemporaryDir first, second;
        SamplePhone(plan).writeBackup(QDir(first.path()));
        SamplePhone(plan).writeBackup(QDir(second.path()));
        QVERIFY(contentsOf(first.path()).size() > 30);
        QCOMPARE(contentsOf(second.path()), contentsOf(first.path()));
    }
}

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
        const QByteArray count = "SELECT count(*) FROM message";
        const QString withoutLog = u"file:"_s % path % u"?immutable=1"_s;
        QCOMPARE(query(withoutLog, count), QString::number(messages - messages / 10));
        QCOMPARE(query(path, count), QString::number(messages));
        QCOMPARE(query(path, "PRAGMA foreign_key_check"), QString());
        for (const QString &database : QStringList{path, library + u"AddressBook/AddressBook.sqlitedb"_s,
                                                   library + u"AddressBook/AddressBookImages.sqlitedb"_s})
            QCOMPARE(query(database, "PRAGMA integrity_check"), u"ok"_s);
        if (version != IosVersion::Ios5) // its triggers run
            QCOMPARE(query(path, "DELETE FROM message_attachment_join; SELECT count(*) FROM attachment"),
                     u"0"_s);
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
    QCOMPARE(query(path, "SELECT min(date) > 1e17 FROM message WHERE ROWID < 4;"
                         "SELECT date FROM message WHERE ROWID=4;"
                         "SELECT count(*) FROM message WHERE text IS NULL;"
                         "SELECT r.associated_message_type FROM message r JOIN message m ON "
                         "r.associated_message_guid='p:0/'||m.guid WHERE m.ROWID=1;"
                         "SELECT r.ROWID FROM message r JOIN message m ON r.thread_originator_guid=m.guid;"
                         "SELECT message_id FROM chat_recoverable_message_join;"
                         "SELECT group_concat(m.ROWID) FROM message m WHERE ROWID > 5;"
                         "SELECT seq FROM sqlite_sequence WHERE name='message';"
                         "SELECT count(*) FROM deleted_messages;"
                         "PRAGMA journal_mode"),
             u"1\n389102580\n7\n2006\n3\n5\n7,8\n9\n2\nwal"_s);
}

QTEST_GUILESS_MAIN(TestSamplePhone)

#include "testsamplephone.moc"
