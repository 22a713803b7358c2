#include "ui/jobs/devicejobs.h"

#include "device/backupoptions.h"
#include "device/devicebackupjobs.h"
#include "ui/dialogs/boxes.h"
#include "ui/dialogs/progressform.h"
#include "ui/jobs/jobrunner.h"

#include <QMessageBox>

using namespace Qt::StringLiterals;

namespace
{

bool runTool(ProgressForm &form, BackupToolThread &job)
{
    QObject::connect(&form, &ProgressForm::userCacel, &job, &BackupToolThread::cancel);
    return runUnder(form, job);
}

} // namespace

bool checkBackupOptions(const IOSDevice &phone, bool checkCloudBackup, bool checkEncryption)
{
    const std::optional<BackupRefusal> refusal = backupRefusal(phone, checkCloudBackup, checkEncryption);
    if (!refusal)
        return true;
    const QString picture = u"qrc:/"_s + refusal->picture.mid(1);
    showMessage(QMessageBox::Critical, u"%1<br/><br/><img src=\"%2\"/>"_s.arg(refusal->text, picture),
                QMessageBox::Ok);
    return false;
}

std::optional<QDir> backUpPhone(IOSDevice phone, QWidget *window)
{
    ProgressForm form(QString(), window);
    IOSMobileBackupThread job(&phone, &form);
    if (!runTool(form, job))
        return std::nullopt;
    return QDir(job.backupRoot().absoluteFilePath(phone.uniqueDeviceID));
}

bool restorePhone(IOSDevice phone, const QDir &folder, QWidget *window)
{
    ProgressForm form(QString(), window);
    QDir root = folder;
    root.cdUp();
    IOSMobileRestoreThread job(&phone, root, &form);
    return runTool(form, job);
}
