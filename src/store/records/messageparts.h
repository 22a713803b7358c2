#pragma once

#include "store/records/messagerecords.h"

#include <QList>
#include <QString>

/// A piece of a message: words, or one attachment.
struct MessagePart {
    QString text;
    _MsgAttachment *attachment = nullptr; ///< null for words
    bool isInline = false;                ///< it stands within a line, like an emoji
    qsizetype at = -1; ///< where the words begin in `_MsgMessage::text`; -1 where that isn't one stretch
};

/// Whether the message, of a phone since iOS 10, tells where in its text the attachments stand and that makes
/// a difference. Older ones keep the layout that they always had.
bool hasPartOrder(const _MsgMessage &message);
/// Finds out when a message is read.
bool needsPartOrder(const _MsgMessage &message);

/// The pieces of a message in its writer's order; where that isn't known, words before attachments by rowid.
/// Attachments that the phone hides are none, and the sentence of an event isn't either. Words are trimmed
/// and never empty.
QList<MessagePart> messageParts(const _MsgMessage &message);
