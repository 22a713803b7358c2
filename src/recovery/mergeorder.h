#pragma once

#include <QtGlobal>

#include <vector>

struct _MsgMessage;

/// One message on its way into the order in which a phone shows it: a phone goes by the numbers of rows.
struct MergeItem {
    qint64 rowid = 0;                     ///< on the phone; 0 for a chosen message
    qint64 date = 0;                      ///< seconds since 2001-01-01 UTC
    const _MsgMessage *message = nullptr; ///< null for a row of the phone
};

/// Whether `a` has to stand before `b`. Two rows of the phone that stand close (at most 20 numbers and 120
/// seconds apart) keep their order, so that a clock that was set doesn't turn them round; all others go
/// by date, and of one date the phone's come first. A chosen message has a number too, but in another
/// file: it says nothing about the phone's, so chosen messages go by date alone.
///
/// This is no strict weak ordering: three rows may form a circle. Hand it to no algorithm.
bool mergesBefore(const MergeItem &a, const MergeItem &b);

/// `phoneRows`, which come by rowid, and `chosen` in one list. Each item and its next obey `mergesBefore`,
/// and all rows of the phone that stand close keep their order, whatever circles there are. Chosen messages
/// of one date stay in the order in which they come.
std::vector<MergeItem> mergeOrder(const std::vector<MergeItem> &phoneRows, std::vector<MergeItem> chosen);
