#include "messagetext.h"
#include "messagewords.h"
#include "texts.h"

#include <QTest>
#include <QTranslator>

#include <functional>

using namespace Qt::StringLiterals;

namespace
{

constexpr int noon = 700'006'400; // 2023-03-08 23:13:20 in Madrid

using Change = std::function<void(_MsgMessage &)>;

} // namespace

Q_DECLARE_METATYPE(Change)

class TestMessageWords : public QObject
{
    Q_OBJECT

public:
    TestMessageWords()
    {
        ann._ct_name = u"Ann"_s;
        ben.id = u"+34612345679"_s;
    }

private Q_SLOTS:
    void initTestCase() { installTexts(translator); }
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

    _MsgHandle ann;
    _MsgHandle ben;
    QTranslator translator;
};

void TestMessageWords::tellsAllOfAMessage_data()
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
    row("edited without history", u"now"_s, u"now\n[Edited, 08 Mar 2023 11:13 PM]"_s,
        [](MessageExtras &e) { e.date_edited = noon; });
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
    row("an unknown effect", u"Boo"_s, u"Boo\n[Sent with com.example.x]"_s,
        [](MessageExtras &e) { e.expressive_send_style_id = u"com.example.x"_s; });
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

void TestMessageWords::tellsAllOfAMessage()
{
    QFETCH(QString, text);
    QFETCH(Change, change);
    _MsgMessage m = message(text);
    change(m);
    QTEST(fullText(m), "expected");
}

void TestMessageWords::tellsEvents_data()
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

void TestMessageWords::tellsEvents()
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

void TestMessageWords::leavesOldMessagesAsTheyWere()
{
    _MsgMessage m = message({});
    m.extras.reset();
    m.item_type = 3;
    m.group_action_type = 1;
    QCOMPARE(fullText(m), u"Ann left the conversation.\n08 Mar 2023 11:13 PM"_s);
}

QTEST_GUILESS_MAIN(TestMessageWords)
#include "testmessagewords.moc"
