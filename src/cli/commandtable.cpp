#include "cli/command.h"
#include "cli/commandline.h"
#include "cli/listcommands.h"
#include "cli/workcommands.h"

#include <algorithm>

namespace
{

const QList<CommandOption> sourceOptions = {
    {"password-file", "FILE", "First line of FILE is the backup's password; - reads it from standard input.",
     [](CommandLine &line, const QStringList &values) { line.passwordFile = values.last(); }},
    {"country", "MCC", "The phone's mobile country code, such as 214.",
     [](CommandLine &line, const QStringList &values) { line.country = values.last(); }},
    {"recovered", nullptr, "With the deleted messages that the command recover found.",
     [](CommandLine &line, const QStringList &) { line.recovered = Recovered::Shown; }},
};
const QList<CommandOption> choiceOptions = {
    {"chat", "ID", "Only the conversation with this chat_identifier; may be given more than once.",
     [](CommandLine &line, const QStringList &values) { line.choice.chats = values; }},
};
const CommandOption newestFirstOption = {
    "newest-first", nullptr, "The newest message comes first.",
    [](CommandLine &line, const QStringList &) { line.order = ListOrder::NewestFirst; }};
const CommandOption emojiOption = {
    "emoji", nullptr, "Emoji stay as they are; without it \"[EMOJI]\" stands for each.",
    [](CommandLine &line, const QStringList &) { line.emoji = EmojiStyle::Characters; }};
const CommandOption rootOption = {
    "root", "DIR", "Look for backups below DIR.",
    [](CommandLine &line, const QStringList &values) { line.root = values.last(); }};
const CommandOption missingOption = {"missing", nullptr, "Only those whose file isn't in the backup.",
                                     [](CommandLine &line, const QStringList &) { line.missing = true; }};
const CommandOption formatOption = {
    "format", "txt|csv|html|pdf", "What to write.",
    [](CommandLine &line, const QStringList &values) { line.format = values.last(); }, true};
const CommandOption outOption = {
    "out", "PATH", "The file to write; for html and pdf the folder of one file a conversation.",
    [](CommandLine &line, const QStringList &values) { line.out = values.last(); }, true};
const CommandOption intoOption = {
    "into", "NAME", "The Local Database to write to; it is made if it isn't there.",
    [](CommandLine &line, const QStringList &values) { line.into = values.last(); }, true};
const CommandOption intoBackupOption = {
    "into-backup", "DIR", "The unencrypted backup folder to write to.",
    [](CommandLine &line, const QStringList &values) { line.intoBackup = values.last(); }, true};

// clang-format would fill the lines.
// clang-format off
constexpr auto gapsDetails =
    "\n\nOne line a gap, with the keys\n"
    "  missing          how many row numbers have no row any more; each was a message,\n"
    "                   or a reaction that was taken back\n"
    "  after, before    dates of the messages around them; null at the ends\n"
    "  after_rowid, before_rowid\n"
    "  chat_identifier  the conversation, where both stand in one\n"
    "and a last one with gaps and missing in all, and recorded_deletions: the deletions\n"
    "that the phone itself counts, null where it doesn't.";
// clang-format on

} // namespace

const QList<Command> &commandTable()
{
    static const QList<Command> table = {
        {"backups", "", "The backups in the default place, or below DIR.", {rootOption}, listBackupsCommand},
        {"databases", "", "The Local Databases.", {}, listDatabasesCommand},
        {"chats", "SOURCE", "The conversations of a source, newest first.", sourceOptions, listChatsCommand},
        {"messages", "SOURCE", "The messages of a source.",
         sourceOptions + choiceOptions + QList{newestFirstOption, emojiOption}, listMessagesCommand},
        {"attachments", "SOURCE",
         "The attachments of a source, then how many there are and how many are missing.",
         sourceOptions + choiceOptions + QList{newestFirstOption, missingOption}, listAttachmentsCommand},
        {"gaps", "SOURCE", "Where row numbers show that messages are gone.", sourceOptions, listGapsCommand,
         gapsDetails},
        {"export", "SOURCE", "Writes messages to a file or a folder.",
         sourceOptions + choiceOptions + QList{newestFirstOption, emojiOption, formatOption, outOption},
         exportCommand},
        {"import", "SOURCE", "Keeps messages in a Local Database; those already there stay single.",
         sourceOptions + choiceOptions + QList{intoOption}, importCommand},
        {"recover", "SOURCE", "Looks for deleted messages in a source and keeps those found beside it.",
         sourceOptions, recoverCommand},
        {"delete", "NAME", "Deletes conversations of a Local Database, or all of it.", choiceOptions,
         deleteCommand},
        {"merge", "SOURCE", "Writes a source's messages into an unencrypted backup folder.",
         sourceOptions + QList{intoBackupOption}, mergeCommand},
    };
    return table;
}

const Command *findCommand(const QString &name)
{
    const QList<Command> &table = commandTable();
    const auto found = std::find_if(table.begin(), table.end(), [&](const Command &command) {
        return name == QLatin1StringView(command.name);
    });
    return found == table.end() ? nullptr : &*found;
}
