#include "smspagerenderer.h"

#include "attachmentlist.h"
#include "messagerecords.h"

#include <QGuiApplication>
#include <QPainter>
#include <QPrinter>
#include <QTextLayout>

#include <algorithm>
#include <cmath>

using namespace Qt::StringLiterals;

namespace
{

constexpr int fontSize = 12;     // points
constexpr int lineGap = 5;       // below date and title of a message; pixels, as the next three
constexpr int messageGap = 30;   // below a message
constexpr int pageNumberGap = 2; // between the box and the page number
constexpr int pageNumberHeight = 18;

/// The text, and a line for each attachment.
QString wordsOf(const _MsgMessage &message, EmojiStyle emoji)
{
    QString words = fullText(message, emoji);
    for (const _MsgAttachment *attachment : shownAttachments(message))
        words += u'\n' + attachmentLine(*attachment);
    return words;
}

/// A text broken into lines of a width. Words break only where they are longer than a line.
class WrappedText
{
public:
    WrappedText(QString text, const QFont &font, QPaintDevice *device, int width)
        : layout(text.replace(u'\r', u' ').replace(u'\n', QChar::LineSeparator), font, device)
    {
        QTextOption option;
        option.setWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
        layout.setTextOption(option);
        layout.setCacheEnabled(true); // draws what it measured
        const qreal leading = QFontMetricsF(font, device).leading();
        qreal bottom = 0;
        layout.beginLayout();
        for (QTextLine line = layout.createLine(); line.isValid(); line = layout.createLine()) {
            line.setLineWidth(width);
            line.setPosition({0, bottom});
            bottom += line.height() + leading;
        }
        layout.endLayout();
        wholeHeight = int(std::ceil(bottom - leading));
    }

    int height() const { return wholeHeight; }
    /// How many characters stand on lines that end above `height`.
    qsizetype charactersAbove(int height) const
    {
        qsizetype count = 0;
        for (int i = 0; i < layout.lineCount(); ++i) {
            const QTextLine line = layout.lineAt(i);
            if (line.y() + line.height() <= height)
                count = line.textStart() + line.textLength();
        }
        return count;
    }
    void draw(QPainter &painter, int x, int y) const { layout.draw(&painter, QPointF(x, y)); }

private:
    QTextLayout layout;
    int wholeHeight = 0;
};

} // namespace

SmsPageRenderer::SmsPageRenderer(QPainter &pagePainter, EmojiStyle emojiStyle)
    : painter(pagePainter), emoji(emojiStyle)
{
}

void SmsPageRenderer::begin(QPrinter *pagePrinter)
{
    printer = pagePrinter;
    const QMarginsF margins =
        printer->pageLayout().margins(QPageLayout::Point) * (printer->resolution() / 72.0);
    const QRectF page = printer->pageRect(QPrinter::DevicePixel);
    left = qRound(margins.left());
    top = qRound(margins.top());
    right = left + qRound(page.width() - margins.left() - margins.right()) - 1;
    bottom = top + qRound(page.height() - margins.top() - margins.bottom()) - 1;
    y = top;
    pageNumber = 1;
    if (!painter.begin(printer))
        return;
    font = QGuiApplication::font();
    font.setPointSize(fontSize);
    // A spacing that is set, even to what it is anyway, keeps letters out of ligatures: whoever searches a
    // PDF for "coffee" finds it.
    font.setLetterSpacing(QFont::PercentageSpacing, 100);
    painter.setFont(font);
    drawPageNumber();
}

void SmsPageRenderer::draw(const _MsgMessage &message)
{
    if (!painter.isActive())
        return;
    const int width = right - left + 1;
    const WrappedText date(dates.systemShort(message.date), font, printer, width);
    const WrappedText title(titleLine(message), font, printer, width);
    const WrappedText text(wordsOf(message, emoji), font, printer, width);
    const int height = date.height() + lineGap + title.height() + lineGap + text.height();
    ensureRoom(height);
    if (height > bottom - y + 1)
        qWarning("message %lld is taller than a page and runs off at its bottom", message.rowid);

    painter.setPen(message.is_from_me != 0 ? QColor(0, 128, 64) : QColor(0, 0, 255));
    date.draw(painter, left, y);
    y += date.height() + lineGap;
    title.draw(painter, left, y);
    y += title.height() + lineGap;
    painter.setPen(Qt::black);
    text.draw(painter, left, y);
    y += text.height() + messageGap;
}

void SmsPageRenderer::drawPageNumber()
{
    const QRect box(left, bottom + pageNumberGap, right - left + 1, pageNumberHeight);
    painter.drawText(box, Qt::AlignCenter | Qt::TextDontClip, QString::number(pageNumber));
}

void SmsPageRenderer::ensureRoom(int height)
{
    // `y` counts from the edge of the paper, so that a page keeps the height of its margin free.
    if (height <= bottom - top + 1 - y)
        return;
    printer->newPage();
    y = top;
    ++pageNumber;
    drawPageNumber();
}

const QString &SmsPageRenderer::titleLine(const _MsgMessage &message)
{
    const bool isSent = message.is_from_me != 0;
    QString &line = titleLines[{message.chat, isSent}];
    if (line.isEmpty()) {
        const QString title = message.chat ? chatTitle(*message.chat, true) : QString();
        line = onHalfAPage((isSent ? u"To: "_s : u"From: "_s) + title);
    }
    return line;
}

QString SmsPageRenderer::onHalfAPage(const QString &text) const
{
    const qsizetype fitting =
        WrappedText(text, font, printer, right - left + 1).charactersAbove((bottom - top) / 2);
    return fitting == text.size() ? text : QString(text.left(std::max<qsizetype>(fitting, 1) - 1) + u'…');
}
