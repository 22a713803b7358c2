#pragma once

#include <QtGlobal>

/// What became of the messages that were handed in for a Local Database.
struct ImportCounts {
    qint64 added = 0;
    qint64 known = 0;   ///< were there already
    qint64 refused = 0; ///< can't be held there; the log says why

    qint64 handedIn() const { return added + known + refused; }
};
