#include "testing/builders/samplebody.h"
#include "testing/builders/samplepayloads.h"
#include "testing/builders/samplerichkinds.h"
#include "testing/builders/sampletypedstream.h"
#include "tools/samplephone/samplekinds.h"

using namespace Qt::StringLiterals;
using enum IosVersion;

namespace
{

using Text = SampleExtras::Text;

/// No message has it.
const auto strangeGuid = "00000000-0000-4000-8000-00000000DEAD"_L1;
const auto partKey = "__kIMMessagePartAttributeName";

/// Changes a message that has a text and no attachments.
SampleTouch with(const std::function<void(SampleMessage &)> &change)
{
    return [change](SampleMessage &message, const SampleScene &) {
        message.attachments.clear();
        message.text = message.text.isEmpty() ? u"Texto"_s : message.text;
        change(message);
    };
}

/// Moves a message into the conversation of `target`, which it is to answer.
void follow(SampleMessage &message, const SampleMessage &target)
{
    message.chats = target.chats;
    message.service = target.service;
    message.handle = target.handle;
    message.is_from_me = !target.is_from_me || target.handle.isNull();
    message.attachments.clear();
}

struct Reaction {
    int type;
    QString prefix = u"p:0/"_s;
    QString emoji = {};
    QString text = {};
    QString target = {}; ///< null: that of the scene
};

SampleTouch reacting(const Reaction &reaction)
{
    return [reaction](SampleMessage &message, const SampleScene &scene) {
        follow(message, scene.target);
        message.text = reaction.text;
        message.extras.associated_message_type = reaction.type;
        message.extras.associated_message_guid =
            reaction.prefix + (reaction.target.isNull() ? scene.target.guid : reaction.target);
        message.extras.associated_message_emoji = reaction.emoji;
    };
}

SampleTouch placingSticker(int type)
{
    return [type](SampleMessage &message, const SampleScene &scene) {
        reacting({type})(message, scene);
        message.text = u"\uFFFC"_s;
        message.attachments = {
            {.filename = u"~/Library/SMS/StickerCache/"_s % message.guid % u"/sticker.png"_s,
             .mime_type = u"image/png"_s,
             .uti = u"public.png"_s,
             .is_sticker = true}};
    };
}

/// Answers the scene's message, or, where it is an answer too, the first of that thread.
SampleTouch answering(const QString &originator)
{
    return [originator](SampleMessage &message, const SampleScene &scene) {
        const QString &thread = scene.target.extras.thread_originator_guid;
        follow(message, scene.target);
        message.extras.thread_originator_guid = !originator.isNull() ? originator
                                                : thread.isNull()    ? scene.target.guid
                                                                     : thread;
        message.extras.thread_originator_part = u"0:0:"_s + QString::number(scene.target.text.size());
        message.extras.reply_to_guid = scene.target.guid;
    };
}

QList<SampleKind> answerKinds()
{
    QList<SampleKind> kinds;
    for (int type = 2000; type <= 2005; ++type)
        kinds.append({Ios11, reacting({type}), 50});
    kinds += {
        {Ios11, reacting({2001, u"bp:"_s})},
        {Ios11, reacting({2000, u""_s})},
        {Ios11, reacting({2003, u"p:0/"_s, {}, u"Se ha reído de “Hola”"_s})},
        {Ios11, reacting({3000}), 400},
        {Ios11, reacting({2000, u"p:0/"_s, {}, {}, strangeGuid})},
        {Ios11, placingSticker(1000)},
        {Ios18, reacting({2006, u"p:0/"_s, u"🚀"_s}), 50},
        {Ios18, reacting({2006, u"p:0/"_s, u"👩‍👩‍👧"_s})},
        {Ios18, reacting({3006, u"p:0/"_s, u"🚀"_s})},
        {Ios18, placingSticker(2007)},
        {Ios16, answering({}), 15},
        {Ios16, answering(strangeGuid)},
    };
    return kinds;
}

void edit(SampleMessage &message, const QStringList &states)
{
    for (qint64 date = message.date; const QString &state : states) {
        message.extras.edits.append({0, date, state});
        message.extras.date_edited = date;
        date += 60;
    }
    message.text = states.last();
}

void retract(SampleMessage &message, const QString &left, int part)
{
    message.text = left;
    message.extras.retractedParts = {part};
    message.extras.date_edited = message.date + 90;
}

QList<SampleKind> changeKinds()
{
    return {
        {Ios16, with([](auto &message) {
             edit(message, {message.text.chopped(message.text.size() / 3), message.text});
         }),
         40},
        {Ios16, with([](auto &message) {
             edit(message, {u"uno"_s, u"dos 😄"_s, u"tres\nñ"_s, u"cuatro"_s});
         })},
        {Ios16, with([](auto &message) { message.extras.date_edited = message.date + 60; })},
        {Ios16, with([](auto &message) { retract(message, QString(), 0); }), 150},
        {Ios16, with([](auto &message) {
             retract(message, u"Queda esto"_s, 1);
             message.extras.date_retracted = message.date + 90;
         })},
        {Ios16, with([](auto &message) {
             message.extras.message_summary_info = "bplist00 but no more"_ba;
             message.extras.date_edited = message.date + 60;
         })},
        {Ios16, with([](auto &message) { message.extras.delete_date = message.date + 86400; }), 300},
        {Ios16, with([](auto &message) {
             message.extras.deletedParts = {{1, message.date + 86400, u"Parte borrada"_s}};
         })},
        {Ios18, with([](auto &message) {
             message.is_from_me = true;
             message.extras.schedule_type = message.extras.schedule_state = 2;
         })},
    };
}

QList<SampleKind> effectKinds()
{
    static const QStringList words =
        u"impact loud gentle invisibleink Confetti Echo Fireworks HappyBirthday Heart Lasers ShootingStar "
        "Sparkles Spotlight"_s.split(u' ');
    QList<SampleKind> kinds;
    for (const QString &word : words) {
        const QString id = word.at(0).isLower()
                               ? QString(u"com.apple.MobileSMS.expressivesend."_s + word)
                               : QString(u"com.apple.messages.effect.CK"_s % word % u"Effect"_s);
        kinds.append(
            {Ios11, with([id](auto &message) { message.extras.expressive_send_style_id = id; }), 800});
    }
    return kinds;
}

SampleTouch ballooning(const QString &bundle, const QByteArray &payload)
{
    return [=](SampleMessage &message, const SampleScene &scene) {
        sampleCarrying(u"\uFFFC"_s, {message.guid + u".pluginPayloadAttachment"_s})(message, scene);
        message.attachments.first().hide_attachment = true;
        message.extras.balloon_bundle_id = bundle;
        message.extras.payload_data = payload;
    };
}

void shareLink(SampleMessage &message, const SampleScene &scene)
{
    const QString address = u"https://example.org/receta?id="_s + QString::number(scene.number);
    ballooning(u"com.apple.messages.URLBalloonProvider"_s,
               sampleLinkPayload(address, u"Una receta"_s, u"Pan con tomate"_s))(message, scene);
    message.text = address;
}

void vote(SampleMessage &message, const SampleScene &scene)
{
    const SampleMessage &target = scene.poll.guid.isNull() ? scene.target : scene.poll;
    follow(message, target);
    message.text = QString();
    message.extras.associated_message_type = 4000;
    message.extras.associated_message_guid = target.guid;
    message.extras.balloon_bundle_id =
        u"com.apple.messages.MSMessageExtensionBalloonPlugin:0000000000:com.apple.messages.Polls"_s;
    message.extras.payload_data =
        sampleVote(message.handle.isNull() ? u"+34600000000"_s : message.handle, {u"2"_s});
}

/// A voice message, and what the phone heard in it.
void speak(SampleMessage &message, const SampleScene &scene)
{
    sampleCarrying(u"\uFFFC"_s, {u"Audio Message.caf"_s})(message, scene);
    message.is_audio_message = true;
    message.attributedBody = sampleTypedStream(
        message.text, {{1,
                        {{"__kIMFileTransferGUIDAttributeName", 0, sampleAttachmentGuid(message, 0)},
                         {partKey, 0},
                         {"IMAudioTranscription", 0, u"Llego en diez minutos"_s}}}});
}

QList<SampleKind> balloonKinds()
{
    QList<SampleKind> kinds = {{Ios11, shareLink, 90}, {Ios13, speak}};
    for (const SampleRichKind &kind : sampleRichKinds())
        kinds.append({kind.since, ballooning(kind.balloon_bundle_id, kind.payload_data)});
    kinds.append({Ios26, vote});
    kinds.append({Ios18, with([](auto &message) {
                      message.text = u"See you tomorrow"_s;
                      message.extras.message_summary_info =
                          sampleTranslation(u"Hasta mañana"_s, u"en_US"_s, u"es_ES"_s);
                  })});
    return kinds;
}

QList<SampleKind> serviceKinds()
{
    QList<SampleKind> kinds;
    for (const QString &service : {u"RCS"_s, u"rcs"_s, u"iMessageLite"_s, QString(), u"Telepathy"_s})
        kinds.append({service.isNull() ? Ios11 : Ios18,
                      with([service](auto &message) { message.service = service; })});
    return kinds;
}

SampleTouch sayingIn(Text place, const QString &text)
{
    return with([=](SampleMessage &message) {
        message.text = text.isNull() ? message.text : text;
        message.extras.textIn = place;
    });
}

SampleTouch sayingInRuns(const QString &text, const QList<SampleRun> &runs)
{
    return with([=](SampleMessage &message) {
        message.text = text;
        message.attributedBody = sampleTypedStream(text, runs);
    });
}

/// Bodies that readers have to take as they come.
QList<SampleKind> bodyKinds()
{
    return {
        {Ios11, sayingIn(Text::Body, {})},
        {Ios11, sayingIn(Text::Column, {})},
        {Ios16, sayingIn(Text::Column, {}), 10},
        {Ios16, sayingIn(Text::Both, {}), 10},
        {Ios11, sayingIn(Text::Body, u"ñ"_s.repeated(3000) + u" +\u0084\u0001 fin"_s)},
        {Ios11, sayingIn(Text::Body, u"😄 "_s.repeated(20000))},
        {Ios11, with([](auto &message) { message.extras.hasDatesInSeconds = true; }), 500},
        {Ios11, with([](auto &message) {
             message.attributedBody = sampleBody(message.text, 0).first(60);
             message.text = QString();
         })},
        {Ios16, sayingInRuns(u"Ana, mira"_s,
                             {{3, {{"__kIMMentionConfirmedMention", 0, u"+34612345678"_s}, {partKey, 0}}},
                              {6, {{partKey, 0}}}})},
        {Ios18, sayingInRuns(u"Tiembla"_s, {{7, {{"__kIMTextEffectAttributeName", 9}, {partKey, 0}}}})},
    };
}

/// Two pictures whose rows stand in the other order than their places in the text.
void carryTwo(SampleMessage &message, const SampleScene &scene)
{
    sampleCarrying(u"\uFFFCentre dos\uFFFC"_s, {u"second.png"_s, u"first.gif"_s})(message, scene);
    const QByteArray file = "__kIMFileTransferGUIDAttributeName";
    message.attributedBody =
        sampleTypedStream(message.text, {{1, {{file, 0, sampleAttachmentGuid(message, 1)}, {partKey, 0}}},
                                         {9, {{partKey, 1}}},
                                         {1, {{file, 0, sampleAttachmentGuid(message, 0)}, {partKey, 2}}}});
    message.extras.textIn = Text::Both;
}

/// A file of which the phone knows something odd.
SampleTouch carryingOdd(const QString &text, const QString &fileName, void (*change)(SampleAttachment &))
{
    return [=](SampleMessage &message, const SampleScene &scene) {
        sampleCarrying(text, {fileName})(message, scene);
        change(message.attachments.first());
    };
}

QList<SampleKind> pictureKinds()
{
    return {
        {Ios11, sampleCarrying(u"\uFFFC"_s, {u"Captura ñ 1.png"_s})},
        {Ios11, sampleCarrying(u"\uFFFC"_s, {u"baile.gif"_s})},
        {Ios11, sampleCarrying(u"\uFFFC"_s, {u"IMG_0066.HEIC"_s})},
        {Ios11, carryTwo},
        {Ios11,
         [](SampleMessage &message, const SampleScene &scene) {
             sampleCarrying(u"\uFFFC"_s, {u"Audio Message.caf"_s})(message, scene);
             message.is_audio_message = true;
         }},
        {Ios11,
         carryingOdd(u"\uFFFC"_s, u"IMG_0067.HEIC"_s,
                     [](SampleAttachment &file) { file.filename.replace(u"~/"_s, u"/var/mobile/"_s); })},
        {Ios11, carryingOdd(u"\uFFFC"_s, u"x.jpg"_s,
                            [](SampleAttachment &file) {
                                file.filename = QString();
                                file.transfer_name = u"never came.jpg"_s;
                                file.transfer_state = 0;
                                file.total_bytes = 123456;
                            })},
        {Ios18, carryingOdd(u"Genmoji \uFFFC"_s, u"emoji.HEIC"_s,
                            [](SampleAttachment &file) {
                                file.emoji_image_short_description = u"a cat with a hat"_s;
                            })},
    };
}

} // namespace

QList<SampleKind> modernSampleKinds()
{
    return answerKinds() + changeKinds() + effectKinds() + balloonKinds() + serviceKinds() + bodyKinds() +
           pictureKinds();
}
