#pragma once

class TerminalProgress;
struct CommandLine;

// The commands that make or change something and say in the end, in one JSON object, what came of it. They
// throw as `Command::run` tells.

void exportCommand(const CommandLine &line, TerminalProgress &progress);
void importCommand(const CommandLine &line, TerminalProgress &progress);
void mergeCommand(const CommandLine &line, TerminalProgress &progress);
void deleteCommand(const CommandLine &line, TerminalProgress &progress);
void recoverCommand(const CommandLine &line, TerminalProgress &progress);
