#pragma once

class TerminalProgress;
struct CommandLine;

// The commands that show what a phone held. They throw as `Command::run` tells.

void evidenceCommand(const CommandLine &line, TerminalProgress &progress);
/// Says what differs and throws then.
void verifyCommand(const CommandLine &line, TerminalProgress &progress);
void compareCommand(const CommandLine &line, TerminalProgress &progress);
