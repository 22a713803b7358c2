#include "export/emojipictures.h"

#include <QFont>
#include <QGlyphRun>
#include <QPainter>
#include <QRawFont>
#include <QTextBoundaryFinder>
#include <QTextLayout>

#include <algorithm>
#include <cmath>

using namespace Qt::StringLiterals;

namespace
{

constexpr int pictureSize = 96; // pixels: twice what a page of 600 dots an inch would show of 12 points

constexpr char16_t textSelector = 0xFE0E;
constexpr char16_t emojiSelector = 0xFE0F;
constexpr char16_t firstSymbol = 0x2300; // below are letters, digits and arrows, which need a selector
constexpr char16_t lastSymbol = 0x3299;

constexpr bool isRegional(char32_t codePoint)
{
    return codePoint >= 0x1F1E6 && codePoint <= 0x1F1FF;
}

char32_t codePointAt(QStringView text, qsizetype at)
{
    return at + 1 < text.size() && text[at].isHighSurrogate() && text[at + 1].isLowSurrogate()
               ? QChar::surrogateToUcs4(text[at], text[at + 1])
           : at < text.size() ? text[at].unicode()
                              : 0;
}

bool isEmoji(QStringView cluster)
{
    if (cluster.contains(QChar(textSelector)))
        return false;
    const char32_t first = codePointAt(cluster, 0);
    return cluster.contains(QChar(emojiSelector)) || (first >= 0x1F000 && first <= 0x1FAFF) ||
           (first >= firstSymbol && first <= lastSymbol && QChar::category(first) == QChar::Symbol_Other);
}

bool mayHoldEmoji(const QString &text)
{
    return std::any_of(text.cbegin(), text.cend(), [](QChar unit) { return unit.unicode() >= firstSymbol; });
}

/// Two letters of a flag are one, whatever stands before them.
qsizetype clusterEnd(const QString &text, qsizetype at, QTextBoundaryFinder &finder)
{
    if (isRegional(codePointAt(text, at)) && isRegional(codePointAt(text, at + 2)))
        return at + 4;
    finder.setPosition(at);
    const qsizetype end = finder.toNextBoundary();
    return end < 0 ? text.size() : end;
}

QFont emojiFont()
{
    QFont font;
    font.setFamilies({u"Apple Color Emoji"_s, u"Segoe UI Emoji"_s, u"Noto Color Emoji"_s});
    font.setStyleStrategy(QFont::NoFontMerging);
    font.setPixelSize(pictureSize);
    return font;
}

bool isInColours(const QGlyphRun &glyphs)
{
    const QRawFont font = glyphs.rawFont();
    const QList<quint32> indexes = glyphs.glyphIndexes();
    const bool isWhole = indexes.size() == 1 && indexes.first() != 0;
    return isWhole && (!font.fontTable("CBDT").isEmpty() || !font.fontTable("COLR").isEmpty() ||
                       !font.fontTable("sbix").isEmpty());
}

QImage drawn(const QString &emoji)
{
    QTextLayout layout(emoji, emojiFont());
    layout.beginLayout();
    QTextLine line = layout.createLine();
    layout.endLayout();
    const QList<QGlyphRun> runs = layout.glyphRuns();
    if (!line.isValid() || runs.size() != 1 || !isInColours(runs.first()))
        return {};
    QImage image(int(std::ceil(line.naturalTextWidth())), int(std::ceil(line.height())),
                 QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    layout.draw(&painter, {0, 0});
    return image;
}

} // namespace

QList<EmojiPlace> emojiPlaces(const QString &text)
{
    QList<EmojiPlace> places;
    if (!mayHoldEmoji(text))
        return places;
    QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, text);
    for (qsizetype at = 0; at < text.size();) {
        const qsizetype end = clusterEnd(text, at, finder);
        if (isEmoji(QStringView(text).sliced(at, end - at)))
            places.append({at, end});
        at = end;
    }
    return places;
}

const QImage &EmojiPictures::picture(const QString &emoji)
{
    auto known = pictures.constFind(emoji);
    if (known == pictures.cend())
        known = pictures.insert(emoji, drawn(emoji));
    return *known;
}
