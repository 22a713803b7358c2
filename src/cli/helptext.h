#pragma once

#include <QString>

struct Command;

// What --help prints, for a terminal of eighty columns.

/// All commands in a line each, and the options that stand before a command.
QString generalHelp();

/// Usage, description and options of one command.
QString commandHelp(const Command &command);
