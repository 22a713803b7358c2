#include "cli/workcommands.h"

#include "backup/backupmanifest.h"
#include "cli/commandline.h"
#include "cli/delivery.h"
#include "cli/exitstatus.h"
#include "cli/exportformats.h"
#include "cli/interrupt.h"
#include "cli/jsonlines.h"
#include "cli/source.h"
#include "cli/terminalprogress.h"
#include "export/exportmessages.h"
#include "recovery/carving/recoverdeleted.h"
#include "recovery/exact/recoverexactly.h"
#include "recovery/local/deletemessages.h"
#include "recovery/local/importmessages.h"
#include "recovery/local/localdatabases.h"
#include "recovery/merge/backupmerge.h"
#include "search/messagesearch.h"
#include "store/readers/ios6messagedb.h"
#include "store/readers/openmessagedb.h"

#include <QFileInfo>
#include <QFontDatabase>

#include <stdexcept>

using namespace Qt::StringLiterals;

namespace
{

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

} // namespace

void exportCommand(const CommandLine &line, TerminalProgress &progress)
{
    const ExportFormat format = formatNamed(line.format, line.allColumns);
    if ((line.allColumns || line.utf8Mark == Utf8Mark::Written) && format != ExportFullTable)
        throw CommandError(ExitStatus::Usage,
                           u"--all-columns goes with --format csv, and --utf8-mark with both."_s);
    if (format == ExportPdf && QFontDatabase::families().isEmpty())
        throw std::runtime_error(
            "PDF needs a font and none is installed; on Debian, install fonts-dejavu-core.");

    const Delivery delivery(line,
                            format == ExportAndroidSms ? u"messages.xml"_s : u"messages."_s + line.format);
    const Source source = openSource(line, progress);
    const QList<_MsgMessage *> messages =
        chosenMessages(source.store, source.localized(line.choice), line.order);
    const InterruptScope interruptible(progress);
    ExportPlan plan{delivery.path(), format, line.order == ListOrder::OldestFirst, FinishedFiles::AreRemoved,
                    line.emoji};
    plan.utf8Mark = line.utf8Mark;
    plan.isOwnGuid = [&](const _MsgMessage &message) { return hasOwnGuid(*source.db, message); };
    const qint64 written = exportMessages(messages, plan, progress);
    delivery.finish(progress);
    progress.clear();
    QJsonObject result{{u"messages"_s, written}, {u"path"_s, delivery.resultPath()}};
    if (format == ExportAndroidSms)
        result.insert(u"left_out"_s, messages.size() - written);
    printJsonLine(result);
}

void importCommand(const CommandLine &line, TerminalProgress &progress)
{
    const QString nameError = localDatabaseNameError(line.into);
    if (!nameError.isEmpty())
        throw CommandError(ExitStatus::Usage, nameError);
    const Source source = openSource(line, progress);
    const LocalDatabase target = localDatabaseToFill(line.into);
    const InterruptScope interruptible(progress);
    const ImportCounts counts = importMessages(chosenMessages(source.store, source.localized(line.choice)),
                                               QDir(target.path), target.file(), progress);
    updateSearchIndex(*openLocalDatabase(target, {}), progress);
    progress.clear();
    printJsonLine({{u"messages"_s, counts.handedIn()},
                   {u"added"_s, counts.added},
                   {u"known"_s, counts.known},
                   {u"refused"_s, counts.refused},
                   {u"name"_s, target.name}});
}

void mergeCommand(const CommandLine &line, TerminalProgress &progress)
{
    BackupManifest target(QDir(line.intoBackup).absolutePath());
    openForMerge(target);
    const Source source = openSource(line, progress);
    const InterruptScope interruptible(progress);
    const MergeCounts counts =
        mergeIntoBackup(chosenMessages(source.store, source.localized(line.choice)), target, progress);
    progress.clear();
    printJsonLine({{u"messages"_s, counts.written},
                   {u"path"_s, target.backupDir.absolutePath()},
                   {u"unknown"_s, counts.unknownCount}});
}

void deleteCommand(const CommandLine &line, TerminalProgress &progress)
{
    const std::optional<LocalDatabase> database = findLocalDatabase(line.source);
    if (!database)
        throw std::runtime_error(
            u"There is no Local Database \"%1\"; the command databases lists them."_s.arg(line.source)
                .toStdString());
    QJsonValue deleted;
    if (line.choice.chats.isEmpty()) {
        deleted = messagesToGo(*database);
        deleteLocalDatabase(*database);
    } else {
        const InterruptScope interruptible(progress);
        deleted = deleteConversations(*openLocalDatabase(*database, {}), line.choice.chats, progress);
        updateSearchIndex(*openLocalDatabase(*database, {}), progress);
    }
    progress.clear();
    printJsonLine({{u"messages"_s, deleted}, {u"name"_s, database->name}});
}

void recoverCommand(const CommandLine &line, TerminalProgress &progress)
{
    const std::unique_ptr<AbsIOSMessageDb> db = openUnread(line, progress);
    const InterruptScope interruptible(progress);
    const int found = recoverDeleted(*db, progress);
    if (!line.isExact) {
        progress.clear();
        return printJsonLine({{u"messages"_s, found}, {u"path"_s, recycleDbPath(db->rootFolder())}});
    }
    const ExactResult exact = recoverExactly(*db, progress);
    progress.clear();
    printJsonLine({{u"messages"_s, exact.added},
                   {u"whole"_s, exact.counts.whole},
                   {u"partial"_s, exact.counts.partial},
                   {u"text"_s, exact.counts.text},
                   {u"path"_s, findsDbPath(db->rootFolder())}});
}
