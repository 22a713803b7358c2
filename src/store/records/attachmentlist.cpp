#include "store/records/attachmentlist.h"

#include "app/freespace.h"
#include "app/texts.h"
#include "store/records/messageparts.h"
#include "store/records/messagerecords.h"
#include "store/records/messagetext.h"

#include <QSet>

#include <algorithm>
#include <utility>

using namespace Qt::StringLiterals;

namespace
{

constexpr int transferComplete = 5;

/// Signs that would let a name read in another order: "photo_gpj.exe" as "photo_exe.jpg".
bool turnsDirection(QChar sign)
{
    return (sign >= QChar(0x202A) && sign <= QChar(0x202E)) ||
           (sign >= QChar(0x2066) && sign <= QChar(0x2069));
}

QString lastComponent(const QString &path)
{
    QString name = printable(path.sliced(path.lastIndexOf(u'/') + 1));
    return name.removeIf(turnsDirection).trimmed();
}

} // namespace

QString attachmentName(const _MsgAttachment &attachment)
{
    for (const QString &path : {attachment.transfer_name, attachment.filename}) {
        const QString name = lastComponent(path);
        if (!name.isEmpty())
            return name;
    }
    return u"attachment"_s;
}

qint64 attachmentBytes(const _MsgAttachment &attachment)
{
    const bool isTold = attachment.total_bytes > 0 || attachment.localFile.isEmpty();
    return isTold ? std::max<qint64>(attachment.total_bytes, 0) : attachment.localFile.size();
}

QString missingReason(const _MsgAttachment &attachment)
{
    if (!attachment.localFile.isEmpty())
        return {};
    return attachment.transfer_state == transferComplete
               ? u"not in the backup"_s
               : u"not in the backup, the phone has not received it whole"_s;
}

QString attachmentLine(const _MsgAttachment &attachment)
{
    QString line = attachmentName(attachment);
    if (const qint64 bytes = attachmentBytes(attachment); bytes > 0)
        line += u", "_s + sizeText(bytes);
    const QString reason = missingReason(attachment);
    return reason.isEmpty() ? line : QString(line + u", "_s + reason);
}

QList<_MsgAttachment *> shownAttachments(const _MsgMessage &message)
{
    QList<_MsgAttachment *> attachments;
    if (message.attachments.isEmpty())
        return attachments;
    for (const MessagePart &part : messageParts(message)) {
        if (part.attachment)
            attachments.append(part.attachment);
    }
    return attachments;
}

QList<_MsgAttachment *> reactionAttachments(const _MsgMessage &message)
{
    QList<_MsgAttachment *> list;
    if (message.extras) {
        for (const MessageReaction &reaction : std::as_const(message.extras->reactions))
            list.append(sortedAttachments(reaction.attachments));
    }
    return list;
}

QList<ListedAttachment> listAttachments(const QList<_MsgMessage *> &messages)
{
    QList<ListedAttachment> list;
    for (const _MsgMessage *message : messages) {
        if (!message->attachments.isEmpty()) {
            for (const _MsgAttachment *attachment : sortedAttachments(*message))
                list.append({message, attachment});
        }
        for (const _MsgAttachment *attachment : reactionAttachments(*message))
            list.append({message, attachment});
    }
    return list;
}

AttachmentTotals totalsOf(const QList<ListedAttachment> &list)
{
    AttachmentTotals totals;
    QSet<const _MsgAttachment *> counted;
    for (const auto &[message, attachment] : list) {
        if (counted.contains(attachment))
            continue;
        counted.insert(attachment);
        const qint64 bytes = std::max<qint64>(attachment->total_bytes, 0);
        ++totals.count;
        totals.bytes += bytes;
        if (attachment->localFile.isEmpty()) {
            ++totals.missing;
            totals.missingBytes += bytes;
        } else {
            totals.bytesOnDisk += attachment->localFile.size();
        }
    }
    return totals;
}
