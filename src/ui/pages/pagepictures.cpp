#include "ui/pages/pagepictures.h"

#include "store/pictures/drawingpainter.h"
#include "store/records/richcontent.h"
#include "ui/pages/attachmenthtml.h"

#include <QPainter>
#include <QTextDocument>
#include <QTextEdit>
#include <QUrl>

using namespace Qt::StringLiterals;

namespace
{

constexpr auto gatheringTime = std::chrono::milliseconds(60);

QUrl addressOf(qint64 rowid)
{
    return QUrl(u"thumbnail:%1"_s.arg(rowid));
}

} // namespace

PagePictures::PagePictures(QTextEdit *shownIn) : QObject(shownIn), view(shownIn)
{
    gathering.setSingleShot(true);
    gathering.setInterval(gatheringTime);
    connect(&gathering, &QTimer::timeout, this, &PagePictures::showReady);
    connect(&thumbnails, &Thumbnails::ready, this, &PagePictures::onReady);
}

void PagePictures::turnTo(const MessageList &page)
{
    thumbnails.forgetWaiting();
    readyFiles.clear();
    shown.clear();
    messages.clear();
    store = page.store;
    for (const _MsgMessage *message : page.messages) {
        if (hasContent(*message))
            messages.insert(message->rowid, message);
        for (const _MsgAttachment *attachment : message->attachments) {
            if (!attachment->localFile.isEmpty())
                shown.insert(attachment->rowid, attachment);
        }
    }
}

QImage PagePictures::image(const QUrl &address)
{
    const qint64 rowid = address.path().toLongLong();
    if (address.scheme() == "drawing"_L1)
        return drawing(rowid);
    return address.scheme() == "thumbnail"_L1 ? thumbnail(rowid) : QImage();
}

QImage PagePictures::thumbnail(qint64 rowid)
{
    const _MsgAttachment *attachment = shown.value(rowid);
    if (!attachment)
        return {};
    const QSize frame = pictureFrame(*attachment);
    const std::optional<QImage> picture = thumbnails.thumbnail(attachment->localFile.path());
    if (!picture)
        return emptyFrame({frame.height(), frame.height()}, u"…"_s);
    return picture->isNull() ? emptyFrame({frame.height(), frame.height()}, u"No preview"_s)
                             : framed(*picture, frame);
}

void PagePictures::onReady(const QString &file)
{
    readyFiles.insert(file);
    gathering.start();
}

void PagePictures::showReady()
{
    for (auto it = shown.cbegin(); it != shown.cend(); ++it) {
        if (readyFiles.contains(it.value()->localFile.path()))
            view->document()->addResource(QTextDocument::ImageResource, addressOf(it.key()),
                                          image(addressOf(it.key())));
    }
    readyFiles.clear();
    view->document()->markContentsDirty(0, view->document()->characterCount());
}

QImage PagePictures::drawing(qint64 rowid) const
{
    constexpr QSizeF box(320, 240);
    const _MsgMessage *message = messages.value(rowid);
    const std::optional<Drawing> drawn = message ? drawingOf(*message) : std::nullopt;
    const QSizeF size = drawn ? drawingSize(*drawn, box) : QSizeF();
    if (size.isEmpty())
        return {};
    QImage picture = canvas(size);
    QPainter painter(&picture);
    paintDrawing(painter, *drawn, {{}, size}, view->palette().color(QPalette::Text));
    return picture;
}

QImage PagePictures::canvas(const QSizeF &size) const
{
    const qreal ratio = view->devicePixelRatioF();
    QImage canvas((size * ratio).toSize(), QImage::Format_ARGB32_Premultiplied);
    canvas.setDevicePixelRatio(ratio);
    canvas.fill(Qt::transparent);
    return canvas;
}

QImage PagePictures::framed(const QImage &picture, const QSize &frame) const
{
    QSize size = picture.size();
    if (size.width() > frame.width() || size.height() > frame.height())
        size = size.scaled(frame, Qt::KeepAspectRatio).expandedTo({1, 1});
    QImage image = canvas(QSize(size.width(), frame.height()));
    QPainter painter(&image);
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    painter.drawImage(QRect(QPoint(0, (frame.height() - size.height()) / 2), size), picture);
    return image;
}

QImage PagePictures::emptyFrame(const QSize &frame, const QString &words) const
{
    QImage image = canvas(frame);
    QPainter painter(&image);
    QColor ground = view->palette().color(QPalette::Text);
    ground.setAlpha(30);
    painter.fillRect(QRect(QPoint(), frame), ground);
    painter.setPen(view->palette().color(QPalette::Text));
    painter.drawText(QRect(QPoint(), frame), Qt::AlignCenter, words);
    return image;
}
