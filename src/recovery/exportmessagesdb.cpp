#include "exportmessagesdb.h"

#include "filetools.h"
#include "messagetext.h"

#include <QDebug>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>

using namespace Qt::StringLiterals;

namespace
{

/// Where an attachment goes below the root: its path on the phone.
QString relativePath(const QString &filename)
{
    static const QRegularExpression forbidden(u"[:*?\"<>|]"_s);
    QString path = filename;
    if (path.startsWith(u'/'))
        path.remove(0, 1);
    if (path.startsWith("~/"_L1))
        path.replace(0, 2, "var/mobile/"_L1);
    return path.remove(forbidden);
}

} // namespace

ExportMessagesDb::ExportMessagesDb(const QDir &rootFolder, const QString &path)
    : db(rootFolder, path, QString(), true), placing(db), root(rootFolder)
{
}

ExportMessagesDb::~ExportMessagesDb()
{
    if (db.isOpen())
        db.rollbackTran(); // what `finish` has not committed
}

void ExportMessagesDb::begin()
{
    placing.forget();
    db.beginTransaction();
}

void ExportMessagesDb::append(const _MsgMessage &message)
{
    const bool canHold = message.item_type == 0 || db.hasItemType();
    if (!canHold || !MessagePlacing::hasKnownChat(message))
        return;
    const MessagePlacing::Place place = placing.place(message);
    const QString hash = logicHash(message);
    qint64 messageId = db.messageRowidByHash(hash);
    if (messageId == 0)
        messageId = db.messageRowid(message.guid);
    if (messageId == 0)
        messageId = placing.insert(message, place, hash);
    if (message.attachments.isEmpty())
        return;
    for (const _MsgAttachment *attachment : sortedAttachments(message)) {
        if (QFileInfo(attachment->localFile).isFile())
            copyFile(*attachment);
        placing.joinAttachment(*attachment, messageId);
    }
}

void ExportMessagesDb::finish()
{
    placing.finish();
    db.endTransaction(true);
    db.close();
}

void ExportMessagesDb::copyFile(const _MsgAttachment &attachment) const
{
    const std::optional<QString> target = pathBelow(root, relativePath(attachment.filename));
    if (!target) {
        qWarning("The attachment \"%s\" is not copied: its path leaves the Local Database.",
                 qUtf8Printable(attachment.filename));
        return;
    }
    if (QFile::exists(*target))
        return;
    // A file that can't be copied is no reason to lose the message.
    if (!QDir().mkpath(QFileInfo(*target).path()) || !QFile::copy(attachment.localFile, *target))
        qWarning("The attachment \"%s\" can't be copied to \"%s\".", qUtf8Printable(attachment.localFile),
                 qUtf8Printable(*target));
}
