#pragma once

#include "store/records/messagetext.h"

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

/// `chatIdentifier` is the conversation that the message is listed in: a message of two chats stands in
/// both. `hasGuid` is false for sources whose messages have no identifier of their own; `guid` is then
/// null.
QJsonObject messageJson(const _MsgMessage &message, const QString &chatIdentifier, bool hasGuid,
                        EmojiStyle emoji);

/// An attachment among the pieces of a message.
QJsonObject attachmentPartJson(const _MsgAttachment &attachment);

/// `message` is the one that it came with; `hasGuid` is false when that has no identifier of its own.
QJsonObject attachmentJson(const _MsgAttachment &attachment, const _MsgMessage &message, bool hasGuid);
/// What is said at the end of all attachments.
QJsonObject attachmentTotalsJson(const AttachmentTotals &totals);
