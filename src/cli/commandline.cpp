#include "cli/commandline.h"

#include "app/product.h"
#include "cli/command.h"
#include "cli/exitstatus.h"
#include "cli/helptext.h"

#include <QCommandLineParser>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace
{

/// Whether `--all` stands in the place of the first word.
bool isForAll(const Command &command, const QCommandLineParser &parser)
{
    return QLatin1StringView(command.subject).contains("--all"_L1) && parser.isSet(u"all"_s);
}

/// What is too much or missing among the words of a command; empty when nothing is.
QString usageError(const Command &command, const QCommandLineParser &parser)
{
    const QString hint = u" See marrowlight-cli %1 --help."_s.arg(QLatin1StringView(command.name));
    QStringList subjects = subjectsOf(command);
    if (isForAll(command, parser))
        subjects.removeFirst();
    const QStringList given = parser.positionalArguments();
    const bool isRepeatable = !subjects.isEmpty() && subjects.last().endsWith("..."_L1);
    if (given.size() > subjects.size() && !isRepeatable)
        return u"Unexpected word \"%1\"."_s.arg(given.at(subjects.size())) + hint;
    if (given.size() < subjects.size())
        return u"%1 is missing."_s.arg(subjects.at(given.size())) + hint;
    for (const CommandOption &option : command.options) {
        if (option.isRequired && !parser.isSet(QLatin1StringView(option.name)))
            return u"--%1 %2 is missing."_s.arg(QLatin1StringView(option.name),
                                                QLatin1StringView(option.value)) +
                   hint;
    }
    return {};
}

CommandLine commandLineFrom(const Command &command, const QCommandLineParser &parser)
{
    CommandLine line;
    line.words = parser.positionalArguments();
    if (!line.words.isEmpty() && !isForAll(command, parser))
        line.source = line.words.takeFirst();
    line.quiet = parser.isSet(u"quiet"_s);
    for (const CommandOption &option : command.options) {
        if (parser.isSet(QLatin1StringView(option.name)))
            option.store(line, parser.values(QLatin1StringView(option.name)));
    }
    if (line.choice.from && line.choice.to && *line.choice.from > *line.choice.to)
        throw CommandError(ExitStatus::Usage, u"--from is later than --to."_s);
    return line;
}

ParsedCommandLine parseCommand(const Command &command, const QStringList &words)
{
    QCommandLineParser parser;
    const QCommandLineOption help = parser.addHelpOption();
    parser.addOption({u"quiet"_s, {}});
    for (const CommandOption &option : command.options)
        parser.addOption({QLatin1StringView(option.name), {}, QLatin1StringView(option.value)});

    ParsedCommandLine parsed;
    const bool isUnderstood = parser.parse(words);
    if (isUnderstood && parser.isSet(help))
        parsed.help = commandHelp(command);
    else
        parsed.error = isUnderstood ? usageError(command, parser) : parser.errorText();
    if (!parsed.help.isEmpty() || !parsed.error.isEmpty())
        return parsed;
    try {
        parsed.line = commandLineFrom(command, parser);
        parsed.command = &command;
    } catch (const CommandError &error) {
        parsed.error = QString::fromUtf8(error.what());
    }
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
    } else if (const Command *command = findCommand(parser.positionalArguments().first())) {
        parsed = parseCommand(*command, parser.positionalArguments());
        parsed.line.quiet |= parser.isSet(u"quiet"_s);
    } else {
        parsed.error = u"Unknown command \"%1\". See marrowlight-cli --help."_s.arg(
            parser.positionalArguments().first());
    }
    return parsed;
}
