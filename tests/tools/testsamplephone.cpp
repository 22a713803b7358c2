#include "samplephone.h"
#include "smsdbbuilder.h"

#include <QCryptographicHash>
#include <QDirIterator>
#include <QTemporaryDir>
#include <QTest>

#include <sqlite3.h>

using namespace Qt::StringLiterals;

namespace
{

/// Relative path and SHA-1 of each file below `folder`, in order.
QStringList contentsOf(const QString &folder)
{
    QStringList contents;
    QDirIterator walk(folder, QDir::Files, QDirIterator::Subdirectories);
    while (walk.hasNext()) {
        QFile file(walk.next());
        QCryptographicHash hash(QCryptographicHash::Sha1);
        if (!file.open(QIODevice::ReadOnly) || !hash.addData(&file))
            return {};
        contents.append(QDir(folder).relativeFilePath(file.fileName()) % u' ' %
                        QString::fromLatin1(hash.result().toHex()));
    }
    contents.sort();
    return contents;
}

void answerZero(sqlite3_context *context, int, sqlite3_value **)
{
    sqlite3_result_int(context, 0);
}

/// Texts of the first column, one row a line; an error gives its text.
QString query(const QString &path, const char *sql)
{
    sqlite3 *database = nullptr;
    sqlite3_open_v2(path.toUtf8().constData(), &database, SQLITE_OPEN_READWRITE | SQLITE_OPEN_URI, nullptr);
    for (const char *name : {"read", "delete_attachment_path", "before_delete_attachment_path"})
        sqlite3_create_function(database, name, -1, SQLITE_UTF8, nullptr, &answerZero, nullptr, nullptr);
    QStringList rows;
    const auto addRow = [](void *list, int, char **values, char **) {
        static_cast<QStringList *>(list)->append(QString::fromUtf8(values[0]));
        return 0;
    };
    if (sqlite3_exec(database, sql, addRow, &rows, nullptr) != SQLITE_OK)
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
};

void TestSamplePhone::samePlanGivesSameBytes_data()
{
    QTest::addColumn<SamplePhonePlan>("plan");
    QTest::newRow("plain") << SamplePhonePlan{.ios = IosVersion::Ios6, .messages = 200, .filler = 100000};
    QTest::newRow("encrypted, with a log") << SamplePhonePlan{
        .ios = IosVersion::Ios8, .password = u"secret"_s, .iterations = 10, .hasLog = true};
    QTest::newRow("iOS 5, listed records") << SamplePhonePlan{.ios = IosVersion::Ios5, .records = 2000};
}

void TestSamplePhone::samePlanGivesSameBytes()
{
    QFETCH(SamplePhonePlan, plan);
    const QTemporaryDir first, second, third;
    SamplePhone(plan).writeBackup(QDir(first.path()));
    SamplePhone(plan).writeBackup(QDir(second.path()));
    QVERIFY(contentsOf(first.path()).size() > 30);
    QCOMPARE(contentsOf(second.path()), contentsOf(first.path()));
    plan.seed = 2;
    SamplePhone(plan).writeBackup(QDir(third.path()));
    QVERIFY(contentsOf(third.path()) != contentsOf(first.path()));
}

void TestSamplePhone::databasesAreSound_data()
{
    QTest::addColumn<IosVersion>("version");
    QTest::addColumn<int>("messages");
    for (const IosVersion version : {IosVersion::Ios5, IosVersion::Ios6, IosVersion::Ios7, IosVersion::Ios8})
        for (const int messages : {0, 10, 1000})
            QTest::addRow("iOS %d, %d messages", int(version), messages) << version << messages;
}

void TestSamplePhone::databasesAreSound()
{
    QFETCH(IosVersion, version);
    QFETCH(int, messages);
    const QTemporaryDir folder;
    const QDir library(
        SamplePhone({.ios = version, .messages = messages, .hasLog = true}).writeRelay(QDir(folder.path())) +
        u"/var/mobile/Library"_s);
    const QString path = library.filePath(u"SMS/sms.db"_s);
    const QString withoutLog = u"file:"_s % path % u"?immutable=1"_s;
    QCOMPARE(query(withoutLog, "SELECT count(*) FROM message"), QString::number(messages - messages / 10));
    QCOMPARE(query(path, "SELECT count(*) FROM message"), QString::number(messages));
    QCOMPARE(query(path, "PRAGMA integrity_check"), u"ok"_s);
    QCOMPARE(query(path, "PRAGMA foreign_key_check"), QString());
    for (const char *name : {"AddressBook.sqlitedb", "AddressBookImages.sqlitedb"})
        QCOMPARE(
            query(library.filePath(u"AddressBook/"_s + QString::fromUtf8(name)), "PRAGMA integrity_check"),
            u"ok"_s);
    if (version >= IosVersion::Ios7 && messages == 1000)
        QCOMPARE(query(path, "SELECT DISTINCT item_type FROM message ORDER BY 1"), u"0\n1\n2\n3\n4\n5\n6"_s);
}

void TestSamplePhone::triggersRun_data()
{
    QTest::addColumn<IosVersion>("version");
    QTest::addColumn<QByteArray>("change");
    QTest::addColumn<QString>("left");
    const QByteArray unlink = "DELETE FROM message_attachment_join; DELETE FROM chat_message_join;"
                              "DELETE FROM chat_handle_join;"
                              "SELECT count(*) FROM attachment; SELECT count(*) FROM message;"
                              "SELECT count(*) FROM handle";
    QTest::newRow("iOS 5 finds the newest message and drops pieces")
        << IosVersion::Ios5
        << QByteArray("DELETE FROM message WHERE ROWID=2; SELECT newest_message FROM msg_group;"
                      "SELECT count(*) FROM msg_pieces")
        << u"1\n0"_s;
    for (const IosVersion version : {IosVersion::Ios6, IosVersion::Ios7, IosVersion::Ios8})
        QTest::addRow("iOS %d leaves no orphans", int(version)) << version << unlink << u"0\n0\n0"_s;
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
    QTEST(query(path, change.constData()), "left");
}

QTEST_GUILESS_MAIN(TestSamplePhone)

#include "testsamplephone.moc"
