#include "completion.h"

#include "cli/command.h"

#include <QMap>

using namespace Qt::StringLiterals;

namespace
{

enum class ValueKind { Other, Alternatives, File, Folder, Database, Source };

/// What people type for a value or a subject, by the name that it has in the help.
ValueKind kindOf(const QString &name)
{
    static const QMap<QString, ValueKind> kinds{
        {u"FILE"_s, ValueKind::File},     {u"PATH"_s, ValueKind::File},     {u"DIR"_s, ValueKind::Folder},
        {u"NAME"_s, ValueKind::Database}, {u"SOURCE"_s, ValueKind::Source}, {u"OLDER"_s, ValueKind::Source},
        {u"NEWER"_s, ValueKind::Source}};
    const QString first = name.section(u'|', 0, 0);
    if (kinds.contains(first))
        return kinds.value(first);
    return name.contains(u'|') ? ValueKind::Alternatives : ValueKind::Other;
}

QString alternatives(const QString &name)
{
    return QString(name).replace(u'|', u' ');
}

QString optionNames(const QList<CommandOption> &options)
{
    QStringList names;
    for (const CommandOption &option : options)
        names.append(u"--"_s + QLatin1StringView(option.name));
    return names.join(u' ');
}

QString bashAction(const QString &value)
{
    switch (kindOf(value)) {
    case ValueKind::Alternatives: return u"words '%1'"_s.arg(alternatives(value));
    case ValueKind::File: return u"paths -f"_s;
    case ValueKind::Folder: return u"paths -d"_s;
    case ValueKind::Database: return u"databases"_s;
    case ValueKind::Source: return u"paths -d; _marrowlight_cli_databases"_s;
    case ValueKind::Other: break;
    }
    return u"words ''"_s;
}

/// One line of a `case`.
QString bashCase(const QString &pattern, const QString &action)
{
    return u"        '%1') _marrowlight_cli_%2; return ;;\n"_s.arg(pattern, action);
}

QString quotedForZsh(const char *text)
{
    return QString::fromLatin1(text)
        .replace(u'\\', u"\\\\"_s)
        .replace(u'[', u"\\["_s)
        .replace(u']', u"\\]"_s)
        .replace(u':', u"\\:"_s)
        .replace(u'\'', u"'\\''"_s);
}

QString zshAction(const QString &value)
{
    switch (kindOf(value)) {
    case ValueKind::Alternatives: return u"(%1)"_s.arg(alternatives(value));
    case ValueKind::File: return u"_files"_s;
    case ValueKind::Folder: return u"_files -/"_s;
    case ValueKind::Database: return u"_marrowlight_cli_databases"_s;
    case ValueKind::Source: return u"_marrowlight_cli_sources"_s;
    case ValueKind::Other: break;
    }
    return u" "_s;
}

/// An option as `_arguments` takes it; one with a value may be given again.
QString zshOption(const CommandOption &option)
{
    const QString value = QString::fromLatin1(option.value);
    const QString description = quotedForZsh(option.description);
    if (value.isEmpty())
        return u"          '--%1[%2]' \\\n"_s.arg(QLatin1StringView(option.name), description);
    return u"          '*--%1=[%2]:%3:%4' \\\n"_s.arg(QLatin1StringView(option.name), description,
                                                      quotedForZsh(option.value), zshAction(value));
}

QString zshCommand(const Command &command)
{
    QString text = u"      %1)\n        _arguments \\\n"_s.arg(QLatin1StringView(command.name));
    for (const CommandOption &option : command.options + commonOptions())
        text += zshOption(option);
    for (const QString &subject : subjectsOf(command)) {
        const QString place = subject.endsWith(u"..."_s) ? u"*"_s : QString();
        text += u"          '%1:%2:%3' \\\n"_s.arg(place, quotedForZsh(subject.toLatin1().constData()),
                                                   zshAction(subject));
    }
    return text + u"        ;;\n"_s;
}

QString quotedForFish(const char *text)
{
    return u'\'' + QString::fromLatin1(text).replace(u'\\', u"\\\\"_s).replace(u'\'', u"\\'"_s) + u'\'';
}

QString fishAction(const QString &value)
{
    switch (kindOf(value)) {
    case ValueKind::Alternatives: return u" -x -a '%1'"_s.arg(alternatives(value));
    case ValueKind::File: return u" -r -F"_s;
    case ValueKind::Folder: return u" -x -a '(__fish_complete_directories)'"_s;
    case ValueKind::Database: return u" -x -a '(__marrowlight_cli_databases)'"_s;
    case ValueKind::Source: return u" -x -a '(__marrowlight_cli_databases; __fish_complete_directories)'"_s;
    case ValueKind::Other: break;
    }
    return u" -x"_s;
}

QString fishOption(const QString &condition, const CommandOption &option)
{
    const QString value = QString::fromLatin1(option.value);
    return u"complete -c marrowlight-cli -n '%1' -l %2%3 -d %4\n"_s.arg(
        condition, QLatin1StringView(option.name), value.isEmpty() ? QString() : fishAction(value),
        quotedForFish(option.description));
}

QString fishCommand(const Command &command)
{
    const QString name = QString::fromLatin1(command.name);
    QString text = u"complete -c marrowlight-cli -n __fish_use_subcommand -a %1 -d %2\n"_s.arg(
        name, quotedForFish(command.description));
    const QString condition = u"__fish_seen_subcommand_from "_s + name;
    for (const CommandOption &option : command.options + commonOptions())
        text += fishOption(condition, option);
    if (const QString subject = subjectsOf(command).value(0); !subject.isEmpty())
        text += u"complete -c marrowlight-cli -n '%1'%2\n"_s.arg(condition, fishAction(subject));
    return text;
}

QString commandNames()
{
    QStringList names;
    for (const Command &command : commandTable())
        names.append(QLatin1StringView(command.name));
    return names.join(u' ');
}

} // namespace

QString bashCompletion(QString frame)
{
    QString values;
    QString options;
    QString subjects = bashCase({}, u"words '%1'"_s.arg(commandNames()));
    for (const Command &command : commandTable()) {
        const QString name = QString::fromLatin1(command.name);
        for (const CommandOption &option : command.options) {
            if (option.value)
                values += bashCase(name + u" --"_s + QLatin1StringView(option.name),
                                   bashAction(QString::fromLatin1(option.value)));
        }
        options += bashCase(name, u"words '%1'"_s.arg(optionNames(command.options + commonOptions())));
        subjects += bashCase(name, bashAction(subjectsOf(command).value(0)));
    }
    options += bashCase({}, u"words '%1'"_s.arg(optionNames(generalOptions())));
    return frame.replace(u"@VALUES@\n"_s, values)
        .replace(u"@OPTIONS@\n"_s, options)
        .replace(u"@SUBJECTS@\n"_s, subjects);
}

QString zshCompletion(QString frame)
{
    QString names;
    QString commands;
    QString options;
    for (const Command &command : commandTable()) {
        names +=
            u"        '%1:%2'\n"_s.arg(QLatin1StringView(command.name), quotedForZsh(command.description));
        commands += zshCommand(command);
    }
    for (const CommandOption &option : generalOptions())
        options += zshOption(option);
    return frame.replace(u"@OPTIONS@\n"_s, options)
        .replace(u"@NAMES@\n"_s, names)
        .replace(u"@COMMANDS@\n"_s, commands);
}

QString fishCompletion(QString frame)
{
    QString text;
    for (const CommandOption &option : generalOptions())
        text += fishOption(u"__fish_use_subcommand"_s, option);
    for (const Command &command : commandTable())
        text += fishCommand(command);
    return frame.replace(u"@COMMANDS@\n"_s, text);
}
