#include "cli/helptext.h"

#include "app/product.h"
#include "cli/command.h"

using namespace Qt::StringLiterals;

namespace
{

constexpr int lastColumn = 79;
constexpr int descriptionColumn = 24;

/// Breaks `text` at blanks, with `indent` columns before each line.
QString wrapped(const QString &text, int indent)
{
    QStringList lines;
    QString line;
    for (const QString &word : text.split(u' ')) {
        if (!line.isEmpty() && indent + line.size() + 1 + word.size() > lastColumn) {
            lines.append(line);
            line.clear();
        }
        line += line.isEmpty() ? word : u' ' + word;
    }
    lines.append(line);
    const QString margin(indent, u' ');
    return margin + lines.join(u'\n' + margin) + u'\n';
}

/// "--chat ID"
QString spelled(const CommandOption &option)
{
    const QString name = u"--"_s + QLatin1StringView(option.name);
    return option.value ? QString(name + u' ' + QLatin1StringView(option.value)) : name;
}

/// The description stands beside the option, or below one that is too long.
QString optionHelp(const CommandOption &option)
{
    const QString left = u"  "_s + spelled(option);
    const QString description = wrapped(QLatin1StringView(option.description), descriptionColumn);
    if (left.size() + 2 > descriptionColumn)
        return left + u'\n' + description;
    return left.leftJustified(descriptionColumn) + description.sliced(descriptionColumn);
}

QString optionsHelp(const QList<CommandOption> &options)
{
    QString text = u"\nOptions:\n"_s;
    for (const CommandOption &option : options)
        text += optionHelp(option);
    return text;
}

} // namespace

QString generalHelp()
{
    QString text = u"%1 %2\n\nUsage: marrowlight-cli [--quiet] COMMAND ...\n\nCommands:\n"_s.arg(
        productName(), versionText());
    for (const Command &command : commandTable()) {
        text += u"  %1 %2%3\n"_s.arg(QLatin1StringView(command.name), -11)
                    .arg(QLatin1StringView(command.subject), -8)
                    .arg(QLatin1StringView(command.description));
    }
    return text + optionsHelp(generalOptions()) +
           u"\nSOURCE is a backup folder or a folder that holds one; a folder that holds\n"
           u"file-relay/var/mobile/Library/SMS/sms.db or var/mobile/Library/SMS/sms.db; a message\n"
           u"database (sms.db, chat.db); or the name of a Local Database.\n"
           u"marrowlight-cli COMMAND --help tells the options.\n"_s;
}

QString commandHelp(const Command &command)
{
    QString usage = u"Usage: marrowlight-cli "_s + QLatin1StringView(command.name);
    if (*command.subject)
        usage += u' ' + QLatin1StringView(command.subject);
    for (const CommandOption &option : command.options) {
        if (option.isRequired)
            usage += u' ' + spelled(option);
    }
    return usage + u" [options]\n\n"_s + wrapped(QLatin1StringView(command.description), 0).chopped(1) +
           QLatin1StringView(command.details) + u'\n' + optionsHelp(command.options + commonOptions());
}
