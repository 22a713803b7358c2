#include "testing/builders/samplerichkinds.h"

#include "testing/builders/samplepayloads.h"
#include "testing/builders/sampleplist.h"
#include "testing/builders/sampleprotobuf.h"

#include <QDateTime>
#include <QUrl>

#include <lzma.h>

#include <stdexcept>

using namespace Qt::StringLiterals;

namespace
{

QString extension(const char *bundle)
{
    return u"com.apple.messages.MSMessageExtensionBalloonPlugin:0000000000:"_s + QLatin1StringView(bundle);
}

QVariantMap record(const char *className, QVariantMap fields)
{
    fields.insert(u"$class"_s, QString::fromLatin1(className));
    return fields;
}

QByteArray preview(const QVariantMap &fields, bool isPlaceholder = false)
{
    return sampleKeyedArchive(
        record("RichLink", {{u"richLinkIsPlaceholder"_s, isPlaceholder},
                            {u"richLinkMetadata"_s, record("LPLinkMetadata", fields)}}));
}

QByteArray little(const QList<int> &numbers)
{
    QByteArray bytes;
    for (const int number : numbers) {
        bytes += char(number & 0xFF);
        bytes += char(number >> 8 & 0xFF);
    }
    return bytes;
}

QList<SampleRichKind> linkKinds()
{
    const QString balloon = u"com.apple.messages.URLBalloonProvider"_s;
    const QUrl page(u"https://ex.org/a/"_s);
    const QVariantMap picture =
        record("RichLinkImageAttachmentSubstitute",
               {{u"richLinkImageAttachmentSubstituteIndex"_s, 0}, {u"MIMEType"_s, u"image/png"_s}});
    const QVariantMap bread = {{u"originalURL"_s, QUrl(u"http://ex.org/a"_s)},
                               {u"URL"_s, page},
                               {u"title"_s, u"Bake bread"_s},
                               {u"siteName"_s, u"Ex"_s},
                               {u"summary"_s, u"Flour and\nwater"_s},
                               {u"image"_s, picture}};
    const QVariantMap lyrics =
        record("LPLyricExcerptMetadata", {{u"lyrics"_s, u"Out it goes\nin it comes"_s}});
    const QVariantMap song = record("LPiTunesMediaSongMetadata", {{u"name"_s, u"Tide"_s},
                                                                  {u"artist"_s, u"The Coast"_s},
                                                                  {u"album"_s, u"Low Water"_s},
                                                                  {u"lyricExcerpt"_s, lyrics}});
    const QVariantMap app =
        record("LPiTunesMediaSoftwareMetadata", {{u"name"_s, u"Chess"_s}, {u"subtitle"_s, u"Play"_s}});
    const QVariantMap place =
        record("LPMapMetadata", {{u"name"_s, u"Old Mill"_s}, {u"address"_s, u"Mill Road, Ely"_s}});
    const QVariantMap container =
        record("CKContainerID", {{u"ContainerIdentifier"_s, u"com.apple.freeform"_s}});
    const QVariantMap shared =
        record("SWCollaborationMetadata",
               {{u"title"_s, u"Budget"_s},
                {u"creationDate"_s, QDateTime::fromSecsSinceEpoch(1678307200, Qt::UTC)},
                {u"containerSetupInfo"_s, record("CKContainerSetupInfo", {{u"containerID"_s, container}})}});
    const QVariantMap board = record(
        "LPSharedObjectMetadata",
        {{u"specialization"_s, record("LPiCloudSharingMetadata", {{u"application"_s, u"Freeform"_s}})}});
    return {
        {"a page", IosVersion::Ios11, balloon, preview(bread)},
        {"a page in a wrapper", IosVersion::Ios16, balloon,
         sampleKeyedArchive(
             record("LPSharingMetadataWrapper", {{u"metadata"_s, record("LPLinkMetadata", bread)}}))},
        {"a page that never came", IosVersion::Ios11, balloon, preview({{u"originalURL"_s, page}}, true)},
        {"a song", IosVersion::Ios13, balloon,
         preview({{u"URL"_s, QUrl(u"https://music.example/1"_s)}, {u"specialization"_s, song}})},
        {"an app of the store", IosVersion::Ios13, balloon,
         preview({{u"URL"_s, QUrl(u"https://apps.example/2"_s)}, {u"specialization"_s, app}})},
        {"a place", IosVersion::Ios16, balloon,
         preview({{u"URL"_s, QUrl(u"https://maps.example/?ll=52.4,0.26&q=Old%20Mill"_s)},
                  {u"title"_s, u"Old Mill, Ely, England"_s},
                  {u"specialization2"_s, place}})},
        {"a shared board", IosVersion::Ios18, balloon,
         preview({{u"originalURL"_s, QUrl(u"https://icloud.example/b#Budget"_s)},
                  {u"collaborationMetadata"_s, shared},
                  {u"specialization2"_s, board}})},
    };
}

QByteArray card(const QString &app, const QString &words, const QVariantMap &captions,
                const QString &url = {}, QVariantMap more = {})
{
    more.insert(u"an"_s, app);
    more.insert(u"ldtext"_s, words);
    more.insert(u"userInfo"_s, captions);
    if (!url.isNull())
        more.insert(u"URL"_s, QUrl(url));
    return sampleKeyedArchive(more);
}

QList<SampleRichKind> appKinds()
{
    const QString cash = extension("com.apple.PassbookUIService.PeerPaymentMessagesExtension");
    const QString checkIn = extension("com.apple.SafetyMonitorApp.SafetyMonitorMessages");
    return {
        {"a card of an app", IosVersion::Ios11, extension("org.example.tables"),
         card(u"Table 4"_s, {},
              {{u"image-title"_s, u"Blue Cafe"_s},
               {u"caption"_s, u"2 people,\nFriday 7 PM"_s},
               {u"subcaption"_s, u"Tap to accept"_s}},
              u"https://t4.example/b?i=9"_s)},
        {"money sent", IosVersion::Ios11, cash,
         card(u"Apple\u00A0Pay"_s, u"Sent $265 with Apple\u00A0Pay."_s,
              {{u"caption"_s, u"Apple\u00A0Pay"_s}, {u"subcaption"_s, u"$265 Payment"_s}},
              u"data:application/vnd.apple.pkppm;base64,AAAA"_s)},
        {"a recurring payment", IosVersion::Ios18, cash,
         card(u"Apple\u00A0Cash"_s, u"Recurring payment of $1.50 set up"_s, {})},
        {"a check-in", IosVersion::Ios18, checkIn,
         card(u"Check\u00A0In"_s, u"Check\u00A0In: Timer Started"_s,
              {{u"caption"_s, u"Check\u00A0In: Timer Started"_s}},
              u"?messageType=1&sendDate=1678307200.25&estimatedEndTime=1678310800"_s)},
        {"a check-in that is late", IosVersion::Ios18, checkIn,
         card(u"Check\u00A0In"_s, u"Check\u00A0In: Late"_s, {},
              u"?messageType=2&sendDate=1678307200&triggerTime=1678310800&estimatedEndTime=1e300"_s)},
        {"a place of a friend", IosVersion::Ios18, extension("com.apple.findmy.FindMyMessagesApp"),
         card(u"Find\u00A0My"_s, u"Ana shares the location"_s, {}, u"?FindMyMessagePayloadVersionKey=v0"_s)},
        {"an album", IosVersion::Ios13, extension("com.apple.mobileslideshow.PhotosMessagesApp"),
         card(u"Photos"_s, u"Summer, 12 photos"_s, {{u"caption"_s, u"Summer"_s}, {u"subcaption"_s, u"12"_s}},
              u"https://share.icloud.com/photos/x#Summer"_s)},
        {"a turn of a game", IosVersion::Ios11, extension("org.example.game"),
         card(u"Moves"_s, u"Chess"_s, {{u"caption"_s, u"Your move"_s}}, u"data:?ver=1&data=abc"_s)},
        {"a workout", IosVersion::Ios11, extension("com.apple.ActivityMessagesApp.MessagesExtension"),
         card(u"Fitness"_s, u"$(kIMTranscriptPluginBreadcrumbTextReceiverIdentifier) closed the rings"_s,
              {})},
        {"an archive of a shape of its own", IosVersion::Ios26, extension("org.example.novel"),
         sampleKeyedArchive(
             QVariantMap{{u"card"_s, QVariantMap{{u"title"_s, u"New thing"_s},
                                                 {u"url"_s, QUrl(u"https://n.example/"_s)}}}})},
    };
}

QList<SampleRichKind> businessKinds()
{
    const QString balloon = extension("com.apple.icloud.apps.messages.business.extension");
    const auto business = [&](const char *name, const QString &words, const QByteArray &json) {
        return SampleRichKind{name, IosVersion::Ios11, balloon,
                              card(u"Shop"_s, words, {{u"caption"_s, words}}, u"?"_s, {{u"data"_s, json}})};
    };
    return {
        business("a quick question", u"Which one?"_s,
                 R"({"quick-reply":{"items":[{"title":"Red"},{"title":"listPicker"}]}})"),
        business("a quick answer", u"Which one?"_s,
                 R"({"quick-reply":{"items":[{"title":"Red"},{"title":"Blue"}],"selectedIndex":1}})"),
        business(
            "a list", u"Choose"_s,
            R"({"listPicker":{"sections":[{"title":"Cakes","items":[{"title":"Plum","subtitle":"3 left"}]}]},
                    "receivedMessage":{"title":"What would you like?"}})"),
        business("an answered list", u"Plum"_s,
                 R"({"listPicker":{"sections":[{"title":"Chosen","items":[{"title":"Plum"}]},
                    {"title":"Cakes","items":[{"title":"Pear"}]}]},
                    "receivedMessage":{"title":"What would you like?"},"replyMessage":{"title":"Plum"}})"),
        business("a form", u"Book a visit"_s, R"({"dynamic":{"data":{"pages":[]},"selections":[]}})"),
        business("an answered form", u"Visit booked"_s,
                 R"({"dynamic":{"selections":[{"title":"Visit","subtitle":"When?",
                    "items":[{"title":"Monday"},{"title":"10 AM"}]}]}})"),
        business("an old form", u"Order 7"_s, "\x01\x02 opaque"),
    };
}

QByteArray drawn(const SampleProtobuf &drawing)
{
    SampleProtobuf outer;
    outer.bytes(3, "0F1E").bytes(4, drawing.message);
    return outer.message;
}

QByteArray packed(const QByteArray &bytes)
{
    QByteArray result(qsizetype(lzma_stream_buffer_bound(size_t(bytes.size()))), '\0');
    size_t length = 0;
    const auto *in = reinterpret_cast<const uint8_t *>(bytes.constData());
    auto *out = reinterpret_cast<uint8_t *>(result.data());
    if (lzma_easy_buffer_encode(1, LZMA_CHECK_NONE, nullptr, in, size_t(bytes.size()), out, &length,
                                size_t(result.size())) != LZMA_OK)
        throw std::runtime_error("A sample drawing cannot be packed.");
    return result.first(qsizetype(length));
}

QByteArray touch(int kind, const SampleProtobuf &inner)
{
    SampleProtobuf outer;
    outer.number(1, quint64(kind)).bytes(3, inner.message).bytes(4, "\xFF\x80\x40\xFF").bytes(5, "ABCD");
    return outer.message;
}

QList<SampleRichKind> drawnKinds()
{
    const QString touches = u"com.apple.DigitalTouchBalloonProvider"_s;
    const QString hand = u"com.apple.Handwriting.HandwritingProvider"_s;
    SampleProtobuf taps;
    taps.bytes(2, little({0})).bytes(3, little({0x8000, 0xC000})).bytes(4, "\xFF\0\0\xFF"_ba);
    SampleProtobuf kiss;
    kiss.bytes(1, little({0})).bytes(2, little({0x8000, 0x8000})).bytes(3, little({500}));
    SampleProtobuf heart;
    heart.real(1, 72).number(2, 4).real(6, 0);
    SampleProtobuf fire;
    fire.real(1, 2).real(2, 0.5F).real(3, -0.5F).bytes(4, little({0})).bytes(5, little({100, 200}));
    SampleProtobuf photo;
    photo.number(4, 2).bytes(2, sampleKeyedArchive(QVariantList{sampleSketch(3)}));
    return {
        {"handwriting", IosVersion::Ios11, hand, sampleHandwriting(2, 5, true)},
        {"handwriting that isn't packed", IosVersion::Ios11, hand, sampleHandwriting(1, 1, false)},
        {"taps", IosVersion::Ios11, touches, touch(1, taps)},
        {"a sketch", IosVersion::Ios11, touches, sampleSketch(4)},
        {"a kiss", IosVersion::Ios11, touches, touch(7, kiss)},
        {"a heartbeat", IosVersion::Ios11, touches, touch(3, heart)},
        {"a fireball", IosVersion::Ios11, touches, touch(8, fire)},
        {"a sketch on a photo", IosVersion::Ios11, touches, touch(6, photo)},
    };
}

QByteArray pollArchive(const QByteArray &json)
{
    const QByteArray encoded = json.toBase64(QByteArray::Base64UrlEncoding | QByteArray::OmitTrailingEquals);
    return sampleKeyedArchive(QVariantMap{
        {u"an"_s, u"Polls"_s},
        {u"URL"_s, QUrl(QString::fromLatin1("data:," + encoded + "?src=p&c=4"))},
    });
}

} // namespace

QList<SampleRichKind> sampleRichKinds()
{
    QList<SampleRichKind> kinds = linkKinds() + appKinds() + businessKinds() + drawnKinds();
    kinds.append({"a poll", IosVersion::Ios26, extension("com.apple.messages.Polls"),
                  samplePoll(u"Lunch?"_s, {u"Pizza"_s, u"Soup"_s})});
    return kinds;
}

QByteArray samplePoll(const QString &title, const QStringList &options)
{
    QStringList list;
    for (qsizetype i = 0; i < options.size(); ++i)
        list.append(uR"({"optionIdentifier":"%1","text":"%2","creatorHandle":"+34611"})"_s.arg(i + 1).arg(
            options.at(i)));
    return pollArchive(
        uR"({"version":1,"item":{"title":"%1","orderedPollOptions":[%2]}})"_s.arg(title, list.join(u','))
            .toUtf8());
}

QByteArray sampleVote(const QString &voter, const QStringList &options)
{
    QStringList votes;
    for (const QString &option : options)
        votes.append(uR"({"voteOptionIdentifier":"%1","participantHandle":"%2"})"_s.arg(option, voter));
    return pollArchive(uR"({"version":1,"item":{"votes":[%1]}})"_s.arg(votes.join(u',')).toUtf8());
}

QByteArray sampleTranslation(const QString &text, const QString &from, const QString &to)
{
    const QVariantMap attributed = record("NSAttributedString", {{u"NSString"_s, text}});
    SamplePlist summary = SamplePlist::dictionary();
    summary.set("ust", true);
    summary.set("tmp",
                sampleKeyedArchive(QVariantMap{
                    {u"0"_s, QVariantList{record("IMTranslation", {{u"translatedText"_s, attributed},
                                                                   {u"sourceLanguage"_s, from},
                                                                   {u"translationLanguage"_s, to}})}}}));
    return summary.toBinary();
}

QByteArray sampleHandwriting(int strokes, int points, bool isPacked)
{
    constexpr int turned = 0x8000;
    constexpr int largest = 32767;
    QByteArray bytes;
    for (int stroke = 0; stroke < strokes; ++stroke) {
        bytes += little({points});
        for (int point = 0; point < points; ++point) {
            const int at = points == 1 ? 0 : int(qint64(point) * largest / (points - 1));
            bytes += little({at ^ turned, at ^ turned, 10 ^ turned, 0x7FFF});
        }
    }
    SampleProtobuf drawing;
    drawing.bytes(2, QByteArray(4, '\0'))
        .bytes(3, little({10 ^ turned, 5 ^ turned, 400 ^ turned, 200 ^ turned}))
        .number(4, quint64(strokes))
        .number(5, isPacked ? 4 : 1);
    if (isPacked)
        drawing.number(6, quint64(bytes.size()));
    drawing.number(7, 4).bytes(8, isPacked ? packed(bytes) : bytes);
    return drawn(drawing);
}

QByteArray sampleSketch(int points)
{
    QByteArray strokes = little({0, points});
    for (int point = 0; point < points; ++point)
        strokes += little({point * 1000 % 65536, point * 700 % 65536});
    strokes += little({0, 1, 300, 300});
    SampleProtobuf sketch;
    sketch.number(1, 2).bytes(2, strokes).bytes(3, QByteArray("\x00\xFF\x00\xFF", 4).repeated(2));
    return touch(4, sketch);
}
