#include "smspagerenderer.h"

#include "messagerecords.h"
#include "messagetext.h"

#include <QGuiApplication>
#include <QPainter>
#include <QPrinter>
#include <QTextLayout>

#include <array>
#include <cmath>

using namespace Qt::StringLiterals;

namespace
{

constexpr int fontSize = 12;     // points
constexpr int lineGap = 5;       // below date and title of a message; pixels, as the next three
constexpr int messageGap = 30;   // below a message
constexpr int pageNumberGap = 2; // between the box and the page number
constexpr int pageNumberHeight = 18;

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
    void draw(QPainter &painter, int x, int y) const { layout.draw(&painter, QPointF(x, y)); }

private:
    QTextLayout layout;
    int wholeHeight = 0;
};

} // namespace

SmsPageRenderer::SmsPageRenderer(QPainter &pagePainter) : painter(pagePainter)
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
    const WrappedText text(renderText(message), font, printer, width);
    const int height = date.height() + lineGap + title.height() + lineGap + text.height();
    ensureRoom(height);
    if (height > bottom - y + 1)
        qWarning("message %lld is taller than a page: its end is not on the paper", message.rowid);

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

QString SmsPageRenderer::titleLine(const _MsgMessage &message)
{
    QString &title = titles[message.chat];
    if (title.isEmpty() && message.chat)
        title = chatTitle(*message.chat, true);
    return (message.is_from_me != 0 ? u"To: "_s : u"From: "_s) + title;
}
