#include "tools/samplephone/samplekinds.h"

#include "testing/builders/samplebody.h"
#include "testing/builders/samplepayloads.h"
#include "testing/builders/sampletypedstream.h"

using namespace Qt::StringLiterals;

namespace
{

struct File {
    QString name;
    QString mimeType;
    QString uti;
    bool isHidden = false;
};

SampleAttachment attachmentOf(const SampleMessage &message, const File &file)
{
    SampleAttachment attachment;
    attachment.filename = u"~/Library/SMS/Attachments/aa/10/"_s % message.guid % u"/"_s % file.name;
    attachment.mime_type = file.mimeType;
    attachment.uti = file.uti;
    attachment.hide_attachment = file.isHidden;
    return attachment;
}

SampleTouch carrying(const File &file)
{
    return sampleWith([file](SampleMessage &message) {
        message.text = samplePlaceSign();
        message.attachments = {attachmentOf(message, file)};
    });
}

SampleTouch ballooning(const QString &bundle, const QByteArray &payload)
{
    return sampleWith([bundle, payload](SampleMessage &message) {
        message.text = samplePlaceSign();
        message.extras.balloon_bundle_id = bundle;
        message.extras.payload_data = payload;
        message.attachments = {attachmentOf(
            message, {message.guid + u".pluginPayloadAttachment"_s, QString(), u"dyn.age81a5dzq7y"_s, true})};
    });
}

QString extensionId(const QString &bundle)
{
    return u"com.apple.messages.MSMessageExtensionBalloonPlugin:0000000000:"_s + bundle;
}

SampleTouch sharingLink()
{
    return [](SampleMessage &message, const SampleScene &scene) {
        const QString address = u"https://example.org/receta?id=7"_s;
        ballooning(u"com.apple.messages.URLBalloonProvider"_s,
                   sampleLinkPayload(address, u"Una receta"_s, u"Pan con tomate"_s))(message, scene);
        message.text = address;
    };
}

SampleTouch voting()
{
    return [](SampleMessage &message, const SampleScene &scene) {
        const SampleMessage &target = scene.poll.guid.isNull() ? scene.target : scene.poll;
        sampleFollow(message, target);
        message.text = QString();
        message.extras.associated_message_type = 4000;
        message.extras.associated_message_guid = target.guid;
        message.extras.balloon_bundle_id = extensionId(u"com.apple.messages.Polls"_s);
        message.extras.payload_data =
            sampleAppPayload(u"Polls"_s, u"Voto"_s, u"data:,%7B%22vote%22%3A%220%22%7D"_s);
    };
}

/// Two pictures whose rows stand in the other order than their places in the text.
SampleTouch carryingTwo()
{
    return sampleWith([](SampleMessage &message) {
        message.text = samplePlaceSign() % u"entre dos"_s % samplePlaceSign();
        message.attachments = {
            attachmentOf(message, {u"second.png"_s, u"image/png"_s, u"public.png"_s}),
            attachmentOf(message, {u"first.gif"_s, u"image/gif"_s, u"com.compuserve.gif"_s})};
        const QString part = u"__kIMMessagePartAttributeName"_s;
        const QByteArray file = "__kIMFileTransferGUIDAttributeName";
        const auto guid = [&message](int place) { return sampleAttachmentGuid(message, place); };
        message.attributedBody =
            sampleTypedStream(message.text, {{1, {{file, 0, guid(1)}, {part.toLatin1(), 0}}},
                                             {9, {{part.toLatin1(), 1}}},
                                             {1, {{file, 0, guid(0)}, {part.toLatin1(), 2}}}});
        message.extras.textIn = SampleExtras::Text::Both;
    });
}

} // namespace

QList<SampleKind> sampleBalloonKinds()
{
    struct App {
        IosVersion since;
        const char16_t *bundle;
        const char16_t *name;
        const char16_t *caption;
    };
    static constexpr App apps[] = {
        {IosVersion::Ios11, u"com.apple.PassbookUIService.PeerPaymentMessagesExtension", u"Apple Cash",
         u"5 €"},
        {IosVersion::Ios11, u"com.apple.ActivityMessagesApp.MessagesExtension", u"Activity", u"Reto"},
        {IosVersion::Ios11, u"com.apple.icloud.apps.messages.business.extension", u"Business", u"Cita"},
        {IosVersion::Ios13, u"com.apple.mobileslideshow.PhotosMessagesApp", u"Photos", u"12 fotos"},
        {IosVersion::Ios18, u"com.apple.SafetyMonitorApp.SafetyMonitorMessages", u"Check In", u"En casa"},
        {IosVersion::Ios18, u"com.apple.findmy.FindMyMessagesApp", u"Find My", u"Madrid"},
        {IosVersion::Ios26, u"com.apple.messages.Polls", u"Polls", u"¿Pizza o pasta?"},
        {IosVersion::Ios11, u"org.example.game.MessagesExtension", u"Juego", u"Tu turno"},
    };
    QList<SampleKind> kinds = {
        {IosVersion::Ios11, sharingLink()},
        {IosVersion::Ios11,
         ballooning(u"com.apple.Handwriting.HandwritingProvider"_s, sampleStrokePayload(1))},
        {IosVersion::Ios11, ballooning(u"com.apple.DigitalTouchBalloonProvider"_s, sampleStrokePayload(2))},
    };
    for (const App &app : apps)
        kinds.append({app.since, ballooning(extensionId(QString::fromUtf16(app.bundle)),
                                            sampleAppPayload(QString::fromUtf16(app.name),
                                                             QString::fromUtf16(app.caption),
                                                             u"https://example.org/app"_s))});
    kinds.append({IosVersion::Ios26, voting()});
    return kinds;
}

QList<SampleKind> sampleAttachmentKinds()
{
    return {
        {IosVersion::Ios11, carrying({u"IMG_0065.JPG"_s, u"image/jpeg"_s, u"public.jpeg"_s})},
        {IosVersion::Ios11, carrying({u"Captura ñ 1.png"_s, u"image/png"_s, u"public.png"_s})},
        {IosVersion::Ios11, carrying({u"baile.gif"_s, u"image/gif"_s, u"com.compuserve.gif"_s})},
        {IosVersion::Ios11, carrying({u"IMG_0066.HEIC"_s, u"image/heic"_s, u"public.heic"_s})},
        {IosVersion::Ios11, carryingTwo()},
        {IosVersion::Ios11,
         [](SampleMessage &message, const SampleScene &scene) {
             carrying({u"Audio Message.caf"_s, QString(), u"com.apple.coreaudio-format"_s})(message, scene);
             message.is_audio_message = true;
         }},
        {IosVersion::Ios11, sampleWith([](SampleMessage &message) {
             message.text = samplePlaceSign();
             message.attachments = {
                 attachmentOf(message, {u"IMG_0067.HEIC"_s, u"image/heic"_s, u"public.heic"_s})};
             message.attachments.first().filename.replace(u"~/"_s, u"/var/mobile/"_s);
         })},
        {IosVersion::Ios11, sampleWith([](SampleMessage &message) {
             message.text = samplePlaceSign();
             SampleAttachment attachment =
                 attachmentOf(message, {u"x.jpg"_s, u"image/jpeg"_s, u"public.jpeg"_s});
             attachment.filename = QString();
             attachment.transfer_name = u"never came.jpg"_s;
             attachment.transfer_state = 0;
             attachment.total_bytes = 123456;
             message.attachments = {attachment};
         })},
        {IosVersion::Ios18, sampleWith([](SampleMessage &message) {
             message.text = u"Genmoji "_s + samplePlaceSign();
             message.attachments = {
                 attachmentOf(message, {u"emoji.heic"_s, u"image/heic"_s, u"public.heic"_s})};
             message.attachments.first().emoji_image_short_description = u"a cat with a hat"_s;
         })},
    };
}
