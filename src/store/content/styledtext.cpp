#include "store/content/styledtext.h"

#include "store/archives/keyedarchive.h"
#include "store/archives/typedstream.h"
#include "store/content/contenttools.h"

#include <QHash>

#include <algorithm>
#include <array>

using namespace Qt::StringLiterals;

namespace
{

constexpr QChar attachmentSign(0xFFFC);

struct Mark {
    QLatin1StringView key;
    bool StyledRun::*member;
};

// Phones wrote the shorter names first.
constexpr std::array marks = {
    Mark{"__kIMTextBoldAttributeName"_L1, &StyledRun::isBold},
    Mark{"__kIMBoldAttributeName"_L1, &StyledRun::isBold},
    Mark{"__kIMTextItalicAttributeName"_L1, &StyledRun::isItalic},
    Mark{"__kIMItalicAttributeName"_L1, &StyledRun::isItalic},
    Mark{"__kIMTextUnderlineAttributeName"_L1, &StyledRun::isUnderlined},
    Mark{"__kIMUnderlineAttributeName"_L1, &StyledRun::isUnderlined},
    Mark{"__kIMTextStrikethroughAttributeName"_L1, &StyledRun::isStruckThrough},
    Mark{"__kIMStrikethroughAttributeName"_L1, &StyledRun::isStruckThrough},
    Mark{"__kIMEmojiImageAttributeName"_L1, &StyledRun::isInline},
};

struct TextKey {
    QLatin1StringView key;
    QString StyledRun::*member;
};

constexpr std::array texts = {
    TextKey{"__kIMMentionConfirmedMention"_L1, &StyledRun::mention},
    TextKey{"__kIMLinkAttributeName"_L1, &StyledRun::link},
    TextKey{"__kIMFileTransferGUIDAttributeName"_L1, &StyledRun::attachmentGuid},
    TextKey{"IMAudioTranscription"_L1, &StyledRun::transcript},
};

constexpr std::array detections = {
    "__kIMDataDetectedAttributeName"_L1, "__kIMPhoneNumberAttributeName"_L1,   "__kIMAddressAttributeName"_L1,
    "__kIMMoneyAttributeName"_L1,        "__kIMCalendarEventAttributeName"_L1,
};

/// What a data detector found, by the root of its archive.
QString detectionOf(const QVariantMap &attributes)
{
    for (const QLatin1StringView key : detections) {
        const QByteArray archive = attributes.value(key).toByteArray();
        const QString kind =
            archive.isEmpty() ? QString() : boundedTextAt(readPlistTree(archive), u"T", longestTitle);
        if (!kind.isEmpty())
            return kind;
    }
    return {};
}

/// What attributes say of any stretch that has them.
StyledRun lookOf(const QVariantMap &attributes)
{
    StyledRun styled;
    const auto number = [&](QLatin1StringView key, int otherwise) {
        const double value = attributes.value(key, otherwise).toDouble();
        return std::abs(value) < 1e6 ? int(value) : otherwise;
    };
    styled.part = number("__kIMMessagePartAttributeName"_L1, -1);
    styled.effect = number("__kIMTextEffectAttributeName"_L1, 0);
    for (const Mark &mark : marks)
        styled.*mark.member |= number(mark.key, 0) != 0;
    for (const TextKey &text : texts)
        styled.*text.member = boundedText(attributes.value(text.key).toString());
    styled.code = boundedTextAt(attributes, u"__kIMOneTimeCodeAttributeName/code", longestTitle);
    styled.detection = detectionOf(attributes);
    return styled;
}

QString plainText(const QVariant &value)
{
    const QString text =
        value.toMap().contains(u"NSString"_s) ? textAt(value, u"NSString") : value.toString();
    return QString(text).remove(attachmentSign);
}

} // namespace

bool StyledRun::isPlain() const
{
    const bool isLooked = isBold || isItalic || isUnderlined || isStruckThrough || effect != 0;
    return !isLooked && mention.isEmpty() && link.isEmpty() && code.isEmpty() && detection.isEmpty() &&
           attachmentGuid.isEmpty() && transcript.isEmpty();
}

QList<StyledRun> styledRuns(const QString &text, const QByteArray &attributedBody)
{
    QList<StyledRun> styled;
    QHash<int, StyledRun> looks; // by the number of their attributes
    for (const TypedStreamRun &run : runsOfTypedStream(attributedBody)) {
        if (run.at < 0 || run.at >= text.size() || run.length <= 0)
            continue;
        if (!looks.contains(run.number))
            looks.insert(run.number, lookOf(run.attributes));
        styled.append(looks.value(run.number));
        styled.last().at = run.at;
        styled.last().length = std::min(run.length, text.size() - run.at);
    }
    const std::optional<TypedStreamText> own = textOfTypedStream(attributedBody);
    return own && own->text == text ? styled : QList<StyledRun>();
}

bool mayHaveStyles(const QByteArray &attributedBody)
{
    // The numbers of parts and the names of files are in every body.
    constexpr std::array signs = {
        QByteArrayView("__kIMText"),    QByteArrayView("__kIMBold"),          QByteArrayView("__kIMItalic"),
        QByteArrayView("__kIMUnder"),   QByteArrayView("__kIMStrike"),        QByteArrayView("__kIMMention"),
        QByteArrayView("__kIMLinkAtt"), QByteArrayView("AudioTranscription"), QByteArrayView("OneTimeCode"),
        QByteArrayView("__kIMData"),    QByteArrayView("__kIMPhone"),         QByteArrayView("__kIMAddress"),
        QByteArrayView("__kIMMoney"),   QByteArrayView("__kIMCalendar")};
    return std::any_of(signs.begin(), signs.end(),
                       [&](QByteArrayView sign) { return attributedBody.contains(sign); });
}

QString textEffectName(int effect)
{
    switch (effect) {
    case 0: return {};
    case 4: return u"ripple"_s;
    case 5: return u"big"_s;
    case 6: return u"bloom"_s;
    case 8: return u"nod"_s;
    case 9: return u"shake"_s;
    case 10: return u"jitter"_s;
    case 11: return u"small"_s;
    case 12: return u"explode"_s;
    default: return QString::number(effect);
    }
}

QList<Translation> readTranslations(const QByteArray &message_summary_info)
{
    constexpr qsizetype mostTranslations = 1'000;
    QList<Translation> translations;
    const QByteArray archive = valueAt(readPlistTree(message_summary_info), u"tmp").toByteArray();
    const QVariantMap parts = archive.isEmpty() ? QVariantMap() : readPlistTree(archive).toMap();
    for (auto it = parts.cbegin(); it != parts.cend(); ++it) {
        for (const QVariant &entry : it.value().toList()) {
            const QString text = boundedText(plainText(valueAt(entry, u"translatedText")));
            if (!text.isEmpty() && translations.size() < mostTranslations)
                translations.append({it.key().toInt(), text,
                                     boundedTextAt(entry, u"sourceLanguage", longestTitle),
                                     boundedTextAt(entry, u"translationLanguage", longestTitle)});
        }
    }
    std::stable_sort(translations.begin(), translations.end(),
                     [](const Translation &a, const Translation &b) { return a.part < b.part; });
    return translations;
}
