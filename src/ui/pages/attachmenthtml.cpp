#include "ui/pages/attachmenthtml.h"

#include "app/htmltext.h"
#include "store/pictures/pictureformat.h"
#include "store/pictures/picturereader.h"
#include "store/records/attachmentlist.h"
#include "store/records/messagerecords.h"

#include <QUrl>

using namespace Qt::StringLiterals;

namespace
{

// A message that claims thousands would keep the page from being laid out.
constexpr qsizetype mostShown = 40;

QString linked(const _MsgAttachment &attachment, const QString &html)
{
    const QString file = attachment.localFile.readyPath();
    if (file.isEmpty())
        return html;
    const QString address = QUrl::fromLocalFile(file).toString(QUrl::FullyEncoded);
    return u"<a href=\"%1\">"_s.arg(address.toHtmlEscaped()) + html + u"</a>"_s;
}

QString lineHtml(const _MsgAttachment &attachment)
{
    const QString name = attachmentName(attachment);
    const QString behind = attachmentLine(attachment).sliced(name.size());
    return linked(attachment, htmlText(name)) + htmlText(behind);
}

} // namespace

QString pictureHtml(const _MsgAttachment &attachment)
{
    const QString file = attachment.localFile.readyPath();
    if (file.isEmpty() || !canReadPictures(pictureFormat(file)))
        return {};
    return linked(attachment, u"<img src=\"thumbnail:%1\"/>"_s.arg(attachment.rowid)) + u"<br/>"_s;
}

QSize pictureFrame(const _MsgAttachment &attachment)
{
    return attachment.is_sticker != 0 ? QSize(96, 96) : QSize(240, 160);
}

QString attachmentsHtml(const QList<_MsgAttachment *> &shown)
{
    QString html;
    for (const _MsgAttachment *attachment : shown.first(std::min(shown.size(), mostShown)))
        html += u"<div class=\"a\">"_s + pictureHtml(*attachment) + lineHtml(*attachment) + u"</div>"_s;
    if (shown.size() > mostShown)
        html += u"<div class=\"a\">and %1 more</div>"_s.arg(shown.size() - mostShown);
    return html;
}
