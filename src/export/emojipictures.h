#pragma once

#include <QHash>
#include <QImage>
#include <QList>
#include <QString>

/// An emoji in a text, by its UTF-16 units.
struct EmojiPlace {
    qsizetype begin;
    qsizetype end;
};

/// The emoji of `text`. Skin tones, flags, keycaps and what joiners put together are one.
QList<EmojiPlace> emojiPlaces(const QString &text);

/// Pictures of emoji, in the colours of the font that the system has for them. Such fonts hold pictures
/// instead of outlines, which no PDF can embed.
class EmojiPictures
{
public:
    /// Null where no font of colours has `emoji` as one sign: it is then left to the fonts of the text.
    const QImage &picture(const QString &emoji);

private:
    QHash<QString, QImage> pictures;
};
