#include "store/readers/absmessagedb.h"
#include "store/readers/attachmentpaths.h"
#include "store/readers/openmessagedb.h"
#include "store/records/attachmentlist.h"
#include "store/records/messagetext.h"
#include "testing/builders/smsdbbuilder.h"
#include "testing/helpers/testdatabase.h"

#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;

class TestAttachments : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void filesAreFoundBelowTheirSource_data();
    void filesAreFoundBelowTheirSource();
    void eachGenerationIsRead_data();
    void eachGenerationIsRead();
    void partsOfPictureMessagesAreFoundByTheirNumbers();
    void pictureMessagesKeepTheirWordsAndOrder();
    void picturesOfMessagesThatAreAlikeAreTwo();
    void damagedRowsAreHarmless();
    void linesAndTotals();
};

void TestAttachments::filesAreFoundBelowTheirSource_data()
{
    QTest::addColumn<QString>("filename");
    QTest::addColumn<QString>("expected");
    const QString relay = u"file-relay/var/mobile/Library/SMS/Attachments/a.jpg"_s;
    QTest::newRow("of a home folder") << u"~/Library/SMS/Attachments/a.jpg"_s << relay;
    QTest::newRow("absolute") << u"/var/mobile/Library/SMS/Attachments/a.jpg"_s << relay;
    QTest::newRow("by the real name of the folder")
        << u"/private/var/mobile/Library/SMS/Attachments/a.jpg"_s << relay;
    QTest::newRow("with signs that no copy has") << u"~/Library/SMS/Attachments/a?.jpg"_s << relay;
    QTest::newRow("kept by a Local Database")
        << u"~/Library/SMS/Attachments/b:c.jpg"_s << u"var/mobile/Library/SMS/Attachments/bc.jpg"_s;
    QTest::newRow("missing") << u"~/Library/SMS/Attachments/none.jpg"_s << QString();
    QTest::newRow("a folder") << u"~/Library/SMS/Attachments"_s << QString();
    QTest::newRow("no name") << QString() << QString();
    QTest::newRow("out by dots") << u"~/../../../outside.jpg"_s << QString();
    QTest::newRow("out by a link") << u"~/Library/SMS/out/outside.jpg"_s << QString();
    QTest::newRow("by an empty name on the way") << u"~/Library//SMS/Attachments/a.jpg"_s << QString();
    QTest::newRow("of a drive") << u"c:\\outside.jpg"_s << QString();
}

void TestAttachments::filesAreFoundBelowTheirSource()
{
    QFETCH(QString, filename);
    QFETCH(QString, expected);
    const QTemporaryDir dir;
    const QDir root(dir.filePath(u"root"_s));
    QVERIFY(writeFile(dir.filePath(u"outside.jpg"_s)));
    QVERIFY(writeFile(root.filePath(u"file-relay/var/mobile/Library/SMS/Attachments/a.jpg"_s)));
    QVERIFY(writeFile(root.filePath(u"var/mobile/Library/SMS/Attachments/bc.jpg"_s)));
    QFile::link(dir.path(), root.filePath(u"file-relay/var/mobile/Library/SMS/out"_s));
    FolderAttachments files(root);
    files.find(u"~/Library/SMS/out/outside.jpg"_s); // what is remembered of a folder refuses too
    const QString found = files.find(filename).path();
    QCOMPARE(found.isEmpty() ? found : root.relativeFilePath(found), expected);
}

void TestAttachments::eachGenerationIsRead_data()
{
    QTest::addColumn<IosVersion>("version");
    QTest::newRow("iOS 5") << IosVersion::Ios5;
    QTest::newRow("iOS 8") << IosVersion::Ios8;
}

void TestAttachments::eachGenerationIsRead()
{
    QFETCH(IosVersion, version);
    const QTemporaryDir dir;
    SmsDbBuilder phone(QDir(dir.path()), version);
    phone.chat(u"+34612345678"_s, u"iMessage"_s).received(u"\uFFFC\uFFFC"_s);
    phone.attachment(u"~/Library/SMS/Attachments/here.jpg"_s);
    phone.attachment(u"~/Library/SMS/Attachments/gone.pdf"_s, u"application/pdf"_s);
    phone.sent(u"none"_s).write();
    QVERIFY(writeFile(dir.filePath(u"file-relay/var/mobile/Library/SMS/Attachments/here.jpg"_s)));
    _MsgStorePtr store = _MsgStorePtr::create();
    const auto db = openMessageDb(dir.path(), u"214"_s);
    for (int run = 0; run < 2; ++run) {
        db->messages(store, 0);
        db->attachments(store);
        QCOMPARE(store->attachments.size(), 2);
        QVERIFY(store->messages.value(2)->attachments.isEmpty());
        const QList<_MsgAttachment *> read = shownAttachments(*store->messages.value(1));
        QCOMPARE(read.size(), 2);
        QCOMPARE(attachmentLine(*read.at(0)), u"here.jpg, 5 bytes"_s);
        QCOMPARE(attachmentLine(*read.at(1)), u"gone.pdf, not in the backup"_s);
        QCOMPARE(read.at(1)->mime_type, u"application/pdf"_s);
        QCOMPARE(read.at(1)->is_outgoing, 0);
    }
}

void TestAttachments::partsOfPictureMessagesAreFoundByTheirNumbers()
{
    const QTemporaryDir dir;
    SmsDbBuilder phone(QDir(dir.path()), IosVersion::Ios5);
    phone.chat(u"+34612345678"_s).received(QString()).attachment(u"/x/IMG_1.jpg"_s).write();
    const QString parts = dir.filePath(u"file-relay/var/mobile/Library/SMS/Parts/01/01/"_s);
    QVERIFY(writeFile(parts + u"1-1.jpg"_s) && writeFile(parts + u"1-1-preview.jpg"_s, "small"));
    QStringList guids;
    for (int run = 0; run < 2; ++run) {
        _MsgStorePtr store = _MsgStorePtr::create();
        const auto db = openMessageDb(dir.path(), u"214"_s);
        db->messages(store, 0);
        db->attachments(store);
        QCOMPARE(store->attachments.size(), 1); // the text is no attachment
        const _MsgAttachment *part = shownAttachments(*store->messages.value(1)).first();
        QCOMPARE(part->localFile.path(), parts + u"1-1.jpg"_s);
        QCOMPARE(part->total_bytes, 5);
        QCOMPARE(attachmentName(*part), u"IMG_1.jpg"_s);
        guids.append(part->guid);
    }
    QCOMPARE(guids.first(), guids.last()); // else each import would add it again
}

void TestAttachments::pictureMessagesKeepTheirWordsAndOrder()
{
    const QTemporaryDir dir;
    SmsDbBuilder phone(QDir(dir.path()), IosVersion::Ios5);
    runOn(phone.chat(u"+34612345678"_s).received(QString()).received(u"known"_s).write(),
          u"insert into msg_pieces(message_id, part_id, content_type, content_loc, data) values"
          "(1,3,'text/plain;charset=iso-8859-1','2.txt',x'53ed'),(1,2,'image/jpeg','b.jpg',null),"
          "(1,0,'application/smil; name=x',null,'<smil>'),(1,4,'text/vcard','c.vcf','card'),"
          "(1,1,'text/plain',null,null),(2,0,'Text/Plain; charset=utf-8','1.txt','known')"_s);
    QVERIFY(writeFile(dir.filePath(u"file-relay/var/mobile/Library/SMS/Parts/01/01/1-1.txt"_s), "señal"));
    _MsgStorePtr store = _MsgStorePtr::create();
    const auto db = openMessageDb(dir.path(), u"214"_s);
    for (int run = 0; run < 2; ++run) {
        db->messages(store, 0);
        db->attachments(store);
        QCOMPARE(store->messages.value(1)->text, u"señal\uFFFC\nSí\uFFFC"_s);
        QCOMPARE(displayText(*store->messages.value(1)), u"señal\nSí [IMAGE] [VCARD]"_s);
        QCOMPARE(displayText(*store->messages.value(2)), u"known"_s);
    }
    QCOMPARE(shownAttachments(*store->messages.value(1)).last()->total_bytes, 4);
}

void TestAttachments::picturesOfMessagesThatAreAlikeAreTwo()
{
    const QTemporaryDir dir;
    SmsDbBuilder phone(QDir(dir.path()), IosVersion::Ios5);
    phone.chat(u"+34612345678"_s).received(QString()).at(1000).received(QString()).at(1000);
    runOn(phone.write(), u"insert into msg_pieces(message_id, part_id, content_type, "
                         "content_loc) values(1,1,'image/jpeg','a.jpg'),(2,1,'image/jpeg','b.jpg')"_s);
    QSet<QString> guids;
    for (int run = 0; run < 2; ++run) {
        _MsgStorePtr store = _MsgStorePtr::create();
        const auto db = openMessageDb(dir.path(), u"214"_s);
        db->messages(store, 0);
        db->attachments(store);
        for (const _MsgAttachment *attachment : std::as_const(store->attachments))
            guids.insert(attachment->guid);
    }
    QCOMPARE(guids.size(), 2);
}

void TestAttachments::damagedRowsAreHarmless()
{
    const QTemporaryDir dir;
    SmsDbBuilder phone(QDir(dir.path()), IosVersion::Ios8);
    phone.chat(u"+34612345678"_s).received(u"x"_s).attachment(u"~/a.jpg"_s).attachment(u"~/b.jpg"_s);
    runOn(phone.sent(u"y"_s).write(),
          u"drop table message_attachment_join;"
          "create table message_attachment_join(message_id, attachment_id);"
          "insert into message_attachment_join values(1,1),(1,1),(2,1),(1,2),(1,77),(99,2),(null,null),"
          "('x',-1);"
          "update attachment set filename=null, transfer_name=x'00ff2e', total_bytes=-7, guid='' where "
          "rowid=1"_s);
    _MsgStorePtr store = _MsgStorePtr::create();
    const auto db = openMessageDb(dir.path(), u"214"_s);
    db->messages(store, 0);
    db->attachments(store);
    QCOMPARE(store->attachments.size(), 2);
    QCOMPARE(store->messages.value(1)->attachments.size(), 2);
    const _MsgAttachment *shared = shownAttachments(*store->messages.value(2)).first();
    QVERIFY(!shared->guid.isEmpty());
    QVERIFY(attachmentLine(*shared).endsWith(u"not in the backup"_s));
}

void TestAttachments::linesAndTotals()
{
    _MsgAttachment sent;
    sent.transfer_name = u"../evil\u202Egpj.exe\n"_s;
    sent.total_bytes = 1'234'567;
    QCOMPARE(attachmentLine(sent), u"evilgpj.exe, 1.2 MB, not in the backup"_s);
    _MsgAttachment hidden;
    hidden.hide_attachment = 1;
    hidden.total_bytes = -5;
    _MsgMessage message;
    message.attachments = {{u"1"_s, &sent}, {u"2"_s, &hidden}};
    QCOMPARE(shownAttachments(message), QList{&sent});
    const AttachmentTotals totals = totalsOf(listAttachments({&message, &message}));
    QCOMPARE(totals.count, 2);
    QCOMPARE(totals.missing, 2);
    QCOMPARE(totals.missingBytes, 1'234'567);
}

QTEST_APPLESS_MAIN(TestAttachments)
#include "testattachments.moc"
