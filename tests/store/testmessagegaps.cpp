#include "messagegaps.h"
#include "openmessagedb.h"
#include "smsdbbuilder.h"
#include "testdatabase.h"

#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;

class TestMessageGaps : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void missingRows_data();
    void missingRows();
};

void TestMessageGaps::missingRows_data()
{
    QTest::addColumn<IosVersion>("version");
    QTest::addColumn<QString>("script");
    QTest::addColumn<QStringList>("expected"); // count, texts around, conversation
    const auto row = [](const char *name, const QString &script, const QStringList &expected,
                        IosVersion version = IosVersion::Ios8) {
        QTest::newRow(name) << version << script << expected;
    };
    const auto drop = [](const QString &rows) {
        return u"delete from message where rowid in (%1)"_s.arg(rows);
    };
    row("within a conversation", drop(u"2"_s), {u"1 a1 a3 a"_s});
    row("within a conversation, iOS 5",
        u"drop trigger delete_message;drop trigger delete_newest_message;"_s + drop(u"2"_s), {u"1 a1 a3 a"_s},
        IosVersion::Ios5);
    row("between two conversations", drop(u"3,4"_s), {u"2 a2 b5 "_s});
    row("before the first and behind the last", drop(u"1,6"_s), {u"1 - a2 "_s, u"1 b5 - "_s});
    row("shared locations and what no chat holds are there",
        u"update message set item_type=4 where rowid=2; delete from chat_message_join where message_id=3"_s,
        {});
    row("gaps around what isn't shown are one",
        drop(u"2,4"_s) + u";update message set item_type=4 where rowid=3"_s, {u"2 a1 b5 "_s});
    row("rows no phone has", u"insert into message(rowid, guid) values(-9223372036854775807, 'x')"_s, {});
    row("a Local Database counts its own", drop(u"2"_s) + u";alter table message add column logic_hash"_s,
        {});
}

void TestMessageGaps::missingRows()
{
    QFETCH(IosVersion, version);
    QFETCH(QString, script);
    const QTemporaryDir dir;
    SmsDbBuilder builder(dir.path(), version);
    builder.chat(u"a"_s).received(u"a1"_s).received(u"a2"_s).received(u"a3"_s);
    const QString path = builder.chat(u"b"_s).received(u"b4"_s).received(u"b5"_s).received(u"b6"_s).write();
    runOn(path, u"drop trigger if exists clean_orphaned_messages;"_s + script);
    const std::unique_ptr<AbsIOSMessageDb> db = openMessageDb(dir.path(), {});
    _MsgStorePtr store(new _MsgStore);
    db->messages(store, 0);
    QStringList found;
    const auto text = [](const _MsgMessage *message) { return message ? message->text : u"-"_s; };
    for (const MessageGap &gap : messageGaps(*db, *store).list)
        found.append(u"%1 %2 %3 %4"_s.arg(QString::number(gap.missing), text(gap.after), text(gap.before),
                                          gap.chat_identifier));
    QTEST(found, "expected");
}

QTEST_GUILESS_MAIN(TestMessageGaps)
#include "testmessagegaps.moc"
