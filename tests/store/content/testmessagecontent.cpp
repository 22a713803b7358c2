#include "app/texts.h"
#include "store/content/drawing.h"
#include "store/content/sticker.h"
#include "store/records/contenttext.h"
#include "store/records/messageparts.h"
#include "store/records/messagetext.h"
#include "store/records/richcontent.h"
#include "testing/builders/samplepayloads.h"
#include "testing/builders/sampleplist.h"
#include "testing/builders/samplerichkinds.h"
#include "testing/builders/sampletypedstream.h"
#include "testing/helpers/records.h"

#include <QElapsedTimer>
#include <QTest>
#include <QTranslator>

using namespace Qt::StringLiterals;

namespace
{

const auto pollBalloon = u"com.apple.messages.MSMessageExtensionBalloonPlugin:0:com.apple.messages.Polls"_s;

_MsgMessage balloon(const QString &bundle, const QByteArray &payload)
{
    _MsgMessage message;
    message.text = u"\uFFFC"_s;
    message.extras = new MessageExtras;
    message.extras->balloon_bundle_id = bundle;
    message.extras->payload_data = payload;
    return message;
}

MessageReaction vote(_MsgHandle *handle, const QString &voter, const QStringList &options)
{
    MessageReaction reaction;
    reaction.associated_message_type = 4000;
    reaction.handle = handle;
    reaction.is_from_me = handle ? 0 : 1;
    reaction.payload_data = sampleVote(voter, options);
    return reaction;
}

const SampleRichKind &kindNamed(const QList<SampleRichKind> &kinds, const QByteArray &name)
{
    return *std::find_if(kinds.begin(), kinds.end(),
                         [&](const SampleRichKind &kind) { return name == kind.name; });
}

} // namespace

class TestMessageContent : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { installTexts(translator); }
    void tellsEachKind_data();
    void tellsEachKind();
    void everyKindIsInTheTable();
    void pollsStandAsTheyDoAtTheEnd();
    void damageCostsNothingButTheContent();
    void largeContentStaysBounded();
    void drawings();
    void lookOfAText();
    void translations();
    void stickers();

private:
    QTranslator translator;
};

void TestMessageContent::tellsEachKind_data()
{
    QTest::addColumn<QString>("kind");
    QTest::addColumn<QStringList>("lines");
    const auto row = [](const char *name, const char *kind, const QStringList &lines) {
        QTest::newRow(name) << QString::fromLatin1(kind) << lines;
    };
    row("a page", "link", {u"Ex: Bake bread, https://ex.org/a/"_s, u"Flour and water"_s});
    row("a page in a wrapper", "link", {u"Ex: Bake bread, https://ex.org/a/"_s, u"Flour and water"_s});
    row("a page that never came", "link", {u"https://ex.org/a/"_s});
    row("a song", "song",
        {u"The Coast: Tide (Low Water), https://music.example/1"_s, u"Out it goes in it comes"_s});
    row("an app of the store", "app_store", {u"Chess – Play, https://apps.example/2"_s});
    row("a place", "place", {u"Old Mill, Mill Road, Ely (52.4, 0.26)"_s});
    row("a shared board", "collaboration", {u"Freeform: Budget (shared 08 Mar 2023 9:26 PM)"_s});
    row("a card of an app", "app",
        {u"Table 4: Blue Cafe. 2 people, Friday 7 PM. Tap to accept https://t4.example/b?i=9"_s});
    row("money sent", "payment", {u"Sent $265 with Apple Pay."_s});
    row("a recurring payment", "payment", {u"Apple Cash: Recurring payment of $1.50 set up"_s});
    row("a check-in", "check_in", {u"Check In: Timer Started, expected by 08 Mar 2023 10:26 PM"_s});
    row("a check-in that is late", "check_in", {u"Check In: Late, was expected at 08 Mar 2023 10:26 PM"_s});
    row("a place of a friend", "location", {u"Find My: Ana shares the location"_s});
    row("an album", "photos", {u"Photos: Summer, 12 photos https://share.icloud.com/photos/x#Summer"_s});
    row("a turn of a game", "app", {u"Moves: Your move. Chess"_s});
    row("a workout", "fitness", {u"Fitness: You closed the rings"_s});
    row("an archive of a shape of its own", "app",
        {u"Message from app org.example.novel: New thing https://n.example/"_s});
    row("a quick question", "quick_reply", {u"Shop: Which one?"_s, u"Red"_s, u"listPicker"_s});
    row("a quick answer", "quick_reply", {u"Shop: Which one?"_s, u"Red"_s, u"Blue (chosen)"_s});
    row("a list", "list_picker", {u"Shop: What would you like?"_s, u"Cakes: Plum, 3 left"_s});
    row("an answered list", "list_picker",
        {u"Shop: What would you like?"_s, u"Chosen: Plum (chosen)"_s, u"Cakes: Pear"_s});
    row("a form", "form", {u"Shop: Book a visit"_s});
    row("an answered form", "form", {u"Shop: Visit booked"_s, u"When?: Monday, 10 AM"_s});
    row("an old form", "business", {u"Shop: Order 7"_s});
    row("handwriting", "handwriting", {u"Handwritten message, 2 strokes"_s});
    row("handwriting that isn't packed", "handwriting", {u"Handwritten message, 1 stroke"_s});
    row("taps", "digital_touch", {u"Digital Touch: taps"_s});
    row("a sketch", "digital_touch", {u"Digital Touch: sketch, 2 strokes"_s});
    row("a kiss", "digital_touch", {u"Digital Touch: kiss"_s});
    row("a heartbeat", "digital_touch", {u"Digital Touch: heartbeat, 72 beats a minute"_s});
    row("a fireball", "digital_touch", {u"Digital Touch: fireball"_s});
    row("a sketch on a photo", "digital_touch", {u"Digital Touch: photo or video"_s});
    row("a poll", "poll", {u"Poll: Lunch?"_s, u"Pizza: no votes"_s, u"Soup: no votes"_s});
}

void TestMessageContent::tellsEachKind()
{
    QFETCH(QStringList, lines);
    const QList<SampleRichKind> kinds = sampleRichKinds();
    const SampleRichKind &kind = kindNamed(kinds, QTest::currentDataTag());
    const _MsgMessage message = balloon(kind.balloon_bundle_id, kind.payload_data);
    QTEST(contentKindName(contentOf(message).kind), "kind");
    QCOMPARE(contentText(message).join(u'\n').replace(u'\u00A0', u' '), lines.join(u'\n'));
    QCOMPARE(displayText(message), contentText(message).first());
    QCOMPARE(fullText(message), u'[' + contentText(message).join(u"]\n["_s) + u']');
}

void TestMessageContent::everyKindIsInTheTable()
{
    QCOMPARE(sampleRichKinds().size(), 33);
}

void TestMessageContent::pollsStandAsTheyDoAtTheEnd()
{
    Records records;
    _MsgHandle ana = person(u"+34611"_s, u"Ana"_s);
    _MsgMessage &poll = records.talk({ana}).received({}).last();
    poll.guid = u"POLL"_s;
    poll.extras = balloon(pollBalloon, samplePoll(u"Lunch?"_s, {u"Pizza"_s})).extras;
    _MsgMessage &later = records.received({}).last();
    later.extras = balloon(pollBalloon, samplePoll({}, {u"Pizza"_s, u"Soup"_s})).extras;
    later.extras->associated_message_guid = poll.guid;
    records.lastChat().messages.insert(u"2"_s, &later);
    poll.extras->reactions = {vote(&ana, u"+34611"_s, {u"1"_s}), vote(&ana, u"+34611"_s, {u"1"_s, u"2"_s}),
                              vote(nullptr, u"+34600"_s, {u"2"_s}), vote(&ana, u"+34777"_s, {u"9"_s})};
    QCOMPARE(contentText(poll), QStringList({u"Poll: Lunch?"_s, u"Pizza: Ana"_s, u"Soup: Ana, You"_s,
                                             u"An option no longer in the list: +34777"_s}));
}

void TestMessageContent::damageCostsNothingButTheContent()
{
    for (const SampleRichKind &kind : sampleRichKinds()) {
        const qsizetype step = kind.payload_data.size() / 25 + 1;
        for (qsizetype length = 1; length < kind.payload_data.size(); length += step) {
            const _MsgMessage cut =
                balloon(kind.balloon_bundle_id, QByteArray(kind.payload_data.constData(), length));
            QVERIFY(!fullText(cut).isEmpty());
            drawingOf(cut);
            QByteArray flipped = kind.payload_data;
            flipped[length] = char(flipped.at(length) ^ 0x55);
            QVERIFY(!fullText(balloon(kind.balloon_bundle_id, flipped)).isEmpty());
        }
    }
    const _MsgMessage damaged = balloon(pollBalloon, "bplist00 but no more");
    QCOMPARE(fullText(damaged), u"Poll"_s);
    QVERIFY(contentOf(damaged).isDamaged);
}

void TestMessageContent::largeContentStaysBounded()
{
    QElapsedTimer timer;
    timer.start();
    _MsgMessage poll = balloon(pollBalloon, samplePoll(u"Lunch?"_s, {u"Pizza"_s, u"Soup"_s}));
    for (int voter = 0; voter < 10'000; ++voter)
        poll.extras->reactions.append(vote(nullptr, QString::number(voter), {u"2"_s}));
    poll.extras->reactions.last().is_from_me = 0;
    QCOMPARE(contentOf(poll).choices.size(), 2);
    const QByteArray large = sampleAppPayload(u"App"_s, QString(1'000'000, u'x'), u"?"_s);
    QVERIFY(contentSummary(balloon(u"org.example"_s, large)).size() < 50'000);
    const _MsgMessage drawing =
        balloon(u"com.apple.Handwriting.HandwritingProvider"_s, sampleHandwriting(20, 50'000, true));
    const std::optional<Drawing> read = drawingOf(drawing);
    QVERIFY(read && read->shapes.size() == 20 && read->shapes.front().points.size() == 50'000);
    QVERIFY(svgOf(*read).size() < 4'000'000);
    QVERIFY2(timer.elapsed() < 20'000, qPrintable(QString::number(timer.elapsed())));
}

void TestMessageContent::drawings()
{
    const auto hand = u"com.apple.Handwriting.HandwritingProvider"_s;
    const Drawing line = drawingOf(hand, sampleHandwriting(1, 2, true)).value();
    QVERIFY(svgOf(line).contains("viewBox=\"0 0 405 205\""));
    QVERIFY(
        svgOf(line).contains("stroke-width=\"4\" stroke=\"currentColor\" d=\"M2.5,2.5 L 402.5,202.5\"/>"));
    QVERIFY(svgOf(drawingOf(hand, sampleHandwriting(1, 1, false)).value()).contains("<circle"));
    const Drawing sketch = drawingOf(u"com.apple.DigitalTouchBalloonProvider"_s, sampleSketch(4)).value();
    QCOMPARE(sketch.shapes.size(), size_t(2));
    QVERIFY(sketch.shapes[0].points[0].y == sketch.height); // the canvas begins at the bottom
    QVERIFY(svgOf(sketch).contains("#00ff00"));
    QVERIFY(!drawingOf(u"org.example"_s, sampleSketch(4)));
}

void TestMessageContent::lookOfAText()
{
    const QByteArray part = "__kIMMessagePartAttributeName";
    _MsgMessage message;
    message.text = u"😄 Call Bo, see here"_s;
    message.attributedBody =
        sampleTypedStream(message.text, {{8, {{part, 0}}},
                                         {2,
                                          {{part, 0},
                                           {"__kIMTextBoldAttributeName", 1},
                                           {"__kIMMentionConfirmedMention", 0, u"bo@ex.org"_s}}},
                                         {6, {{part, 0}}},
                                         {4,
                                          {{part, 1},
                                           {"__kIMTextEffectAttributeName", 9},
                                           {"__kIMLinkAttributeName", 0, u"https://ex.org/"_s, true}}}});
    const QList<StyledRun> runs = styledRuns(message);
    QCOMPARE(runs.size(), 4);
    QVERIFY(runs.at(0).isPlain() && runs.at(1).isBold && !runs.at(1).isItalic);
    QCOMPARE(message.text.sliced(runs.at(1).at, runs.at(1).length), u"Bo"_s);
    QCOMPARE(runs.at(1).mention, u"bo@ex.org"_s);
    QCOMPARE(runs.at(3).link, u"https://ex.org/"_s);
    QCOMPARE(textEffectName(runs.at(3).effect), u"shake"_s);
    QCOMPARE(runs.at(3).part, 1);
    message.text = u"Another text"_s;
    QVERIFY(styledRuns(message).isEmpty());
    for (qsizetype length = 0; length < message.attributedBody.size(); ++length)
        QVERIFY(
            styledRuns(u"😄 Call Bo, see here"_s, QByteArray(message.attributedBody.first(length))).size() <=
            4);
}

void TestMessageContent::translations()
{
    _MsgMessage message;
    message.text = u"Hello"_s;
    message.extras = new MessageExtras;
    message.extras->message_summary_info = sampleTranslation(u"Hallo\uFFFC"_s, u"en_US"_s, u"de_DE"_s);
    QCOMPARE(fullText(message), u"Hello\n[Translated (en to de): Hallo]"_s);
}

void TestMessageContent::stickers()
{
    SamplePlist maker = SamplePlist::dictionary();
    maker.set("pid", u"com.apple.messages.MSMessageExtensionBalloonPlugin:0:com.apple.messages.genmoji"_s);
    SamplePlist app = SamplePlist::dictionary();
    app.set("name", u"Owls"_s);
    const Sticker genmoji = readSticker(maker.toBinary(), {}, u"owl with hat"_s);
    QVERIFY(genmoji.kind == Sticker::Kind::Genmoji && genmoji.prompt == "owl with hat"_L1);
    const Sticker other = readSticker({}, app.toBinary(), u"Emoji"_s);
    QVERIFY(other.kind == Sticker::Kind::Other && other.prompt.isEmpty() && other.appName == "Owls"_L1);
    const QByteArray metadata =
        "<x xmlns:stickerEffect=\"http://ns.apple.com/Stickers/1.0/\" stickerEffect:type=\"";
    QCOMPARE(stickerEffect(QByteArray(metadata + "iridescent\"/>")), u"shiny"_s);
    QCOMPARE(stickerEffect(QByteArray(metadata + "cut")), QString());
    QCOMPARE(stickerEffect("ftyp"), QString());
}

QTEST_GUILESS_MAIN(TestMessageContent)
#include "testmessagecontent.moc"
