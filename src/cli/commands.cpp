#include "commands.h"

#include "absmessagedb.h"
#include "backupdiscovery.h"
#include "backupmanifest.h"
#include "commandline.h"
#include "exportsmsthread.h"
#include "interrupt.h"
#include "jsonlines.h"
#include "messagestore.h"
#include "source.h"
#include "terminalprogress.h"

#include <QFileInfo>
#include <QFontDatabase>
#include <QSet>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>

using namespace Qt::StringLiterals;

namespace
{

/// A message and the conversation that it is listed in.
struct ListedMessage {
    _MsgMessage *message;
    QString chatIdentifier;
};

void finishOutput()
{
    if (std::fflush(stdout) != 0)
        throw std::runtime_error(std::string("standard output: ") + std::strerror(errno));
}

CommandResult listBackupsCommand(const CommandLine &line)
{
    if (!line.root.isEmpty() && !QFileInfo(line.root).isDir())
        throw std::runtime_error(u"%1: there is no such folder."_s.arg(line.root).toStdString());
    const QString root = line.root.isEmpty() ? defaultBackupRoot() : line.root;
    for (const QSharedPointer<BackupManifest> &backup : listBackups(root))
        printJsonLine(backupJson(*backup));
    return {};
}

/// The conversations asked for, or all of them.
QList<_MsgSession> chosenSessions(const Source &source, const QStringList &identifiers)
{
    QList<_MsgSession> sessions = groupChatSessions(source.store);
    if (identifiers.isEmpty())
        return sessions;
    QSet<QString> missing(identifiers.begin(), identifiers.end());
    QList<_MsgSession> chosen;
    for (const _MsgSession &session : std::as_const(sessions)) {
        const QString identifier = session.chats.first()->chat_identifier;
        missing.remove(identifier);
        if (identifiers.contains(identifier))
            chosen.append(session);
    }
    for (const QString &identifier : identifiers) {
        if (missing.contains(identifier))
            throw std::runtime_error(
                u"The source has no conversation \"%1\"; the command chats lists them."_s.arg(identifier)
                    .toStdString());
    }
    return chosen;
}

/// In the order asked for. A message of two chats stands once in a list of all, and once in each
/// conversation asked for.
QList<ListedMessage> listedMessages(const Source &source, const CommandLine &line)
{
    QList<_MsgMessage *> messages;
    QHash<const _MsgMessage *, QStringList> conversations;
    if (line.chats.isEmpty()) {
        messages = allMessages(source.store);
    } else {
        for (const _MsgSession &session : chosenSessions(source, line.chats)) {
            for (_MsgMessage *message : sessionMessages(session.chats)) {
                QStringList &known = conversations[message];
                if (known.isEmpty())
                    messages.append(message);
                if (!known.contains(session.chats.first()->chat_identifier))
                    known.append(session.chats.first()->chat_identifier);
            }
        }
    }
    messages = sortMessages(messages);
    if (line.newestFirst)
        std::reverse(messages.begin(), messages.end());

    QList<ListedMessage> listed;
    listed.reserve(messages.size());
    for (_MsgMessage *message : std::as_const(messages)) {
        const QString own = message->chat ? message->chat->chat_identifier : QString();
        for (const QString &conversation : conversations.value(message, {own}))
            listed.append({message, conversation});
    }
    return listed;
}

CommandResult chatsCommand(const CommandLine &line)
{
    TerminalProgress progress(line.quiet);
    const Source source = openSource(line, progress);
    if (!source.db)
        return source.refusal;
    for (const _MsgSession &session : groupChatSessions(source.store))
        printJsonLine(sessionJson(session));
    return {};
}

CommandResult messagesCommand(const CommandLine &line)
{
    TerminalProgress progress(line.quiet);
    const Source source = openSource(line, progress);
    if (!source.db)
        return source.refusal;
    // A text message of iOS 5 has no identifier: the one in its record is made up anew on every load.
    const bool smsHasGuid = source.db->dbVersion() != 5;
    for (const ListedMessage &listed : listedMessages(source, line)) {
        const bool hasGuid = smsHasGuid || listed.message->service != "SMS"_L1;
        printJsonLine(messageJson(*listed.message, listed.chatIdentifier, hasGuid));
    }
    return {};
}

CommandResult exportCommand(const CommandLine &line)
{
    static const QHash<QString, ExportFormat> formats = {
        {u"txt"_s, ExportText}, {u"csv"_s, ExportCsv}, {u"html"_s, ExportHtml}, {u"pdf"_s, ExportPdf}};
    const auto format = formats.constFind(line.format);
    if (format == formats.cend())
        return {ExitStatus::Usage,
                u"Unknown format \"%1\"; there are txt, csv, html and pdf."_s.arg(line.format)};
    if (*format == ExportPdf && QFontDatabase::families().isEmpty())
        throw std::runtime_error(
            "PDF needs a font and none is installed; on Debian, install fonts-dejavu-core.");

    TerminalProgress progress(line.quiet);
    const Source source = openSource(line, progress);
    if (!source.db)
        return source.refusal;
    QList<_MsgMessage *> messages;
    for (const ListedMessage &listed : listedMessages(source, line))
        messages.append(listed.message);
    const InterruptScope interruptible(progress);
    const ExportPlan plan{line.out, *format, !line.newestFirst, FinishedFiles::AreRemoved};
    const qint64 written = exportMessages(messages, plan, progress);
    progress.clear();
    printJsonLine({{u"messages"_s, written}, {u"path"_s, QFileInfo(line.out).absoluteFilePath()}});
    return {};
}

} // namespace

CommandResult runCommand(const CommandLine &line)
{
    using Command = CommandResult (*)(const CommandLine &);
    static const QHash<QString, Command> commands = {{u"backups"_s, listBackupsCommand},
                                                     {u"chats"_s, chatsCommand},
                                                     {u"messages"_s, messagesCommand},
                                                     {u"export"_s, exportCommand}};
    const CommandResult result = commands.value(line.command)(line);
    finishOutput();
    return result;
}
