#pragma once

#include <QByteArray>
#include <QString>

/// What a sticker is and where it comes from.
struct Sticker {
    enum class Kind { Other, Genmoji, Memoji, CutOut };
    Kind kind = Kind::Other;
    QString prompt;  ///< what a Genmoji was asked for
    QString appName; ///< whose sticker it is; its identifier where it has no name
};

/// By the columns of `attachment`. Of the description only that of a Genmoji means anything.
Sticker readSticker(const QByteArray &sticker_user_info, const QByteArray &attribution_info,
                    const QString &emoji_image_short_description);

/// The effect that a sticker was given, from the metadata of its HEIC file: "outline", "comic", "puffy",
/// "shiny", another name as it stands there, empty for none.
QString stickerEffect(QByteArrayView file);
