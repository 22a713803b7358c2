#include "recovery/carving/messagerecycledb.h"
#include "store/readers/ios6messagedb.h"
#include "store/readers/openmessagedb.h"
#include "store/records/columntables.h"
#include "testing/helpers/localdbtools.h"

#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;

class TestLocalSchema : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        dir = std::make_unique<QTemporaryDir>();
        path = dir->filePath(u"sms.db"_s);
    }
    void whatAFileLacksIsAdded_data();
    void whatAFileLacksIsAdded();
    void whatIsRecycledHasItsColumn();
    void filesThatAreNotOursStayAsTheyAre();
    void triggersKeepTheFileFreeOfOrphans_data();
    void triggersKeepTheFileFreeOfOrphans();

private:
    void open(bool upgrade = true) { IOS6MessageDb(QDir(dir->path()), path, QString(), upgrade).openDb(); }

    std::unique_ptr<QTemporaryDir> dir;
    QString path;
};

void TestLocalSchema::whatAFileLacksIsAdded_data()
{
    QTest::addColumn<QString>("script");
    const QString dropIndex = u"drop index message_idx_logic_hash;"_s;
    QString all = dropIndex + u"alter table chat drop column group_id;"_s;
    QTest::newRow("only the index") << dropIndex;
    QTest::newRow("some of our own") << dropIndex +
                                            u"drop table _part_text; drop trigger _keep_reacting_handles;"
                                            "alter table handle drop column _contact;"
                                            "alter table _reaction drop column payload_data;"
                                            "alter table message drop column _schedule_type;"
                                            "alter table attachment drop column _is_sticker;"
                                            "drop table _reaction_attachment_join;"_s;
    QTest::newRow("group_id") << all;
    for (const char *column : {"is_audio_message", "is_played", "date_played", "item_type", "other_handle",
                               "group_title", "group_action_type", "share_status", "share_direction",
                               "is_expirable", "expire_state", "message_action_type", "logic_hash"}) {
        const QString drop = u"alter table message drop column %1;"_s.arg(QLatin1String(column));
        QTest::newRow(column) << dropIndex + drop;
        all += drop;
    }
    QTest::newRow("all columns") << all;
}

void TestLocalSchema::whatAFileLacksIsAdded()
{
    QFETCH(QString, script);
    const QString schema =
        u"select type, name from sqlite_master union all select name || type, dflt_value "
        "from pragma_table_info('chat') union all select name || type, dflt_value from "
        "pragma_table_info('message') union all select name || type, dflt_value from "
        "pragma_table_info('handle') "
        "union all select name || type, dflt_value from pragma_table_info('attachment') order by 1, 2"_s;
    open();
    const QStringList complete = rowsOf(path, schema);
    runOn(path, script + u"insert into message(guid) values('old')"_s);
    const QByteArray old = bytesOf(path);
    open(false);
    QVERIFY(bytesOf(path) == old);
    open();
    QCOMPARE(rowsOf(path, schema), complete);
    QCOMPARE(rowsOf(path, u"select guid, logic_hash from message"_s), QStringList(u"old|null"_s));
}

// The recycle database keeps what the first phones of this shape had.
void TestLocalSchema::whatIsRecycledHasItsColumn()
{
    MessageRecycleDb(QDir(dir->path())).openDb();
    QStringList columns;
    for (const RecordColumn<_MsgMessage> &column : columnsUpTo(messageTable(), Release::Ios6))
        columns.append(column.name + u' ' + column.declaration);
    const QString text =
        rowsOf(recycleDbPath(QDir(dir->path())), u"select sql from sqlite_master where name='message'"_s)
            .first();
    QVERIFY(text.startsWith(u"CREATE TABLE message ("_s + columns.join(u", "_s) + u",chat_identifier"_s));
}

void TestLocalSchema::filesThatAreNotOursStayAsTheyAre()
{
    runOn(path, u"create table notes(a)"_s);
    const QByteArray notes = bytesOf(path);
    QCOMPARE(failureOf([this] { open(); }),
             path + u": this is no message database, it has no table \"chat\"."_s);
    QVERIFY(bytesOf(path) == notes);
}

void TestLocalSchema::triggersKeepTheFileFreeOfOrphans_data()
{
    QTest::addColumn<QString>("statement");
    QTest::addColumn<QString>("expected"); // messages with their flag of attachments, handles, attachments
    QTest::newRow("a message that leaves its last chat goes, with its attachment and sender")
        << u"chat_message_join where message_id=2"_s << u"1:1,3:0|1,2|1,2"_s;
    QTest::newRow("a message that stays in another chat stays")
        << u"chat_message_join where message_id=3 and chat_id=1"_s << u"1:1,2:1,3:0|1,2,3|1,2,3"_s;
    QTest::newRow("a sender without messages stays in the chat")
        << u"message where handle_id=1"_s << u"2:1|1,2,3|3"_s;
    QTest::newRow("a sender without chat and messages goes")
        << u"message where rowid=2"_s << u"1:1,3:0|1,2|1,2"_s;
    QTest::newRow("who leaves the last chat goes")
        << u"chat_handle_join where handle_id=2"_s << u"1:1,2:1,3:0|1,3|1,2,3"_s;
    QTest::newRow("who has messages stays though they leave the chat")
        << u"chat_handle_join where handle_id=1"_s << u"1:1,2:1,3:0|1,2,3|1,2,3"_s;
    QTest::newRow("one of two attachments leaves the flag and goes")
        << u"message_attachment_join where attachment_id=1"_s << u"1:1,2:1,3:0|1,2,3|2,3"_s;
    QTest::newRow("the last attachment takes the flag along")
        << u"message_attachment_join where message_id=1"_s << u"1:0,2:1,3:0|1,2,3|3"_s;
    QTest::newRow("a chat takes its messages along, but for those of another chat")
        << u"chat where rowid=1"_s << u"3:0|1|null"_s;
}

void TestLocalSchema::triggersKeepTheFileFreeOfOrphans()
{
    QFETCH(QString, statement);
    IOS6MessageDb db(QDir(dir->path()), path, QString(), true);
    db.openDb();
    QString error;
    // Message 3 stands in both chats; handle 2 has no message, handle 3 is in no chat.
    db.exec(u"insert into chat(guid) values('a'),('b');"
            "insert into handle(id, service) values('x','SMS'),('y','SMS'),('z','SMS');"
            "insert into message(guid, handle_id) values('m1',1),('m2',3),('m3',1);"
            "insert into attachment(guid) values('a1'),('a2'),('a3');"
            "insert into chat_handle_join values(1,1),(1,2);"
            "insert into chat_message_join values(1,1),(1,2),(1,3),(2,3);"
            "insert into message_attachment_join values(1,1),(1,2),(2,3);"
            "delete from "_s +
                statement,
            error);
    QCOMPARE(error, QString());
    const QString query =
        u"select (select group_concat(rowid || ':' || cache_has_attachments) from message), "
        "(select group_concat(rowid) from handle), (select group_concat(rowid) from attachment)"_s;
    QTEST(rowsOf(path, query).first(), "expected");
}

QTEST_GUILESS_MAIN(TestLocalSchema)
#include "testlocalschema.moc"
