#include "export/exportsmshtml.h"

#include "app/htmltext.h"
#include "app/product.h"
#include "export/exportedattachments.h"
#include "store/records/attachmentlist.h"
#include "store/records/extrastext.h"
#include "store/records/messageparts.h"
#include "store/records/messagerecords.h"
#include "store/records/richcontent.h"

#include <utility>

using namespace Qt::StringLiterals;

ExportSMSHtml::ExportSMSHtml(const QString &path, EmojiStyle emoji, ExportedAttachments *attachments)
    : target(path), emoji(emoji), attachments(attachments)
{
}

void ExportSMSHtml::begin()
{
    target.open();
    target.text() << "<!DOCTYPE html PUBLIC \"-//W3C//DTD XHTML 1.0 Transitional//EN\" "
                     "\"http://www.w3.org/TR/xhtml1/DTD/xhtml1-transitional.dtd\">"
                     "<html xmlns=\"http://www.w3.org/1999/xhtml\">"
                     "<head><meta http-equiv=\"Content-Type\" content=\"text/html; charset=utf-8\" />"
                     "<title>"_L1
                  << htmlText(productName()) << "</title></head><body>"_L1;
}

void ExportSMSHtml::write(const _MsgMessage &message)
{
    const bool isSent = message.is_from_me != 0;
    QString &title = titles[message.chat];
    if (title.isEmpty() && message.chat)
        title = htmlText(chatTitle(*message.chat, true));
    target.text() << "<a name=\"sms"_L1 << message.rowid << "\"></a><div style=\"color:"_L1
                  << (isSent ? "#008040"_L1 : "#0000FF"_L1) << ";font-size:16px;\"><div>"_L1
                  << htmlText(dates.systemShort(message.date)) << "</div><div>"_L1
                  << (isSent ? "To: "_L1 : "From: "_L1) << title
                  << "</div></div><div style=\"font-size:14px;\">"_L1 << body(message)
                  << "</div><br/><br/>\n"_L1;
}

QString ExportSMSHtml::body(const _MsgMessage &message) const
{
    const bool isOrdered = attachments && hasPartOrder(message);
    QString html = isOrdered ? orderedBody(message) : htmlText(fullText(message, emoji));
    html += contentPicture(message);
    if (!attachments)
        return html;
    QList<_MsgAttachment *> below = isOrdered ? QList<_MsgAttachment *>() : shownAttachments(message);
    below += reactionAttachments(message);
    for (const _MsgAttachment *attachment : std::as_const(below))
        html += attachments->html(*attachment);
    return html;
}

QString ExportSMSHtml::contentPicture(const _MsgMessage &message) const
{
    if (!hasContent(message))
        return {};
    if (const std::optional<Drawing> drawing = drawingOf(message))
        return u"<div style=\"width:320px;\">"_s + QString::fromLatin1(svgOf(*drawing)) + u"</div>"_s;
    const MessageContent content = attachments ? ownContent(message) : MessageContent();
    for (const ContentPicture &picture : content.pictures)
        if (const _MsgAttachment *file = pictureFile(message, picture))
            return attachments->html(*file);
    return {};
}

QString ExportSMSHtml::orderedBody(const _MsgMessage &message) const
{
    const auto line = [this](const QString &words) -> QString {
        return u"<div>"_s + htmlText(withEmoji(words, emoji)) + u"</div>"_s;
    };
    QString html = message.subject.isEmpty() ? QString() : line(message.subject);
    for (const MessagePart &part : messageParts(message))
        html += part.attachment ? attachments->html(*part.attachment) : line(part.text);
    for (const QString &words : linesUnder(message))
        html += line(u'[' + words + u']');
    return html;
}

void ExportSMSHtml::end()
{
    target.text() << "</body></html>"_L1;
    target.finish();
}
