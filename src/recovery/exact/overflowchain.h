#pragma once

#include "recovery/exact/livemap.h"

/// What a row that is deleted has on overflow pages.
struct OverflowChain {
    QByteArray content;

    /// Follows the chain from page `first` for `wanted` bytes. It goes through free pages only, for another
    /// one has been written over, and ends before a page that lists free ones, whose start has been. One that
    /// doesn't end where its content does is no chain of this row at all: nothing.
    static OverflowChain ofDeleted(const DatabaseState &state, const LiveMap &map, quint32 first,
                                   qint64 wanted);
    /// The same for a row that stands in a table at that moment.
    static OverflowChain ofLive(const DatabaseState &state, quint32 first, qint64 wanted);
};
