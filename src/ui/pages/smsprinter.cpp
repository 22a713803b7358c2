#include "ui/pages/smsprinter.h"

#include "export/smspagerenderer.h"

#include <QPainter>
#include <QPrintPreviewDialog>
#include <QPrinter>

using namespace Qt::StringLiterals;

namespace
{

constexpr double margin = 20; // points

void setUpPaper(QPrinter &printer)
{
    printer.setPageOrientation(QPageLayout::Portrait);
    printer.setPageSize(QPageSize(QPageSize::A4));
    printer.setOutputFormat(QPrinter::NativeFormat);
    // Without a printer there is still something to look at.
    if (!printer.isValid())
        printer.setOutputFormat(QPrinter::PdfFormat);
    printer.setPageMargins(QMarginsF(margin, margin, margin, margin), QPageLayout::Point);
}

} // namespace

SMSPrinter::SMSPrinter(QObject *parent) : QObject(parent)
{
}

void SMSPrinter::print(const QList<_MsgMessage *> &printed, EmojiStyle emojiStyle)
{
    messages = printed;
    emoji = emojiStyle;
    QPrinter printer(QPrinter::ScreenResolution);
    setUpPaper(printer);
    QPrintPreviewDialog preview(&printer, qobject_cast<QWidget *>(parent()));
    preview.setWindowTitle(QObject::tr("IDS_PRINT_SMS"));
    connect(&preview, &QPrintPreviewDialog::paintRequested, this, &SMSPrinter::onPaintRequested);
    preview.exec();
}

void SMSPrinter::onPaintRequested(QPrinter *printer)
{
    QPainter painter;
    SmsPageRenderer renderer(painter, emoji);
    renderer.begin(printer);
    for (const _MsgMessage *message : std::as_const(messages))
        renderer.draw(*message);
}
