#pragma once

class TerminalProgress;
struct CommandLine;

/// Lists the messages of a source, or of all Local Databases, that hold what is looked for. Throws as
/// `Command::run` tells.
void searchCommand(const CommandLine &line, TerminalProgress &progress);
