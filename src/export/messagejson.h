#pragma once

#include "store/records/messagetext.h"

#include <QDateTime>
#include <QJsonObject>
#include <QJsonValue>

struct MessageRecord;
struct _MsgAttachment;
struct _MsgMessage;

// Messages as JSON: the lines of the companion and those of an export. Dates are ISO 8601 in UTC; what isn't
// there is null.

QJsonValue dateJson(const QDateTime &date);
/// 0 is what files hold where there is no date.
QJsonValue messageDateJson(int date);
QJsonValue textOrNull(const QString &text);

/// `chatIdentifier` is the conversation that the message is listed in: a message of two chats stands in
/// both. `hasGuid` is false for sources whose messages have no identifier of their own; `guid` is then
/// null.
QJsonObject messageJson(const _MsgMessage &message, const QString &chatIdentifier, bool hasGuid,
                        EmojiStyle emoji);

/// The same for whoever is given the messages: with what a record tells besides (the local date, names
/// beside addresses, hashes), without "localFile".
QJsonObject withRecord(QJsonObject object, const MessageRecord &record);

/// An attachment among the pieces of a message.
QJsonObject attachmentPartJson(const _MsgAttachment &attachment);
