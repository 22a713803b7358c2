#pragma once

#include <QtGlobal>

#include <cstdlib>

// The order of messages, in lists and when a database is built anew: two rows of one file that stand close
// keep the order of the file, so that a clock that was set doesn't turn them round; all others go by date.

constexpr qint64 nearRows = 20;
constexpr qint64 nearDates = 120; // seconds

/// A place in that order. The row is 0 where only the date counts.
struct MessagePlace {
    qint64 row = 0;
    qint64 date = 0; ///< seconds since 2001
};

inline bool standClose(const MessagePlace &a, const MessagePlace &b)
{
    return a.row != 0 && b.row != 0 && std::abs(a.row - b.row) <= nearRows &&
           std::abs(a.date - b.date) <= nearDates;
}
