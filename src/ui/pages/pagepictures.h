#pragma once

#include "ui/models/messagelist.h"
#include "ui/pages/thumbnails.h"

#include <QTimer>

class QTextEdit;

/// The pictures on the page that a view shows: a frame until each is read, then the picture in it. Nothing
/// but files of the page's attachments is ever loaded.
class PagePictures : public QObject
{
    Q_OBJECT

public:
    /// Belongs to `view`.
    explicit PagePictures(QTextEdit *shownIn);

    /// The page was turned: these messages are shown from now on.
    void turnTo(const MessageList &page);
    /// What stands for an address of `attachmentsHtml` or `contentCard`; null for any other address.
    QImage image(const QUrl &address);

private:
    void onReady(const QString &file);
    void showReady();
    QImage thumbnail(qint64 rowid);
    QImage drawing(qint64 rowid) const;
    QImage canvas(const QSizeF &size) const;
    QImage framed(const QImage &picture, const QSize &frame) const;
    QImage emptyFrame(const QSize &frame, const QString &words) const;

    QTextEdit *view;
    Thumbnails thumbnails;
    _MsgStorePtr store;                          ///< owns what is shown
    QHash<qint64, const _MsgAttachment *> shown; ///< by rowid
    QHash<qint64, const _MsgMessage *> messages; ///< the same, those with a content
    QSet<QString> readyFiles;
    QTimer gathering; ///< many pictures come at once, the page is laid out once for them
};
