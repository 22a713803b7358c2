#pragma once

#include <QtGlobal>

#include <vector>

struct _MsgMessage;

/// One message on its way into the order in which a phone shows it: a phone goes by the numbers of rows.
struct MergeItem {
    qint64 rowid = 0;                     ///< in its own file; 0 where only the date counts
    qint64 date = 0;                      ///< seconds since 2001-01-01 UTC
    const _MsgMessage *message = nullptr; ///< null for a row of the phone
};

/// Whether `a` has to stand before `b`. Two rows of one file, the phone's or that of the chosen messages,
/// that stand close (at most 20 numbers and 120 seconds apart) keep their order, so that a clock that was set
/// doesn't turn them round; all others go by date, and of one date the phone's come first.
///
/// This is no strict weak ordering: three rows may form a circle. Hand it to no algorithm.
bool mergesBefore(const MergeItem &a, const MergeItem &b);

/// `phoneRows`, which come by rowid, and `chosen`, which are of one source, in one list. Each item and its
/// next obey `mergesBefore`, and all rows of one file that stand close keep their order, whatever circles
/// there are. Chosen messages of one date that don't stand close go by rowid, those of one rowid as they
/// come.
std::vector<MergeItem> mergeOrder(const std::vector<MergeItem> &phoneRows, std::vector<MergeItem> chosen);
