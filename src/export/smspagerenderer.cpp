#include "export/smspagerenderer.h"

#include "store/pictures/drawingpainter.h"
#include "store/records/attachmentlist.h"
#include "store/records/extrastext.h"
#include "store/records/messagerecords.h"
#include "store/records/richcontent.h"

#include <QGuiApplication>
#include <QPageLayout>
#include <QPagedPaintDevice>
#include <QPainter>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace
{

constexpr int fontSize = 12;     // points
constexpr int lineGap = 5;       // below date and title of a message; pixels, as the next three
constexpr int messageGap = 30;   // below a message
constexpr int pageNumberGap = 2; // between the box and the page number
constexpr int pageNumberHeight = 18;

} // namespace

SmsPageRenderer::SmsPageRenderer(QPainter &pagePainter, EmojiStyle emojiStyle)
    : painter(pagePainter), emoji(emojiStyle)
{
}

void SmsPageRenderer::begin(QPagedPaintDevice *pages)
{
    printer = pages;
    const int resolution = printer->logicalDpiX();
    const QMarginsF margins = printer->pageLayout().margins(QPageLayout::Point) * (resolution / 72.0);
    const QRectF page = printer->pageLayout().paintRectPixels(resolution);
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
    const QColor colour = message.is_from_me != 0 ? QColor(0, 128, 64) : QColor(0, 0, 255);
    PageText text(font, printer, right - left + 1, pictures);
    text.add(dates.systemShort(message.date), PageText::Words::Programs, colour);
    text.add(titleLine(message), PageText::Words::Programs, colour, lineGap);
    const qsizetype headLines = text.lines().size();
    addWords(text, message);
    const QList<PageText::Line> lines = text.lines();

    // Of what is taller than a page the head stays with the first line below it.
    const qreal height = heightOf(lines);
    const bool fitsOnAPage = height <= bottom - top + 1 - top;
    if (!hasHeight(fitsOnAPage ? height : heightOf(lines.mid(0, headLines + 1))))
        startPage();
    drawLines(lines);
    drawDrawing(message);
    y += messageGap;
}

void SmsPageRenderer::addWords(PageText &text, const _MsgMessage &message) const
{
    const auto whose = message.item_type == 0 ? PageText::Words::Peoples : PageText::Words::Programs;
    const QString own = renderText(message, emoji, DateForm::SystemShort);
    if (!own.isEmpty())
        text.add(own, whose, Qt::black, lineGap);
    for (const QString &line : linesUnder(message, History::Told, DateForm::SystemShort))
        text.add(u'[' + withEmoji(line, emoji) + u']', PageText::Words::Programs);
    for (const _MsgAttachment *attachment : shownAttachments(message))
        text.add(attachmentLine(*attachment), PageText::Words::Programs);
}

void SmsPageRenderer::drawDrawing(const _MsgMessage &message)
{
    const std::optional<Drawing> drawing = hasContent(message) ? drawingOf(message) : std::nullopt;
    if (!drawing)
        return;
    const QSizeF size = drawingSize(*drawing, QSizeF(right - left, bottom - top) / 3);
    if (!hasHeight(lineGap + size.height()))
        startPage();
    paintDrawing(painter, *drawing, {{qreal(left), y + lineGap}, size}, Qt::black);
    y += lineGap + size.height();
}

void SmsPageRenderer::drawLines(const QList<PageText::Line> &lines)
{
    for (const PageText::Line &line : lines) {
        if (y > top && !hasHeight(line.gap + line.height()))
            startPage();
        y += line.gap;
        line.draw(painter, left, y);
        y += line.height();
    }
}

void SmsPageRenderer::drawPageNumber()
{
    const QRect box(left, bottom + pageNumberGap, right - left + 1, pageNumberHeight);
    painter.drawText(box, Qt::AlignCenter | Qt::TextDontClip, QString::number(pageNumber));
}

bool SmsPageRenderer::hasHeight(qreal height) const
{
    // `y` counts from the edge of the paper, so that a page keeps the height of its margin free.
    return height <= bottom - top + 1 - y;
}

void SmsPageRenderer::startPage()
{
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
        line = onHalfAPage((isSent ? u"To: "_s : u"From: "_s) + title.simplified());
    }
    return line;
}

QString SmsPageRenderer::onHalfAPage(const QString &text)
{
    PageText measured(font, printer, right - left + 1, pictures);
    measured.add(text, PageText::Words::Peoples);
    const int most = (bottom - top) / 2;
    qreal height = 0;
    qsizetype fitting = 0;
    qsizetype all = 0; // an emoji that stands as a picture counts one here and more in the text
    for (const PageText::Line &line : measured.lines()) {
        height += line.height();
        all += line.line.textLength();
        if (height <= most)
            fitting += line.line.textLength();
    }
    return fitting == all ? text : QString(text.left(std::max<qsizetype>(fitting, 1) - 1) + u'…');
}
