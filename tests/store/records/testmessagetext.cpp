#include "app/texts.h"
#include "store/records/extrastext.h"
#include "store/records/messagetext.h"
#include "testing/helpers/records.h"

#include <QTest>
#include <QTranslator>

#include <functional>

using namespace Qt::StringLiterals;

namespace
{

constexpr int someDate = 389102400; // 2013-05-01 12:00 UTC, 14:00 in Madrid
constexpr int noon = 700'006'400;   // 2023-03-08 23:13:20 in Madrid

using Change = std::function<void(_MsgMessage &)>;

} // namespace

Q_DECLARE_METATYPE(Change)

class TestMessageText : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { installTexts(translator); }
    void titlesNameEverybodyByRowid();
    void senders();
    void events();
    void markers();
    void emoji();
    void theHashStaysTheSameForEver();
    void tellsAllOfAMessage_data();
    void tellsAllOfAMessage();
    void tellsEvents_data();
    void tellsEvents();
    void leavesOldMessagesAsTheyWere();

private:
    _MsgMessage message(const QString &text)
    {
        _MsgMessage m;
        m.text = text;
        m.handle = &ann;
        m.handle_id = 1;
        m.date = noon;
        m.extras = new MessageExtras;
        return m;
    }

    _MsgHandle ann = person({}, u"Ann"_s);
    _MsgHandle ben = person(u"+34612345679"_s);
    QTranslator translator;
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
    records.last().subject = u" Holidays"_s;
    QCOMPARE(displayText(records.last()), u"Holidays\nLook  [VIDEO] [IMAGE] [ATTA] [VCARD]"_s);
    _MsgAttachment voice;
    voice.uti = u"com.apple.coreaudio-format"_s; // and no MIME type
    records.received({}).last().attachments = {{u"1"_s, &voice}};
    QCOMPARE(displayText(records.last()), u"[AUDIO]"_s);
    records.received({}).last().subject = u"Holidays"_s;
    QCOMPARE(displayText(records.last()), u"Holidays"_s);
    records.last().item_type = 5; // of events the subject is a guid
    QVERIFY(displayText(records.last()).startsWith(u"System Information."_s));
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

void TestMessageText::tellsAllOfAMessage_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<Change>("change");
    QTest::addColumn<QString>("expected");
    const auto row = [](const char *name, const QString &text, const QString &expected,
                        const std::function<void(MessageExtras &)> &change) {
        QTest::newRow(name) << text << Change([=](_MsgMessage &m) { change(*m.extras); }) << expected;
    };
    const auto reaction = [](int type, _MsgHandle *handle) {
        MessageReaction made;
        made.associated_message_type = type;
        made.handle = handle;
        return made;
    };
    row("reactions", u"Hi"_s,
        u"Hi\n[Ann loved this]\n[You reacted to part 2 of this with [EMOJI]]\n"
        "[Somebody reacted to this (kind 2999)]"_s,
        [=, this](MessageExtras &e) {
            e.reactions = {reaction(2000, &ann), reaction(2006, nullptr), reaction(2999, nullptr)};
            e.reactions[1].associated_message_emoji = u"🎉"_s;
            e.reactions[1].part = 1;
            e.reactions[1].is_from_me = 1;
        });
    row("a reaction to what is gone", u"Liked “Lunch?”"_s,
        u"Ann liked a message that isn't here: Liked “Lunch?”"_s,
        [](MessageExtras &e) { e.associated_message_type = 2001; });
    row("a reply", u"Yes"_s, u"Yes\n[Reply to Ann: Lunch?]"_s, [](MessageExtras &e) {
        e.thread_originator_guid = u"G"_s;
        e.originatorWords = u"Ann: Lunch?"_s;
    });
    row("an edited one", u"now"_s,
        u"now\n[Edited, 08 Mar 2023 11:13 PM]\n[Before, 08 Mar 2023 11:13 PM: “first”]\n"
        "[Before, 08 Mar 2023 11:13 PM: (can't be read)]"_s,
        [](MessageExtras &e) {
            e.date_edited = noon;
            e.edits = {{0, noon, u"first"_s}, {0, noon, {}}, {0, noon, u"now"_s}, {1, noon, u"x"_s}};
        });
    row("an unsent one", {}, u"Unsent, 08 Mar 2023 11:13 PM"_s, [](MessageExtras &e) {
        e.retractedParts = {0};
        e.date_edited = noon;
    });
    row("one with an unsent part", u"rest"_s, u"rest\n[A part of this was unsent, 08 Mar 2023 11:13 PM]"_s,
        [](MessageExtras &e) {
            e.retractedParts = {1};
            e.date_edited = noon;
        });
    row("one that went", u"Bye"_s,
        u"Bye\n[A part of this was recently deleted, 08 Mar 2023 11:13 PM: “x”]\n"
        "[Recently deleted, 08 Mar 2023 11:13 PM]"_s,
        [](MessageExtras &e) {
            e.delete_date = noon;
            e.deletedParts = {{1, noon, u"x"_s}};
        });
    row("effects", u"Boo"_s, u"Boo\n[Sent with Slam]\n[To be sent later]"_s, [](MessageExtras &e) {
        e.expressive_send_style_id = u"com.apple.MobileSMS.expressivesend.impact"_s;
        e.schedule_type = 2;
    });
    row("an app's balloon", u"\uFFFC"_s, u"Message from app com.example.Game"_s,
        [](MessageExtras &e) { e.balloon_bundle_id = u"com.apple.x:0000:com.example.Game"_s; });
    row("a known app with a text", u"Lunch or dinner"_s, u"Lunch or dinner\n[Poll]"_s, [](MessageExtras &e) {
        e.balloon_bundle_id =
            u"com.apple.messages.MSMessageExtensionBalloonPlugin:0:com.apple.messages.Polls"_s;
    });
    row("a link", u"https://example.org"_s, u"https://example.org"_s,
        [](MessageExtras &e) { e.balloon_bundle_id = u"com.apple.messages.URLBalloonProvider"_s; });
    row("a body that can't be read", {}, u"The text of this message can't be read."_s,
        [](MessageExtras &e) { e.isTextUndecodable = true; });
}

void TestMessageText::tellsAllOfAMessage()
{
    QFETCH(QString, text);
    QFETCH(Change, change);
    _MsgMessage m = message(text);
    change(m);
    QTEST(fullText(m), "expected");
}

void TestMessageText::tellsEvents_data()
{
    QTest::addColumn<int>("itemType");
    QTest::addColumn<int>("action");
    QTest::addColumn<Change>("change");
    QTest::addColumn<QString>("expected");
    const auto row = [](int type, int action, const QString &expected, const Change &change = {}) {
        QTest::addRow("%d, %d, %s", type, action, qPrintable(expected))
            << type << action << change << expected;
    };
    const Change aboutBen = [this](_MsgMessage &m) {
        m.other_handle = 2;
        m.otherHandle = &ben;
    };
    row(1, 0, u"Ann added +34612345679 to the conversation."_s, aboutBen);
    row(1, 0, u"Ann changed phone number."_s, [](_MsgMessage &m) { m.other_handle = 1; });
    row(1, 1, u"Ann removed you from the conversation."_s, [](_MsgMessage &m) { m.other_handle = 0; });
    row(2, 0, u"Ann named the conversation \"Team %1\"."_s,
        [](_MsgMessage &m) { m.group_title = u"Team %1"_s; });
    row(2, 0, u"Ann removed the name of the conversation."_s);
    row(3, 0, u"You left the conversation."_s, [](_MsgMessage &m) { m.handle_id = 0; });
    row(3, 4, u"Ann changed the background of the conversation."_s);
    row(4, 0, u"Ann started sharing location with you."_s);
    row(4, 0, u"You stopped sharing location with Ann."_s, [](_MsgMessage &m) {
        m.is_from_me = 1;
        m.share_status = 1;
    });
    row(3, 99, u"System Information (3, 99)."_s);
    row(-7, 1, u"System Information (-7, 1)."_s);
}

void TestMessageText::tellsEvents()
{
    QFETCH(int, itemType);
    QFETCH(int, action);
    QFETCH(Change, change);
    _MsgMessage m = message({});
    m.extras->hasNewerEvent = true;
    m.item_type = itemType;
    m.group_action_type = action;
    if (change)
        change(m);
    QFETCH(QString, expected);
    QCOMPARE(fullText(m), QString(expected + u"\n08 Mar 2023 11:13 PM"_s));
}

void TestMessageText::leavesOldMessagesAsTheyWere()
{
    _MsgMessage m = message({});
    m.extras.reset();
    m.item_type = 3;
    m.group_action_type = 1;
    QCOMPARE(fullText(m), u"Ann left the conversation.\n08 Mar 2023 11:13 PM"_s);
}

QTEST_GUILESS_MAIN(TestMessageText)
#include "testmessagetext.moc"
