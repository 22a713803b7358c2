#include "messagetext.h"
#include "records.h"

#include <QTest>

using namespace Qt::StringLiterals;

namespace
{

constexpr int someDate = 389102400; // 2013-05-01 12:00 UTC, 14:00 in Madrid

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
    void theHashStaysTheSameForEver();
};

void TestMessageText::titlesNameEverybodyByRowid()
{
    Records records;
    QCOMPARE(chatTitle(records.talk({}).lastChat(), true), u"Unknown"_s);
    records.group(u"a b c d e f g h i j"_s.split(u' '));
    QCOMPARE(chatTitle(records.lastChat(), false), u"a, b, c, d, e, f, g, h, i, j"_s);
    records.lastChat().display_name = u"Team"_s;
    QCOMPARE(chatTitle(records.lastChat(), true), u"Team"_s);
}

void TestMessageText::senders()
{
    Records records;
    const _MsgHandle anna = person(u"+34612"_s, u"Anna"_s);
    QCOMPARE(senderLabel(records.talk({anna}).received({}).last()), u"Anna (+34612)"_s);
    _MsgMessage &message = records.talk({anna, person(u"+34613"_s)}).received({}).last();
    QCOMPARE(senderLabel(message), u"Anna (+34612), +34613 (Anna)"_s);
    message.handle = message.chat->handles.value(u"3"_s);
    QCOMPARE(senderLabel(message), u"Anna (+34612), +34613 (+34613)"_s);
}

void TestMessageText::events()
{
    Records records;
    // Names that look like places stand as they are.
    records.talk({person(u"+1"_s, u"%1"_s), person(u"+2"_s, u"Bo"_s)});
    _MsgMessage &message = records.received({}).last();
    message.otherHandle = message.chat->handles.value(u"2"_s);
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
    Records records;
    QCOMPARE(displayText(records.received(u"\uFFFCLook\uFFFC "_s).last()), u"Look"_s);
    for (const QString &type : {u"video/mp4"_s, u"IMAGE/jpeg"_s, u"text/vcard2"_s, u"text/x-vCard"_s}) {
        records.attachment(type);
        records.store->attachments.value(records.store->attachments.size())->mime_type = type;
    }
    QCOMPARE(displayText(records.last()), u"Look  [VIDEO] [IMAGE] [ATTA] [VCARD]"_s);
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

void TestMessageText::theHashStaysTheSameForEver()
{
    // It is kept in Local Databases. Here: printf '+34612\1\0\0\0\1Hia.jpg' | md5sum
    Records records;
    _MsgMessage &message = records.chat(u"+34612"_s).received(u"Hi"_s).attachment(u"/x/A.jpg"_s).last();
    message.date = 1;
    message.is_from_me = 257; // its low byte counts
    QCOMPARE(logicHash(message), u"ee9880ca16ed2a8aaa6a0a7b4579fb02"_s);
}

QTEST_GUILESS_MAIN(TestMessageText)
#include "testmessagetext.moc"
