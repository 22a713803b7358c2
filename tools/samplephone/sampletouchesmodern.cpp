#include "tools/samplephone/sampletouchesmodern.h"

#include "testing/builders/samplebody.h"
#include "testing/builders/sampletypedstream.h"
#include "tools/samplephone/samplekinds.h"

using namespace Qt::StringLiterals;

namespace
{

using Text = SampleExtras::Text;

/// No message has it.
const auto strangeGuid = "00000000-0000-4000-8000-00000000DEAD"_L1;

struct Reaction {
    int type;
    const char *prefix = "p:0/";
    QString emoji = {};
    QString words = {};
};

SampleTouch reacting(const Reaction &reaction)
{
    return [reaction](SampleMessage &message, const SampleScene &scene) {
        sampleFollow(message, scene.target);
        message.text = reaction.words;
        message.extras.associated_message_type = reaction.type;
        message.extras.associated_message_guid = QLatin1StringView(reaction.prefix) + scene.target.guid;
        message.extras.associated_message_emoji = reaction.emoji;
    };
}

SampleTouch reactingToNothing()
{
    return [](SampleMessage &message, const SampleScene &scene) {
        reacting({2000})(message, scene);
        message.extras.associated_message_guid = u"p:0/"_s + strangeGuid;
    };
}

SampleTouch placingSticker(int type)
{
    return [type](SampleMessage &message, const SampleScene &scene) {
        reacting({type})(message, scene);
        message.text = samplePlaceSign();
        message.attachments = {
            {.filename = u"~/Library/SMS/StickerCache/"_s % message.guid % u"/sticker.png"_s,
             .mime_type = u"image/png"_s,
             .uti = u"public.png"_s,
             .is_sticker = true}};
    };
}

SampleTouch answering(const QString &originator)
{
    return [originator](SampleMessage &message, const SampleScene &scene) {
        sampleFollow(message, scene.target);
        message.text = u"Te respondo 🙂"_s;
        message.extras.thread_originator_guid = originator.isNull() ? scene.target.guid : originator;
        message.extras.thread_originator_part = u"0:0:"_s + QString::number(scene.target.text.size());
        message.extras.reply_to_guid = scene.target.guid;
    };
}

SampleTouch happening(int itemType, int action, std::function<void(SampleMessage &)> change = {})
{
    return [=](SampleMessage &message, const SampleScene &scene) {
        message.text = QString();
        message.attachments.clear();
        message.service = scene.groupService;
        message.chats = {scene.groupChat};
        message.is_from_me = false;
        message.handle = scene.members.first();
        message.item_type = itemType;
        message.group_action_type = action;
        if (change)
            change(message);
    };
}

QList<SampleKind> answerKinds()
{
    QList<SampleKind> kinds;
    for (int type = 2000; type <= 2005; ++type)
        kinds.append({IosVersion::Ios11, reacting({type})});
    kinds += {
        {IosVersion::Ios11, reacting({2001, "bp:"})},
        {IosVersion::Ios11, reacting({2000, ""})},
        {IosVersion::Ios11, reacting({2003, "p:0/", {}, u"Se ha reído de “Hola”"_s})},
        {IosVersion::Ios11, reacting({3000})},
        {IosVersion::Ios11, reactingToNothing()},
        {IosVersion::Ios11, placingSticker(1000)},
        {IosVersion::Ios18, reacting({2006, "p:0/", u"🚀"_s})},
        {IosVersion::Ios18, reacting({2006, "p:0/", u"👩‍👩‍👧"_s})},
        {IosVersion::Ios18, reacting({3006, "p:0/", u"🚀"_s})},
        {IosVersion::Ios18, placingSticker(2007)},
        {IosVersion::Ios16, answering({})},
        {IosVersion::Ios16, answering(strangeGuid)},
    };
    return kinds;
}

SampleTouch editing(const QStringList &states, int part)
{
    return sampleWith([states, part](SampleMessage &message) {
        qint64 date = message.date;
        for (const QString &state : states) {
            message.extras.edits.append({part, date, state});
            message.extras.date_edited = date;
            date += 60;
        }
        message.text = states.last();
    });
}

QList<SampleKind> changeKinds()
{
    return {
        {IosVersion::Ios16, editing({u"Quedamos a las 5"_s, u"Quedamos a las 6"_s}, 0)},
        {IosVersion::Ios16, editing({u"uno"_s, u"dos 😄"_s, u"tres\nñ"_s, u"cuatro"_s}, 0)},
        {IosVersion::Ios16,
         sampleWith([](SampleMessage &message) { message.extras.date_edited = message.date + 60; })},
        {IosVersion::Ios16, sampleWith([](SampleMessage &message) {
             message.text = QString();
             message.extras.retractedParts = {0};
             message.extras.date_edited = message.date + 90;
         })},
        {IosVersion::Ios16, sampleWith([](SampleMessage &message) {
             message.text = u"Queda esto"_s;
             message.extras.retractedParts = {1};
             message.extras.date_edited = message.date + 90;
             message.extras.date_retracted = message.date + 90;
         })},
        {IosVersion::Ios16, sampleWith([](SampleMessage &message) {
             message.extras.message_summary_info = QByteArrayLiteral("bplist00 but no more");
             message.extras.date_edited = message.date + 60;
         })},
        {IosVersion::Ios16,
         sampleWith([](SampleMessage &message) { message.extras.delete_date = message.date + 86400; })},
        {IosVersion::Ios16, sampleWith([](SampleMessage &message) {
             message.extras.deletedParts = {{1, message.date + 86400, u"Parte borrada"_s}};
         })},
        {IosVersion::Ios18, sampleWith([](SampleMessage &message) {
             message.is_from_me = true;
             message.extras.schedule_type = 2;
             message.extras.schedule_state = 2;
         })},
    };
}

QList<SampleKind> effectKinds()
{
    QList<SampleKind> kinds;
    for (const QString &name : {u"impact"_s, u"loud"_s, u"gentle"_s, u"invisibleink"_s})
        kinds.append({IosVersion::Ios11, sampleWith([name](SampleMessage &message) {
                          message.extras.expressive_send_style_id =
                              u"com.apple.MobileSMS.expressivesend."_s + name;
                      })});
    for (const QString &name : {u"Confetti"_s, u"Echo"_s, u"Fireworks"_s, u"HappyBirthday"_s, u"Heart"_s,
                                u"Lasers"_s, u"ShootingStar"_s, u"Sparkles"_s, u"Spotlight"_s})
        kinds.append({IosVersion::Ios11, sampleWith([name](SampleMessage &message) {
                          message.extras.expressive_send_style_id =
                              u"com.apple.messages.effect.CK"_s % name % u"Effect"_s;
                      })});
    return kinds;
}

QList<SampleKind> eventKinds()
{
    QList<SampleKind> kinds = {
        {IosVersion::Ios11,
         happening(1, 0, [](SampleMessage &message) { message.otherHandle = message.handle; })},
        {IosVersion::Ios11, happening(3, 2)},
        {IosVersion::Ios26, happening(3, 4)},
        {IosVersion::Ios26, happening(3, 6)},
        {IosVersion::Ios11, happening(6, 0)},
        {IosVersion::Ios11, happening(3, 99)},
        {IosVersion::Ios11, happening(9, 7)},
    };
    return kinds;
}

QList<SampleKind> serviceKinds()
{
    QList<SampleKind> kinds;
    for (const QString &service : {u"RCS"_s, u"rcs"_s, u"iMessageLite"_s, QString(), u"Telepathy"_s})
        kinds.append({service.isNull() ? IosVersion::Ios11 : IosVersion::Ios18,
                      sampleWith([service](SampleMessage &message) { message.service = service; })});
    return kinds;
}

/// Bodies that readers have to take as they come.
QList<SampleKind> bodyKinds()
{
    return {
        {IosVersion::Ios11, sampleWith([](SampleMessage &message) { message.extras.textIn = Text::Body; })},
        {IosVersion::Ios11, sampleWith([](SampleMessage &message) { message.extras.textIn = Text::Column; })},
        {IosVersion::Ios11,
         sampleWith([](SampleMessage &message) { message.extras.hasDatesInSeconds = true; })},
        {IosVersion::Ios11, sampleWith([](SampleMessage &message) {
             message.attributedBody = sampleBody(message.text, 0).first(60);
             message.text = QString();
         })},
        {IosVersion::Ios11, sampleWith([](SampleMessage &message) {
             message.text = QString(3000, u'ñ') + u" +\u0084\u0001 fin"_s;
             message.extras.textIn = Text::Body;
         })},
        {IosVersion::Ios11, sampleWith([](SampleMessage &message) {
             message.text = QString(20000, u'=').replace(u"="_s, u"😄 "_s);
             message.extras.textIn = Text::Body;
         })},
        {IosVersion::Ios16, sampleWith([](SampleMessage &message) {
             message.text = u"Ana, mira"_s;
             message.attributedBody =
                 sampleTypedStream(message.text, {{3,
                                                   {{"__kIMMentionConfirmedMention", 0, u"+34612345678"_s},
                                                    {"__kIMMessagePartAttributeName", 0}}},
                                                  {6, {{"__kIMMessagePartAttributeName", 0}}}});
         })},
        {IosVersion::Ios18, sampleWith([](SampleMessage &message) {
             message.text = u"Tiembla"_s;
             message.attributedBody = sampleTypedStream(
                 message.text,
                 {{7, {{"__kIMTextEffectAttributeName", 9}, {"__kIMMessagePartAttributeName", 0}}}});
         })},
    };
}

} // namespace

const QString &samplePlaceSign()
{
    static const QString sign(QChar(0xFFFC));
    return sign;
}

void sampleFollow(SampleMessage &message, const SampleMessage &target)
{
    message.chats = target.chats;
    message.service = target.service;
    message.handle = target.handle;
    message.is_from_me = !target.is_from_me || target.handle.isNull();
    message.attachments.clear();
}

SampleTouch sampleWith(std::function<void(SampleMessage &)> change)
{
    return [change](SampleMessage &message, const SampleScene &) {
        message.attachments.clear();
        message.text = message.text.isEmpty() ? u"Texto"_s : message.text;
        change(message);
    };
}

QList<SampleTouch> modernTouches(IosVersion version)
{
    QList<SampleTouch> touches;
    for (const QList<SampleKind> &kinds :
         {answerKinds(), changeKinds(), effectKinds(), sampleBalloonKinds(), eventKinds(), serviceKinds(),
          bodyKinds(), sampleAttachmentKinds()})
        for (const SampleKind &kind : kinds)
            if (kind.since <= version)
                touches.append(kind.touch);
    return touches;
}
