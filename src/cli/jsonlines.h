#pragma once

#include <QJsonObject>

class BackupManifest;
struct AttachmentTotals;
struct MessageGap;
struct MessageGaps;
struct _MsgAttachment;
struct _MsgMessage;
struct _MsgSession;

/// Writes one object on a line of standard output. Throws `std::runtime_error` when it can't be written.
void printJsonLine(const QJsonObject &object);
/// Makes sure that all lines are out. Throws as `printJsonLine` does.
void finishOutput();

QJsonObject backupJson(const BackupManifest &backup);

QJsonObject sessionJson(const _MsgSession &session);

/// Neighbours that a gap doesn't have are null.
QJsonObject gapJson(const MessageGap &gap);
/// What is said at the end of all gaps of a source.
QJsonObject gapsTotalJson(const MessageGaps &gaps);

/// `message` is the one that it came with; `hasGuid` is false when that has no identifier of its own.
QJsonObject attachmentJson(const _MsgAttachment &attachment, const _MsgMessage &message, bool hasGuid);
/// What is said at the end of all attachments.
QJsonObject attachmentTotalsJson(const AttachmentTotals &totals);
