#pragma once

#include <QHash>
#include <QList>
#include <QString>

class ExportFolder;
class JobProgress;
struct _MsgAttachment;
struct _MsgMessage;

/// The attachments beside the pages of an HTML export: each file that a page names is copied once into
/// "files/attachments", under a name of its own.
class ExportedAttachments
{
public:
    ExportedAttachments(ExportFolder &exportFolder, JobProgress &jobProgress)
        : folder(exportFolder), progress(jobProgress)
    {
    }

    /// What a page says of an attachment: pictures that browsers know as pictures, the rest as links, and one
    /// that isn't there in words. Throws when its file can't be copied, or the integer
    /// -1 when that is cancelled.
    QString html(const _MsgAttachment &attachment);

private:
    struct Copy {
        QString address;      ///< relative to the pages
        bool isShown = false; ///< as a picture
    };
    const Copy &copyOf(const _MsgAttachment &attachment);

    ExportFolder &folder;
    JobProgress &progress;
    QHash<QString, Copy> copies; ///< by path of the original
};

/// Bytes of all files of attachments that `messages` have at hand.
qint64 attachmentFileBytes(const QList<_MsgMessage *> &messages);
