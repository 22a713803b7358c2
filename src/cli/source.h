#pragma once

#include "sources/choice.h"
#include "store/readers/absmessagedb.h"

#include <memory>

class TerminalProgress;
struct CommandLine;

/// A source of messages with all its records read.
struct Source {
    std::unique_ptr<AbsIOSMessageDb> db;
    _MsgStorePtr store;

    /// `choice` with the country by which this source writes numbers.
    Choice localized(Choice choice) const;
};

/// The first line of a file; of standard input for "-". Throws `std::runtime_error`.
QString readPassword(const QString &fileName);

/// Opens what the command line names without reading its records. A backup is unlocked and brought into the
/// cache. Throws `CommandError` for a country that nobody knows and a backup that stays locked, and
/// `std::runtime_error` when there is no such source or it can't be read.
std::unique_ptr<AbsIOSMessageDb> openUnread(const CommandLine &line, TerminalProgress &progress);

/// The same with its records, and with a word on standard error when the address book can't be read.
Source openSource(const CommandLine &line, TerminalProgress &progress);
