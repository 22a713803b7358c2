#include "tools/samplephone/sampletouches.h"

#include "tools/samplephone/sampletouchesmodern.h"

using namespace Qt::StringLiterals;

namespace
{

SampleTouch saying(const QString &text)
{
    return [text](SampleMessage &message, const SampleScene &) {
        message.text = text;
        message.attachments.clear();
    };
}

struct AttachmentKind {
    QString text;
    QString fileName;
    QString mimeType;
    QString uti;
};

SampleTouch carrying(IosVersion version, const AttachmentKind &kind)
{
    return [version, kind](SampleMessage &message, const SampleScene &) {
        SampleAttachment attachment;
        attachment.filename = sampleAttachmentName(version, message.guid, kind.fileName);
        attachment.mime_type = kind.mimeType;
        attachment.uti = kind.uti;
        message.attachments = {attachment};
        message.text = kind.text;
    };
}

struct EventKind {
    int item_type;
    int group_action_type = 0;
    int share_status = 0;
    int share_direction = 0;
    QString group_title = {};
    bool speaksOfOther = true;
    bool isOwn = false;
};

SampleTouch happening(const EventKind &kind)
{
    return [kind](SampleMessage &message, const SampleScene &scene) {
        message.text = QString();
        message.attachments.clear();
        message.service = scene.groupService;
        message.chats = {scene.groupChat};
        message.is_from_me = kind.isOwn;
        message.handle = kind.isOwn ? QString() : scene.members.first();
        message.otherHandle = kind.speaksOfOther ? scene.members.last() : QString();
        message.item_type = kind.item_type;
        message.group_action_type = kind.group_action_type;
        message.share_status = kind.share_status;
        message.share_direction = kind.share_direction;
        message.group_title = kind.group_title;
    };
}

QList<SampleTouch> textTouches()
{
    return {
        saying(u"Emoji 😄 y más 🚀🇪🇸"_s),
        saying(u"Old phones: \uE415\uE056 \uE537 \uE538"_s),
        saying(u"Heart ❤ ❤️ and ☎, clock ⌚ ⏳"_s),
        saying(u"Newer 🤔 🧩 👩‍👩‍👧"_s),
        saying(u"مرحبا، كيف حالك اليوم؟ (abc 123)"_s),
        saying(u"שלום, מה נשמע? (abc 123)"_s),
        saying(u""_s),
        saying(QString()),
        saying(u"   "_s),
        saying(QString(400, u'x').replace(u"x"_s, u"Un texto muy largo que no acaba nunca. "_s)),
        saying(u"Line one\nline two\r\n\"quoted\", comma; tab\tend"_s),
        saying(u"=SUM(A1:A9)"_s),
        saying(u"<b>bold</b> & <img src=x onerror=alert(1)> &amp; ]]>"_s),
        saying(u"Bell \u0007 escape \u001B[2J done"_s),
        saying(u"e\u0301 combining, \u200Bzero width, \u202Ereversed\u202C"_s),
        saying(u"https://example.org/?a=1&b=%20 tel +34 612 345 678"_s),
    };
}

QList<SampleTouch> attachmentTouches(IosVersion version)
{
    const QString object = QString(QChar(0xFFFC));
    return {
        carrying(version, {object, u"IMG_0001.jpg"_s, u"image/jpeg"_s, u"public.jpeg"_s}),
        carrying(version, {object + u"Mira esto"_s, u"IMG_0002.jpg"_s, u"IMAGE/JPEG"_s, u"public.jpeg"_s}),
        carrying(version, {object, u"VID_0003.MOV"_s, u"video/quicktime"_s, u"com.apple.quicktime-movie"_s}),
        carrying(version,
                 {object, u"Audio Message.amr"_s, u"audio/amr"_s, u"org.3gpp.adaptive-multi-rate-audio"_s}),
        carrying(version, {u"Contacto "_s + object, u"Ana.vcf"_s, u"text/x-vCard"_s, u"public.vcard"_s}),
        carrying(version, {object, u"informe.pdf"_s, u"application/pdf"_s, u"com.adobe.pdf"_s}),
    };
}

QList<SampleTouch> stateTouches()
{
    return {
        [](SampleMessage &message, const SampleScene &) {
            message.is_from_me = true;
            message.error = 22;
        },
        [](SampleMessage &message, const SampleScene &) {
            message.is_from_me = false;
            message.is_read = false;
        },
        [](SampleMessage &message, const SampleScene &) { message.subject = u"Asunto: \"reunión\""_s; },
        [](SampleMessage &message, const SampleScene &) { message.country = QString(); },
        [](SampleMessage &message, const SampleScene &) { message.service_center = u"+34656000311"_s; },
        [](SampleMessage &message, const SampleScene &) { message.chats = {}; },
        [](SampleMessage &message, const SampleScene &) { message.handle = QString(); },
        [](SampleMessage &message, const SampleScene &scene) {
            if (!message.chats.contains(scene.otherChat))
                message.chats.append(scene.otherChat);
        },
    };
}

QList<SampleTouch> eventTouches()
{
    return {
        happening({.item_type = 1}),
        happening({.item_type = 1, .group_action_type = 1}),
        happening({.item_type = 2, .group_title = u"Amigos <de> \"siempre\" 😄"_s, .speaksOfOther = false}),
        happening({.item_type = 2, .speaksOfOther = false}),
        happening({.item_type = 3, .speaksOfOther = false}),
        happening({.item_type = 3, .group_action_type = 1, .speaksOfOther = false, .isOwn = true}),
        happening({.item_type = 4, .share_direction = 1}),
        happening({.item_type = 4, .share_status = 1, .isOwn = true}),
        happening({.item_type = 5, .speaksOfOther = false}),
        happening({.item_type = 6}),
        [](SampleMessage &message, const SampleScene &) { message.is_audio_message = true; },
    };
}

} // namespace

QList<SampleTouch> sampleTouches(IosVersion version)
{
    QList<SampleTouch> touches = textTouches() + attachmentTouches(version) + stateTouches();
    if (version >= IosVersion::Ios7)
        touches += eventTouches();
    if (isModern(version))
        touches += modernTouches(version);
    return touches;
}

QString sampleAttachmentName(IosVersion version, const QString &guid, const QString &fileName)
{
    const QString root = version == IosVersion::Ios5 ? u"/var/mobile/"_s : u"~/"_s;
    return root % u"Library/SMS/Attachments/"_s % guid.first(2).toLower() % u"/"_s % guid.last(2).toLower() %
           u"/"_s % guid % u"/"_s % fileName;
}
