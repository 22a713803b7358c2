#pragma once

#include "export/emojipictures.h"
#include "export/localdatetext.h"
#include "export/pagetext.h"
#include "store/records/messagetext.h"

#include <QFont>
#include <QHash>
#include <QString>

#include <utility>

class QPagedPaintDevice;
class QPainter;
struct _MsgChat;
struct _MsgMessage;

/// Paints messages on numbered pages, for PDF files and for paper. A message stands whole on a page: where
/// the rest of a page is too short for it, it goes to the next one. One that is taller than a page runs on
/// over as many as it needs. A title is cut where it would take more than half a page from its messages.
class SmsPageRenderer
{
public:
    /// `pagePainter` has to outlive the renderer. End it when all is drawn.
    explicit SmsPageRenderer(QPainter &pagePainter, EmojiStyle emojiStyle = EmojiStyle::Markers);

    /// Takes the box from the page of `pages`, starts the painter on it and numbers the first page.
    /// When the painter can't start, `draw` does nothing.
    void begin(QPagedPaintDevice *pages);
    void draw(const _MsgMessage &message);

private:
    void drawPageNumber();
    void startPage();
    /// Whether so much fits below `y`.
    bool hasHeight(qreal height) const;
    void addWords(PageText &text, const _MsgMessage &message) const;
    /// The drawing of a message, below its words; nothing for others.
    void drawDrawing(const _MsgMessage &message);
    void drawLines(const QList<PageText::Line> &lines);
    const QString &titleLine(const _MsgMessage &message);
    QString onHalfAPage(const QString &text);

    QPagedPaintDevice *printer = nullptr;
    int left = 0; ///< of the box for text, in pixels of the printer; so are the next four
    int top = 0;
    int right = 0;
    int bottom = 0;
    qreal y = 0; ///< where the next line goes
    int pageNumber = 1;

    QPainter &painter;
    EmojiStyle emoji;
    QFont font;
    EmojiPictures pictures;
    LocalDateText dates;
    QHash<std::pair<const _MsgChat *, bool>, QString> titleLines; ///< by direction too
};
