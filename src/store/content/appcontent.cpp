#include "store/archives/keyedarchive.h"
#include "store/content/contentreader.h"
#include "store/content/contenttools.h"

#include <QRegularExpression>

using namespace Qt::StringLiterals;

namespace
{

/// App icons and template pictures that can be drawn: JPEG and PNG; others are textures of the phone.
QString drawableType(const QByteArray &bytes)
{
    if (bytes.startsWith("\xFF\xD8\xFF"))
        return u"image/jpeg"_s;
    return bytes.startsWith("\x89PNG\r\n\x1A\n") ? u"image/png"_s : QString();
}

/// A currency's sign or code beside a number, in either order.
QString amountIn(const QString &text)
{
    static const QRegularExpression amount(
        u"(?:\\p{Sc}|\\b[A-Z]{3})[ \\x{A0}\\x{202F}]?\\d[\\d.,'\\x{A0}\\x{202F}]*\\d|"
        "(?:\\p{Sc}|\\b[A-Z]{3})[ \\x{A0}\\x{202F}]?\\d|"
        "\\d[\\d.,'\\x{A0}\\x{202F}]*[ \\x{A0}\\x{202F}]?(?:\\p{Sc}|[A-Z]{3}\\b)"_s);
    return amount.match(text.first(std::min(text.size(), longestSummary))).captured();
}

/// The kind of a payment is in its words alone, in the sender's language: only English is understood.
QString paymentState(const QString &words)
{
    struct State {
        const char *word;
        const char *state;
    };
    constexpr State states[] = {{"recurring", "recurring"}, {"declined", "declined"}, {"expired", "expired"},
                                {"request", "requested"},   {"sent", "sent"},         {"payment", "sent"}};
    for (const State &state : states) {
        if (words.contains(QLatin1StringView(state.word), Qt::CaseInsensitive))
            return QLatin1StringView(state.state);
    }
    return {};
}

/// Unix seconds with a fraction; invalid for what is no date of this century.
QDateTime unixDate(const QString &text)
{
    constexpr double latest = 4102444800; // 2100-01-01
    bool isNumber = false;
    const double seconds = text.toDouble(&isNumber);
    if (!isNumber || !(seconds > 0 && seconds < latest))
        return {};
    return QDateTime::fromMSecsSinceEpoch(qint64(seconds * 1000), Qt::UTC);
}

/// The first text, nearest to the root, under each of these names.
class Search
{
public:
    explicit Search(const QVariantMap &root) : level({root}) {}

    QString find(const QStringList &names) const
    {
        constexpr int mostLooked = 5'000;
        QVariantList todo = level;
        for (qsizetype i = 0; i < todo.size() && todo.size() < mostLooked; ++i) {
            const QVariant value = todo.at(i);
            const QVariantMap map = value.toMap();
            for (const QString &name : names) {
                const QString text = boundedTextAt(map, name);
                if (!text.isEmpty())
                    return text;
            }
            for (const QVariant &inner : map)
                todo.append(inner);
            if (value.metaType().id() == QMetaType::QVariantList)
                todo += value.toList();
        }
        return {};
    }

private:
    QVariantList level;
};

} // namespace

void readAppLayout(MessageContent &content, const QVariantMap &root)
{
    content.appName = boundedTextAt(root, u"an", longestTitle);
    content.words = boundedTextAt(root, u"ldtext");
    content.title = boundedTextAt(root, u"userInfo/image-title");
    content.subtitle = boundedTextAt(root, u"userInfo/image-subtitle");
    content.caption = boundedTextAt(root, u"userInfo/caption");
    content.subcaption = boundedTextAt(root, u"userInfo/subcaption");
    content.trailingCaption = boundedTextAt(root, u"userInfo/secondary-subcaption");
    content.trailingSubcaption = boundedTextAt(root, u"userInfo/tertiary-subcaption");
    content.url = boundedTextAt(root, u"URL");
    const QString captions = content.words + content.title + content.caption + content.subcaption;
    if (captions.isEmpty())
        content.words = boundedTextAt(root, u"AccessibilityLabel");
    const QByteArray icon = root.value(u"ai"_s).toByteArray();
    const QString type = drawableType(icon);
    if (!type.isEmpty())
        content.pictures.append({icon, type, -1});
}

void readSystemApp(MessageContent &content)
{
    switch (content.kind) {
    case ContentKind::Payment: {
        const QString amount = amountIn(content.subcaption);
        content.amount = amount.isEmpty() ? amountIn(content.words) : amount;
        content.state = paymentState(content.words + u' ' + content.subcaption);
        break;
    }
    case ContentKind::CheckIn:
        content.date = unixDate(queryValue(content.url, u"sendDate"));
        content.expectedBy = unixDate(queryValue(content.url, u"estimatedEndTime"));
        content.wasExpectedAt = unixDate(queryValue(content.url, u"triggerTime"));
        break;
    default: break;
    }
    // What apps keep for themselves in an address is of no use to people; a page is.
    if (!content.url.startsWith("http://"_L1) && !content.url.startsWith("https://"_L1))
        content.url.clear();
}

void readUnknownShape(MessageContent &content, const QVariantMap &root)
{
    const Search search(root);
    content.appName = search.find({u"an"_s, u"appName"_s, u"application"_s});
    content.words = search.find({u"ldtext"_s, u"text"_s, u"message"_s, u"AccessibilityLabel"_s});
    content.title = search.find({u"title"_s, u"name"_s, u"image-title"_s});
    content.caption = search.find({u"caption"_s, u"summary"_s, u"subtitle"_s, u"subcaption"_s});
    const QString url = search.find({u"URL"_s, u"url"_s, u"originalURL"_s});
    if (url.startsWith("http"_L1))
        content.url = url;
}
