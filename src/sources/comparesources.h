#pragma once

#include "store/records/messagerecords.h"

#include <QList>

#include <functional>

/// What happened to a message between two states of its source.
struct SourceChange {
    enum class Kind {
        Gone,   ///< only the older one has it
        New,    ///< only the newer one has it
        Edited, ///< its words differ
        Unsent, ///< it, or a part of it, was taken back since
    };
    Kind kind;
    const _MsgMessage *message; ///< of the source that has it, the newer one where both do
};

/// The word for data: "gone", "new", "edited", "unsent".
QString changeName(SourceChange::Kind kind);

/// A source as this takes it. Messages are matched by guid; those that have none of their own by sender, date
/// and words, so that an edited one of these is gone and new.
struct ComparedSource {
    const _MsgStore &store;
    std::function<bool(const _MsgMessage &)> hasOwnGuid;
};

/// The differences: what is gone in the older one's order, then the rest in that of the newer one.
QList<SourceChange> compareSources(const ComparedSource &older, const ComparedSource &newer);
