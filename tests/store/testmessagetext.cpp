#include "attachmentthumbnail.h"
#include "messagetext.h"

#include <QDir>
#include <QImage>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;

namespace
{

constexpr int someDate = 389102400; // 2013-05-01 12:00 UTC, 14:00 in Madrid

_MsgHandle person(qint64 rowid, const QString &id, const QString &name = {})
{
    _MsgHandle handle;
    handle.rowid = rowid;
    handle.id = id;
    handle._ct_name = name;
    return handle;
}

void takePart(_MsgChat &chat, _MsgHandle &handle)
{
    chat.handles.insert(QString::number(handle.rowid), &handle);
}

_MsgAttachment attachment(qint64 rowid, const QString &filename, const QString &mimeType)
{
    _MsgAttachment result;
    result.rowid = rowid;
    result.guid = QString::number(rowid);
    result.filename = filename;
    result.mime_type = mimeType;
    return result;
}

QString inBrackets(void *userData, const QString &codePoint)
{
    ++*static_cast<int *>(userData);
    return u'<' + codePoint + u'>';
}

} // namespace

class TestMessageText : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void titles_data();
    void titles();
    void titlesNameEverybodyByRowid();
    void senders();
    void events_data();
    void events();
    void markers();
    void emoji_data();
    void emoji();
    void theReplacementDecides();
    void copiesOfAMessageHashAlike();
    void hashesTellMessagesApart_data();
    void hashesTellMessagesApart();
    void theHashStaysTheSameForEver();
    void eventsHashByGuid();
    void attachmentBodyHoldsItsGuid();
    void thumbnails_data();
    void thumbnails();
    void noThumbnailOfNoImage();
};

void TestMessageText::titles_data()
{
    QTest::addColumn<QString>("displayName");
    QTest::addColumn<QString>("contact");
    QTest::addColumn<bool>("hasHandle");
    QTest::addColumn<bool>("withAddress");
    QTest::addColumn<QString>("title");
    QTest::newRow("the name of a group goes first") << u"Team"_s << u"Anna"_s << true << true << u"Team"_s;
    QTest::newRow("a contact") << QString() << u"Anna"_s << true << false << u"Anna"_s;
    QTest::newRow("a contact with address") << QString() << u"Anna"_s << true << true << u"Anna (+34612)"_s;
    QTest::newRow("a stranger stays one address") << QString() << QString() << true << true << u"+34612"_s;
    QTest::newRow("nobody") << QString() << QString() << false << true << u"Unknown"_s;
    QTest::newRow("nobody in a named group") << u"Team"_s << QString() << false << true << u"Team"_s;
}

void TestMessageText::titles()
{
    QFETCH(QString, displayName);
    QFETCH(QString, contact);
    QFETCH(bool, hasHandle);
    QFETCH(bool, withAddress);
    _MsgChat chat;
    chat.display_name = displayName;
    _MsgHandle handle = person(1, u"+34612"_s, contact);
    if (hasHandle)
        takePart(chat, handle);
    QTEST(chatTitle(chat, withAddress), "title");
}

void TestMessageText::titlesNameEverybodyByRowid()
{
    _MsgChat chat;
    std::vector<_MsgHandle> people;
    QStringList names;
    for (int i = 1; i <= 12; ++i) {
        names.append(u"p%1"_s.arg(i));
        people.push_back(person(i, names.last()));
    }
    for (_MsgHandle &handle : people)
        takePart(chat, handle);
    QCOMPARE(chatTitle(chat, false), names.join(u", "_s));
}

void TestMessageText::senders()
{
    _MsgHandle anna = person(1, u"+34612"_s, u"Anna"_s);
    _MsgHandle stranger = person(2, u"+34613"_s);
    _MsgChat chat;
    takePart(chat, anna);
    _MsgMessage message;
    QCOMPARE(senderLabel(message), u"unknown"_s);
    message.chat = &chat;
    message.handle = &anna;
    QCOMPARE(senderLabel(message), u"Anna (+34612)"_s);
    takePart(chat, stranger);
    QCOMPARE(senderLabel(message), u"Anna (+34612), +34613 (Anna)"_s);
    message.handle = &stranger;
    QCOMPARE(senderLabel(message), u"Anna (+34612), +34613 (+34613)"_s);
    message.handle = nullptr;
    QCOMPARE(senderLabel(message), u"Anna (+34612), +34613"_s);
}

void TestMessageText::events_data()
{
    QTest::addColumn<int>("itemType");
    QTest::addColumn<int>("shareStatus");
    QTest::addColumn<bool>("byOwner");
    QTest::addColumn<QString>("text");
    const QString date = u"\n01 May 2013 2:0 PM"_s;
    QTest::newRow("added") << 1 << 0 << false << u"%1 Added Bo to the conversation."_s + date;
    QTest::newRow("the owner added") << 1 << 0 << true << u"You Added Bo to the conversation."_s + date;
    QTest::newRow("named") << 2 << 0 << false << u"%1 named the conversation \"Trip %2\"."_s + date;
    QTest::newRow("left") << 3 << 0 << false << u"%1 left the conversation."_s + date;
    QTest::newRow("starts sharing") << 4 << 0 << false << u"%1 started sharing location with Bo."_s + date;
    QTest::newRow("stops sharing") << 4 << 1 << false << u"%1 stopped sharing location with Bo."_s + date;
    QTest::newRow("an event of later phones") << 6 << 0 << false << u"System Information."_s + date;
    QTest::newRow("a negative type") << -1 << 0 << false << u"System Information."_s + date;
}

void TestMessageText::events()
{
    QFETCH(int, itemType);
    QFETCH(int, shareStatus);
    QFETCH(bool, byOwner);
    // Names that look like places in the sentence stand as they are.
    _MsgHandle who = person(1, u"+1"_s, u"%1"_s);
    _MsgHandle other = person(2, u"+2"_s, u"Bo"_s);
    _MsgMessage message;
    message.item_type = itemType;
    message.share_status = shareStatus;
    message.date = someDate;
    message.group_title = u"Trip %2"_s;
    message.handle = byOwner ? nullptr : &who;
    message.otherHandle = &other;
    QTEST(displayText(message), "text");
    message.date = someDate - 5 * 3600 + 5 * 60;
    QVERIFY(displayText(message).endsWith(u"01 May 2013 9:5 AM"_s));
}

void TestMessageText::markers()
{
    _MsgMessage message;
    message.text = u"\uFFFCLook\uFFFC "_s;
    QCOMPARE(plainText(message), u"Look "_s);
    QCOMPARE(displayText(message), u"Look"_s);
    std::vector<_MsgAttachment> files = {
        attachment(5, {}, u"IMAGE/jpeg"_s),   attachment(1, {}, u"video/mp4"_s),
        attachment(9, {}, u"text/x-vCard"_s), attachment(3, {}, u"audio/amr"_s),
        attachment(7, {}, u"Text/VCard"_s),   attachment(8, {}, u"text/vcard2"_s)};
    for (_MsgAttachment &file : files)
        message.attachments.insert(file.guid, &file);
    QCOMPARE(displayText(message), u"Look  [VIDEO] [AUDIO] [IMAGE] [VCARD] [ATTA] [VCARD]"_s);
    message.text = u"\uFFFC"_s;
    message.attachments.clear();
    QCOMPARE(displayText(message), QString());
}

void TestMessageText::emoji_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("expected");
    QTest::newRow("plain text") << u"Año 2013, 5 €"_s << u"Año 2013, 5 €"_s;
    QTest::newRow("a smile") << u"a\U0001F604b"_s << u"a<1F604>b"_s;
    QTest::newRow("an old phone's private use") << u"\uE000\uE415\uE537"_s << u"<E000><E415><E537>"_s;
    QTest::newRow("around private use") << u"\uE538\uF8FF"_s << u"\uE538\uF8FF"_s;
    QTest::newRow("single symbols") << u"\u203C\u267B\u3030\u27B0"_s << u"<203C><267B><3030><27B0>"_s;
    QTest::newRow("a heart is none of them") << u"\u2764"_s << u"\u2764"_s;
    QTest::newRow("later emoji stay") << u"\U0001F92A"_s << u"\U0001F92A"_s;
    QTest::newRow("ends of the range")
        << u"\U0001F000\U0001F7FF\U0001F800"_s << u"<1F000><1F7FF>\U0001F800"_s;
    QTest::newRow("half a pair takes what follows")
        << QString(u'x') + QChar(0xD83D) + u"ab" << u"x<11861>b"_s;
    QTest::newRow("half a pair at the end stays")
        << QString(u'x') + QChar(0xD83D) << QString(u'x') + QChar(0xD83D);
}

void TestMessageText::emoji()
{
    QFETCH(QString, text);
    int calls = 0;
    QTEST(replaceEmoji(text, inBrackets, &calls), "expected");
}

void TestMessageText::theReplacementDecides()
{
    _MsgMessage message;
    message.text = u" \U0001F604 ok \uE415"_s;
    QCOMPARE(renderText(message), u"[EMOJI] ok [EMOJI]"_s);
    int calls = 0;
    replaceEmoji(message.text, inBrackets, &calls);
    QCOMPARE(calls, 2);
}

void TestMessageText::copiesOfAMessageHashAlike()
{
    _MsgHandle one = person(1, u"+34612"_s);
    _MsgHandle same = person(77, u"+34612"_s, u"Anna"_s);
    std::vector<_MsgAttachment> files = {
        attachment(1, u"~/Library/SMS/Attachments/0a/B.JPG"_s, u"image/jpeg"_s),
        attachment(2, u"/var/mobile/a.png"_s, u"image/png"_s), attachment(3, {}, u"image/png"_s)};
    std::vector<_MsgAttachment> others = {attachment(8, u"x/A.PNG"_s, {}), attachment(9, u"b.jpg"_s, {})};
    _MsgMessage a;
    a.text = u"\uFFFCHi"_s;
    a.date = someDate;
    a.handle = &one;
    for (_MsgAttachment &file : files)
        a.attachments.insert(file.guid, &file);
    _MsgMessage b = a;
    b.text = u"Hi\uFFFC\uFFFC"_s;
    b.guid = u"other"_s;
    b.rowid = 99;
    b.service = u"iMessage"_s;
    b.handle = &same;
    b.attachments.clear();
    for (_MsgAttachment &file : others)
        b.attachments.insert(file.guid, &file);
    QCOMPARE(logicHash(a), logicHash(b));
}

void TestMessageText::hashesTellMessagesApart_data()
{
    QTest::addColumn<QString>("address");
    QTest::addColumn<int>("date");
    QTest::addColumn<int>("isFromMe");
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("filename");
    QTest::newRow("partner") << u"+34613"_s << someDate << 0 << u"Hi"_s << u"a.jpg"_s;
    QTest::newRow("second") << u"+34612"_s << someDate + 1 << 0 << u"Hi"_s << u"a.jpg"_s;
    QTest::newRow("direction") << u"+34612"_s << someDate << 1 << u"Hi"_s << u"a.jpg"_s;
    QTest::newRow("text") << u"+34612"_s << someDate << 0 << u"hi"_s << u"a.jpg"_s;
    QTest::newRow("attachment") << u"+34612"_s << someDate << 0 << u"Hi"_s << u"b.jpg"_s;
}

void TestMessageText::hashesTellMessagesApart()
{
    QFETCH(QString, address);
    QFETCH(int, date);
    QFETCH(int, isFromMe);
    QFETCH(QString, text);
    QFETCH(QString, filename);
    _MsgHandle partner = person(1, u"+34612"_s);
    _MsgHandle other = person(1, address);
    _MsgAttachment file = attachment(1, u"a.jpg"_s, {});
    _MsgAttachment otherFile = attachment(1, filename, {});
    _MsgMessage a;
    a.handle = &partner;
    a.date = someDate;
    a.text = u"Hi"_s;
    a.attachments.insert(u"1"_s, &file);
    _MsgMessage b;
    b.handle = &other;
    b.date = date;
    b.is_from_me = isFromMe;
    b.text = text;
    b.attachments.insert(u"1"_s, &otherFile);
    QVERIFY(logicHash(a) != logicHash(b));
}

void TestMessageText::theHashStaysTheSameForEver()
{
    // It is kept in Local Databases. Here: printf '+34612\1\0\0\0\1Hia.jpg' | md5sum
    _MsgHandle partner = person(1, u"+34612"_s);
    _MsgAttachment file = attachment(1, u"/x/A.jpg"_s, {});
    _MsgMessage message;
    message.handle = &partner;
    message.date = 1;
    message.is_from_me = 257; // its low byte counts
    message.text = u"Hi"_s;
    message.attachments.insert(u"1"_s, &file);
    QCOMPARE(logicHash(message), u"ee9880ca16ed2a8aaa6a0a7b4579fb02"_s);
}

void TestMessageText::eventsHashByGuid()
{
    _MsgMessage a;
    a.item_type = 1;
    a.guid = u"A"_s;
    _MsgMessage b = a;
    b.date = 5;
    QCOMPARE(logicHash(a), logicHash(b));
    b.guid = u"B"_s;
    QVERIFY(logicHash(a) != logicHash(b));
}

void TestMessageText::attachmentBodyHoldsItsGuid()
{
    const QString guid = u"6B29FC40-CA47-1067-B31D-00DD010662DA"_s;
    const QByteArray body = attachmentBody(guid);
    QVERIFY(body.startsWith("\x04\x0Bstreamtyped"));
    QVERIFY(body.contains(QByteArray('\x24' + guid.toLatin1() + '\x86')));
    QVERIFY(body.contains("\x1D__kIMMessagePartAttributeName\x86"));
    QVERIFY(body.contains("\x22__kIMFileTransferGUIDAttributeName\x86"));
    QCOMPARE(body.count('\xEF'), 1);
}

void TestMessageText::thumbnails_data()
{
    QTest::addColumn<QString>("format");
    QTest::addColumn<QSize>("size");
    QTest::addColumn<QSize>("expected");
    QTest::newRow("wide") << u"JPG"_s << QSize(480, 240) << QSize(120, 60);
    QTest::newRow("tall") << u"PNG"_s << QSize(100, 400) << QSize(30, 120);
}

void TestMessageText::thumbnails()
{
    QFETCH(QString, format);
    QFETCH(QSize, size);
    const QTemporaryDir dir;
    _MsgAttachment file;
    file.localFile = dir.filePath(u"picture."_s + format);
    QImage image(size, QImage::Format_RGB32);
    image.fill(Qt::red);
    QVERIFY(image.save(file.localFile));
    const QString path = attachmentThumbnail(file);
    QTEST(QImage(path).size(), "expected");
    QVERIFY(QFile::remove(path));
}

void TestMessageText::noThumbnailOfNoImage()
{
    _MsgAttachment file;
    file.localFile = u"/nonexistent/x.jpg"_s;
    const QString path = attachmentThumbnail(file);
    QVERIFY(path.startsWith(QDir::tempPath()) && path.endsWith(u".thumb"_s));
    QVERIFY(!QFile::exists(path));
}

QTEST_GUILESS_MAIN(TestMessageText)
#include "testmessagetext.moc"
