#pragma once

#include "cli/exitstatus.h"

#include <QString>

struct CommandLine;

/// How a command ended. `error` is one line, empty when it is done.
struct CommandResult {
    ExitStatus status = ExitStatus::Done;
    QString error;
};

/// Does what `line` asks for and writes its JSON Lines to standard output. Failures of the work are
/// thrown as `std::runtime_error`, an interrupted job as the integer -1.
CommandResult runCommand(const CommandLine &line);
