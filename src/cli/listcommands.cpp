#include "cli/listcommands.h"

#include "backup/backupmanifest.h"
#include "cli/commandline.h"
#include "cli/jsonlines.h"
#include "cli/source.h"
#include "export/messagejson.h"
#include "sources/findsource.h"
#include "store/readers/absmessagedb.h"
#include "store/readers/messagegaps.h"
#include "store/records/attachmentlist.h"
#include "store/records/messagestore.h"

#include <stdexcept>

using namespace Qt::StringLiterals;

void listBackupsCommand(const CommandLine &line, TerminalProgress &)
{
    for (const QSharedPointer<BackupManifest> &backup : findBackups(line.root))
        printJsonLine(backupJson(*backup));
}

void listDatabasesCommand(const CommandLine &, TerminalProgress &)
{
    std::optional<std::runtime_error> firstError;
    for (const LocalDatabase &database : localDatabases()) {
        try {
            printJsonLine({{u"name"_s, database.name},
                           {u"path"_s, database.path},
                           {u"messages"_s, countMessages(database)}});
        } catch (const std::runtime_error &error) {
            if (!firstError)
                firstError = error;
        }
    }
    finishOutput();
    if (firstError)
        throw std::runtime_error(*firstError);
}

void listChatsCommand(const CommandLine &line, TerminalProgress &progress)
{
    const Source source = openSource(line, progress);
    for (const _MsgSession &session : groupChatSessions(source.store))
        printJsonLine(sessionJson(session));
}

void listMessagesCommand(const CommandLine &line, TerminalProgress &progress)
{
    const Source source = openSource(line, progress);
    for (const ListedMessage &listed :
         listedMessages(source.store, source.localized(line.choice), line.order))
        printJsonLine(messageJson(*listed.message, listed.chatIdentifier,
                                  hasOwnGuid(*source.db, *listed.message), line.emoji));
}

void listAttachmentsCommand(const CommandLine &line, TerminalProgress &progress)
{
    const Source source = openSource(line, progress);
    const QList<ListedAttachment> list =
        listAttachments(chosenMessages(source.store, source.localized(line.choice), line.order));
    for (const ListedAttachment &listed : list) {
        if (!line.missing || listed.attachment->localFile.isEmpty())
            printJsonLine(
                attachmentJson(*listed.attachment, *listed.message, hasOwnGuid(*source.db, *listed.message)));
    }
    printJsonLine(attachmentTotalsJson(totalsOf(list)));
}

void listGapsCommand(const CommandLine &line, TerminalProgress &progress)
{
    const Source source = openSource(line, progress);
    if (source.db->isLocalDatabase())
        throw std::runtime_error(u"%1: a Local Database gives its messages numbers of its own, which tell no "
                                 "gaps; name the backup that they came from."_s.arg(line.source)
                                     .toStdString());
    const MessageGaps gaps = messageGaps(*source.db, *source.store);
    for (const MessageGap &gap : gaps.list)
        printJsonLine(gapJson(gap));
    printJsonLine(gapsTotalJson(gaps));
}
