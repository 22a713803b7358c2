#pragma once

#include "store/records/messagerecords.h"

#include <QList>
#include <QString>

#include <optional>

class AbsIOSMessageDb;

/// Row numbers of a phone's messages that no row has any more. A phone counts its rows up and never uses
/// a number again, so each stood for something that is gone: a message, or a reaction that was taken back.
struct MessageGap {
    qint64 missing = 0;
    const _MsgMessage *after = nullptr;  ///< the last message before them; null at the start
    const _MsgMessage *before = nullptr; ///< the first message behind them; null at the end
    /// Of the conversation in which both neighbours stand; empty where they stand in two, and at the ends.
    QString chat_identifier;
};

struct MessageGaps {
    QList<MessageGap> list; ///< by row number
    qint64 missing = 0;     ///< of all together
    /// How many messages the phone says were erased, ever; nothing where it keeps no such list.
    std::optional<qint64> recordedDeletions;
};

/// The gaps in the source `db`, whose messages `store` holds. Rows that are there without being shown as
/// messages (reactions, shared locations, what no chat holds) are not missing. A Local Database has none:
/// its row numbers are its own. Throws `std::runtime_error` when the file can't be read.
MessageGaps messageGaps(AbsIOSMessageDb &db, const _MsgStore &store);

/// The gaps within a conversation.
QList<MessageGap> gapsOfSession(const MessageGaps &gaps, const _MsgSession &session);

/// A sentence that tells a gap, with local dates. It claims no more than is known.
QString gapText(const MessageGap &gap);
