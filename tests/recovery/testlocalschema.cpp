#include "ios6messagedb.h"
#include "localdbtools.h"

#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;

namespace
{

// Columns that came after the first release, in the order in which a file gets them.
const QStringList laterColumns = {u"is_audio_message"_s,  u"is_played"_s,    u"date_played"_s,
                                  u"item_type"_s,         u"other_handle"_s, u"group_title"_s,
                                  u"group_action_type"_s, u"share_status"_s, u"share_direction"_s,
                                  u"is_expirable"_s,      u"expire_state"_s, u"message_action_type"_s,
                                  u"logic_hash"_s};

QString columnsOf(const QString &path, const QString &table)
{
    return rowsOf(
               path,
               u"select name || ' ' || type || ' ' || ifnull(dflt_value, '') from pragma_table_info('%1')"_s
                   .arg(table))
        .join(u'\n');
}

} // namespace

class TestLocalSchema : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void aNewFileHasItsShape();
    void eachLaterColumnIsAdded_data();
    void eachLaterColumnIsAdded();
    void anUpgradedFileLooksLikeANewOne();
    void oldRowsKeepTheirHashEmpty();
    void aLostHashIndexComesBack();
    void aFileThatIsCompleteIsNotTouched();
    void withoutUpgradeNothingChanges();
    void aFileWithoutATableIsStillMade();
    void filesThatAreNotOursStayAsTheyAre_data();
    void filesThatAreNotOursStayAsTheyAre();
    void aFailedStepTellsItsLine();
    void foreignColumnsAndStylesAreFine();
    void triggersKeepTheFileFreeOfOrphans_data();
    void triggersKeepTheFileFreeOfOrphans();

private:
    void open(bool upgrade = true) { IOS6MessageDb(QDir(dir->path()), path, QString(), upgrade).openDb(); }

    std::unique_ptr<QTemporaryDir> dir;
    QString path;
};

void TestLocalSchema::init()
{
    dir = std::make_unique<QTemporaryDir>();
    path = dir->filePath(u"ab/sms.db"_s);
}

void TestLocalSchema::aNewFileHasItsShape()
{
    open();
    QCOMPARE(
        rowsOf(path,
               u"select type || ' ' || name from sqlite_master where name not like 'sqlite%' order by 1"_s),
        QStringList({u"index chat_idx_identifier"_s, u"index chat_idx_last"_s,
                     u"index chat_message_join_idx_message_id"_s, u"index message_idx_handle"_s,
                     u"index message_idx_logic_hash"_s, u"table attachment"_s, u"table chat"_s,
                     u"table chat_handle_join"_s, u"table chat_message_join"_s, u"table handle"_s,
                     u"table message"_s, u"table message_attachment_join"_s,
                     u"trigger clean_orphaned_attachments"_s, u"trigger clean_orphaned_handles"_s,
                     u"trigger clean_orphaned_handles2"_s, u"trigger clean_orphaned_messages"_s,
                     u"trigger clear_message_has_attachments"_s, u"trigger set_message_has_attachments"_s}));
    QCOMPARE(rowsOf(path, u"select count(*) from pragma_table_info('message')"_s), QStringList(u"51"_s));
    QCOMPARE(rowsOf(path, u"select name from pragma_table_info('chat') where cid > 11"_s),
             QStringList({u"display_name"_s, u"group_id"_s, u"_last"_s}));
}

void TestLocalSchema::eachLaterColumnIsAdded_data()
{
    QTest::addColumn<QString>("table");
    QTest::addColumn<QString>("column");
    QTest::newRow("group_id") << u"chat"_s << u"group_id"_s;
    for (const QString &column : laterColumns)
        QTest::newRow(qPrintable(column)) << u"message"_s << column;
}

void TestLocalSchema::eachLaterColumnIsAdded()
{
    QFETCH(QString, table);
    QFETCH(QString, column);
    open();
    const QString declared =
        u"select type, ifnull(dflt_value, '') from pragma_table_info('%1') where name='%2'"_s;
    const QStringList before = rowsOf(path, declared.arg(table, column));
    if (column == "logic_hash"_L1)
        runOn(path, u"drop index message_idx_logic_hash"_s);
    runOn(path, u"alter table %1 drop column %2"_s.arg(table, column));
    open();
    QCOMPARE(rowsOf(path, declared.arg(table, column)), before);
    QCOMPARE(rowsOf(path, u"select sql from sqlite_master where name='message_idx_logic_hash'"_s).size(), 1);
}

void TestLocalSchema::anUpgradedFileLooksLikeANewOne()
{
    open();
    const QString expected = columnsOf(path, u"message"_s);
    QString script = u"drop index message_idx_logic_hash;"_s;
    for (const QString &column : laterColumns)
        script += u"alter table message drop column %1;"_s.arg(column);
    runOn(path, script);
    open();
    QCOMPARE(columnsOf(path, u"message"_s), expected);
}

void TestLocalSchema::oldRowsKeepTheirHashEmpty()
{
    open();
    runOn(path, u"insert into message(guid) values('old'); drop index message_idx_logic_hash; "
                "alter table message drop column logic_hash;"_s);
    open();
    QCOMPARE(rowsOf(path, u"select logic_hash from message"_s), QStringList(u"null"_s));
}

void TestLocalSchema::aLostHashIndexComesBack()
{
    open();
    runOn(path, u"drop index message_idx_logic_hash"_s);
    open();
    QCOMPARE(rowsOf(path, u"select 1 from sqlite_master where name='message_idx_logic_hash'"_s).size(), 1);
}

void TestLocalSchema::aFileThatIsCompleteIsNotTouched()
{
    open();
    const QByteArray before = bytesOf(path);
    open();
    QVERIFY(bytesOf(path) == before);
}

void TestLocalSchema::withoutUpgradeNothingChanges()
{
    open();
    runOn(path, u"drop index message_idx_logic_hash; alter table message drop column logic_hash"_s);
    const QByteArray before = bytesOf(path);
    IOS6MessageDb db(QDir(dir->path()), path, QString(), false);
    QVERIFY(!db.hasColumn(u"message"_s, u"logic_hash"_s));
    QVERIFY(db.hasColumn(u"chat"_s, u"_last INTEGER"_s));
    QVERIFY(!db.hasColumn(u"chat"_s, u"_LAST INTEGER"_s));
    db.close();
    QVERIFY(bytesOf(path) == before);
}

void TestLocalSchema::aFileWithoutATableIsStillMade()
{
    QVERIFY(QDir().mkpath(dir->filePath(u"ab"_s)));
    QFile file(path); // what is left when the very first run is killed
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.close();
    open();
    QCOMPARE(countOf(path, u"message"_s), 0);
}

void TestLocalSchema::filesThatAreNotOursStayAsTheyAre_data()
{
    QTest::addColumn<QString>("script");
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QString>("reason");
    QTest::newRow("another program's database")
        << u"create table notes(a)"_s << QByteArray() << u"no table \"chat\""_s;
    QTest::newRow("messages, but no chats in them")
        << u"create table chat(guid); create table handle(id); create table chat_handle_join(a, b)"_s
        << QByteArray() << u"no table \"message\""_s;
    QTest::newRow("a text") << QString() << QByteArray("Dear diary, this is no database at all.").repeated(40)
                            << u"file is not a database"_s;
}

void TestLocalSchema::filesThatAreNotOursStayAsTheyAre()
{
    QFETCH(QString, script);
    QFETCH(QByteArray, bytes);
    QFETCH(QString, reason);
    QVERIFY(QDir().mkpath(dir->filePath(u"ab"_s)));
    if (bytes.isEmpty()) {
        runOn(path, script);
    } else {
        QFile file(path);
        QVERIFY(file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size());
    }
    const QByteArray before = bytesOf(path);
    const QString failure = failureOf([this] { open(); });
    QVERIFY2(failure.contains(path) && failure.contains(reason), qPrintable(failure));
    QVERIFY(bytesOf(path) == before);
}

void TestLocalSchema::aFailedStepTellsItsLine()
{
    open();
    runOn(path, u"drop table chat; create virtual table chat using fts4(guid)"_s);
    QCOMPARE(failureOf([this] { open(); }), u"line:122, sql:ALTER TABLE chat ADD COLUMN group_id TEXT;, "
                                            "error:virtual tables may not be altered"_s);
}

void TestLocalSchema::foreignColumnsAndStylesAreFine()
{
    open();
    // Another hand has written this table: quoted, in upper case, with a column of its own.
    runOn(path,
          u"drop table chat; create table \"CHAT\"(\"ROWID\" integer primary key, \"GUID\" text unique, "
          "mood text default 'fine', style, state, account_id, chat_identifier, service_name, room_name, "
          "account_login, is_archived, last_addressed_handle, \"GROUP_ID\" text)"_s);
    IOS6MessageDb db(QDir(dir->path()), path, QString(), true);
    const Records records = std::move(Records().chat(u"+34612345678"_s).received(u"Hola"_s));
    QCOMPARE(db.insertChat(*records.list().first()->chat), 1);
    db.raiseChatLast(1, 5); // no such column: nothing to do
    QCOMPARE(rowsOf(path, u"select guid, mood from chat"_s), QStringList(u"SMS;-;+34612345678|fine"_s));
}

void TestLocalSchema::triggersKeepTheFileFreeOfOrphans_data()
{
    QTest::addColumn<QString>("statement");
    QTest::addColumn<QString>("query");
    QTest::addColumn<QStringList>("expected");
    const QString messages = u"select rowid, cache_has_attachments from message"_s;
    QTest::newRow("a message that leaves its last chat goes, with its attachment and sender")
        << u"delete from chat_message_join where message_id=2"_s
        << u"select (select group_concat(rowid) from message), (select group_concat(rowid) from attachment), "
           u"(select "
           "group_concat(rowid) from handle)"_s
        << QStringList(u"1,3|1,2|1,2"_s);
    QTest::newRow("a message that stays in another chat stays")
        << u"delete from chat_message_join where message_id=3 and chat_id=1"_s << messages
        << QStringList({u"1|1"_s, u"2|1"_s, u"3|0"_s});
    QTest::newRow("a sender without messages stays in the chat")
        << u"delete from message where rowid=1"_s << u"select rowid from handle"_s
        << QStringList({u"1"_s, u"2"_s, u"3"_s});
    QTest::newRow("a sender without chat and messages goes")
        << u"delete from message where rowid=2"_s << u"select rowid from handle"_s
        << QStringList({u"1"_s, u"2"_s});
    QTest::newRow("who leaves the last chat goes")
        << u"delete from chat_handle_join where handle_id=2"_s << u"select rowid from handle"_s
        << QStringList({u"1"_s, u"3"_s});
    QTest::newRow("who has messages stays though they leave the chat")
        << u"delete from chat_handle_join where handle_id=1"_s << u"select rowid from handle"_s
        << QStringList({u"1"_s, u"2"_s, u"3"_s});
    QTest::newRow("one of two attachments leaves the flag")
        << u"delete from message_attachment_join where attachment_id=1"_s << messages
        << QStringList({u"1|1"_s, u"2|1"_s, u"3|0"_s});
    QTest::newRow("the last attachment takes the flag along")
        << u"delete from message_attachment_join where message_id=1"_s << messages
        << QStringList({u"1|0"_s, u"2|1"_s, u"3|0"_s});
    QTest::newRow("an attachment without messages goes")
        << u"delete from message_attachment_join where attachment_id=1"_s << u"select rowid from attachment"_s
        << QStringList({u"2"_s, u"3"_s});
    QTest::newRow("a chat takes its messages along, but for those of another chat")
        << u"delete from chat where rowid=1"_s << u"select rowid from message"_s << QStringList(u"3"_s);
}

void TestLocalSchema::triggersKeepTheFileFreeOfOrphans()
{
    QFETCH(QString, statement);
    QFETCH(QString, query);
    IOS6MessageDb db(QDir(dir->path()), path, QString(), true);
    db.openDb();
    QString error;
    // Message 3 stands in both chats; handle 2 has no message, handle 3 is in no chat.
    QCOMPARE(db.exec(u"insert into chat(guid) values('a'),('b');"
                     "insert into handle(id, service) values('x','SMS'),('y','SMS'),('z','SMS');"
                     "insert into message(guid, handle_id) values('m1',1),('m2',3),('m3',1);"
                     "insert into attachment(guid) values('a1'),('a2'),('a3');"
                     "insert into chat_handle_join values(1,1),(1,2);"
                     "insert into chat_message_join values(1,1),(1,2),(1,3),(2,3);"
                     "insert into message_attachment_join values(1,1),(1,2),(2,3);"_s,
                     error),
             0);
    db.executeThrow(Sqlite3Sql(statement));
    db.close();
    QTEST(rowsOf(path, query), "expected");
}

QTEST_GUILESS_MAIN(TestLocalSchema)
#include "testlocalschema.moc"
