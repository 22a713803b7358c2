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

#include <stdexcept>

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
    if (!QFileInfo(attachment.localFile).isFile())
        return u"<div style=\"font-size:12px;color:#666666;\">"_s + line + u"</div>"_s;
    const QString address = copyOf(attachment).toHtmlEscaped();
    QString shown = line;
    if (isShownByBrowsers(attachment.localFile))
        shown = u"<img src=\"%1\" alt=\"\" style=\"max-width:320px;max-height:320px;border:0;\"/><br/>"_s.arg(
                    address) +
                line;
    return u"<div style=\"font-size:12px;\"><a href=\"%1\">"_s.arg(address) + shown + u"</a></div>"_s;
}

const QString &ExportedAttachments::copyOf(const _MsgAttachment &attachment)
{
    QString &address = copies[attachment.localFile];
    if (!address.isEmpty())
        return address;
    folder.addFolder(copiesFolder);
    const QString name = attachmentName(attachment);
    const QString suffix = suffixOf(name);
    const QString copy =
        folder.newFile(copiesFolder + u'/' + legalFileName(name.chopped(suffix.size())), suffix);
    QFile source(attachment.localFile);
    if (!source.copy(copy))
        throw std::runtime_error(u"%1: %2"_s.arg(copy, source.errorString()).toStdString());
    address = copiesFolder + u'/' + QString::fromLatin1(QUrl::toPercentEncoding(QFileInfo(copy).fileName()));
    return address;
}

qint64 attachmentFileBytes(const QList<_MsgMessage *> &messages)
{
    return totalsOf(listAttachments(messages)).bytesOnDisk;
}
