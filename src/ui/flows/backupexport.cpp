#include "ui/flows/backupexport.h"

#include "backup/backupmanifest.h"
#include "recovery/merge/backupmerge.h"
#include "ui/dialogs/boxes.h"
#include "ui/dialogs/loaditunesbackupdlg.h"
#include "ui/dialogs/progressform.h"
#include "ui/jobs/jobrunner.h"
#include "ui/jobs/messagejobs.h"

using namespace Qt::StringLiterals;

namespace
{

/// Takes the phone's files out of a backup, into the cache.
bool extractUnderDialog(const BackupManifest *manifest, QWidget *window)
{
    ProgressForm form(QString(), window);
    return runAsJob(form, [&] {
        extractForMerge(*manifest, form);
        return QString();
    });
}

QString doneText(const IOS6RestoreMessagesThread &job)
{
    const QString text = QObject::tr("IDS_SUC_RESTORE_%1_MESSAGES_TO_IOS").arg(job.validCount);
    return job.unknownCount == 0
               ? text
               : text + u' ' + QObject::tr("IDS_LEFT_OUT_%1_UNKNOWN_CHAT_MSG").arg(job.unknownCount);
}

} // namespace

void exportToItunesBackup(const MessageList &list, QWidget *window)
{
    LoadItunesBackupDlg dialog(window);
    if (dialog.exec() != QDialog::Accepted || !dialog.selected())
        return;
    BackupManifest *manifest = dialog.selected().data();
    if (manifest->isEncrypted)
        return showWarning(QObject::tr("IDS_CANT_EXPORT_ITUNES_BACKUP_IS_ENCRYPT"));
    if (const std::optional<QString> done = writeIntoBackup(list, *manifest, window))
        showInfo(*done);
}

std::optional<QString> writeIntoBackup(const MessageList &list, BackupManifest &manifest, QWidget *window)
{
    openForMerge(manifest);
    if (!extractUnderDialog(&manifest, window))
        return std::nullopt;
    const std::unique_ptr<IOS6MessageDb> phone = cachedPhone(manifest);
    ProgressForm form(QString(), window);
    IOS6RestoreMessagesThread job(&list.messages, phone.get(), manifest.backupDir, &form, nullptr);
    if (!runUnder(form, job))
        return std::nullopt;
    return doneText(job);
}
