#include "export/contentjson.h"

#include "export/messagejson.h"
#include "store/records/messageparts.h"
#include "store/records/messagerecords.h"
#include "store/records/richcontent.h"

using namespace Qt::StringLiterals;

namespace
{

struct TextField {
    const char *key;
    QString MessageContent::*member;
};

constexpr TextField textFields[] = {
    {"app", &MessageContent::appName},
    {"app_id", &MessageContent::bundleId},
    {"words", &MessageContent::words},
    {"title", &MessageContent::title},
    {"subtitle", &MessageContent::subtitle},
    {"album", &MessageContent::album},
    {"caption", &MessageContent::caption},
    {"subcaption", &MessageContent::subcaption},
    {"trailing_caption", &MessageContent::trailingCaption},
    {"trailing_subcaption", &MessageContent::trailingSubcaption},
    {"summary", &MessageContent::summary},
    {"site", &MessageContent::site},
    {"url", &MessageContent::url},
    {"address", &MessageContent::address},
    {"amount", &MessageContent::amount},
    {"state", &MessageContent::state},
    {"form", &MessageContent::drawingForm},
};

struct DateField {
    const char *key;
    QDateTime MessageContent::*member;
};

constexpr DateField dateFields[] = {
    {"date", &MessageContent::date},
    {"expected_by", &MessageContent::expectedBy},
    {"was_expected_at", &MessageContent::wasExpectedAt},
};

void insertText(QJsonObject &object, const char *key, const QString &text)
{
    if (!text.isEmpty())
        object.insert(QLatin1StringView(key), text);
}

QJsonArray choicesJson(const MessageContent &content)
{
    const bool isPoll = content.kind == ContentKind::Poll;
    QJsonArray choices;
    for (const ContentChoice &choice : content.choices) {
        QJsonObject object{{u"text"_s, choice.text}};
        insertText(object, "section", choice.section);
        insertText(object, content.kind == ContentKind::Form ? "answer" : "detail", choice.detail);
        insertText(object, "creator", choice.creator);
        if (isPoll)
            object.insert(u"voters"_s, QJsonArray::fromStringList(choice.voters));
        else if (content.kind != ContentKind::Form)
            object.insert(u"chosen"_s, choice.isChosen);
        choices.append(object);
    }
    return choices;
}

void addDrawing(QJsonObject &object, const MessageContent &content, const _MsgMessage &message)
{
    if (content.kind != ContentKind::Handwriting && content.kind != ContentKind::DigitalTouch)
        return;
    object.insert(u"strokes"_s, content.strokes);
    if (content.beatsPerMinute > 0)
        object.insert(u"beats_per_minute"_s, content.beatsPerMinute);
    const std::optional<Drawing> drawing = drawingOf(message);
    if (drawing)
        object.insert(u"svg"_s, QString::fromLatin1(svgOf(*drawing)));
}

/// The file that a picture of the content is, if it is one.
void addPicture(QJsonObject &object, const MessageContent &content, const _MsgMessage &message)
{
    for (const ContentPicture &picture : content.pictures) {
        const _MsgAttachment *file = pictureFile(message, picture);
        if (file) {
            object.insert(u"picture"_s, attachmentPartJson(*file));
            return;
        }
    }
}

QJsonObject runJson(const StyledRun &run, const QString &text)
{
    QJsonObject object{{u"text"_s, text}};
    const auto insertTrue = [&](QLatin1StringView key, bool isSet) {
        if (isSet)
            object.insert(key, true);
    };
    insertTrue("bold"_L1, run.isBold);
    insertTrue("italic"_L1, run.isItalic);
    insertTrue("underline"_L1, run.isUnderlined);
    insertTrue("strikethrough"_L1, run.isStruckThrough);
    insertText(object, "effect", textEffectName(run.effect));
    insertText(object, "mention", run.mention);
    insertText(object, "link", run.link);
    insertText(object, "code", run.code);
    insertText(object, "detected", run.detection);
    return object;
}

/// The stretches of words that begin at `at`; empty when none has a look of its own.
QJsonArray runsJson(const QList<StyledRun> &runs, const MessagePart &part)
{
    QJsonArray list;
    bool isPlain = true;
    const qsizetype end = part.at + part.text.size();
    for (const StyledRun &run : runs) {
        const qsizetype from = std::max(run.at, part.at);
        const qsizetype to = std::min(run.at + run.length, end);
        if (part.at < 0 || from >= to)
            continue;
        list.append(runJson(run, part.text.sliced(from - part.at, to - from)));
        isPlain &= run.isPlain();
    }
    return isPlain ? QJsonArray() : list;
}

QJsonObject filePartJson(const _MsgAttachment &attachment, const QList<StyledRun> &runs)
{
    QJsonObject object{{u"attachment"_s, attachmentPartJson(attachment)}};
    for (const StyledRun &run : runs)
        if (run.attachmentGuid == attachment.guid)
            insertText(object, "transcript", run.transcript);
    return object;
}

} // namespace

QJsonValue contentJson(const _MsgMessage &message)
{
    if (!hasContent(message))
        return {};
    const MessageContent content = contentOf(message);
    QJsonObject object{{u"kind"_s, contentKindName(content.kind)}};
    for (const TextField &field : textFields)
        insertText(object, field.key, content.*field.member);
    for (const DateField &field : dateFields)
        insertText(object, field.key, (content.*field.member).toString(Qt::ISODate));
    if (content.isDamaged)
        object.insert(u"damaged"_s, true);
    if (content.latitude && content.longitude) {
        object.insert(u"latitude"_s, *content.latitude);
        object.insert(u"longitude"_s, *content.longitude);
    }
    if (!content.choices.isEmpty())
        object.insert(content.kind == ContentKind::Form ? u"answers"_s : u"options"_s, choicesJson(content));
    addDrawing(object, content, message);
    addPicture(object, content, message);
    return object;
}

QJsonArray partsJson(const _MsgMessage &message, const QJsonValue &content)
{
    const QList<StyledRun> runs =
        mayHaveStyles(message.attributedBody) ? styledRuns(message) : QList<StyledRun>();
    QJsonArray parts;
    for (const MessagePart &part : messageParts(message)) {
        if (part.attachment) {
            parts.append(filePartJson(*part.attachment, runs));
            continue;
        }
        QJsonObject object{{u"text"_s, part.text}};
        const QJsonArray stretches = runsJson(runs, part);
        if (!stretches.isEmpty())
            object.insert(u"runs"_s, stretches);
        parts.append(object);
    }
    QJsonObject balloon = content.toObject();
    balloon.remove(u"svg"_s);
    if (!balloon.isEmpty())
        parts.append(QJsonObject{{u"content"_s, balloon}});
    return parts;
}

QJsonArray translationsJson(const _MsgMessage &message)
{
    QJsonArray list;
    for (const Translation &translation : translationsOf(message))
        list.append(QJsonObject{{u"part"_s, translation.part},
                                {u"text"_s, translation.text},
                                {u"from"_s, translation.from},
                                {u"to"_s, translation.to}});
    return list;
}
