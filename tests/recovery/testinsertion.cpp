#include "exportmessagesdb.h"
#include "localdbtools.h"
#include "messagestore.h"
#include "messagetext.h"
#include "openmessagedb.h"
#include "smsdbbuilder.h"

#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;

class TestInsertion : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void aPhonesMessagesReadBackAlike();
    void oneMessageOfTwoPhonesIsOne();
    void lookAlikesStayTwo_data();
    void lookAlikesStayTwo();
    void whatMakesNoDifference_data();
    void whatMakesNoDifference();
    void aSecondRunChangesNothing();
    void anEventIsKnownByItsGuid();
    void aPhonesFileIsWrittenInItsOwnColumns();
    void aTargetWithoutHashesGoesByGuid();
    void messagesWithoutAKnownChatAreLeftOut_data();
    void messagesWithoutAKnownChatAreLeftOut();
    void anUnknownServiceEndsTheRun();
    void aKnownChatGetsNoNewMembers();
    void groupsRememberWhomOneWroteToLast();
    void theNewestDateOnlyRises();
    void columnsThatWereEmptyStayNull();
    void attachmentsAreKeptWithTheirFiles();
    void hostileAttachmentNamesStayInside_data();
    void hostileAttachmentNamesStayInside();

private:
    void append(const QList<_MsgMessage *> &messages);
    QStringList texts() const { return rowsOf(path, u"select text from message order by rowid"_s); }

    std::unique_ptr<QTemporaryDir> dir;
    QDir root;
    QString path;
};

void TestInsertion::init()
{
    dir = std::make_unique<QTemporaryDir>();
    root = QDir(dir->filePath(u"kept"_s));
    path = messageDbPath(root);
}

void TestInsertion::append(const QList<_MsgMessage *> &messages)
{
    ExportMessagesDb target(root, path);
    target.begin();
    for (const _MsgMessage *message : messages)
        target.append(*message);
    target.finish();
}

void TestInsertion::aPhonesMessagesReadBackAlike()
{
    SmsDbBuilder(QDir(dir->path()), IosVersion::Ios8)
        .chat(u"+34612345678"_s)
        .received(u"Hola \U0001F600"_s)
        .with([](SampleMessage &message) { message.error = 7; })
        .sent(QString())
        .group({u"+34612345678"_s, u"ana@example.org"_s})
        .named(u"Viaje"_s)
        .receivedFrom(u"ana@example.org"_s, u"مرحبا"_s)
        .event(2, u"ana@example.org"_s)
        .groupTitle(u"Viaje 2"_s)
        .event(1)
        .about(u"+34612345678"_s)
        .write();
    const auto told = [](const QDir &folder) {
        _MsgStorePtr store = _MsgStorePtr::create();
        openMessageDb(folder, u"214"_s)->messages(store, 0);
        QStringList lines;
        for (const _MsgMessage *message : allMessages(store))
            lines.append(
                u"%1 %2 %3 %4 %5 %6 %7 %8"_s.arg(message->guid, message->chat->guid, senderLabel(*message))
                    .arg(message->date)
                    .arg(message->is_from_me)
                    .arg(message->error)
                    .arg(message->text, displayText(*message)));
        return lines;
    };
    _MsgStorePtr phone = _MsgStorePtr::create();
    openMessageDb(QDir(dir->path()), u"214"_s)->messages(phone, 0);
    append(allMessages(phone));
    QCOMPARE(phone->messages.size(), 5);
    QCOMPARE(told(root), told(QDir(dir->path())));
}

void TestInsertion::oneMessageOfTwoPhonesIsOne()
{
    Records phone(u"phone"_s);
    phone.chat(u"+34612345678"_s)
        .received(u"Hola"_s)
        .attachment(u"~/Library/SMS/Attachments/aa/IMG_1.JPG"_s)
        .sent(u"Sí"_s);
    Records tablet(u"tablet"_s);
    tablet.chat(u"+34600000000"_s)
        .chat(u"+34612345678"_s, u"iMessage"_s)
        .received(u"Hola"_s)
        .attachment(u"/other/img_1.jpg"_s)
        .sent(u"Sí"_s);
    append(phone.list());
    const QString before = rowsOf(path, u"select count(*), max(rowid) from message"_s).first();
    append(tablet.list());
    QCOMPARE(rowsOf(path, u"select count(*), max(rowid) from message"_s).first(), before);
    QCOMPARE(
        rowsOf(
            path,
            u"select message_id, guid from message_attachment_join, attachment where attachment_id=attachment.rowid"_s),
        QStringList({u"1|phone-attachment-1"_s, u"1|tablet-attachment-1"_s}));
}

using Change = std::function<void(Records &)>;
Q_DECLARE_METATYPE(Change)

void TestInsertion::lookAlikesStayTwo_data()
{
    QTest::addColumn<Change>("change");
    QTest::newRow("another second") << Change([](Records &records) { records.last().date += 1; });
    QTest::newRow("another direction") << Change([](Records &records) { records.last().is_from_me = 1; });
    QTest::newRow("another text") << Change([](Records &records) { records.last().text += u'.'; });
    QTest::newRow("another sender") << Change(
        [](Records &records) { records.last().handle = records.addHandle(u"+34600000000"_s, u"SMS"_s); });
    QTest::newRow("no sender") << Change([](Records &records) { records.last().handle = nullptr; });
    QTest::newRow("another attachment") << Change([](Records &records) {
        records.last().attachments.clear();
        records.attachment(u"/x/b.jpg"_s);
    });
    QTest::newRow("no attachment") << Change([](Records &records) { records.last().attachments.clear(); });
}

void TestInsertion::lookAlikesStayTwo()
{
    QFETCH(Change, change);
    Records first(u"first"_s);
    first.chat(u"+34612345678"_s).received(u"Hola"_s).attachment(u"/x/a.jpg"_s);
    Records second(u"second"_s);
    second.chat(u"+34612345678"_s).received(u"Hola"_s).attachment(u"/x/a.jpg"_s);
    change(second);
    append(first.list() + second.list());
    QCOMPARE(countOf(path, u"message"_s), 2);
}

void TestInsertion::whatMakesNoDifference_data()
{
    QTest::addColumn<Change>("change");
    QTest::newRow("service") << Change([](Records &records) { records.last().service = u"iMessage"_s; });
    QTest::newRow("read and delivered") << Change([](Records &records) {
        records.last().date_read = 1;
        records.last().date_delivered = 2;
        records.last().is_read = 1;
    });
    QTest::newRow("sign of an attachment in the text")
        << Change([](Records &records) { records.last().text += QChar(0xFFFC); });
    QTest::newRow("case and folder of an attachment") << Change([](Records &records) {
        records.last().attachments.begin().value()->filename = u"~/Elsewhere/A.JPG"_s;
    });
    QTest::newRow("attachment without a name")
        << Change([](Records &records) { records.attachment(QString()); });
}

void TestInsertion::whatMakesNoDifference()
{
    QFETCH(Change, change);
    Records first(u"first"_s);
    first.chat(u"+34612345678"_s).received(u"Hola"_s).attachment(u"/x/a.jpg"_s);
    Records second(u"second"_s);
    second.chat(u"+34612345678"_s).received(u"Hola"_s).attachment(u"/x/a.jpg"_s);
    change(second);
    append(first.list());
    append(second.list());
    QCOMPARE(countOf(path, u"message"_s), 1);
}

void TestInsertion::aSecondRunChangesNothing()
{
    Records records;
    records.chat(u"+34612345678"_s).received(u"Hola"_s).attachment(u"/x/a.jpg"_s).sent(u"Sí"_s);
    records.group({u"+34612345678"_s, u"ana@example.org"_s}).received(u"Hola a todos"_s).event(3);
    append(records.list() + records.list());
    const QString before = countsOf(path);
    QCOMPARE(before, u"4|2|3|1|3|4|1"_s);
    const QByteArray bytes = rowsOf(path, u"select * from message, chat"_s).join(u'\n').toUtf8();
    append(records.list());
    QCOMPARE(countsOf(path), before);
    QCOMPARE(rowsOf(path, u"select * from message, chat"_s).join(u'\n').toUtf8(), bytes);
}

void TestInsertion::anEventIsKnownByItsGuid()
{
    Records first(u"first"_s);
    first.group({u"+34612345678"_s, u"ana@example.org"_s}).event(3);
    Records second(u"second"_s);
    second.group({u"+34612345678"_s, u"ana@example.org"_s}).event(3);
    append(first.list() + second.list() + first.list());
    QCOMPARE(rowsOf(path, u"select guid from message"_s), QStringList({u"first-1"_s, u"second-1"_s}));
}

void TestInsertion::aPhonesFileIsWrittenInItsOwnColumns()
{
    Records records;
    records.group({u"+34612345678"_s, u"ana@example.org"_s}).received(u"Hola"_s).event(3);
    SmsDbBuilder(root, IosVersion::Ios6).write();
    IOS6MessageDb phone(root, QString(), false);
    QVERIFY(!phone.hasItemType());
    const _MsgMessage &message = *records.list().first();
    const qint64 chatId = phone.insertChat(*message.chat);
    phone.joinChatMessage(chatId,
                          phone.insertMessage(message, phone.handleRowid(*message.handle), 0, QString()));
    QCOMPARE(phone.messageRowidByHash(message), 0);
    QCOMPARE(phone.messageRowid(message.guid), 1);
    QCOMPARE(phone.countMessages(), 1);
}

void TestInsertion::aTargetWithoutHashesGoesByGuid()
{
    Records first(u"first"_s);
    first.chat(u"+34612345678"_s).received(u"Hola"_s);
    append(first.list());
    runOn(path, u"update message set logic_hash=null"_s); // kept by a release that knew no hashes
    append(first.list());
    QCOMPARE(countOf(path, u"message"_s), 1);
    Records second(u"second"_s);
    second.chat(u"+34612345678"_s).received(u"Hola"_s);
    append(second.list());
    QCOMPARE(countOf(path, u"message"_s), 2);
}

void TestInsertion::messagesWithoutAKnownChatAreLeftOut_data()
{
    QTest::addColumn<qint64>("chatRow");
    QTest::addColumn<qint64>("kept");
    QTest::newRow("no chat") << qint64(0) << qint64(0);
    QTest::newRow("unknown address") << qint64(-2047483647) << qint64(0);
    QTest::newRow("the lowest known one") << qint64(-2047483646) << qint64(1);
}

void TestInsertion::messagesWithoutAKnownChatAreLeftOut()
{
    QFETCH(qint64, chatRow);
    Records records;
    records.chat(u"+34612345678"_s).received(u"Hola"_s);
    records.last().chat->rowid = chatRow;
    if (chatRow == 0)
        records.last().chat = nullptr;
    append(records.list());
    QTEST(countOf(path, u"message"_s), "kept");
}

void TestInsertion::anUnknownServiceEndsTheRun()
{
    Records records;
    records.chat(u"+34612345678"_s)
        .received(u"Hola"_s)
        .chat(u"+34600000000"_s, u"Pigeon"_s)
        .received(u"Coo"_s);
    QCOMPARE(failureOf([&] { append(records.list()); }),
             u"IOS6MessageDb::insertChat, invalid chat, service_name:Pigeon"_s);
    QCOMPARE(countsOf(path), u"0|0|0|0|0|0|0"_s);
}

void TestInsertion::aKnownChatGetsNoNewMembers()
{
    Records first;
    first.group({u"+34612345678"_s, u"ana@example.org"_s}).received(u"Hola"_s);
    append(first.list());
    Records second;
    second.group({u"+34612345678"_s, u"ana@example.org"_s, u"third@example.org"_s}).received(u"Otra"_s);
    append(second.list());
    QCOMPARE(rowsOf(path, u"select id from handle"_s),
             QStringList({u"+34612345678"_s, u"ana@example.org"_s}));
    second.last().handle = second.addHandle(u"fourth@example.org"_s, u"iMessage"_s);
    second.last().date += 1;
    second.last().guid = u"other"_s;
    append(second.list());
    QCOMPARE(countsOf(path), u"2|1|3|0|3|2|0"_s);
}

void TestInsertion::groupsRememberWhomOneWroteToLast()
{
    Records records;
    records.chat(u"+34612345678"_s).received(u"Hola"_s);
    records.group({u"ana@example.org"_s, u"+34612345678"_s}).received(u"Hola"_s).received(u"Otra"_s);
    _MsgHandle *second = records.addHandle(u"luis@example.org"_s, u"iMessage"_s);
    records.last().handle = second;
    append(records.list());
    const QString query = u"select last_addressed_handle from chat order by rowid"_s;
    QCOMPARE(rowsOf(path, query), QStringList({u"null"_s, u"luis@example.org"_s}));
    append(records.list().first(2)); // a message that is there already counts too
    QCOMPARE(rowsOf(path, query), QStringList({u"null"_s, u"ana@example.org"_s}));
}

void TestInsertion::theNewestDateOnlyRises()
{
    Records records;
    records.chat(u"+34612345678"_s).received(u"one"_s).received(u"two"_s).received(u"three"_s);
    QList<_MsgMessage *> list = records.list();
    list[1]->date = 500;
    append({list[1]});
    append({list[0]});
    QCOMPARE(rowsOf(path, u"select _last from chat"_s), QStringList(QString::number(list[0]->date)));
    list[2]->date = 700;
    append({list[2]});
    QCOMPARE(rowsOf(path, u"select _last from chat"_s), QStringList(QString::number(list[0]->date)));
}

void TestInsertion::columnsThatWereEmptyStayNull()
{
    Records records;
    records.chat(u"+34612345678"_s).received(u"full"_s).received(u"bare"_s);
    _MsgMessage &full = *records.list().first();
    full.subject = u"Re:"_s;
    full.service_center = u"+34"_s;
    full.country = u"es"_s;
    full.attributedBody = QByteArray("\x04\x0b\x00stream", 9);
    full.otherHandle = records.addHandle(u"ana@example.org"_s, u"SMS"_s);
    full.rowid = 4711;
    append(records.list());
    QCOMPARE(rowsOf(path,
                    u"select rowid, subject, service_center, country, hex(attributedBody), other_handle, "
                    "account from message"_s),
             QStringList({u"1|Re:|+34|es|040B0073747265616D|2|"_s, u"2|null|null|null||-1|"_s}));
}

void TestInsertion::attachmentsAreKeptWithTheirFiles()
{
    QFile photo(dir->filePath(u"photo"_s));
    QVERIFY(photo.open(QIODevice::WriteOnly) && photo.write("JPEG") == 4);
    photo.close();
    Records records;
    records.chat(u"+34612345678"_s)
        .received(u"\uFFFC"_s)
        .attachment(u"~/Library/SMS/Attachments/aa/IMG:1.JPG"_s, photo.fileName())
        .attachment(u"/var/mobile/gone.jpg"_s, dir->filePath(u"no such file"_s));
    append(records.list());
    QCOMPARE(bytesOf(root.filePath(u"var/mobile/Library/SMS/Attachments/aa/IMG1.JPG"_s)), QByteArray("JPEG"));
    QVERIFY(!QFile::exists(root.filePath(u"var/mobile/gone.jpg"_s)));
    QCOMPARE(rowsOf(path, u"select filename, cache_has_attachments from attachment, message"_s),
             QStringList({u"~/Library/SMS/Attachments/aa/IMG:1.JPG|1"_s, u"/var/mobile/gone.jpg|1"_s}));
    QVERIFY(photo.open(QIODevice::WriteOnly) && photo.write("other") == 5);
    photo.close();
    append(records.list());
    QCOMPARE(bytesOf(root.filePath(u"var/mobile/Library/SMS/Attachments/aa/IMG1.JPG"_s)), QByteArray("JPEG"));
}

void TestInsertion::hostileAttachmentNamesStayInside_data()
{
    QTest::addColumn<QString>("filename");
    QTest::newRow("parent folders") << u"~/../../../../stolen"_s;
    QTest::newRow("hidden parent folders") << u"~/.:./.:./.*./../stolen"_s;
    QTest::newRow("two slashes") << u"//stolen"_s;
    QTest::newRow("backslashes") << u"~/..\\..\\stolen"_s;
    QTest::newRow("through a link") << u"/link/stolen"_s;
    QTest::newRow("nothing") << QString();
}

void TestInsertion::hostileAttachmentNamesStayInside()
{
    QFETCH(QString, filename);
    QFile photo(dir->filePath(u"photo"_s));
    QVERIFY(photo.open(QIODevice::WriteOnly) && photo.write("JPEG") == 4);
    photo.close();
    QVERIFY(root.mkpath(u"."_s) && QFile::link(dir->path(), root.filePath(u"link"_s)));
    const QStringList before = QDir(dir->path()).entryList(QDir::NoDotAndDotDot | QDir::AllEntries);
    Records records;
    records.chat(u"+34612345678"_s).received(u"Hola"_s).attachment(filename, photo.fileName());
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression(u"is not copied"_s));
    append(records.list());
    QCOMPARE(QDir(dir->path()).entryList(QDir::NoDotAndDotDot | QDir::AllEntries), before);
    QCOMPARE(countOf(path, u"message_attachment_join"_s), 1);
}

QTEST_GUILESS_MAIN(TestInsertion)
#include "testinsertion.moc"
