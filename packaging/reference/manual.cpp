#include "manual.h"

#include "cli/command.h"

using namespace Qt::StringLiterals;

namespace
{

/// Text that roff prints as it stands: no control line, no escape, hyphens that can be copied to a shell.
QString escaped(QString text)
{
    text.replace(u'\\', u"\\e"_s).replace(u"--"_s, u"\\-\\-"_s);
    return text.startsWith(u'.') || text.startsWith(u'\'') ? u"\\&"_s + text : text;
}

/// Each sentence on a line of its own, as mdoc wants it.
QString sentences(const char *text)
{
    return escaped(QString::fromLatin1(text)).replace(u". "_s, u".\n"_s) + u'\n';
}

QString argumentMacro(const char *value)
{
    const QString name = QString::fromLatin1(value);
    return name.isEmpty() ? QString() : u" Ar "_s + escaped(name);
}

QString synopsis(const Command &command)
{
    QString text = u".Nm marrowlight-cli %1"_s.arg(QLatin1StringView(command.name)) +
                   argumentMacro(command.subject) + u'\n';
    for (const CommandOption &option : command.options) {
        const QString macro = u"Fl -%1"_s.arg(QLatin1StringView(option.name)) + argumentMacro(option.value);
        text += (option.isRequired ? u"."_s : u".Op "_s) + macro + u'\n';
    }
    return text;
}

QString optionItem(const CommandOption &option)
{
    return u".It Fl -%1"_s.arg(QLatin1StringView(option.name)) + argumentMacro(option.value) + u'\n' +
           sentences(option.description);
}

/// What a command's own help adds, whose lines are laid out already.
QString details(const Command &command)
{
    const QString text = QString::fromLatin1(command.details).trimmed();
    if (text.isEmpty())
        return {};
    QString lines;
    for (const QString &line : text.split(u'\n'))
        lines += escaped(line) + u'\n';
    return u".Bd -unfilled -offset indent\n"_s + lines + u".Ed\n"_s;
}

} // namespace

QString manualPage(QString page)
{
    QString text;
    for (const Command &command : commandTable()) {
        text += u".Ss %1\n.Bd -ragged\n"_s.arg(QLatin1StringView(command.name)) + synopsis(command) +
                u".Ed\n.Pp\n"_s + sentences(command.description) + details(command);
        if (command.options.isEmpty())
            continue;
        text += u".Bl -tag -width Ds\n"_s;
        for (const CommandOption &option : command.options)
            text += optionItem(option);
        text += u".El\n"_s;
    }
    return page.replace(u"@COMMANDS@\n"_s, text);
}
