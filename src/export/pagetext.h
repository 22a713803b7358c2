#pragma once

#include <QColor>
#include <QFont>
#include <QList>
#include <QString>
#include <QTextCursor>
#include <QTextDocument>
#include <QTextLayout>

class EmojiPictures;
class QPaintDevice;
class QPainter;

/// Texts below each other, broken into lines of a width. Words break only where they are longer than a
/// line. All measures are pixels of the device.
class PageText
{
public:
    /// Whose words a text is: it decides which way its lines run.
    enum class Words {
        Peoples,  ///< from the right where a line begins in Hebrew, Arabic or the like
        Programs, ///< from the left; what runs from the right stands isolated in them
    };

    /// Emoji stand as `emojiPictures` where there is one. Everything named has to outlive the text.
    PageText(const QFont &font, QPaintDevice *device, int width, EmojiPictures &emojiPictures);

    /// Adds the lines of `text` below `gap`; a carriage return, a line feed, or both, end one.
    void add(const QString &text, Words words, const QColor &colour = Qt::black, int gap = 0);

    /// A line that is ready to be painted.
    struct Line {
        QTextLine line;
        qreal gap; ///< above it
        qreal height() const { return line.height(); }
        void draw(QPainter &painter, qreal x, qreal y) const { line.draw(&painter, {x, y - line.y()}); }
    };
    /// From the top. They are good until something is added or the text goes.
    QList<Line> lines();

private:
    void addLine(const QString &line, Words words, const QTextCharFormat &format);
    void insertPicture(const QString &emoji, const QImage &picture);

    QTextDocument document;
    QTextCursor cursor{&document};
    EmojiPictures &pictures;
    QList<int> gaps; ///< above each block
};

/// Height of `lines` with what stands between them.
qreal heightOf(const QList<PageText::Line> &lines);
