#pragma once

#include "cli/commands.h"
#include "store/records/messagerecords.h"

#include <memory>

class AbsIOSMessageDb;
class TerminalProgress;
struct CommandLine;

/// A source of messages with all its records read.
struct Source {
    std::unique_ptr<AbsIOSMessageDb> db;
    _MsgStorePtr store;
    CommandResult refusal; ///< why there is none: a word or a password that is off; `db` is then null
};

/// Opens what the command line names without reading its records: `store` stays null. Otherwise as
/// `openSource`.
Source openUnread(const CommandLine &line, TerminalProgress &progress);

/// Opens what the command line names: a backup folder, which is unlocked and brought into the cache, a
/// folder that holds the phone's own tree, or a Local Database. Throws `std::runtime_error` when none of
/// them is there or it can't be read.
Source openSource(const CommandLine &line, TerminalProgress &progress);
