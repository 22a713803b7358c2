#include "store/records/contenttext.h"

#include "app/appledates.h"
#include "store/records/extrastext.h"
#include "store/records/richcontent.h"

#include <QObject>

#include <algorithm>
#include <climits>

using namespace Qt::StringLiterals;

namespace
{

/// One after the other with `separator` between; what is empty or was told already is left out.
QString joined(const QStringList &texts, const QString &separator)
{
    QString result;
    QStringList told;
    for (const QString &text : texts) {
        const QString line = text.simplified();
        if (line.isEmpty() || told.contains(line))
            continue;
        told.append(line);
        if (result.isEmpty())
            result = line;
        else // no second full stop behind a sentence
            result +=
                (separator.startsWith(u'.') && result.back().isPunct() ? separator.sliced(1) : separator) +
                line;
    }
    return result;
}

/// "Name: words", or the words alone where they tell the name.
QString named(const QString &name, const QString &words)
{
    const QString plainName = name.simplified();
    if (words.isEmpty() || plainName.isEmpty())
        return words.isEmpty() ? plainName : words;
    return words.startsWith(plainName) || words.contains(u' ' + plainName) ? words
                                                                           : plainName + u": "_s + words;
}

QString nameOf(const MessageContent &content)
{
    return content.appName.isEmpty() ? balloonName(content.bundleId) : content.appName;
}

QString spelled(const QDateTime &date, DateForm dates)
{
    return eventDate(int(std::clamp<qint64>(date.toSecsSinceEpoch() - appleEpoch, 0, INT_MAX)), dates);
}

QString cardText(const MessageContent &content)
{
    return joined({content.title, content.subtitle, content.caption, content.subcaption,
                   content.trailingCaption, content.trailingSubcaption, content.words},
                  u". "_s);
}

QString linkText(const MessageContent &content)
{
    return joined({named(content.site, content.title.simplified()), content.url}, u", "_s);
}

QString songText(const MessageContent &content)
{
    const QString song = named(content.subtitle, content.title.simplified());
    return content.album.isEmpty() ? song : song + u" ("_s + content.album.simplified() + u')';
}

QString placeText(const MessageContent &content)
{
    QString text = joined({content.title, content.address}, u", "_s);
    if (content.latitude && content.longitude)
        text += u" (%1, %2)"_s.arg(*content.latitude, 0, 'g', 9).arg(*content.longitude, 0, 'g', 9);
    return text.isEmpty() ? content.url : text;
}

QString sharedText(const MessageContent &content, DateForm dates)
{
    const QString text = named(content.appName, content.title.simplified());
    return content.date.isValid()
               ? QObject::tr("IDS_CONTENT_%1_SHARED_%2").arg(text, spelled(content.date, dates))
               : QObject::tr("IDS_CONTENT_%1_SHARED").arg(text);
}

QString checkInText(const MessageContent &content, DateForm dates)
{
    QStringList texts = {named(nameOf(content), cardText(content))};
    if (content.expectedBy.isValid())
        texts.append(QObject::tr("IDS_CONTENT_EXPECTED_BY_%1").arg(spelled(content.expectedBy, dates)));
    if (content.wasExpectedAt.isValid())
        texts.append(QObject::tr("IDS_CONTENT_WAS_EXPECTED_%1").arg(spelled(content.wasExpectedAt, dates)));
    return joined(texts, u", "_s);
}

QString businessText(const MessageContent &content)
{
    const QString question = content.title.isEmpty() ? joined({content.words, content.caption}, u". "_s)
                                                     : content.title.simplified();
    return named(nameOf(content), joined({question, content.subcaption}, u". "_s));
}

QString touchForm(const QString &form)
{
    struct Form {
        QLatin1StringView name;
        const char *text;
    };
    constexpr Form forms[] = {{"tap"_L1, QT_TR_NOOP("IDS_TOUCH_TAP")},
                              {"sketch"_L1, QT_TR_NOOP("IDS_TOUCH_SKETCH")},
                              {"kiss"_L1, QT_TR_NOOP("IDS_TOUCH_KISS")},
                              {"heartbeat"_L1, QT_TR_NOOP("IDS_TOUCH_HEARTBEAT")},
                              {"fireball"_L1, QT_TR_NOOP("IDS_TOUCH_FIREBALL")},
                              {"media"_L1, QT_TR_NOOP("IDS_TOUCH_MEDIA")}};
    for (const Form &known : forms)
        if (form == known.name)
            return QObject::tr(known.text);
    return {};
}

QString drawingText(const MessageContent &content)
{
    QStringList texts = {content.kind == ContentKind::DigitalTouch
                             ? QObject::tr("IDS_CONTENT_TOUCH_%1").arg(touchForm(content.drawingForm))
                             : balloonName(content.bundleId)};
    if (content.beatsPerMinute > 0)
        texts.append(QObject::tr("IDS_CONTENT_BEATS_%1").arg(content.beatsPerMinute));
    else if (content.kind == ContentKind::Handwriting || content.drawingForm == "sketch"_L1)
        texts.append(content.strokes == 1 ? QObject::tr("IDS_CONTENT_ONE_STROKE")
                                          : QObject::tr("IDS_CONTENT_STROKES_%1").arg(content.strokes));
    return joined(texts, u", "_s);
}

/// What the sender's phone made of it; the card where it said nothing.
QString sentenceOf(const MessageContent &content)
{
    return content.words.isEmpty() ? cardText(content) : content.words;
}

/// The line that says what it is.
QString firstLine(const MessageContent &content, DateForm dates)
{
    switch (content.kind) {
    case ContentKind::Link: return linkText(content);
    case ContentKind::Song:
    case ContentKind::Media: return joined({songText(content), content.url}, u", "_s);
    case ContentKind::Software:
        return joined({joined({content.title, content.subtitle}, u" – "_s), content.url}, u", "_s);
    case ContentKind::Place: return placeText(content);
    case ContentKind::Collaboration: return sharedText(content, dates);
    case ContentKind::Payment:
    case ContentKind::Photos:
        return named(nameOf(content), joined({sentenceOf(content), content.url}, u" "_s));
    case ContentKind::CheckIn: return checkInText(content, dates);
    case ContentKind::QuickReply:
    case ContentKind::ListPicker:
    case ContentKind::Form:
    case ContentKind::Business: return businessText(content);
    case ContentKind::Poll: return named(balloonName(content.bundleId), content.title.simplified());
    case ContentKind::Handwriting:
    case ContentKind::DigitalTouch: return drawingText(content);
    default: return named(nameOf(content), joined({cardText(content), content.url}, u" "_s));
    }
}

QString optionText(const ContentChoice &option)
{
    const QString text =
        option.text.isEmpty() ? QObject::tr("IDS_CONTENT_OPTION_GONE") : option.text.simplified();
    const QString voters =
        option.voters.isEmpty() ? QObject::tr("IDS_CONTENT_NO_VOTES") : option.voters.join(u", "_s);
    return text + u": "_s + voters;
}

QString choiceText(const ContentChoice &choice)
{
    const QString text = named(choice.section, joined({choice.text, choice.detail}, u", "_s));
    return choice.isChosen ? QObject::tr("IDS_CONTENT_%1_CHOSEN").arg(text) : text;
}

QStringList choiceLines(const MessageContent &content)
{
    QStringList lines;
    for (const ContentChoice &choice : content.choices) {
        if (content.kind == ContentKind::Poll)
            lines.append(optionText(choice));
        else if (content.kind == ContentKind::Form)
            lines.append(named(choice.text, choice.detail.simplified()));
        else
            lines.append(choiceText(choice));
    }
    return lines;
}

} // namespace

QString contentSummary(const _MsgMessage &message, DateForm dates)
{
    if (!hasContent(message))
        return {};
    const MessageContent content = ownContent(message);
    return content.isDamaged || message.extras->payload_data.isEmpty() ? QString()
                                                                       : firstLine(content, dates);
}

QStringList contentText(const MessageContent &content, DateForm dates)
{
    if (content.kind == ContentKind::None || content.isDamaged)
        return {};
    QStringList lines = {firstLine(content, dates)};
    const QString summary = content.summary.simplified();
    if (!summary.isEmpty())
        lines.append(summary);
    return lines + choiceLines(content);
}

QStringList contentText(const _MsgMessage &message, DateForm dates)
{
    if (!hasContent(message) || message.extras->payload_data.isEmpty())
        return {};
    MessageContent content = contentOf(message);
    if (!content.url.isEmpty() && message.text.contains(content.url)) // people read it already
        content.url.clear();
    QStringList lines = contentText(content, dates);
    lines.removeAll(QString());
    return lines;
}

QStringList spokenAndTranslated(const _MsgMessage &message)
{
    QStringList lines;
    for (const QString &words : transcriptsOf(message))
        lines.append(QObject::tr("IDS_CONTENT_TRANSCRIPT_%1").arg(words.simplified()));
    for (const Translation &translation : translationsOf(message))
        lines.append(QObject::tr("IDS_CONTENT_TRANSLATED_%1_%2_%3")
                         .arg(translation.from.section(u'_', 0, 0), translation.to.section(u'_', 0, 0),
                              translation.text.simplified()));
    return lines;
}
