#include "export/pagetext.h"

#include "export/emojipictures.h"

#include <QAbstractTextDocumentLayout>
#include <QFontMetricsF>
#include <QTextBlock>
#include <QTextOption>
#include <QUrl>

using namespace Qt::StringLiterals;

namespace
{

constexpr QChar firstStrongIsolate(0x2068);
constexpr QChar popIsolate(0x2069);

bool runsFromTheRight(QChar unit)
{
    const QChar::Direction direction = unit.direction();
    return direction == QChar::DirR || direction == QChar::DirAL;
}

/// Each group of words that run from the right as an isolate: brackets, commas and numbers beside them
/// would take their order else.
QString withIsolates(const QString &text)
{
    QString result;
    qsizetype done = 0;
    for (qsizetype at = 0; at < text.size(); ++at) {
        if (!runsFromTheRight(text.at(at)))
            continue;
        qsizetype end = at + 1;
        for (qsizetype next = end; next < text.size(); ++next) {
            if (runsFromTheRight(text.at(next)))
                end = next + 1;
            else if (!text.at(next).isSpace() && !text.at(next).isMark())
                break;
        }
        result += QStringView(text).sliced(done, at - done) + firstStrongIsolate +
                  QStringView(text).sliced(at, end - at) + popIsolate;
        done = at = end;
    }
    return result + QStringView(text).sliced(done);
}

QStringList linesOf(QString text)
{
    return text.replace("\r\n"_L1, "\n"_L1).replace(u'\r', u'\n').split(u'\n');
}

} // namespace

PageText::PageText(const QFont &font, QPaintDevice *device, int width, EmojiPictures &emojiPictures)
    : pictures(emojiPictures)
{
    document.setUndoRedoEnabled(false);
    document.setDocumentMargin(0);
    document.documentLayout()->setPaintDevice(device);
    document.setDefaultFont(font);
    QTextOption option;
    option.setWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
    document.setDefaultTextOption(option);
    document.setTextWidth(width);
}

void PageText::add(const QString &text, Words words, const QColor &colour, int gap)
{
    QTextCharFormat format;
    format.setForeground(colour);
    cursor.beginEditBlock();
    for (const QString &line : linesOf(text)) {
        if (!gaps.isEmpty())
            cursor.insertBlock();
        gaps.append(std::exchange(gap, 0));
        addLine(words == Words::Programs ? withIsolates(line) : line, words, format);
    }
    cursor.endEditBlock();
}

void PageText::addLine(const QString &line, Words words, const QTextCharFormat &format)
{
    QTextBlockFormat block;
    block.setLayoutDirection(words == Words::Peoples && line.isRightToLeft() ? Qt::RightToLeft
                                                                             : Qt::LeftToRight);
    cursor.setBlockFormat(block);
    qsizetype done = 0;
    for (const EmojiPlace &place : emojiPlaces(line)) {
        const QString emoji = line.sliced(place.begin, place.end - place.begin);
        const QImage &picture = pictures.picture(emoji);
        if (picture.isNull())
            continue;
        cursor.insertText(line.sliced(done, place.begin - done), format);
        insertPicture(emoji, picture);
        done = place.end;
    }
    cursor.insertText(line.sliced(done), format);
}

void PageText::insertPicture(const QString &emoji, const QImage &picture)
{
    const QString name = u"emoji:"_s + QString::fromLatin1(emoji.toUtf8().toHex());
    document.addResource(QTextDocument::ImageResource, QUrl(name), picture);
    const qreal height = QFontMetricsF(document.defaultFont()).height();
    QTextImageFormat format;
    format.setName(name);
    format.setHeight(height);
    format.setWidth(height * picture.width() / picture.height());
    format.setFont(document.defaultFont());
    format.setVerticalAlignment(QTextCharFormat::AlignBaseline);
    cursor.insertImage(format);
}

QList<PageText::Line> PageText::lines()
{
    document.documentLayout()->documentSize(); // lays out all of it
    QList<Line> lines;
    for (QTextBlock block = document.begin(); block.isValid(); block = block.next()) {
        const QTextLayout &layout = *block.layout();
        for (int i = 0; i < layout.lineCount(); ++i)
            lines.append({layout.lineAt(i), i == 0 ? qreal(gaps.value(block.blockNumber())) : 0});
    }
    return lines;
}

qreal heightOf(const QList<PageText::Line> &lines)
{
    qreal height = 0;
    for (const PageText::Line &line : lines)
        height += line.gap + line.height();
    return height;
}
