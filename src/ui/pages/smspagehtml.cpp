#include "ui/pages/smspagehtml.h"

#include "app/htmltext.h"
#include "store/records/attachmentlist.h"
#include "store/records/extrastext.h"
#include "store/records/messageparts.h"
#include "store/records/messagestore.h"
#include "ui/pages/attachmenthtml.h"
#include "ui/pages/contenthtml.h"

#include <QLocale>
#include <QRegularExpression>

using namespace Qt::StringLiterals;

namespace
{

/// `text` for a cell. Laying out one word takes time by the square of its length: a word of a megabyte would
/// take minutes, in pieces it takes a second.
QString cellText(const QString &text)
{
    static const QRegularExpression longWord(u"\\S{1000}"_s);
    constexpr QChar zeroWidthSpace(0x200B);
    return htmlText(QString(text).replace(longWord, u"\\0"_s + zeroWidthSpace));
}

/// One row of a message's table: its cell stands in the right half for a sent message, else in the left.
QString tableRow(bool isSent, const QString &cell, const QString &emptyClass)
{
    const QString empty = u"<td width=\"50%\" class=\"%1\"></td>"_s.arg(emptyClass);
    return isSent ? u"<tr>"_s + empty + cell + u"</tr>"_s : u"<tr>"_s + cell + empty + u"</tr>"_s;
}

QString titleCell(const _MsgMessage &message)
{
    const QString date = QLocale::system().toString(appleDateTime(message.date), QLocale::ShortFormat);
    const QString direction = message.is_from_me ? u"To:"_s : u"From:"_s;
    const QString delivery = deliveryText(message, DateForm::SystemShort);
    const QString behindDate = delivery.isEmpty() ? QString() : u" · "_s + delivery;
    return u"<td width=\"50%\" class=\"t\">"_s + htmlText(date + behindDate) + u"<br/>"_s + direction +
           u" "_s + cellText(senderLabel(message)) + u"</td>"_s;
}

/// The text without the markers of attachments, which are shown themselves.
QString bareText(const _MsgMessage &message, EmojiStyle emoji)
{
    if (message.attachments.isEmpty())
        return renderText(message, emoji, DateForm::SystemShort);
    _MsgMessage bare = message;
    bare.attachments.clear();
    return renderText(bare, emoji, DateForm::SystemShort);
}

/// What stands under the text: reply, effect, edits, reactions and the like.
QString wordsHtml(const _MsgMessage &message, EmojiStyle emoji, bool isHistoryOpen, BalloonLines balloon)
{
    QString html;
    for (const QString &line : linesUnder(message, isHistoryOpen ? History::Told : History::LeftOut,
                                          DateForm::SystemShort, balloon))
        html += u"<div class=\"w\">"_s + cellText(withEmoji(line, emoji)) + u"</div>"_s;
    if (hasHistory(message)) {
        const QString link =
            isHistoryOpen ? QObject::tr("IDS_HIDE_HISTORY") : QObject::tr("IDS_SHOW_HISTORY");
        html += u"<div class=\"w\"><a href=\"/history?%1\">%2</a></div>"_s.arg(QString::number(message.rowid),
                                                                               htmlText(link));
    }
    return html;
}

/// Words and attachments in the order of their writer, one below the other.
QString orderedHtml(const _MsgMessage &message, EmojiStyle emoji)
{
    QString html = message.subject.isEmpty()
                       ? QString()
                       : u"<div>"_s + cellText(withEmoji(message.subject, emoji)) + u"</div>"_s;
    for (const MessagePart &part : messageParts(message)) {
        if (part.attachment)
            html += attachmentsHtml({part.attachment});
        else
            html += u"<div>"_s + cellText(withEmoji(part.text, emoji)) + u"</div>"_s;
    }
    return html;
}

QString bodyHtml(const _MsgMessage &message, EmojiStyle emoji)
{
    // One that claims more would keep the page from being laid out: of those below a text only some are
    // shown.
    constexpr qsizetype mostInOrder = 40;
    if (hasPartOrder(message) && message.attachments.size() <= mostInOrder)
        return orderedHtml(message, emoji);
    return cellText(bareText(message, emoji)) + attachmentsHtml(shownAttachments(message));
}

QString contentCell(const _MsgMessage &message, EmojiStyle emoji, bool isHistoryOpen)
{
    const QString card = contentCard(message, emoji);
    const bool isCardAlone = !card.isEmpty() && isShownByContent(message) && message.subject.isEmpty();
    return u"<td width=\"50%\" class=\"c\">"_s + (isCardAlone ? QString() : bodyHtml(message, emoji)) + card +
           wordsHtml(message, emoji, isHistoryOpen,
                     card.isEmpty() ? BalloonLines::Told : BalloonLines::LeftOut) +
           u"</td>"_s;
}

QString messageHtml(const _MsgMessage &message, EmojiStyle emoji, bool isHistoryOpen)
{
    const bool isSent = message.is_from_me != 0;
    return u"<a name=\"sms_%1\"></a>"_s.arg(message.rowid) +
           u"<table class=\"%1\" width=\"100%\" cellpadding=\"0\" border=\"0\" cellspacing=\"0\">"_s.arg(
               isSent ? u"send"_s : u"rec"_s) +
           tableRow(isSent, titleCell(message), u"st"_s) +
           tableRow(isSent, contentCell(message, emoji, isHistoryOpen), u"sc"_s) + u"</table>"_s;
}

} // namespace

int pagesFor(qsizetype messageCount)
{
    return int((messageCount + messagesPerPage - 1) / messagesPerPage);
}

QString smsPageHtml(const QList<_MsgMessage *> &messages, int page, EmojiStyle emoji,
                    const QSet<qint64> &openHistories)
{
    QString html = u"<a name=\"start\"></a>"_s;
    if (page > 1)
        html += u"<p><a href=\"/pre_page\">&lt;&lt;Previous Page</a></p>"_s;
    for (const _MsgMessage *message : messages.mid((page - 1) * messagesPerPage, messagesPerPage))
        html += messageHtml(*message, emoji, openHistories.contains(message->rowid));
    if (page < pagesFor(messages.size()))
        html += u"<p><a href=\"/next_page\">&gt;&gt;Next Page</a></p>"_s;
    return html + u"<a name=\"end\"></a>"_s;
}
