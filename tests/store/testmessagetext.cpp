#include "messagetext.h"

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
    result.filename = filename;
    result.mime_type = mimeType;
    return result;
}

} // namespace

class TestMessageText : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void titlesNameEverybodyByRowid();
    void senders();
    void events();
    void markers();
    void emoji();
    void copiesOfAMessageHashAlike();
    void theHashStaysTheSameForEver();
};

void TestMessageText::titlesNameEverybodyByRowid()
{
    _MsgChat chat;
    QCOMPARE(chatTitle(chat, true), u"Unknown"_s);
    _MsgHandle ten = person(10, u"ten"_s);
    _MsgHandle two = person(2, u"two"_s, u"Bo"_s);
    takePart(chat, ten);
    takePart(chat, two);
    QCOMPARE(chatTitle(chat, false), u"Bo, ten"_s);
    chat.display_name = u"Team"_s;
    QCOMPARE(chatTitle(chat, true), u"Team"_s);
}

void TestMessageText::senders()
{
    _MsgHandle anna = person(1, u"+34612"_s, u"Anna"_s);
    _MsgHandle stranger = person(2, u"+34613"_s);
    _MsgChat chat;
    takePart(chat, anna);
    _MsgMessage message;
    message.chat = &chat;
    message.handle = &anna;
    QCOMPARE(senderLabel(message), u"Anna (+34612)"_s);
    takePart(chat, stranger);
    QCOMPARE(senderLabel(message), u"Anna (+34612), +34613 (Anna)"_s);
    message.handle = &stranger;
    QCOMPARE(senderLabel(message), u"Anna (+34612), +34613 (+34613)"_s);
}

void TestMessageText::events()
{
    _MsgHandle who = person(1, u"+1"_s, u"%1"_s); // names that look like places stand as they are
    _MsgHandle other = person(2, u"+2"_s, u"Bo"_s);
    _MsgMessage message;
    message.handle = &who;
    message.otherHandle = &other;
    message.group_title = u"Trip %2"_s;
    message.date = someDate - 5 * 3600 + 5 * 60;
    const QList<std::pair<int, QString>> sentences = {{1, u"%1 Added Bo to the conversation."_s},
                                                      {2, u"%1 named the conversation \"Trip %2\"."_s},
                                                      {3, u"%1 left the conversation."_s},
                                                      {4, u"%1 started sharing location with Bo."_s},
                                                      {6, u"System Information."_s}};
    for (const auto &[itemType, sentence] : sentences) {
        message.item_type = itemType;
        QCOMPARE(displayText(message), sentence + u"\n01 May 2013 9:5 AM"_s);
    }
    message.item_type = 1;
    message.handle = nullptr;
    message.date = someDate;
    QCOMPARE(displayText(message), u"You Added Bo to the conversation.\n01 May 2013 2:0 PM"_s);
}

void TestMessageText::markers()
{
    _MsgMessage message;
    message.text = u"\uFFFCLook\uFFFC "_s;
    QCOMPARE(displayText(message), u"Look"_s);
    std::vector<_MsgAttachment> files = {
        attachment(5, {}, u"IMAGE/jpeg"_s), attachment(1, {}, u"video/mp4"_s),
        attachment(9, {}, u"text/x-vCard"_s), attachment(8, {}, u"text/vcard2"_s)};
    for (_MsgAttachment &file : files)
        message.attachments.insert(QString::number(file.rowid), &file);
    QCOMPARE(displayText(message), u"Look  [VIDEO] [IMAGE] [ATTA] [VCARD]"_s);
}

void TestMessageText::emoji()
{
    const QList<std::pair<QString, QString>> texts = {
        {u"Año 2013, 5 €"_s, u"Año 2013, 5 €"_s},
        {u"a\U0001F604b"_s, u"a<1F604>b"_s},
        {u"\uE000\uE415\uE538"_s, u"<E000><E415>\uE538"_s},
        {u"\u203C\u2764\U0001F92A"_s, u"<203C>\u2764\U0001F92A"_s},
        {u'x' + QString(QChar(0xD83D)) + u"ab", u"x<11861>b"_s}, // half a pair takes what follows
        {u'x' + QString(QChar(0xD83D)), u'x' + QString(QChar(0xD83D))}};
    const EmojiText inBrackets = [](void *, const QString &code) -> QString { return u'<' + code + u'>'; };
    for (const auto &[text, expected] : texts)
        QCOMPARE(replaceEmoji(text, inBrackets, nullptr), expected);
}

void TestMessageText::copiesOfAMessageHashAlike()
{
    _MsgHandle one = person(1, u"+34612"_s);
    _MsgHandle same = person(77, u"+34612"_s, u"Anna"_s);
    _MsgAttachment file = attachment(2, u"/var/mobile/a.png"_s, u"image/png"_s);
    _MsgAttachment sameFile = attachment(8, u"x/A.PNG"_s, {});
    _MsgMessage a;
    a.text = u"\uFFFCHi"_s;
    a.handle = &one;
    a.attachments.insert(u"1"_s, &file);
    _MsgMessage b;
    b.text = u"Hi\uFFFC\uFFFC"_s;
    b.guid = u"other"_s;
    b.service = u"iMessage"_s;
    b.handle = &same;
    b.attachments.insert(u"2"_s, &sameFile);
    QCOMPARE(logicHash(a), logicHash(b));
    a.item_type = b.item_type = 1; // events are told apart by their guid alone
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

QTEST_GUILESS_MAIN(TestMessageText)
#include "testmessagetext.moc"
