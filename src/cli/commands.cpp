#include "cli/commands.h"

#include "backup/backupmanifest.h"
#include "cli/attachmentscommand.h"
#include "cli/commandline.h"
#include "cli/interrupt.h"
#include "cli/jsonlines.h"
#include "cli/source.h"
#include "cli/terminalprogress.h"
#include "export/exportmessages.h"
#include "recovery/carving/recoverdeleted.h"
#include "recovery/local/deletemessages.h"
#include "recovery/local/importmessages.h"
#include "recovery/local/localdatabases.h"
#include "recovery/merge/backupmerge.h"
#include "sources/choice.h"
#include "sources/findsource.h"
#include "store/readers/absmessagedb.h"
#include "store/readers/ios6messagedb.h"
#include "store/readers/messagegaps.h"
#include "store/readers/openmessagedb.h"
#include "store/records/messagestore.h"

#include <QFileInfo>
#include <QFontDatabase>

#include <cerrno>
#include <cstdio>
#include <cstring>

using namespace Qt::StringLiterals;

namespace
{

void finishOutput()
{
    if (std::fflush(stdout) != 0)
        throw std::runtime_error(std::string("standard output: ") + std::strerror(errno));
}

CommandResult listBackupsCommand(const CommandLine &line)
{
    for (const QSharedPointer<BackupManifest> &backup : findBackups(line.root))
        printJsonLine(backupJson(*backup));
    return {};
}

/// A database that can't be counted doesn't keep the others from being listed.
CommandResult listDatabasesCommand(const CommandLine &)
{
    QString firstError;
    for (const LocalDatabase &database : localDatabases()) {
        try {
            printJsonLine({{u"name"_s, database.name},
                           {u"path"_s, database.path},
                           {u"messages"_s, countMessages(database)}});
        } catch (const std::runtime_error &error) {
            if (firstError.isEmpty())
                firstError = QString::fromUtf8(error.what());
        }
    }
    return {firstError.isEmpty() ? ExitStatus::Done : ExitStatus::Failed, firstError};
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
    for (const ListedMessage &listed : listedMessages(source.store, line.choice, line.order))
        printJsonLine(messageJson(*listed.message, listed.chatIdentifier,
                                  hasOwnGuid(*source.db, *listed.message), line.emoji));
    return {};
}

CommandResult gapsCommand(const CommandLine &line)
{
    TerminalProgress progress(line.quiet);
    const Source source = openSource(line, progress);
    if (!source.db)
        return source.refusal;
    if (source.db->isLocalDatabase())
        throw std::runtime_error(u"%1: a Local Database gives its messages numbers of its own, which tell no "
                                 "gaps; name the backup that they came from."_s.arg(line.source)
                                     .toStdString());
    const MessageGaps gaps = messageGaps(*source.db, *source.store);
    for (const MessageGap &gap : gaps.list)
        printJsonLine(gapJson(gap));
    printJsonLine(gapsTotalJson(gaps));
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
    const QList<_MsgMessage *> messages = chosenMessages(source.store, line.choice, line.order);
    const InterruptScope interruptible(progress);
    const ExportPlan plan{line.out, *format, line.order == ListOrder::OldestFirst, FinishedFiles::AreRemoved,
                          line.emoji};
    const qint64 written = exportMessages(messages, plan, progress);
    progress.clear();
    printJsonLine({{u"messages"_s, written}, {u"path"_s, QFileInfo(line.out).absoluteFilePath()}});
    return {};
}

CommandResult importCommand(const CommandLine &line)
{
    const QString nameError = localDatabaseNameError(line.into);
    if (!nameError.isEmpty())
        return {ExitStatus::Usage, nameError};
    TerminalProgress progress(line.quiet);
    const Source source = openSource(line, progress);
    if (!source.db)
        return source.refusal;
    const LocalDatabase target = localDatabaseToFill(line.into);
    const InterruptScope interruptible(progress);
    const ImportCounts counts =
        backupMessages(chosenMessages(source.store, line.choice), QDir(target.path), target.file(), progress);
    progress.clear();
    printJsonLine({{u"messages"_s, counts.handedIn()},
                   {u"added"_s, counts.added},
                   {u"known"_s, counts.known},
                   {u"refused"_s, counts.refused},
                   {u"name"_s, target.name}});
    return {};
}

CommandResult mergeCommand(const CommandLine &line)
{
    TerminalProgress progress(line.quiet);
    BackupManifest target(QDir(line.intoBackup).absolutePath());
    openForMessages(target);
    const Source source = openSource(line, progress);
    if (!source.db)
        return source.refusal;
    const InterruptScope interruptible(progress);
    const MergeCounts counts = mergeIntoBackup(chosenMessages(source.store, line.choice), target, progress);
    progress.clear();
    printJsonLine({{u"messages"_s, counts.written},
                   {u"path"_s, target.backupDir.absolutePath()},
                   {u"unknown"_s, counts.unknownCount}});
    return {};
}

/// A database that is too damaged to be counted can be deleted all the same.
QJsonValue messagesToGo(const LocalDatabase &database)
{
    try {
        return countMessages(database);
    } catch (const std::runtime_error &error) {
        qWarning("%s", error.what());
        return {};
    }
}

CommandResult deleteCommand(const CommandLine &line)
{
    const std::optional<LocalDatabase> database = findLocalDatabase(line.source);
    if (!database)
        throw std::runtime_error(
            u"There is no Local Database \"%1\"; the command databases lists them."_s.arg(line.source)
                .toStdString());
    TerminalProgress progress(line.quiet);
    QJsonValue deleted;
    if (line.choice.chats.isEmpty()) {
        deleted = messagesToGo(*database);
        deleteLocalDatabase(*database);
    } else {
        const InterruptScope interruptible(progress);
        deleted = deleteConversations(*openLocalDatabase(*database, {}), line.choice.chats, progress);
    }
    progress.clear();
    printJsonLine({{u"messages"_s, deleted}, {u"name"_s, database->name}});
    return {};
}

CommandResult recoverCommand(const CommandLine &line)
{
    TerminalProgress progress(line.quiet);
    const Source source = openUnread(line, progress);
    if (!source.db)
        return source.refusal;
    const InterruptScope interruptible(progress);
    const int found = recoverDeleted(*source.db, progress);
    progress.clear();
    printJsonLine({{u"messages"_s, found}, {u"path"_s, recycleDbPath(source.db->rootFolder())}});
    return {};
}

} // namespace

CommandResult runCommand(const CommandLine &line)
{
    using Command = CommandResult (*)(const CommandLine &);
    static const QHash<QString, Command> commands = {{u"backups"_s, listBackupsCommand},
                                                     {u"attachments"_s, attachmentsCommand},
                                                     {u"chats"_s, chatsCommand},
                                                     {u"messages"_s, messagesCommand},
                                                     {u"gaps"_s, gapsCommand},
                                                     {u"export"_s, exportCommand},
                                                     {u"databases"_s, listDatabasesCommand},
                                                     {u"recover"_s, recoverCommand},
                                                     {u"import"_s, importCommand},
                                                     {u"merge"_s, mergeCommand},
                                                     {u"delete"_s, deleteCommand}};
    const CommandResult result = commands.value(line.command)(line);
    finishOutput();
    return result;
}
