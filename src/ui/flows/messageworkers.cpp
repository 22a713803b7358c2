#include "ui/flows/messageworkers.h"

#include "export/exportchoice.h"
#include "recovery/local/localdatabases.h"
#include "sources/opensource.h"
#include "sources/readsource.h"
#include "store/records/messagestore.h"
#include "ui/dialogs/boxes.h"
#include "ui/dialogs/countryselform.h"
#include "ui/dialogs/loaditunesbackupdlg.h"
#include "ui/dialogs/localdbselform.h"
#include "ui/dialogs/passcodedlg.h"
#include "ui/dialogs/progressform.h"
#include "ui/flows/backupexport.h"
#include "ui/flows/devicetransfer.h"
#include "ui/flows/messagerecovery.h"
#include "ui/flows/shownsource.h"
#include "ui/flows/sourceloader.h"
#include "ui/jobs/jobrunner.h"
#include "ui/jobs/messagejobs.h"
#include "ui/models/sourcenodes.h"
#include "ui/pages/smsprinter.h"
#include "ui/views/messagepane.h"
#include "ui/views/sourcepane.h"

#include <QDateTime>
#include <QFileDialog>

using namespace Qt::StringLiterals;

namespace
{

struct PickedBackup {
    QSharedPointer<BackupManifest> manifest; ///< null when the person gave up
    Recovered recovered = Recovered::LeftOut;
};

PickedBackup pickBackup(const QString &folder, QWidget *window)
{
    LoadItunesBackupDlg dialog(window);
    if (!folder.isEmpty())
        dialog.selectFolder(folder);
    if (dialog.exec() != QDialog::Accepted)
        return {};
    return {dialog.selected(), dialog.looksForDeleted() ? Recovered::Shown : Recovered::LeftOut};
}

/// False when the person gave up. Nobody is asked twice for a password.
bool unlock(BackupManifest *manifest, SessionKeys &keys, QWidget *window)
{
    if (!manifest->isEncrypted || keys.unlock(*manifest))
        return true;
    if (PasscodeDlg(manifest, window).exec() != QDialog::Accepted)
        return false;
    keys.keep(*manifest);
    return true;
}

/// The list of a modern phone can be hundreds of megabytes to decipher and read.
void loadIndex(BackupManifest *manifest, QWidget *window)
{
    if (manifest->isModern)
        runBusy(QObject::tr("IDS_LOADING_ITUNES_BACKUP"), window, [=] { manifest->loadIndex(); });
    else
        manifest->loadIndex();
}

/// The message files of a backup, taken out into its cache; null when the job didn't come through.
std::unique_ptr<AbsIOSMessageDb> openCached(const QSharedPointer<BackupManifest> &manifest, QWidget *window)
{
    loadIndex(manifest.data(), window);
    ProgressForm form(QString(), window);
    ITunesCacheSMSThread job(manifest.data(), &form);
    if (!runUnder(form, job))
        return nullptr;
    auto db = openExtracted(manifest, {});
    db->openDb();
    if (db->countryCode().isEmpty())
        db = openExtracted(manifest, askCountry(window));
    return db;
}

} // namespace

MessageWorkers::MessageWorkers(SourcePane *sources, MessagePane *messages, QWidget *window)
    : QObject(window), sources(sources), messages(messages), window(window)
{
}

void MessageWorkers::backup(const MessageChoice &choice)
{
    importIntoLocalDb(choice.sourceName + u"_Backup"_s, choice);
}

void MessageWorkers::importIntoLocalDb(const QString &name, const MessageChoice &choice)
{
    LocalDbSelForm form(sources->localDatabaseNames(), name, window);
    form.exec();
    if (form.selectedName().isEmpty())
        return;
    const LocalDatabase target = localDatabaseToFill(form.selectedName());
    if (!fillDatabase(target, choice))
        return;
    _LocalDBItemNode *node = sources->localDatabase(target.name);
    showAnew(node ? node : addLocalDatabase(sources->model(), target), *sources, *messages);
}

bool MessageWorkers::fillDatabase(const LocalDatabase &target, const MessageList &list)
{
    ProgressForm progress(QString(), window);
    BackupSMSThread job(list.messages, QDir(target.path), target.file(), &progress, nullptr);
    const _LocalDBItemNode *node = sources->localDatabase(target.name);
    if (!node)
        return runUnder(progress, job);
    bool isFilled = false;
    sources->use(*node, [&](AbsIOSMessageDb &db) {
        db.close(); // the job has a connection of its own
        isFilled = runUnder(progress, job);
    });
    return isFilled;
}

void MessageWorkers::exportMessages(const MessageChoice &choice)
{
    QString filter;
    const QString name = QFileDialog::getSaveFileName(window, QObject::tr("IDS_SEL_EXPORT_MESSAGES_PATH"),
                                                      proposedExportPath(QDateTime::currentDateTime()),
                                                      exportFilters(), &filter);
    if (name.isEmpty())
        return;
    ExportPlan plan = exportPlan(name, filter);
    plan.ascending = messages->isAscending();
    plan.emoji = messages->emojiStyle();
    const _AbsDBItemNode *loaded = sources->sourceOf(choice.store);
    if (const _AbsDBItemNode *source = loaded ? loaded : sources->currentSource())
        plan.isOwnGuid = [db = source->db](const _MsgMessage &message) { return hasOwnGuid(*db, message); };
    ProgressForm form(QString(), window);
    ExportSMSThread job(choice.messages, plan, &form, nullptr);
    runUnder(form, job);
}

void MessageWorkers::print(const MessageChoice &choice)
{
    SMSPrinter(window).print(choice.messages, messages->emojiStyle());
}

void MessageWorkers::restoreToDevice(const MessageChoice &choice)
{
    transferToPhone(choice, *sources, window);
}

void MessageWorkers::exportToBackup(const MessageChoice &choice)
{
    exportToItunesBackup(choice, window);
}

void MessageWorkers::importBackup(const QString &folder, const QString &name)
{
    const auto [manifest, recovered] = pickBackup(folder, window);
    if (!manifest || !unlock(manifest.data(), keys, window))
        return;
    const std::unique_ptr<AbsIOSMessageDb> db = openCached(manifest, window);
    if (!db || (recovered == Recovered::Shown && !lookForDeleted(*db, window)))
        return;
    const _MsgStorePtr store = readUnderDialog(*db, window, recovered);
    if (recovered == Recovered::Shown)
        sayRecovered(*store);
    const QString proposal = name.isEmpty() ? manifest->deviceName + u"_Backup"_s : name;
    importIntoLocalDb(proposal, {{allMessages(store), store}, manifest->deviceName});
}
