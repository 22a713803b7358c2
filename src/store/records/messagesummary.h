#pragma once

#include "store/records/messageextras.h"

#include <QByteArrayView>

/// What `message_summary_info`, a binary property list, tells of changes to a message.
struct MessageSummary {
    QList<MessageEdit> edits;  ///< by part, of one part as listed: oldest first
    QList<int> retractedParts; ///< ascending
};

/// Empty when the list is damaged. What in it can't be read is left out: a state whose text can't be
/// decoded stays with an empty text.
MessageSummary messageSummaryOf(const QByteArray &list);

/// A quick look whether there may be any such thing, or a translation: nearly every message has a summary,
/// few tell of changes.
bool mayTellOfChanges(QByteArrayView list);
