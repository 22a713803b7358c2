#include "ui/pages/pagepictures.h"

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
    store = page.store;
    for (const _MsgMessage *message : page.messages) {
        for (const _MsgAttachment *attachment : message->attachments) {
            if (!attachment->localFile.isEmpty())
                shown.insert(attachment->rowid, attachment);
        }
    }
}

QImage PagePictures::image(const QUrl &address)
{
    if (address.scheme() != "thumbnail"_L1)
        return {};
    const _MsgAttachment *attachment = shown.value(address.path().toLongLong());
    if (!attachment)
        return {};
    const QSize frame = pictureFrame(*attachment);
    const std::optional<QImage> picture = thumbnails.thumbnail(attachment->localFile);
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
        if (readyFiles.contains(it.value()->localFile))
            view->document()->addResource(QTextDocument::ImageResource, addressOf(it.key()),
                                          image(addressOf(it.key())));
    }
    readyFiles.clear();
    view->document()->markContentsDirty(0, view->document()->characterCount());
}

QImage PagePictures::framed(const QImage &picture, const QSize &frame) const
{
    const qreal ratio = view->devicePixelRatioF();
    QSize size = picture.size();
    if (size.width() > frame.width() || size.height() > frame.height())
        size = size.scaled(frame, Qt::KeepAspectRatio).expandedTo({1, 1});
    QImage canvas(QSize(size.width(), frame.height()) * ratio, QImage::Format_ARGB32_Premultiplied);
    canvas.setDevicePixelRatio(ratio);
    canvas.fill(Qt::transparent);
    QPainter painter(&canvas);
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    painter.drawImage(QRect(QPoint(0, (frame.height() - size.height()) / 2), size), picture);
    return canvas;
}

QImage PagePictures::emptyFrame(const QSize &frame, const QString &words) const
{
    const qreal ratio = view->devicePixelRatioF();
    QImage canvas(frame * ratio, QImage::Format_ARGB32_Premultiplied);
    canvas.setDevicePixelRatio(ratio);
    canvas.fill(Qt::transparent);
    QPainter painter(&canvas);
    QColor ground = view->palette().color(QPalette::Text);
    ground.setAlpha(30);
    painter.fillRect(QRect(QPoint(), frame), ground);
    painter.setPen(view->palette().color(QPalette::Text));
    painter.drawText(QRect(QPoint(), frame), Qt::AlignCenter, words);
    return canvas;
}
