#pragma once

#include "store/records/messagerecords.h"
#include "store/records/recordcolumn.h"

// The columns of a message database, one table for each of its tables: what is read goes into a record, and
// what goes into a record is inserted, upgraded and looked for. Columns stand in the order of a phone's
// rows up to iOS 8 (of newer phones only those that we keep), behind them our own.

RecordColumns<_MsgMessage> messageTable();
RecordColumns<_MsgChat> chatTable();
RecordColumns<_MsgHandle> handleTable();
RecordColumns<_MsgAttachment> attachmentTable();

/// The columns of "message" that few messages fill.
RecordColumns<MessageExtras> extrasTable();

/// The table of our own "_reaction"; on phones reactions are messages.
RecordColumns<MessageReaction> reactionTable();

/// Which messages of a phone before iOS 6 have something of theirs in a column. Of the others, what it holds
/// isn't kept or is made from several columns.
enum class Ios5Use {
    No,
    All,
    IMessages,
    Carved, ///< all, but only those recovered keep it
};

struct Ios5Column {
    RecordColumn<_MsgMessage> column;
    Ios5Use use = Ios5Use::No;
};

/// The columns of "message" before iOS 6: 17 on phones that know no iMessages, 32 on the first that do, then
/// 33.
std::span<const Ios5Column> ios5MessageTable();
