#pragma once

#include "cli/commands.h"

struct CommandLine;

/// Lists the attachments of a source, then their numbers and bytes. Throws as `runCommand` does.
CommandResult attachmentsCommand(const CommandLine &line);
