#include "exportsmshtml.h"

#include "exportedattachments.h"
#include "htmltext.h"
#include "messagerecords.h"
#include "product.h"

using namespace Qt::StringLiterals;

ExportSMSHtml::ExportSMSHtml(const QString &path, EmojiStyle emojiStyle, ExportedAttachments *exported)
    : target(path), emoji(emojiStyle), attachments(exported)
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
                  << "</div></div><div style=\"font-size:14px;\">"_L1 << htmlText(fullText(message, emoji))
                  << (attachments ? attachments->html(message) : QString()) << "</div><br/><br/>\n"_L1;
}

void ExportSMSHtml::end()
{
    target.text() << "</body></html>"_L1;
    target.finish();
}
