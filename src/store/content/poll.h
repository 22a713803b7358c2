#pragma once

#include "store/content/messagecontent.h"

#include <QVariantMap>

/// The options that somebody has chosen in a poll, as one row tells them: all that person's choices at that
/// time.
struct PollVote {
    QStringList options; ///< their ids
    QString voter;       ///< address as it stands in the payload; may be empty
};

/// Fills title and options of a poll from the root of its archive.
void readPoll(MessageContent &content, const QVariantMap &root);

/// The choices in `payload_data` of a vote, one entry a person; empty when it can't be read.
QList<PollVote> readVotes(const QByteArray &payload_data);

/// Counts votes, in the order of their dates: of each voter the last one holds. Options that the poll
/// doesn't list any more are added with an empty text.
void countVotes(MessageContent &poll, const QList<PollVote> &votes);
