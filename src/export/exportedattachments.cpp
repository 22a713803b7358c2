#include "export/exportedattachments.h"

#include "app/htmltext.h"
#include "export/exportconversation.h"
#include "export/exportfolder.h"
#include "store/pictures/pictureformat.h"
#include "store/records/attachmentlist.h"
#include "store/records/messagerecords.h"

#include <QFileInfo>
#include <QRegularExpression>
#include <QUrl>

using namespace Qt::StringLiterals;

namespace
{

constexpr auto copiesFolder = "files/attachments"_L1;

bool isShownByBrowsers(const QString &file)
{
    const QByteArray format = pictureFormat(file);
    return format == "jpeg" || format == "png" || format == "gif" || format == "webp";
}

/// Nothing but a plain one: it decides what opens the file.
QString suffixOf(const QString &name)
{
    static const QRegularExpression plain(u"\\.[A-Za-z0-9]{1,10}$"_s);
    return plain.match(name).captured();
}

} // namespace

QString ExportedAttachments::html(const _MsgAttachment &attachment)
{
    const QString line = htmlText(attachmentLine(attachment));
    if (!attachment.localFile.isThere())
        return u"<div style=\"font-size:12px;color:#666666;\">"_s + line + u"</div>"_s;
    const Copy &copy = copyOf(attachment);
    const QString address = copy.address.toHtmlEscaped();
    QString shown = line;
    if (copy.isShown)
        shown = u"<img src=\"%1\" alt=\"\" style=\"max-width:320px;max-height:320px;border:0;\"/><br/>"_s.arg(
                    address) +
                line;
    return u"<div style=\"font-size:12px;\"><a href=\"%1\">"_s.arg(address) + shown + u"</a></div>"_s;
}

const ExportedAttachments::Copy &ExportedAttachments::copyOf(const _MsgAttachment &attachment)
{
    Copy &made = copies[attachment.localFile.path()];
    if (!made.address.isEmpty())
        return made;
    folder.addFolder(copiesFolder);
    const QString name = attachmentName(attachment);
    const QString suffix = suffixOf(name);
    const QString copy =
        folder.newFile(copiesFolder + u'/' + legalFileName(name.chopped(suffix.size())), suffix);
    attachment.localFile.copyTo(copy, &progress);
    made.isShown = isShownByBrowsers(copy);
    made.address =
        copiesFolder + u'/' + QString::fromLatin1(QUrl::toPercentEncoding(QFileInfo(copy).fileName()));
    return made;
}

qint64 attachmentFileBytes(const QList<_MsgMessage *> &messages)
{
    return totalsOf(listAttachments(messages)).bytesOnDisk;
}
