#pragma once

#include <QList>
#include <QString>

struct _MsgAttachment;
struct _MsgMessage;

// What people read about attachments, and which of them are missing.

/// The name to show and to give a copy: as the file was sent, else the one it has on the phone. One line
/// without folders; never empty.
QString attachmentName(const _MsgAttachment &attachment);

/// Bytes as the table tells them, or where it tells none those of the file at hand.
qint64 attachmentBytes(const _MsgAttachment &attachment);

/// Why there is no file, for people: "not in the backup"; empty when there is one.
QString missingReason(const _MsgAttachment &attachment);

/// Name, size and what is wrong, if anything: "IMG_1.HEIC, 1.2 MB, not in the backup".
QString attachmentLine(const _MsgAttachment &attachment);

/// The attachments that people see with the message, in the order of its parts: not those that the phone
/// hides.
QList<_MsgAttachment *> shownAttachments(const _MsgMessage &message);

/// An attachment beside the message that it came with, or under which the reaction stands that has it.
struct ListedAttachment {
    const _MsgMessage *message;
    const _MsgAttachment *attachment;
};

/// The attachments of the message's reactions, such as stickers that were put on it: reaction after
/// reaction, of one by rowid.
QList<_MsgAttachment *> reactionAttachments(const _MsgMessage &message);

/// All attachments of `messages` in their order, within one by rowid, hidden ones too; then those of its
/// reactions.
QList<ListedAttachment> listAttachments(const QList<_MsgMessage *> &messages);

/// Numbers and bytes of a list, each attachment counted once.
struct AttachmentTotals {
    qsizetype count = 0;
    qint64 bytes = 0;       ///< as the table tells
    qint64 bytesOnDisk = 0; ///< of the files at hand
    qsizetype missing = 0;
    qint64 missingBytes = 0; ///< as the table tells
};

AttachmentTotals totalsOf(const QList<ListedAttachment> &list);
