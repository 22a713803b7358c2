#pragma once

#include <QList>
#include <QString>
#include <QStringList>

class TerminalProgress;
struct CommandLine;

/// One option of a command, on the command line and in its help.
struct CommandOption {
    const char *name;
    const char *value; ///< what its help calls the value; null for a switch
    const char *description;
    /// Takes over what was given, once or more. Throws `CommandError` when that can't be meant.
    /// Null for those that are no command's own.
    void (*store)(CommandLine &line, const QStringList &values);
    bool isRequired = false;
};

/// One command of the companion. Parsing, help and work all go by this row.
struct Command {
    const char *name;
    /// The words that have to follow, such as "SOURCE", with blanks between them; "..." ends one that may be
    /// repeated, which is the last.
    const char *subject;
    const char *description;
    QList<CommandOption> options;
    /// Writes JSON Lines to standard output. Throws `CommandError`, `std::runtime_error` when the work fails,
    /// and the integer -1 when it was interrupted.
    void (*run)(const CommandLine &line, TerminalProgress &progress);
    const char *details = ""; ///< of its own help
};

/// All commands, in the order of the help.
const QList<Command> &commandTable();

/// The words of its subject, one by one.
QStringList subjectsOf(const Command &command);

/// The options of every command beside its own.
const QList<CommandOption> &commonOptions();

/// The options that stand before a command or alone.
const QList<CommandOption> &generalOptions();

/// The command of that name; null when there is none.
const Command *findCommand(const QString &name);
