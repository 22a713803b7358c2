#include "cli/command.h"
#include "cli/commandline.h"
#include "cli/exitstatus.h"
#include "cli/listcommands.h"
#include "cli/proofcommands.h"
#include "cli/searchcommand.h"
#include "cli/workcommands.h"
#include "sources/choicedates.h"

#include <algorithm>

using namespace Qt::StringLiterals;

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

/// What `read` makes of a date. Throws `CommandError` when that is nothing.
qint64 dateFrom(const QString &text, std::optional<qint64> (*read)(const QString &))
{
    const std::optional<qint64> seconds = read(text);
    if (!seconds)
        throw CommandError(ExitStatus::Usage,
                           u"\"%1\" is no date; write 2014-03-05 or 2014-03-05T18:30."_s.arg(text));
    return *seconds;
}

void storeKinds(CommandLine &line, const QStringList &kinds)
{
    for (const QString &kind : kinds) {
        if (kind == "attachments"_L1)
            line.choice.withAttachments = true;
        else if (kind == "links"_L1)
            line.choice.withLinks = true;
        else if (kind == "reactions"_L1)
            line.choice.withReactions = true;
        else
            throw CommandError(
                ExitStatus::Usage,
                u"Unknown kind \"%1\"; there are attachments, links and reactions."_s.arg(kind));
    }
}

const CommandOption chatOption = {
    "chat", "ID", "Only the conversation with this chat_identifier; may be given more than once.",
    [](CommandLine &line, const QStringList &values) { line.choice.chats = values; }};
const QList<CommandOption> choiceOptions = {
    chatOption,
    {"person", "TEXT",
     "Only what this person wrote or was sent: part of a name or an address; may be given more than once.",
     [](CommandLine &line, const QStringList &values) { line.choice.persons = values; }},
    {"from", "DATE", "Only since this day, or this time: 2014-03-05, 2014-03-05T18:30, with Z or +01:00.",
     [](CommandLine &line, const QStringList &values) {
         line.choice.from = dateFrom(values.last(), firstSecond);
     }},
    {"to", "DATE", "Only until this time, or the end of this day.",
     [](CommandLine &line, const QStringList &values) {
         line.choice.to = dateFrom(values.last(), lastSecond);
     }},
    {"sent", nullptr, "Only what the owner sent.",
     [](CommandLine &line, const QStringList &) { line.choice.sent = true; }},
    {"received", nullptr, "Only what others sent.",
     [](CommandLine &line, const QStringList &) { line.choice.received = true; }},
    {"with", "attachments|links|reactions", "Only messages that have them.", storeKinds},
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
const CommandOption allOption = {"all", nullptr, "Search all Local Databases instead of one source.",
                                 [](CommandLine &line, const QStringList &) { line.allDatabases = true; }};
const CommandOption formatOption = {
    "format", "txt|csv|html|pdf|jsonl|xlsx|android", "What to write.",
    [](CommandLine &line, const QStringList &values) { line.format = values.last(); }, true};
const CommandOption allColumnsOption = {
    "all-columns", nullptr, "CSV with all that is known of a message, in local time with its offset.",
    [](CommandLine &line, const QStringList &) { line.allColumns = true; }};
const CommandOption utf8MarkOption = {
    "utf8-mark", nullptr, "CSV with all columns begins with U+FEFF, by which some spreadsheets know UTF-8.",
    [](CommandLine &line, const QStringList &) { line.utf8Mark = Utf8Mark::Written; }};
const CommandOption outOption = {
    "out", "PATH", "The file to write; for html and pdf the folder of one file a conversation.",
    [](CommandLine &line, const QStringList &values) { line.out = values.last(); }};
const CommandOption reportOption = {
    "format", "txt|csv|html|jsonl|xlsx|android",
    "A format of the report; may be given more than once. Without it txt, jsonl and xlsx.",
    [](CommandLine &line, const QStringList &values) { line.formats = values; }};
const CommandOption bagOption = {
    "out", "DIR", "The folder to make; nothing may stand there.",
    [](CommandLine &line, const QStringList &values) { line.out = values.last(); }};
const QList<CommandOption> deliveryOptions = {
    {"zip", "FILE", "Pack it into FILE; without --out nothing else is kept.",
     [](CommandLine &line, const QStringList &values) { line.zip = values.last(); }},
    {"zip-password-file", "FILE",
     "Encrypt the zip file with AES-256; the first line of FILE is its password.",
     [](CommandLine &line, const QStringList &values) { line.zipPasswordFile = values.last(); }}};
const CommandOption intoOption = {
    "into", "NAME", "The Local Database to write to; it is made if it isn't there.",
    [](CommandLine &line, const QStringList &values) { line.into = values.last(); }, true};
const CommandOption intoBackupOption = {
    "into-backup", "DIR", "The unencrypted backup folder to write to.",
    [](CommandLine &line, const QStringList &values) { line.intoBackup = values.last(); }, true};
const CommandOption exactOption = {"exact", nullptr,
                                   "Also look for what the file's own format proves, and say how sure it is.",
                                   [](CommandLine &line, const QStringList &) { line.isExact = true; }};

// clang-format would fill the lines.
// clang-format off
constexpr auto attachmentsDetails =
    "\n\nIn each line localFile is where its content can be read: in a backup without a password\n"
    "in its place there. It is null for a file that is missing, and for one that lies enciphered\n"
    "in a backup: export and import bring that out.";
constexpr auto gapsDetails =
    "\n\nOne line a gap, with the keys\n"
    "  missing          how many row numbers have no row any more; each was a message,\n"
    "                   or a reaction that was taken back\n"
    "  after, before    dates of the messages around them; null at the ends\n"
    "  after_rowid, before_rowid\n"
    "  chat_identifier  the conversation, where both stand in one\n"
    "and a last one with gaps and missing in all, and recorded_deletions: the deletions\n"
    "that the phone itself counts, null where it doesn't.";
constexpr auto searchDetails =
    "\n\nCase and accents don't matter. Words in double quotes, which the shell has to pass\n"
    "on, stand side by side: '\"happy new year\"'. A line has the keys of messages, with\n"
    "source, and snippet, in which [ and ] stand around what was found.";
constexpr auto evidenceDetails =
    "\n\nBelow data lie the report, the databases (whole, whatever the choice) and the\n"
    "attachments that were read, what is known of the phone, and reckoning.json, which\n"
    "tells how the rows of the database come to the messages of the report. Only run.txt\n"
    "hangs on the time and the machine.\n"
    "sha256sum -c manifest-sha256.txt checks the folder as the command verify does.";
constexpr auto verifyDetails =
    "\n\nWrites one object with files, changed, missing and extra; the status is 1 unless the\n"
    "last three are empty.";
constexpr auto compareDetails =
    "\n\nA line has change (gone, new, edited or unsent) and the keys of messages, from the\n"
    "source that has the message; the newer one where both do.";
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
         sourceOptions + choiceOptions + QList{newestFirstOption, missingOption}, listAttachmentsCommand,
         attachmentsDetails},
        {"gaps", "SOURCE", "Where row numbers show that messages are gone.", sourceOptions, listGapsCommand,
         gapsDetails},
        {"search", "SOURCE|--all WORDS...", "Messages that hold all the words, newest first.",
         QList{allOption} + sourceOptions + choiceOptions + QList{emojiOption}, searchCommand, searchDetails},
        {"export", "SOURCE", "Writes messages to a file or a folder.",
         sourceOptions + choiceOptions +
             QList{newestFirstOption, emojiOption, formatOption, allColumnsOption, utf8MarkOption,
                   outOption} +
             deliveryOptions,
         exportCommand},
        {"evidence", "SOURCE", "Makes a bag (RFC 8493) that proves what was read.",
         sourceOptions + choiceOptions + QList{reportOption, allColumnsOption, bagOption} + deliveryOptions,
         evidenceCommand, evidenceDetails},
        {"verify", "DIR", "Whether a bag is whole and unchanged.", {}, verifyCommand, verifyDetails},
        {"compare", "OLDER NEWER", "What one source has and the other has not.",
         sourceOptions + QList{emojiOption}, compareCommand, compareDetails},
        {"import", "SOURCE", "Keeps messages in a Local Database; those already there stay single.",
         sourceOptions + choiceOptions + QList{intoOption}, importCommand},
        {"recover", "SOURCE", "Looks for deleted messages in a source and keeps those found beside it.",
         sourceOptions + QList{exactOption}, recoverCommand},
        {"delete",
         "NAME",
         "Deletes conversations of a Local Database, or all of it.",
         {chatOption},
         deleteCommand},
        {"merge", "SOURCE", "Writes a source's messages into an unencrypted backup folder.",
         sourceOptions + choiceOptions + QList{intoBackupOption}, mergeCommand},
    };
    return table;
}

QStringList subjectsOf(const Command &command)
{
    return QString::fromLatin1(command.subject).split(u' ', Qt::SkipEmptyParts);
}

const QList<CommandOption> &commonOptions()
{
    static const QList<CommandOption> options = {
        {"quiet", nullptr, "No progress on the terminal.", nullptr},
        {"help", nullptr, "Tells how it is used.", nullptr},
    };
    return options;
}

const QList<CommandOption> &generalOptions()
{
    static const QList<CommandOption> options =
        commonOptions() + QList<CommandOption>{{"version", nullptr, "Tells the version.", nullptr}};
    return options;
}

const Command *findCommand(const QString &name)
{
    const QList<Command> &table = commandTable();
    const auto found = std::find_if(table.begin(), table.end(), [&](const Command &command) {
        return name == QLatin1StringView(command.name);
    });
    return found == table.end() ? nullptr : &*found;
}
