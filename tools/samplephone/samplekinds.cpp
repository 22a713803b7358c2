#include "tools/samplephone/samplekinds.h"

using namespace Qt::StringLiterals;
using enum IosVersion;

namespace
{

QList<SampleKind> textKinds()
{
    static const QStringList texts = {
        u"Emoji 😄 y más 🚀🇪🇸"_s,
        u"Old phones: \uE415\uE056 \uE537 \uE538"_s,
        u"Heart ❤ ❤️ and ☎, clock ⌚ ⏳"_s,
        u"Newer 🤔 🧩 👩‍👩‍👧"_s,
        u"مرحبا، كيف حالك اليوم؟ (abc 123)"_s,
        u"שלום, מה נשמע? (abc 123)"_s,
        u""_s,
        QString(),
        u"   "_s,
        u"Un texto muy largo que no acaba nunca. "_s.repeated(400),
        u"Line one\nline two\r\n\"quoted\", comma; tab\tend"_s,
        u"=SUM(A1:A9)"_s,
        u"<b>bold</b> & <img src=x onerror=alert(1)> &amp; ]]>"_s,
        u"Bell \u0007 escape \u001B[2J done"_s,
        u"e\u0301 combining, \u200Bzero width, \u202Ereversed\u202C"_s,
        u"https://example.org/?a=1&b=%20 tel +34 612 345 678"_s,
    };
    QList<SampleKind> kinds;
    for (const QString &text : texts)
        kinds.append({Ios5, sampleCarrying(text, {})});
    return kinds;
}

QList<SampleKind> fileKinds()
{
    return {
        {Ios5, sampleCarrying(u"\uFFFC"_s, {u"IMG_0001.jpg"_s})},
        {Ios5, sampleCarrying(u"\uFFFCMira esto"_s, {u"IMG_0002.JPG"_s})},
        {Ios5, sampleCarrying(u"\uFFFC"_s, {u"VID_0003.MOV"_s})},
        {Ios5, sampleCarrying(u"\uFFFC"_s, {u"Audio Message.amr"_s})},
        {Ios5, sampleCarrying(u"Contacto \uFFFC"_s, {u"Ana.vcf"_s})},
        {Ios5, sampleCarrying(u"\uFFFC"_s, {u"informe.pdf"_s})},
    };
}

QList<SampleKind> stateKinds()
{
    using M = SampleMessage;
    using S = SampleScene;
    return {
        {Ios5, [](M &message, const S &) { message.is_from_me = true, message.error = 22; }},
        {Ios5, [](M &message, const S &) { message.is_from_me = false, message.is_read = false; }},
        {Ios5, [](M &message, const S &) { message.subject = u"Asunto: \"reunión\""_s; }},
        {Ios5, [](M &message, const S &) { message.country = QString(); }},
        {Ios5, [](M &message, const S &) { message.service_center = u"+34656000311"_s; }},
        {Ios5, [](M &message, const S &) { message.chats = {}; }},
        {Ios5, [](M &message, const S &) { message.handle = QString(); }},
        {Ios5,
         [](M &message, const S &scene) {
             if (!message.chats.contains(scene.otherChat))
                 message.chats.append(scene.otherChat);
         }},
        {Ios7, [](M &message, const S &) { message.is_audio_message = true; }},
    };
}

enum class About { Nobody, Other, Sender };

struct Event {
    int item_type;
    int group_action_type = 0;
    IosVersion since = Ios7;
    About about = About::Nobody;
    bool isOwn = false;
    int share_status = 0;
    int share_direction = 0;
    QString group_title = {};
};

SampleTouch happening(const Event &event)
{
    return [event](SampleMessage &message, const SampleScene &scene) {
        message.text = QString();
        message.attachments.clear();
        message.service = scene.groupService;
        message.chats = {scene.groupChat};
        message.is_from_me = event.isOwn;
        message.handle = event.isOwn ? QString() : scene.members.first();
        if (event.about != About::Nobody)
            message.otherHandle = event.about == About::Other ? scene.members.last() : scene.members.first();
        message.item_type = event.item_type;
        message.group_action_type = event.group_action_type;
        message.share_status = event.share_status;
        message.share_direction = event.share_direction;
        message.group_title = event.group_title;
    };
}

QList<SampleKind> eventKinds()
{
    static const Event events[] = {
        {1, 0, Ios7, About::Other},
        {1, 1, Ios7, About::Other},
        {1, 0, Ios11, About::Sender},
        {2, 0, Ios7, About::Nobody, false, 0, 0, u"Amigos <de> \"siempre\" 😄"_s},
        {2},
        {3},
        {3, 1, Ios7, About::Nobody, true},
        {3, 2, Ios11},
        {3, 4, Ios26},
        {3, 6, Ios26},
        {3, 99, Ios11},
        {4, 0, Ios7, About::Other, false, 0, 1},
        {4, 0, Ios7, About::Other, true, 1},
        {5},
        {6, 0, Ios7, About::Other},
        {6, 0, Ios11},
        {9, 7, Ios11},
    };
    QList<SampleKind> kinds;
    for (const Event &event : events)
        kinds.append({event.since, happening(event)});
    return kinds;
}

} // namespace

QList<SampleKind> sampleKinds(IosVersion version)
{
    QList<SampleKind> kinds = textKinds() + fileKinds() + stateKinds() + eventKinds() + modernSampleKinds();
    kinds.removeIf([version](const SampleKind &kind) { return kind.since > version; });
    return kinds;
}

SampleTouch sampleCarrying(const QString &text, const QStringList &fileNames)
{
    return [=](SampleMessage &message, const SampleScene &scene) {
        message.text = text;
        message.attachments.clear();
        for (const QString &name : fileNames)
            message.attachments.append(sampleAttachment(scene.version, message.guid, name));
    };
}

SampleAttachment sampleAttachment(IosVersion version, const QString &guid, const QString &fileName)
{
    struct Type {
        const char16_t *suffix;
        const char16_t *mimeType;
        const char16_t *uti;
    };
    static constexpr Type types[] = {
        {u".jpg", u"image/jpeg", u"public.jpeg"},
        {u".JPG", u"IMAGE/JPEG", u"public.jpeg"},
        {u".png", u"image/png", u"public.png"},
        {u".gif", u"image/gif", u"com.compuserve.gif"},
        {u".HEIC", u"image/heic", u"public.heic"},
        {u".MOV", u"video/quicktime", u"com.apple.quicktime-movie"},
        {u".amr", u"audio/amr", u"org.3gpp.adaptive-multi-rate-audio"},
        {u".caf", nullptr, u"com.apple.coreaudio-format"},
        {u".vcf", u"text/x-vCard", u"public.vcard"},
        {u".pdf", u"application/pdf", u"com.adobe.pdf"},
        {u".pluginPayloadAttachment", nullptr, u"dyn.age81a5dzq7y"},
    };
    const QString root = version == Ios5 ? u"/var/mobile/"_s : u"~/"_s;
    SampleAttachment attachment;
    attachment.filename = root % u"Library/SMS/Attachments/"_s % guid.first(2).toLower() % u"/"_s %
                          guid.last(2).toLower() % u"/"_s % guid % u"/"_s % fileName;
    for (const Type &type : types) {
        if (fileName.endsWith(QStringView(type.suffix))) {
            attachment.mime_type = type.mimeType ? QString::fromUtf16(type.mimeType) : QString();
            attachment.uti = QString::fromUtf16(type.uti);
        }
    }
    return attachment;
}
