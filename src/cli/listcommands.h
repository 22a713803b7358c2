#pragma once

class TerminalProgress;
struct CommandLine;

// The commands that list something, one JSON object a line. They throw as `Command::run` tells.

void listBackupsCommand(const CommandLine &line, TerminalProgress &progress);
/// A database that can't be counted doesn't keep the others from being listed.
void listDatabasesCommand(const CommandLine &line, TerminalProgress &progress);
void listChatsCommand(const CommandLine &line, TerminalProgress &progress);
void listMessagesCommand(const CommandLine &line, TerminalProgress &progress);
/// Says last how many there are, and their bytes.
void listAttachmentsCommand(const CommandLine &line, TerminalProgress &progress);
/// Says last how many there are. Throws for a Local Database.
void listGapsCommand(const CommandLine &line, TerminalProgress &progress);
