#include "cli/commandline.h"

#include "app/product.h"

#include <QCommandLineParser>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace
{

struct OptionSyntax {
    const char *name;
    const char *value; ///< null for a switch
    const char *description;
    bool required = false;
};

struct CommandSyntax {
    const char *name;
    const char *subject; ///< the word that has to follow; null when none does
    const char *description;
    QList<OptionSyntax> options;
    const char *details = ""; ///< of its own help
};

const QList<OptionSyntax> sourceOptions = {
    {"password-file", "FILE", "First line of FILE is the backup's password; - reads it from standard input."},
    {"country", "MCC", "The phone's mobile country code, such as 214."},
    {"recovered", nullptr, "With the deleted messages that the command recover found."},
};
const QList<OptionSyntax> selectionOptions = {
    {"chat", "ID", "Only the conversation with this chat_identifier; may be given more than once."},
};
const QList<OptionSyntax> orderOptions = {
    {"newest-first", nullptr, "The newest message comes first."},
};
const QList<OptionSyntax> missingOptions = {
    {"missing", nullptr, "Only those whose file isn't in the backup."},
};
const QList<OptionSyntax> textOptions = {
    {"emoji", nullptr, "Emoji stay as they are; without it \"[EMOJI]\" stands for each."},
};
const QList<OptionSyntax> importOptions = {
    {"into", "NAME", "The Local Database to write to; it is made if it isn't there.", true},
};
const QList<OptionSyntax> mergeOptions = {
    {"into-backup", "DIR", "The unencrypted backup folder to write to.", true},
};
const QList<OptionSyntax> exportOptions = {
    {"format", "txt|csv|html|pdf", "What to write.", true},
    {"out", "PATH", "The file to write; for html and pdf the folder of one file a conversation.", true},
};

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

const QList<CommandSyntax> &commandTable()
{
    static const QList<CommandSyntax> table = {
        {"backups",
         nullptr,
         "The backups in the default place, or below DIR.",
         {{"root", "DIR", "Look for backups below DIR."}}},
        {"databases", nullptr, "The Local Databases.", {}},
        {"chats", "SOURCE", "The conversations of a source, newest first.", sourceOptions},
        {"messages", "SOURCE", "The messages of a source.",
         sourceOptions + selectionOptions + orderOptions + textOptions},
        {"attachments", "SOURCE",
         "The attachments of a source, then how many there are and how many are missing.",
         sourceOptions + selectionOptions + orderOptions + missingOptions},
        {"gaps", "SOURCE", "Where row numbers show that messages are gone.", sourceOptions, gapsDetails},
        {"export", "SOURCE", "Writes messages to a file or a folder.",
         sourceOptions + selectionOptions + orderOptions + textOptions + exportOptions},
        {"import", "SOURCE", "Keeps messages in a Local Database; those already there stay single.",
         sourceOptions + selectionOptions + importOptions},
        {"recover", "SOURCE", "Looks for deleted messages in a source and keeps those found beside it.",
         sourceOptions},
        {"delete", "NAME", "Deletes conversations of a Local Database, or all of it.", selectionOptions},
        {"merge", "SOURCE", "Writes a source's messages into an unencrypted backup folder.",
         sourceOptions + mergeOptions},
    };
    return table;
}

QString generalHelp()
{
    QString text = u"%1 %2\n\nUsage: marrowlight-cli [--quiet] COMMAND ...\n\nCommands:\n"_s.arg(
        productName(), versionText());
    for (const CommandSyntax &command : commandTable()) {
        text += u"  %1 %2%3\n"_s.arg(QLatin1StringView(command.name), -10)
                    .arg(QLatin1StringView(command.subject), -8)
                    .arg(QLatin1StringView(command.description));
    }
    return text +
           u"\nSOURCE is a backup folder, a folder that holds file-relay/var/mobile/Library/SMS/sms.db,\n"
           u"or the name of a Local Database. marrowlight-cli COMMAND --help tells the options.\n"_s;
}

const CommandSyntax *findCommand(const QString &name)
{
    for (const CommandSyntax &command : commandTable()) {
        if (name == QLatin1StringView(command.name))
            return &command;
    }
    return nullptr;
}

QString missingWord(const CommandSyntax &syntax, const QCommandLineParser &parser)
{
    const QString hint = u" See marrowlight-cli %1 --help."_s.arg(QLatin1StringView(syntax.name));
    const qsizetype expected = syntax.subject ? 1 : 0;
    if (parser.positionalArguments().size() > expected)
        return u"Unexpected word \"%1\"."_s.arg(parser.positionalArguments().at(expected)) + hint;
    if (parser.positionalArguments().size() < expected)
        return u"%1 is missing."_s.arg(QLatin1StringView(syntax.subject)) + hint;
    for (const OptionSyntax &option : syntax.options) {
        if (option.required && !parser.isSet(QLatin1StringView(option.name)))
            return u"--%1 %2 is missing."_s.arg(QLatin1StringView(option.name),
                                                QLatin1StringView(option.value)) +
                   hint;
    }
    return {};
}

CommandLine commandLineFrom(const CommandSyntax &syntax, const QCommandLineParser &parser)
{
    const auto takes = [&](const char *option) {
        return std::any_of(syntax.options.begin(), syntax.options.end(),
                           [&](const OptionSyntax &known) { return qstrcmp(known.name, option) == 0; });
    };
    const auto value = [&](const char *option) {
        return takes(option) ? parser.value(QLatin1StringView(option)) : QString();
    };
    const auto isSet = [&](const char *option) {
        return takes(option) && parser.isSet(QLatin1StringView(option));
    };
    CommandLine line;
    line.command = QLatin1StringView(syntax.name);
    line.source = parser.positionalArguments().value(0);
    line.quiet = parser.isSet(u"quiet"_s);
    line.root = value("root");
    line.passwordFile = value("password-file");
    line.country = value("country");
    line.format = value("format");
    line.out = value("out");
    line.into = value("into");
    line.intoBackup = value("into-backup");
    if (!value("chat").isNull())
        line.choice.chats = parser.values(u"chat"_s);
    line.order = isSet("newest-first") ? ListOrder::NewestFirst : ListOrder::OldestFirst;
    line.recovered = isSet("recovered") ? Recovered::Shown : Recovered::LeftOut;
    line.emoji = isSet("emoji") ? EmojiStyle::Characters : EmojiStyle::Markers;
    line.missing = isSet("missing");
    return line;
}

ParsedCommandLine parseCommand(const CommandSyntax &syntax, const QStringList &words)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(QLatin1StringView(syntax.description) +
                                     QLatin1StringView(syntax.details));
    const QCommandLineOption help = parser.addHelpOption();
    parser.addOption({u"quiet"_s, u"No progress on the terminal."_s});
    for (const OptionSyntax &option : syntax.options)
        parser.addOption({QLatin1StringView(option.name), QLatin1StringView(option.description),
                          QLatin1StringView(option.value)});
    if (syntax.subject)
        parser.addPositionalArgument(QLatin1StringView(syntax.subject), {});

    ParsedCommandLine parsed;
    const bool understood = parser.parse(words);
    if (understood && parser.isSet(help))
        parsed.help = parser.helpText();
    else if (!understood)
        parsed.error = parser.errorText();
    else
        parsed.error = missingWord(syntax, parser);
    if (parsed.error.isEmpty())
        parsed.line = commandLineFrom(syntax, parser);
    return parsed;
}

} // namespace

ParsedCommandLine parseCommandLine(const QStringList &words)
{
    QCommandLineParser parser;
    parser.setOptionsAfterPositionalArgumentsMode(QCommandLineParser::ParseAsPositionalArguments);
    const QCommandLineOption help = parser.addHelpOption();
    const QCommandLineOption version = parser.addVersionOption();
    parser.addOption({u"quiet"_s, {}});

    ParsedCommandLine parsed;
    if (!parser.parse(words)) {
        parsed.error = parser.errorText();
    } else if (parser.isSet(help)) {
        parsed.help = generalHelp();
    } else if (parser.isSet(version)) {
        parsed.help = productName() + u' ' + versionText() + u'\n';
    } else if (parser.positionalArguments().isEmpty()) {
        parsed.error = u"A command is missing. See marrowlight-cli --help."_s;
    } else if (const CommandSyntax *syntax = findCommand(parser.positionalArguments().first())) {
        parsed = parseCommand(*syntax, parser.positionalArguments());
        parsed.line.quiet |= parser.isSet(u"quiet"_s);
    } else {
        parsed.error = u"Unknown command \"%1\". See marrowlight-cli --help."_s.arg(
            parser.positionalArguments().first());
    }
    return parsed;
}
