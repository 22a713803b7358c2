#include "ui/pages/smsbrowser.h"

#include "app/fileopener.h"
#include "ui/dialogs/boxes.h"
#include "ui/pages/pagepictures.h"
#include "ui/pages/smspagehtml.h"
#include "ui/views/stylesheet.h"

#include <QEvent>
#include <QFileInfo>
#include <QScrollBar>

using namespace Qt::StringLiterals;

namespace
{

constexpr char16_t lightColours[] = u".t{font-size:13px;padding:5px 10px} "
                                    ".c,.sc{font-size:14px;padding:5px 10px;background-color:#EEEEEE;}"
                                    ".send{/*background-color:#CEE0EC;*/} .send .t{color:#008040;}"
                                    ".rec{/*background-color:#F5FFE2;*/} .rec .t{color:#0000FF;}"
                                    ".w{font-size:12px;color:#5A5A5A;} "
                                    ".k{border:1px solid #C8C8C8;} .kc{background-color:#FFFFFF;} "
                                    ".kb{font-size:4px;background-color:#3D7EC8;}";
// Comes behind the light ones: their colours can't be read on a dark ground.
constexpr char16_t darkColours[] = u".c,.sc{background-color:#3A3A3A;} .kc{background-color:#2A2A2A;} "
                                   u".k{border-color:#606060;} .w,.w a{color:#B0B0B0;} .send "
                                   u".t{color:#6FCF97;} .rec .t{color:#8AB4F8;}";

} // namespace

SmsBrowser::SmsBrowser(QWidget *parent) : QTextBrowser(parent), pictures(new PagePictures(this))
{
    applyColours();
    setOpenLinks(false);
    connect(this, &QTextBrowser::anchorClicked, this, &SmsBrowser::onAnchorClicked);
}

void SmsBrowser::setMessages(const MessageList &shown)
{
    list = shown;
    openHistories.clear();
    page = 0;
    pictures->turnTo({});
    if (list.messages.isEmpty())
        clear();
    else
        firstPage();
}

void SmsBrowser::clearMessages()
{
    setMessages({});
}

void SmsBrowser::setEmojiStyle(EmojiStyle style)
{
    emoji = style;
    if (page > 0)
        render(page);
}

int SmsBrowser::pageCount() const
{
    return pagesFor(list.messages.size());
}

void SmsBrowser::showMessage(int row)
{
    if (row < 0 || row >= list.messages.size())
        return;
    const int wanted = pagesFor(row + 1);
    if (wanted != page)
        render(wanted);
    const QString anchor = u"sms_%1"_s.arg(list.messages.at(row)->rowid);
    // Queued: a new page has no layout yet.
    QMetaObject::invokeMethod(
        this, [this, anchor] { scrollToAnchor(anchor); }, Qt::QueuedConnection);
}

void SmsBrowser::firstPage()
{
    goToPage(1, QTextCursor::Start);
}

void SmsBrowser::previousPage()
{
    goToPage(page - 1, QTextCursor::End);
}

void SmsBrowser::nextPage()
{
    goToPage(page + 1, QTextCursor::Start);
}

void SmsBrowser::lastPage()
{
    goToPage(pageCount(), QTextCursor::End);
}

void SmsBrowser::goToPage(int number, QTextCursor::MoveOperation cursorTo)
{
    if (number < 1 || number > pageCount())
        return;
    render(number);
    moveCursor(cursorTo);
}

void SmsBrowser::render(int number)
{
    page = number;
    pictures->turnTo({list.messages.mid((page - 1) * messagesPerPage, messagesPerPage), list.store});
    setUpdatesEnabled(false);
    document()->clear(); // the pictures of the page before
    setHtml(smsPageHtml(list.messages, page, emoji, openHistories));
    setUpdatesEnabled(true);
}

void SmsBrowser::onAnchorClicked(const QUrl &url)
{
    if (url.path() == "/pre_page"_L1)
        previousPage();
    else if (url.path() == "/next_page"_L1)
        nextPage();
    else if (url.path() == "/history"_L1)
        toggleHistory(url.query().toLongLong());
    else if (url.isLocalFile())
        openAttachment(url.toLocalFile());
}

void SmsBrowser::openAttachment(const QString &file)
{
    const QString name = QFileInfo(file).fileName().toHtmlEscaped();
    if (isSafeToOpen(file) || askYesNo(QObject::tr("IDS_OPEN_UNSAFE_FILE_%1").arg(name)))
        openWithShell(file);
}

QVariant SmsBrowser::loadResource(int type, const QUrl &name)
{
    return type == QTextDocument::ImageResource ? QVariant(pictures->image(name)) : QVariant();
}

void SmsBrowser::toggleHistory(qint64 rowid)
{
    if (!openHistories.remove(rowid))
        openHistories.insert(rowid);
    const int place = verticalScrollBar()->value();
    render(page);
    verticalScrollBar()->setValue(place);
}

void SmsBrowser::changeEvent(QEvent *event)
{
    QTextBrowser::changeEvent(event);
    if (event->type() == QEvent::PaletteChange) {
        applyColours();
        if (page > 0)
            render(page);
    }
}

void SmsBrowser::applyColours()
{
    QString colours = QString::fromUtf16(lightColours);
    if (isDarkPalette())
        colours += QString::fromUtf16(darkColours);
    document()->setDefaultStyleSheet(colours + u" .a{font-size:12px;}"_s);
}
