#pragma once

#include <QHash>
#include <QList>
#include <QString>

class ExportFolder;
struct _MsgAttachment;
struct _MsgMessage;

/// The attachments beside the pages of an HTML export: each file that a page names is copied once into
/// "files/attachments", under a name of its own.
class ExportedAttachments
{
public:
    explicit ExportedAttachments(ExportFolder &exportFolder) : folder(exportFolder) {}

    /// What a page says of an attachment: pictures that browsers know as pictures, the rest as links, and one
    /// that isn't there in words. Throws when its file can't be copied.
    QString html(const _MsgAttachment &attachment);

private:
    /// Relative address of the copy.
    const QString &copyOf(const _MsgAttachment &attachment);

    ExportFolder &folder;
    QHash<QString, QString> copies; ///< address by path of the original
};

/// Bytes of all files of attachments that `messages` have at hand.
qint64 attachmentFileBytes(const QList<_MsgMessage *> &messages);
