#include "store/content/sticker.h"

#include "store/archives/keyedarchive.h"
#include "store/content/contenttools.h"

using namespace Qt::StringLiterals;

Sticker readSticker(const QByteArray &sticker_user_info, const QByteArray &attribution_info,
                    const QString &emoji_image_short_description)
{
    const QString maker = textAt(readPlistTree(sticker_user_info), u"pid");
    const QString app = maker.sliced(maker.lastIndexOf(u':') + 1);
    Sticker sticker;
    if (app == "com.apple.messages.genmoji"_L1) {
        sticker.kind = Sticker::Kind::Genmoji;
        sticker.prompt = boundedText(emoji_image_short_description, longestSummary);
    } else if (app == "com.apple.Animoji.StickersApp.MessagesExtension"_L1 ||
               app == "com.apple.Jellyfish.Animoji"_L1) {
        sticker.kind = Sticker::Kind::Memoji;
    } else if (app == "com.apple.Stickers.UserGenerated.MessagesExtension"_L1) {
        sticker.kind = Sticker::Kind::CutOut;
    }
    sticker.appName = boundedTextAt(readPlistTree(attribution_info), u"name", longestTitle);
    if (sticker.appName.isEmpty() && sticker.kind == Sticker::Kind::Other)
        sticker.appName = boundedText(app, longestTitle);
    return sticker;
}

QString stickerEffect(QByteArrayView file)
{
    constexpr qsizetype searched = 1024 * 1024; // bytes; the metadata stands near the beginning
    constexpr qsizetype longestName = 64;
    const QByteArrayView bytes = file.first(std::min(file.size(), searched));
    if (bytes.indexOf("http://ns.apple.com/Stickers/1.0/") < 0)
        return {};
    constexpr QByteArrayView attribute = "stickerEffect:type=";
    const qsizetype found = bytes.indexOf(attribute);
    if (found < 0)
        return {};
    const QByteArrayView rest = bytes.sliced(found + attribute.size());
    const QByteArrayView quoted = rest.first(std::min(rest.size(), longestName));
    const qsizetype end = quoted.size() > 1 ? quoted.indexOf(quoted.front(), 1) : -1;
    const QString name = end < 0 ? QString() : QString::fromUtf8(quoted.sliced(1, end - 1));
    if (name == "stroke"_L1)
        return u"outline"_s;
    return name == "iridescent"_L1 ? u"shiny"_s : name;
}
